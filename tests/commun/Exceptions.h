#pragma once

#include <gtest/gtest.h>

#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>

#include <string>

// Asserts that `instruction` throws the sdd::exceptions class `Type` and that its message and
// explanation are as given. The library's family does not derive from std::exception, so
// gtest's own matchers cannot read it.
#define EXPECT_SDD_THROW(instruction, Type, messageAttendu, explicationAttendue)      \
  do {                                                                                \
    bool lancee_ = false;                                                             \
    try {                                                                             \
      instruction;                                                                    \
    } catch (const Type& e_) {                                                        \
      lancee_ = true;                                                                 \
      EXPECT_EQ(e_.Message().DonneStdString(), std::string(messageAttendu));          \
      EXPECT_EQ(e_.Explication().DonneStdString(), std::string(explicationAttendue)); \
    }                                                                                 \
    EXPECT_TRUE(lancee_) << #instruction " did not throw " #Type;                     \
  } while (0)

// The usual bound fault: "index=i min=0 max=n".
#define EXPECT_HORS_BORNE(instruction, explicationAttendue)                                 \
  EXPECT_SDD_THROW(instruction, sdd::exceptions::IndexHorsBorne, "L'index est hors limite", \
                   explicationAttendue)

namespace sdd {
// Lets gtest print strings in failure messages.
inline void PrintTo(const ChaineN& s, std::ostream* os) { *os << '"' << s.Encode() << '"'; }
}  // namespace sdd

// UTF-8 text for comparisons in tests.
inline std::string Utf8(const sdd::ChaineN& s) { return s.Encode(sdd::ChaineN::kCodageUTF8); }
