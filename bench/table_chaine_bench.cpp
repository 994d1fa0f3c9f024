// The string table on the French word list, beside its peers in the same run.
//
// Workloads (items are queries, or words inserted); the table's on three layouts of its nodes
// (/arbre:0 as built from the shuffled list, 1 after Compacte, 2 read back from its bytes):
//   Construction_{Table,UnorderedSet,Marisa}     every word, from the shuffled list
//   Present_{Table,SurDisque,UnorderedSet,Marisa}  every word looked up, shuffled
//   Compactage_Table                             laying the nodes out again in tree order
//   Ouverture_SurDisque                          opening the serialised table: its load time
//   Joker_{Table,Balayage}                       "?" and "*" patterns, beside a scan of the list
//   Anagrammes_{Table,Balayage}                  anagrams of words, beside a scan comparing
//                                                sorted letters
//   Prefixes_{Table,Marisa,MarisaEnListe}        every word under "anti", "re" and "é" (the
//                                                last gathered in a list, as the table answers)
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/conteneurs/TableChaineSurDisqueNoyau.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/UniCaractere.h>

#include <benchmark/benchmark.h>
#include <marisa.h>

#include <algorithm>
#include <fstream>
#include <list>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using sdd::ChaineN;

struct Corpus {
  std::vector<std::string> utf8;       // sorted, the peers' input
  std::vector<ChaineN> mots;           // shuffled: the query order
  std::vector<std::u16string> unites;  // the same, as UTF-16
  sdd::TableChaine<> table;
  sdd::TableChaine<> compacte;  // the same, its nodes laid out again in tree order
  sdd::TableChaine<> relue;     // the same, read back from its serialised form
  sdd::TamponMemoire serialisee;
  std::unordered_set<std::u16string> ensemble;
  marisa::Trie marisa;
  std::vector<std::u16string> signatures;  // sorted letters of each word (the anagram scan's)
};

std::u16string Signature(const std::u16string& mot) {
  std::u16string s;
  for (char16_t c : mot) s += sdd::UniCaractere::NormaliseVarianteMinusculiseSansAccent(c);
  std::sort(s.begin(), s.end());
  return s;
}

const Corpus& D() {
  static const Corpus* c = [] {
    auto* x = new Corpus;
    std::ifstream f("/usr/share/dict/french");
    std::string m;
    while (std::getline(f, m))
      if (!m.empty()) x->utf8.push_back(m);
    std::sort(x->utf8.begin(), x->utf8.end());
    x->utf8.erase(std::unique(x->utf8.begin(), x->utf8.end()), x->utf8.end());
    std::vector<std::string> melanges = x->utf8;
    std::shuffle(melanges.begin(), melanges.end(), std::mt19937(42));
    for (const auto& w : melanges) {
      x->mots.emplace_back(w.c_str(), ChaineN::kCodageUTF8);
      x->unites.emplace_back(x->mots.back().DonneUnites(), x->mots.back().Longueur());
      x->table.Insere(x->mots.back());
      x->ensemble.insert(x->unites.back());
      x->signatures.push_back(Signature(x->unites.back()));
    }
    x->table.Ecris(x->serialisee);
    x->compacte = x->table;
    x->compacte.Compacte();
    x->serialisee.Positionne(0);
    x->relue.Lis(x->serialisee);
    marisa::Keyset cles;
    for (const auto& w : x->utf8) cles.push_back(w.data(), w.size());
    x->marisa.build(cles);
    return x;
  }();
  return *c;
}

template <typename F>
void ParRequete(benchmark::State& etat, size_t n, F f) {
  size_t i = 0;
  for (auto _ : etat) {
    f(i);
    if (++i == n) i = 0;
  }
  etat.SetItemsProcessed(etat.iterations());
}

// The table as built from the shuffled list (/arbre:0, its nodes spread over the heap), after
// Compacte (/arbre:1, laid out in tree order), or read back from its serialised form (/arbre:2).
const sdd::TableChaine<>& LaTable(const benchmark::State& etat) {
  switch (etat.range(0)) {
    case 0: return D().table;
    case 1: return D().compacte;
    default: return D().relue;
  }
}

// ---- construction

void Construction_Table(benchmark::State& etat) {
  const Corpus& c = D();
  for (auto _ : etat) {
    sdd::TableChaine<> t;
    for (const ChaineN& m : c.mots) t.Insere(m);
    benchmark::DoNotOptimize(t.Taille());
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * c.mots.size()));
}
BENCHMARK(Construction_Table)->Unit(benchmark::kMillisecond);

void Construction_UnorderedSet(benchmark::State& etat) {
  const Corpus& c = D();
  for (auto _ : etat) {
    std::unordered_set<std::u16string> e;
    for (const auto& u : c.unites) e.insert(u);
    benchmark::DoNotOptimize(e.size());
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * c.mots.size()));
}
BENCHMARK(Construction_UnorderedSet)->Unit(benchmark::kMillisecond);

void Construction_Marisa(benchmark::State& etat) {
  const Corpus& c = D();
  for (auto _ : etat) {
    marisa::Keyset cles;
    for (const auto& w : c.utf8) cles.push_back(w.data(), w.size());
    marisa::Trie t;
    t.build(cles);
    benchmark::DoNotOptimize(t.size());
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * c.mots.size()));
}
BENCHMARK(Construction_Marisa)->Unit(benchmark::kMillisecond);

// ---- exact lookup

void Present_Table(benchmark::State& etat) {
  const Corpus& c = D();
  ParRequete(etat, c.mots.size(),
             [&](size_t i) { benchmark::DoNotOptimize(LaTable(etat).Possede(c.mots[i])); });
}
BENCHMARK(Present_Table)->ArgName("arbre")->DenseRange(0, 2);

void Compactage_Table(benchmark::State& etat) {
  const Corpus& c = D();
  sdd::TableChaine<> t = c.table;
  for (auto _ : etat) {
    t.Compacte();
    benchmark::DoNotOptimize(t.Racine());
  }
}
BENCHMARK(Compactage_Table)->Unit(benchmark::kMillisecond);

void Present_SurDisque(benchmark::State& etat) {
  Corpus& c = const_cast<Corpus&>(D());
  const sdd::TableChaineSurDisqueNoyau disque(&c.serialisee);
  ParRequete(etat, c.mots.size(), [&](size_t i) { benchmark::DoNotOptimize(disque.Possede(c.mots[i])); });
}
BENCHMARK(Present_SurDisque);

void Present_UnorderedSet(benchmark::State& etat) {
  const Corpus& c = D();
  ParRequete(etat, c.unites.size(),
             [&](size_t i) { benchmark::DoNotOptimize(c.ensemble.count(c.unites[i])); });
}
BENCHMARK(Present_UnorderedSet);

void Present_Marisa(benchmark::State& etat) {
  const Corpus& c = D();
  marisa::Agent agent;
  std::vector<std::string> requetes;
  for (const ChaineN& m : c.mots) requetes.push_back(m.Encode());
  ParRequete(etat, requetes.size(), [&](size_t i) {
    agent.set_query(requetes[i].data(), requetes[i].size());
    benchmark::DoNotOptimize(c.marisa.lookup(agent));
  });
}
BENCHMARK(Present_Marisa);

void Ouverture_SurDisque(benchmark::State& etat) {
  Corpus& c = const_cast<Corpus&>(D());
  for (auto _ : etat) {
    sdd::TableChaineSurDisqueNoyau disque(&c.serialisee);
    benchmark::DoNotOptimize(disque.Taille());
  }
}
BENCHMARK(Ouverture_SurDisque);

// ---- jokers

const char16_t* const kMotifs[] = {u"c?e*r", u"anti*ment", u"ab?i*", u"re*er", u"p?rt*"};

bool Glob(const char16_t* p, const std::u16string& m, size_t j) {
  for (; *p != 0; ++p, ++j) {
    if (*p == u'*') {
      for (size_t k = j; k <= m.size(); ++k)
        if (Glob(p + 1, m, k)) return true;
      return false;
    }
    if (j == m.size() || (*p != u'?' && *p != m[j])) return false;
  }
  return j == m.size();
}

void Joker_Table(benchmark::State& etat) {
  uint64_t n = 0;
  for (auto _ : etat) {
    for (const char16_t* motif : kMotifs) {
      sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
      LaTable(etat).FormesPourJoker(ChaineN(motif, std::char_traits<char16_t>::length(motif)), 0, 0x10,
                                    formes);
      n += formes.Taille();
    }
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * std::size(kMotifs)));
  etat.counters["formes"] = static_cast<double>(n) / static_cast<double>(etat.iterations());
}
BENCHMARK(Joker_Table)->ArgName("arbre")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void Joker_Balayage(benchmark::State& etat) {
  const Corpus& c = D();
  uint64_t n = 0;
  for (auto _ : etat) {
    for (const char16_t* motif : kMotifs)
      for (const auto& m : c.unites) n += Glob(motif, m, 0);
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * std::size(kMotifs)));
  etat.counters["formes"] = static_cast<double>(n) / static_cast<double>(etat.iterations());
}
BENCHMARK(Joker_Balayage)->Unit(benchmark::kMillisecond);

// A pattern that begins with "*" can use no prefix: the tree is walked whole.
void JokerEtoileEnTete_Table(benchmark::State& etat) {
  for (auto _ : etat) {
    sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
    LaTable(etat).FormesPourJoker(ChaineN(u"*tion", uint64_t{5}), 0, 0x10, formes);
    benchmark::DoNotOptimize(formes.Taille());
  }
  etat.SetItemsProcessed(etat.iterations());
}
BENCHMARK(JokerEtoileEnTete_Table)->ArgName("arbre")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void JokerEtoileEnTete_Balayage(benchmark::State& etat) {
  const Corpus& c = D();
  for (auto _ : etat) {
    uint64_t n = 0;
    for (const auto& m : c.unites) n += Glob(u"*tion", m, 0);
    benchmark::DoNotOptimize(n);
  }
  etat.SetItemsProcessed(etat.iterations());
}
BENCHMARK(JokerEtoileEnTete_Balayage)->Unit(benchmark::kMillisecond);

// ---- anagrams

void Anagrammes_Table(benchmark::State& etat) {
  const Corpus& c = D();
  ParRequete(etat, 1000, [&](size_t i) {
    sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
    LaTable(etat).FormesPourAnagrammes(c.mots[i], {}, 0, formes);
    benchmark::DoNotOptimize(formes.Taille());
  });
}
BENCHMARK(Anagrammes_Table)->ArgName("arbre")->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

void Anagrammes_Balayage(benchmark::State& etat) {
  const Corpus& c = D();
  ParRequete(etat, 1000, [&](size_t i) {
    const std::u16string s = Signature(c.unites[i]);
    uint64_t n = 0;
    for (const auto& t : c.signatures) n += t == s;
    benchmark::DoNotOptimize(n);
  });
}
BENCHMARK(Anagrammes_Balayage)->Unit(benchmark::kMicrosecond);

// ---- prefixes

const char* const kPrefixes[] = {"anti", "re", "é"};

void Prefixes_Table(benchmark::State& etat) {
  uint64_t n = 0;
  const sdd::OptionRecherche exact(sdd::OptionRecherche::kExactSeulement);
  for (auto _ : etat) {
    for (const char* p : kPrefixes) {
      sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
      LaTable(etat).FormesCommencant(ChaineN(p), exact, 0, formes);
      n += formes.Taille();
    }
  }
  etat.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(Prefixes_Table)->ArgName("arbre")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void Prefixes_Marisa(benchmark::State& etat) {
  const Corpus& c = D();
  marisa::Agent agent;
  uint64_t n = 0;
  for (auto _ : etat) {
    for (const char* p : kPrefixes) {
      agent.set_query(p);
      while (c.marisa.predictive_search(agent)) {
        benchmark::DoNotOptimize(std::string(agent.key().ptr(), agent.key().length()));
        ++n;
      }
    }
  }
  etat.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(Prefixes_Marisa)->Unit(benchmark::kMillisecond);

// The same, gathering the keys into a linked list of strings as the table's searches must (a
// ListeC of forms, each with its own ChaineN): what building an answer costs.
void Prefixes_MarisaEnListe(benchmark::State& etat) {
  const Corpus& c = D();
  marisa::Agent agent;
  uint64_t n = 0;
  for (auto _ : etat) {
    for (const char* p : kPrefixes) {
      std::list<std::u16string> formes;
      agent.set_query(p);
      while (c.marisa.predictive_search(agent)) {
        const ChaineN cle(agent.key().ptr(), ChaineN::kCodageUTF8, agent.key().length());
        formes.emplace_back(cle.DonneUnites(), cle.Longueur());
      }
      n += formes.size();
    }
  }
  etat.SetItemsProcessed(static_cast<int64_t>(n));
}
BENCHMARK(Prefixes_MarisaEnListe)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
