#pragma once

// Structure-aware inputs for the readers whose stored form a writer of ours makes: the target
// builds a valid object from the fuzzer's choices (keys, values, shape), writes it, then lets
// the fuzzer damage a few chosen bytes: every shape the writer can produce (deep nesting, wide
// fan-out, long keys), each with damage at any place, instead of mutations of a handful of
// seeds.

#include <cstdint>
#include <vector>

#include "Commun.h"

namespace fuzz {

// Up to eight changes, each an offset (modulo the size) and a byte to xor or to put there;
// sometimes a cut at the end.
inline void Abime(std::vector<uint8_t>& octets, FuzzedDataProvider& f) {
  if (octets.empty()) return;
  const int n = f.ConsumeIntegralInRange<int>(0, 8);
  for (int i = 0; i < n; ++i) {
    const size_t ou = f.ConsumeIntegral<uint32_t>() % octets.size();
    const uint8_t v = f.ConsumeIntegral<uint8_t>();
    if (f.ConsumeBool()) {
      octets[ou] ^= v;
    } else {
      octets[ou] = v;
    }
  }
  if (f.ConsumeIntegralInRange<int>(0, 7) == 0) octets.resize(f.ConsumeIntegral<uint32_t>() % octets.size());
}

inline std::vector<uint8_t> OctetsDe(const sdd::TamponMemoire& t) {
  const uint8_t* p = t.PreteDonneesBrutes();
  return std::vector<uint8_t>(p, p + t.Taille());
}

// The bytes a reader gets: with `construit`, what `ecris(tampon)` writes (an exception of the
// library's family leaves what was written so far), then damaged; otherwise a run of the
// fuzzer's bytes as they come (the seeds are real stored forms).
template <typename Ecris>
std::vector<uint8_t> Entree(FuzzedDataProvider& f, bool construit, Ecris&& ecris) {
  if (!construit) return f.ConsumeBytes<uint8_t>(f.ConsumeIntegralInRange<size_t>(0, f.remaining_bytes()));
  sdd::TamponMemoire t;
  Essaie([&] { ecris(t); });
  std::vector<uint8_t> octets = OctetsDe(t);
  Abime(octets, f);
  return octets;
}

}  // namespace fuzz
