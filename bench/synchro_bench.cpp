// Text comparison beside GNU diff, in the same run, on the same files: 10,000 and 100,000
// lines with 1% and 10% of the lines edited, two entirely different 10,000-line files, and a
// pathological pair (10,000 lines drawn from four, so that nearly everything may match
// everything) under a time limit.
//
// Figures per case: the library's Synchro in process over every line (lines already numbered,
// as an application comparing its own data would call it); the program's comparison in
// process (lines numbered by their text, lines absent from the other side set aside, then
// Synchro); the outils-socle program and GNU diff, both as processes writing a unified diff to
// /dev/null (start-up, reading and output included); and diff --minimal, which searches as
// hard as Synchro does.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include <outils_socle/synchro/Synchro.h>

#include <outils_socle/synchro/DifferencesLignes.h>

extern char** environ;

namespace {

struct Cas {
  const char* nom;
  int lignes;
  double part;  // of the lines edited; negative: two unrelated files; 2: the pathological pair;
                // 3: the French list's first words, then the same lines shuffled
};
constexpr double kMelange = 3;
const Cas kCas[] = {{"10k_1pc", 10000, 0.01},          {"10k_10pc", 10000, 0.10},
                    {"100k_1pc", 100000, 0.01},        {"100k_10pc", 100000, 0.10},
                    {"10k_differents", 10000, -1},     {"10k_pathologique", 10000, 2},
                    {"200k_melange", 200000, kMelange}};

struct Paire {
  std::string ancien, nouveau;  // paths
  std::string texteA, texteB;
  std::vector<int> numerosA, numerosB;  // each line's number, equal lines alike
};

std::string Ligne(std::mt19937_64& alea, const char* prefixe) {
  return std::string(prefixe) + " " + std::to_string(alea() % 1000000000) + " de la phrase numéro " +
         std::to_string(alea() % 100000);
}

void Ecris(const std::string& chemin, const std::vector<std::string>& lignes) {
  std::ofstream f(chemin, std::ios::binary);
  for (const auto& l : lignes) f << l << '\n';
}

// Generated once, in a folder of the temporary directory.
const Paire& DonnePaire(size_t i) {
  static std::vector<Paire> paires = [] {
    std::vector<Paire> p;
    // Removed when the program ends.
    static const struct Dossier {
      std::filesystem::path chemin =
          std::filesystem::temp_directory_path() / ("bench_synchro_" + std::to_string(getpid()));
      Dossier() { std::filesystem::create_directories(chemin); }
      ~Dossier() {
        std::error_code ec;
        std::filesystem::remove_all(chemin, ec);
      }
    } temporaire;
    const auto& dossier = temporaire.chemin;
    std::mt19937_64 alea(15);
    for (const Cas& c : kCas) {
      std::vector<std::string> a, b;
      if (c.part == kMelange) {
        std::ifstream liste("/usr/share/dict/french");
        for (std::string mot; static_cast<int>(a.size()) < c.lignes && std::getline(liste, mot);)
          a.push_back(mot);
        b = a;
        std::shuffle(b.begin(), b.end(), alea);
      } else if (c.part == 2) {
        for (int k = 0; k < c.lignes; ++k) a.push_back(std::string(1, static_cast<char>('a' + alea() % 4)));
        for (int k = 0; k < c.lignes; ++k) b.push_back(std::string(1, static_cast<char>('a' + alea() % 4)));
      } else if (c.part < 0) {
        for (int k = 0; k < c.lignes; ++k) a.push_back(Ligne(alea, "ancienne"));
        for (int k = 0; k < c.lignes; ++k) b.push_back(Ligne(alea, "nouvelle"));
      } else {
        for (int k = 0; k < c.lignes; ++k) a.push_back(Ligne(alea, "ligne"));
        b = a;
        for (int e = 0; e < static_cast<int>(c.lignes * c.part); ++e) {
          const size_t k = alea() % b.size();
          switch (alea() % 3) {
            case 0: b[k] += " modifiée"; break;
            case 1: b.erase(b.begin() + static_cast<long>(k)); break;
            default: b.insert(b.begin() + static_cast<long>(k), Ligne(alea, "insérée"));
          }
        }
      }
      Paire paire;
      paire.ancien = (dossier / (std::string(c.nom) + ".a")).string();
      paire.nouveau = (dossier / (std::string(c.nom) + ".b")).string();
      Ecris(paire.ancien, a);
      Ecris(paire.nouveau, b);
      for (const auto& l : a) paire.texteA += l + '\n';
      for (const auto& l : b) paire.texteB += l + '\n';
      std::unordered_map<std::string, int> numeros;
      for (const auto& l : a) paire.numerosA.push_back(numeros.emplace(l, numeros.size()).first->second);
      for (const auto& l : b) paire.numerosB.push_back(numeros.emplace(l, numeros.size()).first->second);
      p.push_back(std::move(paire));
    }
    return p;
  }();
  return paires[i];
}

// A caller's own callback, which the search cannot recognise: one call per comparison.
bool CompareEntiersAppel(void* a, int i, void* b, int j) {
  return static_cast<const int*>(a)[i] == static_cast<const int*>(b)[j];
}

// The exact searches (Synchro, diff --minimal) grow as the square of a shuffled file: they get a
// limit there, as on the pathological pair. The bounded line comparison and the program need
// none on the shuffled file.
float Limite(size_t cas) { return kCas[cas].part == 2 || kCas[cas].part == kMelange ? 0.1f : 0; }
float LimiteBornee(size_t cas) { return kCas[cas].part == 2 ? 0.1f : 0; }

void SynchroBibliotheque(benchmark::State& etat, Synchro::Comparaison compare) {
  const size_t cas = static_cast<size_t>(etat.range(0));
  Paire p = DonnePaire(cas);
  std::vector<int> resultat(p.numerosB.size() + 1);
  int distance = 0;
  for (auto _ : etat) {
    Synchro s(p.numerosA.data(), static_cast<int>(p.numerosA.size()), p.numerosB.data(),
              static_cast<int>(p.numerosB.size()), compare, Limite(cas));
    benchmark::DoNotOptimize(s.Synchronise(resultat.data()));
    int communs = 0;
    for (size_t j = 0; j < p.numerosB.size(); ++j) communs += resultat[j] >= 0;
    distance = static_cast<int>(p.numerosA.size() + p.numerosB.size()) - 2 * communs;
  }
  etat.SetLabel(kCas[cas].nom);
  etat.counters["distance"] = distance;
}

void BM_SynchroBibliotheque(benchmark::State& etat) { SynchroBibliotheque(etat, Synchro::CompareEntiers); }
void BM_SynchroBibliothequeRappel(benchmark::State& etat) { SynchroBibliotheque(etat, CompareEntiersAppel); }

void BM_SynchroLignes(benchmark::State& etat) {
  const size_t cas = static_cast<size_t>(etat.range(0));
  const Paire& p = DonnePaire(cas);
  sdd::TexteEnLignes a, b;
  a.octets = p.texteA;
  b.octets = p.texteB;
  int distance = 0;
  for (auto _ : etat) {
    a.Decoupe();
    b.Decoupe();
    distance = sdd::CompareLignes(a.lignes, b.lignes, {LimiteBornee(cas), nullptr}).distance;
  }
  etat.SetLabel(kCas[cas].nom);
  etat.counters["distance"] = distance;
}

// One process, standard output to /dev/null; its exit status must be diff's "different".
void Lance(benchmark::State& etat, const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid;
  int statut = 0;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0 ||
      waitpid(pid, &statut, 0) < 0 || !WIFEXITED(statut) || WEXITSTATUS(statut) != 1)
    etat.SkipWithError((arguments[0] + " failed").c_str());
  posix_spawn_file_actions_destroy(&actions);
}

void BM_ProgrammeSynchro(benchmark::State& etat) {
  const size_t cas = static_cast<size_t>(etat.range(0));
  const Paire& p = DonnePaire(cas);
  std::vector<std::string> arguments = {OUTILS_SOCLE_PROGRAMME, "synchro", p.ancien, p.nouveau};
  if (LimiteBornee(cas) > 0) arguments.insert(arguments.end(), {"--limite", "0.1"});
  for (auto _ : etat) Lance(etat, arguments);
  etat.SetLabel(kCas[cas].nom);
}

void BM_DiffGnu(benchmark::State& etat) {
  const size_t cas = static_cast<size_t>(etat.range(0));
  const Paire& p = DonnePaire(cas);
  for (auto _ : etat) Lance(etat, {"diff", "-u", p.ancien, p.nouveau});
  etat.SetLabel(kCas[cas].nom);
}

void BM_DiffGnuMinimal(benchmark::State& etat) {
  const size_t cas = static_cast<size_t>(etat.range(0));
  const Paire& p = DonnePaire(cas);
  if (kCas[cas].part == kMelange) {
    etat.SkipWithError("not run: diff --minimal grows as the square of a shuffled file");
    return;
  }
  for (auto _ : etat) Lance(etat, {"diff", "-u", "--minimal", p.ancien, p.nouveau});
  etat.SetLabel(kCas[cas].nom);
}

void TousLesCas(benchmark::internal::Benchmark* b) {
  for (size_t i = 0; i < std::size(kCas); ++i) b->Arg(static_cast<long>(i));
  b->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_SynchroBibliotheque)->Apply(TousLesCas);
BENCHMARK(BM_SynchroBibliothequeRappel)->Apply(TousLesCas);
BENCHMARK(BM_SynchroLignes)->Apply(TousLesCas);
BENCHMARK(BM_ProgrammeSynchro)->Apply(TousLesCas);
BENCHMARK(BM_DiffGnu)->Apply(TousLesCas);
BENCHMARK(BM_DiffGnuMinimal)->Apply(TousLesCas);

}  // namespace

BENCHMARK_MAIN();
