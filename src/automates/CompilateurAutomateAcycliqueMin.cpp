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
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/Exception.h>

#include "automates/EtatsCompilation.h"

namespace sdd {

using detail::EtatC;
using detail::LexiqueCompile;
using detail::TransitionC;

Progression::~Progression() = default;
CompilateurAutomateAcycliqueMin::SerialiseurAutomate::~SerialiseurAutomate() = default;

namespace {

// ---- numbering order and layout

struct TransitionOrdonnee {
  char16_t car;
  uint32_t compte;
  uint32_t cible;  // index of the target in the layout
};

// In the numbering order the end of form comes first, then the transitions by descending
// number of forms below them, ties by descending character; a transition's count is the number
// of forms before it. Storage is the reverse: largest count first.
void OrdonnePourStockage(const EtatC* e, std::vector<TransitionC>& tri, std::vector<uint32_t>& comptes) {
  tri.assign(e->transitions, e->transitions + e->nb);
  auto avant = [](const TransitionC& a, const TransitionC& b) {
    return a.cible->nbFormes != b.cible->nbFormes ? a.cible->nbFormes > b.cible->nbFormes : a.car > b.car;
  };
  if (tri.size() <= 16) {
    for (size_t i = 1; i < tri.size(); ++i) {
      const TransitionC x = tri[i];
      size_t j = i;
      for (; j > 0 && avant(x, tri[j - 1]); --j) tri[j] = tri[j - 1];
      tri[j] = x;
    }
  } else {
    std::sort(tri.begin(), tri.end(), avant);
  }
  comptes.resize(tri.size());
  uint32_t somme = e->final ? 1 : 0;
  for (size_t i = 0; i < tri.size(); ++i) {
    comptes[i] = somme;
    somme += tri[i].cible->nbFormes;
  }
  std::reverse(tri.begin(), tri.end());
  std::reverse(comptes.begin(), comptes.end());
}

// One walk over the reachable states, children before parents, each state's children in
// storage order: the order in which the states are written.
struct Disposition {
  struct Info {
    EtatC* etat;
    uint32_t debut;  // first of its transitions in `transitions`
    uint32_t nbParents = 0;
    uint64_t adresse = 0;
  };
  std::vector<Info> infos;  // by first visit
  std::vector<TransitionOrdonnee> transitions;
  std::vector<uint32_t> ordre;  // indices into infos, in writing order
  uint32_t plusGrandCompte = 0;
  uint64_t tailleZone = 0;
  int largeur = 3;

  explicit Disposition(const LexiqueCompile& lexique) {
    if (lexique.racine == nullptr) return;
    std::lock_guard<std::mutex> verrou(lexique.ecriture);
    const uint32_t epoque = ++lexique.epoque;
    std::vector<EtatC*> cibles;
    std::vector<TransitionC> tri;
    std::vector<uint32_t> comptes;
    auto visite = [&](EtatC* e) {
      e->epoque = epoque;
      e->indice = static_cast<uint32_t>(infos.size());
      infos.push_back({e, static_cast<uint32_t>(transitions.size())});
      OrdonnePourStockage(e, tri, comptes);
      for (size_t i = 0; i < tri.size(); ++i) {
        transitions.push_back({tri[i].car, comptes[i], 0});
        cibles.push_back(tri[i].cible);
        plusGrandCompte = std::max(plusGrandCompte, comptes[i]);
      }
      return e->indice;
    };
    struct Cadre {
      uint32_t indice;
      uint32_t suivant;
    };
    std::vector<Cadre> pile{{visite(lexique.racine), 0}};
    while (!pile.empty()) {
      Cadre& c = pile.back();
      const Info& info = infos[c.indice];
      if (c.suivant < info.etat->nb) {
        EtatC* enfant = cibles[info.debut + c.suivant++];
        if (enfant->epoque != epoque) pile.push_back({visite(enfant), 0});
        continue;
      }
      ordre.push_back(c.indice);
      pile.pop_back();
    }
    for (size_t i = 0; i < transitions.size(); ++i) {
      transitions[i].cible = cibles[i]->indice;
      ++infos[cibles[i]->indice].nbParents;
    }
  }

  uint32_t Racine() const { return ordre.back(); }

  // Addresses for width A; false if the root's does not fit.
  bool Adresse(int a, bool parents) {
    largeur = a;
    uint64_t adresse = 0;
    for (uint32_t i : ordre) {
      Info& info = infos[i];
      info.adresse = adresse;
      adresse += 2 + static_cast<uint64_t>(info.etat->nb) * (a + 5);
      if (parents) adresse += 2 + static_cast<uint64_t>(info.nbParents) * (a + 5);
    }
    tailleZone = adresse;
    const uint64_t limite = a == 3 ? (uint64_t{1} << 24) : 0xFFFFFFFFull;
    return ordre.empty() || infos[Racine()].adresse < limite;
  }
};

void Mets16(uint8_t*& p, uint32_t v) {
  *p++ = static_cast<uint8_t>(v);
  *p++ = static_cast<uint8_t>(v >> 8);
}
void Mets24(uint8_t*& p, uint32_t v) {
  Mets16(p, v);
  *p++ = static_cast<uint8_t>(v >> 16);
}
void Mets32(uint8_t*& p, uint32_t v) {
  Mets24(p, v);
  *p++ = static_cast<uint8_t>(v >> 24);
}
void MetsAdresse(uint8_t*& p, uint64_t v, int largeur) {
  if (largeur == 3) {
    Mets24(p, static_cast<uint32_t>(v));
  } else {
    Mets32(p, static_cast<uint32_t>(v));
  }
}

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
      throw exceptions::OperationInvalide("Fusion d’automates : parties non ordonnées");
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
      transitions.back().cible = fusionne;  // the shared character
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
    : mots_(mots), options_(options), taillePartie_(taillePartie), progression_(progression) {
  Trie();
  EnleveDoublonDict();
  if (mots_.Taille() > kNbFormesMax) {
    throw exceptions::OperationInvalide("Lexique de plus de 16 777 215 formes");
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

void CompilateurAutomateAcycliqueMin::Trie() {
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
  const uint64_t n = mots_.Taille();
  contigus_ = std::make_shared<detail::MotsContigus>();
  if (n == 0) return;
  const uint64_t nbBlocs = std::clamp<uint64_t>(DFil::NbProcesseurs(), 1, std::max<uint64_t>(1, n / 1024));
  std::vector<uint64_t> bornes;
  for (uint64_t b = 0; b <= nbBlocs; ++b) bornes.push_back(n * b / nbBlocs);
  const std::unique_ptr<Cle[]> tableauCles = std::make_unique_for_overwrite<Cle[]>(n);
  Cle* const cles = tableauCles.get();
  contigus_->blocs.resize(nbBlocs);
  std::vector<uint64_t> avecZero(nbBlocs, UINT64_MAX);
  std::vector<char> dejaTries(nbBlocs, true);
  ChaineN* donnees = mots_.Donnees();
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
      throw exceptions::OperationInvalide("Mot contenant le caractère 0 : « " + UniChaine(mots_[i]) + " »");
    }
  }
  bool enOrdre = std::all_of(dejaTries.begin(), dejaTries.end(), [](char t) { return t != 0; });
  for (uint64_t b = 1; enOrdre && b < nbBlocs; ++b) enOrdre = !avant(cles[bornes[b]], cles[bornes[b] - 1]);
  if (enOrdre) {
    contigus_->vues.resize(n);
    for (uint64_t i = 0; i < n; ++i) contigus_->vues[i] = cles[i].Vue();
    return;
  }
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
  // Moving the handles never touches the buffers; each half of the pool moves half of them.
  ListeT<ChaineN> tries(n);
  for (uint64_t i = 0; i < n; ++i) tries.AjouteVide();
  contigus_->vues.reserve(n);
  contigus_->vues.resize(n);
  ChaineN* source = mots_.Donnees();
  ChaineN* destination = tries.Donnees();
  FileOperations::GlobalePrioriteHaute()->LanceBlocOperationNFois(nbBlocs, [&](unsigned long long b) {
    for (uint64_t i = bornes[b]; i < bornes[b + 1]; ++i) {
      destination[i] = std::move(source[cles[i].indice]);
      contigus_->vues[i] = cles[i].Vue();
    }
  });
  mots_ = std::move(tries);
}

void CompilateurAutomateAcycliqueMin::EnleveDoublonDict() {
  const uint64_t n = mots_.Taille();
  if (n < 2) return;
  ChaineN* mots = mots_.Donnees();
  // The contiguous views, when the sort made them, give the same answer as ChaineN::Egal
  // without a trip to each word's buffer.
  std::vector<std::u16string_view>* vues =
      contigus_ != nullptr && contigus_->vues.size() == n ? &contigus_->vues : nullptr;
  uint64_t enleves = 0;
  for (uint64_t i = 1; i < n; ++i) {
    const bool double_ =
        vues != nullptr ? (*vues)[i] == (*vues)[i - 1 - enleves] : mots[i].Egal(mots[i - 1 - enleves]);
    if (double_) {
      ++enleves;
    } else if (enleves != 0) {
      mots[i - enleves] = std::move(mots[i]);
      if (vues != nullptr) (*vues)[i - enleves] = (*vues)[i];
    }
  }
  while (enleves-- > 0) {
    mots_.EnleveDernier();
    if (vues != nullptr) vues->pop_back();
  }
}

void CompilateurAutomateAcycliqueMin::EffectueInsertionMots() {
  const auto debut = std::chrono::steady_clock::now();
  const uint64_t n = mots_.Taille();
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

  DMutex verrou;
  uint64_t faits = 0;
  const uint64_t total = nbParties > 1 ? 2 * nbParties - 1 : 1;
  const ChaineN* mots = mots_.Donnees();
  // The contiguous copy of the sort, when there is one, spares a trip to each word's buffer.
  const std::vector<std::u16string_view>* vues =
      contigus_ != nullptr && contigus_->vues.size() == n ? &contigus_->vues : nullptr;
  FileOperations::GlobalePrioriteHaute()->LanceBlocOperationNFois(nbParties, [&](unsigned long long k) {
    detail::Constructeur constructeur(*automates_[k]);
    const uint64_t fin = std::min<uint64_t>(n, (k + 1) * taillePartie_);
    for (uint64_t i = k * taillePartie_; i < fin; ++i) {
      if (vues != nullptr) {
        constructeur.Ajoute((*vues)[i].data(), (*vues)[i].size());
      } else {
        constructeur.Ajoute(mots[i].DonneUnites(), mots[i].Longueur());
      }
    }
    constructeur.Termine();
    StVerrouilleDMutex v(&verrou);
    if (progression_ != nullptr) progression_->Avance(++faits, total);
  });
  if (nbParties >= 2) {
    StVerrouilleDMutex v(&verrou);
    Fusion(0, nbParties - 1, progression_);
    while (automates_.Taille() > 1) automates_.EnleveDernier();
  }
  tempsInsertion_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - debut).count();
}

void CompilateurAutomateAcycliqueMin::Fusion(uint64_t premier, uint64_t dernier, Progression* progression) {
  if (dernier <= premier) return;
  LexiqueCompile& cumul = *automates_[premier];
  // Listing each part's states children-first is independent work: spread it over the pool.
  std::vector<std::vector<EtatC*>> ordres(dernier - premier);
  FileOperations::GlobalePrioriteHaute()->LanceBlocOperationNFois(ordres.size(), [&](unsigned long long k) {
    ordres[k] = EnfantsDAbord(automates_[premier + 1 + k]->racine);
  });

  const uint64_t total = 2 * (dernier - premier + 1) - 1;
  const uint64_t dejaFaits = dernier - premier + 1;
  for (uint64_t k = 0; k < ordres.size(); ++k) {
    LexiqueCompile& partie = *automates_[premier + 1 + k];
    // The part is ours alone now: point its states at their equals in the merged automaton
    // and adopt those that are new. A state's language hash does not depend on where its
    // targets live, so it finds its equal without being rebuilt.
    for (EtatC* e : ordres[k]) {
      for (uint32_t i = 0; i < e->nb; ++i) e->transitions[i].cible = e->transitions[i].cible->canon;
      EtatC* egal = cumul.registre.Trouve(*e);
      if (egal == nullptr) {
        cumul.registre.Ajoute(e);
        egal = e;
      }
      e->canon = egal;
    }
    EtatC* racine = partie.racine != nullptr ? partie.racine->canon : nullptr;
    cumul.racine = Union(cumul, cumul.racine, racine);
    cumul.arenes.insert(cumul.arenes.end(), partie.arenes.begin(), partie.arenes.end());
    partie.racine = nullptr;
    if (progression != nullptr) progression->Avance(dejaFaits + k + 1, total);
  }
}

const LexiqueCompile& CompilateurAutomateAcycliqueMin::Premier() const {
  if (automates_.EstVide()) LanceIndexHorsBorne(0, 0, 0);
  return *automates_[0];
}

double CompilateurAutomateAcycliqueMin::DonneTempsInsertion() const { return tempsInsertion_; }

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
  const LexiqueCompile& lexique = Premier();
  Disposition d(lexique);
  const bool parents = options_ & InclureNoeudsParents;
  // Three-byte addresses when the area allows, four otherwise.
  if (!d.Adresse(3, parents) && !d.Adresse(4, parents)) {
    throw exceptions::OperationInvalide("Automate trop grand pour des adresses de 4 octets");
  }
  const int a = d.largeur;
  std::vector<uint8_t> octets(17 + d.tailleZone);
  uint8_t* p = octets.data();
  *p++ = 2;
  *p++ = a != 3 ? 1 : 0;
  *p++ = 0;
  *p++ = 0;
  Mets32(p, d.ordre.empty() ? 0xFFFFFFFFu : static_cast<uint32_t>(d.infos[d.Racine()].adresse));
  Mets32(p, static_cast<uint32_t>(d.tailleZone));
  Mets32(p, d.plusGrandCompte);
  if (a != 3) *p++ = static_cast<uint8_t>(a);
  const uint8_t* debutZone = p;

  // Parent links, grouped by child, parents in writing order.
  std::vector<uint32_t> debutLiens, liens;
  if (parents) {
    debutLiens.assign(d.infos.size() + 1, 0);
    for (const auto& info : d.infos) debutLiens[&info - d.infos.data() + 1] = info.nbParents;
    for (size_t i = 1; i < debutLiens.size(); ++i) debutLiens[i] += debutLiens[i - 1];
    liens.resize(d.transitions.size());
    std::vector<uint32_t> rempli(debutLiens.begin(), debutLiens.end() - 1);
    for (uint32_t i : d.ordre) {
      const auto& info = d.infos[i];
      for (uint32_t k = 0; k < info.etat->nb; ++k)
        liens[rempli[d.transitions[info.debut + k].cible]++] = info.debut + k;
    }
  }
  std::vector<uint32_t> parentDe;  // transition index → its source state
  if (parents) {
    parentDe.resize(d.transitions.size());
    for (uint32_t i = 0; i < d.infos.size(); ++i) {
      for (uint32_t k = 0; k < d.infos[i].etat->nb; ++k) parentDe[d.infos[i].debut + k] = i;
    }
  }

  for (uint32_t i : d.ordre) {
    const auto& info = d.infos[i];
    const EtatC* e = info.etat;
    Mets16(p, 2 * e->nb + (e->final ? 1 : 0));
    for (uint32_t k = 0; k < e->nb; ++k) {
      const TransitionOrdonnee& t = d.transitions[info.debut + k];
      Mets16(p, t.car);
      Mets24(p, t.compte);
      MetsAdresse(p, d.infos[t.cible].adresse, a);
    }
    if (parents) {
      Mets16(p, info.nbParents);
      for (uint32_t l = debutLiens[i]; l < debutLiens[i + 1]; ++l) {
        const TransitionOrdonnee& t = d.transitions[liens[l]];
        Mets16(p, t.car);
        Mets24(p, t.compte);
        MetsAdresse(p, d.infos[parentDe[liens[l]]].adresse, a);
      }
    }
  }
  const uint64_t tailleEntete = static_cast<uint64_t>(debutZone - octets.data());
  uint64_t ecrits = sortie.Mets(octets.data(), tailleEntete + d.tailleZone);

  if (serialiseur != nullptr) {
    // Forms in number order, each record framed by its VarElias length.
    std::vector<uint32_t> parNumero(mots_.Taille());
    for (uint32_t i = 0; i < mots_.Taille(); ++i) parNumero[static_cast<uint64_t>(NoPourMot(mots_[i]))] = i;
    TamponMemoire bloc, enregistrement;
    for (uint32_t numero = 0; numero < parNumero.size(); ++numero) {
      enregistrement.Vide();
      serialiseur->Ecris(enregistrement, mots_[parNumero[numero]], numero);
      SerialiseurVarElias::Ecris(bloc, enregistrement.Taille());
      bloc.Mets(enregistrement.PreteDonneesBrutes(), enregistrement.Taille());
    }
    ecrits += sortie.Mets(bloc.PreteDonneesBrutes(), bloc.Taille());
  }
  return ecrits;
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
                  static_cast<const void*>(e), static_cast<int>(info.adresse));
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
