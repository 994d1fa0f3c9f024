#include <outils_socle/journaux/CJournal.h>
#include <outils_socle/langues/DomaineTraduction.h>
#include <outils_socle/langues/Langues.h>
#include <outils_socle/reglages/Reglages.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

std::string Lis(const std::string& chemin) {
  std::ifstream f(chemin);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

// Codes against Debian's iso-codes tables, own names against glibc's locale sources (each
// language's "lang_name"), both independent of ICU.
TEST(Langues, CodesEtNomsContreIsoCodesEtGlibc) {
  const std::string iso = Lis("/usr/share/iso-codes/json/iso_639-2.json");
  ASSERT_FALSE(iso.empty()) << "iso-codes is not installed";
  const std::map<std::string, std::string> locales = {{"fr", "fr_FR"}, {"en", "en_GB"}, {"de", "de_DE"},
                                                      {"es", "es_ES"}, {"it", "it_IT"}, {"nl", "nl_NL"},
                                                      {"pt", "pt_PT"}};
  ASSERT_EQ(Langues::Offertes().size(), locales.size());
  EXPECT_EQ(Langues::Offertes()[0].code6391, "fr");
  for (const LangueInterface& l : Langues::Offertes()) {
    const std::regex entree("\"alpha_2\": \"" + l.code6391 + "\",\\s*\"alpha_3\": \"([a-z]{3})\"");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(iso, m, entree)) << l.code6391;
    EXPECT_EQ(l.code6392, m[1]) << l.code6391;
    const std::string source = Lis("/usr/share/i18n/locales/" + locales.at(l.code6391));
    std::smatch n;
    ASSERT_TRUE(std::regex_search(source, n, std::regex("lang_name\\s+\"([^\"]*)\""))) << l.code6391;
    // glibc writes non-ASCII letters as <U00E7>.
    std::string nom = n[1];
    for (size_t ou; (ou = nom.find("<U")) != std::string::npos;) {
      const char32_t c = static_cast<char32_t>(std::stoul(nom.substr(ou + 2, 4), nullptr, 16));
      nom.replace(ou, 7, UniChaine(QString::fromUcs4(&c, 1)).DonneStdString());
    }
    EXPECT_EQ(l.nomPropre.DonneStdString(), nom) << l.code6391;
    EXPECT_EQ(Langues::Trouve(l.code6392), &l);
  }
  EXPECT_EQ(Langues::Trouve("EN")->nomFrancais.DonneStdString(), "anglais");
  EXPECT_EQ(Langues::Trouve("nld")->nomFrancais.DonneStdString(), "néerlandais");
  EXPECT_EQ(Langues::Trouve("ja"), nullptr);
}

TEST(Langues, LangueDeLUtilisateur) {
  const auto avec = [](std::map<std::string, std::string> env) {
    return Langues::LangueUtilisateur([env](const char* nom) -> const char* {
      const auto it = env.find(nom);
      return it == env.end() ? nullptr : it->second.c_str();
    });
  };
  EXPECT_EQ(avec({}), "fr");
  EXPECT_EQ(avec({{"LANG", "C.UTF-8"}}), "fr");
  EXPECT_EQ(avec({{"LANG", "de_DE.UTF-8"}}), "de");
  EXPECT_EQ(avec({{"LANG", "de_DE.UTF-8"}, {"LC_MESSAGES", "es_ES"}}), "es");
  EXPECT_EQ(avec({{"LANG", "de_DE.UTF-8"}, {"LC_ALL", "ja_JP.UTF-8"}}), "fr");
  EXPECT_EQ(avec({{"LANGUAGE", "ja:pt_BR:en"}, {"LC_ALL", "de_DE"}}), "pt");
  EXPECT_EQ(avec({{"LANGUAGE", "ja"}, {"LANG", "it_IT@euro"}}), "it");
}

// French, byte for byte, until English is chosen; then the messages come from the catalogue
// built into the build tree (the installation test reads the installed one).
TEST(Langues, MessagesDeLaBibliothequeEnAnglais) {
  const exceptions::TableNonValide e(std::string("Données indexées endommagées : Version non gérée"));
  EXPECT_EQ(Langues::LangueChoisie(), "fr");
  EXPECT_EQ(e.MessageCompletTraduit(), e.MessageComplet());
  EXPECT_EQ(MessageErreurFichier(6).DonneStdString(), "Erreur à la lecture du fichier.");
  EXPECT_THROW(Langues::ChoisisLangue("ja"), exceptions::OperationInvalide);

  Langues::ChoisisLangue("en");
  EXPECT_EQ(e.MessageCompletTraduit().DonneStdString(),
            "Invalid table : Damaged indexed data : Unsupported version");
  EXPECT_EQ(e.MessageComplet().DonneStdString(),
            "Table non valide : Données indexées endommagées : Version non gérée");
  EXPECT_EQ(MessageErreurFichier(6).DonneStdString(), "Error while reading the file.");
  const exceptions::OperationInvalide inconnue(std::string("Texte : inconnu"));
  EXPECT_EQ(inconnue.ExplicationTraduite().DonneStdString(), "Texte : inconnu");

  // An application's own domain, with plurals, switched at run time.
  const DomaineTraduction domaine("outils-socle", Langues::DossierTraductions());
  EXPECT_EQ(domaine.Traduis("Table tronquée").DonneStdString(), "Truncated table");
  Langues::ChoisisLangue("fr");
  EXPECT_EQ(domaine.Traduis("Table tronquée").DonneStdString(), "Table tronquée");
  EXPECT_EQ(domaine.TraduisPluriel("un mot", "des mots", 1).DonneStdString(), "un mot");
  EXPECT_EQ(domaine.TraduisPluriel("un mot", "des mots", 2).DonneStdString(), "des mots");
  EXPECT_EQ(e.MessageCompletTraduit(), e.MessageComplet());
}

// Messages that name a path or a type are built from a model; in English each value stays
// where the English model puts it, paths as they are and type names translated.
TEST(Langues, MessagesAvecValeursEnAnglais) {
  const auto anglais = [](auto&& action) {
    try {
      action();
    } catch (const exceptions::Exception& e) {
      Langues::ChoisisLangue("en");
      std::string texte = e.MessageCompletTraduit().DonneStdString();
      Langues::ChoisisLangue("fr");
      EXPECT_NE(texte, e.MessageComplet().DonneStdString()) << "not translated";
      return texte;
    }
    ADD_FAILURE() << "no exception";
    return std::string();
  };
  Reglages reglages;
  reglages.Declare("affichage/taille", Reglage::Entier(12));
  EXPECT_EQ(anglais([&] { reglages.MetsBooleen("affichage/taille", true); }),
            "Invalid operation : Setting “affichage/taille” of type integer: value of type boolean "
            "refused");
  EXPECT_EQ(anglais([&] { reglages.MetsEntier("affichage/taille/pixels", 3); }),
            "Invalid operation : Setting “affichage/taille/pixels” under setting “affichage/taille”");
  EXPECT_EQ(anglais([&] { reglages.Mets("a//b", Reglage::Entier(1)); }),
            "Invalid operation : Invalid setting path: “a//b”");
  const std::string dossier = ::testing::TempDir() + "/journal_anglais";
  EXPECT_EQ(anglais([&] { CJournal journal(UniChemin(dossier + "/j.log"), 0, 1); }),
            "Invalid operation : Journal “" + dossier + "/j.log” : zero maximum size");
}

// Every text marked for translation in the sources has its English form: xgettext collects
// them again and msgcmp compares with the catalogue.
TEST(Langues, CatalogueAnglaisComplet) {
  const std::string racine = std::string(OUTILS_SOCLE_DONNEES_TESTS) + "/../..";
  const std::string commande =
      "cd " + racine +
      " && xgettext --from-code=UTF-8 -C --keyword --keyword=N_ --keyword=Traduis:1"
      " --keyword=Tr --keyword=TrPluriel:1,2"
      " -o /tmp/outils_socle_test.pot $(git ls-files 'src/*.cpp' 'src/*.h' 'outils/*.cpp' 2>/dev/null ||"
      " find src outils -name '*.cpp' -o -path 'src/*.h') && msgcmp po/en.po /tmp/outils_socle_test.pot";
  EXPECT_EQ(std::system(commande.c_str()), 0) << commande;
}

}  // namespace
}  // namespace sdd
