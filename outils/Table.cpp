// outils-socle table: build a string table from a word list, save it, and query it, in memory
// and read in place from the file.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/conteneurs/TableChaineSurDisqueNoyau.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/texte/Exception.h>

#include "Commandes.h"

namespace outils {

namespace {

const char* const kAideTable =
    N_("Usage : outils-socle table <action> ...\n"
       "\n"
       "  construis LISTE SORTIE [--version V]\n"
       "        range les mots de LISTE (UTF-8, un par ligne) dans une table de chaînes, chacun\n"
       "        avec un nombre : celui de la seconde colonne quand la ligne est « mot<TAB>nombre »,\n"
       "        sinon le numéro de la ligne ; écrit SORTIE (V : 110, par défaut, ou 100)\n"
       "  info TABLE                       version, clefs, octets\n"
       "  trouve TABLE MOT...              présence exacte de chaque mot et son nombre, dans la\n"
       "                                   table chargée en mémoire et lue sur place dans le fichier\n"
       "  cherche TABLE MOT... [--exact] [--masque M]\n"
       "        clefs correspondant au mot sans tenir compte des accents, de la casse, des\n"
       "        variantes ni des ligatures (M : bits 1 ligatures, 2 accents, 4 casse, 8 variantes)\n"
       "  prefixe TABLE PREFIXE... [--limite N]   clefs commençant par le préfixe\n"
       "  joker TABLE MOTIF... [--limite N]       clefs du motif (* ? _ # &)\n"
       "  anagrammes TABLE MOT... [--partiels] [--limite N]\n"
       "        clefs faites des lettres du mot (--partiels : d'une partie d'entre elles)\n"
       "  corrige TABLE MOT... [--limite N] [--cout C]\n"
       "        corrections probables (C : coût maximal, 10 par faute ordinaire ; 20 par défaut)\n");

using Table = sdd::TableChaine<uint32_t>;
using TableSurDisque = sdd::TableChaineSurDisque<uint32_t>;

// A line "mot<TAB>nombre", or "mot" alone (the number is then the line's).
bool AnalyseLigne(const std::string& ligne, uint64_t numero, std::string& mot, uint32_t& nombre) {
  const size_t tab = ligne.find('\t');
  if (tab == std::string::npos) {
    mot = ligne;
    nombre = static_cast<uint32_t>(numero);
    return true;
  }
  mot = ligne.substr(0, tab);
  const std::string texte = ligne.substr(tab + 1);
  char* fin = nullptr;
  errno = 0;
  const unsigned long long n = std::strtoull(texte.c_str(), &fin, 10);
  if (texte.empty() || texte[0] == '-' || *fin != '\0' || errno == ERANGE || n > UINT32_MAX) return false;
  nombre = static_cast<uint32_t>(n);
  return true;
}

int Construis(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("table construis : LISTE et SORTIE attendues"));
    return 2;
  }
  const long version = a.Nombre("version", sdd::TableChaineNoyau::kVersionTableTrie);
  if (version != sdd::TableChaineNoyau::kVersionTableTrie &&
      version != sdd::TableChaineNoyau::kVersionTableTrie100) {
    Erreur(Tr("table construis : --version 110 ou 100"));
    return 2;
  }
  std::string contenu;
  if (!LisFichier(a.positions[0], contenu)) return 1;
  auto t0 = Horloge::now();
  Table table;
  uint64_t numero = 0, lignes = 0, doublons = 0;
  size_t debut = 0;
  while (debut < contenu.size()) {
    size_t fin = contenu.find('\n', debut);
    if (fin == std::string::npos) fin = contenu.size();
    std::string ligne = contenu.substr(debut, fin - debut);
    debut = fin + 1;
    ++numero;
    if (!ligne.empty() && ligne.back() == '\r') ligne.pop_back();
    if (ligne.empty()) continue;
    std::string mot;
    uint32_t nombre = 0;
    if (!AnalyseLigne(ligne, numero, mot, nombre)) {
      Erreur(Texte(N_("%s:%s : nombre de 0 à 4294967295 attendu après la tabulation"),
                   {a.positions[0], std::to_string(numero)}));
      return 1;
    }
    if (mot.empty()) {
      Erreur(Texte(N_("%s:%s : mot vide avant la tabulation"), {a.positions[0], std::to_string(numero)}));
      return 1;
    }
    ++lignes;
    // A word met again keeps its last number.
    const sdd::ChaineN clef(mot.data(), sdd::ChaineN::kCodageUTF8, mot.size());
    doublons += table.Trouve(clef) != nullptr;
    table.Mets(clef, nombre);
  }
  const double construction = MsDepuis(t0);
  t0 = Horloge::now();
  sdd::FichierRemplacant sortie(a.positions[1].c_str());
  table.Ecris(sortie, static_cast<uint16_t>(version));
  const uint64_t octets = sortie.DonnePosition();
  sortie.Ferme();
  std::printf(
      Tr("%llu lignes, %llu clefs (%llu en double) rangées en %.1f ms ; écrites en %.1f ms : %llu octets\n"),
      static_cast<unsigned long long>(lignes), static_cast<unsigned long long>(table.Taille()),
      static_cast<unsigned long long>(doublons), construction, MsDepuis(t0),
      static_cast<unsigned long long>(octets));
  return 0;
}

int Info(const Arguments& a) {
  if (a.positions.size() != 1) {
    Erreur(Tr("table info : TABLE attendue"));
    return 2;
  }
  sdd::FichierMMap fichier{UniChemin(a.positions[0].c_str())};
  const TableSurDisque disque(&fichier);
  std::printf(Tr("version  %u\n"), disque.Version());
  std::printf(Tr("clefs    %u\n"), disque.Taille());
  std::printf(Tr("octets   %llu\n"), static_cast<unsigned long long>(disque.DonneTailleTotal()));
  return 0;
}

// Exact lookups: the table loaded, then the file read in place; both must agree.
int Trouve(const Arguments& a) {
  sdd::FichierMMap fichier{UniChemin(a.positions[0].c_str())};
  auto t0 = Horloge::now();
  Table table;
  table.Lis(fichier);
  const double chargement = MsDepuis(t0);
  t0 = Horloge::now();
  const TableSurDisque disque(&fichier);
  const double ouverture = MsDepuis(t0);
  std::printf(Tr("chargée en mémoire en %.1f ms ; ouverte sur place en %.3f ms\n"), chargement, ouverture);
  int code = 0;
  for (size_t i = 1; i < a.positions.size(); ++i) {
    const sdd::ChaineN mot(a.positions[i].c_str());
    t0 = Horloge::now();
    const uint32_t* enMemoire = table.Trouve(mot);
    const double tMemoire = MsDepuis(t0) * 1000;
    uint32_t surDisque = 0;
    t0 = Horloge::now();
    const bool trouve = disque.Trouve(mot, &surDisque);
    const double tDisque = MsDepuis(t0) * 1000;
    const std::string reponse = enMemoire != nullptr ? std::to_string(*enMemoire) : Tr("absent");
    std::printf(Tr("%s\t%s\t(mémoire %.1f µs, fichier %.1f µs)\n"), Aligne(a.positions[i], 20).c_str(),
                reponse.c_str(), tMemoire, tDisque);
    if (trouve != (enMemoire != nullptr) || (trouve && surDisque != *enMemoire)) {
      Erreur(Texte(N_("« %s » : le fichier lu sur place ne répond pas comme la table chargée"),
                   {a.positions[i]}));
      code = 1;
    }
  }
  return code;
}

void Affiche(const sdd::TableChaineNoyau::_Forme& f, bool rangs) {
  const uint32_t nombre = Table::DonneCharge(f);
  if (rangs) {
    std::printf(Tr("  %s %-10u rangs %u,%u détail 0x%X\n"), Aligne(U8(f.forme), 30).c_str(), nombre, f.rang1,
                f.rang2, f.detail);
  } else {
    std::printf("  %s %u\n", Aligne(U8(f.forme), 30).c_str(), nombre);
  }
}

int Requetes(const std::string& action, const Arguments& a) {
  sdd::FichierMMap fichier{UniChemin(a.positions[0].c_str())};
  Table table;
  table.Lis(fichier);
  const auto limite = static_cast<uint32_t>(a.Nombre("limite", 0));
  for (size_t i = 1; i < a.positions.size(); ++i) {
    const sdd::ChaineN mot(a.positions[i].c_str());
    const auto t0 = Horloge::now();
    if (action == "corrige") {
      sdd::ListeC<sdd::TableChaineNoyau::_FormeProbabiliste> formes;
      table.FormesProbabilistes(mot, {}, limite == 0 ? 10 : limite,
                                static_cast<uint32_t>(a.Nombre("cout", 0)), formes);
      std::printf(Tr("« %s » : %llu correction(s) en %.3f ms\n"), a.positions[i].c_str(),
                  static_cast<unsigned long long>(formes.Taille()), MsDepuis(t0));
      for (const auto& f : formes) {
        std::printf(Tr("  %s %-10u coût %-3u probabilité %.3g\n"), Aligne(U8(f.forme), 30).c_str(),
                    Table::DonneCharge(f), f.cout, f.probabilite);
      }
      continue;
    }
    sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
    bool complet = true;
    if (action == "cherche") {
      const sdd::OptionRecherche options(a.Drapeau("exact") ? sdd::OptionRecherche::kExactSeulement : 0,
                                         static_cast<uint32_t>(a.Nombre("masque", 0)));
      complet = table.FormesPour(mot, options, limite, formes);
    } else if (action == "prefixe") {
      complet = table.FormesCommencant(mot, {}, limite, formes);
    } else if (action == "joker") {
      complet = table.FormesPourJoker(mot, limite, 0, formes);
    } else {  // anagrammes
      const sdd::OptionRecherche options(a.Drapeau("partiels") ? sdd::OptionRecherche::kSousAnagrammes : 0);
      complet = table.FormesPourAnagrammes(mot, options, limite, formes);
    }
    std::printf(complet ? Tr("« %s » : %llu clef(s) en %.3f ms\n")
                        : Tr("« %s » : %llu clef(s) (limite atteinte) en %.3f ms\n"),
                a.positions[i].c_str(), static_cast<unsigned long long>(formes.Taille()), MsDepuis(t0));
    for (const auto& f : formes) Affiche(f, action == "cherche");
  }
  return 0;
}

}  // namespace

int TableDeChaines(const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
    return AfficheAide(kAideTable, !arguments.empty());
  }
  const std::string action = arguments[0];
  const Arguments a =
      Analyse({arguments.begin() + 1, arguments.end()}, {"version", "limite", "cout", "masque"});
  try {
    if (action == "construis") return Construis(a);
    if (action == "info") return Info(a);
    if (action == "trouve" || action == "cherche" || action == "prefixe" || action == "joker" ||
        action == "anagrammes" || action == "corrige") {
      if (a.positions.size() < 2) {
        Erreur(Texte(N_("table %s : TABLE et au moins un argument attendus"), {action}));
        return 2;
      }
      return action == "trouve" ? Trouve(a) : Requetes(action, a);
    }
  } catch (const sdd::exceptions::Exception& e) {
    Erreur(e.MessageCompletTraduit().PreteUTF8());
    return 1;
  }
  return ActionInconnue("table", action);
}

}  // namespace outils
