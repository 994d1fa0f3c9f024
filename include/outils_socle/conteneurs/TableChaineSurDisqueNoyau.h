#pragma once

#include <cstdint>

#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/TableChaineNoyau.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>

namespace sdd {

class ChaineN;
class FluxEntreeMemoire;

// A serialised string table (Serialiseur<TableChaineNoyau>, docs/table_chaine.md) answered in
// place, without loading it: a lookup reads one record per level and per sibling tried, and
// allocates nothing. Opening reads only the header.
//
// The bytes stay the caller's (a mapped file, a buffer) and must outlive the object. Lookups do
// not change it: each brings its own reader, so any number may run at once on several threads.
//
// Damaged bytes never make a lookup read outside the node block nor run long: opening checks
// that the block lies inside the stream and the root inside the block; a lookup refuses, with
// TableNonValide, a record that runs out of the block, unknown flags, and a child or sibling
// position that does not lie before the record naming it (the writer puts every record after
// those it names), which rules out loops and bounds a lookup by the block's records.
class OUTILS_SOCLE_EXPORT TableChaineSurDisqueNoyau {
 public:
  TableChaineSurDisqueNoyau() = default;
  TableChaineSurDisqueNoyau(FluxEntreeMemoire* flux, uint64_t position = 0);
  TableChaineSurDisqueNoyau(const TableChaineSurDisqueNoyau&) = default;
  TableChaineSurDisqueNoyau(TableChaineSurDisqueNoyau&&) = default;
  TableChaineSurDisqueNoyau& operator=(const TableChaineSurDisqueNoyau&) = default;
  TableChaineSurDisqueNoyau& operator=(TableChaineSurDisqueNoyau&&) = default;
  virtual ~TableChaineSurDisqueNoyau();

  // Reads the header at `position`; an unknown version throws TableNonValide("Version non
  // gérée").
  void Init(FluxEntreeMemoire* flux, uint64_t position = 0);

  uint32_t Taille() const { return nombre_; }
  uint16_t Version() const {
    return elias_ ? TableChaineNoyau::kVersionTableTrie : TableChaineNoyau::kVersionTableTrie100;
  }
  // Header plus node block: what an embedding container skips over.
  uint64_t DonneTailleTotal() const { return debutBloc_ - debut_ + tailleBloc_; }
  bool Possede(const ChaineN& clef) const;

 protected:
  // True when the key is a key of the table, descending from the record at `position` (the
  // root's: PositionRacine()) with the caller's reader over the stream's bytes.
  bool PlacePourChaine(const ChaineN& clef, uint64_t position, TamponMemoire& lecteur) const;
  // The same, leaving `lecteur` at the key's payload when it is there.
  bool TrouveCharge(const ChaineN& clef, TamponMemoire& lecteur) const;
  uint64_t PositionRacine() const { return racine_; }
  TamponMemoire NouveauLecteur() const;

 private:
  FluxEntreeMemoire* flux_ = nullptr;
  uint64_t debut_ = 0;      // the header's position
  uint64_t debutBloc_ = 0;  // the node block's position in the stream
  uint32_t nombre_ = 0;
  uint64_t tailleBloc_ = 0;
  uint64_t racine_ = 0;  // the root record's position in the block
  bool elias_ = true;    // version 110: VarElias positions; 100: 8 bytes
};

// The typed counterpart of TableChaine<Charge, SerialiseurCharge>: the payload of a key, read
// in place.
template <typename Charge, typename SerialiseurCharge = Serialiseur<Charge>>
class TableChaineSurDisque : public TableChaineSurDisqueNoyau {
 public:
  using TableChaineSurDisqueNoyau::TableChaineSurDisqueNoyau;
  // True, with the payload in *charge, when the key is there.
  bool Trouve(const ChaineN& clef, Charge* charge) const {
    TamponMemoire lecteur = NouveauLecteur();
    if (!TrouveCharge(clef, lecteur)) return false;
    SerialiseurCharge::Lis(lecteur, charge);
    return true;
  }
};

}  // namespace sdd
