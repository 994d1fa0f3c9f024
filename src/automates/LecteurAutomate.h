#pragma once

// Reading the stored automaton in place, written once and instantiated for 3-byte and 4-byte
// addresses, so that the width is a constant inside every loop. The searches built on it live
// in the Marche*.h headers, one walk kind each.
//
// What keeps the walks finite and small on damaged bytes, checked where they already read:
// - every state lies inside the area, with its transitions (LisEtat);
// - every target lies strictly before its source (Cible), so no walk loops;
// - a state that is not final has a transition (LisEtat): in a correct lexicon every path
//   leads to a form, so a walk that lists forms meets one within a path's length;
// - the forms a walk meets never exceed N, and their numbers are those the counts promise
//   (checked by the walks that list or number forms);
// - the walks driven by a query remember the (state, place in the query) pairs that led
//   nowhere, so that the many paths a few bytes can describe are not each walked again.

#include <cstdint>
#include <cstring>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <outils_socle/Export.h>
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/texte/Exception.h>

namespace sdd {

namespace detail {

inline uint32_t Lis16(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8;
}
inline uint32_t Lis24(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16;
}
inline uint32_t Lis32(const uint8_t* p) { return Lis24(p) | static_cast<uint32_t>(p[3]) << 24; }

[[noreturn]] OUTILS_SOCLE_EXPORT void AutomateCorrompu(uint64_t adresse);

}  // namespace detail

template <int A>
class LecteurAutomate {
 public:
  static constexpr uint32_t kOctetsTransition = A + 5;

  struct Etat {
    const uint8_t* transitions;  // the first stored transition
    uint32_t nb;
    bool final;
    uint64_t adresse;
  };

  explicit LecteurAutomate(const AutomateAcycliqueMin& automate)
      : a_(automate), zone_(automate.zone_), taille_(automate.tailleZone_), racine_(automate.racine_) {}

  uint64_t Racine() const { return racine_; }
  uint64_t TailleZone() const { return taille_; }
  uint32_t NbFormes() const { return a_.nbFormes_; }
  bool RecupereExclamation() const { return a_.recupereExclamation_; }
  bool RecupereTiret() const { return a_.recupereTiret_; }
  bool TempsEcoulay() const { return a_._TempsEcoulay(); }
  const detail::IndexRacine* Index() const { return a_.index_.get(); }

  // A state whose transitions all lie inside the area and that is final or has a transition,
  // or TableNonValide.
  Etat LisEtat(uint64_t adresse) const {
    if (adresse + 2 > taille_) detail::AutomateCorrompu(adresse);
    const uint8_t* p = zone_ + adresse;
    const uint32_t entete = detail::Lis16(p);
    const uint32_t nb = entete >> 1;
    if (entete < 2) {
      if (entete == 0) detail::AutomateCorrompu(adresse);  // a dead end: no form below it
    } else if (adresse + 2 + static_cast<uint64_t>(nb) * kOctetsTransition > taille_) {
      detail::AutomateCorrompu(adresse);
    }
    return Etat{p + 2, nb, (entete & 1) != 0, adresse};
  }

  static char16_t Car(const uint8_t* t) { return static_cast<char16_t>(detail::Lis16(t)); }
  static uint32_t Compte(const uint8_t* t) { return detail::Lis24(t + 2); }
  // The target, which the writer always places before its source: anything else is damage,
  // and refusing it is what keeps every walk finite.
  static uint64_t Cible(const Etat& e, const uint8_t* t) {
    const uint64_t cible = A == 3 ? detail::Lis24(t + 5) : detail::Lis32(t + 5);
    if (cible >= e.adresse) detail::AutomateCorrompu(e.adresse);
    return cible;
  }

  // The transition on `c`, or null. Transitions are stored by descending count, which is the
  // order of the forms they lead to, so for words drawn at random the scan stops early.
  static const uint8_t* Trouve(const Etat& e, char16_t c) {
    const uint8_t* t = e.transitions;
    uint32_t i = 0;
#if defined(__SSE2__)
    if constexpr (A == 3) {
      // Four 8-byte records per step: compare every 16-bit lane, keep the character lanes
      // (bytes 0–1 and 8–9 of each 16-byte half). The loads stay inside the state's records.
      const __m128i voulu = _mm_set1_epi16(static_cast<short>(c));
      for (; i + 4 <= e.nb; i += 4, t += 32) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(t));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(t + 16));
        const unsigned bas = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(x, voulu))) & 0x0303u;
        const unsigned haut = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(y, voulu))) & 0x0303u;
        const unsigned tous = bas | haut << 16;
        if (tous != 0) return t + (__builtin_ctz(tous) / 8) * kOctetsTransition;
      }
    }
#endif
    for (; i < e.nb; ++i, t += kOctetsTransition) {
      if (Car(t) == c) return t;
    }
    return nullptr;
  }

  // The transitions whose character is `a` or `b` or lies past ASCII, one bit each (bit k for
  // the k-th stored), for a state of at most 64 transitions: the few that an insensitive step
  // must look at closely when the typed letter's ASCII variants are `a` and `b` (every other
  // ASCII character is another letter).
  static uint64_t Candidats(const Etat& e, char16_t a, char16_t b) {
    const uint8_t* t = e.transitions;
    uint32_t i = 0;
    uint64_t bits = 0;
#if defined(__SSE2__)
    if constexpr (A == 3) {
      const __m128i va = _mm_set1_epi16(static_cast<short>(a));
      const __m128i vb = _mm_set1_epi16(static_cast<short>(b));
      const __m128i haut = _mm_set1_epi16(static_cast<short>(0xFF80));
      const __m128i zero = _mm_setzero_si128();
      auto deux = [&](const uint8_t* p) {  // bits 0 and 1 for the two records at p
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(x, haut), zero);
        const __m128i oui = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(x, va), _mm_cmpeq_epi16(x, vb)),
                                         _mm_andnot_si128(ascii, _mm_cmpeq_epi16(x, x)));
        const unsigned m = static_cast<unsigned>(_mm_movemask_epi8(oui));
        return uint64_t{(m & 1u) | (m >> 7 & 2u)};
      };
      for (; i + 2 <= e.nb; i += 2, t += 16) bits |= deux(t) << i;
    }
#endif
    for (; i < e.nb; ++i, t += kOctetsTransition) {
      const char16_t c = Car(t);
      if (c == a || c == b || c >= 0x80) bits |= uint64_t{1} << i;
    }
    return bits;
  }

  // `index` (built at opening, may be null) gives the transitions of the first two levels by
  // character; the same transitions Trouve would find, without the scans.
  template <typename Index>
  int64_t NoPourMot(const char16_t* mot, uint64_t n, const Index* index) const {
    uint64_t adresse = racine_;
    uint64_t numero = 0;
    uint64_t i = 0;
    // The root's table, then the table of the child the first character leads to, if any.
    const auto* rangs = index != nullptr ? &index->racine : nullptr;
    for (; rangs != nullptr && i < n && i < 2 && mot[i] < Index::kCarMax; ++i) {
      const Etat e = LisEtat(adresse);
      const uint32_t rang = (*rangs)[mot[i]];
      if (rang == 0) return -1;
      const uint8_t* t = e.transitions + (rang - 1) * kOctetsTransition;
      numero += Compte(t);
      adresse = Cible(e, t);
      const int enfant = i == 0 ? index->enfant[mot[0]] : -1;
      rangs = enfant >= 0 ? &index->enfants[static_cast<size_t>(enfant)].rangs : nullptr;
    }
    for (; i < n; ++i) {
      const Etat e = LisEtat(adresse);
      const uint8_t* t = Trouve(e, mot[i]);
      if (t == nullptr) return -1;
      numero += Compte(t);
      adresse = Cible(e, t);
    }
    return LisEtat(adresse).final ? static_cast<int64_t>(numero) : -1;
  }

  // Straight descent: in each state the wanted number lies below the first stored transition
  // whose count does not pass it, or is the state's own end of form. `index` (may be null)
  // gives the steps through the first levels at once, for a number below N.
  template <typename Chemin, typename Index>  // Chemin: anything with clear() and push_back()
  bool FormePourNo(uint32_t numero, Chemin& chemin, const Index* index) const {
    uint64_t adresse = racine_;
    uint32_t reste = numero;
    chemin.clear();
    if (index != nullptr) {
      const auto& intervalle = index->Trouve(numero);
      for (uint32_t k = 0; k < intervalle.profondeur; ++k) chemin.push_back(intervalle.cars[k]);
      if (intervalle.forme) return true;
      adresse = intervalle.adresse;
      reste = numero - intervalle.debut;
    }
    for (;;) {
      const Etat e = LisEtat(adresse);
      if (reste == 0 && e.final) return true;
      // Counts descend along the stored transitions, so the one sought is found by halving
      // in the wide states near the root and by a scan in the narrow ones below.
      uint32_t i = 0;
      if (e.nb > 8) {
        uint32_t fin = e.nb;
        while (i < fin) {
          const uint32_t milieu = (i + fin) / 2;
          if (Compte(e.transitions + milieu * kOctetsTransition) <= reste) {
            fin = milieu;
          } else {
            i = milieu + 1;
          }
        }
      } else {
        while (i < e.nb && Compte(e.transitions + i * kOctetsTransition) > reste) ++i;
      }
      if (i == e.nb) return false;
      const uint8_t* t = e.transitions + i * kOctetsTransition;
      reste -= Compte(t);
      chemin.push_back(Car(t));
      adresse = Cible(e, t);
    }
  }

 private:
  const AutomateAcycliqueMin& a_;
  const uint8_t* zone_;
  uint64_t taille_;
  uint64_t racine_;
};

}  // namespace sdd
