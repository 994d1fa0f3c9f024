#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <zlib.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;

TEST(TamponMemoire, CroissanceParOctetsEtParBlocs) {
  TamponMemoire t;
  EXPECT_EQ(t.TailleTampon(), 256u);
  for (int i = 0; i < 255; ++i) t.Mets(static_cast<uint8_t>(i));
  EXPECT_EQ(t.TailleTampon(), 256u);
  t.Mets(uint8_t{0xFF});  // position 255: 255 + 1 >= 256
  EXPECT_EQ(t.TailleTampon(), 512u);
  EXPECT_EQ(t.Taille(), 256u);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(t.PreteDonneesBrutes()[i], static_cast<uint8_t>(i));

  TamponMemoire b(16);
  b.Mets("0123456789", 10);
  b.Mets("abcdef", 6);  // ends exactly at the capacity: grows (>=)
  EXPECT_EQ(b.TailleTampon(), 32u);
  TamponMemoire c(16);
  c.Mets(std::string(100, 'x').data(), 100);  // doubled as often as needed: 16 → 128
  EXPECT_EQ(c.TailleTampon(), 128u);
  TamponMemoire vide(0);
  vide.Mets(uint8_t{1});
  vide.Mets("ab", 2);
  EXPECT_EQ(OctetsDe(vide), (Octets{1, 'a', 'b'}));
}

TEST(TamponMemoire, PositionnementEtTroncature) {
  TamponMemoire t;
  t.Positionne(255);  // capacity − 1: no growth
  EXPECT_EQ(t.TailleTampon(), 256u);
  t.Positionne(256);  // at the capacity: × 1.3
  EXPECT_EQ(t.TailleTampon(), 332u);
  TamponMemoire u;
  u.Positionne(1000);
  EXPECT_EQ(u.TailleTampon(), 1300u);
  EXPECT_EQ(u.Taille(), 0u);  // positioning does not change the size

  TamponMemoire w;
  w.Mets(std::string(100, 'x').data(), 100);
  w.PositionneAuDebut();
  w.Mets(uint8_t{'y'});
  EXPECT_EQ(w.Taille(), 1u);  // writing truncates
  w.MetsTaille(100);
  EXPECT_EQ(w.Taille(), 100u);
  w.Vide();
  EXPECT_EQ(w.Taille(), 0u);
  EXPECT_EQ(w.TailleTampon(), 256u);
  w.Reserve(100);
  EXPECT_EQ(w.TailleTampon(), 256u);
  w.Reserve(1000);
  EXPECT_EQ(w.TailleTampon(), 1000u);
}

TEST(TamponMemoire, InsertionDeTexte) {
  TamponMemoire t(4);
  t << -5;
  EXPECT_STREQ(t.PreteOctets(), "-5");
  EXPECT_EQ(t.Taille(), 0u);  // integers move the position only
  EXPECT_EQ(t.DonnePosition(), 2u);
  EXPECT_EQ(t.TailleTampon(), 12u);  // exactly position + 12
  t << 4294967295u << static_cast<int64_t>(INT64_MIN) << UINT64_MAX;
  EXPECT_STREQ(t.PreteOctets(),
               "-54294967295-9223372036854775808"
               "18446744073709551615");
  TamponMemoire r;
  r << 3.14159265 << ' ' << 1e-7 << ' ' << 2.5f << " " << std::string("fin") << static_cast<short>(-3);
  EXPECT_STREQ(r.PreteOctets(), "3.14159 1e-07 2.5 fin-3");
  EXPECT_EQ(std::string(r.CopieOctets().get()), "3.14159 1e-07 2.5 fin-3");
}

TEST(TamponMemoire, LireDesLignes) {
  TamponSur t(Octets{'a', '\r', '\n', 'b', '\r', 'c', '\n'});
  TamponMemoire ligne;
  std::vector<std::string> lignes;
  while (t->DonneLigne(ligne)) lignes.emplace_back(ligne.PreteOctets());
  EXPECT_EQ(lignes, (std::vector<std::string>{"a", "b", "c"}));
  TamponMemoire vide;
  EXPECT_FALSE(vide.DonneLigne(ligne));

  TamponSur u(Octets{'a', 'b', 'c', 'd', 'e', 'f', '\n'});
  char dest[4];
  ASSERT_TRUE(u->DonneLigne(dest, 4));
  EXPECT_STREQ(dest, "abc");
  ASSERT_TRUE(u->DonneLigne(dest, 4));
  EXPECT_STREQ(dest, "def");
  // Like fgets, a line that exactly fills the room leaves its LF for the next call.
  ASSERT_TRUE(u->DonneLigne(dest, 4));
  EXPECT_STREQ(dest, "");
  EXPECT_FALSE(u->DonneLigne(dest, 4));
  // A CR as the very last byte of the array: the look-ahead stays inside it.
  TamponSur cr(Octets{'x', '\r'});
  ASSERT_TRUE(cr->DonneLigne(ligne));
  EXPECT_STREQ(ligne.PreteOctets(), "x");
  EXPECT_FALSE(cr->DonneLigne(ligne));
}

TEST(TamponMemoire, LignesDecodeesCRLFMelanges) {
  TamponMemoire t;
  t.MetsChaineN(ChaineN(u"été\r\nhiver\rprintemps\n\nautomne"), ChaineN::kCodageUTF8);
  std::vector<std::string> lignes;
  ChaineN ligne;
  t.PositionneAuDebut();
  while (t.DonneLigne(ligne, ChaineN::kCodageUTF8)) lignes.push_back(Utf8(ligne));
  EXPECT_EQ(lignes, (std::vector<std::string>{"été", "hiver", "printemps", "", "automne"}));
  // The same in UTF-16 big-endian, into UniChaine.
  TamponMemoire u;
  u.MetsChaineN(ChaineN(u"a\rb\r\nc"), ChaineN::kCodageUTF16BE);
  u.PositionneAuDebut();
  UniChaine uni;
  std::vector<std::string> lignesU;
  while (u.DonneLigne(uni, ChaineN::kCodageUTF16BE)) lignesU.push_back(uni.DonneStdString());
  EXPECT_EQ(lignesU, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(TamponMemoire, PretDeDonneesEtCopies) {
  TamponMemoire source;
  source.Mets("abcdef", 6);
  std::unique_ptr<TamponMemoire> pret(source.TamponEnPretantDonnees());
  EXPECT_TRUE(pret->EstPretant());
  EXPECT_EQ(pret->PreteDonneesBrutes(), source.PreteDonneesBrutes());
  EXPECT_EQ(pret->Taille(), 6u);
  EXPECT_EQ(pret->DonnePosition(), 0u);
  EXPECT_EQ(*pret, source);
  // Growing past the lent capacity copies: the owner's bytes stay as they were.
  pret->Positionne(6);
  pret->Mets(std::string(300, 'z').data(), 300);
  EXPECT_FALSE(pret->EstPretant());
  EXPECT_NE(pret->PreteDonneesBrutes(), source.PreteDonneesBrutes());
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(source.PreteDonneesBrutes()), 6), "abcdef");

  TamponMemoire copie(source);  // owning source: a deep copy of the whole capacity
  EXPECT_NE(copie.PreteDonneesBrutes(), source.PreteDonneesBrutes());
  EXPECT_EQ(copie.TailleTampon(), source.TailleTampon());
  EXPECT_EQ(copie, source);
  TamponMemoire lendingCopy(source.NouveauTamponEnPretantDonnees());
  TamponMemoire copieDePret(lendingCopy);  // a lending source is lent again
  EXPECT_EQ(copieDePret.PreteDonneesBrutes(), source.PreteDonneesBrutes());
  TamponMemoire deplace(std::move(copie));
  EXPECT_EQ(deplace.Taille(), 6u);
  TamponMemoire cible;
  cible = std::move(deplace);
  EXPECT_EQ(cible, source);
  cible.Mets(uint8_t{'!'});
  EXPECT_FALSE(cible == source);
}

TEST(TamponMemoire, LectureBorneeAuTableau) {
  TamponSur t(Octets{1, 2});
  EXPECT_EQ(t->Donne(), 1);
  EXPECT_EQ(t->Donne(), 2);
  EXPECT_TRUE(t->EstALaFin());
  EXPECT_HORS_BORNE(t->Donne(), "index=2 min=0 max=2");
  uint8_t dest[4];
  t->PositionneAuDebut();
  EXPECT_EQ(t->Donne(4, dest), 2u);
  EXPECT_EQ(t->Donne(0, dest), 0u);
  // The text view of a full lending buffer makes room for its terminator elsewhere.
  TamponSur plein(Octets{'o', 'k'});
  plein->Positionne(2);
  EXPECT_STREQ(plein->PreteOctets(), "ok");
}

TEST(TamponMemoire, CopieEntreFlux) {
  TamponMemoire source, cible;
  source.Mets("abcdef", 6);
  source.PositionneAuDebut();
  EXPECT_EQ(source.DonneFluxSortie(cible, 0), 0u);
  EXPECT_EQ(cible.Taille(), 0u);
  EXPECT_EQ(source.DonneFluxSortie(cible, 2), 2u);
  EXPECT_EQ(cible.MetsFluxEntree(source), 4u);
  EXPECT_EQ(cible, source);
  EXPECT_EQ(cible.MetsFluxEntree(source), 0u);  // already at its end
}

TEST(TamponMemoire, ChainesBrutes) {
  TamponMemoire t;
  t.MetsChaineN(ChaineN(u"été"), ChaineN::kCodageLatin9)
      .MetsUniChaine(UniChaine("€"), UniChaine::kCodageWindows1252);
  EXPECT_EQ(OctetsDe(t), (Octets{0xE9, 't', 0xE9, 0x80}));
}

// The compressed record of "été": VarElias 13, VarElias 5, then zlib's stream as Python's zlib
// writes it at the default level.
const Octets kEteCompresse{0x8D, 0x85, 0x78, 0x9C, 0x3B, 0xBC, 0xB2, 0xE4,
                           0xF0, 0x4A, 0x00, 0x0A, 0x03, 0x03, 0x4D};

TEST(TamponMemoire, ChaineCompresseeALOctetPres) {
  TamponMemoire t;
  t.Mets("xy", 2);
  EXPECT_EQ(TamponMemoire::CompresseChaineN(t, ChaineN()), 2u);  // the position before the record
  EXPECT_EQ(OctetsDe(t), (Octets{'x', 'y', 0x80, 0x80}));
  TamponMemoire e;
  TamponMemoire::CompresseChaineN(e, ChaineN(u"été"));
  EXPECT_EQ(OctetsDe(e), kEteCompresse);
  TamponMemoire u;
  TamponMemoire::CompresseUniChaine(u, UniChaine("été"));
  EXPECT_EQ(OctetsDe(u), kEteCompresse);
  // zlib's own reader on the raw bytes after the two lengths.
  char texte[16];
  uLongf n = sizeof texte;
  ASSERT_EQ(
      uncompress(reinterpret_cast<Bytef*>(texte), &n, kEteCompresse.data() + 2, kEteCompresse.size() - 2),
      Z_OK);
  EXPECT_EQ(std::string(texte, n), "été");
}

TEST(TamponMemoire, ChaineCompresseeAllerRetour) {
  std::string long_;
  for (int i = 0; i < 5000; ++i) long_ += "mot numéro " + std::to_string(i) + "\n";
  TamponMemoire t;
  TamponMemoire::CompresseChaineN(t, ChaineN(long_));
  TamponMemoire::CompresseChaineN(t, ChaineN());
  TamponMemoire::CompresseUniChaine(t, UniChaine("œuvre"));
  EXPECT_LT(t.Taille(), long_.size() / 4);
  t.PositionneAuDebut();
  EXPECT_EQ(Utf8(TamponMemoire::DecompresseChaineN(t)), long_);
  EXPECT_TRUE(TamponMemoire::DecompresseChaineN(t).EstVide());
  EXPECT_EQ(TamponMemoire::DecompresseUniChaine(t).DonneStdString(), "œuvre");
  EXPECT_TRUE(t.EstALaFin());
}

TEST(TamponMemoire, ChaineCompresseeTronqueeOuCorrompue) {
  for (size_t n = 2; n < kEteCompresse.size(); ++n) {
    TamponSur t(Octets(kEteCompresse.begin(), kEteCompresse.begin() + static_cast<long>(n)));
    EXPECT_THROW(TamponMemoire::DecompresseChaineN(*t), int) << "cut at " << n;
  }
  Octets abime = kEteCompresse;
  abime[6] ^= 0xFF;
  TamponSur t(abime);
  try {
    TamponMemoire::DecompresseChaineN(*t);
    FAIL() << "a damaged zlib stream was accepted";
  } catch (int code) {
    EXPECT_EQ(code, -1);
  }
  // Lengths no compressor writes: refused before any allocation.
  TamponMemoire absurde;
  SerialiseurVarElias::Ecris(absurde, 3);
  SerialiseurVarElias::Ecris(absurde, uint64_t{1} << 31);
  absurde.Mets("abc", 3);
  absurde.PositionneAuDebut();
  EXPECT_THROW(TamponMemoire::DecompresseChaineN(absurde), int);
}

}  // namespace
}  // namespace sdd

namespace sdd {
namespace {

// The buffer's rules written plainly: every write sets the size to the new position, integer
// insertion moves the position only, reads and positioning leave the size alone.
struct ModeleTampon {
  std::vector<uint8_t> octets = std::vector<uint8_t>(1 << 16, 0);
  uint64_t position = 0, taille = 0;
  void Ecris(const uint8_t* p, uint64_t n) {
    std::memcpy(octets.data() + position, p, n);
    position += n;
    taille = position;
  }
};

TEST(TamponMemoire, ModeleAleatoireDeLaTailleEtDeLaPosition) {
  const unsigned graine = 77;
  std::mt19937 rng(graine);
  TamponMemoire t(8);
  ModeleTampon m;
  for (int etape = 0; etape < 20000; ++etape) {
    const uint8_t octet = static_cast<uint8_t>(rng());
    switch (rng() % 10) {
      case 0:
      case 1:
        t.Mets(octet);
        m.Ecris(&octet, 1);
        break;
      case 2: {
        const uint8_t bloc[5] = {octet, 1, 2, 3, 4};
        const uint64_t n = rng() % 6;
        t.Mets(bloc, n);
        m.Ecris(bloc, n);
        break;
      }
      case 3: {
        const uint64_t p = m.taille ? rng() % (m.taille + 3) : 0;
        t.Positionne(p);
        m.position = p;
        break;
      }
      case 4:
        if (m.position < m.taille) {
          ASSERT_EQ(t.Donne(), m.octets[m.position]) << "seed " << graine << " step " << etape;
          ++m.position;
        }
        break;
      case 5: {
        uint8_t dest[4];
        const uint64_t lus = t.Donne(4, dest);
        const uint64_t attendus = m.position < m.taille ? std::min<uint64_t>(4, m.taille - m.position) : 0;
        ASSERT_EQ(lus, attendus) << "seed " << graine << " step " << etape;
        m.position += lus;
        break;
      }
      case 6: {
        const int v = static_cast<int>(rng() % 1000);
        t << v;
        const std::string texte = std::to_string(v);
        std::memcpy(m.octets.data() + m.position, texte.data(), texte.size());
        m.position += texte.size();
        break;
      }
      case 7:
        if (m.position > 40000) {
          t.Vide();
          m.position = m.taille = 0;
        }
        break;
      case 8:
        if (rng() % 8 == 0) {
          const TamponMemoire copie(t);
          ASSERT_EQ(copie.Taille(), m.taille);
          ASSERT_EQ(copie.DonnePosition(), m.position);
        }
        break;
      case 9:
        if (rng() % 4 == 0) {
          t.MetsTaille(m.position);
          m.taille = m.position;
        }
        break;
    }
    ASSERT_EQ(t.Taille(), m.taille) << "seed " << graine << " step " << etape;
    ASSERT_EQ(t.DonnePosition(), m.position) << "seed " << graine << " step " << etape;
    ASSERT_EQ(t.EstALaFin(), m.position >= m.taille) << "seed " << graine << " step " << etape;
  }
  ASSERT_EQ(OctetsDe(t), Octets(m.octets.begin(), m.octets.begin() + static_cast<long>(m.taille)));
}

}  // namespace
}  // namespace sdd
