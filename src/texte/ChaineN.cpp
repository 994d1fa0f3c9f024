// ChaineN's buffers: sharing, borrowing, growth, appending, lending and comparison.
#include <outils_socle/texte/ChaineN.h>

#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/Exception.h>

#include "texte/Malgray.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace sdd {

// An owned buffer: this 24-byte header, then the units and their zero terminator, in one block.
struct ChaineN::_TamponPossede {
  uint64_t longueur;
  uint64_t capacite;  // in units, terminator included
  uint64_t compte;    // reference count, only touched through std::atomic_ref

  char16_t* Unites() { return reinterpret_cast<char16_t*>(reinterpret_cast<char*>(this) + 24); }
};

// A borrowed buffer: the caller's units, which are never written.
struct ChaineN::_TamponEmprunte {
  uint64_t longueur;
  uint64_t compte;
  const char16_t* unites;
};

namespace {

std::atomic_ref<uint64_t> Compte(uint64_t& compte) { return std::atomic_ref<uint64_t>(compte); }

// Beyond this, 2c + 1 and the block size would overflow.
constexpr uint64_t kCapaciteMax = (UINT64_MAX - 24) / 8;

// The block holds 24 + 2c bytes, rounded up to a multiple of 4; the rounding adds one unit.
uint64_t CapaciteArrondie(uint64_t c) { return (2 * c) % 4 != 0 ? c + 1 : c; }

void* AlloueBloc(void* ancien, uint64_t capacite) {
  void* bloc = ancien == nullptr ? std::malloc(24 + 2 * capacite) : std::realloc(ancien, 24 + 2 * capacite);
  if (bloc == nullptr) throw std::bad_alloc();
  return bloc;
}

uint64_t LongueurUnites(const char16_t* unites) {
  uint64_t n = 0;
  while (unites[n] != 0) ++n;
  return n;
}

}  // namespace

// ---- Buffer management

ChaineN::ChaineN(const ChaineN& autre) noexcept : tampon_(autre.tampon_) {
  if (EstCourte()) {
    std::memcpy(court_, autre.court_, sizeof court_);
    return;
  }
  if (tampon_ == 0) return;
  uint64_t& compte = EstEmpruntee() ? Emprunte()->compte : Possede()->compte;
  Compte(compte).fetch_add(1, std::memory_order_relaxed);
}

ChaineN& ChaineN::operator=(const ChaineN& autre) noexcept {
  if (this != &autre && (tampon_ != autre.tampon_ || EstCourte())) {
    ChaineN copie(autre);
    Echange(copie);
  }
  return *this;
}

ChaineN& ChaineN::operator=(ChaineN&& autre) noexcept {
  if (this != &autre) {
    Relache();
    tampon_ = std::exchange(autre.tampon_, 0);
    if (EstCourte()) std::memcpy(court_, autre.court_, sizeof court_);
  }
  return *this;
}

void ChaineN::Echange(ChaineN& autre) noexcept {
  std::swap(tampon_, autre.tampon_);
  char16_t court[kUnitesCourtes];
  std::memcpy(court, court_, sizeof court);
  std::memcpy(court_, autre.court_, sizeof court);
  std::memcpy(autre.court_, court, sizeof court);
}

ChaineN::~ChaineN() { Relache(); }

void ChaineN::Relache() noexcept {
  if (tampon_ == 0 || EstCourte()) {
    tampon_ = 0;
    return;
  }
  // A count of 1 seen here is ours alone: no other holder exists to raise it, so the buffer
  // goes without the cost of an atomic read-modify-write (most strings are never shared).
  if (EstEmpruntee()) {
    _TamponEmprunte* t = Emprunte();
    if (Compte(t->compte).load(std::memory_order_acquire) == 1 ||
        Compte(t->compte).fetch_sub(1, std::memory_order_acq_rel) == 1)
      delete t;
  } else {
    _TamponPossede* t = Possede();
    if (Compte(t->compte).load(std::memory_order_acquire) == 1 ||
        Compte(t->compte).fetch_sub(1, std::memory_order_acq_rel) == 1)
      std::free(t);
  }
  tampon_ = 0;
}

uint64_t ChaineN::Capacite() const {
  if (EstCourte()) return kUnitesCourtes;
  if (tampon_ == 0) return 0;
  return EstEmpruntee() ? Emprunte()->longueur : Possede()->capacite;
}

void ChaineN::Assure(uint64_t n) {
  // The header's inline accessors read these offsets directly.
  static_assert(offsetof(_TamponPossede, longueur) == 0);
  static_assert(offsetof(_TamponEmprunte, longueur) == 0);
  static_assert(offsetof(_TamponEmprunte, unites) == 16);
  static_assert(sizeof(_TamponPossede) == 24);
  const uint64_t capacite = Capacite();
  if (n == 0 || (tampon_ != 0 && capacite >= n)) return;
  if (n <= kUnitesCourtes) {
    // Empty, borrowed, shared or a small block: the units move inline.
    const uint64_t longueur = Longueur();
    std::memcpy(court_, DonneUnites(), longueur * 2);
    Relache();
    MetsCourte(longueur);
    return;
  }
  if (n > kCapaciteMax) throw std::bad_alloc();
  uint64_t c = capacite;
  while (c < n) c = 2 * c + 1;
  const uint64_t stockee = CapaciteArrondie(c);

  if (tampon_ != 0 && !EstCourte() && !EstEmpruntee() &&
      Compte(Possede()->compte).load(std::memory_order_acquire) == 1) {
    auto* t = static_cast<_TamponPossede*>(AlloueBloc(Possede(), stockee));
    t->capacite = stockee;
    tampon_ = reinterpret_cast<uintptr_t>(t);
    return;
  }
  // No buffer, a short string, a shared block or a borrowed one: copy into a fresh owned block.
  auto* t = static_cast<_TamponPossede*>(AlloueBloc(nullptr, stockee));
  const uint64_t longueur = Longueur();
  t->longueur = longueur;
  t->capacite = stockee;
  t->compte = 1;
  std::memcpy(t->Unites(), DonneUnites(), longueur * 2);
  t->Unites()[longueur] = 0;
  Relache();
  tampon_ = reinterpret_cast<uintptr_t>(t);
}

char16_t* ChaineN::Modifiable(uint64_t n) {
  // The common cases first: a short string, or an owned buffer held alone, already large enough.
  if (EstCourte() && n <= kUnitesCourtes) return court_;
  if (tampon_ != 0 && !EstCourte() && !EstEmpruntee()) {
    _TamponPossede* t = Possede();
    if (t->capacite >= n && t->capacite > t->longueur &&
        Compte(t->compte).load(std::memory_order_acquire) == 1)
      return t->Unites();
  }
  const uint64_t longueur = Longueur();
  if (n < longueur + 1) n = longueur + 1;
  Assure(n);  // leaves a borrowed text owned, since its capacity is its length
  if (EstCourte()) return court_;
  if (Compte(Possede()->compte).load(std::memory_order_acquire) > 1) {
    // Shared: copy into a buffer of the same capacity.
    const uint64_t capacite = Possede()->capacite;
    auto* t = static_cast<_TamponPossede*>(AlloueBloc(nullptr, capacite));
    t->longueur = longueur;
    t->capacite = capacite;
    t->compte = 1;
    std::memcpy(t->Unites(), Possede()->Unites(), (longueur + 1) * 2);
    Relache();
    tampon_ = reinterpret_cast<uintptr_t>(t);
  }
  return Possede()->Unites();
}

void ChaineN::MetsLongueur(uint64_t n) {
  if (EstCourte()) {
    MetsCourte(n);
    return;
  }
  Possede()->longueur = n;
  Possede()->Unites()[n] = 0;
}

// ---- Construction

ChaineN::ChaineN(const char16_t* unites, bool copie)
    : ChaineN(unites, unites ? LongueurUnites(unites) : 0, copie) {}

ChaineN::ChaineN(const char16_t* unites, uint64_t n, bool copie) : tampon_(0) {
  if (n == 0) return;
  if (copie) {
    // A copy of known length, the way searches build their answers by the thousand: inline
    // when short, else one block of the exact size, straight.
    if (n < kUnitesCourtes) {
      std::memcpy(court_, unites, n * 2);
      MetsCourte(n);
      return;
    }
    if (n >= kCapaciteMax) throw std::bad_alloc();
    const uint64_t capacite = CapaciteArrondie(n + 1);
    auto* t = static_cast<_TamponPossede*>(AlloueBloc(nullptr, capacite));
    t->longueur = n;
    t->capacite = capacite;
    t->compte = 1;
    std::memcpy(t->Unites(), unites, n * 2);
    t->Unites()[n] = 0;
    tampon_ = reinterpret_cast<uintptr_t>(t);
    return;
  }
  auto* t = new _TamponEmprunte{n, 1, unites};
  tampon_ = reinterpret_cast<uintptr_t>(t) | 1;
}

ChaineN::ChaineN(const char16_t* unites, int n, bool copie)
    : ChaineN(unites,
              n >= 0 ? static_cast<uint64_t>(n) : (LanceIndexHorsBorne(static_cast<uint64_t>(n), 0, 0), 0),
              copie) {}

ChaineN::ChaineN(const char16_t& c) : tampon_(0) { AjouteFin(c); }

ChaineN::ChaineN(const char* octets, Codage codage) : tampon_(0) { AjouteFin(octets, codage); }

ChaineN::ChaineN(const char* octets, Codage codage, uint64_t n) : tampon_(0) { AjouteFin(octets, codage, n); }

ChaineN::ChaineN(const std::string& octets, Codage codage) : tampon_(0) {
  AjouteFin(octets.data(), codage, octets.size());
}

ChaineN& ChaineN::Vide() {
  if (tampon_ == 0) return *this;
  if (EstCourte()) {
    MetsCourte(0);
    return *this;
  }
  if (EstEmpruntee() || Compte(Possede()->compte).load(std::memory_order_acquire) > 1)
    Relache();
  else
    MetsLongueur(0);
  return *this;
}

ChaineN& ChaineN::Mets(const ChaineN& autre) { return *this = autre; }
ChaineN& ChaineN::Mets(const char16_t* unites) { return Mets(unites, unites ? LongueurUnites(unites) : 0); }
ChaineN& ChaineN::Mets(const char16_t* unites, uint64_t n) { return Remplace(0, Longueur(), unites, n); }
ChaineN& ChaineN::Mets(char16_t c) { return Remplace(0, Longueur(), &c, 1); }
ChaineN& ChaineN::Mets(const char* octets, Codage codage) { return Vide().AjouteFin(octets, codage); }
ChaineN& ChaineN::Mets(const char* octets, Codage codage, uint64_t n) {
  // Reusing a buffer of our own, the common case in loops, decodes straight into it; n bytes
  // never decode to more than n units.
  if (octets != nullptr && EstCourte() && n < kUnitesCourtes) {
    MetsCourte(
        ConvertisseurChaineN::ConvertisseurPourCodage(codage).Decode(octets, n, court_, kUnitesCourtes));
    return *this;
  }
  if (octets != nullptr && tampon_ != 0 && !EstCourte() && !EstEmpruntee()) {
    _TamponPossede* t = Possede();
    if (t->capacite > n && Compte(t->compte).load(std::memory_order_acquire) == 1) {
      const uint64_t ecrites =
          ConvertisseurChaineN::ConvertisseurPourCodage(codage).Decode(octets, n, t->Unites(), t->capacite);
      MetsLongueur(ecrites);
      return *this;
    }
  }
  return Vide().AjouteFin(octets, codage, n);
}

// ---- Appending

// The one splice behind insertion, replacement and removal: the n units at `position` become
// the m units at `unites`, which may lie inside this string's own buffer.
ChaineN& ChaineN::Remplace(uint64_t position, uint64_t n, const char16_t* unites, uint64_t m) {
  const uint64_t longueur = Longueur();
  if (position > longueur) LanceIndexHorsBorne(position, 0, longueur);
  if (n > longueur - position) n = longueur - position;
  if (n == 0 && m == 0) return *this;
  // Keep the source alive and in place should the buffer move while we write.
  ChaineN garde;
  // A short string's copy has units of its own: read from there.
  const char16_t* actuelles = DonneUnites();
  if (m > 0 && unites >= actuelles && unites < actuelles + Capacite()) {
    garde = *this;
    unites = garde.DonneUnites() + (unites - actuelles);
  }

  const uint64_t nouvelle = longueur - n + m;
  char16_t* u = Modifiable(nouvelle + 1);
  std::memmove(u + position + m, u + position + n, (longueur - position - n) * 2);
  if (m > 0) std::memmove(u + position, unites, m * 2);
  MetsLongueur(nouvelle);
  return *this;
}

ChaineN& ChaineN::Insere(uint64_t position, const char16_t* unites, uint64_t n) {
  return Remplace(position, 0, unites, n);
}

ChaineN& ChaineN::InsereOctets(uint64_t position, const char* octets, Codage codage, uint64_t n) {
  if (octets == nullptr || n == 0) return *this;
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  const uint64_t longueur = Longueur();
  if (position != longueur) {
    const ChaineN decodee(octets, codage, n);
    return Insere(position, decodee.DonneUnites(), decodee.Longueur());
  }
  // n bytes never decode to more than n units. Small inputs, or a buffer already large enough,
  // are decoded straight away; a large one is counted first so that the buffer fits.
  uint64_t besoin = n;
  if (n > 4096 && Capacite() < longueur + n + 1) besoin = convertisseur.CompteUnites(octets, n);
  char16_t* u = Modifiable(longueur + besoin + 1);
  const uint64_t capacite = Capacite();
  const uint64_t ecrites = convertisseur.Decode(octets, n, u + longueur, capacite - longueur);
  // A converter that wrote past its room has corrupted memory: stop here rather than go on.
  if (longueur + ecrites >= capacite) LanceIndexHorsBorne(longueur + ecrites, 0, capacite);
  MetsLongueur(longueur + ecrites);
  return *this;
}

ChaineN& ChaineN::AjouteFin(const ChaineN& autre) {
  if (&autre == this) {
    // A copy, not a reference: it keeps the source buffer alive while this one changes.
    const ChaineN garde(autre);  // NOLINT(performance-unnecessary-copy-initialization)
    return Insere(Longueur(), garde.DonneUnites(), garde.Longueur());
  }
  if (tampon_ == 0 && !autre.EstEmpruntee()) return *this = autre;  // share rather than copy
  return Insere(Longueur(), autre.DonneUnites(), autre.Longueur());
}
ChaineN& ChaineN::AjouteFin(const char16_t* unites) {
  return unites ? Insere(Longueur(), unites, LongueurUnites(unites)) : *this;
}
ChaineN& ChaineN::AjouteFin(const char16_t* unites, uint64_t n) { return Insere(Longueur(), unites, n); }
ChaineN& ChaineN::AjouteFinLent(char16_t c) {
  const uint64_t longueur = Longueur();
  Modifiable(longueur + 2)[longueur] = c;
  MetsLongueur(longueur + 1);
  return *this;
}
ChaineN& ChaineN::AjouteFin(const char* octets, Codage codage) {
  if (octets == nullptr) return *this;
  return InsereOctets(Longueur(), octets, codage,
                      ConvertisseurChaineN::ConvertisseurPourCodage(codage).LongueurOctets(octets));
}
ChaineN& ChaineN::AjouteFin(const char* octets, Codage codage, uint64_t n) {
  return InsereOctets(Longueur(), octets, codage, n);
}

ChaineN& ChaineN::AjouteDebut(const ChaineN& autre) {
  // A copy, not a reference: it keeps the source buffer alive while this one changes.
  const ChaineN garde(autre);  // NOLINT(performance-unnecessary-copy-initialization)
  return Insere(0, garde.DonneUnites(), garde.Longueur());
}
ChaineN& ChaineN::AjouteDebut(const char16_t* unites) {
  return unites ? Insere(0, unites, LongueurUnites(unites)) : *this;
}
ChaineN& ChaineN::AjouteDebut(const char16_t* unites, uint64_t n) { return Insere(0, unites, n); }
ChaineN& ChaineN::AjouteDebut(char16_t c) { return Insere(0, &c, 1); }
ChaineN& ChaineN::AjouteDebut(const char* octets, Codage codage) {
  if (octets == nullptr) return *this;
  return InsereOctets(0, octets, codage,
                      ConvertisseurChaineN::ConvertisseurPourCodage(codage).LongueurOctets(octets));
}
ChaineN& ChaineN::AjouteDebut(const char* octets, Codage codage, uint64_t n) {
  return InsereOctets(0, octets, codage, n);
}

ChaineN ChaineN::AjouteFin(const ChaineN& autre) const { return ChaineN(*this).AjouteFin(autre); }
ChaineN ChaineN::AjouteFin(const char16_t* unites) const { return ChaineN(*this).AjouteFin(unites); }
ChaineN ChaineN::AjouteFin(const char16_t* unites, uint64_t n) const {
  return ChaineN(*this).AjouteFin(unites, n);
}
ChaineN ChaineN::AjouteFin(char16_t c) const { return ChaineN(*this).AjouteFin(c); }
ChaineN ChaineN::AjouteFin(const char* octets, Codage codage) const {
  return ChaineN(*this).AjouteFin(octets, codage);
}
ChaineN ChaineN::AjouteFin(const char* octets, Codage codage, uint64_t n) const {
  return ChaineN(*this).AjouteFin(octets, codage, n);
}
ChaineN ChaineN::AjouteDebut(const ChaineN& autre) const { return ChaineN(*this).AjouteDebut(autre); }
ChaineN ChaineN::AjouteDebut(const char16_t* unites) const { return ChaineN(*this).AjouteDebut(unites); }
ChaineN ChaineN::AjouteDebut(const char16_t* unites, uint64_t n) const {
  return ChaineN(*this).AjouteDebut(unites, n);
}
ChaineN ChaineN::AjouteDebut(char16_t c) const { return ChaineN(*this).AjouteDebut(c); }
ChaineN ChaineN::AjouteDebut(const char* octets, Codage codage) const {
  return ChaineN(*this).AjouteDebut(octets, codage);
}
ChaineN ChaineN::AjouteDebut(const char* octets, Codage codage, uint64_t n) const {
  return ChaineN(*this).AjouteDebut(octets, codage, n);
}

ChaineN& ChaineN::Agrandis(uint64_t n, char16_t c) {
  if (n >= kCapaciteMax) throw std::bad_alloc();
  const uint64_t longueur = Longueur();
  if (n == longueur) return *this;
  if (n == 0) return Vide();
  char16_t* u = Modifiable(n + 1);
  for (uint64_t i = longueur; i < n; ++i) u[i] = c;
  MetsLongueur(n);
  return *this;
}

// ---- Lending

const char* ChaineN::PreteCString(Codage codage, uint64_t taille, char* tampon, uint64_t* longueur) const {
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  const unsigned terminateur = convertisseur.TailleTerminateur();
  uint64_t ecrits = 0;
  if (tampon != nullptr) {
    if (taille < terminateur) {
      if (taille > 0) tampon[0] = 0;
    } else {
      ecrits = convertisseur.Encode(DonneUnites(), Longueur(), tampon, taille - terminateur);
      std::memset(tampon + ecrits, 0, terminateur);
    }
  } else {
    pret_.reset();
    const uint64_t octets = convertisseur.TailleEncodee(DonneUnites(), Longueur());
    pret_ = std::make_unique_for_overwrite<char[]>(octets + terminateur);
    ecrits = convertisseur.Encode(DonneUnites(), Longueur(), pret_.get(), octets);
    std::memset(pret_.get() + ecrits, 0, terminateur);
    tampon = pret_.get();
  }
  if (longueur) *longueur = ecrits;
  return tampon;
}

const char* ChaineN::PreteUTF8(uint64_t taille, char* tampon, uint64_t* longueur) const {
  return PreteCString(kCodageUTF8, taille, tampon, longueur);
}

const char* ChaineN::PreteMacRoman(uint64_t taille, char* tampon, uint64_t* longueur) const {
  return PreteCString(kCodageMacRoman, taille, tampon, longueur);
}

const char16_t* ChaineN::PreteUniCString() const {
  if (!EstEmpruntee()) return DonneUnites();
  const uint64_t n = Longueur();
  pret_.reset();
  pret_ = std::make_unique_for_overwrite<char[]>((n + 1) * 2);
  std::memcpy(pret_.get(), DonneUnites(), n * 2);
  std::memset(pret_.get() + n * 2, 0, 2);
  return reinterpret_cast<const char16_t*>(pret_.get());
}

std::unique_ptr<char[]> ChaineN::CreeCString(Codage codage, uint64_t* longueur) const {
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  const uint64_t octets = convertisseur.TailleEncodee(DonneUnites(), Longueur());
  const unsigned terminateur = convertisseur.TailleTerminateur();
  auto bloc = std::make_unique_for_overwrite<char[]>(octets + terminateur);
  const uint64_t ecrits = convertisseur.Encode(DonneUnites(), Longueur(), bloc.get(), octets);
  std::memset(bloc.get() + ecrits, 0, terminateur);
  if (longueur) *longueur = ecrits;
  return bloc;
}

std::unique_ptr<char[]> ChaineN::CreeUTF8(uint64_t* longueur) const {
  return CreeCString(kCodageUTF8, longueur);
}

std::string ChaineN::Encode(Codage codage) const {
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  std::string octets(convertisseur.TailleEncodee(DonneUnites(), Longueur()), '\0');
  octets.resize(convertisseur.Encode(DonneUnites(), Longueur(), octets.data(), octets.size()));
  return octets;
}

uint64_t ChaineN::CompteNonRepresentables(Codage codage) const {
  return ConvertisseurChaineN::ConvertisseurPourCodage(codage).CompteNonRepresentables(DonneUnites(),
                                                                                       Longueur());
}

// ---- Removal and extraction

ChaineN& ChaineN::EnleveDebut(uint64_t n) { return Remplace(0, n, nullptr, 0); }

ChaineN& ChaineN::EnleveFin(uint64_t n) {
  const uint64_t longueur = Longueur();
  return EnleveDepuisFin(n >= longueur ? 0 : longueur - n);
}

ChaineN& ChaineN::EnleveDepuisFin(uint64_t position) {
  if (position >= Longueur()) return *this;
  if (position == 0) return Vide();
  Modifiable(0);
  MetsLongueur(position);
  return *this;
}

ChaineN& ChaineN::EnleveIntervalle(uint64_t debut, uint64_t n) { return Remplace(debut, n, nullptr, 0); }

ChaineN ChaineN::SousChaine(uint64_t debut, uint64_t n) const {
  const uint64_t longueur = Longueur();
  if (debut > longueur) LanceIndexHorsBorne(debut, 0, longueur);
  if (n > longueur - debut) n = longueur - debut;
  if (debut == 0 && n == longueur) return *this;
  return ChaineN(DonneUnites() + debut, n, true);
}

char16_t ChaineN::operator[](uint64_t i) const {
  const uint64_t longueur = Longueur();
  if (i >= longueur) LanceIndexHorsBorne(i, 0, longueur);
  return DonneUnites()[i];
}

ChaineN& ChaineN::MetsCarAIndex(uint64_t i, char16_t c) {
  const uint64_t longueur = Longueur();
  if (i >= longueur) LanceIndexHorsBorne(i, 0, longueur);
  Modifiable(0)[i] = c;
  return *this;
}

ChaineN& ChaineN::Inverse() {
  const uint64_t n = Longueur();
  if (n < 2) return *this;
  char16_t* u = Modifiable(0);
  std::reverse(u, u + n);
  // A reversed pair reads low-high: put it back in order.
  for (uint64_t i = 0; i + 1 < n; ++i) {
    if (u[i] >= 0xDC00 && u[i] <= 0xDFFF && u[i + 1] >= 0xD800 && u[i + 1] <= 0xDBFF) {
      std::swap(u[i], u[i + 1]);
      ++i;
    }
  }
  return *this;
}

// ---- Comparison

bool ChaineN::Egal(const ChaineN& autre, Malgray m) const {
  if (PartageTampon(autre)) return true;
  return Egal(autre.DonneUnites(), autre.Longueur(), m);
}

bool ChaineN::Egal(const char16_t* unites, uint64_t n, Malgray m) const {
  if (m & kMalgrayLigatures) {
    // A ligature stands for two letters, so lengths differ at most twofold; equal lengths usually
    // match unit for unit, and the walk is needed only when they do not.
    const uint64_t l = Longueur();
    if (l > 2 * n || n > 2 * l) return false;
    if (l == n && UniCarPtrEgalOption(DonneUnites(), 0, n, unites, 0, n, m)) return true;
    return detail::DeligatureEgalOption(DonneUnites(), l, unites, n, m, false) == 0;
  }
  if (Longueur() != n) return false;
  if (m == kMalgrayRien) return std::memcmp(DonneUnites(), unites, n * 2) == 0;
  return UniCarPtrEgalOption(DonneUnites(), 0, n, unites, 0, n, m);
}

std::strong_ordering ChaineN::Compare(const ChaineN& autre) const {
  const char16_t* a = DonneUnites();
  const char16_t* b = autre.DonneUnites();
  const uint64_t na = Longueur(), nb = autre.Longueur();
  const uint64_t n = na < nb ? na : nb;
  for (uint64_t i = 0; i < n; ++i)
    if (a[i] != b[i]) return a[i] <=> b[i];
  return na <=> nb;
}

}  // namespace sdd
