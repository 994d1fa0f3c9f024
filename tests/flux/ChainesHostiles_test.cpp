// Every hostile string through every string writer of the streams subsystem and back: each is
// given back exactly, refused before anything is written, or changed in the documented way with
// the change counted (docs/exactitude.md holds the table these tests check).
#include <outils_socle/flux/CodeHuffman.h>
#include <outils_socle/flux/CodeHuffmanCalcul.h>
#include <outils_socle/flux/EncodageParBlocCompresse.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "commun/Chaines.h"
#include "commun/ChainesHostiles.h"

namespace sdd {
namespace {

using essais::C;
using essais::U16;

constexpr ChaineN::Codage kCodages[] = {
    ChaineN::kCodageMacRoman, ChaineN::kCodageLatin9,  ChaineN::kCodageWinLatin1, ChaineN::kCodageDOS,
    ChaineN::kCodageUTF8,     ChaineN::kCodageUTF16LE, ChaineN::kCodageUTF16BE};

// What `codage` gives back of `s`: the string itself when nothing is counted unrepresentable.
ChaineN Reencode(const ChaineN& s, ChaineN::Codage codage) {
  const std::string octets = s.Encode(codage);
  return ChaineN(octets.data(), codage, octets.size());
}

// The text up to its first U+0000.
std::u16string JusquAuZero(const std::u16string& s) { return s.substr(0, s.find(u'\0')); }

TEST(ChainesHostiles, ChaineNSurUnFlux) {
  for (const std::u16string& s : essais::ChainesHostiles()) {
    SCOPED_TRACE(essais::EnHexa(s));
    for (const ChaineN::Codage codage : kCodages) {
      TamponMemoire t;
      t.Mets(uint8_t{'x'});
      if (essais::ContientNul(s)) {  // the reader would stop at it
        EXPECT_THROW(C(s).Ecris(t, codage), exceptions::OperationInvalide);
        EXPECT_EQ(t.Taille(), 1u);
        continue;
      }
      EXPECT_EQ(C(s).Ecris(t, codage), 1u);
      t.Positionne(1);
      ChaineN relue;
      relue.Lis(t, codage);
      EXPECT_EQ(relue, Reencode(C(s), codage)) << codage;
      EXPECT_EQ(relue == C(s), C(s).CompteNonRepresentables(codage) == 0) << codage;
      EXPECT_TRUE(t.EstALaFin());
    }
  }
}

TEST(ChainesHostiles, ChainesCompressees) {
  for (const std::u16string& s : essais::ChainesHostiles()) {
    SCOPED_TRACE(essais::EnHexa(s));
    TamponMemoire t;
    uint64_t changees = 99;
    TamponMemoire::CompresseChaineN(t, C(s), &changees);
    t.Positionne(0);
    const ChaineN relue = TamponMemoire::DecompresseChaineN(t);
    // The UTF-8 bytes up to the first zero byte, read back; the count says how many of the
    // text's units differ from what comes back in their place.
    const std::string utf8 = C(s).Encode(ChaineN::kCodageUTF8);
    const std::string coupe = utf8.substr(0, utf8.find('\0'));
    EXPECT_EQ(relue, ChaineN(coupe.data(), ChaineN::kCodageUTF8, coupe.size()));
    const std::u16string r = U16(relue);
    uint64_t differentes = 0;
    for (std::size_t i = 0; i < s.size(); ++i) differentes += i >= r.size() || r[i] != s[i];
    EXPECT_EQ(changees, differentes);
    EXPECT_EQ(changees == 0, relue == C(s));
    if (!essais::ContientNul(s) && !essais::ASubstitutIsole(s)) {
      EXPECT_EQ(changees, 0u);
    }

    const UniChaine uni(s);
    TamponMemoire u;
    if (essais::ASubstitutIsole(s)) {  // no UTF-8 form at all
      EXPECT_THROW(TamponMemoire::CompresseUniChaine(u, uni, &changees), exceptions::OperationInvalide);
      EXPECT_EQ(u.Taille(), 0u);
      continue;
    }
    TamponMemoire::CompresseUniChaine(u, uni, &changees);
    u.Positionne(0);
    EXPECT_EQ(TamponMemoire::DecompresseUniChaine(u).DonneU16String(), JusquAuZero(s));
    EXPECT_EQ(changees, s.size() - JusquAuZero(s).size());
  }
}

TEST(ChainesHostiles, ChainesAvecLongueur) {
  for (const std::u16string& s : essais::ChainesHostiles()) {
    SCOPED_TRACE(essais::EnHexa(s));
    TamponMemoire t;
    const UniChaine uni(s);
    if (essais::ASubstitutIsole(s)) {
      EXPECT_THROW(Serialiseur<UniChaine>::Ecris(t, uni), exceptions::OperationInvalide);
      EXPECT_EQ(t.Taille(), 0u);
    } else {
      Serialiseur<UniChaine>::Ecris(t, uni);
      t.Positionne(0);
      UniChaine relue;
      Serialiseur<UniChaine>::Lis(t, &relue);
      EXPECT_EQ(relue.DonneU16String(), s);  // U+0000 included: the length says where it ends
    }
    // Bytes are bytes: the UTF-16 of the string, zero bytes and all.
    const std::string octets = C(s).Encode(ChaineN::kCodageUTF16LE);
    TamponMemoire b;
    Serialiseur<std::string>::Ecris(b, octets);
    b.Positionne(0);
    std::string relus;
    Serialiseur<std::string>::Lis(b, &relus);
    EXPECT_EQ(relus, octets);
  }
}

TEST(ChainesHostiles, Blocs) {
  for (const ChaineN::Codage codage : kCodages) {
    TamponMemoire sortie;
    EncodageParBlocCompresse encodeur(&sortie, 1 << 16, CompressionZlib);
    std::vector<std::pair<std::u16string, _typPositionEncodageBloc>> ranges;
    for (const std::u16string& s : essais::ChainesHostiles()) {
      SCOPED_TRACE(essais::EnHexa(s));
      const uint64_t avant = sortie.Taille();
      if (essais::ContientNul(s) || C(s).Encode(codage).size() + 16 > (1u << 16)) {
        EXPECT_THROW(encodeur.EncodeChaine(C(s), codage), exceptions::OperationInvalide);
        EXPECT_EQ(sortie.Taille(), avant);
        continue;
      }
      ranges.emplace_back(s, encodeur.EncodeChaine(C(s), codage));
    }
    encodeur.TermineEncodage();
    DecodageParBlocCompresse decodeur(&sortie, 0);
    for (const auto& [s, position] : ranges) {
      SCOPED_TRACE(essais::EnHexa(s));
      ChaineN relue;
      decodeur.DecodeChaine(position, relue, codage);
      EXPECT_EQ(relue, Reencode(C(s), codage)) << codage;
    }
  }
}

// A Huffman code keeps every unit, those it was built without included (escaped), lone
// surrogates and U+0000 too.
TEST(ChainesHostiles, Huffman) {
  CodeHuffmanCalcul<char16_t, CodeHuffman<char16_t>> code;
  code.CalculCodeAvecDonnees(ChaineN("le texte sur lequel le code est construit, œuvre d’été"));
  code.ConstruitCodeHuffman();
  TamponMemoire forme;
  code.Ecris(forme);
  forme.Positionne(0);
  CodeHuffman<char16_t> relu;
  relu.Lis(forme);
  for (const std::u16string& s : essais::ChainesHostiles()) {
    SCOPED_TRACE(essais::EnHexa(s));
    TamponMemoire t;
    code.EncodeTouteLaChaineAvecLongueur(C(s), t);
    t.Positionne(0);
    ChaineN relue;
    relu.DecodeLeFluxAvecLongueur(t, relue);
    EXPECT_EQ(U16(relue), s);
  }
}

}  // namespace
}  // namespace sdd
