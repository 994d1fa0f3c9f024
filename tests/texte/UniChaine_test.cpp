#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <cstring>

#include "commun/Exceptions.h"

namespace {

TEST(UniChaine, ConversionsAllerRetour) {
  const UniChaine s("été ✓");
  EXPECT_EQ(s.Longueur(), 5);
  EXPECT_EQ(s.DonneStdString(), "été ✓");
  EXPECT_EQ(s.DonneU16String(), u"été ✓");
  EXPECT_EQ(s.DonneWString(), L"été ✓");
  EXPECT_EQ(UniChaine(std::wstring(L"été ✓")), s);
  EXPECT_EQ(UniChaine(u"été ✓"), s);
  const sdd::ChaineN n = s.DonneChaineN();
  EXPECT_EQ(n, sdd::ChaineN(u"été ✓"));
  EXPECT_EQ(UniChaine(n), s);
  EXPECT_EQ(UniChaine(s.DonneQString()), s);
}

TEST(UniChaine, CodagesEtRepli) {
  const UniChaine s("é€");
  int n = 0;
  EXPECT_STREQ(s.PreteCString(UniChaine::kCodageMacintosh, &n), "\x8E\xDB");
  EXPECT_EQ(n, 2);
  EXPECT_STREQ(s.PreteCString(UniChaine::kCodageISO8859_15), "\xE9\xA4");
  EXPECT_STREQ(s.PreteCString(UniChaine::kCodageWindows1252), "\xE9\x80");
  EXPECT_STREQ(s.PreteUTF8(), "é€");
  EXPECT_EQ(std::string(s.PreteCString(UniChaine::kCodageCP850)), "\x82?");
  EXPECT_EQ(s.Encode(UniChaine::kCodageUTF16), std::string("\xE9\x00\xAC\x20", 4));
  // Unknown values fall back to windows-1252.
  EXPECT_STREQ(UniChaine::NomCodec(17), "windows-1252");
  EXPECT_STREQ(s.PreteCString(static_cast<UniChaine::Codage>(17)), "\xE9\x80");
  EXPECT_EQ(UniChaine("\xE9\x80", static_cast<UniChaine::Codage>(-3)), s);
  EXPECT_EQ(UniChaine("\x8E\xDB", UniChaine::kCodageMacintosh), s);
  EXPECT_EQ(UniChaine("\xE9\x00\xAC\x20", UniChaine::kCodageUTF16, 4), s);
  EXPECT_EQ(std::u16string(s.PreteUniCString()), u"é€");
}

TEST(UniChaine, EtiquetteIndicesEtOperations) {
  UniChaine s("abc");
  EXPECT_EQ(s.DonneEtiquette(), 255);
  s.MetsEtiquette(3);
  EXPECT_EQ(UniChaine(s).DonneEtiquette(), 3);
  EXPECT_EQ(s[2], u'c');
  EXPECT_HORS_BORNE(s[3], "index=3 min=0 max=3");
  EXPECT_HORS_BORNE(s[-1], "index=18446744073709551615 min=0 max=3");
  EXPECT_EQ(s.SousChaine(1).DonneStdString(), "bc");
  EXPECT_EQ(s.Trouve("c"), 2);
  EXPECT_EQ(s.Trouve("z"), -1);
  EXPECT_EQ((s + "d").DonneStdString(), "abcd");
  EXPECT_EQ(UniChaine("a-b-c").Remplace("-", "+").DonneStdString(), "a+b+c");
  EXPECT_LT(UniChaine("ab"), UniChaine("abc"));
  EXPECT_LT(UniChaine("Z"), UniChaine("é"));
  const UniChemin chemin("/tmp/été.txt");
  EXPECT_EQ(chemin.DonneStdString(), "/tmp/été.txt");
}

}  // namespace
