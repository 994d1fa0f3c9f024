#pragma once

#include <cstdint>
#include <memory>

#include <outils_socle/Export.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

// A stream over a file of the file system, unbuffered: each Donne() or Mets() goes to the
// system. Failures a user must see throw ExceptionCode with a file-error alert: "Erreur à la
// création du fichier." when Cree fails, "Erreur à l’ouverture du fichier." when opening fails,
// "Erreur à l’écriture du fichier." when writing fails. Reading past the end, or a failed read,
// leaves the stream out of good state (EstEnBonEtat() false) and Donne() answers 0.
// One object, one thread at a time.
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
  // Writes straight to the file; throws the writing alert on failure.
  void EcrisDirect(const uint8_t* octets, uint64_t n);
  void VerifieOuvert() const;

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
  // Writes out the buffered bytes; throws the writing alert on failure.
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

 private:
  std::unique_ptr<uint8_t[]> tampon_;
  uint64_t capacite_;
  uint64_t rempli_ = 0;
};

// A read-only view of a whole file mapped into memory, as an in-place input stream. The bytes
// stay valid for the object's lifetime; an empty file gives an empty stream. Writing through
// Ptr() changes only this process's private copy, never the file. A file that cannot be opened
// or mapped throws OuvertureEchouee with the path and the system's reason.
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
