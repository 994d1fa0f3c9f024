#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/flux/Flux.h>

class UniChaine;
class UniChemin;

namespace sdd {

// The number and string encodings of every stored form (see docs/nombres.md). Fixed-width
// numbers are little-endian; SerialiseurVarElias is a big-endian, prefix-coded variable length.
// Every Ecris returns the position at which its value starts, taken before writing. Fixed-width
// readers do not detect a short read: bytes not read keep their former value.
template <typename T>
struct Serialiseur;

namespace detail {

// Little-endian fixed width, by the value's bytes.
template <typename T>
struct SerialiseurFixe {
  static uint64_t Ecris(FluxSortie& sortie, const T& valeur) {
    const uint64_t debut = sortie.DonnePosition();
    uint8_t octets[sizeof(T)];
    std::memcpy(octets, &valeur, sizeof(T));
    if constexpr (std::endian::native == std::endian::big) std::reverse(octets, octets + sizeof(T));
    sortie.Mets(octets, sizeof(T));
    return debut;
  }
  static void Lis(FluxEntree& entree, T* valeur) {
    uint8_t octets[sizeof(T)];
    std::memcpy(octets, valeur, sizeof(T));
    if constexpr (std::endian::native == std::endian::big) std::reverse(octets, octets + sizeof(T));
    entree.Donne(sizeof(T), octets);
    if constexpr (std::endian::native == std::endian::big) std::reverse(octets, octets + sizeof(T));
    std::memcpy(valeur, octets, sizeof(T));
  }
};

}  // namespace detail

template <>
struct Serialiseur<char> : detail::SerialiseurFixe<char> {};
template <>
struct Serialiseur<unsigned char> : detail::SerialiseurFixe<unsigned char> {};
template <>
struct Serialiseur<short> : detail::SerialiseurFixe<short> {};
template <>
struct Serialiseur<unsigned short> : detail::SerialiseurFixe<unsigned short> {};
template <>
struct Serialiseur<char16_t> : detail::SerialiseurFixe<char16_t> {};
template <>
struct Serialiseur<int> : detail::SerialiseurFixe<int> {};
template <>
struct Serialiseur<unsigned int> : detail::SerialiseurFixe<unsigned int> {};
template <>
struct Serialiseur<float> : detail::SerialiseurFixe<float> {};
template <>
struct Serialiseur<double> : detail::SerialiseurFixe<double> {};
template <>
struct Serialiseur<int64_t> : detail::SerialiseurFixe<int64_t> {};
template <>
struct Serialiseur<uint64_t> : detail::SerialiseurFixe<uint64_t> {};

// VarElias length, then the bytes up to the terminating zero (not written). Lis returns a new
// array (delete[]) of length + 1 bytes whose last byte is the terminator.
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<char*> {
  static uint64_t Ecris(FluxSortie& sortie, char* const& valeur);
  static void Lis(FluxEntree& entree, char** valeur);
};

// As char*, except that Lis leaves the last byte of the new array unwritten: callers of this
// variant know the length from elsewhere and never look for a terminator.
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<const char*> {
  static uint64_t Ecris(FluxSortie& sortie, const char* const& valeur);
  static void Lis(FluxEntree& entree, const char** valeur);
};

// VarElias size, then the bytes.
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<std::string> {
  static uint64_t Ecris(FluxSortie& sortie, const std::string& valeur);
  static void Lis(FluxEntree& entree, std::string* valeur);
};

// The UTF-8 form: VarElias byte length, then the bytes. A UniChemin is stored the same way.
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<UniChaine> {
  static uint64_t Ecris(FluxSortie& sortie, const UniChaine& valeur);
  static void Lis(FluxEntree& entree, UniChaine* valeur);
};
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<UniChemin> {
  static uint64_t Ecris(FluxSortie& sortie, const UniChemin& valeur);
  static void Lis(FluxEntree& entree, UniChemin* valeur);
};

// An unsigned integer in 1 to 8 bytes, big-endian. The first byte starts with k − 1 zero bits and
// a marker 1 bit (k = the byte count), then the high bits of v − B[k], where B[k] is the first
// value coded on k bytes: 0, 0x80, 0x4080, 0x204080, ... Every value below 0x102040810204080 has
// exactly one encoding; 0 is 80, 127 is FF, 128 is 40 00, 300 is 40 AC.
class OUTILS_SOCLE_EXPORT SerialiseurVarElias {
 public:
  // The first value with no encoding.
  static constexpr uint64_t kValeurMax = 0x102040810204080ull;

  // A value >= kValeurMax throws IndexHorsBorne(valeur, 0, kValeurMax).
  static uint64_t Ecris(FluxSortie& sortie, const uint64_t& valeur);
  // A zero first byte throws ErreurDeserialisation("VarElias : valeur 0").
  static void Lis(FluxEntree& entree, uint64_t* valeur);
  // The full value, keeping its low 32 or 16 bits.
  static void Lis(FluxEntree& entree, unsigned int* valeur);
  static void Lis(FluxEntree& entree, unsigned short* valeur);
  // Despite the name, the number of bytes (1 to 8) Ecris uses for the value.
  static uint64_t NbBitsRequis(const uint64_t& valeur);

  // In-memory forms, for readers of structures held in place. EcrisVers needs 8 bytes of room
  // (it stores a whole word) and returns the end of the value; LisDepuis reads from [p, fin) and returns the
  // end of the value, throwing ErreurDeserialisation for a zero first byte or a value cut by `fin`.
  static uint8_t* EcrisVers(uint8_t* p, uint64_t valeur);
  static const uint8_t* LisDepuis(const uint8_t* p, const uint8_t* fin, uint64_t* valeur) {
    if (fin - p >= 8 && *p != 0) {
      // The byte count is in the first byte: one 8-byte load, no loop.
      const unsigned k = static_cast<unsigned>(std::countl_zero(*p)) + 1;
      uint64_t mot;
      std::memcpy(&mot, p, 8);
      if constexpr (std::endian::native == std::endian::little) mot = __builtin_bswap64(mot);
      const uint64_t r = (mot >> (64 - 8 * k)) & (~uint64_t{0} >> (64 - 7 * k));
      *valeur = r + kDebuts[k];
      return p + k;
    }
    return LisDepuisLent(p, fin, valeur);
  }

 private:
  static const uint8_t* LisDepuisLent(const uint8_t* p, const uint8_t* fin, uint64_t* valeur);
  // B[k]: the first value coded on k bytes (B[9] = kValeurMax).
  static constexpr uint64_t kDebuts[10] = {0,
                                           0,
                                           0x80ull,
                                           0x4080ull,
                                           0x204080ull,
                                           0x10204080ull,
                                           0x810204080ull,
                                           0x40810204080ull,
                                           0x2040810204080ull,
                                           0x102040810204080ull};
};

// The three low bytes, little-endian; the high byte is dropped on writing and zero on reading.
class OUTILS_SOCLE_EXPORT SerialiseurTroisOctets {
 public:
  static uint64_t Ecris(FluxSortie& sortie, const unsigned int& valeur);
  static void Lis(FluxEntree& entree, unsigned int* valeur);
};

// The five low bytes, little-endian (values up to 2^40 − 1).
class OUTILS_SOCLE_EXPORT SerialiseurCinqOctets {
 public:
  static uint64_t Ecris(FluxSortie& sortie, const uint64_t& valeur);
  static void Lis(FluxEntree& entree, uint64_t* valeur);
};

// An integer on nbOctets bytes chosen by the caller, least significant first. The narrow readers
// accumulate in 32 bits (nbOctets <= 4), the uint64_t one in 64 bits (nbOctets <= 8); a larger
// count throws IndexHorsBorne.
class OUTILS_SOCLE_EXPORT SerialiseNombreSurNbOctets {
 public:
  static uint64_t Ecris(FluxSortie& sortie, uint64_t valeur, unsigned char nbOctets);
  static void Lis(FluxEntree& entree, unsigned char* valeur, unsigned char nbOctets);
  static void Lis(FluxEntree& entree, unsigned int* valeur, unsigned char nbOctets);
  static void Lis(FluxEntree& entree, uint64_t* valeur, unsigned char nbOctets);
  static void Lis(FluxEntree& entree, char16_t* valeur, unsigned char nbOctets);
};

}  // namespace sdd
