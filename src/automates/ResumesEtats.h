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

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
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

  // The summary of the state at `adresse`, which the walk that built them met: its rank among
  // the states from the word of bits that holds its start (one line of memory), then its
  // record (another).
  Resume Lis(uint64_t adresse) const {
    const uint64_t bit = adresse >> pas_;
    const Mot& m = mots_[bit >> 6];
    const uint64_t bits = (uint64_t{m.bitsHaut} << 32 | m.bitsBas) & ((uint64_t{1} << (bit & 63)) - 1);
    const uint8_t* r = &resumes_[(m.base + Population(bits)) * kOctetsResume];
    Resume resume;
    std::memcpy(&resume.classes, r, 8);
    resume.longueurMin = r[8];
    resume.longueurMax = r[9];
    return resume;
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
  // The cheapest substitution of the typed `tape` by any other character of the alphabet:
  // what a path pays at least for a character other than `tape` in its place. 0, "no floor
  // known", for another model.
  uint32_t SubstitutionMinimaleAutre(const ProbabiliteTransformation& modele, char16_t tape) const;
  // The model's cost of substituting the typed `tape` by each character of the alphabet
  // (indexed by RangAlphabet; 0 for `tape` itself), which a search would otherwise ask of the
  // model once per pair it meets. Null for another model, a typed character outside the
  // alphabet, or an alphabet past kAlphabetMaxCouts characters.
  static constexpr size_t kAlphabetMaxCouts = 128;
  const uint32_t* CoutsSubstitution(const ProbabiliteTransformation& modele, char16_t tape) const;
  // The place of c in Alphabet(), or -1.
  int RangAlphabet(char16_t c) const {
    const auto k = std::lower_bound(alphabet_.begin(), alphabet_.end(), c);
    return k != alphabet_.end() && *k == c ? static_cast<int>(k - alphabet_.begin()) : -1;
  }

  size_t Octets() const { return mots_.size() * sizeof(Mot) + resumes_.size() + alphabet_.size() * 2; }
  size_t NbEtats() const { return resumes_.size() / kOctetsResume; }

 private:
  ResumesEtats() = default;

  int pas_ = 0;  // log2 of the spacing of possible state starts
  // One bit per possible state start, 64 to a word, beside the number of states before them.
  struct Mot {
    uint32_t base, bitsBas, bitsHaut;
  };
  // Per state in address order: the classes (8 bytes), the shortest and the longest rest.
  static constexpr size_t kOctetsResume = 10;
  // Bits set in x, without the call the baseline x86-64 target makes for std::popcount.
  static uint64_t Population(uint64_t x) {
    x -= (x >> 1) & 0x5555555555555555ull;
    x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
    x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return (x * 0x0101010101010101ull) >> 56;
  }

  std::vector<Mot> mots_;
  std::vector<uint8_t> resumes_;
  std::vector<char16_t> alphabet_;
  struct Planchers {
    uint32_t insertion = 0;
    std::vector<uint32_t> substitutions;  // per character of the alphabet
    std::vector<uint32_t> autres;         // the same, any other character
    std::vector<uint32_t> couts;          // [tape × A + stocke], for alphabets up to kAlphabetMaxCouts
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
