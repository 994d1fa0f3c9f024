#pragma once

// Bit streams, most significant bit first within each byte, for the Huffman code.

#include <cstdint>
#include <cstring>

#include <outils_socle/flux/Flux.h>

namespace sdd::detail {

inline uint64_t Masque(uint32_t n) { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

// Appends bits to a stream, continuing a partial byte whose first `decalage` bits are used;
// whole bytes gather in a small buffer and go to the stream by blocks. Rends() gives back the
// partial byte (and writes the buffer out); the destructor writes the buffer out too.
class EcrivainBits {
 public:
  EcrivainBits(FluxSortie& sortie, uint8_t octet, uint8_t decalage)
      : sortie_(sortie), acc_(decalage == 0 ? 0 : octet >> (8 - decalage)), nb_(decalage) {}
  EcrivainBits(const EcrivainBits&) = delete;
  EcrivainBits& operator=(const EcrivainBits&) = delete;
  ~EcrivainBits() { Vide(); }

  void Ajoute(uint64_t valeur, uint32_t longueur) {  // longueur <= 64
    if (longueur > 32) {
      Ajoute32(valeur >> 32, longueur - 32);
      longueur = 32;
    }
    Ajoute32(valeur, longueur);
  }

  void Rends(unsigned char* octet, unsigned char* decalage) {
    Vide();
    *octet = nb_ == 0 ? 0 : static_cast<uint8_t>(acc_ << (8 - nb_));
    *decalage = static_cast<unsigned char>(nb_);
  }

 private:
  void Ajoute32(uint64_t valeur, uint32_t n) {
    // acc_ holds nb_ < 8 bits; with n <= 32 more it stays within 40.
    acc_ = acc_ << n | (valeur & Masque(n));
    nb_ += n;
    while (nb_ >= 8) {
      nb_ -= 8;
      tampon_[plein_++] = static_cast<uint8_t>(acc_ >> nb_);
      if (plein_ == sizeof(tampon_)) Vide();
    }
    acc_ &= Masque(nb_);
  }
  void Vide() {
    if (plein_ > 0) sortie_.Mets(tampon_, plein_);
    plein_ = 0;
  }

  FluxSortie& sortie_;
  uint64_t acc_;
  uint32_t nb_;
  uint32_t plein_ = 0;
  uint8_t tampon_[512];
};

// Writes exactly the bits appended into a caller's array from a bit position, leaving the
// others as they were. The caller has checked the room.
class EcrivainBitsTableau {
 public:
  EcrivainBitsTableau(unsigned char* octets, uint64_t position) : octets_(octets), position_(position) {}
  void Ajoute(uint64_t valeur, uint32_t longueur) {
    for (uint32_t i = longueur; i-- > 0; ++position_) {
      const auto masque = static_cast<unsigned char>(0x80u >> (position_ & 7));
      unsigned char& o = octets_[position_ >> 3];
      o = static_cast<unsigned char>((valeur >> i & 1) ? (o | masque) : (o & ~masque));
    }
  }

 private:
  unsigned char* octets_;
  uint64_t position_;
};

// Reads bits in place from [octets, octets + taille) at a bit position; never past the end.
class LecteurBitsMemoire {
 public:
  LecteurBitsMemoire(const uint8_t* octets, uint64_t taille, uint64_t position)
      : octets_(octets), taille_(taille), position_(position) {}
  // The next bits, left-aligned in a word: at least 57 of them are real when the data has
  // them; past the end of the data, zeros.
  uint64_t Regarde() const {
    const uint64_t octet = position_ >> 3;
    uint64_t mot = 0;
    if (octet + 8 <= taille_) {
      std::memcpy(&mot, octets_ + octet, 8);
      mot = __builtin_bswap64(mot);
    } else {
      for (uint64_t i = 0; octet + i < taille_; ++i) mot |= uint64_t{octets_[octet + i]} << (56 - 8 * i);
    }
    return mot << (position_ & 7);
  }
  int Bit(uint64_t position) const { return octets_[position >> 3] >> (7 - (position & 7)) & 1; }
  uint64_t Position() const { return position_; }
  uint64_t Fin() const { return taille_ * 8; }
  uint64_t Restants() const { return Fin() - position_; }
  void Avance(uint64_t n) { position_ += n; }

 private:
  const uint8_t* octets_;
  uint64_t taille_;
  uint64_t position_;
};

// Reads bits from a stream one byte at a time, continuing a partial byte whose first
// `decalage` bits are used (0: the next bit is in the stream's next byte).
class LecteurBitsFlux {
 public:
  LecteurBitsFlux(FluxEntree& entree, uint8_t octet, uint8_t decalage)
      : entree_(entree), octet_(octet), decalage_(decalage & 7) {}
  // The next bit, or −1 when the stream has ended.
  int Bit() {
    if (decalage_ == 0) {
      if (entree_.EstALaFin()) return -1;
      octet_ = entree_.Donne();
    }
    const int b = octet_ >> (7 - decalage_) & 1;
    decalage_ = (decalage_ + 1) & 7;
    return b;
  }
  void Rends(unsigned char* octet, unsigned char* decalage) const {
    *octet = octet_;
    *decalage = decalage_;
  }

 private:
  FluxEntree& entree_;
  uint8_t octet_;
  uint8_t decalage_;
};

}  // namespace sdd::detail
