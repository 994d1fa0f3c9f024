#pragma once

// What every fuzz target shares: pulling strings and numbers out of the fuzzer's bytes, and
// the one rule they all check, that a reader's only way to refuse bytes is an exception of the
// library's family (anything else escaping LLVMFuzzerTestOneInput is reported as a crash).

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>

namespace fuzz {

// A short UTF-16 string: each byte is a Latin-1 character, except 0xFF, which takes the next
// two bytes as a unit (so that accents, ligatures, other scripts and surrogates all occur).
inline std::u16string Chaine(FuzzedDataProvider& f, size_t longueurMax = 24) {
  std::u16string s;
  const size_t n = f.ConsumeIntegralInRange<size_t>(0, longueurMax);
  for (size_t i = 0; i < n && f.remaining_bytes() > 0; ++i) {
    const uint8_t b = f.ConsumeIntegral<uint8_t>();
    s.push_back(b == 0xFF ? f.ConsumeIntegral<char16_t>() : static_cast<char16_t>(b));
  }
  return s;
}

inline sdd::ChaineN N(const std::u16string& s) {
  return sdd::ChaineN(s.data(), static_cast<uint64_t>(s.size()));
}

// A buffer lending exactly these bytes (capacity = size), so that AddressSanitizer sees any
// read past them.
class Octets {
 public:
  explicit Octets(std::vector<uint8_t> octets)
      : octets_(std::move(octets)),
        tampon_(reinterpret_cast<char*>(octets_.data()), static_cast<int64_t>(octets_.size()), false) {}
  sdd::TamponMemoire& operator*() { return tampon_; }
  sdd::TamponMemoire* operator->() { return &tampon_; }
  const std::vector<uint8_t>& Bruts() const { return octets_; }

 private:
  std::vector<uint8_t> octets_;
  sdd::TamponMemoire tampon_;
};

// Runs f; an exception of the library's family is the expected refusal.
template <typename F>
void Essaie(F&& f) {
  try {
    f();
  } catch (const sdd::exceptions::Exception&) {
  }
}

}  // namespace fuzz
