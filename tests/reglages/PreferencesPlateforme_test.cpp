#include <outils_socle/reglages/PreferencesPlateforme.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

// QSettings finds the user's folder once per process, at its first use: the folder is set here,
// before any test runs.
class DossierDeConfiguration : public testing::Environment {
 public:
  void SetUp() override { setenv("XDG_CONFIG_HOME", (dossier_ / "config").c_str(), 1); }
  static essais::DossierTemporaire dossier_;
};
essais::DossierTemporaire DossierDeConfiguration::dossier_;
[[maybe_unused]] testing::Environment* const kDossier =
    testing::AddGlobalTestEnvironment(new DossierDeConfiguration);

std::string Lis(const std::string& chemin) {
  std::ifstream f(chemin, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

TEST(PreferencesPlateforme, DansLeDossierXdgEtDeChaqueType) {
  const std::string attendu = DossierDeConfiguration::dossier_ / "config/Éditions Test/Correcteur.conf";
  {
    PreferencesPlateforme p("Éditions Test", "Correcteur");
    EXPECT_EQ(p.Chemin().DonneStdString(), attendu);
    p.Mets("general/actif", Reglage::Booleen(true));
    p.Mets("affichage/taille", Reglage::Entier(-9223372036854775807LL - 1));
    p.Mets("affichage/nom", Reglage::Chaine("Noto « é » 𝄞\n\t\"x\""));
    p.Mets("fichiers/recents", Reglage::ListeChaines({"a,b", "", "é"}));
    p.Mets("fichiers/un", Reglage::ListeChaines({"a,b"}));
    p.Mets("fichiers/aucun", Reglage::ListeChaines({}));
    p.Mets("etat/fenetre", Reglage::Blob({0, 1, 0xFF}));
    EXPECT_THROW(p.Mets("mauvaise clé", Reglage::Entier(1)), exceptions::OperationInvalide);
    p.Synchronise();
    EXPECT_EQ(p.DonneEntier("affichage/taille"), -9223372036854775807LL - 1);
    EXPECT_EQ(p.DonneEntier("affichage/nom", 7), 7);  // not an integer
    EXPECT_EQ(p.DonneChaine("absent", "repli").DonneStdString(), "repli");
  }
  const std::string ini = Lis(attendu);
  EXPECT_NE(ini.find("[affichage]"), std::string::npos) << ini;
  EXPECT_NE(ini.find("fenetre=@ByteArray(\\0\\x1\\xff)"), std::string::npos) << ini;
}

// What another process left in the file comes back as text: each kind is read from it.
TEST(PreferencesPlateforme, LitLeFichierDUnAutreProcessus) {
  const std::string dossier = DossierDeConfiguration::dossier_ / "config/Autre";
  std::filesystem::create_directories(dossier);
  std::ofstream(dossier + "/Prog.conf") << "[a]\n"
                                           "actif=true\n"
                                           "taille=-12\n"
                                           "nom=\"Noto \\xe9\"\n"
                                           "un=\"a,b\"\n"
                                           "deux=x, y\n"
                                           "aucun=@Invalid()\n"
                                           "blob=@ByteArray(\\0\\x1)\n"
                                           "mauvais=12abc\n";
  PreferencesPlateforme p("Autre", "Prog");
  EXPECT_TRUE(p.DonneBooleen("a/actif"));
  EXPECT_EQ(p.DonneEntier("a/taille"), -12);
  EXPECT_EQ(p.DonneChaine("a/nom").DonneStdString(), "Noto é");
  EXPECT_EQ(p.DonneListeChaines("a/un"), (Reglage::Chaines{"a,b"}));
  EXPECT_EQ(p.DonneListeChaines("a/deux"), (Reglage::Chaines{"x", "y"}));
  EXPECT_EQ(p.DonneListeChaines("a/aucun", {"repli"}), Reglage::Chaines{});
  EXPECT_EQ(p.DonneBlob("a/blob"), (Reglage::Octets{0, 1}));
  EXPECT_EQ(p.DonneEntier("a/mauvais", 5), 5);
  EXPECT_FALSE(p.DonneBooleen("a/taille"));

  Reglages r;
  r.Declare("a/taille", Reglage::Entier(0));
  r.Declare("a/deux", Reglage::ListeChaines({}));
  p.ChargeDans(r);
  EXPECT_EQ(r.DonneEntier("a/taille"), -12);
  EXPECT_EQ(r.DonneListeChaines("a/deux").size(), 2u);
  EXPECT_EQ(r.DonneChaine("a/mauvais").DonneStdString(), "12abc");  // undeclared: a string

  PreferencesPlateforme q("Autre", "Copie");
  q.EnregistreDepuis(r);
  EXPECT_EQ(q.DonneEntier("a/taille"), -12);
  EXPECT_TRUE(q.Enleve("a/taille"));
  EXPECT_FALSE(q.Enleve("a/taille"));
}

}  // namespace
}  // namespace sdd
