#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/Export.h>

namespace sdd {

class AutomateAcycliqueMin;

// Spell-checking over a compiled lexicon, as French is written. A word is known when the
// lexicon holds it ignoring case (a capital at a sentence's start, a word in capitals), the
// variants of apostrophe and dash and the ligatures ("OEUVRE" for "œuvre"), but with its
// accents as written; a decomposed accent is composed first. An elided word followed by a known
// word is known ("l'arbre", "qu'il", "jusqu'au"); a hyphenated compound is known when the
// lexicon holds it whole ("c'est-à-dire") or knows each part ("dis-moi", with the euphonic t of
// "a-t-il").
//
// Holds nothing but the lexicon's address: one checker, or several over one lexicon, may serve
// any number of threads (the lexicon's searches keep their state to themselves).
class OUTILS_SOCLE_EXPORT VerificateurOrthographe {
 public:
  explicit VerificateurOrthographe(AutomateAcycliqueMin& lexique) : lexique_(&lexique) {}

  // Whether the word (UTF-16, as a text's tokenizer gives it) is known. A word longer than the
  // lexicon's longest possible one (AutomateAcycliqueMin::kLongueurMaxMot) is not, and has no
  // suggestions: the work stays bounded whatever the text.
  bool Connu(std::u16string_view mot) const;

  // Likely corrections, best first, at most `combien`, each different. When one part of an
  // elided or compound word is unknown, that part is corrected and the rest kept as written
  // ("l'ecole" → "l'école", "peut-etre" → "peut-être"), and after an elision only a vowel or an h
  // may come; then the whole word's own corrections. Each keeps the word's case: all capitals
  // for a word in capitals, a first capital for a capitalised word.
  std::vector<std::u16string> Suggestions(std::u16string_view mot, uint32_t combien) const;

  // Characters of a word: letters and combining accents.
  static bool EstLettreDeMot(char16_t c);
  // The apostrophes (' ’ ʼ) and dashes (- ‐ ‑) that join a word's parts, between two letters.
  static bool EstApostrophe(char16_t c);
  static bool EstTrait(char16_t c);
  // Those joining characters in UTF-8, for tokenizers that take a list.
  static const char* JointuresUTF8();

 private:
  struct Decoupe;
  bool Tient(std::u16string_view mot) const;
  bool ParElision(std::u16string_view mot) const;
  bool ParParties(std::u16string_view mot) const;
  Decoupe PartieInconnue(std::u16string_view mot) const;
  std::vector<std::u16string> Corrections(std::u16string_view mot, uint32_t combien) const;

  AutomateAcycliqueMin* lexique_;
};

}  // namespace sdd
