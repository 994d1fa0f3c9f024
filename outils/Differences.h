#pragma once

// The line comparison behind outils-socle synchro: texts cut into lines, lines turned into
// numbers, the library's Synchro over the numbers, and the result as a list of changes grouped
// into hunks the way diff groups them.

#include <string>
#include <string_view>
#include <vector>

namespace outils {

// A text cut into lines; each line keeps its '\n' when it has one, so that a last line without
// it differs from the same line with it, as diff has it.
struct TexteEnLignes {
  std::string octets;
  std::vector<std::string_view> lignes;
  void Decoupe();  // fills `lignes` from `octets`
};

// Old elements [ancien, ancien + supprimes) replaced by new elements [nouveau, nouveau + inseres);
// either count may be 0, not both.
struct Modification {
  int ancien, supprimes, nouveau, inseres;
};

struct Differences {
  std::vector<Modification> modifications;  // in order, never adjacent
  int distance = 0;                         // elements deleted plus inserted
  bool limiteAtteinte = false;              // the time limit cut the search: not minimal
};

// Two sequences of numbers (equal numbers, equal elements). Elements whose number the other
// sequence lacks can match nothing; they are set aside before the search, which then works on
// what may match (diff does the same), and the alignment is mapped back. `limite` in seconds,
// 0 for none.
Differences CompareSuites(const std::vector<int>& ancien, const std::vector<int>& nouveau, float limite);

// Lines compared as whole byte strings (each line numbered by its text).
Differences CompareLignes(const std::vector<std::string_view>& ancien,
                          const std::vector<std::string_view>& nouveau, float limite);

// A hunk: the modifications [premiere, derniere] with `contexte` unchanged lines around them;
// modifications less than 2 x contexte + 1 unchanged lines apart share a hunk, as in diff.
struct Bloc {
  size_t premiere, derniere;
  int ancienDebut, ancienFin, nouveauDebut, nouveauFin;  // line ranges [debut, fin)
};
std::vector<Bloc> GroupeEnBlocs(const std::vector<Modification>& modifications, int lignesAnciennes,
                                int lignesNouvelles, int contexte);

// A text cut into characters: a code point and the combining marks after it, so that "é"
// written with a combining accent moves as one piece. Malformed bytes stand alone.
std::vector<std::string_view> Caracteres(std::string_view texte);

// A line range in a unified diff hunk header ("3,4", "7", "2,0"): diff's convention, a single
// line is its number alone and an empty range names the line before it.
void AjouteEtendue(std::string& sortie, int debut, int compte);

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
