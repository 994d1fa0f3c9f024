#pragma once

#include <atomic>
#include <compare>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/ListeC.h>
#include <outils_socle/conteneurs/ListeT.h>

namespace sdd {

class FluxEntree;
class FluxSortie;

// The library's string of UTF-16 code units.
//
// Representation: a tagged word, room for a short string, and one pointer to the bytes last lent
// by a Prete* call. A string of fewer than kUnitesCourtes units (terminator included) lives in
// the object itself, with no heap block: the word then holds its length, and copying or moving
// it copies those few bytes. A longer one is in a heap block with a header of three 64-bit words
// (length, capacity, reference count) followed by the units and a zero terminator; a borrowed
// text is a 24-byte header (length, count, pointer to the caller's units). Copies of a heap
// block share it (O(1)) and every change first unshares it, so a copy never sees another's
// changes; a borrowed text is copied before the first change and the caller's array is never
// written. Capacity grows c → 2c + 1, so repeated appends are amortised. A pointer from
// DonneUnites() into a short string holds only while that object stays in place: moving the
// string moves its units.
//
// Threads: copies that share one buffer may live on different threads (the count is atomic);
// one object is for one thread at a time, notably because of its lending buffer.
//
// Positions are unit indices. Positional members throw IndexHorsBorne(i, 0, length) for an index
// outside the string; counts that run past the end are clipped. Searches answer a position, or
// -1 when absent.
class OUTILS_SOCLE_EXPORT ChaineN {
 public:
  enum Codage {
    kCodageMacRoman = 0,   // Mac OS Roman, euro sign at 0xDB; also any value outside 0..6
    kCodageLatin9 = 1,     // ISO 8859-15
    kCodageWinLatin1 = 2,  // Windows-1252; its five unassigned bytes decode to "?"
    kCodageDOS = 3,        // code page 850
    kCodageUTF8 = 4,
    kCodageUTF16LE = 5,  // the native order of the units
    kCodageUTF16BE = 6,
  };

  // Which differences a comparison ignores; values combine with |.
  enum Malgray {
    kMalgrayRien = 0,       // exact comparison
    kMalgrayLigatures = 1,  // a ligature matches its letters
    kMalgrayAccents = 2,
    kMalgrayCasse = 4,
    kMalgrayVariantes = 8,  // apostrophes, dashes and blanks
  };

  static constexpr uint64_t kJusquALaFin = UINT64_MAX;
  // Room for the units of a string held inline, terminator included. With the tagged word and
  // the lending pointer the object is 48 bytes, and 97.6 % of a French word list (up to 15
  // units) needs no heap block; a list of such words takes less memory than with 16-byte
  // strings, each of which had a block of its own.
  static constexpr uint64_t kUnitesCourtes = 16;

  // ---- Construction and assignment
  ChaineN() noexcept : tampon_(0) {}
  ChaineN(const ChaineN& autre) noexcept;
  ChaineN(ChaineN&& autre) noexcept : tampon_(std::exchange(autre.tampon_, 0)) {
    if (EstCourte()) std::memcpy(court_, autre.court_, sizeof court_);
  }
  ChaineN& operator=(const ChaineN& autre) noexcept;
  ChaineN& operator=(ChaineN&& autre) noexcept;
  ~ChaineN();

  // Zero-terminated units. With copie false the string borrows them: the caller keeps the array
  // alive and unchanged while this string (or a copy) still reads it.
  explicit ChaineN(const char16_t* unites, bool copie = true);
  ChaineN(const char16_t* unites, uint64_t n, bool copie = true);
  // So that ChaineN(p, 2) means two units, not a flag; a negative count throws IndexHorsBorne.
  ChaineN(const char16_t* unites, int n, bool copie = true);
  explicit ChaineN(const char16_t& c);
  // Bytes decoded from `codage`, up to the encoded terminator or n bytes.
  ChaineN(const char* octets, Codage codage = kCodageUTF8);  // NOLINT(google-explicit-constructor)
  ChaineN(const char* octets, Codage codage, uint64_t n);
  explicit ChaineN(const std::string& octets, Codage codage = kCodageUTF8);
  // printf-style; the format and its string arguments are bytes in `codage`.
  ChaineN(Codage codage, const char* format, ...) __attribute__((format(printf, 3, 4)));

  ChaineN& Format(Codage codage, const char* format, ...) __attribute__((format(printf, 3, 4)));
  ChaineN& vFormat(Codage codage, const char* format, va_list args);

  ChaineN& Mets(const ChaineN& autre);
  ChaineN& Mets(const char16_t* unites);
  ChaineN& Mets(const char16_t* unites, uint64_t n);
  ChaineN& Mets(char16_t c);
  ChaineN& Mets(const char* octets, Codage codage);
  ChaineN& Mets(const char* octets, Codage codage, uint64_t n);

  // Empties the string and keeps its buffer when it is the only user.
  ChaineN& Vide();
  bool EstVide() const { return Longueur() == 0; }
  bool empty() const { return EstVide(); }

  // ---- Size and units
  // A short string's word holds its length; both kinds of heap block start with it.
  uint64_t Longueur() const {
    if (EstCourte()) return tampon_ >> 2;
    return tampon_ == 0 ? 0 : *reinterpret_cast<const uint64_t*>(tampon_ & ~uintptr_t{1});
  }
  uint64_t size() const { return Longueur(); }
  // Units of room, terminator included; a borrowed string reports its length.
  uint64_t Capacite() const;
  // True while the string reads a caller's array.
  bool EstEmpruntee() const { return (tampon_ & 1) != 0; }
  // True when both strings read the same heap block (a copy not yet changed). Short strings are
  // held inline, each in its own object, so they never share.
  bool PartageTampon(const ChaineN& autre) const {
    return tampon_ != 0 && !EstCourte() && tampon_ == autre.tampon_;
  }
  // The units; never null. Not always zero-terminated (a borrowed count); see PreteUniCString.
  // An empty string gives kVide, one object with one address: two evaluations of a literal u""
  // need not give the same address (AddressSanitizer gives each its own), and then begin() and
  // end() of an empty string would not meet.
  const char16_t* DonneUnites() const {
    if (EstCourte()) return court_;
    if (tampon_ == 0) return kVide;
    if (EstEmpruntee()) return *reinterpret_cast<const char16_t* const*>((tampon_ & ~uintptr_t{1}) + 16);
    return reinterpret_cast<const char16_t*>(tampon_ + 24);
  }
  const char16_t* begin() const { return DonneUnites(); }
  const char16_t* end() const { return DonneUnites() + Longueur(); }

  // ---- Appending and growing. The const forms return a new string.
  ChaineN& AjouteFin(const ChaineN& autre);
  ChaineN& AjouteFin(const char16_t* unites);
  ChaineN& AjouteFin(const char16_t* unites, uint64_t n);
  // Inline for loops that build a string unit by unit: a short string or an owned buffer, held
  // alone, with room.
  ChaineN& AjouteFin(char16_t c) {
    if (EstCourte()) {
      const uint64_t n = tampon_ >> 2;
      if (n + 2 <= kUnitesCourtes) {
        court_[n] = c;
        court_[n + 1] = 0;
        tampon_ += 4;
        return *this;
      }
    } else if (tampon_ != 0 && !EstEmpruntee()) {
      uint64_t* entete = reinterpret_cast<uint64_t*>(tampon_);  // length, capacity, count
      if (entete[1] >= entete[0] + 2 &&
          std::atomic_ref<uint64_t>(entete[2]).load(std::memory_order_acquire) == 1) {
        char16_t* unites = reinterpret_cast<char16_t*>(tampon_ + 24);
        unites[entete[0]] = c;
        unites[++entete[0]] = 0;
        return *this;
      }
    }
    return AjouteFinLent(c);
  }
  ChaineN& AjouteFin(const char* octets, Codage codage);
  ChaineN& AjouteFin(const char* octets, Codage codage, uint64_t n);
  ChaineN AjouteFin(const ChaineN& autre) const;
  ChaineN AjouteFin(const char16_t* unites) const;
  ChaineN AjouteFin(const char16_t* unites, uint64_t n) const;
  ChaineN AjouteFin(char16_t c) const;
  ChaineN AjouteFin(const char* octets, Codage codage) const;
  ChaineN AjouteFin(const char* octets, Codage codage, uint64_t n) const;

  ChaineN& AjouteDebut(const ChaineN& autre);
  ChaineN& AjouteDebut(const char16_t* unites);
  ChaineN& AjouteDebut(const char16_t* unites, uint64_t n);
  ChaineN& AjouteDebut(char16_t c);
  ChaineN& AjouteDebut(const char* octets, Codage codage);
  ChaineN& AjouteDebut(const char* octets, Codage codage, uint64_t n);
  ChaineN AjouteDebut(const ChaineN& autre) const;
  ChaineN AjouteDebut(const char16_t* unites) const;
  ChaineN AjouteDebut(const char16_t* unites, uint64_t n) const;
  ChaineN AjouteDebut(char16_t c) const;
  ChaineN AjouteDebut(const char* octets, Codage codage) const;
  ChaineN AjouteDebut(const char* octets, Codage codage, uint64_t n) const;

  ChaineN& operator+=(const ChaineN& autre) { return AjouteFin(autre); }
  ChaineN& operator+=(char16_t c) { return AjouteFin(c); }
  friend ChaineN operator+(ChaineN a, const ChaineN& b) { return std::move(a.AjouteFin(b)); }

  // Sets the length to n, filling new positions with c.
  ChaineN& Agrandis(uint64_t n, char16_t c = u' ');

  // ---- Lending as bytes. Without a caller buffer, the bytes belong to this object and stay
  // valid until its next lending call or its destruction. With `tampon` of `taille` bytes, at
  // most taille minus the terminator are written (never half a character), then the terminator;
  // a buffer too small for the terminator gets a zero first byte. `longueur` receives the bytes
  // written without the terminator.
  const char* PreteCString(Codage codage = kCodageWinLatin1, uint64_t taille = 0, char* tampon = nullptr,
                           uint64_t* longueur = nullptr) const;
  const char* PreteUTF8(uint64_t taille = 0, char* tampon = nullptr, uint64_t* longueur = nullptr) const;
  const char* PreteMacRoman(uint64_t taille = 0, char* tampon = nullptr, uint64_t* longueur = nullptr) const;
  // The units, zero-terminated (copied into the lending buffer for a borrowed count).
  const char16_t* PreteUniCString() const;
  // A new zero-terminated block that the caller owns.
  std::unique_ptr<char[]> CreeCString(Codage codage, uint64_t* longueur = nullptr) const;
  std::unique_ptr<char[]> CreeUTF8(uint64_t* longueur = nullptr) const;
  // The encoded bytes, without terminator.
  std::string Encode(Codage codage = kCodageUTF8) const;
  // How many units `codage` cannot give back: each unit a code page lacks (written as "?"), and
  // in UTF-8 the units of a surrogate without its other half (combined with the unit after it,
  // or written alone as bytes that decode to U+FFFD). 0 for UTF-16, which keeps every unit, and
  // whenever the encoded bytes decode to the same string.
  uint64_t CompteNonRepresentables(Codage codage) const;

  // ---- Streams. The stream form is the encoded characters followed by the encoded terminator.
  // Reads up to the terminator (not kept); a stream that ends or fails before it throws
  // OperationInvalide.
  ChaineN& Lis(FluxEntree& entree);  // UTF-8
  ChaineN& Lis(FluxEntree& entree, Codage codage);
  // Returns the position where the string starts. A string holding U+0000 would read back cut
  // at it: OperationInvalide, nothing written. Units the encoding cannot give back are changed
  // as Encode changes them; CompteNonRepresentables counts them.
  uint64_t Ecris(FluxSortie& sortie, Codage codage = kCodageUTF8) const;

  // ---- Numbers
  // Digits in base 2..16 (upper case), padded to `largeur` with "0" or spaces, before the
  // digits or after them (aGauche). A base outside 2..16 throws IndexHorsBorne(base, 2, 16).
  static ChaineN DepuisNombre(int valeur, int base = 10, uint64_t largeur = 0, bool zeros = false,
                              bool aGauche = false);
  static ChaineN DepuisNombre(unsigned int valeur, int base = 10, uint64_t largeur = 0, bool zeros = false,
                              bool aGauche = false);
  static ChaineN DepuisNombre(int64_t valeur, int base = 10, uint64_t largeur = 0, bool zeros = false,
                              bool aGauche = false);
  static ChaineN DepuisNombre(uint64_t valeur, int base = 10, uint64_t largeur = 0, bool zeros = false,
                              bool aGauche = false);
  // Base 10 gives the shortest text that reads back to the same double; other bases give the
  // integer part and up to 16 fractional digits.
  static ChaineN DepuisNombre(double valeur, int base = 10, uint64_t largeur = 0, bool zeros = false,
                              bool aGauche = false);
  // Decimal, like the C library's atoi: leading blanks and a sign, up to the first non-digit;
  // 0 without a number; saturates at the limits of int.
  int DonneEntier() const;
  // Hexadecimal digits from the start up to the first other unit, modulo 2^32.
  uint32_t DonneEntierHex() const;
  // Like the C library's strtod in the "C" locale; 0 without a number.
  double DonneDouble() const;

  // ---- Removal
  ChaineN& EnleveDebut(uint64_t n);             // the first n units
  ChaineN& EnleveFin(uint64_t n);               // the last n units
  ChaineN& EnleveDepuisFin(uint64_t position);  // everything from `position` to the end
  ChaineN& EnleveIntervalle(uint64_t debut, uint64_t n);
  ChaineN& EnleveCarNonAlpha();  // keeps the letters (of the Basic Multilingual Plane)

  // ---- Extraction
  ChaineN SousChaine(uint64_t debut, uint64_t n = kJusquALaFin) const;
  char16_t operator[](uint64_t i) const;
  ChaineN& MetsCarAIndex(uint64_t i, char16_t c);
  // Reverses the characters; a surrogate pair stays in order.
  ChaineN& Inverse();

  // ---- Search
  int64_t Contient(const ChaineN& motif, uint64_t depuis = 0, Malgray m = kMalgrayRien) const;
  int64_t Contient(char16_t c, uint64_t depuis = 0, Malgray m = kMalgrayRien) const;
  bool ContientALaPos(const ChaineN& motif, uint64_t position, Malgray m = kMalgrayRien) const;
  // The first position at or after `depuis` whose unit is one of `ensemble`.
  int64_t ContientUnCarDe(const ChaineN& ensemble, uint64_t depuis = 0, Malgray m = kMalgrayRien) const;
  int64_t TrouveDernier(const ChaineN& motif, Malgray m = kMalgrayRien) const;
  int64_t TrouveDernier(char16_t c) const;
  // The last position at or before `depuis` whose unit is one of `ensemble`.
  int64_t TrouveUnCarDeVersLArriere(const ChaineN& ensemble, uint64_t depuis = kJusquALaFin) const;
  bool CommencePar(const ChaineN& motif, Malgray m = kMalgrayRien) const;
  bool TerminePar(const ChaineN& motif, Malgray m = kMalgrayRien) const;
  // Whole words: an occurrence whose neighbours (when there are any) are not letters or digits.
  // CommenceMotEntier: `motif` stands at `position` at the start of a word (its end is free).
  bool CommenceMotEntier(const ChaineN& motif, uint64_t position, Malgray m = kMalgrayRien) const;
  // The string starts with `motif` as a whole word.
  bool CommenceParMotEntier(const ChaineN& motif, Malgray m = kMalgrayRien) const;
  // The string ends with `motif` as a whole word.
  bool TermineMotEntier(const ChaineN& motif, Malgray m = kMalgrayRien) const;
  int64_t ContientMotEntier(const ChaineN& motif, uint64_t depuis = 0, Malgray m = kMalgrayRien) const;
  // Every whole-word occurrence, as (position, length) pairs, left to right.
  ListeC<std::pair<uint64_t, uint64_t>> RechercheMotEntier(const ChaineN& motif,
                                                           Malgray m = kMalgrayRien) const;
  // A Perl-compatible regular expression with Unicode classes (\w matches "é"); an invalid one
  // throws ErreurSyntaxe. The first match,
  // if any, is reported through `position` and `longueur`.
  bool ContientRegex(const ChaineN& expression, int64_t* position = nullptr,
                     int64_t* longueur = nullptr) const;

  // ---- Replacement (exact matches, left to right, without overlap)
  ChaineN& Remplace(const ChaineN& ancien, const ChaineN& nouveau);
  ChaineN& RemplaceDepuisFin(const ChaineN& ancien, const ChaineN& nouveau);  // the last one
  ChaineN& RemplaceFin(const ChaineN& ancien, const ChaineN& nouveau);        // a suffix
  ChaineN& RemplaceMotEntier(const ChaineN& ancien, const ChaineN& nouveau);
  // Replaces anciens[k] by nouveaux[k] in one pass: at each position the longest matching ancien
  // wins. Lists of different sizes throw OperationInvalide.
  ChaineN& RemplaceEnLot(const ListeT<ChaineN>& anciens, const ListeT<ChaineN>& nouveaux);
  // The same when no replacement is longer than what it replaces: done in place, without
  // allocation when the buffer is not shared. A longer replacement throws OperationInvalide.
  ChaineN& RemplaceEnLotChainePlusCourte(const ListeT<ChaineN>& anciens, const ListeT<ChaineN>& nouveaux);
  // The same when replacements may be longer: sizes the result first, then writes it once.
  ChaineN& RemplaceEnLotChainePlusLongue(const ListeT<ChaineN>& anciens, const ListeT<ChaineN>& nouveaux);
  // Removes every occurrence of the anciens.
  ChaineN& RemplaceEnLotChaineVide(const ListeT<ChaineN>& anciens);
  // CR and LF become spaces.
  ChaineN& RemplaceRCParBlancs();

  // ---- Blanks and typography. Blanks are the space, tab, line breaks, the no-break spaces and
  // the typographic spaces U+2000 to U+200A, U+202F, U+205F and U+3000.
  static bool EstBlanc(char16_t c);
  ChaineN& NettoieBlancs();             // removes leading and trailing blanks
  ChaineN& NormaliseBlanc();            // every blank becomes a space
  ChaineN& ConsolideBlancs();           // a run of blanks becomes one space
  ChaineN& ConsolideBlancsMemeTypes();  // a run of one blank becomes one of it
  ChaineN& NormaliseApostrophe();       // ’ ‘ ` ´ become '
  // Typographic characters to plain text: curly quotes, guillemets (« » and the space inside
  // them become "), dashes and
  // the minus sign (become -), the ellipsis (becomes ...), and blanks (become spaces).
  ChaineN& ConvertisCarsTypographiques();
  ChaineN& ConvertisRetoursDeCharriot();  // CR LF and lone CR become LF

  // ---- Comparison
  bool Egal(const ChaineN& autre, Malgray m = kMalgrayRien) const;
  bool Egal(const char16_t* unites, uint64_t n, Malgray m = kMalgrayRien) const;
  friend bool operator==(const ChaineN& a, const ChaineN& b) { return a.Egal(b); }
  // Unit by unit; a proper prefix is smaller.
  std::strong_ordering Compare(const ChaineN& autre) const;
  friend std::strong_ordering operator<=>(const ChaineN& a, const ChaineN& b) { return a.Compare(b); }

  // ---- Ligatures and normal forms
  // "oe", "Oe", "OE", "ae", "Ae" and "AE" become œ, Œ, Œ, æ, Æ, Æ: a mechanical rewrite, for
  // text known to have lost its ligatures ("coefficient" would become "cœfficient").
  ChaineN& Ligature();
  // Œ, œ, Æ and æ become their letters.
  ChaineN& Deligature();
  // True when the string holds one of the four ligatures.
  bool EstLigaturay() const;
  // Each unit to its lower-case, accentless, variant-folded form: what comparisons under
  // accents, case and variants see.
  ChaineN& NormaliseVarianteMinusculiseSansAccent();
  // Unicode canonical composition (NFC).
  ChaineN& NormaliseNFC();
  // Sorts by the collation of `locale` (ICU, tertiary strength). For French, accents weigh from
  // the end of the word, as French dictionaries order them: cote, côte, coté, côté.
  static void TriChaineNLocale(ListeT<ChaineN>& liste, const char* locale = "fr");

  // ---- Joining and escaping
  static ChaineN Joindre(const ListeT<ChaineN>& morceaux, const ChaineN& separateur = ChaineN());
  // UTF-8 bytes outside A-Z a-z 0-9 - . _ ~ become %XX.
  ChaineN DonneChaineEchappayPourcent() const;
  // %XX sequences are decoded as UTF-8; a malformed one is kept as it stands.
  ChaineN DonneChaineDesechappeePourcent() const;

  // ---- Single-byte lookups
  static unsigned char DonneCarMacRomanPourUniCar(char16_t c);  // "?" when absent
  static char16_t DonneUniCarPourCarMacRoman(unsigned char c);

 protected:
  // Room for n units, terminator included; see the class comment for the growth rule.
  void Assure(uint64_t n);

 private:
  struct _TamponPossede;
  struct _TamponEmprunte;
  static constexpr char16_t kVide[1] = {0};

  // The word of a short string: its length shifted by two, and this bit.
  static constexpr uintptr_t kCourte = 2;
  bool EstCourte() const { return (tampon_ & kCourte) != 0; }
  void MetsCourte(uint64_t n) {
    tampon_ = (n << 2) | kCourte;
    court_[n] = 0;
  }
  // Swaps the contents, not the lending buffers.
  void Echange(ChaineN& autre) noexcept;
  _TamponPossede* Possede() const { return reinterpret_cast<_TamponPossede*>(tampon_); }
  _TamponEmprunte* Emprunte() const { return reinterpret_cast<_TamponEmprunte*>(tampon_ & ~uintptr_t{1}); }
  // Makes the buffer owned and unshared with room for n units, and returns the units.
  char16_t* Modifiable(uint64_t n);
  void MetsLongueur(uint64_t n);
  void Relache() noexcept;
  ChaineN& Insere(uint64_t position, const char16_t* unites, uint64_t n);
  ChaineN& InsereOctets(uint64_t position, const char* octets, Codage codage, uint64_t n);
  ChaineN& AjouteFinLent(char16_t c);
  ChaineN& Remplace(uint64_t position, uint64_t n, const char16_t* unites, uint64_t m);
  ChaineN& RemplaceLot(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre);
  ChaineN& RemplaceLotPlusCourte(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre);
  ChaineN& RemplaceLotPlusLongue(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre);
  template <typename Garde>
  ChaineN& Filtre(Garde garde);

  uintptr_t tampon_;
  char16_t court_[kUnitesCourtes];  // a short string's units; read only when EstCourte()
  mutable std::unique_ptr<char[]> pret_;
};

constexpr ChaineN::Malgray operator|(ChaineN::Malgray a, ChaineN::Malgray b) {
  return static_cast<ChaineN::Malgray>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

// Encodings shared by the whole platform.
inline constexpr ChaineN::Codage kCodageDefautPlateforme = ChaineN::kCodageWinLatin1;
inline constexpr ChaineN::Codage kCodageSystemeFichier = ChaineN::kCodageWinLatin1;

// Equality of two units under the options: accents are removed first, then case, then
// variants are folded (kMalgrayLigatures plays no part for one unit).
OUTILS_SOCLE_EXPORT bool UniCarEgalOption(char16_t a, char16_t b, ChaineN::Malgray m);
// Two ranges unit by unit (equal lengths required).
OUTILS_SOCLE_EXPORT bool UniCarPtrEgalOption(const char16_t* a, uint64_t debutA, uint64_t longueurA,
                                             const char16_t* b, uint64_t debutB, uint64_t longueurB,
                                             ChaineN::Malgray m);

}  // namespace sdd

// FNV-1a over the units.
template <>
struct std::hash<sdd::ChaineN> {
  size_t operator()(const sdd::ChaineN& s) const noexcept {
    uint64_t h = 14695981039346656037ull;
    for (char16_t c : s) h = (h ^ c) * 1099511628211ull;
    return static_cast<size_t>(h);
  }
};
