#pragma once

// The interface languages the suite offers, the user's language, and the choice of the
// language the library (and the application's translation domains) speak.
//
// Names and codes come from ICU's locale data: ISO 639-1 ("de"), ISO 639-2 in its
// terminology form ("deu", as ICU gives it), the name in French ("allemand") and in the
// language itself ("Deutsch").
//
// The library's own texts (exception and alert messages) stay French, byte for byte, until an
// application calls ChoisisLangue with another language; then Exception::MessageCompletTraduit,
// Traduis and the file-error catalogue answer from the "outils-socle" translation domain.
// Message() and Explication() stay French whatever the choice.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

struct LangueInterface {
  std::string code6391;   // "fr"
  std::string code6392;   // "fra"
  UniChaine nomFrancais;  // "français"
  UniChaine nomPropre;    // "français"
};

class OUTILS_SOCLE_EXPORT Langues {
 public:
  // French first, then the others in the order of the suite's menus.
  static const std::vector<LangueInterface>& Offertes();
  // By ISO 639-1 or 639-2 code, case ignored; null when the language is not offered.
  static const LangueInterface* Trouve(std::string_view code);

  // The user's language from the environment, as gettext reads it: each entry of LANGUAGE
  // (a colon-separated list) in turn, then the first set of LC_ALL, LC_MESSAGES and LANG
  // ("en_GB.UTF-8" gives "en"); the first offered language wins, French when none is.
  static std::string LangueUtilisateur();
  // The same, reading the variables through `lis` (null for an unset variable).
  static std::string LangueUtilisateur(const std::function<const char*(const char*)>& lis);

  // Switches the interface language of the process at run time, for the library's texts and
  // every translation domain loaded with gettext. Sets LANGUAGE and, when the messages locale
  // is "C", sets it to "C.UTF-8" (gettext ignores LANGUAGE under "C"). Like setenv, call it
  // when no other thread reads the environment. OperationInvalide for a language not offered.
  static void ChoisisLangue(std::string_view code);
  static std::string LangueChoisie();  // "fr" until ChoisisLangue

  // Where the library finds its catalogues: by default the locale folder of its installation
  // (<prefix>/share/locale), or the build tree's when run from there.
  static std::string DossierTraductions();
  static void MetsDossierTraductions(const std::string& dossier);
};

}  // namespace sdd
