// The set of places a lookup reaches: each (state, number) once, however many times the walk
// reaches it, before and after the set moves from its array search to its hash index; of two
// equal places the better ranked stays, and a provisional one gives way to a firm one.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>

#include "automates/EnsemblePositions.h"

namespace {

using Position = sdd::AutomateAcycliqueMin::_Position;

TEST(EnsemblePositions, ChaquePlaceUneFoisLaMieuxClassee) {
  std::mt19937 alea(11);
  for (const int cles : {1, 5, 16, 17, 300}) {
    sdd::detail::EnsemblePositions ensemble;
    std::map<std::pair<uint64_t, uint32_t>, Position> attendu;
    for (int n = 0; n < 20 * cles; ++n) {
      Position p;
      const int k = static_cast<int>(alea() % static_cast<unsigned>(cles));
      p.etat = 1000 + static_cast<uint64_t>(k % 7) * 4096;  // several numbers share a state
      p.numero = static_cast<uint32_t>(k);
      p.rang1 = static_cast<uint8_t>(alea() % 3);
      p.rang2 = static_cast<uint8_t>(alea() % 3);
      p.detail = static_cast<uint16_t>(alea() % 64);
      p.provisoire = alea() % 4 == 0;
      p.texte = sdd::ChaineN(std::to_string(k).c_str());
      ensemble.Ajoute(p);
      auto [place, nouvelle] = attendu.emplace(std::make_pair(p.etat, p.numero), p);
      Position& s = place->second;
      if (nouvelle) continue;
      const bool mieux = std::make_pair(p.rang1, p.rang2) < std::make_pair(s.rang1, s.rang2);
      if (mieux || (s.provisoire && !p.provisoire)) {
        s.rang1 = p.rang1;
        s.rang2 = p.rang2;
        s.detail = p.detail;
        s.provisoire = p.provisoire;
      }
    }
    ASSERT_EQ(ensemble.Taille(), attendu.size()) << cles;
    for (size_t i = 0; i < ensemble.Taille(); ++i) {
      const Position& p = ensemble[i];
      const auto trouve = attendu.find({p.etat, p.numero});
      ASSERT_NE(trouve, attendu.end()) << cles;
      const Position& a = trouve->second;
      EXPECT_EQ(p.rang1, a.rang1) << cles << " " << p.numero;
      EXPECT_EQ(p.rang2, a.rang2) << cles << " " << p.numero;
      EXPECT_EQ(p.detail, a.detail) << cles << " " << p.numero;
      EXPECT_EQ(p.provisoire, a.provisoire) << cles << " " << p.numero;
      EXPECT_EQ(p.texte, a.texte) << cles << " " << p.numero;
      attendu.erase(trouve);  // each place once
    }
  }
}

}  // namespace
