// Streams and number encodings beside plain peers, on the same data in the same run.
//
// Workloads:
//   VarEliasEcris / Leb128Ecris       encode a realistic mix of 1 M values into memory
//   VarEliasLis   / Leb128Lis         decode them back from memory
//   VarEliasLisFlux                   the same through the stream reader (TamponMemoire)
//   TamponMemoireMets / VectorPushBack  append 1 M single bytes into grown storage
//   ...Neuf                           the same from a new object, growth included
//
// The mix follows what stored forms hold: mostly small counts and lengths, some offsets, a few
// large values (60 % < 2^7, 30 % < 2^14, 9 % < 2^21, 1 % < 2^40), from a fixed seed. LEB128 is
// the usual little-endian base-128 varint, written here as its peers write it.
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

using sdd::SerialiseurVarElias;

const std::vector<uint64_t>& Valeurs() {
  static const std::vector<uint64_t> valeurs = [] {
    std::mt19937_64 rng(20261122);
    std::vector<uint64_t> v(1 << 20);
    for (uint64_t& x : v) {
      const unsigned tirage = rng() % 100;
      const unsigned bits = tirage < 60 ? 7 : tirage < 90 ? 14 : tirage < 99 ? 21 : 40;
      x = rng() & ((uint64_t{1} << bits) - 1);
    }
    return v;
  }();
  return valeurs;
}

uint8_t* EcrisLeb128(uint8_t* p, uint64_t v) {
  while (v >= 0x80) {
    *p++ = static_cast<uint8_t>(v | 0x80);
    v >>= 7;
  }
  *p++ = static_cast<uint8_t>(v);
  return p;
}

const uint8_t* LisLeb128(const uint8_t* p, const uint8_t* fin, uint64_t* v) {
  uint64_t resultat = 0;
  for (unsigned decalage = 0; p < fin && decalage <= 63; decalage += 7) {
    const uint64_t octet = *p++;
    resultat |= (octet & 0x7F) << decalage;
    if (octet < 0x80) {
      *v = resultat;
      return p;
    }
  }
  return nullptr;  // truncated or too long
}

void VarEliasEcris(benchmark::State& etat) {
  const auto& valeurs = Valeurs();
  std::vector<uint8_t> octets(valeurs.size() * 8);
  for (auto _ : etat) {
    uint8_t* p = octets.data();
    for (uint64_t v : valeurs) p = SerialiseurVarElias::EcrisVers(p, v);
    benchmark::DoNotOptimize(p);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(valeurs.size()));
}

void Leb128Ecris(benchmark::State& etat) {
  const auto& valeurs = Valeurs();
  std::vector<uint8_t> octets(valeurs.size() * 10);
  for (auto _ : etat) {
    uint8_t* p = octets.data();
    for (uint64_t v : valeurs) p = EcrisLeb128(p, v);
    benchmark::DoNotOptimize(p);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(valeurs.size()));
}

void VarEliasLis(benchmark::State& etat) {
  const auto& valeurs = Valeurs();
  std::vector<uint8_t> octets(valeurs.size() * 8);
  uint8_t* fin = octets.data();
  for (uint64_t v : valeurs) fin = SerialiseurVarElias::EcrisVers(fin, v);
  for (auto _ : etat) {
    uint64_t somme = 0, v = 0;
    for (const uint8_t* p = octets.data(); p < fin;) {
      p = SerialiseurVarElias::LisDepuis(p, fin, &v);
      somme += v;
    }
    benchmark::DoNotOptimize(somme);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(valeurs.size()));
}

void Leb128Lis(benchmark::State& etat) {
  const auto& valeurs = Valeurs();
  std::vector<uint8_t> octets(valeurs.size() * 10);
  uint8_t* fin = octets.data();
  for (uint64_t v : valeurs) fin = EcrisLeb128(fin, v);
  for (auto _ : etat) {
    uint64_t somme = 0, v = 0;
    for (const uint8_t* p = octets.data(); p < fin;) {
      p = LisLeb128(p, fin, &v);
      somme += v;
    }
    benchmark::DoNotOptimize(somme);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(valeurs.size()));
}

void VarEliasLisFlux(benchmark::State& etat) {
  const auto& valeurs = Valeurs();
  sdd::TamponMemoire tampon;
  for (uint64_t v : valeurs) SerialiseurVarElias::Ecris(tampon, v);
  for (auto _ : etat) {
    tampon.PositionneAuDebut();
    uint64_t somme = 0, v = 0;
    for (size_t i = 0; i < valeurs.size(); ++i) {
      SerialiseurVarElias::Lis(tampon, &v);
      somme += v;
    }
    benchmark::DoNotOptimize(somme);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(valeurs.size()));
}

// A million appends, not 2^20: with a power of two, the buffer's spare byte (position + 1 must
// stay below the capacity) doubles it once more than the vector, which measures the allocator's
// trimming policy rather than appending.
constexpr int kOctets = 1000000;

// Appends into storage already grown (the buffer emptied, the vector cleared): the hot path.
void TamponMemoireMets(benchmark::State& etat) {
  sdd::TamponMemoire tampon;
  for (auto _ : etat) {
    tampon.Vide();
    for (int i = 0; i < kOctets; ++i) tampon.Mets(static_cast<uint8_t>(i));
    benchmark::DoNotOptimize(tampon.PreteDonneesBrutes());
  }
  etat.SetItemsProcessed(etat.iterations() * kOctets);
}

void VectorPushBack(benchmark::State& etat) {
  std::vector<uint8_t> v;
  for (auto _ : etat) {
    v.clear();
    for (int i = 0; i < kOctets; ++i) v.push_back(static_cast<uint8_t>(i));
    benchmark::DoNotOptimize(v.data());
  }
  etat.SetItemsProcessed(etat.iterations() * kOctets);
}

// The same from a new object each time: growth and the allocator's page policy included.
void TamponMemoireMetsNeuf(benchmark::State& etat) {
  for (auto _ : etat) {
    sdd::TamponMemoire tampon;
    for (int i = 0; i < kOctets; ++i) tampon.Mets(static_cast<uint8_t>(i));
    benchmark::DoNotOptimize(tampon.PreteDonneesBrutes());
  }
  etat.SetItemsProcessed(etat.iterations() * kOctets);
}

void VectorPushBackNeuf(benchmark::State& etat) {
  for (auto _ : etat) {
    std::vector<uint8_t> v;
    for (int i = 0; i < kOctets; ++i) v.push_back(static_cast<uint8_t>(i));
    benchmark::DoNotOptimize(v.data());
  }
  etat.SetItemsProcessed(etat.iterations() * kOctets);
}

}  // namespace

BENCHMARK(VarEliasEcris);
BENCHMARK(Leb128Ecris);
BENCHMARK(VarEliasLis);
BENCHMARK(Leb128Lis);
BENCHMARK(VarEliasLisFlux);
BENCHMARK(TamponMemoireMets);
BENCHMARK(VectorPushBack);
BENCHMARK(TamponMemoireMetsNeuf);
BENCHMARK(VectorPushBackNeuf);

BENCHMARK_MAIN();
