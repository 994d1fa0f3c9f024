#pragma once

// Joker patterns: "*" any run of letters, "?" and "_" one character, "#" a consonant, "&" a
// vowel, anything else a character equal under the Malgray mask (see FormesPourJoker).
//
// The pattern is run as a nondeterministic automaton beside the lexicon's, the textbook
// product construction: each path of the lexicon is walked once, carrying the set of places
// in the pattern that its text can reach, so a pattern with several "*" does not walk a path
// once per way of spreading the text over them. A place is carried only when the pattern's
// rest can still be matched from the state reached ("live"); liveness is worked out once per
// (state, place) and remembered. Every path walked therefore ends in at least one match, and
// the work is the pairs' (the area's size times the pattern's length) plus the answer's.
//
// It walks the graph adapters of MarcheInsensible.h (the automaton's, the string table's); a
// graph whose forms are numbered (G::kNumerote) must give rising numbers, as a correct lexicon
// does when its paths are taken smallest count first.

#include <algorithm>
#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/texte/UniCaractere.h>

#include "automates/MemoMarche.h"
#include "texte/ClassesCaracteres.h"
#include "texte/Malgray.h"

namespace sdd {

template <typename G>
class MarcheJoker {
  using Etat = typename G::Etat;
  using Vue = typename G::Vue;
  using Sortie = typename G::Sortie;

 public:
  MarcheJoker(const G& g, const ChaineN& motif, uint32_t parametre)
      : g_(g),
        masque_(static_cast<ChaineN::Malgray>(parametre & 0xE)),
        ligatures_(parametre & 0x01),
        tout_(parametre & 0x10),
        vivants_(0) {
    // Runs of "*" are one "*".
    for (char16_t c : motif) {
      if (!(c == u'*' && !p_.empty() && p_.back() == u'*')) p_.push_back(c);
    }
    m_ = static_cast<uint32_t>(p_.size());
    vivants_ = detail::MemoMarche(m_ + 1);
    marques_.assign(m_ + 1, 0);
  }

  // Walks the paths that match, each once, and hands every match to `emet(texte, n, numero,
  // identite)`; stops after `limite` matches (0: none) or when the delegate asks. False when
  // the delegate interrupted it.
  template <typename F>
  bool Parcours(uint32_t limite, DelegueInterruptionAutomateAcycliqueMin* delegue, F&& emet) {
    struct Cadre {
      Etat etat;
      uint32_t numero;
      uint32_t profondeur;
      uint32_t debut;  // its places: places_[debut, debut + nb)
      uint32_t nb;
      char16_t car;
    };
    std::vector<uint32_t> ici;
    Ferme(0, g_.Racine(), ici);
    if (ici.empty()) return true;
    places_.assign(ici.begin(), ici.end());
    std::vector<Cadre> pile{{g_.Racine(), 0, 0, 0, static_cast<uint32_t>(ici.size()), 0}};
    std::u16string chemin;
    uint64_t trouvees = 0;
    uint64_t dernier = 0;
    uint64_t pas = 0;
    while (!pile.empty()) {
      if ((++pas & 4095) == 0 && delegue != nullptr && delegue->DoitInterrompre()) return false;
      const Cadre c = pile.back();
      pile.pop_back();
      ici.assign(places_.begin() + c.debut, places_.begin() + c.debut + c.nb);
      places_.resize(c.debut);
      chemin.resize(c.profondeur);
      if (c.car != 0) chemin.back() = c.car;
      const Vue e = g_.Lis(c.etat);
      if (g_.Final(e) && ici.back() == m_) {
        // At most N forms; in a numbered graph, paths come smallest number first, so a correct
        // lexicon gives rising numbers.
        if (trouvees >= g_.NbFormes()) g_.Corrompu(g_.Identite(c.etat));
        if constexpr (G::kNumerote) {
          if (trouvees > 0 && c.numero <= dernier) g_.Corrompu(g_.Identite(c.etat));
        }
        dernier = c.numero;
        emet(chemin.data(), static_cast<uint64_t>(chemin.size()), c.numero, g_.Identite(c.etat));
        if (++trouvees == limite) return true;
      }
      // The last one stacked comes out first.
      for (Sortie t = g_.Premiere(e); g_.Existe(e, t); t = g_.Suivante(t)) {
        const char16_t car = g_.Car(t);
        const Etat cible = g_.Cible(e, t);
        const uint32_t debut = static_cast<uint32_t>(places_.size());
        NouvelEnsemble();
        const uint64_t classes = UniCaractere::Classes(car);
        for (uint32_t i : ici) {
          const uint32_t j = Suivante(i, car, classes);
          if (j != kAucune) Ajoute(j, cible);
        }
        const uint32_t nb = static_cast<uint32_t>(places_.size()) - debut;
        if (nb == 0) continue;
        // Sorted, so that the end of the pattern, when present, is last. Sets hold a place or
        // two (one per "*" still open, and its successor).
        if (nb > 1) InsertionTriee(places_.data() + debut, nb);
        pile.push_back({cible, c.numero + g_.Compte(t), c.profondeur + 1, debut, nb, car});
      }
    }
    return true;
  }

 private:
  static constexpr uint32_t kAucune = UINT32_MAX;
  static constexpr uint8_t kVivant = 1;
  static constexpr uint8_t kMort = 2;

  static void InsertionTriee(uint32_t* p, uint32_t n) {
    for (uint32_t k = 1; k < n; ++k) {
      const uint32_t x = p[k];
      uint32_t j = k;
      for (; j > 0 && p[j - 1] > x; --j) p[j] = p[j - 1];
      p[j] = x;
    }
  }

  // The place after reading `c` at place i (i itself under a "*"), or kAucune. Without bit
  // 0x10 jokers stand only for letters and digits, "*" for letters only. Called for every
  // place at every step of the walk: inlined.
  [[gnu::always_inline]] uint32_t Suivante(uint32_t i, char16_t c, uint64_t classes) const {
    if (i == m_) return kAucune;
    const char16_t j = p_[i];
    const bool joker = tout_ || (classes & (detail::classes::kChiffreJoker | detail::classes::kLettreJoker));
    switch (j) {
      case u'*': return tout_ || (classes & detail::classes::kLettreJoker) ? i : kAucune;
      case u'?':
      case u'_': return joker ? i + 1 : kAucune;
      case u'#': return joker && (classes & detail::classes::kConsonne) ? i + 1 : kAucune;
      case u'&': return joker && (classes & detail::classes::kVoyelle) ? i + 1 : kAucune;
      default:
        if (UniCarEgalOption(j, c, masque_)) return i + 1;
        if (ligatures_ && i + 1 < m_) {
          // A stored ligature against its two letters in the pattern.
          const char16_t* lettres = detail::LettresDeLigature(c);
          if (lettres != nullptr && UniCarEgalOption(j, lettres[0], masque_) &&
              UniCarEgalOption(p_[i + 1], lettres[1], masque_)) {
            return i + 2;
          }
        }
        return kAucune;
    }
  }

  void NouvelEnsemble() {
    if (++generation_ == 0) {  // after 2^32 sets: forget every mark once
      marques_.assign(marques_.size(), 0);
      generation_ = 1;
    }
  }

  // Adds place j, and the place after it when j is a "*" (which may match nothing), to the
  // set being built for state `etat`, keeping only live places, each once.
  void Ajoute(uint32_t j, Etat etat) {
    for (;;) {
      if (marques_[j] != generation_) {
        marques_[j] = generation_;
        // Over a graph that shares states, only places the rest of the pattern can still match
        // from (see above); over a tree every path is walked once anyway, and the pairs would
        // cost more to remember than to walk.
        if (!G::kMemorise || Vivante(etat, j)) places_.push_back(j);
      }
      if (j == m_ || p_[j] != u'*') return;
      ++j;
    }
  }

  // The set of live places of `etat` reached from place i alone.
  void Ferme(uint32_t i, Etat etat, std::vector<uint32_t>& ensemble) {
    NouvelEnsemble();
    const size_t debut = places_.size();
    Ajoute(i, etat);
    ensemble.assign(places_.begin() + static_cast<std::ptrdiff_t>(debut), places_.end());
    places_.resize(debut);
    std::sort(ensemble.begin(), ensemble.end());
  }

  // Whether some path from `etat` reads a text matching the pattern from place i to its end
  // and ends in a form. Worked out without recursion (paths may be as long as the area) and
  // remembered for every pair met on the way; each pair's transitions are read at most twice.
  bool Vivante(Etat etat, uint32_t i) {
    const uint64_t id = g_.Identite(etat);
    if (const uint8_t v = vivants_.Lis(id, i)) return v == kVivant;
    struct Cadre {
      Etat etat;
      uint32_t i;
      bool etoile;  // a "*" still to try matching nothing
      Vue e;
      Sortie t;  // the next way out to look at
    };
    std::vector<Cadre> pile;
    auto empile = [&](Etat suivant, uint32_t place) {
      const Vue e = g_.Lis(suivant);
      pile.push_back({suivant, place, place < m_ && p_[place] == u'*', e, g_.Premiere(e)});
    };
    empile(etat, i);
    while (!pile.empty()) {
      Cadre& c = pile.back();
      bool vivante = c.i == m_ && g_.Final(c.e);
      bool attend = false;
      if (c.i < m_) {
        for (;;) {
          Etat suivant;
          uint32_t j;
          if (c.etoile) {
            suivant = c.etat;
            j = c.i + 1;
          } else if (g_.Existe(c.e, c.t)) {
            const char16_t car = g_.Car(c.t);
            j = Suivante(c.i, car, UniCaractere::Classes(car));
            if (j == kAucune) {
              c.t = g_.Suivante(c.t);
              continue;
            }
            suivant = g_.Cible(c.e, c.t);
          } else {
            break;
          }
          const uint8_t v = vivants_.Lis(g_.Identite(suivant), j);
          if (v == kVivant) {
            vivante = true;
            break;
          }
          if (v == kMort) {
            if (c.etoile) {
              c.etoile = false;
            } else {
              c.t = g_.Suivante(c.t);
            }
            continue;
          }
          // Worked out first; this way out is looked at again once its pair is known. `c`
          // moves with the stack: look no further at it.
          empile(suivant, j);
          attend = true;
          break;
        }
      }
      if (attend) continue;
      const Cadre fait = pile.back();
      vivants_.Mets(g_.Identite(fait.etat), fait.i, vivante ? kVivant : kMort);
      pile.pop_back();
    }
    return vivants_.Lis(id, i) == kVivant;
  }

  const G& g_;
  std::u16string p_;
  uint32_t m_ = 0;
  ChaineN::Malgray masque_;
  bool ligatures_;
  bool tout_;
  detail::MemoMarche vivants_;
  std::vector<uint32_t> places_;   // the place sets of the stacked paths, end to end
  std::vector<uint32_t> marques_;  // per place: the set that last took it
  uint32_t generation_ = 0;
};

}  // namespace sdd
