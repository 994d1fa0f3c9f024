#pragma once

// The system's reasons (errno values) as the library's French texts, for messages that are
// stored in French and translated when shown (see ErreurFichier.h for the public face).

#include <string>

#include <outils_socle/Export.h>

namespace sdd::detail {

// The catalogue text for `numero`, or null when the catalogue does not have it (exported for
// the tests, which compare it with glibc's own catalogue).
OUTILS_SOCLE_EXPORT const char* RaisonSystemeEnFrancais(int numero);
// The catalogue text, else the system's own text followed by "(errno N)".
std::string RaisonSystemeFrancaise(int numero);

}  // namespace sdd::detail
