#include <outils_socle/automates/ProbabiliteTransformation.h>

#include <cmath>

#include <outils_socle/texte/UniCaractere.h>

namespace sdd {

namespace {

char16_t Pli(char16_t c) { return UniCaractere::NormaliseVarianteMinusculiseSansAccent(c); }

// Letters that French spelling lets stand for the same sound, one group per line; two letters
// confuse cheaply when they share a group.
constexpr const char16_t* kGroupesSonores[] = {u"ckq", u"csç", u"sz", u"gj", u"iy",
                                               u"mn",  u"fv",  u"bp", u"dt"};

bool MemeSon(char16_t a, char16_t b) {
  for (const char16_t* groupe : kGroupesSonores) {
    bool trouveA = false, trouveB = false;
    for (const char16_t* p = groupe; *p; ++p) {
      trouveA |= *p == a;
      trouveB |= *p == b;
    }
    if (trouveA && trouveB) return true;
  }
  return false;
}

}  // namespace

ProbabiliteTransformation::~ProbabiliteTransformation() = default;

uint32_t ProbabiliteTransformation::CoutSubstitution(char16_t tape, char16_t stocke) const {
  const char16_t a = Pli(tape), b = Pli(stocke);
  if (a == b) return 1;
  // "ç" folds to "c", so compare the lower-case forms for the c/ç/s group.
  if (MemeSon(a, b) || MemeSon(UniCaractere::Minuscule(tape), UniCaractere::Minuscule(stocke))) return 5;
  return kCoutUnitaire;
}

uint32_t ProbabiliteTransformation::CoutInsertion(char16_t stocke, char16_t precedent) const {
  return precedent != 0 && Pli(stocke) == Pli(precedent) ? 3 : kCoutUnitaire;
}

uint32_t ProbabiliteTransformation::CoutSuppression(char16_t tape, char16_t precedent) const {
  return precedent != 0 && Pli(tape) == Pli(precedent) ? 3 : kCoutUnitaire;
}

uint32_t ProbabiliteTransformation::CoutTransposition(char16_t, char16_t) const { return 6; }

double ProbabiliteTransformation::Probabilite(uint32_t cout) const {
  return std::pow(10.0, -static_cast<double>(cout) / kCoutUnitaire);
}

const ProbabiliteTransformation& ProbabiliteTransformation::Francais() {
  static const ProbabiliteTransformation modele;
  return modele;
}

}  // namespace sdd
