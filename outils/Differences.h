#pragma once

// What outils-socle synchro adds to the library's line comparison: changed lines compared
// character by character.

#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/synchro/DifferencesLignes.h>

namespace outils {

using sdd::AjouteEtendue;
using sdd::Bloc;
using sdd::CompareLignes;
using sdd::Differences;
using sdd::GroupeEnBlocs;
using sdd::LimitesComparaison;
using sdd::Modification;
using sdd::TexteEnLignes;

// A text cut into characters: a code point and the combining marks after it, so that "é"
// written with a combining accent moves as one piece. Malformed bytes stand alone.
std::vector<std::string_view> Caracteres(std::string_view texte);

enum class Genre { kCommun, kSupprime, kInsere };
struct Morceau {
  Genre genre;
  std::string_view texte;  // within the old text (common, removed) or the new (inserted)
};

// The old and the new text as common, removed and inserted pieces, in order; adds the
// characters removed and inserted to `distance`. Past 5000 characters on both sides, or with a
// negative `limite` (time is up): removed whole, inserted whole.
std::vector<Morceau> CompareCaracteres(std::string_view ancien, std::string_view nouveau, float limite,
                                       int& distance);

}  // namespace outils
