#include "automates/FormeCompacte.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <typeinfo>

#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"

namespace sdd::detail {

namespace {

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

// Version 2; the width byte only for 4-byte addresses.
void MetsEntete(uint8_t*& p, int largeur, uint32_t racine, uint32_t tailleZone, uint32_t plusGrandCompte) {
  *p++ = 2;
  *p++ = largeur != 3 ? 1 : 0;
  *p++ = 0;
  *p++ = 0;
  Mets32(p, racine);
  Mets32(p, tailleZone);
  Mets32(p, plusGrandCompte);
  if (largeur != 3) *p++ = static_cast<uint8_t>(largeur);
}
constexpr size_t kEnteteMax = 17;
constexpr size_t TailleEntete(int largeur) { return largeur == 3 ? 16 : 17; }

// A state's header holds twice its transition count plus the final bit in 16 bits, and its
// parent count in 16 bits.
[[noreturn]] void EtatTropLarge() {
  throw exceptions::OperationInvalide(N_("Automate : état de plus de 32 767 transitions ou 65 535 parents"));
}
[[noreturn]] void ZoneTropGrande() {
  throw exceptions::OperationInvalide(N_("Automate trop grand pour des adresses de 4 octets"));
}

// Sorts a state's transitions, by insertion for the usual few; `avant` is a strict order on
// distinct keys, so any sort gives the same result.
template <typename T, typename Avant>
void Trie(T* t, uint32_t nb, Avant avant) {
  if (nb > 16) {
    std::sort(t, t + nb, avant);
    return;
  }
  for (uint32_t i = 1; i < nb; ++i) {
    const T x = t[i];
    uint32_t j = i;
    for (; j > 0 && avant(x, t[j - 1]); --j) t[j] = t[j - 1];
    t[j] = x;
  }
}

// The numbering order: descending forms below, ties by descending character.
bool AvantEnNumerotation(const TransitionC& a, const TransitionC& b) {
  return a.formes != b.formes ? a.formes > b.formes : a.car > b.car;
}

// A transition as it is stored: its character, its count, and its target (whose address the
// writers fill in).
struct Stockee {
  char16_t car;
  uint32_t compte;
  EtatC* cible;
  uint32_t adresse;
};

// A state's transitions into `s` in storage order, with their counts. In the numbering order
// the end of form comes first, then the transitions by descending number of forms below them,
// ties by descending character; a transition's count is the number of forms before it.
// Storage is the reverse: largest count first. The greatest count goes into `plusGrand`.
// Inlined into each walk: as a call per state it cost the one-walk writer some 5 %.
[[gnu::always_inline]] inline void OrdonnePourStockage(const EtatC* e, Stockee* s, uint32_t& plusGrand) {
  const uint32_t nb = e->nb;
  for (uint32_t i = 0; i < nb; ++i) {
    const TransitionC& t = e->transitions[i];
    s[i] = {t.car, t.formes, t.cible, 0};  // the forms below, until they make the counts
    // The walks read every target's mark soon, and the first target's transitions right
    // away: its state and the line after it, where its transitions begin.
    __builtin_prefetch(t.cible);
    __builtin_prefetch(reinterpret_cast<const char*>(t.cible) + 64);
  }
  Trie(s, nb, [](const Stockee& x, const Stockee& y) {
    return x.compte != y.compte ? x.compte < y.compte : x.car < y.car;
  });
  // The forms before a transition in the numbering order: the end of form's and those of the
  // transitions stored after it.
  uint32_t somme = e->final ? 1 : 0;
  for (uint32_t i = nb; i-- > 0;) {
    const uint32_t formes = s[i].compte;
    s[i].compte = somme;
    somme += formes;
  }
  if (nb > 0) plusGrand = std::max(plusGrand, s[0].compte);
}

// The state area in one depth-first walk, for the stored form without parent links: a state
// is written as soon as its last child is, so every target's address is known by then. The
// address of a state met again is kept in the state, beside the pass's mark that the walk
// reads anyway; that of a state just written goes up the walk's own stack. Nothing else is
// kept per state: the layout's arrays (a few dozen bytes a state) cost more in fresh pages
// than this whole walk.
class EcritureDirecte {
 public:
  // The area can be no larger than every registered state written once.
  static uint64_t ZoneMax(const LexiqueCompile& lexique, int largeur) {
    return 2 * uint64_t{lexique.registre.Taille()} +
           (static_cast<uint64_t>(largeur) + 5) * lexique.transitions;
  }

  // The area with `largeur`-byte addresses into `zone` (ZoneMax bytes), for a width the
  // caller knows the addresses fit in; false, with only the marks changed, as soon as an
  // address passes 4 bytes (an area of over 4 GiB).
  bool Ecris(const LexiqueCompile& lexique, int largeur, uint8_t* zone) {
    *this = EcritureDirecte();
    if (lexique.racine == nullptr) return true;
    std::lock_guard<std::mutex> verrou(lexique.ecriture);
    epoque_ = ++lexique.epoque;
    uint8_t* p = zone;
    Entre(lexique.racine);
    while (!pile_.empty()) {
      Cadre& c = pile_.back();
      if (c.suivant < c.nb) {
        Stockee& s = sortantes_[c.debut + c.suivant++];
        if (s.cible->epoque == epoque_) {
          s.adresse = s.cible->indice;
        } else {
          Entre(s.cible);  // its address comes back up once it is written
        }
        continue;
      }
      const uint64_t adresse = static_cast<uint64_t>(p - zone);
      if (adresse > 0xFFFFFFFFull) return false;
      c.etat->indice = static_cast<uint32_t>(adresse);
      Mets16(p, 2 * c.nb + (c.etat->final ? 1 : 0));
      for (const Stockee* t = sortantes_.data() + c.debut; t != sortantes_.data() + c.debut + c.nb; ++t) {
        Mets16(p, t->car);
        Mets24(p, t->compte);
        MetsAdresse(p, t->adresse, largeur);
      }
      ++nbEtats_;
      nbTransitions_ += c.nb;
      sortantes_.resize(c.debut);
      pile_.pop_back();
      if (!pile_.empty())
        sortantes_[pile_.back().debut + pile_.back().suivant - 1].adresse = static_cast<uint32_t>(adresse);
      racine_ = adresse;
      nbRacine_ = c.nb;
    }
    tailleZone_ = static_cast<uint64_t>(p - zone);
    return true;
  }

  uint64_t TailleZone() const { return tailleZone_; }
  uint32_t Racine() const { return static_cast<uint32_t>(racine_); }
  uint32_t PlusGrandCompte() const { return plusGrandCompte_; }
  // Whether the states just written would have fitted with 3-byte addresses.
  bool TientSurTrois() const {
    return nbEtats_ == 0 || 2 * (nbEtats_ - 1) + 8 * (nbTransitions_ - nbRacine_) < (uint64_t{1} << 24);
  }

 private:
  struct Cadre {
    EtatC* etat;
    uint32_t debut;  // its transitions in sortantes_, in storage order
    uint32_t nb;
    uint32_t suivant;
  };

  void Entre(EtatC* e) {
    if (e->nb > 0x7FFF) EtatTropLarge();
    e->epoque = epoque_;
    const uint32_t debut = static_cast<uint32_t>(sortantes_.size());
    pile_.push_back({e, debut, e->nb, 0});
    sortantes_.resize(debut + e->nb);
    OrdonnePourStockage(e, sortantes_.data() + debut, plusGrandCompte_);
  }

  uint32_t epoque_ = 0;
  std::vector<Stockee> sortantes_;
  std::vector<Cadre> pile_;
  uint64_t tailleZone_ = 0, racine_ = 0xFFFFFFFFu;
  uint32_t plusGrandCompte_ = 0, nbRacine_ = 0;
  uint64_t nbEtats_ = 0, nbTransitions_ = 0;
};

// The form without parent links. Three-byte addresses when the area allows: certain when
// every registered state would fit; otherwise (a large lexicon, or merges that left states
// unreachable) the area is written with four, and again with three if the states reached
// fit after all.
uint64_t EcritSansParents(const LexiqueCompile& lexique, FluxSortie& sortie) {
  int largeur = EcritureDirecte::ZoneMax(lexique, 3) < (uint64_t{1} << 24) ? 3 : 4;
  const uint64_t zoneMax = EcritureDirecte::ZoneMax(lexique, largeur);
  // The area is laid out before its header, which needs the root's address: in place in a
  // memory buffer, after room for the header (its capacity then passes its size by what merges
  // left unreachable, a few percent), or in an array of our own. Pages the area does not reach
  // are never touched. Only a plain buffer is written in place: a derived one may watch its
  // writes, which this would bypass.
  auto* memoire = typeid(sortie) == typeid(TamponMemoire) ? static_cast<TamponMemoire*>(&sortie) : nullptr;
  std::unique_ptr<uint8_t[]> propre;
  const uint64_t debut = sortie.DonnePosition();
  if (memoire != nullptr) {
    memoire->Reserve(static_cast<int64_t>(debut + kEnteteMax + zoneMax + 1));
  } else {
    propre = std::make_unique_for_overwrite<uint8_t[]>(zoneMax + 1);
  }
  auto zone = [&](int l) {
    return memoire != nullptr ? static_cast<uint8_t*>(memoire->Ptr()) + TailleEntete(l) : propre.get();
  };
  EcritureDirecte e;
  if (!e.Ecris(lexique, largeur, zone(largeur))) ZoneTropGrande();
  if (largeur == 4 && e.TientSurTrois()) {
    largeur = 3;
    e.Ecris(lexique, largeur, zone(largeur));
  }
  if (e.TailleZone() > 0xFFFFFFFFull) ZoneTropGrande();
  uint8_t entete[kEnteteMax];
  uint8_t* p = entete;
  MetsEntete(p, largeur, e.Racine(), static_cast<uint32_t>(e.TailleZone()), e.PlusGrandCompte());
  const uint64_t ecrits = sortie.Mets(entete, static_cast<uint64_t>(p - entete));
  if (memoire == nullptr) return ecrits + sortie.Mets(propre.get(), e.TailleZone());
  // The header's write ended the size there: the area after it is the buffer's to the end.
  const uint64_t fin = debut + ecrits + e.TailleZone();
  memoire->MetsPosition(fin);
  memoire->MetsTaille(fin);
  return ecrits + e.TailleZone();
}

// The form with parent links, from the layout: a state's parents are written with it, and
// their addresses are known only once every state has its place.
uint64_t EcritAvecParents(const LexiqueCompile& lexique, FluxSortie& sortie) {
  Disposition d(lexique, true);
  for (const auto& info : d.infos) {
    if (info.nb > 0x7FFF || info.nbParents > 0xFFFF) EtatTropLarge();
  }
  if (!d.Adresse(3, true) && !d.Adresse(4, true)) ZoneTropGrande();
  const int a = d.largeur;

  // Parent links, grouped by child, parents in writing order.
  std::vector<uint32_t> debutLiens(d.infos.size() + 1, 0), liens(d.transitions.size());
  std::vector<uint32_t> parentDe(d.transitions.size());  // transition → its source state
  for (size_t i = 0; i < d.infos.size(); ++i) debutLiens[i + 1] = debutLiens[i] + d.infos[i].nbParents;
  std::vector<uint32_t> rempli(debutLiens.begin(), debutLiens.end() - 1);
  for (uint32_t i : d.ordre) {
    const auto& info = d.infos[i];
    for (uint32_t k = 0; k < info.nb; ++k)
      liens[rempli[d.transitions[info.debut + k].cible]++] = info.debut + k;
  }
  for (uint32_t i = 0; i < d.infos.size(); ++i) {
    for (uint32_t k = 0; k < d.infos[i].nb; ++k) parentDe[d.infos[i].debut + k] = i;
  }

  if (auto* memoire = dynamic_cast<TamponMemoire*>(&sortie)) {
    memoire->Reserve(static_cast<int64_t>(sortie.DonnePosition() + kEnteteMax + d.tailleZone));
  }

  // Written through a buffer of a few hundred kilobytes, each state whole: a state is at most
  // 2 + 32,767 × 9 bytes, and as much again for its parents.
  constexpr size_t kTampon = size_t{1} << 20;
  const std::unique_ptr<uint8_t[]> tampon = std::make_unique_for_overwrite<uint8_t[]>(kTampon);
  uint8_t* p = tampon.get();
  uint64_t ecrits = 0;
  auto vide = [&] {
    ecrits += sortie.Mets(tampon.get(), static_cast<uint64_t>(p - tampon.get()));
    p = tampon.get();
  };
  MetsEntete(p, a, d.ordre.empty() ? 0xFFFFFFFFu : d.adresses[d.Racine()],
             static_cast<uint32_t>(d.tailleZone), d.plusGrandCompte);
  const size_t octetsTransition = static_cast<size_t>(a) + 5;
  for (uint32_t i : d.ordre) {
    const auto& info = d.infos[i];
    const size_t taille = 4 + (info.nb + info.nbParents) * octetsTransition;
    if (static_cast<size_t>(tampon.get() + kTampon - p) < taille) vide();
    Mets16(p, 2 * info.nb + (info.final ? 1 : 0));
    const TransitionOrdonnee* t = d.transitions.data() + info.debut;
    for (uint32_t k = 0; k < info.nb; ++k, ++t) {
      Mets16(p, t->car);
      Mets24(p, t->compte);
      MetsAdresse(p, d.adresses[t->cible], a);
    }
    Mets16(p, info.nbParents);
    for (uint32_t l = debutLiens[i]; l < debutLiens[i + 1]; ++l) {
      const TransitionOrdonnee& lien = d.transitions[liens[l]];
      Mets16(p, lien.car);
      Mets24(p, lien.compte);
      MetsAdresse(p, d.adresses[parentDe[liens[l]]], a);
    }
  }
  vide();
  return ecrits;
}

// Every form, in number order: at each state the end of form first, then the transitions in
// numbering order.
template <typename F>
void FormesParNumero(const EtatC* racine, F&& rend) {
  if (racine == nullptr) return;
  std::u16string chemin;
  struct Cadre {
    uint32_t debut;  // its transitions in `suites`, in numbering order
    uint32_t nb;
    uint32_t suivant;
  };
  std::vector<TransitionC> suites;
  std::vector<Cadre> pile;
  auto entre = [&](const EtatC* e) {
    if (e->final) rend(ChaineN(chemin.data(), uint64_t{chemin.size()}));
    const auto debut = static_cast<uint32_t>(suites.size());
    suites.insert(suites.end(), e->transitions, e->transitions + e->nb);
    Trie(suites.data() + debut, e->nb, AvantEnNumerotation);
    pile.push_back({debut, e->nb, 0});
  };
  entre(racine);
  while (!pile.empty()) {
    Cadre& c = pile.back();
    if (c.suivant == c.nb) {
      suites.resize(c.debut);
      pile.pop_back();
      if (!pile.empty()) chemin.pop_back();
      continue;
    }
    const TransitionC t = suites[c.debut + c.suivant++];
    chemin.push_back(t.car);
    entre(t.cible);
  }
}

}  // namespace

Disposition::Disposition(const LexiqueCompile& lexique, bool parents) {
  if (lexique.racine == nullptr) return;
  std::lock_guard<std::mutex> verrou(lexique.ecriture);
  const uint32_t epoque = ++lexique.epoque;
  // The registered states bound the reachable ones: sized once, the arrays are never copied
  // as they grow (on a large lexicon they hold hundreds of megabytes).
  const size_t etats = lexique.registre.Taille();
  infos.reserve(etats);
  ordre.reserve(etats);
  transitions.reserve(lexique.transitions);
  std::vector<EtatC*> cibles;
  cibles.reserve(lexique.transitions);
  std::vector<Stockee> tri;
  auto visite = [&](EtatC* e) {
    e->epoque = epoque;
    e->indice = static_cast<uint32_t>(infos.size());
    infos.push_back({e, static_cast<uint32_t>(transitions.size()), e->nb, e->final});
    tri.resize(e->nb);
    OrdonnePourStockage(e, tri.data(), plusGrandCompte);
    for (const Stockee& t : tri) {
      transitions.push_back({t.car, t.compte, 0});
      cibles.push_back(t.cible);
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
    if (c.suivant < info.nb) {
      const uint32_t t = info.debut + c.suivant++;
      EtatC* enfant = cibles[t];
      // The target's index is read with its mark, while its line is at hand.
      if (enfant->epoque == epoque) {
        transitions[t].cible = enfant->indice;
      } else {
        const uint32_t indice = visite(enfant);
        transitions[t].cible = indice;
        pile.push_back({indice, 0});
      }
      continue;
    }
    ordre.push_back(c.indice);
    pile.pop_back();
  }
  if (parents) {
    for (const TransitionOrdonnee& t : transitions) ++infos[t.cible].nbParents;
  }
}

bool Disposition::Adresse(int a, bool parents) {
  largeur = a;
  adresses.resize(infos.size());
  uint64_t adresse = 0, racine = 0;
  for (uint32_t i : ordre) {
    const Info& info = infos[i];
    adresses[i] = static_cast<uint32_t>(adresse);
    racine = adresse;
    adresse += 2 + static_cast<uint64_t>(info.nb) * (a + 5);
    if (parents) adresse += 2 + static_cast<uint64_t>(info.nbParents) * (a + 5);
  }
  tailleZone = adresse;
  const uint64_t limite = a == 3 ? (uint64_t{1} << 24) : 0xFFFFFFFFull;
  return ordre.empty() || (racine < limite && tailleZone <= 0xFFFFFFFFull);
}

uint64_t EcritFormeCompacte(const LexiqueCompile& lexique, bool parents, FluxSortie& sortie,
                            CompilateurAutomateAcycliqueMin::SerialiseurAutomate* serialiseur) {
  uint64_t ecrits = parents ? EcritAvecParents(lexique, sortie) : EcritSansParents(lexique, sortie);
  if (serialiseur != nullptr) {
    // Forms in number order, each record framed by its VarElias length.
    TamponMemoire bloc, enregistrement;
    uint32_t numero = 0;
    FormesParNumero(lexique.racine, [&](const ChaineN& forme) {
      enregistrement.Vide();
      serialiseur->Ecris(enregistrement, forme, numero++);
      SerialiseurVarElias::Ecris(bloc, enregistrement.Taille());
      bloc.Mets(enregistrement.PreteDonneesBrutes(), enregistrement.Taille());
    });
    ecrits += sortie.Mets(bloc.PreteDonneesBrutes(), bloc.Taille());
  }
  return ecrits;
}

}  // namespace sdd::detail
