#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/ExceptionCode.h>

#include <gtest/gtest.h>

#include <type_traits>

#include "commun/Exceptions.h"

namespace sdd::exceptions {
namespace {

TEST(Exception, IndexHorsBorneEcritSesBornesEnDecimal) {
  const IndexHorsBorne e(5, 0, 3);
  EXPECT_EQ(e.Message().DonneStdString(), "L'index est hors limite");
  EXPECT_EQ(e.Explication().DonneStdString(), "index=5 min=0 max=3");
  EXPECT_EQ(e.MessageComplet().DonneStdString(), "L'index est hors limite : index=5 min=0 max=3");
  const IndexHorsBorne grand(UINT64_MAX, 0, 0);
  EXPECT_EQ(grand.Explication().DonneStdString(), "index=18446744073709551615 min=0 max=0");
}

TEST(Exception, TextesFixesDesClassesAvecLeursBizarreries) {
  EXPECT_EQ(ErreurSyntaxe().Message().DonneStdString(), OperationInvalide().Message().DonneStdString());
  EXPECT_EQ(OperationInvalide().Message().DonneStdString(), "L'opération est invalide");
  EXPECT_EQ(MemoireInsuffisante("x").Message().DonneStdString(), "Memoire insuffisante");
  EXPECT_EQ(ErreurDeserialisation("VarElias : valeur 0").MessageComplet().DonneStdString(),
            "Erreur de désérialisation : VarElias : valeur 0");
  EXPECT_EQ(LiberationObjetImpossible().Message().DonneStdString(),
            "Impossible de libérer l'objet dans l'espace mémoire");
  EXPECT_EQ(OuvertureEchouee("f").Message().DonneStdString(), "Ouverture échouée");
  EXPECT_EQ(PointeurInvalide().Message().DonneStdString(), "Violation d'accès à la mémoire.");
  EXPECT_EQ(TableNonValide("t").Message().DonneStdString(), "Table non valide");
  const ValeurIndefinieIterateur v;
  EXPECT_EQ(v.Message().DonneStdString(), "Impossible d'accéder à la valeur dans l'itérateur");
  EXPECT_EQ(v.Explication().DonneStdString(), "L'itérateur doit être à la fin.");
  const ExceptionModulePrismale p("m", "e");
  EXPECT_EQ(p.MessageComplet().DonneStdString(), "m : e");
}

TEST(Exception, LaFamilleNEstPasUneExceptionStandard) {
  static_assert(!std::is_base_of_v<std::exception, Exception>);
  static_assert(std::is_base_of_v<Exception, IndexHorsBorne>);
  static_assert(std::is_base_of_v<std::exception, ExceptionCode>);
  // Caught through the base, the texts survive.
  try {
    LanceIndexHorsBorne(7, 0, 2);
  } catch (const Exception& e) {
    EXPECT_EQ(e.Explication().DonneStdString(), "index=7 min=0 max=2");
    return;
  }
  FAIL() << "LanceIndexHorsBorne did not throw";
}

TEST(Exception, LanceErreurSyntaxe) {
  EXPECT_SDD_THROW(LanceErreurSyntaxe(), ErreurSyntaxe, "L'opération est invalide", "");
}

TEST(Exception, ExceptionFmtFormateDansSonCodage) {
  // 0xE9 is "é" in Windows-1252.
  const ExceptionFmt e(UniChaine::kCodageWindows1252, "%s %d", "caf\xE9", 42);
  EXPECT_STREQ(e.what(), "café 42");
}

}  // namespace
}  // namespace sdd::exceptions
