#pragma once

// Character classes of XML 1.0 that several readers and writers of the library ask about.

#include <cstdint>
#include <string_view>

namespace sdd::detail {

// The characters XML 1.0 can carry at all (its Char production): others cannot be written even
// as character references. Asked by the XML writer and the settings' XML form.
inline bool EstCaractereXML(int32_t cp) {
  return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) ||
         (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

// Text made only of XML's white space (its S production: space, tab, line feed, carriage
// return): the layout both tree builders drop with OptionsParseurXML::ignoreEspacesDeMiseEnPage.
inline bool EstEspaceXML(std::string_view s) {
  return s.find_first_not_of(" \t\n\r") == std::string_view::npos;
}

}  // namespace sdd::detail
