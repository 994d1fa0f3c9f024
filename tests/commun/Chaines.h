#pragma once

#include <outils_socle/texte/ChaineN.h>

#include <cstdint>
#include <string>

// UTF-16 literals to and from the library's strings, for tests that write their words as u"…".
namespace essais {

inline sdd::ChaineN C(const std::u16string& s) {
  return sdd::ChaineN(s.data(), static_cast<uint64_t>(s.size()));
}
inline std::u16string U16(const sdd::ChaineN& c) { return std::u16string(c.DonneUnites(), c.Longueur()); }

}  // namespace essais
