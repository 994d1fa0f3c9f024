#pragma once

// The characters XML 1.0 can carry at all (its Char production): others cannot be written even
// as character references. Shared by the XML writer and the settings' XML form.

#include <cstdint>

namespace sdd::detail {

inline bool EstCaractereXML(int32_t cp) {
  return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) ||
         (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

}  // namespace sdd::detail
