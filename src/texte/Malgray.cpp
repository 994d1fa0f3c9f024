// Character-level equality under the Malgray options. Every string-level search and comparison
// of ChaineN goes through UniCarEgalOption, so this is the one place where options take effect.
#include <outils_socle/texte/ChaineN.h>

namespace sdd {

bool UniCarEgalOption(char16_t a, char16_t b, ChaineN::Malgray) {
  // Without the character table the options have nothing to fold: compare exactly.
  return a == b;
}

bool UniCarPtrEgalOption(const char16_t* a, uint64_t debutA, uint64_t longueurA, const char16_t* b,
                         uint64_t debutB, uint64_t longueurB, ChaineN::Malgray m) {
  if (longueurA != longueurB) return false;
  for (uint64_t i = 0; i < longueurA; ++i)
    if (!UniCarEgalOption(a[debutA + i], b[debutB + i], m)) return false;
  return true;
}

}  // namespace sdd
