// outils-socle demo: the French word list through every encoding and back.
#include <outils_socle/texte/ChaineN.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>

#include "Commandes.h"

namespace outils {

namespace {

using C = sdd::ChaineN;

constexpr const char* kListeParDefaut = "/usr/share/dict/french";
constexpr int kRepetitions = 5;  // the best of several runs steadies the throughput figure

const char* const kAide =
    N_("Usage : outils-socle demo [LISTE]\n"
       "\n"
       "Lit une liste de mots en UTF-8 (défaut : /usr/share/dict/french, du paquet wfrench), la\n"
       "convertit dans chacun des sept codages puis la relit, et affiche pour chaque codage la\n"
       "taille, l'exactitude de l'aller-retour, le nombre de caractères remplacés par « ? » et le\n"
       "débit de l'aller-retour ; puis la compile en lexique (automate minimal) et chronomètre\n"
       "chaque sorte de recherche.\n");

template <typename F>
double MeilleurTemps(F&& f) {
  double meilleur = 1e300;
  for (int i = 0; i < kRepetitions; ++i) {
    const auto debut = Horloge::now();
    f();
    meilleur = std::min(meilleur, std::chrono::duration<double>(Horloge::now() - debut).count());
  }
  return meilleur;
}

}  // namespace

int Demo(const std::vector<std::string>& arguments) {
  std::string chemin = kListeParDefaut;
  for (const std::string& a : arguments) {
    if (a == "-h" || a == "--help") {
      std::cout << Tr(kAide);
      return 0;
    }
    if (a.size() > 1 && a[0] == '-') {
      Erreur(Texte(N_("option inconnue : %s (voir outils-socle %s --help)"), {a, "demo"}));
      return 2;
    }
    chemin = a;
  }
  std::string utf8;
  if (!LisFichier(chemin, utf8)) return 1;
  const C texte(utf8.data(), C::kCodageUTF8, utf8.size());
  const auto mots = std::count(utf8.begin(), utf8.end(), '\n');

  std::printf(Tr("Liste : %s — %ld mots, %zu octets en UTF-8, %llu unités UTF-16\n\n"), chemin.c_str(),
              static_cast<long>(mots), utf8.size(), static_cast<unsigned long long>(texte.Longueur()));
  // Headers are padded by terminal columns, so that accents keep the columns in line.
  std::printf("%s %s  %s %s  %s\n", Aligne(Tr("Codage"), 10).c_str(), AligneADroite(Tr("Octets"), 12).c_str(),
              Aligne(Tr("Aller-retour"), 13).c_str(), AligneADroite(Tr("Remplacés"), 10).c_str(),
              AligneADroite(Tr("Débit (Mo/s)"), 12).c_str());
  const C::Codage codages[] = {C::kCodageMacRoman, C::kCodageLatin9,  C::kCodageWinLatin1, C::kCodageDOS,
                               C::kCodageUTF8,     C::kCodageUTF16LE, C::kCodageUTF16BE};
  bool toutExact = true;
  for (C::Codage codage : codages) {
    std::string octets;
    C relu;
    const double secondes = MeilleurTemps([&] {
      octets = texte.Encode(codage);
      relu = C(octets.data(), codage, octets.size());
    });
    const bool exact = relu == texte;
    toutExact = toutExact && (exact || texte.CompteNonRepresentables(codage) > 0);
    const double mo = static_cast<double>(utf8.size()) / (1024.0 * 1024.0);
    std::printf("%-10s %12zu  %s %10llu  %12.0f\n", NomDuCodage(codage), octets.size(),
                Aligne(exact ? Tr("exact") : Tr("avec pertes"), 13).c_str(),
                static_cast<unsigned long long>(texte.CompteNonRepresentables(codage)), mo / secondes);
  }
  std::printf(Tr("\nLe débit compte les octets UTF-8 de la liste, convertis puis relus (meilleur de %d).\n"),
              kRepetitions);
  if (!toutExact) {
    Erreur(Tr("un aller-retour a perdu du texte sans remplacement signalé"));
    return 1;
  }
  return DemoLexique(chemin);
}

}  // namespace outils
