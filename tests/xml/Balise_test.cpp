#include <gtest/gtest.h>

#include <outils_socle/xml/Balise.h>

#include "commun/Exceptions.h"

using sdd::Balise;

namespace {

// reglages(affichage(police(taille=12), theme=sombre), fichiers(recent a, recent b))
Balise Exemple() {
  Balise racine("reglages");
  Balise& affichage = racine.AjouteEnfant("affichage");
  affichage.AjouteEnfant("police").AjouteEnfant("taille", "12");
  affichage.AjouteEnfant("theme", "sombre");
  Balise& fichiers = racine.AjouteEnfant("fichiers");
  fichiers.AjouteEnfant("recent", "a.txt");
  fichiers.AjouteEnfant("recent", "b.txt");
  return racine;
}

}  // namespace

TEST(Balise, NavigationParNomEtParChemin) {
  const Balise racine = Exemple();
  ASSERT_NE(racine.Enfant("affichage"), nullptr);
  EXPECT_EQ(racine.Enfant("absent"), nullptr);
  EXPECT_EQ(racine.Trouve("affichage/police/taille")->Texte(), "12");
  EXPECT_EQ(racine.Trouve("/reglages/affichage/theme")->Texte(), "sombre");
  EXPECT_EQ(racine.Trouve("/reglages"), &racine);
  EXPECT_EQ(racine.Trouve("/autre/affichage"), nullptr);
  EXPECT_EQ(racine.Trouve("*/theme")->Texte(), "sombre");
  // The first match in document order, then all of them.
  EXPECT_EQ(racine.Trouve("fichiers/recent")->Texte(), "a.txt");
  const auto tous = racine.TrouveTous("fichiers/recent");
  ASSERT_EQ(tous.size(), 2u);
  EXPECT_EQ(tous[1]->Texte(), "b.txt");
  EXPECT_EQ(racine.TrouveTous("*/*").size(), 4u);
  // A first branch that leads nowhere does not hide a later one that does.
  Balise b("r");
  b.AjouteEnfant("x");
  b.AjouteEnfant("x").AjouteEnfant("y", "trouvé");
  EXPECT_EQ(b.Trouve("x/y")->Texte(), "trouvé");
  // Malformed paths match nothing rather than something surprising.
  for (const char* chemin : {"", "/", "affichage//police", "affichage/", "//affichage"}) {
    EXPECT_EQ(racine.Trouve(chemin), nullptr) << chemin;
  }
  EXPECT_EQ(racine.EnfantsNommes("fichiers").size(), 1u);
  EXPECT_HORS_BORNE(racine.Enfant(std::size_t{2}), "index=2 min=0 max=2");
}

TEST(Balise, AttributsGardentLeurPlace) {
  Balise b("police");
  b.MetsAttribut("nom", "DejaVu");
  b.MetsAttribut("taille", "12");
  b.MetsAttribut("gras", "non");
  b.MetsAttribut("taille", "14");  // replaced where it stands
  ASSERT_EQ(b.Attributs().size(), 3u);
  EXPECT_EQ(b.Attributs()[1], (Balise::Attribut{"taille", "14"}));
  EXPECT_EQ(b.DonneAttribut("absent", "défaut"), "défaut");
  EXPECT_EQ(b.DonneAttributUni("nom").DonneStdString(), "DejaVu");
  EXPECT_TRUE(b.EnleveAttribut("nom"));
  EXPECT_FALSE(b.EnleveAttribut("nom"));
  EXPECT_EQ(b.Attributs().front().nom, "taille");
}

TEST(Balise, EditionEtEgalite) {
  Balise racine = Exemple();
  Balise copie = racine;
  EXPECT_EQ(copie, racine);
  copie.Trouve("affichage/theme")->MetsTexte("clair");
  EXPECT_NE(copie, racine);

  Balise& fichiers = *racine.Enfant("fichiers");
  fichiers.InsereEnfant(0, Balise("recent", "z.txt"));
  EXPECT_EQ(fichiers.Enfant(std::size_t{0}).Texte(), "z.txt");
  EXPECT_HORS_BORNE(fichiers.InsereEnfant(4, Balise("x")), "index=4 min=0 max=4");
  EXPECT_EQ(fichiers.EnleveEnfants("recent"), 3u);
  EXPECT_EQ(fichiers.NombreEnfants(), 0u);
  racine.EnleveEnfant(0);
  EXPECT_EQ(racine.Enfant(std::size_t{0}).Nom(), "fichiers");
  EXPECT_HORS_BORNE(racine.EnleveEnfant(1), "index=1 min=0 max=1");

  // A tail is part of the tree: the same children with different tails differ.
  Balise a("p", "Un ");
  a.AjouteEnfant("b", "mot").MetsQueue(" de plus");
  Balise c = a;
  c.Enfant(std::size_t{0}).MetsQueue("");
  EXPECT_NE(a, c);
  EXPECT_EQ(a.TexteComplet(), "Un mot de plus");
}
