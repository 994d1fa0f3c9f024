// What the reader learns about the states below each state for the corrections: lengths and
// letter classes worked out by hand on the stored example, memory on the French list, and
// damaged bytes.
#include <outils_socle/automates/AutomateAcycliqueMin.h>

#include <gtest/gtest.h>

#include <string>

#include "automates/Aides.h"
#include "automates/ResumesEtats.h"

namespace {

using essais::Octets;
using essais::TamponSur;
using sdd::AutomateAcycliqueMin;
using sdd::LecteurAutomate;
using sdd::detail::ResumesEtats;

uint64_t Classes(std::u16string lettres) {
  uint64_t c = 0;
  for (char16_t l : lettres) c |= uint64_t{1} << ResumesEtats::Classe(l);
  return c;
}

// le, les, la as stored in docs/automate.md: @0 {ε}, @2 {ε, s}, @12 after "l", @30 the root.
const Octets kLaLeLes = {
    0x02, 0x00, 0x00, 0x00, 0x1E, 0x00, 0x00, 0x00, 0x28, 0x00, 0x00, 0x00, 0x02, 0x00,
    0x00, 0x00, 0x01, 0x00, 0x03, 0x00, 0x73, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x04, 0x00, 0x61, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x65, 0x00, 0x00, 0x00,
    0x00, 0x02, 0x00, 0x00, 0x02, 0x00, 0x6C, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x00, 0x00,
};

TEST(ResumesEtats, LongueursEtLettresALaMain) {
  TamponSur t(kLaLeLes);
  AutomateAcycliqueMin a(&*t);
  const auto r = ResumesEtats::Calcule(LecteurAutomate<3>(a));
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->NbEtats(), 4u);
  struct Attendu {
    uint64_t adresse;
    uint8_t court, long_;
    std::u16string lettres;
  };
  for (const Attendu& e : {Attendu{0, 0, 0, u""}, Attendu{2, 0, 1, u"s"}, Attendu{12, 1, 2, u"aes"},
                           Attendu{30, 2, 3, u"laes"}}) {
    const ResumesEtats::Resume s = r->Lis(e.adresse);
    EXPECT_EQ(s.longueurMin, e.court) << e.adresse;
    EXPECT_EQ(s.longueurMax, e.long_) << e.adresse;
    EXPECT_EQ(s.classes, Classes(e.lettres)) << e.adresse;
  }
  EXPECT_EQ(r->Alphabet(), (std::vector<char16_t>{u'a', u'e', u'l', u's'}));
  // Case, accents and variants share a class: a typed "É" still finds its letter below.
  EXPECT_EQ(ResumesEtats::Classe(u'É'), ResumesEtats::Classe(u'e'));
  EXPECT_NE(ResumesEtats::Classe(u'e'), ResumesEtats::Classe(u'a'));
}

TEST(ResumesEtats, FormesPlusLonguesQueLesCompteurs) {
  // Rests past 254 units: the shortest saturates below the truth, the longest is "unknown".
  const std::u16string longue(300, u'a');
  const Octets o = essais::Compile({longue, u"b"});
  TamponSur t(o);
  AutomateAcycliqueMin a(&*t);
  const auto r = ResumesEtats::Calcule(LecteurAutomate<3>(a));
  ASSERT_NE(r, nullptr);
  const ResumesEtats::Resume racine =
      r->Lis(a.DonneTailleTotal() - 16 - 18);  // the root, last: 2 + 2 × 8 bytes
  EXPECT_EQ(racine.longueurMin, 1);
  EXPECT_EQ(racine.longueurMax, ResumesEtats::kLongueurInconnue);
}

TEST(ResumesEtats, OctetsEndommagesSansResumes) {
  // A target one byte into a state: with 3-byte addresses states start at even bytes.
  // (Damage off the path of first transitions, which opening reads.)
  Octets o = kLaLeLes;
  o[16 + 12 + 2 + 8 + 5] = 0x03;  // after "l", "e" now leads to @3
  TamponSur t(o);
  AutomateAcycliqueMin a(&*t);
  EXPECT_EQ(ResumesEtats::Calcule(LecteurAutomate<3>(a)), nullptr);
  // A dead end below the root.
  Octets fin = kLaLeLes;
  fin[16 + 2] = 0x00;  // @2 neither final nor with a transition
  TamponSur t2(fin);
  AutomateAcycliqueMin b(&*t2);
  EXPECT_EQ(ResumesEtats::Calcule(LecteurAutomate<3>(b)), nullptr);
}

TEST(ResumesEtats, MemoireSurLaListeFrancaise) {
  const auto liste = essais::ListeFrancaise();
  ASSERT_GT(liste.size(), 300000u) << "needs the wfrench package";
  const Octets o = essais::Compile(liste);
  TamponSur t(o);
  AutomateAcycliqueMin a(&*t);
  uint64_t etats = 0, transitions = 0;
  a.Statistiques(&etats, &transitions);
  const auto r = ResumesEtats::Calcule(LecteurAutomate<3>(a));
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->NbEtats(), etats);
  EXPECT_LE(r->Octets(), 16 * etats);
}

}  // namespace
