// outils-socle lexique: compile a word list and query the compiled lexicon.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/automates/DossiersLexiques.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/texte/Exception.h>

#include "Commandes.h"

namespace outils {

namespace {

const char* const kAideLexique =
    N_("Usage : outils-socle lexique <action> ...\n"
       "\n"
       "  compile LISTE SORTIE [--parents] [--partie N]\n"
       "        compile une liste de mots (UTF-8, un par ligne) en automate minimal\n"
       "  info LEXIQUE                    version, formes, états, transitions, octets, adresses\n"
       "  cherche LEXIQUE MOT... [--exact] [--masque M]\n"
       "        formes correspondant au mot, sans tenir compte des accents, de la casse,\n"
       "        des variantes ni des ligatures (M : bits 1 ligatures, 2 accents, 4 casse,\n"
       "        8 variantes), classées, avec leur numéro\n"
       "  prefixe LEXIQUE PREFIXE... [--limite N]   formes commençant par le préfixe\n"
       "  joker LEXIQUE MOTIF [--limite N]          formes du motif (* ? _ # &)\n"
       "  corrige LEXIQUE MOT... [--limite N] [--cout C]\n"
       "        corrections probables (C : coût maximal, 10 par faute ordinaire ; 20 par défaut)\n"
       "  verifie LEXIQUE TEXTE [--suggestions N]\n"
       "        les mots du texte (UTF-8) que le lexique ne connaît pas, avec leur ligne, leur\n"
       "        colonne et N corrections (3 par défaut) ; code de retour 1 s'il y en a\n"
       "  forme LEXIQUE NUMERO...         la forme de chaque numéro\n"
       "  numero LEXIQUE MOT...           le numéro de chaque forme (-1 si absente)\n"
       "  installe LISTE LANGUE           compile la liste dans le dossier des lexiques de\n"
       "                                  l'utilisateur, où les correcteurs d'Enchant le trouvent\n"
       "                                  pour la langue (fr, de, es_ES...)\n"
       "  dot LISTE SORTIE [--svg]        le texte Graphviz de l'automate de la liste\n"
       "                                  (--svg : passe aussi par dot, s'il est installé)\n");

// A language tag as Enchant writes them: a language, then optionally "_" and a region ("fr",
// "fr_CA", "de_DE"); it names a file, so nothing else is accepted.
bool EtiquetteDeLangue(const std::string& etiquette) {
  const auto lettres = [&](size_t debut, size_t fin, bool majuscules) {
    for (size_t i = debut; i < fin; ++i) {
      const char c = etiquette[i];
      if (!(majuscules ? (c >= 'A' && c <= 'Z') : (c >= 'a' && c <= 'z'))) return false;
    }
    return true;
  };
  const size_t coupure = etiquette.find('_');
  const size_t langue = std::min(coupure, etiquette.size());
  if (langue < 2 || langue > 3 || !lettres(0, langue, false)) return false;
  if (coupure == std::string::npos) return true;
  return etiquette.size() - coupure - 1 == 2 && lettres(coupure + 1, etiquette.size(), true);
}

int Installe(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("lexique installe : LISTE et LANGUE attendues"));
    return 2;
  }
  const std::string& langue = a.positions[1];
  if (!EtiquetteDeLangue(langue)) {
    Erreur(Texte(N_("lexique installe : « %s » n'est pas une langue (fr, de, es_ES...)"), {langue}));
    return 2;
  }
  const std::string dossier = sdd::DossierLexiquesUtilisateur();
  if (dossier.empty()) {
    Erreur(Tr("lexique installe : ni XDG_DATA_HOME ni HOME ne donnent de dossier"));
    return 1;
  }
  std::error_code erreur;
  std::filesystem::create_directories(dossier, erreur);
  if (erreur) {
    Erreur(Texte(N_("impossible de créer « %s » : %s"), {dossier, erreur.message()}));
    return 1;
  }
  sdd::ListeT<sdd::ChaineN> mots;
  if (!LisListe(a.positions[0], mots)) return 1;
  if (mots.Taille() == 0) {
    Erreur(Texte(N_("lexique installe : « %s » ne contient aucun mot"), {a.positions[0]}));
    return 1;
  }
  const std::string chemin = dossier + "/" + langue + ".aut";
  sdd::CompilateurAutomateAcycliqueMin compilateur(mots);
  sdd::FichierRemplacant sortie(chemin.c_str());  // a dictionary open elsewhere keeps its old file
  compilateur.FormeCompactay(sortie);
  sortie.Ferme();
  std::printf(Tr("%s : %llu formes pour la langue %s\n"), chemin.c_str(),
              static_cast<unsigned long long>(compilateur.NbFormes()), langue.c_str());
  return 0;
}

int Compile(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("lexique compile : LISTE et SORTIE attendues"));
    return 2;
  }
  sdd::ListeT<sdd::ChaineN> mots;
  auto t0 = Horloge::now();
  if (!LisListe(a.positions[0], mots)) return 1;
  const double lecture = MsDepuis(t0);
  Barre barre;
  const bool grande = mots.Taille() >= 50000 && isatty(STDERR_FILENO);
  t0 = Horloge::now();
  sdd::CompilateurAutomateAcycliqueMin compilateur(
      mots, a.Drapeau("parents") ? sdd::CompilateurAutomateAcycliqueMin::InclureNoeudsParents : 0,
      static_cast<uint64_t>(a.Nombre("partie", -1)), grande ? &barre : nullptr);
  const double compilation = MsDepuis(t0);
  t0 = Horloge::now();
  sdd::FichierRemplacant sortie(a.positions[1].c_str());
  const uint64_t octets = compilateur.FormeCompactay(sortie);
  sortie.Ferme();
  const double ecriture = MsDepuis(t0);
  std::printf(Tr("%llu mots lus (%.1f ms), %llu formes, %llu états, %llu transitions\n"),
              static_cast<unsigned long long>(mots.Taille()), lecture,
              static_cast<unsigned long long>(compilateur.NbFormes()),
              static_cast<unsigned long long>(compilateur.NbEtats()),
              static_cast<unsigned long long>(compilateur.NbTransitions()));
  if (compilateur.NbParties() == 0) {
    std::printf(Tr("liste vide : lexique vide écrit en %.1f ms (%llu octets)\n"), ecriture,
                static_cast<unsigned long long>(octets));
    return 0;
  }
  const uint64_t parties = compilateur.NbParties();
  std::printf(
      TrPluriel("compilation %.1f ms (construction de %llu partie et fusion %.1f ms), écriture %.1f ms : "
                "%llu octets\n",
                "compilation %.1f ms (construction de %llu parties et fusion %.1f ms), écriture %.1f ms : "
                "%llu octets\n",
                parties),
      compilation, static_cast<unsigned long long>(parties), compilateur.DonneTempsInsertion() * 1000,
      ecriture, static_cast<unsigned long long>(octets));
  return 0;
}

int Info(const Arguments& a) {
  if (a.positions.size() != 1) {
    Erreur(Tr("lexique info : LEXIQUE attendu"));
    return 2;
  }
  sdd::AutomateAcycliqueMin automate(UniChemin(a.positions[0].c_str()));
  std::printf(Tr("version            %d\n"), automate.Version());
  std::printf(Tr("formes             %u\n"), automate.NombreDeFormes());
  std::printf(Tr("octets             %llu\n"), static_cast<unsigned long long>(automate.DonneTailleTotal()));
  std::printf(Tr("adresses           %d octets\n"), automate.LargeurAdresse());
  std::printf(Tr("plus grand compte  %u\n"), automate.PlusGrandCompte());
  uint64_t etats = 0, transitions = 0;
  automate.Statistiques(&etats, &transitions);
  std::printf(Tr("états              %llu\n"), static_cast<unsigned long long>(etats));
  std::printf(Tr("transitions        %llu\n"), static_cast<unsigned long long>(transitions));
  return 0;
}

void AfficheForme(const sdd::AutomateAcycliqueMin::_Forme& f, bool rangs) {
  if (rangs) {
    std::printf(Tr("  %s n° %-8u rangs %u,%u détail 0x%X\n"), Aligne(U8(f.forme), 30).c_str(), f.numero,
                f.rang1, f.rang2, f.detail);
  } else {
    std::printf(Tr("  %s n° %u\n"), Aligne(U8(f.forme), 30).c_str(), f.numero);
  }
}

int Requetes(const std::string& action, const Arguments& a) {
  if (a.positions.size() < 2) {
    Erreur(Texte(N_("lexique %s : LEXIQUE et au moins un argument attendus"), {action}));
    return 2;
  }
  sdd::AutomateAcycliqueMin automate(UniChemin(a.positions[0].c_str()));
  const auto limite = static_cast<uint32_t>(a.Nombre("limite", 0));
  for (size_t i = 1; i < a.positions.size(); ++i) {
    const sdd::ChaineN mot(a.positions[i].c_str());
    const auto t0 = Horloge::now();
    if (action == "cherche") {
      sdd::ListeC<sdd::AutomateAcycliqueMin::_Forme> formes;
      sdd::AutomateAcycliqueMin::_OptionRecherche options(
          a.Drapeau("exact") ? sdd::AutomateAcycliqueMin::_OptionRecherche::kExactSeulement : 0,
          static_cast<uint32_t>(a.Nombre("masque", 0)));
      automate.FormesPour(mot, formes, options);
      std::printf(Tr("« %s » : %llu forme(s) en %.3f ms\n"), a.positions[i].c_str(),
                  static_cast<unsigned long long>(formes.Taille()), MsDepuis(t0));
      for (const auto& f : formes) AfficheForme(f, true);
    } else if (action == "prefixe") {
      sdd::ListeC<sdd::AutomateAcycliqueMin::_Forme> formes;
      const bool complet = automate.FormesCommencant(mot, formes, {}, limite);
      std::printf(complet ? Tr("« %s… » : %llu forme(s) en %.3f ms\n")
                          : Tr("« %s… » : %llu forme(s) (limite atteinte) en %.3f ms\n"),
                  a.positions[i].c_str(), static_cast<unsigned long long>(formes.Taille()), MsDepuis(t0));
      for (const auto& f : formes) AfficheForme(f, false);
    } else if (action == "joker") {
      sdd::ListeC<sdd::AutomateAcycliqueMin::_Forme> formes;
      automate.FormesPourJoker(mot, formes, 0, limite);
      std::printf(Tr("« %s » : %llu forme(s) en %.3f ms\n"), a.positions[i].c_str(),
                  static_cast<unsigned long long>(formes.Taille()), MsDepuis(t0));
      for (const auto& f : formes) AfficheForme(f, false);
    } else if (action == "corrige") {
      sdd::ListeC<sdd::AutomateAcycliqueMin::_FormeProbabiliste> formes;
      automate.FormesProbabilistes(mot, {}, limite == 0 ? 10 : limite,
                                   static_cast<uint32_t>(a.Nombre("cout", 0)), nullptr, formes);
      std::printf(Tr("« %s » : %llu correction(s) en %.3f ms\n"), a.positions[i].c_str(),
                  static_cast<unsigned long long>(formes.Taille()), MsDepuis(t0));
      for (const auto& f : formes) {
        std::printf(Tr("  %s n° %-8u coût %-3u probabilité %.3g\n"), Aligne(U8(f.forme), 30).c_str(),
                    f.numero, f.cout, f.probabilite);
      }
    } else if (action == "forme") {
      sdd::AutomateAcycliqueMin::_Forme f;
      char* fin = nullptr;
      const unsigned long numero = std::strtoul(a.positions[i].c_str(), &fin, 10);
      if (fin == a.positions[i].c_str() || *fin != '\0' || numero > UINT32_MAX) {
        Erreur(Texte(N_("lexique forme : numéro attendu, pas « %s »"), {a.positions[i]}));
        return 2;
      }
      if (automate.FormePourNo(static_cast<uint32_t>(numero), f)) {
        std::printf("%lu\t%s\n", numero, U8(f.forme).c_str());
      } else {
        std::printf(Tr("%lu\t(aucune forme : le lexique en a %u)\n"), numero, automate.NombreDeFormes());
      }
    } else {  // numero
      std::printf("%s\t%lld\n", a.positions[i].c_str(), static_cast<long long>(automate.NoPourMot(mot)));
    }
  }
  return 0;
}

int Dot(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("lexique dot : LISTE et SORTIE attendues"));
    return 2;
  }
  sdd::ListeT<sdd::ChaineN> mots;
  if (!LisListe(a.positions[0], mots)) return 1;
  sdd::CompilateurAutomateAcycliqueMin compilateur(mots);
  const sdd::ChaineN texte = compilateur.FichierDot();
  sdd::FichierRemplacant sortie(a.positions[1].c_str());
  uint64_t n = 0;
  const char* octets = texte.PreteUTF8(0, nullptr, &n);
  sortie.Mets(reinterpret_cast<const uint8_t*>(octets), n);
  sortie.Ferme();
  std::printf(Tr("%s : %llu états\n"), a.positions[1].c_str(),
              static_cast<unsigned long long>(compilateur.NbEtats()));
  if (a.Drapeau("svg")) {
    if (std::system("command -v dot >/dev/null 2>&1") != 0) {
      Erreur(Tr("Graphviz (dot) n'est pas installé : pas de SVG"));
      return 1;
    }
    const std::string svg = a.positions[1] + ".svg";
    const std::string commande = "dot -Tsvg '" + a.positions[1] + "' -o '" + svg + "'";
    if (std::system(commande.c_str()) != 0) {
      Erreur(Tr("dot a échoué"));
      return 1;
    }
    std::printf("%s\n", svg.c_str());
  }
  return 0;
}

}  // namespace

int DemoLexique(const std::string& liste) {
  sdd::ListeT<sdd::ChaineN> mots;
  if (!LisListe(liste, mots)) return 1;
  std::printf(Tr("\nLexique : compilation de %llu mots en automate minimal\n"),
              static_cast<unsigned long long>(mots.Taille()));
  auto t0 = Horloge::now();
  sdd::CompilateurAutomateAcycliqueMin compilateur(mots);
  const std::string chemin = "/tmp/outils-socle-demo-" + std::to_string(getpid()) + ".aut";
  {
    sdd::FichierAvecTampon sortie(chemin.c_str(), sdd::Fichier::eEcriture);
    compilateur.FormeCompactay(sortie);
    sortie.Ferme();
  }
  const double compilation = MsDepuis(t0);
  sdd::AutomateAcycliqueMin automate{UniChemin(chemin.c_str())};
  std::remove(chemin.c_str());  // the mapping keeps the bytes
  std::printf(Tr("  compilé et écrit en %.0f ms : %llu octets, %llu états, %llu transitions, %u formes\n"),
              compilation, static_cast<unsigned long long>(automate.DonneTailleTotal()),
              static_cast<unsigned long long>(compilateur.NbEtats()),
              static_cast<unsigned long long>(compilateur.NbTransitions()), automate.NombreDeFormes());

  // Every word looked up, then turned into its number and back.
  const sdd::ListeT<sdd::ChaineN>& formes = compilateur.Mots();
  t0 = Horloge::now();
  uint64_t trouves = 0;
  for (const auto& m : formes) trouves += automate.NoPourMot(m) >= 0;
  const double exact = MsDepuis(t0) * 1e6 / static_cast<double>(formes.Taille());
  t0 = Horloge::now();
  sdd::AutomateAcycliqueMin::_Forme f;
  uint64_t rendus = 0;
  for (uint32_t n = 0; n < automate.NombreDeFormes(); ++n) rendus += automate.FormePourNo(n, f);
  const double parNumero = MsDepuis(t0) * 1e6 / automate.NombreDeFormes();
  t0 = Horloge::now();
  sdd::ListeC<sdd::AutomateAcycliqueMin::_Forme> resultats;
  for (const auto& m : formes) {
    resultats.Vide();
    automate.FormesPour(m, resultats);
  }
  const double insensible = MsDepuis(t0) * 1e6 / static_cast<double>(formes.Taille());
  std::printf(Tr("  mot → numéro : %llu/%llu trouvés, %.0f ns par mot\n"),
              static_cast<unsigned long long>(trouves), static_cast<unsigned long long>(formes.Taille()),
              exact);
  std::printf(Tr("  numéro → mot : %llu formes rendues, %.0f ns par numéro\n"),
              static_cast<unsigned long long>(rendus), parNumero);
  std::printf(Tr("  recherche insensible (accents, casse, ligatures) : %.0f ns par mot\n"), insensible);

  auto montre = [](const char* titre, const std::string& requete, double ms, const auto& liste, size_t max) {
    std::printf(Tr("  %s « %s » : %llu en %.3f ms :"), Tr(titre), requete.c_str(),
                static_cast<unsigned long long>(liste.Taille()), ms);
    size_t i = 0;
    for (const auto& x : liste) {
      if (i++ == max) {
        std::printf(" …");
        break;
      }
      std::printf(" %s", U8(x.forme).c_str());
    }
    std::printf("\n");
  };
  for (const char* mot : {"ETE", "coeur", "Noel"}) {
    resultats.Vide();
    t0 = Horloge::now();
    automate.FormesPour(sdd::ChaineN(mot), resultats);
    montre(N_("insensible"), mot, MsDepuis(t0), resultats, 6);
  }
  resultats.Vide();
  t0 = Horloge::now();
  automate.FormesCommencant(sdd::ChaineN("anticonst"), resultats);
  montre(N_("préfixe"), "anticonst", MsDepuis(t0), resultats, 6);
  resultats.Vide();
  t0 = Horloge::now();
  automate.FormesPourJoker(sdd::ChaineN("*ph?nt*"), resultats);
  montre(N_("joker"), "*ph?nt*", MsDepuis(t0), resultats, 6);
  for (const char* mot : {"apeler", "chevaus", "bibliotheque", "conaissance"}) {
    sdd::ListeC<sdd::AutomateAcycliqueMin::_FormeProbabiliste> corrections;
    t0 = Horloge::now();
    automate.FormesProbabilistes(sdd::ChaineN(mot), {}, 5, 0, nullptr, corrections);
    montre(N_("corrections"), mot, MsDepuis(t0), corrections, 5);
  }
  return trouves == formes.Taille() && rendus == formes.Taille() ? 0 : 1;
}

int Lexique(const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
    return AfficheAide(kAideLexique, !arguments.empty());
  }
  const std::string action = arguments[0];
  const Arguments a = Analyse({arguments.begin() + 1, arguments.end()},
                              {"partie", "limite", "cout", "masque", "suggestions"});
  try {
    if (action == "compile") return Compile(a);
    if (action == "info") return Info(a);
    if (action == "dot") return Dot(a);
    if (action == "installe") return Installe(a);
    if (action == "verifie") return VerifieTexte(a);
    if (action == "cherche" || action == "prefixe" || action == "joker" || action == "corrige" ||
        action == "forme" || action == "numero") {
      return Requetes(action, a);
    }
  } catch (const sdd::exceptions::Exception& e) {
    Erreur(e.MessageCompletTraduit().PreteUTF8());
    return 1;
  }
  return ActionInconnue("lexique", action);
}

}  // namespace outils
