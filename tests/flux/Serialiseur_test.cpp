#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <random>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;

Octets VarElias(uint64_t v) {
  TamponMemoire t;
  SerialiseurVarElias::Ecris(t, v);
  return OctetsDe(t);
}

uint64_t RelisVarElias(const Octets& octets) {
  TamponSur t(octets);
  uint64_t v = 0;
  SerialiseurVarElias::Lis(*t, &v);
  EXPECT_TRUE(t->EstALaFin());
  return v;
}

TEST(SerialiseurVarElias, ExemplesALOctetPres) {
  EXPECT_EQ(VarElias(0), (Octets{0x80}));
  EXPECT_EQ(VarElias(127), (Octets{0xFF}));
  EXPECT_EQ(VarElias(128), (Octets{0x40, 0x00}));
  EXPECT_EQ(VarElias(300), (Octets{0x40, 0xAC}));
  EXPECT_EQ(VarElias(16511), (Octets{0x7F, 0xFF}));
  EXPECT_EQ(VarElias(16512), (Octets{0x20, 0x00, 0x00}));
  // The last value: eight bytes, a lone marker bit then 56 one bits.
  EXPECT_EQ(VarElias(SerialiseurVarElias::kValeurMax - 1),
            (Octets{0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(SerialiseurVarElias, BornesDansLesDeuxSens) {
  const std::pair<uint64_t, uint64_t> bornes[] = {{127, 1},
                                                  {128, 2},
                                                  {16511, 2},
                                                  {16512, 3},
                                                  {2113663, 3},
                                                  {2113664, 4},
                                                  {270549119, 4},
                                                  {270549120, 5},
                                                  {34630287487, 5},
                                                  {34630287488, 6},
                                                  {4432676798591, 6},
                                                  {4432676798592, 7},
                                                  {567382630219903, 7},
                                                  {567382630219904, 8},
                                                  {SerialiseurVarElias::kValeurMax - 1, 8}};
  for (const auto& [valeur, octets] : bornes) {
    const Octets code = VarElias(valeur);
    EXPECT_EQ(code.size(), octets) << valeur;
    EXPECT_EQ(SerialiseurVarElias::NbBitsRequis(valeur), octets) << valeur;
    EXPECT_EQ(RelisVarElias(code), valeur) << valeur;
  }
  EXPECT_EQ(SerialiseurVarElias::NbBitsRequis(0), 1u);
  EXPECT_EQ(SerialiseurVarElias::NbBitsRequis(128), 2u);
}

TEST(SerialiseurVarElias, RefuseLesValeursSansCodage) {
  TamponMemoire t;
  EXPECT_HORS_BORNE(SerialiseurVarElias::Ecris(t, SerialiseurVarElias::kValeurMax),
                    "index=72624976668147840 min=0 max=72624976668147840");
  EXPECT_THROW(SerialiseurVarElias::Ecris(t, UINT64_MAX), exceptions::IndexHorsBorne);
  EXPECT_EQ(t.Taille(), 0u);
}

TEST(SerialiseurVarElias, RefuseUnPremierOctetNul) {
  TamponSur t(Octets{0x00, 0x01});
  uint64_t v = 0;
  EXPECT_SDD_THROW(SerialiseurVarElias::Lis(*t, &v), exceptions::ErreurDeserialisation,
                   "Erreur de désérialisation", "VarElias : valeur 0");
  const Octets zero{0x00, 1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_SDD_THROW(SerialiseurVarElias::LisDepuis(zero.data(), zero.data() + zero.size(), &v),
                   exceptions::ErreurDeserialisation, "Erreur de désérialisation", "VarElias : valeur 0");
}

TEST(SerialiseurVarElias, ProprieteAllerRetourEtTaille) {
  const unsigned graine = 3;
  std::mt19937_64 rng(graine);
  TamponMemoire flux;
  std::vector<uint64_t> valeurs;
  for (int i = 0; i < 20000; ++i) {
    // Log-uniform: every length gets its share.
    const uint64_t v = (rng() >> (rng() % 64)) % SerialiseurVarElias::kValeurMax;
    valeurs.push_back(v);
    const uint64_t avant = flux.Taille();
    ASSERT_EQ(SerialiseurVarElias::Ecris(flux, v), avant);
    ASSERT_EQ(flux.Taille() - avant, SerialiseurVarElias::NbBitsRequis(v)) << v << " seed " << graine;
    uint8_t octets[8];
    ASSERT_EQ(static_cast<uint64_t>(SerialiseurVarElias::EcrisVers(octets, v) - octets),
              SerialiseurVarElias::NbBitsRequis(v));
  }
  // Back through the stream reader and through the in-memory reader.
  flux.PositionneAuDebut();
  const uint8_t* p = flux.PreteDonneesBrutes();
  const uint8_t* fin = p + flux.Taille();
  for (uint64_t attendu : valeurs) {
    uint64_t v = 0, w = 0;
    SerialiseurVarElias::Lis(flux, &v);
    p = SerialiseurVarElias::LisDepuis(p, fin, &w);
    ASSERT_EQ(v, attendu) << "seed " << graine;
    ASSERT_EQ(w, attendu) << "seed " << graine;
  }
  EXPECT_EQ(p, fin);
}

TEST(SerialiseurVarElias, ChaquePrefixeTronqueEstRefuse) {
  for (uint64_t valeur : {uint64_t{128}, uint64_t{16512}, uint64_t{567382630219904}}) {
    const Octets code = VarElias(valeur);
    for (size_t n = 0; n < code.size(); ++n) {
      const Octets prefixe(code.begin(), code.begin() + static_cast<long>(n));
      uint64_t v = 0;
      EXPECT_THROW(SerialiseurVarElias::LisDepuis(prefixe.data(), prefixe.data() + n, &v),
                   exceptions::ErreurDeserialisation)
          << valeur << " cut at " << n;
      if (n == 0) continue;
      TamponSur t(prefixe);  // the stream reader runs into the end of the array
      EXPECT_THROW(SerialiseurVarElias::Lis(*t, &v), exceptions::IndexHorsBorne) << valeur << " cut at " << n;
    }
  }
}

TEST(SerialiseurVarElias, LecteursEtroitsGardentLesBitsBas) {
  const Octets code = VarElias(0x123456789ull);
  TamponSur t32(code), t16(code);
  unsigned int v32 = 0;
  unsigned short v16 = 0;
  SerialiseurVarElias::Lis(*t32, &v32);
  SerialiseurVarElias::Lis(*t16, &v16);
  EXPECT_EQ(v32, 0x23456789u);
  EXPECT_EQ(v16, 0x6789u);
}

TEST(Serialiseur, LargeurFixePetitBoutiste) {
  TamponMemoire t;
  EXPECT_EQ(Serialiseur<int>::Ecris(t, -2), 0u);
  EXPECT_EQ(Serialiseur<unsigned short>::Ecris(t, 0x1234), 4u);
  Serialiseur<char16_t>::Ecris(t, u'é');
  Serialiseur<double>::Ecris(t, 1.0);
  Serialiseur<float>::Ecris(t, -2.0f);
  Serialiseur<int64_t>::Ecris(t, -1);
  Serialiseur<char>::Ecris(t, 'A');
  EXPECT_EQ(OctetsDe(t),
            (Octets{0xFE, 0xFF, 0xFF, 0xFF, 0x34, 0x12, 0xE9, 0x00, 0,    0,    0,    0,    0,    0,   0xF0,
                    0x3F, 0x00, 0x00, 0x00, 0xC0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x41}));
  t.PositionneAuDebut();
  int i = 0;
  unsigned short us = 0;
  char16_t c = 0;
  double d = 0;
  float f = 0;
  int64_t l = 0;
  char a = 0;
  Serialiseur<int>::Lis(t, &i);
  Serialiseur<unsigned short>::Lis(t, &us);
  Serialiseur<char16_t>::Lis(t, &c);
  Serialiseur<double>::Lis(t, &d);
  Serialiseur<float>::Lis(t, &f);
  Serialiseur<int64_t>::Lis(t, &l);
  Serialiseur<char>::Lis(t, &a);
  EXPECT_EQ(i, -2);
  EXPECT_EQ(us, 0x1234);
  EXPECT_EQ(c, u'é');
  EXPECT_EQ(d, 1.0);
  EXPECT_EQ(f, -2.0f);
  EXPECT_EQ(l, -1);
  EXPECT_EQ(a, 'A');
  // A short read leaves the bytes not read as they were.
  TamponSur court(Octets{0xAA, 0xBB});
  unsigned int u = 0x11223344;
  Serialiseur<unsigned int>::Lis(*court, &u);
  EXPECT_EQ(u, 0x1122BBAAu);
}

TEST(Serialiseur, ChainesAvecLongueur) {
  TamponMemoire t;
  char vide[] = "";
  char* pVide = vide;
  EXPECT_EQ(Serialiseur<char*>::Ecris(t, pVide), 0u);
  EXPECT_EQ(OctetsDe(t), (Octets{0x80}));
  EXPECT_EQ(Serialiseur<std::string>::Ecris(t, std::string("ab\0c", 4)), 1u);
  EXPECT_EQ(Serialiseur<UniChaine>::Ecris(t, UniChaine("été")), 6u);
  const char* cst = "xyz";
  Serialiseur<const char*>::Ecris(t, cst);
  Serialiseur<UniChemin>::Ecris(t, UniChemin("/tmp/é"));
  EXPECT_EQ(OctetsDe(t), (Octets{0x80, 0x84, 'a', 'b', 0,    'c', 0x85, 0xC3, 0xA9, 't', 0xC3, 0xA9,
                                 0x83, 'x',  'y', 'z', 0x87, '/', 't',  'm',  'p',  '/', 0xC3, 0xA9}));
  t.PositionneAuDebut();
  char* lu = nullptr;
  Serialiseur<char*>::Lis(t, &lu);
  std::unique_ptr<char[]> garde(lu);
  EXPECT_EQ(lu[0], 0);
  std::string s;
  Serialiseur<std::string>::Lis(t, &s);
  EXPECT_EQ(s, std::string("ab\0c", 4));
  UniChaine u;
  Serialiseur<UniChaine>::Lis(t, &u);
  EXPECT_EQ(u.DonneStdString(), "été");
  const char* sansTerminateur = nullptr;
  Serialiseur<const char*>::Lis(t, &sansTerminateur);
  std::unique_ptr<const char[]> garde2(sansTerminateur);
  EXPECT_EQ(std::string(sansTerminateur, 3), "xyz");
  UniChemin chemin;
  Serialiseur<UniChemin>::Lis(t, &chemin);
  EXPECT_EQ(chemin.DonneStdString(), "/tmp/é");
  EXPECT_TRUE(t.EstALaFin());
}

TEST(Serialiseur, UneLongueurCorrompueNAlloueRien) {
  // Claims 2^40 bytes with three left.
  TamponMemoire t;
  SerialiseurVarElias::Ecris(t, uint64_t{1} << 40);
  t.Mets("abc", 3);
  t.PositionneAuDebut();
  std::string s;
  EXPECT_THROW(Serialiseur<std::string>::Lis(t, &s), exceptions::ErreurDeserialisation);
}

TEST(Serialiseur, TroisCinqEtNOctets) {
  TamponMemoire t;
  SerialiseurTroisOctets::Ecris(t, 16909060u);  // 01 02 03 04: the high byte is dropped
  SerialiseurCinqOctets::Ecris(t, 0xFF123456789Aull);
  EXPECT_EQ(SerialiseNombreSurNbOctets::Ecris(t, 0x1234, 1), 8u);
  SerialiseNombreSurNbOctets::Ecris(t, 0x1234, 0);
  SerialiseNombreSurNbOctets::Ecris(t, 0xA1B2C3, 3);
  EXPECT_EQ(OctetsDe(t), (Octets{0x04, 0x03, 0x02, 0x9A, 0x78, 0x56, 0x34, 0x12, 0x34, 0xC3, 0xB2, 0xA1}));
  t.PositionneAuDebut();
  unsigned int trois = 0xFFFFFFFF;
  uint64_t cinq = UINT64_MAX;
  unsigned char un = 0;
  unsigned int zero = 7;
  char16_t c = 0;
  SerialiseurTroisOctets::Lis(t, &trois);
  SerialiseurCinqOctets::Lis(t, &cinq);
  SerialiseNombreSurNbOctets::Lis(t, &un, 1);
  SerialiseNombreSurNbOctets::Lis(t, &zero, 0);
  SerialiseNombreSurNbOctets::Lis(t, &c, 3);
  EXPECT_EQ(trois, 131844u);  // 0x020304
  EXPECT_EQ(cinq, 0x123456789Aull);
  EXPECT_EQ(un, 0x34);
  EXPECT_EQ(zero, 0u);
  EXPECT_EQ(c, 0xB2C3);  // accumulated in 32 bits, low 16 kept
  t.PositionneAuDebut();
  unsigned int large = 0;
  EXPECT_THROW(SerialiseNombreSurNbOctets::Lis(t, &large, 5), exceptions::IndexHorsBorne);
  uint64_t huit = 0;
  SerialiseNombreSurNbOctets::Lis(t, &huit, 8);
  EXPECT_EQ(huit, 0x123456789A020304ull);
}

}  // namespace
}  // namespace sdd
