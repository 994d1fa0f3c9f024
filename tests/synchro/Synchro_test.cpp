// Alignments against the hand-worked cases, and against a plain dynamic-programming LCS on
// random sequences: the distance is N + M - 2 LCS, and the alignment is a common subsequence
// of that length (every match a real equality, in increasing order).
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/synchro/Synchro.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<int> Aligne(const std::string& ancien, const std::string& nouveau) {
  Synchro s(ancien.data(), static_cast<int>(ancien.size()), nouveau.data(), static_cast<int>(nouveau.size()));
  const int* r = s.Synchronise();
  return std::vector<int>(r, r + nouveau.size());
}

int Distance(const std::string& ancien, const std::string& nouveau) {
  Synchro s(ancien.data(), static_cast<int>(ancien.size()), nouveau.data(), static_cast<int>(nouveau.size()));
  return s.DonneDistance();
}

TEST(Synchro, CasDeReference) {
  EXPECT_EQ(Aligne("abc", "abc"), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(Distance("abc", "abc"), 0);
  EXPECT_EQ(Aligne("abc", "abxc"), (std::vector<int>{0, 1, -1, 2}));
  EXPECT_EQ(Distance("abc", "abxc"), 1);
  EXPECT_EQ(Aligne("abcd", "abd"), (std::vector<int>{0, 1, 3}));
  EXPECT_EQ(Distance("abcd", "abd"), 1);
  // The prefix covers the shorter sequence: no suffix is looked for.
  EXPECT_EQ(Aligne("aaa", "aa"), (std::vector<int>{0, 1}));
  // Prefix 2 and suffix 2 overlap on 3 elements: the suffix gives way.
  EXPECT_EQ(Aligne("aaa", "aaxaa"), (std::vector<int>{0, 1, -1, -1, 2}));
  // Empty sides.
  EXPECT_EQ(Aligne("abc", ""), std::vector<int>{});
  EXPECT_EQ(Aligne("", "ab"), (std::vector<int>{-1, -1}));
  EXPECT_EQ(Distance("", "ab"), 2);
  EXPECT_EQ(Distance("abc", ""), 3);
  EXPECT_EQ(Distance("abc", "xyz"), 6);
  EXPECT_EQ(Aligne("abc", "xyz"), (std::vector<int>{-1, -1, -1}));
}

TEST(Synchro, ChainesEtRappels) {
  const sdd::ChaineN a("le petit chat"), b("le gros chat");
  Synchro s(a, b);
  const int* r = s.Synchronise();
  EXPECT_EQ(s.DonneDistance(), 9);  // "le " and " chat" in common; "petit" and "gros" share nothing
  for (int j = 0; j < 3; ++j) EXPECT_EQ(r[j], j);
  EXPECT_EQ(r[11], 12);
  // The same through UniChaine, and through lines compared as whole strings.
  const UniChaine ua("le petit chat"), ub("le gros chat");
  Synchro u(ua, ub);
  EXPECT_EQ(u.DonneDistance(), 9);
  // A negative index reads as the character 0.
  UniChaine vide, x("x");
  EXPECT_TRUE(Synchro::CompareUniCarDansUniChaine(&vide, -1, &x, -5));
  EXPECT_FALSE(Synchro::CompareUniCarDansUniChaine(&x, 0, &vide, -1));
  sdd::ListeT<UniChaine> lignesA, lignesB;
  for (const char* l : {"un", "deux", "trois"}) lignesA.Ajoute(UniChaine(l));
  for (const char* l : {"un", "trois", "quatre"}) lignesB.Ajoute(UniChaine(l));
  Synchro l(&lignesA, 3, &lignesB, 3, Synchro::CompareListeTUniChaines);
  const int* rl = l.Synchronise();
  EXPECT_EQ((std::vector<int>(rl, rl + 3)), (std::vector<int>{0, 2, -1}));
  EXPECT_THROW(Synchro::CompareListeTUniChaines(&lignesA, 3, &lignesB, 0), sdd::exceptions::IndexHorsBorne);
  EXPECT_THROW(Synchro::CompareListeTUniChaines(&lignesA, -1, &lignesB, 0), sdd::exceptions::IndexHorsBorne);
  // Arrays of C strings.
  const char* ca[] = {"x", "y"};
  const char* cb[] = {"y"};
  Synchro c(ca, 2, cb, 1, Synchro::CompareChaines);
  EXPECT_EQ(c.Synchronise()[0], 1);
  // The caller's array.
  int mien[3] = {7, 7, 7};
  Synchro d(a, 3, b, 3);
  EXPECT_EQ(d.Synchronise(mien), mien);
  EXPECT_EQ(mien[2], 2);
}

TEST(Synchro, DistanceEtSimilarite) {
  int distance = 0;
  double a = 0, b = 0;
  const std::string a10(10, 'a'), a30(30, 'a');
  Synchro loin(a10.c_str(), 10, a30.c_str(), 30);
  loin.DonneDistanceEtDivergence(distance, a, b);
  EXPECT_EQ(distance, INT_MAX);
  EXPECT_EQ(a, std::numeric_limits<double>::max());
  EXPECT_EQ(b, std::numeric_limits<double>::max());
  const std::string dix = "abcdefghij", onze = "abcdeXfghij";
  Synchro proche(dix.data(), 10, onze.data(), 11);
  EXPECT_TRUE(proche.PhrasesSimilaires(false));
  proche.DonneDistanceEtDivergence(distance, a, b);
  EXPECT_EQ(distance, 1);
  EXPECT_DOUBLE_EQ(a, 0.0);
  EXPECT_DOUBLE_EQ(b, 1.0 / 21);
  // Lengths 4 and 10: not close unless the flag lets a short new text inside an old one.
  const std::string court = "defg", long_ = "abcdefghij";
  Synchro contenu(long_.data(), 10, court.data(), 4);
  EXPECT_FALSE(contenu.PhrasesSimilaires(false));
  EXPECT_TRUE(contenu.PhrasesSimilaires(true));  // (6 + 4 - 10) / 4 = 0 < 0.3
  // The flag counts only when the old text is the longer.
  Synchro inverse(court.data(), 4, long_.data(), 10);
  EXPECT_FALSE(inverse.PhrasesSimilaires(true));
}

TEST(Synchro, Filtres) {
  int t1[] = {5, 9, 10, 2};
  Synchro::MetsNouveauCaracteresNonConsecutifs(t1, 4);
  EXPECT_EQ((std::vector<int>(t1, t1 + 4)), (std::vector<int>{-1, 9, 10, -1}));
  // The previous entry is read filtered: after a -1, an old index 0 counts as following it.
  int t2[] = {3, 0, 7};
  Synchro::MetsNouveauCaracteresNonConsecutifs(t2, 3);
  EXPECT_EQ((std::vector<int>(t2, t2 + 3)), (std::vector<int>{-1, 0, -1}));
  int t3[] = {1, 2, -1, 4};
  Synchro::MetsNouveauAnciensPetitsIntervalles(t3, 4, 2);
  EXPECT_EQ((std::vector<int>(t3, t3 + 4)), (std::vector<int>{1, 2, -1, -1}));
  int t4[] = {4};
  Synchro::MetsNouveauAnciensPetitsIntervalles(t4, 1, 5);  // n < 2: nothing
  EXPECT_EQ(t4[0], 4);
  // "ab\ncd\nef": a new "b" spreads to the end of its line, not beyond.
  const UniChaine texte("ab\ncd\nef");
  int t5[] = {0, -1, 2, 3, 4, 5, 6, 7};
  Synchro::MetsNouveauJusqueFinDeLigne(texte, t5, 8);
  EXPECT_EQ((std::vector<int>(t5, t5 + 8)), (std::vector<int>{0, -1, -1, 3, 4, 5, 6, 7}));
  int t6[] = {0, 1, -1, 3, 4, 5, 6, 7};  // the new entry is the line end itself
  Synchro::MetsNouveauJusqueFinDeLigne(texte, t6, 8);
  EXPECT_EQ((std::vector<int>(t6, t6 + 8)), (std::vector<int>{0, 1, -1, 3, 4, 5, 6, 7}));
  int t7[] = {0, 1, 2, -1, 4, 5, 6, 7};  // "c" new: up to and with the second line end
  Synchro::MetsNouveauJusqueFinDeLigne(texte, t7, 8);
  EXPECT_EQ((std::vector<int>(t7, t7 + 8)), (std::vector<int>{0, 1, 2, -1, -1, -1, 6, 7}));
}

// The length of a longest common subsequence, by the textbook table.
int LCS(const std::string& a, const std::string& b) {
  std::vector<std::vector<int>> t(a.size() + 1, std::vector<int>(b.size() + 1, 0));
  for (size_t i = 1; i <= a.size(); ++i)
    for (size_t j = 1; j <= b.size(); ++j)
      t[i][j] = a[i - 1] == b[j - 1] ? t[i - 1][j - 1] + 1 : std::max(t[i - 1][j], t[i][j - 1]);
  return t[a.size()][b.size()];
}

TEST(Synchro, ContreLaProgrammationDynamique) {
  std::mt19937 alea(15);
  for (int essai = 0; essai < 20000; ++essai) {
    const int alphabet = 2 + static_cast<int>(alea() % 4);
    std::string a, b;
    const size_t n = alea() % 25, m = alea() % 25;
    for (size_t i = 0; i < n; ++i) a += static_cast<char>('a' + alea() % alphabet);
    // Half the time, the new sequence is the old one edited a little.
    if (essai % 2 == 0) {
      b = a;
      for (int e = static_cast<int>(alea() % 4); e > 0; --e) {
        const size_t p = b.empty() ? 0 : alea() % (b.size() + 1);
        if (alea() % 2 == 0 || b.empty()) {
          b.insert(p, 1, static_cast<char>('a' + alea() % alphabet));
        } else {
          b.erase(std::min(p, b.size() - 1), 1);
        }
      }
    } else {
      for (size_t j = 0; j < m; ++j) b += static_cast<char>('a' + alea() % alphabet);
    }
    const int lcs = LCS(a, b);
    ASSERT_EQ(Distance(a, b), static_cast<int>(a.size() + b.size()) - 2 * lcs) << a << " / " << b;
    const std::vector<int> r = Aligne(a, b);
    int communs = 0, dernier = -1;
    for (size_t j = 0; j < r.size(); ++j) {
      if (r[j] == -1) continue;
      ASSERT_GT(r[j], dernier) << a << " / " << b;
      ASSERT_LT(r[j], static_cast<int>(a.size()));
      ASSERT_EQ(a[r[j]], b[j]) << a << " / " << b;
      dernier = r[j];
      ++communs;
    }
    ASSERT_EQ(communs, lcs) << a << " / " << b;
  }
}

TEST(Synchro, LimiteDeTemps) {
  // Long and unlike: a search of (N + M) D steps would take seconds. A tiny limit stops it,
  // the flag says so, and what was matched is still right.
  std::mt19937 alea(3);
  std::string a(200000, ' '), b(200000, ' ');
  for (auto& c : a) c = static_cast<char>('a' + alea() % 4);
  for (auto& c : b) c = static_cast<char>('a' + alea() % 4);
  const auto debut = std::chrono::steady_clock::now();
  Synchro s(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), 0.02f);
  const int* r = s.Synchronise();
  const auto duree = std::chrono::steady_clock::now() - debut;
  EXPECT_TRUE(s.LimiteTempsDepassee());
  EXPECT_LT(duree, std::chrono::seconds(2));
  int dernier = -1;
  for (size_t j = 0; j < b.size(); ++j) {
    if (r[j] == -1) continue;
    ASSERT_GT(r[j], dernier);
    ASSERT_EQ(a[r[j]], b[j]);
    dernier = r[j];
  }
  EXPECT_EQ(s.DonneDistance(), static_cast<int>(a.size() + b.size()));  // the deadline has passed
  // No limit (0): the flag stays down.
  Synchro sans("abc", 3, "abd", 3, 0);
  sans.Synchronise();
  EXPECT_FALSE(sans.LimiteTempsDepassee());
}

}  // namespace
