#pragma once

#include <cstdint>

#include <outils_socle/Export.h>

namespace sdd {

class ChaineN;

// What the acceptance callback of a search sees for each candidate form, in the lexicon
// automaton and in the string table alike.
struct RecuperationFormeParams {
  const ChaineN* mot = nullptr;    // the word, prefix or pattern as the caller gave it
  const ChaineN* forme = nullptr;  // the stored form
  uint32_t numero = 0;             // its number (the automaton's; 0 in the string table)
  uint8_t rang1 = 0;               // see AutomateAcycliqueMin::_Forme
  uint8_t rang2 = 0;
  uint16_t detail = 0;
};
using RecuperationForme = bool (*)(const RecuperationFormeParams&);
OUTILS_SOCLE_EXPORT bool RecuperationFormeTelQuelAccepte(const RecuperationFormeParams&);

// Search options, passed by value. Flags: 0x01 exact only (no insensitive walk), 0x02 anagrams
// may use part of the letters, 0x10 remove non-alphabetic characters first, 0x20 stop after
// kTempsLimiteMs of a monotonic clock, 0x80 cut words longer than 400 units instead of answering
// nothing. valeur: the Malgray mask of the differences the insensitive walk may tolerate; 0
// means all of them (0xF).
struct OptionRecherche {
  static constexpr uint32_t kExactSeulement = 0x01;
  static constexpr uint32_t kSousAnagrammes = 0x02;
  static constexpr uint32_t kEnleveNonAlpha = 0x10;
  static constexpr uint32_t kTempsLimite = 0x20;
  static constexpr uint32_t kCoupeMotsLongs = 0x80;
  static constexpr int kTempsLimiteMs = 70;
  constexpr OptionRecherche(uint32_t d = 0, uint32_t v = 0) : drapeaux(d), valeur(v) {}  // NOLINT
  uint32_t drapeaux;
  uint32_t valeur;
};

}  // namespace sdd
