#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniCaractere.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

using C = ChaineN;
using U = UniCaractere;

constexpr C::Malgray kAccentsCasse = C::kMalgrayAccents | C::kMalgrayCasse;
constexpr C::Malgray kTout =
    C::kMalgrayLigatures | C::kMalgrayAccents | C::kMalgrayCasse | C::kMalgrayVariantes;

TEST(UniCaractere, FormesDeLaTable) {
  EXPECT_EQ(U::Majuscule(u'é'), u'É');
  EXPECT_EQ(U::Minuscule(u'É'), u'é');
  EXPECT_EQ(U::Majuscule(u'ß'), u'ß');  // simple mapping only
  EXPECT_EQ(U::SansAccent(u'É'), u'E');
  EXPECT_EQ(U::SansAccent(u'ç'), u'c');
  EXPECT_EQ(U::SansAccent(u'ấ'), u'a');  // the base of the full decomposition
  EXPECT_EQ(U::SansAccent(u'ø'), u'ø');  // no decomposition
  EXPECT_EQ(U::SansAccent(u'œ'), u'œ');
  EXPECT_EQ(U::CasseInversee(u'a'), u'A');
  EXPECT_EQ(U::CasseInversee(u'Ç'), u'ç');
  EXPECT_EQ(U::CasseInversee(u'1'), u'1');
  EXPECT_EQ(U::Variante(u'\u2019'), u'\'');
  EXPECT_EQ(U::Variante(u'\u2013'), u'-');
  EXPECT_EQ(U::Variante(u'\u00A0'), u' ');
  EXPECT_EQ(U::BlancsNormalises(u'\u00A0'), u' ');
  EXPECT_EQ(U::BlancsNormalises(u'\u2019'), u'\u2019');
  EXPECT_EQ(U::NormaliseVarianteMinusculiseSansAccent(u'É'), u'e');
  EXPECT_EQ(U::Variante(0xFB01), 0xFB01);  // typographic ligatures are left alone
  // Exactly four ligatures and fifty variants in the whole table.
  int ligatures = 0, variantes = 0;
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    ligatures += U::EstLigature(static_cast<char16_t>(c));
    variantes += U::Variante(static_cast<char16_t>(c)) != c;
  }
  EXPECT_EQ(ligatures, 4);  // and they are these four (the walks compare them inline):
  for (const char16_t c : {u'Æ', u'æ', u'Œ', u'œ'}) EXPECT_TRUE(U::EstLigature(c));
  EXPECT_EQ(variantes, 50);
}

TEST(UniCaractere, ClassesEtPredicats) {
  EXPECT_TRUE(U::EstVoyelle(u'é'));
  EXPECT_TRUE(U::EstVoyelle(u'Y'));
  EXPECT_TRUE(U::EstVoyelle(u'œ'));
  EXPECT_TRUE(U::EstConsonne(u'ç'));
  EXPECT_FALSE(U::EstVoyelle(u'ç'));
  EXPECT_FALSE(U::EstConsonne(u'α'));  // vowels and consonants are Latin letters only
  EXPECT_TRUE(U::EstLettre(u'α'));
  EXPECT_TRUE(U::EstMajuscule(u'À'));
  EXPECT_TRUE(U::EstMinuscule(u'à'));
  EXPECT_TRUE(U::EstChiffre(u'7'));
  EXPECT_FALSE(U::EstChiffre(u'½'));
  EXPECT_TRUE(U::EstPonctuation(u','));
  EXPECT_TRUE(U::EstPonctuation(u'«'));
  EXPECT_TRUE(U::EstApostrophe(u'\u2019'));
  EXPECT_TRUE(U::EstApostrophe(u'\''));
  EXPECT_TRUE(U::EstBlanc(u'\u00A0'));
  EXPECT_TRUE(U::EstBlanc(u'\t'));
  EXPECT_FALSE(U::EstBlanc(u'_'));
  // The bits the joker search reads: value 32 and 64 of the first byte, bits 25 and 41.
  EXPECT_EQ(U::MotDeClasse(u'b', 0) & 32, 32);
  EXPECT_EQ(U::MotDeClasse(u'b', 0) & 64, 0);
  EXPECT_EQ(U::MotDeClasse(u'e', 0) & 64, 64);
  EXPECT_NE(U::Classes(u'x') & (uint64_t{1} << 41), 0u);
  EXPECT_NE(U::Classes(u'4') & (uint64_t{1} << 25), 0u);
  EXPECT_EQ(U::Classes(u'-') & ((uint64_t{1} << 41) | (uint64_t{1} << 25)), 0u);
  EXPECT_EQ(U::MotDeClasse(u'œ', 3) & 4, 4);
  EXPECT_EQ(U::MotDeClasse(0xFB01, 3) & 4, 0);
}

TEST(UniCaractere, DecompositionLigature) {
  char16_t sortie[4] = {u'x', u'x', u'x', u'x'};
  uint64_t n = 0;
  EXPECT_TRUE(U::DecompositionLigature(0x0153, sortie, 4, &n));
  EXPECT_EQ(std::u16string(sortie), u"oe");
  EXPECT_EQ(n, 2u);
  EXPECT_TRUE(U::DecompositionLigature(0x00C6, sortie, 2, &n));  // no room for the zero
  EXPECT_EQ(sortie[0], u'A');
  EXPECT_EQ(sortie[1], u'E');
  EXPECT_EQ(sortie[2], 0);  // left from before
  char16_t intact[2] = {u'z', 0};
  EXPECT_TRUE(U::DecompositionLigature(0x0152, intact, 0, &n));
  EXPECT_EQ(intact[0], u'z');
  EXPECT_EQ(n, 0u);
  EXPECT_FALSE(U::DecompositionLigature(0xFB01, intact, 2, &n));
  EXPECT_EQ(intact[0], u'z');
  // The single-byte twin, in Mac OS Roman.
  char octets[3];
  EXPECT_TRUE(Caractere::DecompositionLigature(0xCF, octets, 3, &n));
  EXPECT_STREQ(octets, "oe");
  EXPECT_TRUE(Caractere::DecompositionLigature(0xAE, octets, 3, &n));
  EXPECT_STREQ(octets, "AE");
  EXPECT_FALSE(Caractere::DecompositionLigature('o', octets, 3, &n));
  EXPECT_TRUE(Caractere::EstVoyelle(0x8E));     // é
  EXPECT_TRUE(Caractere::EstConsonne(0x8D));    // ç
  EXPECT_TRUE(Caractere::EstBlanc(0xCA));       // no-break space
  EXPECT_TRUE(Caractere::EstApostrophe(0xD5));  // ’
}

TEST(Malgray, EgaliteDeCaracteres) {
  EXPECT_TRUE(UniCarEgalOption(u'É', u'e', kAccentsCasse));
  EXPECT_FALSE(UniCarEgalOption(u'É', u'e', C::kMalgrayAccents));
  EXPECT_FALSE(UniCarEgalOption(u'É', u'e', C::kMalgrayCasse));
  EXPECT_TRUE(UniCarEgalOption(u'\u2019', u'\'', C::kMalgrayVariantes));
  EXPECT_FALSE(UniCarEgalOption(u'\u2019', u'\'', static_cast<C::Malgray>(7)));
  EXPECT_TRUE(UniCarEgalOption(u'\u00A0', u' ', C::kMalgrayVariantes));
  EXPECT_TRUE(UniCarEgalOption(u'\u2013', u'-', C::kMalgrayVariantes));
  EXPECT_FALSE(UniCarEgalOption(u'\u2013', u'-', C::kMalgrayLigatures));
  EXPECT_FALSE(UniCarEgalOption(u'a', u'b', kTout));
}

TEST(Malgray, EgaliteDeChaines) {
  EXPECT_TRUE(ChaineN(u"Élève").Egal(ChaineN(u"eleve"), kAccentsCasse));
  EXPECT_FALSE(ChaineN(u"Élève").Egal(ChaineN(u"eleve"), C::kMalgrayAccents));
  EXPECT_TRUE(ChaineN(u"l’été").Egal(ChaineN(u"L'ETE"), kTout));
  // Different lengths are never equal without ligatures.
  EXPECT_FALSE(ChaineN(u"cœur").Egal(ChaineN(u"coeur"), static_cast<C::Malgray>(14)));
  EXPECT_TRUE(ChaineN(u"cœur").Egal(ChaineN(u"coeur"), C::kMalgrayLigatures));
  EXPECT_TRUE(ChaineN(u"coeur").Egal(ChaineN(u"cœur"), C::kMalgrayLigatures));
  EXPECT_FALSE(ChaineN(u"cœur").Egal(ChaineN(u"COEUR"), C::kMalgrayLigatures));
  EXPECT_TRUE(ChaineN(u"cœur").Egal(ChaineN(u"COEUR"), C::kMalgrayLigatures | C::kMalgrayCasse));
  EXPECT_TRUE(ChaineN(u"Œuvré").Egal(ChaineN(u"oeuvre"), kTout));
  EXPECT_FALSE(ChaineN(u"œ").Egal(ChaineN(u"o"), kTout));
  EXPECT_FALSE(ChaineN(u"œ").Egal(ChaineN(u"oé"), C::kMalgrayLigatures));
  EXPECT_FALSE(ChaineN(u"oe").Egal(ChaineN(u"œe"), kTout));
  EXPECT_TRUE(ChaineN(u"æœ").Egal(ChaineN(u"aeoe"), C::kMalgrayLigatures));
  EXPECT_TRUE(ChaineN().Egal(ChaineN(), kTout));
}

TEST(Malgray, LigatureAChaquePosition) {
  // "œ" against "oe", at every position of a word, in both directions, with case and accents.
  const std::u16string mot = u"lévrier";
  for (size_t p = 0; p <= mot.size(); ++p) {
    std::u16string avecLigature = mot, avecLettres = mot;
    avecLigature.insert(p, u"œ");
    avecLettres.insert(p, u"oe");
    const ChaineN a(avecLigature.c_str()), b(avecLettres.c_str());
    EXPECT_TRUE(a.Egal(b, C::kMalgrayLigatures)) << p;
    EXPECT_TRUE(b.Egal(a, C::kMalgrayLigatures)) << p;
    EXPECT_FALSE(a.Egal(b, kAccentsCasse)) << p;
    std::u16string majuscules;
    for (char16_t c : avecLettres) majuscules += U::Majuscule(U::SansAccent(c));
    EXPECT_TRUE(a.Egal(ChaineN(majuscules.c_str()), kTout)) << p;
    EXPECT_FALSE(a.Egal(ChaineN(majuscules.c_str()), C::kMalgrayLigatures | C::kMalgrayCasse)) << p;
    // And as a search: the motif with letters is found in the text with the ligature.
    const ChaineN texte((u"un " + avecLigature + u" ici").c_str());
    EXPECT_EQ(texte.Contient(b, 0, C::kMalgrayLigatures), 3) << p;
    EXPECT_EQ(texte.ContientMotEntier(b, 0, C::kMalgrayLigatures), 3) << p;
    const auto trouves = texte.RechercheMotEntier(b, C::kMalgrayLigatures);
    ASSERT_EQ(trouves.Taille(), 1u) << p;
    EXPECT_EQ(trouves.Premier().second, avecLigature.size()) << p;  // measured in the text
  }
}

TEST(Malgray, RecherchesAvecOptions) {
  const ChaineN s(u"L’Été de la Sœur, été.");
  EXPECT_EQ(s.Contient(ChaineN(u"ete"), 0, kAccentsCasse), 2);
  EXPECT_EQ(s.Contient(ChaineN(u"ete"), 3, kAccentsCasse), 18);
  EXPECT_EQ(s.Contient(u'e', 0, kAccentsCasse), 2);
  EXPECT_EQ(s.Contient(ChaineN(u"ete")), -1);
  EXPECT_TRUE(s.ContientALaPos(ChaineN(u"l'ete"), 0, kTout));
  EXPECT_TRUE(s.CommencePar(ChaineN(u"l'"), C::kMalgrayVariantes | C::kMalgrayCasse));
  EXPECT_TRUE(s.TerminePar(ChaineN(u"ETE."), kAccentsCasse));
  EXPECT_EQ(s.TrouveDernier(ChaineN(u"ÉTÉ"), kAccentsCasse), 18);
  EXPECT_EQ(s.ContientUnCarDe(ChaineN(u"É"), 0, kAccentsCasse), 2);
  EXPECT_EQ(s.ContientMotEntier(ChaineN(u"soeur"), 0, kTout), 12);
  EXPECT_TRUE(s.CommenceMotEntier(ChaineN(u"soe"), 12, kTout));
  EXPECT_TRUE(ChaineN(u"Œuvre complète").CommenceParMotEntier(ChaineN(u"oeuvre"), kTout));
  EXPECT_FALSE(ChaineN(u"Œuvres").CommenceParMotEntier(ChaineN(u"oeuvre"), kTout));
  EXPECT_TRUE(ChaineN(u"ma sœur").TermineMotEntier(ChaineN(u"SOEUR"), kTout));
  EXPECT_TRUE(ChaineN(u"ma soeur").TermineMotEntier(ChaineN(u"sœur"), C::kMalgrayLigatures));
  EXPECT_TRUE(ChaineN(u"sœur").TerminePar(ChaineN(u"oeur"), C::kMalgrayLigatures));
  EXPECT_FALSE(ChaineN(u"sœur").TerminePar(ChaineN(u"eur"), C::kMalgrayLigatures));
  // UniChaine takes the same options.
  EXPECT_TRUE(
      UniChaine("Cœur").Egal(UniChaine("coeur"), UniChaine::kMalgrayLigatures | UniChaine::kMalgrayCasse));
  EXPECT_EQ(
      UniChaine("L’ÉTÉ").Trouve(UniChaine("ete"), 0, UniChaine::kMalgrayAccents | UniChaine::kMalgrayCasse),
      2);
}

TEST(Malgray, LigaturesEtFormesNormales) {
  EXPECT_EQ(Utf8(ChaineN(u"oeuvre, OEUVRE, Oeuvre, ex aequo").Ligature()), "œuvre, ŒUVRE, Œuvre, ex æquo");
  EXPECT_EQ(Utf8(ChaineN(u"Œuvre et cæcum").Deligature()), "OEuvre et caecum");
  EXPECT_TRUE(ChaineN(u"sœur").EstLigaturay());
  EXPECT_FALSE(ChaineN(u"soeur").EstLigaturay());
  EXPECT_EQ(Utf8(ChaineN(u"L’Été—Œ\u00A0!").NormaliseVarianteMinusculiseSansAccent()), "l'ete-œ !");
  ChaineN decompose(u"e\u0301te\u0301");
  EXPECT_EQ(decompose.NormaliseNFC(), ChaineN(u"été"));
  const ChaineN compose(u"été comme hiver, déjà composé");  // long enough for a heap block
  ChaineN copie = compose;
  copie.NormaliseNFC();
  EXPECT_TRUE(copie.PartageTampon(compose));  // already composed: left as it was
}

TEST(Malgray, TriSelonLaLangue) {
  ListeT<ChaineN> mots{ChaineN(u"côté"), ChaineN(u"coté"), ChaineN(u"côte"), ChaineN(u"cote")};
  ChaineN::TriChaineNLocale(mots);
  std::vector<std::string> ordre;
  for (const ChaineN& m : mots) ordre.push_back(Utf8(m));
  // French dictionaries weigh accents from the end of the word.
  EXPECT_EQ(ordre, (std::vector<std::string>{"cote", "côte", "coté", "côté"}));
  ListeT<ChaineN> autres{ChaineN(u"zèbre"), ChaineN(u"école"), ChaineN(u"Ecole"), ChaineN(u"éclair")};
  ChaineN::TriChaineNLocale(autres);
  ordre.clear();
  for (const ChaineN& m : autres) ordre.push_back(Utf8(m));
  // Accents (secondary) weigh before case (tertiary): "Ecole" comes before "école".
  EXPECT_EQ(ordre, (std::vector<std::string>{"éclair", "Ecole", "école", "zèbre"}));
}

}  // namespace
}  // namespace sdd
