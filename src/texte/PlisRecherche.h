#pragma once

// Character comparisons of the insensitive searches (the lexicon automaton's and the string
// table's): the folded form of every unit, the kinds of difference between two units that fold
// alike, and the ranks they add to.

#include <cstdint>
#include <memory>

#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniCaractere.h>

namespace sdd {

namespace detail {

// The folded form of every unit (variant, lower case, no accent), as a dense 128 KiB table built
// on first use: the insensitive walks fold every transition they pass.
inline const char16_t* TablePlis() {
  static const std::unique_ptr<char16_t[]> table = [] {
    auto t = std::make_unique<char16_t[]>(65536);
    for (uint32_t c = 0; c < 65536; ++c) {
      t[c] = UniCaractere::NormaliseVarianteMinusculiseSansAccent(static_cast<char16_t>(c));
    }
    return t;
  }();
  return table.get();
}

inline char16_t Pli(char16_t c) { return TablePlis()[c]; }

// The kinds of difference (Malgray bits) between a stored character and a typed one that fold
// to the same letter.
inline uint16_t Difference(char16_t stocke, char16_t tape) {
  uint16_t bits = 0;
  if (UniCaractere::EstMajuscule(stocke) != UniCaractere::EstMajuscule(tape)) bits |= ChaineN::kMalgrayCasse;
  const char16_t a = UniCaractere::Minuscule(stocke), b = UniCaractere::Minuscule(tape);
  if (a != b) {
    bits |= UniCaractere::SansAccent(a) == UniCaractere::SansAccent(b) ? ChaineN::kMalgrayAccents
                                                                       : ChaineN::kMalgrayVariantes;
  }
  return bits;
}

// The table's ligatures are Æ, æ, Œ and œ and nothing else (its test says so): compared
// inline, since the walks ask this of every transition they pass.
inline bool EstLigature(char16_t c) { return c == 0xC6 || c == 0xE6 || c == 0x152 || c == 0x153; }

inline uint8_t Plus(uint8_t rang, bool oui) {
  return oui && rang < 255 ? static_cast<uint8_t>(rang + 1) : rang;
}
}  // namespace detail

}  // namespace sdd
