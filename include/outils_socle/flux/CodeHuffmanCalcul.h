#pragma once

#include <cstdint>
#include <memory>

#include <outils_socle/Export.h>
#include <outils_socle/flux/CodeHuffman.h>

class UniChaine;
class UniChemin;

namespace sdd {

namespace detail {
struct CompteursHuffman;
}  // namespace detail

// Counts characters and builds the Huffman code of the counts (Huffman, 1952), which it then is:
// a CodeHuffman (or, for CodeHuffmanCalculUniChaine, a CodeHuffmanUniChaine) that encodes and
// decodes at once.
//
// The tree is built on a binary min-heap: the characters counted go in by ascending character
// code (the slot order of the frequency table, a direct table of the 65,536 units), then the
// escape leaf, which stands for every character not counted, with frequency 0. The two
// smallest are taken, the first as the left child, and their parent goes back in; between
// equal frequencies the heap never exchanges, so the earlier one stays above. Left edges are
// 0, right edges 1. Several trees can be optimal; this order makes the one built
// reproducible. Codes are at most 64 bits long: counts so skewed that a longer one would be
// needed throw OperationInvalide.
//
// Counting and building are for one thread; the built code is the immutable CodeHuffman.
template <typename T, typename Code = CodeHuffman<T>>
class OUTILS_SOCLE_EXPORT CodeHuffmanCalcul : public Code {
 public:
  CodeHuffmanCalcul();
  CodeHuffmanCalcul(const CodeHuffmanCalcul&);
  CodeHuffmanCalcul& operator=(const CodeHuffmanCalcul&);
  ~CodeHuffmanCalcul() override;

  void AugmenteFrequence(T c);
  uint64_t DonneFrequence(T c) const;  // as counted since the last start or build
  // Start afresh, count, build.
  void CalculCodeAvecDonnees(FluxEntree& entree);
  void CalculCodeAvecDonnees(const ChaineN& chaine);
  // Adds to the counts, without building. A stream's characters are 16-bit units, low byte
  // first; a lone last byte is not a character and is not counted.
  void AugmenteCodeAvecDonnees(FluxEntree& entree);
  void AugmenteCodeAvecDonnees(const ChaineN& chaine);
  // Empties the counts.
  void InitialisationConstruction();
  // Builds the code from the counts (none: every character is escaped), then empties them.
  void ConstruitCodeHuffman();
  // Kept for the interface's sake: writes nothing, and creates no file.
  void EcrisEnFichierCode(const ChaineN& nom, const UniChemin& dossier) const;

 private:
  std::unique_ptr<detail::CompteursHuffman> compteurs_;
};

extern template class CodeHuffmanCalcul<char16_t, CodeHuffman<char16_t>>;
extern template class CodeHuffmanCalcul<char16_t, CodeHuffmanUniChaine>;

// Counting from UniChaine strings too; the result encodes and decodes them.
class OUTILS_SOCLE_EXPORT CodeHuffmanCalculUniChaine
    : public CodeHuffmanCalcul<char16_t, CodeHuffmanUniChaine> {
 public:
  using CodeHuffmanCalcul<char16_t, CodeHuffmanUniChaine>::CalculCodeAvecDonnees;
  using CodeHuffmanCalcul<char16_t, CodeHuffmanUniChaine>::AugmenteCodeAvecDonnees;
  using CodeHuffmanCalcul<char16_t, CodeHuffmanUniChaine>::EcrisEnFichierCode;

  void CalculCodeAvecDonnees(const UniChaine& chaine);
  void AugmenteCodeAvecDonnees(const UniChaine& chaine);
  void EcrisEnFichierCode(const UniChaine& nom, const UniChemin& dossier) const;
};

}  // namespace sdd
