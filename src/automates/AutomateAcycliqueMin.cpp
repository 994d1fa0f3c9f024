#include <outils_socle/automates/AutomateAcycliqueMin.h>

#include <algorithm>
#include <string>
#include <vector>

#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/texte/Exception.h>

#include "automates/EnsemblePositions.h"
#include "automates/GrapheAutomate.h"
#include "automates/IndexRacine.h"
#include "automates/LecteurAutomate.h"
#include "automates/MarcheCorrections.h"
#include "automates/MarcheFormes.h"
#include "automates/MarcheJoker.h"
#include "automates/MarcheNumeros.h"
#include "automates/PileLocale.h"
#include "automates/ResumesEtats.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

namespace detail {

void AutomateCorrompu(uint64_t adresse) {
  throw exceptions::TableNonValide(UniChaine(
      detail::Formate(N_("Automate endommagé : état invalide à l’adresse %s"), {std::to_string(adresse)})));
}

}  // namespace detail

DelegueInterruptionAutomateAcycliqueMin::~DelegueInterruptionAutomateAcycliqueMin() = default;

namespace {

struct Entete {
  uint8_t version[4];
  uint64_t racine;
  uint64_t tailleZone;
  uint32_t plusGrandCompte = 0;
  int largeur = 3;
  uint64_t taille = 12;
};

uint32_t Lis32(FluxEntree& flux) {
  uint8_t octets[4];
  if (flux.Donne(4, octets) != 4)
    throw exceptions::TableNonValide(N_("Automate tronqué : en-tête incomplet"));
  return detail::Lis32(octets);
}

// Reads and checks the header at `position`; the stream's size bounds everything it announces.
Entete LisEntete(FluxEntree& flux, uint64_t position) {
  const uint64_t taille = flux.Taille();
  if (position > taille || taille - position < 12) {
    throw exceptions::TableNonValide(N_("Automate tronqué : en-tête incomplet"));
  }
  flux.Positionne(position);
  Entete e;
  for (uint8_t& v : e.version) v = flux.Donne();
  const int version = e.version[0] * 1000 + e.version[1] * 100 + e.version[2] * 10 + e.version[3];
  if (version >= 2101) {
    throw exceptions::Exception(N_("Version trop récente"),
                                N_("La version de l’automate est trop récente pour être lue."));
  }
  e.racine = Lis32(flux);
  e.tailleZone = Lis32(flux);
  if (e.version[0] >= 2) {
    e.plusGrandCompte = Lis32(flux);
    e.taille = 16;
    if (e.version[0] > 2 || e.version[1] != 0) {
      if (flux.EstALaFin()) throw exceptions::TableNonValide(N_("Automate tronqué : en-tête incomplet"));
      e.largeur = flux.Donne();
      e.taille = 17;
      if (e.largeur != 3 && e.largeur != 4) {
        throw exceptions::TableNonValide(N_("Automate endommagé : largeur d’adresse impossible"));
      }
    }
  }
  if (taille - position < e.taille + e.tailleZone) {
    throw exceptions::TableNonValide(N_("Automate tronqué : la zone des états dépasse les données"));
  }
  if (e.racine != AutomateAcycliqueMin::kAdrRacineInexistante && e.racine + 2 > e.tailleZone) {
    throw exceptions::TableNonValide(N_("Automate endommagé : racine hors de la zone des états"));
  }
  return e;
}

template <int A>
uint32_t CompteFormes(const LecteurAutomate<A>& lecteur) {
  // Always following the first stored transition leads to the greatest number.
  uint64_t somme = 0;
  uint64_t adresse = lecteur.Racine();
  for (;;) {
    const auto e = lecteur.LisEtat(adresse);
    if (e.nb == 0) break;
    somme += LecteurAutomate<A>::Compte(e.transitions);
    adresse = LecteurAutomate<A>::Cible(e, e.transitions);
  }
  if (somme >= 0xFFFFFF)
    throw exceptions::TableNonValide(N_("Automate endommagé : nombre de formes impossible"));
  return static_cast<uint32_t>(somme + 1);
}

}  // namespace

AutomateAcycliqueMin::AutomateAcycliqueMin(FluxEntreeMemoire* flux, uint64_t position) {
  if (flux == nullptr) throw exceptions::PointeurInvalide();
  _LisEntete(flux, position);
}

AutomateAcycliqueMin::AutomateAcycliqueMin(const UniChemin& chemin, uint64_t position)
    : possede_(std::make_shared<FichierMMap>(chemin)) {
  _LisEntete(possede_.get(), position);
}

AutomateAcycliqueMin::AutomateAcycliqueMin(const AutomateAcycliqueMin& autre) = default;
AutomateAcycliqueMin& AutomateAcycliqueMin::operator=(const AutomateAcycliqueMin& autre) = default;
AutomateAcycliqueMin::~AutomateAcycliqueMin() = default;

void AutomateAcycliqueMin::_LisEntete(FluxEntreeMemoire* flux, uint64_t position) {
  const Entete e = LisEntete(*flux, position);
  flux_ = flux;
  std::copy(std::begin(e.version), std::end(e.version), version_);
  racine_ = e.racine;
  tailleZone_ = e.tailleZone;
  tailleEntete_ = e.taille;
  plusGrandCompte_ = e.plusGrandCompte;
  largeurAdresse_ = e.largeur;
  octetsNoeud_ = NbOctetsNoeud(e.largeur);
  octetsNoeudSansCar_ = NbOctetsNoeudSansCar(e.largeur);
  base_ = position + e.taille;
  flux->Positionne(base_);
  zone_ = static_cast<const uint8_t*>(flux->Ptr());
  if (racine_ == kAdrRacineInexistante) {
    nbFormes_ = 0;
  } else if (largeurAdresse_ == 3) {
    nbFormes_ = CompteFormes(LecteurAutomate<3>(*this));
    index_ = detail::IndexRacine::Construis(LecteurAutomate<3>(*this));
  } else {
    nbFormes_ = CompteFormes(LecteurAutomate<4>(*this));
    index_ = detail::IndexRacine::Construis(LecteurAutomate<4>(*this));
  }
}

uint64_t AutomateAcycliqueMin::DonneTailleTotal(FluxEntree* flux, uint64_t position) {
  if (flux == nullptr) throw exceptions::PointeurInvalide();
  const Entete e = LisEntete(*flux, position);
  return e.taille + e.tailleZone;
}

void AutomateAcycliqueMin::Statistiques(uint64_t* etats, uint64_t* transitions) const {
  *etats = 0;
  *transitions = 0;
  if (nbFormes_ == 0) return;
  if (largeurAdresse_ == 3) {
    MarcheNumeros<3>(*this).Statistiques(etats, transitions);
  } else {
    MarcheNumeros<4>(*this).Statistiques(etats, transitions);
  }
}

int AutomateAcycliqueMin::Version() const {
  return version_[0] * 1000 + version_[1] * 100 + version_[2] * 10 + version_[3];
}

bool AutomateAcycliqueMin::_TempsEcoulay() const {
  return std::chrono::steady_clock::now() - debut_ > std::chrono::milliseconds(kTempsLimiteMs);
}

void AutomateAcycliqueMin::AjoutPositionDansListe(EnsembleTriay<_Position>& positions,
                                                  const _Position& position) {
  bool present = false;
  const auto& stockee = positions.Insere(position, &present);
  // Only the ranking fields change, never the key, so the set's order is untouched.
  if (present) detail::GardeLaMieuxClassee(const_cast<_Position&>(stockee), position);
}

bool AutomateAcycliqueMin::FormePourNo(uint32_t numero, _Forme& forme) const {
  if (numero >= nbFormes_) return false;
  // The path on the stack, and the caller's string refilled in place: no allocation once it
  // has grown to the longest form.
  PileLocale<char16_t, 512> chemin;
  bool trouve = false;
  if (largeurAdresse_ == 3) {
    const LecteurAutomate<3> l(*this);
    trouve = l.FormePourNo(numero, chemin, index_ != nullptr ? index_->Numeros(l) : nullptr);
  } else {
    const LecteurAutomate<4> l(*this);
    trouve = l.FormePourNo(numero, chemin, index_ != nullptr ? index_->Numeros(l) : nullptr);
  }
  if (!trouve) return false;
  forme.forme.Mets(chemin.Donnees(), static_cast<uint64_t>(chemin.Taille()));
  forme.numero = numero;
  forme.rang1 = forme.rang2 = 0;
  forme.detail = 0;
  forme.valeur = 0;
  return true;
}

void AutomateAcycliqueMin::FormePourNos(const ListeT<uint32_t>& numeros, ListeT<_Forme>& formes) const {
  if (nbFormes_ == 0 || numeros.EstVide()) return;
  if (largeurAdresse_ == 3) {
    MarcheNumeros<3>(*this).FormePourNos(numeros, formes);
  } else {
    MarcheNumeros<4>(*this).FormePourNos(numeros, formes);
  }
}

int64_t AutomateAcycliqueMin::NoPourMot(const ChaineN& mot) const {
  return NoPourMot(mot.DonneUnites(), mot.Longueur());
}

int64_t AutomateAcycliqueMin::NoPourMot(const char16_t* unites, uint64_t n) const {
  if (nbFormes_ == 0) return -1;
  return largeurAdresse_ == 3 ? LecteurAutomate<3>(*this).NoPourMot(unites, n, index_.get())
                              : LecteurAutomate<4>(*this).NoPourMot(unites, n, index_.get());
}

void AutomateAcycliqueMin::FormesPour(const ChaineN& mot, ListeC<_Forme>& formes, _OptionRecherche options,
                                      RecuperationForme recuperation) const {
  if (nbFormes_ == 0) return;
  if (recuperation == nullptr) recuperation = RecuperationFormeTelQuelAccepte;
  if (largeurAdresse_ == 3) {
    MarcheFormes<3>(*this).FormesPour(mot, formes, options, recuperation);
  } else {
    MarcheFormes<4>(*this).FormesPour(mot, formes, options, recuperation);
  }
}

bool AutomateAcycliqueMin::FormesCommencant(const ChaineN& prefixe, ListeC<_Forme>& formes,
                                            _OptionRecherche options, uint32_t limite,
                                            RecuperationForme recuperation) {
  ListeT<ChaineN> prefixes;
  prefixes.Ajoute(prefixe);
  return _FormesCommencant(prefixes, formes, options, limite, recuperation);
}

bool AutomateAcycliqueMin::FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes,
                                            _OptionRecherche options, uint32_t limite,
                                            RecuperationForme recuperation) {
  return _FormesCommencant(prefixes, formes, options, limite, recuperation);
}

bool AutomateAcycliqueMin::_FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes,
                                             _OptionRecherche options, uint32_t limite,
                                             RecuperationForme recuperation) {
  if (nbFormes_ == 0) return true;
  if (recuperation == nullptr) recuperation = RecuperationFormeTelQuelAccepte;
  if (options.drapeaux & _OptionRecherche::kTempsLimite) debut_ = std::chrono::steady_clock::now();
  if (largeurAdresse_ == 3) {
    return MarcheFormes<3>(*this).FormesCommencant(prefixes, formes, options, limite, recuperation);
  }
  return MarcheFormes<4>(*this).FormesCommencant(prefixes, formes, options, limite, recuperation);
}

bool AutomateAcycliqueMin::VisiteFormesCommencant(const ChaineN& prefixe, VisiteurFormes& visiteur,
                                                  _OptionRecherche options) {
  ListeT<ChaineN> prefixes;
  prefixes.Ajoute(prefixe);
  return VisiteFormesCommencant(prefixes, visiteur, options);
}

bool AutomateAcycliqueMin::VisiteFormesCommencant(const ListeT<ChaineN>& prefixes, VisiteurFormes& visiteur,
                                                  _OptionRecherche options) {
  if (nbFormes_ == 0) return true;
  if (options.drapeaux & _OptionRecherche::kTempsLimite) debut_ = std::chrono::steady_clock::now();
  auto recoit = [&visiteur](const _Position&, const char16_t* unites, uint32_t n, uint32_t numero) {
    return visiteur.Visite(unites, n, numero);
  };
  if (largeurAdresse_ == 3) return MarcheFormes<3>(*this).Visite(prefixes, options, recoit);
  return MarcheFormes<4>(*this).Visite(prefixes, options, recoit);
}

namespace {

template <int A>
bool Joker(const AutomateAcycliqueMin& automate, const ChaineN& motif,
           ListeC<AutomateAcycliqueMin::_Forme>& formes, uint32_t parametre, uint32_t limite,
           DelegueInterruptionAutomateAcycliqueMin* delegue) {
  const GrapheAutomate<A> g(automate);
  const auto longueur = static_cast<uint32_t>(motif.Longueur());
  return MarcheJoker<GrapheAutomate<A>>(g, motif, parametre)
      .Parcours(limite, delegue, [&](const char16_t* texte, uint64_t n, uint32_t numero, uint64_t) {
        AutomateAcycliqueMin::_Forme& f = formes.Ajoute(AutomateAcycliqueMin::_Forme{});
        f.forme = ChaineN(texte, n);
        f.numero = numero;
        f.valeur = longueur;
      });
}

}  // namespace

bool AutomateAcycliqueMin::FormesPourJoker(const ChaineN& motif, ListeC<_Forme>& formes, uint32_t parametre,
                                           uint32_t limite,
                                           DelegueInterruptionAutomateAcycliqueMin* delegue) const {
  if (nbFormes_ == 0) return true;
  return largeurAdresse_ == 3 ? Joker<3>(*this, motif, formes, parametre, limite, delegue)
                              : Joker<4>(*this, motif, formes, parametre, limite, delegue);
}

namespace {

template <int A>
bool Corrections(const AutomateAcycliqueMin& automate, uint64_t tailleZone, const ChaineN& mot,
                 const AutomateAcycliqueMin::_OptionRecherche& options, uint32_t limite, uint32_t coutMax,
                 const ProbabiliteTransformation* modele,
                 ListeC<AutomateAcycliqueMin::_FormeProbabiliste>& formes) {
  using R = RechercheCorrections<GrapheAutomate<A>>;
  const GrapheAutomate<A> g(automate);
  std::vector<typename R::Candidat> retenus;
  const bool complet = R::Cherche(g, tailleZone, mot, options, limite, coutMax, &modele, retenus);
  for (auto& r : retenus) {
    auto& f = formes.Ajoute(AutomateAcycliqueMin::_FormeProbabiliste{});
    f.forme = std::move(r.texte);
    f.numero = r.numero;
    f.cout = r.cout;
    f.probabilite = modele->Probabilite(r.cout);
  }
  return complet;
}

}  // namespace

bool AutomateAcycliqueMin::FormesProbabilistes(const ChaineN& mot, const _OptionRecherche& options,
                                               uint32_t limite, uint32_t coutMax,
                                               const ProbabiliteTransformation* modele,
                                               ListeC<_FormeProbabiliste>& formes) {
  if (nbFormes_ == 0) return true;
  if (options.drapeaux & _OptionRecherche::kTempsLimite) debut_ = std::chrono::steady_clock::now();
  return largeurAdresse_ == 3
             ? Corrections<3>(*this, tailleZone_, mot, options, limite, coutMax, modele, formes)
             : Corrections<4>(*this, tailleZone_, mot, options, limite, coutMax, modele, formes);
}

}  // namespace sdd
