#pragma once

// Writing the stored form from the compiler's states. A state's transitions are stored by
// descending count, their counts following the numbering order; the states are written
// depth first, children before parents. The usual form is written in one walk that keeps
// nothing per state; the layout (Disposition), which knows every state before anything is
// written, serves the form with parent links, the debugging outputs and the statistics.

#include <cstdint>
#include <vector>

#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>

#include "automates/EtatsCompilation.h"

namespace sdd {

class FluxSortie;

namespace detail {

struct TransitionOrdonnee {
  char16_t car;
  uint32_t compte;
  uint32_t cible;  // index of the target in the layout
};

// One walk over the reachable states, children before parents, each state's children in
// storage order: the order in which the states are written.
struct Disposition {
  // What the later passes need of a state, copied while the walk has its line at hand: the
  // states lie scattered over the pools, and each pass that went back to them would pay a
  // cache miss per state.
  struct Info {
    EtatC* etat;
    uint32_t debut;  // first of its transitions in `transitions`
    uint32_t nb;
    bool final;
    uint32_t nbParents = 0;
  };
  std::vector<Info> infos;         // by first visit
  std::vector<uint32_t> adresses;  // of each state, by first visit: apart, so the writing's
                                   // lookups of targets stay in a small array
  std::vector<TransitionOrdonnee> transitions;
  std::vector<uint32_t> ordre;  // indices into infos, in writing order
  uint32_t plusGrandCompte = 0;
  uint64_t tailleZone = 0;
  int largeur = 3;

  // `parents`: count each state's parents too (the stored form with parent links needs them).
  explicit Disposition(const LexiqueCompile& lexique, bool parents = false);

  uint32_t Racine() const { return ordre.back(); }

  // Addresses for width A; false if the root's does not fit.
  bool Adresse(int a, bool parents);
};

// The stored form of `lexique` (header, state area, and the serialiser's records if one is
// given) into `sortie`; the number of bytes written. OperationInvalide, with nothing written,
// for a state the header cannot describe or an area past 4-byte addresses.
uint64_t EcritFormeCompacte(const LexiqueCompile& lexique, bool parents, FluxSortie& sortie,
                            CompilateurAutomateAcycliqueMin::SerialiseurAutomate* serialiseur);

}  // namespace detail
}  // namespace sdd
