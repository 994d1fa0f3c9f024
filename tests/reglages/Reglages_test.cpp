#include <outils_socle/reglages/Reglages.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "commun/Exceptions.h"
#include "commun/Octets.h"
#include "plateforme/Plateforme.h"

namespace sdd {
namespace {

// Every kind, with strings over all of Unicode's planes and blobs with every byte value.
UniChaine ChaineDePoints(char32_t debut, char32_t fin, char32_t pas) {
  std::u32string points;
  for (char32_t c = debut; c < fin; c += pas) {
    if (c >= 0xD800 && c < 0xE000) continue;  // surrogates are no characters
    points += c;
  }
  return UniChaine(QString::fromUcs4(points.data(), static_cast<int>(points.size())));
}

// `pas` thins the all-planes string; the damage test, quadratic in the file's size, wants it short.
Reglages ReglagesDeTousLesTypes(bool controles, char32_t pas = 97) {
  Reglages r;
  r.MetsBooleen("affichage/plein_ecran", true);
  r.MetsBooleen("affichage/barre", false);
  r.MetsEntier("affichage/police/taille", -9223372036854775807LL - 1);
  r.MetsEntier("affichage/police/graisse", 9223372036854775807LL);
  r.MetsChaine("affichage/police/nom", "  Noto Serif « œuvre » 𝄞 — ǅ\t");
  // XML 1.0 has no form for most C0 controls: the XML writer refuses them (see docs/reglages.md),
  // so they are left out of what goes to XML.
  r.MetsChaine("texte/tout", ChaineDePoints(controles ? 1 : 0x20, 0x110000, pas));
  r.MetsChaine("texte/vide", "");
  r.MetsChaine("texte/lignes", "un\r\ndeux\nтри\r");
  r.MetsListeChaines("fichiers/recents", {"/tmp/é t é.txt", "", "a,b", "<&>\"'", "@Invalid()"});
  r.MetsListeChaines("fichiers/un_seul", {"seul"});
  r.MetsListeChaines("fichiers/aucun", {});
  Reglage::Octets tous;
  for (int i = 0; i < 256; ++i) tous.push_back(static_cast<uint8_t>(255 - i));
  r.MetsBlob("etat/fenetre", tous);
  r.MetsBlob("etat/vide", {});
  r.MetsBlob("etat/un", {0});
  return r;
}

// Declarations matching ReglagesDeTousLesTypes, so that a loaded file reads typed.
void DeclareTousLesTypes(Reglages& r) {
  Reglages modele = ReglagesDeTousLesTypes(true);
  for (const UniChaine& chemin : modele.Chemins()) {
    Reglage v;
    ASSERT_TRUE(modele.DonneValeur(chemin, v));
    switch (v.Type()) {
      case eTypeReglage::eBooleen: r.Declare(chemin, Reglage::Booleen(false)); break;
      case eTypeReglage::eEntier: r.Declare(chemin, Reglage::Entier(0)); break;
      case eTypeReglage::eChaine: r.Declare(chemin, Reglage::Chaine("")); break;
      case eTypeReglage::eListeChaines: r.Declare(chemin, Reglage::ListeChaines({"défaut"})); break;
      case eTypeReglage::eBlob: r.Declare(chemin, Reglage::Blob({1, 2, 3})); break;
    }
  }
}

void ExpectMemesValeurs(const Reglages& a, const Reglages& b) {
  ASSERT_EQ(a.Chemins(), b.Chemins());
  for (const UniChaine& chemin : a.Chemins()) {
    Reglage va, vb;
    ASSERT_TRUE(a.DonneValeur(chemin, va)) << chemin.DonneStdString();
    ASSERT_TRUE(b.DonneValeur(chemin, vb)) << chemin.DonneStdString();
    EXPECT_TRUE(va == vb) << chemin.DonneStdString();
  }
}

TEST(Reglages, AllersRetoursDeChaqueTypeParXmlEtJson) {
  for (const eFormatReglages format : {eFormatReglages::eXML, eFormatReglages::eJSON}) {
    const Reglages source = ReglagesDeTousLesTypes(format == eFormatReglages::eJSON);
    Reglages lu;
    DeclareTousLesTypes(lu);
    lu.LisTexte(source.EcrisTexte(format), format);
    ExpectMemesValeurs(source, lu);
    // Written again, the same bytes: a load followed by a save changes nothing.
    EXPECT_EQ(lu.EcrisTexte(format), source.EcrisTexte(format));
  }
}

TEST(Reglages, IniPourLesArbresQuiYTiennent) {
  Reglages r;
  r.MetsBooleen("general/actif", true);
  r.MetsEntier("affichage/taille", -12);
  r.MetsChaine("affichage/nom", "Noto « serif » ; # = [x] é𝄞");
  r.MetsBlob("etat/fenetre", {0, 1, 254, 255});
  r.MetsChaine("racine", "au premier niveau");
  Reglages lu;
  lu.Declare("general/actif", Reglage::Booleen(false));
  lu.Declare("affichage/taille", Reglage::Entier(0));
  lu.Declare("affichage/nom", Reglage::Chaine(""));
  lu.Declare("etat/fenetre", Reglage::Blob({}));
  lu.Declare("racine", Reglage::Chaine(""));
  const std::string ini = r.EcrisTexte(eFormatReglages::eINI);
  EXPECT_NE(ini.find("[affichage]"), std::string::npos) << ini;
  lu.LisTexte(ini, eFormatReglages::eINI);
  ExpectMemesValeurs(r, lu);

  const auto refuse = [](const char* chemin, const Reglage& v, const char* pourquoi) {
    Reglages r;
    r.Mets(chemin, v);
    EXPECT_SDD_THROW(r.EcrisTexte(eFormatReglages::eINI), exceptions::OperationInvalide,
                     "L'opération est invalide",
                     std::string("Réglages INI : « ") + chemin + " » " + pourquoi);
  };
  refuse("a/b/c", Reglage::Entier(1), "est trop profond pour une section et une clé");
  refuse("a/l", Reglage::ListeChaines({"x"}), "est une liste");
  refuse("a/s", Reglage::Chaine("deux\nlignes"), "contient un saut de ligne");
  refuse("a/s", Reglage::Chaine(" bord"), "commence ou finit par une espace");
}

// Python's own parsers read what we write: the files are real XML and JSON, not just our dialect.
TEST(Reglages, PythonLitNosFichiers) {
  essais::DossierTemporaire dossier;
  const Reglages r = ReglagesDeTousLesTypes(false);
  r.Enregistre(dossier / "r.xml", eFormatReglages::eXML);
  r.Enregistre(dossier / "r.json", eFormatReglages::eJSON);
  {
    std::ofstream attendu(dossier / "attendu.txt", std::ios::binary);
    attendu << r.DonneChaine("affichage/police/nom").DonneStdString() << '\n'
            << r.DonneChaine("texte/tout").DonneStdString() << '\n'
            << r.DonneListeChaines("fichiers/recents")[3].DonneStdString() << '\n';
  }
  std::ofstream script(dossier / "lis.py");
  script << "import json, sys, xml.etree.ElementTree as ET\n"
            "d = sys.argv[1]\n"
            "att = open(d + '/attendu.txt', encoding='utf-8', newline='').read().split('\\n')\n"
            "j = json.load(open(d + '/r.json', encoding='utf-8'))\n"
            "x = ET.parse(d + '/r.xml').getroot()\n"
            "assert j['affichage']['police']['nom'] == att[0], 'json nom'\n"
            "assert j['texte']['tout'] == att[1], 'json tout'\n"
            "assert j['fichiers']['recents'][3] == att[2], 'json liste'\n"
            "assert x.find('affichage/police/nom').text == att[0], 'xml nom'\n"
            "assert x.find('texte/tout').text == att[1], 'xml tout'\n"
            "assert [e.text or '' for e in x.find('fichiers/recents')][3] == att[2], 'xml liste'\n"
            "assert x.find('fichiers/recents').get('type') == 'liste'\n";
  script.close();
  const std::string commande =
      std::string(OUTILS_SOCLE_PYTHON3) + " " + (dossier / "lis.py") + " " + (dossier / "");
  EXPECT_EQ(std::system(commande.c_str()), 0) << commande;
}

TEST(Reglages, LireNeLancePasEtDonneLeDefaut) {
  Reglages r;
  r.Declare("affichage/taille", Reglage::Entier(12));
  r.Declare("affichage/nom", Reglage::Chaine("Noto"));
  r.Declare("affichage/actif", Reglage::Booleen(true));
  EXPECT_EQ(r.DonneEntier("affichage/taille", 99), 12);
  EXPECT_EQ(r.DonneEntier("jamais/declare", 99), 99);
  EXPECT_EQ(r.DonneEntier("chemin//non valide", 7), 7);
  EXPECT_EQ(r.DonneChaine("affichage/taille", "repli").DonneStdString(), "repli");  // another kind

  // Ill-typed values from a file give the default, stay in the file, and are reported absent
  // as typed values.
  r.LisTexte(R"({"affichage":{"taille":"douze","nom":"Fira","actif":"peut-être"},"autre":{"x":"1"}})",
             eFormatReglages::eJSON);
  EXPECT_EQ(r.DonneEntier("affichage/taille"), 12);
  EXPECT_TRUE(r.DonneBooleen("affichage/actif"));
  EXPECT_EQ(r.DonneChaine("affichage/nom").DonneStdString(), "Fira");
  EXPECT_EQ(r.DonneEntier("autre/x"), 1);  // undeclared, read as asked
  EXPECT_EQ(r.DonneChaine("autre/x").DonneStdString(), "1");
  Reglage v;
  EXPECT_FALSE(r.DonneValeur("affichage/taille", v));
  const std::string reecrit = r.EcrisTexte(eFormatReglages::eJSON);
  EXPECT_NE(reecrit.find("\"douze\""), std::string::npos) << reecrit;
  EXPECT_NE(reecrit.find("\"x\": \"1\""), std::string::npos) << reecrit;
}

TEST(Reglages, EcrireUnAutreTypeEstRefuse) {
  Reglages r;
  r.Declare("affichage/taille", Reglage::Entier(12));
  EXPECT_SDD_THROW(r.MetsChaine("affichage/taille", "grand"), exceptions::OperationInvalide,
                   "L'opération est invalide",
                   "Réglage « affichage/taille » de type entier : valeur de type chaîne refusée");
  EXPECT_SDD_THROW(r.Declare("affichage/taille", Reglage::Booleen(true)), exceptions::OperationInvalide,
                   "L'opération est invalide",
                   "Réglage « affichage/taille » déjà de type entier, redéclaré de type booléen");
  EXPECT_SDD_THROW(r.MetsEntier("affichage/taille/sous", 1), exceptions::OperationInvalide,
                   "L'opération est invalide",
                   "Réglage « affichage/taille/sous » sous le réglage « affichage/taille »");
  EXPECT_SDD_THROW(r.MetsEntier("affichage", 1), exceptions::OperationInvalide, "L'opération est invalide",
                   "Réglage « affichage » au-dessus du réglage « affichage/taille »");
  for (const char* mauvais : {"", "/a", "a/", "a//b", "1a", "a b", "é", "a/.b", "a/-b"}) {
    EXPECT_SDD_THROW(r.MetsEntier(mauvais, 1), exceptions::OperationInvalide, "L'opération est invalide",
                     std::string("Chemin de réglage non valide : « ") + mauvais + " »");
  }
  EXPECT_EQ(r.DonneEntier("affichage/taille"), 12);
  // All or nothing: the good change of a refused batch is not made.
  EXPECT_THROW(
      r.Applique({{"affichage/nom", Reglage::Chaine("x")}, {"affichage/taille", Reglage::Chaine("y")}}),
      exceptions::OperationInvalide);
  EXPECT_FALSE(r.PossedeValeur("affichage/nom"));
  EXPECT_THROW(r.Applique({{"a/b", Reglage::Entier(1)}, {"a/b/c", Reglage::Entier(2)}}),
               exceptions::OperationInvalide);
  EXPECT_EQ(r.Chemins().size(), 1u);
}

TEST(Reglages, LesEcouteursEntendentCeQuiChange) {
  Reglages r;
  std::vector<std::string> entendus;
  const int n = r.AjouteEcouteur([&](const std::vector<UniChaine>& chemins) {
    for (const UniChaine& c : chemins) entendus.push_back(c.DonneStdString());
  });
  r.MetsEntier("a/x", 1);
  r.MetsEntier("a/x", 1);  // the same value: nothing to hear
  r.Applique({{"a/y", Reglage::Chaine("é")}, {"a/x", Reglage::Entier(2)}});
  r.Enleve("a/y");
  r.LisTexte(R"({"a":{"x":"2","z":"nouveau"}})", eFormatReglages::eJSON);
  EXPECT_EQ(entendus, (std::vector<std::string>{"a/x", "a/y", "a/x", "a/y", "a/x", "a/z"}));
  // "a/x" came back as the text "2" of a path nobody declared: a change of form, heard.
  r.EnleveEcouteur(n);
  r.MetsEntier("a/x", 5);
  EXPECT_EQ(entendus.size(), 6u);
}

// A file damaged at every offset (cut there, or one byte replaced by a character that matters
// to the syntax) is either read whole or refused with ErreurDeserialisation, and a refusal
// leaves the settings exactly as they were.
TEST(Reglages, FichierEndommageAChaqueOctetNeChangeRien) {
  for (const eFormatReglages format : {eFormatReglages::eXML, eFormatReglages::eJSON}) {
    const std::string bon = ReglagesDeTousLesTypes(format == eFormatReglages::eJSON, 8191).EcrisTexte(format);
    Reglages r;
    DeclareTousLesTypes(r);
    r.MetsEntier("en/memoire", 42);
    const std::string avant = r.EcrisTexte(format);
    int refus = 0, lus = 0;
    for (size_t i = 0; i < bon.size(); ++i) {
      std::vector<std::string> abimes = {bon.substr(0, i)};
      for (const char c : {'<', '>', '"', '{', '}', '/', '\xff', '\0', 'x'}) {
        if (bon[i] == c) continue;
        abimes.push_back(bon);
        abimes.back()[i] = c;
      }
      for (const std::string& abime : abimes) {
        Reglages essai(r);
        try {
          essai.LisTexte(abime, format);
          ++lus;
        } catch (const exceptions::ErreurDeserialisation&) {
          ++refus;
          ASSERT_EQ(essai.EcrisTexte(format), avant) << "offset " << i;
        }
      }
    }
    EXPECT_GT(refus, static_cast<int>(bon.size()));  // most damage is seen
    EXPECT_GT(lus, 0);                               // some lands inside a value and reads fine
  }
}

TEST(Reglages, ImbricationProfondeRefusee) {
  Reglages r;
  r.MetsEntier("a", 1);
  const std::string json = std::string(100000, '[') + std::string(100000, ']');
  EXPECT_SDD_THROW(r.LisTexte(json, eFormatReglages::eJSON), exceptions::ErreurDeserialisation,
                   "Erreur de désérialisation", "Réglages JSON endommagés : plus de 64 niveaux");
  std::string xml;
  for (int i = 0; i < 100000; ++i) xml += "<a x='/>'>";
  EXPECT_SDD_THROW(r.LisTexte(xml, eFormatReglages::eXML), exceptions::ErreurDeserialisation,
                   "Erreur de désérialisation", "Réglages XML endommagés : plus de 64 niveaux");
  EXPECT_EQ(r.DonneEntier("a"), 1);
  // 64 levels are fine.
  std::string chemin = "n";
  for (int i = 1; i < 64; ++i) chemin += "/n";
  r.MetsEntier(chemin, 3);
  Reglages lu;
  lu.LisTexte(r.EcrisTexte(eFormatReglages::eXML), eFormatReglages::eXML);
  EXPECT_EQ(lu.DonneEntier(chemin), 3);
}

TEST(Reglages, MauvaisesRacinesEtCheminsRefuses) {
  Reglages r;
  const auto refuse = [&](const std::string& texte, eFormatReglages format, const std::string& explication) {
    EXPECT_SDD_THROW(r.LisTexte(texte, format), exceptions::ErreurDeserialisation,
                     "Erreur de désérialisation", explication);
  };
  refuse("<autre/>", eFormatReglages::eXML,
         "Réglages XML endommagés : l’élément racine doit être <reglages>");
  refuse("[1,2]", eFormatReglages::eJSON,
         "Réglages JSON endommagés : tableau à la place d’un objet à la racine");
  refuse(R"({"a b":"1"})", eFormatReglages::eJSON, "Réglages JSON endommagés : chemin non valide « a b »");
  refuse("<reglages><a>1</a><a>2</a></reglages>", eFormatReglages::eXML,
         "Réglages XML endommagés : chemin en double « a »");
  refuse(R"({"l":[{"x":"1"}]})", eFormatReglages::eJSON,
         "Réglages JSON endommagés : liste « l » : élément composé");
  refuse("[s]\nk=1\nk=2\n", eFormatReglages::eINI, "Réglages INI endommagés : ligne 3 : duplicate key name");
}

TEST(Reglages, FichiersEtErreursDeFichier) {
  essais::DossierTemporaire dossier;
  const Reglages r = ReglagesDeTousLesTypes(false);
  r.Enregistre(dossier / "r.xml", eFormatReglages::eXML);
  Reglages lu;
  DeclareTousLesTypes(lu);
  lu.Charge(dossier / "r.xml", eFormatReglages::eXML);
  ExpectMemesValeurs(r, lu);
  EXPECT_THROW(lu.Charge(dossier / "absent.xml", eFormatReglages::eXML), exceptions::OuvertureEchouee);
  EXPECT_THROW(r.Enregistre(dossier / "pas/de/dossier.xml", eFormatReglages::eXML),
               exceptions::OuvertureEchouee);
  // No temporary file is left behind by a save that worked.
  int fichiers = 0;
  for ([[maybe_unused]] const auto& f : std::filesystem::directory_iterator(dossier / "")) ++fichiers;
  EXPECT_EQ(fichiers, 1);
}

// The process dies between writing the temporary file and renaming it: the previous file is
// intact and loads, and the next save goes through.
TEST(Reglages, CrashEntreEcritureEtRenommageNePerdRien) {
  essais::DossierTemporaire dossier;
  const std::string chemin = dossier / "r.json";
  Reglages ancien;
  ancien.MetsChaine("etat/version", "ancienne");
  ancien.Enregistre(chemin, eFormatReglages::eJSON);
  std::ifstream f(chemin);
  const std::string octetsAvant((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());

  EXPECT_EXIT(
      {
        Reglages nouveau = ReglagesDeTousLesTypes(true);
        plateforme::gCrochetAvantRenommage = [] { _exit(42); };
        nouveau.Enregistre(chemin, eFormatReglages::eJSON);
      },
      testing::ExitedWithCode(42), "");

  std::ifstream g(chemin);
  EXPECT_EQ(std::string((std::istreambuf_iterator<char>(g)), std::istreambuf_iterator<char>()), octetsAvant);
  Reglages relu;
  relu.Charge(chemin, eFormatReglages::eJSON);
  EXPECT_EQ(relu.DonneChaine("etat/version").DonneStdString(), "ancienne");
  int temporaires = 0;
  for (const auto& e : std::filesystem::directory_iterator(dossier / ""))
    temporaires += e.path().filename().string().find(".tmp") != std::string::npos;
  EXPECT_EQ(temporaires, 1);  // what the crash left; harmless, never read
  ReglagesDeTousLesTypes(true).Enregistre(chemin, eFormatReglages::eJSON);
  relu.Charge(chemin, eFormatReglages::eJSON);
  EXPECT_EQ(relu.DonneChaine("affichage/police/nom"),
            ReglagesDeTousLesTypes(true).DonneChaine("affichage/police/nom"));
}

// Writers apply sets that give three settings one common value; readers copy the settings and
// must always find the three equal. ThreadSanitizer watches the locking.
TEST(Reglages, LesLecteursNeVoientJamaisUnDemiEnsemble) {
  Reglages r;
  for (const char* c : {"jeu/a", "jeu/b", "jeu/c"}) r.Declare(c, Reglage::Entier(0));
  std::atomic<bool> fin{false};
  std::atomic<int> demiEnsembles{0}, lectures{0}, lecteursPrets{0};
  std::vector<std::thread> fils;
  for (int w = 0; w < 2; ++w) {
    fils.emplace_back([&, w] {
      // The writers wait for both readers so that the two really overlap, whatever the
      // scheduler does on a loaded machine.
      while (lecteursPrets < 2) std::this_thread::yield();
      for (int i = 1; i <= 2000; ++i) {
        const Reglage v = Reglage::Entier(w * 100000 + i);
        r.Applique({{"jeu/a", v}, {"jeu/b", v}, {"jeu/c", v}});
      }
    });
  }
  for (int l = 0; l < 2; ++l) {
    fils.emplace_back([&] {
      ++lecteursPrets;
      do {
        const Reglages photo(r);
        const int64_t a = photo.DonneEntier("jeu/a");
        if (photo.DonneEntier("jeu/b") != a || photo.DonneEntier("jeu/c") != a) ++demiEnsembles;
        ++lectures;
      } while (!fin);
    });
  }
  fils[0].join();
  fils[1].join();
  fin = true;
  fils[2].join();
  fils[3].join();
  EXPECT_EQ(demiEnsembles, 0);
  EXPECT_GT(lectures, 0);
  EXPECT_TRUE(r.DonneEntier("jeu/a") == 2000 || r.DonneEntier("jeu/a") == 102000);
}

}  // namespace
}  // namespace sdd
