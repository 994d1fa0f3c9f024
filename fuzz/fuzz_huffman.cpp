// The serialised Huffman code (CodeHuffman::Lis), then decoding with it: whole strings with and
// without their count, one character at a time from streams and from bit-addressed arrays
// (the table-driven decoder checked against the bit-by-bit tree walk), stream to stream.
// First byte: bit 0 picks the input kind: the rest as a serialised code followed by data
// (seeds are real codes), or a code built from counts of the fuzzer's text, written, then
// damaged (Abime.h), followed by data.
#include <outils_socle/flux/CodeHuffman.h>
#include <outils_socle/flux/CodeHuffmanCalcul.h>

#include "Abime.h"

namespace {

using Code = sdd::CodeHuffman<char16_t>;

void Decode(const Code& code, FuzzedDataProvider& f) {
  const std::vector<uint8_t> donnees = f.ConsumeBytes<uint8_t>(f.ConsumeIntegralInRange<size_t>(0, 256));
  const unsigned n = f.ConsumeIntegralInRange<unsigned>(0, 300);
  fuzz::Essaie([&] {
    fuzz::Octets o(donnees);
    sdd::ChaineN s;
    code.DecodeLeFlux(*o, n, s);
  });
  fuzz::Essaie([&] {
    fuzz::Octets o(donnees);
    sdd::ChaineN s;
    code.DecodeLeFluxAvecLongueur(*o, s);
  });
  fuzz::Essaie([&] {
    fuzz::Octets o(donnees);
    sdd::TamponMemoire sortie;
    code.DecodeLeFluxEntreeEtArrete(*o, n, sortie);
  });
  fuzz::Essaie([&] {
    fuzz::Octets o(donnees);
    sdd::TamponMemoire sortie;
    unsigned char octet = 0, decalage = 0;
    code.DecodeUnePartieDuFluxEntree(*o, n, &octet, &decalage, sortie);
  });
  fuzz::Essaie([&] {
    fuzz::Octets o(donnees);
    unsigned char octet = 0, decalage = 0;
    char16_t c = 0;
    for (unsigned k = 0; k < n && code.DecodeUnCar(*o, &octet, &decalage, &c); ++k) {
    }
  });
  // The table and the tree agree on every character of the array.
  size_t parTable = 0, parArbre = 0;
  for (unsigned k = 0; k < n; ++k) {
    char16_t a = 0, b = 0;
    const bool okA = code.DecodeUnCar(donnees.data(), donnees.size(), &parTable, &a);
    const bool okB = code.DecodeUnCarBitABit(donnees.data(), donnees.size(), &parArbre, &b);
    if (okA != okB || parTable != parArbre || (okA && a != b)) __builtin_trap();
    if (!okA) break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  FuzzedDataProvider f(donnees + 1, taille - 1);
  std::vector<uint8_t> serialise = fuzz::Entree(f, (donnees[0] & 1) != 0, [&](sdd::TamponMemoire& t) {
    sdd::CodeHuffmanCalcul<char16_t> calcul;
    calcul.CalculCodeAvecDonnees(fuzz::N(fuzz::Chaine(f, 200)));
    calcul.Ecris(t);
  });
  fuzz::Octets lu(std::move(serialise));
  Code code;
  fuzz::Essaie([&] {
    code.Lis(*lu);
    Decode(code, f);
  });
  return 0;
}
