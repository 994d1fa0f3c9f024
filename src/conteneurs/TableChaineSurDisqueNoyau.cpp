// Lookups in a serialised string table, in place (see FormatTableChaine.h). The key is turned
// into UTF-8 once; each record's fragment is compared as the UTF-8 bytes it is stored as (a
// tree never splits a code point, so byte prefixes are character prefixes).
#include <outils_socle/conteneurs/TableChaineSurDisqueNoyau.h>

#include <cstring>
#include <string>

#include <outils_socle/conteneurs/TableChaineNoyau.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>

#include "conteneurs/FormatTableChaine.h"
#include "conteneurs/PointsDeCode.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

namespace {

[[noreturn]] void Invalide(const std::string& pourquoi) {
  throw exceptions::TableNonValide(UniChaine(pourquoi.c_str()));
}

// The key in UTF-8 into `sortie` (room for 3 bytes a unit); false for a key holding an unpaired
// surrogate, which no table stores.
bool EnUTF8(const ChaineN& clef, char* sortie, uint64_t* n) {
  const char16_t* u = clef.DonneUnites();
  const uint64_t l = clef.Longueur();
  uint64_t k = 0;
  for (uint64_t i = 0; i < l; ++i) {
    char32_t c = u[i];
    if (detail::EstSubstitutHaut(u[i]) || detail::EstSubstitutBas(u[i])) {
      if (!detail::EstSubstitutHaut(u[i]) || i + 1 == l || !detail::EstSubstitutBas(u[i + 1])) return false;
      c = detail::PointDeCode(u, l, i++);
    }
    if (c < 0x80) {
      sortie[k++] = static_cast<char>(c);
    } else if (c < 0x800) {
      sortie[k++] = static_cast<char>(0xC0 | c >> 6);
      sortie[k++] = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      sortie[k++] = static_cast<char>(0xE0 | c >> 12);
      sortie[k++] = static_cast<char>(0x80 | (c >> 6 & 0x3F));
      sortie[k++] = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      sortie[k++] = static_cast<char>(0xF0 | c >> 18);
      sortie[k++] = static_cast<char>(0x80 | (c >> 12 & 0x3F));
      sortie[k++] = static_cast<char>(0x80 | (c >> 6 & 0x3F));
      sortie[k++] = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  *n = k;
  return true;
}

}  // namespace

TableChaineSurDisqueNoyau::TableChaineSurDisqueNoyau(FluxEntreeMemoire* flux, uint64_t position) {
  Init(flux, position);
}

TableChaineSurDisqueNoyau::~TableChaineSurDisqueNoyau() = default;

void TableChaineSurDisqueNoyau::Init(FluxEntreeMemoire* flux, uint64_t position) {
  if (flux == nullptr) throw exceptions::PointeurInvalide();
  const uint64_t taille = flux->Taille();
  if (position > taille || taille - position < detail::kTailleEnteteFixe)
    Invalide(N_("Table de chaînes tronquée"));
  TamponMemoire t = flux->NouveauTamponEnPretantDonnees();
  const uint8_t* p = t.PreteDonneesBrutes() + position;
  const unsigned version = p[0] | p[1] << 8u;
  if (version != TableChaineNoyau::kVersionTableTrie && version != TableChaineNoyau::kVersionTableTrie100) {
    Invalide(N_("Version non gérée"));
  }
  const uint32_t nombre = p[2] | p[3] << 8u | p[4] << 16u | static_cast<uint32_t>(p[5]) << 24u;
  const uint8_t* fin = t.PreteDonneesBrutes() + taille;
  uint64_t racine = 0, tailleBloc = 0;
  const uint8_t* q = SerialiseurVarElias::LisDepuis(p + detail::kTailleEnteteFixe, fin, &racine);
  q = SerialiseurVarElias::LisDepuis(q, fin, &tailleBloc);
  const uint64_t debutBloc = static_cast<uint64_t>(q - t.PreteDonneesBrutes());
  if (tailleBloc > taille - debutBloc)
    Invalide(N_("Table de chaînes tronquée : le bloc des nœuds dépasse les données"));
  if (racine >= tailleBloc) Invalide(N_("Table de chaînes : racine hors du bloc"));
  flux_ = flux;
  debut_ = position;
  debutBloc_ = debutBloc;
  nombre_ = nombre;
  tailleBloc_ = tailleBloc;
  racine_ = racine;
  elias_ = version == TableChaineNoyau::kVersionTableTrie;
}

TamponMemoire TableChaineSurDisqueNoyau::NouveauLecteur() const {
  if (flux_ == nullptr) throw exceptions::PointeurInvalide();
  return flux_->NouveauTamponEnPretantDonnees();
}

bool TableChaineSurDisqueNoyau::Possede(const ChaineN& clef) const {
  TamponMemoire lecteur = NouveauLecteur();
  return PlacePourChaine(clef, racine_, lecteur);
}

bool TableChaineSurDisqueNoyau::TrouveCharge(const ChaineN& clef, TamponMemoire& lecteur) const {
  return PlacePourChaine(clef, racine_, lecteur);
}

bool TableChaineSurDisqueNoyau::PlacePourChaine(const ChaineN& clef, uint64_t position,
                                                TamponMemoire& lecteur) const {
  // The key in UTF-8, on the stack when it is short.
  char court[768];
  std::string long_;
  char* octets = court;
  if (clef.Longueur() * 3 > sizeof(court)) {
    long_.resize(clef.Longueur() * 3);
    octets = long_.data();
  }
  uint64_t n = 0;
  if (!EnUTF8(clef, octets, &n)) return false;

  const uint8_t* bloc = lecteur.PreteDonneesBrutes() + debutBloc_;
  const uint8_t* finBloc = bloc + tailleBloc_;
  uint64_t lu = 0;  // bytes of the key matched so far
  uint64_t p = position;
  for (;;) {
    if (p >= tailleBloc_) Invalide(N_("Table de chaînes : position hors du bloc"));
    const uint8_t* fragment = bloc + p;
    const void* zero = std::memchr(fragment, 0, static_cast<size_t>(finBloc - fragment));
    if (zero == nullptr)
      Invalide(
          detail::Formate(N_("Table de chaînes : fragment sans fin à la position %s"), {std::to_string(p)}));
    const uint64_t longueur = static_cast<uint64_t>(static_cast<const uint8_t*>(zero) - fragment);
    const uint8_t* q = fragment + longueur + 1;
    if (q == finBloc) Invalide(N_("Table de chaînes tronquée"));
    const uint8_t drapeaux = *q++;
    if ((drapeaux & ~detail::kDrapeauxConnus) != 0) Invalide(N_("Table de chaînes : drapeaux inconnus"));
    auto position = [&](uint64_t* v) {
      if (elias_) {
        q = SerialiseurVarElias::LisDepuis(q, finBloc, v);
        return;
      }
      if (finBloc - q < 8) Invalide(N_("Table de chaînes tronquée"));
      *v = 0;
      for (int i = 7; i >= 0; --i) *v = *v << 8 | q[i];
      q += 8;
    };
    uint64_t enfant = 0, suivant = 0;
    if (drapeaux & detail::kDrapeauEnfant) position(&enfant);
    if (drapeaux & detail::kDrapeauSuivant) position(&suivant);
    // Every position named lies before the record naming it: no loop, and at most one step per
    // record.
    if (((drapeaux & detail::kDrapeauEnfant) && enfant >= p) ||
        ((drapeaux & detail::kDrapeauSuivant) && suivant >= p)) {
      Invalide(N_("Boucle dans la structure de chaines"));
    }
    const uint64_t reste = n - lu;
    if (reste == longueur && std::memcmp(octets + lu, fragment, longueur) == 0) {
      if (!(drapeaux & detail::kDrapeauFinDeClef)) return false;
      lecteur.Positionne(debutBloc_ + static_cast<uint64_t>(q - bloc));
      return true;
    }
    if ((drapeaux & detail::kDrapeauEnfant) &&
        (longueur == 0 || (reste > longueur && std::memcmp(octets + lu, fragment, longueur) == 0))) {
      lu += longueur;
      p = enfant;
      continue;
    }
    if (!(drapeaux & detail::kDrapeauSuivant)) return false;
    p = suivant;
  }
}

}  // namespace sdd
