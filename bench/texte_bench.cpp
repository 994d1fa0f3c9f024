// ChaineN beside its peers, on the French word list (/usr/share/dict/french, package wfrench).
//
// Workloads, each for ChaineN, ICU (u_strFromUTF8 / u_strToUTF8) and Qt (QString):
//   DecodeMots   UTF-8 → UTF-16, word by word, into a reused destination where the API allows
//   DecodeTexte  UTF-8 → UTF-16, the whole list as one text
//   EncodeMots   UTF-16 → UTF-8, word by word, into a caller buffer where the API allows
//   EncodeTexte  UTF-16 → UTF-8, the whole list as one text
// and for ChaineN alone:
//   Copie        copying a long string (shared, O(1)) beside std::u16string's deep copy
//   Ajouts       n single-unit appends (amortised growth), over a range of n
#include <outils_socle/texte/ChaineN.h>

#include <QString>

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using sdd::ChaineN;

struct Corpus {
  std::string texte;              // the whole list, UTF-8
  std::vector<std::string> mots;  // one entry per line, UTF-8
  std::u16string texte16;
  std::vector<std::u16string> mots16;
  std::vector<ChaineN> motsN;
  ChaineN texteN;
  std::vector<QString> motsQ;
  QString texteQ;
};

const Corpus& DonneCorpus() {
  static const Corpus corpus = [] {
    Corpus c;
    std::ifstream f("/usr/share/dict/french", std::ios::binary);
    c.texte.assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
    if (c.texte.empty()) c.texte = "abaissé\nélève\nœuvre\ncafé\n";  // the list is not installed
    size_t debut = 0;
    for (size_t i = 0; i < c.texte.size(); ++i) {
      if (c.texte[i] == '\n') {
        c.mots.push_back(c.texte.substr(debut, i - debut));
        debut = i + 1;
      }
    }
    c.texteN = ChaineN(c.texte.data(), ChaineN::kCodageUTF8, c.texte.size());
    c.texte16.assign(c.texteN.begin(), c.texteN.end());
    c.texteQ = QString::fromUtf8(c.texte.data(), static_cast<int>(c.texte.size()));
    for (const std::string& m : c.mots) {
      c.motsN.emplace_back(m);
      c.mots16.emplace_back(c.motsN.back().begin(), c.motsN.back().end());
      c.motsQ.push_back(QString::fromStdString(m));
    }
    return c;
  }();
  return corpus;
}

void ParOctets(benchmark::State& etat, size_t octets) {
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations() * octets));
}

// ---- Decoding

void DecodeMots_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  ChaineN s;
  for (auto _ : etat)
    for (const std::string& m : c.mots) {
      s.Mets(m.data(), ChaineN::kCodageUTF8, m.size());
      benchmark::DoNotOptimize(s.DonneUnites());
    }
  ParOctets(etat, c.texte.size());
}
void DecodeMots_ICU(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  std::vector<UChar> dest(1024);
  for (auto _ : etat)
    for (const std::string& m : c.mots) {
      UErrorCode erreur = U_ZERO_ERROR;
      int32_t longueur = 0;
      u_strFromUTF8(dest.data(), static_cast<int32_t>(dest.size()), &longueur, m.data(),
                    static_cast<int32_t>(m.size()), &erreur);
      benchmark::DoNotOptimize(longueur);
    }
  ParOctets(etat, c.texte.size());
}
void DecodeMots_Qt(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat)
    for (const std::string& m : c.mots) {
      QString s = QString::fromUtf8(m.data(), static_cast<int>(m.size()));
      benchmark::DoNotOptimize(s.constData());
    }
  ParOctets(etat, c.texte.size());
}

void DecodeTexte_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  ChaineN s;
  for (auto _ : etat) {
    s.Mets(c.texte.data(), ChaineN::kCodageUTF8, c.texte.size());
    benchmark::DoNotOptimize(s.DonneUnites());
  }
  ParOctets(etat, c.texte.size());
}
void DecodeTexte_ICU(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  std::vector<UChar> dest(c.texte.size() + 1);
  for (auto _ : etat) {
    UErrorCode erreur = U_ZERO_ERROR;
    int32_t longueur = 0;
    u_strFromUTF8(dest.data(), static_cast<int32_t>(dest.size()), &longueur, c.texte.data(),
                  static_cast<int32_t>(c.texte.size()), &erreur);
    benchmark::DoNotOptimize(longueur);
  }
  ParOctets(etat, c.texte.size());
}
void DecodeTexte_Qt(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    QString s = QString::fromUtf8(c.texte.data(), static_cast<int>(c.texte.size()));
    benchmark::DoNotOptimize(s.constData());
  }
  ParOctets(etat, c.texte.size());
}

// ---- Encoding

void EncodeMots_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  char tampon[1024];
  for (auto _ : etat)
    for (const ChaineN& m : c.motsN) {
      uint64_t n = 0;
      m.PreteUTF8(sizeof tampon, tampon, &n);
      benchmark::DoNotOptimize(n);
    }
  ParOctets(etat, c.texte.size());
}
void EncodeMots_ICU(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  char tampon[1024];
  for (auto _ : etat)
    for (const std::u16string& m : c.mots16) {
      UErrorCode erreur = U_ZERO_ERROR;
      int32_t n = 0;
      u_strToUTF8(tampon, sizeof tampon, &n, reinterpret_cast<const UChar*>(m.data()),
                  static_cast<int32_t>(m.size()), &erreur);
      benchmark::DoNotOptimize(n);
    }
  ParOctets(etat, c.texte.size());
}
void EncodeMots_Qt(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat)
    for (const QString& m : c.motsQ) {
      QByteArray octets = m.toUtf8();
      benchmark::DoNotOptimize(octets.constData());
    }
  ParOctets(etat, c.texte.size());
}

void EncodeTexte_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  std::vector<char> tampon(c.texte.size() + 1);
  for (auto _ : etat) {
    uint64_t n = 0;
    c.texteN.PreteUTF8(tampon.size(), tampon.data(), &n);
    benchmark::DoNotOptimize(n);
  }
  ParOctets(etat, c.texte.size());
}
void EncodeTexte_ICU(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  std::vector<char> tampon(c.texte.size() + 1);
  for (auto _ : etat) {
    UErrorCode erreur = U_ZERO_ERROR;
    int32_t n = 0;
    u_strToUTF8(tampon.data(), static_cast<int32_t>(tampon.size()), &n,
                reinterpret_cast<const UChar*>(c.texte16.data()), static_cast<int32_t>(c.texte16.size()),
                &erreur);
    benchmark::DoNotOptimize(n);
  }
  ParOctets(etat, c.texte.size());
}
void EncodeTexte_Qt(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    QByteArray octets = c.texteQ.toUtf8();
    benchmark::DoNotOptimize(octets.constData());
  }
  ParOctets(etat, c.texte.size());
}

// ---- Copies and appends

void Copie_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    ChaineN copie = c.texteN;
    benchmark::DoNotOptimize(copie.DonneUnites());
  }
}
void Copie_U16String(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    std::u16string copie = c.texte16;
    benchmark::DoNotOptimize(copie.data());
  }
}

void Ajouts_ChaineN(benchmark::State& etat) {
  for (auto _ : etat) {
    ChaineN s;
    for (int64_t i = 0; i < etat.range(0); ++i) s.AjouteFin(u'x');
    benchmark::DoNotOptimize(s.DonneUnites());
  }
  etat.SetItemsProcessed(etat.iterations() * etat.range(0));
}
void Ajouts_U16String(benchmark::State& etat) {
  for (auto _ : etat) {
    std::u16string s;
    for (int64_t i = 0; i < etat.range(0); ++i) s += u'x';
    benchmark::DoNotOptimize(s.data());
  }
  etat.SetItemsProcessed(etat.iterations() * etat.range(0));
}

}  // namespace

BENCHMARK(DecodeMots_ChaineN);
BENCHMARK(DecodeMots_ICU);
BENCHMARK(DecodeMots_Qt);
BENCHMARK(DecodeTexte_ChaineN);
BENCHMARK(DecodeTexte_ICU);
BENCHMARK(DecodeTexte_Qt);
BENCHMARK(EncodeMots_ChaineN);
BENCHMARK(EncodeMots_ICU);
BENCHMARK(EncodeMots_Qt);
BENCHMARK(EncodeTexte_ChaineN);
BENCHMARK(EncodeTexte_ICU);
BENCHMARK(EncodeTexte_Qt);
BENCHMARK(Copie_ChaineN);
BENCHMARK(Copie_U16String);
BENCHMARK(Ajouts_ChaineN)->RangeMultiplier(16)->Range(16, 1 << 20);
BENCHMARK(Ajouts_U16String)->RangeMultiplier(16)->Range(16, 1 << 20);

BENCHMARK_MAIN();
