#pragma once

// A gettext translation domain: an application's catalogue of texts, "<domaine>.mo" under
// "<dossier>/<langue>/LC_MESSAGES/". Texts are UTF-8 whatever the locale. The language is the
// process's, switched with Langues::ChoisisLangue; a text with no translation comes back as
// it is. Lookups may run on any thread.

#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT DomaineTraduction {
 public:
  // Binds the domain to its folder. OuvertureEchouee when gettext refuses the binding.
  DomaineTraduction(const std::string& domaine, const std::string& dossier);

  const std::string& Nom() const { return domaine_; }
  UniChaine Traduis(const char* texte) const;
  // The form for n of a text with a plural, by the catalogue's plural rule (n == 1 gives the
  // singular when there is no catalogue).
  UniChaine TraduisPluriel(const char* singulier, const char* pluriel, unsigned long n) const;

 private:
  std::string domaine_;
};

}  // namespace sdd
