#include <outils_socle/texte/ChaineN.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

using C = ChaineN;

TEST(ChaineN, LaCopiePartageEtLaModificationDetache) {
  ChaineN a("une chaîne assez longue pour un bloc");
  ChaineN b = a;
  EXPECT_TRUE(b.PartageTampon(a));
  EXPECT_EQ(b.DonneUnites(), a.DonneUnites());
  b.AjouteFin(u'd');
  EXPECT_FALSE(b.PartageTampon(a));
  EXPECT_EQ(Utf8(a), "une chaîne assez longue pour un bloc");
  EXPECT_EQ(Utf8(b), "une chaîne assez longue pour un blocd");
  ChaineN c = a;
  c.MetsCarAIndex(0, u'U');
  EXPECT_EQ(Utf8(a), "une chaîne assez longue pour un bloc");
  EXPECT_EQ(Utf8(c), "Une chaîne assez longue pour un bloc");
  const char16_t* unites = c.DonneUnites();
  ChaineN d = std::move(c);
  EXPECT_TRUE(c.EstVide());            // NOLINT(bugprone-use-after-move): moved-from is specified empty
  EXPECT_EQ(d.DonneUnites(), unites);  // the block moves with the string
  EXPECT_EQ(Utf8(d), "Une chaîne assez longue pour un bloc");
}

// Up to 15 units a string holds its units itself: copies are independent from the start, and
// crossing the limit either way keeps every unit.
TEST(ChaineN, LesChainesCourtesTiennentDansLObjet) {
  ChaineN a("abc");
  ChaineN b = a;
  EXPECT_FALSE(b.PartageTampon(a));
  EXPECT_NE(b.DonneUnites(), a.DonneUnites());
  EXPECT_EQ(a.Capacite(), ChaineN::kUnitesCourtes);
  b.MetsCarAIndex(0, u'X');
  EXPECT_EQ(Utf8(a), "abc");
  EXPECT_EQ(Utf8(b), "Xbc");
  EXPECT_EQ(a.DonneUnites()[3], u'\0');
  EXPECT_EQ(std::u16string(a.PreteUniCString()), u"abc");
  EXPECT_FALSE(a.Egal(ChaineN("abd")));  // same length, so the same tagged word: units decide
  EXPECT_TRUE(a.Egal(ChaineN("abc")));

  ChaineN c = std::move(b);
  EXPECT_TRUE(b.EstVide());  // NOLINT(bugprone-use-after-move): moved-from is specified empty
  EXPECT_EQ(Utf8(c), "Xbc");
  c = a;
  EXPECT_EQ(Utf8(c), "abc");
  c = c;  // NOLINT(misc-redundant-expression): self-assignment keeps the units
  EXPECT_EQ(Utf8(c), "abc");
  b = std::move(c);
  EXPECT_EQ(Utf8(b), "abc");

  // 15 units stay inline, the 16th moves them to a block, and removal never loses one.
  ChaineN s;
  std::u16string attendu;
  for (char16_t u = u'a'; u < u'a' + 15; ++u) {
    s.AjouteFin(u);
    attendu += u;
  }
  EXPECT_EQ(s.Capacite(), ChaineN::kUnitesCourtes);
  s.AjouteFin(u'!');
  attendu += u'!';
  EXPECT_GT(s.Capacite(), ChaineN::kUnitesCourtes);
  EXPECT_EQ(std::u16string(s.begin(), s.end()), attendu);
  s.EnleveDebut(10);
  EXPECT_EQ(std::u16string(s.begin(), s.end()), attendu.substr(10));

  // A short string spliced from its own units, inline and across the limit.
  ChaineN t("abcdef");
  t.AjouteDebut(t.DonneUnites() + 2, 3);
  EXPECT_EQ(Utf8(t), "cdeabcdef");
  t.AjouteFin(t.DonneUnites(), 8);
  EXPECT_EQ(Utf8(t), "cdeabcdefcdeabcde");
  ChaineN u("xyz");
  u.AjouteFin(u);
  EXPECT_EQ(Utf8(u), "xyzxyz");

  // Bytes decoded into a string reused in a loop, and a borrowed short text made owned.
  ChaineN ligne("x");
  ligne.Mets("ligne\xC3\xA9", C::kCodageUTF8, 7);
  EXPECT_EQ(Utf8(ligne), "ligneé");
  char16_t tableau[] = u"court";
  ChaineN empruntee(tableau, false);
  empruntee.AjouteFin(u'!');
  EXPECT_FALSE(empruntee.EstEmpruntee());
  EXPECT_EQ(Utf8(empruntee), "court!");
  EXPECT_EQ(std::u16string(tableau), u"court");
}

TEST(ChaineN, LEmpruntNeCopiePasEtNEcritJamaisLeTableauDuClient) {
  char16_t tableau[] = u"bonjour";
  ChaineN s(tableau, false);
  EXPECT_TRUE(s.EstEmpruntee());
  EXPECT_EQ(s.DonneUnites(), tableau);
  EXPECT_EQ(s.Capacite(), 7u);
  ChaineN copie = s;
  s.MetsCarAIndex(0, u'B').AjouteFin(u"!");
  EXPECT_FALSE(s.EstEmpruntee());
  EXPECT_EQ(std::u16string(tableau), u"bonjour");
  EXPECT_EQ(Utf8(s), "Bonjour!");
  EXPECT_EQ(Utf8(copie), "bonjour");
  // A borrowed count need not be zero-terminated: lending terminates it.
  ChaineN debut(tableau, 3, false);
  EXPECT_EQ(std::u16string(debut.PreteUniCString()), u"bon");
  EXPECT_EQ(std::string(debut.PreteUTF8()), "bon");
}

// Every empty string reads the same one unit: begin() and end() meet, whatever the compiler does
// with string literals (a build that gave each use of u"" its own copy once made a range-for
// over an empty pattern run off the end).
TEST(ChaineN, LesChainesVidesLisentLaMemeUnite) {
  const ChaineN a, b(u"", uint64_t{0});
  EXPECT_EQ(a.begin(), a.end());
  EXPECT_EQ(a.DonneUnites(), b.DonneUnites());
  EXPECT_EQ(*a.DonneUnites(), u'\0');
  size_t tours = 0;
  for ([[maybe_unused]] char16_t c : a) ++tours;
  EXPECT_EQ(tours, 0u);
}

TEST(ChaineN, AjouterAElleMemeDouble) {
  ChaineN s("ab");
  s.AjouteFin(s);
  EXPECT_EQ(Utf8(s), "abab");
  s.AjouteFin(s).AjouteFin(s);
  EXPECT_EQ(Utf8(s), "abababababababab");
  s.AjouteDebut(s);
  EXPECT_EQ(s.Longueur(), 32u);
  // A pointer into its own units also works, even when the buffer must grow.
  ChaineN t("xyz");
  for (int i = 0; i < 5; ++i) t.AjouteFin(t.DonneUnites(), t.Longueur());
  EXPECT_EQ(t.Longueur(), 96u);
  EXPECT_EQ(t.SousChaine(90), ChaineN("xyzxyz"));
}

TEST(ChaineN, CroissanceGeometriqueEtArrondiDuBloc) {
  ChaineN s;
  EXPECT_EQ(s.Capacite(), 0u);
  s.AjouteFin(u'a');  // asks 2: held inline
  EXPECT_EQ(s.Capacite(), 16u);
  s.AjouteFin(u"bcdefghijklmno");  // 15 units fit
  EXPECT_EQ(s.Capacite(), 16u);
  s.AjouteFin(u'p');  // asks 17: 16 → 33, and 24 + 66 bytes round up to 92: 34 units
  EXPECT_EQ(s.Capacite(), 34u);
  // Amortised: a million appends go through a few dozen capacities.
  std::vector<uint64_t> capacites;
  ChaineN longue;
  for (int i = 0; i < 1000000; ++i) {
    longue.AjouteFin(u'x');
    if (capacites.empty() || capacites.back() != longue.Capacite()) capacites.push_back(longue.Capacite());
  }
  EXPECT_LE(capacites.size(), 25u);
  for (uint64_t c : capacites) EXPECT_EQ(c % 2, 0u);
}

TEST(ChaineN, UneTailleImpossibleEchoueProprement) {
  ChaineN s("abc");
  EXPECT_THROW(s.Agrandis(UINT64_MAX / 2), std::bad_alloc);
  EXPECT_THROW(s.Agrandis(UINT64_MAX), std::bad_alloc);
  EXPECT_EQ(Utf8(s), "abc");  // nothing lost
}

TEST(ChaineN, VideGardeLeTamponSeulementSiNonPartage) {
  ChaineN s("abcdef");
  const uint64_t capacite = s.Capacite();
  s.Vide();
  EXPECT_TRUE(s.EstVide());
  EXPECT_EQ(s.Capacite(), capacite);
  ChaineN a("abc"), b = a;
  a.Vide();
  EXPECT_EQ(Utf8(b), "abc");
}

TEST(ChaineN, ConstructionDepuisOctetsEtAppelsConstants) {
  EXPECT_EQ(ChaineN("caf\xE9", C::kCodageWinLatin1), ChaineN(u"café"));
  EXPECT_EQ(ChaineN("caf\x8E", C::kCodageMacRoman), ChaineN(u"café"));
  EXPECT_EQ(ChaineN("caf\x82", C::kCodageDOS), ChaineN(u"café"));
  EXPECT_EQ(ChaineN("abcdef", C::kCodageUTF8, 3), ChaineN(u"abc"));
  EXPECT_EQ(ChaineN(std::string("a\0b", 3)).Longueur(), 3u);
  EXPECT_EQ(ChaineN(u'z'), ChaineN(u"z"));
  const ChaineN base("milieu");
  EXPECT_EQ(Utf8(base.AjouteFin("-fin", C::kCodageUTF8)), "milieu-fin");
  EXPECT_EQ(Utf8(base.AjouteDebut(u"début-")), "début-milieu");
  EXPECT_EQ(Utf8(base.AjouteDebut("\xE9", C::kCodageLatin9)), "émilieu");
  EXPECT_EQ(Utf8(base), "milieu");  // the const forms left it alone
  // UTF-16LE bytes are copied as units.
  ChaineN s;
  s.AjouteFin("\x41\x00\xE9\x00", C::kCodageUTF16LE, 4);
  EXPECT_EQ(s, ChaineN(u"Aé"));
  s.Mets("xyz", C::kCodageUTF8).Mets(u'q');
  EXPECT_EQ(Utf8(s), "q");
  EXPECT_EQ(Utf8(ChaineN(C::kCodageUTF8, "%s=%d", "é", 42)), "é=42");
  EXPECT_EQ(Utf8(s.Format(C::kCodageWinLatin1, "%s", "\xE9t\xE9")), "été");
  const std::string long_(1000, 'L');
  EXPECT_EQ(s.Format(C::kCodageUTF8, "%s", long_.c_str()).Longueur(), 1000u);
}

TEST(ChaineN, PretEnOctets) {
  const ChaineN s(u"aé");
  uint64_t n = 99;
  const char* p = s.PreteUTF8(0, nullptr, &n);
  EXPECT_STREQ(p, "a\xC3\xA9");
  EXPECT_EQ(n, 3u);
  EXPECT_STREQ(s.PreteCString(C::kCodageWinLatin1), "a\xE9");
  EXPECT_STREQ(s.PreteMacRoman(), "a\x8E");

  // A caller buffer: never half a character, always terminated.
  char tampon[8];
  std::memset(tampon, 'Z', sizeof tampon);
  EXPECT_EQ(s.PreteUTF8(3, tampon, &n), tampon);
  EXPECT_STREQ(tampon, "a");  // "é" needs two bytes, only one is left after the terminator
  EXPECT_EQ(n, 1u);
  s.PreteUTF8(1, tampon, &n);
  EXPECT_EQ(tampon[0], 0);
  EXPECT_EQ(n, 0u);
  // UTF-16 takes a two-byte terminator; a one-byte buffer only gets a zero first byte.
  std::memset(tampon, 'Z', sizeof tampon);
  s.PreteCString(C::kCodageUTF16LE, 1, tampon, &n);
  EXPECT_EQ(tampon[0], 0);
  EXPECT_EQ(tampon[1], 'Z');
  s.PreteCString(C::kCodageUTF16LE, 5, tampon, &n);
  EXPECT_EQ(n, 2u);
  EXPECT_EQ(std::string(tampon, 4), std::string("a\0\0\0", 4));

  auto bloc = s.CreeUTF8(&n);
  EXPECT_STREQ(bloc.get(), "a\xC3\xA9");
  auto latin = s.CreeCString(C::kCodageLatin9);
  EXPECT_STREQ(latin.get(), "a\xE9");
  // An empty string lends an empty text.
  EXPECT_STREQ(ChaineN().PreteUTF8(), "");
  EXPECT_EQ(ChaineN().PreteUniCString()[0], 0);
}

TEST(ChaineN, EnlevementsEtExtractions) {
  ChaineN s("abcdefgh");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveDebut(2)), "cdefgh");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveDebut(99)), "");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveFin(3)), "abcde");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveFin(99)), "");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveDepuisFin(5)), "abcde");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveDepuisFin(50)), "abcdefgh");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveIntervalle(2, 3)), "abfgh");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveIntervalle(6, 99)), "abcdef");
  EXPECT_EQ(Utf8(ChaineN(s).EnleveIntervalle(8, 1)), "abcdefgh");
  EXPECT_HORS_BORNE(ChaineN(s).EnleveIntervalle(9, 1), "index=9 min=0 max=8");
  EXPECT_EQ(Utf8(s.SousChaine(3, 2)), "de");
  EXPECT_EQ(Utf8(s.SousChaine(6)), "gh");
  EXPECT_EQ(Utf8(s.SousChaine(8)), "");
  EXPECT_HORS_BORNE(s.SousChaine(9), "index=9 min=0 max=8");
  EXPECT_EQ(s[7], u'h');
  EXPECT_HORS_BORNE(s[8], "index=8 min=0 max=8");
  EXPECT_HORS_BORNE(ChaineN(s).MetsCarAIndex(8, u'x'), "index=8 min=0 max=8");
  EXPECT_EQ(Utf8(ChaineN(u"a1é-b2").EnleveCarNonAlpha()), "aéb");
  EXPECT_EQ(Utf8(ChaineN(s).Agrandis(10, u'.')), "abcdefgh..");
  EXPECT_EQ(Utf8(ChaineN(s).Agrandis(3)), "abc");
}

TEST(ChaineN, InverseGardeLesPairesDeSubstituts) {
  EXPECT_EQ(Utf8(ChaineN("abc").Inverse()), "cba");
  EXPECT_EQ(ChaineN(u"a\xD83D\xDE00z").Inverse(), ChaineN(u"z\xD83D\xDE00"
                                                          u"a"));
}

TEST(ChaineN, ComparaisonsUniteParUnite) {
  EXPECT_LT(ChaineN("ab"), ChaineN("abc"));
  EXPECT_LT(ChaineN(""), ChaineN("a"));
  EXPECT_GT(ChaineN("b"), ChaineN("abc"));
  EXPECT_LT(ChaineN(u"Z"), ChaineN(u"é"));  // by unit value, not by locale
  EXPECT_EQ(ChaineN("abc"), ChaineN(u"abc"));
  EXPECT_NE(ChaineN("abc"), ChaineN("abd"));
  EXPECT_TRUE(ChaineN("abc").Egal(u"abc", 3));
  EXPECT_FALSE(ChaineN("abc").Egal(u"ab", 2));
  EXPECT_EQ(std::hash<ChaineN>()(ChaineN("clé")), std::hash<ChaineN>()(ChaineN(u"clé")));
}

TEST(ChaineN, ModeleAleatoireContreStdU16String) {
  // Random edits applied to a ChaineN and to a std::u16string must agree; copies taken along the
  // way must never change. Seed printed on failure.
  const unsigned graine = 1122;
  std::mt19937 rng(graine);
  ChaineN s;
  std::u16string modele;
  std::vector<std::pair<ChaineN, std::u16string>> instantanes;
  for (int etape = 0; etape < 3000; ++etape) {
    const uint64_t n = modele.size();
    const uint64_t pos = n ? rng() % (n + 1) : 0;
    const char16_t c = static_cast<char16_t>(u'a' + rng() % 26);
    switch (rng() % 7) {
      case 0:
        s.AjouteFin(c);
        modele += c;
        break;
      case 1:
        s.AjouteDebut(c);
        modele.insert(modele.begin(), c);
        break;
      case 2:
        s.EnleveIntervalle(pos, 3);
        modele.erase(pos, 3);
        break;
      case 3:
        s.AjouteFin(s.SousChaine(pos, 5));
        modele += modele.substr(pos, 5);
        break;
      case 4:
        if (n) {
          s.MetsCarAIndex(pos % n, c);
          modele[pos % n] = c;
        }
        break;
      case 5: instantanes.emplace_back(s, modele); break;
      case 6:
        if (n > 40) {
          s.EnleveFin(20);
          modele.resize(n - 20);
        }
        break;
    }
    ASSERT_EQ(std::u16string(s.begin(), s.end()), modele) << "seed " << graine << " step " << etape;
  }
  for (const auto& [copie, attendu] : instantanes)
    ASSERT_EQ(std::u16string(copie.begin(), copie.end()), attendu) << "seed " << graine;
}

TEST(ChaineN, CopiesPartageesSurPlusieursFils) {
  // Copies of one buffer live and die on two threads; the count is atomic, and each thread's
  // changes unshare first. Run under ThreadSanitizer too.
  const ChaineN source("partagé entre deux fils");
  auto travail = [&source](std::string* resultat) {
    for (int i = 0; i < 20000; ++i) {
      ChaineN copie = source;
      if (i % 100 == 0) copie.AjouteFin(u'!');
      if (i == 19999) *resultat = Utf8(copie);
    }
  };
  std::string r1, r2;
  std::thread f1(travail, &r1), f2(travail, &r2);
  f1.join();
  f2.join();
  EXPECT_EQ(r1, "partagé entre deux fils");
  EXPECT_EQ(r2, r1);
  EXPECT_EQ(Utf8(source), "partagé entre deux fils");
}

}  // namespace
}  // namespace sdd
