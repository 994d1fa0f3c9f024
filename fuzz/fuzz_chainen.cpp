// ChaineN's decoders: the bytes as text in each of the seven encodings (with and without a
// given length, so the search for the terminator is driven too), then the string's own
// conversions back to bytes; and the line readers of TamponMemoire over the same bytes (into a
// buffer, into a fixed array that splits long lines, decoded into ChaineN and UniChaine).
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/UniChaine.h>

#include <cstring>

#include "Commun.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  const int codage = donnees[0] % 7;
  const auto c = static_cast<sdd::ChaineN::Codage>(codage);
  const std::vector<uint8_t> octets(donnees + 1, donnees + taille);
  fuzz::Essaie([&] {
    sdd::ChaineN s(reinterpret_cast<const char*>(octets.data()), c, octets.size());
    uint64_t n = 0;
    s.PreteUTF8(0, nullptr, &n);
    for (int autre = 0; autre < 7; ++autre) {
      fuzz::Essaie([&] { s.PreteCString(static_cast<sdd::ChaineN::Codage>(autre)); });
    }
  });
  // The terminated form: the decoder finds the end itself, a zero byte, or a zero unit for
  // UTF-16 (whole units, so an odd count is padded first: the caller's side of the contract).
  std::vector<char> termine(octets.begin(), octets.end());
  if (termine.size() % 2 != 0) termine.push_back(1);
  termine.insert(termine.end(), {0, 0});
  fuzz::Essaie([&] { sdd::ChaineN s(termine.data(), c); });

  if (donnees[0] & 0x80) {
    fuzz::Octets flux(octets);
    fuzz::Essaie([&] {
      sdd::ChaineN ligne;
      for (int k = 0; k < 64 && flux->DonneLigne(ligne, codage); ++k) {
      }
    });
    flux->PositionneAuDebut();
    fuzz::Essaie([&] {
      UniChaine ligne;
      for (int k = 0; k < 64 && flux->DonneLigne(ligne, codage); ++k) {
      }
    });
  } else {
    fuzz::Octets flux(octets);
    fuzz::Essaie([&] {
      sdd::TamponMemoire ligne;
      for (int k = 0; k < 64 && flux->DonneLigne(ligne); ++k) {
      }
    });
    flux->PositionneAuDebut();
    fuzz::Essaie([&] {
      char tampon[7];
      for (int k = 0; k < 256 && flux->DonneLigne(tampon, sizeof tampon); ++k) {
        if (std::memchr(tampon, 0, sizeof tampon) == nullptr) __builtin_trap();  // always terminated
      }
    });
  }
  return 0;
}
