#pragma once

// The lookup index that TableChaineNoyau::Compacte lays out beside the tree: every node as a
// 16-byte record. Each node's children are one block of records, and the blocks come in depth-
// first order, so that a subtree's records are one stretch of the array. A lookup reads one
// cache line or two per level from an array of a few megabytes, and a walk over a subtree (a
// joker's "*") reads its stretch in order, where the tree's nodes, a hundred bytes each and
// spread over the heap, cost a cache miss at every step.
//
// It points at the tree's nodes (for their payloads) and copies their key-end bits: any change
// of the tree's keys drops it.

#include <cstdint>
#include <vector>

#include <outils_socle/conteneurs/TableChaineNoyau.h>

namespace sdd::detail {

class IndexClefs {
 public:
  using Noeud = TableChaineNoyau::Noeud;

  explicit IndexClefs(const Noeud* racine);

  static constexpr uint32_t kAbsente = UINT32_MAX;
  // The record at which the key ends (a key end or not), or kAbsente.
  uint32_t Trouve(const char16_t* clef, uint64_t n) const;
  bool EstClef(uint32_t i) const { return enregistrements_[i].mots & kClef; }
  const Noeud* NoeudDe(uint32_t i) const { return noeuds_[i]; }

  // For the walks (GrapheIndex): a record's fragment and children.
  uint32_t Longueur(uint32_t i) const {
    const Enregistrement& e = enregistrements_[i];
    return e.Tete() + e.NbSuite(reste_);
  }
  uint32_t PremierEnfant(uint32_t i) const { return enregistrements_[i].premierEnfant; }
  uint32_t FinEnfants(uint32_t i) const {
    return enregistrements_[i].premierEnfant + enregistrements_[i].nbEnfants;
  }
  // Unit k of record i's fragment.
  char16_t Unite(uint32_t i, uint32_t k) const {
    const Enregistrement& e = enregistrements_[i];
    const char32_t p = e.Premier();
    if (p < 0x10000) {
      if (k == 0) return static_cast<char16_t>(p);
      k -= 1;
    } else {
      if (k == 0) return static_cast<char16_t>(0xD800 + ((p - 0x10000) >> 10));
      if (k == 1) return static_cast<char16_t>(0xDC00 + ((p - 0x10000) & 0x3FF));
      k -= 2;
    }
    return e.Suite(reste_)[k];
  }

 private:
  // The record's first word: the fragment's first code point (21 bits), how many units follow
  // it (kSuiteLongue: more than two, counted in reste_), whether the fragment is empty (the
  // root) and whether a key ends here, so that a lookup need not touch the node.
  static constexpr uint32_t kPointDeCode = 0x1FFFFF;
  static constexpr int kDecalageSuite = 21;
  static constexpr uint32_t kSuiteLongue = 3;
  static constexpr uint32_t kVide = 1u << 23;
  static constexpr uint32_t kClef = 1u << 31;

  struct Enregistrement {
    uint32_t mots;
    uint32_t premierEnfant;  // the children's block
    uint32_t nbEnfants;
    // The units after the first code point: up to two here, else their count then the units in
    // reste_ from this offset.
    union {
      char16_t unites[2];
      uint32_t debut;
    } suite;

    char32_t Premier() const { return mots & kPointDeCode; }
    uint32_t NbSuite(const std::vector<char16_t>& reste) const {
      const uint32_t n = (mots >> kDecalageSuite) & 3;
      return n == kSuiteLongue ? reste[suite.debut] : n;
    }
    const char16_t* Suite(const std::vector<char16_t>& reste) const {
      return ((mots >> kDecalageSuite) & 3) == kSuiteLongue ? reste.data() + suite.debut + 1 : suite.unites;
    }
    uint32_t Tete() const {
      if (mots & kVide) return 0;
      return Premier() >= 0x10000 ? 2 : 1;
    }
  };
  static_assert(sizeof(Enregistrement) == 16);

  std::vector<Enregistrement> enregistrements_;
  std::vector<const Noeud*> noeuds_;  // in the same order
  // The longer fragments' units after their first code point, each run after its count (a
  // fragment holds at most kLongueurMaxClef units, so the count fits a unit).
  std::vector<char16_t> reste_;
};

}  // namespace sdd::detail
