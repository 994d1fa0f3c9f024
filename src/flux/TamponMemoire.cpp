// The growable memory buffer and the compressed string record (see docs/chaine_compressee.md).
#include <outils_socle/flux/TamponMemoire.h>

#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniChaine.h>

#include <zlib.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>

#include "flux/Compression.h"
#include "langues/Marque.h"
#include "texte/FormeUTF8.h"

namespace sdd {

namespace {

constexpr uint64_t kCapaciteDefaut = 256;

}  // namespace

// ---- Construction and ownership

TamponMemoire::TamponMemoire() : TamponMemoire(kCapaciteDefaut) {}

TamponMemoire::TamponMemoire(uint64_t capacite)
    : position_(0), taille_(0), capacite_(capacite), octets_(new uint8_t[capacite]), prete_(false) {}

TamponMemoire::TamponMemoire(char* octets, int64_t taille, bool possede)
    : position_(0),
      taille_(taille > 0 ? static_cast<uint64_t>(taille) : 0),
      capacite_(taille_),
      octets_(reinterpret_cast<uint8_t*>(octets)),
      prete_(!possede) {}

TamponMemoire::TamponMemoire(const UniChemin& chemin)
    : position_(0), taille_(0), capacite_(0), octets_(nullptr), prete_(false) {
  Fichier fichier(chemin, Fichier::eLecture);
  int64_t longueur = 0;
  octets_ = reinterpret_cast<uint8_t*>(fichier.DonneToutLeTexte(&longueur));
  taille_ = capacite_ = static_cast<uint64_t>(longueur);
}

TamponMemoire::TamponMemoire(const TamponMemoire& autre)
    : position_(autre.position_),
      taille_(autre.taille_),
      capacite_(autre.capacite_),
      octets_(autre.octets_),
      prete_(autre.prete_) {
  if (!prete_) {
    octets_ = new uint8_t[capacite_];
    if (capacite_ > 0) std::memcpy(octets_, autre.octets_, capacite_);
  }
  MetsLimite();
}

TamponMemoire::TamponMemoire(TamponMemoire&& autre) noexcept
    : position_(autre.position_),
      taille_(autre.taille_),
      capacite_(autre.capacite_),
      octets_(std::exchange(autre.octets_, nullptr)),
      prete_(autre.prete_),
      limite_(autre.limite_) {
  autre.position_ = autre.taille_ = autre.capacite_ = autre.limite_ = 0;
}

TamponMemoire& TamponMemoire::operator=(const TamponMemoire& autre) {
  if (this != &autre) *this = TamponMemoire(autre);
  return *this;
}

TamponMemoire& TamponMemoire::operator=(TamponMemoire&& autre) noexcept {
  if (this != &autre) {
    Libere();
    position_ = autre.position_;
    taille_ = autre.taille_;
    capacite_ = autre.capacite_;
    octets_ = std::exchange(autre.octets_, nullptr);
    prete_ = autre.prete_;
    limite_ = autre.limite_;
    autre.position_ = autre.taille_ = autre.capacite_ = autre.limite_ = 0;
  }
  return *this;
}

TamponMemoire::~TamponMemoire() { Libere(); }

void TamponMemoire::Libere() noexcept {
  if (!prete_) delete[] octets_;
  octets_ = nullptr;
}

// ---- Growth

void TamponMemoire::Agrandir() { Agrandir(capacite_ > 0 ? capacite_ * 2 : 1); }

void TamponMemoire::Agrandir(uint64_t n) {
  if (n > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) throw std::bad_alloc();
  uint8_t* nouveau = new uint8_t[n];
  const uint64_t copie = capacite_ < n ? capacite_ : n;
  if (copie > 0) std::memcpy(nouveau, octets_, copie);
  if (!prete_) delete[] octets_;
  octets_ = nouveau;
  capacite_ = n;
  prete_ = false;  // the new array is ours, whoever owned the old one
  MetsLimite();
}

void TamponMemoire::PrepareEcriture(uint64_t positionSuivante) {
  if (static_cast<int64_t>(positionSuivante) >= static_cast<int64_t>(capacite_))
    AgrandirPour(positionSuivante);
  taille_ = kTailleSuitPosition;
  MetsLimite();
}

void TamponMemoire::AgrandirPour(uint64_t position) {
  uint64_t capacite = capacite_ > 0 ? capacite_ : 1;
  while (position >= capacite) {
    if (capacite > std::numeric_limits<uint64_t>::max() / 2) throw std::bad_alloc();
    capacite *= 2;
  }
  Agrandir(capacite);
}

void TamponMemoire::AssureTerminateur() const {
  if (position_ < capacite_) return;
  const_cast<TamponMemoire*>(this)->AgrandirPour(position_);
}

void TamponMemoire::DepassementLecture() const { LanceIndexHorsBorne(position_, 0, capacite_); }

void TamponMemoire::MetsPosition(uint64_t position) {
  FigeTaille();
  if (position >= capacite_) {
    // × 1.3 in double precision; tiny positions, where that would not pass them, take one more.
    uint64_t capacite = static_cast<uint64_t>(std::floor(static_cast<double>(position) * 1.3));
    if (capacite <= position) capacite = position + 1;
    Agrandir(capacite);
  }
  position_ = position;
}

void TamponMemoire::Reserve(int64_t n) {
  if (static_cast<int64_t>(capacite_) < n) Agrandir(static_cast<uint64_t>(n));
}

void TamponMemoire::Vide() {
  position_ = taille_ = 0;
  limite_ = 0;
}

// ---- Reading

uint64_t TamponMemoire::Donne(uint64_t n, uint8_t* destination) {
  FigeTaille();
  if (position_ >= taille_) return 0;
  const uint64_t disponibles = taille_ - position_;
  const uint64_t lus = n < disponibles ? n : disponibles;
  if (lus == 0) return 0;  // a caller asking for nothing may pass no destination
  std::memcpy(destination, octets_ + position_, lus);
  position_ += lus;
  return lus;
}

void* TamponMemoire::PtrEtAvance(uint64_t n) {
  FigeTaille();
  void* adresse = octets_ + position_;
  position_ += n;
  return adresse;
}

void* TamponMemoire::Ptr() { return octets_ + position_; }

TamponMemoire* TamponMemoire::TamponEnPretantDonnees() {
  auto* pret = new TamponMemoire(reinterpret_cast<char*>(octets_), static_cast<int64_t>(capacite_), false);
  pret->taille_ = Taille();
  return pret;
}

TamponMemoire TamponMemoire::NouveauTamponEnPretantDonnees() {
  TamponMemoire pret(reinterpret_cast<char*>(octets_), static_cast<int64_t>(capacite_), false);
  pret.taille_ = Taille();
  return pret;
}

const char* TamponMemoire::PreteOctets() const {
  AssureTerminateur();
  octets_[position_] = 0;
  return reinterpret_cast<const char*>(octets_);
}

std::unique_ptr<char[]> TamponMemoire::CopieOctets() const {
  AssureTerminateur();
  octets_[position_] = 0;
  auto copie = std::make_unique_for_overwrite<char[]>(position_ + 1);
  std::memcpy(copie.get(), octets_, position_ + 1);
  return copie;
}

bool TamponMemoire::operator==(const TamponMemoire& autre) const {
  const uint64_t taille = Taille();
  return taille == autre.Taille() && (taille == 0 || std::memcmp(octets_, autre.octets_, taille) == 0);
}

bool TamponMemoire::DonneLigne(TamponMemoire& ligne) {
  FigeTaille();
  ligne.Vide();
  if (EstALaFin()) return false;
  while (!EstALaFin()) {
    const uint8_t octet = Donne();
    if (octet == '\n') break;
    if (octet == '\r') {
      // The look-ahead reads the next byte even at the size, but never outside the array.
      if (position_ < capacite_ && octets_[position_] == '\n') ++position_;
      break;
    }
    ligne.Mets(octet);
  }
  return true;
}

bool TamponMemoire::DonneLigne(char* destination, int64_t taille) {
  FigeTaille();
  if (EstALaFin()) return false;
  int64_t n = 0;
  while (n + 1 < taille && !EstALaFin()) {
    const uint8_t octet = Donne();
    if (octet == '\n') break;
    if (octet == '\r') {
      if (position_ < capacite_ && octets_[position_] == '\n') ++position_;
      break;
    }
    destination[n++] = static_cast<char>(octet);
  }
  if (taille > 0) destination[n] = 0;
  return true;
}

// ---- Writing

uint64_t TamponMemoire::Mets(const uint8_t* octets, uint64_t n) {
  const uint64_t fin = position_ + n;
  if (fin >= capacite_) AgrandirPour(fin);
  if (n > 0) std::memcpy(octets_ + position_, octets, n);
  position_ = fin;
  taille_ = kTailleSuitPosition;
  MetsLimite();
  return n;
}

uint64_t TamponMemoire::Mets(const char* octets, uint64_t n) {
  return Mets(reinterpret_cast<const uint8_t*>(octets), n);
}

TamponMemoire& TamponMemoire::operator<<(char c) {
  Mets(static_cast<uint8_t>(c));
  return *this;
}

TamponMemoire& TamponMemoire::operator<<(const char* texte) {
  if (texte != nullptr) Mets(texte, std::strlen(texte));
  return *this;
}

TamponMemoire& TamponMemoire::operator<<(const std::string& texte) {
  Mets(texte.data(), texte.size());
  return *this;
}

namespace {

// Integers are written as decimal text at the position, after growing the buffer to exactly
// position + reserve; the size does not move.
template <typename Entier>
void InsereEntier(TamponMemoire& tampon, uint64_t& position, Entier valeur, uint64_t reserve) {
  tampon.Reserve(static_cast<int64_t>(position + reserve));
  char* debut = reinterpret_cast<char*>(const_cast<uint8_t*>(tampon.PreteDonneesBrutes())) + position;
  const auto resultat = std::to_chars(debut, debut + reserve, valeur);
  position = static_cast<uint64_t>(resultat.ptr - debut) + position;
}

template <typename Reel>
std::string TexteReel(Reel valeur) {
  std::ostringstream texte;
  texte.imbue(std::locale::classic());
  texte << valeur;
  return texte.str();
}

}  // namespace

TamponMemoire& TamponMemoire::operator<<(int valeur) {
  FigeTaille();
  InsereEntier(*this, position_, valeur, 12);
  return *this;
}
TamponMemoire& TamponMemoire::operator<<(unsigned int valeur) {
  FigeTaille();
  InsereEntier(*this, position_, valeur, 11);
  return *this;
}
TamponMemoire& TamponMemoire::operator<<(int64_t valeur) {
  FigeTaille();
  InsereEntier(*this, position_, valeur, 22);
  return *this;
}
TamponMemoire& TamponMemoire::operator<<(uint64_t valeur) {
  FigeTaille();
  InsereEntier(*this, position_, valeur, 21);
  return *this;
}
TamponMemoire& TamponMemoire::operator<<(float valeur) { return *this << TexteReel(valeur); }
TamponMemoire& TamponMemoire::operator<<(double valeur) { return *this << TexteReel(valeur); }

// ---- Compressed strings

namespace {

uint64_t CompresseUTF8(FluxSortie& sortie, const char* texte, uint64_t longueur) {
  // Lengths are 32-bit in this record.
  const uLong l = static_cast<uint32_t>(longueur);
  uLongf c = 0;
  std::unique_ptr<Bytef[]> compresse;
  if (l > 0) {
    c = compressBound(l);
    compresse = std::make_unique_for_overwrite<Bytef[]>(c);
    if (compress(compresse.get(), &c, reinterpret_cast<const Bytef*>(texte), l) != Z_OK) throw -1;
  }
  const uint64_t debut = SerialiseurVarElias::Ecris(sortie, c);
  SerialiseurVarElias::Ecris(sortie, l);
  if (l > 0) sortie.Mets(compresse.get(), c);
  return debut;
}

// The UTF-8 bytes of a record; empty for an empty text.
std::string DecompresseUTF8(FluxEntree& entree) {
  uint64_t c = 0, l = 0;
  SerialiseurVarElias::Lis(entree, &c);
  SerialiseurVarElias::Lis(entree, &l);
  if (l == 0) return std::string();
  // Lengths that no compressor could have written, or more bytes than the stream holds: refuse
  // them before allocating anything. Deflate expands at most about 1032 to 1.
  if (c == 0 || c > compressBound(static_cast<uLong>(l)) || l > std::numeric_limits<uint32_t>::max() ||
      l > c * 1032 + 64)
    throw -1;
  const uint64_t position = entree.DonnePosition(), taille = entree.Taille();
  if (position > taille || c > taille - position) throw -1;
  // In place when the bytes are in memory, else copied out of the stream first.
  std::string copie;
  const uint8_t* compresse = nullptr;
  if (auto* memoire = dynamic_cast<FluxEntreeMemoire*>(&entree)) {
    compresse = static_cast<const uint8_t*>(memoire->PtrEtAvance(c));
  } else {
    copie.resize(c);
    if (entree.Donne(c, reinterpret_cast<uint8_t*>(copie.data())) != c) throw -1;
    compresse = reinterpret_cast<const uint8_t*>(copie.data());
  }
  std::string texte(l, '\0');
  uint64_t obtenu = 0;
  if (!detail::DecompresseZlib(compresse, c, reinterpret_cast<uint8_t*>(texte.data()), l, &obtenu)) throw -1;
  texte.resize(obtenu);
  return texte;
}

// The units of `avant` that `apres` does not give back in their place.
uint64_t UnitesChangees(const char16_t* avant, uint64_t n, const char16_t* apres, uint64_t m) {
  uint64_t changees = 0;
  for (uint64_t i = 0; i < n; ++i) changees += i >= m || avant[i] != apres[i];
  return changees;
}

}  // namespace

uint64_t TamponMemoire::CompresseChaineN(FluxSortie& sortie, const ChaineN& chaine,
                                         uint64_t* unitesChangees) {
  const char* utf8 = chaine.PreteUTF8();
  const uint64_t longueur = std::strlen(utf8);
  if (unitesChangees != nullptr) {  // what the reader will make of these bytes, against the text
    const ChaineN relue(utf8, ChaineN::kCodageUTF8, longueur);
    *unitesChangees =
        UnitesChangees(chaine.DonneUnites(), chaine.Longueur(), relue.DonneUnites(), relue.Longueur());
  }
  return CompresseUTF8(sortie, utf8, longueur);
}

uint64_t TamponMemoire::CompresseUniChaine(FluxSortie& sortie, const UniChaine& chaine,
                                           uint64_t* unitesChangees) {
  detail::RefuseSansFormeUTF8(chaine);
  const char* utf8 = chaine.PreteCString(UniChaine::kCodageUTF8);
  if (unitesChangees != nullptr) {  // the record keeps nothing after a U+0000
    const int zero = chaine.DonneQString().indexOf(QChar(0));
    *unitesChangees = zero < 0 ? 0 : static_cast<uint64_t>(chaine.Longueur() - zero);
  }
  return CompresseUTF8(sortie, utf8, std::strlen(utf8));
}

ChaineN TamponMemoire::DecompresseChaineN(FluxEntree& entree) {
  const std::string utf8 = DecompresseUTF8(entree);
  return ChaineN(utf8.data(), ChaineN::kCodageUTF8, utf8.size());
}

UniChaine TamponMemoire::DecompresseUniChaine(FluxEntree& entree) {
  const std::string utf8 = DecompresseUTF8(entree);
  return UniChaine(utf8);
}

}  // namespace sdd
