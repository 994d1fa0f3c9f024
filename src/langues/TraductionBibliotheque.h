#pragma once

// The library's own texts in the chosen interface language (see Langues.h).

#include <string>

namespace sdd::detail {

// The text in the chosen language: looked up whole, else, when it reads "a : b : c", each part
// in turn, a part the catalogue lacks (a path, a name) kept as it is. The text as it is while
// the language is French.
std::string TraduisTexteBibliotheque(const std::string& texte);

}  // namespace sdd::detail
