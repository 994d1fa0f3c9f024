#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include <outils_socle/Export.h>

class UniChaine;
namespace sdd {
class ChaineN;
}  // namespace sdd

// Aligns a new sequence with an old one: for every element of the new sequence, the index of
// the old element it corresponds to, or -1 when it is new (inserted or changed). The alignment
// is a longest common subsequence, found with Myers' O(ND) difference algorithm in linear space
// (middle snake, divide and conquer) after the common prefix and suffix are set aside; its
// tie-breaks are fixed, so that an alignment is reproducible to the element.
//
// Sequences are the characters of two strings, bytes, or anything a comparison callback reaches
// (lines, for instance). They must stay alive and unchanged while the object is used.
//
// An optional time limit (in seconds, fixed at construction as a deadline) protects interactive
// callers against long, very different sequences: once it is passed, every search gives up at
// once, what was not matched stays -1 and LimiteTempsDepassee() says so. One object per thread.
class OUTILS_SOCLE_EXPORT Synchro {
 public:
  // True when old element i equals new element j.
  using Comparaison = bool (*)(void* ancien, int i, void* nouveau, int j);

  Synchro(const sdd::ChaineN& ancien, const sdd::ChaineN& nouveau, float limite = 0);
  Synchro(const sdd::ChaineN& ancien, int n, const sdd::ChaineN& nouveau, int m, float limite = 0);
  Synchro(const UniChaine& ancien, const UniChaine& nouveau, float limite = 0);
  Synchro(void* ancien, int n, void* nouveau, int m, Comparaison compare, float limite = 0);
  Synchro(const char* ancien, int n, const char* nouveau, int m, float limite = 0);
  // The object keeps pointers to the strings, so temporaries would dangle before the first
  // call: refused at compile time.
  Synchro(sdd::ChaineN&&, const sdd::ChaineN&, float = 0) = delete;
  Synchro(const sdd::ChaineN&, sdd::ChaineN&&, float = 0) = delete;
  Synchro(sdd::ChaineN&&, sdd::ChaineN&&, float = 0) = delete;
  Synchro(UniChaine&&, const UniChaine&, float = 0) = delete;
  Synchro(const UniChaine&, UniChaine&&, float = 0) = delete;
  Synchro(UniChaine&&, UniChaine&&, float = 0) = delete;
  // Copies share the work arrays and the result the object owns.
  Synchro(const Synchro&) = default;
  Synchro& operator=(const Synchro&) = default;
  ~Synchro();

  // The alignment: M entries, the old index of each new element or -1. Into `resultat` (M
  // ints, the caller's) when given; otherwise into an array the object owns until it is
  // destroyed or Synchronise is called again.
  int* Synchronise(int* resultat = nullptr);
  // The number of deletions plus insertions of a shortest edit script, N + M - 2 x LCS
  // (N + M when the time limit cut the search).
  int DonneDistance();
  // When both lengths are at least 1 and min/max > 0.5: the distance, a = (distance - max +
  // min) / min and b = distance / (min + max). Otherwise INT_MAX and the largest double twice.
  void DonneDistanceEtDivergence(int& distance, double& a, double& b);
  // Whether the texts are close: (distance + min - max) / min < 0.3. Sequences whose lengths
  // differ by more than half are never close, unless `contenuAccepte` (honoured only when the
  // old is at least as long as the new: a new text contained in an old one).
  bool PhrasesSimilaires(bool contenuAccepte = false);
  bool LimiteTempsDepassee() const { return depasse_; }
  // A stop another thread may raise (a user who interrupts): once the flag is true, the
  // searches give up as when the time limit passes, and LimiteTempsDepassee() says so. The
  // flag must outlive the searches; nullptr (the default) for none.
  void ArreteSur(const std::atomic<bool>* arret) { arret_ = arret; }

  // Filters of a result array of n entries (nothing happens when n < 2).
  // A match that belongs to no run of consecutive old indices becomes -1.
  static void MetsNouveauCaracteresNonConsecutifs(int* t, int n);
  // Every maximal run of matches shorter than `minimum` becomes -1.
  static void MetsNouveauAnciensPetitsIntervalles(int* t, int n, int minimum);
  // After each run of -1, the entries from the run's last up to the next line end of the new
  // text (character 13 or 10, indexed like t) become -1 too.
  static void MetsNouveauJusqueFinDeLigne(const UniChaine& nouveau, int* t, int n);

  // The comparison callbacks of the constructors, for callers' own sequences.
  // The searches recognise CompareCaracteres and CompareEntiers and compare inline, without a
  // call per comparison.
  static bool CompareCaracteres(void* ancien, int i, void* nouveau, int j);        // bytes
  static bool CompareEntiers(void* ancien, int i, void* nouveau, int j);           // int arrays
  static bool CompareChaines(void* ancien, int i, void* nouveau, int j);           // char* arrays
  static bool CompareListeTUniChaines(void* ancien, int i, void* nouveau, int j);  // ListeT<UniChaine>
  static bool CompareUniCarDansChaineN(void* ancien, int i, void* nouveau, int j);
  // A negative index stands for the character 0.
  static bool CompareUniCarDansUniChaine(void* ancien, int i, void* nouveau, int j);
  static bool CompareUniChaines(void* ancien, int i, void* nouveau, int j);  // UniChaine arrays

 private:
  struct Serpent {
    int xDebut, yDebut, xFin, yFin;  // from the part's start
  };

  void Init(float secondes);
  bool TempsEcoule();
  bool Egaux(int i, int j) const { return compare_(ancien_, i, nouveau_, j); }
  void TrouveLCS(int* resultat, int x, int n, int y, int m);
  // Myers' middle snake of old[x, x + n) against new[y, y + m): the length D of a shortest
  // edit script and a snake on it, or n + m when there is no common element or time ran out.
  int TrouveSerpent(int x, int n, int y, int m, Serpent& serpent);
  template <typename Egal>
  int TrouveSerpentAvec(const Egal& egaux, int x, int n, int y, int m, Serpent& serpent);

  void* ancien_;
  int n_;
  void* nouveau_;
  int m_;
  Comparaison compare_;
  // Per diagonal k (at k + decalage_): the forward and reverse furthest-reaching x, and where
  // the last snake on it began.
  std::shared_ptr<int[]> avant_;
  std::shared_ptr<int[]> arriere_;
  std::shared_ptr<int[]> debutSerpent_;
  int decalage_ = 0;
  std::shared_ptr<int[]> resultat_;  // when the object owns the alignment
  uint64_t echeance_ = 0;            // absolute milliseconds of a monotonic clock
  const std::atomic<bool>* arret_ = nullptr;
  bool limite_ = false;
  bool depasse_ = false;
};
