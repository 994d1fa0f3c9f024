// outils-socle synchro: two texts compared line by line with the library's Synchro, shown as a
// unified diff (what patch reads) or side by side on a terminal, optionally down to the
// characters that changed within lines.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <unordered_map>

#include <outils_socle/texte/Exception.h>

#include "Commandes.h"
#include "Differences.h"

namespace outils {

namespace {

const char* const kAideSynchro =
    N_("Usage : outils-socle synchro ANCIEN NOUVEAU [options]\n"
       "\n"
       "Compare deux textes ligne à ligne (« - » pour l'entrée standard) et affiche ce qui a changé :\n"
       "une différence unifiée comme « diff -u », que « patch » applique, quand la sortie est un fichier\n"
       "ou un tube ; les deux textes côte à côte, en couleurs, sur un terminal.\n"
       "\n"
       "  --unifie          la différence unifiée, même sur un terminal\n"
       "  --cote-a-cote     les deux textes côte à côte, même hors d'un terminal (alors sans couleurs)\n"
       "  --contexte N      lignes inchangées autour de chaque changement (3 par défaut)\n"
       "  --caracteres      montre aussi les caractères supprimés [-...-] et insérés {+...+} dans les\n"
       "                    lignes changées (en couleurs sur un terminal)\n"
       "  --minimal         cherche la plus courte différence quel qu'en soit le coût, comme\n"
       "                    « diff --minimal » (par défaut, comme diff, la recherche est bornée :\n"
       "                    la différence reste juste, rarement plus longue)\n"
       "  --limite S        cesse de chercher la plus courte différence après S secondes : ce qui\n"
       "                    est affiché reste juste, mais peut être plus long qu'il ne faut\n"
       "  --distance        affiche seulement le nombre de lignes supprimées et insérées (de\n"
       "                    caractères dans les lignes changées avec --caracteres)\n"
       "  --largeur N       colonnes de la vue côte à côte (celles du terminal, sinon 80)\n"
       "\n"
       "Code de retour : 0 si les textes sont identiques, 1 s'ils diffèrent, 2 en cas d'erreur.\n");

const char* const kRouge = "\x1b[31m";
const char* const kVert = "\x1b[32m";
const char* const kCyan = "\x1b[36m";
const char* const kRougeInverse = "\x1b[7;31m";
const char* const kVertInverse = "\x1b[7;32m";
const char* const kFinCouleur = "\x1b[0m";

struct Options {
  bool coteACote = false;
  bool couleurs = false;
  bool caracteres = false;
  int contexte = 3;
  float limite = 0;
  bool minimale = false;
  size_t largeur = 80;
};

struct Fichier {
  std::string nom;
  TexteEnLignes texte;
  struct timespec modification {};
};

bool LisTexte(const std::string& chemin, Fichier& f) {
  f.nom = chemin;
  if (!LisFichier(chemin, f.texte.octets, &f.modification)) return false;
  f.texte.Decoupe();
  return true;
}

// Seconds left of the user's limit: 0 for no limit, negative once it has passed.
struct Echeance {
  float limite;
  Horloge::time_point debut = Horloge::now();
  float Reste() const {
    if (limite <= 0) return 0;
    const float reste = limite - static_cast<float>(MsDepuis(debut) / 1000);
    return reste > 0 ? reste : -1;
  }
};

// The old lines [de, a) as one stretch of the text (lines are contiguous in it).
std::string_view Lignes(const TexteEnLignes& t, int de, int a) {
  if (de >= a) return std::string_view();
  const auto& l = t.lignes;
  return std::string_view(
      l[static_cast<size_t>(de)].data(),
      static_cast<size_t>(l[static_cast<size_t>(a - 1)].end() - l[static_cast<size_t>(de)].begin()));
}

// ---- unified diff

void AjouteEnTeteBloc(std::string& sortie, const Bloc& b, const Options& o) {
  if (o.couleurs) sortie += kCyan;
  sortie += "@@ -";
  AjouteEtendue(sortie, b.ancienDebut, b.ancienFin - b.ancienDebut);
  sortie += " +";
  AjouteEtendue(sortie, b.nouveauDebut, b.nouveauFin - b.nouveauDebut);
  sortie += " @@";
  if (o.couleurs) sortie += kFinCouleur;
  sortie += '\n';
}

void AjouteEnTeteFichier(std::string& sortie, const char* marque, const Fichier& f) {
  struct tm local {};
  localtime_r(&f.modification.tv_sec, &local);
  char date[64], zone[16];
  std::strftime(date, sizeof(date), "%Y-%m-%d %H:%M:%S", &local);
  std::strftime(zone, sizeof(zone), "%z", &local);
  char nanos[16];
  std::snprintf(nanos, sizeof(nanos), ".%09ld", static_cast<long>(f.modification.tv_nsec));
  sortie += marque;
  sortie += f.nom + "\t" + date + nanos + " " + zone + "\n";
}

void AjouteLigne(std::string& sortie, char marque, std::string_view ligne, const char* couleur) {
  if (couleur != nullptr) sortie += couleur;
  sortie += marque;
  if (!ligne.empty() && ligne.back() == '\n') {
    sortie.append(ligne.data(), ligne.size() - 1);
    if (couleur != nullptr) sortie += kFinCouleur;
    sortie += '\n';
  } else {
    sortie.append(ligne);
    if (couleur != nullptr) sortie += kFinCouleur;
    sortie += "\n\\ No newline at end of file\n";
  }
}

// `texte` between the marks, line ends included, so that the view reads back exactly (a line
// end outside them would be common to both texts); or in colour, stopped before each line end
// so that it never runs into the next line.
void AjouteMarque(std::string& sortie, std::string_view texte, const char* ouvre, const char* ferme,
                  const char* couleur) {
  if (couleur == nullptr) {
    sortie += ouvre;
    sortie.append(texte);
    sortie += ferme;
    return;
  }
  while (!texte.empty()) {
    const size_t fin = texte.find('\n');
    const std::string_view morceau = texte.substr(0, fin);
    if (!morceau.empty()) {
      sortie += couleur;
      sortie.append(morceau);
      sortie += kFinCouleur;
    }
    if (fin == std::string_view::npos) break;
    sortie += '\n';
    texte.remove_prefix(fin + 1);
  }
}

// One changed block down to the characters, as git's --word-diff does it with words: the
// merged text, removals between [- -], insertions between {+ +}.
void AjouteBlocCaracteres(std::string& sortie, std::string_view ancien, std::string_view nouveau,
                          const Options& o, const Echeance& e, int& distance) {
  const bool finAncien = ancien.empty() || ancien.back() == '\n';
  const bool finNouveau = nouveau.empty() || nouveau.back() == '\n';
  for (const Morceau& m : CompareCaracteres(ancien, nouveau, e.Reste(), distance)) {
    if (m.genre == Genre::kCommun) sortie.append(m.texte);
    if (m.genre == Genre::kSupprime) AjouteMarque(sortie, m.texte, "[-", "-]", o.couleurs ? kRouge : nullptr);
    if (m.genre == Genre::kInsere) AjouteMarque(sortie, m.texte, "{+", "+}", o.couleurs ? kVert : nullptr);
  }
  if (!finAncien || !finNouveau) {
    if (sortie.empty() || sortie.back() != '\n') sortie += '\n';
    sortie += "\\ No newline at end of file\n";
  }
}

void EcrisUnifie(std::string& sortie, const Fichier& ancien, const Fichier& nouveau, const Differences& d,
                 const Options& o, const Echeance& e, int& distanceCaracteres) {
  AjouteEnTeteFichier(sortie, "--- ", ancien);
  AjouteEnTeteFichier(sortie, "+++ ", nouveau);
  if (!o.couleurs && !o.caracteres) {
    sdd::EcrisBlocsUnifies(sortie, ancien.texte, nouveau.texte, d, o.contexte);
    return;
  }
  // The library's hunks, in colours or down to the characters.
  class Ecrivain final : public sdd::VisiteurBlocs {
   public:
    Ecrivain(std::string& s, const TexteEnLignes& a, const TexteEnLignes& b, const Options& o,
             const Echeance& e, int& distance)
        : s_(s), a_(a), b_(b), o_(o), e_(e), distance_(distance) {}
    void Bloc(const sdd::Bloc& bloc) override { AjouteEnTeteBloc(s_, bloc, o_); }
    void Communes(int debut, int fin) override {
      for (int i = debut; i < fin; ++i) {
        const std::string_view ligne = a_.lignes[static_cast<size_t>(i)];
        if (o_.caracteres) {
          s_.append(ligne);
          if (s_.back() != '\n') s_ += "\n\\ No newline at end of file\n";
        } else {
          AjouteLigne(s_, ' ', ligne, nullptr);
        }
      }
    }
    void Change(const Modification& m) override {
      if (o_.caracteres) {
        AjouteBlocCaracteres(s_, Lignes(a_, m.ancien, m.ancien + m.supprimes),
                             Lignes(b_, m.nouveau, m.nouveau + m.inseres), o_, e_, distance_);
        return;
      }
      for (int s = 0; s < m.supprimes; ++s)
        AjouteLigne(s_, '-', a_.lignes[static_cast<size_t>(m.ancien + s)], kRouge);
      for (int s = 0; s < m.inseres; ++s)
        AjouteLigne(s_, '+', b_.lignes[static_cast<size_t>(m.nouveau + s)], kVert);
    }

   private:
    std::string& s_;
    const TexteEnLignes& a_;
    const TexteEnLignes& b_;
    const Options& o_;
    const Echeance& e_;
    int& distance_;
  } ecrivain(sortie, ancien.texte, nouveau.texte, o, e, distanceCaracteres);
  sdd::ParcoursBlocs(d, static_cast<int>(ancien.texte.lignes.size()),
                     static_cast<int>(nouveau.texte.lignes.size()), o.contexte, ecrivain);
}

// ---- side by side

// A line as a terminal shows it: without its end, tabs expanded to the next multiple of 8,
// control characters in caret notation (^M for a carriage return), as cat -v writes them.
std::string Affichable(std::string_view texte, size_t colonneDeDepart) {
  std::string r;
  size_t debutLigne = 0;  // where the columns of `r` start counting, for the tabs
  for (const char c : texte) {
    const auto o = static_cast<unsigned char>(c);
    if (c == '\n') continue;
    if (c == '\t') {
      const size_t colonne = colonneDeDepart + LargeurAffichage(r.substr(debutLigne));
      r.append(8 - colonne % 8, ' ');
    } else if (o < 0x20 || o == 0x7F) {
      r += '^';
      r += static_cast<char>(o == 0x7F ? '?' : o + 0x40);
    } else {
      r += c;
    }
  }
  return r;
}

struct Segment {
  std::string_view texte;
  bool change;
};

// How one side shows the characters that changed: in a colour, or between marks.
struct Accent {
  const char* couleur;
  const char* ouvre;
  const char* ferme;
};

// One half of a side-by-side line: the segments cut to `largeur` columns, changed segments
// with `accent`, the rest in `couleur` (no colour when null), padded when `complete`.
std::string Colonne(const std::vector<Segment>& segments, size_t largeur, const char* couleur,
                    const Accent& accent, bool complete) {
  std::string r;
  size_t utilisees = 0;
  for (const Segment& s : segments) {
    if (utilisees >= largeur) break;
    std::string visible = Affichable(s.texte, utilisees);
    if (s.change && accent.couleur == nullptr) visible = accent.ouvre + visible + accent.ferme;
    visible = Coupe(visible, largeur - utilisees);
    utilisees += LargeurAffichage(visible);
    if (visible.empty()) continue;
    const char* c = s.change ? accent.couleur : couleur;
    if (c != nullptr) r += c;
    r += visible;
    if (c != nullptr) r += kFinCouleur;
  }
  if (complete && utilisees < largeur) r.append(largeur - utilisees, ' ');
  return r;
}

void EcrisCoteACote(std::string& sortie, const Fichier& ancien, const Fichier& nouveau, const Differences& d,
                    const Options& o, const Echeance& e, int& distanceCaracteres) {
  const TexteEnLignes& a = ancien.texte;
  const TexteEnLignes& b = nouveau.texte;
  const size_t chiffres = std::to_string(std::max(a.lignes.size(), b.lignes.size())).size();
  const size_t moitie = std::max<size_t>((o.largeur - 3) / 2, chiffres + 2);
  const size_t texte = moitie - chiffres - 1;
  char numero[32];
  auto numerote = [&](int i) {
    std::snprintf(numero, sizeof(numero), "%*d ", static_cast<int>(chiffres), i + 1);
    return std::string(numero);
  };
  // One line of the view; a negative index leaves its side empty.
  auto ligne = [&](int i, int j, char marque, const std::vector<Segment>& gauche,
                   const std::vector<Segment>& droite) {
    sortie += i >= 0 ? numerote(i) + Colonne(gauche, texte, marque == ' ' || !o.couleurs ? nullptr : kRouge,
                                             {o.couleurs ? kRougeInverse : nullptr, "[-", "-]"}, true)
                     : std::string(moitie, ' ');
    sortie += ' ';
    sortie += marque;
    sortie += ' ';
    if (j >= 0) {
      sortie += numerote(j);
      sortie += Colonne(droite, texte, marque == ' ' || !o.couleurs ? nullptr : kVert,
                        {o.couleurs ? kVertInverse : nullptr, "{+", "+}"}, false);
    }
    while (!sortie.empty() && sortie.back() == ' ') sortie.pop_back();
    sortie += '\n';
  };
  auto entiere = [](std::string_view l) { return std::vector<Segment>{{l, false}}; };
  for (const Bloc& bloc : GroupeEnBlocs(d.modifications, static_cast<int>(a.lignes.size()),
                                        static_cast<int>(b.lignes.size()), o.contexte)) {
    AjouteEnTeteBloc(sortie, bloc, o);
    int i = bloc.ancienDebut, j = bloc.nouveauDebut;
    auto contexteJusquA = [&](int fin) {
      for (; i < fin; ++i, ++j)
        ligne(i, j, ' ', entiere(a.lignes[static_cast<size_t>(i)]),
              entiere(b.lignes[static_cast<size_t>(j)]));
    };
    for (size_t k = bloc.premiere; k <= bloc.derniere; ++k) {
      const Modification& m = d.modifications[k];
      contexteJusquA(m.ancien);
      for (int p = 0; p < std::max(m.supprimes, m.inseres); ++p) {
        const int x = p < m.supprimes ? m.ancien + p : -1;
        const int y = p < m.inseres ? m.nouveau + p : -1;
        std::vector<Segment> gauche, droite;
        if (x >= 0 && y >= 0 && o.caracteres) {
          // A changed pair: the characters that differ stand out.
          for (const Morceau& mo :
               CompareCaracteres(a.lignes[static_cast<size_t>(x)], b.lignes[static_cast<size_t>(y)],
                                 e.Reste(), distanceCaracteres)) {
            if (mo.genre != Genre::kInsere) gauche.push_back({mo.texte, mo.genre == Genre::kSupprime});
            if (mo.genre != Genre::kSupprime) droite.push_back({mo.texte, mo.genre == Genre::kInsere});
          }
        } else {
          if (x >= 0) gauche = entiere(a.lignes[static_cast<size_t>(x)]);
          if (y >= 0) droite = entiere(b.lignes[static_cast<size_t>(y)]);
        }
        ligne(x, y, x >= 0 && y >= 0 ? '|' : x >= 0 ? '<' : '>', gauche, droite);
      }
      i = m.ancien + m.supprimes;
      j = m.nouveau + m.inseres;
    }
    contexteJusquA(bloc.ancienFin);
  }
}

size_t LargeurDuTerminal() {
  struct winsize taille {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &taille) == 0 && taille.ws_col > 0) return taille.ws_col;
  if (const char* colonnes = std::getenv("COLUMNS")) {
    const long n = std::strtol(colonnes, nullptr, 10);
    if (n > 0) return static_cast<size_t>(n);
  }
  return 80;
}

// The character distance of the changed blocks, for --distance --caracteres.
int DistanceCaracteres(const Fichier& ancien, const Fichier& nouveau, const Differences& d,
                       const Echeance& e) {
  int distance = 0;
  for (const Modification& m : d.modifications)
    CompareCaracteres(Lignes(ancien.texte, m.ancien, m.ancien + m.supprimes),
                      Lignes(nouveau.texte, m.nouveau, m.nouveau + m.inseres), e.Reste(), distance);
  return distance;
}

int Compare(const Arguments& a) {
  Options o;
  const bool tty = isatty(STDOUT_FILENO) != 0;
  o.coteACote = a.Drapeau("cote-a-cote") || (tty && !a.Drapeau("unifie"));
  o.couleurs = tty && std::getenv("NO_COLOR") == nullptr;
  o.caracteres = a.Drapeau("caracteres");
  o.contexte = static_cast<int>(a.Nombre("contexte", 3));
  o.limite = std::strtof(a.Texte("limite", "0").c_str(), nullptr);
  o.minimale = a.Drapeau("minimal");
  o.largeur =
      static_cast<size_t>(a.Nombre("largeur", o.coteACote ? static_cast<long>(LargeurDuTerminal()) : 80));
  if (a.positions.size() != 2 || o.contexte < 0 || o.contexte > 1000000 || !(o.limite >= 0) ||
      o.largeur < 20 || o.largeur > 100000) {
    Erreur(a.positions.size() != 2
               ? Tr("synchro : ANCIEN et NOUVEAU attendus (voir outils-socle synchro --help)")
               : Tr("synchro : valeur d'option hors des bornes"));
    return 2;
  }
  if (a.positions[0] == "-" && a.positions[1] == "-") {
    Erreur(Tr("synchro : l'entrée standard ne peut servir qu'une fois"));
    return 2;
  }
  Fichier ancien, nouveau;
  if (!LisTexte(a.positions[0], ancien) || !LisTexte(a.positions[1], nouveau)) return 2;
  const Echeance echeance{o.limite};
  const Differences d =
      CompareLignes(ancien.texte.lignes, nouveau.texte.lignes, {o.limite, nullptr, o.minimale});
  if (d.limiteAtteinte)
    Erreur(
        Tr("synchro : limite de temps atteinte, la différence affichée n'est peut-être pas la plus courte"));
  int distanceCaracteres = 0;
  if (a.Drapeau("distance")) {
    std::printf("%d\n", o.caracteres ? DistanceCaracteres(ancien, nouveau, d, echeance) : d.distance);
  } else if (!d.modifications.empty()) {
    std::string sortie;
    if (o.coteACote) {
      EcrisCoteACote(sortie, ancien, nouveau, d, o, echeance, distanceCaracteres);
    } else {
      EcrisUnifie(sortie, ancien, nouveau, d, o, echeance, distanceCaracteres);
    }
    if (std::fwrite(sortie.data(), 1, sortie.size(), stdout) != sortie.size() || std::fflush(stdout) != 0) {
      Erreur(Tr("synchro : écriture impossible"));
      return 2;
    }
  }
  return d.modifications.empty() ? 0 : 1;
}

}  // namespace

int SynchroTextes(const std::vector<std::string>& arguments) {
  if (!arguments.empty() && (arguments[0] == "--help" || arguments[0] == "-h")) {
    std::fputs(Tr(kAideSynchro), stdout);
    return 0;
  }
  // diff's convention: 2 for any trouble, whatever it is, so that 1 always means "different".
  try {
    return Compare(Analyse(arguments, {"contexte", "limite", "largeur"}));
  } catch (const sdd::exceptions::Exception& e) {
    Erreur(e.MessageCompletTraduit().PreteUTF8());
  } catch (const std::exception& e) {
    Erreur(Texte(N_("synchro : %s"), {e.what()}));
  }
  return 2;
}

}  // namespace outils
