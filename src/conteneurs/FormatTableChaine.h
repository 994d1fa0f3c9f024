#pragma once

// The serialised string table (docs/table_chaine.md): version (2 bytes), key count (4 bytes),
// root position and node block size (VarElias), then the node block. A node record: its
// fragment in UTF-8 and a zero byte, a flags byte, the first child's and the next sibling's
// record positions when the flags say so (VarElias, or 8 bytes little-endian in version 100),
// then the payload of a key end. Every record follows its child's and sibling's, so the root is
// written last and every position a record names lies before it.

#include <cstdint>

namespace sdd::detail {

constexpr uint8_t kDrapeauFinDeClef = 2;
constexpr uint8_t kDrapeauEnfant = 4;
constexpr uint8_t kDrapeauSuivant = 8;
constexpr uint8_t kDrapeauxConnus = kDrapeauFinDeClef | kDrapeauEnfant | kDrapeauSuivant;
constexpr uint64_t kTailleEnteteFixe = 6;  // version and key count

}  // namespace sdd::detail
