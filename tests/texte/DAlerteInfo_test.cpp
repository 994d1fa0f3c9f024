#include <outils_socle/texte/DAlerteDeleguay.h>
#include <outils_socle/texte/DAlerteInfo.h>
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/ExceptionCode.h>

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

// Decoration is process-wide: each test starts and ends with it off.
class DAlerteInfoTest : public ::testing::Test {
 protected:
  void SetUp() override { DAlerteInfo::MetsDecorationTitreDialogue(false); }
  void TearDown() override {
    DAlerteInfo::MetsDecorationTitreDialogue(false);
    DAlerteInfo::MetsDecorationTitreDialogueChaine(UniChaine());
    QCoreApplication::setApplicationName(QString());
  }
};

TEST_F(DAlerteInfoTest, TitreParDefautEtDecoration) {
  const DAlerteInfo a(DAlerteInfo::eAlerte, "m", "e", UniChaine());
  EXPECT_EQ(a.DonneTitreFenetre().DonneStdString(), "Prismale");
  EXPECT_TRUE(a.EstTitreParDefaut());
  DAlerteInfo::MetsDecorationTitreDialogue(true);
  EXPECT_FALSE(a.EstTitreParDefaut());

  DAlerteInfo::MetsDecorationTitreDialogueChaine("Correcteur");
  QCoreApplication::setApplicationName("Essai");
  const DAlerteInfo decore(DAlerteInfo::eAlerte, "m", "e", UniChaine());
  EXPECT_EQ(decore.DonneTitreFenetre().DonneStdString(), "Correcteur (Essai)");

  const DAlerteInfo titre(DAlerteInfo::eAlerte, "m", "e", "Mon titre");
  DAlerteInfo::MetsDecorationTitreDialogue(false);
  EXPECT_EQ(titre.DonneTitreFenetre().DonneStdString(), "Mon titre");
  EXPECT_FALSE(titre.EstTitreParDefaut());
}

TEST_F(DAlerteInfoTest, NormaliseLaTypographie) {
  const DAlerteInfo a(DAlerteInfo::eInformation, "l'erreur « test »\r\nsuite", "a\rb", "t'");
  EXPECT_EQ(a.DonneMessage().DonneStdString(), "l\u2019erreur «\u00A0test\u00A0»\nsuite");
  EXPECT_EQ(a.DonneExplication().DonneStdString(), "a\nb");
  EXPECT_EQ(a.DonneTitreFenetre().DonneStdString(), "t\u2019");
}

TEST_F(DAlerteInfoTest, ErreurAjouteSesCodesSaufAuJournal) {
  const DAlerteInfoErreur e(DAlerteInfo::eAlerte, "m", "x", 12, UniChaine(), -1, 7);
  EXPECT_EQ(e.DonneExplication().DonneStdString(), "x\n\n Code Erreur: 12; 7;");
  EXPECT_EQ(e.DonneMessagePourJournalisation().DonneStdString(), "(ALERTE)\tm\tx\t");
  EXPECT_EQ(e.DonneChainePourStdException().DonneStdString(), "m x\n\n Code Erreur: 12; 7;");
  // The secondary code is appended even without the first.
  const DAlerteInfoErreur sansPremier(DAlerteInfo::eAlerte, "m", "x", -1, UniChaine(), 3, -1);
  EXPECT_EQ(sansPremier.DonneExplication().DonneStdString(), "x 3;");
}

TEST_F(DAlerteInfoTest, LaCopieFigeLesCodesDansLExplication) {
  const DAlerteInfoErreur e(DAlerteInfo::eAlerte, "m", "x", 12, UniChaine(), -1, -1);
  const DAlerteInfo copie(e);
  EXPECT_EQ(copie.DonneExplication().DonneStdString(), "x\n\n Code Erreur: 12;");
  // Now stored, the codes reach the log line too.
  EXPECT_EQ(copie.DonneMessagePourJournalisation().DonneStdString(), "(ALERTE)\tm\tx\n\n Code Erreur: 12;\t");

  const ExceptionCode ex(e);
  EXPECT_STREQ(ex.what(), "m x\n\n Code Erreur: 12;");
  EXPECT_EQ(ex.DonneMessageErreur().DonneExplication().DonneStdString(), "x\n\n Code Erreur: 12;");
}

TEST_F(DAlerteInfoTest, LaCopieSousDecorationPerdLeTitreParDefaut) {
  const DAlerteInfo a(DAlerteInfo::eAlerte, "m", "e", UniChaine());
  DAlerteInfo::MetsDecorationTitreDialogue(true);
  DAlerteInfo b;
  b = a;
  DAlerteInfo::MetsDecorationTitreDialogue(false);
  EXPECT_TRUE(a.EstTitreParDefaut());
  EXPECT_FALSE(b.EstTitreParDefaut());
}

TEST_F(DAlerteInfoTest, EstNULL) {
  DAlerteInfo a;
  EXPECT_TRUE(a.EstNULL());
  a.MetsTypeDialogue(DAlerteInfo::eQuestion);
  EXPECT_FALSE(a.EstNULL());
  // The default title makes a built record non-null.
  EXPECT_FALSE(DAlerteInfo(DAlerteInfo::eInconnu, "", "", "").EstNULL());
}

TEST_F(DAlerteInfoTest, EtiquettesDuJournal) {
  const std::pair<int, const char*> attendues[] = {
      {0, "(Inconnu)"},     {1, "(Question)"}, {2, "(Information)"}, {3, "(Attention)"},
      {4, "(ALERTE)"},      {5, "(Autre)"},    {6, "(Attention)"},   {7, "(Autre)"},
      {8, "(IconeMaison)"}, {9, "(Autre)"},    {-1, "(Autre)"}};
  for (const auto& [type, etiquette] : attendues) {
    const DAlerteInfo a(static_cast<DAlerteInfo::eTypeDialogue>(type), "m", "e", "t");
    EXPECT_EQ(a.DonneMessagePourJournalisation().DonneStdString(), std::string(etiquette) + "\tm\te\t")
        << type;
  }
}

TEST_F(DAlerteInfoTest, AssertionQtPrendLeTitreParDefaut) {
  const DAlerteInfoAssertionQt a(DAlerteInfo::eAttention, "m", "e");
  EXPECT_EQ(a.DonneTitreFenetre().DonneStdString(), "Prismale");
  EXPECT_TRUE(a.EstTitreParDefaut());
}

class PresentateurEssai : public DAlerteDeleguay {
 public:
  int DAlerte(const DAlerteInfo& info) override {
    vu = info.DonneMessage().DonneStdString();
    return 3;
  }
  int DAlerteRappel(const DAlerteInfo&, const UniChaine& texte) override {
    vu = texte.DonneStdString();
    return 4;
  }
  std::string vu;
};

TEST_F(DAlerteInfoTest, PresentateurInstalleOuAbsent) {
  const DAlerteInfo a(DAlerteInfo::eAlerte, "m", "e", UniChaine());
  EXPECT_EQ(DAlerteDeleguay::DAlerteParDeleguay(a), 0);
  PresentateurEssai p;
  DAlerteDeleguay::MetsDAlerteDeleguay(&p);
  EXPECT_EQ(DAlerteDeleguay::DAlerteParDeleguay(a), 3);
  EXPECT_EQ(p.vu, "m");
  EXPECT_EQ(DAlerteDeleguay::DAlerteRappelParDeleguay(a, "rappel"), 4);
  EXPECT_EQ(p.vu, "rappel");
  DAlerteDeleguay::MetsDAlerteDeleguay(nullptr);
  EXPECT_EQ(DAlerteDeleguay::DAlerteRappelParDeleguay(a, "x"), 0);
}

TEST_F(DAlerteInfoTest, CatalogueDesErreursDeFichier) {
  EXPECT_EQ(sdd::MessageErreurFichier(3).DonneStdString(), "Erreur à l’ouverture du fichier.");
  EXPECT_EQ(sdd::MessageErreurFichier(0).DonneStdString(),
            "Une erreur de type indéfini s’est produite (code 0).");
  EXPECT_TRUE(sdd::MessageErreurFichier(7).EstVide());
  EXPECT_TRUE(sdd::MessageErreurFichier(-1).EstVide());

  const DAlerteInfo a = sdd::CreeAlerteErreurFichier(3, 0, 2, -1, -1);
  EXPECT_EQ(a.DonneTypeDialogue(), DAlerteInfo::eAlerte);
  EXPECT_EQ(a.DonneMessage().DonneStdString(), "Erreur à l’ouverture du fichier.");
  EXPECT_EQ(a.DonneExplication().DonneStdString(),
            "Une erreur de type indéfini s’est produite (code 0).\n\n Code Erreur: 2;");
  EXPECT_EQ(a.DonneTitreFenetre().DonneStdString(), "Prismale");
}

}  // namespace
