#include <outils_socle/conteneurs/ListesDePtr.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sdd {
namespace {

// Records, in order, each release and destruction.
struct Temoin : Objet {
  Temoin(std::vector<std::string>* journal, std::string nom) : journal_(journal), nom_(std::move(nom)) {}
  ~Temoin() override { journal_->push_back("detruit " + nom_); }
  void Libere() override { journal_->push_back("libere " + nom_); }
  std::vector<std::string>* journal_;
  std::string nom_;
};

TEST(ListesDePtr, VideEtTueObjetsLibereDetruitDansLOrdre) {
  std::vector<std::string> journal;
  ListeTDePtr t(2);
  t.Ajoute(new Temoin(&journal, "a"));
  t.Ajoute(nullptr);
  t.Ajoute(new Temoin(&journal, "b"));
  t.VideEtTueObjets();
  EXPECT_EQ(t.Taille(), 0u);
  EXPECT_EQ(journal, (std::vector<std::string>{"libere a", "detruit a", "libere b", "detruit b"}));

  journal.clear();
  ListeCDePtr c;
  c.Ajoute(new Temoin(&journal, "x"));
  c.Ajoute(new Temoin(&journal, "y"));
  c.VideEtTueObjets();
  EXPECT_TRUE(c.EstVide());
  EXPECT_EQ(journal, (std::vector<std::string>{"libere x", "detruit x", "libere y", "detruit y"}));
}

TEST(ListesDePtr, LeDestructeurNeTouchePasAuxObjets) {
  std::vector<std::string> journal;
  Temoin temoin(&journal, "t");
  {
    auto* liste = new ListeTDePtr;
    liste->Ajoute(&temoin);
    Objet* commeObjet = liste;
    delete commeObjet;  // polymorphic destruction through the base
  }
  {
    ListeCDePtr liste;
    liste.Ajoute(&temoin);
  }
  EXPECT_TRUE(journal.empty());
}

}  // namespace
}  // namespace sdd
