#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <outils_socle/Export.h>

class UniChaine;

namespace sdd {

class ChaineN;
class FluxEntree;
class FluxSortie;

namespace detail {
struct DonneesHuffman;
}  // namespace detail

// A Huffman code over 16-bit characters, built by CodeHuffmanCalcul (CodeHuffmanCalcul.h) or read
// back with Lis, that stores strings in fewer bits. Every character the code was not built with
// still encodes: as the escape code followed by its 16 bits, low byte first.
//
// Bits are packed most significant first within each byte, and a bit position in a caller's
// array counts from the first byte's most significant bit. The partial-byte operations carry
// the byte being filled (or read) and `decalage`, its bits already used, 0 to 7: an encoder
// starts from (0, 0) and writes the byte out when it fills; a decoder starts from (any, 0),
// where 0 means that the next bit comes from the stream's next byte.
//
// Characters in a stream (the stream-to-stream operations, and counting in CodeHuffmanCalcul)
// are 16-bit units, two bytes each, low byte first.
//
// The code itself is immutable once built or read: copies share it, and one code may encode
// and decode on several threads at once. Decoding reads several bits at a time through a table;
// DecodeUnCarBitABit keeps the plain tree walk, one bit at a time.
template <typename T>
class OUTILS_SOCLE_EXPORT CodeHuffman {
  static_assert(std::is_same_v<T, char16_t>, "Huffman codes are built over 16-bit units");

 public:
  // A character's code: `longueur` bits (at most 64), the last one in the lowest bit of `valeur`.
  struct _Code {
    uint64_t valeur = 0;
    uint8_t longueur = 0;
  };

  CodeHuffman();  // the empty code: every character is escaped, on 0 + 16 bits
  CodeHuffman(const CodeHuffman&);
  CodeHuffman(CodeHuffman&&) noexcept;
  CodeHuffman& operator=(const CodeHuffman&);
  CodeHuffman& operator=(CodeHuffman&&) noexcept;
  virtual ~CodeHuffman();

  // The serialised code (docs/huffman.md). Ecris returns the position where it starts; Lis
  // reads exactly what Ecris wrote, and refuses anything else with ErreurDeserialisation.
  uint64_t Ecris(FluxSortie& sortie) const;
  void Lis(FluxEntree& entree);

  // The character's code, *inconnu false; for a character the code lacks, the escape code and
  // *inconnu true.
  _Code PreteCodePourCar(T c, bool* inconnu) const;
  // The code that stands for every character the code lacks.
  _Code CodeEchappement() const;
  // The characters the code was built with (the escape leaf aside).
  uint32_t NombreDeCaracteres() const;
  // The bits that `c` takes, escape and raw bits included.
  uint32_t NbBits(T c) const;

  // ---- one character
  // Appends the character's bits to the partial byte; each byte that fills is written.
  void EncodeUnCar(T c, unsigned char* octet, unsigned char* decalage, FluxSortie& sortie) const;
  // Writes the character's bits into octets[0, taille) at *positionBit (other bits untouched)
  // and advances it; false, writing nothing, when they do not fit.
  bool EncodeUnCar(T c, unsigned char* octets, size_t taille, size_t* positionBit) const;
  // False when the data ends before a whole character.
  bool DecodeUnCar(FluxEntree& entree, unsigned char* octet, unsigned char* decalage, T* c) const;
  bool DecodeUnCar(const unsigned char* octets, size_t taille, size_t* positionBit, T* c) const;
  // The same as the array DecodeUnCar, by the tree, one bit at a time: the reference the
  // table-driven decoder is tested against.
  bool DecodeUnCarBitABit(const unsigned char* octets, size_t taille, size_t* positionBit, T* c) const;

  // ---- whole strings
  // Every character, then the last partial byte with its low bits zero; no length.
  void EncodeTouteLaChaine(const ChaineN& chaine, FluxSortie& sortie) const;
  // The character count (SerialiseurVarElias), then EncodeTouteLaChaine; returns the position
  // of the count.
  uint64_t EncodeTouteLaChaineAvecLongueur(const ChaineN& chaine, FluxSortie& sortie) const;
  // Exactly n characters, which end on a byte boundary (the rest of the last byte is skipped);
  // data that ends first throws ErreurDeserialisation.
  void DecodeLeFlux(FluxEntree& entree, unsigned int n, ChaineN& chaine) const;
  void DecodeLeFluxAvecLongueur(FluxEntree& entree, ChaineN& chaine) const;

  // ---- stream to stream, characters as 16-bit units (see above); each returns the
  // characters moved
  // The next n characters of `entree` (fewer if it ends), then the last partial byte.
  uint64_t EncodeTousLeFluxEntree(FluxEntree& entree, unsigned int n, FluxSortie& sortie) const;
  // The same without the final byte: it stays in (*octet, *decalage).
  uint64_t EncodeUnePartieDuFluxEntree(FluxEntree& entree, unsigned int n, unsigned char* octet,
                                       unsigned char* decalage, FluxSortie& sortie) const;
  // Up to n characters from (*octet, *decalage) on; stops early when the data ends.
  uint64_t DecodeUnePartieDuFluxEntree(FluxEntree& entree, unsigned int n, unsigned char* octet,
                                       unsigned char* decalage, FluxSortie& sortie) const;
  // n characters, then the rest of the last byte is skipped; data that ends first throws
  // ErreurDeserialisation.
  uint64_t DecodeLeFluxEntreeEtArrete(FluxEntree& entree, unsigned int n, FluxSortie& sortie) const;

 protected:
  // Encoding and decoding that continue from a caller's partial byte, without the final
  // flush, so that several strings share bytes.
  void EncodeTouteLaChaineAvecLeDecalage(const ChaineN& chaine, unsigned char* octet, unsigned char* decalage,
                                         FluxSortie& sortie) const;
  void DecodeLeFluxAvecDecalage(FluxEntree& entree, unsigned int n, unsigned char* octet,
                                unsigned char* decalage, ChaineN& chaine) const;

  void MetsDonnees(std::shared_ptr<const detail::DonneesHuffman> donnees);

 private:
  std::shared_ptr<const detail::DonneesHuffman> donnees_;
};

extern template class CodeHuffman<char16_t>;

// The same code with UniChaine strings beside ChaineN ones.
class OUTILS_SOCLE_EXPORT CodeHuffmanUniChaine : public CodeHuffman<char16_t> {
 public:
  using CodeHuffman<char16_t>::EncodeTouteLaChaine;
  using CodeHuffman<char16_t>::EncodeTouteLaChaineAvecLongueur;
  using CodeHuffman<char16_t>::DecodeLeFlux;
  using CodeHuffman<char16_t>::DecodeLeFluxAvecLongueur;

  void EncodeTouteLaChaine(const UniChaine& chaine, FluxSortie& sortie) const;
  uint64_t EncodeTouteLaChaineAvecLongueur(const UniChaine& chaine, FluxSortie& sortie) const;
  void DecodeLeFlux(FluxEntree& entree, unsigned int n, UniChaine& chaine) const;
  void DecodeLeFluxAvecLongueur(FluxEntree& entree, UniChaine& chaine) const;
};

}  // namespace sdd
