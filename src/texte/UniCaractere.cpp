#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniCaractere.h>

#include "texte/ClassesCaracteres.h"
#include "texte/FormatTableCaracteres.h"
#include "texte/Malgray.h"

namespace sdd {

namespace {

namespace cl = detail::classes;

const detail::EntreeCaractere& Entree(char16_t c) { return sdd_table_caracteres[c]; }

bool A(char16_t c, uint64_t bit) { return (UniCaractere::Classes(c) & bit) != 0; }

struct LigatureLettres {
  char16_t ligature;
  char16_t lettres[3];
};
constexpr LigatureLettres kLigatures[] = {{0x0152, u"OE"}, {0x0153, u"oe"}, {0x00C6, u"AE"}, {0x00E6, u"ae"}};

template <typename Car>
bool CopieLettres(const char16_t* lettres, Car* sortie, uint64_t taille, uint64_t* longueur) {
  uint64_t n = 0;
  for (; lettres[n] != 0 && n < taille; ++n) sortie[n] = static_cast<Car>(lettres[n]);
  if (n < taille) sortie[n] = 0;
  if (longueur) *longueur = n;
  return true;
}

}  // namespace

uint64_t UniCaractere::Classes(char16_t c) {
  const uint16_t* m = Entree(c).classes;
  return m[0] | (uint64_t{m[1]} << 16) | (uint64_t{m[2]} << 32) | (uint64_t{m[3]} << 48);
}
uint16_t UniCaractere::MotDeClasse(char16_t c, unsigned mot) { return mot < 4 ? Entree(c).classes[mot] : 0; }

char16_t UniCaractere::Majuscule(char16_t c) { return Entree(c).majuscule; }
char16_t UniCaractere::Minuscule(char16_t c) { return Entree(c).minuscule; }
char16_t UniCaractere::SansAccent(char16_t c) { return Entree(c).sansAccent; }
char16_t UniCaractere::CasseInversee(char16_t c) { return Entree(c).casseInversee; }
char16_t UniCaractere::Variante(char16_t c) { return Entree(c).variante; }
char16_t UniCaractere::BlancsNormalises(char16_t c) { return Entree(c).blancsNormalises; }
char16_t UniCaractere::NormaliseVarianteMinusculiseSansAccent(char16_t c) { return Entree(c).forme; }

bool UniCaractere::EstLettre(char16_t c) { return A(c, cl::kLettre); }
bool UniCaractere::EstMajuscule(char16_t c) { return A(c, cl::kMajuscule); }
bool UniCaractere::EstMinuscule(char16_t c) { return A(c, cl::kMinuscule); }
bool UniCaractere::EstVoyelle(char16_t c) { return A(c, cl::kVoyelle); }
bool UniCaractere::EstConsonne(char16_t c) { return A(c, cl::kConsonne); }
bool UniCaractere::EstChiffre(char16_t c) { return A(c, cl::kChiffre); }
bool UniCaractere::EstPonctuation(char16_t c) { return A(c, cl::kPonctuation); }
bool UniCaractere::EstApostrophe(char16_t c) { return A(c, cl::kApostrophe); }
bool UniCaractere::EstBlanc(char16_t c) { return A(c, cl::kBlanc); }
bool UniCaractere::EstLigature(char16_t c) { return A(c, cl::kLigature); }

const char16_t* detail::LettresDeLigature(char16_t c) {
  for (const LigatureLettres& l : kLigatures)
    if (l.ligature == c) return l.lettres;
  return nullptr;
}

bool UniCaractere::DecompositionLigature(char16_t c, char16_t* sortie, uint64_t taille, uint64_t* longueur) {
  if (!EstLigature(c)) return false;
  if (const char16_t* lettres = detail::LettresDeLigature(c))
    return CopieLettres(lettres, sortie, taille, longueur);
  if (taille > 0) sortie[0] = u'0';  // a marked character outside the table
  return false;
}

// ---- Caractere

namespace {
char16_t Unite(unsigned char c) { return ChaineN::DonneUniCarPourCarMacRoman(c); }
}  // namespace

bool Caractere::EstLettre(unsigned char c) { return UniCaractere::EstLettre(Unite(c)); }
bool Caractere::EstMajuscule(unsigned char c) { return UniCaractere::EstMajuscule(Unite(c)); }
bool Caractere::EstMinuscule(unsigned char c) { return UniCaractere::EstMinuscule(Unite(c)); }
bool Caractere::EstVoyelle(unsigned char c) { return UniCaractere::EstVoyelle(Unite(c)); }
bool Caractere::EstConsonne(unsigned char c) { return UniCaractere::EstConsonne(Unite(c)); }
bool Caractere::EstChiffre(unsigned char c) { return UniCaractere::EstChiffre(Unite(c)); }
bool Caractere::EstPonctuation(unsigned char c) { return UniCaractere::EstPonctuation(Unite(c)); }
bool Caractere::EstApostrophe(unsigned char c) { return UniCaractere::EstApostrophe(Unite(c)); }
bool Caractere::EstBlanc(unsigned char c) { return UniCaractere::EstBlanc(Unite(c)); }

bool Caractere::DecompositionLigature(unsigned char c, char* sortie, uint64_t taille, uint64_t* longueur) {
  static constexpr struct {
    unsigned char octet;
    char16_t lettres[3];
  } kLignes[] = {{0xCE, u"OE"}, {0xCF, u"oe"}, {0xAE, u"AE"}, {0xBE, u"ae"}};
  for (const auto& l : kLignes)
    if (l.octet == c) return CopieLettres(l.lettres, sortie, taille, longueur);
  return false;
}

}  // namespace sdd
