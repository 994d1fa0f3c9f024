// ChaineN beside its peers, on the French word list (/usr/share/dict/french, package wfrench).
//
// Workloads, each for ChaineN, ICU (u_strFromUTF8 / u_strToUTF8) and Qt (QString):
//   DecodeMots   UTF-8 → UTF-16, word by word, into a reused destination where the API allows
//   DecodeTexte  UTF-8 → UTF-16, the whole list as one text
//   EncodeMots   UTF-16 → UTF-8, word by word, into a caller buffer where the API allows
//   EncodeTexte  UTF-16 → UTF-8, the whole list as one text
//   Egal         every pair of neighbouring words compared under the masks 0, 4, 6 and 15, beside
//                ICU's u_strCaseCompare and, for mask 6, ICU collation at primary strength
//   EgalMemeLongueur  each word against its upper-case accentless form (mask 6), which walks
//                every unit, beside u_strCaseCompare on the same pairs
// and for ChaineN alone:
//   Copie        copying a long string (shared, O(1)) beside std::u16string's deep copy
//   Ajouts       n single-unit appends (amortised growth), over a range of n
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniCaractere.h>

#include <QString>

#include <benchmark/benchmark.h>
#include <unicode/ucol.h>
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
  std::vector<ChaineN> motsMajN;  // each word in upper case without accents: "ÉLÈVE" for "élève"
  std::vector<std::u16string> motsMaj16;
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
    // Built after the others so that the words compared side by side stay close in memory.
    for (const std::u16string& mot : c.mots16) {
      std::u16string majuscules;
      for (char16_t u : mot) majuscules += sdd::UniCaractere::Majuscule(sdd::UniCaractere::SansAccent(u));
      c.motsMaj16.push_back(majuscules);
      c.motsMajN.emplace_back(majuscules.data(), static_cast<uint64_t>(majuscules.size()));
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

// ---- Comparison under options

template <int Masque>
void Egal_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    int egaux = 0;
    for (size_t i = 1; i < c.motsN.size(); ++i)
      egaux += c.motsN[i - 1].Egal(c.motsN[i], static_cast<ChaineN::Malgray>(Masque));
    benchmark::DoNotOptimize(egaux);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(c.motsN.size() - 1));
}

void Egal_ICUCasse(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    int egaux = 0;
    for (size_t i = 1; i < c.mots16.size(); ++i) {
      UErrorCode erreur = U_ZERO_ERROR;
      const auto& a = c.mots16[i - 1];
      const auto& b = c.mots16[i];
      egaux += u_strCaseCompare(reinterpret_cast<const UChar*>(a.data()), static_cast<int32_t>(a.size()),
                                reinterpret_cast<const UChar*>(b.data()), static_cast<int32_t>(b.size()),
                                U_FOLD_CASE_DEFAULT, &erreur) == 0;
    }
    benchmark::DoNotOptimize(egaux);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(c.mots16.size() - 1));
}

void Egal_ICUCollationPrimaire(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  UErrorCode erreur = U_ZERO_ERROR;
  UCollator* collateur = ucol_open("fr", &erreur);
  ucol_setStrength(collateur, UCOL_PRIMARY);
  for (auto _ : etat) {
    int egaux = 0;
    for (size_t i = 1; i < c.mots16.size(); ++i) {
      const auto& a = c.mots16[i - 1];
      const auto& b = c.mots16[i];
      egaux += ucol_strcoll(collateur, reinterpret_cast<const UChar*>(a.data()),
                            static_cast<int32_t>(a.size()), reinterpret_cast<const UChar*>(b.data()),
                            static_cast<int32_t>(b.size())) == UCOL_EQUAL;
    }
    benchmark::DoNotOptimize(egaux);
  }
  ucol_close(collateur);
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(c.mots16.size() - 1));
}

// Every word against its upper-case accentless form: equal lengths, so the whole word is walked.
void EgalMemeLongueur_ChaineN(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    int egaux = 0;
    for (size_t i = 0; i < c.motsN.size(); ++i)
      egaux += c.motsN[i].Egal(c.motsMajN[i], ChaineN::kMalgrayAccents | ChaineN::kMalgrayCasse);
    benchmark::DoNotOptimize(egaux);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(c.motsN.size()));
}

void EgalMemeLongueur_ICUCasse(benchmark::State& etat) {
  const Corpus& c = DonneCorpus();
  for (auto _ : etat) {
    int egaux = 0;
    for (size_t i = 0; i < c.mots16.size(); ++i) {
      UErrorCode erreur = U_ZERO_ERROR;
      const auto& a = c.mots16[i];
      const auto& b = c.motsMaj16[i];
      egaux += u_strCaseCompare(reinterpret_cast<const UChar*>(a.data()), static_cast<int32_t>(a.size()),
                                reinterpret_cast<const UChar*>(b.data()), static_cast<int32_t>(b.size()),
                                U_FOLD_CASE_DEFAULT, &erreur) == 0;
    }
    benchmark::DoNotOptimize(egaux);
  }
  etat.SetItemsProcessed(etat.iterations() * static_cast<int64_t>(c.mots16.size()));
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
BENCHMARK(Egal_ChaineN<0>)->Name("Egal_ChaineN/masque:0");
BENCHMARK(Egal_ChaineN<4>)->Name("Egal_ChaineN/masque:4");
BENCHMARK(Egal_ChaineN<6>)->Name("Egal_ChaineN/masque:6");
BENCHMARK(Egal_ChaineN<15>)->Name("Egal_ChaineN/masque:15");
BENCHMARK(Egal_ICUCasse);
BENCHMARK(Egal_ICUCollationPrimaire);
BENCHMARK(EgalMemeLongueur_ChaineN);
BENCHMARK(EgalMemeLongueur_ICUCasse);
BENCHMARK(Copie_ChaineN);
BENCHMARK(Copie_U16String);
BENCHMARK(Ajouts_ChaineN)->RangeMultiplier(16)->Range(16, 1 << 20);
BENCHMARK(Ajouts_U16String)->RangeMultiplier(16)->Range(16, 1 << 20);

BENCHMARK_MAIN();
