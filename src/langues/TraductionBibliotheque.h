#pragma once

// The library's own texts in the chosen interface language (see Langues.h).

#include <string>

namespace sdd::detail {

// The text in the chosen language: looked up whole, else, when it reads "head : detail", head
// and detail apart (a detail may itself be a marked text). The text as it is while the language
// is French.
std::string TraduisTexteBibliotheque(const std::string& texte);

}  // namespace sdd::detail
