#pragma once

// The stored automaton as the graph the shared walks expect (see MarcheInsensible.h): states
// are addresses, a transition is its record, counts are the numbering's.

#include <cstdint>

#include "automates/IndexRacine.h"
#include "automates/LecteurAutomate.h"
#include "automates/ResumesEtats.h"

namespace sdd {

template <int A>
class GrapheAutomate {
  using L = LecteurAutomate<A>;

 public:
  using Etat = uint64_t;
  using Vue = typename L::Etat;
  using Sortie = const uint8_t*;
  // A state is reached by many paths: the walks remember the pairs that led nowhere.
  static constexpr bool kMemorise = true;
  // Forms have numbers, which a path taken smallest count first meets in rising order.
  static constexpr bool kNumerote = true;

  explicit GrapheAutomate(const AutomateAcycliqueMin& automate) : l_(automate) {}

  const L& Lecteur() const { return l_; }
  Etat Racine() const { return l_.Racine(); }
  Vue Lis(Etat e) const { return l_.LisEtat(e); }
  static bool Final(const Vue& v) { return v.final; }
  static Sortie Premiere(const Vue& v) { return v.transitions; }
  static bool Existe(const Vue& v, Sortie t) {
    return t != v.transitions + uint64_t{v.nb} * L::kOctetsTransition;
  }
  static Sortie Suivante(Sortie t) { return t + L::kOctetsTransition; }
  static Sortie Ieme(const Vue& v, uint32_t k) { return v.transitions + uint64_t{k} * L::kOctetsTransition; }
  static char16_t Car(Sortie t) { return L::Car(t); }
  static Etat Cible(const Vue& v, Sortie t) { return L::Cible(v, t); }
  static uint32_t Compte(Sortie t) { return L::Compte(t); }
  static bool Trouve(const Vue& v, char16_t c, Sortie* t) {
    *t = L::Trouve(v, c);
    return *t != nullptr;
  }
  static constexpr uint32_t kCandidatsMax = 64;
  static uint64_t Candidats(const Vue& v, char16_t a, char16_t b) { return L::Candidats(v, a, b); }
  static uint64_t Identite(Etat e) { return e; }
  uint32_t NbFormes() const { return l_.NbFormes(); }
  bool RecupereExclamation() const { return l_.RecupereExclamation(); }
  bool RecupereTiret() const { return l_.RecupereTiret(); }
  bool TempsEcoulay() const { return l_.TempsEcoulay(); }
  // The root's and its wide children's transitions by character (null if unreadable).
  const detail::IndexRacine* Index() const { return l_.Index(); }
  // The summaries of what lies below each state, computed on the first call for this lexicon
  // (threads wait for the one computing them); null when the bytes are damaged.
  const detail::ResumesEtats* Resumes() const {
    const detail::IndexRacine* index = l_.Index();
    if (index == nullptr) return nullptr;  // the root is unreadable: the search will say so
    detail::ResumesParesseux& p = index->resumes;
    std::call_once(p.calcules, [&] { p.resumes = detail::ResumesEtats::Calcule(l_); });
    return p.resumes.get();
  }
  [[noreturn]] static void Corrompu(uint64_t e) { detail::AutomateCorrompu(e); }

 private:
  L l_;
};

}  // namespace sdd
