#include <outils_socle/reglages/JeuxDeReglages.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

TEST(jeux_de_reglages, ToutOuRien) {
  Reglages r;
  r.Declare("affichage/taille", Reglage::Entier(12));
  r.Declare("affichage/theme", Reglage::Chaine("clair"));
  jeux_de_reglages jeux(r);
  jeux.Definis("compact",
               {{"affichage/taille", Reglage::Entier(9)}, {"affichage/theme", Reglage::Chaine("sombre")}});
  // Defined before any declaration fits it: refused when applied, changing nothing.
  jeux.Definis("casse",
               {{"affichage/theme", Reglage::Chaine("sombre")}, {"affichage/taille", Reglage::Chaine("9")}});
  std::vector<std::string> entendus;
  jeux.AjouteEcouteur([&](const UniChaine& nom) { entendus.push_back(nom.DonneStdString()); });

  EXPECT_THROW(jeux.Applique("casse"), exceptions::OperationInvalide);
  EXPECT_EQ(r.DonneChaine("affichage/theme").DonneStdString(), "clair");
  EXPECT_EQ(r.DonneEntier("affichage/taille"), 12);
  EXPECT_SDD_THROW(jeux.Applique("absent"), exceptions::OperationInvalide, "L'opération est invalide",
                   "Jeu de réglages inconnu : « absent »");
  EXPECT_TRUE(entendus.empty());

  jeux.Applique("compact");
  EXPECT_EQ(r.DonneChaine("affichage/theme").DonneStdString(), "sombre");
  EXPECT_EQ(r.DonneEntier("affichage/taille"), 9);
  EXPECT_EQ(entendus, std::vector<std::string>{"compact"});
  EXPECT_EQ(jeux.Noms(), (std::vector<UniChaine>{"compact", "casse"}));
  EXPECT_TRUE(jeux.Enleve("casse"));
  EXPECT_FALSE(jeux.Possede("casse"));
  EXPECT_EQ(jeux.Donne("compact").size(), 2u);
}

// Two sets that differ in every setting, applied in turn by two threads while two others read:
// each reading sees one set whole. ThreadSanitizer checks the locks.
TEST(jeux_de_reglages, AppliquesEtLusSurPlusieursFils) {
  Reglages r;
  const std::vector<const char*> chemins = {"v/a", "v/b", "v/c", "v/d"};
  for (const char* c : chemins) r.Declare(c, Reglage::Chaine("départ"));
  jeux_de_reglages jeux(r);
  for (const char* nom : {"jour", "nuit"}) {
    jeux_de_reglages::Jeu jeu;
    for (const char* c : chemins) jeu.emplace_back(c, Reglage::Chaine(nom));
    jeux.Definis(nom, jeu);
  }
  std::atomic<int> applications{0};
  jeux.AjouteEcouteur([&](const UniChaine&) { ++applications; });
  std::atomic<bool> fin{false};
  std::atomic<int> melanges{0}, lectures{0}, lecteursPrets{0};
  std::vector<std::thread> fils;
  for (const char* nom : {"jour", "nuit"})
    fils.emplace_back([&, nom] {
      while (lecteursPrets < 2) std::this_thread::yield();  // readers and writers overlap
      for (int i = 0; i < 1000; ++i) jeux.Applique(nom);
    });
  for (int l = 0; l < 2; ++l)
    fils.emplace_back([&] {
      ++lecteursPrets;
      do {
        const Reglages photo(r);
        const UniChaine premier = photo.DonneChaine("v/a");
        for (const char* c : chemins) melanges += photo.DonneChaine(c) != premier;
        ++lectures;
      } while (!fin);
    });
  fils[0].join();
  fils[1].join();
  fin = true;
  fils[2].join();
  fils[3].join();
  EXPECT_EQ(melanges, 0);
  EXPECT_GE(lectures, 2);
  EXPECT_EQ(applications, 2000);
}

}  // namespace
}  // namespace sdd
