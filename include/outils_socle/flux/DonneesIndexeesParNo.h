#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/flux/TamponMemoire.h>

class UniChemin;

namespace sdd {

class FluxEntreeMemoire;
class FluxSortie;

// Variable-length records addressed by their number, read in place through a fixed-width index
// (docs/blocs.md): 4 version bytes, the index width W (1 byte), the record count N and the size
// T of the record area (4 bytes each, little-endian), N offsets of W bytes into the record
// area, then the records, each a VarElias length and its bytes.
//
// Opening checks that the whole structure lies inside the input and that W is 1 to 8; finding
// a record checks its number against N, and its offset, length and bytes against the record
// area. Any violation throws ErreurDeserialisation (a number outside the index,
// IndexHorsBorne): damaged data never makes it read outside the input. The version bytes are
// kept, not interpreted.
//
// The buffers it returns lend the input's bytes, positioned in the input; the input must
// outlive them. Each call makes its own, so one reader may serve several threads.
class OUTILS_SOCLE_EXPORT DonneesIndexeesParNo {
 public:
  static constexpr int kNbOctetVersion = 4;
  static constexpr uint64_t kDebutIndex = 13;

  DonneesIndexeesParNo();
  DonneesIndexeesParNo(const UniChemin& chemin, uint64_t debut = 0);
  DonneesIndexeesParNo(FluxEntreeMemoire* entree, uint64_t debut = 0);
  DonneesIndexeesParNo(const DonneesIndexeesParNo&) = default;
  DonneesIndexeesParNo& operator=(const DonneesIndexeesParNo&) = default;
  ~DonneesIndexeesParNo();

  // Maps the file (and owns the mapping), or reads from the given input (which stays the
  // caller's), and reads the header at `debut`.
  void Ouvre(const UniChemin& chemin, uint64_t debut = 0);
  void Ouvre(FluxEntreeMemoire* entree, uint64_t debut = 0);

  uint64_t DonneNombreInfo() const { return nombre_; }
  uint64_t DonneTailleTotal() const { return kDebutIndex + nombre_ * largeur_ + tailleInfos_; }
  const uint8_t* Version() const { return version_; }
  uint64_t LargeurIndex() const { return largeur_; }

  // A buffer at the start of the record area; then, per record, ProchainInfo and its bytes.
  TamponMemoire PositionneAuDebutInfo() const;
  // Reads the next record's length (its low 32 bits) from the buffer, which is left at the
  // record's bytes; a length running past the record area throws ErreurDeserialisation.
  void ProchainInfo(TamponMemoire& tampon, unsigned int* taille) const;
  // The record's bytes, lent from the input: what most callers want.
  const uint8_t* DonneInfo(int no, uint64_t* taille) const;

 protected:
  // A buffer at the length field of record `no`; with `taille`, past it, at the record's
  // bytes, after reading the length.
  TamponMemoire PositionnePourNo(int no) const;
  TamponMemoire PositionnePourNo(int no, unsigned int* taille) const;

 private:
  uint64_t OffsetInfo(int no) const;
  // The record at `offset` in the record area: its bytes and length, checked.
  const uint8_t* Info(uint64_t offset, uint64_t* taille, uint64_t* longueurChamp) const;

  FluxEntreeMemoire* entree_ = nullptr;
  std::shared_ptr<FluxEntreeMemoire> possede_;  // the mapped file, when opened from a path
  uint8_t version_[kNbOctetVersion] = {0, 0, 0, 0};
  uint64_t largeur_ = 0;
  uint64_t nombre_ = 0;
  uint64_t debutIndex_ = kDebutIndex;
  uint64_t debutInfos_ = kDebutIndex;
  uint64_t tailleInfos_ = 0;
  uint64_t debut_ = 0;
};

// Writes the structure DonneesIndexeesParNo reads: records added in number order, then Ecris.
// The index width is the smallest (1 to 4 bytes) that holds the largest offset; the record
// area may not exceed 4 GiB − 1 (its size is stored on 4 bytes), nor the count 2^32 − 1.
class OUTILS_SOCLE_EXPORT CreateurDonneesIndexeesParNo {
 public:
  explicit CreateurDonneesIndexeesParNo(const uint8_t (&version)[DonneesIndexeesParNo::kNbOctetVersion] = {
                                            1, 0, 0, 0});
  // Adds record number NombreInfo(); returns that number.
  uint64_t Ajoute(const uint8_t* octets, uint64_t n);
  uint64_t NombreInfo() const { return offsets_.size(); }
  // Writes the structure; returns the position where it starts. The records stay, so the
  // same structure can be written again.
  uint64_t Ecris(FluxSortie& sortie) const;

 private:
  uint8_t version_[DonneesIndexeesParNo::kNbOctetVersion];
  std::vector<uint64_t> offsets_;
  TamponMemoire infos_;
};

}  // namespace sdd
