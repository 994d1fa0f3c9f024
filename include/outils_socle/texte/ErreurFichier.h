#pragma once

#include <outils_socle/Export.h>
#include <outils_socle/texte/DAlerteInfo.h>

namespace sdd {

// The catalogue of file-error texts shown to users.
enum eMessageErreurFichier {
  eErreurFichierIndefinie = 0,  // "Une erreur de type indéfini s’est produite (code 0)."
  eErreurFichierEspace = 1,
  eErreurFichierCreation = 2,
  eErreurFichierOuverture = 3,
  eErreurFichierDestruction = 4,
  eErreurFichierEcriture = 5,
  eErreurFichierLecture = 6,
};

// The translated catalogue text of number n; empty for a number outside 0..6.
OUTILS_SOCLE_EXPORT UniChaine MessageErreurFichier(int n);

// An eAlerte record whose message and explanation are catalogue texts, with an empty (default)
// title and the three codes frozen into the explanation.
OUTILS_SOCLE_EXPORT DAlerteInfo CreeAlerteErreurFichier(int message, int explication, int codeErreur,
                                                        int codeSecondaire, int codeTertiaire);

// The text of the running application for a built-in source text (identity when no translation
// is installed). `commentaire` guides the translators.
OUTILS_SOCLE_EXPORT UniChaine Traduis(const char* texte, const char* commentaire = nullptr);

}  // namespace sdd
