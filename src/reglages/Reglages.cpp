#include <outils_socle/reglages/Reglages.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <shared_mutex>

#include <outils_socle/fils/DMutex.h>
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"
#include "reglages/CheminsReglages.h"
#include "reglages/FormatsReglages.h"

namespace sdd {

namespace {

struct Entree {
  std::optional<Reglage> defaut;
  std::optional<Reglage> valeur;
  // What a file gave and no declaration has been able to read: kept so that it is written back.
  std::optional<detail::ValeurFichier> brut;

  bool EstVide() const { return !defaut && !valeur && !brut; }
};

std::optional<Reglage> LisBrut(const detail::ValeurFichier& brut, eTypeReglage type) {
  Reglage valeur;
  if (brut.liste) {
    if (type != eTypeReglage::eListeChaines) return std::nullopt;
    Reglage::Chaines chaines;
    chaines.reserve(brut.elements.size());
    for (const std::string& element : brut.elements) chaines.emplace_back(element);
    return Reglage::ListeChaines(chaines);
  }
  if (!Reglage::LisTexte(type, brut.texte, valeur)) return std::nullopt;
  return valeur;
}

detail::ValeurFichier EnBrut(const Reglage& valeur) {
  detail::ValeurFichier brut;
  if (valeur.Type() != eTypeReglage::eListeChaines) {
    brut.texte = valeur.EcrisTexte();
    return brut;
  }
  brut.liste = true;
  for (const UniChaine& chaine : valeur.DonneListeChaines()) brut.elements.push_back(chaine.DonneStdString());
  return brut;
}

[[noreturn]] void LanceCheminNonValide(const std::string& chemin) {
  throw exceptions::OperationInvalide(detail::Formate(N_("Chemin de réglage non valide : « %s »"), {chemin}));
}

}  // namespace

struct Reglages::_Rep {
  // Not the threads subsystem's DMutexLMRU: by its contract a reader that slips in while a
  // writer is about to start is let through beside it, and a set must be seen whole or not at
  // all. std::shared_mutex excludes readers from the writer, always.
  mutable std::shared_mutex verrou;
  std::map<std::string, Entree> entrees;  // guarded by verrou

  DMutex verrouEcouteurs;
  std::map<int, Ecouteur> ecouteurs;  // guarded by verrouEcouteurs
  int prochainEcouteur = 1;

  // The value to read for `chemin` as `type`: its own value, else the file's if it reads as
  // that type, else the declared default. Reader lock held.
  std::optional<Reglage> Lis(const std::string& chemin, eTypeReglage type) const {
    const auto it = entrees.find(chemin);
    if (it == entrees.end()) return std::nullopt;
    const Entree& e = it->second;
    if (e.valeur && e.valeur->Type() == type) return e.valeur;
    if (e.brut) {
      if (std::optional<Reglage> lu = LisBrut(*e.brut, type)) return lu;
    }
    if (e.defaut && e.defaut->Type() == type) return e.defaut;
    return std::nullopt;
  }

  // A path is refused if a value or declaration sits above it or below it. Writer or reader
  // lock held.
  void VerifiePlace(const std::string& chemin) const {
    if (!detail::EstCheminValide(chemin)) LanceCheminNonValide(chemin);
    for (size_t barre = chemin.find('/'); barre != std::string::npos; barre = chemin.find('/', barre + 1)) {
      if (entrees.count(chemin.substr(0, barre)) != 0)
        throw exceptions::OperationInvalide(
            detail::Formate(N_("Réglage « %s » sous le réglage « %s »"), {chemin, chemin.substr(0, barre)}));
    }
    const std::string dessous = chemin + "/";
    const auto suivant = entrees.lower_bound(dessous);
    if (suivant != entrees.end() && suivant->first.compare(0, dessous.size(), dessous) == 0)
      throw exceptions::OperationInvalide(
          detail::Formate(N_("Réglage « %s » au-dessus du réglage « %s »"), {chemin, suivant->first}));
  }

  // Checks one change against the declarations; throws OperationInvalide.
  void VerifieChangement(const std::string& chemin, const Reglage& valeur) const {
    const auto it = entrees.find(chemin);
    if (it == entrees.end()) {
      VerifiePlace(chemin);
      return;
    }
    const Entree& e = it->second;
    if (e.defaut && e.defaut->Type() != valeur.Type())
      throw exceptions::OperationInvalide(
          detail::Formate(N_("Réglage « %s » de type %s : valeur de type %s refusée"),
                          {chemin, NomTypeReglage(e.defaut->Type()), NomTypeReglage(valeur.Type())}));
  }

  void Previens(const std::vector<UniChaine>& chemins) {
    if (chemins.empty()) return;
    std::vector<Ecouteur> appels;
    {
      StVerrouilleDMutex verrou(&verrouEcouteurs);
      for (const auto& [numero, ecouteur] : ecouteurs) appels.push_back(ecouteur);
    }
    for (const Ecouteur& appel : appels) appel(chemins);
  }
};

Reglages::Reglages() : rep_(std::make_unique<_Rep>()) {}

Reglages::Reglages(const Reglages& autre) : rep_(std::make_unique<_Rep>()) {
  std::shared_lock verrou(autre.rep_->verrou);
  rep_->entrees = autre.rep_->entrees;
}

Reglages& Reglages::operator=(const Reglages& autre) {
  if (this == &autre) return *this;
  std::map<std::string, Entree> copie;
  {
    std::shared_lock verrou(autre.rep_->verrou);
    copie = autre.rep_->entrees;
  }
  std::unique_lock verrou(rep_->verrou);
  rep_->entrees = std::move(copie);
  return *this;
}

Reglages::~Reglages() = default;

void Reglages::Declare(const UniChaine& chemin, const Reglage& defaut) {
  const std::string clef = chemin.DonneStdString();
  std::unique_lock verrou(rep_->verrou);
  auto it = rep_->entrees.find(clef);
  if (it == rep_->entrees.end()) {
    rep_->VerifiePlace(clef);
    it = rep_->entrees.emplace(clef, Entree()).first;
  }
  Entree& e = it->second;
  const std::optional<Reglage>& connu = e.defaut ? e.defaut : e.valeur;
  if (connu && connu->Type() != defaut.Type())
    throw exceptions::OperationInvalide(
        detail::Formate(N_("Réglage « %s » déjà de type %s, redéclaré de type %s"),
                        {clef, NomTypeReglage(connu->Type()), NomTypeReglage(defaut.Type())}));
  e.defaut = defaut;
  // A file's value becomes a typed one as soon as someone says what type it has.
  if (e.brut && !e.valeur) {
    if (std::optional<Reglage> lu = LisBrut(*e.brut, defaut.Type())) {
      e.valeur = std::move(lu);
      e.brut.reset();
    }
  }
}

bool Reglages::EstDeclare(const UniChaine& chemin) const {
  std::shared_lock verrou(rep_->verrou);
  const auto it = rep_->entrees.find(chemin.DonneStdString());
  return it != rep_->entrees.end() && it->second.defaut.has_value();
}

bool Reglages::PossedeValeur(const UniChaine& chemin) const {
  std::shared_lock verrou(rep_->verrou);
  const auto it = rep_->entrees.find(chemin.DonneStdString());
  return it != rep_->entrees.end() && (it->second.valeur || it->second.brut);
}

bool Reglages::DonneBooleen(const UniChaine& chemin, bool repli) const {
  std::shared_lock verrou(rep_->verrou);
  const auto lu = rep_->Lis(chemin.DonneStdString(), eTypeReglage::eBooleen);
  return lu ? lu->DonneBooleen() : repli;
}

int64_t Reglages::DonneEntier(const UniChaine& chemin, int64_t repli) const {
  std::shared_lock verrou(rep_->verrou);
  const auto lu = rep_->Lis(chemin.DonneStdString(), eTypeReglage::eEntier);
  return lu ? lu->DonneEntier() : repli;
}

UniChaine Reglages::DonneChaine(const UniChaine& chemin, const UniChaine& repli) const {
  std::shared_lock verrou(rep_->verrou);
  const auto lu = rep_->Lis(chemin.DonneStdString(), eTypeReglage::eChaine);
  return lu ? lu->DonneChaine() : repli;
}

Reglage::Chaines Reglages::DonneListeChaines(const UniChaine& chemin, const Reglage::Chaines& repli) const {
  std::shared_lock verrou(rep_->verrou);
  const auto lu = rep_->Lis(chemin.DonneStdString(), eTypeReglage::eListeChaines);
  return lu ? lu->DonneListeChaines() : repli;
}

Reglage::Octets Reglages::DonneBlob(const UniChaine& chemin, const Reglage::Octets& repli) const {
  std::shared_lock verrou(rep_->verrou);
  const auto lu = rep_->Lis(chemin.DonneStdString(), eTypeReglage::eBlob);
  return lu ? lu->DonneBlob() : repli;
}

bool Reglages::DonneValeur(const UniChaine& chemin, Reglage& valeur) const {
  std::shared_lock verrou(rep_->verrou);
  const auto it = rep_->entrees.find(chemin.DonneStdString());
  if (it == rep_->entrees.end() || !it->second.valeur) return false;
  valeur = *it->second.valeur;
  return true;
}

bool Reglages::DonneDefaut(const UniChaine& chemin, Reglage& defaut) const {
  std::shared_lock verrou(rep_->verrou);
  const auto it = rep_->entrees.find(chemin.DonneStdString());
  if (it == rep_->entrees.end() || !it->second.defaut) return false;
  defaut = *it->second.defaut;
  return true;
}

void Reglages::Mets(const UniChaine& chemin, const Reglage& valeur) { Applique({{chemin, valeur}}); }

void Reglages::Applique(const std::vector<Changement>& changements) {
  std::vector<UniChaine> changes;
  {
    std::unique_lock verrou(rep_->verrou);
    // Check everything first, against a scratch map of the paths this call adds, so that two
    // new paths of one call cannot clash with each other either.
    std::map<std::string, const Reglage*> vus;
    for (const auto& [chemin, valeur] : changements) {
      const std::string clef = chemin.DonneStdString();
      const auto deja = vus.find(clef);
      if (deja != vus.end()) {
        if (deja->second->Type() != valeur.Type())
          throw exceptions::OperationInvalide(
              detail::Formate(N_("Réglage « %s » changé deux fois avec deux types"), {clef}));
        continue;
      }
      rep_->VerifieChangement(clef, valeur);
      for (const auto& [autre, v] : vus) {
        const auto sous = [](const std::string& haut, const std::string& bas) {
          return bas.size() > haut.size() && bas.compare(0, haut.size(), haut) == 0 &&
                 bas[haut.size()] == '/';
        };
        if (sous(autre, clef) || sous(clef, autre))
          throw exceptions::OperationInvalide(
              detail::Formate(N_("Réglages « %s » et « %s » l’un sous l’autre"), {autre, clef}));
      }
      vus.emplace(clef, &valeur);
    }
    for (const auto& [chemin, valeur] : changements) {
      Entree& e = rep_->entrees[chemin.DonneStdString()];
      if (e.valeur && *e.valeur == valeur && !e.brut) continue;
      e.valeur = valeur;
      e.brut.reset();
      changes.push_back(chemin);
    }
  }
  rep_->Previens(changes);
}

bool Reglages::Enleve(const UniChaine& chemin) {
  const std::string clef = chemin.DonneStdString();
  {
    std::unique_lock verrou(rep_->verrou);
    const auto it = rep_->entrees.find(clef);
    if (it == rep_->entrees.end() || (!it->second.valeur && !it->second.brut)) return false;
    it->second.valeur.reset();
    it->second.brut.reset();
    if (it->second.EstVide()) rep_->entrees.erase(it);
  }
  rep_->Previens({chemin});
  return true;
}

int Reglages::AjouteEcouteur(Ecouteur ecouteur) {
  StVerrouilleDMutex verrou(&rep_->verrouEcouteurs);
  const int numero = rep_->prochainEcouteur++;
  rep_->ecouteurs.emplace(numero, std::move(ecouteur));
  return numero;
}

void Reglages::EnleveEcouteur(int numero) {
  StVerrouilleDMutex verrou(&rep_->verrouEcouteurs);
  rep_->ecouteurs.erase(numero);
}

std::string Reglages::EcrisTexte(eFormatReglages format) const {
  detail::ContenuFichier contenu;
  {
    std::shared_lock verrou(rep_->verrou);
    for (const auto& [chemin, e] : rep_->entrees) {
      if (e.valeur)
        contenu.emplace(chemin, EnBrut(*e.valeur));
      else if (e.brut)
        contenu.emplace(chemin, *e.brut);
    }
  }
  return detail::EcrisContenu(contenu, format);
}

void Reglages::LisTexte(const std::string& texte, eFormatReglages format) {
  // Parsed and checked whole before the lock is taken: a damaged text changes nothing.
  const detail::ContenuFichier contenu = detail::LisContenu(texte, format);
  std::vector<UniChaine> changes;
  {
    std::unique_lock verrou(rep_->verrou);
    std::map<std::string, Entree> entrees;
    for (const auto& [chemin, e] : rep_->entrees) {
      if (e.defaut) entrees[chemin].defaut = e.defaut;
    }
    for (const auto& [chemin, brut] : contenu) {
      Entree& e = entrees[chemin];
      if (e.defaut) {
        if (std::optional<Reglage> lu = LisBrut(brut, e.defaut->Type())) {
          e.valeur = std::move(lu);
          continue;
        }
      }
      e.brut = brut;
    }
    // The file's paths against the declarations: a file that puts a value above or below a
    // declared setting is refused, as Mets would refuse it.
    for (const auto& [chemin, e] : entrees) {
      for (size_t barre = chemin.find('/'); barre != std::string::npos; barre = chemin.find('/', barre + 1)) {
        if (entrees.count(chemin.substr(0, barre)) != 0)
          throw exceptions::ErreurDeserialisation(detail::Formate(
              N_("Réglages : « %s » sous le réglage « %s »"), {chemin, chemin.substr(0, barre)}));
      }
    }
    for (const auto& [chemin, e] : entrees) {
      const auto ancien = rep_->entrees.find(chemin);
      const bool avant = ancien != rep_->entrees.end();
      const auto valeurAvant = avant ? ancien->second.valeur : std::nullopt;
      const auto brutAvant = avant ? ancien->second.brut : std::nullopt;
      if (valeurAvant != e.valeur || brutAvant != e.brut) changes.emplace_back(chemin);
    }
    for (const auto& [chemin, e] : rep_->entrees) {
      if ((e.valeur || e.brut) && entrees.count(chemin) == 0) changes.emplace_back(chemin);
    }
    rep_->entrees = std::move(entrees);
  }
  rep_->Previens(changes);
}

void Reglages::Enregistre(const UniChemin& chemin, eFormatReglages format) const {
  const std::string texte = EcrisTexte(format);
  const std::string nom = chemin.DonneStdString();
  eOperationFichier echec;
  if (!plateforme::RemplaceFichier(nom, texte.data(), texte.size(), &echec)) LanceErreurFichier(nom, echec);
}

void Reglages::Charge(const UniChemin& chemin, eFormatReglages format) {
  const std::string nom = chemin.DonneStdString();
  const int fd = plateforme::OuvreFichier(nom, plateforme::eAcces::eLecture);
  if (fd < 0) LanceErreurFichier(nom, eOperationFichier::eOuverture);
  std::string texte;
  char tampon[65536];
  int64_t lus;
  while ((lus = plateforme::LisFichier(fd, tampon, sizeof tampon)) > 0)
    texte.append(tampon, static_cast<size_t>(lus));
  const int erreur = errno;
  plateforme::FermeFichier(fd);
  if (lus < 0) throw exceptions::ErreurFichier(nom, eOperationFichier::eLecture, erreur);
  LisTexte(texte, format);
}

std::vector<UniChaine> Reglages::Chemins() const {
  std::shared_lock verrou(rep_->verrou);
  std::vector<UniChaine> chemins;
  chemins.reserve(rep_->entrees.size());
  for (const auto& [chemin, e] : rep_->entrees) chemins.emplace_back(chemin);
  return chemins;
}

}  // namespace sdd
