// The string table's searches against the lexicon automaton built from the same words (a
// differential test across the two subsystems: same forms, same ranks), against brute-force
// scans of the list, and the on-disk table against the in-memory one.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/conteneurs/TableChaineSurDisqueNoyau.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/UniCaractere.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "commun/Chaines.h"
#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;

using essais::C;
using essais::U16;

// Every third word of the French list (115,000 words), in a table (payload: its place in the
// list) and in a lexicon.
struct Jeu {
  std::vector<std::u16string> mots;
  TableChaine<uint32_t> table;
  TableChaine<uint32_t> compactee;  // the same after Compacte: some searches walk its index
  TamponMemoire lexique;
  std::unique_ptr<AutomateAcycliqueMin> automate;
};

const Jeu& J() {
  static const Jeu* j = [] {
    auto* x = new Jeu;
    std::ifstream f("/usr/share/dict/french");
    std::string ligne;
    for (size_t i = 0; std::getline(f, ligne); ++i) {
      if (ligne.empty() || i % 3 != 0) continue;
      x->mots.push_back(U16(ChaineN(ligne.c_str(), ChaineN::kCodageUTF8)));
    }
    ListeT<ChaineN> liste;
    for (size_t i = 0; i < x->mots.size(); ++i) {
      x->table.Insere(C(x->mots[i]), static_cast<uint32_t>(i));
      liste.Ajoute(C(x->mots[i]));
    }
    x->compactee = x->table;
    x->compactee.Compacte();
    CompilateurAutomateAcycliqueMin(liste).FormeCompactay(x->lexique);
    x->automate = std::make_unique<AutomateAcycliqueMin>(&x->lexique);
    return x;
  }();
  return *j;
}

// A word with its accents dropped, its case changed, a ligature spelled out or made: the kinds
// of difference the insensitive searches forgive.
std::u16string Variante(const std::u16string& mot, std::mt19937& alea) {
  std::u16string v;
  for (size_t i = 0; i < mot.size(); ++i) {
    char16_t c = mot[i];
    const unsigned tirage = alea() % 10;
    if (tirage == 0) c = UniCaractere::SansAccent(c);
    if (tirage == 1) c = UniCaractere::Majuscule(c);
    if (c == u'œ' && tirage < 5) {
      v += u"oe";
      continue;
    }
    if (c == u'o' && i + 1 < mot.size() && mot[i + 1] == u'e' && tirage < 3) {
      v += u'œ';
      ++i;
      continue;
    }
    v += c;
  }
  return v;
}

using Rangs = std::set<std::tuple<std::u16string, int, int, int>>;

template <typename Liste>
Rangs EnRangs(const Liste& formes) {
  Rangs r;
  for (const auto& f : formes) r.emplace(U16(f.forme), f.rang1, f.rang2, f.detail);
  return r;
}

TEST(TableChaineRecherches, FormesPourCommeLAutomate) {
  const Jeu& j = J();
  std::mt19937 alea(5);
  const AutomateAcycliqueMin::_OptionRecherche options[] = {
      {}, {OptionRecherche::kExactSeulement}, {0, ChaineN::kMalgrayAccents | ChaineN::kMalgrayCasse}};
  for (int i = 0; i < 3000; ++i) {
    const std::u16string mot = Variante(j.mots[alea() % j.mots.size()], alea);
    for (const auto& o : options) {
      ListeC<AutomateAcycliqueMin::_Forme> a;
      j.automate->FormesPour(C(mot), a, o);
      ListeC<TableChaineNoyau::_Forme> t;
      j.table.FormesPour(C(mot), o, 0, t);
      ASSERT_EQ(EnRangs(t), EnRangs(a)) << Utf8(C(mot));
      // The same order of ranks (ties aside: the automaton breaks them by number, the table by
      // key), and every payload the key's own.
      for (size_t k = 1; k < t.Taille(); ++k) {
        ASSERT_LE(std::make_pair(t[k - 1].rang1, t[k - 1].rang2), std::make_pair(t[k].rang1, t[k].rang2));
      }
      for (const auto& f : t) ASSERT_EQ(j.mots[TableChaine<uint32_t>::DonneCharge(f)], U16(f.forme));
    }
  }
}

TEST(TableChaineRecherches, PrefixesJokersEtCorrectionsCommeLAutomate) {
  const Jeu& j = J();
  std::mt19937 alea(6);
  for (int i = 0; i < 150; ++i) {
    const std::u16string mot = j.mots[alea() % j.mots.size()];
    const std::u16string prefixe =
        Variante(mot.substr(0, std::min<size_t>(mot.size(), 2 + alea() % 4)), alea);
    ListeC<AutomateAcycliqueMin::_Forme> a;
    j.automate->FormesCommencant(C(prefixe), a);
    ListeC<TableChaineNoyau::_Forme> t;
    j.table.FormesCommencant(C(prefixe), {}, 0, t);
    ASSERT_EQ(EnRangs(t), EnRangs(a)) << Utf8(C(prefixe));

    // A joker pattern from the word: a "?" and a "*" in it.
    std::u16string motif = mot;
    if (motif.size() > 3) {
      motif[alea() % motif.size()] = u'?';
      const size_t p = alea() % motif.size();
      motif = motif.substr(0, p) + u"*" + motif.substr(std::min(motif.size(), p + 1 + alea() % 3));
    }
    for (uint32_t parametre : {0u, 0x10u, 0x0Fu}) {
      a.Vide();
      t.Vide();
      j.automate->FormesPourJoker(C(motif), a, parametre);
      for (const TableChaine<uint32_t>* table : {&j.table, &j.compactee}) {
        t.Vide();
        table->FormesPourJoker(C(motif), 0, parametre, t);
        ASSERT_EQ(EnRangs(t), EnRangs(a)) << Utf8(C(motif)) << " " << parametre;
        for (const auto& f : t) ASSERT_EQ(j.mots[TableChaine<uint32_t>::DonneCharge(f)], U16(f.forme));
      }
    }

    // A typing mistake: every correction within two ordinary ones, at the same cost.
    std::u16string faute = mot;
    if (faute.size() > 2) faute.erase(alea() % faute.size(), 1);
    ListeC<AutomateAcycliqueMin::_FormeProbabiliste> pa;
    j.automate->FormesProbabilistes(C(faute), {}, 0, 20, nullptr, pa);
    ListeC<TableChaineNoyau::_FormeProbabiliste> pt;
    j.table.FormesProbabilistes(C(faute), {}, 0, 20, pt);
    std::set<std::pair<std::u16string, uint32_t>> ca, ct;
    for (const auto& f : pa) ca.emplace(U16(f.forme), f.cout);
    for (const auto& f : pt) ct.emplace(U16(f.forme), f.cout);
    ASSERT_EQ(ct, ca) << Utf8(C(faute));
    for (size_t k = 1; k < pt.Taille(); ++k) ASSERT_LE(pt[k - 1].cout, pt[k].cout);
  }
}

// "*" and "?" as plain globs (with 0x10, jokers stand for any character).
bool Glob(const std::u16string& motif, size_t i, const std::u16string& mot, size_t j) {
  if (i == motif.size()) return j == mot.size();
  if (motif[i] == u'*') return Glob(motif, i + 1, mot, j) || (j < mot.size() && Glob(motif, i, mot, j + 1));
  return j < mot.size() && (motif[i] == u'?' || motif[i] == mot[j]) && Glob(motif, i + 1, mot, j + 1);
}

TEST(TableChaineRecherches, JokersContreUnBalayage) {
  const Jeu& j = J();
  for (const std::u16string motif : {u"c?e*r", u"*tion", u"anti*ment", u"??", u"*é*é*é*", u"a*b*c*d"}) {
    std::vector<std::u16string> attendus;
    for (const auto& m : j.mots)
      if (Glob(motif, 0, m, 0)) attendus.push_back(m);
    std::sort(attendus.begin(), attendus.end());
    for (const TableChaine<uint32_t>* table : {&j.table, &j.compactee}) {
      ListeC<TableChaineNoyau::_Forme> t;
      EXPECT_TRUE(table->FormesPourJoker(C(motif), 0, 0x10, t));
      std::vector<std::u16string> trouves;
      for (const auto& f : t) trouves.push_back(U16(f.forme));
      EXPECT_EQ(trouves, attendus) << Utf8(C(motif));
      // A limit gives the head, in tree order.
      if (attendus.size() > 3) {
        t.Vide();
        EXPECT_FALSE(table->FormesPourJoker(C(motif), 3, 0x10, t));
        ASSERT_EQ(t.Taille(), 3u);
        EXPECT_EQ(U16(t[2].forme), attendus[2]);
      }
    }
  }
}

// Letters as the anagram search compares them by default: no case, accent or variant, a
// ligature as its two letters; sorted.
std::u16string Signature(const std::u16string& mot) {
  std::u16string s;
  for (char16_t c : mot) {
    if (c == u'œ' || c == u'Œ') {
      s += u"oe";
    } else if (c == u'æ' || c == u'Æ') {
      s += u"ae";
    } else {
      s += UniCaractere::SansAccent(UniCaractere::Minuscule(UniCaractere::Variante(c)));
    }
  }
  std::sort(s.begin(), s.end());
  return s;
}

TEST(TableChaineRecherches, AnagrammesContreUnBalayage) {
  const Jeu& j = J();
  std::vector<std::u16string> signatures;
  for (const auto& m : j.mots) signatures.push_back(Signature(m));
  std::mt19937 alea(8);
  for (int i = 0; i < 40; ++i) {
    std::u16string mot = j.mots[alea() % j.mots.size()];
    std::shuffle(mot.begin(), mot.end(), alea);
    const std::u16string signature = Signature(mot);
    std::vector<std::u16string> attendus;
    for (size_t k = 0; k < j.mots.size(); ++k)
      if (signatures[k] == signature) attendus.push_back(j.mots[k]);
    std::sort(attendus.begin(), attendus.end());
    ListeC<TableChaineNoyau::_Forme> t;
    j.table.FormesPourAnagrammes(C(mot), {}, 0, t);
    std::vector<std::u16string> trouves;
    for (const auto& f : t) trouves.push_back(U16(f.forme));
    ASSERT_EQ(trouves, attendus) << Utf8(C(mot));
  }
  // Some of the letters: every word whose letters the query holds.
  const std::u16string lettres = u"ecrits";
  ListeC<TableChaineNoyau::_Forme> t;
  j.table.FormesPourAnagrammes(C(lettres), {OptionRecherche::kSousAnagrammes}, 0, t);
  std::set<std::u16string> trouves;
  for (const auto& f : t) trouves.insert(U16(f.forme));
  for (size_t k = 0; k < j.mots.size(); ++k) {
    const std::u16string& m = j.mots[k];
    std::u16string reste = Signature(lettres);
    bool inclus = true;
    for (char16_t c : signatures[k]) {
      const auto p = reste.find(c);
      if (p == std::u16string::npos) {
        inclus = false;
        break;
      }
      reste.erase(p, 1);
    }
    ASSERT_EQ(trouves.count(m) == 1, inclus) << Utf8(C(m));
  }
}

TEST(TableChaineRecherches, SurDisqueEtCompacteeCommeEnMemoire) {
  const Jeu& j = J();
  std::mt19937 alea(9);
  const TableChaine<uint32_t>& compactee = j.compactee;
  ASSERT_TRUE(compactee.EstCompacte());
  for (uint16_t version : {TableChaineNoyau::kVersionTableTrie, TableChaineNoyau::kVersionTableTrie100}) {
    TamponMemoire b(8);
    b.Mets(uint8_t{0xAB});  // not at the stream's start
    j.table.Ecris(b, version);
    TableChaineSurDisque<uint32_t> disque(&b, 1);
    EXPECT_EQ(disque.Taille(), j.table.Taille());
    EXPECT_EQ(disque.DonneTailleTotal() + 1, b.Taille());
    for (size_t i = 0; i < j.mots.size(); i += 7) {
      uint32_t charge = 0;
      ASSERT_TRUE(disque.Trouve(C(j.mots[i]), &charge));
      ASSERT_EQ(charge, i);
      // Near misses: one more letter, one less, one changed.
      for (std::u16string proche :
           {j.mots[i] + u"x", j.mots[i].substr(0, j.mots[i].size() - 1), Variante(j.mots[i], alea)}) {
        ASSERT_EQ(disque.Possede(C(proche)), j.table.Possede(C(proche))) << Utf8(C(proche));
        ASSERT_EQ(compactee.Possede(C(proche)), j.table.Possede(C(proche))) << Utf8(C(proche));
      }
      const uint32_t* trouvee = compactee.Trouve(C(j.mots[i]));
      ASSERT_TRUE(trouvee != nullptr && *trouvee == i);
    }
    EXPECT_FALSE(disque.Possede(ChaineN("")));
  }
  // The empty key is the root's key-end bit; a proper prefix of a key is no key.
  TableChaine<uint32_t> petite;
  petite.Insere(ChaineN("chaton"), 1);
  petite.Insere(ChaineN(""), 2);
  for (uint16_t version : {TableChaineNoyau::kVersionTableTrie, TableChaineNoyau::kVersionTableTrie100}) {
    TamponMemoire b;
    petite.Ecris(b, version);
    const TableChaineSurDisque<uint32_t> disque(&b);
    uint32_t charge = 0;
    EXPECT_TRUE(disque.Trouve(ChaineN(""), &charge));
    EXPECT_EQ(charge, 2u);
    EXPECT_FALSE(disque.Possede(ChaineN("chat")));
    EXPECT_TRUE(disque.Possede(ChaineN("chaton")));
  }
}

// Lookups in place bring their own readers, and the searches of a table that nobody changes
// only read it (the time limit's clock included): threads share both without a lock. Run under
// ThreadSanitizer too.
TEST(TableChaineRecherches, LecturesConcurrentes) {
  TableChaine<uint32_t> t;
  std::vector<std::u16string> mots;
  std::mt19937 alea(5);
  for (int i = 0; i < 3000; ++i) {
    std::u16string m;
    for (unsigned n = 1 + alea() % 8; n > 0; --n) m += u"aeéiorstœ"[alea() % 9];
    if (t.Insere(C(m), static_cast<uint32_t>(mots.size()))) mots.push_back(m);
  }
  TamponMemoire b;
  t.Ecris(b);
  const TableChaineSurDisque<uint32_t> disque(&b);
  const TableChaine<uint32_t>& table = t;
  std::vector<int> fautes(4, 0);
  std::vector<std::thread> fils;
  for (int f = 0; f < 4; ++f) {
    fils.emplace_back([&, f] {
      for (size_t i = static_cast<size_t>(f); i < mots.size(); i += 4) {
        uint32_t v = 0;
        fautes[f] += !disque.Trouve(C(mots[i]), &v) || v != i;
        fautes[f] += disque.Possede(C(mots[i] + u"z"));
        ListeC<TableChaineNoyau::_Forme> formes;
        table.FormesCommencant(C(mots[i].substr(0, 1)), OptionRecherche(OptionRecherche::kTempsLimite), 5,
                               formes);
        fautes[f] += formes.Taille() == 0;
        formes.Vide();
        table.FormesPour(C(mots[i]), {}, 0, formes);
        fautes[f] += formes.Taille() == 0;
      }
    });
  }
  for (auto& f : fils) f.join();
  EXPECT_EQ(fautes, std::vector<int>(4, 0));
}

TEST(TableChaineRecherches, SurDisqueEndommage) {
  TableChaine<uint32_t> t;
  for (const char* m : {"la", "le", "les", "été", "œuvre", "chat", "chaton", ""}) t.Insere(ChaineN(m), 7);
  TamponMemoire b;
  t.Ecris(b);
  const Octets bon = OctetsDe(b);
  auto essaie = [&](const Octets& o) {
    TamponSur lu(o);
    try {
      TableChaineSurDisque<uint32_t> d(&*lu);
      for (const char* m : {"la", "le", "les", "été", "œuvre", "chat", "chaton", "", "x", "chatons"}) {
        try {
          uint32_t v = 0;
          d.Trouve(ChaineN(m), &v);
        } catch (const exceptions::TableNonValide&) {
        }
      }
    } catch (const exceptions::Exception&) {
    }
  };
  for (size_t n = 0; n < bon.size(); ++n) essaie(Octets(bon.begin(), bon.begin() + n));
  for (size_t i = 0; i < bon.size(); ++i) {
    for (uint8_t v : {uint8_t(0), uint8_t(0xFF), uint8_t(bon[i] ^ 1), uint8_t(bon[i] ^ 0x80)}) {
      Octets o = bon;
      o[i] = v;
      essaie(o);
    }
  }
  // The root whose child is itself: refused, not walked forever.
  TamponSur boucle(Octets{0x6E, 0x00, 0x01, 0x00, 0x00, 0x00, 0x80, 0x84, 0x00, 0x04, 0x80, 0x00});
  TableChaineSurDisqueNoyau d(&*boucle);
  EXPECT_SDD_THROW(d.Possede(ChaineN("a")), exceptions::TableNonValide, "Table non valide",
                   "Boucle dans la structure de chaines");
  TamponSur version(Octets{0x6F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80, 0x81, 0x00});
  EXPECT_SDD_THROW(TableChaineSurDisqueNoyau{&*version}, exceptions::TableNonValide, "Table non valide",
                   "Version non gérée");
}

}  // namespace
}  // namespace sdd
