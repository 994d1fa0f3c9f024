// The lexicon automaton on the French word list, beside marisa-trie and dawgdic in the same run.
// Items per second are queries (or words compiled); "octets" is the stored size.
#include <benchmark/benchmark.h>
#include <dawgdic/completer.h>
#include <dawgdic/dawg-builder.h>
#include <dawgdic/dictionary-builder.h>
#include <dawgdic/guide-builder.h>
#include <marisa.h>

#include <fnmatch.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>

#include <outils_socle/flux/TamponMemoire.h>
#include "automates/IndexNumeros.h"
#include "automates/ResumesEtats.h"

namespace {

using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;

struct Corpus {
  std::vector<std::string> tries;     // UTF-8, byte order (the peers' input)
  std::vector<std::string> melanges;  // the same words shuffled: the query order
  std::vector<std::string> absents;   // one absent word per word
  sdd::ListeT<ChaineN> liste;         // the file's words, shuffled: the compiler's input
  std::vector<ChaineN> requetes;      // = melanges
  std::vector<ChaineN> requetesAbsentes;
  std::vector<ChaineN> fautes;  // one typing mistake in a sample of words
  sdd::TamponMemoire lexique;
  std::unique_ptr<AutomateAcycliqueMin> automate;
  marisa::Trie marisa;
  std::string dawgdicOctets;
  dawgdic::Dictionary dawgdic;
  dawgdic::Guide guide;
  std::vector<uint32_t> numeros;  // 0..N−1 shuffled
  // The queries' units end to end, as the peers' short std::strings hold their bytes inline:
  // (start, length) into `unites`.
  std::u16string unites, unitesAbsentes;
  std::vector<std::pair<uint32_t, uint32_t>> vues, vuesAbsentes;
};

const Corpus& Donnees() {
  static const Corpus* corpus = [] {
    auto* c = new Corpus;
    std::ifstream f("/usr/share/dict/french");
    std::string mot;
    while (std::getline(f, mot))
      if (!mot.empty()) c->tries.push_back(mot);
    std::sort(c->tries.begin(), c->tries.end());
    c->tries.erase(std::unique(c->tries.begin(), c->tries.end()), c->tries.end());
    std::mt19937 alea(42);
    c->melanges = c->tries;
    std::shuffle(c->melanges.begin(), c->melanges.end(), alea);
    for (const auto& m : c->melanges) {
      std::string absent = m + "q";
      while (std::binary_search(c->tries.begin(), c->tries.end(), absent)) absent += "#";
      c->absents.push_back(absent);
      c->requetes.emplace_back(m.c_str());
      c->liste.Ajoute(c->requetes.back());
      c->requetesAbsentes.emplace_back(absent.c_str());
    }
    for (const ChaineN& m : c->requetes) {
      c->vues.emplace_back(static_cast<uint32_t>(c->unites.size()), static_cast<uint32_t>(m.Longueur()));
      c->unites.append(m.DonneUnites(), m.Longueur());
    }
    for (const ChaineN& m : c->requetesAbsentes) {
      c->vuesAbsentes.emplace_back(static_cast<uint32_t>(c->unitesAbsentes.size()),
                                   static_cast<uint32_t>(m.Longueur()));
      c->unitesAbsentes.append(m.DonneUnites(), m.Longueur());
    }
    for (size_t i = 0; i < 2000; ++i) {
      std::u16string u(c->requetes[i].DonneUnites(), c->requetes[i].Longueur());
      if (u.size() < 3) continue;
      const size_t p = alea() % u.size();
      switch (alea() % 3) {
        case 0: u.erase(p, 1); break;
        case 1: u[p] = static_cast<char16_t>(u'a' + alea() % 26); break;
        default:
          if (p + 1 < u.size()) std::swap(u[p], u[p + 1]);
      }
      c->fautes.emplace_back(u.data(), static_cast<uint64_t>(u.size()));
    }
    sdd::CompilateurAutomateAcycliqueMin compilateur(c->liste);
    compilateur.FormeCompactay(c->lexique);
    c->automate = std::make_unique<AutomateAcycliqueMin>(&c->lexique);
    for (uint32_t n = 0; n < c->automate->NombreDeFormes(); ++n) c->numeros.push_back(n);
    std::shuffle(c->numeros.begin(), c->numeros.end(), alea);

    marisa::Keyset cles;
    for (const auto& m : c->tries) cles.push_back(m.data(), m.size());
    c->marisa.build(cles);
    dawgdic::DawgBuilder constructeur;
    for (const auto& m : c->tries) constructeur.Insert(m.data(), m.size(), 0);
    dawgdic::Dawg dawg;
    constructeur.Finish(&dawg);
    dawgdic::DictionaryBuilder::Build(dawg, &c->dawgdic);
    dawgdic::GuideBuilder::Build(dawg, c->dawgdic, &c->guide);
    std::ostringstream sortie;
    c->dawgdic.Write(&sortie);
    c->guide.Write(&sortie);
    c->dawgdicOctets = sortie.str();
    return c;
  }();
  return *corpus;
}

// Runs requete(0), requete(1), … requete(n − 1), then again from 0, once per iteration; items
// are queries.
template <typename Requete>
void ParRequete(benchmark::State& state, size_t n, Requete requete) {
  size_t i = 0;
  for (auto _ : state) {
    requete(i);
    if (++i == n) i = 0;
  }
  state.SetItemsProcessed(state.iterations());
}

// ---- compilation (and the stored form written), from the file's words

void BM_Compilation_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  for (auto _ : state) {
    sdd::CompilateurAutomateAcycliqueMin compilateur(c.liste);
    sdd::TamponMemoire t;
    compilateur.FormeCompactay(t);
    benchmark::DoNotOptimize(t.Taille());
    state.counters["octets"] = static_cast<double>(t.Taille());
  }
  state.SetItemsProcessed(state.iterations() * c.liste.Taille());
}
BENCHMARK(BM_Compilation_Nous)->Unit(benchmark::kMillisecond)->UseRealTime();

// From the list already sorted, as the peers are given it.
void BM_Compilation_NousDepuisTriee(benchmark::State& state) {
  const Corpus& c = Donnees();
  static const sdd::ListeT<ChaineN> triee = [&] {
    sdd::ListeT<ChaineN> l;
    for (const auto& m : c.tries) l.Ajoute(ChaineN(m.c_str()));
    // Byte order of UTF-8 and unit order of UTF-16 differ only above U+FFFF: none here.
    return l;
  }();
  for (auto _ : state) {
    sdd::CompilateurAutomateAcycliqueMin compilateur(triee);
    sdd::TamponMemoire t;
    compilateur.FormeCompactay(t);
    benchmark::DoNotOptimize(t.Taille());
  }
  state.SetItemsProcessed(state.iterations() * triee.Taille());
}
BENCHMARK(BM_Compilation_NousDepuisTriee)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Compilation_Marisa(benchmark::State& state) {
  const Corpus& c = Donnees();
  for (auto _ : state) {
    marisa::Keyset cles;
    for (const auto& m : c.tries) cles.push_back(m.data(), m.size());
    marisa::Trie trie;
    trie.build(cles);
    std::ostringstream sortie;
    marisa::write(sortie, trie);
    state.counters["octets"] = static_cast<double>(sortie.str().size());
  }
  state.SetItemsProcessed(state.iterations() * c.tries.size());
}
BENCHMARK(BM_Compilation_Marisa)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Compilation_Dawgdic(benchmark::State& state) {
  const Corpus& c = Donnees();
  for (auto _ : state) {
    dawgdic::DawgBuilder constructeur;
    for (const auto& m : c.tries) constructeur.Insert(m.data(), m.size(), 0);
    dawgdic::Dawg dawg;
    constructeur.Finish(&dawg);
    dawgdic::Dictionary dictionnaire;
    dawgdic::DictionaryBuilder::Build(dawg, &dictionnaire);
    dawgdic::Guide guide;
    dawgdic::GuideBuilder::Build(dawg, dictionnaire, &guide);
    std::ostringstream sortie;
    dictionnaire.Write(&sortie);
    guide.Write(&sortie);
    state.counters["octets"] = static_cast<double>(sortie.str().size());
  }
  state.SetItemsProcessed(state.iterations() * c.tries.size());
}
BENCHMARK(BM_Compilation_Dawgdic)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- exact lookups, shuffled

void BM_Present_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  ParRequete(state, c.vues.size(), [&](size_t i) {
    const auto [debut, n] = c.vues[i];
    benchmark::DoNotOptimize(c.automate->NoPourMot(c.unites.data() + debut, n));
  });
}
BENCHMARK(BM_Present_Nous);

// The same through ChaineN objects, each with its own buffer on the heap: one more pointer to
// follow per query, which the peers' inline short strings do not pay.
void BM_Present_NousChaineN(benchmark::State& state) {
  const Corpus& c = Donnees();
  ParRequete(state, c.requetes.size(),
             [&](size_t i) { benchmark::DoNotOptimize(c.automate->NoPourMot(c.requetes[i])); });
}
BENCHMARK(BM_Present_NousChaineN);

void BM_Present_Marisa(benchmark::State& state) {
  const Corpus& c = Donnees();
  marisa::Agent agent;
  ParRequete(state, c.melanges.size(), [&](size_t i) {
    agent.set_query(c.melanges[i].data(), c.melanges[i].size());
    benchmark::DoNotOptimize(c.marisa.lookup(agent));
  });
}
BENCHMARK(BM_Present_Marisa);

void BM_Present_Dawgdic(benchmark::State& state) {
  const Corpus& c = Donnees();
  ParRequete(state, c.melanges.size(), [&](size_t i) {
    benchmark::DoNotOptimize(c.dawgdic.Contains(c.melanges[i].data(), c.melanges[i].size()));
  });
}
BENCHMARK(BM_Present_Dawgdic);

void BM_Absent_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  ParRequete(state, c.vuesAbsentes.size(), [&](size_t i) {
    const auto [debut, n] = c.vuesAbsentes[i];
    benchmark::DoNotOptimize(c.automate->NoPourMot(c.unitesAbsentes.data() + debut, n));
  });
}
BENCHMARK(BM_Absent_Nous);

void BM_Absent_Marisa(benchmark::State& state) {
  const Corpus& c = Donnees();
  marisa::Agent agent;
  ParRequete(state, c.absents.size(), [&](size_t i) {
    agent.set_query(c.absents[i].data(), c.absents[i].size());
    benchmark::DoNotOptimize(c.marisa.lookup(agent));
  });
}
BENCHMARK(BM_Absent_Marisa);

void BM_Absent_Dawgdic(benchmark::State& state) {
  const Corpus& c = Donnees();
  ParRequete(state, c.absents.size(), [&](size_t i) {
    benchmark::DoNotOptimize(c.dawgdic.Contains(c.absents[i].data(), c.absents[i].size()));
  });
}
BENCHMARK(BM_Absent_Dawgdic);

// ---- insensitive lookups: every word as stored, all differences tolerated

void BM_Insensible_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  ParRequete(state, c.requetes.size(), [&](size_t i) {
    formes.Vide();
    c.automate->FormesPour(c.requetes[i], formes);
    benchmark::DoNotOptimize(formes.Taille());
  });
}
BENCHMARK(BM_Insensible_Nous);

// The same call with no difference tolerated: what the walk itself adds is the gap.
void BM_ExactParFormesPour_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
  const AutomateAcycliqueMin::_OptionRecherche exact(AutomateAcycliqueMin::_OptionRecherche::kExactSeulement);
  ParRequete(state, c.requetes.size(), [&](size_t i) {
    formes.Vide();
    c.automate->FormesPour(c.requetes[i], formes, exact);
    benchmark::DoNotOptimize(formes.Taille());
  });
}
BENCHMARK(BM_ExactParFormesPour_Nous);

// ---- number to word, shuffled

void BM_NumeroVersMot_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  AutomateAcycliqueMin::_Forme f;
  ParRequete(state, c.numeros.size(),
             [&](size_t i) { benchmark::DoNotOptimize(c.automate->FormePourNo(c.numeros[i], f)); });
}
BENCHMARK(BM_NumeroVersMot_Nous);

void BM_NumeroVersMot_Marisa(benchmark::State& state) {
  const Corpus& c = Donnees();
  marisa::Agent agent;
  ParRequete(state, c.numeros.size(), [&](size_t i) {
    agent.set_query(static_cast<size_t>(c.numeros[i]));
    c.marisa.reverse_lookup(agent);
    benchmark::DoNotOptimize(agent.key().length());
  });
}
BENCHMARK(BM_NumeroVersMot_Marisa);

// Word to number: our NoPourMot is the exact lookup above; marisa's lookup also gives the id.

// ---- prefix listing: every word under "anti", "re" and "é"

const char* const kPrefixes[] = {"anti", "re", "é"};

void BM_Prefixes_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  uint64_t n = 0;
  const AutomateAcycliqueMin::_OptionRecherche exact(AutomateAcycliqueMin::_OptionRecherche::kExactSeulement);
  for (auto _ : state) {
    for (const char* p : kPrefixes) {
      sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
      c.automate->FormesCommencant(ChaineN(p), formes, exact);
      n += formes.Taille();
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(BM_Prefixes_Nous)->Unit(benchmark::kMillisecond);

// The peers' prefix walks, handing each key's bytes to `cle`.
template <typename F>
void PrefixesMarisa(benchmark::State& state, F&& cle) {
  const Corpus& c = Donnees();
  marisa::Agent agent;
  uint64_t n = 0;
  for (auto _ : state) {
    for (const char* p : kPrefixes) {
      agent.set_query(p);
      while (c.marisa.predictive_search(agent)) {
        cle(agent.key().ptr(), agent.key().length());
        ++n;
      }
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(n));
}

template <typename F>
void PrefixesDawgdic(benchmark::State& state, F&& cle) {
  const Corpus& c = Donnees();
  uint64_t n = 0;
  for (auto _ : state) {
    for (const char* p : kPrefixes) {
      dawgdic::BaseType index = c.dawgdic.root();
      if (!c.dawgdic.Follow(p, &index)) continue;
      dawgdic::Completer completer(c.dawgdic, c.guide);
      completer.Start(index, p);
      while (completer.Next()) {
        cle(completer.key(), completer.length());
        ++n;
      }
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(n));
}

// Each key gathered as a string, as our list holds each form.
constexpr auto GardeCle = [](const char* octets, size_t n) {
  benchmark::DoNotOptimize(std::string(octets, n));
};
// Each key only seen, as our visitor sees each form.
constexpr auto VoitCle = [](const char* octets, size_t n) {
  benchmark::DoNotOptimize(octets);
  benchmark::DoNotOptimize(n);
};

void BM_Prefixes_Marisa(benchmark::State& state) { PrefixesMarisa(state, GardeCle); }
BENCHMARK(BM_Prefixes_Marisa)->Unit(benchmark::kMillisecond);

void BM_Prefixes_Dawgdic(benchmark::State& state) { PrefixesDawgdic(state, GardeCle); }
BENCHMARK(BM_Prefixes_Dawgdic)->Unit(benchmark::kMillisecond);

// The same walks with nothing built per key: our visitor against the peers' cursors, each key
// seen only as its characters and length.
void BM_PrefixesVisites_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  uint64_t n = 0;
  const AutomateAcycliqueMin::_OptionRecherche exact(AutomateAcycliqueMin::_OptionRecherche::kExactSeulement);
  for (auto _ : state) {
    for (const char* p : kPrefixes) {
      c.automate->VisiteFormesCommencant(
          ChaineN(p),
          [&](const char16_t* unites, uint32_t longueur, uint32_t) {
            benchmark::DoNotOptimize(unites);
            benchmark::DoNotOptimize(longueur);
            ++n;
            return true;
          },
          exact);
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(BM_PrefixesVisites_Nous)->Unit(benchmark::kMillisecond);

void BM_PrefixesVisites_Marisa(benchmark::State& state) { PrefixesMarisa(state, VoitCle); }
BENCHMARK(BM_PrefixesVisites_Marisa)->Unit(benchmark::kMillisecond);

void BM_PrefixesVisites_Dawgdic(benchmark::State& state) { PrefixesDawgdic(state, VoitCle); }
BENCHMARK(BM_PrefixesVisites_Dawgdic)->Unit(benchmark::kMillisecond);

// ---- joker patterns, beside a scan of the sorted list with fnmatch (case folded; its "?" is one
// byte, so the patterns below keep it on ASCII letters)

const char* const kMotifs[] = {"*ph?nt*", "c?e*r", "anti*ment", "*tion"};

void BM_Joker_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  uint64_t n = 0;
  for (auto _ : state) {
    for (const char* m : kMotifs) {
      sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
      c.automate->FormesPourJoker(ChaineN(m), formes);
      n += formes.Taille();
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(BM_Joker_Nous)->Unit(benchmark::kMillisecond);

void BM_Joker_Fnmatch(benchmark::State& state) {
  const Corpus& c = Donnees();
  uint64_t n = 0;
  for (auto _ : state) {
    for (const char* m : kMotifs) {
      for (const std::string& mot : c.tries) n += fnmatch(m, mot.c_str(), FNM_CASEFOLD) == 0;
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(BM_Joker_Fnmatch)->Unit(benchmark::kMillisecond);

// The first twenty forms of each prefix: the limit stops the walk.
void BM_PrefixesLimites_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  const AutomateAcycliqueMin::_OptionRecherche exact(AutomateAcycliqueMin::_OptionRecherche::kExactSeulement);
  ParRequete(state, 1000, [&](size_t i) {
    sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
    const ChaineN& mot = c.requetes[i];
    c.automate->FormesCommencant(ChaineN(mot.DonneUnites(), std::min<uint64_t>(3, mot.Longueur())), formes,
                                 exact, 20);
    benchmark::DoNotOptimize(formes.Taille());
  });
}
BENCHMARK(BM_PrefixesLimites_Nous)->Unit(benchmark::kMicrosecond);

// ---- many numbers to forms in one walk: a thousand numbers at random, then the same sorted

void BM_FormePourNos_Nous(benchmark::State& state) {
  const Corpus& c = Donnees();
  sdd::ListeT<uint32_t> numeros;
  for (size_t i = 0; i < 1000; ++i) numeros.Ajoute(c.numeros[i]);
  if (state.range(0) != 0) std::sort(numeros.begin(), numeros.end());
  for (auto _ : state) {
    sdd::ListeT<AutomateAcycliqueMin::_Forme> formes;
    c.automate->FormePourNos(numeros, formes);
    benchmark::DoNotOptimize(formes.Taille());
  }
  state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_FormePourNos_Nous)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// ---- corrections within two ordinary mistakes, ten best

void BM_Corrections_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  ParRequete(state, c.fautes.size(), [&](size_t i) {
    sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
    c.automate->FormesProbabilistes(c.fautes[i], {}, 10, 20, nullptr, formes);
    benchmark::DoNotOptimize(formes.Taille());
  });
}
BENCHMARK(BM_Corrections_Nous)->Unit(benchmark::kMicrosecond);

// What the first correction search of an opened lexicon computes once, the summaries of what
// lies below each state: time, and memory per state.
void BM_Resumes_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  size_t octets = 0, etats = 0;
  for (auto _ : state) {
    const auto r = sdd::detail::ResumesEtats::Calcule(sdd::LecteurAutomate<3>(*c.automate));
    octets = r->Octets();
    etats = r->NbEtats();
  }
  state.counters["etats"] = static_cast<double>(etats);
  state.counters["octets_par_etat"] = static_cast<double>(octets) / static_cast<double>(etats);
}
BENCHMARK(BM_Resumes_Nous)->Unit(benchmark::kMillisecond);

// What the first number → form lookup of an opened lexicon builds once, the table of the
// intervals of numbers below the first levels: time, intervals and memory.
void BM_IndexNumeros_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  size_t octets = 0, intervalles = 0;
  for (auto _ : state) {
    const auto index = sdd::detail::IndexNumeros::Construis(sdd::LecteurAutomate<3>(*c.automate));
    octets = index->Octets();
    intervalles = index->Taille();
  }
  state.counters["intervalles"] = static_cast<double>(intervalles);
  state.counters["octets"] = static_cast<double>(octets);
}
BENCHMARK(BM_IndexNumeros_Nous)->Unit(benchmark::kMicrosecond);

// Opening a lexicon in memory: the header, the form count and the table of the first two
// levels' transitions by character that the exact lookup uses.
void BM_Ouverture_Nous(benchmark::State& state) {
  Corpus& c = const_cast<Corpus&>(Donnees());
  for (auto _ : state) {
    AutomateAcycliqueMin a(&c.lexique);
    benchmark::DoNotOptimize(a.NombreDeFormes());
  }
}
BENCHMARK(BM_Ouverture_Nous)->Unit(benchmark::kMicrosecond);

void BM_Taille(benchmark::State& state) {
  const Corpus& c = Donnees();
  for (auto _ : state) benchmark::DoNotOptimize(c.lexique.Taille());
  state.counters["nous"] = static_cast<double>(c.lexique.Taille());
  state.counters["marisa"] = static_cast<double>(c.marisa.io_size());
  state.counters["dawgdic"] = static_cast<double>(c.dawgdicOctets.size());
}
BENCHMARK(BM_Taille)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
