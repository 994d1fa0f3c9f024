// Files of the file system as streams: plain, with a write buffer, replaced as one step, and
// memory-mapped.
#include <outils_socle/flux/Fichier.h>

#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include <cerrno>
#include <cstring>

#include "langues/Marque.h"
#include "plateforme/Plateforme.h"

namespace sdd {

namespace {

plateforme::eAcces Acces(Fichier::eMode mode) {
  switch (mode) {
    case Fichier::eLecture: return plateforme::eAcces::eLecture;
    case Fichier::eEcriture: return plateforme::eAcces::eEcriture;
    case Fichier::eLectureEcriture: return plateforme::eAcces::eLectureEcriture;
    case Fichier::eCreation: return plateforme::eAcces::eCreation;
  }
  return plateforme::eAcces::eLecture;
}

uint8_t kAucunOctet[1] = {0};

// errno is read first: turning the path into bytes allocates, which may change it.
[[noreturn]] void Echec(const UniChemin& chemin, eOperationFichier operation) {
  const int numero = errno;
  throw exceptions::ErreurFichier(chemin.DonneStdString(), operation, numero);
}

}  // namespace

// ---- Fichier

Fichier::Fichier() = default;

Fichier::Fichier(const UniChemin& chemin, eMode mode) { Fichier::Ouvre(chemin, mode); }

Fichier::~Fichier() {
  if (descripteur_ >= 0) plateforme::FermeFichier(descripteur_);
}

void Fichier::Cree(const UniChemin& chemin) {
  const int fd = plateforme::OuvreFichier(chemin.DonneStdString(), plateforme::eAcces::eCreation);
  if (fd < 0) Echec(chemin, eOperationFichier::eCreation);
  plateforme::FermeFichier(fd);
}

void Fichier::Ouvre(const UniChemin& chemin, eMode mode) {
  Fichier::Ferme();
  const int fd = plateforme::OuvreFichier(chemin.DonneStdString(), Acces(mode));
  if (fd < 0) Echec(chemin, eOperationFichier::eOuverture);
  descripteur_ = fd;
  bonEtat_ = true;
  chemin_ = chemin;
}

void Fichier::Ferme() {
  if (descripteur_ < 0) return;
  const int fd = descripteur_;
  descripteur_ = -1;  // closed even when close reports an error (Linux releases it anyway)
  if (!plateforme::FermeFichier(fd)) Echec(chemin_, eOperationFichier::eFermeture);
}

void Fichier::AdopteDescripteur(int descripteur, const UniChemin& chemin) {
  Fichier::Ferme();
  descripteur_ = descripteur;
  bonEtat_ = true;
  chemin_ = chemin;
}

int Fichier::LacheDescripteur() {
  const int fd = descripteur_;
  descripteur_ = -1;
  return fd;
}

void Fichier::VerifieOuvert() const {
  if (descripteur_ < 0) throw exceptions::OperationInvalide();
}

char* Fichier::DonneToutLeTexte(int64_t* longueur) {
  VerifieOuvert();
  const int64_t taille = plateforme::TailleFichier(descripteur_);
  if (taille < 0 || plateforme::PositionneFichier(descripteur_, 0, 0) < 0)
    Echec(chemin_, eOperationFichier::eLecture);
  std::unique_ptr<char[]> texte(new char[static_cast<uint64_t>(taille) + 1]);
  int64_t lus = 0;
  while (lus < taille) {
    const int64_t n =
        plateforme::LisFichier(descripteur_, texte.get() + lus, static_cast<uint64_t>(taille - lus));
    if (n < 0) Echec(chemin_, eOperationFichier::eLecture);
    if (n == 0) break;  // the file shrank meanwhile
    lus += n;
  }
  texte[lus] = 0;
  if (longueur) *longueur = lus;
  return texte.release();
}

bool Fichier::EstALaFin() const { return descripteur_ < 0 || DonnePosition() >= Taille(); }

uint64_t Fichier::DonnePosition() const {
  if (descripteur_ < 0) return 0;
  const int64_t p = plateforme::PositionneFichier(descripteur_, 0, 1);
  return p < 0 ? 0 : static_cast<uint64_t>(p);
}

void Fichier::Positionne(uint64_t position) {
  VerifieOuvert();
  if (plateforme::PositionneFichier(descripteur_, static_cast<int64_t>(position), 0) < 0) bonEtat_ = false;
}

void Fichier::PositionneALaFin() {
  VerifieOuvert();
  if (plateforme::PositionneFichier(descripteur_, 0, 2) < 0) bonEtat_ = false;
}

uint64_t Fichier::Taille() const {
  if (descripteur_ < 0) return 0;
  const int64_t t = plateforme::TailleFichier(descripteur_);
  return t < 0 ? 0 : static_cast<uint64_t>(t);
}

uint64_t Fichier::Donne(uint64_t n, uint8_t* destination) {
  VerifieOuvert();
  uint64_t lus = 0;
  while (lus < n) {
    const int64_t r = plateforme::LisFichier(descripteur_, destination + lus, n - lus);
    if (r < 0) bonEtat_ = false;
    if (r <= 0) break;
    lus += static_cast<uint64_t>(r);
  }
  return lus;
}

uint8_t Fichier::Donne() {
  uint8_t octet = 0;
  if (Donne(1, &octet) != 1) {
    bonEtat_ = false;
    return 0;
  }
  return octet;
}

void Fichier::EcrisDirect(const uint8_t* octets, uint64_t n) {
  VerifieOuvert();
  if (!plateforme::EcrisFichier(descripteur_, octets, n)) {
    bonEtat_ = false;
    Echec(chemin_, eOperationFichier::eEcriture);
  }
}

uint64_t Fichier::Mets(const uint8_t* octets, uint64_t n) {
  EcrisDirect(octets, n);
  return n;
}

// ---- FichierAvecTampon

FichierAvecTampon::FichierAvecTampon() : capacite_(kTailleTamponDefaut) {}

FichierAvecTampon::FichierAvecTampon(uint64_t tailleTampon)
    : capacite_(tailleTampon > 0 ? tailleTampon : 1) {}

FichierAvecTampon::FichierAvecTampon(const UniChemin& chemin, eMode mode, uint64_t tailleTampon)
    : capacite_(tailleTampon > 0 ? tailleTampon : 1) {
  FichierAvecTampon::Ouvre(chemin, mode);
}

FichierAvecTampon::~FichierAvecTampon() {
  try {
    Vidange();
  } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor cannot report; Ferme() does
  }
}

void FichierAvecTampon::Ouvre(const UniChemin& chemin, eMode mode) {
  if (EstOuvert()) Vidange();
  Fichier::Ouvre(chemin, mode);
  AlloueTampon();
}

void FichierAvecTampon::AlloueTampon() {
  if (!tampon_) tampon_ = std::make_unique_for_overwrite<uint8_t[]>(capacite_);
}

void FichierAvecTampon::Ferme() {
  // The file is closed even when the last write fails; that failure is the one reported.
  try {
    Vidange();
  } catch (...) {
    try {
      Fichier::Ferme();
    } catch (const exceptions::ErreurFichier&) {  // NOLINT(bugprone-empty-catch): the write failed first
    }
    throw;
  }
  Fichier::Ferme();
}

void FichierAvecTampon::Vidange() {
  if (rempli_ == 0 || !EstOuvert()) return;
  const uint64_t n = rempli_;
  rempli_ = 0;  // dropped even on failure: the alert says they were not written
  EcrisDirect(tampon_.get(), n);
}

bool FichierAvecTampon::EstALaFin() const { return rempli_ == 0 && Fichier::EstALaFin(); }

uint64_t FichierAvecTampon::DonnePosition() const { return Fichier::DonnePosition() + rempli_; }

void FichierAvecTampon::Positionne(uint64_t position) {
  Vidange();
  Fichier::Positionne(position);
}

void FichierAvecTampon::PositionneALaFin() {
  Vidange();
  Fichier::PositionneALaFin();
}

uint64_t FichierAvecTampon::Donne(uint64_t n, uint8_t* destination) {
  Vidange();
  return Fichier::Donne(n, destination);
}

uint8_t FichierAvecTampon::Donne() {
  Vidange();
  return Fichier::Donne();
}

uint64_t FichierAvecTampon::Taille() const {
  // Buffered bytes past the file's end make it longer once written.
  const uint64_t fin = Fichier::DonnePosition() + rempli_;
  const uint64_t taille = Fichier::Taille();
  return fin > taille ? fin : taille;
}

uint64_t FichierAvecTampon::Mets(const uint8_t* octets, uint64_t n) {
  if (rempli_ + n > capacite_) {
    Vidange();
    if (n >= capacite_) {  // larger than the buffer: straight through
      EcrisDirect(octets, n);
      return n;
    }
  }
  std::memcpy(tampon_.get() + rempli_, octets, n);
  rempli_ += n;
  return n;
}

void FichierAvecTampon::Mets(uint8_t octet) {
  if (rempli_ == capacite_) Vidange();
  tampon_[rempli_++] = octet;
}

// ---- FichierRemplacant

struct FichierRemplacant::_Rep {
  plateforme::Remplacement remplacement;
  std::string cible;  // as the caller named it, for the messages
};

FichierRemplacant::FichierRemplacant(const UniChemin& chemin, uint64_t tailleTampon)
    : FichierAvecTampon(tailleTampon), rep_(std::make_unique<_Rep>()) {
  rep_->cible = chemin.DonneStdString();
  eOperationFichier echec;
  if (!plateforme::CommenceRemplacement(rep_->cible, rep_->remplacement, &echec))
    LanceErreurFichier(rep_->cible, echec);
  AdopteDescripteur(rep_->remplacement.descripteur, chemin);
  AlloueTampon();
}

FichierRemplacant::~FichierRemplacant() { Abandonne(); }

void FichierRemplacant::Ouvre(const UniChemin&, eMode) {
  throw exceptions::OperationInvalide(N_("Un fichier en remplacement ne se rouvre pas"));
}

void FichierRemplacant::Ferme() {
  if (!EstOuvert()) return;
  try {
    Vidange();
  } catch (...) {
    Abandonne();
    throw;
  }
  rep_->remplacement.descripteur = LacheDescripteur();
  eOperationFichier echec;
  if (!plateforme::TermineRemplacement(rep_->remplacement, &echec)) LanceErreurFichier(rep_->cible, echec);
}

void FichierRemplacant::Abandonne() {
  OublieTampon();
  const int fd = LacheDescripteur();
  if (fd >= 0) rep_->remplacement.descripteur = fd;
  plateforme::AbandonneRemplacement(rep_->remplacement);
}

// ---- FichierMMap

FichierMMap::FichierMMap(const UniChemin& chemin) : octets_(kAucunOctet) {
  const std::string nom = chemin.DonneStdString();
  const int fd = plateforme::OuvreFichier(nom, plateforme::eAcces::eLecture);
  if (fd < 0) LanceErreurFichier(nom, eOperationFichier::eOuverture);
  const auto echoue = [&] {
    const int erreur = errno;
    plateforme::FermeFichier(fd);
    throw exceptions::ErreurFichier(nom, eOperationFichier::eOuverture, erreur);
  };
  const int64_t taille = plateforme::TailleFichier(fd);
  if (taille < 0) echoue();
  if (taille > 0) {
    void* adresse = plateforme::ProjetteFichier(fd, static_cast<uint64_t>(taille));
    if (adresse == nullptr) echoue();
    octets_ = static_cast<uint8_t*>(adresse);
    projete_ = true;
  }
  taille_ = static_cast<uint64_t>(taille);
  plateforme::FermeFichier(fd);  // the mapping stays valid without the descriptor
}

FichierMMap::~FichierMMap() {
  if (projete_) plateforme::LibereProjection(octets_, taille_);
}

uint64_t FichierMMap::Donne(uint64_t n, uint8_t* destination) {
  if (position_ >= taille_) return 0;
  const uint64_t lus = n < taille_ - position_ ? n : taille_ - position_;
  std::memcpy(destination, octets_ + position_, lus);
  position_ += lus;
  return lus;
}

uint8_t FichierMMap::Donne() {
  if (position_ >= taille_) LanceIndexHorsBorne(position_, 0, taille_);
  return octets_[position_++];
}

void* FichierMMap::PtrEtAvance(uint64_t n) {
  void* adresse = octets_ + position_;
  position_ += n;
  return adresse;
}

TamponMemoire* FichierMMap::TamponEnPretantDonnees() {
  return new TamponMemoire(reinterpret_cast<char*>(octets_), static_cast<int64_t>(taille_), false);
}

TamponMemoire FichierMMap::NouveauTamponEnPretantDonnees() {
  return TamponMemoire(reinterpret_cast<char*>(octets_), static_cast<int64_t>(taille_), false);
}

}  // namespace sdd
