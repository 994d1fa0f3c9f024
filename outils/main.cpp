// outils-socle: the command-line face of the library.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include <outils_socle/langues/Langues.h>
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include "Commandes.h"

using outils::Tr;

namespace {

constexpr const char* kVersion = OUTILS_SOCLE_VERSION;

const char* const kAide =
    N_("Usage : outils-socle <commande> [options]\n"
       "\n"
       "Commandes :\n"
       "  convertis   convertit un texte d'un codage à un autre (comme iconv)\n"
       "  lexique     compile une liste de mots en automate minimal et l'interroge\n"
       "  huffman     construit le code de Huffman d'un texte, code et décode avec lui\n"
       "  blocs       range une liste de mots dans des blocs compressés et les relit\n"
       "  table       range une liste de mots dans une table de chaînes et l'interroge\n"
       "  synchro     compare deux textes ligne à ligne, comme diff\n"
       "  jours       compte les jours entre deux dates à travers les réformes de 1582 et 1752\n"
       "  xml         vérifie des documents XML (avec un schéma), les réindente, montre un schéma\n"
       "  demo        fait l'aller-retour de la liste de mots française dans les sept codages\n"
       "\n"
       "Options :\n"
       "  -h, --help      affiche cette aide ; « outils-socle <commande> --help » aide sur une commande\n"
       "  -V, --version   affiche la version\n");

}  // namespace

int main(int argc, char** argv) {
  // The user's language, as every gettext program does: French unless the environment asks for
  // another language we have a catalogue for.
  sdd::Langues::ChoisisLangue(sdd::Langues::LangueUtilisateur());
  const std::string aide = Tr(kAide);
  if (argc < 2) {
    std::fputs(aide.c_str(), stderr);
    return 2;
  }
  const std::string commande = argv[1];
  const std::vector<std::string> arguments(argv + 2, argv + argc);
  if (commande == "-h" || commande == "--help" || commande == "aide") {
    std::fputs(aide.c_str(), stdout);
    return 0;
  }
  if (commande == "-V" || commande == "--version") {
    std::printf("outils-socle %s\n", kVersion);
    std::fputs(Tr("Copyright (c) 2026 Les auteurs d'OutilsSocle\n"
                  "Licence MIT (SPDX-License-Identifier: MIT) : <https://opensource.org/licenses/MIT>\n"
                  "Ce programme est libre : vous pouvez le copier, le modifier et le redistribuer.\n"
                  "Il est fourni sans aucune garantie, dans les limites permises par la loi.\n"),
               stdout);
    return 0;
  }
  // Failures the commands leave to us: the library's exceptions and the file alerts (a
  // standard exception), reported on one line with exit status 1.
  try {
    if (commande == "convertis") return outils::Convertis(arguments);
    if (commande == "lexique") return outils::Lexique(arguments);
    if (commande == "huffman") return outils::Huffman(arguments);
    if (commande == "blocs") return outils::Blocs(arguments);
    if (commande == "table") return outils::TableDeChaines(arguments);
    if (commande == "xml") return outils::Xml(arguments);
    if (commande == "synchro") return outils::SynchroTextes(arguments);
    if (commande == "jours") return outils::Jours(arguments);
    if (commande == "demo") return outils::Demo(arguments);
  } catch (const sdd::exceptions::Exception& e) {
    outils::Erreur(e.MessageCompletTraduit().DonneStdString());
    return 1;
  } catch (const std::exception& e) {
    outils::Erreur(e.what());
    return 1;
  }
  outils::Erreur(outils::Texte(N_("commande inconnue : « %s » (voir outils-socle --help)"), {commande}));
  return 2;
}
