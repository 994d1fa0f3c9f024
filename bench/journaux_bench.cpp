// The black box beside spdlog's ring buffer sink, and the file journal beside spdlog's rotating
// file sink used directly (the journal is built on it; the difference is our layer's cost).
#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <filesystem>
#include <memory>
#include <string>

#include <outils_socle/journaux/BoiteNoire.h>
#include <outils_socle/journaux/CJournal.h>

namespace {

using namespace sdd;

constexpr std::string_view kTexte = "Lexique chargé : 3 412 908 formes, 1 204 551 états (fr-FR.lex)";
constexpr uint64_t kCap = 8 << 20;
constexpr int kAnciens = 2;

std::string Dossier() {
  const auto d = std::filesystem::temp_directory_path() / "outils_socle_bench_journaux";
  std::filesystem::create_directories(d);
  return d.string();
}

void BM_BoiteNoire_Ajoute(benchmark::State& etat) {
  static BoiteNoire* boite = nullptr;
  if (etat.thread_index() == 0) boite = new BoiteNoire(4096);
  for (auto _ : etat) boite->Ajoute(eNiveauJournal::eInfo, kTexte);
  etat.SetItemsProcessed(etat.iterations());
  if (etat.thread_index() == 0) {
    delete boite;
    boite = nullptr;
  }
}
BENCHMARK(BM_BoiteNoire_Ajoute)->Threads(1)->Threads(4)->UseRealTime();

void BM_Spdlog_TamponCirculaire(benchmark::State& etat) {
  static std::shared_ptr<spdlog::logger> journal;
  if (etat.thread_index() == 0)
    journal =
        std::make_shared<spdlog::logger>("anneau", std::make_shared<spdlog::sinks::ringbuffer_sink_mt>(4096));
  for (auto _ : etat) journal->info(kTexte);
  etat.SetItemsProcessed(etat.iterations());
  if (etat.thread_index() == 0) journal.reset();
}
BENCHMARK(BM_Spdlog_TamponCirculaire)->Threads(1)->Threads(4)->UseRealTime();

void BM_CJournal_Fichier(benchmark::State& etat) {
  static std::unique_ptr<CJournal> journal;
  if (etat.thread_index() == 0) journal = std::make_unique<CJournal>(Dossier() + "/nous.log", kCap, kAnciens);
  for (auto _ : etat) journal->Ajoute(eNiveauJournal::eInfo, kTexte);
  etat.SetItemsProcessed(etat.iterations());
  if (etat.thread_index() == 0) journal.reset();
}
BENCHMARK(BM_CJournal_Fichier)->Threads(1)->Threads(4)->UseRealTime();

void BM_Spdlog_FichierRotatif(benchmark::State& etat) {
  static std::shared_ptr<spdlog::logger> journal;
  if (etat.thread_index() == 0)
    journal = std::make_shared<spdlog::logger>(
        "rotatif",
        std::make_shared<spdlog::sinks::rotating_file_sink_mt>(Dossier() + "/spdlog.log", kCap, kAnciens));
  for (auto _ : etat) journal->info(kTexte);
  etat.SetItemsProcessed(etat.iterations());
  if (etat.thread_index() == 0) journal.reset();
}
BENCHMARK(BM_Spdlog_FichierRotatif)->Threads(1)->Threads(4)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
