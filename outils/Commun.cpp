// What every subcommand shares: messages, reading files and word lists, options, timing.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "Commandes.h"

namespace outils {

void Erreur(const std::string& message) { std::cerr << "outils-socle: " << message << '\n'; }

bool LisFichier(const std::string& chemin, std::string& contenu) {
  if (chemin == "-") {
    contenu.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    return true;
  }
  std::error_code ec;
  if (std::filesystem::is_directory(chemin, ec)) {
    Erreur("« " + chemin + " » est un dossier, pas un fichier");
    return false;
  }
  std::ifstream f(chemin, std::ios::binary);
  if (!f) {
    Erreur("impossible de lire « " + chemin + " » : " + std::strerror(errno));
    return false;
  }
  std::ostringstream tout;
  tout << f.rdbuf();
  if (f.bad()) {
    Erreur("erreur de lecture dans « " + chemin + " »");
    return false;
  }
  contenu = tout.str();
  return true;
}

double MsDepuis(Horloge::time_point debut) {
  return std::chrono::duration<double, std::milli>(Horloge::now() - debut).count();
}

std::string U8(const sdd::ChaineN& c) { return c.PreteUTF8(); }

bool LisListe(const std::string& chemin, sdd::ListeT<sdd::ChaineN>& mots) {
  std::string contenu;
  if (!LisFichier(chemin, contenu)) return false;
  size_t debut = 0;
  while (debut < contenu.size()) {
    size_t fin = contenu.find('\n', debut);
    if (fin == std::string::npos) fin = contenu.size();
    size_t n = fin - debut;
    if (n > 0 && contenu[debut + n - 1] == '\r') --n;
    if (n > 0) mots.Ajoute(sdd::ChaineN(contenu.data() + debut, sdd::ChaineN::kCodageUTF8, n));
    debut = fin + 1;
  }
  return true;
}

bool Arguments::Drapeau(const std::string& nom) const {
  for (const auto& [n, v] : options)
    if (n == nom) return true;
  return false;
}

long Arguments::Nombre(const std::string& nom, long defaut) const {
  for (const auto& [n, v] : options)
    if (n == nom) return std::strtol(v.c_str(), nullptr, 0);
  return defaut;
}

std::string Arguments::Texte(const std::string& nom, const std::string& defaut) const {
  for (const auto& [n, v] : options)
    if (n == nom) return v;
  return defaut;
}

Arguments Analyse(const std::vector<std::string>& arguments, const std::vector<std::string>& avecValeur) {
  Arguments a;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& x = arguments[i];
    if (x.size() > 2 && x.compare(0, 2, "--") == 0) {
      const std::string nom = x.substr(2);
      const bool valeur = std::find(avecValeur.begin(), avecValeur.end(), nom) != avecValeur.end();
      a.options.emplace_back(nom, valeur && i + 1 < arguments.size() ? arguments[++i] : "");
    } else {
      a.positions.push_back(x);
    }
  }
  return a;
}

}  // namespace outils
