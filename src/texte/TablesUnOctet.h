#pragma once

// The byte-to-unit tables of the four single-byte encodings (generated; see TablesUnOctet.cpp).
namespace sdd::detail {

extern const char16_t kTableMacRoman[256];
extern const char16_t kTableLatin9[256];
extern const char16_t kTableWinLatin1[256];
extern const char16_t kTableDOS[256];

}  // namespace sdd::detail
