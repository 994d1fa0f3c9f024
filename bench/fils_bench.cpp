// Posting work beside boost::asio::thread_pool and oneTBB, in the same run.
//
// Workloads (one million empty blocks each):
//   NFois        FileOperations::LanceBlocOperationNFois on the shared default queue
//   Groupe       GroupeOperations::AjouteOperationBloc, then AttendreLaFinDesOperations
//   AsioPool     boost::asio::post to a thread_pool of the same size, then a wait on a counter
//   TbbGroupe    tbb::task_group::run, then wait
//   Repos        CPU time the process burns while the pool sits idle for 2 s after work
#include <outils_socle/fils/DGestionnaireFils.h>
#include <outils_socle/fils/FileOperations.h>

#include <benchmark/benchmark.h>
#include <tbb/task_group.h>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <thread>

namespace {

constexpr int kBlocs = 1000000;

int TaillePool() { return std::max(5, 2 * static_cast<int>(std::thread::hardware_concurrency())); }

void NFois(benchmark::State& etat) {
  sdd::FileOperations* file = sdd::FileOperations::GlobaleDeDefaut();
  for (auto _ : etat) file->LanceBlocOperationNFois(kBlocs, [](unsigned long long) {});
  etat.SetItemsProcessed(etat.iterations() * kBlocs);
}

void Groupe(benchmark::State& etat) {
  sdd::FileOperations* file = sdd::FileOperations::GlobaleDeDefaut();
  for (auto _ : etat) {
    sdd::GroupeOperations groupe;
    for (int i = 0; i < kBlocs; ++i) groupe.AjouteOperationBloc(file, [] {});
    groupe.AttendreLaFinDesOperations();
  }
  etat.SetItemsProcessed(etat.iterations() * kBlocs);
}

void AsioPool(benchmark::State& etat) {
  boost::asio::thread_pool pool(static_cast<size_t>(TaillePool()));
  for (auto _ : etat) {
    std::atomic<int> restants{kBlocs};
    for (int i = 0; i < kBlocs; ++i) boost::asio::post(pool, [&restants] { restants.fetch_sub(1); });
    while (restants.load() > 0) std::this_thread::yield();
  }
  pool.join();
  etat.SetItemsProcessed(etat.iterations() * kBlocs);
}

void TbbGroupe(benchmark::State& etat) {
  for (auto _ : etat) {
    tbb::task_group groupe;
    for (int i = 0; i < kBlocs; ++i) groupe.run([] {});
    groupe.wait();
  }
  etat.SetItemsProcessed(etat.iterations() * kBlocs);
}

void Repos(benchmark::State& etat) {
  sdd::FileOperations::GlobaleDeDefaut()->LanceBlocOperationNFois(1000, [](unsigned long long) {});
  double pourcent = 0;
  for (auto _ : etat) {
    const std::clock_t avant = std::clock();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    pourcent = 100.0 * static_cast<double>(std::clock() - avant) / CLOCKS_PER_SEC / 2.0;
  }
  etat.counters["cpu_pourcent_d_un_coeur"] = pourcent;
}

}  // namespace

BENCHMARK(NFois)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Groupe)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(AsioPool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(TbbGroupe)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Repos)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  sdd::FileOperations::LibereTout();
  return 0;
}
