// The string table's reader (Serialiseur<TableChaineNoyau>::Lis, versions 100 and 110) and the
// on-disk table's lookups on the same bytes, then every search of the table read back.
// First byte: bit 0 picks the input kind: the rest as a serialised table (seeds are real
// ones), or a table built from the fuzzer's keys (long shared prefixes, deep nesting, wide
// fan-out, removals that merge nodes), written in a version the fuzzer picks, then damaged
// (Abime.h).
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/conteneurs/TableChaineSurDisqueNoyau.h>

#include "Abime.h"

namespace {

using sdd::TableChaineNoyau;

std::u16string Clef(FuzzedDataProvider& f, const std::u16string& precedente) {
  // Often an extension or a variant of the previous key: shared prefixes make deep trees.
  std::u16string clef = f.ConsumeBool()
                            ? precedente.substr(0, f.ConsumeIntegralInRange<size_t>(0, precedente.size()))
                            : std::u16string();
  return clef + fuzz::Chaine(f, 16);
}

void Cherche(const TableChaineNoyau& t, FuzzedDataProvider& f) {
  for (int q = 0; q < 4 && f.remaining_bytes() > 0; ++q) {
    const uint8_t genre = f.ConsumeIntegral<uint8_t>();
    const sdd::ChaineN mot = fuzz::N(fuzz::Chaine(f, 12));
    // Any option but the clock, which would make a run depend on the machine's speed.
    sdd::OptionRecherche options(f.ConsumeIntegral<uint32_t>() & ~sdd::OptionRecherche::kTempsLimite,
                                 f.ConsumeIntegral<uint16_t>());
    const uint32_t limite = f.ConsumeIntegralInRange<uint32_t>(0, 30);
    sdd::ListeC<TableChaineNoyau::_Forme> formes;
    fuzz::Essaie([&] {
      switch (genre % 6) {
        case 0: t.Possede(mot); break;
        case 1: t.FormesPour(mot, options, limite, formes); break;
        case 2: t.FormesCommencant(mot, options, limite, formes); break;
        case 3: t.FormesPourJoker(mot, limite, f.ConsumeIntegral<uint8_t>(), formes); break;
        case 4: t.FormesPourAnagrammes(mot, options, limite, formes); break;
        default: {
          sdd::ListeC<TableChaineNoyau::_FormeProbabiliste> corrections;
          t.FormesProbabilistes(mot, options, limite, f.ConsumeIntegralInRange<uint32_t>(0, 40), corrections);
        }
      }
    });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  FuzzedDataProvider f(donnees + 1, taille - 1);
  std::vector<uint8_t> octets = fuzz::Entree(f, (donnees[0] & 1) != 0, [&](sdd::TamponMemoire& t) {
    sdd::TableChaine<> table;
    std::u16string clef;
    const int n = f.ConsumeIntegralInRange<int>(0, 200);
    for (int i = 0; i < n && f.remaining_bytes() > 0; ++i) {
      clef = Clef(f, clef);
      fuzz::Essaie([&] {
        if (f.ConsumeIntegralInRange<int>(0, 5) == 0) {
          table.Supprime(fuzz::N(clef));
        } else {
          table.Insere(fuzz::N(clef));
        }
      });
    }
    table.Ecris(
        t, f.ConsumeBool() ? TableChaineNoyau::kVersionTableTrie : TableChaineNoyau::kVersionTableTrie100);
  });
  fuzz::Octets lu(std::move(octets));
  // In place first: the on-disk table never builds anything.
  fuzz::Essaie([&] {
    sdd::TableChaineSurDisqueNoyau disque(&*lu);
    for (int q = 0; q < 4 && f.remaining_bytes() > 0; ++q) disque.Possede(fuzz::N(fuzz::Chaine(f, 12)));
  });
  lu->PositionneAuDebut();
  TableChaineNoyau table;
  fuzz::Essaie([&] {
    sdd::Serialiseur<TableChaineNoyau>::Lis(*lu, &table);
    Cherche(table, f);
  });
  return 0;
}
