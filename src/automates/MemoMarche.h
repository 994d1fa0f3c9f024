#pragma once

#include <cstdint>
#include <vector>

namespace sdd::detail {

// What a query-driven walk has learnt about (state, place in the query) pairs: for each state
// met, one byte per place (0 unknown, then the walk's own values). A walk over a lexicon
// reaches a state by many paths; remembering that a pair leads nowhere is what keeps its work
// bounded by the area's size times the query's length, however many paths the bytes describe.
//
// States are found by open addressing on their address (a power-of-two table, linear probing,
// at most half full); each state's row of places is allocated on first touch, so a walk pays
// for the states it meets, not for the area.
class MemoMarche {
 public:
  explicit MemoMarche(uint32_t places) : places_(places) {}

  uint8_t Lis(uint64_t etat, uint32_t place) const {
    if (cles_.empty()) return 0;
    const uint64_t masque = cles_.size() - 1;
    for (uint64_t i = Melange(etat) & masque;; i = (i + 1) & masque) {
      if (cles_[i] == kVide) return 0;
      if (cles_[i] == etat) return valeurs_[static_cast<size_t>(lignes_[i]) * places_ + place];
    }
  }

  void Mets(uint64_t etat, uint32_t place, uint8_t valeur) {
    if ((occupees_ + 1) * 2 > cles_.size()) Agrandis();
    const uint64_t masque = cles_.size() - 1;
    uint64_t i = Melange(etat) & masque;
    while (cles_[i] != kVide && cles_[i] != etat) i = (i + 1) & masque;
    if (cles_[i] == kVide) {
      cles_[i] = etat;
      lignes_[i] = static_cast<uint32_t>(valeurs_.size() / places_);
      valeurs_.resize(valeurs_.size() + places_, 0);
      ++occupees_;
    }
    valeurs_[static_cast<size_t>(lignes_[i]) * places_ + place] = valeur;
  }

 private:
  static constexpr uint64_t kVide = UINT64_MAX;

  static uint64_t Melange(uint64_t x) {
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    return x ^ (x >> 33);
  }

  void Agrandis() {
    std::vector<uint64_t> cles(cles_.empty() ? 64 : cles_.size() * 2, kVide);
    std::vector<uint32_t> lignes(cles.size());
    const uint64_t masque = cles.size() - 1;
    for (size_t j = 0; j < cles_.size(); ++j) {
      if (cles_[j] == kVide) continue;
      uint64_t i = Melange(cles_[j]) & masque;
      while (cles[i] != kVide) i = (i + 1) & masque;
      cles[i] = cles_[j];
      lignes[i] = lignes_[j];
    }
    cles_.swap(cles);
    lignes_.swap(lignes);
  }

  uint32_t places_;
  uint64_t occupees_ = 0;
  std::vector<uint64_t> cles_;    // state addresses, kVide where free
  std::vector<uint32_t> lignes_;  // the row of each key in valeurs_
  std::vector<uint8_t> valeurs_;  // places_ bytes per state met
};

}  // namespace sdd::detail
