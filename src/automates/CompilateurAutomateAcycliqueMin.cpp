#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/fils/DFil.h>
#include <outils_socle/fils/DMutex.h>
#include <outils_socle/fils/FileOperations.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/texte/Exception.h>

#include "automates/EtatsCompilation.h"
#include "automates/FormeCompacte.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

using detail::Disposition;
using detail::EtatC;
using detail::LexiqueCompile;
using detail::TransitionC;
using detail::TransitionOrdonnee;

Progression::~Progression() = default;
CompilateurAutomateAcycliqueMin::SerialiseurAutomate::~SerialiseurAutomate() = default;

namespace {

std::string Utf8(char16_t c) {
  const ChaineN s(&c, uint64_t{1});
  return s.PreteUTF8();
}

uint64_t RacineCarree(uint64_t n) {
  auto r = static_cast<uint64_t>(std::sqrt(static_cast<double>(n)));
  while (r * r > n) --r;
  while ((r + 1) * (r + 1) <= n) ++r;
  return r;
}

// States of an automaton, children before parents, each once.
std::vector<EtatC*> EnfantsDAbord(EtatC* racine) {
  std::vector<EtatC*> ordre;
  if (racine == nullptr) return ordre;
  struct Cadre {
    EtatC* etat;
    uint32_t suivant;
  };
  std::vector<Cadre> pile{{racine, 0}};
  racine->canon = racine;  // reached; the merge overwrites it with the true equal
  while (!pile.empty()) {
    Cadre& c = pile.back();
    if (c.suivant < c.etat->nb) {
      EtatC* enfant = c.etat->transitions[c.suivant++].cible;
      if (enfant->canon == nullptr) {
        enfant->canon = enfant;
        pile.push_back({enfant, 0});
      }
      continue;
    }
    ordre.push_back(c.etat);
    pile.pop_back();
  }
  return ordre;
}

// The union of two automata whose words are all smaller in `a` than in `b`: only the path
// where the last word of `a` and the first of `b` share a prefix needs new states.
EtatC* Union(LexiqueCompile& lexique, EtatC* a, EtatC* b) {
  if (a == nullptr) return b;
  if (b == nullptr) return a;
  std::vector<std::pair<EtatC*, EtatC*>> chemin{{a, b}};
  for (;;) {
    auto [x, y] = chemin.back();
    if (x->nb == 0 || y->nb == 0) break;
    const TransitionC& dernier = x->transitions[x->nb - 1];
    const TransitionC& premier = y->transitions[0];
    if (dernier.car > premier.car) {
      throw exceptions::OperationInvalide(N_("Fusion d’automates : parties non ordonnées"));
    }
    if (dernier.car != premier.car) break;
    chemin.emplace_back(dernier.cible, premier.cible);
  }
  std::vector<TransitionC> transitions;
  EtatC* fusionne = nullptr;
  for (size_t i = chemin.size(); i-- > 0;) {
    auto [x, y] = chemin[i];
    transitions.assign(x->transitions, x->transitions + x->nb);
    size_t debutY = 0;
    if (fusionne != nullptr) {
      transitions.back().Vers(fusionne);  // the shared character
      debutY = 1;
    }
    transitions.insert(transitions.end(), y->transitions + debutY, y->transitions + y->nb);
    fusionne = lexique.Enregistre(transitions.data(), static_cast<uint32_t>(transitions.size()),
                                  x->final || y->final);
  }
  return fusionne;
}

}  // namespace

// ---- construction

CompilateurAutomateAcycliqueMin::CompilateurAutomateAcycliqueMin(const ListeT<ChaineN>& mots,
                                                                 uint32_t options, uint64_t taillePartie,
                                                                 Progression* progression)
    : options_(options),
      taillePartie_(taillePartie),
      progression_(progression),
      formesTriees_(std::make_shared<detail::FormesTriees>()) {
  Trie(mots);
  EnleveDoublonDict();
  if (nbFormes_ > kNbFormesMax) {
    throw exceptions::OperationInvalide(N_("Lexique de plus de 16 777 215 formes"));
  }
  EffectueInsertionMots();
  contigus_.reset();  // only the construction reads the copy
}

CompilateurAutomateAcycliqueMin::CompilateurAutomateAcycliqueMin(const CompilateurAutomateAcycliqueMin&) =
    default;
CompilateurAutomateAcycliqueMin::CompilateurAutomateAcycliqueMin(CompilateurAutomateAcycliqueMin&&) noexcept =
    default;
CompilateurAutomateAcycliqueMin& CompilateurAutomateAcycliqueMin::operator=(
    const CompilateurAutomateAcycliqueMin&) = default;
CompilateurAutomateAcycliqueMin& CompilateurAutomateAcycliqueMin::operator=(
    CompilateurAutomateAcycliqueMin&&) noexcept = default;
CompilateurAutomateAcycliqueMin::~CompilateurAutomateAcycliqueMin() = default;

void CompilateurAutomateAcycliqueMin::Trie(const ListeT<ChaineN>& mots) {
  // The words' buffers lie wherever they were allocated; every later pass would chase them in
  // sorted, that is random, order. So read each word once, in list order and in parallel, into
  // contiguous storage with a sort key (the first four units packed so that integer order is unit
  // order; a shorter word pads with 0, the smallest unit), and work from there. ChaineN's order
  // is the units' order, which is what the views compare.
  struct Cle {
    uint64_t prefixe[2];  // units 0–3 and 4–7
    const char16_t* unites;
    uint32_t longueur;
    uint32_t indice;
    std::u16string_view Vue() const { return {unites, longueur}; }
  };
  const uint64_t n = mots.Taille();
  contigus_ = std::make_shared<detail::MotsContigus>();
  nbFormes_ = 0;
  if (n == 0) return;
  const uint64_t nbBlocs = std::clamp<uint64_t>(DFil::NbProcesseurs(), 1, std::max<uint64_t>(1, n / 1024));
  std::vector<uint64_t> bornes;
  for (uint64_t b = 0; b <= nbBlocs; ++b) bornes.push_back(n * b / nbBlocs);
  const std::unique_ptr<Cle[]> tableauCles = std::make_unique_for_overwrite<Cle[]>(n);
  Cle* const cles = tableauCles.get();
  contigus_->blocs.resize(nbBlocs);
  std::vector<uint64_t> avecZero(nbBlocs, UINT64_MAX);
  std::vector<char> dejaTries(nbBlocs, true);
  const ChaineN* donnees = mots.Donnees();
  auto avant = [](const Cle& x, const Cle& y) {
    if (x.prefixe[0] != y.prefixe[0]) return x.prefixe[0] < y.prefixe[0];
    if (x.prefixe[1] != y.prefixe[1]) return x.prefixe[1] < y.prefixe[1];
    return x.longueur > 8 && y.longueur > 8 ? x.Vue().substr(8) < y.Vue().substr(8) : x.longueur < y.longueur;
  };
  {
    GroupeOperations groupe;
    for (uint64_t b = 0; b < nbBlocs; ++b) {
      groupe.AjouteOperationBloc(FileOperations::GlobalePrioriteHaute(), [&, b] {
        std::u16string& bloc = contigus_->blocs[b];
        uint64_t total = 0;
        for (uint64_t i = bornes[b]; i < bornes[b + 1]; ++i) total += donnees[i].Longueur();
        bloc.reserve(total);
        for (uint64_t i = bornes[b]; i < bornes[b + 1]; ++i) {
          const char16_t* u = donnees[i].DonneUnites();
          const uint64_t l = donnees[i].Longueur();
          uint64_t p0 = 0, p1 = 0;
          for (uint64_t k = 0; k < 4; ++k) p0 = p0 << 16 | (k < l ? u[k] : 0);
          for (uint64_t k = 4; k < 8; ++k) p1 = p1 << 16 | (k < l ? u[k] : 0);
          const size_t debut = bloc.size();
          bloc.append(u, l);
          if (bloc.find(u'\0', debut) != std::u16string::npos && avecZero[b] == UINT64_MAX) avecZero[b] = i;
          cles[i].prefixe[0] = p0;
          cles[i].prefixe[1] = p1;
          cles[i].unites = bloc.data() + debut;
          cles[i].longueur = static_cast<uint32_t>(l);
          cles[i].indice = static_cast<uint32_t>(i);
        }
        // Word lists usually come sorted: then there is nothing to move.
        if (!std::is_sorted(cles + bornes[b], cles + bornes[b + 1], avant)) {
          dejaTries[b] = false;
          std::sort(cles + bornes[b], cles + bornes[b + 1], avant);
        }
      });
    }
    groupe.AttendreLaFinDesOperations();
  }
  for (uint64_t i : avecZero) {
    if (i != UINT64_MAX) {
      throw exceptions::OperationInvalide(detail::Formate(N_("Mot contenant le caractère 0 : « %s »"),
                                                          {UniChaine(mots[i]).DonneStdString()}));
    }
  }
  bool enOrdre = std::all_of(dejaTries.begin(), dejaTries.end(), [](char t) { return t != 0; });
  for (uint64_t b = 1; enOrdre && b < nbBlocs; ++b) enOrdre = !avant(cles[bornes[b]], cles[bornes[b] - 1]);
  if (!enOrdre) {
    // Merge neighbouring runs two by two, each round's merges in parallel.
    for (uint64_t pas = 1; pas < nbBlocs; pas *= 2) {
      GroupeOperations groupe;
      for (uint64_t b = 0; b + pas < nbBlocs; b += 2 * pas) {
        const uint64_t debut = bornes[b], milieu = bornes[b + pas],
                       fin = bornes[std::min(b + 2 * pas, nbBlocs)];
        groupe.AjouteOperationBloc(FileOperations::GlobalePrioriteHaute(), [&, debut, milieu, fin] {
          std::inplace_merge(cles + debut, cles + milieu, cles + fin, avant);
        });
      }
      groupe.AttendreLaFinDesOperations();
    }
  }
  contigus_->vues.resize(n);
  for (uint64_t i = 0; i < n; ++i) contigus_->vues[i] = cles[i].Vue();
  nbFormes_ = n;
}

void CompilateurAutomateAcycliqueMin::EnleveDoublonDict() {
  if (contigus_ == nullptr) return;  // the list is sorted and unique once compiled
  std::vector<std::u16string_view>& vues = contigus_->vues;
  vues.erase(std::unique(vues.begin(), vues.end()), vues.end());
  nbFormes_ = vues.size();
}

void CompilateurAutomateAcycliqueMin::EffectueInsertionMots() {
  const auto debut = std::chrono::steady_clock::now();
  if (contigus_ == nullptr) {
    // Called again on a compiled lexicon: its own forms, in order, are the list.
    contigus_ = std::make_shared<detail::MotsContigus>();
    contigus_->blocs.resize(1);
    std::vector<std::pair<size_t, size_t>> places;
    for (const ChaineN& m : Mots()) {
      places.emplace_back(contigus_->blocs[0].size(), m.Longueur());
      contigus_->blocs[0].append(m.DonneUnites(), m.Longueur());
    }
    for (const auto& [p, l] : places) contigus_->vues.emplace_back(contigus_->blocs[0].data() + p, l);
  }
  const std::vector<std::u16string_view>& vues = contigus_->vues;
  const uint64_t n = vues.size();
  nbFormes_ = n;
  if (taillePartie_ == kTaillePartieDefaut) taillePartie_ = RacineCarree(n);
  if (taillePartie_ == 0 && n > 0) taillePartie_ = 1;
  uint64_t nbParties = 1;
  if (n == 0) {
    taillePartie_ = 0;
  } else {
    nbParties = (n + taillePartie_ - 1) / taillePartie_;
  }
  automates_.Vide();
  for (uint64_t i = 0; i < nbParties; ++i) automates_.Ajoute(std::make_shared<LexiqueCompile>());
  formesTriees_ = std::make_shared<detail::FormesTriees>();  // a copy may share the old one

  DMutex verrou;
  uint64_t faits = 0;
  const uint64_t total = nbParties > 1 ? 2 * nbParties - 1 : 1;
  auto construit = [&](uint64_t k) {
    detail::Constructeur constructeur(*automates_[k]);
    const uint64_t fin = std::min<uint64_t>(n, (k + 1) * taillePartie_);
    for (uint64_t i = k * taillePartie_; i < fin; ++i) constructeur.Ajoute(vues[i].data(), vues[i].size());
    constructeur.Termine();
    StVerrouilleDMutex v(&verrou);
    if (progression_ != nullptr) progression_->Avance(++faits, total);
  };
  // Parts are built a wave at a time on the pool while this thread merges the previous wave
  // and frees its pools: only two waves' worth of parts, beside the merged automaton, are
  // ever held, instead of every part of a large list.
  const uint64_t vague = std::max<uint64_t>(4, 4 * static_cast<uint64_t>(DFil::NbProcesseurs()));
  uint64_t lancees = 0;     // parts below this one are built or being built
  uint64_t fusionnees = 0;  // parts 1 … fusionnees are merged into part 0
  while (lancees < nbParties || fusionnees + 1 < nbParties) {
    const uint64_t fin = std::min(nbParties, lancees + vague);
    GroupeOperations groupe;
    for (uint64_t k = lancees; k < fin; ++k) {
      groupe.AjouteOperationBloc(FileOperations::GlobalePrioriteHaute(), [&, k] { construit(k); });
    }
    // (Should the merge throw, the group's destructor waits for the wave, which reads this
    // frame's locals.)
    if (lancees > 0) {
      FusionneParties(fusionnees + 1, lancees - 1, &verrou, &faits, total);
      fusionnees = lancees - 1;
    }
    groupe.AttendreLaFinDesOperations();
    lancees = fin;
  }
  while (automates_.Taille() > 1) automates_.EnleveDernier();
  tempsInsertion_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - debut).count();
}

void CompilateurAutomateAcycliqueMin::Fusion(uint64_t premier, uint64_t dernier, Progression* progression) {
  if (dernier <= premier) return;
  // Part `premier` plays the role of part 0.
  if (premier != 0) std::swap(automates_[0], automates_[premier]);
  DMutex verrou;
  uint64_t faits = dernier - premier + 1;
  Progression* garde = progression_;
  progression_ = progression;
  FusionneParties(premier + 1, dernier, &verrou, &faits, 2 * (dernier - premier + 1) - 1);
  progression_ = garde;
  if (premier != 0) std::swap(automates_[0], automates_[premier]);
}

void CompilateurAutomateAcycliqueMin::FusionneParties(uint64_t debut, uint64_t fin, DMutex* verrou,
                                                      uint64_t* faits, uint64_t total) {
  if (fin < debut) return;
  LexiqueCompile& cumul = *automates_[0];
  for (uint64_t k = debut; k <= fin; ++k) {
    LexiqueCompile& partie = *automates_[k];
    // Point the part's states, children first, at their equals in the merged automaton, and
    // copy in those that are new. A state's language hash does not depend on where its targets
    // live, so it finds its equal without being rebuilt. Then the part's pool goes: what it
    // held is either copied or a duplicate.
    for (EtatC* e : EnfantsDAbord(partie.racine)) {
      for (uint32_t i = 0; i < e->nb; ++i) e->transitions[i].cible = e->transitions[i].cible->canon;
      EtatC* egal = cumul.registre.Trouve(*e);
      e->canon = egal != nullptr ? egal : cumul.Adopte(*e);
    }
    EtatC* racine = partie.racine != nullptr ? partie.racine->canon : nullptr;
    cumul.racine = Union(cumul, cumul.racine, racine);
    partie.racine = nullptr;
    partie.arenes.clear();
    partie.registre = detail::Registre();
    partie.transitions = 0;
    StVerrouilleDMutex v(verrou);
    if (progression_ != nullptr) progression_->Avance(++*faits, total);
  }
}

const LexiqueCompile& CompilateurAutomateAcycliqueMin::Premier() const {
  if (automates_.EstVide()) LanceIndexHorsBorne(0, 0, 0);
  return *automates_[0];
}

double CompilateurAutomateAcycliqueMin::DonneTempsInsertion() const { return tempsInsertion_; }

const ListeT<ChaineN>& CompilateurAutomateAcycliqueMin::Mots() const {
  std::lock_guard<std::mutex> verrou(formesTriees_->verrou);
  ListeT<ChaineN>& liste = formesTriees_->liste;
  if (formesTriees_->faites) return liste;
  // The forms in unit order: a walk of the automaton with each state's end of form first and
  // its transitions by character, as they are kept.
  const EtatC* racine = automates_.EstVide() ? nullptr : automates_[0]->racine;
  if (racine != nullptr) {
    liste = ListeT<ChaineN>(nbFormes_);
    std::u16string chemin;
    struct Cadre {
      const EtatC* etat;
      uint32_t suivant;
    };
    std::vector<Cadre> pile;
    auto entre = [&](const EtatC* e) {
      if (e->final) liste.Ajoute(ChaineN(chemin.data(), uint64_t{chemin.size()}));
      pile.push_back({e, 0});
    };
    entre(racine);
    while (!pile.empty()) {
      Cadre& c = pile.back();
      if (c.suivant == c.etat->nb) {
        pile.pop_back();
        if (!pile.empty()) chemin.pop_back();
        continue;
      }
      const TransitionC& t = c.etat->transitions[c.suivant++];
      chemin.push_back(t.car);
      entre(t.cible);
    }
  }
  formesTriees_->faites = true;
  return liste;
}

// ---- queries on the compiled lexicon

int64_t CompilateurAutomateAcycliqueMin::NoPourMot(const ChaineN& mot) const {
  const EtatC* e = Premier().racine;
  if (e == nullptr) return -1;
  uint64_t numero = 0;
  for (char16_t c : mot) {
    const TransitionC* debut = e->transitions;
    const TransitionC* fin = debut + e->nb;
    const TransitionC* t =
        std::lower_bound(debut, fin, c, [](const TransitionC& x, char16_t v) { return x.car < v; });
    if (t == fin || t->car != c) return -1;
    const uint32_t f = t->cible->nbFormes;
    numero += e->final ? 1 : 0;
    for (const TransitionC* u = e->transitions; u != fin; ++u) {
      if (u != t && (u->cible->nbFormes > f || (u->cible->nbFormes == f && u->car > c)))
        numero += u->cible->nbFormes;
    }
    e = t->cible;
  }
  return e->final ? static_cast<int64_t>(numero) : -1;
}

uint64_t CompilateurAutomateAcycliqueMin::NbEtats() const { return Disposition(Premier()).ordre.size(); }
uint64_t CompilateurAutomateAcycliqueMin::NbTransitions() const {
  return Disposition(Premier()).transitions.size();
}
uint32_t CompilateurAutomateAcycliqueMin::PlusGrandCompte() const {
  return Disposition(Premier()).plusGrandCompte;
}

// ---- the stored form

uint64_t CompilateurAutomateAcycliqueMin::FormeCompactay(FluxSortie& sortie,
                                                         SerialiseurAutomate* serialiseur) {
  return detail::EcritFormeCompacte(Premier(), options_ & InclureNoeudsParents, sortie, serialiseur);
}

ChaineN CompilateurAutomateAcycliqueMin::FichierDot() {
  Disposition d(Premier());
  d.Adresse(3, false);
  std::string texte = "digraph G {\n";
  char ligne[256];
  for (uint32_t i : d.ordre) {
    const auto& info = d.infos[i];
    const EtatC* e = info.etat;
    std::snprintf(ligne, sizeof ligne, "  %d [label=\"%d,%d,0x%X (%d%s)\"]; // %p - %d\n",
                  static_cast<int>(i), static_cast<int>(e->nbFormes), static_cast<int>(e->hauteur),
                  static_cast<unsigned>(e->hachage), static_cast<int>(e->nb), e->final ? ",F" : "",
                  static_cast<const void*>(e), static_cast<int>(d.adresses[i]));
    texte += ligne;
    if (e->final) {
      std::snprintf(ligne, sizeof ligne, "  F%d [label=\"\",style=filled,color=\".0.0.0\"];\n",
                    static_cast<int>(i));
      texte += ligne;
      std::snprintf(ligne, sizeof ligne, "  %d -> F%d [label=\"# (%d)\"];\n", static_cast<int>(i),
                    static_cast<int>(i), 0);
      texte += ligne;
    }
    for (uint32_t k = 0; k < e->nb; ++k) {
      const TransitionOrdonnee& t = d.transitions[info.debut + k];
      std::string car = Utf8(t.car);
      if (car == "\"" || car == "\\") car = "\\" + car;
      std::snprintf(ligne, sizeof ligne, "  %d -> %d [label=\"%s (%d)\"];\n", static_cast<int>(i),
                    static_cast<int>(t.cible), car.c_str(), static_cast<int>(t.compte));
      texte += ligne;
    }
  }
  texte += "}\n";
  return ChaineN(texte.c_str(), ChaineN::kCodageUTF8, texte.size());
}

void CompilateurAutomateAcycliqueMin::Trace(FluxSortie& sortie) {
  const ChaineN texte = FichierTrace();
  uint64_t longueur = 0;
  const char* octets = texte.PreteUTF8(0, nullptr, &longueur);
  sortie.Mets(reinterpret_cast<const uint8_t*>(octets), longueur);
}

ChaineN CompilateurAutomateAcycliqueMin::FichierTrace() {
  Disposition d(Premier());
  std::string texte;
  char ligne[512];
  for (uint32_t i : d.ordre) {
    const auto& info = d.infos[i];
    const EtatC* e = info.etat;
    if (e->final) {
      std::snprintf(ligne, sizeof ligne, "\\0 (%d)\n", static_cast<int>(i));
      texte += ligne;
    }
    for (uint32_t k = 0; k < e->nb; ++k) {
      const TransitionOrdonnee& t = d.transitions[info.debut + k];
      // {…}: the characters that leave the target, a glimpse of what follows.
      std::string suite;
      const EtatC* cible = d.infos[t.cible].etat;
      for (uint32_t j = 0; j < cible->nb && suite.size() < 200; ++j) suite += Utf8(cible->transitions[j].car);
      std::snprintf(ligne, sizeof ligne, "%s<%d> (%d) [%d] {%s}\n", Utf8(t.car).c_str(), static_cast<int>(i),
                    static_cast<int>(t.compte), static_cast<int>(t.cible), suite.c_str());
      texte += ligne;
    }
  }
  return ChaineN(texte.c_str(), ChaineN::kCodageUTF8, texte.size());
}

}  // namespace sdd
