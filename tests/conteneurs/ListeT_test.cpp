#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/ChaineN.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

using Liste = ListeT<int>;

std::vector<int> Vers(const Liste& l) { return {l.begin(), l.end()}; }

TEST(ListeT, CroissanceParesseusePuisDoublement) {
  Liste l(0);
  EXPECT_EQ(l.Capacite(), 0u);
  EXPECT_EQ(l.Donnees(), nullptr);
  l.Ajoute(1);
  EXPECT_EQ(l.Capacite(), 1u);
  l.Ajoute(2);
  EXPECT_EQ(l.Capacite(), 2u);
  l.Ajoute(3);
  EXPECT_EQ(l.Capacite(), 4u);
  Liste reservee(10);
  EXPECT_EQ(reservee.Donnees(), nullptr);  // the capacity is only recorded
  reservee.Ajoute(1);
  EXPECT_EQ(reservee.Capacite(), 10u);
  // Growth by Increment when Facteur does not grow: factor 1 adds 3 each time.
  ListeT<int, 1, 3> lente;
  for (int i = 0; i < 4; ++i) lente.Ajoute(i);
  EXPECT_EQ(lente.Capacite(), 6u);
}

TEST(ListeT, UneCapaciteIrrealisableEchoueALaPremiereInsertion) {
  Liste l(UINT64_MAX);  // only recorded
  EXPECT_THROW(l.Ajoute(1), std::bad_alloc);
  EXPECT_TRUE(l.EstVide());
}

TEST(ListeT, InsereGardeUneCaseDAvance) {
  Liste l{1, 2};
  l.Insere(5, 9);
  EXPECT_EQ(l.Taille(), 6u);
  EXPECT_EQ(l[5], 9);
  EXPECT_GT(l.Capacite(), l.Taille());
  Liste m{1, 2, 3};
  m.Insere(1, 7);
  EXPECT_EQ(Vers(m), (std::vector<int>{1, 7, 2, 3}));
  m.Insere(4, 8);
  EXPECT_EQ(Vers(m), (std::vector<int>{1, 7, 2, 3, 8}));
  Liste vide;
  vide.Insere(0, 4);
  EXPECT_EQ(Vers(vide), (std::vector<int>{4}));
  EXPECT_GE(vide.Capacite(), 2u);  // count + 1 < capacity, unlike Ajoute
}

TEST(ListeT, EnleveEtAcces) {
  Liste l{1, 2};
  EXPECT_HORS_BORNE(l.Enleve(2), "index=2 min=0 max=1");
  EXPECT_HORS_BORNE(l[2], "index=2 min=0 max=1");
  l.Enleve(0);
  EXPECT_EQ(Vers(l), (std::vector<int>{2}));
  Liste m{5, 1, 5, 2, 5};
  EXPECT_EQ(m.EnleveElement(5), 3u);
  EXPECT_EQ(Vers(m), (std::vector<int>{1, 2}));
  Liste n{0, 1, 2, 3, 4, 5};
  n.EnleveIntervalle(1, 3);
  EXPECT_EQ(Vers(n), (std::vector<int>{0, 3, 4, 5}));
  n.EnleveIntervalle(2, 99);
  EXPECT_EQ(Vers(n), (std::vector<int>{0, 3}));
  EXPECT_HORS_BORNE(n.EnleveIntervalle(3, 4), "index=3 min=0 max=2");
  n.EnlevePremier();
  n.EnleveDernier();
  EXPECT_TRUE(n.EstVide());
  EXPECT_THROW(n.Premier(), exceptions::IndexHorsBorne);
  EXPECT_THROW(n.Dernier(), exceptions::IndexHorsBorne);
}

TEST(ListeT, RechercheEtEquivalence) {
  Liste l{3, 4};
  EXPECT_TRUE(l.Contient(4));
  EXPECT_FALSE(l.Contient(5));
  EXPECT_TRUE(l.Contient([](const int& x) { return x % 2 == 0; }));
  EXPECT_FALSE(l.AjouteUnique(3));
  EXPECT_TRUE(l.AjouteUnique(5));
  EXPECT_EQ(l.Taille(), 3u);
  EXPECT_FALSE(l.ElementsSontTousEquivalents());
  EXPECT_TRUE(Liste{}.ElementsSontTousEquivalents());
  EXPECT_TRUE((Liste{7, 7, 7}).ElementsSontTousEquivalents());
}

TEST(ListeT, OrdreLexicographique) {
  EXPECT_TRUE((Liste{1, 2}) < (Liste{1, 2, 0}));
  EXPECT_FALSE((Liste{2}) < (Liste{1, 9}));
  EXPECT_TRUE((Liste{}) < (Liste{0}));
  EXPECT_FALSE((Liste{}) < (Liste{}));
  EXPECT_TRUE((Liste{1, 3}) > (Liste{1, 2, 9}));
  EXPECT_EQ((Liste{1, 2}), (Liste{1, 2}));
  EXPECT_NE((Liste{1, 2}), (Liste{1}));
}

TEST(ListeT, DifferenceListesTriees) {
  Liste l{1, 2, 3, 4};
  l.DifferenceListesTriees(Liste{2, 4});
  EXPECT_EQ(Vers(l), (std::vector<int>{1, 3}));
  Liste m{1, 2, 3, 4};
  m.DifferenceListesTriees(Liste{0, 2});  // 0 never matches, so 2 is never reached
  EXPECT_EQ(Vers(m), (std::vector<int>{1, 2, 3, 4}));
  Liste n{1, 2, 2, 3};
  n.DifferenceListesTriees(Liste{2});
  EXPECT_EQ(Vers(n), (std::vector<int>{1, 2, 3}));
}

// Counts comparisons to tell the partition from pure insertion sort.
struct Compte {
  int valeur;
  static inline int comparaisons = 0;
  friend bool operator<(const Compte& a, const Compte& b) {
    ++comparaisons;
    return a.valeur < b.valeur;
  }
  friend bool operator==(const Compte& a, const Compte& b) { return a.valeur == b.valeur; }
};

TEST(ListeT, TriQInsertionJusquA16PartitionAuDela) {
  // Already sorted input: insertion sort does n − 1 comparisons, the partition many more.
  ListeT<Compte> seize;
  for (int i = 0; i < 16; ++i) seize.Ajoute({i});
  Compte::comparaisons = 0;
  seize.TriQ();
  EXPECT_EQ(Compte::comparaisons, 15);
  ListeT<Compte> dixSept;
  for (int i = 0; i < 17; ++i) dixSept.Ajoute({i});
  Compte::comparaisons = 0;
  dixSept.TriQ();
  EXPECT_GT(Compte::comparaisons, 16);
  for (int i = 0; i < 17; ++i) EXPECT_EQ(dixSept[static_cast<uint64_t>(i)].valeur, i);
}

TEST(ListeT, TriQContreStdSortSurDesEntreesAleatoires) {
  const unsigned graine = 20261122;
  std::mt19937 rng(graine);
  for (int essai = 0; essai < 300; ++essai) {
    const size_t n = rng() % 200;
    std::vector<int> attendu(n);
    for (int& x : attendu) x = static_cast<int>(rng() % (essai % 3 == 0 ? 4 : 1000));  // many duplicates
    Liste l(attendu.data(), n);
    std::sort(attendu.begin(), attendu.end());
    l.TriQ();
    ASSERT_EQ(Vers(l), attendu) << "seed " << graine << " trial " << essai;
  }
  ListeT<ChaineN> mots{ChaineN("poire"), ChaineN("abricot"), ChaineN("pomme"), ChaineN("figue")};
  mots.TriQ();
  EXPECT_EQ(mots[0], ChaineN("abricot"));
  EXPECT_EQ(mots[3], ChaineN("pomme"));
}

TEST(ListeT, CopieDeplacementEtAlgorithmesStandard) {
  Liste source(16);
  for (int i = 0; i < 5; ++i) source.Ajoute(i);
  Liste copie = source;
  EXPECT_EQ(copie.Capacite(), 16u);
  EXPECT_EQ(copie, source);
  copie[0] = 42;
  EXPECT_EQ(source[0], 0);
  Liste deplacee = std::move(copie);
  EXPECT_EQ(deplacee[0], 42);
  EXPECT_EQ(copie.Taille(), 0u);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(std::accumulate(source.begin(), source.end(), 0), 10);
  std::reverse(source.begin(), source.end());
  EXPECT_EQ(*std::max_element(source.begin(), source.end()), 4);
  int somme = 0;
  for (auto it = source.Iter(); !it.EstFini(); it.Suivant()) somme += *it;
  EXPECT_EQ(somme, 10);
  auto fin = source.CIter();
  while (!fin.EstFini()) fin.Suivant();
  EXPECT_SDD_THROW(fin.Valeur(), exceptions::ValeurIndefinieIterateur,
                   "Impossible d'accéder à la valeur dans l'itérateur", "L'itérateur doit être à la fin.");
  Liste vide;
  vide.Vide(8);
  EXPECT_EQ(vide.Capacite(), 8u);
  EXPECT_NE(vide.Donnees(), nullptr);
}

TEST(ListeT, ModeleAleatoireContreStdVector) {
  const unsigned graine = 7;
  std::mt19937 rng(graine);
  ListeT<ChaineN> l;
  std::vector<ChaineN> modele;
  for (int etape = 0; etape < 2000; ++etape) {
    const ChaineN x = ChaineN::DepuisNombre(static_cast<int>(rng() % 50));
    const uint64_t n = modele.size();
    switch (rng() % 5) {
      case 0:
        l.Ajoute(x);
        modele.push_back(x);
        break;
      case 1: {
        const uint64_t p = n ? rng() % (n + 1) : 0;
        l.Insere(p, x);
        modele.insert(modele.begin() + static_cast<long>(p), x);
        break;
      }
      case 2:
        if (n) {
          const uint64_t p = rng() % n;
          l.Enleve(p);
          modele.erase(modele.begin() + static_cast<long>(p));
        }
        break;
      case 3:
        if (n) {
          const uint64_t p = rng() % n;
          l[p] = x;
          modele[p] = x;
        }
        break;
      case 4:
        if (etape % 50 == 0) {
          l.TriQ();
          std::sort(modele.begin(), modele.end());
        }
        break;
    }
    ASSERT_EQ(std::vector<ChaineN>(l.begin(), l.end()), modele) << "seed " << graine << " step " << etape;
  }
}

}  // namespace
}  // namespace sdd
