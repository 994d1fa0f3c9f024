// Compressed storage beside its peers, on the French word list, in the same run.
//
// Workloads:
//   HuffmanEncode / HuffmanDecode        the whole list (words and newlines) through one code;
//                                        items are characters
//   HuffmanDecodeBitABit                 the same decoded by the tree walk, one bit at a time
//   Blocs_LectureAuHasard                one word fetched at random from 16 KiB zlib blocks
//   Blocs_LectureBlocChaud               words fetched from one block, again and again
//   Blocs_Zlib / Blocs_Libdeflate        that one block decoded by zlib's uncompress and by
//                                        libdeflate, no entry read: the floor of a fetch
//   Blocs_ZlibJusquALEntree              a random word's block inflated only up to the word, as
//                                        a reader that skipped the checksum could do (we don't)
//   ChaineCompressee_Decompresse         the compressed string record of TamponMemoire
//   ChaineCompressee_Zlib / _Libdeflate  its zlib stream alone, by each decoder
#include <outils_socle/flux/CodeHuffmanCalcul.h>
#include <outils_socle/flux/EncodageParBlocCompresse.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using sdd::ChaineN;

struct Donnees {
  ChaineN texte;  // the whole list, newlines included
  std::vector<ChaineN> mots;
  sdd::CodeHuffmanCalcul<char16_t> code;
  sdd::TamponMemoire bits;
  sdd::TamponMemoire blocs;
  std::vector<sdd::_typPositionEncodageBloc> positions;
  std::vector<uint8_t> bloc;  // the zlib stream of one block
  uint64_t tailleBloc = 0;    // its decoded size
  sdd::TamponMemoire chaine;  // one compressed string record
  std::vector<uint8_t> chaineZlib;
  uint64_t chaineTaille = 0;
};

const Donnees& D() {
  static const Donnees* d = [] {
    auto* x = new Donnees;
    std::ifstream f("/usr/share/dict/french");
    std::stringstream tout;
    tout << f.rdbuf();
    const std::string octets = tout.str();
    x->texte = ChaineN(octets.data(), ChaineN::kCodageUTF8, octets.size());
    std::istringstream lignes(octets);
    std::string mot;
    while (std::getline(lignes, mot)) x->mots.emplace_back(mot.c_str(), ChaineN::kCodageUTF8);
    x->code.CalculCodeAvecDonnees(x->texte);
    x->code.EncodeTouteLaChaine(x->texte, x->bits);

    sdd::EncodageParBlocCompresse e(&x->blocs, 16384, sdd::CompressionZlib);
    for (const ChaineN& m : x->mots) x->positions.push_back(e.EncodeChaine(m, ChaineN::kCodageUTF8));
    e.TermineEncodage();
    // The block of the middle word: its record, then its zlib stream.
    x->blocs.Positionne(x->positions[x->positions.size() / 2].positionBloc);
    uint64_t s = 0;
    sdd::SerialiseurVarElias::Lis(x->blocs, &s);
    const uint8_t* p = x->blocs.PreteDonneesBrutes() + x->blocs.DonnePosition();
    x->bloc.assign(p, p + s);
    std::vector<uint8_t> sortie(40000);
    uLongf n = static_cast<uLongf>(sortie.size());
    uncompress(sortie.data(), &n, x->bloc.data(), static_cast<uLong>(s));
    x->tailleBloc = n;

    // A compressed string of some length: the first 2000 words.
    ChaineN extrait;
    for (size_t i = 0; i < 2000; ++i) extrait.AjouteFin(x->mots[i]).AjouteFin(u"\n", uint64_t{1});
    sdd::TamponMemoire::CompresseChaineN(x->chaine, extrait);
    x->chaine.Positionne(0);
    uint64_t c = 0, l = 0;
    sdd::SerialiseurVarElias::Lis(x->chaine, &c);
    sdd::SerialiseurVarElias::Lis(x->chaine, &l);
    const uint8_t* z = x->chaine.PreteDonneesBrutes() + x->chaine.DonnePosition();
    x->chaineZlib.assign(z, z + c);
    x->chaineTaille = l;
    return x;
  }();
  return *d;
}

void HuffmanEncode(benchmark::State& etat) {
  const Donnees& d = D();
  sdd::TamponMemoire sortie(d.bits.Taille() + 64);
  for (auto _ : etat) {
    sortie.Vide();
    d.code.EncodeTouteLaChaine(d.texte, sortie);
    benchmark::DoNotOptimize(sortie.Taille());
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * d.texte.Longueur()));
}
BENCHMARK(HuffmanEncode)->Unit(benchmark::kMillisecond);

void HuffmanDecode(benchmark::State& etat) {
  Donnees& d = const_cast<Donnees&>(D());
  ChaineN texte;
  for (auto _ : etat) {
    d.bits.Positionne(0);
    d.code.DecodeLeFlux(d.bits, static_cast<unsigned int>(d.texte.Longueur()), texte);
    benchmark::DoNotOptimize(texte.Longueur());
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * d.texte.Longueur()));
}
BENCHMARK(HuffmanDecode)->Unit(benchmark::kMillisecond);

void HuffmanDecodeBitABit(benchmark::State& etat) {
  const Donnees& d = D();
  const unsigned char* octets = d.bits.PreteDonneesBrutes();
  const size_t taille = d.bits.Taille();
  for (auto _ : etat) {
    size_t position = 0;
    char16_t c = 0;
    for (uint64_t i = 0; i < d.texte.Longueur(); ++i)
      d.code.DecodeUnCarBitABit(octets, taille, &position, &c);
    benchmark::DoNotOptimize(c);
  }
  etat.SetItemsProcessed(static_cast<int64_t>(etat.iterations() * d.texte.Longueur()));
}
BENCHMARK(HuffmanDecodeBitABit)->Unit(benchmark::kMillisecond);

void Blocs_LectureAuHasard(benchmark::State& etat) {
  Donnees& d = const_cast<Donnees&>(D());
  sdd::DecodageParBlocCompresse decodeur(&d.blocs, 0);
  std::mt19937 alea(7);
  ChaineN mot;
  for (auto _ : etat) {
    decodeur.DecodeChaine(d.positions[alea() % d.positions.size()], mot, ChaineN::kCodageUTF8);
    benchmark::DoNotOptimize(mot.Longueur());
  }
  etat.SetItemsProcessed(etat.iterations());
}
BENCHMARK(Blocs_LectureAuHasard)->Unit(benchmark::kMicrosecond);

void Blocs_LectureBlocChaud(benchmark::State& etat) {
  Donnees& d = const_cast<Donnees&>(D());
  sdd::DecodageParBlocCompresse decodeur(&d.blocs, 0);
  const size_t milieu = d.positions.size() / 2;
  ChaineN mot;
  size_t i = 0;
  for (auto _ : etat) {
    decodeur.DecodeChaine(d.positions[milieu + i++ % 100], mot, ChaineN::kCodageUTF8);
    benchmark::DoNotOptimize(mot.Longueur());
  }
  etat.SetItemsProcessed(etat.iterations());
}
BENCHMARK(Blocs_LectureBlocChaud)->Unit(benchmark::kMicrosecond);

void Blocs_Zlib(benchmark::State& etat) {
  const Donnees& d = D();
  std::vector<uint8_t> sortie(40000);
  for (auto _ : etat) {
    uLongf n = static_cast<uLongf>(sortie.size());
    uncompress(sortie.data(), &n, d.bloc.data(), static_cast<uLong>(d.bloc.size()));
    benchmark::DoNotOptimize(n);
  }
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations() * d.tailleBloc));
}
BENCHMARK(Blocs_Zlib)->Unit(benchmark::kMicrosecond);

void Blocs_Libdeflate(benchmark::State& etat) {
  const Donnees& d = D();
  std::vector<uint8_t> sortie(40000);
  libdeflate_decompressor* l = libdeflate_alloc_decompressor();
  for (auto _ : etat) {
    size_t n = 0;
    libdeflate_zlib_decompress(l, d.bloc.data(), d.bloc.size(), sortie.data(), sortie.size(), &n);
    benchmark::DoNotOptimize(n);
  }
  libdeflate_free_decompressor(l);
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations() * d.tailleBloc));
}
BENCHMARK(Blocs_Libdeflate)->Unit(benchmark::kMicrosecond);

void Blocs_ZlibJusquALEntree(benchmark::State& etat) {
  Donnees& d = const_cast<Donnees&>(D());
  std::mt19937 alea(7);
  std::vector<uint8_t> sortie(40000);
  z_stream z{};
  inflateInit(&z);
  for (auto _ : etat) {
    const auto& p = d.positions[alea() % d.positions.size()];
    d.blocs.Positionne(p.positionBloc);
    uint64_t s = 0;
    sdd::SerialiseurVarElias::Lis(d.blocs, &s);
    inflateReset(&z);
    z.next_in = const_cast<Bytef*>(d.blocs.PreteDonneesBrutes() + d.blocs.DonnePosition());
    z.avail_in = static_cast<uInt>(s);
    z.next_out = sortie.data();
    z.avail_out = static_cast<uInt>(p.positionDansBloc + 64);
    inflate(&z, Z_SYNC_FLUSH);
    benchmark::DoNotOptimize(z.total_out);
  }
  inflateEnd(&z);
  etat.SetItemsProcessed(etat.iterations());
}
BENCHMARK(Blocs_ZlibJusquALEntree)->Unit(benchmark::kMicrosecond);

void ChaineCompressee_Decompresse(benchmark::State& etat) {
  Donnees& d = const_cast<Donnees&>(D());
  for (auto _ : etat) {
    d.chaine.Positionne(0);
    benchmark::DoNotOptimize(sdd::TamponMemoire::DecompresseChaineN(d.chaine).Longueur());
  }
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations() * d.chaineTaille));
}
BENCHMARK(ChaineCompressee_Decompresse)->Unit(benchmark::kMicrosecond);

void ChaineCompressee_Zlib(benchmark::State& etat) {
  const Donnees& d = D();
  std::vector<uint8_t> sortie(d.chaineTaille);
  for (auto _ : etat) {
    uLongf n = static_cast<uLongf>(sortie.size());
    uncompress(sortie.data(), &n, d.chaineZlib.data(), static_cast<uLong>(d.chaineZlib.size()));
    benchmark::DoNotOptimize(n);
  }
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations() * d.chaineTaille));
}
BENCHMARK(ChaineCompressee_Zlib)->Unit(benchmark::kMicrosecond);

void ChaineCompressee_Libdeflate(benchmark::State& etat) {
  const Donnees& d = D();
  std::vector<uint8_t> sortie(d.chaineTaille);
  libdeflate_decompressor* l = libdeflate_alloc_decompressor();
  for (auto _ : etat) {
    size_t n = 0;
    libdeflate_zlib_decompress(l, d.chaineZlib.data(), d.chaineZlib.size(), sortie.data(), sortie.size(), &n);
    benchmark::DoNotOptimize(n);
  }
  libdeflate_free_decompressor(l);
  etat.SetBytesProcessed(static_cast<int64_t>(etat.iterations() * d.chaineTaille));
}
BENCHMARK(ChaineCompressee_Libdeflate)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
