#include <outils_socle/texte/Exception.h>
#include <outils_socle/xml/Balise.h>

#include <algorithm>

#include "xml/CheminsXML.h"

namespace sdd {

Balise::Balise(std::string nom, std::string texte) : nom_(std::move(nom)), texte_(std::move(texte)) {}

namespace {

bool EstDeclaration(std::string_view nom) { return nom == "xmlns" || nom.starts_with("xmlns:"); }

}  // namespace

Balise::Balise(std::string nom, std::vector<Attribut> attributs)
    : nom_(std::move(nom)), attributs_(std::move(attributs)) {
  const auto declaration = [](const Attribut& a) { return EstDeclaration(a.nom); };
  // The parser gives them in this order already; only a caller's list may need the (allocating)
  // stable partition.
  if (!std::is_partitioned(attributs_.begin(), attributs_.end(), declaration)) {
    std::stable_partition(attributs_.begin(), attributs_.end(), declaration);
  }
}

std::string Balise::TexteComplet() const {
  std::string sortie;
  xml::AjouteTexteComplet(*this, sortie);
  return sortie;
}

const std::string* Balise::TrouveAttribut(std::string_view nom) const {
  for (const Attribut& a : attributs_) {
    if (a.nom == nom) return &a.valeur;
  }
  return nullptr;
}

std::string Balise::DonneAttribut(std::string_view nom, std::string_view repli) const {
  const std::string* valeur = TrouveAttribut(nom);
  return valeur != nullptr ? *valeur : std::string(repli);
}

UniChaine Balise::DonneAttributUni(std::string_view nom, const UniChaine& repli) const {
  const std::string* valeur = TrouveAttribut(nom);
  return valeur != nullptr ? UniChaine(*valeur) : repli;
}

void Balise::MetsAttribut(std::string_view nom, std::string valeur) {
  for (Attribut& a : attributs_) {
    if (a.nom == nom) {
      a.valeur = std::move(valeur);
      return;
    }
  }
  auto place = attributs_.end();
  if (EstDeclaration(nom)) {
    place = std::find_if(attributs_.begin(), attributs_.end(),
                         [](const Attribut& a) { return !EstDeclaration(a.nom); });
  }
  attributs_.insert(place, Attribut{std::string(nom), std::move(valeur)});
}

bool Balise::EnleveAttribut(std::string_view nom) {
  const auto it =
      std::find_if(attributs_.begin(), attributs_.end(), [&](const Attribut& a) { return a.nom == nom; });
  if (it == attributs_.end()) return false;
  attributs_.erase(it);
  return true;
}

const Balise& Balise::Enfant(std::size_t i) const {
  if (i >= enfants_.size()) LanceIndexHorsBorne(i, 0, enfants_.size());
  return enfants_[i];
}

Balise& Balise::Enfant(std::size_t i) {
  if (i >= enfants_.size()) LanceIndexHorsBorne(i, 0, enfants_.size());
  return enfants_[i];
}

const Balise* Balise::Enfant(std::string_view nom) const {
  for (const Balise& enfant : enfants_) {
    if (enfant.nom_ == nom) return &enfant;
  }
  return nullptr;
}

Balise* Balise::Enfant(std::string_view nom) {
  return const_cast<Balise*>(static_cast<const Balise*>(this)->Enfant(nom));
}

std::vector<const Balise*> Balise::EnfantsNommes(std::string_view nom) const {
  std::vector<const Balise*> trouves;
  for (const Balise& enfant : enfants_) {
    if (enfant.nom_ == nom) trouves.push_back(&enfant);
  }
  return trouves;
}

const Balise* Balise::Trouve(std::string_view chemin) const {
  const std::vector<const Balise*> trouves = xml::ResousChemin(*this, chemin, true);
  return trouves.empty() ? nullptr : trouves.front();
}

Balise* Balise::Trouve(std::string_view chemin) {
  return const_cast<Balise*>(static_cast<const Balise*>(this)->Trouve(chemin));
}

std::vector<const Balise*> Balise::TrouveTous(std::string_view chemin) const {
  return xml::ResousChemin(*this, chemin, false);
}

Balise& Balise::AjouteEnfant(Balise enfant) {
  enfants_.push_back(std::move(enfant));
  return enfants_.back();
}

Balise& Balise::AjouteEnfant(std::string nom, std::string texte) {
  return AjouteEnfant(Balise(std::move(nom), std::move(texte)));
}

Balise& Balise::InsereEnfant(std::size_t i, Balise enfant) {
  if (i > enfants_.size()) LanceIndexHorsBorne(i, 0, enfants_.size() + 1);
  return *enfants_.insert(enfants_.begin() + static_cast<std::ptrdiff_t>(i), std::move(enfant));
}

void Balise::EnleveEnfant(std::size_t i) {
  if (i >= enfants_.size()) LanceIndexHorsBorne(i, 0, enfants_.size());
  enfants_.erase(enfants_.begin() + static_cast<std::ptrdiff_t>(i));
}

std::size_t Balise::EnleveEnfants(std::string_view nom) {
  return std::erase_if(enfants_, [&](const Balise& b) { return b.nom_ == nom; });
}

}  // namespace sdd
