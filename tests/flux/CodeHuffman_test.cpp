// The Huffman code: a hand-worked code and its bytes, the edge cases of building and escaping,
// every word of the French list through every way of encoding and decoding, the table decoder
// against the bit-by-bit tree walk, and the serialised code refused when damaged.
#include <outils_socle/flux/CodeHuffman.h>
#include <outils_socle/flux/CodeHuffmanCalcul.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/UniChaine.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "commun/Chaines.h"
#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::Octets;
using essais::OctetsDe;
using essais::TamponSur;
using Calcul = CodeHuffmanCalcul<char16_t>;

using essais::C;

std::string Bits(const CodeHuffman<char16_t>::_Code& c) {
  std::string s;
  for (int i = c.longueur - 1; i >= 0; --i) s += (c.valeur >> i & 1) ? '1' : '0';
  return s;
}

std::string CodeDe(const CodeHuffman<char16_t>& code, char16_t c) {
  bool inconnu = true;
  const auto x = code.PreteCodePourCar(c, &inconnu);
  return (inconnu ? "?" : "") + Bits(x);
}

Calcul Construit(const std::u16string& texte) {
  Calcul c;
  c.CalculCodeAvecDonnees(C(texte));
  return c;
}

const std::vector<std::u16string>& MotsFrancais() {
  static const std::vector<std::u16string> mots = [] {
    std::vector<std::u16string> v;
    std::ifstream f("/usr/share/dict/french");
    std::string ligne;
    while (std::getline(f, ligne)) {
      if (ligne.empty()) continue;
      const ChaineN m(ligne.c_str(), ChaineN::kCodageUTF8);
      v.emplace_back(m.DonneUnites(), m.Longueur());
    }
    return v;
  }();
  return mots;
}

// "abracadabra", worked by hand (docs/huffman.md): a 5, b 2, r 2, c 1, d 1 and the escape leaf.
TEST(CodeHuffman, AbracadabraALOctetPres) {
  const Calcul code = Construit(u"abracadabra");
  EXPECT_EQ(CodeDe(code, u'a'), "0");
  EXPECT_EQ(CodeDe(code, u'r'), "10");
  EXPECT_EQ(CodeDe(code, u'b'), "110");
  EXPECT_EQ(CodeDe(code, u'c'), "1110");
  EXPECT_EQ(CodeDe(code, u'd'), "11111");
  EXPECT_EQ(CodeDe(code, u'z'), "?11110");  // the escape code
  EXPECT_EQ(code.NombreDeCaracteres(), 5u);

  TamponMemoire t;
  code.EncodeTouteLaChaine(C(u"abracadabra"), t);
  EXPECT_EQ(OctetsDe(t), (Octets{0x69, 0xCF, 0xB4}));

  TamponMemoire serialise;
  EXPECT_EQ(code.Ecris(serialise), 0u);
  EXPECT_EQ(OctetsDe(serialise),
            (Octets{0x01, 0x85, 0x00, 0x01, 0x61, 0x00, 0x00, 0x01, 0x72, 0x00, 0x00, 0x01,
                    0x62, 0x00, 0x00, 0x01, 0x63, 0x00, 0x00, 0x02, 0x01, 0x64, 0x00}));
  CodeHuffman<char16_t> relu;
  TamponSur s(OctetsDe(serialise));
  relu.Lis(*s);
  EXPECT_TRUE(s->EstALaFin());
  for (char16_t c : std::u16string(u"abrcdz")) EXPECT_EQ(CodeDe(relu, c), CodeDe(code, c));
  TamponSur bits(Octets{0x69, 0xCF, 0xB4});
  ChaineN texte;
  relu.DecodeLeFlux(*bits, 11, texte);
  EXPECT_EQ(texte, C(u"abracadabra"));
}

TEST(CodeHuffman, UnSeulCaractereEtLEchappement) {
  // One character counted: it and the escape leaf get one bit each.
  const Calcul code = Construit(u"aaaa");
  EXPECT_EQ(CodeDe(code, u'a'), "1");
  EXPECT_EQ(CodeDe(code, u'b'), "?0");
  // An unknown character: the escape code, then its 16 bits, low byte first. "é" = U+00E9.
  TamponMemoire t;
  code.EncodeTouteLaChaine(C(u"éa"), t);
  // 0 | 11101001 | 00000000 | 1, then padding: 0111 0100 1000 0000 01000000
  EXPECT_EQ(OctetsDe(t), (Octets{0x74, 0x80, 0x40}));
  ChaineN texte;
  TamponSur lu(OctetsDe(t));
  code.DecodeLeFlux(*lu, 2, texte);
  EXPECT_EQ(texte, C(u"éa"));

  // Nothing counted: the root is the escape leaf, with a code of no bits.
  Calcul vide;
  vide.ConstruitCodeHuffman();
  EXPECT_EQ(CodeDe(vide, u'x'), "?");
  TamponMemoire v;
  vide.EncodeTouteLaChaine(C(u"xĀ"), v);
  EXPECT_EQ(OctetsDe(v), (Octets{0x78, 0x00, 0x00, 0x01}));
  TamponSur lv(OctetsDe(v));
  vide.DecodeLeFlux(*lv, 2, texte);
  EXPECT_EQ(texte, C(u"xĀ"));
}

TEST(CodeHuffman, ChainesVidesEtChainesALaSuite) {
  const Calcul code = Construit(u"abracadabra");
  TamponMemoire t;
  code.EncodeTouteLaChaine(ChaineN(""), t);
  EXPECT_EQ(t.Taille(), 0u);
  code.EncodeTouteLaChaineAvecLongueur(ChaineN(""), t);
  EXPECT_EQ(OctetsDe(t), (Octets{0x80}));

  // Each string ends on a byte boundary; the reader must be told each length.
  TamponMemoire deux;
  code.EncodeTouteLaChaine(C(u"abc"), deux);  // 0 110 1110 + padding
  const uint64_t milieu = deux.DonnePosition();
  code.EncodeTouteLaChaine(C(u"da"), deux);
  EXPECT_EQ(milieu, 1u);
  EXPECT_EQ(OctetsDe(deux), (Octets{0x6E, 0xF8}));
  TamponSur lu(OctetsDe(deux));
  ChaineN a, b;
  code.DecodeLeFlux(*lu, 3, a);
  EXPECT_EQ(lu->DonnePosition(), 1u);
  code.DecodeLeFlux(*lu, 2, b);
  EXPECT_EQ(a, C(u"abc"));
  EXPECT_EQ(b, C(u"da"));
  code.DecodeLeFlux(*lu, 0, b);
  EXPECT_TRUE(b.EstVide());

  // Asking for more characters than the bytes hold.
  TamponSur court(Octets{0x6E});
  EXPECT_THROW(code.DecodeLeFlux(*court, 5, a), exceptions::ErreurDeserialisation);
  TamponSur enorme(Octets{0x6E});
  EXPECT_THROW(code.DecodeLeFlux(*enorme, 4000000000u, a), exceptions::ErreurDeserialisation);
}

TEST(CodeHuffman, EcrisEnFichierCodeNeCreeRien) {
  essais::DossierTemporaire dossier;
  CodeHuffmanCalculUniChaine code;
  code.CalculCodeAvecDonnees(UniChaine("abc"));
  code.EcrisEnFichierCode(ChaineN("code"), UniChemin((dossier / "").c_str()));
  code.EcrisEnFichierCode(UniChaine("code"), UniChemin((dossier / "").c_str()));
  EXPECT_TRUE(std::filesystem::is_empty(std::filesystem::path(dossier / "")));
}

// Every word of the French list, each with its count, through one code built from them all.
TEST(CodeHuffman, ListeFrancaise) {
  const auto& mots = MotsFrancais();
  ASSERT_GT(mots.size(), 100000u);
  CodeHuffmanCalculUniChaine code;
  for (const auto& m : mots) code.AugmenteCodeAvecDonnees(C(m));
  code.ConstruitCodeHuffman();
  TamponMemoire t;
  for (const auto& m : mots) code.EncodeTouteLaChaineAvecLongueur(C(m), t);
  TamponSur lu(OctetsDe(t));
  ChaineN texte;
  for (const auto& m : mots) {
    code.DecodeLeFluxAvecLongueur(*lu, texte);
    ASSERT_EQ(texte, C(m));
  }
  EXPECT_TRUE(lu->EstALaFin());

  // The serialised code reads back to the same codes, and through UniChaine too.
  TamponMemoire serialise;
  code.Ecris(serialise);
  CodeHuffmanUniChaine relu;
  TamponSur s(OctetsDe(serialise));
  relu.Lis(*s);
  for (uint32_t c = 0; c < 0x300; ++c)
    ASSERT_EQ(CodeDe(relu, static_cast<char16_t>(c)), CodeDe(code, static_cast<char16_t>(c)));
  TamponMemoire u;
  relu.EncodeTouteLaChaineAvecLongueur(UniChaine("cœur"), u);
  UniChaine retour;
  TamponSur lu2(OctetsDe(u));
  code.DecodeLeFluxAvecLongueur(*lu2, retour);
  EXPECT_EQ(retour, UniChaine("cœur"));
}

// The table decoder reads several bits at a time; the tree walk one. Both must agree at every
// character, on codes short and long (counts in a Fibonacci run make codes of up to 29 bits,
// past the table's reach) and with escapes.
TEST(CodeHuffman, LaTableEtLArbreSAccordent) {
  Calcul code;
  uint64_t a = 1, b = 1;
  for (char16_t c = u'A'; c < u'A' + 28; ++c) {
    for (uint64_t i = 0; i < a; ++i) code.AugmenteFrequence(c);
    const uint64_t s = a + b;
    a = b;
    b = s;
  }
  for (const char16_t c : std::u16string(u"éèàùç")) code.AugmenteFrequence(c);
  code.ConstruitCodeHuffman();
  EXPECT_GT(code.PreteCodePourCar(u'A', nullptr).longueur, 11) << "longer than the table reads";
  std::mt19937 alea(7);
  std::u16string texte;
  for (int i = 0; i < 20000; ++i) {
    const unsigned tirage = alea() % 40;
    texte += tirage < 28 ? static_cast<char16_t>(u'A' + tirage) : tirage < 33 ? u"éèàùç"[tirage - 28] : u'€';
  }
  std::vector<unsigned char> octets(texte.size() * 8);
  size_t position = 3;  // not on a byte boundary
  for (char16_t c : texte) ASSERT_TRUE(code.EncodeUnCar(c, octets.data(), octets.size(), &position));
  size_t parTable = 3, parArbre = 3;
  for (char16_t attendu : texte) {
    char16_t x = 0, y = 0;
    ASSERT_TRUE(code.DecodeUnCar(octets.data(), octets.size(), &parTable, &x));
    ASSERT_TRUE(code.DecodeUnCarBitABit(octets.data(), octets.size(), &parArbre, &y));
    ASSERT_EQ(x, attendu);
    ASSERT_EQ(y, attendu);
    ASSERT_EQ(parTable, parArbre);
  }
  EXPECT_EQ(parTable, position);
  // Past the last bit written, a cut array gives nothing and moves nothing.
  const size_t fin = (position + 7) / 8;
  size_t p = position - code.NbBits(texte.back());
  char16_t x = 0;
  EXPECT_TRUE(code.DecodeUnCar(octets.data(), fin, &p, &x));
  p = position - code.NbBits(texte.back());
  EXPECT_FALSE(code.DecodeUnCar(octets.data(), (position - 1) / 8, &p, &x));
  EXPECT_EQ(p, position - code.NbBits(texte.back()));
  // An array too short to take a character is left alone.
  unsigned char petit[1] = {0xAA};
  size_t q = 0;
  EXPECT_FALSE(code.EncodeUnCar(u'A', petit, 1, &q));
  EXPECT_EQ(petit[0], 0xAA);
  EXPECT_EQ(q, 0u);
}

// Strings sharing bytes, one character at a time and through streams of 16-bit units.
class CodeOuvert : public CodeHuffmanCalcul<char16_t> {
 public:
  using CodeHuffman::DecodeLeFluxAvecDecalage;
  using CodeHuffman::EncodeTouteLaChaineAvecLeDecalage;
};

TEST(CodeHuffman, OctetsPartagesEtFluxDeCaracteres) {
  CodeOuvert code;
  code.CalculCodeAvecDonnees(C(u"abracadabra"));
  TamponMemoire t;
  unsigned char octet = 0, decalage = 0;
  code.EncodeTouteLaChaineAvecLeDecalage(C(u"abr"), &octet, &decalage, t);
  code.EncodeTouteLaChaineAvecLeDecalage(C(u"cad"), &octet, &decalage, t);
  code.EncodeUnCar(u'a', &octet, &decalage, t);
  code.EncodeUnCar(u'ÿ', &octet, &decalage, t);  // escaped
  if (decalage != 0) t.Mets(octet);
  // 0 110 10 | 1110 0 11111 | 0 | 11110 11111111 00000000 → 3 + 1 + 6 bytes of bits.
  TamponSur lu(OctetsDe(t));
  octet = decalage = 0;
  ChaineN a, b;
  code.DecodeLeFluxAvecDecalage(*lu, 3, &octet, &decalage, a);
  code.DecodeLeFluxAvecDecalage(*lu, 3, &octet, &decalage, b);
  char16_t c1 = 0, c2 = 0;
  ASSERT_TRUE(code.DecodeUnCar(*lu, &octet, &decalage, &c1));
  ASSERT_TRUE(code.DecodeUnCar(*lu, &octet, &decalage, &c2));
  EXPECT_EQ(a, C(u"abr"));
  EXPECT_EQ(b, C(u"cad"));
  EXPECT_EQ(c1, u'a');
  EXPECT_EQ(c2, u'ÿ');
  // Two bits of padding are left, and "a" is "0": the format cannot tell them from text, which
  // is why lengths are stored apart.
  int encore = 0;
  while (code.DecodeUnCar(*lu, &octet, &decalage, &c1)) ++encore;
  EXPECT_EQ(encore, 2);

  // 16-bit units in, bits out, units back.
  TamponMemoire unites;
  for (char16_t c : std::u16string(u"abracadabra€")) Serialiseur<char16_t>::Ecris(unites, c);
  unites.Mets(uint8_t{0x61});  // a lone last byte is not a character
  unites.Positionne(0);
  TamponMemoire bits;
  EXPECT_EQ(code.EncodeTousLeFluxEntree(unites, 100, bits), 12u);
  TamponSur lb(OctetsDe(bits));
  TamponMemoire retour;
  EXPECT_EQ(code.DecodeLeFluxEntreeEtArrete(*lb, 12, retour), 12u);
  Octets attendu = OctetsDe(unites);
  attendu.pop_back();
  EXPECT_EQ(OctetsDe(retour), attendu);
  TamponSur lb2(OctetsDe(bits));
  TamponMemoire trop;
  EXPECT_THROW(code.DecodeLeFluxEntreeEtArrete(*lb2, 40, trop), exceptions::ErreurDeserialisation);

  // Counting from a stream gives the code counting the string gives.
  unites.Positionne(0);
  Calcul parFlux;
  parFlux.CalculCodeAvecDonnees(unites);
  for (char16_t c : std::u16string(u"abrcd€z"))
    EXPECT_EQ(CodeDe(parFlux, c), CodeDe(Construit(u"abracadabra€"), c));
}

// The stream path that cannot see memory (a plain file) decodes as the in-memory one does.
TEST(CodeHuffman, FichierSansMemoire) {
  essais::DossierTemporaire dossier;
  const Calcul code = Construit(u"le chat dort sur le lit");
  {
    Fichier f((dossier / "bits").c_str(), Fichier::eEcriture);
    for (const char16_t* m : {u"le chat", u"dort", u"là"}) code.EncodeTouteLaChaineAvecLongueur(C(m), f);
  }
  Fichier f((dossier / "bits").c_str(), Fichier::eLecture);
  ChaineN m;
  for (const char16_t* attendu : {u"le chat", u"dort", u"là"}) {
    code.DecodeLeFluxAvecLongueur(f, m);
    EXPECT_EQ(m, C(attendu));
  }
}

Octets Serialise(const CodeHuffman<char16_t>& code) {
  TamponMemoire t;
  code.Ecris(t);
  return OctetsDe(t);
}

// The tree of `profondeur` internal nodes in a chain: the last character's code has that many
// bits.
Octets Chaine(unsigned profondeur) {
  Octets o{1, static_cast<uint8_t>(0x80 + profondeur)};
  for (unsigned i = 0; i < profondeur; ++i) {
    o.push_back(0);
    o.insert(o.end(), {1, static_cast<uint8_t>(0x41 + i % 26), static_cast<uint8_t>(i / 26)});
  }
  o.push_back(2);
  return o;
}

TEST(CodeHuffman, CodeSerialiseEndommageRefuse) {
  const Octets bon = Serialise(Construit(u"le chat dort sur le lit de la chambre"));
  auto refuse = [](const Octets& o) {
    TamponSur t(o);
    CodeHuffman<char16_t> code;
    try {
      code.Lis(*t);
    } catch (const exceptions::ErreurDeserialisation&) {
      return true;
    }
    return false;
  };
  for (size_t n = 0; n < bon.size(); ++n) EXPECT_TRUE(refuse(Octets(bon.begin(), bon.begin() + n))) << n;
  EXPECT_FALSE(refuse(bon));
  // Any byte changed: refused, or a code that works (never a crash, under the sanitizers).
  for (size_t i = 0; i < bon.size(); ++i) {
    for (uint8_t v : {uint8_t(0), uint8_t(1), uint8_t(2), uint8_t(0xFF), uint8_t(bon[i] ^ 1)}) {
      Octets o = bon;
      o[i] = v;
      if (refuse(o)) continue;
      TamponSur t(o);
      CodeHuffman<char16_t> code;
      code.Lis(*t);
      TamponMemoire bits;
      code.EncodeTouteLaChaine(ChaineN("le chat"), bits);
      ChaineN retour;
      TamponSur lu(OctetsDe(bits));
      code.DecodeLeFlux(*lu, 7, retour);
      EXPECT_EQ(retour, ChaineN("le chat"));
    }
  }
  TamponSur version(Octets{2, 0x80, 2});
  CodeHuffman<char16_t> code;
  EXPECT_SDD_THROW(code.Lis(*version), exceptions::ErreurDeserialisation, "Erreur de désérialisation",
                   "Code de Huffman : version non gérée");
  EXPECT_TRUE(refuse(Octets{1, 0x80, 0, 2, 2}));                          // two escape leaves
  EXPECT_TRUE(refuse(Octets{1, 0x82, 0, 1, 0x61, 0, 0, 1, 0x61, 0, 2}));  // "a" twice
  EXPECT_TRUE(refuse(Octets{1, 0x82, 0, 1, 0x61, 0, 2}));  // two characters announced, one found
  EXPECT_TRUE(refuse(Octets{1, 0x80, 3}));                 // no such node
  EXPECT_FALSE(refuse(Chaine(64)));
  EXPECT_TRUE(refuse(Chaine(65)));  // codes of 65 bits
}

// Codes of the full 64 bits encode and decode.
TEST(CodeHuffman, CodesDeSoixanteQuatreBits) {
  TamponSur t(Chaine(64));
  CodeHuffman<char16_t> code;
  code.Lis(*t);
  // The chain's deepest character: 63 ones then a 0... and the escape leaf at 64 ones.
  const char16_t profond = static_cast<char16_t>(0x41 + 63 % 26 + 0x100 * (63 / 26));
  EXPECT_EQ(code.PreteCodePourCar(profond, nullptr).longueur, 64);
  EXPECT_EQ(code.NbBits(u'z'), 64u + 16u);
  const std::u16string texte = {profond, u'A', u'z', profond, u'B'};
  TamponMemoire bits;
  code.EncodeTouteLaChaine(C(texte), bits);
  TamponSur lu(OctetsDe(bits));
  ChaineN retour;
  code.DecodeLeFlux(*lu, static_cast<unsigned>(texte.size()), retour);
  EXPECT_EQ(retour, C(texte));
}

}  // namespace
}  // namespace sdd
