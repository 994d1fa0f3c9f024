#pragma once

// The string-level walks under the Malgray options, shared by ChaineN's comparisons and searches.
#include <cstdint>

#include <outils_socle/texte/ChaineN.h>

namespace sdd::detail {

// The letters of one of the four ligatures ("oe" for œ...), or null for any other unit. The one
// table of ligatures, in UniCaractere.cpp.
const char16_t* LettresDeLigature(char16_t c);

// See Malgray.cpp.
int64_t DeligatureEgalOption(const char16_t* a, uint64_t na, const char16_t* b, uint64_t nb,
                             ChaineN::Malgray m, bool prefixe);

// How many units of `texte` from `position` match the whole of `motif` under m, or -1. Without
// kMalgrayLigatures that is the motif's length; with it, a ligature on either side may stand for
// its letters.
int64_t CorrespondAvecOptions(const char16_t* texte, uint64_t n, uint64_t position, const ChaineN& motif,
                              ChaineN::Malgray m);

}  // namespace sdd::detail
