// The read-only tree built in blocks. It must read every document exactly as the Balise tree
// does (the conformance suites check that over two thousand documents); these tests cover what
// is its own: texts gathered from pieces into one place, blocks of every size, moves, and the
// accessors' answers on a worked example.

#include <gtest/gtest.h>

#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniChaine.h>
#include <outils_socle/xml/ArbreXML.h>
#include <outils_socle/xml/ParseurXML.h>

#include <algorithm>
#include <string>

#include "commun/Exceptions.h"
#include "xml/Arbres.h"

using sdd::ArbreXML;
using sdd::Balise;
using sdd::ErreurXML;
using sdd::NoeudXML;
using sdd::OptionsParseurXML;
using sdd::ParseurXML;

namespace {

const std::string kExemple =
    "<?xml version=\"1.0\"?>\n"
    "<!DOCTYPE r [<!ENTITY e \"entité\">]>\n"
    "<r b=\"2\" xmlns:p=\"urn:p\" a=\"un &amp; deux\" xmlns=\"urn:d\">"
    "avant<p:f n=\"1\">x</p:f>entre<!-- rien -->&e;<![CDATA[<brut>]]>"
    "<f n=\"2\"><g>profond</g>fin de g</f>"
    "<h/>après</r>\n<!-- fini -->";

}  // namespace

TEST(ArbreXML, LExempleLuEnBlocs) {
  const ArbreXML arbre = ParseurXML().LisArbreTexte(kExemple);
  const NoeudXML& r = arbre.Racine();
  EXPECT_EQ(r.Nom(), "r");
  // The declarations first, in their order, then the other attributes in theirs.
  ASSERT_EQ(r.Attributs().size(), 4u);
  EXPECT_EQ(r.Attributs()[0].nom, "xmlns:p");
  EXPECT_EQ(r.Attributs()[1].nom, "xmlns");
  EXPECT_EQ(r.Attributs()[2].nom, "b");
  EXPECT_EQ(r.DonneAttribut("a"), "un & deux");
  EXPECT_EQ(r.DonneAttribut("absent", "repli"), "repli");
  EXPECT_EQ(r.TrouveAttribut("absent"), nullptr);
  EXPECT_TRUE(r.PossedeAttribut("xmlns"));

  // Text before the first child; a child's tail gathered from text, an entity and a CDATA
  // section on either side of a comment.
  EXPECT_EQ(r.Texte(), "avant");
  ASSERT_EQ(r.NombreEnfants(), 3u);
  EXPECT_EQ(r.Enfant(0).Nom(), "p:f");
  EXPECT_EQ(r.Enfant(0).Queue(), "entreentité<brut>");
  EXPECT_EQ(r.Enfant(2).Queue(), "après");
  EXPECT_EQ(r.Enfant("f")->DonneAttribut("n"), "2");
  EXPECT_EQ(r.Enfant("g"), nullptr);  // a grandchild is no child
  EXPECT_THROW(r.Enfant(3), sdd::exceptions::IndexHorsBorne);
  EXPECT_EQ(r.EnfantsNommes("f").size(), 1u);

  EXPECT_EQ(r.Trouve("f/g")->Texte(), "profond");
  EXPECT_EQ(r.Trouve("/r/f/g"), r.Trouve("f/g"));
  EXPECT_EQ(r.Trouve("/r"), &r);
  EXPECT_EQ(r.Trouve("/autre/f"), nullptr);
  EXPECT_EQ(r.Trouve(""), nullptr);
  EXPECT_EQ(r.Trouve("f//g"), nullptr);
  EXPECT_EQ(r.TrouveTous("*").size(), 3u);
  EXPECT_EQ(r.TrouveTous("*/g").size(), 1u);
  EXPECT_EQ(r.TexteComplet(), "avantxentreentité<brut>profondfin de gaprès");

  // The editable copy is the tree the Balise reader builds.
  EXPECT_EQ(r.VersBalise(), ParseurXML().LisTexte(kExemple));
}

TEST(ArbreXML, TextesEtValeursDeToutesTailles) {
  // Texts and values around the block sizes (4 KiB up to 1 MiB, and past it alone), a text in
  // many pieces (an entity reference every 3 bytes) and empty elements between them.
  for (const std::size_t n : {std::size_t{1}, std::size_t{1023}, std::size_t{1025}, std::size_t{5000},
                              std::size_t{300'000}, std::size_t{3'000'000}}) {
    SCOPED_TRACE(n);
    const std::string texte(n, 'x');
    std::string morceaux;
    for (std::size_t i = 0; i < n / 3 + 1; ++i) morceaux += "ab&lt;";
    const std::string valeur(std::min<std::size_t>(n, 500'000), 'v');  // values stop at 1 MiB
    const std::string document = "<r v=\"" + valeur + "\"><a>" + texte + "</a><b/>" + morceaux + "<c>" +
                                 morceaux + "</c>" + texte + "</r>";
    const ArbreXML arbre = ParseurXML().LisArbreTexte(document);
    const NoeudXML& r = arbre.Racine();
    EXPECT_EQ(r.DonneAttribut("v"), valeur);
    EXPECT_EQ(r.Enfant(0).Texte(), texte);
    std::string attendu;
    for (std::size_t i = 0; i < n / 3 + 1; ++i) attendu += "ab<";
    EXPECT_EQ(r.Enfant(1).Queue(), attendu);
    EXPECT_EQ(r.Enfant(2).Texte(), attendu);
    EXPECT_EQ(r.Enfant(2).Queue(), texte);
    EXPECT_EQ(r.VersBalise(), ParseurXML().LisTexte(document));
    // What the blocks hold stays within a small factor of what they must hold.
    EXPECT_LT(arbre.Octets(), 4 * (3 * n + 2 * attendu.size()) + (std::size_t{1} << 16));
  }
}

TEST(ArbreXML, BeaucoupDEnfantsEtDeProfondeur) {
  std::string document = "<r>";
  for (int i = 0; i < 100'000; ++i)
    document += "<e i=\"" + std::to_string(i) + "\">" + std::to_string(i) + "</e>";
  for (int i = 0; i < 200; ++i) document += "<p>";
  document += "fond";
  for (int i = 0; i < 200; ++i) document += "</p>";
  document += "</r>";
  const ArbreXML arbre = ParseurXML().LisArbreTexte(document);
  const NoeudXML& r = arbre.Racine();
  ASSERT_EQ(r.NombreEnfants(), 100'001u);
  for (std::size_t i = 0; i < 100'000; i += 997) {
    EXPECT_EQ(r.Enfant(i).Texte(), std::to_string(i));
    EXPECT_EQ(r.Enfant(i).DonneAttribut("i"), std::to_string(i));
  }
  const NoeudXML* p = &r.Enfant(100'000);
  int profondeur = 1;
  while (p->NombreEnfants() == 1) {
    p = &p->Enfant(0);
    ++profondeur;
  }
  EXPECT_EQ(profondeur, 200);
  EXPECT_EQ(p->Texte(), "fond");
  // About a node and an attribute and their short texts each: not a block per element.
  EXPECT_LT(arbre.Octets(), 100'201u * 160u);
}

TEST(ArbreXML, EspacesDeMiseEnPageCommeLArbreModifiable) {
  const std::string document =
      "<a>\n  <b> garde </b>\n  <c>\n    <d/>\n  </c>\n  <e>  </e>\n  texte\n  <f/>\n</a>";
  for (const bool ignore : {false, true}) {
    OptionsParseurXML options;
    options.ignoreEspacesDeMiseEnPage = ignore;
    const ArbreXML arbre = ParseurXML(options).LisArbreTexte(document);
    EXPECT_EQ(arbre.Racine().VersBalise(), ParseurXML(options).LisTexte(document)) << ignore;
    if (ignore) {
      EXPECT_EQ(arbre.Racine().Texte(), "");
      EXPECT_EQ(arbre.Racine().Enfant(0).Queue(), "");
      EXPECT_EQ(arbre.Racine().Enfant("e")->Texte(), "  ");  // a leaf keeps its text
      EXPECT_EQ(arbre.Racine().Enfant("e")->Queue(), "\n  texte\n  ");
    }
  }
}

TEST(ArbreXML, DeplacerGardeLesNoeudsEnPlace) {
  ArbreXML arbre = ParseurXML().LisArbreTexte(kExemple);
  const NoeudXML* g = arbre.Racine().Trouve("f/g");
  const std::string_view texte = g->Texte();
  ArbreXML ailleurs(std::move(arbre));
  EXPECT_EQ(ailleurs.Racine().Trouve("f/g"), g);
  EXPECT_EQ(g->Texte().data(), texte.data());
  // The tree left behind is empty, as a new one is.
  EXPECT_EQ(arbre.Racine().Nom(), "");
  EXPECT_EQ(arbre.Racine().NombreEnfants(), 0u);
  EXPECT_EQ(arbre.Octets(), 0u);
  arbre = std::move(ailleurs);
  EXPECT_EQ(arbre.Racine().Trouve("f/g"), g);
  const ArbreXML vide;
  EXPECT_EQ(vide.Racine().Nom(), "");
  EXPECT_EQ(vide.Racine().VersBalise(), Balise());
}

TEST(ArbreXML, SourcesEtRefus) {
  sdd::tests_xml::Dossier dossier;
  const auto fichier = dossier / "doc.xml";
  sdd::tests_xml::EcrisOctets(fichier, kExemple);
  EXPECT_EQ(ParseurXML().LisArbreFichier(fichier.string()).Racine().VersBalise(),
            ParseurXML().LisTexte(kExemple));
  // Characters already decoded: the declaration's encoding is ignored.
  const std::u16string texte = u"<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?><r a=\"€\">œ</r>";
  const ArbreXML decode = ParseurXML().LisArbreChaine(UniChaine(texte));
  EXPECT_EQ(decode.Racine().DonneAttribut("a"), "€");
  EXPECT_EQ(decode.Racine().Texte(), "œ");
  EXPECT_EQ(ParseurXML().LisArbreChaine(sdd::ChaineN(texte.c_str())).Racine().VersBalise(),
            decode.Racine().VersBalise());
  EXPECT_THROW(ParseurXML().LisArbreFichier("/nulle/part.xml"), sdd::exceptions::OuvertureEchouee);

  // A refusal far into a document, after many nodes are built, says where, as the other
  // readers do (the sanitizers check that nothing built is lost).
  std::string mauvais = "<r>";
  for (int i = 0; i < 5000; ++i) mauvais += "<e>texte assez long pour remplir des blocs</e>\n";
  mauvais += "<e></f></r>";
  try {
    (void)ParseurXML().LisArbreTexte(mauvais);
    ADD_FAILURE() << "accepted";
  } catch (const ErreurXML& e) {
    try {
      (void)ParseurXML().LisTexte(mauvais);
    } catch (const ErreurXML& attendue) {
      EXPECT_EQ(e.Ligne(), attendue.Ligne());
      EXPECT_EQ(e.Colonne(), attendue.Colonne());
      EXPECT_EQ(e.Quoi(), attendue.Quoi());
      EXPECT_EQ(e.Ligne(), 5001);
    }
  }
}
