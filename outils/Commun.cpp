// What every subcommand shares: messages, reading files and word lists, options, timing.
#include <fcntl.h>
#include <libintl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>

#include <outils_socle/langues/DomaineTraduction.h>
#include <outils_socle/langues/Langues.h>

#include "Commandes.h"

namespace outils {

namespace {

// The program's texts are in the library's catalogue: one domain, one file per language.
constexpr const char* kDomaine = "outils-socle";

void LieCatalogue() {
  static const sdd::DomaineTraduction domaine(kDomaine, sdd::Langues::DossierTraductions());
}

}  // namespace

const char* Tr(const char* texte) {
  LieCatalogue();
  return dgettext(kDomaine, texte);
}

const char* TrPluriel(const char* singulier, const char* pluriel, unsigned long n) {
  LieCatalogue();
  return dngettext(kDomaine, singulier, pluriel, n);
}

void Erreur(const std::string& message) { std::cerr << "outils-socle: " << message << '\n'; }

int AfficheAide(const char* aide, bool demandee) {
  std::fputs(Tr(aide), demandee ? stdout : stderr);
  return demandee ? 0 : 2;
}

int ActionInconnue(const std::string& commande, const std::string& action) {
  Erreur(
      Texte(N_("%s : action inconnue « %s » (voir outils-socle %s --help)"), {commande, action, commande}));
  return 2;
}

std::string Texte(const char* modele, std::initializer_list<std::string> valeurs) {
  std::string texte = Tr(modele);
  auto valeur = valeurs.begin();
  for (size_t ou = texte.find("%s"); ou != std::string::npos && valeur != valeurs.end();
       ou = texte.find("%s", ou)) {
    texte.replace(ou, 2, *valeur);
    ou += valeur->size();
    ++valeur;
  }
  return texte;
}

bool LisFichier(const std::string& chemin, std::string& contenu, struct timespec* modification) {
  if (chemin == "-") {
    if (modification != nullptr) clock_gettime(CLOCK_REALTIME, modification);
    contenu.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    return true;
  }
  // Read whole with read(2), straight into the string: no stream buffer in between. (A
  // mapping would save the copy but turn a file truncated under us into a crash.)
  const int fd = open(chemin.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat etat {};
  if (fd < 0 || fstat(fd, &etat) != 0 || S_ISDIR(etat.st_mode)) {
    const bool dossier = fd >= 0 && S_ISDIR(etat.st_mode);
    const std::string raison = sdd::RaisonSysteme(errno).DonneStdString();
    if (fd >= 0) close(fd);
    Erreur(dossier ? Texte(N_("« %s » est un dossier, pas un fichier"), {chemin})
                   : Texte(N_("impossible de lire « %s » : %s"), {chemin, raison}));
    return false;
  }
  if (modification != nullptr) *modification = etat.st_mtim;
  contenu.resize(static_cast<size_t>(std::max<off_t>(etat.st_size, 0)) + 1);
  size_t total = 0;
  for (;;) {
    if (total == contenu.size()) contenu.resize(contenu.size() * 2);  // the file grew, or is a pipe
    const ssize_t lus = read(fd, contenu.data() + total, contenu.size() - total);
    if (lus == 0) break;
    if (lus < 0 && errno == EINTR) continue;
    if (lus < 0) {
      const std::string raison = sdd::RaisonSysteme(errno).DonneStdString();
      close(fd);
      Erreur(Texte(N_("erreur de lecture dans « %s » : %s"), {chemin, raison}));
      return false;
    }
    total += static_cast<size_t>(lus);
  }
  close(fd);
  contenu.resize(total);
  return true;
}

void Barre::Avance(uint64_t fait, uint64_t total) {
  const int pourcent = total == 0 ? 100 : static_cast<int>(fait * 100 / total);
  if (pourcent == dernier_) return;
  dernier_ = pourcent;
  std::string barre(static_cast<size_t>(pourcent / 4), '#');
  barre.resize(25, '.');
  std::fprintf(stderr, "\r  [%s] %3d %%", barre.c_str(), pourcent);
  if (fait == total) std::fputc('\n', stderr);
  std::fflush(stderr);
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
