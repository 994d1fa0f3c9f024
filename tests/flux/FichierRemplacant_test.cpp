// Replacing a file as one step, and every refused file operation reported with its path and
// the system's reason, met for real: a missing folder, a folder, a full device, too many open
// files. (A read-only file system, a full one and a refused permission need a mount or another
// user: the program's tests meet them, in tests/outils/erreurs_fichiers_test.py.)
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/texte/ErreurFichier.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::DossierTemporaire;
namespace fs = std::filesystem;

std::string Contenu(const std::string& chemin) {
  std::ifstream f(chemin, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

void Ecris(FluxSortie& sortie, const std::string& texte) {
  sortie.Mets(reinterpret_cast<const uint8_t*>(texte.data()), texte.size());
}

std::vector<std::string> Entrees(const std::string& dossier) {
  std::vector<std::string> noms;
  for (const auto& e : fs::directory_iterator(dossier)) noms.push_back(e.path().filename().string());
  std::sort(noms.begin(), noms.end());
  return noms;
}

// Runs `action`, which must throw ErreurFichier; gives it back.
template <typename F>
exceptions::ErreurFichier Echec(F&& action) {
  try {
    action();
  } catch (const exceptions::ErreurFichier& e) {
    return e;
  }
  ADD_FAILURE() << "no ErreurFichier";
  return exceptions::ErreurFichier("", eOperationFichier::eOuverture, 0);
}

TEST(FichierRemplacant, LAncienContenuResteEntierJusquAFerme) {
  DossierTemporaire dossier;
  const std::string chemin = dossier / "t.bin";
  std::ofstream(chemin) << "ancien contenu";
  ::chmod(chemin.c_str(), 0640);
  FichierMMap projection{UniChemin(chemin)};
  {
    FichierRemplacant f{UniChemin(chemin)};
    Ecris(f, "nouveau");
    f.PositionneAuDebut();  // readable and seekable while written
    EXPECT_EQ(f.Donne(), 'n');
    f.PositionneALaFin();
    Ecris(f, " texte");
    EXPECT_EQ(Contenu(chemin), "ancien contenu");
    EXPECT_EQ(Entrees(dossier / "").size(), 2u);  // the target and the temporary file
    f.Ferme();
  }
  EXPECT_EQ(Contenu(chemin), "nouveau texte");
  EXPECT_EQ(Entrees(dossier / ""), std::vector<std::string>{"t.bin"});
  struct stat etat;
  ASSERT_EQ(::stat(chemin.c_str(), &etat), 0);
  EXPECT_EQ(etat.st_mode & 0777, 0640u);  // the replaced file's permissions
  // A mapping made before keeps reading the old bytes, whole.
  EXPECT_EQ(std::string(static_cast<const char*>(projection.Ptr()), projection.Taille()), "ancien contenu");
}

TEST(FichierRemplacant, SansFermeRienNEstRemplace) {
  DossierTemporaire dossier;
  const std::string chemin = dossier / "t.bin";
  std::ofstream(chemin) << "garde";
  try {
    FichierRemplacant f{UniChemin(chemin)};
    Ecris(f, std::string(200000, 'x'));  // past the buffer: some bytes already on disk
    throw 1;
  } catch (int) {
  }
  EXPECT_EQ(Contenu(chemin), "garde");
  EXPECT_EQ(Entrees(dossier / ""), std::vector<std::string>{"t.bin"});

  FichierRemplacant abandonne{UniChemin(dossier / "nouveau")};
  Ecris(abandonne, "x");
  abandonne.Abandonne();
  EXPECT_FALSE(fs::exists(dossier / "nouveau"));
  EXPECT_THROW(abandonne.Ouvre(UniChemin(chemin), Fichier::eEcriture), exceptions::OperationInvalide);
}

TEST(FichierRemplacant, UnLienSymboliqueResteUnLien) {
  DossierTemporaire dossier;
  const std::string cible = dossier / "vrai.txt";
  const std::string lien = dossier / "lien.txt";
  std::ofstream(cible) << "avant";
  fs::create_symlink(cible, lien);
  FichierRemplacant f{UniChemin(lien)};
  Ecris(f, "après");
  f.Ferme();
  EXPECT_TRUE(fs::is_symlink(lien));
  EXPECT_EQ(Contenu(cible), "après");
}

TEST(FichierRemplacant, UnPeripheriqueEstEcritEnPlace) {
  // Renaming over /dev/full would replace the device itself (as root, it would succeed).
  FichierRemplacant f{UniChemin("/dev/full")};
  Ecris(f, "abc");  // only buffered
  const exceptions::ErreurFichier e = Echec([&] { f.Ferme(); });
  EXPECT_EQ(e.NumeroErreur(), ENOSPC);
  EXPECT_EQ(e.Operation(), eOperationFichier::eEcriture);
  EXPECT_EQ(e.MessageComplet().DonneStdString(),
            "Écriture échouée : /dev/full : Aucun espace disponible sur le périphérique");
  struct stat etat;
  ASSERT_EQ(::stat("/dev/full", &etat), 0);
  EXPECT_TRUE(S_ISCHR(etat.st_mode));

  FichierRemplacant nul{UniChemin("/dev/null")};
  Ecris(nul, "abc");
  nul.Ferme();
  ASSERT_EQ(::stat("/dev/null", &etat), 0);
  EXPECT_TRUE(S_ISCHR(etat.st_mode));
}

TEST(ErreurFichier, DossierAbsentEtDossier) {
  DossierTemporaire dossier;
  const std::string absent = dossier / "manque/t.tab";
  exceptions::ErreurFichier e = Echec([&] { FichierRemplacant f{UniChemin(absent)}; });
  EXPECT_EQ(e.NumeroErreur(), ENOENT);
  EXPECT_EQ(e.Chemin(), absent);
  EXPECT_EQ(e.MessageComplet().DonneStdString(),
            "Création échouée : " + absent + " : Aucun fichier ou dossier de ce type");
  e = Echec([&] { Fichier f(UniChemin(absent), Fichier::eLecture); });
  EXPECT_EQ(e.MessageComplet().DonneStdString(),
            "Ouverture échouée : " + absent + " : Aucun fichier ou dossier de ce type");
  e = Echec([&] { FichierMMap m{UniChemin(absent)}; });
  EXPECT_EQ(e.NumeroErreur(), ENOENT);

  const std::string unDossier = dossier / "d";
  fs::create_directory(unDossier);
  for (const auto& action : std::vector<std::function<void()>>{
           [&] { FichierRemplacant f{UniChemin(unDossier)}; },
           [&] { Fichier f(UniChemin(unDossier), Fichier::eLecture); },
           [&] { Fichier f(UniChemin(unDossier), Fichier::eEcriture); },
           [&] { FichierMMap m{UniChemin(unDossier)}; },
       }) {
    e = Echec(action);
    EXPECT_EQ(e.NumeroErreur(), EISDIR);
    EXPECT_EQ(e.Explication().DonneStdString(), unDossier + " : est un dossier");
  }
  EXPECT_TRUE(fs::is_directory(unDossier));
  EXPECT_TRUE(fs::is_empty(unDossier));
}

TEST(ErreurFichier, TropDeFichiersOuverts) {
  DossierTemporaire dossier;
  // The same failure once with descriptors to spare: UndefinedBehaviorSanitizer checks each new
  // dynamic type through a pipe, which it could not open once they are all taken.
  EXPECT_EQ(Echec([&] { FichierRemplacant f{UniChemin(dossier / "absent/t")}; }).NumeroErreur(), ENOENT);
  struct rlimit avant;
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &avant), 0);
  struct rlimit serre = avant;
  serre.rlim_cur = 64;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &serre), 0);
  std::vector<int> ouverts;
  for (int fd; (fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) ouverts.push_back(fd);
  const int erreurOuverture = errno;
  const exceptions::ErreurFichier e = Echec([&] { FichierRemplacant f{UniChemin(dossier / "t")}; });
  for (const int fd : ouverts) ::close(fd);
  ::setrlimit(RLIMIT_NOFILE, &avant);
  ASSERT_EQ(erreurOuverture, EMFILE);
  EXPECT_EQ(e.NumeroErreur(), EMFILE);
  EXPECT_EQ(e.Explication().DonneStdString(), dossier / "t" + " : Trop de fichiers ouverts");
  EXPECT_TRUE(fs::is_empty(dossier / ""));
}

}  // namespace
}  // namespace sdd
