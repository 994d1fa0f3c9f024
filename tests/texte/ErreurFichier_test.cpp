#include <outils_socle/langues/Langues.h>
#include <outils_socle/texte/ErreurFichier.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <string>

#include "texte/RaisonsSysteme.h"

namespace sdd {
namespace {

// Our French reasons are glibc's own French texts, and our English ones its untranslated
// texts: glibc's catalogue (Debian's libc-l10n) and strerrordesc_np are the oracles.
TEST(RaisonSysteme, LesTextesDeLaGlibcEnFrancaisEtEnAnglais) {
  Langues::ChoisisLangue("fr");         // LANGUAGE=fr: strerror now answers from glibc's French catalogue
  std::setlocale(LC_CTYPE, "C.UTF-8");  // in UTF-8, not "?" for each accent as under "C"
  const bool catalogueFrancais = std::string(std::strerror(ENOENT)) != strerrordesc_np(ENOENT);
  int connues = 0;
  for (int n = 1; n < 134; ++n) {
    const char* francais = detail::RaisonSystemeEnFrancais(n);
    if (francais == nullptr) continue;
    ++connues;
    EXPECT_EQ(RaisonSysteme(n).DonneStdString(), francais);
    if (catalogueFrancais) {
      EXPECT_STREQ(francais, std::strerror(n)) << "errno " << n;
    }
  }
  EXPECT_GE(connues, 30);
  if (!catalogueFrancais) GTEST_SKIP() << "glibc's French catalogue (libc-l10n) is not installed";

  Langues::ChoisisLangue("en");
  for (int n = 1; n < 134; ++n) {
    if (detail::RaisonSystemeEnFrancais(n) != nullptr) {
      EXPECT_EQ(RaisonSysteme(n).DonneStdString(), strerrordesc_np(n)) << "errno " << n;
    }
  }
  Langues::ChoisisLangue("fr");
  std::setlocale(LC_CTYPE, "C");
}

TEST(RaisonSysteme, UnNumeroRareGardeLeTexteDuSystemeEtSonNumero) {
  EXPECT_EQ(detail::RaisonSystemeEnFrancais(EHWPOISON), nullptr);
  const std::string raison = RaisonSysteme(EHWPOISON).DonneStdString();
  EXPECT_NE(raison.find("(errno " + std::to_string(EHWPOISON) + ")"), std::string::npos) << raison;
}

TEST(ErreurFichier, MessageExplicationEtAlerte) {
  const exceptions::ErreurFichier e("dossier/t.tab", eOperationFichier::eEcriture, ENOSPC);
  EXPECT_EQ(e.MessageComplet().DonneStdString(),
            "Écriture échouée : dossier/t.tab : Aucun espace disponible sur le périphérique");
  EXPECT_EQ(e.Chemin(), "dossier/t.tab");
  EXPECT_EQ(e.NumeroErreur(), ENOSPC);
  EXPECT_EQ(e.Operation(), eOperationFichier::eEcriture);
  // The same failure as the alert of the file-error catalogue.
  const DAlerteInfo alerte = e.DonneMessageErreur();
  EXPECT_EQ(alerte.DonneMessage().DonneStdString(), "Erreur à l’écriture du fichier.");
  EXPECT_EQ(alerte.DonneExplication().DonneStdString(),
            "Une erreur de type indéfini s’est produite (code 0).");
  const std::exception& standard = e;
  EXPECT_STREQ(standard.what(),
               "Erreur à l’écriture du fichier. Une erreur de type indéfini s’est produite (code 0).");
  // Caught as an OuvertureEchouee, as Python and the program do.
  try {
    throw e;
  } catch (const exceptions::OuvertureEchouee& o) {
    EXPECT_EQ(o.Explication().DonneStdString(),
              "dossier/t.tab : Aucun espace disponible sur le périphérique");
  }

  const char* const kAttendus[][3] = {
      {"Création échouée", "Creation failed", "Erreur à la création du fichier."},
      {"Ouverture échouée", "Opening failed", "Erreur à l’ouverture du fichier."},
      {"Lecture échouée", "Reading failed", "Erreur à la lecture du fichier."},
      {"Écriture échouée", "Writing failed", "Erreur à l’écriture du fichier."},
      {"Écriture sur le disque échouée", "Writing to disk failed", "Erreur à l’écriture du fichier."},
      {"Remplacement échoué", "Replacement failed", "Erreur à l’écriture du fichier."},
      {"Fermeture échouée", "Closing failed", "Erreur à l’écriture du fichier."},
  };
  for (int i = 0; i < 7; ++i) {
    const exceptions::ErreurFichier f("x", static_cast<eOperationFichier>(i), EACCES);
    EXPECT_EQ(f.Message().DonneStdString(), kAttendus[i][0]);
    EXPECT_EQ(f.DonneMessageErreur().DonneMessage().DonneStdString(), kAttendus[i][2]);
  }

  // In English after the choice, the path kept as it is; Message() and Explication() stay French.
  Langues::ChoisisLangue("en");
  EXPECT_EQ(e.MessageCompletTraduit().DonneStdString(),
            "Writing failed : dossier/t.tab : No space left on device");
  for (int i = 0; i < 7; ++i) {
    const exceptions::ErreurFichier f("a : b", static_cast<eOperationFichier>(i), EROFS);
    EXPECT_EQ(f.MessageCompletTraduit().DonneStdString(),
              std::string(kAttendus[i][1]) + " : a : b : Read-only file system");
  }
  EXPECT_EQ(e.Explication().DonneStdString(), "dossier/t.tab : Aucun espace disponible sur le périphérique");
  Langues::ChoisisLangue("fr");
}

TEST(ErreurFichier, LanceAvecLErrnoDuMoment) {
  errno = EMFILE;
  try {
    LanceErreurFichier("f", eOperationFichier::eOuverture);
  } catch (const exceptions::ErreurFichier& e) {
    EXPECT_EQ(e.NumeroErreur(), EMFILE);
    EXPECT_EQ(e.MessageComplet().DonneStdString(), "Ouverture échouée : f : Trop de fichiers ouverts");
    return;
  }
  FAIL() << "nothing thrown";
}

}  // namespace
}  // namespace sdd
