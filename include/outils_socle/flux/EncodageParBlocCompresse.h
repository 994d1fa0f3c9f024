#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ChaineN.h>

namespace sdd {

class FluxEntreeMemoire;
class FluxSortie;

// How a block is stored: its bytes as they are, or the zlib stream (RFC 1950) that zlib's
// compress makes of them at the default level. Stored as one byte.
enum eTypeCompression : uint8_t {
  SansCompression = 0,
  CompressionZlib = 1,
};

// Where an entry lies: the position, in the encoder's output, of the record of its block, and
// its offset inside the decompressed block. Text form "(positionBloc,positionDansBloc)".
struct _typPositionEncodageBloc {
  uint64_t positionBloc = 0;
  uint64_t positionDansBloc = 0;
  friend bool operator==(const _typPositionEncodageBloc&, const _typPositionEncodageBloc&) = default;
};
OUTILS_SOCLE_EXPORT std::ostream& operator<<(std::ostream& sortie, const _typPositionEncodageBloc& position);

// Packs many short entries (strings, byte runs) one after another into blocks of a nominal
// size, each written raw or zlib-compressed when it fills; an entry is found again through the
// position its encoding returned, at the cost of decompressing one block (docs/blocs.md).
//
// The output stream receives the header at construction and one record per block; nothing else
// may be written to it meanwhile, since positions are taken from it. TermineEncodage() writes
// the last block: call it once after the last entry (the destructor does not).
//
// An entry larger than the block size is refused with OperationInvalide, and so is a string
// holding the character U+0000 (the reader would stop at it). A string's room is reckoned as
// the stored format has always reckoned it, from its length up to its first zero byte plus the
// bytes of that length in VarElias: exact for the single-byte encodings, short of the mark for
// UTF-16, whose text holds zero bytes; a block can then outgrow the nominal size, and is stored
// whole all the same.
//
// Copies are independent encoders: each has its own block and work area, and both write to
// the same stream, whose positions must then be theirs alone. One encoder, one thread.
class OUTILS_SOCLE_EXPORT EncodageParBlocCompresse {
 public:
  EncodageParBlocCompresse(FluxSortie* sortie, unsigned int tailleBloc, eTypeCompression type);
  EncodageParBlocCompresse(const EncodageParBlocCompresse& autre);
  EncodageParBlocCompresse& operator=(const EncodageParBlocCompresse& autre);
  ~EncodageParBlocCompresse();

  // The string written with ChaineN::Ecris in `codage` (its bytes and terminator).
  _typPositionEncodageBloc EncodeChaine(ChaineN chaine, ChaineN::Codage codage);
  // n bytes as they are; no length is stored, the reader must know n.
  _typPositionEncodageBloc EncodeOctets(const char* octets, uint64_t n);
  // Writes the current block, even an empty one.
  void TermineEncodage();

 private:
  _typPositionEncodageBloc Place(uint64_t besoin);
  void Vidange();

  FluxSortie* sortie_;
  uint32_t tailleBloc_;
  TamponMemoire bloc_;
  std::vector<uint8_t> travail_;  // what a block's record carries
  eTypeCompression type_;
};

// Reads entries back, in place, from the bytes of an encoder's output (a mapped file, a
// buffer); the bytes must outlive the decoder. A zlib block is decoded whole and its checksum
// checked before any entry is read from it. Each thread keeps the last block it decoded, with
// the stored bytes it came from, and serves the next entry of the same block from it when those
// bytes are unchanged (compared byte for byte): reading a block's entries in turn costs one
// decoding. One decoder may serve several threads.
//
// Damaged data never makes it read outside the input: a block record or an entry that does
// not lie inside the input or the decoded block, or a zlib stream that does not decode whole
// (or decodes to more than twice the nominal size, which no encoder writes), throws
// ErreurDeserialisation. An unknown compression type throws "Type de compression inconnu" on
// the first decode.
class OUTILS_SOCLE_EXPORT DecodageParBlocCompresse {
 public:
  DecodageParBlocCompresse(FluxEntreeMemoire* entree, uint64_t debut);
  DecodageParBlocCompresse(const DecodageParBlocCompresse&) = default;
  DecodageParBlocCompresse& operator=(const DecodageParBlocCompresse&) = default;

  void DecodeChaine(const _typPositionEncodageBloc& position, ChaineN& chaine, ChaineN::Codage codage) const;
  // Copies n bytes of the entry into `destination` (written through, despite its type).
  void DecodeOctets(const _typPositionEncodageBloc& position, uint64_t n, const char* destination) const;

  uint64_t TailleBloc() const { return tailleBloc_; }
  eTypeCompression Type() const { return static_cast<eTypeCompression>(type_); }

 protected:
  // The entry's block, decoded, positioned at its start, its size the decoded length.
  TamponMemoire _PlaceTamponSelonPosition(const _typPositionEncodageBloc& position) const;

 private:
  // The decoded bytes of the entry's block and their number: in the input for a raw block,
  // else in this thread's last decoded block (valid until the thread's next decode).
  const uint8_t* Bloc(const _typPositionEncodageBloc& position, uint64_t* taille) const;

  FluxEntreeMemoire* entree_;
  uint64_t debut_;
  uint64_t tailleBloc_;
  uint32_t type_;
};

}  // namespace sdd
