#pragma once

// What a Huffman code holds, shared by its copies: the decoding tree, the code of every
// character (two-level table: 256 pages of 256 units, allocated for the pages used) and the
// decoding table that reads kBitsTable bits at a time. The serialised form is described in
// docs/huffman.md; its constants are here.

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <outils_socle/flux/CodeHuffman.h>

namespace sdd::detail {

// The serialised code: a version byte, the number of character leaves (VarElias), then the
// tree in pre-order, each node a tag byte (a character leaf's tag followed by the character,
// two bytes, low first).
constexpr uint8_t kVersionCodeHuffman = 1;
constexpr uint8_t kNoeudInterne = 0;
constexpr uint8_t kFeuilleCaractere = 1;
constexpr uint8_t kFeuilleEchappement = 2;
constexpr uint32_t kLongueurCodeMax = 64;

struct NoeudHuffman {
  int32_t gauche = -1;  // bit 0
  int32_t droite = -1;  // bit 1
  char16_t car = 0;
  bool echappement = false;
  bool EstFeuille() const { return gauche < 0 && droite < 0; }
};

struct DonneesHuffman {
  using _Code = CodeHuffman<char16_t>::_Code;

  // Bits read at once by the decoding table: codes of frequent characters are shorter.
  static constexpr int kBitsTable = 11;
  enum Genre : uint8_t {
    eCaractere,    // a character, on `longueur` bits
    eEchappement,  // the escape code, on `longueur` bits, then 16 raw bits
    eSuite,        // a longer code: kBitsTable bits lead to node `noeud`, walk on from there
  };
  struct Entree {
    char16_t car = 0;
    uint8_t longueur = 0;
    Genre genre = eCaractere;
    int32_t noeud = 0;
  };
  struct Page {
    std::array<_Code, 256> codes{};
    std::array<bool, 256> presents{};
  };

  std::vector<NoeudHuffman> noeuds;
  int32_t racine = 0;
  uint32_t nbCaracteres = 0;
  std::array<std::unique_ptr<Page>, 256> pages;
  _Code echappement;
  std::vector<Entree> table;  // 2^kBitsTable entries

  // The empty code: a lone escape leaf at the root.
  static std::shared_ptr<const DonneesHuffman> Vide();
  // From a finished tree: assigns the codes (left 0, right 1) and fills both tables. Throws
  // OperationInvalide when a code would exceed kLongueurCodeMax bits.
  static std::shared_ptr<const DonneesHuffman> DepuisArbre(std::vector<NoeudHuffman> noeuds, int32_t racine);

  const _Code* Code(char16_t c) const {
    const Page* p = pages[c >> 8].get();
    return p != nullptr && p->presents[c & 0xFF] ? &p->codes[c & 0xFF] : nullptr;
  }
};

}  // namespace sdd::detail
