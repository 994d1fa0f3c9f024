#include "conteneurs/IndexClefs.h"

#include <algorithm>
#include <utility>

#include "conteneurs/PointsDeCode.h"

namespace sdd::detail {

IndexClefs::IndexClefs(const Noeud* racine) {
  auto remplis = [this](const Noeud* n) {
    const char16_t* u = n->Cars().DonneUnites();
    const uint64_t longueur = n->Cars().Longueur();
    Enregistrement e{};
    if (longueur == 0) {
      e.mots = kVide;
    } else {
      e.mots = PointDeCode(u, longueur, 0);
    }
    if (n->EstClef()) e.mots |= kClef;
    const uint32_t tete = e.Tete();
    const uint64_t nbSuite = longueur - tete;
    if (nbSuite <= 2) {
      e.mots |= static_cast<uint32_t>(nbSuite) << kDecalageSuite;
      std::copy(u + tete, u + longueur, e.suite.unites);
    } else {
      e.mots |= kSuiteLongue << kDecalageSuite;
      e.suite.debut = static_cast<uint32_t>(reste_.size());
      reste_.push_back(static_cast<char16_t>(nbSuite));  // fragments hold at most 65,535 units
      reste_.insert(reste_.end(), u + tete, u + longueur);
    }
    enregistrements_.push_back(e);
    noeuds_.push_back(n);
  };
  remplis(racine);
  // Depth first: a node's children's block is laid out when the node's turn comes, the first
  // child's turn right after its parent's, so a subtree's blocks follow one another.
  std::vector<uint32_t> pile{0};
  while (!pile.empty()) {
    const uint32_t i = pile.back();
    pile.pop_back();
    const uint32_t premier = static_cast<uint32_t>(enregistrements_.size());
    uint32_t nombre = 0;
    for (const Noeud* c = noeuds_[i]->PremierEnfant(); c != nullptr; c = c->Suivant()) {
      remplis(c);
      ++nombre;
    }
    enregistrements_[i].premierEnfant = premier;
    enregistrements_[i].nbEnfants = nombre;
    for (uint32_t k = nombre; k > 0; --k) pile.push_back(premier + k - 1);
  }
}

uint32_t IndexClefs::Trouve(const char16_t* clef, uint64_t n) const {
  const Enregistrement* e = enregistrements_.data();
  uint32_t i = 0;
  uint64_t lu = 0;
  while (lu < n) {
    const char32_t c = PointDeCode(clef, n, lu);
    const Enregistrement* debut = e + e[i].premierEnfant;
    const Enregistrement* fin = debut + e[i].nbEnfants;
    const Enregistrement* p;
    if (fin - debut <= 8) {
      p = debut;
      while (p != fin && p->Premier() < c) ++p;
    } else {
      p = std::lower_bound(debut, fin, c,
                           [](const Enregistrement& x, char32_t y) { return x.Premier() < y; });
    }
    if (p == fin || p->Premier() != c) return kAbsente;
    // Children are never the root: their fragments begin with their first code point.
    lu += c >= 0x10000 ? 2 : 1;
    const uint32_t nbSuite = p->NbSuite(reste_);
    if (nbSuite > n - lu) return kAbsente;
    const char16_t* suite = p->Suite(reste_);
    if (!std::equal(clef + lu, clef + lu + nbSuite, suite)) return kAbsente;
    lu += nbSuite;
    i = static_cast<uint32_t>(p - e);
  }
  return i;
}

}  // namespace sdd::detail
