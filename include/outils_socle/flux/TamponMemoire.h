#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/flux/Flux.h>

class UniChaine;
class UniChemin;

namespace sdd {

class ChaineN;

// A growable byte buffer that is at once an in-place input stream and an output stream, with one
// position for reading and writing.
//
// Growth: a byte write doubles the capacity when position + 1 >= capacity, a block write doubles
// it until position + n < capacity, positioning past the capacity grows it to 1.3 times the
// position, and integer text insertion grows it to the exact need. Every write sets the size to
// the new position, so a write in the middle truncates what followed, except integer text
// insertion (operator<< of an integer), which moves the position and leaves the size: such
// buffers are read back through PreteOctets()/CopieOctets(), which show the bytes before the
// position.
//
// Ownership: the buffer owns its bytes unless it lends someone else's (the pointer constructor
// with `possede` false, copies of a lending buffer, TamponEnPretantDonnees). A lending buffer
// never frees nor changes its owner's bytes... except by writing into them: it writes in place
// while they have room, and copies them into an array of its own (which it then owns) when it
// must grow. The bytes lent must outlive the buffer.
//
// Reads are not bound-checked against the size (callers test EstALaFin()), but never leave the
// allocated array. No locks: one buffer, one thread at a time.
class OUTILS_SOCLE_EXPORT TamponMemoire : public FluxEntreeMemoire, public FluxSortie {
 public:
  TamponMemoire();  // capacity 256
  explicit TamponMemoire(uint64_t capacite);
  // Wraps `taille` bytes (size = capacity = taille). With `possede` the buffer takes the array
  // (allocated with new[]); otherwise it lends it.
  TamponMemoire(char* octets, int64_t taille, bool possede);
  // The whole content of a file; failures are those of Fichier.
  explicit TamponMemoire(const UniChemin& chemin);
  // Copies position, size and capacity; an owning source's whole capacity is copied, a lending
  // source's bytes are lent again.
  TamponMemoire(const TamponMemoire& autre);
  TamponMemoire(TamponMemoire&& autre) noexcept;
  TamponMemoire& operator=(const TamponMemoire& autre);
  // Takes the other's bytes; an array this buffer owned is freed.
  TamponMemoire& operator=(TamponMemoire&& autre) noexcept;
  ~TamponMemoire() override;

  // ---- Flux
  bool EstALaFin() const override { return position_ >= Taille(); }
  uint64_t DonnePosition() const override { return position_; }
  void PositionneAuDebut() override { MetsPosition(0); }
  void Positionne(uint64_t position) override { MetsPosition(position); }
  void PositionneALaFin() override { MetsPosition(Taille()); }

  // ---- FluxEntree
  uint64_t Donne(uint64_t n, uint8_t* destination) override;
  // The byte at the position; past the allocated array it throws IndexHorsBorne.
  uint8_t Donne() final {
    FigeTaille();
    if (position_ >= capacite_) DepassementLecture();
    return octets_[position_++];
  }
  uint64_t Taille() const override { return taille_ == kTailleSuitPosition ? position_ : taille_; }
  using FluxEntree::DonneLigne;

  // ---- FluxEntreeMemoire
  void* PtrEtAvance(uint64_t n) override;
  void* Ptr() override;
  TamponMemoire* TamponEnPretantDonnees() override;
  TamponMemoire NouveauTamponEnPretantDonnees() override;

  // ---- Own operations
  virtual void Vide();  // position and size to 0; the storage stays
  // Writes a zero at the position and returns the bytes: the text before the position.
  virtual const char* PreteOctets() const;
  // The same text copied into a new array of position + 1 bytes.
  virtual std::unique_ptr<char[]> CopieOctets() const;
  virtual const uint8_t* PreteDonneesBrutes() const { return octets_; }
  // Reads the next line into `ligne` (emptied first); LF, CR LF and CR end it and are not kept.
  // False when already at the end.
  virtual bool DonneLigne(TamponMemoire& ligne);
  // The same into `destination`, at most taille − 1 bytes then a zero; a longer line is split
  // and its rest comes with the next call.
  virtual bool DonneLigne(char* destination, int64_t taille);
  virtual uint64_t Mets(const char* octets, uint64_t n);

  // ---- FluxSortie
  uint64_t Mets(const uint8_t* octets, uint64_t n) override;
  void Mets(uint8_t octet) final {
    // One test against `limite_`, which is the capacity while the size follows the position
    // and 0 otherwise, so that the first byte written after a move takes the slow path and marks
    // the size as following. Fields are read before the byte store, which may alias them. An
    // append thus costs two stores, like a vector's.
    const uint64_t position = position_;
    if (static_cast<int64_t>(position + 1) >= static_cast<int64_t>(limite_)) PrepareEcriture(position + 1);
    octets_[position] = octet;
    position_ = position + 1;
  }

  uint64_t TailleTampon() const { return capacite_; }
  bool EstPretant() const { return prete_; }
  void MetsPosition(uint64_t position);
  void MetsTaille(uint64_t taille) {  // no check: the reader's choice
    taille_ = taille == kTailleSuitPosition ? taille - 1 : taille;
    limite_ = 0;
  }
  // Capacity of exactly n bytes when it is smaller.
  void Reserve(int64_t n);
  // Same size and same first Taille() bytes.
  bool operator==(const TamponMemoire& autre) const;

  // Text insertion.
  TamponMemoire& operator<<(char c);
  TamponMemoire& operator<<(const char* texte);
  TamponMemoire& operator<<(const std::string& texte);
  TamponMemoire& operator<<(short valeur) { return *this << static_cast<int>(valeur); }
  TamponMemoire& operator<<(unsigned short valeur) { return *this << static_cast<unsigned int>(valeur); }
  TamponMemoire& operator<<(int valeur);
  TamponMemoire& operator<<(unsigned int valeur);
  TamponMemoire& operator<<(int64_t valeur);
  TamponMemoire& operator<<(uint64_t valeur);
  // Six significant digits, classic locale, as a standard output stream writes them.
  TamponMemoire& operator<<(float valeur);
  TamponMemoire& operator<<(double valeur);

  // A text stored zlib-compressed: VarElias compressed length C, VarElias UTF-8 length L, then C
  // bytes of zlib stream (none when L = 0). Returns the position where the record starts. These
  // four throw a plain int, -1, when zlib fails or the record is cut short.
  // The record holds the text's UTF-8 up to its first zero byte: what follows a U+0000 is not
  // kept, and a ChaineN's lone surrogates change as UTF-8 changes them (ChaineN::Encode; a
  // surrogate joined with the U+0000 after it hides that zero). *unitesChangees, when given,
  // receives the number of the text's units that will not read back in their place (0 for a text
  // kept whole). A UniChaine with a lone surrogate has no UTF-8 form at all:
  // OperationInvalide, nothing written.
  static uint64_t CompresseChaineN(FluxSortie& sortie, const ChaineN& chaine,
                                   uint64_t* unitesChangees = nullptr);
  static uint64_t CompresseUniChaine(FluxSortie& sortie, const UniChaine& chaine,
                                     uint64_t* unitesChangees = nullptr);
  static ChaineN DecompresseChaineN(FluxEntree& entree);
  static UniChaine DecompresseUniChaine(FluxEntree& entree);

 protected:
  void Agrandir();            // doubles the capacity
  void Agrandir(uint64_t n);  // capacity := n, contents kept

 private:
  // `taille_` holds this after a write: the size is then the position, until the position moves
  // by other means, when FigeTaille() records it.
  static constexpr uint64_t kTailleSuitPosition = UINT64_MAX;
  void FigeTaille() {
    if (taille_ == kTailleSuitPosition) {
      taille_ = position_;
      limite_ = 0;
    }
  }
  // The byte write's slow path: grows when position + 1 >= capacity (signed, as the fast path
  // compares), then marks the size as following the position.
  void PrepareEcriture(uint64_t positionSuivante);
  void MetsLimite() { limite_ = taille_ == kTailleSuitPosition ? capacite_ : 0; }
  // Doubles until `position` fits below the capacity.
  void AgrandirPour(uint64_t position);
  // Makes room for a terminator at the position (PreteOctets on a full buffer).
  void AssureTerminateur() const;
  [[noreturn]] void DepassementLecture() const;
  void Libere() noexcept;

  uint64_t position_;
  uint64_t taille_;
  // Lending the text of a full buffer may need room for its terminator, hence `mutable`.
  mutable uint64_t capacite_;
  mutable uint8_t* octets_;
  mutable bool prete_;  // the bytes are someone else's
  // A cache for Mets(uint8_t): see there. Always MetsLimite() after changing taille_ or capacite_.
  mutable uint64_t limite_ = 0;
};

}  // namespace sdd
