#include <outils_socle/texte/Exception.h>

#include <string>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd::exceptions {

Exception::Exception(const UniChaine& message, const UniChaine& explication)
    : message_(message), explication_(explication) {}

Exception::~Exception() = default;

UniChaine Exception::MessageComplet() const { return message_ + " : " + explication_; }

UniChaine Exception::MessageTraduit() const {
  return detail::TraduisTexteBibliotheque(message_.DonneStdString());
}

UniChaine Exception::ExplicationTraduite() const {
  return detail::TraduisTexteBibliotheque(explication_.DonneStdString());
}

UniChaine Exception::MessageCompletTraduit() const {
  return MessageTraduit() + " : " + ExplicationTraduite();
}

// The texts are the library's own and must stay as they are, oddities included: ErreurSyntaxe
// shares OperationInvalide's message, and "Memoire insuffisante" carries no accent.
ErreurDeserialisation::ErreurDeserialisation(const UniChaine& detail)
    : Exception(N_("Erreur de désérialisation"), detail) {}
ErreurDeserialisation::~ErreurDeserialisation() = default;

ErreurSyntaxe::ErreurSyntaxe() : Exception(N_("L'opération est invalide"), UniChaine()) {}
ErreurSyntaxe::~ErreurSyntaxe() = default;

IndexHorsBorne::IndexHorsBorne(uint64_t index, uint64_t min, uint64_t max)
    : Exception(N_("L'index est hors limite"), "index=" + std::to_string(index) + " min=" +
                                                   std::to_string(min) + " max=" + std::to_string(max)) {}
IndexHorsBorne::~IndexHorsBorne() = default;

LiberationObjetImpossible::LiberationObjetImpossible()
    : Exception(N_("Impossible de libérer l'objet dans l'espace mémoire"), UniChaine()) {}
LiberationObjetImpossible::~LiberationObjetImpossible() = default;

MemoireInsuffisante::MemoireInsuffisante(const UniChaine& detail)
    : Exception(N_("Memoire insuffisante"), detail) {}
MemoireInsuffisante::~MemoireInsuffisante() = default;

OperationInvalide::OperationInvalide() : Exception(N_("L'opération est invalide"), UniChaine()) {}
OperationInvalide::OperationInvalide(const UniChaine& detail)
    : Exception(N_("L'opération est invalide"), detail) {}
OperationInvalide::~OperationInvalide() = default;

OuvertureEchouee::OuvertureEchouee(const UniChaine& detail) : Exception(N_("Ouverture échouée"), detail) {}
OuvertureEchouee::OuvertureEchouee(const UniChaine& message, const UniChaine& detail)
    : Exception(message, detail) {}
OuvertureEchouee::~OuvertureEchouee() = default;

PointeurInvalide::PointeurInvalide() : Exception(N_("Violation d'accès à la mémoire."), UniChaine()) {}
PointeurInvalide::~PointeurInvalide() = default;

TableNonValide::TableNonValide(const UniChaine& detail) : Exception(N_("Table non valide"), detail) {}
TableNonValide::~TableNonValide() = default;

ValeurIndefinieIterateur::ValeurIndefinieIterateur()
    : Exception(N_("Impossible d'accéder à la valeur dans l'itérateur"),
                N_("L'itérateur doit être à la fin.")) {}
ValeurIndefinieIterateur::~ValeurIndefinieIterateur() = default;

ExceptionModulePrismale::ExceptionModulePrismale(const UniChaine& message, const UniChaine& explication)
    : Exception(message, explication) {}
ExceptionModulePrismale::~ExceptionModulePrismale() = default;

}  // namespace sdd::exceptions

namespace sdd {

void LanceIndexHorsBorne(uint64_t index, uint64_t min, uint64_t max) {
  throw exceptions::IndexHorsBorne(index, min, max);
}

void LanceErreurSyntaxe() { throw exceptions::ErreurSyntaxe(); }

}  // namespace sdd
