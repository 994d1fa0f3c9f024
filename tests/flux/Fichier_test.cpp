#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ExceptionCode.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

using essais::DossierTemporaire;

std::string Contenu(const std::string& chemin) {
  std::ifstream f(chemin, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

void Ecris(const std::string& chemin, const std::string& contenu) {
  std::ofstream(chemin, std::ios::binary) << contenu;
}

// The alert a failing file operation throws: its message, and catalogue text 0 as explanation.
#define EXPECT_ALERTE_FICHIER(instruction, messageAttendu)               \
  do {                                                                   \
    bool lancee_ = false;                                                \
    try {                                                                \
      instruction;                                                       \
    } catch (const ExceptionCode& e_) {                                  \
      lancee_ = true;                                                    \
      const DAlerteInfo info_ = e_.DonneMessageErreur();                 \
      EXPECT_EQ(info_.DonneTypeDialogue(), DAlerteInfo::eAlerte);        \
      EXPECT_EQ(info_.DonneMessage().DonneStdString(), messageAttendu);  \
      EXPECT_EQ(info_.DonneExplication().DonneStdString(),               \
                "Une erreur de type indéfini s’est produite (code 0)."); \
    }                                                                    \
    EXPECT_TRUE(lancee_) << #instruction " did not throw ExceptionCode"; \
  } while (0)

TEST(Fichier, EcrireRelireEtToutLeTexte) {
  DossierTemporaire dossier;
  const std::string chemin = dossier / "été.txt";
  {
    Fichier f(UniChemin(chemin), Fichier::eEcriture);
    EXPECT_EQ(f.Mets(reinterpret_cast<const uint8_t*>("abc"), 3), 3u);
    f.Mets(uint8_t{'\n'});
    f.MetsChaineN(ChaineN(u"élan"), ChaineN::kCodageUTF8);
    EXPECT_EQ(f.DonnePosition(), 9u);
  }
  EXPECT_EQ(Contenu(chemin), "abc\nélan");
  Fichier f(UniChemin(chemin), Fichier::eLecture);
  EXPECT_EQ(f.Taille(), 9u);
  EXPECT_EQ(f.Donne(), 'a');
  ChaineN ligne;
  ASSERT_TRUE(f.DonneLigne(ligne, ChaineN::kCodageUTF8));
  EXPECT_EQ(Utf8(ligne), "bc");
  ASSERT_TRUE(f.DonneLigne(ligne, ChaineN::kCodageUTF8));
  EXPECT_EQ(Utf8(ligne), "élan");
  EXPECT_FALSE(f.DonneLigne(ligne, ChaineN::kCodageUTF8));
  EXPECT_TRUE(f.EstEnBonEtat());
  EXPECT_EQ(f.Donne(), 0);  // past the end: 0, and the stream is no longer in good state
  EXPECT_FALSE(f.EstEnBonEtat());
  int64_t longueur = 0;
  std::unique_ptr<char[]> tout(f.DonneToutLeTexte(&longueur));
  EXPECT_EQ(longueur, 9);
  EXPECT_STREQ(tout.get(), "abc\nélan");
  const TamponMemoire tampon{UniChemin(chemin)};
  EXPECT_EQ(tampon.Taille(), 9u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(tampon.PreteDonneesBrutes()), 9), "abc\nélan");
}

TEST(Fichier, ModesLectureEcritureEtCreation) {
  DossierTemporaire dossier;
  const std::string chemin = dossier / "f.bin";
  Ecris(chemin, "0123456789");
  {
    Fichier f(UniChemin(chemin), Fichier::eLectureEcriture);  // kept
    f.Positionne(4);
    f.Mets(reinterpret_cast<const uint8_t*>("ab"), 2);
    f.PositionneAuDebut();
    uint8_t octets[10];
    EXPECT_EQ(f.Donne(10, octets), 10u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(octets), 10), "0123ab6789");
  }
  { Fichier f(UniChemin(chemin), Fichier::eCreation); }  // emptied
  EXPECT_EQ(Contenu(chemin), "");
  Fichier::Cree(UniChemin(dossier / "nouveau"));
  EXPECT_EQ(Contenu(dossier / "nouveau"), "");
}

TEST(Fichier, EchecsSignalesParAlerte) {
  DossierTemporaire dossier;
  EXPECT_ALERTE_FICHIER(Fichier(UniChemin(dossier / "absent"), Fichier::eLecture),
                        "Erreur à l’ouverture du fichier.");
  EXPECT_ALERTE_FICHIER(Fichier(UniChemin(dossier / "absent/sous/f"), Fichier::eEcriture),
                        "Erreur à l’ouverture du fichier.");
  EXPECT_ALERTE_FICHIER(Fichier(UniChemin(dossier / ""), Fichier::eLecture),
                        "Erreur à l’ouverture du fichier.");
  EXPECT_ALERTE_FICHIER(Fichier::Cree(UniChemin(dossier / "absent/f")), "Erreur à la création du fichier.");
  EXPECT_ALERTE_FICHIER(TamponMemoire{UniChemin(dossier / "absent")}, "Erreur à l’ouverture du fichier.");
  Fichier ferme;
  EXPECT_THROW(ferme.Donne(), exceptions::OperationInvalide);
}

TEST(Fichier, EcritureImpossible) {
  // /dev/full accepts opening and refuses every write.
  Fichier plein(UniChemin("/dev/full"), Fichier::eEcriture);
  EXPECT_ALERTE_FICHIER(plein.Mets(uint8_t{1}), "Erreur à l’écriture du fichier.");
  EXPECT_FALSE(plein.EstEnBonEtat());

  FichierAvecTampon tampon(UniChemin("/dev/full"), Fichier::eEcriture);
  tampon.Mets(reinterpret_cast<const uint8_t*>("abc"), 3);  // only buffered so far
  EXPECT_ALERTE_FICHIER(tampon.Ferme(), "Erreur à l’écriture du fichier.");
  EXPECT_FALSE(tampon.EstOuvert());
  {
    FichierAvecTampon silencieux(UniChemin("/dev/full"), Fichier::eEcriture);
    silencieux.Mets(uint8_t{1});
  }  // the destructor's failed flush does not throw
}

TEST(FichierAvecTampon, EcrituresGroupeesEtLecturesCoherentes) {
  DossierTemporaire dossier;
  const std::string chemin = dossier / "t.bin";
  {
    FichierAvecTampon f(UniChemin(chemin), Fichier::eCreation, 8);
    for (int i = 0; i < 20; ++i) f.Mets(static_cast<uint8_t>('a' + i));
    EXPECT_EQ(f.DonnePosition(), 20u);
    EXPECT_EQ(f.Taille(), 20u);
    const std::string gros(50, 'Z');  // larger than the buffer: written through
    f.Mets(reinterpret_cast<const uint8_t*>(gros.data()), gros.size());
    f.Mets(uint8_t{'!'});
    f.PositionneAuDebut();  // flushes
    EXPECT_EQ(f.Donne(), 'a');
    EXPECT_EQ(f.Taille(), 71u);
  }
  EXPECT_EQ(Contenu(chemin), "abcdefghijklmnopqrst" + std::string(50, 'Z') + "!");
}

TEST(FichierMMap, LectureEnPlace) {
  DossierTemporaire dossier;
  Ecris(dossier / "m.bin", "bonjour\nmonde");
  FichierMMap m(UniChemin(dossier / "m.bin"));
  EXPECT_EQ(m.Taille(), 13u);
  EXPECT_EQ(std::string(static_cast<const char*>(m.Ptr()), 7), "bonjour");
  EXPECT_EQ(static_cast<const char*>(m.PtrEtAvance(8))[0], 'b');
  EXPECT_EQ(m.Donne(), 'm');
  ChaineN ligne;
  ASSERT_TRUE(m.DonneLigne(ligne, ChaineN::kCodageUTF8));
  EXPECT_EQ(Utf8(ligne), "onde");
  EXPECT_TRUE(m.EstALaFin());
  EXPECT_THROW(m.Donne(), exceptions::IndexHorsBorne);
  std::unique_ptr<TamponMemoire> pret(m.TamponEnPretantDonnees());
  EXPECT_EQ(pret->Taille(), 13u);
  EXPECT_EQ(pret->PreteDonneesBrutes(), m.Octets());
  // Writing through the lent buffer changes only this process's copy.
  pret->Mets(uint8_t{'B'});
  EXPECT_EQ(Contenu(dossier / "m.bin"), "bonjour\nmonde");

  Ecris(dossier / "vide", "");
  FichierMMap vide(UniChemin(dossier / "vide"));
  EXPECT_EQ(vide.Taille(), 0u);
  EXPECT_TRUE(vide.EstALaFin());
  EXPECT_NE(vide.Ptr(), nullptr);
  EXPECT_FALSE(vide.DonneLigne(ligne, ChaineN::kCodageUTF8));
}

TEST(FichierMMap, FichierAbsentOuDossier) {
  DossierTemporaire dossier;
  try {
    FichierMMap m(UniChemin(dossier / "absent"));
    FAIL() << "opened a missing file";
  } catch (const exceptions::OuvertureEchouee& e) {
    EXPECT_EQ(e.Message().DonneStdString(), "Ouverture échouée");
    EXPECT_NE(e.Explication().DonneStdString().find("absent"), std::string::npos);
  }
  EXPECT_THROW(FichierMMap{UniChemin(dossier / "")}, exceptions::OuvertureEchouee);
}

TEST(ChaineNFlux, EcrireEtLireAvecTerminateur) {
  TamponMemoire t;
  EXPECT_EQ(ChaineN(u"é").Ecris(t), 0u);
  EXPECT_EQ(ChaineN(u"ab").Ecris(t, ChaineN::kCodageUTF16BE), 3u);
  ChaineN(u"x").Ecris(t, ChaineN::kCodageLatin9);
  EXPECT_EQ(essais::OctetsDe(t),
            (essais::Octets{0xC3, 0xA9, 0x00, 0x00, 'a', 0x00, 'b', 0x00, 0x00, 'x', 0x00}));
  t.PositionneAuDebut();
  ChaineN s;
  s.Lis(t);
  EXPECT_EQ(s, ChaineN(u"é"));
  EXPECT_EQ(t.DonnePosition(), 3u);  // one character, three bytes
  s.Lis(t, ChaineN::kCodageUTF16BE);
  EXPECT_EQ(s, ChaineN(u"ab"));
  s.Lis(t, ChaineN::kCodageLatin9);
  EXPECT_EQ(s, ChaineN(u"x"));
  EXPECT_THROW(s.Lis(t), exceptions::OperationInvalide);  // nothing left
  essais::TamponSur sansFin(essais::Octets{'a', 'b'});
  EXPECT_THROW(s.Lis(*sansFin), exceptions::OperationInvalide);
}

TEST(ChaineNFlux, LectureCaractereParCaractereSurUnFichier) {
  // A file is no memory stream: the character-by-character walk, with the same results.
  DossierTemporaire dossier;
  Ecris(dossier / "c.bin", std::string("\xC3\xA9\0\xE2\x82\0z\0", 8));
  Fichier f(UniChemin(dossier / "c.bin"), Fichier::eLecture);
  ChaineN s;
  s.Lis(f);
  EXPECT_EQ(s, ChaineN(u"é"));
  EXPECT_EQ(f.DonnePosition(), 3u);
  s.Lis(f);  // a sequence broken by the terminator: one U+FFFD, and the zero still ends it
  EXPECT_EQ(s, ChaineN(u"\uFFFD"));
  s.Lis(f);
  EXPECT_EQ(s, ChaineN(u"z"));
  EXPECT_THROW(s.Lis(f), exceptions::OperationInvalide);
}

}  // namespace
}  // namespace sdd
