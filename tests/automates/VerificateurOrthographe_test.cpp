#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/automates/VerificateurOrthographe.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "automates/Aides.h"

namespace sdd {
namespace {

// A small French lexicon, compiled in memory.
class VerificateurOrthographeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CompilateurAutomateAcycliqueMin c(
        essais::Liste({u"a", u"arbre", u"au", u"bibliothèque", u"c'est-à-dire", u"dis", u"école", u"écoles",
                       u"est", u"il", u"jusqu'", u"moi", u"Paris", u"peut", u"être", u"œuvre", u"lyre"}));
    c.FormeCompactay(octets_);
    lexique_ = std::make_unique<AutomateAcycliqueMin>(&octets_);
    verificateur_ = std::make_unique<VerificateurOrthographe>(*lexique_);
  }
  bool Connu(const std::u16string& mot) const { return verificateur_->Connu(mot); }
  std::u16string Premiere(const std::u16string& mot) const {
    const auto s = verificateur_->Suggestions(mot, 3);
    return s.empty() ? u"" : s[0];
  }

  TamponMemoire octets_;
  std::unique_ptr<AutomateAcycliqueMin> lexique_;
  std::unique_ptr<VerificateurOrthographe> verificateur_;
};

TEST_F(VerificateurOrthographeTest, LeFrancaisCommeIlSEcrit) {
  // Case, ligatures and apostrophe variants give way; accents do not.
  for (const char16_t* mot :
       {u"école", u"École", u"ÉCOLE", u"PARIS", u"paris", u"OEUVRE", u"oeuvre", u"œuvre"})
    EXPECT_TRUE(Connu(mot)) << ChaineN(mot).PreteUTF8();
  EXPECT_FALSE(Connu(u"ecole"));
  EXPECT_FALSE(Connu(u"ECOLE"));
  // A decomposed accent is composed first.
  EXPECT_TRUE(Connu(u"e\u0301cole"));
  // Elisions, with either apostrophe, after a known elided word or one the lexicon holds.
  for (const char16_t* mot : {u"l'école", u"l’école", u"L'École", u"qu'il", u"jusqu'au", u"c'est-à-dire",
                              u"c’est-à-dire", u"d'arbre"})
    EXPECT_TRUE(Connu(mot)) << ChaineN(mot).PreteUTF8();
  EXPECT_FALSE(Connu(u"x'école"));  // not an elided word
  EXPECT_FALSE(Connu(u"l'"));
  // Compounds whose parts are known, the euphonic t between two parts.
  for (const char16_t* mot : {u"dis-moi", u"peut-être", u"a-t-il", u"Peut-Être"})
    EXPECT_TRUE(Connu(mot)) << ChaineN(mot).PreteUTF8();
  EXPECT_FALSE(Connu(u"t-il"));
  EXPECT_FALSE(Connu(u"peut-etre"));
  EXPECT_FALSE(Connu(u""));
}

TEST_F(VerificateurOrthographeTest, SuggestionsDansLaCasseDuMot) {
  EXPECT_EQ(Premiere(u"ecole"), u"école");
  EXPECT_EQ(Premiere(u"Ecole"), u"École");
  EXPECT_EQ(Premiere(u"ECOLE"), u"ÉCOLE");
  EXPECT_EQ(Premiere(u"bibliotheque"), u"bibliothèque");
  EXPECT_EQ(Premiere(u"BIBLIOTHEQUE"), u"BIBLIOTHÈQUE");
  // The unknown part corrected, the rest as written.
  EXPECT_EQ(Premiere(u"l'ecole"), u"l'école");
  EXPECT_EQ(Premiere(u"L’ecole"), u"L’école");
  EXPECT_EQ(Premiere(u"peut-etre"), u"peut-être");
  // After an elision only a vowel or an h: "l'yre" is not "l'lyre".
  for (const std::u16string& s : verificateur_->Suggestions(u"l'yre", 5)) EXPECT_NE(s, u"l'lyre");
  // As many as asked, each once.
  const auto s = verificateur_->Suggestions(u"ecoles", 2);
  ASSERT_EQ(s.size(), 2u);
  EXPECT_NE(s[0], s[1]);
  EXPECT_TRUE(verificateur_->Suggestions(u"ecole", 0).empty());
}

// A hostile "word" of a million apostrophes and letters: no deep recursion, no quadratic work.
TEST_F(VerificateurOrthographeTest, MotsHostilesEnTempsBorne) {
  std::u16string long_;
  for (int i = 0; i < 500000; ++i) long_ += u"l'";
  long_ += u"école";
  std::u16string traits;
  for (int i = 0; i < 500000; ++i) traits += u"a-";
  const auto t0 = std::chrono::steady_clock::now();
  EXPECT_FALSE(Connu(long_));
  EXPECT_FALSE(Connu(traits));
  EXPECT_TRUE(verificateur_->Suggestions(long_, 5).empty());
  // Just under the bound, the splits are done, and still quickly.
  std::u16string limite;
  while (limite.size() + 2 + 5 <= AutomateAcycliqueMin::kLongueurMaxMot) limite += u"l'";
  limite += u"école";
  EXPECT_TRUE(Connu(limite));
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), 2.0);
}

// One checker over one lexicon, many threads: the same answers as one thread gives.
TEST_F(VerificateurOrthographeTest, PartageEntreFils) {
  const std::vector<std::u16string> mots = {u"l'école", u"ecole",        u"peut-etre",
                                            u"PARIS",   u"bibliotheque", u"a-t-il"};
  std::vector<std::pair<bool, std::vector<std::u16string>>> attendu;
  for (const auto& m : mots) attendu.emplace_back(Connu(m), verificateur_->Suggestions(m, 3));
  std::vector<std::thread> fils;
  std::vector<int> ecarts(4, 0);
  for (int f = 0; f < 4; ++f)
    fils.emplace_back([&, f] {
      for (int tour = 0; tour < 200; ++tour)
        for (size_t i = 0; i < mots.size(); ++i)
          ecarts[f] += Connu(mots[i]) != attendu[i].first ||
                       verificateur_->Suggestions(mots[i], 3) != attendu[i].second;
    });
  for (auto& t : fils) t.join();
  for (int e : ecarts) EXPECT_EQ(e, 0);
}

}  // namespace
}  // namespace sdd
