#pragma once

// Texts compared line by line, the way diff compares them: the texts cut into lines, equal
// lines given equal numbers, lines absent from the other text set aside (they can match
// nothing), a bounded search over what remains (or Synchro's exact one, on request), and the
// result as a list of changes grouped into the hunks of a unified diff. The program's synchro
// command and the Python module's diff_unifie both stand on it, so that they print the same
// hunks.

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/Export.h>

namespace sdd {

// A text cut into lines; each line keeps its '\n' when it has one, so that a last line without
// it differs from the same line with it, as diff has it. The lines point into `octets`.
struct OUTILS_SOCLE_EXPORT TexteEnLignes {
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
  bool limiteAtteinte = false;              // the time limit or a stop cut the search: not minimal
};

// How a comparison searches. By default, as GNU diff does, the search is bounded: once a part
// costs more edits than about the square root of the input's size (4096 at least), it stops
// looking for the shortest script of that part and cuts it where the search got furthest. The
// script stays valid (patch applies it), is usually as short, and two long texts that differ
// everywhere (a shuffled file) cost about the input's size times that bound instead of its
// square. `minimale` asks for the shortest script whatever the cost (Synchro, as diff
// --minimal). `limite` seconds (0: no limit) and a flag another thread may raise (a user's
// interruption) stop either search early; the result stays a valid script, and
// `limiteAtteinte` says so.
struct LimitesComparaison {
  float limite = 0;
  const std::atomic<bool>* arret = nullptr;
  bool minimale = false;
};

// Two sequences of numbers (equal numbers, equal elements; numbers from 0, below the total
// length). Elements whose number the other sequence lacks are set aside before the search,
// which then works on what may match, and the alignment is mapped back.
OUTILS_SOCLE_EXPORT Differences CompareSuites(const std::vector<int>& ancien, const std::vector<int>& nouveau,
                                              LimitesComparaison limites = {});

// Lines compared as whole byte strings (each line numbered by its text, through a hash seeded
// per process, so that a file made to collide cannot make the numbering quadratic).
OUTILS_SOCLE_EXPORT Differences CompareLignes(const std::vector<std::string_view>& ancien,
                                              const std::vector<std::string_view>& nouveau,
                                              LimitesComparaison limites = {});

// A hunk: the modifications [premiere, derniere] with `contexte` unchanged lines around them;
// modifications less than 2 x contexte + 1 unchanged lines apart share a hunk, as in diff.
struct Bloc {
  size_t premiere, derniere;
  int ancienDebut, ancienFin, nouveauDebut, nouveauFin;  // line ranges [debut, fin)
};
OUTILS_SOCLE_EXPORT std::vector<Bloc> GroupeEnBlocs(const std::vector<Modification>& modifications,
                                                    int lignesAnciennes, int lignesNouvelles, int contexte);

// A line range in a unified diff hunk header ("3,4", "7", "2,0"): diff's convention, a single
// line is its number alone and an empty range names the line before it.
OUTILS_SOCLE_EXPORT void AjouteEtendue(std::string& sortie, int debut, int compte);

// What a walk of the hunks hands over, in order: each hunk's header, the unchanged lines
// [debut, fin) of the old text, and each modification.
class OUTILS_SOCLE_EXPORT VisiteurBlocs {
 public:
  virtual void Bloc(const sdd::Bloc& bloc) = 0;
  virtual void Communes(int debut, int fin) = 0;
  virtual void Change(const Modification& modification) = 0;

 protected:
  ~VisiteurBlocs() = default;
};
OUTILS_SOCLE_EXPORT void ParcoursBlocs(const Differences& d, int lignesAnciennes, int lignesNouvelles,
                                       int contexte, VisiteurBlocs& visiteur);

// The hunks of a unified diff, as `diff -u` writes them below its two header lines ("@@ -1,3
// +1,4 @@", then ' ', '-' and '+' lines, and "\ No newline at end of file" after a last line
// without one), appended to `sortie`.
OUTILS_SOCLE_EXPORT void EcrisBlocsUnifies(std::string& sortie, const TexteEnLignes& ancien,
                                           const TexteEnLignes& nouveau, const Differences& d, int contexte);

}  // namespace sdd
