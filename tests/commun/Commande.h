#pragma once

// Running an independent reference (a Python script, a system tool) and reading its answer.

#include <cstdio>
#include <string>
#include <vector>

namespace essais {

// The lines the command prints on its standard output; *code, when given, its exit status as
// pclose returns it.
inline std::vector<std::string> LignesDeCommande(const std::string& commande, int* code = nullptr) {
  std::vector<std::string> lignes;
  FILE* flux = popen(commande.c_str(), "r");
  if (flux == nullptr) {
    if (code != nullptr) *code = -1;
    return lignes;
  }
  std::string ligne;
  for (int c; (c = std::fgetc(flux)) != EOF;) {
    if (c == '\n') {
      lignes.push_back(ligne);
      ligne.clear();
    } else {
      ligne += static_cast<char>(c);
    }
  }
  const int fin = pclose(flux);
  if (code != nullptr) *code = fin;
  return lignes;
}

// Bytes in lower-case hex, "-" for none: the form the reference scripts print.
inline std::string Hexa(const std::string& octets) {
  if (octets.empty()) return "-";
  static const char* const kChiffres = "0123456789abcdef";
  std::string h;
  for (const unsigned char c : octets) {
    h += kChiffres[c >> 4];
    h += kChiffres[c & 15];
  }
  return h;
}

}  // namespace essais
