// Texts built from a model and values, translated as the model's translation with the same
// values: a message that names a path can then be read in English too.
#include <libintl.h>

#include <algorithm>
#include <mutex>
#include <string_view>
#include <vector>

#include "langues/TraductionBibliotheque.h"

namespace sdd::detail {

namespace {

constexpr const char* kDomaine = "outils-socle";

// Every model a text has been built from in this process. Formate adds its model before the
// text exists, so a text always finds its model here. Few (the library has a few dozen), read
// only when a text is translated, which is rare beside building them.
std::mutex gVerrouModeles;
std::vector<const char*> gModeles;

void Retiens(const char* modele) {
  std::lock_guard<std::mutex> verrou(gVerrouModeles);
  if (std::find(gModeles.begin(), gModeles.end(), modele) == gModeles.end()) gModeles.push_back(modele);
}

std::vector<std::string_view> Morceaux(std::string_view modele) {
  std::vector<std::string_view> morceaux;
  for (size_t debut = 0;;) {
    const size_t ou = modele.find("%s", debut);
    morceaux.push_back(modele.substr(debut, ou == std::string_view::npos ? ou : ou - debut));
    if (ou == std::string_view::npos) return morceaux;
    debut = ou + 2;
  }
}

// The values `texte` gives the model's "%s", when it reads as the model: each fixed piece taken
// at its first place after the previous value (or, `depuisLaFin`, at its last place before the
// next one).
bool Correspond(std::string_view texte, const std::vector<std::string_view>& morceaux, bool depuisLaFin,
                std::vector<std::string>& valeurs) {
  const std::string_view premier = morceaux.front(), dernier = morceaux.back();
  if (morceaux.size() < 2 || texte.size() < premier.size() + dernier.size() ||
      texte.substr(0, premier.size()) != premier || texte.substr(texte.size() - dernier.size()) != dernier)
    return false;
  const size_t n = morceaux.size() - 1;  // values
  valeurs.assign(n, std::string());
  if (!depuisLaFin) {
    size_t ou = premier.size();
    for (size_t i = 1; i < n; ++i) {
      const size_t trouve = texte.find(morceaux[i], ou);
      if (trouve == std::string_view::npos || trouve + morceaux[i].size() > texte.size() - dernier.size())
        return false;
      valeurs[i - 1] = texte.substr(ou, trouve - ou);
      ou = trouve + morceaux[i].size();
    }
    valeurs[n - 1] = texte.substr(ou, texte.size() - dernier.size() - ou);
    return true;
  }
  size_t fin = texte.size() - dernier.size();
  for (size_t i = n - 1; i >= 1; --i) {
    if (fin < premier.size() + morceaux[i].size()) return false;
    const size_t trouve = texte.rfind(morceaux[i], fin - morceaux[i].size());
    if (trouve == std::string_view::npos || trouve < premier.size()) return false;
    valeurs[i] = texte.substr(trouve + morceaux[i].size(), fin - trouve - morceaux[i].size());
    fin = trouve;
  }
  valeurs[0] = texte.substr(premier.size(), fin - premier.size());
  return true;
}

// The values when the text reads as the model in one way only. A value that holds a piece of
// the model's own text ("a » sous le réglage « b" as a path) can split two ways; the text then
// stays French rather than be put back together wrongly.
bool CorrespondSansAmbiguite(std::string_view texte, const std::vector<std::string_view>& morceaux,
                             std::vector<std::string>& valeurs) {
  std::vector<std::string> depuisLaFin;
  return Correspond(texte, morceaux, false, valeurs) && Correspond(texte, morceaux, true, depuisLaFin) &&
         valeurs == depuisLaFin;
}

std::string Remplace(std::string_view modele, const std::vector<std::string>& valeurs) {
  std::string texte;
  size_t suivante = 0;
  for (size_t debut = 0;;) {
    const size_t ou = modele.find("%s", debut);
    if (ou == std::string_view::npos || suivante == valeurs.size()) {
      texte += modele.substr(debut);
      return texte;
    }
    texte += modele.substr(debut, ou - debut);
    texte += valeurs[suivante++];
    debut = ou + 2;
  }
}

}  // namespace

std::string Formate(const char* modele, std::initializer_list<std::string> valeurs) {
  Retiens(modele);
  return Remplace(modele, std::vector<std::string>(valeurs));
}

bool TraduisSelonModele(const std::string& texte, std::string& traduit) {
  std::vector<const char*> modeles;
  {
    std::lock_guard<std::mutex> verrou(gVerrouModeles);
    modeles = gModeles;
  }
  std::vector<std::string> valeurs;
  for (const char* modele : modeles) {
    const std::vector<std::string_view> morceaux = Morceaux(modele);
    // A model of values only would match anything.
    size_t fixes = 0;
    for (std::string_view m : morceaux) fixes += m.size();
    if (fixes == 0 || !CorrespondSansAmbiguite(texte, morceaux, valeurs)) continue;
    const char* traduction = dgettext(kDomaine, modele);
    if (traduction == modele) continue;  // gettext hands back its argument when it has nothing
    // Each value is shorter than the text, so this ends.
    for (std::string& valeur : valeurs) valeur = TraduisTexteBibliotheque(valeur);
    traduit = Remplace(traduction, valeurs);
    return true;
  }
  return false;
}

}  // namespace sdd::detail
