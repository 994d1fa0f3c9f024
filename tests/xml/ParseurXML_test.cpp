#include <gtest/gtest.h>

#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/xml/ParseurXML.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "commun/Exceptions.h"
#include "xml/Arbres.h"

namespace fs = std::filesystem;
using sdd::Balise;
using sdd::ErreurXML;
using sdd::OptionsParseurXML;
using sdd::ParseurXML;
using sdd::tests_xml::Canonique;

namespace {

using sdd::tests_xml::Dossier;

std::string Utf16(const std::u16string& texte, bool grandBoutiste) {
  std::string octets = grandBoutiste ? std::string("\xFE\xFF", 2) : std::string("\xFF\xFE", 2);
  for (const char16_t u : texte) {
    const char fort = static_cast<char>(u >> 8), faible = static_cast<char>(u & 0xFF);
    octets += grandBoutiste ? fort : faible;
    octets += grandBoutiste ? faible : fort;
  }
  return octets;
}

// Every construct of the language, in every input encoding: our tree must be expat's tree.
const std::vector<std::string>& DocumentsDeReference() {
  static const std::vector<std::string> documents = {
      // Declaration, comments and processing instructions (outside the tree), predefined and
      // character references in text and attributes, CDATA, empty tags, tails.
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- avant -->\n<r a=\"1\" b='deux &amp; &lt;trois&gt; "
      "\"x\"'"
      " c=\"&#233;t&#xE9;\">texte<![CDATA[<pas une balise> & ]]>suite<?pi données?><e/>queue<!-- c -->fin"
      "<vide></vide></r>\n<?fin?>\n",
      // Namespaces: prefixes kept, declarations as attributes.
      "<x:r xmlns:x=\"urn:x\" xmlns=\"urn:d\" x:a=\"1\"><x:e>t</x:e><e b=\"2\"/></x:r>",
      // Internal entities, with markup inside, in text and attributes.
      "<!DOCTYPE r [<!ENTITY nom \"valeur &#38;#38; suite\"><!ENTITY bloc \"<b>gras</b> et fin\">]>"
      "<r v=\"&nom;\">&nom;-&bloc;!</r>",
      // Line ends: CR LF and CR become LF; in attributes tab, CR and LF become spaces, and
      // character references keep them.
      "<r>\r\n  a\rb\n<e a=\"x\ty\nz\r\n\" b=\"&#9;&#10;&#13;\"/>\t</r>",
      // Beyond ASCII, in names too, and beyond the BMP.
      "<r é=\"ŒŸ€\">\xF0\x9D\x84\x9E ½<çà/></r>",
      // The byte-order mark of UTF-8.
      "\xEF\xBB\xBF<r>avec BOM</r>",
      // UTF-16 both ways, with their marks.
      Utf16(u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r a=\"é\">œ \U0001D11E</r>", false),
      Utf16(u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r a=\"é\">œ \U0001D11E</r>", true),
      // Latin-9 (€ at A4, œ at BD, Ÿ at BE) and Latin-1 as declared.
      "<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?><r a=\"\xA4\">\xBD\xBE\xE9</r>",
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r a=\"\xA4\">\xBD\xBE\xE9</r>",
      // Deep mixed content with whitespace everywhere.
      "<a>\n <b>1<c/>2<d>3</d>4</b>\n <b/> x </a>",
  };
  return documents;
}

// Each document, from memory and from a file, gives the tree Python's expat gives.
void LusCommeParExpat(const std::vector<std::string>& documents) {
  Dossier dossier;
  std::vector<fs::path> fichiers;
  for (std::size_t i = 0; i < documents.size(); ++i) {
    fichiers.push_back(dossier / ("d" + std::to_string(i) + ".xml"));
    sdd::tests_xml::EcrisOctets(fichiers.back(), documents[i]);
  }
  const std::vector<std::string> attendus = sdd::tests_xml::LisAvecExpat(fichiers);
  ASSERT_EQ(attendus.size(), documents.size());
  ParseurXML parseur;
  for (std::size_t i = 0; i < documents.size(); ++i) {
    SCOPED_TRACE(i);
    ASSERT_NE(attendus[i], "REFUSE");
    EXPECT_EQ(Canonique(parseur.LisTexte(documents[i])), attendus[i]);
    EXPECT_EQ(Canonique(parseur.LisFichier(fichiers[i].string())), attendus[i]);
  }
}

}  // namespace

TEST(ParseurXML, ChaqueConstructionCommeExpat) {
  const auto& documents = DocumentsDeReference();
  LusCommeParExpat(documents);
  ParseurXML parseur;
  // Spot checks that say what the canonical forms mean.
  const Balise r = parseur.LisTexte(documents[0]);
  EXPECT_EQ(r.DonneAttribut("b"), "deux & <trois> \"x\"");
  EXPECT_EQ(r.DonneAttribut("c"), "été");
  EXPECT_EQ(r.Texte(), "texte<pas une balise> & suite");
  EXPECT_EQ(r.Enfant("e")->Queue(), "queuefin");
  EXPECT_EQ(parseur.LisTexte(documents[8]).Texte(), "œŸé");
  EXPECT_EQ(parseur.LisTexte(documents[9]).Texte(), "½¾é");
  EXPECT_EQ(parseur.LisTexte(documents[3]).Enfant("e")->DonneAttribut("a"), "x y z ");
}

TEST(ParseurXML, DocumentsMalFormesRefusesCommeParExpat) {
  const std::vector<std::string> documents = {
      "",
      "<r>",
      "<r></s>",
      "<r a=\"1\" a=\"2\"/>",
      "<r a=1/>",
      "<r>&inconnue;</r>",
      "<r>&#0;</r>",
      "<r>\x01</r>",
      "<r/><s/>",
      "texte<r/>",
      "<r><!-- a -- b --></r>",
      "<r>]]></r>",
      "<1r/>",
      "<r>\xC3\x28</r>",  // invalid UTF-8
      "<p:r/>",           // undeclared prefix
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?><?xml version=\"1.0\"?><r/>",
  };
  Dossier dossier;
  std::vector<fs::path> fichiers;
  for (std::size_t i = 0; i < documents.size(); ++i) {
    fichiers.push_back(dossier / ("m" + std::to_string(i) + ".xml"));
    sdd::tests_xml::EcrisOctets(fichiers.back(), documents[i]);
  }
  const std::vector<std::string> expat = sdd::tests_xml::LisAvecExpat(fichiers);
  ASSERT_EQ(expat.size(), documents.size());
  for (std::size_t i = 0; i < documents.size(); ++i) {
    SCOPED_TRACE(documents[i]);
    // expat without namespace processing accepts the undeclared prefix; we do not.
    if (documents[i] != "<p:r/>") {
      EXPECT_EQ(expat[i], "REFUSE");
    }
    EXPECT_THROW(ParseurXML().LisTexte(documents[i]), ErreurXML);
  }
}

// Well-formed documents that break validity constraints of their DTD, and CDATA sections with
// every kind of line end, long enough to come from libxml2 in several pieces: accepted, and
// read as expat reads them.
TEST(ParseurXML, NonValidesMaisBienFormesEtFinsDeLigneEnCData) {
  // Read from a file in chunks of 256 KiB, a section that spans chunks comes in pieces of 300
  // bytes: with a period of 7, the first piece ends on a CR whose LF starts the next.
  std::string longue = "<d><![CDATA[";
  for (int i = 0; i < 50000; ++i) longue += "abcde\r\n";
  longue += "\r]]></d>";
  const std::vector<std::string> documents = {
      "<!DOCTYPE d [<!ATTLIST d a NMTOKEN \"@\">]><d/>",
      "<!DOCTYPE d [<!ATTLIST d a (x|x) #IMPLIED>]><d a=\"x\"/>",
      "<!DOCTYPE d [<!ELEMENT d EMPTY><!ELEMENT d ANY>]><d>t</d>",
      "<!DOCTYPE d [<!ATTLIST d a ID #IMPLIED b ID #IMPLIED>]><d a=\"x\" b=\"y\"/>",
      "<d><![CDATA[a\r\nb\rc]]></d>",
      "<d><![CDATA[a\r]]><![CDATA[\nb]]>\r\n<e/><![CDATA[\r]]></d>",
      longue,
      // A CR written as a reference in an entity stays a CR in text, a space in a value.
      "<!DOCTYPE d [<!ENTITY e \"<a b='x&#13;y'>p&#13;q<!--c&#13;-->r</a>&#13;\">]><d>&e;</d>",
      // The xml prefix's own declaration, legal and redundant, which libxml2 drops; the same
      // name inside a value declares nothing.
      "<x xmlns:xml=\"http://www.w3.org/XML/1998/namespace\" a=\"xmlns:xml=\"><y xml:lang=\"fr\"/></x>",
      "<x a=\"xmlns:xml=''\"/>",
  };
  LusCommeParExpat(documents);
  ParseurXML parseur;
  EXPECT_EQ(parseur.LisTexte(documents[4]).Texte(), "a\nb\nc");
  EXPECT_EQ(parseur.LisTexte(documents[5]).Texte(), "a\n\nb\n");
}

// The declarations that name outside data reach the listener, in document order; nothing they
// name is read.
TEST(ParseurXML, NotationsEtEntitesNonAnalyseesEnEvenements) {
  struct Ecoute : sdd::EcouteurXML {
    std::vector<std::string> vus;
    void Notation(std::string_view nom, std::string_view public_, std::string_view systeme) override {
      vus.push_back("notation " + std::string(nom) + "|" + std::string(public_) + "|" + std::string(systeme));
    }
    void EntiteNonAnalysee(std::string_view nom, std::string_view public_, std::string_view systeme,
                           std::string_view notation) override {
      vus.push_back("entite " + std::string(nom) + "|" + std::string(public_) + "|" + std::string(systeme) +
                    "|" + std::string(notation));
    }
  } ecoute;
  const std::string document =
      "<!DOCTYPE r [<!NOTATION gif PUBLIC \"-//x//gif\"><!NOTATION png SYSTEM \"image/png\">"
      "<!ENTITY logo SYSTEM \"d:\\images\\logo.gif\" NDATA gif><!ATTLIST r i ENTITY #IMPLIED>]><r "
      "i=\"logo\"/>";
  ParseurXML().AnalyseMemoire(document.data(), document.size(), ecoute);
  EXPECT_EQ(ecoute.vus, (std::vector<std::string>{"notation gif|-//x//gif|", "notation png||image/png",
                                                  "entite logo||d:\\images\\logo.gif|gif"}));
}

TEST(ParseurXML, LErreurDitOu) {
  try {
    ParseurXML().LisTexte("<r>\n  <a>\n    <b/>\n</r>");
    FAIL();
  } catch (const ErreurXML& e) {
    EXPECT_EQ(e.Ligne(), 4);
    EXPECT_GT(e.Colonne(), 0);
    EXPECT_NE(e.Quoi().find("mismatch"), std::string::npos) << e.Quoi();
    EXPECT_EQ(e.Explication().DonneStdString().rfind("XML : ligne 4, colonne ", 0), 0u);
  }
  EXPECT_SDD_THROW(ParseurXML().LisFichier("/nulle/part.xml"), sdd::exceptions::OuvertureEchouee,
                   "Ouverture échouée", "/nulle/part.xml : Aucun fichier ou dossier de ce type");
  EXPECT_THROW(ParseurXML().LisFichier(fs::temp_directory_path().string()),
               sdd::exceptions::OuvertureEchouee);
}

// A fault in an entity's replacement text is placed where the document refers to the entity
// (the outermost reference), as expat places it, and the message names the entity.
TEST(ParseurXML, UneErreurDansUneEntiteEstPlaceeALaReference) {
  const std::vector<std::pair<std::string, std::string>> cas = {
      {"<!DOCTYPE d [\n<!ENTITY e \"&f;\">\n<!ENTITY f \"&e;\">\n]>\n<d>\n  x &e;</d>",
       "dans le texte de remplacement de l’entité « f », appelée par « e » : "},
      {"<!DOCTYPE d [<!ENTITY e \"<a>\">]>\n\n\n\n\n<d>  &e;</d>",
       "dans le texte de remplacement de l’entité « e » : "},
      {"<!DOCTYPE d [\n<!ENTITY e \"&f;\">\n<!ENTITY f \"avant &g; après\">\n]>\n<d>\n\n\n\n  àb &e;</d>",
       "dans le texte de remplacement de l’entité « f », appelée par « e » : "},
      {"<!DOCTYPE d [<!ENTITY été \"</x>\">]>\n<d>\n<c>&amp; &été;</c></d>",
       "dans le texte de remplacement de l’entité « été » : "},
      // The same entity, fine once, then used where its text breaks the document's own tags.
      {"<!DOCTYPE d [<!ENTITY e \"<b>x</b>\">]>\n<d>&e;\n  <c>&e;</d>", ""},
  };
  Dossier dossier;
  std::vector<fs::path> fichiers;
  for (std::size_t i = 0; i < cas.size(); ++i) {
    fichiers.push_back(dossier / ("entite" + std::to_string(i) + ".xml"));
    sdd::tests_xml::EcrisOctets(fichiers.back(), cas[i].first);
  }
  const std::vector<std::string> expat = sdd::tests_xml::LisAvecExpat(fichiers, true);
  ASSERT_EQ(expat.size(), cas.size());
  for (std::size_t i = 0; i < cas.size(); ++i) {
    SCOPED_TRACE(cas[i].first);
    try {
      ParseurXML().LisTexte(cas[i].first);
      ADD_FAILURE() << "accepted";
    } catch (const ErreurXML& e) {
      if (!cas[i].second.empty()) {
        EXPECT_EQ(expat[i], "REFUSE " + std::to_string(e.Ligne()) + " " + std::to_string(e.Colonne()));
      }
      if (cas[i].second.empty()) {  // the fault is the document's own: placed and told as usual
        EXPECT_EQ(e.Ligne(), 3);
        EXPECT_EQ(e.Quoi().find("entité"), std::string::npos) << e.Quoi();
      } else {
        EXPECT_EQ(e.Quoi().rfind(cas[i].second, 0), 0u) << e.Quoi();
      }
    }
  }
}

TEST(ParseurXML, ErreurDeCodageSansRienEcrireSurLaSortieDErreur) {
  // UTF-16 with a lone high surrogate: libxml2 reports the conversion failure outside any parser
  // context, on standard error unless told otherwise.
  const std::string document("\xFF\xFE<\0r\0>\0\x00\xD8<\0/\0r\0>\0", 18);
  testing::internal::CaptureStderr();
  EXPECT_THROW(ParseurXML().LisTexte(document), ErreurXML);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ParseurXML, ChaineDejaDecodeeIgnoreLaDeclaration) {
  const std::u16string texte = u"<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?><r a=\"€\">œ\U0001D11E</r>";
  const Balise attendu = ParseurXML().LisTexte("<r a=\"€\">œ\xF0\x9D\x84\x9E</r>");
  EXPECT_EQ(ParseurXML().LisChaine(sdd::ChaineN(texte.c_str())), attendu);
  EXPECT_EQ(ParseurXML().LisChaine(UniChaine(texte)), attendu);
}

TEST(ParseurXML, EspacesDeMiseEnPage) {
  const std::string document = "<a>\n  <b> garde </b>\n  <c>\n    <d/>\n  </c>\n  <e>  </e>\n</a>";
  OptionsParseurXML options;
  options.ignoreEspacesDeMiseEnPage = true;
  const Balise a = ParseurXML(options).LisTexte(document);
  EXPECT_EQ(a.Texte(), "");
  EXPECT_EQ(a.Enfant("b")->Texte(), " garde ");
  EXPECT_EQ(a.Enfant("b")->Queue(), "");
  EXPECT_EQ(a.Enfant("c")->Texte(), "");
  EXPECT_EQ(a.Enfant("e")->Texte(), "  ");  // a leaf keeps its text
  EXPECT_EQ(a.TexteComplet(), " garde   ");
  EXPECT_EQ(ParseurXML().LisTexte(document).Texte(), "\n  ");
}

namespace {

class Journal final : public sdd::EcouteurXML {
 public:
  void Debut(std::string_view nom, const std::vector<Balise::Attribut>& attributs) override {
    evenements += "D" + std::string(nom);
    for (const auto& a : attributs) evenements += " " + a.nom + "=" + a.valeur;
    evenements += ";";
  }
  void Texte(std::string_view texte) override { evenements += "T" + std::string(texte) + ";"; }
  void Fin(std::string_view nom) override { evenements += "F" + std::string(nom) + ";"; }
  void Commentaire(std::string_view texte) override { evenements += "C" + std::string(texte) + ";"; }
  void Instruction(std::string_view cible, std::string_view donnees) override {
    evenements += "I" + std::string(cible) + "," + std::string(donnees) + ";";
  }
  std::string evenements;
};

class Lanceur final : public sdd::EcouteurXML {
 public:
  void Fin(std::string_view nom) override {
    if (nom == "stop") throw std::runtime_error("arrêt demandé");
    ++fins;
  }
  int fins = 0;
};

}  // namespace

TEST(ParseurXML, ModeFluxDansLOrdreDuDocument) {
  const std::string document = "<?p x?><!--a--><r k=\"v\">t<![CDATA[c]]><e/><!--b--><?q y?></r>";
  Journal journal;
  ParseurXML().AnalyseMemoire(document.data(), document.size(), journal);
  EXPECT_EQ(journal.evenements, "Ip,x;Ca;Dr k=v;Tt;Tc;De;Fe;Cb;Iq,y;Fr;");

  // A listener's exception ends the parse and comes out as it was thrown.
  Lanceur lanceur;
  const std::string arret = "<r><a/><stop/><b/><c/></r>";
  EXPECT_THROW(ParseurXML().AnalyseMemoire(arret.data(), arret.size(), lanceur), std::runtime_error);
  EXPECT_EQ(lanceur.fins, 1);
}

TEST(ParseurXML, GrosFichierEnFluxParMorceaux) {
  // Several read chunks and several parse chunks, with text cut across them.
  Dossier dossier;
  std::string document = "<liste>";
  for (int i = 0; i < 60000; ++i)
    document += "<mot n=\"" + std::to_string(i) + "\">élément numéro " + std::to_string(i) + "</mot>";
  document += "</liste>";
  sdd::tests_xml::EcrisOctets(dossier / "gros.xml", document);
  struct Compteur final : sdd::EcouteurXML {
    void Debut(std::string_view, const std::vector<Balise::Attribut>& a) override {
      if (!a.empty()) somme += std::stoll(a[0].valeur);
    }
    void Texte(std::string_view t) override { octets += t.size(); }
    long long somme = 0;
    std::size_t octets = 0;
  } compteur;
  ParseurXML().AnalyseFichier((dossier / "gros.xml").string(), compteur);
  EXPECT_EQ(compteur.somme, 60000LL * 59999 / 2);
  const Balise liste = ParseurXML().LisFichier((dossier / "gros.xml").string());
  ASSERT_EQ(liste.NombreEnfants(), 60000u);
  // From a pipe, whose length nobody knows in advance: the expansion budget grows with what is
  // read, so a 3 MB document streams through although the allowance without input is 1 MiB.
  const fs::path tube = dossier / "tube";
  ASSERT_EQ(::mkfifo(tube.c_str(), 0600), 0);
  std::thread ecrivain([&] { std::ofstream(tube, std::ios::binary) << document; });
  Compteur parTube;
  ParseurXML().AnalyseFichier(tube.string(), parTube);
  ecrivain.join();
  EXPECT_EQ(parTube.somme, compteur.somme);
  EXPECT_EQ(parTube.octets, compteur.octets);
  EXPECT_EQ(liste.Enfants().back().Texte(), "élément numéro 59999");
  EXPECT_EQ(compteur.octets, liste.TexteComplet().size());
}
