// The sorted table's reader (Serialiseur<TableTrieeNoyau>::Lis through EnsembleTriay), with
// integer and string values. First byte: bit 0 picks the values, bit 1 the input kind: the
// rest as a serialised table (seeds are real ones), or a table built from the fuzzer's values,
// written, then damaged (Abime.h). A table read back must be a valid red-black tree.
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/flux/Serialiseur.h>

#include "Abime.h"

namespace {

using sdd::EnsembleTriay;
using sdd::FluxEntree;
using sdd::FluxSortie;

void EcrisEntier(FluxSortie& s, const int& v) {
  sdd::SerialiseurVarElias::Ecris(s, static_cast<uint64_t>(v));
}
void LisEntier(FluxEntree& e, int* v) {
  unsigned int u = 0;
  sdd::SerialiseurVarElias::Lis(e, &u);
  *v = static_cast<int>(u);
}
void EcrisChaine(FluxSortie& s, const sdd::ChaineN& c) { c.Ecris(s); }
void LisChaine(FluxEntree& e, sdd::ChaineN* c) { c->Lis(e); }

template <typename T, typename Ecris, typename Lis, typename Valeur>
void Essai(FuzzedDataProvider& f, bool construit, Ecris ecris, Lis lis, Valeur valeur) {
  std::vector<uint8_t> octets = fuzz::Entree(f, construit, [&](sdd::TamponMemoire& t) {
    EnsembleTriay<T> e;
    const int n = f.ConsumeIntegralInRange<int>(0, 300);
    for (int i = 0; i < n && f.remaining_bytes() > 0; ++i) {
      if (f.ConsumeIntegralInRange<int>(0, 4) == 0) {
        e.Enleve(valeur(f));
      } else {
        e.Insere(valeur(f));
      }
    }
    e.Ecris(t, ecris);
  });
  fuzz::Octets lu(std::move(octets));
  EnsembleTriay<T> r;
  fuzz::Essaie([&] {
    r.Lis(*lu, lis);
    if (!r.EstArbreValide()) __builtin_trap();  // read back means a valid tree
    uint64_t n = 0;
    for (auto it = r.begin(); it != r.end(); ++it) ++n;
    if (n != r.Taille()) __builtin_trap();
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  FuzzedDataProvider f(donnees + 1, taille - 1);
  const bool construit = (donnees[0] & 2) != 0;
  if (donnees[0] & 1) {
    Essai<sdd::ChaineN>(f, construit, EcrisChaine, LisChaine,
                        [](FuzzedDataProvider& g) { return fuzz::N(fuzz::Chaine(g, 12)); });
  } else {
    Essai<int>(f, construit, EcrisEntier, LisEntier,
               [](FuzzedDataProvider& g) { return static_cast<int>(g.ConsumeIntegral<uint16_t>()); });
  }
  return 0;
}
