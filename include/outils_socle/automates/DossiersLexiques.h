#pragma once

// Where compiled lexicons are installed, so that every program that looks one up by language
// (the Enchant provider, outils-socle lexique installe) agrees: the XDG data folders, each with
// outils-socle/lexiques below it.

#include <string>
#include <vector>

#include <outils_socle/Export.h>

namespace sdd {

// The user's folder: $XDG_DATA_HOME/outils-socle/lexiques, or ~/.local/share/outils-socle/lexiques
// when the variable is not set (or not absolute); empty when neither gives an absolute path.
OUTILS_SOCLE_EXPORT std::string DossierLexiquesUtilisateur();

// The folders to look in, the user's first, then each of $XDG_DATA_DIRS (/usr/local/share and
// /usr/share when it is not set); relative entries are skipped, as the XDG rules ask.
OUTILS_SOCLE_EXPORT std::vector<std::string> DossiersLexiques();

}  // namespace sdd
