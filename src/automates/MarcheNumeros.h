#pragma once

// Walks that follow the numbering: many numbers to their forms in one walk, and the census of
// states and transitions.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>

#include "automates/LecteurAutomate.h"

namespace sdd {

template <int A>
class MarcheNumeros {
  using L = LecteurAutomate<A>;
  using Etat = typename L::Etat;
  using _Forme = AutomateAcycliqueMin::_Forme;
  static constexpr uint32_t kT = L::kOctetsTransition;

 public:
  explicit MarcheNumeros(const AutomateAcycliqueMin& automate) : l_(automate) {}

  // Every state reachable from the root once: the work is the area's size.
  void Statistiques(uint64_t* etats, uint64_t* transitions) const {
    std::vector<bool> vus(l_.TailleZone(), false);
    std::vector<uint64_t> pile{l_.Racine()};
    vus[l_.Racine()] = true;
    while (!pile.empty()) {
      const Etat e = l_.LisEtat(pile.back());
      pile.pop_back();
      ++*etats;
      *transitions += e.nb;
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        const uint64_t cible = L::Cible(e, t);
        if (!vus[cible]) {
          vus[cible] = true;
          pile.push_back(cible);
        }
      }
    }
  }

  // A depth-first walk in which every entry knows the numbers of the forms below it: the range
  // [debut, fin) that the counts give (the root's is [0, N); below a state, its end of form
  // takes `debut`, and the transition stored k-th takes [debut + count k, debut + count k − 1),
  // the first one up to `fin`). An entry is stacked only when its range holds a wanted number;
  // the ranges of one depth never overlap, so the walk expands at most one entry per wanted
  // number and depth, whatever the bytes, and a range that the counts contradict is damage.
  void FormePourNos(const ListeT<uint32_t>& numeros, ListeT<_Forme>& formes) const {
    // Served largest first (the largest count is on top of each state's entries), handed back
    // in the caller's order.
    std::vector<std::pair<uint32_t, uint32_t>> voulus;  // number, place in the caller's list
    for (uint32_t i = 0; i < numeros.Taille(); ++i) {
      if (numeros[i] < l_.NbFormes()) voulus.emplace_back(numeros[i], i);
    }
    std::sort(voulus.begin(), voulus.end(), [](auto x, auto y) { return x.first > y.first; });
    std::vector<ChaineN> textes(numeros.Taille());
    std::vector<bool> trouves(numeros.Taille(), false);

    struct Entree {
      uint64_t adresse;
      uint32_t profondeur;
      uint32_t debut;
      uint32_t fin;
      char16_t car;
      bool developpe;
      bool final;
    };
    size_t k = 0;  // the next number to serve; voulus[k..] are still wanted
    std::vector<Entree> pile{{l_.Racine(), 0, 0, l_.NbFormes(), 0, false, false}};
    std::u16string chemin;
    while (!pile.empty() && k < voulus.size()) {
      Entree& haut = pile.back();
      if (!haut.developpe) {
        haut.developpe = true;
        if (haut.profondeur > 0) {
          chemin.resize(haut.profondeur - 1);
          chemin.push_back(haut.car);
        }
        const Etat e = l_.LisEtat(haut.adresse);
        haut.final = e.final;
        const Entree parent = haut;
        // The children's ranges from the top down, with a cursor over the wanted numbers
        // (descending too). The counts must share out [debut, fin) exactly: strictly
        // descending, the first below the range's end, the last leaving room for the end of
        // form alone; a leaf's range is its one form.
        uint64_t fin = parent.fin;
        size_t j = k;
        const size_t base = pile.size();
        const uint8_t* t = e.transitions;
        for (uint32_t i = 0; i < e.nb; ++i, t += kT) {
          const uint64_t debut = uint64_t{parent.debut} + L::Compte(t);
          if (debut >= fin) detail::AutomateCorrompu(parent.adresse);
          while (j < voulus.size() && voulus[j].first >= fin) ++j;
          if (j < voulus.size() && voulus[j].first >= debut) {
            pile.push_back({L::Cible(e, t), parent.profondeur + 1, static_cast<uint32_t>(debut),
                            static_cast<uint32_t>(fin), L::Car(t), false, false});
          }
          fin = debut;
        }
        if (fin != uint64_t{parent.debut} + (e.final ? 1 : 0)) detail::AutomateCorrompu(parent.adresse);
        // The first stored (highest range) on top.
        std::reverse(pile.begin() + static_cast<std::ptrdiff_t>(base), pile.end());
        continue;
      }
      // Below every child: the end of form, the range's smallest number.
      if (haut.final) {
        while (k < voulus.size() && voulus[k].first == haut.debut) {
          textes[voulus[k].second] = ChaineN(chemin.data(), static_cast<uint64_t>(haut.profondeur));
          trouves[voulus[k].second] = true;
          ++k;
        }
      }
      // With coherent counts every wanted number of the range was served on the way down.
      if (k < voulus.size() && voulus[k].first >= haut.debut && voulus[k].first < haut.fin) {
        detail::AutomateCorrompu(haut.adresse);
      }
      pile.pop_back();
    }
    for (uint32_t i = 0; i < numeros.Taille(); ++i) {
      if (!trouves[i]) continue;
      _Forme& f = formes.AjouteVide();
      f.forme = std::move(textes[i]);
      f.numero = numeros[i];
    }
  }

 private:
  L l_;
};

}  // namespace sdd
