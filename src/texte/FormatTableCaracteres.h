#pragma once

// The character table: one entry of twelve 16-bit fields per UTF-16 unit, 65,536 entries,
// 1.5 MiB, generated at build time from the Unicode Character Database as ICU knows it
// (outils/generateurs/GenereTableCaracteres.cpp) and linked into the library's read-only data,
// so it costs nothing until pages of it are touched. The field order and the class bits are
// documented in docs/table_caracteres.md and in UniCaractere.h.

#include <cstdint>

namespace sdd::detail {

struct EntreeCaractere {
  uint16_t classes[4];        // the four classification words
  char16_t majuscule;         // simple upper-case mapping
  char16_t minuscule;         // simple lower-case mapping
  char16_t sansAccent;        // base letter of the canonical decomposition
  char16_t casseInversee;     // lower case when it differs, else upper case
  char16_t variante;          // typographic variants folded: blanks, apostrophes, dashes
  char16_t blancsNormalises;  // only the blanks folded to a space
  char16_t forme;             // variante(minuscule(sansAccent)): the comparison form
  char16_t zero;
};
static_assert(sizeof(EntreeCaractere) == 24);

constexpr unsigned kNombreEntrees = 65536;

}  // namespace sdd::detail

// Defined by the generated blob (hidden: only the library's own code reads it directly).
extern "C" __attribute__((visibility("hidden"))) const sdd::detail::EntreeCaractere sdd_table_caracteres[];
