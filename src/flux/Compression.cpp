#include "flux/Compression.h"

#include <libdeflate.h>
#include <zlib.h>

#include <limits>
#include <memory>

#include <outils_socle/texte/Exception.h>
#include "langues/Marque.h"

namespace sdd::detail {

void CompresseZlib(const uint8_t* source, uint64_t n, std::vector<uint8_t>& destination) {
  if (n > std::numeric_limits<uLong>::max() / 2)
    throw exceptions::OperationInvalide(N_("Bloc trop grand pour zlib"));
  uLongf taille = compressBound(static_cast<uLong>(n));
  destination.resize(taille);
  if (compress(destination.data(), &taille, source, static_cast<uLong>(n)) != Z_OK) {
    throw exceptions::OperationInvalide(N_("zlib n’a pas pu compresser le bloc"));
  }
  destination.resize(taille);
}

namespace {

struct Liberateur {
  void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

// One decompressor per thread: it holds only tables, rebuilt for each stream.
libdeflate_decompressor* Decompresseur() {
  thread_local std::unique_ptr<libdeflate_decompressor, Liberateur> d(libdeflate_alloc_decompressor());
  if (d == nullptr) throw exceptions::OperationInvalide(N_("libdeflate : mémoire insuffisante"));
  return d.get();
}

}  // namespace

bool DecompresseZlib(const uint8_t* source, uint64_t n, uint8_t* destination, uint64_t capacite,
                     uint64_t* obtenus) {
  size_t sortie = 0;
  const libdeflate_result r = libdeflate_zlib_decompress(Decompresseur(), source, static_cast<size_t>(n),
                                                         destination, static_cast<size_t>(capacite), &sortie);
  if (r != LIBDEFLATE_SUCCESS) return false;
  *obtenus = sortie;
  return true;
}

}  // namespace sdd::detail
