#pragma once

// What Balise and NoeudXML read the same way, written once over either: the paths of
// Trouve/TrouveTous and the text an element says once its markup is taken away. N has Nom(),
// Texte(), Queue() and Enfants() (a range of N).

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sdd::xml {

template <typename N>
void AjouteTexteComplet(const N& n, std::string& sortie) {
  sortie += n.Texte();
  for (const N& enfant : n.Enfants()) {
    AjouteTexteComplet(enfant, sortie);
    sortie += enfant.Queue();
  }
}

// Splits "a/b/c" on '/'; an empty component makes the whole path match nothing.
inline bool DecoupeChemin(std::string_view chemin, std::vector<std::string_view>& composants) {
  composants.clear();
  if (chemin.empty()) return false;
  std::size_t debut = 0;
  while (true) {
    const std::size_t fin = chemin.find('/', debut);
    const std::string_view c = chemin.substr(debut, fin == std::string_view::npos ? fin : fin - debut);
    if (c.empty()) return false;
    composants.push_back(c);
    if (fin == std::string_view::npos) return true;
    debut = fin + 1;
  }
}

template <typename N>
bool Correspond(const N& n, std::string_view composant) {
  return composant == "*" || n.Nom() == composant;
}

// Depth-first in document order; stops at the first match when `premier`.
template <typename N>
void Cherche(const N& n, const std::vector<std::string_view>& composants, std::size_t i, bool premier,
             std::vector<const N*>& trouves) {
  for (const N& enfant : n.Enfants()) {
    if (!Correspond(enfant, composants[i])) continue;
    if (i + 1 == composants.size()) {
      trouves.push_back(&enfant);
    } else {
      Cherche(enfant, composants, i + 1, premier, trouves);
    }
    if (premier && !trouves.empty()) return;
  }
}

template <typename N>
std::vector<const N*> ResousChemin(const N& racine, std::string_view chemin, bool premier) {
  std::vector<const N*> trouves;
  const bool depuisSoi = !chemin.empty() && chemin.front() == '/';
  std::vector<std::string_view> composants;
  if (!DecoupeChemin(depuisSoi ? chemin.substr(1) : chemin, composants)) return trouves;
  if (depuisSoi) {
    if (!Correspond(racine, composants.front())) return trouves;
    if (composants.size() == 1) {
      trouves.push_back(&racine);
      return trouves;
    }
    Cherche(racine, composants, 1, premier, trouves);
  } else {
    Cherche(racine, composants, 0, premier, trouves);
  }
  return trouves;
}

}  // namespace sdd::xml
