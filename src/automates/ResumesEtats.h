#pragma once

// What lies below each state of a lexicon, learnt by the reader itself the first time a
// correction search needs it: the shortest and longest rest of a form from the state, and the
// letters those rests use (folded, in 64 classes). The stored form does not hold this; a
// correction search uses it to abandon a state whose forms are all out of reach (too short,
// too long, or missing letters the typed word still needs) before walking below it.
//
// Computed once per opened lexicon in two passes over the states reachable from the root: a
// walk that marks where each state starts, then one pass in address order, where every target
// lies before its source, so each state combines children already summed up. Work and memory
// are linear in the area: a bit per possible state start (every other byte with 3-byte
// addresses, where states have even sizes), a count of the states before each 64 of those
// bits, and 10 bytes per state (12 bytes in all on the French list).
//
// Damaged bytes anywhere the walk reaches make the summaries unavailable rather than throw:
// the searches then run as they do without them and meet the damage themselves.

#include <bit>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <outils_socle/Export.h>

#include "automates/LecteurAutomate.h"

namespace sdd {

class ProbabiliteTransformation;

namespace detail {

// Exported for the tests only; not part of the installed headers.
class OUTILS_SOCLE_EXPORT ResumesEtats {
 public:
  // A rest longer than this is recorded as kLongueurInconnue: "no known upper bound".
  static constexpr uint8_t kLongueurInconnue = 0xFF;

  struct Resume {
    uint8_t longueurMin, longueurMax;  // of the rests of forms from the state (saturating)
    uint64_t classes;                  // of the letters those rests use
  };

  // Null when the bytes the walk reaches are damaged.
  template <int A>
  static std::unique_ptr<const ResumesEtats> Calcule(const LecteurAutomate<A>& l);

  // The letter class of a character: its folded form (no case, accent or variant), a–z one
  // class each, every other character shares one of the 38 others.
  static uint32_t Classe(char16_t c);

  // The summary of the state at `adresse`, which the walk that built them met.
  Resume Lis(uint64_t adresse) const {
    const uint64_t bit = adresse >> pas_;
    const uint64_t rang =
        bases_[bit >> 6] +
        static_cast<uint64_t>(std::popcount(debuts_[bit >> 6] & ((uint64_t{1} << (bit & 63)) - 1)));
    return {longueurs_[rang * 2], longueurs_[rang * 2 + 1], classes_[rang]};
  }

  // Every character on a transition, each once.
  const std::vector<char16_t>& Alphabet() const { return alphabet_; }

  // Floors of the model's costs over the characters a form can hold. For the shared French
  // model, whose answers never change, they are worked out once and remembered; any other
  // model's object may not outlive a search, so nothing is remembered for it.
  //
  // The cheapest insertion between any two characters of the alphabet (or at a form's start);
  // 0, "no floor known", for another model (the pairs would cost each search more than the
  // floor saves).
  uint32_t InsertionMinimale(const ProbabiliteTransformation& modele) const;
  // The cheapest substitution of the typed `tape` by a character of the alphabet in another
  // letter class: what a typed letter costs where no form below has its class.
  uint32_t SubstitutionMinimale(const ProbabiliteTransformation& modele, char16_t tape) const;

  size_t Octets() const {
    return debuts_.size() * 8 + bases_.size() * 4 + longueurs_.size() + classes_.size() * 8 +
           alphabet_.size() * 2;
  }
  size_t NbEtats() const { return classes_.size(); }

 private:
  ResumesEtats() = default;

  int pas_ = 0;                     // log2 of the spacing of possible state starts
  std::vector<uint64_t> debuts_;    // one bit per possible start: a state starts there
  std::vector<uint32_t> bases_;     // the states before each word of bits
  std::vector<uint8_t> longueurs_;  // shortest and longest rest, per state in address order
  std::vector<uint64_t> classes_;   // letter classes below, per state in address order
  std::vector<char16_t> alphabet_;
  struct Planchers {
    uint32_t insertion = 0;
    std::vector<uint32_t> substitutions;  // per character of the alphabet
  };
  const Planchers& PlanchersFrancais() const;
  uint32_t CalculeSubstitutionMinimale(const ProbabiliteTransformation& modele, char16_t tape) const;

  mutable std::once_flag planchersCalcules_;
  mutable Planchers planchersFrancais_;
};

// Summaries computed on first demand and shared by every copy of one opened lexicon.
struct ResumesParesseux {
  std::once_flag calcules;
  std::unique_ptr<const ResumesEtats> resumes;  // null when unavailable
};

}  // namespace detail
}  // namespace sdd
