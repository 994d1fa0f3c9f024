#pragma once

#include "commun/Chaines.h"

#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "commun/Octets.h"

namespace essais {

// The words of the wfrench package's list, in its order.
inline std::vector<std::u16string> ListeFrancaise() {
  std::ifstream f("/usr/share/dict/french");
  std::vector<std::u16string> mots;
  std::string ligne;
  while (std::getline(f, ligne)) {
    if (!ligne.empty()) mots.push_back(U16(sdd::ChaineN(ligne.c_str())));
  }
  return mots;
}

// The weighted edit cost of typing q for the stored p, by the textbook table over the whole of
// both strings (in 64 bits, so that models with huge costs do not wrap): the oracle of the
// pruned, banded walk of the corrections.
inline uint64_t CoutEdition(const std::u16string& q, const std::u16string& p,
                            const sdd::ProbabiliteTransformation& m) {
  const size_t a = q.size(), b = p.size();
  std::vector<std::vector<uint64_t>> d(a + 1, std::vector<uint64_t>(b + 1));
  for (size_t j = 1; j <= a; ++j) d[j][0] = d[j - 1][0] + m.CoutSuppression(q[j - 1], j >= 2 ? q[j - 2] : 0);
  for (size_t i = 1; i <= b; ++i) d[0][i] = d[0][i - 1] + m.CoutInsertion(p[i - 1], i >= 2 ? p[i - 2] : 0);
  for (size_t j = 1; j <= a; ++j) {
    for (size_t i = 1; i <= b; ++i) {
      uint64_t v = d[j - 1][i - 1] + (q[j - 1] == p[i - 1] ? 0 : m.CoutSubstitution(q[j - 1], p[i - 1]));
      v = std::min(v, d[j][i - 1] + m.CoutInsertion(p[i - 1], i >= 2 ? p[i - 2] : 0));
      v = std::min(v, d[j - 1][i] + m.CoutSuppression(q[j - 1], j >= 2 ? q[j - 2] : 0));
      if (i >= 2 && j >= 2 && p[i - 1] == q[j - 2] && p[i - 2] == q[j - 1] && p[i - 1] != p[i - 2]) {
        v = std::min(v, d[j - 2][i - 2] + m.CoutTransposition(q[j - 2], q[j - 1]));
      }
      d[j][i] = v;
    }
  }
  return d[a][b];
}

inline sdd::ListeT<sdd::ChaineN> Liste(const std::vector<std::u16string>& mots) {
  sdd::ListeT<sdd::ChaineN> l;
  for (const auto& m : mots) l.Ajoute(sdd::ChaineN(m.data(), static_cast<uint64_t>(m.size())));
  return l;
}

inline Octets Compile(const std::vector<std::u16string>& mots, uint32_t options = 0,
                      uint64_t partie = sdd::CompilateurAutomateAcycliqueMin::kTaillePartieDefaut) {
  sdd::CompilateurAutomateAcycliqueMin c(Liste(mots), options, partie);
  sdd::TamponMemoire t;
  c.FormeCompactay(t);
  return OctetsDe(t);
}

// The stored form read back here, independently of the library's reader: enough to check the
// writer's structural promises.
struct EtatLu {
  bool final = false;
  struct Transition {
    char16_t car;
    uint32_t compte;
    uint64_t cible;
  };
  std::vector<Transition> transitions;
  std::vector<Transition> parents;
};

inline uint64_t LisLE(const Octets& o, size_t p, int n) {
  uint64_t v = 0;
  for (int i = n - 1; i >= 0; --i) v = v << 8 | o.at(p + i);
  return v;
}

// Every state, by address; the format needs to know whether parent links follow each state.
inline std::map<uint64_t, EtatLu> LisEtats(const Octets& o, bool parents, uint64_t* racine = nullptr,
                                           int* a = nullptr) {
  const int largeur = o.at(1) != 0 ? o.at(16) : 3;
  const size_t entete = o.at(1) != 0 ? 17 : 16;
  const uint64_t taille = LisLE(o, 8, 4);
  if (racine != nullptr) *racine = LisLE(o, 4, 4);
  if (a != nullptr) *a = largeur;
  std::map<uint64_t, EtatLu> etats;
  uint64_t p = 0;
  auto lisTransition = [&](size_t q) {
    return EtatLu::Transition{static_cast<char16_t>(LisLE(o, q, 2)),
                              static_cast<uint32_t>(LisLE(o, q + 2, 3)), LisLE(o, q + 5, largeur)};
  };
  while (p < taille) {
    EtatLu e;
    const uint64_t h = LisLE(o, entete + p, 2);
    e.final = h & 1;
    size_t q = entete + p + 2;
    for (uint64_t i = 0; i < h >> 1; ++i, q += largeur + 5) e.transitions.push_back(lisTransition(q));
    if (parents) {
      const uint64_t n = LisLE(o, q, 2);
      q += 2;
      for (uint64_t i = 0; i < n; ++i, q += largeur + 5) e.parents.push_back(lisTransition(q));
    }
    etats[p] = e;
    p = q - entete;
  }
  return etats;
}

// The minimal trim automaton's size by brute force: one state per distinct right language of
// the prefixes of the words, one transition per distinct (state, next character).
inline std::pair<size_t, size_t> TailleMinimale(const std::set<std::u16string>& mots) {
  std::map<std::u16string, std::set<std::u16string>> droites;
  for (const auto& m : mots) {
    for (size_t i = 0; i <= m.size(); ++i) droites[m.substr(0, i)].insert(m.substr(i));
  }
  std::map<std::set<std::u16string>, std::set<char16_t>> classes;
  for (const auto& [prefixe, langage] : droites) {
    auto& sorties = classes[langage];
    for (const auto& s : langage)
      if (!s.empty()) sorties.insert(s[0]);
  }
  size_t transitions = 0;
  for (const auto& [langage, sorties] : classes) transitions += sorties.size();
  return {classes.size(), transitions};
}

}  // namespace essais
