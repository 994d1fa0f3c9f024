// Reading and writing a large document (about 30 MB, a lexicon export: attributes, escaped text,
// accents, layout) beside pugixml and libxml2 used directly, in the same run.
//   - tree: ours (Balise, then the read-only ArbreXML) / pugixml's DOM / libxml2's xmlReadMemory tree;
//   - streaming: ours with an empty listener / libxml2's SAX2 with empty callbacks / expat with
//     empty callbacks, the tokenizer a tree could be built on (pugixml has no streaming mode);
//   - writing the tree back: ours / pugixml's save.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <pugixml.hpp>

#include <cstring>
#include <random>
#include <sstream>
#include <string>

#include <outils_socle/xml/EcritureXML.h>
#include <outils_socle/xml/ParseurXML.h>

namespace {

const std::string& Document() {
  static const std::string document = [] {
    const char* const mots[] = {"maison", "été",    "cœur", "forêt", "élève",
                                "noël",   "garçon", "ça",   "Œuvre", "déjà"};
    std::mt19937 alea(1);
    std::string d = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<lexique version=\"3\">\n";
    for (int n = 1; d.size() < 30'000'000; ++n) {
      const std::string m = std::string(mots[alea() % 10]) + std::to_string(n);
      d += "  <entree no=\"" + std::to_string(n) + "\" forme=\"" + m +
           "\" categorie=\"nom\">\n    <definition>Une " + m + " &amp; ses &lt;variantes&gt; près de la " +
           mots[alea() % 10] + ".</definition>\n    <freq>" + std::to_string(alea() % 100000) +
           "</freq>\n  </entree>\n";
    }
    return d + "</lexique>\n";
  }();
  return document;
}

void Octets(benchmark::State& etat) {
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations()) * static_cast<int64_t>(Document().size()));
}

void BM_Arbre_OutilsSocle(benchmark::State& etat) {
  const std::string& d = Document();
  for (auto _ : etat) {
    sdd::Balise racine = sdd::ParseurXML().LisTexte(d);
    benchmark::DoNotOptimize(racine.NombreEnfants());
  }
  Octets(etat);
}
BENCHMARK(BM_Arbre_OutilsSocle)->Unit(benchmark::kMillisecond);

// The read-only tree, built in blocks: the one to set beside pugixml's.
void BM_ArbreEnBlocs_OutilsSocle(benchmark::State& etat) {
  const std::string& d = Document();
  std::size_t octets = 0;
  for (auto _ : etat) {
    const sdd::ArbreXML arbre = sdd::ParseurXML().LisArbreTexte(d);
    benchmark::DoNotOptimize(arbre.Racine().NombreEnfants());
    octets = arbre.Octets();
  }
  etat.counters["Mo_arbre"] = static_cast<double>(octets) / 1e6;
  Octets(etat);
}
BENCHMARK(BM_ArbreEnBlocs_OutilsSocle)->Unit(benchmark::kMillisecond);

void BM_Arbre_Pugixml(benchmark::State& etat) {
  const std::string& d = Document();
  for (auto _ : etat) {
    pugi::xml_document doc;
    if (!doc.load_buffer(d.data(), d.size())) etat.SkipWithError("pugixml");
    benchmark::DoNotOptimize(doc.first_child());
  }
  Octets(etat);
}
BENCHMARK(BM_Arbre_Pugixml)->Unit(benchmark::kMillisecond);

void BM_Arbre_Libxml2(benchmark::State& etat) {
  const std::string& d = Document();
  for (auto _ : etat) {
    xmlDocPtr doc = xmlReadMemory(d.data(), static_cast<int>(d.size()), nullptr, nullptr, XML_PARSE_NONET);
    if (doc == nullptr) etat.SkipWithError("libxml2");
    xmlFreeDoc(doc);
  }
  Octets(etat);
}
BENCHMARK(BM_Arbre_Libxml2)->Unit(benchmark::kMillisecond);

class Muet final : public sdd::EcouteurXML {};

void BM_Flux_OutilsSocle(benchmark::State& etat) {
  const std::string& d = Document();
  Muet muet;
  for (auto _ : etat) sdd::ParseurXML().AnalyseMemoire(d.data(), d.size(), muet);
  Octets(etat);
}
BENCHMARK(BM_Flux_OutilsSocle)->Unit(benchmark::kMillisecond);

void Rien(void*, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**, int, int,
          const xmlChar**) {}
void RienFin(void*, const xmlChar*, const xmlChar*, const xmlChar*) {}
void RienTexte(void*, const xmlChar*, int) {}

void BM_Flux_Libxml2SAX2(benchmark::State& etat) {
  const std::string& d = Document();
  xmlSAXHandler h;
  std::memset(&h, 0, sizeof h);
  h.initialized = XML_SAX2_MAGIC;
  h.startElementNs = Rien;
  h.endElementNs = RienFin;
  h.characters = RienTexte;
  for (auto _ : etat) xmlSAXUserParseMemory(&h, nullptr, d.data(), static_cast<int>(d.size()));
  Octets(etat);
}
BENCHMARK(BM_Flux_Libxml2SAX2)->Unit(benchmark::kMillisecond);

// Expat with empty callbacks, the document given whole: what its tokenizer costs alone.
void BM_Flux_Expat(benchmark::State& etat) {
  const std::string& d = Document();
  for (auto _ : etat) {
    XML_Parser p = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        p, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(p, [](void*, const XML_Char*, int) {});
    if (XML_Parse(p, d.data(), static_cast<int>(d.size()), XML_TRUE) != XML_STATUS_OK) {
      etat.SkipWithError(XML_ErrorString(XML_GetErrorCode(p)));
    }
    XML_ParserFree(p);
  }
  Octets(etat);
}
BENCHMARK(BM_Flux_Expat)->Unit(benchmark::kMillisecond);

void BM_Ecriture_OutilsSocle(benchmark::State& etat) {
  const sdd::Balise racine = sdd::ParseurXML().LisTexte(Document());
  for (auto _ : etat) benchmark::DoNotOptimize(sdd::EcrisXML(racine).size());
  Octets(etat);
}
BENCHMARK(BM_Ecriture_OutilsSocle)->Unit(benchmark::kMillisecond);

void BM_Ecriture_Pugixml(benchmark::State& etat) {
  pugi::xml_document doc;
  doc.load_buffer(Document().data(), Document().size());
  for (auto _ : etat) {
    std::ostringstream sortie;
    doc.save(sortie, "", pugi::format_raw);
    benchmark::DoNotOptimize(sortie.str().size());
  }
  Octets(etat);
}
BENCHMARK(BM_Ecriture_Pugixml)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
