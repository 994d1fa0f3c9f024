// Compiler and reader against brute-force oracles on exhaustive small alphabets, and the
// French word list's perfect hash.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniCaractere.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>

#include "automates/Aides.h"
#include "automates/PileLocale.h"
#include "commun/ChainesHostiles.h"

namespace {

using essais::Octets;
using essais::TamponSur;
using essais::U16;
using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;
using sdd::CompilateurAutomateAcycliqueMin;
using Mots = std::set<std::u16string>;

using essais::C;

// Every word of length 0 to 4 over {a, b, c}.
std::vector<std::u16string> TousLesMots() {
  std::vector<std::u16string> tous{u""};
  for (size_t debut = 0, longueur = 0; longueur < 4; ++longueur) {
    const size_t fin = tous.size();
    for (size_t i = debut; i < fin; ++i)
      for (char16_t c : std::u16string(u"abc")) tous.push_back(tous[i] + c);
    debut = fin;
  }
  return tous;
}

// The numbering straight from its definition over right languages: in each state the end of
// form comes first, then the letters by descending size of what follows them, ties by
// descending letter; a form's number counts the forms that come before it along its path.
std::map<std::u16string, uint32_t> NumerotationAttendue(const Mots& mots) {
  auto suite = [&](const std::u16string& p) {
    Mots l;
    for (const auto& m : mots)
      if (m.compare(0, p.size(), p) == 0) l.insert(m.substr(p.size()));
    return l;
  };
  std::map<std::u16string, uint32_t> numeros;
  for (const auto& m : mots) {
    uint32_t n = 0;
    for (size_t i = 0; i < m.size(); ++i) {
      const std::u16string p = m.substr(0, i);
      const Mots ici = suite(p);
      const size_t taille = suite(p + m[i]).size();
      if (ici.count(u"")) ++n;
      std::set<char16_t> lettres;
      for (const auto& s : ici)
        if (!s.empty()) lettres.insert(s[0]);
      for (char16_t c : lettres) {
        const size_t t = suite(p + c).size();
        if (c != m[i] && (t > taille || (t == taille && c > m[i]))) n += static_cast<uint32_t>(t);
      }
    }
    numeros[m] = n;
  }
  return numeros;
}

bool Joker(const std::u16string& motif, const std::u16string& mot) {
  if (motif.empty()) return mot.empty();
  if (motif[0] == u'*') return Joker(motif.substr(1), mot) || (!mot.empty() && Joker(motif, mot.substr(1)));
  if (mot.empty()) return false;
  return (motif[0] == u'?' || motif[0] == mot[0]) && Joker(motif.substr(1), mot.substr(1));
}

TEST(Automate, SousEnsemblesAleatoiresContreLesOracles) {
  const auto tous = TousLesMots();
  std::mt19937 alea(2024);
  for (int essai = 0; essai < 40; ++essai) {
    Mots mots;
    const unsigned densite = 1 + alea() % 9;
    for (const auto& m : tous)
      if (alea() % 10 < densite) mots.insert(m);
    if (mots.empty()) mots.insert(u"ab");
    const std::vector<std::u16string> v(mots.begin(), mots.end());
    const uint64_t partie = 1 + alea() % 20;
    CompilateurAutomateAcycliqueMin c(essais::Liste(v), 0, partie);
    const auto minimale = essais::TailleMinimale(mots);
    EXPECT_EQ(c.NbEtats(), minimale.first) << "essai " << essai;
    EXPECT_EQ(c.NbTransitions(), minimale.second) << "essai " << essai;
    sdd::TamponMemoire t;
    c.FormeCompactay(t);
    TamponSur lu(essais::OctetsDe(t));
    AutomateAcycliqueMin a(&*lu);
    ASSERT_EQ(a.NombreDeFormes(), mots.size());

    const auto attendus = NumerotationAttendue(mots);
    std::vector<std::u16string> parNumero(mots.size());
    for (const auto& [m, n] : attendus) {
      ASSERT_EQ(a.NoPourMot(C(m)), n) << "essai " << essai;
      ASSERT_EQ(c.NoPourMot(C(m)), n);
      parNumero.at(n) = m;
    }
    for (const auto& m : tous) {
      if (!mots.count(m)) {
        EXPECT_EQ(a.NoPourMot(C(m)), -1);
      }
    }
    AutomateAcycliqueMin::_Forme f;
    for (uint32_t n = 0; n < mots.size(); ++n) {
      ASSERT_TRUE(a.FormePourNo(n, f));
      EXPECT_EQ(U16(f.forme), parNumero[n]);
    }
    EXPECT_FALSE(a.FormePourNo(static_cast<uint32_t>(mots.size()), f));

    // Numbers in any order, with strays, in one walk.
    sdd::ListeT<uint32_t> numeros;
    for (uint32_t n = 0; n < mots.size() + 3; ++n) numeros.Ajoute(n);
    std::shuffle(numeros.begin(), numeros.end(), alea);
    sdd::ListeT<AutomateAcycliqueMin::_Forme> formes;
    a.FormePourNos(numeros, formes);
    ASSERT_EQ(formes.Taille(), mots.size());
    for (uint32_t i = 0, k = 0; i < numeros.Taille(); ++i) {
      if (numeros[i] >= mots.size()) continue;
      EXPECT_EQ(formes[k].numero, numeros[i]);
      EXPECT_EQ(U16(formes[k++].forme), parNumero[numeros[i]]);
    }

    // Every prefix: the words below it, in number order.
    for (const auto& p : tous) {
      if (p.size() > 2) continue;
      std::vector<std::pair<uint32_t, std::u16string>> attendu;
      for (const auto& m : mots)
        if (m.compare(0, p.size(), p) == 0) attendu.emplace_back(attendus.at(m), m);
      std::sort(attendu.begin(), attendu.end());
      sdd::ListeC<AutomateAcycliqueMin::_Forme> trouvees;
      AutomateAcycliqueMin::_OptionRecherche exact(AutomateAcycliqueMin::_OptionRecherche::kExactSeulement);
      EXPECT_TRUE(a.FormesCommencant(C(p), trouvees, exact));
      ASSERT_EQ(trouvees.Taille(), attendu.size()) << "prefix " << essais::U16(C(p)).size();
      for (size_t i = 0; i < attendu.size(); ++i) EXPECT_EQ(U16(trouvees[i].forme), attendu[i].second);
      // The visit meets the same forms with their numbers, in the same order, and stops when
      // the visitor says so.
      std::vector<std::pair<uint32_t, std::u16string>> visitees;
      EXPECT_TRUE(a.VisiteFormesCommencant(
          C(p),
          [&](const char16_t* unites, uint32_t n, uint32_t numero) {
            visitees.emplace_back(numero, std::u16string(unites, n));
            return true;
          },
          exact));
      EXPECT_EQ(visitees, attendu);
      if (!attendu.empty()) {
        size_t vues = 0;
        EXPECT_FALSE(a.VisiteFormesCommencant(
            C(p), [&](const char16_t*, uint32_t, uint32_t) { return ++vues < 1; }, exact));
        EXPECT_EQ(vues, 1u);
      }
      // A limit of L stops once more than L forms are gathered.
      if (attendu.size() > 2) {
        trouvees.Vide();
        EXPECT_FALSE(a.FormesCommencant(C(p), trouvees, exact, 1));
        EXPECT_EQ(trouvees.Taille(), 2u);
      }
    }

    // Joker patterns.
    for (const std::u16string motif : {u"*", u"a*", u"*b", u"?", u"??", u"*a*c", u"b?*", u"***", u"c?a?"}) {
      std::vector<std::u16string> attendu;
      for (const auto& m : mots)
        if (Joker(motif, m)) attendu.push_back(m);
      std::sort(attendu.begin(), attendu.end(),
                [&](const auto& x, const auto& y) { return attendus.at(x) < attendus.at(y); });
      sdd::ListeC<AutomateAcycliqueMin::_Forme> trouvees;
      EXPECT_TRUE(a.FormesPourJoker(C(motif), trouvees));
      ASSERT_EQ(trouvees.Taille(), attendu.size());
      for (size_t i = 0; i < attendu.size(); ++i) EXPECT_EQ(U16(trouvees[i].forme), attendu[i]);
    }

    // Corrections: exactly the words within the bound, by cost then number; a limit gives the
    // head of that list.
    const auto& modele = sdd::ProbabiliteTransformation::Francais();
    for (const std::u16string q : {u"ab", u"cab", u"aaaa", u"", u"bcba"}) {
      std::vector<std::tuple<uint32_t, uint32_t, std::u16string>> attendu;
      for (const auto& m : mots) {
        const auto cout = static_cast<uint32_t>(essais::CoutEdition(q, m, modele));
        if (cout <= 20) attendu.emplace_back(cout, attendus.at(m), m);
      }
      std::sort(attendu.begin(), attendu.end());
      for (uint32_t limite : {0u, 1u, 3u}) {
        sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> trouvees, parPaliers;
        a.FormesProbabilistes(C(q), {}, limite, 20, nullptr, trouvees);
        // The clock-bounded search (widening its bound in steps) gives the same head.
        a.FormesProbabilistes(C(q), {AutomateAcycliqueMin::_OptionRecherche::kTempsLimite}, limite, 20,
                              nullptr, parPaliers);
        ASSERT_EQ(parPaliers.Taille(), trouvees.Taille());
        for (size_t i = 0; i < trouvees.Taille(); ++i)
          EXPECT_TRUE(parPaliers[i].forme.Egal(trouvees[i].forme));
        const size_t n = limite == 0 ? attendu.size() : std::min<size_t>(limite, attendu.size());
        ASSERT_EQ(trouvees.Taille(), n);
        for (size_t i = 0; i < n; ++i) {
          EXPECT_EQ(U16(trouvees[i].forme), std::get<2>(attendu[i]));
          EXPECT_EQ(trouvees[i].cout, std::get<0>(attendu[i]));
        }
      }
    }
  }
}

TEST(Automate, DoublonsEtPrefixes) {
  CompilateurAutomateAcycliqueMin c(essais::Liste({u"chat", u"chats", u"chat", u"chaton", u"chat", u""}));
  EXPECT_EQ(c.Mots().Taille(), 4u);
  // A form that is a prefix of another gets the smaller number.
  EXPECT_LT(c.NoPourMot(C(u"chat")), c.NoPourMot(C(u"chats")));
  EXPECT_LT(c.NoPourMot(C(u"chat")), c.NoPourMot(C(u"chaton")));
  EXPECT_EQ(c.NoPourMot(C(u"")), 0);
  EXPECT_EQ(c.NoPourMot(C(u"cha")), -1);
}

// A state's header holds its transition count on 15 bits: a root of 32,767 transitions is
// written and read back, one more is refused rather than written wrong.
TEST(Automate, EtatDeTropDeTransitions) {
  std::vector<std::u16string> mots;
  for (char16_t c = u'\u0100'; mots.size() < 0x7FFF; ++c) mots.push_back(std::u16string(1, c));
  TamponSur t(essais::Compile(mots));
  AutomateAcycliqueMin a(&*t);
  EXPECT_EQ(a.NombreDeFormes(), 0x7FFFu);
  EXPECT_GE(a.NoPourMot(C(u"\u7000")), 0);
  mots.push_back(u"\u80FF");
  CompilateurAutomateAcycliqueMin c(essais::Liste(mots));
  sdd::TamponMemoire sortie;
  EXPECT_THROW(c.FormeCompactay(sortie), sdd::exceptions::OperationInvalide);
}

// States wider than the walks keep on their stack, paths longer than the inline path: the
// stacks move to the heap and the answers do not change.
TEST(Automate, EtatsLargesEtPilesQuiDebordent) {
  sdd::PileLocale<int, 4> pile;
  for (int i = 0; i < 1000; ++i) pile.Empile(i);
  EXPECT_EQ(pile.Taille(), 1000u);
  EXPECT_EQ(pile.Dernier(), 999);
  for (int i = 999; i >= 500; --i) EXPECT_EQ(pile.Depile(), i);
  pile.Tronque(502);  // growing this way gives zeros
  EXPECT_EQ(pile.Donnees()[499], 499);
  EXPECT_EQ(pile.Donnees()[500], 0);
  EXPECT_EQ(pile.Donnees()[501], 0);

  std::vector<std::u16string> mots;
  for (char16_t c = u'\u0100'; c < u'\u0100' + 600; ++c) {
    mots.push_back(std::u16string(1, c));
    mots.push_back(std::u16string(1, c) + u"x");
  }
  TamponSur t(essais::Compile(mots));
  AutomateAcycliqueMin a(&*t);
  std::vector<std::u16string> attendus = mots;
  std::sort(attendus.begin(), attendus.end());
  const AutomateAcycliqueMin::_OptionRecherche exact(AutomateAcycliqueMin::_OptionRecherche::kExactSeulement);
  std::vector<std::u16string> visites;
  EXPECT_TRUE(a.VisiteFormesCommencant(
      C(u""),
      [&](const char16_t* u, uint32_t n, uint32_t numero) {
        EXPECT_EQ(numero, visites.size());
        visites.emplace_back(u, n);
        return true;
      },
      exact));
  // Numbers run 0, 1, 2... in the visit (checked above); the forms are the list's.
  std::vector<std::u16string> triees = visites;
  std::sort(triees.begin(), triees.end());
  EXPECT_EQ(triees, attendus);
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  EXPECT_TRUE(a.FormesCommencant(C(u""), formes, exact));
  ASSERT_EQ(formes.Taille(), visites.size());
  // Lookups through the opening table (characters below U+0180) and past it give the numbers
  // the visit met.
  for (size_t n = 0; n < visites.size(); ++n) EXPECT_EQ(a.NoPourMot(C(visites[n])), static_cast<int64_t>(n));
  EXPECT_EQ(a.NoPourMot(C(u"\u0100y")), -1);
}

TEST(Automate, MotsRefuses) {
  EXPECT_THROW(CompilateurAutomateAcycliqueMin(essais::Liste({u"a", std::u16string(u"b\0c", 3)})),
               sdd::exceptions::OperationInvalide);
  CompilateurAutomateAcycliqueMin vide(essais::Liste({}));
  CompilateurAutomateAcycliqueMin deplace(std::move(vide));
  sdd::TamponMemoire t;
  EXPECT_THROW(vide.FormeCompactay(t), sdd::exceptions::IndexHorsBorne);  // NOLINT(bugprone-use-after-move)
  EXPECT_THROW(vide.FichierDot(), sdd::exceptions::IndexHorsBorne);       // NOLINT(bugprone-use-after-move)
}

// The insensitive lookup against a plain oracle: a form answers a word when both, ligatures
// written as their two letters and every letter folded (case, accents, variants), are the same.
// Over enough of the French list that the root and its children are wide, the states the walk
// reads through the table built at opening, with ligatures and capitals at the start of words.
TEST(Automate, RechercheInsensibleContreLePli) {
  auto mots = essais::ListeFrancaise();
  ASSERT_GT(mots.size(), 300000u) << "needs the wfrench package";
  std::mt19937 alea(11);
  std::shuffle(mots.begin(), mots.end(), alea);
  mots.resize(4000);
  for (const std::u16string m :
       {u"œuvre", u"Œdipe", u"oedème", u"æther", u"Æsope", u"cœur", u"ŒUVRE", u"Été"}) {
    mots.push_back(m);
  }
  std::sort(mots.begin(), mots.end());
  mots.erase(std::unique(mots.begin(), mots.end()), mots.end());
  auto pli = [](const std::u16string& m) {
    std::u16string p;
    for (const char16_t c : m) {
      if (c == u'æ' || c == u'Æ') {
        p += u"ae";
      } else if (c == u'œ' || c == u'Œ') {
        p += u"oe";
      } else {
        p += sdd::UniCaractere::NormaliseVarianteMinusculiseSansAccent(c);
      }
    }
    return p;
  };
  TamponSur t(essais::Compile(mots));
  AutomateAcycliqueMin a(&*t);
  std::vector<std::u16string> requetes = {u"OEUVRE", u"oeuvre", u"Œuvre", u"oedipe", u"ŒDÈME",
                                          u"AETHER", u"aesope", u"coeur", u"ETE",    u"ete"};
  for (int k = 0; k < 300; ++k) {
    std::u16string q = mots[alea() % mots.size()];
    for (char16_t& c : q) {
      if (alea() % 3 == 0) c = sdd::UniCaractere::Majuscule(c);
      if (alea() % 3 == 0) c = sdd::UniCaractere::SansAccent(c);
    }
    requetes.push_back(q);
  }
  for (const auto& q : requetes) {
    std::multiset<std::u16string> attendu, trouve;
    for (const auto& m : mots) {
      if (pli(m) == pli(q)) attendu.insert(m);
    }
    sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
    a.FormesPour(C(q), formes);
    for (const auto& f : formes) trouve.insert(U16(f.forme));
    EXPECT_EQ(trouve, attendu) << C(q).PreteUTF8();
  }
}

TEST(Automate, RechercheInsensible) {
  const std::vector<std::u16string> mots = {u"été",   u"ete",  u"Été",   u"cœur",  u"coeur", u"Paris",
                                            u"paris", u"zut!", u"anti-", u"l’été", u"œuvre"};
  TamponSur t(essais::Compile(mots));
  AutomateAcycliqueMin a(&*t);
  auto cherche = [&](const std::u16string& mot, AutomateAcycliqueMin::_OptionRecherche o = {}) {
    sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
    a.FormesPour(C(mot), formes, o);
    std::vector<std::u16string> v;
    for (const auto& f : formes) v.push_back(U16(f.forme));
    return v;
  };
  // Insensitive prefixes: the visit meets what the list holds, in its order.
  for (const std::u16string prefixe : {u"ET", u"coe", u"OE", u"l'", u"p", u""}) {
    sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
    a.FormesCommencant(C(prefixe), formes);
    std::vector<std::pair<uint32_t, std::u16string>> liste, visite;
    for (const auto& f : formes) liste.emplace_back(f.numero, U16(f.forme));
    a.VisiteFormesCommencant(C(prefixe), [&](const char16_t* u, uint32_t n, uint32_t numero) {
      visite.emplace_back(numero, std::u16string(u, n));
      return true;
    });
    EXPECT_EQ(visite, liste) << essais::U16(C(prefixe)).size();
    EXPECT_FALSE(liste.empty());
  }
  // Exact first, then by rank: accents (rang1) weigh more than case (rang2).
  EXPECT_EQ(cherche(u"ete"), (std::vector<std::u16string>{u"ete", u"été", u"Été"}));
  EXPECT_EQ(cherche(u"été"), (std::vector<std::u16string>{u"été", u"Été", u"ete"}));
  EXPECT_EQ(cherche(u"ETE"), (std::vector<std::u16string>{u"ete", u"Été", u"été"}));
  EXPECT_EQ(cherche(u"paris"), (std::vector<std::u16string>{u"paris", u"Paris"}));
  // Ligatures either way round, and apostrophe variants.
  EXPECT_EQ(cherche(u"coeur"), (std::vector<std::u16string>{u"coeur", u"cœur"}));
  EXPECT_EQ(cherche(u"cœur"), (std::vector<std::u16string>{u"cœur", u"coeur"}));
  EXPECT_EQ(cherche(u"OEUVRE"), (std::vector<std::u16string>{u"œuvre"}));
  EXPECT_EQ(cherche(u"l'ete"), (std::vector<std::u16string>{u"l’été"}));
  // The mask narrows what is tolerated; exact only tolerates nothing.
  EXPECT_EQ(cherche(u"ete", {0, sdd::ChaineN::kMalgrayCasse}), (std::vector<std::u16string>{u"ete"}));
  EXPECT_EQ(cherche(u"Ete", {0, sdd::ChaineN::kMalgrayCasse}), (std::vector<std::u16string>{u"ete"}));
  EXPECT_EQ(cherche(u"coeur", {0, sdd::ChaineN::kMalgrayAccents}), (std::vector<std::u16string>{u"coeur"}));
  EXPECT_EQ(cherche(u"Paris", {AutomateAcycliqueMin::_OptionRecherche::kExactSeulement}),
            (std::vector<std::u16string>{u"Paris"}));
  // Ranks and detail of a found form.
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  a.FormesPour(C(u"ETE"), formes);
  ASSERT_EQ(formes.Taille(), 3u);
  EXPECT_EQ(U16(formes[1].forme), u"Été");  // É/E accent, t/T case, é/E both
  EXPECT_EQ(formes[1].rang1, 2);
  EXPECT_EQ(formes[1].rang2, 2);
  EXPECT_EQ(formes[1].detail, sdd::ChaineN::kMalgrayAccents | sdd::ChaineN::kMalgrayCasse);
  // Non-letters removed with 0x10; the two switches.
  EXPECT_EQ(cherche(u"p.a.r.i.s", {AutomateAcycliqueMin::_OptionRecherche::kEnleveNonAlpha}),
            (std::vector<std::u16string>{u"paris", u"Paris"}));
  EXPECT_TRUE(cherche(u"zut").empty());
  a.MetsRecupereExclamation(true);
  EXPECT_EQ(cherche(u"zut"), (std::vector<std::u16string>{u"zut!"}));
  EXPECT_TRUE(cherche(u"anti").empty());
  a.MetsRecupereTiretPourPrefixes(true);
  EXPECT_EQ(cherche(u"anti"), (std::vector<std::u16string>{u"anti-"}));
  // The callback decides.
  formes.Vide();
  a.FormesPour(C(u"ete"), formes, {}, [](const sdd::RecuperationFormeParams& p) { return p.rang1 == 0; });
  ASSERT_EQ(formes.Taille(), 1u);
  EXPECT_EQ(U16(formes[0].forme), u"ete");
}

TEST(Automate, MotsDeQuatreCentsCaracteres) {
  const std::u16string long400(400, u'x');
  TamponSur t(essais::Compile({long400, u"x"}));
  AutomateAcycliqueMin a(&*t);
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  a.FormesPour(C(long400), formes);
  EXPECT_EQ(formes.Taille(), 1u);
  formes.Vide();
  a.FormesPour(C(long400 + u"x"), formes);
  EXPECT_TRUE(formes.EstVide());
  a.FormesPour(C(long400 + u"x"), formes, {AutomateAcycliqueMin::_OptionRecherche::kCoupeMotsLongs});
  ASSERT_EQ(formes.Taille(), 1u);
  EXPECT_EQ(U16(formes[0].forme), long400);
}

// The whole French list: a perfect hash, the same bytes whatever the part size, and the file
// read back through a mapping gives the compiler's numbers.
TEST(Automate, ListeFrancaise) {
  auto mots = essais::ListeFrancaise();
  ASSERT_GT(mots.size(), 300000u) << "needs the wfrench package";
  std::shuffle(mots.begin(), mots.end(), std::mt19937(1));
  const auto liste = essais::Liste(mots);
  CompilateurAutomateAcycliqueMin c(liste);
  EXPECT_EQ(c.NbEtats(), 42581u);  // OpenFst's minimal acceptor over the same UTF-16 units
  EXPECT_EQ(c.NbTransitions(), 103927u);
  essais::DossierTemporaire dossier;
  const std::string chemin = dossier / "fr.aut";
  {
    sdd::Fichier f(chemin.c_str(), sdd::Fichier::eEcriture);
    c.FormeCompactay(f);
  }
  AutomateAcycliqueMin a{UniChemin(chemin.c_str())};
  ASSERT_EQ(a.NombreDeFormes(), c.Mots().Taille());
  std::vector<bool> vus(a.NombreDeFormes(), false);
  AutomateAcycliqueMin::_Forme f;
  for (const ChaineN& m : c.Mots()) {
    const int64_t n = a.NoPourMot(m);
    ASSERT_EQ(n, c.NoPourMot(m));
    ASSERT_TRUE(n >= 0 && !vus[n]);
    vus[n] = true;
    ASSERT_TRUE(a.FormePourNo(static_cast<uint32_t>(n), f));
    ASSERT_TRUE(f.forme.Egal(m));
  }

  const Octets reference = [&] {
    sdd::TamponMemoire t;
    c.FormeCompactay(t);
    return essais::OctetsDe(t);
  }();
  for (uint64_t partie : {uint64_t{7}, uint64_t{1000000}}) {
    EXPECT_EQ(essais::Compile(mots, 0, partie), reference) << "part size " << partie;
  }
  // Already in order (the sort is skipped) or not: the same bytes.
  std::vector<std::u16string> enOrdre = mots;
  std::sort(enOrdre.begin(), enOrdre.end());
  EXPECT_EQ(essais::Compile(enOrdre), reference);
  // One word per part, on a slice (346,205 parts would mostly measure the pool).
  std::vector<std::u16string> tranche(mots.begin(), mots.begin() + 20000);
  EXPECT_EQ(essais::Compile(tranche, 0, 1), essais::Compile(tranche));
}

}  // namespace

// Every hostile string as a word. A list holding U+0000 (which ends a form in the stored form)
// is refused before anything is written; every other word, lone surrogates, controls and
// 70,000-unit runs included, is a form of the lexicon that its number gives back unit for unit.
TEST(Automate, ChainesHostiles) {
  std::vector<std::u16string> mots;
  for (const std::u16string& s : essais::ChainesHostiles()) {
    if (!s.empty() && !essais::ContientNul(s)) mots.push_back(s);
  }
  EXPECT_THROW(CompilateurAutomateAcycliqueMin(essais::Liste({u"a", std::u16string(1, u'\0')})),
               sdd::exceptions::OperationInvalide);
  TamponSur t(essais::Compile(mots));
  AutomateAcycliqueMin a(&*t);
  const std::set<std::u16string> distincts(mots.begin(), mots.end());
  EXPECT_EQ(a.NombreDeFormes(), distincts.size());
  std::set<int64_t> numeros;
  for (const std::u16string& s : distincts) {
    SCOPED_TRACE(essais::EnHexa(s));
    const int64_t n = a.NoPourMot(C(s));
    ASSERT_GE(n, 0);
    numeros.insert(n);
    AutomateAcycliqueMin::_Forme forme;
    ASSERT_TRUE(a.FormePourNo(static_cast<uint32_t>(n), forme));
    EXPECT_EQ(U16(forme.forme), s);
  }
  EXPECT_EQ(numeros.size(), distincts.size());
}
