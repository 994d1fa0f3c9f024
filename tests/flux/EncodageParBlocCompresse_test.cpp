// Block-compressed entries and indexed records: hand-worked bytes, the edges of a block, random
// entries around the block size in every encoding, zlib's own uncompress and Python's zlib as
// references for the blocks, and damaged or cut inputs refused without reading outside them.
#include <outils_socle/flux/DonneesIndexeesParNo.h>
#include <outils_socle/flux/EncodageParBlocCompresse.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;
using Position = _typPositionEncodageBloc;

std::string Texte(const Position& p) {
  std::ostringstream s;
  s << p;
  return s.str();
}

// The hand-worked example of docs/blocs.md.
TEST(EncodageParBlocCompresse, ExempleALOctetPres) {
  TamponMemoire sortie;
  EncodageParBlocCompresse e(&sortie, 16, SansCompression);
  EXPECT_EQ(sortie.DonnePosition(), 2u) << "the header: VarElias 16, type 0";
  const Position a = e.EncodeOctets("0123456789", 10);
  const Position b = e.EncodeOctets("abcdef", 6);  // 10 + 6 = 16 is not more than 16: same block
  const Position c = e.EncodeOctets("X", 1);       // a new block
  e.TermineEncodage();
  EXPECT_EQ(Texte(a), "(2,0)");
  EXPECT_EQ(Texte(b), "(2,10)");
  EXPECT_EQ(Texte(c), "(19,0)");
  EXPECT_EQ(OctetsDe(sortie), (Octets{0x90, 0x00, 0x90, '0', '1', '2', '3', '4', '5',  '6', '7',
                                      '8',  '9',  'a',  'b', 'c', 'd', 'e', 'f', 0x81, 'X'}));

  TamponSur lu(OctetsDe(sortie));
  DecodageParBlocCompresse d(&*lu, 0);
  EXPECT_EQ(d.TailleBloc(), 16u);
  char octets[10] = {};
  d.DecodeOctets(b, 6, octets);
  EXPECT_EQ(std::string(octets, 6), "abcdef");
  d.DecodeOctets(c, 1, octets);
  EXPECT_EQ(octets[0], 'X');
}

TEST(EncodageParBlocCompresse, ExempleZlib) {
  TamponMemoire sortie;
  EncodageParBlocCompresse e(&sortie, 64, CompressionZlib);
  const Position p[] = {e.EncodeChaine(ChaineN("le"), ChaineN::kCodageUTF8),
                        e.EncodeChaine(ChaineN("la"), ChaineN::kCodageUTF8),
                        e.EncodeChaine(ChaineN("les"), ChaineN::kCodageUTF8)};
  e.TermineEncodage();
  // "le\0la\0les\0" as zlib's compress writes it at the default level.
  EXPECT_EQ(OctetsDe(sortie), (Octets{0xC0, 0x01, 0x92, 0x78, 0x9C, 0xCB, 0x49, 0x65, 0xC8, 0x49, 0x64,
                                      0xC8, 0x49, 0x2D, 0x66, 0x00, 0x00, 0x10, 0xCE, 0x02, 0xE3}));
  EXPECT_EQ(Texte(p[2]), "(2,6)");
  TamponSur lu(OctetsDe(sortie));
  DecodageParBlocCompresse d(&*lu, 0);
  ChaineN m;
  d.DecodeChaine(p[1], m, ChaineN::kCodageUTF8);
  EXPECT_EQ(m, ChaineN("la"));
}

TEST(EncodageParBlocCompresse, BlocsVidesEtTypesInconnus) {
  TamponMemoire vide;
  EncodageParBlocCompresse e(&vide, 16, SansCompression);
  e.TermineEncodage();
  EXPECT_EQ(OctetsDe(vide), (Octets{0x90, 0x00, 0x80}));

  // An entry of exactly the block size fills its block.
  TamponMemoire plein;
  EncodageParBlocCompresse f(&plein, 4, SansCompression);
  EXPECT_EQ(Texte(f.EncodeOctets("abcd", 4)), "(2,0)");
  EXPECT_EQ(Texte(f.EncodeOctets("e", 1)), "(7,0)");
  f.TermineEncodage();
  EXPECT_EQ(OctetsDe(plein), (Octets{0x84, 0x00, 0x84, 'a', 'b', 'c', 'd', 0x81, 'e'}));

  // Type 2: refused when a block is written (nothing written for it), and when a block is read.
  TamponMemoire inconnu;
  EncodageParBlocCompresse g(&inconnu, 16, static_cast<eTypeCompression>(2));
  g.EncodeOctets("ab", 2);
  EXPECT_SDD_THROW(g.TermineEncodage(), exceptions::ErreurDeserialisation, "Erreur de désérialisation",
                   "Type de compression inconnu");
  EXPECT_EQ(OctetsDe(inconnu), (Octets{0x90, 0x02}));
  TamponSur lu(Octets{0x90, 0x02, 0x82, 'a', 'b'});
  DecodageParBlocCompresse d(&*lu, 0);  // no complaint yet
  char octets[2];
  EXPECT_SDD_THROW(d.DecodeOctets({2, 0}, 2, octets), exceptions::ErreurDeserialisation,
                   "Erreur de désérialisation", "Type de compression inconnu");
}

TEST(EncodageParBlocCompresse, EntreesRefusees) {
  TamponMemoire sortie;
  EncodageParBlocCompresse e(&sortie, 8, CompressionZlib);
  EXPECT_THROW(e.EncodeOctets("123456789", 9), exceptions::OperationInvalide);
  EXPECT_THROW(e.EncodeChaine(ChaineN("12345678"), ChaineN::kCodageUTF8), exceptions::OperationInvalide)
      << "8 bytes and the terminator";
  const char16_t nul[] = {u'a', 0, u'b'};
  EXPECT_THROW(e.EncodeChaine(ChaineN(nul, uint64_t{3}), ChaineN::kCodageUTF8),
               exceptions::OperationInvalide);
  EXPECT_NO_THROW(e.EncodeChaine(ChaineN("1234567"), ChaineN::kCodageUTF8));
  EXPECT_EQ(sortie.DonnePosition(), 2u) << "refusals write nothing";
}

// Random entries from a third of the block size up to all of it, strings in every encoding and
// byte runs, both types; every entry decodes back, and every type-1 block is what zlib's own
// uncompress makes of it.
TEST(EncodageParBlocCompresse, EntreesAleatoiresAutourDeLaTailleDuBloc) {
  std::mt19937 alea(1234);
  const ChaineN::Codage codages[] = {
      ChaineN::kCodageMacRoman, ChaineN::kCodageLatin9,  ChaineN::kCodageWinLatin1, ChaineN::kCodageDOS,
      ChaineN::kCodageUTF8,     ChaineN::kCodageUTF16LE, ChaineN::kCodageUTF16BE};
  const std::u16string lettres = u"abcdefghijklmnopqrstuvwxyzéèàùçœ €";
  for (eTypeCompression type : {SansCompression, CompressionZlib}) {
    for (unsigned taille : {16u, 100u, 4096u}) {
      TamponMemoire sortie;
      EncodageParBlocCompresse e(&sortie, taille, type);
      struct Entree {
        Position position;
        bool chaine;
        ChaineN texte;
        ChaineN::Codage codage;
        std::string octets;
      };
      std::vector<Entree> entrees;
      for (int i = 0; i < 300; ++i) {
        if (alea() % 2 == 0) {
          const uint64_t n = taille / 3 + alea() % (taille - taille / 3 + 1);
          std::string octets(n, '\0');
          for (char& c : octets) c = static_cast<char>(alea());
          entrees.push_back({e.EncodeOctets(octets.data(), n), false, {}, ChaineN::kCodageUTF8, octets});
        } else {
          const ChaineN::Codage codage = codages[alea() % 7];
          const bool large = codage == ChaineN::kCodageUTF16LE || codage == ChaineN::kCodageUTF16BE;
          const uint64_t n = 1 + alea() % (large ? taille / 4 : taille / 3);
          std::u16string u;
          for (uint64_t k = 0; k < n; ++k) u += lettres[alea() % lettres.size()];
          ChaineN texte(u.data(), static_cast<uint64_t>(u.size()));
          // What this encoding can hold of it ("?" for the rest), as the reader will see it.
          ChaineN attendu(texte.Encode(codage).data(), codage, texte.Encode(codage).size());
          if (texte.Encode(codage).size() + (large ? 2 : 1) > taille) continue;
          entrees.push_back({e.EncodeChaine(texte, codage), true, attendu, codage, {}});
        }
      }
      e.TermineEncodage();
      TamponSur lu(OctetsDe(sortie));
      DecodageParBlocCompresse d(&*lu, 0);
      for (const Entree& x : entrees) {
        if (x.chaine) {
          ChaineN texte;
          d.DecodeChaine(x.position, texte, x.codage);
          ASSERT_EQ(texte, x.texte) << Texte(x.position);
        } else {
          std::string octets(x.octets.size(), '\0');
          d.DecodeOctets(x.position, octets.size(), octets.data());
          ASSERT_EQ(octets, x.octets) << Texte(x.position);
        }
      }
      // zlib as the reference reader of every block.
      if (type != CompressionZlib) continue;
      const Octets o = OctetsDe(sortie);
      uint64_t p = 2 + (taille >= 128 ? 1 : 0) + (taille >= 16512 ? 1 : 0);
      TamponSur parcours(o);
      while (p < o.size()) {
        parcours->Positionne(p);
        uint64_t s = 0;
        SerialiseurVarElias::Lis(*parcours, &s);
        const uint64_t donnees = parcours->DonnePosition();
        std::vector<uint8_t> zlib(2 * taille + 16);
        uLongf n = static_cast<uLongf>(zlib.size());
        ASSERT_EQ(uncompress(zlib.data(), &n, o.data() + donnees, static_cast<uLong>(s)), Z_OK);
        std::vector<uint8_t> nous(n);
        d.DecodeOctets({p, 0}, n, reinterpret_cast<const char*>(nous.data()));
        ASSERT_EQ(nous, std::vector<uint8_t>(zlib.begin(), zlib.begin() + static_cast<std::ptrdiff_t>(n)));
        p = donnees + s;
      }
      EXPECT_EQ(p, o.size());
    }
  }
}

// Python's zlib, a reader that shares nothing with ours but zlib, decodes every block.
TEST(EncodageParBlocCompresse, PythonLitLesBlocs) {
  essais::DossierTemporaire dossier;
  std::string attendu;
  {
    FichierAvecTampon f((dossier / "blocs").c_str(), Fichier::eEcriture);
    EncodageParBlocCompresse e(&f, 1024, CompressionZlib);
    std::ifstream liste("/usr/share/dict/french");
    std::string mot;
    for (int i = 0; i < 5000 && std::getline(liste, mot); ++i) {
      e.EncodeChaine(ChaineN(mot.c_str(), ChaineN::kCodageUTF8), ChaineN::kCodageUTF8);
      attendu += mot + '\n';
    }
    e.TermineEncodage();
    f.Ferme();
  }
  const std::string script = std::string(OUTILS_SOCLE_DONNEES_TESTS) + "/../flux/blocs_zlib.py";
  const std::string commande = std::string(OUTILS_SOCLE_PYTHON3) + " " + script + " " + (dossier / "blocs") +
                               " > " + (dossier / "mots.txt");
  ASSERT_EQ(std::system(commande.c_str()), 0) << commande;
  std::ifstream f(dossier / "mots.txt");
  std::stringstream lu;
  lu << f.rdbuf();
  EXPECT_EQ(lu.str(), attendu);
}

// Every cut and every damaged byte: the entries decode right or are refused by the library,
// and nothing is read outside the input (the sanitizers watch).
TEST(EncodageParBlocCompresse, DonneesEndommagees) {
  TamponMemoire sortie;
  std::vector<std::pair<Position, std::string>> entrees;
  {
    EncodageParBlocCompresse e(&sortie, 64, CompressionZlib);
    for (const char* mot : {"abaisse", "abaisser", "zèbre", "été", "œuvre", "oeuvre", "le", "la", "les",
                            "chat", "chien", "anticonstitutionnellement", "x"}) {
      entrees.emplace_back(e.EncodeChaine(ChaineN(mot), ChaineN::kCodageUTF8), mot);
    }
    e.TermineEncodage();
  }
  const Octets bon = OctetsDe(sortie);
  auto essaie = [&](const Octets& o) {
    TamponSur t(o);
    try {
      DecodageParBlocCompresse d(&*t, 0);
      for (const auto& [position, mot] : entrees) {
        try {
          ChaineN m;
          d.DecodeChaine(position, m, ChaineN::kCodageUTF8);
          char octets[80];
          d.DecodeOctets(position, mot.size(), octets);
        } catch (const exceptions::Exception&) {
        }
      }
    } catch (const exceptions::Exception&) {
    }
  };
  for (size_t n = 0; n < bon.size(); ++n)
    essaie(Octets(bon.begin(), bon.begin() + static_cast<std::ptrdiff_t>(n)));
  for (size_t i = 0; i < bon.size(); ++i) {
    for (uint8_t v : {uint8_t(0), uint8_t(0xFF), uint8_t(bon[i] ^ 1), uint8_t(bon[i] ^ 0x80)}) {
      Octets o = bon;
      o[i] = v;
      essaie(o);
    }
  }
  // Positions that lie: past the data, past the block.
  TamponSur t(bon);
  DecodageParBlocCompresse d(&*t, 0);
  ChaineN m;
  char octets[8];
  EXPECT_THROW(d.DecodeChaine({bon.size(), 0}, m, ChaineN::kCodageUTF8), exceptions::ErreurDeserialisation);
  EXPECT_THROW(d.DecodeChaine({UINT64_MAX, 0}, m, ChaineN::kCodageUTF8), exceptions::ErreurDeserialisation);
  EXPECT_THROW(d.DecodeChaine({2, 500}, m, ChaineN::kCodageUTF8), exceptions::ErreurDeserialisation);
  EXPECT_THROW(d.DecodeOctets({2, 60}, 8, octets), exceptions::ErreurDeserialisation);
  EXPECT_THROW(d.DecodeOctets({3, 0}, 1, octets), exceptions::ErreurDeserialisation)
      << "not a record's start";

  // A header whose block size no encoder writes (over 32 bits) is refused at opening; one just
  // within asks no more memory than the stored block could fill (no gigabytes for 4 bytes).
  auto entete = [](uint64_t tailleBloc, const Octets& bloc) {
    TamponMemoire t;
    SerialiseurVarElias::Ecris(t, tailleBloc);
    t.Mets(static_cast<uint8_t>(CompressionZlib));
    const Octets o = OctetsDe(t);
    Octets tout(o);
    tout.insert(tout.end(), bloc.begin(), bloc.end());
    return tout;
  };
  TamponSur te(entete(uint64_t{1} << 40, {}));
  EXPECT_THROW(DecodageParBlocCompresse(&*te, 0), exceptions::ErreurDeserialisation);
  // 0xFFFFFFF0 as block size, then a record of 4 stored bytes, a zlib stream of nothing.
  TamponSur tg(entete(0xFFFFFFF0u, {0x84, 0x78, 0x9C, 0x03, 0x00}));
  DecodageParBlocCompresse dg(&*tg, 0);
  EXPECT_EQ(dg.TailleBloc(), 0xFFFFFFF0u);
  // It decodes to nothing: no byte to read (and the room made for it is bounded by its 4 stored
  // bytes, not by the 4 GB block size).
  EXPECT_THROW(dg.DecodeOctets({tg->Taille() - 5, 0}, 1, octets), exceptions::ErreurDeserialisation);
}

TEST(EncodageParBlocCompresse, CopiesIndependantes) {
  TamponMemoire a, b;
  EncodageParBlocCompresse e(&a, 16, SansCompression);
  e.EncodeOctets("abc", 3);
  EncodageParBlocCompresse copie(e);
  e.EncodeOctets("def", 3);
  copie.EncodeOctets("xyz", 3);
  e.TermineEncodage();
  EXPECT_EQ(OctetsDe(a), (Octets{0x90, 0x00, 0x86, 'a', 'b', 'c', 'd', 'e', 'f'}));
  copie = EncodageParBlocCompresse(&b, 16, SansCompression);
  copie.EncodeOctets("z", 1);
  copie.TermineEncodage();
  EXPECT_EQ(OctetsDe(b), (Octets{0x90, 0x00, 0x81, 'z'}));
}

// ---- indexed data

Octets Indexees(const std::vector<std::string>& infos) {
  CreateurDonneesIndexeesParNo c;
  for (const auto& i : infos) c.Ajoute(reinterpret_cast<const uint8_t*>(i.data()), i.size());
  TamponMemoire t;
  c.Ecris(t);
  return OctetsDe(t);
}

class Lecteur : public DonneesIndexeesParNo {
 public:
  using DonneesIndexeesParNo::DonneesIndexeesParNo;
  using DonneesIndexeesParNo::PositionnePourNo;
};

TEST(DonneesIndexeesParNo, ExempleALOctetPres) {
  const Octets o = Indexees({"un", "", "trois"});
  EXPECT_EQ(o, (Octets{1, 0, 0, 0,    1,   3,   0,    0,    0,   10,  0,   0,   0,
                       0, 3, 4, 0x82, 'u', 'n', 0x80, 0x85, 't', 'r', 'o', 'i', 's'}));
  TamponSur t(o);
  Lecteur l(&*t, 0);
  EXPECT_EQ(l.DonneNombreInfo(), 3u);
  EXPECT_EQ(l.DonneTailleTotal(), o.size());
  uint64_t n = 0;
  const uint8_t* p = l.DonneInfo(2, &n);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(p), n), "trois");
  unsigned int taille = 0;
  TamponMemoire r = l.PositionnePourNo(0, &taille);
  EXPECT_EQ(taille, 2u);
  EXPECT_EQ(r.DonnePosition(), 17u);
  EXPECT_EQ(l.PositionnePourNo(1).DonnePosition(), 19u) << "offsets count from the record area";
  // Sequential reading.
  TamponMemoire s = l.PositionneAuDebutInfo();
  std::vector<std::string> lus;
  for (uint64_t i = 0; i < l.DonneNombreInfo(); ++i) {
    l.ProchainInfo(s, &taille);
    std::string info(taille, '\0');
    s.Donne(taille, reinterpret_cast<uint8_t*>(info.data()));
    lus.push_back(info);
  }
  EXPECT_EQ(lus, (std::vector<std::string>{"un", "", "trois"}));
  EXPECT_HORS_BORNE(l.DonneInfo(3, &n), "index=3 min=0 max=3");
  EXPECT_THROW(l.DonneInfo(-1, &n), exceptions::IndexHorsBorne);
}

TEST(DonneesIndexeesParNo, TailleTotaleEtLargeurs) {
  // N = 3, W = 2, T = 40: 13 + 6 + 40 bytes.
  Octets o{9, 9, 9, 9, 2, 3, 0, 0, 0, 40, 0, 0, 0, 0, 0, 5, 0, 10, 0};
  o.resize(59, 0x80);
  TamponSur t(o);
  DonneesIndexeesParNo l(&*t, 0);
  EXPECT_EQ(l.DonneTailleTotal(), 59u);
  EXPECT_EQ(l.Version()[0], 9);
  uint64_t n = 1;
  l.DonneInfo(1, &n);
  EXPECT_EQ(n, 0u);
  // At an offset inside a larger input, and with more than 256 bytes of records: W = 2.
  std::vector<std::string> infos;
  for (int i = 0; i < 100; ++i)
    infos.push_back(std::string(static_cast<size_t>(i), static_cast<char>('a' + i % 26)));
  Octets grand{0xEE, 0xEE, 0xEE};
  const Octets corps = Indexees(infos);
  grand.insert(grand.end(), corps.begin(), corps.end());
  EXPECT_EQ(corps[4], 2);
  TamponSur u(grand);
  DonneesIndexeesParNo m(&*u, 3);
  for (int i = 0; i < 100; ++i) {
    const uint8_t* p = m.DonneInfo(i, &n);
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(p), n), infos[static_cast<size_t>(i)]);
  }
}

TEST(DonneesIndexeesParNo, FichierMappe) {
  essais::DossierTemporaire dossier;
  {
    Fichier f((dossier / "infos").c_str(), Fichier::eEcriture);
    CreateurDonneesIndexeesParNo c;
    c.Ajoute(reinterpret_cast<const uint8_t*>("été"), 5);
    c.Ecris(f);
  }
  DonneesIndexeesParNo l(UniChemin((dossier / "infos").c_str()));
  uint64_t n = 0;
  const uint8_t* p = l.DonneInfo(0, &n);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(p), n), "été");
  DonneesIndexeesParNo vide;
  EXPECT_THROW(vide.DonneInfo(0, &n), exceptions::PointeurInvalide);
}

TEST(DonneesIndexeesParNo, DonneesEndommagees) {
  const Octets bon = Indexees({"un", "deux", "trois", "", "quatre cent vingt"});
  auto essaie = [&](const Octets& o) {
    TamponSur t(o);
    try {
      DonneesIndexeesParNo l(&*t, 0);
      for (int i = -1; i < 7; ++i) {
        try {
          uint64_t n = 0;
          l.DonneInfo(i, &n);
        } catch (const exceptions::Exception&) {
        }
      }
      TamponMemoire s = l.PositionneAuDebutInfo();
      unsigned int taille = 0;
      for (uint64_t i = 0; i < l.DonneNombreInfo(); ++i) {
        l.ProchainInfo(s, &taille);
        s.Positionne(s.DonnePosition() + taille);
      }
      return true;
    } catch (const exceptions::Exception&) {
      return false;
    }
  };
  for (size_t n = 0; n < bon.size(); ++n) {
    EXPECT_FALSE(essaie(Octets(bon.begin(), bon.begin() + static_cast<std::ptrdiff_t>(n)))) << n;
  }
  for (size_t i = 0; i < bon.size(); ++i) {
    for (uint8_t v : {uint8_t(0), uint8_t(0xFF), uint8_t(bon[i] ^ 1), uint8_t(bon[i] ^ 0x80)}) {
      Octets o = bon;
      o[i] = v;
      essaie(o);
    }
  }
  Octets largeur = bon;
  largeur[4] = 0;
  EXPECT_FALSE(essaie(largeur));
  Octets offset = bon;
  offset[13] = 200;  // the first record would start past the record area
  TamponSur t(offset);
  DonneesIndexeesParNo l(&*t, 0);
  uint64_t n = 0;
  EXPECT_THROW(l.DonneInfo(0, &n), exceptions::ErreurDeserialisation);
}

}  // namespace
}  // namespace sdd
