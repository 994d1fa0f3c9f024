#pragma once

// Helpers shared by the XML tests: the canonical form that tests/xml/arbre_expat.py prints for
// a tree read by Python's expat, and a way to run that script over files.

#include <outils_socle/xml/Balise.h>

#include "commun/Commande.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace sdd::tests_xml {

// arbre_expat.py writes no byte as nothing, where the other reference scripts write "-".
inline std::string Hexa(const std::string& octets) {
  return octets.empty() ? std::string() : essais::Hexa(octets);
}

inline std::string Canonique(const Balise& b) {
  std::string s = "<" + Hexa(b.Nom());
  for (const Balise::Attribut& a : b.Attributs()) s += " " + Hexa(a.nom) + "=" + Hexa(a.valeur);
  s += ">T" + Hexa(b.Texte());
  for (const Balise& e : b.Enfants()) s += Canonique(e);
  return s + "</>Q" + Hexa(b.Queue());
}

inline void EcrisOctets(const std::filesystem::path& chemin, const std::string& octets) {
  std::ofstream(chemin, std::ios::binary) << octets;
}

// One line per file: the canonical tree, or "REFUSE" (with the line and column where expat
// stopped, counted from 1, when `position`).
inline std::vector<std::string> LisAvecExpat(const std::vector<std::filesystem::path>& fichiers,
                                             bool position = false) {
  std::string commande = std::string(OUTILS_SOCLE_PYTHON3) + " " +
                         OUTILS_SOCLE_SOURCES_TESTS "/xml/arbre_expat.py" + (position ? " --position" : "");
  for (const auto& f : fichiers) commande += " '" + f.string() + "'";
  return essais::LignesDeCommande(commande);
}

// A fresh folder under the system's temporary one, removed with everything in it.
class Dossier {
 public:
  Dossier()
      : chemin_(std::filesystem::temp_directory_path() /
                ("xml_" + std::to_string(::getpid()) + "_" + std::to_string(n_++))) {
    std::filesystem::create_directories(chemin_);
  }
  ~Dossier() { std::filesystem::remove_all(chemin_); }
  std::filesystem::path operator/(const std::string& nom) const { return chemin_ / nom; }

 private:
  static inline int n_ = 0;
  std::filesystem::path chemin_;
};

}  // namespace sdd::tests_xml
