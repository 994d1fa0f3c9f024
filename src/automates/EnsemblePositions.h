#pragma once

// The places a word lookup reaches, each once (by state and number): most lookups reach one
// place, a few reach a handful. The first place lives inside the object and the others in an
// array searched from its start, so the usual lookup allocates nothing for them where a
// balanced tree allocated a node per place. Past kLineaire places a hash index takes over the
// search, so that bytes which make a walk reach many places (at most 3N) still cost linear
// time.

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>

namespace sdd::detail {

// Of two equal places the better ranked stays (smaller rang1, then smaller rang2), and a
// provisional one always gives way to a firm one. Only the ranking fields change, never the
// key.
inline void GardeLaMieuxClassee(AutomateAcycliqueMin::_Position& stockee,
                                const AutomateAcycliqueMin::_Position& nouvelle) {
  const bool meilleure =
      nouvelle.rang1 < stockee.rang1 || (nouvelle.rang1 == stockee.rang1 && nouvelle.rang2 < stockee.rang2);
  if (meilleure || (stockee.provisoire && !nouvelle.provisoire)) {
    stockee.provisoire = nouvelle.provisoire;
    stockee.rang1 = nouvelle.rang1;
    stockee.rang2 = nouvelle.rang2;
    stockee.detail = nouvelle.detail;
  }
}

class EnsemblePositions {
 public:
  using Position = AutomateAcycliqueMin::_Position;

  void Ajoute(const Position& p) {
    if (Position* stockee = Cherche(p)) {
      GardeLaMieuxClassee(*stockee, p);
      return;
    }
    if (taille_ == 0) {
      premiere_ = p;
    } else {
      autres_.push_back(p);
      if (!index_.empty()) {
        index_.emplace(Cle{p.etat, p.numero}, taille_);
      } else if (taille_ + 1 > kLineaire) {
        for (size_t i = 0; i <= taille_; ++i) index_.emplace(Cle{(*this)[i].etat, (*this)[i].numero}, i);
      }
    }
    ++taille_;
  }

  size_t Taille() const { return taille_; }
  Position& operator[](size_t i) { return i == 0 ? premiere_ : autres_[i - 1]; }
  const Position& operator[](size_t i) const { return i == 0 ? premiere_ : autres_[i - 1]; }

 private:
  static constexpr size_t kLineaire = 16;

  Position* Cherche(const Position& p) {
    if (!index_.empty()) {
      const auto k = index_.find(Cle{p.etat, p.numero});
      return k != index_.end() ? &(*this)[k->second] : nullptr;
    }
    for (size_t i = 0; i < taille_; ++i) {
      Position& q = (*this)[i];
      if (q.etat == p.etat && q.numero == p.numero) return &q;
    }
    return nullptr;
  }

  struct Cle {
    uint64_t etat;
    uint32_t numero;
    bool operator==(const Cle&) const = default;
  };
  struct HacheCle {
    size_t operator()(const Cle& c) const {
      return std::hash<uint64_t>()(c.etat * 0x9E3779B97F4A7C15ull ^ c.numero);
    }
  };

  Position premiere_;
  std::vector<Position> autres_;
  size_t taille_ = 0;
  std::unordered_map<Cle, size_t, HacheCle> index_;
};

}  // namespace sdd::detail
