#pragma once

// UTF-8 decoding with validation: the one decoder of the library. ChaineN replaces what it
// refuses by U+FFFD; writers that must not change what they were given (the XML writer) refuse
// it. Both meet the same definition of well-formed UTF-8, the Unicode standard's table of
// well-formed byte sequences: no overlong form, no encoded surrogate, nothing past U+10FFFF.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <outils_socle/Export.h>

namespace sdd {

// Decodes the character that starts at p (p < fin) and moves p past it. Returns its code point,
// or -1 when the bytes are ill-formed; p then moves past the longest prefix that could have
// begun a well-formed sequence (one byte at least), which is what the Unicode standard
// replaces by a single U+FFFD. Inline: it is the inner step of every UTF-8 conversion.
inline int32_t DecodeCaractereUTF8(const unsigned char*& p, const unsigned char* fin) noexcept {
  const unsigned char b = *p++;
  if (b < 0x80) return b;
  unsigned suite;
  unsigned char bas = 0x80, haut = 0xBF;  // the range of the next byte
  int32_t cp;
  if (b >= 0xC2 && b <= 0xDF) {
    suite = 1;
    cp = b & 0x1F;
  } else if (b >= 0xE0 && b <= 0xEF) {
    suite = 2;
    cp = b & 0x0F;
    if (b == 0xE0) bas = 0xA0;   // no overlong three-byte form
    if (b == 0xED) haut = 0x9F;  // no encoded surrogate
  } else if (b >= 0xF0 && b <= 0xF4) {
    suite = 3;
    cp = b & 0x07;
    if (b == 0xF0) bas = 0x90;   // no overlong four-byte form
    if (b == 0xF4) haut = 0x8F;  // nothing past U+10FFFF
  } else {
    return -1;  // a continuation byte, C0, C1 or F5..FF: begins nothing
  }
  for (unsigned k = 0; k < suite; ++k) {
    if (p == fin || *p < bas || *p > haut) return -1;  // cut short: the valid bytes are consumed
    cp = (cp << 6) | (*p & 0x3F);
    ++p;
    bas = 0x80;
    haut = 0xBF;
  }
  return cp;
}

// The same over s[i..], i moved past the character.
inline int32_t DecodeCaractereUTF8(std::string_view s, std::size_t& i) noexcept {
  const auto* debut = reinterpret_cast<const unsigned char*>(s.data());
  const unsigned char* p = debut + i;
  const int32_t cp = DecodeCaractereUTF8(p, debut + s.size());
  i = static_cast<std::size_t>(p - debut);
  return cp;
}

// The offset of the first ill-formed sequence in s, or std::string_view::npos when all of s is
// well-formed UTF-8.
OUTILS_SOCLE_EXPORT std::size_t PremiereErreurUTF8(std::string_view s) noexcept;

}  // namespace sdd
