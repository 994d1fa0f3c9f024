#pragma once

// The class bits of the character table, as one 64-bit word: bits 0–15 are the first
// classification word, 16–31 the second, 32–47 the third, 48–63 the fourth.
#include <cstdint>

namespace sdd::detail::classes {

// First word: the general kind of character.
constexpr uint64_t kLettre = 1ull << 0;        // general category L*
constexpr uint64_t kMajuscule = 1ull << 1;     // Lu, Lt
constexpr uint64_t kMinuscule = 1ull << 2;     // Ll
constexpr uint64_t kChiffre = 1ull << 3;       // Nd
constexpr uint64_t kPonctuation = 1ull << 4;   // P*
constexpr uint64_t kConsonne = 1ull << 5;      // a Latin letter that is not a vowel ("#" in joker patterns)
constexpr uint64_t kVoyelle = 1ull << 6;       // a Latin letter on a, e, i, o, u, y, or æ, œ ("&")
constexpr uint64_t kApostrophe = 1ull << 7;    // ' ’ ‘ ` ´ ʼ
constexpr uint64_t kBlanc = 1ull << 8;         // Zs, and the blanks of the variant column
constexpr uint64_t kSymbole = 1ull << 9;       // S*
constexpr uint64_t kMarque = 1ull << 10;       // M*
constexpr uint64_t kAutreNombre = 1ull << 11;  // Nl, No
constexpr uint64_t kControle = 1ull << 12;     // Cc
constexpr uint64_t kFormat = 1ull << 13;       // Cf
constexpr uint64_t kSubstitut = 1ull << 14;    // Cs
constexpr uint64_t kUsagePrive = 1ull << 15;   // Co
// Second word: finer kinds.
constexpr uint64_t kTiret = 1ull << 16;         // Pd
constexpr uint64_t kOuvrante = 1ull << 17;      // Ps, Pi
constexpr uint64_t kFermante = 1ull << 18;      // Pe, Pf
constexpr uint64_t kAccentue = 1ull << 19;      // its accentless form differs
constexpr uint64_t kLatin = 1ull << 20;         // Latin script
constexpr uint64_t kASCII = 1ull << 21;         // below U+0080
constexpr uint64_t kNonAssigne = 1ull << 22;    // Cn
constexpr uint64_t kChiffreJoker = 1ull << 25;  // a joker other than "*" may stand for it (digits)
// Third word.
constexpr uint64_t kLettreJoker = 1ull << 41;  // every joker may stand for it (letters)
// Fourth word.
constexpr uint64_t kLigature = 1ull << 50;  // value 4 of the fourth word: Œ œ Æ æ only

}  // namespace sdd::detail::classes
