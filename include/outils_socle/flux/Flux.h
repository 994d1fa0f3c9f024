#pragma once

#include <cstdint>

#include <outils_socle/Export.h>

class UniChaine;

namespace sdd {

class ChaineN;
class FluxSortie;
class TamponMemoire;

// Byte streams. Every stored structure of the library is written to a FluxSortie and read from a
// FluxEntree; FluxEntreeMemoire adds direct addresses so that large structures are read in place.
// Streams carry bytes only: multi-byte numbers are laid out by the serialisers. No stream takes
// a lock: one stream, one thread at a time.
class OUTILS_SOCLE_EXPORT Flux {
 public:
  virtual ~Flux();
  virtual bool EstALaFin() const = 0;  // the read position is at or past the end
  virtual uint64_t DonnePosition() const = 0;
  virtual void PositionneAuDebut() = 0;
  virtual void Positionne(uint64_t position) = 0;
  virtual void PositionneALaFin() = 0;
  virtual bool EstEnBonEtat() const { return true; }
};

class OUTILS_SOCLE_EXPORT FluxEntree : public virtual Flux {
 public:
  // Reads up to n bytes and returns how many were read.
  virtual uint64_t Donne(uint64_t n, uint8_t* destination) = 0;
  // Reads one byte; the caller checks EstALaFin() first.
  virtual uint8_t Donne() = 0;
  // The size of the readable data.
  virtual uint64_t Taille() const = 0;

  // Reads one line decoded from `codage` (a ChaineN::Codage): LF, CR LF and lone CR end it and
  // are not kept. False when the stream was already at its end.
  bool DonneLigne(ChaineN& ligne, int codage);
  bool DonneLigne(UniChaine& ligne, int codage);

  // Copies bytes to `sortie` until this stream ends or n bytes have moved; UINT64_MAX means no
  // limit. Returns the bytes moved.
  uint64_t DonneFluxSortie(FluxSortie& sortie, uint64_t n = UINT64_MAX);
};

class OUTILS_SOCLE_EXPORT FluxSortie : public virtual Flux {
 public:
  // Writes n bytes and returns n.
  virtual uint64_t Mets(const uint8_t* octets, uint64_t n) = 0;
  virtual void Mets(uint8_t octet) = 0;
  // The text's bytes in `codage` (a UniChaine::Codage), without length or terminator.
  virtual FluxSortie& MetsUniChaine(const UniChaine& chaine, int codage);
  // The text's bytes in `codage` (a ChaineN::Codage), without length or terminator.
  virtual FluxSortie& MetsChaineN(const ChaineN& chaine, int codage);

  // Copies bytes from `entree` until it ends or n bytes have moved; returns the bytes moved.
  uint64_t MetsFluxEntree(FluxEntree& entree, uint64_t n = UINT64_MAX);
};

// An input stream whose bytes lie in addressable memory. Readers that keep pointers obtained
// from Ptr() or PtrEtAvance() need the stream alive and unchanged while they use them.
class OUTILS_SOCLE_EXPORT FluxEntreeMemoire : public virtual FluxEntree {
 public:
  // The address of the byte at the position, then the position moves n bytes on. No bound test:
  // the caller checks against Taille().
  virtual void* PtrEtAvance(uint64_t n) = 0;
  virtual void* Ptr() = 0;
  // A new buffer (the caller owns it) that lends these bytes without copying them.
  virtual TamponMemoire* TamponEnPretantDonnees() = 0;
  virtual TamponMemoire NouveauTamponEnPretantDonnees() = 0;
};

}  // namespace sdd
