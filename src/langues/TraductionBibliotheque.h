#pragma once

// The library's own texts in the chosen interface language (see Langues.h).

#include <initializer_list>
#include <string>

namespace sdd::detail {

// The text in the chosen language: looked up whole; else matched against the models that
// Formate has built texts from; else, when it reads "a : b : c", each part in turn, a part the
// catalogue lacks (a path, a name) kept as it is. The text as it is while the language is
// French.
std::string TraduisTexteBibliotheque(const std::string& texte);

// A text built from a marked model (N_), each "%s" replaced by the next value: "Réglage « %s »
// sous le réglage « %s »" with two paths. The model is remembered, so that the translation of
// the text is the model's translation with the same values in the same order, each value itself
// translated when the catalogue knows it (a type name, never a path). A model needs some text
// besides its "%s", and its translation the same number of them (msgfmt checks it).
std::string Formate(const char* modele, std::initializer_list<std::string> valeurs);

// The translation of `texte` through the first remembered model it was built from; false when
// none matches or the catalogue lacks that model's translation.
bool TraduisSelonModele(const std::string& texte, std::string& traduit);

}  // namespace sdd::detail
