// Corrections against the textbook edit table over every word of the lexicon: misspellings of
// the kinds French typing makes, bounds from one mistake to several, limits that cut through
// ties, the French model and others (uniform costs, huge costs), letters past Latin.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/automates/ProbabiliteTransformation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "automates/Aides.h"

namespace {

using essais::C;
using essais::U16;
using sdd::AutomateAcycliqueMin;
using sdd::ProbabiliteTransformation;

// Every edit costs the same: ranks by plain Damerau–Levenshtein distance.
class Uniforme : public ProbabiliteTransformation {
 public:
  uint32_t CoutSubstitution(char16_t, char16_t) const override { return 7; }
  uint32_t CoutInsertion(char16_t, char16_t) const override { return 7; }
  uint32_t CoutSuppression(char16_t, char16_t) const override { return 7; }
  uint32_t CoutTransposition(char16_t, char16_t) const override { return 7; }
  uint32_t CoutMaximalParDefaut() const override { return 14; }
};

// Costs far past any bound for some edits: a search must neither wrap nor let them through.
class Demesure : public ProbabiliteTransformation {
 public:
  uint32_t CoutSubstitution(char16_t a, char16_t b) const override {
    return a == u'e' || b == u'e' ? 2 : UINT32_MAX;
  }
  uint32_t CoutInsertion(char16_t, char16_t) const override { return 0xF0000000u; }
  uint32_t CoutSuppression(char16_t c, char16_t) const override { return c == u's' ? 4 : UINT32_MAX - 1; }
  uint32_t CoutTransposition(char16_t, char16_t) const override { return UINT32_MAX; }
};

// One mistake of a kind the French model knows, at a random place.
std::u16string Faute(std::u16string m, std::mt19937& alea) {
  static const std::u16string accents = u"aàâeéèêëiîïoôuùûüyÿcç";
  const size_t p = alea() % m.size();
  switch (alea() % 7) {
    case 0:  // an accent lost, added or changed
      m[p] = accents[alea() % accents.size()];
      break;
    case 1:  // a letter doubled
      m.insert(p, 1, m[p]);
      break;
    case 2:  // a letter left out
      m.erase(p, 1);
      break;
    case 3:  // neighbours swapped
      if (p + 1 < m.size()) std::swap(m[p], m[p + 1]);
      break;
    case 4:  // a letter for another of the same sound
      m[p] = u"ckqsjgymnfvbpdt"[alea() % 15];
      break;
    case 5:  // a stray letter
      m.insert(p, 1, static_cast<char16_t>(u'a' + alea() % 26));
      break;
    default:  // any letter for another
      m[p] = static_cast<char16_t>(u'a' + alea() % 26);
  }
  return m;
}

struct Lexique {
  std::vector<std::u16string> mots;
  sdd::TamponMemoire octets;
  std::unique_ptr<AutomateAcycliqueMin> automate;
};

Lexique Compile(std::vector<std::u16string> mots) {
  Lexique l;
  std::sort(mots.begin(), mots.end());
  mots.erase(std::unique(mots.begin(), mots.end()), mots.end());
  l.mots = std::move(mots);
  sdd::CompilateurAutomateAcycliqueMin c(essais::Liste(l.mots));
  c.FormeCompactay(l.octets);
  l.automate = std::make_unique<AutomateAcycliqueMin>(&l.octets);
  return l;
}

// The search's answer beside the oracle's: every form within the bound, by cost, number, text,
// cut to the limit; and the search says "complete" when fewer than the limit exist, "cut" when
// more do.
// `couts`: the oracle's cost of each word of the lexicon for q under the model.
void Compare(const Lexique& l, const std::u16string& q, const std::vector<uint64_t>& couts, uint32_t coutMax,
             uint32_t limite, const ProbabiliteTransformation* modele) {
  const ProbabiliteTransformation& m = modele != nullptr ? *modele : ProbabiliteTransformation::Francais();
  const uint64_t borne = coutMax != 0 ? coutMax : m.CoutMaximalParDefaut();
  std::vector<std::tuple<uint64_t, int64_t, std::u16string>> attendu;
  for (size_t i = 0; i < l.mots.size(); ++i) {
    if (couts[i] <= borne) attendu.emplace_back(couts[i], l.automate->NoPourMot(C(l.mots[i])), l.mots[i]);
  }
  std::sort(attendu.begin(), attendu.end());
  const size_t tous = attendu.size();
  if (limite != 0 && attendu.size() > limite) attendu.resize(limite);

  sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
  const bool complet = l.automate->FormesProbabilistes(C(q), {}, limite, coutMax, modele, formes);
  const std::string contexte = "q=" + std::string(C(q).PreteUTF8()) + " borne=" + std::to_string(borne) +
                               " limite=" + std::to_string(limite);
  ASSERT_EQ(formes.Taille(), attendu.size()) << contexte;
  for (size_t i = 0; i < attendu.size(); ++i) {
    EXPECT_EQ(U16(formes[i].forme), std::get<2>(attendu[i])) << contexte << " rang " << i;
    EXPECT_EQ(formes[i].cout, std::get<0>(attendu[i])) << contexte << " rang " << i;
    EXPECT_EQ(formes[i].numero, std::get<1>(attendu[i])) << contexte << " rang " << i;
  }
  if (limite == 0 || tous < limite) {
    EXPECT_TRUE(complet) << contexte;
  } else if (tous > limite) {
    EXPECT_FALSE(complet) << contexte;
  }
}

std::vector<uint64_t> Couts(const Lexique& l, const std::u16string& q, const ProbabiliteTransformation& m) {
  std::vector<uint64_t> couts;
  for (const auto& mot : l.mots) couts.push_back(essais::CoutEdition(q, mot, m));
  return couts;
}

TEST(Corrections, FautesFrancaisesContreLaTableComplete) {
  auto liste = essais::ListeFrancaise();
  ASSERT_GT(liste.size(), 300000u) << "needs the wfrench package";
  std::mt19937 alea(7);
  std::shuffle(liste.begin(), liste.end(), alea);
  liste.resize(3000);
  const Lexique l = Compile(liste);
  for (int i = 0; i < 30; ++i) {
    const std::u16string q = Faute(l.mots[alea() % l.mots.size()], alea);
    const auto couts = Couts(l, q, ProbabiliteTransformation::Francais());
    for (uint32_t coutMax : {0u, 10u, 35u}) {
      for (uint32_t limite : {0u, 1u, 10u}) Compare(l, q, couts, coutMax, limite, nullptr);
    }
  }
  // Words made only of the mistakes the model forgives most: many paths stay within the bound.
  for (const std::u16string q : {u"eeeeee", u"ss", u"", u"e", u"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"}) {
    const auto couts = Couts(l, q, ProbabiliteTransformation::Francais());
    Compare(l, q, couts, 20, 0, nullptr);
    Compare(l, q, couts, 20, 10, nullptr);
  }
}

TEST(Corrections, AutresModelesEtAutresAlphabets) {
  std::vector<std::u16string> mots = {u"été",    u"étés",  u"ete",   u"tête",  u"bête", u"bêtes",
                                      u"bettes", u"sœur",  u"soeur", u"cœurs", u"мир",  u"миры",
                                      u"пир",    u"мираж", u"αβγ",   u"αγβ",   u"βγα",  u"abc",
                                      u"acb",    u"bac",   u"cba",   u"aabbcc"};
  const Lexique l = Compile(mots);
  const Uniforme uniforme;
  const Demesure demesure;
  std::vector<std::u16string> requetes = {u"ete", u"bte", u"tête",  u"мри", u"мирр", u"αβγ",
                                          u"abc", u"bca", u"soeru", u"",    u"xyz",  u"μιρ"};
  for (const auto& q : requetes) {
    const auto francais = Couts(l, q, ProbabiliteTransformation::Francais());
    const auto uniformes = Couts(l, q, uniforme);
    const auto demesures = Couts(l, q, demesure);
    for (uint32_t limite : {0u, 2u}) {
      Compare(l, q, francais, 0, limite, nullptr);
      Compare(l, q, francais, 30, limite, nullptr);
      Compare(l, q, uniformes, 0, limite, &uniforme);
      Compare(l, q, uniformes, 21, limite, &uniforme);
      Compare(l, q, demesures, 8, limite, &demesure);
    }
  }
  // A bound past every cost the search can hold: the forms the oracle finds within it.
  Compare(l, u"bete", Couts(l, u"bete", uniforme), UINT32_MAX, 0, &uniforme);
  Compare(l, u"bete", Couts(l, u"bete", ProbabiliteTransformation::Francais()), UINT32_MAX, 3, nullptr);
}

// Paths whose cost nears the bound: past a point only the typed word's rest as it stands can
// follow, and the search follows it instead of computing rows. Every bound from 0 to 30 puts
// that point at each place of these words, where an accent (1), a doubled letter (3), a
// confusion (5) or a swap (6) is just affordable or just not.
TEST(Corrections, RestesExactsAuBordDeLaBorne) {
  const Lexique l =
      Compile({u"abcde", u"abcdé", u"abccde", u"abde", u"abdce", u"abcdef", u"xbcde", u"tatt", u"tat",
               u"tata", u"atta", u"théâtre", u"theatre", u"téâtre", u"cœur", u"coeur", u"kbcde", u"abcdee"});
  for (const std::u16string q : {u"xbcdé", u"xbcde", u"xbccde", u"xbdce", u"ybcd", u"tatt", u"tqtt",
                                 u"teatre", u"thaetre", u"kbcdé", u"qbcdée", u"coeru"}) {
    const auto couts = Couts(l, q, ProbabiliteTransformation::Francais());
    for (uint32_t borne = 1; borne <= 30; ++borne) {
      Compare(l, q, couts, borne, 0, nullptr);
      Compare(l, q, couts, borne, 2, nullptr);
    }
  }
  // The limit met by the word itself: the bound shrinks to 0 and the rest is followed exactly,
  // yet the longer form within the pass's bound means the answer was cut.
  const Lexique deux = Compile({u"abcdef", u"abcdefx"});
  Compare(deux, u"abcdef", Couts(deux, u"abcdef", ProbabiliteTransformation::Francais()), 20, 1, nullptr);
}

// Forms longer than the lengths the search's summaries of the states can hold (254 units): the
// summaries must not set aside a form they cannot measure.
TEST(Corrections, FormesPlusLonguesQueLesResumes) {
  std::u16string presque(300, u'a');
  presque[150] = u'c';
  const Lexique l = Compile({std::u16string(300, u'a'), std::u16string(299, u'a') + u'b', u"ab", u"b"});
  const Uniforme uniforme;
  for (const std::u16string& q :
       {presque, std::u16string(280, u'a'), std::u16string(301, u'a'), std::u16string(u"a")}) {
    Compare(l, q, Couts(l, q, ProbabiliteTransformation::Francais()), 30, 0, nullptr);
    Compare(l, q, Couts(l, q, uniforme), 25, 2, &uniforme);
  }
}

// The first search of a lexicon computes what the walks learn about its states; threads that
// start together share that work and all answer as one thread alone does.
TEST(Corrections, PremiereRechercheDansPlusieursFils) {
  auto liste = essais::ListeFrancaise();
  ASSERT_GT(liste.size(), 300000u) << "needs the wfrench package";
  liste.resize(20000);
  const Lexique l = Compile(liste);
  const std::vector<std::u16string> requetes = {u"maisson", u"abeile", u"éléfant", u"acceuil"};
  auto cherche = [](AutomateAcycliqueMin& a, const std::u16string& q) {
    sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
    a.FormesProbabilistes(C(q), {}, 10, 0, nullptr, formes);
    std::vector<std::pair<std::u16string, uint32_t>> r;
    for (const auto& f : formes) r.emplace_back(U16(f.forme), f.cout);
    return r;
  };
  std::vector<std::vector<std::pair<std::u16string, uint32_t>>> seul;
  {
    AutomateAcycliqueMin a(*l.automate);
    for (const auto& q : requetes) seul.push_back(cherche(a, q));
  }
  AutomateAcycliqueMin partage(
      const_cast<sdd::TamponMemoire*>(&l.octets));  // opened afresh: nothing learnt yet
  std::vector<std::vector<std::vector<std::pair<std::u16string, uint32_t>>>> trouves(4);
  std::vector<std::thread> fils;
  for (size_t f = 0; f < 4; ++f) {
    fils.emplace_back([&, f] {
      AutomateAcycliqueMin copie(partage);  // copies share what is learnt
      for (size_t k = 0; k < requetes.size(); ++k) {
        trouves[f].push_back(cherche(copie, requetes[(k + f) % requetes.size()]));
      }
    });
  }
  for (auto& f : fils) f.join();
  for (size_t f = 0; f < 4; ++f) {
    for (size_t k = 0; k < requetes.size(); ++k) EXPECT_EQ(trouves[f][k], seul[(k + f) % requetes.size()]);
  }
  EXPECT_FALSE(seul[0].empty());
}

}  // namespace
