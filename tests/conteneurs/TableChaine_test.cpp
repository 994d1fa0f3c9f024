// The string table's tree: splits and merges as worked by hand, a random differential run
// against std::map, surrogate pairs, deep and wide trees, and the serialised form (hand-worked
// bytes, versions 100 and 110, damage refused).
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/conteneurs/TableChaineSurDisqueNoyau.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "commun/Chaines.h"
#include "commun/ChainesHostiles.h"
#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;

using essais::C;
using essais::U16;
std::string Dump(const TableChaineNoyau& t) { return t.RepresentationLineaire().Encode(); }

// A table that shows its core's protected insertion, as the tests need it.
class TableOuverte : public TableChaine<uint32_t> {
 public:
  using TableChaineNoyau::TrouveEmplacementEtInsere;
};

TEST(TableChaine, ScissionsEtFusions) {
  TableOuverte t;
  t.Insere(ChaineN("abc"), 1);
  t.Insere(ChaineN("abd"), 2);
  EXPECT_EQ(Dump(t), "[ab[c*,d*]]");
  EXPECT_TRUE(t.Supprime(ChaineN("abd")));
  EXPECT_EQ(Dump(t), "[abc*]") << "ab and c merge back";
  EXPECT_EQ(*t.Trouve(ChaineN("abc")), 1u) << "the payload follows the merge";
  EXPECT_FALSE(t.Supprime(ChaineN("abd")));
  EXPECT_FALSE(t.Supprime(ChaineN("ab")));
  EXPECT_EQ(t.Taille(), 1u);

  // An existing key: its node, present, the count unchanged.
  bool present = false;
  const auto* n = t.TrouveEmplacementEtInsere(ChaineN("abc"), &present);
  EXPECT_TRUE(present);
  EXPECT_EQ(t.Taille(), 1u);
  EXPECT_EQ(n->Cars(), ChaineN("abc"));
  EXPECT_FALSE(t.Insere(ChaineN("abc"), 9));
  EXPECT_EQ(*t.Trouve(ChaineN("abc")), 1u) << "Insere keeps the payload of a present key";

  // A split whose new leaf sorts before the rest of the fragment: children stay ascending.
  t.Insere(ChaineN("aba"), 3);
  EXPECT_EQ(Dump(t), "[ab[a*,c*]]");
  t.Insere(ChaineN("ab"), 4);
  EXPECT_EQ(Dump(t), "[ab*[a*,c*]]");
  t.Insere(ChaineN(""), 5);
  EXPECT_EQ(Dump(t), "*[ab*[a*,c*]]");
  EXPECT_TRUE(t.Possede(ChaineN("")));
  EXPECT_FALSE(t.Possede(ChaineN("a")));
  EXPECT_TRUE(t.Supprime(ChaineN("ab")));
  EXPECT_EQ(Dump(t), "*[ab[a*,c*]]") << "two children: the key end goes, the node stays";
  EXPECT_TRUE(t.Supprime(ChaineN("aba")));
  EXPECT_EQ(Dump(t), "*[abc*]") << "a leaf goes; its parent merges with the last child";
  t.Vide();
  EXPECT_EQ(t.Taille(), 0u);
  EXPECT_EQ(Dump(t), "");
}

// Random inserts, deletes and lookups against std::map, over a small alphabet so that keys share
// prefixes; iteration gives the map's order (all units here are below the surrogates).
// A payload node derived exactly as documented: the payload and the four operations CopieCharge,
// Cree, EcrisCharge and LisCharge, nothing more (TableChaine also overrides EchangeCharge).
class TableDocumentee : public TableChaineNoyau {
  class _Noeud final : public Noeud {
   public:
    explicit _Noeud(const ChaineN& cars = ChaineN()) : Noeud(cars) {}
    uint32_t charge = 0;

   protected:
    void CopieCharge(const Noeud& autre) override { charge = static_cast<const _Noeud&>(autre).charge; }
    Noeud* Cree(const ChaineN& cars) const override { return new _Noeud(cars); }
    void EcrisCharge(FluxSortie& sortie) const override { Serialiseur<uint32_t>::Ecris(sortie, charge); }
    void LisCharge(FluxEntree& entree) override { Serialiseur<uint32_t>::Lis(entree, &charge); }
  };

 public:
  TableDocumentee() : TableChaineNoyau(new _Noeud) {}
  bool Insere(const ChaineN& clef, uint32_t charge) {
    bool present = false;
    auto* n = static_cast<_Noeud*>(TrouveEmplacementEtInsere(clef, &present));
    if (!present) n->charge = charge;
    return !present;
  }
  uint32_t& operator[](const ChaineN& clef) {
    bool present = false;
    return static_cast<_Noeud*>(TrouveEmplacementEtInsere(clef, &present))->charge;
  }
  const uint32_t* Trouve(const ChaineN& clef) const {
    const Noeud* n = TrouveEmplacement(clef);
    return n != nullptr ? &static_cast<const _Noeud*>(n)->charge : nullptr;
  }
  void Ecris(FluxSortie& sortie) const { Serialiseur<TableChaineNoyau>::Ecris(sortie, *this); }
  void Lis(FluxEntree& entree) { Serialiseur<TableChaineNoyau>::Lis(entree, this); }
};

// Random insertions, payload writes through [] (a new key starts from a fresh payload),
// deletions and lookups, against std::map: every split, merge and deletion keeps each key's
// payload; so do a copy and a serialised copy.
template <typename Table>
void DifferentielContreStdMap(uint32_t graine) {
  std::mt19937 alea(graine);
  const std::u16string alphabet = u"abcéèœ-";
  for (int essai = 0; essai < 20; ++essai) {
    Table t;
    std::map<std::u16string, uint32_t> modele;
    for (int op = 0; op < 3000; ++op) {
      std::u16string clef;
      const unsigned n = alea() % 7;
      for (unsigned k = 0; k < n; ++k) clef += alphabet[alea() % alphabet.size()];
      const uint32_t v = alea();
      switch (alea() % 5) {
        case 0: {
          const bool nouvelle = t.Insere(C(clef), v);
          ASSERT_EQ(nouvelle, modele.emplace(clef, v).second) << essai << " " << op;
          if constexpr (std::is_same_v<Table, TableChaine<uint32_t>>) {
            if (nouvelle) {
              ASSERT_FALSE(t.EstCompacte()) << "a new key drops the lookup index";
            }
          }
          break;
        }
        case 1: {
          uint32_t& charge = t[C(clef)];
          ASSERT_EQ(charge, modele[clef]) << essai << " " << op;  // 0 for a new key
          charge = v;
          modele[clef] = v;
          break;
        }
        case 2: ASSERT_EQ(t.Supprime(C(clef)), modele.erase(clef) == 1) << essai << " " << op; break;
        default: {
          const uint32_t* trouve = t.Trouve(C(clef));
          const auto it = modele.find(clef);
          ASSERT_EQ(trouve != nullptr, it != modele.end());
          if (trouve != nullptr) {
            ASSERT_EQ(*trouve, it->second);
          }
        }
      }
      ASSERT_EQ(t.Taille(), modele.size());
      if constexpr (std::is_same_v<Table, TableChaine<uint32_t>>) {
        // Laying the nodes out again changes neither the keys, nor their payloads, nor the
        // shape; the table goes on changing afterwards.
        if (op % 700 == 699) {
          const std::string avant = Dump(t);
          t.Compacte();
          ASSERT_TRUE(t.EstCompacte());
          ASSERT_EQ(Dump(t), avant);
        }
      }
    }
    for (const auto& [clef, charge] : modele) ASSERT_EQ(*t.Trouve(C(clef)), charge);
    if constexpr (std::is_same_v<Table, TableChaine<uint32_t>>) {
      auto it = modele.begin();
      for (const auto& [clef, charge] : t) {
        ASSERT_NE(it, modele.end());
        ASSERT_EQ(U16(clef), it->first);
        ASSERT_EQ(charge, it->second);
        ++it;
      }
      EXPECT_EQ(it, modele.end());
    }
    // A copy is deep and equal; a serialised copy too.
    Table copie = t;
    t[C(u"zz")] = 1;
    EXPECT_EQ(copie.Taille(), modele.size());
    EXPECT_EQ(copie.Trouve(C(u"zz")), nullptr);
    TamponMemoire b;
    copie.Ecris(b);
    Table relue;
    b.Positionne(0);
    relue.Lis(b);
    EXPECT_EQ(Dump(relue), Dump(copie));
    for (const auto& [clef, charge] : modele) ASSERT_EQ(*relue.Trouve(C(clef)), charge);
  }
}

TEST(TableChaine, DifferentielContreStdMap) { DifferentielContreStdMap<TableChaine<uint32_t>>(99); }

TEST(TableChaine, NoeudDeriveCommeDocumenteGardeSesCharges) {
  TableDocumentee t;
  t.Insere(ChaineN("abc"), 1);
  t.Insere(ChaineN("abd"), 2);  // abc splits: its payload moves to the new node "c"
  EXPECT_EQ(Dump(t), "[ab[c*,d*]]");
  EXPECT_EQ(*t.Trouve(ChaineN("abc")), 1u);
  EXPECT_EQ(t.Trouve(ChaineN("ab")), nullptr);  // a node, but no key end
  EXPECT_EQ(t[ChaineN("ab")], 0u);              // a new key: a fresh payload, not abc's
  t[ChaineN("ab")] = 3;
  EXPECT_TRUE(t.Supprime(ChaineN("ab")));  // two children: the bit goes, and the payload
  EXPECT_EQ(t[ChaineN("ab")], 0u);
  EXPECT_TRUE(t.Supprime(ChaineN("ab")));
  EXPECT_TRUE(t.Supprime(ChaineN("abd")));  // ab and c merge back
  EXPECT_EQ(Dump(t), "[abc*]");
  EXPECT_EQ(*t.Trouve(ChaineN("abc")), 1u);
  DifferentielContreStdMap<TableDocumentee>(7);
}

// Keys beyond the basic plane share a high surrogate: no split between the halves of a pair,
// children ordered by code point, and the serialised form reads back.
TEST(TableChaine, PairesDeSubstitution) {
  const std::u16string sourire = u"\U0001F600", clin = u"\U0001F609", prive = u"\uE000", a = u"a";
  TableChaine<> t;
  for (const auto& k : {sourire + a, clin + a, prive, sourire}) t.Insere(C(k));
  // U+E000 sorts before U+1F600 by code point (not by UTF-16 unit).
  std::vector<std::u16string> ordre;
  for (const auto& [clef, charge] : t) ordre.push_back(U16(clef));
  EXPECT_EQ(ordre, (std::vector<std::u16string>{prive, sourire, sourire + a, clin + a}));
  for (const TableChaineNoyau::Noeud* n = t.Racine()->PremierEnfant(); n != nullptr; n = n->Suivant()) {
    EXPECT_FALSE(n->Cars().Longueur() == 1 && n->Cars().DonneUnites()[0] >= 0xD800 &&
                 n->Cars().DonneUnites()[0] < 0xDC00)
        << "a lone high surrogate as a fragment";
  }
  TamponMemoire b;
  t.Ecris(b);
  TableChaine<> relue;
  b.Positionne(0);
  relue.Lis(b);
  EXPECT_EQ(Dump(relue), Dump(t));
  // The lookup index compares code points as the tree does.
  relue.Compacte();
  for (const auto& k : {sourire + a, clin + a, prive, sourire}) EXPECT_TRUE(relue.Possede(C(k)));
  for (const auto& k : {clin, sourire + a + a, std::u16string(1, sourire[0]), std::u16string(u"\uE000a")})
    EXPECT_FALSE(relue.Possede(C(k)));
  // A key with a lone surrogate cannot be written in UTF-8: refused, not garbled.
  t.Insere(C(u"x\xD800"));
  TamponMemoire c;
  EXPECT_THROW(t.Ecris(c), exceptions::OperationInvalide);
}

// 8,000 nested keys (a, aa, aaa, …) and 2,000 children of one node: copies, iteration,
// serialisation and destruction run without recursion.
TEST(TableChaine, ArbresProfondsEtLarges) {
  TableChaine<> profond;
  std::u16string k;
  for (int i = 0; i < 8000; ++i) profond.Insere(C(k += u'a'));
  TableChaine<> large;
  for (char16_t c = 0x4E00; c < 0x4E00 + 2000; ++c) large.Insere(C(std::u16string(1, c)));
  for (TableChaine<>* t : {&profond, &large}) {
    const TableChaine<> copie = *t;
    uint64_t n = 0;
    for (auto it = copie.begin(); it != copie.end(); ++it) ++n;
    EXPECT_EQ(n, t->Taille());
    TamponMemoire b;
    t->Ecris(b);
    TableChaine<> relue;
    b.Positionne(0);
    relue.Lis(b);
    EXPECT_EQ(relue.Taille(), t->Taille());
  }
  EXPECT_THROW(profond.Insere(C(std::u16string(70000, u'b'))), exceptions::OperationInvalide);
}

// docs/table_chaine.md: la → 1, le → 2, les → 3, with one-byte payloads.
TEST(TableChaine, FormeSerialiseeALOctetPres) {
  TableChaine<unsigned char> t;
  t.Insere(ChaineN("la"), 1);
  t.Insere(ChaineN("le"), 2);
  t.Insere(ChaineN("les"), 3);
  EXPECT_EQ(Dump(t), "[l[a*,e*[s*]]]");
  const Octets v110{0x6E, 0x00, 0x03, 0x00, 0x00, 0x00, 0x92, 0x95, 0x73, 0x00, 0x02, 0x03, 0x65, 0x00, 0x06,
                    0x80, 0x02, 0x61, 0x00, 0x0A, 0x84, 0x01, 0x6C, 0x00, 0x04, 0x89, 0x00, 0x04, 0x8E};
  TamponMemoire b;
  t.Ecris(b);
  EXPECT_EQ(OctetsDe(b), v110);
  // Version 100: the same records with 8-byte positions.
  TamponMemoire c;
  t.Ecris(c, TableChaineNoyau::kVersionTableTrie100);
  const Octets o100 = OctetsDe(c);
  ASSERT_EQ(o100.size(), 57u);
  EXPECT_EQ(Octets(o100.begin(), o100.begin() + 8), (Octets{0x64, 0x00, 0x03, 0x00, 0x00, 0x00, 0xA7, 0xB1}));
  EXPECT_EQ(Octets(o100.begin() + 12, o100.begin() + 24),
            (Octets{0x65, 0x00, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02}));
  for (const Octets& o : {v110, o100}) {
    TamponSur lu(o);
    TableChaine<unsigned char> r;
    r.Lis(*lu);
    EXPECT_EQ(Dump(r), Dump(t));
    EXPECT_EQ(*r.Trouve(ChaineN("les")), 3);
    EXPECT_TRUE(lu->EstALaFin());
  }
}

TEST(TableChaine, FormeSerialiseeEndommagee) {
  TableChaine<uint32_t> t;
  for (const char* m : {"la", "le", "les", "été", "œuvre", "chat", "chaton"}) t.Insere(ChaineN(m), 7);
  TamponMemoire b;
  t.Ecris(b);
  const Octets bon = OctetsDe(b);
  auto lis = [](const Octets& o) {
    TamponSur lu(o);
    TableChaine<uint32_t> r;
    r.Insere(ChaineN("avant"), 1);
    try {
      r.Lis(*lu);
    } catch (const exceptions::Exception&) {
      EXPECT_EQ(r.Taille(), 1u) << "a refused stream leaves the table as it was";
      EXPECT_NE(r.Trouve(ChaineN("avant")), nullptr);
      return false;
    }
    return true;
  };
  for (size_t n = 0; n < bon.size(); ++n) EXPECT_FALSE(lis(Octets(bon.begin(), bon.begin() + n))) << n;
  for (size_t i = 0; i < bon.size(); ++i) {
    for (uint8_t v : {uint8_t(0), uint8_t(0xFF), uint8_t(bon[i] ^ 1), uint8_t(bon[i] ^ 0x80)}) {
      Octets o = bon;
      o[i] = v;
      lis(o);
    }
  }
  Octets version = bon;
  version[0] = 111;
  TamponSur lv(version);
  TableChaine<uint32_t> r;
  EXPECT_SDD_THROW(r.Lis(*lv), exceptions::TableNonValide, "Table non valide", "Version non gérée");
  // A record naming its ancestor: the root (written last, at 12) whose child is itself.
  const Octets boucle{0x6E, 0x00, 0x01, 0x00, 0x00, 0x00, 0x80, 0x84, 0x00, 0x04, 0x80, 0x00};
  TamponSur lb(boucle);
  EXPECT_SDD_THROW(r.Lis(*lb), exceptions::TableNonValide, "Table non valide",
                   "Boucle dans la structure de chaines");
}

}  // namespace
}  // namespace sdd

namespace sdd {
namespace {

// Every hostile string as a key: in memory every one is kept exactly (a key over 65,535 units
// is refused); the serialised form, in both versions, refuses a table with a key it cannot
// carry (a lone surrogate, U+0000) before writing a byte, and gives every other key back with its
// payload, loaded or read in place.
TEST(TableChaine, ChainesHostiles) {
  const std::vector<std::u16string> chaines = essais::ChainesHostiles();
  TableChaine<uint32_t> toutes, ecrivables;
  for (uint32_t i = 0; i < chaines.size(); ++i) {
    const std::u16string& s = chaines[i];
    SCOPED_TRACE(essais::EnHexa(s));
    if (s.size() > TableChaineNoyau::kLongueurMaxClef) {
      EXPECT_THROW(toutes.Insere(C(s), i), exceptions::OperationInvalide);
      continue;
    }
    toutes.Mets(C(s), i);
    if (!essais::ContientNul(s) && !essais::ASubstitutIsole(s)) ecrivables.Mets(C(s), i);
  }
  std::map<std::u16string, uint32_t> attendues;
  for (uint32_t i = 0; i < chaines.size(); ++i) {
    if (chaines[i].size() <= TableChaineNoyau::kLongueurMaxClef) attendues[chaines[i]] = i;
  }
  ASSERT_EQ(toutes.Taille(), attendues.size());
  for (const auto& [s, i] : attendues) ASSERT_EQ(*toutes.Trouve(C(s)), i) << essais::EnHexa(s);

  for (const uint16_t version :
       {TableChaineNoyau::kVersionTableTrie, TableChaineNoyau::kVersionTableTrie100}) {
    TamponMemoire refusee;
    EXPECT_THROW(toutes.Ecris(refusee, version), exceptions::OperationInvalide);
    EXPECT_EQ(refusee.Taille(), 0u);

    TamponMemoire b;
    ecrivables.Ecris(b, version);
    b.Positionne(0);
    TableChaine<uint32_t> relue;
    relue.Lis(b);
    const TableChaineSurDisque<uint32_t> surDisque(&b, 0);
    EXPECT_EQ(relue.Taille(), ecrivables.Taille());
    EXPECT_EQ(surDisque.Taille(), ecrivables.Taille());
    std::size_t vues = 0;
    for (const auto& [s, i] : attendues) {
      if (essais::ContientNul(s) || essais::ASubstitutIsole(s)) continue;
      SCOPED_TRACE(essais::EnHexa(s));
      ++vues;
      ASSERT_NE(relue.Trouve(C(s)), nullptr);
      EXPECT_EQ(*relue.Trouve(C(s)), i);
      uint32_t charge = 0;
      EXPECT_TRUE(surDisque.Trouve(C(s), &charge));
      EXPECT_EQ(charge, i);
    }
    EXPECT_EQ(vues, ecrivables.Taille());
  }
}

}  // namespace
}  // namespace sdd
