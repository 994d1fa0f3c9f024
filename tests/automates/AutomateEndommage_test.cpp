// Lexicons built to make walks explode: a few hundred bytes can describe 2^40 paths while
// respecting every per-state check. Every search must answer, or refuse with TableNonValide,
// in a time that grows with the bytes, never with the number of paths they describe.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/texte/Exception.h>

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "automates/Aides.h"

namespace {

using essais::Octets;
using essais::TamponSur;
using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;

// Per query kind, far above what any of these needs once bounded, far below what walking the
// paths would take (2^40 and more), even under the sanitizers.
constexpr double kGardeSecondes = 5.0;

using essais::C;

void Ecris(Octets& o, uint64_t valeur, int octets) {
  for (int i = 0; i < octets; ++i) o.push_back(static_cast<uint8_t>(valeur >> (8 * i)));
}

// A layered automaton in the stored form (version 2.0.0.0, 3-byte addresses): state 0 at the
// bottom, final or a dead end; optionally a state above it reached from the rest only by
// `carFond` (so that the only forms end with it); then `couches` states, each with the
// transitions `cars[k]` of count `comptes[k]` (doubled at each layer with `doubles`) to the
// state just below, and, with `carImpasse`, a last one of count 0 to a dead end. The root is
// the top.
struct Couches {
  uint32_t couches;
  std::u16string cars;
  std::vector<uint32_t> comptes;
  bool fondFinal = true;
  char16_t carFond = 0;
  char16_t carImpasse = 0;
  bool doubles = false;
};

Octets Fabrique(const Couches& c) {
  Octets zone;
  uint64_t dessous = 0;  // address of the state below the next one
  Ecris(zone, c.fondFinal ? 1 : 0, 2);
  const uint64_t impasse = zone.size();
  if (c.carImpasse != 0) Ecris(zone, 0, 2);
  uint32_t plusGrand = 0;
  if (c.carFond != 0) {
    dessous = zone.size();
    Ecris(zone, 2, 2);
    Ecris(zone, c.carFond, 2);
    Ecris(zone, 0, 3);
    Ecris(zone, 0, 3);
  }
  for (uint32_t k = 0; k < c.couches; ++k) {
    const uint64_t ici = zone.size();
    Ecris(zone, (c.cars.size() + (c.carImpasse != 0)) * 2, 2);
    for (size_t t = 0; t < c.cars.size(); ++t) {
      const uint32_t compte = c.doubles ? c.comptes[t] << k : c.comptes[t];
      Ecris(zone, c.cars[t], 2);
      Ecris(zone, compte, 3);
      Ecris(zone, dessous, 3);
      plusGrand = std::max(plusGrand, compte);
    }
    if (c.carImpasse != 0) {
      Ecris(zone, c.carImpasse, 2);
      Ecris(zone, 0, 3);
      Ecris(zone, impasse, 3);
    }
    dessous = ici;
  }
  Octets o{2, 0, 0, 0};
  Ecris(o, dessous, 4);
  Ecris(o, zone.size(), 4);
  Ecris(o, plusGrand, 4);
  o.insert(o.end(), zone.begin(), zone.end());
  return o;
}

Octets Lis(const std::string& nom) {
  std::ifstream f(std::string(OUTILS_SOCLE_DONNEES_TESTS) + "/automates-endommages/" + nom, std::ios::binary);
  return Octets(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

// How one query ended.
enum class Issue { Reponse, Refus };

class Chrono {
 public:
  // Runs the query; a TableNonValide is a refusal, any other failure a test failure.
  template <typename F>
  Issue operator()(const std::string& quoi, F requete) {
    const auto debut = std::chrono::steady_clock::now();
    Issue issue = Issue::Reponse;
    try {
      requete();
    } catch (const sdd::exceptions::TableNonValide&) {
      issue = Issue::Refus;
    }
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - debut).count();
    EXPECT_LT(s, kGardeSecondes) << quoi;
    pire_ = std::max(pire_, s);
    issues_.push_back(issue);
    return issue;
  }
  double Pire() const { return pire_; }

 private:
  double pire_ = 0;
  std::vector<Issue> issues_;
};

using Formes = sdd::ListeC<AutomateAcycliqueMin::_Forme>;
using Option = AutomateAcycliqueMin::_OptionRecherche;

// Every kind of search, each under the guard. Returns false when the bytes were refused at
// opening (which is also an answer in time).
bool InterrogeTout(const Octets& octets, const std::u16string& mot, Chrono& chrono) {
  TamponSur t(octets);
  std::unique_ptr<AutomateAcycliqueMin> a;
  if (chrono("ouverture", [&] { a = std::make_unique<AutomateAcycliqueMin>(&*t); }) == Issue::Refus)
    return false;
  const ChaineN m = C(mot);
  chrono("FormesPour insensible", [&] {
    Formes f;
    a->FormesPour(m, f);
  });
  chrono("FormesPour exact", [&] {
    Formes f;
    a->FormesPour(m, f, Option(Option::kExactSeulement));
  });
  chrono("FormesCommencant, limite 10", [&] {
    Formes f;
    a->FormesCommencant(C(mot.substr(0, 1)), f, {}, 10);
  });
  chrono("FormesCommencant, tout", [&] {
    Formes f;
    a->FormesCommencant(ChaineN(""), f);
  });
  chrono("FormesCommencant, liste", [&] {
    Formes f;
    sdd::ListeT<ChaineN> prefixes;
    for (const char* p : {"a", "l", "e", "al"}) prefixes.Ajoute(ChaineN(p));
    a->FormesCommencant(prefixes, f, {}, 20);
  });
  for (const char* motif : {"*", "l?*", "*z", "*a*l*a*l*a*", "a*", "*1"}) {
    chrono(std::string("FormesPourJoker ") + motif, [&] {
      Formes f;
      a->FormesPourJoker(ChaineN(motif), f);
    });
  }
  chrono("FormesPourJoker, limite 5", [&] {
    Formes f;
    a->FormesPourJoker(ChaineN("*"), f, 0, 5);
  });
  for (const Option& o : {Option(), Option(Option::kTempsLimite)}) {
    chrono("FormesProbabilistes", [&] {
      sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> f;
      a->FormesProbabilistes(C(mot.substr(0, 8)), o, 5, 0, nullptr, f);
    });
  }
  chrono("FormePourNo", [&] {
    AutomateAcycliqueMin::_Forme f;
    for (uint32_t n = 0; n < std::min<uint32_t>(a->NombreDeFormes(), 50); ++n) a->FormePourNo(n, f);
  });
  chrono("FormePourNos", [&] {
    sdd::ListeT<uint32_t> numeros;
    for (uint32_t n = 0; n < std::min<uint32_t>(a->NombreDeFormes(), 200); ++n) numeros.Ajoute(n);
    sdd::ListeT<AutomateAcycliqueMin::_Forme> f;
    a->FormePourNos(numeros, f);
  });
  chrono("NoPourMot", [&] { a->NoPourMot(m); });
  chrono("Statistiques", [&] {
    uint64_t etats = 0, transitions = 0;
    a->Statistiques(&etats, &transitions);
  });
  return true;
}

std::vector<uint32_t> Comptes(std::initializer_list<uint32_t> l) { return l; }

// 20 transitions on "l", counts 19 down to 0.
Couches VingtL(uint32_t couches, bool fondFinal) {
  Couches c{couches, std::u16string(20, u'l'), {}, fondFinal};
  for (uint32_t k = 0; k < 20; ++k) c.comptes.push_back(19 - k);
  return c;
}

TEST(AutomateEndommage, LesDeuxFichiersSontRefusesAussitot) {
  for (const char* nom : {"lexique-chemins-exponentiels.aut", "lexique-corrections-exponentielles.aut"}) {
    const Octets o = Lis(nom);
    ASSERT_GT(o.size(), 700u) << nom;
    Chrono chrono;
    // Their bottom state is a dead end, met by the count of forms at opening.
    EXPECT_FALSE(InterrogeTout(o, u"les", chrono)) << nom;
  }
}

TEST(AutomateEndommage, LeGenerateurRefaitLesFichiers) {
  EXPECT_EQ(Fabrique({40, u"al", Comptes({0, 0}), false}), Lis("lexique-chemins-exponentiels.aut"));
  // The hand-made file leaves the greatest count at 0 (no reader uses it): all else is equal.
  Octets vingt = Fabrique(VingtL(12, false));
  std::fill(vingt.begin() + 12, vingt.begin() + 16, 0);
  EXPECT_EQ(vingt, Lis("lexique-corrections-exponentielles.aut"));
}

// Every word of `couches` letters over {a, l}: 2^couches forms in couches + 1 states, with the
// counts of a correct lexicon ("a" is numbered after "l": equal sizes, higher letter first, so
// "a" is stored first with the count 2^k).
Octets SuitesCorrectes(uint32_t couches) { return Fabrique({couches, u"al", {1, 0}, true, 0, 0, true}); }

TEST(AutomateEndommage, UnLexiqueCorrectDeTresNombreusesFormesRestePrompt) {
  std::vector<std::u16string> mots{u""};
  for (int k = 0; k < 10; ++k) {
    std::vector<std::u16string> suivants;
    for (const auto& m : mots)
      for (char16_t c : {u'a', u'l'}) suivants.push_back(m + c);
    mots = suivants;
  }
  ASSERT_EQ(SuitesCorrectes(10), essais::Compile(mots));

  // 2^22 forms in 23 states: the searches that list nothing or little must not walk them all.
  const Octets o = SuitesCorrectes(22);
  TamponSur t(o);
  AutomateAcycliqueMin a(&*t);
  ASSERT_EQ(a.NombreDeFormes(), 1u << 22);
  Chrono chrono;
  Formes f;
  chrono("joker sans réponse", [&] { a.FormesPourJoker(ChaineN("*z"), f); });
  chrono("joker chiffre", [&] { a.FormesPourJoker(ChaineN("a*1"), f); });
  EXPECT_TRUE(f.EstVide());
  chrono("joker limité", [&] { a.FormesPourJoker(ChaineN("*a*l*a*l*a*"), f, 0, 3); });
  // A form's number reads its word as binary, "a" for 1 and "l" for 0: the answer is the three
  // smallest 22-bit numbers whose bits hold 1, 0, 1, 0, 1 in that order.
  std::vector<std::pair<uint32_t, std::u16string>> attendues;
  for (uint32_t n = 0; attendues.size() < 3; ++n) {
    std::u16string mot;
    for (int b = 21; b >= 0; --b) mot += (n >> b & 1) ? u'a' : u'l';
    size_t k = 0;
    for (char16_t c : mot) k += k < 5 && c == u"alala"[k];
    if (k == 5) attendues.emplace_back(n, mot);
  }
  ASSERT_EQ(f.Taille(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(f[i].numero, attendues[i].first);
    EXPECT_EQ(essais::U16(f[i].forme), attendues[i].second);
  }
  f.Vide();
  chrono("préfixe limité", [&] { a.FormesCommencant(ChaineN("ala"), f, {}, 10); });
  EXPECT_EQ(f.Taille(), 11u);
  sdd::ListeT<uint32_t> numeros;
  for (uint32_t n = 0; n < 1000; ++n) numeros.Ajoute(n * 4000);
  sdd::ListeT<AutomateAcycliqueMin::_Forme> parNumero;
  chrono("numéros", [&] { a.FormePourNos(numeros, parNumero); });
  ASSERT_EQ(parNumero.Taille(), 1000u);
  for (const auto& forme : parNumero) EXPECT_EQ(a.NoPourMot(forme.forme), forme.numero);
  sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> corrections;
  chrono("corrections",
         [&] { a.FormesProbabilistes(ChaineN("alalalalalalalalalalal"), {}, 5, 0, nullptr, corrections); });
  ASSERT_EQ(corrections.Taille(), 5u);
  EXPECT_EQ(corrections[0].cout, 0u);
}

// Each shape at two sizes: the second describes 2^size more paths, yet both answer in time.
TEST(AutomateEndommage, ChaqueRechercheAbouditEnTempsBorne) {
  struct Forme {
    const char* nom;
    Couches couches;
    std::u16string mot;
  };
  const std::vector<Forme> formes = {
      // Counts of 0 everywhere: one form promised, 2^n paths to the final bottom.
      {"chemins", {40, u"al", Comptes({0, 0})}, u"alalalalalalalalalal"},
      // Counts that look right state by state (1 then 0), wrong along the paths.
      {"comptes plausibles", {40, u"al", Comptes({1, 0})}, u"lalalalalalalalalala"},
      // Accent variants: 2^n paths that fold to the same word.
      {"variantes", {40, u"eé", Comptes({1, 0})}, std::u16string(40, u'e')},
      {"variantes exactes", {40, u"ee", Comptes({1, 0})}, std::u16string(40, u'e')},
      // Forms only behind a digit: "*" (letters only) leads nowhere along 2^n paths.
      {"chiffre au fond", {40, u"al", Comptes({1, 0}), true, u'1'}, u"aaaa"},
      // A dead end off the path that the count of forms follows.
      {"impasse", {40, u"al", Comptes({1, 0}), true, 0, u'x'}, u"alax"},
      {"vingt l", VingtL(12, true), u"les"},
      {"vingt l sans forme", VingtL(12, false), u"les"},
  };
  for (const Forme& forme : formes) {
    Chrono petit, grand;
    Couches c = forme.couches;
    InterrogeTout(Fabrique(c), forme.mot, petit);
    c.couches *= 2;
    InterrogeTout(Fabrique(c), forme.mot, grand);
    std::printf("%-20s %6.3f s, doublé %6.3f s\n", forme.nom, petit.Pire(), grand.Pire());
  }
}

TEST(AutomateEndommage, LesIncoherencesSontNommees) {
  // A repeated number below a prefix.
  TamponSur t(Fabrique({40, u"al", Comptes({1, 0})}));
  AutomateAcycliqueMin a(&*t);
  Formes f;
  EXPECT_THROW(a.FormesCommencant(ChaineN(""), f, {}, 20), sdd::exceptions::TableNonValide);
  // Counts that cannot share out the numbers below a state.
  sdd::ListeT<uint32_t> numeros;
  numeros.Ajoute(3);
  sdd::ListeT<AutomateAcycliqueMin::_Forme> formes;
  EXPECT_THROW(a.FormePourNos(numeros, formes), sdd::exceptions::TableNonValide);
  // More matches than forms.
  TamponSur u(Fabrique({40, u"eé", Comptes({1, 0})}));
  AutomateAcycliqueMin b(&*u);
  EXPECT_THROW(b.FormesPour(C(std::u16string(40, u'e')), f), sdd::exceptions::TableNonValide);
  // A path that leads to no form.
  TamponSur v(Fabrique({3, u"al", Comptes({1, 0}), true, 0, u'x'}));
  AutomateAcycliqueMin c(&*v);
  EXPECT_THROW(c.FormesPourJoker(ChaineN("ax"), f), sdd::exceptions::TableNonValide);
}

}  // namespace
