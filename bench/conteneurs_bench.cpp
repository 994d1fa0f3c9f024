// The sorted table beside std::set and absl::btree_set, on the same keys in the same run.
//
// Workloads, each over 1 M random 64-bit integers (fixed seed) and over the French word list as
// ChaineN (/usr/share/dict/french, shuffled with a fixed seed):
//   Insere     build the set from empty
//   Trouve     look every key up in the full set
//   Enleve     remove every key from the full set
//   Parcours   walk the full set in order
//   Charge     (ours) read the serialised set back, beside Insere of the same keys
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>

#include <absl/container/btree_set.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using sdd::ChaineN;
using sdd::EnsembleTriay;

const std::vector<uint64_t>& Entiers() {
  static const std::vector<uint64_t> v = [] {
    std::mt19937_64 rng(20261122);
    std::vector<uint64_t> cles(1000000);
    for (uint64_t& c : cles) c = rng();
    return cles;
  }();
  return v;
}

const std::vector<ChaineN>& Mots() {
  static const std::vector<ChaineN> v = [] {
    std::vector<ChaineN> mots;
    std::ifstream f("/usr/share/dict/french");
    for (std::string ligne; std::getline(f, ligne);) mots.emplace_back(ligne);
    if (mots.empty())
      for (int i = 0; i < 1000; ++i) mots.push_back(ChaineN::DepuisNombre(i));
    std::shuffle(mots.begin(), mots.end(), std::mt19937(7));
    return mots;
  }();
  return v;
}

template <typename T>
const std::vector<T>& Cles();
template <>
const std::vector<uint64_t>& Cles<uint64_t>() {
  return Entiers();
}
template <>
const std::vector<ChaineN>& Cles<ChaineN>() {
  return Mots();
}

// The three sets behind one interface.
template <typename T>
struct Notre {
  EnsembleTriay<T> e;
  void Insere(const T& x) { e.Insere(x); }
  bool Trouve(const T& x) const { return e.Trouve(x) != nullptr; }
  void Enleve(const T& x) { e.Enleve(x); }
  auto begin() const { return e.begin(); }
  auto end() const { return e.end(); }
};
template <typename T>
struct StdSet {
  std::set<T> e;
  void Insere(const T& x) { e.insert(x); }
  bool Trouve(const T& x) const { return e.find(x) != e.end(); }
  void Enleve(const T& x) { e.erase(x); }
  auto begin() const { return e.begin(); }
  auto end() const { return e.end(); }
};
template <typename T>
struct AbslBtree {
  absl::btree_set<T> e;
  void Insere(const T& x) { e.insert(x); }
  bool Trouve(const T& x) const { return e.find(x) != e.end(); }
  void Enleve(const T& x) { e.erase(x); }
  auto begin() const { return e.begin(); }
  auto end() const { return e.end(); }
};

template <typename Ens, typename T>
void Insere(benchmark::State& etat) {
  const auto& cles = Cles<T>();
  for (auto _ : etat) {
    Ens e;
    for (const T& c : cles) e.Insere(c);
    benchmark::DoNotOptimize(&e);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(cles.size()));
}

template <typename Ens, typename T>
void Trouve(benchmark::State& etat) {
  const auto& cles = Cles<T>();
  Ens e;
  for (const T& c : cles) e.Insere(c);
  for (auto _ : etat) {
    int trouves = 0;
    for (const T& c : cles) trouves += e.Trouve(c);
    benchmark::DoNotOptimize(trouves);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(cles.size()));
}

template <typename Ens, typename T>
void Enleve(benchmark::State& etat) {
  const auto& cles = Cles<T>();
  for (auto _ : etat) {
    etat.PauseTiming();
    auto e = std::make_unique<Ens>();
    for (const T& c : cles) e->Insere(c);
    etat.ResumeTiming();
    for (const T& c : cles) e->Enleve(c);
    etat.PauseTiming();
    e.reset();
    etat.ResumeTiming();
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(cles.size()));
}

template <typename Ens, typename T>
void Parcours(benchmark::State& etat) {
  const auto& cles = Cles<T>();
  Ens e;
  for (const T& c : cles) e.Insere(c);
  for (auto _ : etat) {
    size_t n = 0;
    for (const T& c : e) n += sizeof(c);
    benchmark::DoNotOptimize(n);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(cles.size()));
}

void Ecris(sdd::FluxSortie& s, const uint64_t& v) { sdd::Serialiseur<uint64_t>::Ecris(s, v); }
void Lis(sdd::FluxEntree& e, uint64_t* v) { sdd::Serialiseur<uint64_t>::Lis(e, v); }
void Ecris(sdd::FluxSortie& s, const ChaineN& v) { v.Ecris(s); }
void Lis(sdd::FluxEntree& e, ChaineN* v) { v->Lis(e); }

template <typename T>
void Charge(benchmark::State& etat) {
  const auto& cles = Cles<T>();
  EnsembleTriay<T> e;
  for (const T& c : cles) e.Insere(c);
  sdd::TamponMemoire t;
  e.Ecris(t, [](sdd::FluxSortie& s, const T& v) { Ecris(s, v); });
  for (auto _ : etat) {
    t.PositionneAuDebut();
    EnsembleTriay<T> relu;
    relu.Lis(t, [](sdd::FluxEntree& en, T* v) { Lis(en, v); });
    benchmark::DoNotOptimize(&relu);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(cles.size()));
}

}  // namespace

#define OUTILS_SOCLE_TROIS(Charge, T)                                 \
  BENCHMARK(Charge<Notre<T>, T>)->Name(#Charge "/EnsembleTriay/" #T); \
  BENCHMARK(Charge<StdSet<T>, T>)->Name(#Charge "/std::set/" #T);     \
  BENCHMARK(Charge<AbslBtree<T>, T>)->Name(#Charge "/absl::btree_set/" #T)

OUTILS_SOCLE_TROIS(Insere, uint64_t);
OUTILS_SOCLE_TROIS(Trouve, uint64_t);
OUTILS_SOCLE_TROIS(Enleve, uint64_t);
OUTILS_SOCLE_TROIS(Parcours, uint64_t);
BENCHMARK(Charge<uint64_t>)->Name("Charge/EnsembleTriay/uint64_t");
OUTILS_SOCLE_TROIS(Insere, ChaineN);
OUTILS_SOCLE_TROIS(Trouve, ChaineN);
OUTILS_SOCLE_TROIS(Enleve, ChaineN);
OUTILS_SOCLE_TROIS(Parcours, ChaineN);
BENCHMARK(Charge<ChaineN>)->Name("Charge/EnsembleTriay/ChaineN");

BENCHMARK_MAIN();
