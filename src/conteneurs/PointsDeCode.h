#pragma once

// Code points in UTF-16 text, for the string table: its children are ordered by their first
// code point, and a split never falls between the halves of a surrogate pair (their UTF-8 form,
// written separately, could not be read back).

#include <cstdint>

namespace sdd::detail {

inline bool EstSubstitutHaut(char16_t c) { return c >= 0xD800 && c < 0xDC00; }
inline bool EstSubstitutBas(char16_t c) { return c >= 0xDC00 && c < 0xE000; }

// The code point at u[i] (i < n): a surrogate pair as one, any other unit as itself.
inline char32_t PointDeCode(const char16_t* u, uint64_t n, uint64_t i) {
  const char16_t c = u[i];
  if (EstSubstitutHaut(c) && i + 1 < n && EstSubstitutBas(u[i + 1])) {
    return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (u[i + 1] - 0xDC00);
  }
  return c;
}

// Whether the text holds a surrogate that is not half of a pair.
inline bool ASubstitutIsole(const char16_t* u, uint64_t n) {
  for (uint64_t i = 0; i < n; ++i) {
    if (EstSubstitutHaut(u[i]) && i + 1 < n && EstSubstitutBas(u[i + 1])) {
      ++i;
    } else if (EstSubstitutHaut(u[i]) || EstSubstitutBas(u[i])) {
      return true;
    }
  }
  return false;
}

}  // namespace sdd::detail
