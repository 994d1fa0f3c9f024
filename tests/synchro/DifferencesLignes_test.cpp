// The line comparison shared by the program and the Python module: hunks against a diff worked
// by hand (what `diff -u` prints for the same texts), the stop flag, and refused input.
#include <outils_socle/synchro/DifferencesLignes.h>
#include <outils_socle/synchro/Synchro.h>
#include <outils_socle/texte/Exception.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

sdd::TexteEnLignes Lignes(std::string texte) {
  sdd::TexteEnLignes t{std::move(texte), {}};
  t.Decoupe();
  return t;
}

std::string DiffUnifie(const std::string& a, const std::string& b, int contexte) {
  const sdd::TexteEnLignes ancien = Lignes(a), nouveau = Lignes(b);
  std::string sortie;
  sdd::EcrisBlocsUnifies(sortie, ancien, nouveau, sdd::CompareLignes(ancien.lignes, nouveau.lignes),
                         contexte);
  return sortie;
}

TEST(DifferencesLignes, BlocsCommeDiffU) {
  // diff -u of these two texts, checked by hand: two changes 5 lines apart share a hunk with 3
  // lines of context (less than 2 x 3 + 1 unchanged lines between them), not with 2.
  const std::string a = "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n";
  const std::string b = "1\ndeux\n3\n4\n5\n6\n7\n8\n9\n10\nonze\n";
  EXPECT_EQ(DiffUnifie(a, b, 3),
            "@@ -1,5 +1,5 @@\n 1\n-2\n+deux\n 3\n 4\n 5\n@@ -8,3 +8,4 @@\n 8\n 9\n 10\n+onze\n");
  EXPECT_EQ(DiffUnifie(a, b, 0), "@@ -2 +2 @@\n-2\n+deux\n@@ -10,0 +11 @@\n+onze\n");
  // A last line without its line end differs from the same line with it, and says so.
  EXPECT_EQ(DiffUnifie("a\nb", "a\nb\n", 1), "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+b\n");
  EXPECT_EQ(DiffUnifie("", "x\n", 3), "@@ -0,0 +1 @@\n+x\n");
  EXPECT_EQ(DiffUnifie("même\n", "même\n", 3), "");
}

TEST(DifferencesLignes, LignesAbsentesMisesDeCote) {
  const sdd::TexteEnLignes a = Lignes("x\na\ny\nb\n"), b = Lignes("a\nz\nb\n");
  const sdd::Differences d = sdd::CompareLignes(a.lignes, b.lignes);
  EXPECT_EQ(d.distance, 3);  // x and y removed, z inserted
  ASSERT_EQ(d.modifications.size(), 2u);
  EXPECT_EQ(d.modifications[0].ancien, 0);
  EXPECT_EQ(d.modifications[0].supprimes, 1);
  EXPECT_EQ(d.modifications[1].supprimes, 1);
  EXPECT_EQ(d.modifications[1].inseres, 1);
  EXPECT_FALSE(d.limiteAtteinte);
}

TEST(DifferencesLignes, ArretLeveParUnAutreFil) {
  // A shuffled sequence: the shortest script takes long to find; a raised flag cuts it, and
  // what comes back is still a valid script (every element accounted for).
  std::vector<int> a(40000), b(40000);
  for (int i = 0; i < 40000; ++i) a[static_cast<size_t>(i)] = i;
  for (int i = 0; i < 40000; ++i) b[static_cast<size_t>(i)] = (i * 7919) % 40000;
  std::atomic<bool> arret{false};
  std::thread leveur([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    arret = true;
  });
  const auto debut = std::chrono::steady_clock::now();
  const sdd::Differences d = sdd::CompareSuites(a, b, {0, &arret, true});
  const auto duree = std::chrono::steady_clock::now() - debut;
  leveur.join();
  EXPECT_TRUE(d.limiteAtteinte);
  EXPECT_LT(duree, std::chrono::seconds(5));
  int supprimes = 0, inseres = 0;
  for (const sdd::Modification& m : d.modifications) {
    supprimes += m.supprimes;
    inseres += m.inseres;
  }
  EXPECT_EQ(supprimes, inseres);  // as many matched on each side
  EXPECT_EQ(d.distance, supprimes + inseres);
}

// The script `d` applied to `a`: what it gives must be `b`.
std::vector<int> Applique(const std::vector<int>& a, const std::vector<int>& b, const sdd::Differences& d) {
  std::vector<int> r;
  int i = 0;
  for (const sdd::Modification& m : d.modifications) {
    while (i < m.ancien) r.push_back(a[static_cast<size_t>(i++)]);
    for (int j = 0; j < m.inseres; ++j) r.push_back(b[static_cast<size_t>(m.nouveau + j)]);
    i += m.supprimes;
  }
  while (i < static_cast<int>(a.size())) r.push_back(a[static_cast<size_t>(i++)]);
  return r;
}

TEST(DifferencesLignes, RechercheBorneeJusteSurUnMelange) {
  // Every element moved: the shortest script costs the square of the size to find. The bounded
  // search gives a valid script in time linear in the size times its bound, not cut by any
  // limit; below the bound (a few changes) it is the shortest, as the exact search says.
  std::vector<int> a(60000), b(60000);
  for (int i = 0; i < 60000; ++i) a[static_cast<size_t>(i)] = i;
  for (int i = 0; i < 60000; ++i) b[static_cast<size_t>(i)] = (i * 7919) % 60000;
  const sdd::Differences d = sdd::CompareSuites(a, b);
  EXPECT_FALSE(d.limiteAtteinte);
  EXPECT_EQ(Applique(a, b, d), b);
  int supprimes = 0;
  for (const sdd::Modification& m : d.modifications) supprimes += m.supprimes;
  EXPECT_EQ(d.distance, 2 * supprimes);
  EXPECT_LT(d.distance, 2 * 60000);  // some of the order kept

  std::vector<int> proche = a;
  for (int i = 0; i < 60000; i += 997) proche[static_cast<size_t>(i)] = 60000 + i;
  proche.erase(proche.begin() + 30000, proche.begin() + 30010);
  const sdd::Differences bornee = sdd::CompareSuites(a, proche);
  const sdd::Differences exacte = sdd::CompareSuites(a, proche, {0, nullptr, true});
  EXPECT_EQ(bornee.distance, exacte.distance);
  EXPECT_EQ(Applique(a, proche, bornee), proche);
}

TEST(DifferencesLignes, ArretDejaLeve) {
  const std::string a = "abcdef", b = "abXdef";
  std::atomic<bool> arret{true};
  Synchro s(a.data(), 6, b.data(), 6);
  s.ArreteSur(&arret);
  EXPECT_EQ(s.DonneDistance(), 12);  // gave up at once: everything removed and inserted
  EXPECT_TRUE(s.LimiteTempsDepassee());
  Synchro libre(a.data(), 6, b.data(), 6);
  EXPECT_EQ(libre.DonneDistance(), 2);
}

TEST(DifferencesLignes, NumerosNegatifsRefuses) {
  EXPECT_THROW(sdd::CompareSuites({0, -1}, {0}), sdd::exceptions::OperationInvalide);
}

}  // namespace
