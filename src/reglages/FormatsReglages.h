#pragma once

// The settings files, below the typing: a file holds paths, each with a text or a list of
// texts. Reglages turns these into typed values; this layer only speaks Boost.PropertyTree's
// XML, JSON and INI. See docs/reglages.md for the three layouts.

#include <map>
#include <string>
#include <vector>

#include <outils_socle/reglages/Reglages.h>

namespace sdd::detail {

struct ValeurFichier {
  bool liste = false;
  std::string texte;                  // when not a list
  std::vector<std::string> elements;  // when a list
  friend bool operator==(const ValeurFichier&, const ValeurFichier&) = default;
};

// Paths joined by '/', in byte order.
using ContenuFichier = std::map<std::string, ValeurFichier>;

// Deepest path a file may hold. Deeper files are refused before parsing, since the parsers
// recurse once per level.
constexpr int kProfondeurMaxReglages = 64;

// Throws OperationInvalide, before anything is written, for content the format cannot give back
// as it is: ill-formed UTF-8; in XML a character XML 1.0 cannot carry; in INI a list, a deep
// path, a line break or a space-like character at either end of a value.
std::string EcrisContenu(const ContenuFichier& contenu, eFormatReglages format);
// Throws ErreurDeserialisation, with the line where the parser stopped, for a damaged text.
ContenuFichier LisContenu(const std::string& texte, eFormatReglages format);

}  // namespace sdd::detail
