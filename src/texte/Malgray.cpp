// Equality under the Malgray options, from one character to whole strings. Every search and
// comparison of ChaineN that takes a mask comes through here.
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniCaractere.h>

#include "texte/ClassesCaracteres.h"
#include "texte/FormatTableCaracteres.h"
#include "texte/Malgray.h"

namespace sdd {

bool UniCarEgalOption(char16_t a, char16_t b, ChaineN::Malgray m) {
  if (a == b) return true;
  if (m == ChaineN::kMalgrayRien) return false;
  // Accents first, then case: the accentless form of "É" is "E", whose lower case is "e".
  if (m & ChaineN::kMalgrayAccents) {
    a = sdd_table_caracteres[a].sansAccent;
    b = sdd_table_caracteres[b].sansAccent;
  }
  if (m & ChaineN::kMalgrayCasse) {
    a = sdd_table_caracteres[a].minuscule;
    b = sdd_table_caracteres[b].minuscule;
  }
  if (m & ChaineN::kMalgrayVariantes)
    return sdd_table_caracteres[a].variante == sdd_table_caracteres[b].variante;
  return a == b;
}

bool UniCarPtrEgalOption(const char16_t* a, uint64_t debutA, uint64_t longueurA, const char16_t* b,
                         uint64_t debutB, uint64_t longueurB, ChaineN::Malgray m) {
  if (longueurA != longueurB) return false;
  for (uint64_t i = 0; i < longueurA; ++i)
    if (!UniCarEgalOption(a[debutA + i], b[debutB + i], m)) return false;
  return true;
}

namespace detail {

namespace {

// The letters of a ligature, or null; the class bit turns most units away without a lookup.
const char16_t* Lettres(char16_t c) {
  if ((sdd_table_caracteres[c].classes[3] & (classes::kLigature >> 48)) == 0) return nullptr;
  return LettresDeLigature(c);
}

// Matches `lettres` (zero-terminated) against b from j under m; returns how many units of b.
uint64_t LettresContre(const char16_t* lettres, const char16_t* b, uint64_t j, uint64_t nb,
                       ChaineN::Malgray m) {
  uint64_t k = 0;
  for (; lettres[k] != 0; ++k)
    if (j + k >= nb || !UniCarEgalOption(lettres[k], b[j + k], m)) return 0;
  return k;
}

}  // namespace

// The ligature-aware walk: a ligature on either side may stand for its letters on the other,
// under the same options. With `prefixe`, b only has to be consumed up to somewhere (a search
// at a position): the return is then the units of a used, or -1; otherwise a must be consumed
// whole too and the return is 0 or -1.
int64_t DeligatureEgalOption(const char16_t* a, uint64_t na, const char16_t* b, uint64_t nb,
                             ChaineN::Malgray m, bool prefixe) {
  uint64_t i = 0, j = 0;
  while (j < nb) {
    if (i < na && UniCarEgalOption(a[i], b[j], m)) {
      ++i;
      ++j;
      continue;
    }
    if (i < na) {
      if (const char16_t* l = Lettres(a[i])) {
        if (const uint64_t k = LettresContre(l, b, j, nb, m)) {
          ++i;
          j += k;
          continue;
        }
      }
    }
    if (const char16_t* l = Lettres(b[j])) {
      if (const uint64_t k = LettresContre(l, a, i, na, m)) {
        i += k;
        ++j;
        continue;
      }
    }
    return -1;
  }
  if (prefixe) return static_cast<int64_t>(i);
  return i == na ? 0 : -1;
}

int64_t CorrespondAvecOptions(const char16_t* texte, uint64_t n, uint64_t position, const ChaineN& motif,
                              ChaineN::Malgray m) {
  const uint64_t k = motif.Longueur();
  if (position > n) return -1;
  if (!(m & ChaineN::kMalgrayLigatures)) {
    if (k > n - position) return -1;
    return UniCarPtrEgalOption(texte, position, k, motif.DonneUnites(), 0, k, m) ? static_cast<int64_t>(k)
                                                                                 : -1;
  }
  return DeligatureEgalOption(texte + position, n - position, motif.DonneUnites(), k, m, true);
}

}  // namespace detail

}  // namespace sdd
