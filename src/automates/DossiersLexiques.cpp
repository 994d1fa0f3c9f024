#include <outils_socle/automates/DossiersLexiques.h>

#include <algorithm>
#include <cstdlib>

namespace sdd {

namespace {

constexpr const char* kSousDossier = "/outils-socle/lexiques";

}  // namespace

std::string DossierLexiquesUtilisateur() {
  const char* donnees = std::getenv("XDG_DATA_HOME");
  if (donnees != nullptr && donnees[0] == '/') return std::string(donnees) + kSousDossier;
  const char* maison = std::getenv("HOME");
  if (maison != nullptr && maison[0] == '/') return std::string(maison) + "/.local/share" + kSousDossier;
  return {};
}

std::vector<std::string> DossiersLexiques() {
  std::vector<std::string> dossiers;
  if (std::string utilisateur = DossierLexiquesUtilisateur(); !utilisateur.empty())
    dossiers.push_back(std::move(utilisateur));
  const char* systeme = std::getenv("XDG_DATA_DIRS");
  const std::string liste =
      systeme != nullptr && systeme[0] != '\0' ? systeme : "/usr/local/share:/usr/share";
  for (size_t debut = 0; debut <= liste.size();) {
    const size_t fin = std::min(liste.find(':', debut), liste.size());
    std::string dossier = liste.substr(debut, fin - debut);
    while (dossier.size() > 1 && dossier.back() == '/') dossier.pop_back();
    if (!dossier.empty() && dossier[0] == '/') dossiers.push_back(dossier + kSousDossier);
    debut = fin + 1;
  }
  return dossiers;
}

}  // namespace sdd
