#pragma once

#include <cstdint>

#include <outils_socle/Export.h>

namespace sdd {

// The cost model of the correction searches: what it costs to turn the word a user typed into a
// stored form, one edit at a time. Costs are whole numbers, kCoutUnitaire for an ordinary edit,
// so a bound of 2 × kCoutUnitaire is "two typing mistakes". `precedent` is the character just
// before the edit in the same text (0 at its start); it lets a model price doubled letters.
//
// The base class is the French model:
//   - same letter up to accent, case or variant (e/é, A/a, ’/'): 1;
//   - a letter doubled or undoubled (apel/appel, alle/ale): 3;
//   - a common confusion of one letter for another (c/k/q, c/ç/s, s/z, g/j, i/y, m/n, f/v,
//     b/p, d/t): 5;
//   - a swap of two neighbours: 6;
//   - any other substitution, insertion or deletion: kCoutUnitaire.
// Derive and override to change it; the functions must be pure (same answer for same input).
class OUTILS_SOCLE_EXPORT ProbabiliteTransformation {
 public:
  static constexpr uint32_t kCoutUnitaire = 10;

  virtual ~ProbabiliteTransformation();

  // `tape` typed where the form has `stocke`; called only when they differ.
  virtual uint32_t CoutSubstitution(char16_t tape, char16_t stocke) const;
  // The form has `stocke` that the typed word lacks.
  virtual uint32_t CoutInsertion(char16_t stocke, char16_t precedent) const;
  // The typed word has `tape` that the form lacks.
  virtual uint32_t CoutSuppression(char16_t tape, char16_t precedent) const;
  // Typed "ba" where the form has "ab".
  virtual uint32_t CoutTransposition(char16_t a, char16_t b) const;
  // The bound used when the caller gives none.
  virtual uint32_t CoutMaximalParDefaut() const { return 2 * kCoutUnitaire; }
  // How likely the form is given the cost: 10^(−cost / kCoutUnitaire), so one ordinary edit
  // is one chance in ten.
  virtual double Probabilite(uint32_t cout) const;

  // The shared French model.
  static const ProbabiliteTransformation& Francais();
};

}  // namespace sdd
