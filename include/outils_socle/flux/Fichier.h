#pragma once

#include <cstdint>
#include <memory>

#include <outils_socle/Export.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

// A stream over a file of the file system, unbuffered: each Donne() or Mets() goes to the
// system. A refused creation, opening, write or close throws exceptions::ErreurFichier, which
// names the path and the system's reason ("Écriture échouée : t.tab : Aucun espace disponible
// sur le périphérique") and is also the ExceptionCode of the file-error catalogue ("Erreur à
// l’écriture du fichier."). Reading past the end, or a failed read, leaves the stream out of
// good state (EstEnBonEtat() false) and Donne() answers 0. One object, one thread at a time.
class OUTILS_SOCLE_EXPORT Fichier : public FluxEntree, public FluxSortie {
 public:
  enum eMode {
    eLecture,          // read only; the file must exist
    eEcriture,         // write only; created if missing, emptied
    eLectureEcriture,  // read and write; created if missing, contents kept
    eCreation,         // read and write; created if missing, emptied
  };

  Fichier();
  Fichier(const UniChemin& chemin, eMode mode);
  Fichier(const Fichier&) = delete;
  Fichier& operator=(const Fichier&) = delete;
  ~Fichier() override;

  // Creates (or empties) the file without keeping it open.
  static void Cree(const UniChemin& chemin);
  // Closes any open file first.
  virtual void Ouvre(const UniChemin& chemin, eMode mode);
  // Throws ErreurFichier when the system reports an error on closing (a delayed write error on
  // a network file system); the file is closed all the same. The destructor closes silently.
  virtual void Ferme();
  bool EstOuvert() const { return descripteur_ >= 0; }
  const UniChemin& DonneChemin() const { return chemin_; }

  // The whole content from the start, as a new array (delete[]) of *longueur bytes plus a zero
  // byte; the position ends at the end of the file.
  char* DonneToutLeTexte(int64_t* longueur);

  // ---- Flux
  bool EstALaFin() const override;
  uint64_t DonnePosition() const override;
  void PositionneAuDebut() override { Positionne(0); }
  void Positionne(uint64_t position) override;
  void PositionneALaFin() override;
  bool EstEnBonEtat() const override { return bonEtat_; }

  // ---- FluxEntree
  uint64_t Donne(uint64_t n, uint8_t* destination) override;
  uint8_t Donne() override;
  uint64_t Taille() const override;

  // ---- FluxSortie
  uint64_t Mets(const uint8_t* octets, uint64_t n) override;
  void Mets(uint8_t octet) override { Mets(&octet, 1); }

 protected:
  // Writes straight to the file; throws ErreurFichier on failure.
  void EcrisDirect(const uint8_t* octets, uint64_t n);
  void VerifieOuvert() const;
  // A descriptor opened elsewhere, whose failures are reported under `chemin`.
  void AdopteDescripteur(int descripteur, const UniChemin& chemin);
  // Gives the descriptor up without closing it.
  int LacheDescripteur();

 private:
  int descripteur_ = -1;
  bool bonEtat_ = true;
  UniChemin chemin_;
};

// A Fichier whose writes gather in a buffer, written out when it fills, before any read or
// positioning, by Vidange(), by Ferme() and by the destructor. Only Vidange() and Ferme() report
// a failed write (the destructor cannot throw): call Ferme() when the outcome matters.
class OUTILS_SOCLE_EXPORT FichierAvecTampon : public Fichier {
 public:
  static constexpr uint64_t kTailleTamponDefaut = 64 * 1024;

  FichierAvecTampon();
  FichierAvecTampon(const UniChemin& chemin, eMode mode, uint64_t tailleTampon = kTailleTamponDefaut);
  ~FichierAvecTampon() override;

  void Ouvre(const UniChemin& chemin, eMode mode) override;
  void Ferme() override;
  // Writes out the buffered bytes; throws ErreurFichier on failure.
  void Vidange();

  bool EstALaFin() const override;
  uint64_t DonnePosition() const override;
  void Positionne(uint64_t position) override;
  void PositionneALaFin() override;
  uint64_t Donne(uint64_t n, uint8_t* destination) override;
  uint8_t Donne() override;
  uint64_t Taille() const override;
  uint64_t Mets(const uint8_t* octets, uint64_t n) override;
  void Mets(uint8_t octet) override;

 protected:
  // Closed, with a buffer of that size.
  explicit FichierAvecTampon(uint64_t tailleTampon);
  // Drops the buffered bytes unwritten.
  void OublieTampon() { rempli_ = 0; }
  void AlloueTampon();

 private:
  std::unique_ptr<uint8_t[]> tampon_;
  uint64_t capacite_;
  uint64_t rempli_ = 0;
};

// The new content of a file, put in the old one's place as one step by Ferme(): until then the
// file, and every mapping of it, keeps its old content whole, and a process that dies midway
// leaves it so. The bytes go to a temporary file beside the target, flushed to the disk, given
// the old file's permissions and renamed over it; a symbolic link is followed (the file it names
// is replaced, the link stays), and a target that is a device or a pipe is written in place.
// Destroyed without Ferme(), as when an exception ends the writing, it removes the temporary file
// and leaves the target as it was. Every failure throws ErreurFichier naming the target. The
// folder must let us create a file: a writable file in a folder that is not is refused (EACCES)
// rather than overwritten in place, which a failure midway would leave half written.
// Buffered like FichierAvecTampon, and readable and seekable while written.
class OUTILS_SOCLE_EXPORT FichierRemplacant : public FichierAvecTampon {
 public:
  explicit FichierRemplacant(const UniChemin& chemin, uint64_t tailleTampon = kTailleTamponDefaut);
  ~FichierRemplacant() override;

  // A replacement is for one file: OperationInvalide.
  void Ouvre(const UniChemin& chemin, eMode mode) override;
  // Writes out the buffer, flushes the file to the disk and puts it in place. Nothing more can
  // be written afterwards.
  void Ferme() override;
  // Drops what was written; the target stays as it was.
  void Abandonne();

 private:
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
};

// A read-only view of a whole file mapped into memory, as an in-place input stream. The bytes
// stay valid for the object's lifetime; an empty file gives an empty stream. Writing through
// Ptr() changes only this process's private copy, never the file. A file that cannot be opened
// or mapped throws ErreurFichier (an OuvertureEchouee) with the path and the system's reason.
class OUTILS_SOCLE_EXPORT FichierMMap : public FluxEntreeMemoire {
 public:
  explicit FichierMMap(const UniChemin& chemin);
  FichierMMap(const FichierMMap&) = delete;
  FichierMMap& operator=(const FichierMMap&) = delete;
  ~FichierMMap() override;

  bool EstALaFin() const override { return position_ >= taille_; }
  uint64_t DonnePosition() const override { return position_; }
  void PositionneAuDebut() override { position_ = 0; }
  void Positionne(uint64_t position) override { position_ = position; }
  void PositionneALaFin() override { position_ = taille_; }

  uint64_t Donne(uint64_t n, uint8_t* destination) override;
  // Past the end it throws IndexHorsBorne rather than read outside the mapping.
  uint8_t Donne() override;
  uint64_t Taille() const override { return taille_; }

  void* PtrEtAvance(uint64_t n) override;
  void* Ptr() override { return octets_ + position_; }
  TamponMemoire* TamponEnPretantDonnees() override;
  TamponMemoire NouveauTamponEnPretantDonnees() override;

  const uint8_t* Octets() const { return octets_; }

 private:
  uint8_t* octets_;
  uint64_t taille_ = 0;
  uint64_t position_ = 0;
  bool projete_ = false;
};

}  // namespace sdd
