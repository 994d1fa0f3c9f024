// Numbers to text and back, printf-style formatting, and the Mac OS Roman lookups.
#include <outils_socle/texte/ChaineN.h>

#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/Exception.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <vector>

namespace sdd {

namespace {

constexpr char kChiffres[] = "0123456789ABCDEF";
constexpr int kZoneTravail = 100;  // units: enough for 64 bits in base 2 and a sign

void VerifieBase(int base) {
  if (base < 2 || base > 16) LanceIndexHorsBorne(static_cast<uint64_t>(base), 2, 16);
}

// Pads the digits to `largeur`: zeros go between a sign and the digits, spaces outside.
ChaineN Cadre(const char16_t* chiffres, uint64_t n, bool negatif, uint64_t largeur, bool zeros,
              bool aGauche) {
  ChaineN texte;
  const uint64_t total = n + (negatif ? 1 : 0);
  const uint64_t remplissage = largeur > total ? largeur - total : 0;
  const char16_t car = zeros ? u'0' : u' ';
  if (!aGauche && !zeros) texte.Agrandis(remplissage, car);
  if (negatif) texte.AjouteFin(u'-');
  if (!aGauche && zeros) texte.Agrandis(texte.Longueur() + remplissage, car);
  texte.AjouteFin(chiffres, n);
  if (aGauche) texte.Agrandis(texte.Longueur() + remplissage, car);
  return texte;
}

ChaineN DepuisEntier(uint64_t magnitude, bool negatif, int base, uint64_t largeur, bool zeros, bool aGauche) {
  VerifieBase(base);
  char16_t zone[kZoneTravail];
  int i = kZoneTravail;
  do {
    zone[--i] = static_cast<char16_t>(kChiffres[magnitude % static_cast<unsigned>(base)]);
    magnitude /= static_cast<unsigned>(base);
  } while (magnitude != 0);
  return Cadre(zone + i, static_cast<uint64_t>(kZoneTravail - i), negatif, largeur, zeros, aGauche);
}

uint64_t Magnitude(int64_t v) { return v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v); }

// Skips C blanks: the C library's number parsers accept them before a number.
const char* SauteBlancs(const char* p) {
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  return p;
}

}  // namespace

ChaineN ChaineN::DepuisNombre(int valeur, int base, uint64_t largeur, bool zeros, bool aGauche) {
  return DepuisEntier(Magnitude(valeur), valeur < 0, base, largeur, zeros, aGauche);
}
ChaineN ChaineN::DepuisNombre(unsigned int valeur, int base, uint64_t largeur, bool zeros, bool aGauche) {
  return DepuisEntier(valeur, false, base, largeur, zeros, aGauche);
}
ChaineN ChaineN::DepuisNombre(int64_t valeur, int base, uint64_t largeur, bool zeros, bool aGauche) {
  return DepuisEntier(Magnitude(valeur), valeur < 0, base, largeur, zeros, aGauche);
}
ChaineN ChaineN::DepuisNombre(uint64_t valeur, int base, uint64_t largeur, bool zeros, bool aGauche) {
  return DepuisEntier(valeur, false, base, largeur, zeros, aGauche);
}

ChaineN ChaineN::DepuisNombre(double valeur, int base, uint64_t largeur, bool zeros, bool aGauche) {
  VerifieBase(base);
  char zone[kZoneTravail * 4];
  int n = 0;
  const bool negatif = std::signbit(valeur) && !std::isnan(valeur);
  const double magnitude = std::fabs(valeur);
  if (base == 10 || !std::isfinite(magnitude) || magnitude >= 0x1p63) {
    // Shortest decimal text that reads back to the same double.
    const auto r = std::to_chars(zone, zone + sizeof zone, magnitude);
    n = static_cast<int>(r.ptr - zone);
  } else {
    double entiere;
    double fraction = std::modf(magnitude, &entiere);
    uint64_t e = static_cast<uint64_t>(entiere);
    char inverse[70];
    int k = 0;
    do {
      inverse[k++] = kChiffres[e % static_cast<unsigned>(base)];
      e /= static_cast<unsigned>(base);
    } while (e != 0);
    while (k > 0) zone[n++] = inverse[--k];
    if (fraction > 0) {
      zone[n++] = '.';
      for (int d = 0; d < 16 && fraction > 0; ++d) {
        fraction *= base;
        const int chiffre = static_cast<int>(fraction);
        zone[n++] = kChiffres[chiffre];
        fraction -= chiffre;
      }
    }
  }
  char16_t unites[kZoneTravail * 4];
  for (int i = 0; i < n; ++i) unites[i] = static_cast<unsigned char>(zone[i]);
  return Cadre(unites, static_cast<uint64_t>(n), negatif, largeur, zeros, aGauche);
}

int ChaineN::DonneEntier() const {
  const char* p = SauteBlancs(PreteMacRoman());
  const bool negatif = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  int64_t valeur = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    valeur = valeur * 10 + (*p - '0');
    if (valeur > static_cast<int64_t>(INT_MAX) + 1) valeur = static_cast<int64_t>(INT_MAX) + 1;
  }
  if (negatif) return static_cast<int>(-valeur);
  return valeur > INT_MAX ? INT_MAX : static_cast<int>(valeur);
}

uint32_t ChaineN::DonneEntierHex() const {
  uint32_t valeur = 0;
  for (char16_t c : *this) {
    int chiffre;
    if (c >= u'0' && c <= u'9')
      chiffre = c - u'0';
    else if (c >= u'a' && c <= u'f')
      chiffre = c - u'a' + 10;
    else if (c >= u'A' && c <= u'F')
      chiffre = c - u'A' + 10;
    else
      break;
    valeur = (valeur << 4) | static_cast<uint32_t>(chiffre);
  }
  return valeur;
}

double ChaineN::DonneDouble() const {
  // from_chars is strtod without the locale: a program that set a French locale still reads
  // "1.5" as one and a half.
  uint64_t n = 0;
  const char* debut = PreteMacRoman(0, nullptr, &n);
  const char* fin = debut + n;
  const char* p = SauteBlancs(debut);
  bool negatif = false;
  if (p < fin && (*p == '-' || *p == '+')) negatif = *p++ == '-';
  if (p < fin && *p == '-') return 0;  // "--1" is no number
  double valeur = 0;
  if (fin - p > 1 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
    if (std::from_chars(p + 2, fin, valeur, std::chars_format::hex).ec != std::errc()) valeur = 0;
  } else if (std::from_chars(p, fin, valeur).ec != std::errc()) {
    valeur = 0;
  }
  return negatif ? -valeur : valeur;
}

// ---- Formatting

ChaineN& ChaineN::vFormat(Codage codage, const char* format, va_list args) {
  char pile[256];
  va_list copie;
  va_copy(copie, args);
  const int taille = std::vsnprintf(pile, sizeof pile, format, copie);
  va_end(copie);
  if (taille < 0) return Vide();
  if (static_cast<size_t>(taille) < sizeof pile) return Mets(pile, codage, static_cast<uint64_t>(taille));
  std::vector<char> tas(static_cast<size_t>(taille) + 1);
  std::vsnprintf(tas.data(), tas.size(), format, args);
  return Mets(tas.data(), codage, static_cast<uint64_t>(taille));
}

ChaineN& ChaineN::Format(Codage codage, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vFormat(codage, format, args);
  va_end(args);
  return *this;
}

ChaineN::ChaineN(Codage codage, const char* format, ...) : tampon_(0) {
  va_list args;
  va_start(args, format);
  vFormat(codage, format, args);
  va_end(args);
}

// ---- Mac OS Roman lookups

unsigned char ChaineN::DonneCarMacRomanPourUniCar(char16_t c) {
  return static_cast<const ConvertisseurChaineNCodageUnOctet&>(
             ConvertisseurChaineN::ConvertisseurPourCodage(kCodageMacRoman))
      .DonneOctet(c);
}

char16_t ChaineN::DonneUniCarPourCarMacRoman(unsigned char c) {
  return static_cast<const ConvertisseurChaineNCodageUnOctet&>(
             ConvertisseurChaineN::ConvertisseurPourCodage(kCodageMacRoman))
      .DonneUnite(c);
}

}  // namespace sdd
