// Hostile documents: each is refused, quickly, without reading anything it names.
#include <gtest/gtest.h>

#include <outils_socle/xml/ParseurXML.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/inotify.h>
#include <unistd.h>

#include "xml/Arbres.h"

namespace fs = std::filesystem;
using sdd::Balise;
using sdd::ErreurXML;
using sdd::OptionsParseurXML;
using sdd::ParseurXML;
using sdd::tests_xml::Dossier;

namespace {

std::string MessageDe(const std::string& document, const OptionsParseurXML& options = {}) {
  const auto debut = std::chrono::steady_clock::now();
  try {
    ParseurXML(options).LisTexte(document);
  } catch (const ErreurXML& e) {
    EXPECT_LT(std::chrono::steady_clock::now() - debut, std::chrono::seconds(5));
    return e.Quoi();
  }
  ADD_FAILURE() << "accepté : " << document.substr(0, 200);
  return {};
}

std::string Imbrication(int n) {
  std::string s;
  for (int i = 0; i < n; ++i) s += "<a>";
  for (int i = 0; i < n; ++i) s += "</a>";
  return s;
}

}  // namespace

TEST(ParseurXMLAttaques, BombesDEntites) {
  // "Billion laughs": 10^9 copies of "lol" from a few hundred bytes.
  std::string rires = "<!DOCTYPE r [<!ENTITY l0 \"lol\">";
  for (int i = 1; i <= 9; ++i) {
    rires += "<!ENTITY l" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k) rires += "&l" + std::to_string(i - 1) + ";";
    rires += "\">";
  }
  rires += "]><r>&l9;</r>";
  EXPECT_FALSE(MessageDe(rires).empty());
  // Even with libxml2's own fixed limits lifted (a deeper nesting allowed).
  OptionsParseurXML larges;
  larges.profondeurMax = 1000;
  EXPECT_FALSE(MessageDe(rires, larges).empty());

  // The same shape expanding to nothing: 10^9 references and no text to count.
  std::string vides = rires;
  vides.replace(vides.find("\"lol\""), 5, "\"\"");
  EXPECT_FALSE(MessageDe(vides).empty());
  EXPECT_FALSE(MessageDe(vides, larges).empty());

  // Quadratic blow-up: one flat 40 KB entity used 3,000 times, no nesting to detect.
  std::string quadratique = "<!DOCTYPE r [<!ENTITY e \"" + std::string(40000, 'x') + "\">]><r>";
  for (int i = 0; i < 3000; ++i) quadratique += "&e;";
  quadratique += "</r>";
  EXPECT_FALSE(MessageDe(quadratique).empty());
  EXPECT_FALSE(MessageDe(quadratique, larges).empty());

  // Within the budget, entities are expanded normally.
  std::string modere = "<!DOCTYPE r [<!ENTITY e \"" + std::string(1000, 'x') + "\">]><r>";
  for (int i = 0; i < 50; ++i) modere += "&e;";
  EXPECT_EQ(ParseurXML().LisTexte(modere + "</r>").Texte().size(), 50000u);
}

TEST(ParseurXMLAttaques, RienNEstLuParceQuUnDocumentLeNomme) {
  Dossier dossier;
  sdd::tests_xml::EcrisOctets(dossier / "secret.txt", "secret");
  sdd::tests_xml::EcrisOctets(dossier / "secret.dtd", "<!ENTITY x \"secret\">");
  const std::string secret = "file://" + (dossier / "secret.txt").string();
  const std::string dtd = (dossier / "secret.dtd").string();

  // Declaring an outside resource is legal and harmless; referring to one is refused at the
  // reference, and nothing is opened: inotify would see it.
  const int surveillance = inotify_init1(IN_NONBLOCK);
  ASSERT_GE(surveillance, 0);
  ASSERT_GE(inotify_add_watch(surveillance, (dossier / "secret.txt").c_str(), IN_OPEN | IN_ACCESS), 0);
  ASSERT_GE(inotify_add_watch(surveillance, dtd.c_str(), IN_OPEN | IN_ACCESS), 0);
  const std::string declare = "<!DOCTYPE r [<!ENTITY s SYSTEM \"" + secret + "\">";
  EXPECT_EQ(ParseurXML().LisTexte(declare + "]><r>ok</r>").Texte(), "ok");
  for (const std::string& refus : std::vector<std::string>{
           declare + "]><r>&s;</r>", declare + "]><r><e>&s;</e></r>",
           "<!DOCTYPE r [<!ENTITY s PUBLIC \"-//x\" \"http://exemple.invalid/x\">]><r>&s;</r>",
           "<!DOCTYPE r [<!ENTITY % p SYSTEM \"" + secret + "\"> %p;]><r/>",
           "<!DOCTYPE r [<!ENTITY % p SYSTEM \"" + dtd + "\"> %p;]><r>&x;</r>"}) {
    const std::string message = MessageDe(refus);
    EXPECT_NE(message.find("ressource externe refusée"), std::string::npos) << refus << " : " << message;
    EXPECT_EQ(message.find("secret\n"), std::string::npos);
  }
  EXPECT_FALSE(MessageDe(declare + "]><r a=\"&s;\"/>").empty());  // never allowed in a value
  // Unparsed entities (NDATA) and their notations: declared, never read; referring to one in
  // content is not XML.
  const std::string nondata =
      "<!DOCTYPE r [<!NOTATION n SYSTEM \"n\"><!ENTITY u SYSTEM \"" + secret + "\" NDATA n>";
  EXPECT_EQ(ParseurXML().LisTexte(nondata + "]><r>ok</r>").Texte(), "ok");
  EXPECT_FALSE(MessageDe(nondata + "]><r>&u;</r>").empty());
  // Internal parameter entities expand, charged to the same budget as general ones.
  EXPECT_EQ(ParseurXML().LisTexte("<!DOCTYPE r [<!ENTITY % p \"<!ENTITY q 'x'>\"> %p;]><r>&q;</r>").Texte(),
            "x");
  char evenements[4096];
  EXPECT_LT(read(surveillance, evenements, sizeof evenements), 0) << "a file named by a document was opened";
  close(surveillance);
  // The external DTD is not loaded: what it declares stays undeclared, and using it is an
  // error rather than a silent gap.
  EXPECT_EQ(ParseurXML().LisTexte("<!DOCTYPE r SYSTEM \"" + dtd + "\"><r>ok</r>").Texte(), "ok");
  EXPECT_FALSE(MessageDe("<!DOCTYPE r SYSTEM \"" + dtd + "\"><r>&x;</r>").empty());
  EXPECT_FALSE(MessageDe("<!DOCTYPE r SYSTEM \"" + dtd + "\" [<!ELEMENT r ANY>]><r>&x;</r>").empty());
  // XInclude is not processed: the element stays an element.
  const Balise inclusion =
      ParseurXML().LisTexte("<r xmlns:xi=\"http://www.w3.org/2001/XInclude\"><xi:include href=\"" + secret +
                            "\" parse=\"text\"/></r>");
  EXPECT_EQ(inclusion.TexteComplet(), "");
}

TEST(ParseurXMLAttaques, ImbricationEtTailles) {
  EXPECT_NO_THROW(ParseurXML().LisTexte(Imbrication(256)));
  EXPECT_NE(MessageDe(Imbrication(257)).find("256 niveaux"), std::string::npos);
  EXPECT_FALSE(MessageDe(Imbrication(200000)).empty());
  OptionsParseurXML profond;
  profond.profondeurMax = 1000;
  EXPECT_NO_THROW(ParseurXML(profond).LisTexte(Imbrication(1000)));
  EXPECT_NE(MessageDe(Imbrication(1001), profond).find("1000 niveaux"), std::string::npos);

  const std::string gros = "<r a=\"" + std::string(std::size_t{2} << 20, 'v') + "\"/>";
  EXPECT_NE(MessageDe(gros).find("valeur d’attribut"), std::string::npos);
  OptionsParseurXML larges;
  larges.tailleMaxAttribut = std::size_t{4} << 20;
  EXPECT_EQ(ParseurXML(larges).LisTexte(gros).DonneAttribut("a").size(), std::size_t{2} << 20);

  std::string nombreux = "<r";
  for (int i = 0; i < 1025; ++i) nombreux += " a" + std::to_string(i) + "=\"\"";
  EXPECT_NE(MessageDe(nombreux + "/>").find("1024 attributs"), std::string::npos);
  EXPECT_FALSE(MessageDe("<" + std::string(std::size_t{2} << 20, 'n') + "/>").empty());

  // The cap holds for every name and value of a tag alike.
  OptionsParseurXML cent;
  cent.tailleMaxAttribut = 100;
  const std::string n101(101, 'n'), n100(100, 'n');
  EXPECT_NO_THROW(ParseurXML(cent).LisTexte("<" + n100 + " " + n100 + "=\"1\"/>"));
  EXPECT_NO_THROW(ParseurXML(cent).LisTexte("<p:r xmlns:p=\"u\" " + std::string(98, 'n') + "=\"1\"/>"));
  for (const auto& [document, quoi] : std::vector<std::pair<std::string, std::string>>{
           {"<" + n101 + "/>", "nom de balise de 101 octets, plus que 100"},
           {"<r " + n101 + "=\"1\"/>", "nom d’attribut de 101 octets, plus que 100"},
           {"<r " + std::string(5000, 'n') + "=\"1\"/>", "nom d’attribut de 5000 octets, plus que 100"},
           {"<r xmlns:p=\"u\" p:" + std::string(99, 'n') + "=\"1\"/>", "nom d’attribut de 101 octets"},
           {"<r xmlns:" + n101 + "=\"u\"/>", "préfixe d’espace de noms de 101 octets"},
           {"<r xmlns=\"" + n101 + "\"/>", "espace de noms de 101 octets"},
           {"<r a=\"" + n101 + "\"/>", "valeur d’attribut de 101 octets"},
       }) {
    EXPECT_NE(MessageDe(document, cent).find(quoi), std::string::npos) << MessageDe(document, cent);
  }
}
