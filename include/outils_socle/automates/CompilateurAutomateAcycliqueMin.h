#pragma once

#include <cstdint>
#include <memory>

#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/ChaineN.h>

namespace sdd {

class FluxSortie;
class TamponMemoire;

// Told how far a long job has gone. Calls never overlap (the compiler makes them under its
// lock), but they may come from any thread of the pool.
class OUTILS_SOCLE_EXPORT Progression {
 public:
  virtual ~Progression();
  virtual void Avance(uint64_t fait, uint64_t total) = 0;
};

namespace detail {
struct LexiqueCompile;
struct MotsContigus;
struct FormesTriees;
}  // namespace detail

class DMutex;

// Compiles a word list into the minimal acyclic automaton that AutomateAcycliqueMin reads.
//
// The list is copied, sorted in parallel (ChaineN's unit order) and rid of exact duplicates;
// then it is cut into parts of `taillePartie` consecutive words (the integer square root of the
// count by default), each part is built into its own minimal automaton on the pool's
// high-priority queue, and the parts are merged in order into one; states are shared through
// a register, so the result is minimal whatever the part size, and the written form is the
// same byte for byte.
//
// States live in pools owned by the compiled lexicon (they are freed all at once with it);
// a state that turns out equal to a registered one is never created, so the pools hold little
// more than the final automaton. A copy of the compiler shares the finished, immutable states.
//
// A word may not contain the unit 0 (it marks the end of a form in the stored form), and a
// lexicon holds at most 16,777,215 forms (counts are stored on 3 bytes): both are refused with
// exceptions::OperationInvalide.
class OUTILS_SOCLE_EXPORT CompilateurAutomateAcycliqueMin {
 public:
  static constexpr uint32_t InclureNoeudsParents = 1;
  static constexpr uint64_t kTaillePartieDefaut = UINT64_MAX;
  static constexpr uint64_t kNbFormesMax = 0xFFFFFF;

  // Writes a block of per-form data after the state area. Ecris is called once per form, in
  // number order; the compiler frames each record as a VarElias length followed by the bytes
  // written, so the block reads back as N length-prefixed records (docs/automate.md).
  class OUTILS_SOCLE_EXPORT SerialiseurAutomate {
   public:
    virtual ~SerialiseurAutomate();
    virtual void Ecris(TamponMemoire& sortie, const ChaineN& forme, uint32_t numero) = 0;
  };

  CompilateurAutomateAcycliqueMin(const ListeT<ChaineN>& mots, uint32_t options = 0,
                                  uint64_t taillePartie = kTaillePartieDefaut,
                                  Progression* progression = nullptr);
  CompilateurAutomateAcycliqueMin(const CompilateurAutomateAcycliqueMin& autre);
  CompilateurAutomateAcycliqueMin(CompilateurAutomateAcycliqueMin&& autre) noexcept;
  CompilateurAutomateAcycliqueMin& operator=(const CompilateurAutomateAcycliqueMin& autre);
  CompilateurAutomateAcycliqueMin& operator=(CompilateurAutomateAcycliqueMin&& autre) noexcept;
  ~CompilateurAutomateAcycliqueMin();

  // Writes the stored form (3-byte addresses when the state area allows, else 4); returns
  // the number of bytes written.
  uint64_t FormeCompactay(FluxSortie& sortie, SerialiseurAutomate* serialiseur = nullptr);
  // The number that the stored automaton gives the word, or −1.
  int64_t NoPourMot(const ChaineN& mot) const;
  // Graphviz text of the automaton.
  ChaineN FichierDot();
  // One line per transition and per end of form, state by state in writing order.
  ChaineN FichierTrace();
  void Trace(FluxSortie& sortie);
  // Seconds spent building and merging the parts.
  double DonneTempsInsertion() const;

  // The forms, sorted, without duplicates: made from the automaton on the first call (the
  // compiler keeps no copy of its input), then kept.
  const ListeT<ChaineN>& Mots() const;
  uint64_t NbFormes() const { return nbFormes_; }
  uint64_t NbEtats() const;
  uint64_t NbTransitions() const;
  uint64_t TaillePartie() const { return taillePartie_; }  // 0 for an empty list
  // The parts built in parallel and merged: 0 for an empty list.
  uint64_t NbParties() const {
    return taillePartie_ == 0 ? 0 : (nbFormes_ + taillePartie_ - 1) / taillePartie_;
  }
  uint32_t PlusGrandCompte() const;

 protected:
  void EffectueInsertionMots();
  void EnleveDoublonDict();
  // Merges the automata of parts premier + 1 … dernier into that of part premier.
  void Fusion(uint64_t premier, uint64_t dernier, Progression* progression);

 private:
  void Trie(const ListeT<ChaineN>& mots);
  // Merges parts debut … fin, in order, into part 0 and frees their pools.
  void FusionneParties(uint64_t debut, uint64_t fin, DMutex* verrou, uint64_t* faits, uint64_t total);
  const detail::LexiqueCompile& Premier() const;

  uint64_t nbFormes_ = 0;
  uint32_t options_ = 0;
  uint64_t taillePartie_ = kTaillePartieDefaut;
  Progression* progression_ = nullptr;
  // One per part while building; after the merge only the first is left.
  ListeT<std::shared_ptr<detail::LexiqueCompile>> automates_;
  double tempsInsertion_ = 0;
  std::shared_ptr<detail::MotsContigus> contigus_;  // during construction only
  std::shared_ptr<detail::FormesTriees> formesTriees_;
};

}  // namespace sdd
