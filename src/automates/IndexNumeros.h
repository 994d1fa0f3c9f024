#pragma once

// Number → form starts four levels down. The first levels hold the widest states, where
// finding the transition whose range holds a number takes a halving search of several
// mispredicted steps, and each level is one more dependent read; yet their ranges cut [0, N)
// into some thousands of consecutive intervals, one per four-character start (and one per
// form of fewer characters). This table lists those intervals in order with a directory of
// about as many buckets over them, so that a number finds its interval in a probe or two of
// two small arrays, and the descent goes on from the state four characters down. For the
// French list: 12,113 intervals, 286 KB, built in about 0.13 ms on the first number lookup, so
// that the lexicons that never ask pay nothing.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <outils_socle/texte/Exception.h>

#include "automates/LecteurAutomate.h"

namespace sdd::detail {

class IndexNumeros {
 public:
  // How many characters down the table reaches.
  static constexpr uint32_t kProfondeur = 4;

  struct Intervalle {
    uint32_t debut;              // the number of its first form; it runs up to the next one's
    uint32_t adresse;            // the state reached (addresses are 3 or 4 bytes)
    char16_t cars[kProfondeur];  // the characters on the way
    uint8_t profondeur;
    bool forme;  // a form of `profondeur` characters, this one number, rather than a state
  };

  // Ten times what the French list's first levels cut; a lexicon that cuts more finely is left
  // to the plain descent, and the table's cost stays bounded.
  static constexpr size_t kIntervallesMax = size_t{1} << 17;

  // Null when the counts of the first levels do not cut [0, N) exactly as a correct lexicon's
  // do (each state's counts strictly descending, its end of form and children covering its
  // range): the descent then meets that damage itself, as it always has. On coherent counts
  // the interval found is the one the descent would reach.
  template <int A>
  static std::unique_ptr<const IndexNumeros> Construis(const LecteurAutomate<A>& l) {
    if (l.NbFormes() == 0) return nullptr;
    try {
      auto index = std::unique_ptr<IndexNumeros>(new IndexNumeros);
      char16_t chemin[kProfondeur] = {};
      if (!index->Coupe(l, l.LisEtat(l.Racine()), 0, l.NbFormes(), chemin, 0) || index->intervalles_.empty())
        return nullptr;
      index->Repertorie(l.NbFormes());
      return index;
    } catch (const exceptions::Exception&) {
      return nullptr;
    }
  }

  // The interval that holds `numero` (below N).
  const Intervalle& Trouve(uint32_t numero) const {
    const size_t seau = numero >> decalage_;
    const auto debut = intervalles_.begin() + repertoire_[seau];
    const auto fin = intervalles_.begin() + repertoire_[seau + 1] + 1;
    const auto apres =
        std::upper_bound(debut, fin, numero, [](uint32_t n, const Intervalle& i) { return n < i.debut; });
    return *(apres - 1);
  }

  size_t Taille() const { return intervalles_.size(); }
  size_t Octets() const {
    return intervalles_.size() * sizeof(Intervalle) + repertoire_.size() * sizeof(uint32_t);
  }

 private:
  IndexNumeros() = default;

  // Cuts the range [debut, fin) of state `e`, `profondeur` characters down, as the descent
  // reads it: its end of form (one number), then each child's range in ascending order, down
  // to kProfondeur. False when the counts do not cut the range exactly, or past
  // kIntervallesMax.
  template <int A>
  bool Coupe(const LecteurAutomate<A>& l, const typename LecteurAutomate<A>::Etat& e, uint32_t debut,
             uint32_t fin, char16_t* chemin, uint32_t profondeur) {
    using L = LecteurAutomate<A>;
    if (e.final) Ajoute(debut, 0, chemin, profondeur, true);
    // Transitions are stored by descending count: read backwards, the ranges ascend, each
    // starting where the previous one ended.
    uint64_t attendu = uint64_t{debut} + (e.final ? 1 : 0);
    for (uint32_t k = e.nb; k-- > 0;) {
      const uint8_t* t = e.transitions + uint64_t{k} * L::kOctetsTransition;
      const uint64_t d = uint64_t{debut} + L::Compte(t);
      const uint64_t f = k == 0 ? fin : uint64_t{debut} + L::Compte(t - L::kOctetsTransition);
      if (d != attendu || f <= d || f > fin) return false;
      chemin[profondeur] = L::Car(t);
      const uint64_t cible = L::Cible(e, t);
      if (profondeur + 1 == kProfondeur) {
        Ajoute(static_cast<uint32_t>(d), static_cast<uint32_t>(cible), chemin, kProfondeur, false);
      } else if (!Coupe(l, l.LisEtat(cible), static_cast<uint32_t>(d), static_cast<uint32_t>(f), chemin,
                        profondeur + 1)) {
        return false;
      }
      if (intervalles_.size() > kIntervallesMax) return false;
      attendu = f;
    }
    return attendu == fin;
  }

  void Ajoute(uint32_t debut, uint32_t adresse, const char16_t* chemin, uint32_t profondeur, bool forme) {
    Intervalle& i = intervalles_.emplace_back();
    i.debut = debut;
    i.adresse = adresse;
    std::copy_n(chemin, profondeur, i.cars);
    i.profondeur = static_cast<uint8_t>(profondeur);
    i.forme = forme;
  }

  // repertoire_[s]: the last interval that starts at or before s << decalage_, with about as
  // many buckets as intervals; one more entry closes the last bucket.
  void Repertorie(uint32_t nbFormes) {
    decalage_ = 0;
    while ((uint64_t{nbFormes - 1} >> decalage_) >= std::max<size_t>(intervalles_.size(), 1024)) ++decalage_;
    const size_t seaux = static_cast<size_t>((nbFormes - 1) >> decalage_) + 1;
    repertoire_.assign(seaux + 1, 0);
    size_t i = 0;
    for (size_t s = 0; s < seaux; ++s) {
      const uint64_t depart = uint64_t{s} << decalage_;
      while (i + 1 < intervalles_.size() && intervalles_[i + 1].debut <= depart) ++i;
      repertoire_[s] = static_cast<uint32_t>(i);
    }
    repertoire_[seaux] = static_cast<uint32_t>(intervalles_.size() - 1);
  }

  std::vector<Intervalle> intervalles_;
  std::vector<uint32_t> repertoire_;
  unsigned decalage_ = 0;
};

// Built once, on the first number lookup, and shared like the summaries.
struct IndexNumerosParesseux {
  std::once_flag construit;
  std::unique_ptr<const IndexNumeros> index;  // null when unavailable
};

}  // namespace sdd::detail
