// outils-socle convertis: re-encodes a file or standard input, through ChaineN.
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/texte/ChaineN.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <sstream>

#include "Commandes.h"

namespace outils {

namespace {

using C = sdd::ChaineN;

struct NomCodage {
  const char* nom;
  C::Codage codage;
};

// The first name of each encoding is the one shown to users.
const NomCodage kNoms[] = {
    {"UTF-8", C::kCodageUTF8},          {"UTF8", C::kCodageUTF8},
    {"UTF-16LE", C::kCodageUTF16LE},    {"UTF16LE", C::kCodageUTF16LE},
    {"UTF-16BE", C::kCodageUTF16BE},    {"UTF16BE", C::kCodageUTF16BE},
    {"MacRoman", C::kCodageMacRoman},   {"Macintosh", C::kCodageMacRoman},
    {"Mac", C::kCodageMacRoman},        {"Latin-9", C::kCodageLatin9},
    {"Latin9", C::kCodageLatin9},       {"ISO-8859-15", C::kCodageLatin9},
    {"CP1252", C::kCodageWinLatin1},    {"Windows-1252", C::kCodageWinLatin1},
    {"WinLatin1", C::kCodageWinLatin1}, {"CP850", C::kCodageDOS},
    {"IBM850", C::kCodageDOS},          {"DOS", C::kCodageDOS},
};

bool MemeNom(const std::string& a, const char* b) {
  return a.size() == std::strlen(b) &&
         std::equal(a.begin(), a.end(), b, [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

const char* const kAide =
    N_("Usage : outils-socle convertis [-f CODAGE] [-t CODAGE] [-o SORTIE] [FICHIER]\n"
       "\n"
       "Convertit FICHIER (ou l'entrée standard, ou « - ») du codage -f au codage -t et écrit le\n"
       "résultat sur la sortie standard ou dans SORTIE. Les octets mal formés en UTF-8 deviennent\n"
       "U+FFFD ; les caractères que le codage d'arrivée ne connaît pas deviennent « ? », et leur\n"
       "nombre est signalé sur l'erreur standard.\n"
       "\n"
       "Options :\n"
       "  -f, --de CODAGE       codage d'origine (défaut : UTF-8)\n"
       "  -t, --vers CODAGE     codage d'arrivée (défaut : UTF-8)\n"
       "  -o, --sortie FICHIER  fichier de sortie (défaut : sortie standard)\n"
       "  -h, --help            affiche cette aide\n"
       "\n"
       "Codages (sans distinction de casse) : ");

}  // namespace

std::optional<C::Codage> CodageDepuisNom(const std::string& nom) {
  for (const NomCodage& n : kNoms)
    if (MemeNom(nom, n.nom)) return n.codage;
  return std::nullopt;
}

const char* NomDuCodage(C::Codage codage) {
  for (const NomCodage& n : kNoms)
    if (n.codage == codage) return n.nom;
  return "?";
}

std::string NomsDesCodages() {
  std::string noms;
  for (const NomCodage& n : kNoms) noms += (noms.empty() ? "" : ", ") + std::string(n.nom);
  return noms;
}

int Convertis(const std::vector<std::string>& arguments) {
  C::Codage de = C::kCodageUTF8, vers = C::kCodageUTF8;
  std::string entree = "-", sortie;
  bool entreeVue = false;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& a = arguments[i];
    if (a == "-h" || a == "--help") {
      std::cout << Tr(kAide) << NomsDesCodages() << ".\n";
      return 0;
    }
    if (a == "-f" || a == "--de" || a == "-t" || a == "--vers" || a == "-o" || a == "--sortie") {
      if (i + 1 == arguments.size()) {
        Erreur(Texte(N_("l'option %s attend une valeur"), {a}));
        return 2;
      }
      const std::string& valeur = arguments[++i];
      if (a == "-o" || a == "--sortie") {
        sortie = valeur;
        continue;
      }
      const auto codage = CodageDepuisNom(valeur);
      if (!codage) {
        Erreur(Texte(N_("codage inconnu : « %s » (codages : %s)"), {valeur, NomsDesCodages()}));
        return 2;
      }
      (a == "-f" || a == "--de" ? de : vers) = *codage;
    } else if (a.size() > 1 && a[0] == '-') {
      Erreur(Texte(N_("option inconnue : %s (voir outils-socle %s --help)"), {a, "convertis"}));
      return 2;
    } else if (entreeVue) {
      Erreur(Tr("un seul fichier d'entrée est accepté"));
      return 2;
    } else {
      entree = a;
      entreeVue = true;
    }
  }

  std::string octets;
  if (!LisFichier(entree, octets)) return 1;
  const C texte(octets.data(), de, octets.size());
  const std::string resultat = texte.Encode(vers);
  const uint64_t remplaces = texte.CompteNonRepresentables(vers);

  if (sortie.empty()) {
    std::cout.write(resultat.data(), static_cast<std::streamsize>(resultat.size()));
    std::cout.flush();
    if (!std::cout) {
      Erreur(Tr("écriture impossible sur la sortie standard"));
      return 1;
    }
  } else {
    sdd::FichierRemplacant f(sortie.c_str());  // failures reach main() with path and reason
    f.Mets(reinterpret_cast<const uint8_t*>(resultat.data()), resultat.size());
    f.Ferme();
  }
  if (remplaces > 0 && vers == C::kCodageUTF8) {
    // Only UTF-16 input holds them: halves of surrogate pairs without their other half.
    std::fprintf(stderr,
                 TrPluriel("outils-socle: %llu unité UTF-16 changée (substituts sans leur autre moitié, "
                           "que l’UTF-8 ne sait pas écrire)\n",
                           "outils-socle: %llu unités UTF-16 changées (substituts sans leur autre moitié, "
                           "que l’UTF-8 ne sait pas écrire)\n",
                           remplaces),
                 static_cast<unsigned long long>(remplaces));
  } else if (remplaces > 0) {
    std::fprintf(stderr,
                 TrPluriel("outils-socle: %llu caractère remplacé par « ? » (absent de %s)\n",
                           "outils-socle: %llu caractères remplacés par « ? » (absents de %s)\n", remplaces),
                 static_cast<unsigned long long>(remplaces), NomDuCodage(vers));
  }
  return 0;
}

}  // namespace outils
