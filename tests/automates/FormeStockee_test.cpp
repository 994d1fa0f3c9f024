// The stored form: bytes, headers, versions, address widths, parent links, damaged data.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/Exception.h>

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "automates/Aides.h"
#include "commun/Exceptions.h"

namespace {

using essais::Octets;
using essais::TamponSur;
using sdd::AutomateAcycliqueMin;
using sdd::CompilateurAutomateAcycliqueMin;

// The example of docs/automate.md, worked by hand: le = 0, les = 1, la = 2.
const Octets kLaLeLes = {
    0x02, 0x00, 0x00, 0x00, 0x1E, 0x00, 0x00, 0x00, 0x28, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,  // header
    0x01, 0x00,                                                  // @0 {ε}
    0x03, 0x00, 0x73, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00,  // @2 {ε, s}
    0x04, 0x00, 0x61, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,  // @12 a
    0x65, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00,              //     e
    0x02, 0x00, 0x6C, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x00, 0x00,  // @30 root
};

TEST(FormeStockee, TroisMotsOctetParOctet) {
  EXPECT_EQ(essais::Compile({u"les", u"la", u"le", u"la"}), kLaLeLes);
  TamponSur t(kLaLeLes);
  AutomateAcycliqueMin a(&*t);
  EXPECT_EQ(a.NombreDeFormes(), 3u);
  EXPECT_EQ(a.Version(), 2000);
  EXPECT_EQ(a.PlusGrandCompte(), 2u);
  EXPECT_EQ(a.DonneTailleTotal(), 56u);
  EXPECT_EQ(a.NoPourMot(sdd::ChaineN("le")), 0);
  EXPECT_EQ(a.NoPourMot(sdd::ChaineN("les")), 1);
  EXPECT_EQ(a.NoPourMot(sdd::ChaineN("la")), 2);
  EXPECT_EQ(a.NoPourMot(sdd::ChaineN("l")), -1);
}

// The same automaton behind the other header layouts.
Octets AvecEntete(std::initializer_list<uint8_t> version, bool plusGrandCompte, int largeur) {
  Octets o(version);
  o.insert(o.end(), kLaLeLes.begin() + 4, kLaLeLes.begin() + 12);
  if (plusGrandCompte) o.insert(o.end(), {2, 0, 0, 0});
  if (largeur != 0) o.push_back(static_cast<uint8_t>(largeur));
  o.insert(o.end(), kLaLeLes.begin() + 16, kLaLeLes.end());
  return o;
}

TEST(FormeStockee, VersionsDEntete) {
  struct Cas {
    Octets octets;
    uint64_t entete;
  };
  for (const Cas& c :
       {Cas{AvecEntete({1, 9, 9, 9}, false, 0), 12}, Cas{AvecEntete({2, 0, 0, 0}, true, 0), 16},
        Cas{AvecEntete({2, 1, 0, 0}, true, 3), 17}, Cas{AvecEntete({2, 0, 9, 9}, true, 0), 16}}) {
    TamponSur t(c.octets);
    AutomateAcycliqueMin a(&*t);
    EXPECT_EQ(a.DonneTailleTotal(), c.entete + 40);
    EXPECT_EQ(AutomateAcycliqueMin::DonneTailleTotal(&*t, 0), c.entete + 40);
    EXPECT_EQ(a.NombreDeFormes(), 3u);
    EXPECT_EQ(a.NoPourMot(sdd::ChaineN("la")), 2);
  }
  // Embedded at an offset of a larger stream.
  Octets decale = {0xAA, 0xBB, 0xCC};
  decale.insert(decale.end(), kLaLeLes.begin(), kLaLeLes.end());
  decale.push_back(0xDD);
  TamponSur t(decale);
  EXPECT_EQ(AutomateAcycliqueMin::DonneTailleTotal(&*t, 3), 56u);
  AutomateAcycliqueMin a(&*t, 3);
  EXPECT_EQ(a.NoPourMot(sdd::ChaineN("les")), 1);
}

TEST(FormeStockee, VersionTropRecenteRefusee) {
  for (auto version : {std::initializer_list<uint8_t>{2, 1, 0, 1}, {3, 0, 0, 0}, {9, 9, 9, 9}}) {
    TamponSur t(AvecEntete(version, true, 3));
    EXPECT_SDD_THROW(AutomateAcycliqueMin a(&*t), sdd::exceptions::Exception, "Version trop récente",
                     "La version de l’automate est trop récente pour être lue.");
    EXPECT_SDD_THROW(AutomateAcycliqueMin::DonneTailleTotal(&*t, 0), sdd::exceptions::Exception,
                     "Version trop récente", "La version de l’automate est trop récente pour être lue.");
  }
}

TEST(FormeStockee, LexiqueVideEtUneForme) {
  const Octets vide = essais::Compile({});
  EXPECT_EQ(vide, (Octets{2, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0}));
  TamponSur t(vide);
  AutomateAcycliqueMin a(&*t);
  AutomateAcycliqueMin::_Forme f;
  EXPECT_EQ(a.NombreDeFormes(), 0u);
  EXPECT_FALSE(a.FormePourNo(0, f));
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  a.FormesPour(sdd::ChaineN("a"), formes);
  EXPECT_TRUE(a.FormesCommencant(sdd::ChaineN(""), formes));
  EXPECT_TRUE(a.FormesPourJoker(sdd::ChaineN("*"), formes));
  EXPECT_TRUE(formes.EstVide());

  TamponSur u(essais::Compile({u"seul"}));
  AutomateAcycliqueMin b(&*u);
  EXPECT_EQ(b.NombreDeFormes(), 1u);
  ASSERT_TRUE(b.FormePourNo(0, f));
  EXPECT_EQ(essais::U16(f.forme), u"seul");
  EXPECT_FALSE(b.FormePourNo(1, f));
}

// Into a buffer that already holds bytes, with a serialiser: those bytes stay, the form follows
// them, then every form's record in number order, each framed by its VarElias length; a write
// after it appends.
TEST(FormeStockee, ApresDesOctetsEtAvecEnregistrements) {
  struct NumeroEtTexte : CompilateurAutomateAcycliqueMin::SerialiseurAutomate {
    void Ecris(sdd::TamponMemoire& sortie, const sdd::ChaineN& forme, uint32_t numero) override {
      sdd::SerialiseurVarElias::Ecris(sortie, numero);
      sdd::Serialiseur<std::string>::Ecris(sortie, forme.PreteUTF8());
    }
  };
  const std::vector<std::u16string> mots = {u"les", u"la", u"le", u"lé", u"été", u"étés", u"a"};
  const Octets seul = essais::Compile(mots);
  for (bool parents : {false, true}) {
    CompilateurAutomateAcycliqueMin c(essais::Liste(mots),
                                      parents ? CompilateurAutomateAcycliqueMin::InclureNoeudsParents : 0);
    sdd::TamponMemoire t;
    t.Mets(reinterpret_cast<const uint8_t*>("avant"), 5);
    NumeroEtTexte serialiseur;
    const uint64_t ecrits = c.FormeCompactay(t, &serialiseur);
    t.Mets(uint8_t{0x2A});
    Octets o = essais::OctetsDe(t);
    ASSERT_EQ(o.size(), 5 + ecrits + 1);
    EXPECT_EQ(Octets(o.begin(), o.begin() + 5), (Octets{'a', 'v', 'a', 'n', 't'}));
    EXPECT_EQ(o.back(), 0x2A);
    o.pop_back();
    o.erase(o.begin(), o.begin() + 5);
    const size_t forme = 16 + essais::LisLE(o, 8, 4);
    if (!parents) {
      EXPECT_EQ(Octets(o.begin(), o.begin() + static_cast<ptrdiff_t>(forme)), seul);
    }
    TamponSur lu(o);
    AutomateAcycliqueMin a(&*lu);
    sdd::TamponMemoire enregistrements;
    enregistrements.Mets(o.data() + forme, o.size() - forme);
    enregistrements.PositionneAuDebut();
    for (uint32_t n = 0; n < mots.size(); ++n) {
      uint64_t longueur = 0, numero = 0;
      sdd::SerialiseurVarElias::Lis(enregistrements, &longueur);
      const uint64_t debut = enregistrements.DonnePosition();
      sdd::SerialiseurVarElias::Lis(enregistrements, &numero);
      std::string texte;
      sdd::Serialiseur<std::string>::Lis(enregistrements, &texte);
      EXPECT_EQ(enregistrements.DonnePosition() - debut, longueur);
      EXPECT_EQ(numero, n);
      AutomateAcycliqueMin::_Forme f;
      ASSERT_TRUE(a.FormePourNo(n, f));
      EXPECT_EQ(texte, f.forme.PreteUTF8()) << "record " << n;
    }
    EXPECT_TRUE(enregistrements.EstALaFin());
  }
}

TEST(FormeStockee, LiensVersLesParents) {
  const std::vector<std::u16string> mots = {u"bon", u"don", u"dons", u"bons", u"do", u"a"};
  const Octets sans = essais::Compile(mots);
  const Octets avec = essais::Compile(mots, CompilateurAutomateAcycliqueMin::InclureNoeudsParents);
  uint64_t racine = 0;
  const auto etats = essais::LisEtats(avec, true, &racine);
  // Each state lists exactly the transitions that lead to it, with their source's address.
  std::multiset<std::tuple<uint64_t, char16_t, uint32_t, uint64_t>> entrantes, declarees;
  for (const auto& [adresse, e] : etats) {
    for (const auto& t : e.transitions) {
      EXPECT_LT(t.cible, adresse) << "children are written first";
      entrantes.insert({t.cible, t.car, t.compte, adresse});
    }
    for (const auto& p : e.parents) declarees.insert({adresse, p.car, p.compte, p.cible});
  }
  EXPECT_EQ(entrantes, declarees);
  EXPECT_EQ(etats.count(racine), 1u);
  // The reader does not need the links and numbers the same way.
  TamponSur ta(avec), ts(sans);
  AutomateAcycliqueMin a(&*ta), s(&*ts);
  for (const auto& m : mots)
    EXPECT_EQ(a.NoPourMot(essais::Liste({m})[0]), s.NoPourMot(essais::Liste({m})[0]));
  EXPECT_EQ(a.NombreDeFormes(), 6u);
}

TEST(FormeStockee, FinsCommunesPartagees) {
  // Two words that differ only in their first letter: the root's two transitions meet.
  uint64_t racine = 0;
  const auto etats = essais::LisEtats(essais::Compile({u"bon", u"don"}), false, &racine);
  const auto& r = etats.at(racine);
  ASSERT_EQ(r.transitions.size(), 2u);
  EXPECT_EQ(r.transitions[0].cible, r.transitions[1].cible);
  EXPECT_EQ(etats.size(), 4u);
}

// The form without parent links as the form with them gives it: the same states in the same
// order, the links taken out and the addresses moved up (to 3 bytes when the root then fits).
// The two are written by different walks: the form with links from a layout of the whole
// automaton, the other in one pass.
Octets SansLesParents(const Octets& avec) {
  uint64_t racine = 0;
  const auto etats = essais::LisEtats(avec, true, &racine);
  std::map<uint64_t, uint64_t> nouvelle;
  int largeur = 3;
  for (;; largeur = 4) {
    uint64_t adresse = 0;
    for (const auto& [ancienne, e] : etats) {
      nouvelle[ancienne] = adresse;
      adresse += 2 + e.transitions.size() * (largeur + 5);
    }
    if (largeur == 4 || etats.empty() || nouvelle.at(racine) < (1u << 24)) {
      Octets o = {2, static_cast<uint8_t>(largeur == 3 ? 0 : 1), 0, 0};
      auto mets = [&](uint64_t v, int n) {
        for (int i = 0; i < n; ++i) o.push_back(static_cast<uint8_t>(v >> (8 * i)));
      };
      mets(etats.empty() ? 0xFFFFFFFFu : nouvelle.at(racine), 4);
      mets(adresse, 4);
      mets(essais::LisLE(avec, 12, 4), 4);
      if (largeur == 4) o.push_back(4);
      for (const auto& [ancienne, e] : etats) {
        mets(2 * e.transitions.size() + (e.final ? 1 : 0), 2);
        for (const auto& t : e.transitions) {
          mets(t.car, 2);
          mets(t.compte, 3);
          mets(nouvelle.at(t.cible), largeur);
        }
      }
      return o;
    }
  }
}

TEST(FormeStockee, SansParentsCommeAvecParents) {
  std::mt19937 alea(11);
  auto mots = [&](size_t n, size_t longueur, char16_t lettres) {
    std::vector<std::u16string> v;
    for (size_t i = 0; i < n; ++i) {
      std::u16string m;
      for (size_t k = 1 + alea() % longueur; k > 0; --k)
        m.push_back(static_cast<char16_t>(u'a' + alea() % lettres));
      v.push_back(m);
    }
    return v;
  };
  const uint32_t avec = CompilateurAutomateAcycliqueMin::InclureNoeudsParents;
  for (const auto& liste : {std::vector<std::u16string>{}, std::vector<std::u16string>{u""}, mots(50, 4, 3),
                            mots(3000, 12, 26), mots(20000, 30, 5)}) {
    for (uint64_t partie : {uint64_t{1}, uint64_t{7}, CompilateurAutomateAcycliqueMin::kTaillePartieDefaut}) {
      EXPECT_EQ(essais::Compile(liste, 0, partie), SansLesParents(essais::Compile(liste, avec, partie)))
          << liste.size() << " words, parts of " << partie;
    }
  }
  // The French list in parts of 7 words: merges leave enough states unreachable that the
  // registered ones would not fit in 3 bytes, yet those reached do.
  const auto francais = essais::ListeFrancaise();
  ASSERT_GT(francais.size(), 300000u) << "needs the wfrench package";
  EXPECT_EQ(essais::Compile(francais, 0, 7), SansLesParents(essais::Compile(francais, avec)));
}

// Lexicons whose state area passes 16 MiB need 4-byte addresses: version 2,1,0,0.
TEST(FormeStockee, AdressesSurQuatreOctets) {
  std::mt19937 alea(7);
  std::vector<std::u16string> mots;
  for (int i = 0; i < 200000; ++i) {
    std::u16string m;
    for (int k = 0; k < 16; ++k) m.push_back(static_cast<char16_t>(u'A' + alea() % 58));
    mots.push_back(m);
  }
  CompilateurAutomateAcycliqueMin c(essais::Liste(mots));
  sdd::TamponMemoire t;
  c.FormeCompactay(t);
  const Octets o = essais::OctetsDe(t);
  ASSERT_EQ((Octets(o.begin(), o.begin() + 4)), (Octets{2, 1, 0, 0}));
  EXPECT_EQ(o.at(16), 4);
  EXPECT_GT(essais::LisLE(o, 8, 4), 16u << 20);
  EXPECT_EQ(o, SansLesParents(essais::Compile(mots, CompilateurAutomateAcycliqueMin::InclureNoeudsParents)));
  TamponSur lu(o);
  AutomateAcycliqueMin a(&*lu);
  EXPECT_EQ(a.LargeurAdresse(), 4);
  EXPECT_EQ(a.DonneTailleTotal(), o.size());
  EXPECT_EQ(a.NombreDeFormes(), c.Mots().Taille());
  for (size_t i = 0; i < mots.size(); i += 97) {
    const sdd::ChaineN m = essais::Liste({mots[i]})[0];
    const int64_t n = a.NoPourMot(m);
    ASSERT_EQ(n, c.NoPourMot(m));
    AutomateAcycliqueMin::_Forme f;
    ASSERT_TRUE(a.FormePourNo(static_cast<uint32_t>(n), f));
    EXPECT_EQ(essais::U16(f.forme), mots[i]);
  }
}

// Runs every kind of query; on damaged data each may throw the library's exceptions, nothing
// else, and must never read outside the bytes (the buffer lends exactly them; ASan watches).
void Interroge(AutomateAcycliqueMin& a) {
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  AutomateAcycliqueMin::_Forme f;
  for (uint32_t n = 0; n < 40 && n < a.NombreDeFormes() + 2; ++n) a.FormePourNo(n, f);
  sdd::ListeT<AutomateAcycliqueMin::_Forme> parNumeros;
  a.FormePourNos({5, 3, 0, 1, 200}, parNumeros);
  for (const char* mot : {"abaisse", "zèbre", "ete", "", "œuvre"}) {
    a.NoPourMot(sdd::ChaineN(mot));
    a.FormesPour(sdd::ChaineN(mot), formes);
  }
  a.FormesCommencant(sdd::ChaineN("a"), formes, {}, 50);
  a.FormesPourJoker(sdd::ChaineN("*e?"), formes, 0, 50);
  sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> corrections;
  a.FormesProbabilistes(sdd::ChaineN("abese"), {}, 5, 0, nullptr, corrections);
  uint64_t etats = 0, transitions = 0;
  a.Statistiques(&etats, &transitions);
}

TEST(FormeStockee, DonneesEndommageesRefusees) {
  std::vector<std::u16string> mots = {u"abaisse", u"abaisser", u"abaissé", u"abandon", u"zèbre",   u"zébu",
                                      u"été",     u"œuvre",    u"oeuvre",  u"ete",     u"abbesse", u"abc"};
  for (bool parents : {false, true}) {
    const Octets bon =
        essais::Compile(mots, parents ? CompilateurAutomateAcycliqueMin::InclureNoeudsParents : 0);
    size_t refus = 0;
    auto essaie = [&](const Octets& o) {
      TamponSur t(o);
      try {
        AutomateAcycliqueMin a(&*t);
        Interroge(a);
      } catch (const sdd::exceptions::Exception&) {
        ++refus;
      }
    };
    for (size_t n = 0; n < bon.size(); ++n) essaie(Octets(bon.begin(), bon.begin() + n));
    EXPECT_EQ(refus, bon.size()) << "every truncation is refused at opening";
    for (size_t i = 0; i < bon.size(); ++i) {
      for (uint8_t valeur : {uint8_t(0x00), uint8_t(0xFF), uint8_t(bon[i] ^ 0x01), uint8_t(bon[i] ^ 0x80)}) {
        Octets o = bon;
        o[i] = valeur;
        essaie(o);
      }
    }
  }
}

}  // namespace
