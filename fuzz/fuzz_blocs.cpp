// The block decoder (DecodageParBlocCompresse) and the indexed records (DonneesIndexeesParNo).
// First byte: bit 0 picks the reader, bit 1 the input kind: the rest as stored bytes (seeds are
// an encoder's and a writer's output), or data written by our own writers from the fuzzer's
// entries (raw or zlib blocks of a chosen size; records of chosen lengths), then damaged
// (Abime.h). Entries are then read at the places the writer gave and at places the fuzzer
// makes up.
#include <outils_socle/flux/DonneesIndexeesParNo.h>
#include <outils_socle/flux/EncodageParBlocCompresse.h>

#include "Abime.h"

namespace {

// The reader with its positioned buffers in reach.
struct Indexees : sdd::DonneesIndexeesParNo {
  using sdd::DonneesIndexeesParNo::DonneesIndexeesParNo;
  using sdd::DonneesIndexeesParNo::PositionnePourNo;
};

void Blocs(FuzzedDataProvider& f, bool construit) {
  std::vector<std::pair<sdd::_typPositionEncodageBloc, uint64_t>> places;  // and the entry's size
  std::vector<uint8_t> octets = fuzz::Entree(f, construit, [&](sdd::TamponMemoire& t) {
    sdd::EncodageParBlocCompresse e(&t, f.ConsumeIntegralInRange<unsigned>(1, 600),
                                    f.ConsumeBool() ? sdd::CompressionZlib : sdd::SansCompression);
    const int n = f.ConsumeIntegralInRange<int>(0, 60);
    for (int i = 0; i < n && f.remaining_bytes() > 0; ++i) {
      fuzz::Essaie([&] {
        if (f.ConsumeBool()) {
          const std::u16string s = fuzz::Chaine(f, 40);
          places.emplace_back(e.EncodeChaine(fuzz::N(s), sdd::ChaineN::kCodageUTF8), 0);
        } else {
          const std::vector<uint8_t> o = f.ConsumeBytes<uint8_t>(f.ConsumeIntegralInRange<size_t>(0, 64));
          places.emplace_back(e.EncodeOctets(reinterpret_cast<const char*>(o.data()), o.size()), o.size());
        }
      });
    }
    e.TermineEncodage();
  });
  for (int i = 0; i < 4 && f.remaining_bytes() > 0; ++i) {
    sdd::_typPositionEncodageBloc p;
    p.positionBloc = f.ConsumeIntegralInRange<uint64_t>(0, octets.size() + 8);
    p.positionDansBloc = f.ConsumeIntegralInRange<uint64_t>(0, 1200);
    places.emplace_back(p, f.ConsumeIntegralInRange<uint64_t>(0, 80));
  }
  fuzz::Octets lu(std::move(octets));
  fuzz::Essaie([&] {
    sdd::DecodageParBlocCompresse d(&*lu, 0);
    std::vector<char> destination;
    for (const auto& entree : places) {
      const sdd::_typPositionEncodageBloc place = entree.first;
      const uint64_t taille = entree.second;
      fuzz::Essaie([&] {
        if (taille == 0) {
          sdd::ChaineN s;
          d.DecodeChaine(place, s, sdd::ChaineN::kCodageUTF8);
        } else {
          destination.assign(taille, 0);
          d.DecodeOctets(place, taille, destination.data());
        }
      });
    }
  });
}

void Enregistrements(FuzzedDataProvider& f, bool construit) {
  std::vector<uint8_t> octets = fuzz::Entree(f, construit, [&](sdd::TamponMemoire& t) {
    sdd::CreateurDonneesIndexeesParNo c;
    const int n = f.ConsumeIntegralInRange<int>(0, 100);
    for (int i = 0; i < n && f.remaining_bytes() > 0; ++i) {
      const std::vector<uint8_t> o = f.ConsumeBytes<uint8_t>(f.ConsumeIntegralInRange<size_t>(0, 300));
      c.Ajoute(o.data(), o.size());
    }
    c.Ecris(t);
  });
  fuzz::Octets lu(std::move(octets));
  fuzz::Essaie([&] {
    Indexees d(&*lu);
    const uint64_t n = d.DonneNombreInfo();
    uint64_t somme = 0;
    // Every record in turn, then numbers at random (some outside the index).
    for (uint64_t i = 0; i < n && i < 200; ++i) {
      uint64_t taille = 0;
      const uint8_t* p = d.DonneInfo(static_cast<int>(i), &taille);
      for (uint64_t k = 0; k < taille; ++k) somme += p[k];  // every byte handed out is readable
    }
    for (int q = 0; q < 4 && f.remaining_bytes() > 0; ++q) {
      fuzz::Essaie([&] {
        unsigned int taille = 0;
        sdd::TamponMemoire t = d.PositionnePourNo(f.ConsumeIntegral<int>(), &taille);
        std::vector<uint8_t> copie(taille);
        t.Donne(taille, copie.data());
      });
    }
    fuzz::Essaie([&] {
      sdd::TamponMemoire t = d.PositionneAuDebutInfo();
      unsigned int taille = 0;
      std::vector<uint8_t> enregistrement;
      for (uint64_t i = 0; i < n && i < 200; ++i) {
        d.ProchainInfo(t, &taille);
        enregistrement.resize(taille);
        t.Donne(taille, enregistrement.data());
      }
    });
    [[maybe_unused]] volatile uint64_t puits = somme;  // keeps the reads above
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  FuzzedDataProvider f(donnees + 1, taille - 1);
  if (donnees[0] & 1) {
    Enregistrements(f, (donnees[0] & 2) != 0);
  } else {
    Blocs(f, (donnees[0] & 2) != 0);
  }
  return 0;
}
