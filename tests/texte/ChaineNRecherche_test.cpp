#include <outils_socle/texte/ChaineN.h>

#include <gtest/gtest.h>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

using C = ChaineN;

TEST(ChaineNRecherche, PositionsEtAbsences) {
  const ChaineN s("le chat et le chien");
  EXPECT_EQ(s.Contient(ChaineN("le")), 0);
  EXPECT_EQ(s.Contient(ChaineN("le"), 1), 11);
  EXPECT_EQ(s.Contient(ChaineN("zz")), -1);
  EXPECT_EQ(s.Contient(u'c'), 3);
  EXPECT_EQ(s.Contient(ChaineN("chien"), 99), -1);
  EXPECT_EQ(s.Contient(ChaineN(""), 4), 4);
  EXPECT_TRUE(s.ContientALaPos(ChaineN("chat"), 3));
  EXPECT_FALSE(s.ContientALaPos(ChaineN("chien"), 17));
  EXPECT_EQ(s.TrouveDernier(ChaineN("le")), 11);
  EXPECT_EQ(s.TrouveDernier(u'h'), 15);
  EXPECT_EQ(s.TrouveDernier(ChaineN("x")), -1);
  EXPECT_EQ(s.ContientUnCarDe(ChaineN("xyt")), 6);
  EXPECT_EQ(s.ContientUnCarDe(ChaineN("xyt"), 7), 9);
  EXPECT_EQ(s.TrouveUnCarDeVersLArriere(ChaineN("ae")), 17);
  EXPECT_EQ(s.TrouveUnCarDeVersLArriere(ChaineN("ae"), 10), 8);
  EXPECT_EQ(ChaineN().TrouveUnCarDeVersLArriere(ChaineN("a")), -1);
  EXPECT_TRUE(s.CommencePar(ChaineN("le c")));
  EXPECT_TRUE(s.TerminePar(ChaineN("chien")));
  EXPECT_FALSE(s.TerminePar(ChaineN("le chat et le chien!")));
}

TEST(ChaineNRecherche, MotsEntiers) {
  const ChaineN s(u"l'arbre, arbres et arbre-sec: arbre");
  EXPECT_EQ(s.ContientMotEntier(ChaineN("arbre")), 2);
  EXPECT_EQ(s.ContientMotEntier(ChaineN("arbre"), 3), 19);
  const auto trouves = s.RechercheMotEntier(ChaineN("arbre"));
  ASSERT_EQ(trouves.Taille(), 3u);
  EXPECT_EQ(trouves[0], std::make_pair(uint64_t{2}, uint64_t{5}));
  EXPECT_EQ(trouves[1], std::make_pair(uint64_t{19}, uint64_t{5}));
  EXPECT_EQ(trouves[2], std::make_pair(uint64_t{30}, uint64_t{5}));
  EXPECT_TRUE(s.CommenceMotEntier(ChaineN("arb"), 9));  // start of "arbres"; the end is free
  EXPECT_FALSE(s.CommenceMotEntier(ChaineN("rbre"), 3));
  EXPECT_TRUE(ChaineN("arbre vert").CommenceParMotEntier(ChaineN("arbre")));
  EXPECT_FALSE(ChaineN("arbres").CommenceParMotEntier(ChaineN("arbre")));
  EXPECT_TRUE(ChaineN("un arbre").TermineMotEntier(ChaineN("arbre")));
  EXPECT_FALSE(ChaineN("unarbre").TermineMotEntier(ChaineN("arbre")));
  EXPECT_TRUE(ChaineN("arbre").TermineMotEntier(ChaineN("arbre")));
  // Accented letters are letters: "é" is not a word boundary.
  EXPECT_EQ(ChaineN(u"créé cré").ContientMotEntier(ChaineN(u"cré")), 5);
  EXPECT_EQ(Utf8(ChaineN(u"arbre arbres arbre").RemplaceMotEntier(ChaineN("arbre"), ChaineN("chêne"))),
            "chêne arbres chêne");
}

TEST(ChaineNRecherche, ExpressionsRegulieres) {
  int64_t position = 0, longueur = 0;
  EXPECT_TRUE(ChaineN(u"réf. 2024-11").ContientRegex(ChaineN(u"\\d{4}-\\d+"), &position, &longueur));
  EXPECT_EQ(position, 5);
  EXPECT_EQ(longueur, 7);
  EXPECT_FALSE(ChaineN("abc").ContientRegex(ChaineN("^b")));
  EXPECT_TRUE(ChaineN(u"été").ContientRegex(ChaineN(u"^\\w+$")));
  EXPECT_SDD_THROW(ChaineN("abc").ContientRegex(ChaineN("(")), exceptions::ErreurSyntaxe,
                   "L'opération est invalide", "");
}

TEST(ChaineNRecherche, Remplacements) {
  EXPECT_EQ(Utf8(ChaineN("aXbXc").Remplace(ChaineN("X"), ChaineN("--"))), "a--b--c");
  EXPECT_EQ(Utf8(ChaineN("aaaa").Remplace(ChaineN("aa"), ChaineN("b"))), "bb");
  EXPECT_EQ(Utf8(ChaineN("abc").Remplace(ChaineN(""), ChaineN("x"))), "abc");
  EXPECT_EQ(Utf8(ChaineN("abc").Remplace(ChaineN("b"), ChaineN(""))), "ac");
  EXPECT_EQ(Utf8(ChaineN("a.b.c").RemplaceDepuisFin(ChaineN("."), ChaineN("!"))), "a.b!c");
  EXPECT_EQ(Utf8(ChaineN("fichier.txt").RemplaceFin(ChaineN(".txt"), ChaineN(".md"))), "fichier.md");
  EXPECT_EQ(Utf8(ChaineN("fichier.txt").RemplaceFin(ChaineN(".doc"), ChaineN(".md"))), "fichier.txt");
  // Replacing with the string itself reads the old text.
  ChaineN s("ab");
  s.Remplace(ChaineN("b"), s);
  EXPECT_EQ(Utf8(s), "aab");
  // Copies are untouched by in-place replacement.
  ChaineN original("x-y-z");
  const ChaineN copie = original;
  original.Remplace(ChaineN("-"), ChaineN(""));
  EXPECT_EQ(Utf8(original), "xyz");
  EXPECT_EQ(Utf8(copie), "x-y-z");
}

TEST(ChaineNRecherche, RemplacementsEnLot) {
  const ListeT<ChaineN> anciens{ChaineN("a"), ChaineN("ab"), ChaineN("c")};
  const ListeT<ChaineN> nouveaux{ChaineN("1"), ChaineN("2"), ChaineN("333")};
  // The longest pattern wins at each position, in one pass: results are not re-scanned.
  EXPECT_EQ(Utf8(ChaineN("abac").RemplaceEnLot(anciens, nouveaux)), "21333");
  EXPECT_EQ(Utf8(ChaineN("abac").RemplaceEnLotChainePlusLongue(anciens, nouveaux)), "21333");
  const ListeT<ChaineN> courts{ChaineN("1"), ChaineN("2"), ChaineN("")};
  EXPECT_EQ(Utf8(ChaineN("abacx").RemplaceEnLotChainePlusCourte(anciens, courts)), "21x");
  EXPECT_SDD_THROW(ChaineN("abac").RemplaceEnLotChainePlusCourte(anciens, nouveaux),
                   exceptions::OperationInvalide, "L'opération est invalide", "");
  EXPECT_SDD_THROW(ChaineN("x").RemplaceEnLot(anciens, ListeT<ChaineN>{ChaineN("1")}),
                   exceptions::OperationInvalide, "L'opération est invalide", "");
  EXPECT_EQ(Utf8(ChaineN("un, deux; trois").RemplaceEnLotChaineVide({ChaineN(","), ChaineN(";")})),
            "un deux trois");
}

TEST(ChaineNRecherche, BlancsEtTypographie) {
  EXPECT_EQ(Utf8(ChaineN(u" \t\u00A0texte  ici \r\n").NettoieBlancs()), "texte  ici");
  EXPECT_EQ(Utf8(ChaineN(u"   ").NettoieBlancs()), "");
  EXPECT_EQ(Utf8(ChaineN(u"a\u00A0b\u2009c\td").NormaliseBlanc()), "a b c d");
  EXPECT_EQ(Utf8(ChaineN(u"a \t\u00A0 b  c").ConsolideBlancs()), "a b c");
  EXPECT_EQ(Utf8(ChaineN(u"a  \t\tb \tc").ConsolideBlancsMemeTypes()), "a \tb \tc");
  EXPECT_EQ(Utf8(ChaineN(u"l’été d‘`x´").NormaliseApostrophe()), "l'été d''x'");
  EXPECT_EQ(Utf8(ChaineN(u"« oui » – “non”… c’est −1").ConvertisCarsTypographiques()),
            "\"oui\" - \"non\"... c'est -1");
  EXPECT_EQ(Utf8(ChaineN("a\r\nb\rc\nd").ConvertisRetoursDeCharriot()), "a\nb\nc\nd");
  EXPECT_EQ(Utf8(ChaineN("a\r\nb").RemplaceRCParBlancs()), "a  b");
}

TEST(ChaineNRecherche, JoindreEtEchappement) {
  EXPECT_EQ(Utf8(ChaineN::Joindre({ChaineN("a"), ChaineN("b"), ChaineN("c")}, ChaineN(", "))), "a, b, c");
  EXPECT_EQ(Utf8(ChaineN::Joindre({ChaineN("seul")}, ChaineN(", "))), "seul");
  EXPECT_TRUE(ChaineN::Joindre({}, ChaineN(",")).EstVide());
  const ChaineN texte(u"café au lait/100%");
  const ChaineN echappe = texte.DonneChaineEchappayPourcent();
  EXPECT_EQ(Utf8(echappe), "caf%C3%A9%20au%20lait%2F100%25");
  EXPECT_EQ(echappe.DonneChaineDesechappeePourcent(), texte);
  // Malformed escapes stay as they are.
  EXPECT_EQ(Utf8(ChaineN("100%").DonneChaineDesechappeePourcent()), "100%");
  EXPECT_EQ(Utf8(ChaineN("%zz%4").DonneChaineDesechappeePourcent()), "%zz%4");
  EXPECT_EQ(Utf8(ChaineN("%e9t%C3%A9").DonneChaineDesechappeePourcent()), "\xEF\xBF\xBDt\xC3\xA9");
}

TEST(ChaineNRecherche, LeMasqueZeroEstExact) {
  EXPECT_FALSE(ChaineN(u"É").Egal(ChaineN(u"é")));
  EXPECT_EQ(ChaineN(u"Été").Contient(ChaineN(u"été")), -1);
  EXPECT_TRUE(UniCarEgalOption(u'a', u'a', C::kMalgrayRien));
  EXPECT_FALSE(UniCarEgalOption(u'a', u'A', C::kMalgrayRien));
  EXPECT_FALSE(ChaineN("ab").Egal(ChaineN("abc"), C::kMalgrayAccents | C::kMalgrayCasse));
}

}  // namespace
}  // namespace sdd
