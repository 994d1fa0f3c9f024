// Writes the character table (see src/texte/FormatTableCaracteres.h) as raw little-endian bytes.
// Run by the build: GenereTableCaracteres <output file>. Every column comes from ICU's copy of the
// Unicode Character Database; tests/texte/verifie_table_caracteres.py checks all of them against
// the UCD text files.
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "texte/ClassesCaracteres.h"
#include "texte/FormatTableCaracteres.h"

namespace {

using sdd::detail::EntreeCaractere;
namespace cl = sdd::detail::classes;

// The 50 characters whose variant form differs from themselves.
char16_t Variante(char16_t c) {
  switch (c) {
    case 0x0005:
    case 0x0009:
    case 0x000A:
    case 0x000B:
    case 0x000C:
    case 0x000D:
    case 0x0011:
    case 0x00A0:
    case 0x1680:
    case 0x180E:
    case 0x202F:
    case 0x205F:
    case 0x3000: return u' ';
    case 0x0060:
    case 0x00B4:
    case 0x2018:
    case 0x2019: return u'\'';
    case 0x058A:
    case 0x05BE:
    case 0x1806:
    case 0x2053:
    case 0x2212:
    case 0x2E17:
    case 0x301C:
    case 0x3030:
    case 0x30A0:
    case 0x30FB:
    case 0xFE31:
    case 0xFE32:
    case 0xFE58:
    case 0xFE63:
    case 0xFF0D:
    case 0xFF65: return u'-';
    default:
      if (c >= 0x2000 && c <= 0x200A) return u' ';
      if (c >= 0x2010 && c <= 0x2015) return u'-';
      return c;
  }
}

bool EstBlancVariante(char16_t c) { return Variante(c) == u' ' && c != u' '; }

char16_t Simple(UChar32 cp, char16_t defaut) { return cp <= 0xFFFF ? static_cast<char16_t>(cp) : defaut; }

// The first code point of the full canonical decomposition, when everything after it is a
// combining mark; otherwise the character itself ("ø" and the Hangul syllables stay).
char16_t SansAccent(const UNormalizer2* nfd, char16_t c) {
  if (c >= 0xD800 && c <= 0xDFFF) return c;
  UChar source[1] = {c};
  UChar dest[32];
  UErrorCode erreur = U_ZERO_ERROR;
  const int32_t n = unorm2_normalize(nfd, source, 1, dest, 32, &erreur);
  if (U_FAILURE(erreur) || n < 1 || (n == 1 && dest[0] == c)) return c;
  if (dest[0] >= 0xD800 && dest[0] <= 0xDFFF) return c;
  for (int32_t i = 1; i < n; ++i)
    if ((U_GET_GC_MASK(dest[i]) & U_GC_M_MASK) == 0) return c;
  return dest[0];
}

uint64_t Classes(char16_t c, char16_t sansAccent, char16_t minuscule) {
  uint64_t k = 0;
  const int8_t gc = u_charType(c);
  const uint32_t masque = U_MASK(gc);
  if (masque & U_GC_L_MASK) k |= cl::kLettre | cl::kLettreJoker;
  if (masque & (U_GC_LU_MASK | U_GC_LT_MASK)) k |= cl::kMajuscule;
  if (masque & U_GC_LL_MASK) k |= cl::kMinuscule;
  if (masque & U_GC_ND_MASK) k |= cl::kChiffre | cl::kChiffreJoker;
  if (masque & U_GC_P_MASK) k |= cl::kPonctuation;
  if (masque & U_GC_S_MASK) k |= cl::kSymbole;
  if (masque & U_GC_M_MASK) k |= cl::kMarque;
  if (masque & (U_GC_NL_MASK | U_GC_NO_MASK)) k |= cl::kAutreNombre;
  if (masque & U_GC_CC_MASK) k |= cl::kControle;
  if (masque & U_GC_CF_MASK) k |= cl::kFormat;
  if (masque & U_GC_CS_MASK) k |= cl::kSubstitut;
  if (masque & U_GC_CO_MASK) k |= cl::kUsagePrive;
  if (masque & U_GC_CN_MASK) k |= cl::kNonAssigne;
  if (masque & U_GC_PD_MASK) k |= cl::kTiret;
  if (masque & (U_GC_PS_MASK | U_GC_PI_MASK)) k |= cl::kOuvrante;
  if (masque & (U_GC_PE_MASK | U_GC_PF_MASK)) k |= cl::kFermante;
  if ((masque & U_GC_ZS_MASK) || EstBlancVariante(c) || c == u' ') k |= cl::kBlanc;
  if (c == 0x0027 || c == 0x2019 || c == 0x2018 || c == 0x0060 || c == 0x00B4 || c == 0x02BC)
    k |= cl::kApostrophe;
  if (sansAccent != c) k |= cl::kAccentue;
  if (c < 0x80) k |= cl::kASCII;
  UErrorCode erreur = U_ZERO_ERROR;
  const bool latin = uscript_getScript(c, &erreur) == USCRIPT_LATIN && U_SUCCESS(erreur);
  if (latin) k |= cl::kLatin;
  const bool ligature = c == 0x0152 || c == 0x0153 || c == 0x00C6 || c == 0x00E6;
  if (ligature) k |= cl::kLigature;
  if (latin && (masque & U_GC_L_MASK)) {
    const char16_t base = minuscule;  // of the accentless form
    const bool voyelle = ligature || base == u'a' || base == u'e' || base == u'i' || base == u'o' ||
                         base == u'u' || base == u'y';
    k |= voyelle ? cl::kVoyelle : cl::kConsonne;
  }
  (void)sansAccent;
  return k;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: GenereTableCaracteres <output>\n");
    return 2;
  }
  UErrorCode erreur = U_ZERO_ERROR;
  const UNormalizer2* nfd = unorm2_getNFDInstance(&erreur);
  if (U_FAILURE(erreur)) {
    std::fprintf(stderr, "GenereTableCaracteres: no NFD normaliser: %s\n", u_errorName(erreur));
    return 1;
  }
  std::vector<EntreeCaractere> table(sdd::detail::kNombreEntrees);
  for (unsigned u = 0; u < sdd::detail::kNombreEntrees; ++u) {
    const char16_t c = static_cast<char16_t>(u);
    const bool substitut = c >= 0xD800 && c <= 0xDFFF;
    EntreeCaractere& e = table[u];
    e.majuscule = substitut ? c : Simple(u_toupper(c), c);
    e.minuscule = substitut ? c : Simple(u_tolower(c), c);
    e.sansAccent = SansAccent(nfd, c);
    e.casseInversee = e.minuscule != c ? e.minuscule : e.majuscule;
    e.variante = Variante(c);
    e.blancsNormalises = EstBlancVariante(c) ? u' ' : c;
    const char16_t minusculeSansAccent = Simple(u_tolower(e.sansAccent), e.sansAccent);
    e.forme = Variante(minusculeSansAccent);
    e.zero = 0;
    const uint64_t k = Classes(c, e.sansAccent, minusculeSansAccent);
    for (int w = 0; w < 4; ++w) e.classes[w] = static_cast<uint16_t>(k >> (16 * w));
  }
  std::FILE* f = std::fopen(argv[1], "wb");
  if (f == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  // Little-endian on disk and in memory: the library only builds for little-endian targets.
  const size_t ecrits = std::fwrite(table.data(), sizeof(EntreeCaractere), table.size(), f);
  if (ecrits != table.size() || std::fclose(f) != 0) {
    std::perror(argv[1]);
    return 1;
  }
  return 0;
}
