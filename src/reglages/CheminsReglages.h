#pragma once

// What a settings path may be: components of ASCII letters, digits, '_', '-' and '.', the
// first character not a digit, '-' or '.', joined by single '/'. Such a component is an XML
// element name, a JSON key and an INI key as it stands, so every format can hold it unescaped.

#include <string>

namespace sdd::detail {

inline bool EstCheminValide(const std::string& chemin) {
  int composants = 0;
  bool debut = true;
  for (const char c : chemin) {
    const bool lettre = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    const bool suite = (c >= '0' && c <= '9') || c == '-' || c == '.';
    if (c == '/') {
      if (debut) return false;  // empty component
      debut = true;
    } else if (debut) {
      if (!lettre) return false;
      debut = false;
      if (++composants > 64) return false;  // kProfondeurMaxReglages
    } else if (!lettre && !suite) {
      return false;
    }
  }
  return !debut;
}

}  // namespace sdd::detail
