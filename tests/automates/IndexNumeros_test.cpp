// The table that starts number → form a few levels down: intervals worked out by hand on the
// stored example, the same forms as the plain descent on random lexicons (the French list's
// numbering is checked against the compiler in Automate_test), and counts that do not cut
// their range.
#include <outils_socle/automates/AutomateAcycliqueMin.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "automates/Aides.h"
#include "automates/IndexNumeros.h"

namespace {

using essais::Octets;
using essais::TamponSur;
using sdd::AutomateAcycliqueMin;
using sdd::LecteurAutomate;
using sdd::detail::IndexNumeros;

// le, les, la as stored in docs/automate.md: the root @30 ("l", count 0) leads to @12, whose
// "a" (count 2) leads to @0 {ε} and "e" (count 0) to @2 {ε, s}. So "le" is 0, "les" 1, "la" 2.
const Octets kLaLeLes = {
    0x02, 0x00, 0x00, 0x00, 0x1E, 0x00, 0x00, 0x00, 0x28, 0x00, 0x00, 0x00, 0x02, 0x00,
    0x00, 0x00, 0x01, 0x00, 0x03, 0x00, 0x73, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x04, 0x00, 0x61, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x65, 0x00, 0x00, 0x00,
    0x00, 0x02, 0x00, 0x00, 0x02, 0x00, 0x6C, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x00, 0x00,
};

std::u16string Texte(const IndexNumeros::Intervalle& i) { return std::u16string(i.cars, i.profondeur); }

// Every number through the table and through the plain descent from the root.
void CompareALaDescente(const AutomateAcycliqueMin& a) {
  const LecteurAutomate<3> l(a);
  const auto index = IndexNumeros::Construis(l);
  ASSERT_NE(index, nullptr);
  std::u16string avec, sans;
  for (uint32_t n = 0; n < a.NombreDeFormes(); ++n) {
    const bool trouve = l.FormePourNo(n, avec, index.get());
    ASSERT_EQ(trouve, l.FormePourNo(n, sans, static_cast<const IndexNumeros*>(nullptr))) << n;
    ASSERT_EQ(avec, sans) << n;
  }
}

TEST(IndexNumeros, IntervallesALaMain) {
  TamponSur t(kLaLeLes);
  AutomateAcycliqueMin a(&*t);
  const auto index = IndexNumeros::Construis(LecteurAutomate<3>(a));
  ASSERT_NE(index, nullptr);
  ASSERT_EQ(index->Taille(), 3u);  // every form is shorter than the table's depth
  const std::u16string attendus[] = {u"le", u"les", u"la"};
  for (uint32_t n = 0; n < 3; ++n) {
    const IndexNumeros::Intervalle& i = index->Trouve(n);
    EXPECT_EQ(i.debut, n);
    EXPECT_TRUE(i.forme);
    EXPECT_EQ(Texte(i), attendus[n]);
  }
  CompareALaDescente(a);
}

TEST(IndexNumeros, LesFormesDeLaDescenteSurDesLexiquesAuHasard) {
  std::mt19937 alea(7);
  for (int essai = 0; essai < 40; ++essai) {
    // Short words over a few letters share long starts; some end above the table's depth.
    std::vector<std::u16string> mots;
    const int nombre = 1 + static_cast<int>(alea() % 300);
    for (int k = 0; k < nombre; ++k) {
      std::u16string m;
      for (uint32_t l = 1 + alea() % 7; l > 0; --l) m += static_cast<char16_t>(u'a' + alea() % 4);
      mots.push_back(m);
    }
    TamponSur t(essais::Compile(mots));
    AutomateAcycliqueMin a(&*t);
    SCOPED_TRACE(essai);
    CompareALaDescente(a);
  }
}

// The first lookups of four threads on copies of a lexicon just opened: one of them builds
// the table, the others wait for it, and every form is the plain descent's.
TEST(IndexNumeros, QuatreFilsSurUnLexiqueNeuf) {
  std::vector<std::u16string> mots;
  for (char16_t a = u'a'; a <= u'z'; ++a) {
    for (char16_t b = u'a'; b <= u'm'; ++b) mots.push_back({a, b, u'o', b, a});
  }
  TamponSur t(essais::Compile(mots));
  AutomateAcycliqueMin partage(&*t);
  std::vector<std::u16string> attendus(partage.NombreDeFormes());
  const LecteurAutomate<3> l(partage);
  for (uint32_t n = 0; n < partage.NombreDeFormes(); ++n) {
    ASSERT_TRUE(l.FormePourNo(n, attendus[n], static_cast<const IndexNumeros*>(nullptr)));
  }
  std::vector<int> erreurs(4, 0);
  std::vector<std::thread> fils;
  for (size_t f = 0; f < 4; ++f) {
    fils.emplace_back([&, f] {
      const AutomateAcycliqueMin copie(partage);
      AutomateAcycliqueMin::_Forme forme;
      for (uint32_t k = 0; k < copie.NombreDeFormes(); ++k) {
        const uint32_t n = static_cast<uint32_t>((k + 97 * f) % copie.NombreDeFormes());
        if (!copie.FormePourNo(n, forme) || essais::U16(forme.forme) != attendus[n]) ++erreurs[f];
      }
    });
  }
  for (auto& f : fils) f.join();
  EXPECT_EQ(erreurs, std::vector<int>(4, 0));
}

// Counts that overlap or leave a gap: no table, and the lexicon's own lookups answer as the
// plain descent does.
TEST(IndexNumeros, DesComptesQuiNeCoupentPasLIntervalle) {
  // The count of "a" below "l" (2 in the correct bytes), then that of "e" (0).
  for (auto [place, compte] : {std::pair{32, 1}, std::pair{32, 3}, std::pair{40, 1}}) {
    Octets abime = kLaLeLes;
    abime[static_cast<size_t>(place)] = static_cast<uint8_t>(compte);
    TamponSur t(abime);
    AutomateAcycliqueMin a(&*t);
    EXPECT_EQ(IndexNumeros::Construis(LecteurAutomate<3>(a)), nullptr) << place << " " << compte;
    const LecteurAutomate<3> l(a);
    AutomateAcycliqueMin::_Forme f;
    std::u16string sans;
    for (uint32_t n = 0; n < a.NombreDeFormes(); ++n) {
      bool attendu = false;
      try {
        attendu = l.FormePourNo(n, sans, static_cast<const IndexNumeros*>(nullptr));
      } catch (const sdd::exceptions::Exception&) {
        EXPECT_ANY_THROW(a.FormePourNo(n, f));
        continue;
      }
      EXPECT_EQ(a.FormePourNo(n, f), attendu) << n;
      if (attendu) {
        EXPECT_EQ(essais::U16(f.forme), sans) << n;
      }
    }
  }
}

}  // namespace
