#include <outils_socle/reglages/JeuxDeReglages.h>

#include <algorithm>
#include <map>

#include <outils_socle/fils/DMutex.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

struct jeux_de_reglages::_Rep {
  explicit _Rep(Reglages& r) : reglages(r) {}
  Reglages& reglages;
  mutable DMutex verrou;
  std::vector<std::pair<UniChaine, Jeu>> jeux;  // guarded by verrou, in order of definition
  std::map<int, Ecouteur> ecouteurs;            // guarded by verrou
  int prochainEcouteur = 1;

  // Locked by the caller.
  std::vector<std::pair<UniChaine, Jeu>>::iterator Trouve(const UniChaine& nom) {
    return std::find_if(jeux.begin(), jeux.end(), [&](const auto& j) { return j.first == nom; });
  }
};

jeux_de_reglages::jeux_de_reglages(Reglages& reglages) : rep_(std::make_unique<_Rep>(reglages)) {}
jeux_de_reglages::~jeux_de_reglages() = default;

void jeux_de_reglages::Definis(const UniChaine& nom, const Jeu& jeu) {
  StVerrouilleDMutex verrou(&rep_->verrou);
  const auto it = rep_->Trouve(nom);
  if (it != rep_->jeux.end())
    it->second = jeu;
  else
    rep_->jeux.emplace_back(nom, jeu);
}

bool jeux_de_reglages::Enleve(const UniChaine& nom) {
  StVerrouilleDMutex verrou(&rep_->verrou);
  const auto it = rep_->Trouve(nom);
  if (it == rep_->jeux.end()) return false;
  rep_->jeux.erase(it);
  return true;
}

bool jeux_de_reglages::Possede(const UniChaine& nom) const {
  StVerrouilleDMutex verrou(&rep_->verrou);
  return rep_->Trouve(nom) != rep_->jeux.end();
}

jeux_de_reglages::Jeu jeux_de_reglages::Donne(const UniChaine& nom) const {
  StVerrouilleDMutex verrou(&rep_->verrou);
  const auto it = rep_->Trouve(nom);
  if (it == rep_->jeux.end())
    throw exceptions::OperationInvalide(
        detail::Formate(N_("Jeu de réglages inconnu : « %s »"), {nom.DonneStdString()}));
  return it->second;
}

std::vector<UniChaine> jeux_de_reglages::Noms() const {
  StVerrouilleDMutex verrou(&rep_->verrou);
  std::vector<UniChaine> noms;
  for (const auto& [nom, jeu] : rep_->jeux) noms.push_back(nom);
  return noms;
}

void jeux_de_reglages::Applique(const UniChaine& nom) {
  // The set is copied out so that the settings' lock is never taken under ours.
  rep_->reglages.Applique(Donne(nom));
  std::vector<Ecouteur> appels;
  {
    StVerrouilleDMutex verrou(&rep_->verrou);
    for (const auto& [numero, ecouteur] : rep_->ecouteurs) appels.push_back(ecouteur);
  }
  for (const Ecouteur& appel : appels) appel(nom);
}

int jeux_de_reglages::AjouteEcouteur(Ecouteur ecouteur) {
  StVerrouilleDMutex verrou(&rep_->verrou);
  const int numero = rep_->prochainEcouteur++;
  rep_->ecouteurs.emplace(numero, std::move(ecouteur));
  return numero;
}

void jeux_de_reglages::EnleveEcouteur(int numero) {
  StVerrouilleDMutex verrou(&rep_->verrou);
  rep_->ecouteurs.erase(numero);
}

}  // namespace sdd
