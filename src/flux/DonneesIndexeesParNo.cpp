// Records by number through a fixed-width index (docs/blocs.md): version (4 bytes), index width W
// (1 byte), record count N and record area size T (4 bytes each, little-endian), N offsets of W
// bytes, then the records, each a VarElias length and its bytes.
#include <outils_socle/flux/DonneesIndexeesParNo.h>

#include <algorithm>
#include <limits>
#include <string>

#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/Exception.h>
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

namespace {

[[noreturn]] void Endommage(const std::string& pourquoi) {
  throw exceptions::ErreurDeserialisation(N_("Données indexées endommagées") " : " + pourquoi);
}

uint64_t LisLE(const uint8_t* p, uint64_t n) {
  uint64_t v = 0;
  for (uint64_t i = n; i-- > 0;) v = v << 8 | p[i];
  return v;
}

}  // namespace

DonneesIndexeesParNo::DonneesIndexeesParNo() = default;
DonneesIndexeesParNo::~DonneesIndexeesParNo() = default;

DonneesIndexeesParNo::DonneesIndexeesParNo(const UniChemin& chemin, uint64_t debut) { Ouvre(chemin, debut); }

DonneesIndexeesParNo::DonneesIndexeesParNo(FluxEntreeMemoire* entree, uint64_t debut) {
  Ouvre(entree, debut);
}

void DonneesIndexeesParNo::Ouvre(const UniChemin& chemin, uint64_t debut) {
  auto fichier = std::make_shared<FichierMMap>(chemin);
  Ouvre(fichier.get(), debut);
  possede_ = std::move(fichier);
}

void DonneesIndexeesParNo::Ouvre(FluxEntreeMemoire* entree, uint64_t debut) {
  if (entree == nullptr) throw exceptions::PointeurInvalide();
  const uint64_t taille = entree->Taille();
  if (debut > taille || taille - debut < kDebutIndex) Endommage(N_("en-tête tronqué"));
  entree->Positionne(debut);
  uint8_t entete[kDebutIndex];
  for (uint8_t& o : entete) o = entree->Donne();
  const uint64_t largeur = entete[4];
  const uint64_t nombre = LisLE(entete + 5, 4);
  const uint64_t tailleInfos = LisLE(entete + 9, 4);
  if (largeur < 1 || largeur > 8)
    Endommage(detail::Formate(N_("largeur d’index %s"), {std::to_string(largeur)}));
  const uint64_t index = nombre * largeur;  // at most 2^35: no overflow
  if (taille - debut - kDebutIndex < index || taille - debut - kDebutIndex - index < tailleInfos) {
    Endommage(detail::Formate(N_("la structure (%s octets) dépasse les données"),
                              {std::to_string(kDebutIndex + index + tailleInfos)}));
  }
  entree_ = entree;
  possede_.reset();
  std::copy(entete, entete + kNbOctetVersion, version_);
  largeur_ = largeur;
  nombre_ = nombre;
  debutIndex_ = kDebutIndex;
  debutInfos_ = kDebutIndex + index;
  tailleInfos_ = tailleInfos;
  debut_ = debut;
}

uint64_t DonneesIndexeesParNo::OffsetInfo(int no) const {
  if (entree_ == nullptr) throw exceptions::PointeurInvalide();
  if (no < 0 || static_cast<uint64_t>(no) >= nombre_)
    LanceIndexHorsBorne(no, 0, static_cast<int64_t>(nombre_));
  TamponMemoire t = entree_->NouveauTamponEnPretantDonnees();
  const uint8_t* p = t.PreteDonneesBrutes() + debut_ + debutIndex_ + static_cast<uint64_t>(no) * largeur_;
  const uint64_t offset = LisLE(p, largeur_);
  if (offset >= tailleInfos_)
    Endommage(detail::Formate(N_("l’info %s commence hors de la zone des infos"), {std::to_string(no)}));
  return offset;
}

const uint8_t* DonneesIndexeesParNo::Info(uint64_t offset, uint64_t* taille, uint64_t* longueurChamp) const {
  TamponMemoire t = entree_->NouveauTamponEnPretantDonnees();
  const uint8_t* zone = t.PreteDonneesBrutes() + debut_ + debutInfos_;
  const uint8_t* fin = zone + tailleInfos_;
  const uint8_t* donnees = SerialiseurVarElias::LisDepuis(zone + offset, fin, taille);
  if (*taille > static_cast<uint64_t>(fin - donnees)) {
    Endommage(detail::Formate(N_("l’info à %s dépasse la zone des infos"), {std::to_string(offset)}));
  }
  *longueurChamp = static_cast<uint64_t>(donnees - (zone + offset));
  return donnees;
}

const uint8_t* DonneesIndexeesParNo::DonneInfo(int no, uint64_t* taille) const {
  uint64_t champ = 0;
  return Info(OffsetInfo(no), taille, &champ);
}

TamponMemoire DonneesIndexeesParNo::PositionneAuDebutInfo() const {
  if (entree_ == nullptr) throw exceptions::PointeurInvalide();
  TamponMemoire t = entree_->NouveauTamponEnPretantDonnees();
  t.Positionne(debut_ + debutInfos_);
  return t;
}

void DonneesIndexeesParNo::ProchainInfo(TamponMemoire& tampon, unsigned int* taille) const {
  const uint64_t debutZone = debut_ + debutInfos_;
  const uint64_t position = tampon.DonnePosition();
  if (position < debutZone || position >= debutZone + tailleInfos_)
    Endommage(N_("lecture hors de la zone des infos"));
  uint64_t longueur = 0, champ = 0;
  Info(position - debutZone, &longueur, &champ);
  tampon.Positionne(position + champ);
  *taille = static_cast<unsigned int>(longueur);
}

TamponMemoire DonneesIndexeesParNo::PositionnePourNo(int no) const {
  const uint64_t offset = OffsetInfo(no);
  TamponMemoire t = entree_->NouveauTamponEnPretantDonnees();
  t.Positionne(debut_ + debutInfos_ + offset);
  return t;
}

TamponMemoire DonneesIndexeesParNo::PositionnePourNo(int no, unsigned int* taille) const {
  const uint64_t offset = OffsetInfo(no);
  uint64_t longueur = 0, champ = 0;
  Info(offset, &longueur, &champ);
  TamponMemoire t = entree_->NouveauTamponEnPretantDonnees();
  t.Positionne(debut_ + debutInfos_ + offset + champ);
  *taille = static_cast<unsigned int>(longueur);
  return t;
}

// ---- writing

CreateurDonneesIndexeesParNo::CreateurDonneesIndexeesParNo(
    const uint8_t (&version)[DonneesIndexeesParNo::kNbOctetVersion]) {
  std::copy(version, version + DonneesIndexeesParNo::kNbOctetVersion, version_);
}

uint64_t CreateurDonneesIndexeesParNo::Ajoute(const uint8_t* octets, uint64_t n) {
  const uint64_t offset = infos_.DonnePosition();
  if (offsets_.size() >= std::numeric_limits<uint32_t>::max() ||
      offset + n + SerialiseurVarElias::NbBitsRequis(n) > std::numeric_limits<uint32_t>::max()) {
    throw exceptions::OperationInvalide(N_("Données indexées : plus de 4 Gio d’infos ou de 2^32 infos"));
  }
  SerialiseurVarElias::Ecris(infos_, n);
  infos_.Mets(octets, n);
  offsets_.push_back(offset);
  return offsets_.size() - 1;
}

uint64_t CreateurDonneesIndexeesParNo::Ecris(FluxSortie& sortie) const {
  const uint64_t debut = sortie.DonnePosition();
  const uint64_t plusGrand = offsets_.empty() ? 0 : offsets_.back();
  uint8_t largeur = 1;
  while (largeur < 4 && (plusGrand >> (8 * largeur)) != 0) ++largeur;
  const uint64_t tailleInfos = infos_.DonnePosition();
  uint8_t entete[DonneesIndexeesParNo::kDebutIndex];
  std::copy(version_, version_ + DonneesIndexeesParNo::kNbOctetVersion, entete);
  entete[4] = largeur;
  for (int i = 0; i < 4; ++i) {
    entete[5 + i] = static_cast<uint8_t>(offsets_.size() >> (8 * i));
    entete[9 + i] = static_cast<uint8_t>(tailleInfos >> (8 * i));
  }
  sortie.Mets(entete, sizeof(entete));
  std::vector<uint8_t> index(offsets_.size() * largeur);
  for (size_t k = 0; k < offsets_.size(); ++k) {
    for (uint8_t i = 0; i < largeur; ++i)
      index[k * largeur + i] = static_cast<uint8_t>(offsets_[k] >> (8 * i));
  }
  sortie.Mets(index.data(), index.size());
  sortie.Mets(infos_.PreteDonneesBrutes(), tailleInfos);
  return debut;
}

}  // namespace sdd
