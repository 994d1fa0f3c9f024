#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include <outils_socle/Export.h>
#include <outils_socle/texte/ChaineN.h>

namespace sdd {

class FluxEntree;

// Converts between UTF-16 units and the bytes of one encoding. There is one converter per
// encoding, created on first use and kept until the process ends; converters hold no state after
// construction, so all threads share them.
//
// Every encoding decodes n bytes to at most n units, so n units of room always suffice for a
// decode. Decoding never fails (malformed UTF-8 gives U+FFFD) and encoding never fails (a unit
// the encoding lacks is written as "?").
class OUTILS_SOCLE_EXPORT ConvertisseurChaineN {
 public:
  virtual ~ConvertisseurChaineN();

  // The converter of `codage`; a value outside 0..6 gives the Mac OS Roman one.
  static const ConvertisseurChaineN& ConvertisseurPourCodage(int codage);
  // Converters live until the process ends; this does nothing and exists for symmetry.
  static void LibereConvertisseurPourCodage(int codage);

  // Bytes of the encoded terminator: 1, or 2 for UTF-16.
  virtual unsigned TailleTerminateur() const = 0;
  // Upper bound of the bytes one unit encodes to.
  virtual unsigned OctetsMaxParUnite() const = 0;
  // Bytes before the encoded terminator of a zero-terminated byte string.
  virtual uint64_t LongueurOctets(const char* octets) const;

  // One character: encodes the character starting at unites[0] (a surrogate pair is one
  // character in UTF-8) into `sortie` (at least 4 bytes; null only sizes it), stores the units
  // read in `lues` and returns the bytes.
  virtual unsigned EncodeCaractere(const char16_t* unites, uint64_t n, char* sortie,
                                   unsigned* lues) const = 0;
  // Decodes one character from n > 0 bytes into `sortie` (room for 2 units), stores the units
  // written in `ecrites` and returns the bytes consumed (at least 1).
  virtual unsigned DecodeCaractere(const char* octets, uint64_t n, char16_t* sortie,
                                   unsigned* ecrites) const = 0;

  // One character from a stream: false when the stream ends or fails before a whole character.
  // Bytes after a broken UTF-8 sequence are left in the stream (it is repositioned).
  bool DecodeCaractere(FluxEntree& entree, char16_t* sortie, unsigned* ecrites) const;
  // The bytes a character starting with `premier` takes at most.
  virtual unsigned OctetsAttendus(uint8_t premier) const = 0;

  // Whole strings: the hot paths, one sizing pass and one writing pass.
  virtual uint64_t CompteUnites(const char* octets, uint64_t n) const = 0;
  // Writes the units and returns how many. `sortie` has room for `place` units, at least the
  // count; extra room lets the fast paths store whole blocks. n units of room always suffice.
  virtual uint64_t Decode(const char* octets, uint64_t n, char16_t* sortie, uint64_t place) const = 0;
  virtual uint64_t TailleEncodee(const char16_t* unites, uint64_t n) const = 0;
  // Writes at most `taille` bytes, never half a character, and returns the bytes written.
  virtual uint64_t Encode(const char16_t* unites, uint64_t n, char* sortie, uint64_t taille) const = 0;
  virtual uint64_t CompteNonRepresentables(const char16_t* unites, uint64_t n) const;
};

// The four single-byte encodings share this table-driven converter. Bytes 0x00–0x7F are ASCII
// in all four. Encoding writes the first byte, from 0 upward, whose table entry is the unit.
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNCodageUnOctet : public ConvertisseurChaineN {
 public:
  explicit ConvertisseurChaineNCodageUnOctet(const char16_t (&table)[256]);
  ~ConvertisseurChaineNCodageUnOctet() override;

  char16_t DonneUnite(unsigned char octet) const { return table_[octet]; }
  // The byte for a unit, or '?' when the encoding lacks it.
  unsigned char DonneOctet(char16_t unite) const;

  unsigned TailleTerminateur() const override { return 1; }
  unsigned OctetsMaxParUnite() const override { return 1; }
  unsigned OctetsAttendus(uint8_t) const override { return 1; }
  unsigned EncodeCaractere(const char16_t* unites, uint64_t n, char* sortie, unsigned* lues) const override;
  unsigned DecodeCaractere(const char* octets, uint64_t n, char16_t* sortie,
                           unsigned* ecrites) const override;
  uint64_t CompteUnites(const char* octets, uint64_t n) const override;
  uint64_t Decode(const char* octets, uint64_t n, char16_t* sortie, uint64_t place) const override;
  uint64_t TailleEncodee(const char16_t* unites, uint64_t n) const override;
  uint64_t Encode(const char16_t* unites, uint64_t n, char* sortie, uint64_t taille) const override;
  uint64_t CompteNonRepresentables(const char16_t* unites, uint64_t n) const override;

 private:
  const char16_t* table_;
  // Reverse map for units >= 0x80, by 256-unit page; a zero byte means "absent" (bytes below
  // 0x80 never stand for such units).
  std::array<std::unique_ptr<unsigned char[]>, 256> pages_;
};

class OUTILS_SOCLE_EXPORT ConvertisseurChaineNMacRoman : public ConvertisseurChaineNCodageUnOctet {
 public:
  ConvertisseurChaineNMacRoman();
};
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNLatin9 : public ConvertisseurChaineNCodageUnOctet {
 public:
  ConvertisseurChaineNLatin9();
};
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNWinLatin1 : public ConvertisseurChaineNCodageUnOctet {
 public:
  ConvertisseurChaineNWinLatin1();
};
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNDOS : public ConvertisseurChaineNCodageUnOctet {
 public:
  ConvertisseurChaineNDOS();
};

// UTF-8 by the Unicode Standard's table of well-formed sequences. A lead byte that starts no
// sequence gives U+FFFD and consumes one byte; a sequence that breaks off gives one U+FFFD and
// consumes the bytes valid up to the break. Encoding joins a surrogate with the unit after it
// without checking that unit, and writes a lone surrogate as three bytes.
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNUTF8 : public ConvertisseurChaineN {
 public:
  unsigned TailleTerminateur() const override { return 1; }
  unsigned OctetsMaxParUnite() const override { return 3; }
  unsigned OctetsAttendus(uint8_t premier) const override;
  unsigned EncodeCaractere(const char16_t* unites, uint64_t n, char* sortie, unsigned* lues) const override;
  unsigned DecodeCaractere(const char* octets, uint64_t n, char16_t* sortie,
                           unsigned* ecrites) const override;
  uint64_t CompteUnites(const char* octets, uint64_t n) const override;
  uint64_t Decode(const char* octets, uint64_t n, char16_t* sortie, uint64_t place) const override;
  uint64_t TailleEncodee(const char16_t* unites, uint64_t n) const override;
  uint64_t Encode(const char16_t* unites, uint64_t n, char* sortie, uint64_t taille) const override;
  // The units a surrogate without its other half takes with it: it is combined with the unit
  // after it (2 units), or, last, written alone as bytes that decode to U+FFFD (1 unit).
  uint64_t CompteNonRepresentables(const char16_t* unites, uint64_t n) const override;
};

// UTF-16 without byte-order mark; an odd last byte is ignored.
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNUTF16 : public ConvertisseurChaineN {
 public:
  explicit ConvertisseurChaineNUTF16(bool grosBoutiste) : grosBoutiste_(grosBoutiste) {}
  unsigned TailleTerminateur() const override { return 2; }
  unsigned OctetsMaxParUnite() const override { return 2; }
  unsigned OctetsAttendus(uint8_t) const override { return 2; }
  uint64_t LongueurOctets(const char* octets) const override;
  unsigned EncodeCaractere(const char16_t* unites, uint64_t n, char* sortie, unsigned* lues) const override;
  unsigned DecodeCaractere(const char* octets, uint64_t n, char16_t* sortie,
                           unsigned* ecrites) const override;
  uint64_t CompteUnites(const char* octets, uint64_t n) const override;
  uint64_t Decode(const char* octets, uint64_t n, char16_t* sortie, uint64_t place) const override;
  uint64_t TailleEncodee(const char16_t* unites, uint64_t n) const override;
  uint64_t Encode(const char16_t* unites, uint64_t n, char* sortie, uint64_t taille) const override;

 private:
  bool grosBoutiste_;
};

class OUTILS_SOCLE_EXPORT ConvertisseurChaineNUTF16LE : public ConvertisseurChaineNUTF16 {
 public:
  ConvertisseurChaineNUTF16LE() : ConvertisseurChaineNUTF16(false) {}
};
class OUTILS_SOCLE_EXPORT ConvertisseurChaineNUTF16BE : public ConvertisseurChaineNUTF16 {
 public:
  ConvertisseurChaineNUTF16BE() : ConvertisseurChaineNUTF16(true) {}
};

}  // namespace sdd
