#include <gtest/gtest.h>

#include <outils_socle/reglages/Reglages.h>
#include <outils_socle/xml/EcritureXML.h>
#include <outils_socle/xml/ParseurXML.h>
#include <outils_socle/xml/SchemaXML.h>

#include <thread>

#include "commun/Exceptions.h"

using sdd::DeclarationAttributXML;
using sdd::DeclarationEnfantXML;
using sdd::ErreurValidationXML;
using sdd::SchemaXML;

namespace {

constexpr uint64_t kIllimite = DeclarationEnfantXML::kIllimite;
const std::string kSchema = OUTILS_SOCLE_DONNEES_TESTS "/xml/reglages.xsd";

const SchemaXML& Schema() {
  static const SchemaXML schema = SchemaXML::LisFichier(kSchema);
  return schema;
}

}  // namespace

// The expected answers are worked out by hand from reglages.xsd and the rules of XML Schema.
TEST(SchemaXML, NavigationDansLeSchemaDesReglages) {
  const SchemaXML& s = Schema();
  EXPECT_EQ(s.ElementsRacines(), (std::vector<std::string>{"reglages", "raccourci"}));
  // xs:all, local declarations.
  EXPECT_EQ(s.EnfantsPermis("reglages"),
            (std::vector<DeclarationEnfantXML>{
                {"affichage", "Affichage", 0, 1}, {"etat", "", 0, 1}, {"fichiers", "", 0, 1}}));
  EXPECT_EQ(s.AttributsPermis("/reglages"),
            (std::vector<DeclarationAttributXML>{{"version", "xs:positiveInteger", false, "1", false}}));
  // A named type, then a repeated choice of an element reference and a group reference: both
  // may be absent and repeat without bound.
  EXPECT_EQ(s.EnfantsPermis("reglages/affichage"),
            (std::vector<DeclarationEnfantXML>{{"police", "", 0, 1},
                                               {"theme", "Theme", 0, 1},
                                               {"raccourci", "", 0, kIllimite},
                                               {"barre", "xs:string", 0, kIllimite}}));
  EXPECT_EQ(
      s.EnfantsPermis("reglages/affichage/police"),
      (std::vector<DeclarationEnfantXML>{{"taille", "TaillePolice", 0, 1}, {"famille", "xs:string", 0, 3}}));
  EXPECT_EQ(s.TypeTexte("reglages/affichage/police/taille"), "TaillePolice");
  EXPECT_TRUE(s.ValeursPermises("reglages/affichage/police/taille").empty());
  EXPECT_EQ(s.TypeTexte("reglages/affichage/theme"), "Theme");
  EXPECT_EQ(s.ValeursPermises("reglages/affichage/theme"),
            (std::vector<std::string>{"sombre", "clair", "système"}));
  EXPECT_EQ(s.TypeTexte("reglages/affichage"), "");
  EXPECT_EQ(s.TypeTexte("reglages/etat/fenetre"), "xs:base64Binary");
  // Simple content with an attribute group.
  EXPECT_EQ(s.TypeTexte("reglages/affichage/raccourci"), "xs:string");
  EXPECT_EQ(s.AttributsPermis("reglages/affichage/raccourci"),
            (std::vector<DeclarationAttributXML>{{"touche", "xs:string", true, "", false},
                                                 {"ctrl", "xs:boolean", false, "false", false}}));
  // Extension: the base's particles and attributes, then the extension's.
  EXPECT_EQ(s.EnfantsPermis("reglages/fichiers/recents"),
            (std::vector<DeclarationEnfantXML>{{"element", "xs:string", 0, kIllimite},
                                               {"max", "xs:nonNegativeInteger", 0, 1}}));
  EXPECT_EQ(s.AttributsPermis("reglages/fichiers/recents"),
            (std::vector<DeclarationAttributXML>{{"type", "xs:string", true, "liste", true},
                                                 {"tri", "xs:string", false, "recent", false}}));
  EXPECT_FALSE(s.EstMixte("reglages/affichage"));

  EXPECT_TRUE(s.PossedeElement("reglages/fichiers/recents/element"));
  EXPECT_FALSE(s.PossedeElement("reglages/inconnu"));
  EXPECT_FALSE(s.PossedeElement("affichage"));  // not global
  EXPECT_THROW(s.EnfantsPermis("reglages/inconnu"), sdd::exceptions::OperationInvalide);
}

TEST(SchemaXML, BornesEffectivesEtAutresEcritures) {
  // No prefix for the schema namespace; groups within groups; a name met twice; mixed content.
  const SchemaXML s = SchemaXML::LisTexte(R"(<schema xmlns="http://www.w3.org/2001/XMLSchema">
    <element name="r">
      <complexType mixed="true">
        <sequence maxOccurs="2">
          <element name="a" type="string"/>
          <choice>
            <element name="b" type="int" maxOccurs="3"/>
          </choice>
          <sequence minOccurs="0">
            <element name="a" type="string" minOccurs="2" maxOccurs="2"/>
          </sequence>
          <any minOccurs="0" processContents="skip"/>
        </sequence>
        <attribute name="libre"/>
      </complexType>
    </element>
  </schema>)");
  // a: 1..2 from the first (its sequence repeats twice), 0..4 from the optional sequence (2 each
  // time); b alone in its choice keeps its minimum; the wildcard is "*".
  EXPECT_EQ(s.EnfantsPermis("r"),
            (std::vector<DeclarationEnfantXML>{{"a", "string", 1, 6}, {"b", "int", 1, 6}, {"*", "", 0, 2}}));
  EXPECT_TRUE(s.EstMixte("r"));
  EXPECT_EQ(s.TypeTexte("r/b"), "int");
  // An attribute declared without a type takes any simple value, in the schema's own prefix.
  EXPECT_EQ(s.AttributsPermis("r"),
            (std::vector<DeclarationAttributXML>{{"libre", "anySimpleType", false, "", false}}));
}

TEST(SchemaXML, ValideLesReglagesQueLaBibliothequeEcrit) {
  sdd::Reglages reglages;
  reglages.MetsEntier("affichage/police/taille", 12);
  reglages.MetsChaine("affichage/theme", "système");
  reglages.MetsListeChaines("fichiers/recents", {UniChaine("a.txt"), UniChaine("é.txt")});
  reglages.MetsBlob("etat/fenetre", {0, 1, 255});
  const auto valide = Schema().Valide(reglages.EcrisTexte(sdd::eFormatReglages::eXML));
  EXPECT_TRUE(valide.empty()) << valide.front().message;

  // Three faults in three places, each found and placed. (After an element that its parent's
  // content model does not expect, libxml2 checks no further siblings of that parent.)
  reglages.MetsEntier("affichage/police/taille", 100);
  reglages.MetsChaine("affichage/theme", "bleu");
  reglages.MetsChaine("etat/couleur", "rouge");
  const std::string texte = reglages.EcrisTexte(sdd::eFormatReglages::eXML);
  const std::vector<ErreurValidationXML> erreurs = Schema().Valide(texte);
  ASSERT_EQ(erreurs.size(), 3u) << texte;
  const auto ligneDe = [&](const std::string& motif) {
    const std::size_t position = texte.find(motif);
    return 1 + static_cast<int>(
                   std::count(texte.begin(), texte.begin() + static_cast<std::ptrdiff_t>(position), '\n'));
  };
  EXPECT_EQ(erreurs[0].chemin, "/reglages/affichage/police/taille");
  EXPECT_EQ(erreurs[0].ligne, ligneDe("<taille>"));
  EXPECT_NE(erreurs[0].message.find("100"), std::string::npos) << erreurs[0].message;
  EXPECT_EQ(erreurs[1].chemin, "/reglages/affichage/theme");
  EXPECT_EQ(erreurs[1].ligne, ligneDe("<theme>"));
  EXPECT_NE(erreurs[1].message.find("bleu"), std::string::npos) << erreurs[1].message;
  EXPECT_EQ(erreurs[2].chemin, "/reglages/etat/couleur");
  EXPECT_EQ(erreurs[2].ligne, ligneDe("<couleur>"));

  // The same from a tree, and a document that is not even well-formed.
  sdd::Balise arbre = sdd::ParseurXML().LisTexte(texte);
  EXPECT_EQ(Schema().Valide(arbre).size(), 3u);
  arbre.Trouve("etat")->EnleveEnfants("couleur");
  arbre.Trouve("affichage/theme")->MetsTexte("clair");
  arbre.Trouve("affichage/police/taille")->MetsTexte("72");
  EXPECT_TRUE(Schema().Valide(arbre).empty());
  EXPECT_THROW(Schema().Valide("<reglages>"), sdd::ErreurXML);
}

TEST(SchemaXML, SchemasRefuses) {
  const std::string entete = R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">)";
  // Another file named: refused before anything is read.
  EXPECT_THROW(SchemaXML::LisTexte(entete + R"(<xs:include schemaLocation="/etc/passwd"/></xs:schema>)"),
               sdd::exceptions::OperationInvalide);
  EXPECT_THROW(
      SchemaXML::LisTexte(
          entete +
          R"(<xs:import namespace="urn:x" schemaLocation="http://exemple.invalid/x.xsd"/></xs:schema>)"),
      sdd::exceptions::OperationInvalide);
  // Not a schema, or not a valid one.
  EXPECT_THROW(SchemaXML::LisTexte("<racine/>"), sdd::exceptions::OperationInvalide);
  EXPECT_THROW(SchemaXML::LisTexte(entete + R"(<xs:element name="a" type="Inconnu"/></xs:schema>)"),
               sdd::exceptions::OperationInvalide);
  // Malformed, or referring to an external entity: the parser's refusals.
  EXPECT_THROW(SchemaXML::LisTexte(entete), sdd::ErreurXML);
  EXPECT_THROW(SchemaXML::LisTexte("<!DOCTYPE s [<!ENTITY e SYSTEM \"/etc/passwd\">]>" + entete +
                                   "<xs:annotation><xs:documentation>&e;</xs:documentation></xs:annotation>"
                                   "</xs:schema>"),
               sdd::ErreurXML);
  EXPECT_THROW(SchemaXML::LisFichier("/nulle/part.xsd"), sdd::exceptions::OuvertureEchouee);
}

TEST(SchemaXML, PartageEntreFils) {
  const std::string bon = "<reglages><affichage><theme>clair</theme></affichage></reglages>";
  const std::string mauvais = "<reglages><affichage><theme>vert</theme></affichage></reglages>";
  std::vector<std::thread> fils;
  std::atomic<int> justes{0};
  for (int f = 0; f < 4; ++f) {
    fils.emplace_back([&] {
      for (int i = 0; i < 50; ++i) {
        if (Schema().Valide(bon).empty() && Schema().Valide(mauvais).size() == 1) ++justes;
      }
    });
  }
  for (auto& f : fils) f.join();
  EXPECT_EQ(justes, 200);
}
