#include <gtest/gtest.h>

#include <outils_socle/texte/UTF8.h>
#include <outils_socle/xml/EcritureXML.h>
#include <outils_socle/xml/ParseurXML.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "commun/ChainesHostiles.h"
#include "commun/Commande.h"
#include "commun/Exceptions.h"
#include "xml/Arbres.h"

namespace fs = std::filesystem;
using sdd::Balise;
using sdd::eCodageXML;
using sdd::EcrisXML;
using sdd::OptionsEcritureXML;
using sdd::ParseurXML;

namespace {

OptionsEcritureXML Options(eCodageXML codage, int indentation = 0, bool declaration = true) {
  OptionsEcritureXML o;
  o.codage = codage;
  o.indentation = indentation;
  o.declaration = declaration;
  return o;
}

Balise Reglages() {
  Balise r("reglages");
  r.MetsAttribut("version", "2");
  Balise& affichage = r.AjouteEnfant("affichage");
  affichage.AjouteEnfant("police", "DejaVu Sans").MetsAttribut("taille", "12");
  affichage.AjouteEnfant("theme", "sombre");
  r.AjouteEnfant("vide");
  return r;
}

}  // namespace

TEST(EcritureXML, FormesExactes) {
  EXPECT_EQ(
      EcrisXML(Reglages()),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<reglages version=\"2\"><affichage><police taille=\"12\">DejaVu Sans</police><theme>sombre</theme>"
      "</affichage><vide/></reglages>\n");
  EXPECT_EQ(EcrisXML(Reglages(), Options(eCodageXML::eUTF8, 2, false)),
            "<reglages version=\"2\">\n"
            "  <affichage>\n"
            "    <police taille=\"12\">DejaVu Sans</police>\n"
            "    <theme>sombre</theme>\n"
            "  </affichage>\n"
            "  <vide/>\n"
            "</reglages>\n");
  // Mixed content is written as it is, even when indenting.
  Balise p("p", "Un ");
  p.AjouteEnfant("b", "mot").MetsQueue(" ici");
  Balise racine("r");
  racine.AjouteEnfant(p);
  EXPECT_EQ(EcrisXML(racine, Options(eCodageXML::eUTF8, 1, false)), "<r>\n <p>Un <b>mot</b> ici</p>\n</r>\n");
}

TEST(EcritureXML, Echappement) {
  Balise b("t", "a & b < c > d ]]> e\rf\ng\th \" '");
  b.MetsAttribut("v", "a & b < c > d \" ' \t\n\r");
  EXPECT_EQ(EcrisXML(b, Options(eCodageXML::eUTF8, 0, false)),
            "<t v=\"a &amp; b &lt; c > d &quot; ' &#9;&#10;&#13;\">"
            "a &amp; b &lt; c &gt; d ]]&gt; e&#13;f\ng\th \" '</t>\n");
  EXPECT_EQ(ParseurXML().LisTexte(EcrisXML(b)), b);
}

TEST(EcritureXML, Codages) {
  Balise b("prix", "12 € œuvre Ω \xF0\x9D\x84\x9E");
  b.MetsAttribut("devise", "€Ω");
  const std::string latin9 = EcrisXML(b, Options(eCodageXML::eISO8859_15, 0, false));
  EXPECT_EQ(latin9,
            "<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?>\n"
            "<prix devise=\"\xA4&#x3A9;\">12 \xA4 \xBDuvre &#x3A9; &#x1D11E;</prix>\n");
  const std::string utf16 = EcrisXML(b, Options(eCodageXML::eUTF16));
  ASSERT_GE(utf16.size(), 4u);
  EXPECT_EQ(utf16.substr(0, 4), std::string("\xFF\xFE<\0", 4));
  for (const std::string& octets : {latin9, utf16, EcrisXML(b)}) EXPECT_EQ(ParseurXML().LisTexte(octets), b);
  // A name has no reference to fall back on.
  EXPECT_THROW(EcrisXML(Balise("Ωmega"), Options(eCodageXML::eISO8859_15)),
               sdd::exceptions::OperationInvalide);
  EXPECT_NO_THROW(EcrisXML(Balise("œuvre"), Options(eCodageXML::eISO8859_15)));
}

TEST(EcritureXML, CeQuiNeSEcritPasEstRefuse) {
  const auto refuse = [](const Balise& b) {
    EXPECT_THROW(EcrisXML(b), sdd::exceptions::OperationInvalide) << b.Nom();
  };
  refuse(Balise(""));
  refuse(Balise("1a"));
  refuse(Balise("a b"));
  refuse(Balise("p:"));
  refuse(Balise("p:a"));  // prefix not declared
  refuse(Balise("a", "\x01"));
  refuse(Balise("a", "\xC3"));          // cut UTF-8
  refuse(Balise("a", "\xED\xA0\x80"));  // a surrogate
  refuse(Balise("a", "\xEF\xBF\xBE"));  // U+FFFE
  // Names in ill-formed UTF-8 (libxml2's own name check lets these through).
  refuse(Balise("a\xFF"));
  refuse(Balise("\xC3"));
  refuse(Balise("a\xC0\xAE"));      // an overlong '.'
  refuse(Balise("a\xED\xA0\x80"));  // a surrogate
  refuse(Balise("a", std::vector<Balise::Attribut>{{"n\xC3", "1"}}));
  Balise prefixe("p\xFF:a");
  prefixe.MetsAttribut("xmlns:p\xFF", "urn:p");
  refuse(prefixe);
  Balise doublon("a", std::vector<Balise::Attribut>{{"x", "1"}, {"x", "2"}});
  refuse(doublon);
  Balise vide("p:a");
  vide.MetsAttribut("xmlns:p", "");
  refuse(vide);
  // Declared prefixes are in scope below their declaration, and only there.
  Balise ok("p:a");
  ok.MetsAttribut("xmlns:p", "urn:p");
  ok.AjouteEnfant("p:b").MetsAttribut("p:c", "1");
  EXPECT_EQ(ParseurXML().LisTexte(EcrisXML(ok)), ok);
  Balise hors("r");
  hors.AjouteEnfant(ok);
  hors.AjouteEnfant("p:d");
  refuse(hors);
}

TEST(EcritureXML, FichierRemplaceEnUneFois) {
  const fs::path chemin = fs::temp_directory_path() / ("ecriture_" + std::to_string(::getpid()) + ".xml");
  sdd::EcrisFichierXML(Reglages(), chemin.string(), Options(eCodageXML::eUTF16, 2));
  EXPECT_EQ(ParseurXML().LisFichier(chemin.string()),
            ParseurXML().LisTexte(EcrisXML(Reglages(), Options(eCodageXML::eUTF8, 2))));
  // A tree that cannot be written leaves the file as it was.
  const std::string avant = EcrisXML(Reglages(), Options(eCodageXML::eUTF16, 2));
  for (const Balise& refusee :
       {Balise("a\xFF"), Balise("a", std::vector<Balise::Attribut>{{"n\xC3", "1"}})}) {
    EXPECT_THROW(sdd::EcrisFichierXML(refusee, chemin.string()), sdd::exceptions::OperationInvalide);
    std::ifstream f(chemin, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(f), {}), avant);
  }
  fs::remove(chemin);
  EXPECT_THROW(sdd::EcrisFichierXML(Reglages(), "/nulle/part/x.xml"), sdd::exceptions::OuvertureEchouee);
}

namespace {

// Random trees over the characters that need care: markup characters, line ends, CDATA's end,
// entities' look-alikes, Latin-9's own letters and characters outside it, beyond the BMP.
class GenerateurArbres {
 public:
  // `latin9`: names that ISO-8859-15 can write (texts still go beyond it).
  explicit GenerateurArbres(uint32_t graine, bool latin9 = false) : alea_(graine), latin9_(latin9) {}

  Balise Arbre(int profondeur = 0) {
    Balise b(Nom());
    const int attributs = Tire(4);
    for (int i = 0; i < attributs; ++i) b.MetsAttribut(Nom(), Texte());
    if (Tire(4) == 0) b.MetsAttribut("xmlns:p", "urn:p");
    if (b.PossedeAttribut("xmlns:p") && Tire(2) == 0) b.MetsNom("p:" + b.Nom());
    b.MetsTexte(Texte());
    const int enfants = profondeur < 4 ? Tire(4) : 0;
    for (int i = 0; i < enfants; ++i) {
      Balise& e = b.AjouteEnfant(Arbre(profondeur + 1));
      e.MetsQueue(Tire(2) == 0 ? std::string() : Texte());
    }
    return b;
  }

 private:
  int Tire(int n) { return std::uniform_int_distribution<int>(0, n - 1)(alea_); }
  std::string Nom() {
    static const char* const kNoms[] = {"a", "élément", "œuvre", "x-1", "y.z", "_w", "Ω", "n2"};
    const char* nom = kNoms[Tire(8)];
    return latin9_ && std::string_view(nom) == "Ω" ? "omega" : nom;
  }
  std::string Texte() {
    static const char* const kMorceaux[] = {"a",    "é",  "œ",    "€",    "Ω",     "\xF0\x9D\x84\x9E",
                                            "&",    "<",  ">",    "\"",   "'",     " ",
                                            "\t",   "\n", "\r",   "]]>",  "&amp;", "x",
                                            "\r\n", "  ", "&#1;", "<!--", "?>"};
    std::string s;
    const int n = Tire(6);
    for (int i = 0; i < n; ++i) s += kMorceaux[Tire(23)];
    return s;
  }
  std::mt19937 alea_;
  bool latin9_;
};

}  // namespace

TEST(EcritureXML, AllerRetourDArbresAuHasard) {
  sdd::OptionsParseurXML sansMiseEnPage;
  sansMiseEnPage.ignoreEspacesDeMiseEnPage = true;
  for (uint32_t graine = 0; graine < 400; ++graine) {
    SCOPED_TRACE(graine);
    for (const eCodageXML codage : {eCodageXML::eUTF8, eCodageXML::eUTF16, eCodageXML::eISO8859_15}) {
      Balise ecrit = GenerateurArbres(graine, codage == eCodageXML::eISO8859_15).Arbre();
      if (ecrit.Nom().starts_with("p:")) ecrit.MetsNom("racine");
      std::string plat;
      try {
        plat = EcrisXML(ecrit, Options(codage));
        ASSERT_EQ(ParseurXML().LisTexte(plat), ecrit) << plat;
      } catch (const sdd::exceptions::Exception& e) {
        FAIL() << e.MessageComplet().DonneStdString() << "\n" << plat;
      }
      // Indentation adds only what the layout option takes away.
      const std::string indente = EcrisXML(ecrit, Options(codage, 2));
      ASSERT_EQ(ParseurXML(sansMiseEnPage).LisTexte(indente), ParseurXML(sansMiseEnPage).LisTexte(plat));
    }
  }
}

TEST(EcritureXML, ExpatLitCeQueNousEcrivons) {
  // An independent reader must find the very tree we wrote, in every encoding.
  const fs::path dossier = fs::temp_directory_path() / ("ecriture_expat_" + std::to_string(::getpid()));
  fs::create_directories(dossier);
  std::vector<fs::path> fichiers;
  std::vector<std::string> attendus;
  for (uint32_t graine = 1000; graine < 1060; ++graine) {
    Balise arbre = GenerateurArbres(graine).Arbre();
    if (arbre.Nom().starts_with("p:")) arbre.MetsNom("racine");
    const eCodageXML codage = graine % 2 == 0 ? eCodageXML::eUTF8 : eCodageXML::eUTF16;
    fichiers.push_back(dossier / (std::to_string(graine) + ".xml"));
    sdd::tests_xml::EcrisOctets(fichiers.back(), EcrisXML(arbre, Options(codage, graine % 3 == 0 ? 2 : 0)));
    attendus.push_back(sdd::tests_xml::Canonique(arbre));
    // With indentation the layout whitespace is expat's too; compare with what we read back.
    if (graine % 3 == 0)
      attendus.back() = sdd::tests_xml::Canonique(ParseurXML().LisFichier(fichiers.back().string()));
  }
  const std::vector<std::string> lus = sdd::tests_xml::LisAvecExpat(fichiers);
  fs::remove_all(dossier);
  ASSERT_EQ(lus.size(), attendus.size());
  for (std::size_t i = 0; i < lus.size(); ++i) EXPECT_EQ(lus[i], attendus[i]) << fichiers[i];
}

namespace {

// The UTF-8 bytes of UTF-16 units, a lone surrogate written as its three bytes (ill-formed
// UTF-8, as Python's "surrogatepass" writes it): what a caller holding such a string would pass.
std::string OctetsUTF8Bruts(const std::u16string& s) {
  std::string o;
  for (std::size_t i = 0; i < s.size(); ++i) {
    uint32_t cp = s[i];
    if (cp >= 0xD800 && cp < 0xDC00 && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] < 0xE000)
      cp = 0x10000 + ((cp - 0xD800) << 10) + (s[++i] - 0xDC00);
    if (cp < 0x80) {
      o += static_cast<char>(cp);
    } else if (cp < 0x800) {
      o += static_cast<char>(0xC0 | cp >> 6);
      o += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      o += static_cast<char>(0xE0 | cp >> 12);
      o += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
      o += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      o += static_cast<char>(0xF0 | cp >> 18);
      o += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
      o += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
      o += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }
  return o;
}

bool EstCaractereXML(uint32_t cp) {
  return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) ||
         (cp >= 0xE000 && cp <= 0xFFFD) || cp >= 0x10000;
}

}  // namespace

// Every hostile string as an element's text and as an attribute value, in the three encodings:
// refused before anything is written when it is not UTF-8 or holds a character XML cannot carry
// (C0 controls but tab, LF and CR; U+FFFE, U+FFFF); otherwise read back exactly by our parser
// and by Python's xml.etree, CR, tabs and line ends in attributes, "]]>" and all.
TEST(EcritureXML, ChainesHostiles) {
  const fs::path dossier = fs::temp_directory_path() / ("hostiles_" + std::to_string(::getpid()));
  fs::create_directories(dossier);
  std::vector<fs::path> fichiers;
  std::vector<std::string> attendus;
  int refusees = 0;
  for (const std::u16string& s : essais::ChainesHostiles()) {
    SCOPED_TRACE(essais::EnHexa(s));
    const std::string texte = OctetsUTF8Bruts(s);
    bool accepte = !essais::ASubstitutIsole(s);
    for (std::size_t i = 0; accepte && i < texte.size();)
      accepte = EstCaractereXML(sdd::DecodeCaractereUTF8(texte, i));
    Balise b("r", texte);
    b.MetsAttribut("a", texte);
    for (const eCodageXML codage : {eCodageXML::eUTF8, eCodageXML::eUTF16, eCodageXML::eISO8859_15}) {
      if (!accepte) {
        EXPECT_THROW(EcrisXML(b, Options(codage)), sdd::exceptions::OperationInvalide);
        ++refusees;
        continue;
      }
      const std::string document = EcrisXML(b, Options(codage));
      EXPECT_EQ(ParseurXML().LisTexte(document), b) << static_cast<int>(codage);
      fichiers.push_back(dossier / ("h" + std::to_string(fichiers.size()) + ".xml"));
      sdd::tests_xml::EcrisOctets(fichiers.back(), document);
      attendus.push_back(essais::Hexa(texte) + " " + essais::Hexa(texte));
    }
  }
  EXPECT_GT(refusees, 100);
  // One run of Python over every file, in our order.
  std::string commande =
      std::string(OUTILS_SOCLE_PYTHON3) + " " + OUTILS_SOCLE_SOURCES_TESTS + "/xml/textes_etree.py";
  for (const fs::path& f : fichiers) commande += " '" + f.string() + "'";
  const std::vector<std::string> lus = essais::LignesDeCommande(commande);
  EXPECT_EQ(lus, attendus);
  fs::remove_all(dossier);
}
