#include <outils_socle/conteneurs/ListeC.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <vector>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

using Liste = ListeC<int>;

std::vector<int> Vers(const Liste& l) { return {l.begin(), l.end()}; }

TEST(ListeC, AjoutInsertionEnlevement) {
  Liste l{1, 2, 3};
  l.Ajoute(4);
  EXPECT_EQ(l.Dernier(), 4);
  l.Insere(0, 0);
  l.Insere(5, 5);
  l.Insere(2, 9);
  EXPECT_EQ(Vers(l), (std::vector<int>{0, 1, 9, 2, 3, 4, 5}));
  EXPECT_HORS_BORNE(l.Insere(8, 1), "index=8 min=0 max=7");
  l.Enleve(6);
  EXPECT_EQ(l.Dernier(), 4);  // the tail follows a removal at the end
  l.Ajoute(6);
  EXPECT_EQ(Vers(l), (std::vector<int>{0, 1, 9, 2, 3, 4, 6}));
  l.Enleve(0);
  EXPECT_EQ(l.Premier(), 1);
  EXPECT_HORS_BORNE(l.Enleve(6), "index=6 min=0 max=5");
  EXPECT_HORS_BORNE(l[6], "index=6 min=0 max=5");
  EXPECT_EQ(l[2], 2);
  auto it = std::find(l.begin(), l.end(), 3);
  l.InsereAvant(it, 7);
  l.InsereAvant(l.begin(), -1);
  l.InsereAvant(l.end(), 8);
  EXPECT_EQ(Vers(l), (std::vector<int>{-1, 1, 9, 2, 7, 3, 4, 6, 8}));
  EXPECT_TRUE(l.Contient(7));
  EXPECT_FALSE(l.Contient(5));
}

// A value that counts the live ones and can be told to fail its copy.
struct Compte {
  static inline int vivants = 0;
  static inline bool echoue = false;
  int v;
  explicit Compte(int x) : v(x) { ++vivants; }
  Compte(const Compte& autre) : v(autre.v) {
    if (echoue) throw std::runtime_error("copie");
    ++vivants;
  }
  Compte& operator=(const Compte&) = default;
  ~Compte() { --vivants; }
};

// Nodes come from blocks the list owns: every value is destroyed exactly once, removed nodes'
// places are reused, a failed copy leaves the list as it was, and lists that swap or move
// their nodes (and blocks) keep them valid.
TEST(ListeC, NoeudsEnBlocs) {
  {
    ListeC<Compte> l;
    std::vector<const Compte*> adresses;
    for (int i = 0; i < 1000; ++i) adresses.push_back(&l.Ajoute(Compte(i)));
    EXPECT_EQ(Compte::vivants, 1000);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(adresses[i]->v, i);  // nodes never move
    // Removing then adding reuses the freed places, last freed first.
    const Compte* septieme = &l[7];
    l.Enleve(7);
    EXPECT_EQ(&l.Ajoute(Compte(-1)), septieme);
    l.Enleve(0);
    l.Enleve(0);
    EXPECT_EQ(Compte::vivants, 998);
    Compte::echoue = true;
    EXPECT_THROW(l.Ajoute(Compte(5)), std::runtime_error);
    EXPECT_THROW(l.Insere(3, Compte(5)), std::runtime_error);
    Compte::echoue = false;
    EXPECT_EQ(l.Taille(), 998u);
    EXPECT_EQ(Compte::vivants, 998);
    EXPECT_EQ(l[0].v, 2);
    EXPECT_EQ(l.Dernier().v, -1);

    ListeC<Compte> autre;
    autre.Ajoute(Compte(42));
    autre.Echange(l);
    EXPECT_EQ(l.Taille(), 1u);
    EXPECT_EQ(autre.Taille(), 998u);
    l.Ajoute(Compte(43));  // into l's own blocks, not the ones it gave away
    ListeC<Compte> deplacee(std::move(autre));
    EXPECT_EQ(deplacee[1].v, 3);
    deplacee.Ajoute(Compte(44));
    EXPECT_EQ(deplacee.Dernier().v, 44);
    l = std::move(deplacee);
    EXPECT_EQ(l.Taille(), 999u);
    EXPECT_EQ(Compte::vivants, 999);
    l.Vide();
    EXPECT_EQ(Compte::vivants, 0);
    l.Ajoute(Compte(1));  // a list emptied is usable again
    EXPECT_EQ(Compte::vivants, 1);
  }
  EXPECT_EQ(Compte::vivants, 0);
}

TEST(ListeC, ComparaisonsEtCopie) {
  EXPECT_TRUE((Liste{1, 2}) < (Liste{1, 2, 0}));
  EXPECT_FALSE((Liste{2}) < (Liste{1, 9}));
  EXPECT_TRUE((Liste{}) < (Liste{1}));
  Liste a{1, 2};
  Liste b = a;
  b[0] = 5;
  EXPECT_EQ(Vers(a), (std::vector<int>{1, 2}));
  EXPECT_NE(a, b);
  Liste c = std::move(b);
  EXPECT_EQ(c.Taille(), 2u);
  c.Ajoute(3);
  EXPECT_EQ(c.Dernier(), 3);
  const std::vector<int> v{4, 5};
  EXPECT_EQ(Vers(Liste(v.begin(), v.end())), v);
}

// Elements that remember where they came from, to observe stability.
struct Cle {
  int cle;
  int origine;
  friend bool operator<(const Cle& a, const Cle& b) { return a.cle < b.cle; }
  friend bool operator==(const Cle& a, const Cle& b) { return a.cle == b.cle && a.origine == b.origine; }
};

TEST(ListeC, TriBEchangeAussiLesVoisinsEgaux) {
  ListeC<Cle> l{{1, 0}, {1, 1}};
  l.TriB();
  // ">=" swaps equal neighbours, so the two 1s trade places.
  EXPECT_EQ(l.Premier().origine, 1);
  EXPECT_EQ(l.Dernier().origine, 0);
  Liste m{5, 3, 9, 1, 1, 7};
  m.TriB();
  EXPECT_EQ(Vers(m), (std::vector<int>{1, 1, 3, 5, 7, 9}));
  EXPECT_EQ(m.Dernier(), 9);
  m.Ajoute(0);  // the tail pointer is still right after relinking
  EXPECT_EQ(m.Dernier(), 0);
  m.TriB([](const int& a, const int& b) { return a < b; });  // descending
  EXPECT_EQ(Vers(m), (std::vector<int>{9, 7, 5, 3, 1, 1, 0}));
}

TEST(ListeC, TriQEstStableEtCorrect) {
  const unsigned graine = 99;
  std::mt19937 rng(graine);
  for (int essai = 0; essai < 100; ++essai) {
    std::vector<Cle> attendu;
    const int n = static_cast<int>(rng() % 100);
    for (int i = 0; i < n; ++i) attendu.push_back({static_cast<int>(rng() % 10), i});
    ListeC<Cle> l(attendu.data(), attendu.size());
    std::stable_sort(attendu.begin(), attendu.end());
    l.TriQ();
    ASSERT_EQ(std::vector<Cle>(l.begin(), l.end()), attendu) << "seed " << graine;
    if (n) {
      ASSERT_EQ(l.Dernier(), attendu.back());
      l.Ajoute({-1, -1});
      ASSERT_EQ(l.Dernier().cle, -1);
    }
  }
  Liste m{3, 1, 2};
  m.TriQ([](const int& a, const int& b) { return a > b; });
  EXPECT_EQ(Vers(m), (std::vector<int>{3, 2, 1}));
}

TEST(ListeC, IterateurMaison) {
  Liste l{1, 2, 3};
  int somme = 0;
  for (auto it = l.Iter(); !it.EstFini(); it.Suivant()) somme += *it;
  EXPECT_EQ(somme, 6);
  auto it = l.CIter();
  it.Suivant();
  it.Suivant();
  it.Suivant();
  EXPECT_THROW(it.Valeur(), exceptions::ValeurIndefinieIterateur);
}

}  // namespace
}  // namespace sdd
