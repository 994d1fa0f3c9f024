// The converters against independent references: Python's codecs for the four code pages and
// for UTF-8 decoding (see tests/donnees/genere_references.py), hand-worked byte strings for the
// rows of the well-formed UTF-8 table.
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/UTF8.h>

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "commun/Chaines.h"
#include "commun/ChainesHostiles.h"
#include "commun/Commande.h"
#include "commun/Exceptions.h"

namespace sdd {
namespace {

using C = ChaineN;

std::vector<char16_t> Unites(const ChaineN& s) { return {s.begin(), s.end()}; }

std::string Octets(std::initializer_list<int> octets) {
  std::string s;
  for (int o : octets) s += static_cast<char>(o);
  return s;
}

std::vector<char16_t> Decode(const std::string& octets) {
  return Unites(ChaineN(octets.data(), C::kCodageUTF8, octets.size()));
}

const std::map<std::string, C::Codage> kPages = {{"MacRoman", C::kCodageMacRoman},
                                                 {"Latin9", C::kCodageLatin9},
                                                 {"WinLatin1", C::kCodageWinLatin1},
                                                 {"DOS", C::kCodageDOS}};

TEST(ConvertisseurChaineN, CodesUnOctetContrePythonDansLesDeuxSens) {
  std::ifstream f(OUTILS_SOCLE_DONNEES_TESTS "/codes_un_octet.txt");
  ASSERT_TRUE(f) << "reference data missing";
  std::map<std::string, std::map<char16_t, unsigned>> encodages;
  std::map<std::string, std::vector<unsigned>> indefinis;
  std::string sens, page, a, b;
  int lignes = 0;
  while (f >> sens >> page >> a >> b) {
    ++lignes;
    const auto& conv = static_cast<const ConvertisseurChaineNCodageUnOctet&>(
        ConvertisseurChaineN::ConvertisseurPourCodage(kPages.at(page)));
    if (sens == "decode") {
      const unsigned octet = std::stoul(a, nullptr, 16);
      if (b == "-") {
        indefinis[page].push_back(octet);
        EXPECT_EQ(conv.DonneUnite(static_cast<unsigned char>(octet)), u'?') << page << " " << a;
      } else {
        EXPECT_EQ(conv.DonneUnite(static_cast<unsigned char>(octet)), std::stoul(b, nullptr, 16))
            << page << " byte " << a;
      }
    } else {
      encodages[page][static_cast<char16_t>(std::stoul(a, nullptr, 16))] = std::stoul(b, nullptr, 16);
    }
  }
  EXPECT_GT(lignes, 2000);
  // The only bytes Python leaves undefined are Windows-1252's five, which we decode to "?".
  EXPECT_EQ(indefinis.size(), 1u);
  EXPECT_EQ(indefinis["WinLatin1"], (std::vector<unsigned>{0x81, 0x8D, 0x8F, 0x90, 0x9D}));
  // Every unit encodes as Python does, and to "?" where Python cannot encode it.
  for (const auto& [page, codage] : kPages) {
    const auto& conv = static_cast<const ConvertisseurChaineNCodageUnOctet&>(
        ConvertisseurChaineN::ConvertisseurPourCodage(codage));
    const auto& attendus = encodages[page];
    ASSERT_GT(attendus.size(), 250u) << page;
    for (unsigned u = 0; u <= 0xFFFF; ++u) {
      const auto it = attendus.find(static_cast<char16_t>(u));
      const unsigned attendu = it == attendus.end() ? '?' : it->second;
      ASSERT_EQ(conv.DonneOctet(static_cast<char16_t>(u)), attendu) << page << " unit " << std::hex << u;
    }
  }
}

TEST(ConvertisseurChaineN, EuroDansLesQuatreCodesUnOctet) {
  const ChaineN euro(u"\u20AC");
  EXPECT_EQ(euro.Encode(C::kCodageWinLatin1), "\x80");
  EXPECT_EQ(euro.Encode(C::kCodageLatin9), "\xA4");
  EXPECT_EQ(euro.Encode(C::kCodageMacRoman), "\xDB");
  EXPECT_EQ(euro.Encode(C::kCodageDOS), "?");
  EXPECT_EQ(euro.CompteNonRepresentables(C::kCodageDOS), 1u);
  EXPECT_EQ(ChaineN(u"a?b").CompteNonRepresentables(C::kCodageDOS), 0u);
  // The published Mac OS Roman table, not glibc's variant.
  EXPECT_EQ(ChaineN::DonneUniCarPourCarMacRoman(0xC6), 0x2206);
  EXPECT_EQ(ChaineN::DonneUniCarPourCarMacRoman(0xF0), 0xF8FF);
  EXPECT_EQ(ChaineN::DonneUniCarPourCarMacRoman(0xFF), 0x02C7);
  EXPECT_EQ(ChaineN::DonneCarMacRomanPourUniCar(u'é'), 0x8E);
  EXPECT_EQ(ChaineN::DonneCarMacRomanPourUniCar(0x4E00), '?');
}

TEST(ConvertisseurChaineN, UneValeurHorsDomaineChoisitMacRoman) {
  EXPECT_EQ(&ConvertisseurChaineN::ConvertisseurPourCodage(7),
            &ConvertisseurChaineN::ConvertisseurPourCodage(C::kCodageMacRoman));
  EXPECT_EQ(&ConvertisseurChaineN::ConvertisseurPourCodage(-1),
            &ConvertisseurChaineN::ConvertisseurPourCodage(0));
  EXPECT_EQ(ChaineN("\x8E", static_cast<C::Codage>(42)).Longueur(), 1u);
  EXPECT_EQ(ChaineN("\x8E", static_cast<C::Codage>(42))[0], u'é');
}

TEST(ConvertisseurChaineN, UTF8LignesDuTableauBienForme) {
  // The lowest and highest sequence of each row decode to one character.
  struct Ligne {
    std::string octets;
    std::vector<char16_t> unites;
  };
  const Ligne lignes[] = {
      {Octets({0x7F}), {0x7F}},
      {Octets({0xC2, 0x80}), {0x80}},
      {Octets({0xDF, 0xBF}), {0x7FF}},
      {Octets({0xE0, 0xA0, 0x80}), {0x800}},
      {Octets({0xE1, 0x80, 0x80}), {0x1000}},
      {Octets({0xEC, 0xBF, 0xBF}), {0xCFFF}},
      {Octets({0xED, 0x80, 0x80}), {0xD000}},
      {Octets({0xED, 0x9F, 0xBF}), {0xD7FF}},
      {Octets({0xEE, 0x80, 0x80}), {0xE000}},
      {Octets({0xEF, 0xBF, 0xBF}), {0xFFFF}},
      {Octets({0xF0, 0x90, 0x80, 0x80}), {0xD800, 0xDC00}},
      {Octets({0xF0, 0x9F, 0x98, 0x80}), {0xD83D, 0xDE00}},
      {Octets({0xF1, 0x80, 0x80, 0x80}), {0xD8C0, 0xDC00}},
      {Octets({0xF4, 0x8F, 0xBF, 0xBF}), {0xDBFF, 0xDFFF}},
  };
  for (const Ligne& l : lignes) EXPECT_EQ(Decode(l.octets), l.unites) << l.octets.size();
}

TEST(ConvertisseurChaineN, UTF8RupturesEtOctetsDeTeteInvalides) {
  const char16_t R = 0xFFFD;
  EXPECT_EQ(Decode(Octets({0xC0})), (std::vector<char16_t>{R}));
  EXPECT_EQ(Decode(Octets({0xC1, 0xBF})), (std::vector<char16_t>{R, R}));
  EXPECT_EQ(Decode(Octets({0xE2, 0x82, 'A'})), (std::vector<char16_t>{R, u'A'}));
  EXPECT_EQ(Decode(Octets({0xE2, 0x82})), (std::vector<char16_t>{R}));  // cut by the end
  // Just outside each restricted second byte: the lead alone is the broken sequence.
  EXPECT_EQ(Decode(Octets({0xE0, 0x9F, 0x80})), (std::vector<char16_t>{R, R, R}));
  EXPECT_EQ(Decode(Octets({0xED, 0xA0, 0x80})), (std::vector<char16_t>{R, R, R}));
  EXPECT_EQ(Decode(Octets({0xF0, 0x8F, 0xBF, 0xBF})), (std::vector<char16_t>{R, R, R, R}));
  EXPECT_EQ(Decode(Octets({0xF4, 0x90, 0x80, 0x80})), (std::vector<char16_t>{R, R, R, R}));
  EXPECT_EQ(Decode(Octets({0xF5, 0x80})), (std::vector<char16_t>{R, R}));
  EXPECT_EQ(Decode(Octets({0xF0, 0x9F, 0x98, 'x'})), (std::vector<char16_t>{R, u'x'}));
  EXPECT_EQ(Decode(Octets({0xFF})), (std::vector<char16_t>{R}));
}

TEST(ConvertisseurChaineN, UTF8AleatoireContrePython) {
  std::ifstream f(OUTILS_SOCLE_DONNEES_TESTS "/utf8_aleatoire.txt");
  ASSERT_TRUE(f) << "reference data missing";
  std::string hexOctets, hexUnites, premiereErreur;
  int lignes = 0;
  const auto& utf8 = ConvertisseurChaineN::ConvertisseurPourCodage(C::kCodageUTF8);
  while (f >> hexOctets >> hexUnites >> premiereErreur) {
    ++lignes;
    std::string octets;
    for (size_t i = 0; i < hexOctets.size(); i += 2)
      octets += static_cast<char>(std::stoul(hexOctets.substr(i, 2), nullptr, 16));
    std::vector<char16_t> attendu;
    for (size_t i = 0; i < hexUnites.size(); i += 4)
      attendu.push_back(static_cast<char16_t>(std::stoul(hexUnites.substr(i, 4), nullptr, 16)));
    ASSERT_EQ(Decode(octets), attendu) << hexOctets;
    ASSERT_EQ(utf8.CompteUnites(octets.data(), octets.size()), attendu.size()) << hexOctets;
    // Character by character gives the same units.
    std::vector<char16_t> parCaractere;
    for (size_t i = 0; i < octets.size();) {
      char16_t u[2];
      unsigned ecrites;
      i += utf8.DecodeCaractere(octets.data() + i, octets.size() - i, u, &ecrites);
      parCaractere.insert(parCaractere.end(), u, u + ecrites);
    }
    ASSERT_EQ(parCaractere, attendu) << hexOctets;
    // The validating face of the same decoder: where a strict decode stops.
    const size_t erreur = PremiereErreurUTF8(octets);
    ASSERT_EQ(erreur == std::string_view::npos ? "-" : std::to_string(erreur), premiereErreur) << hexOctets;
  }
  EXPECT_EQ(lignes, 4000);
}

TEST(ConvertisseurChaineN, UTF8LongTexteTraverseLeCheminRapide) {
  // Runs of ASCII longer than 16 bytes with accents at every offset around the 16-byte blocks.
  for (int decalage = 0; decalage < 40; ++decalage) {
    std::string texte(static_cast<size_t>(decalage), 'a');
    texte += "é";
    texte += std::string(33, 'b');
    texte += "\xF0\x9F\x98\x80";
    const ChaineN s(texte);
    ASSERT_EQ(s.Longueur(), static_cast<uint64_t>(decalage) + 1 + 33 + 2);
    ASSERT_EQ(s[static_cast<uint64_t>(decalage)], u'é');
    ASSERT_EQ(s.Encode(), texte);
  }
}

TEST(ConvertisseurChaineN, UTF8EncodageDesSubstituts) {
  // A surrogate joins the next unit whatever it is; a final one stands alone in 3 bytes.
  EXPECT_EQ(ChaineN(u"\xD83D\xDE00", 2).Encode(), "\xF0\x9F\x98\x80");
  EXPECT_EQ(ChaineN(u"a\xD800", 2).Encode(), "a\xED\xA0\x80");
  const char16_t hautSuiviDeA[] = {0xD800, u'A'};
  // ((0xD800 & 0x3FF) + 0x40) << 10 | (0x41 & 0x3FF) = 0x10041
  EXPECT_EQ(ChaineN(hautSuiviDeA, 2).Encode(), "\xF0\x90\x81\x81");
  EXPECT_EQ(ChaineN(u"\u07FF\u0800\uFFFF", 3).Encode(), "\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
}

TEST(ConvertisseurChaineN, UTF16DansLesDeuxOrdres) {
  const ChaineN s(u"é\xD83D\xDE00");
  EXPECT_EQ(s.Encode(C::kCodageUTF16LE), std::string("\xE9\x00\x3D\xD8\x00\xDE", 6));
  EXPECT_EQ(s.Encode(C::kCodageUTF16BE), std::string("\x00\xE9\xD8\x3D\xDE\x00", 6));
  EXPECT_EQ(ChaineN(std::string("\x00\xE9\x00", 3), C::kCodageUTF16BE), ChaineN(u"é"));  // odd byte dropped
  // A zero-terminated UTF-16 byte string ends at a zero unit, not at a zero byte.
  const char le[] = "A\0\0\x01\0";  // 'A', U+0100, then the terminator
  EXPECT_EQ(ChaineN(le, C::kCodageUTF16LE), ChaineN(u"A\u0100"));
}

}  // namespace
}  // namespace sdd

namespace sdd {
namespace {

// Every hostile string through the seven encodings and back. UTF-16 keeps every unit; UTF-8
// keeps every string without a lone surrogate, byte for byte as Python's codec writes it; a
// code page keeps what it has and writes "?" for each unit it lacks. Whatever is not given back
// is counted by CompteNonRepresentables, so a caller can know before writing.
TEST(ConvertisseurChaineN, ChainesHostilesAllerEtRetour) {
  const std::vector<std::u16string> chaines = essais::ChainesHostiles();
  const std::string liste = ::testing::TempDir() + "chaines_hostiles.txt";
  {
    std::ofstream f(liste);
    for (const std::u16string& s : chaines) {
      if (s.empty()) f << '-';
      for (const char16_t u : s) f << std::hex << static_cast<unsigned>(u) << ' ';
      f << '\n';
    }
  }
  const std::string commande = std::string(OUTILS_SOCLE_PYTHON3) + " " + OUTILS_SOCLE_SOURCES_TESTS +
                               "/texte/encode_chaines.py " + liste;
  int code = 0;
  const std::vector<std::string> lignes = essais::LignesDeCommande(commande, &code);
  ASSERT_EQ(code, 0) << commande;
  ASSERT_EQ(lignes.size(), chaines.size());
  std::size_t k = 0;

  for (const std::u16string& s : chaines) {
    SCOPED_TRACE(essais::EnHexa(s));
    const ChaineN chaine(s.data(), static_cast<uint64_t>(s.size()));
    std::string utf8, utf16le, utf16be;
    std::istringstream(lignes[k++]) >> utf8 >> utf16le >> utf16be;
    EXPECT_EQ(essais::Hexa(chaine.Encode(C::kCodageUTF16LE)), utf16le);
    EXPECT_EQ(essais::Hexa(chaine.Encode(C::kCodageUTF16BE)), utf16be);
    for (const C::Codage codage : {C::kCodageUTF16LE, C::kCodageUTF16BE}) {
      const std::string octets = chaine.Encode(codage);
      EXPECT_EQ(ChaineN(octets.data(), codage, octets.size()), chaine);
      EXPECT_EQ(chaine.CompteNonRepresentables(codage), 0u);
    }
    const std::string octets = chaine.Encode(C::kCodageUTF8);
    const ChaineN relue(octets.data(), C::kCodageUTF8, octets.size());
    if (essais::ASubstitutIsole(s)) {
      EXPECT_EQ(utf8, "x");
      EXPECT_GT(chaine.CompteNonRepresentables(C::kCodageUTF8), 0u);
      EXPECT_NE(relue, chaine);
    } else {
      EXPECT_EQ(essais::Hexa(octets), utf8);
      EXPECT_EQ(chaine.CompteNonRepresentables(C::kCodageUTF8), 0u);
      EXPECT_EQ(relue, chaine);
    }
    for (const auto& [nom, codage] : kPages) {
      const auto& conv = static_cast<const ConvertisseurChaineNCodageUnOctet&>(
          ConvertisseurChaineN::ConvertisseurPourCodage(codage));
      std::u16string attendu = s;
      uint64_t remplaces = 0;
      for (char16_t& u : attendu) {
        if (u == u'?') continue;
        const char16_t retour = conv.DonneUnite(static_cast<unsigned char>(conv.DonneOctet(u)));
        if (retour != u) {
          u = u'?';
          ++remplaces;
        }
      }
      const std::string page = chaine.Encode(codage);
      EXPECT_EQ(essais::U16(ChaineN(page.data(), codage, page.size())), attendu) << nom;
      EXPECT_EQ(chaine.CompteNonRepresentables(codage), remplaces) << nom;
    }
  }
}

}  // namespace
}  // namespace sdd
