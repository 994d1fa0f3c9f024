#pragma once

// File failures: the catalogue of file-error alerts shown to users, the system's reasons in the
// library's languages, and the exception every refused file operation throws.

#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/texte/DAlerteInfo.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/ExceptionCode.h>

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

// What a file operation was doing when the system refused it.
enum class eOperationFichier {
  eCreation,   // creating or emptying a file (a temporary one included)
  eOuverture,  // opening an existing file, or mapping it
  eLecture,
  eEcriture,         // writing, a buffer written out included
  eSynchronisation,  // flushing the written bytes to the disk
  eRenommage,        // putting a finished temporary file in the target's place
  eFermeture,        // closing, where a delayed write error shows
};

// The system's reason for error number `numero` (an errno value) in the interface language:
// French ("Aucun fichier ou dossier de ce type") until Langues::ChoisisLangue picks another.
// The usual reasons of file operations are the library's own catalogue texts, so they read the
// same on every machine; any other number gives the system's own text, as strerror does.
OUTILS_SOCLE_EXPORT UniChaine RaisonSysteme(int numero);

namespace exceptions {

// A file operation the system refused: which file, what was being done, and why. It is an
// OuvertureEchouee whose message names the operation ("Écriture échouée") and whose explanation
// is "<path> : <the system's reason>", in French, translated by MessageCompletTraduit like every
// library text. It is also the ExceptionCode of the file-error catalogue ("Erreur à
// l’écriture du fichier."), for applications that present user alerts and catch those.
// Python sees it as OuvertureEchouee, an OSError with errno and filename set.
class OUTILS_SOCLE_EXPORT ErreurFichier : public OuvertureEchouee, public ::ExceptionCode {
 public:
  // `chemin` is the path as the caller gave it (bytes, normally UTF-8); for a replacement, the
  // target's path, not the temporary file's.
  ErreurFichier(const std::string& chemin, eOperationFichier operation, int numeroErreur);
  ErreurFichier(const ErreurFichier&) = default;
  ErreurFichier(ErreurFichier&& autre) noexcept : ErreurFichier(autre) {}
  ErreurFichier& operator=(const ErreurFichier&) = default;
  ~ErreurFichier() override;

  const std::string& Chemin() const { return chemin_; }
  eOperationFichier Operation() const { return operation_; }
  int NumeroErreur() const { return numeroErreur_; }  // errno

 private:
  std::string chemin_;
  eOperationFichier operation_;
  int numeroErreur_;
};

}  // namespace exceptions

// Throws ErreurFichier for `chemin` with the calling thread's current errno, which nothing may
// have changed since the failure (build the path before the system call, not in the argument).
[[noreturn]] OUTILS_SOCLE_EXPORT void LanceErreurFichier(const std::string& chemin,
                                                         eOperationFichier operation);

}  // namespace sdd
