#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;

// A pair ordered and compared by its key only, so that a duplicate insert shows which payload stays.
struct Paire {
  int cle = 0;
  int charge = 0;
  friend bool operator<(const Paire& a, const Paire& b) { return a.cle < b.cle; }
  friend bool operator==(const Paire& a, const Paire& b) { return a.cle == b.cle; }
};

using Ensemble = EnsembleTriay<int>;

std::vector<int> Contenu(const Ensemble& e) { return {e.begin(), e.end()}; }

void EcrisEntier(FluxSortie& s, const int& v) { SerialiseurVarElias::Ecris(s, static_cast<uint64_t>(v)); }
void LisEntier(FluxEntree& e, int* v) {
  unsigned int u = 0;
  SerialiseurVarElias::Lis(e, &u);
  *v = static_cast<int>(u);
}

TEST(TableTrieeNoyau, InsertionEnDoubleGardeLaPremiereCharge) {
  EnsembleTriay<Paire> e;
  bool present = true;
  EXPECT_EQ(e.Insere({5, 1}, &present).charge, 1);
  EXPECT_FALSE(present);
  EXPECT_EQ(e.Insere({5, 2}, &present).charge, 1);
  EXPECT_TRUE(present);
  EXPECT_EQ(e.Taille(), 1u);
  EXPECT_EQ(e.Trouve({5, 0})->charge, 1);
  EXPECT_EQ(e.Trouve({6, 0}), nullptr);
}

TEST(TableTrieeNoyau, SuppressionsEtAbsents) {
  Ensemble e;
  for (int v : {50, 30, 70, 20, 40, 60, 80, 35, 45}) e.Insere(v);
  ASSERT_TRUE(e.EstArbreValide());
  EXPECT_TRUE(e.Enleve(40));  // two children: the predecessor (35) takes its place
  EXPECT_EQ(Contenu(e), (std::vector<int>{20, 30, 35, 45, 50, 60, 70, 80}));
  EXPECT_TRUE(e.EstArbreValide());
  EXPECT_FALSE(e.Enleve(99));
  EXPECT_EQ(e.Taille(), 8u);
  EXPECT_EQ(e.NbEnfants(), 8);
  for (int v : {50, 20, 80, 30, 70, 35, 45, 60}) {
    EXPECT_TRUE(e.Enleve(v)) << v;
    EXPECT_TRUE(e.EstArbreValide()) << v;
  }
  EXPECT_TRUE(e.EstVide());
  EXPECT_EQ(e.NbEnfants(), 0);
  EXPECT_EQ(e.begin(), e.end());
}

TEST(TableTrieeNoyau, DifferentielContreStdSet) {
  for (unsigned graine : {1u, 2u, 3u, 4u}) {
    std::mt19937 rng(graine);
    Ensemble e;
    std::set<int> modele;
    const int plage = graine % 2 ? 500 : 50000;
    for (int etape = 0; etape < 30000; ++etape) {
      const int v = static_cast<int>(rng() % plage);
      if (rng() % 3 == 0) {
        bool present = false;
        e.Insere(v, &present);
        ASSERT_EQ(present, !modele.insert(v).second) << "seed " << graine;
      } else {
        ASSERT_EQ(e.Enleve(v), modele.erase(v) == 1) << "seed " << graine;
      }
      if (etape % 997 == 0) {
        ASSERT_TRUE(e.EstArbreValide()) << "seed " << graine << " step " << etape;
        ASSERT_EQ(Contenu(e), std::vector<int>(modele.begin(), modele.end())) << "seed " << graine;
      }
      ASSERT_EQ(e.Taille(), modele.size());
    }
    // Then fill up, checking validity after every insertion.
    for (int etape = 0; etape < 3000; ++etape) {
      const int v = static_cast<int>(rng() % plage);
      e.Insere(v);
      modele.insert(v);
      ASSERT_TRUE(e.EstArbreValide()) << "seed " << graine;
    }
    ASSERT_EQ(Contenu(e), std::vector<int>(modele.begin(), modele.end()));
    ASSERT_EQ(e.NbEnfants(), static_cast<int64_t>(modele.size()));
  }
}

TEST(TableTrieeNoyau, CopieEtDeplacement) {
  Ensemble e;
  for (int v = 0; v < 100; ++v) e.Insere(v * 7 % 101);
  Ensemble copie(e);
  EXPECT_EQ(Contenu(copie), Contenu(e));
  EXPECT_TRUE(copie.EstArbreValide());
  copie.Enleve(7);
  EXPECT_TRUE(e.Contient(7));
  Ensemble deplace(std::move(copie));
  EXPECT_EQ(deplace.Taille(), 99u);
  EXPECT_TRUE(copie.EstVide());  // NOLINT(bugprone-use-after-move)
  Ensemble autre;
  autre = e;
  EXPECT_EQ(Contenu(autre), Contenu(e));
}

// The tree's shape and colours as text: "(left) key colour (right)".
std::string Forme(const TableTrieeNoyau::NoeudRNNoyau* n, const Ensemble& e) {
  if (n == nullptr) return ".";
  (void)e;
  return "(" + Forme(n->Gauche(), e) + (n->EstNoir() ? "N" : "R") + Forme(n->Droite(), e) + ")";
}

TEST(TableTrieeNoyau, FormeSerialiseeALOctetPres) {
  Ensemble e;
  for (int v : {2, 1, 3}) e.Insere(v);  // 2 black at the root, 1 and 3 red
  TamponMemoire t;
  EXPECT_EQ(e.Ecris(t, EcrisEntier), 0u);
  // Version 100, count 3, root: black + left + right; left leaf red, 1; right leaf red, 3; then 2.
  EXPECT_EQ(OctetsDe(t), (Octets{0x64, 0x00, 0x83, 0x07, 0x00, 0x81, 0x00, 0x83, 0x82}));
  Ensemble vide;
  TamponMemoire tv;
  vide.Ecris(tv, EcrisEntier);
  EXPECT_EQ(OctetsDe(tv), (Octets{0x64, 0x00, 0x80}));
}

TEST(TableTrieeNoyau, RelectureIdentiqueSansComparaison) {
  std::mt19937 rng(12);
  Ensemble e;
  for (int i = 0; i < 5000; ++i) e.Insere(static_cast<int>(rng() % 100000));
  for (int i = 0; i < 1000; ++i) e.Enleve(static_cast<int>(rng() % 100000));
  TamponMemoire t;
  e.Ecris(t, EcrisEntier);
  t.PositionneAuDebut();
  // The comparison panics if loading ever calls it.
  struct Interdit {
    bool operator()(const int&, const int&) const {
      ADD_FAILURE() << "a comparison during loading";
      return false;
    }
  };
  EnsembleTriay<int, Interdit, Interdit> relu;
  relu.Lis(t, LisEntier);
  EXPECT_EQ(relu.Taille(), e.Taille());
  EXPECT_EQ(Forme(relu.Racine(), e), Forme(e.Racine(), e));
  EXPECT_EQ(std::vector<int>(relu.begin(), relu.end()), Contenu(e));
  EXPECT_TRUE(t.EstALaFin());
}

TEST(TableTrieeNoyau, VersionEtDonneesCorrompues) {
  Ensemble e;
  for (int v = 0; v < 50; ++v) e.Insere(v);
  TamponMemoire t;
  e.Ecris(t, EcrisEntier);
  const Octets bons = OctetsDe(t);

  Octets version = bons;
  version[0] = 101;
  TamponSur tv(version);
  Ensemble relu;
  relu.Insere(999);
  EXPECT_SDD_THROW(relu.Lis(*tv, LisEntier), exceptions::TableNonValide, "Table non valide",
                   "Version non gérée");
  EXPECT_TRUE(relu.EstVide());

  // Every truncation, and every single-byte change, ends in an exception of the family or in a
  // valid table: never a crash (run under AddressSanitizer too).
  for (size_t n = 0; n < bons.size(); ++n) {
    TamponSur tronque(Octets(bons.begin(), bons.begin() + static_cast<long>(n)));
    Ensemble r;
    EXPECT_THROW(r.Lis(*tronque, LisEntier), exceptions::Exception) << "cut at " << n;
    EXPECT_TRUE(r.EstVide());
  }
  for (size_t i = 2; i < bons.size(); ++i) {
    for (uint8_t masque : {0x01, 0x02, 0x04, 0x80, 0xFF}) {
      Octets abime = bons;
      abime[i] ^= masque;
      TamponSur ta(abime);
      Ensemble r;
      try {
        r.Lis(*ta, LisEntier);
        EXPECT_TRUE(r.EstArbreValide());
      } catch (const exceptions::Exception&) {
        EXPECT_TRUE(r.EstVide());
      }
    }
  }
  // Flags that promise children which are not there.
  TamponSur promesse(Octets{0x64, 0x00, 0x81, 0x87});
  Ensemble r;
  EXPECT_THROW(r.Lis(*promesse, LisEntier), exceptions::TableNonValide);
}

TEST(EnsembleTriay, ChainesEtPointeursPartages) {
  EnsembleTriay<ChaineN> mots;
  for (const char* m : {"poire", "abricot", "pomme", "figue", "abricot"}) mots.Insere(ChaineN(m));
  std::vector<std::string> ordre;
  for (const ChaineN& m : mots) ordre.push_back(Utf8(m));
  EXPECT_EQ(ordre, (std::vector<std::string>{"abricot", "figue", "poire", "pomme"}));
  TamponMemoire t;
  mots.Ecris(t, [](FluxSortie& s, const ChaineN& m) { m.Ecris(s); });
  t.PositionneAuDebut();
  EnsembleTriay<ChaineN> relus;
  relus.Lis(t, [](FluxEntree& e, ChaineN* m) { m->Lis(e); });
  EXPECT_EQ(relus.Taille(), 4u);
  EXPECT_TRUE(relus.Contient(ChaineN("figue")));

  // Shared states compared by their contents, as a register of unique states does.
  struct ParContenuPlusPetit {
    bool operator()(const std::shared_ptr<std::string>& a, const std::shared_ptr<std::string>& b) const {
      return *a < *b;
    }
  };
  struct ParContenuEgal {
    bool operator()(const std::shared_ptr<std::string>& a, const std::shared_ptr<std::string>& b) const {
      return *a == *b;
    }
  };
  EnsembleTriay<std::shared_ptr<std::string>, ParContenuPlusPetit, ParContenuEgal> registre;
  auto premier = std::make_shared<std::string>("état");
  bool present = true;
  EXPECT_EQ(registre.Insere(premier, &present), premier);
  EXPECT_FALSE(present);
  auto double_ = std::make_shared<std::string>("état");
  EXPECT_EQ(registre.Insere(double_, &present), premier);  // the stored one comes back
  EXPECT_TRUE(present);
  EXPECT_EQ(premier.use_count(), 2);
  registre.Enleve(double_);
  EXPECT_EQ(premier.use_count(), 1);
}

}  // namespace
}  // namespace sdd
