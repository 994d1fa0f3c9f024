#pragma once

#include <cstdint>

#include <outils_socle/Export.h>

namespace sdd {

// One UTF-16 unit seen through the character table: case and accent forms, typographic
// variants, and the classification that the predicates read. The table holds, for each of the
// 65,536 units, twelve 16-bit fields: four class words, then the upper-case, lower-case,
// accentless, swapped-case, variant, blanks-only and comparison forms, then a zero (see
// docs/table_caracteres.md). It is built from the Unicode Character Database at build time and
// read-only, so any thread may use it.
//
// The class words read as one 64-bit value (first word in the low bits):
//   bit 0 letter, 1 upper case, 2 lower case, 3 digit, 4 punctuation, 5 consonant (value 32 of
//   the first byte; "#" in joker patterns), 6 vowel (value 64; "&"), 7 apostrophe, 8 blank,
//   9 symbol, 10 combining mark, 11 other number, 12 control, 13 format, 14 surrogate,
//   15 private use; 16 dash, 17 opening, 18 closing, 19 accented (its accentless form differs),
//   20 Latin script, 21 ASCII, 22 unassigned, 25 a joker other than "*" may stand for it
//   (digits); 41 every joker may stand for it (letters); 50 ligature (value 4 of the fourth
//   word: Œ, œ, Æ and æ, nothing else).
// Vowels and consonants are Latin letters only, judged on the lower-case accentless form:
// a, e, i, o, u, y and the four ligatures are vowels.
class OUTILS_SOCLE_EXPORT UniCaractere {
 public:
  static uint64_t Classes(char16_t c);
  static uint16_t MotDeClasse(char16_t c, unsigned mot);  // 0 to 3

  static char16_t Majuscule(char16_t c);  // simple mapping: "ß" stays itself
  static char16_t Minuscule(char16_t c);
  static char16_t SansAccent(char16_t c);  // "É" → "E", "ấ" → "a"; "ø" stays
  static char16_t CasseInversee(char16_t c);
  static char16_t Variante(char16_t c);  // blanks → space, apostrophes → ', dashes → -
  static char16_t BlancsNormalises(char16_t c);
  // The lower-case, accentless, variant form: what a comparison under accents, case and
  // variants compares.
  static char16_t NormaliseVarianteMinusculiseSansAccent(char16_t c);

  static bool EstLettre(char16_t c);
  static bool EstMajuscule(char16_t c);
  static bool EstMinuscule(char16_t c);
  static bool EstVoyelle(char16_t c);
  static bool EstConsonne(char16_t c);
  static bool EstChiffre(char16_t c);
  static bool EstPonctuation(char16_t c);
  static bool EstApostrophe(char16_t c);
  static bool EstBlanc(char16_t c);
  static bool EstLigature(char16_t c);

  // The letters of a ligature (Œ → "OE", œ → "oe", Æ → "AE", æ → "ae"): false, writing nothing,
  // for any other character. Copies at most `taille` units, adds a zero when there is room and
  // sets `longueur` to the letters copied; a zero `taille` copies nothing and answers true.
  static bool DecompositionLigature(char16_t c, char16_t* sortie, uint64_t taille,
                                    uint64_t* longueur = nullptr);
};

// The single-byte twin, on Mac OS Roman bytes: each predicate asks UniCaractere about the
// byte's character.
class OUTILS_SOCLE_EXPORT Caractere {
 public:
  static bool EstLettre(unsigned char c);
  static bool EstMajuscule(unsigned char c);
  static bool EstMinuscule(unsigned char c);
  static bool EstVoyelle(unsigned char c);
  static bool EstConsonne(unsigned char c);
  static bool EstChiffre(unsigned char c);
  static bool EstPonctuation(unsigned char c);
  static bool EstApostrophe(unsigned char c);
  static bool EstBlanc(unsigned char c);
  // Œ (0xCE) → "OE", œ (0xCF) → "oe", Æ (0xAE) → "AE", æ (0xBE) → "ae", as for UniCaractere.
  static bool DecompositionLigature(unsigned char c, char* sortie, uint64_t taille,
                                    uint64_t* longueur = nullptr);
};

}  // namespace sdd
