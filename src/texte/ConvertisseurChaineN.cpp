// The seven converters behind ChaineN. UTF-8 is the hot path: both directions copy runs of
// ASCII sixteen bytes at a time (SSE2, part of every x86-64) and fall back to the byte-level
// state machine for the rest.
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/UTF8.h>

#include <bit>
#include <cstring>
#include <iterator>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <outils_socle/fils/FileOperations.h>
#include <outils_socle/flux/Flux.h>

#include "texte/TablesUnOctet.h"

namespace sdd {

namespace {

constexpr char16_t kRemplacement = 0xFFFD;

// ---- UTF-8 decoding, one walk for counting and for writing.

// Decodes one non-ASCII sequence starting at p (p < fin), replacing an ill-formed one by a
// single U+FFFD. Writes its units through `o` when Ecris, and returns the units produced; `p`
// moves past the bytes consumed.
template <bool Ecris>
inline unsigned DecodeSequenceUTF8(const unsigned char*& p, const unsigned char* fin, char16_t* o) {
  const int32_t cp = DecodeCaractereUTF8(p, fin);
  if (cp < 0x10000) {
    if constexpr (Ecris) *o = cp < 0 ? kRemplacement : static_cast<char16_t>(cp);
    return 1;
  }
  if constexpr (Ecris) {
    o[0] = static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
    o[1] = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
  }
  return 2;
}

// Decodes n bytes; with Ecris, writes the units into `sortie`, which has room for `place` units
// (at least the count). Runs of ASCII go 16 or 8 bytes at a time: a block is widened and stored
// whole, and the walk then advances past its ASCII prefix only, so a block that holds an accent
// still moves most of its bytes in one store. Such stores may write past the units kept, hence
// the room they check for.
// Decodes the character at p, which is not ASCII (two-byte sequences, the accented Latin
// letters, take the short road), and returns its units.
template <bool Ecris>
inline unsigned DecodeNonASCII(const unsigned char*& p, const unsigned char* fin, char16_t* o) {
  const unsigned char b = *p;
  if (b >= 0xC2 && b <= 0xDF && fin - p >= 2 && (p[1] & 0xC0) == 0x80) {
    if constexpr (Ecris) *o = static_cast<char16_t>(((b & 0x1F) << 6) | (p[1] & 0x3F));
    p += 2;
    return 1;
  }
  return DecodeSequenceUTF8<Ecris>(p, fin, o);
}

// Decodes n bytes; with Ecris, writes the units into `sortie`, which has room for `place` units
// (at least the count). Runs of ASCII go 16 or 8 bytes at a time: a block is widened and stored
// whole, and the walk then advances past its ASCII prefix only, so a block that holds an accent
// still moves most of its bytes in one store. Such stores may write past the units kept, hence
// the room they check for.
template <bool Ecris>
uint64_t ParcoursUTF8(const char* octets, uint64_t n, char16_t* sortie, uint64_t place) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(octets);
  const unsigned char* const fin = p + n;
  uint64_t unites = 0;
  auto aDeLaPlace = [&](uint64_t k) { return !Ecris || place - unites >= k; };
  for (;;) {
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    if (fin - p >= 16 && aDeLaPlace(16)) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
      const unsigned masque = static_cast<unsigned>(_mm_movemask_epi8(v));
      if constexpr (Ecris) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(sortie + unites), _mm_unpacklo_epi8(v, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(sortie + unites + 8), _mm_unpackhi_epi8(v, zero));
      }
      if (masque == 0) {
        p += 16;
        unites += 16;
        continue;
      }
      const unsigned ascii = static_cast<unsigned>(std::countr_zero(masque));
      p += ascii;
      unites += ascii;
    } else if (fin - p >= 8 && aDeLaPlace(8)) {
      const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
      const unsigned masque = static_cast<unsigned>(_mm_movemask_epi8(v)) & 0xFF;
      if constexpr (Ecris)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(sortie + unites), _mm_unpacklo_epi8(v, zero));
      if (masque == 0) {
        p += 8;
        unites += 8;
        continue;
      }
      const unsigned ascii = static_cast<unsigned>(std::countr_zero(masque));
      p += ascii;
      unites += ascii;
    } else
#endif
    {
      // The tail, byte by byte.
      while (p < fin) {
        if (*p < 0x80) {
          if constexpr (Ecris) sortie[unites] = *p;
          ++p;
          ++unites;
        } else {
          unites += DecodeNonASCII<Ecris>(p, fin, Ecris ? sortie + unites : nullptr);
        }
      }
      return unites;
    }
    // A block stopped at a byte that is not ASCII.
    unites += DecodeNonASCII<Ecris>(p, fin, Ecris ? sortie + unites : nullptr);
  }
}

// ---- UTF-8 encoding

// Bytes of the character at u[0]; `lues` gets 1 or 2 units.
inline unsigned TailleCaractereUTF8(const char16_t* u, uint64_t n, unsigned* lues) {
  const char16_t c = u[0];
  *lues = 1;
  if (c < 0x80) return 1;
  if (c < 0x800) return 2;
  if (c >= 0xD800 && c <= 0xDFFF && n > 1) {
    *lues = 2;
    return 4;
  }
  return 3;
}

inline void EcrisCaractereUTF8(const char16_t* u, unsigned taille, unsigned char* o) {
  const char16_t c = u[0];
  switch (taille) {
    case 1: o[0] = static_cast<unsigned char>(c); break;
    case 2:
      o[0] = static_cast<unsigned char>(0xC0 | (c >> 6));
      o[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
      break;
    case 3:
      o[0] = static_cast<unsigned char>(0xE0 | (c >> 12));
      o[1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
      o[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
      break;
    default: {
      // The second unit is taken as it is, low surrogate or not.
      const uint32_t cp = (static_cast<uint32_t>((c & 0x3FF) + 0x40) << 10) | (u[1] & 0x3FF);
      o[0] = static_cast<unsigned char>(0xF0 | (cp >> 18));
      o[1] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
      o[2] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
      o[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
    }
  }
}

#if defined(__SSE2__)
// Bit k set when unit k of the 16 at u is not ASCII.
inline unsigned MasqueNonASCII(__m128i a, __m128i b) {
  const __m128i haut = _mm_set1_epi16(static_cast<short>(0xFF80));
  const __m128i zero = _mm_setzero_si128();
  const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(a, haut), zero),
                                        _mm_cmpeq_epi16(_mm_and_si128(b, haut), zero));
  return ~static_cast<unsigned>(_mm_movemask_epi8(ascii)) & 0xFFFF;
}

// Stores the low bytes of the 16 units at u into o and returns how many of them, from the
// start, are ASCII (only those bytes are meaningful).
inline unsigned PrefixeASCIISeize(const char16_t* u, unsigned char* o) {
  const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u));
  const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + 8));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(a, b));
  const unsigned masque = MasqueNonASCII(a, b);
  return masque == 0 ? 16 : static_cast<unsigned>(std::countr_zero(masque));
}
#endif

char16_t Echange16(char16_t u) { return static_cast<char16_t>((u >> 8) | (u << 8)); }

}  // namespace

// ---- Base

ConvertisseurChaineN::~ConvertisseurChaineN() = default;

uint64_t ConvertisseurChaineN::LongueurOctets(const char* octets) const { return std::strlen(octets); }

uint64_t ConvertisseurChaineN::CompteNonRepresentables(const char16_t*, uint64_t) const { return 0; }

bool ConvertisseurChaineN::DecodeCaractere(FluxEntree& entree, char16_t* sortie, unsigned* ecrites) const {
  if (entree.EstALaFin() || !entree.EstEnBonEtat()) return false;
  const uint64_t debut = entree.DonnePosition();
  char octets[4];
  octets[0] = static_cast<char>(entree.Donne());
  const unsigned attendus = OctetsAttendus(static_cast<uint8_t>(octets[0]));
  unsigned lus = 1;
  while (lus < attendus && !entree.EstALaFin() && entree.EstEnBonEtat())
    octets[lus++] = static_cast<char>(entree.Donne());
  if (!entree.EstEnBonEtat()) return false;
  if (lus < attendus && TailleTerminateur() == 2) return false;  // half a UTF-16 unit
  const unsigned consommes = DecodeCaractere(octets, lus, sortie, ecrites);
  if (consommes < lus) entree.Positionne(debut + consommes);  // the byte that broke the sequence
  return true;
}

namespace {

struct Convertisseurs {
  ConvertisseurChaineNMacRoman macRoman;
  ConvertisseurChaineNLatin9 latin9;
  ConvertisseurChaineNWinLatin1 winLatin1;
  ConvertisseurChaineNDOS dos;
  ConvertisseurChaineNUTF8 utf8;
  ConvertisseurChaineNUTF16LE utf16le;
  ConvertisseurChaineNUTF16BE utf16be;
  const ConvertisseurChaineN* parCodage[7] = {&macRoman, &latin9,  &winLatin1, &dos,
                                              &utf8,     &utf16le, &utf16be};
};

}  // namespace

const ConvertisseurChaineN& ConvertisseurChaineN::ConvertisseurPourCodage(int codage) {
  // Built once, on first use, under the library's once-only guard, and kept until the process
  // ends. After that, a lookup is an atomic flag test and one index.
  static OperationUnique garde;
  static const Convertisseurs* tous = nullptr;
  if (!garde.EstFaite()) garde([] { tous = new Convertisseurs; });
  const unsigned indice = static_cast<unsigned>(codage);
  return *tous->parCodage[indice < std::size(tous->parCodage) ? indice : 0u];
}

void ConvertisseurChaineN::LibereConvertisseurPourCodage(int) {}

// ---- Single-byte encodings

ConvertisseurChaineNCodageUnOctet::ConvertisseurChaineNCodageUnOctet(const char16_t (&table)[256])
    : table_(table) {
  // Walk downward so that the lowest byte wins when two bytes share a unit.
  for (int octet = 255; octet >= 0x80; --octet) {
    const char16_t u = table[octet];
    if (u < 0x80) continue;
    auto& page = pages_[u >> 8];
    if (!page) page = std::make_unique<unsigned char[]>(256);
    page[u & 0xFF] = static_cast<unsigned char>(octet);
  }
}

ConvertisseurChaineNCodageUnOctet::~ConvertisseurChaineNCodageUnOctet() = default;

unsigned char ConvertisseurChaineNCodageUnOctet::DonneOctet(char16_t u) const {
  if (u < 0x80) return static_cast<unsigned char>(u);
  const auto& page = pages_[u >> 8];
  const unsigned char octet = page ? page[u & 0xFF] : 0;
  return octet ? octet : '?';
}

unsigned ConvertisseurChaineNCodageUnOctet::EncodeCaractere(const char16_t* u, uint64_t, char* sortie,
                                                            unsigned* lues) const {
  if (sortie) *sortie = static_cast<char>(DonneOctet(u[0]));
  *lues = 1;
  return 1;
}

unsigned ConvertisseurChaineNCodageUnOctet::DecodeCaractere(const char* octets, uint64_t, char16_t* sortie,
                                                            unsigned* ecrites) const {
  *sortie = table_[static_cast<unsigned char>(octets[0])];
  *ecrites = 1;
  return 1;
}

uint64_t ConvertisseurChaineNCodageUnOctet::CompteUnites(const char*, uint64_t n) const { return n; }

uint64_t ConvertisseurChaineNCodageUnOctet::Decode(const char* octets, uint64_t n, char16_t* sortie,
                                                   uint64_t) const {
  for (uint64_t i = 0; i < n; ++i) sortie[i] = table_[static_cast<unsigned char>(octets[i])];
  return n;
}

uint64_t ConvertisseurChaineNCodageUnOctet::TailleEncodee(const char16_t*, uint64_t n) const { return n; }

uint64_t ConvertisseurChaineNCodageUnOctet::Encode(const char16_t* u, uint64_t n, char* sortie,
                                                   uint64_t taille) const {
  const uint64_t m = n < taille ? n : taille;
  for (uint64_t i = 0; i < m; ++i) sortie[i] = static_cast<char>(DonneOctet(u[i]));
  return m;
}

uint64_t ConvertisseurChaineNCodageUnOctet::CompteNonRepresentables(const char16_t* u, uint64_t n) const {
  uint64_t compte = 0;
  for (uint64_t i = 0; i < n; ++i) compte += (u[i] != u'?' && DonneOctet(u[i]) == '?');
  return compte;
}

ConvertisseurChaineNMacRoman::ConvertisseurChaineNMacRoman()
    : ConvertisseurChaineNCodageUnOctet(detail::kTableMacRoman) {}
ConvertisseurChaineNLatin9::ConvertisseurChaineNLatin9()
    : ConvertisseurChaineNCodageUnOctet(detail::kTableLatin9) {}
ConvertisseurChaineNWinLatin1::ConvertisseurChaineNWinLatin1()
    : ConvertisseurChaineNCodageUnOctet(detail::kTableWinLatin1) {}
ConvertisseurChaineNDOS::ConvertisseurChaineNDOS() : ConvertisseurChaineNCodageUnOctet(detail::kTableDOS) {}

// ---- UTF-8

unsigned ConvertisseurChaineNUTF8::OctetsAttendus(uint8_t premier) const {
  if (premier >= 0xC2 && premier <= 0xDF) return 2;
  if (premier >= 0xE0 && premier <= 0xEF) return 3;
  if (premier >= 0xF0 && premier <= 0xF4) return 4;
  return 1;
}

unsigned ConvertisseurChaineNUTF8::EncodeCaractere(const char16_t* u, uint64_t n, char* sortie,
                                                   unsigned* lues) const {
  const unsigned taille = TailleCaractereUTF8(u, n, lues);
  if (sortie) EcrisCaractereUTF8(u, taille, reinterpret_cast<unsigned char*>(sortie));
  return taille;
}

unsigned ConvertisseurChaineNUTF8::DecodeCaractere(const char* octets, uint64_t n, char16_t* sortie,
                                                   unsigned* ecrites) const {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(octets);
  if (*p < 0x80) {
    *sortie = *p;
    *ecrites = 1;
    return 1;
  }
  *ecrites = DecodeSequenceUTF8<true>(p, p + n, sortie);
  return static_cast<unsigned>(p - reinterpret_cast<const unsigned char*>(octets));
}

uint64_t ConvertisseurChaineNUTF8::CompteUnites(const char* octets, uint64_t n) const {
  return ParcoursUTF8<false>(octets, n, nullptr, 0);
}

uint64_t ConvertisseurChaineNUTF8::Decode(const char* octets, uint64_t n, char16_t* sortie,
                                          uint64_t place) const {
  return ParcoursUTF8<true>(octets, n, sortie, place);
}

uint64_t ConvertisseurChaineNUTF8::CompteNonRepresentables(const char16_t* u, uint64_t n) const {
  uint64_t alterees = 0;
  for (uint64_t i = 0; i < n; ++i) {
    if ((u[i] & 0xF800) != 0xD800) continue;
    if (u[i] < 0xDC00 && i + 1 < n && (u[i + 1] & 0xFC00) == 0xDC00) {  // a pair, as it should be
      ++i;
    } else if (i + 1 < n) {
      alterees += 2;  // combined with the next unit, whatever it is
      ++i;
    } else {
      alterees += 1;
    }
  }
  return alterees;
}

uint64_t ConvertisseurChaineNUTF8::TailleEncodee(const char16_t* u, uint64_t n) const {
  uint64_t taille = 0;
  for (uint64_t i = 0; i < n;) {
#if defined(__SSE2__)
    if (n - i >= 16) {
      const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + i));
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + i + 8));
      const unsigned masque = MasqueNonASCII(a, b);
      const unsigned ascii = masque == 0 ? 16 : static_cast<unsigned>(std::countr_zero(masque));
      taille += ascii;
      i += ascii;
      if (ascii == 16) continue;
    }
#endif
    unsigned lues;
    taille += TailleCaractereUTF8(u + i, n - i, &lues);
    i += lues;
  }
  return taille;
}

uint64_t ConvertisseurChaineNUTF8::Encode(const char16_t* u, uint64_t n, char* sortie,
                                          uint64_t taille) const {
  unsigned char* o = reinterpret_cast<unsigned char*>(sortie);
  unsigned char* const debut = o;
  unsigned char* const fin = o + taille;
  uint64_t i = 0;
  while (i < n) {
#if defined(__SSE2__)
    if (n - i >= 16 && fin - o >= 16) {
      // Stores 16 bytes and keeps those of the ASCII prefix.
      const unsigned ascii = PrefixeASCIISeize(u + i, o);
      i += ascii;
      o += ascii;
      if (ascii == 16) continue;
    }
#endif
    const char16_t c = u[i];
    if (c < 0x80) {
      if (o == fin) break;
      *o++ = static_cast<unsigned char>(c);
      ++i;
      continue;
    }
    unsigned lues;
    const unsigned t = TailleCaractereUTF8(u + i, n - i, &lues);
    if (static_cast<uint64_t>(fin - o) < t) break;
    EcrisCaractereUTF8(u + i, t, o);
    o += t;
    i += lues;
  }
  return static_cast<uint64_t>(o - debut);
}

// ---- UTF-16

uint64_t ConvertisseurChaineNUTF16::LongueurOctets(const char* octets) const {
  uint64_t n = 0;
  while (octets[n] != 0 || octets[n + 1] != 0) n += 2;
  return n;
}

unsigned ConvertisseurChaineNUTF16::EncodeCaractere(const char16_t* u, uint64_t n, char* sortie,
                                                    unsigned* lues) const {
  if (sortie) Encode(u, 1, sortie, 2);
  (void)n;
  *lues = 1;
  return 2;
}

unsigned ConvertisseurChaineNUTF16::DecodeCaractere(const char* octets, uint64_t n, char16_t* sortie,
                                                    unsigned* ecrites) const {
  if (n < 2) {  // half a unit: nothing to decode, but the byte is consumed
    *ecrites = 0;
    return 1;
  }
  Decode(octets, 2, sortie, 1);
  *ecrites = 1;
  return 2;
}

uint64_t ConvertisseurChaineNUTF16::CompteUnites(const char*, uint64_t n) const { return n / 2; }

uint64_t ConvertisseurChaineNUTF16::Decode(const char* octets, uint64_t n, char16_t* sortie, uint64_t) const {
  const uint64_t unites = n / 2;
  std::memcpy(sortie, octets, unites * 2);
  if (grosBoutiste_ != (std::endian::native == std::endian::big))
    for (uint64_t i = 0; i < unites; ++i) sortie[i] = Echange16(sortie[i]);
  return unites;
}

uint64_t ConvertisseurChaineNUTF16::TailleEncodee(const char16_t*, uint64_t n) const { return 2 * n; }

uint64_t ConvertisseurChaineNUTF16::Encode(const char16_t* u, uint64_t n, char* sortie,
                                           uint64_t taille) const {
  const uint64_t unites = n < taille / 2 ? n : taille / 2;
  const bool echange = grosBoutiste_ != (std::endian::native == std::endian::big);
  for (uint64_t i = 0; i < unites; ++i) {
    const char16_t c = echange ? Echange16(u[i]) : u[i];
    std::memcpy(sortie + 2 * i, &c, 2);
  }
  return 2 * unites;
}

// ---- Validation

std::size_t PremiereErreurUTF8(std::string_view s) noexcept {
  const auto* debut = reinterpret_cast<const unsigned char*>(s.data());
  const unsigned char* const fin = debut + s.size();
  for (const unsigned char* p = debut; p < fin;) {
    if (*p < 0x80) {  // ASCII, the common case, without the call
      ++p;
      continue;
    }
    const unsigned char* sequence = p;
    if (DecodeCaractereUTF8(p, fin) < 0) return static_cast<std::size_t>(sequence - debut);
  }
  return std::string_view::npos;
}

}  // namespace sdd
