// The lexicon at scale, beside dawgdic and marisa-trie: 3,000,000 distinct forms generated from
// the French and English word lists (a French word joined by "", "-" or "_" to an English one,
// seeded), as users compile lists far bigger than a dictionary (inflected forms, names,
// multi-word expressions).
//
// Each compilation runs in a child process, so that its peak memory is its own: the counters
// give the peak above the size at the start of the building (pic_Mo), per form
// (octets_par_forme); ours also gives the writing speed of the compact form (ecriture_Mo_s).
// Our input, a list of strings, is made before the clock starts; the peers insert from the
// parent's strings. Exact lookups of the
// shuffled forms then run on the three structures, built once.
#include <benchmark/benchmark.h>
#include <dawgdic/dawg-builder.h>
#include <dawgdic/dictionary-builder.h>
#include <malloc.h>
#include <marisa.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>

#include <outils_socle/flux/TamponMemoire.h>
#include "automates/ResumesEtats.h"

namespace {

using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;

constexpr size_t kFormes = 3000000;

std::vector<std::string> Lis(const char* chemin) {
  std::vector<std::string> mots;
  std::ifstream f(chemin);
  std::string m;
  while (std::getline(f, m))
    if (!m.empty() && m.find('\'') == std::string::npos) mots.push_back(m);
  return mots;
}

struct Formes {
  std::vector<std::string> triees, melangees;
};

const Formes& Donnees() {
  static const Formes* formes = [] {
    auto* f = new Formes;
    const auto francais = Lis("/usr/share/dict/french");
    const auto anglais = Lis("/usr/share/dict/american-english");
    std::mt19937_64 alea(kFormes);
    const char* const liens[] = {"", "-", "_"};
    std::unordered_set<std::string> vues;
    vues.reserve(kFormes * 2);
    while (vues.size() < kFormes) {
      std::string forme = francais[alea() % francais.size()];
      forme += liens[alea() % 3];
      forme += anglais[alea() % anglais.size()];
      if (forme.size() <= AutomateAcycliqueMin::kLongueurMaxMot) vues.insert(std::move(forme));
    }
    f->melangees.assign(vues.begin(), vues.end());
    std::shuffle(f->melangees.begin(), f->melangees.end(), alea);
    f->triees = f->melangees;
    // Byte order of UTF-8 is unit order of UTF-16 below U+10000, where all these lie.
    std::sort(f->triees.begin(), f->triees.end());
    return f;
  }();
  return *formes;
}

struct Mesure {
  double secondes = 0;
  double picOctets = 0;
  double ecritureSecondes = 0;
  uint64_t octetsEcrits = 0;
};

// The resident size and its peak, from /proc/self/status, in bytes.
double LigneStatus(const char* nom) {
  std::ifstream f("/proc/self/status");
  std::string ligne;
  while (std::getline(f, ligne))
    if (ligne.rfind(nom, 0) == 0) return 1024.0 * std::stod(ligne.substr(std::string(nom).size()));
  return 0;
}

// Started by the work once its input is ready: the peak is reset to the current size (Linux
// clear_refs), so that what is measured is the building alone, not the input or the parent's
// pages the child inherits.
struct Chrono {
  std::chrono::steady_clock::time_point debut;
  double base = 0;
  void Demarre() {
    // Free heap pages inherited from the parent would be reused without raising the resident
    // size: give them back first, so that every page the building touches counts.
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    base = LigneStatus("VmRSS:");
    debut = std::chrono::steady_clock::now();
  }
};

// Runs `travail(chrono)` in a child process and brings back its time and its peak memory
// above the size it had when it started the clock.
template <typename F>
Mesure DansUnEnfant(F&& travail) {
  int tube[2];
  if (pipe(tube) != 0) return {};
  const pid_t pid = fork();
  if (pid == 0) {
    close(tube[0]);
    Chrono chrono;
    Mesure m = travail(chrono);
    m.secondes = std::chrono::duration<double>(std::chrono::steady_clock::now() - chrono.debut).count();
    m.picOctets = LigneStatus("VmHWM:") - chrono.base;
    const ssize_t ecrits = write(tube[1], &m, sizeof(m));
    _exit(ecrits == static_cast<ssize_t>(sizeof(m)) ? 0 : 1);
  }
  close(tube[1]);
  Mesure m;
  const ssize_t lus = read(tube[0], &m, sizeof(m));
  close(tube[0]);
  int statut = 0;
  waitpid(pid, &statut, 0);
  if (lus != static_cast<ssize_t>(sizeof(m))) return {};
  return m;
}

void Rapporte(benchmark::State& etat, const Mesure& m) {
  etat.SetIterationTime(m.secondes);
  etat.counters["pic_Mo"] = m.picOctets / 1e6;
  etat.counters["octets_par_forme"] = m.picOctets / static_cast<double>(kFormes);
  if (m.octetsEcrits != 0) {
    etat.counters["ecriture_Mo_s"] = static_cast<double>(m.octetsEcrits) / 1e6 / m.ecritureSecondes;
    etat.counters["octets_ecrits"] = static_cast<double>(m.octetsEcrits);
  }
}

void CompileNous(benchmark::State& etat, const std::vector<std::string>& entree) {
  for (auto _ : etat) {
    Rapporte(etat, DansUnEnfant([&](Chrono& chrono) {
               // The compiler's input is a list of strings: made before the clock starts.
               sdd::ListeT<ChaineN> liste;
               for (const auto& m : entree) liste.Ajoute(ChaineN(m.c_str(), ChaineN::kCodageUTF8, m.size()));
               chrono.Demarre();
               sdd::CompilateurAutomateAcycliqueMin compilateur(liste);
               sdd::TamponMemoire sortie;
               const auto t0 = std::chrono::steady_clock::now();
               compilateur.FormeCompactay(sortie);
               Mesure m;
               m.ecritureSecondes =
                   std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
               m.octetsEcrits = sortie.Taille();
               return m;
             }));
  }
}

void BM_Echelle_Nous_Triees(benchmark::State& etat) { CompileNous(etat, Donnees().triees); }
void BM_Echelle_Nous_Melangees(benchmark::State& etat) { CompileNous(etat, Donnees().melangees); }

void BM_Echelle_Dawgdic_Triees(benchmark::State& etat) {
  const auto& triees = Donnees().triees;
  for (auto _ : etat) {
    Rapporte(etat, DansUnEnfant([&](Chrono& chrono) {
               chrono.Demarre();
               dawgdic::DawgBuilder constructeur;
               for (const auto& m : triees) constructeur.Insert(m.data(), m.size(), 0);
               dawgdic::Dawg dawg;
               constructeur.Finish(&dawg);
               dawgdic::Dictionary dictionnaire;
               dawgdic::DictionaryBuilder::Build(dawg, &dictionnaire);
               return Mesure{};
             }));
  }
}

void BM_Echelle_Marisa_Triees(benchmark::State& etat) {
  const auto& triees = Donnees().triees;
  for (auto _ : etat) {
    Rapporte(etat, DansUnEnfant([&](Chrono& chrono) {
               chrono.Demarre();
               marisa::Keyset cles;
               for (const auto& m : triees) cles.push_back(m.data(), m.size());
               marisa::Trie trie;
               trie.build(cles);
               return Mesure{};
             }));
  }
}

BENCHMARK(BM_Echelle_Nous_Triees)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Echelle_Nous_Melangees)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Echelle_Dawgdic_Triees)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Echelle_Marisa_Triees)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- writing the compact form alone, again and again from one compiled lexicon: steadier
// than the single writing timed inside each build above

void BM_EchelleEcriture_Nous(benchmark::State& etat) {
  static sdd::CompilateurAutomateAcycliqueMin* compilateur = [] {
    sdd::ListeT<ChaineN> liste;
    for (const auto& m : Donnees().triees) liste.Ajoute(ChaineN(m.c_str(), ChaineN::kCodageUTF8, m.size()));
    return new sdd::CompilateurAutomateAcycliqueMin(liste);
  }();
  uint64_t octets = 0;
  for (auto _ : etat) {
    sdd::TamponMemoire sortie;
    compilateur->FormeCompactay(sortie);
    octets += sortie.Taille();
  }
  etat.SetBytesProcessed(static_cast<int64_t>(octets));
}
BENCHMARK(BM_EchelleEcriture_Nous)->Unit(benchmark::kMillisecond)->MinTime(3);

// ---- exact lookups on the 3,000,000 forms, in shuffled order

struct Structures {
  sdd::TamponMemoire octets;
  std::unique_ptr<AutomateAcycliqueMin> nous;
  std::vector<ChaineN> requetes;
  dawgdic::Dictionary dawgdic;
  marisa::Trie marisa;
};

const Structures& Construites() {
  static const Structures* s = [] {
    auto* x = new Structures;
    const Formes& f = Donnees();
    sdd::ListeT<ChaineN> liste;
    for (const auto& m : f.triees) liste.Ajoute(ChaineN(m.c_str(), ChaineN::kCodageUTF8, m.size()));
    sdd::CompilateurAutomateAcycliqueMin compilateur(liste);
    compilateur.FormeCompactay(x->octets);
    x->nous = std::make_unique<AutomateAcycliqueMin>(&x->octets);
    for (const auto& m : f.melangees) x->requetes.emplace_back(m.c_str(), ChaineN::kCodageUTF8, m.size());
    dawgdic::DawgBuilder constructeur;
    for (const auto& m : f.triees) constructeur.Insert(m.data(), m.size(), 0);
    dawgdic::Dawg dawg;
    constructeur.Finish(&dawg);
    dawgdic::DictionaryBuilder::Build(dawg, &x->dawgdic);
    marisa::Keyset cles;
    for (const auto& m : f.triees) cles.push_back(m.data(), m.size());
    x->marisa.build(cles);
    return x;
  }();
  return *s;
}

void BM_EchellePresent_Nous(benchmark::State& etat) {
  const Structures& s = Construites();
  size_t i = 0;
  for (auto _ : etat) {
    benchmark::DoNotOptimize(s.nous->NoPourMot(s.requetes[i]));
    if (++i == s.requetes.size()) i = 0;
  }
}

void BM_EchellePresent_Dawgdic(benchmark::State& etat) {
  const Structures& s = Construites();
  const auto& mots = Donnees().melangees;
  size_t i = 0;
  for (auto _ : etat) {
    benchmark::DoNotOptimize(s.dawgdic.Contains(mots[i].data(), mots[i].size()));
    if (++i == mots.size()) i = 0;
  }
}

void BM_EchellePresent_Marisa(benchmark::State& etat) {
  const Structures& s = Construites();
  const auto& mots = Donnees().melangees;
  marisa::Agent agent;
  size_t i = 0;
  for (auto _ : etat) {
    agent.set_query(mots[i].data(), mots[i].size());
    benchmark::DoNotOptimize(s.marisa.lookup(agent));
    if (++i == mots.size()) i = 0;
  }
}

// What a correction search learns once about the states (the summaries of what lies below
// each one), computed afresh each iteration: time and memory per state on 3,000,000 forms.
void BM_EchelleResumes_Nous(benchmark::State& etat) {
  const Structures& s = Construites();
  size_t octets = 0, etats = 0;
  for (auto _ : etat) {
    const auto r = s.nous->LargeurAdresse() == 3
                       ? sdd::detail::ResumesEtats::Calcule(sdd::LecteurAutomate<3>(*s.nous))
                       : sdd::detail::ResumesEtats::Calcule(sdd::LecteurAutomate<4>(*s.nous));
    if (r == nullptr) {
      etat.SkipWithError("no summaries");
      return;
    }
    octets = r->Octets();
    etats = r->NbEtats();
  }
  etat.counters["etats"] = static_cast<double>(etats);
  etat.counters["octets_par_etat"] = static_cast<double>(octets) / static_cast<double>(etats);
}

BENCHMARK(BM_EchellePresent_Nous);
BENCHMARK(BM_EchelleResumes_Nous)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EchellePresent_Dawgdic);
BENCHMARK(BM_EchellePresent_Marisa);

}  // namespace

BENCHMARK_MAIN();
