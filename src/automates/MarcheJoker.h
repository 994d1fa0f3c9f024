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

#include <algorithm>
#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/texte/UniCaractere.h>

#include "automates/LecteurAutomate.h"
#include "automates/MemoMarche.h"
#include "texte/ClassesCaracteres.h"
#include "texte/Malgray.h"

namespace sdd {

template <int A>
class MarcheJoker {
  using L = LecteurAutomate<A>;
  using Etat = typename L::Etat;
  using _Forme = AutomateAcycliqueMin::_Forme;
  static constexpr uint32_t kT = L::kOctetsTransition;

 public:
  MarcheJoker(const AutomateAcycliqueMin& automate, const ChaineN& motif, uint32_t parametre)
      : l_(automate),
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

  bool FormesPourJoker(ListeC<_Forme>& formes, uint32_t limite, uint32_t longueurMotif,
                       DelegueInterruptionAutomateAcycliqueMin* delegue) {
    struct Cadre {
      uint64_t adresse;
      uint32_t numero;
      uint32_t profondeur;
      uint32_t debut;  // its places: places_[debut, debut + nb)
      uint32_t nb;
      char16_t car;
    };
    std::vector<uint32_t> ici;
    Ferme(0, l_.Racine(), ici);
    if (ici.empty()) return true;
    places_.assign(ici.begin(), ici.end());
    std::vector<Cadre> pile{{l_.Racine(), 0, 0, 0, static_cast<uint32_t>(ici.size()), 0}};
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
      const Etat e = l_.LisEtat(c.adresse);
      if (e.final && ici.back() == m_) {
        // Paths come smallest number first, so a correct lexicon gives rising numbers, at most N.
        if (trouvees >= l_.NbFormes() || (trouvees > 0 && c.numero <= dernier)) {
          detail::AutomateCorrompu(c.adresse);
        }
        dernier = c.numero;
        _Forme& f = formes.Ajoute(_Forme{});
        f.forme = ChaineN(chemin.data(), static_cast<uint64_t>(chemin.size()));
        f.numero = c.numero;
        f.valeur = longueurMotif;
        if (++trouvees == limite) return true;
      }
      // Stored order is descending count: the last one stacked, the smallest, comes out first.
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        const char16_t car = L::Car(t);
        const uint64_t cible = L::Cible(e, t);
        const uint32_t debut = static_cast<uint32_t>(places_.size());
        NouvelEnsemble();
        const uint64_t classes = UniCaractere::Classes(car);
        for (uint32_t i : ici) {
          const uint32_t j = Suivante(i, car, classes);
          if (j != kAucune) Ajoute(j, cible);
        }
        const uint32_t nb = static_cast<uint32_t>(places_.size()) - debut;
        if (nb == 0) continue;
        // Sorted, so that the end of the pattern, when present, is last.
        std::sort(places_.begin() + debut, places_.end());
        pile.push_back({cible, c.numero + L::Compte(t), c.profondeur + 1, debut, nb, car});
      }
    }
    return true;
  }

 private:
  static constexpr uint32_t kAucune = UINT32_MAX;
  static constexpr uint8_t kVivant = 1;
  static constexpr uint8_t kMort = 2;

  // The place after reading `c` at place i (i itself under a "*"), or kAucune. Without bit
  // 0x10 jokers stand only for letters and digits, "*" for letters only.
  uint32_t Suivante(uint32_t i, char16_t c, uint64_t classes) const {
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
  void Ajoute(uint32_t j, uint64_t etat) {
    for (;;) {
      if (marques_[j] != generation_) {
        marques_[j] = generation_;
        if (Vivante(etat, j)) places_.push_back(j);
      }
      if (j == m_ || p_[j] != u'*') return;
      ++j;
    }
  }

  // The set of live places of `etat` reached from place i alone.
  void Ferme(uint32_t i, uint64_t etat, std::vector<uint32_t>& ensemble) {
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
  bool Vivante(uint64_t etat, uint32_t i) {
    if (const uint8_t v = vivants_.Lis(etat, i)) return v == kVivant;
    struct Cadre {
      uint64_t adresse;
      uint32_t i;
      int64_t k;  // the next way out to look at; −1 is a "*" matching nothing
      Etat e;
    };
    std::vector<Cadre> pile;
    auto empile = [&](uint64_t adresse, uint32_t place) {
      pile.push_back({adresse, place, place < m_ && p_[place] == u'*' ? -1 : 0, l_.LisEtat(adresse)});
    };
    empile(etat, i);
    while (!pile.empty()) {
      Cadre& c = pile.back();
      bool vivante = c.i == m_ && c.e.final;
      bool attend = false;
      if (c.i < m_) {
        for (; c.k < static_cast<int64_t>(c.e.nb); ++c.k) {
          uint64_t suivant;
          uint32_t j;
          if (c.k < 0) {
            suivant = c.adresse;
            j = c.i + 1;
          } else {
            const uint8_t* t = c.e.transitions + static_cast<uint64_t>(c.k) * kT;
            const char16_t car = L::Car(t);
            j = Suivante(c.i, car, UniCaractere::Classes(car));
            if (j == kAucune) continue;
            suivant = L::Cible(c.e, t);
          }
          const uint8_t v = vivants_.Lis(suivant, j);
          if (v == kVivant) {
            vivante = true;
            break;
          }
          if (v == kMort) continue;
          empile(suivant, j);  // `c` moves with the stack: look no further at it
          attend = true;
          break;
        }
      }
      if (attend) continue;
      const Cadre fait = pile.back();
      vivants_.Mets(fait.adresse, fait.i, vivante ? kVivant : kMort);
      pile.pop_back();
    }
    return vivants_.Lis(etat, i) == kVivant;
  }

  L l_;
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
