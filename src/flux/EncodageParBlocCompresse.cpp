// Block-compressed entries (docs/blocs.md). The stream: the block size (VarElias), the type
// (one byte), then one record per block, its stored length (VarElias) and its bytes, raw or as a
// zlib stream. Entries are found through (record position, offset in the decoded block).
#include <outils_socle/flux/EncodageParBlocCompresse.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/Exception.h>

#include "flux/Compression.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

namespace {

[[noreturn]] void TypeInconnu() {
  throw exceptions::ErreurDeserialisation(N_("Type de compression inconnu"));
}

[[noreturn]] void BlocEndommage(uint64_t position, const std::string& pourquoi) {
  throw exceptions::ErreurDeserialisation(
      detail::Formate(N_("Bloc compressé endommagé à la position %s"), {std::to_string(position)}) + " : " +
      pourquoi);
}

}  // namespace

std::ostream& operator<<(std::ostream& sortie, const _typPositionEncodageBloc& position) {
  return sortie << '(' << position.positionBloc << ',' << position.positionDansBloc << ')';
}

// ---- encoding

EncodageParBlocCompresse::EncodageParBlocCompresse(FluxSortie* sortie, unsigned int tailleBloc,
                                                   eTypeCompression type)
    : sortie_(sortie), tailleBloc_(tailleBloc), bloc_(256), type_(type) {
  if (sortie == nullptr) throw exceptions::PointeurInvalide();
  SerialiseurVarElias::Ecris(*sortie_, uint64_t{tailleBloc});
  sortie_->Mets(static_cast<uint8_t>(type));
}

EncodageParBlocCompresse::EncodageParBlocCompresse(const EncodageParBlocCompresse& autre) = default;
EncodageParBlocCompresse& EncodageParBlocCompresse::operator=(const EncodageParBlocCompresse& autre) =
    default;
EncodageParBlocCompresse::~EncodageParBlocCompresse() = default;

_typPositionEncodageBloc EncodageParBlocCompresse::Place(uint64_t besoin) {
  // Strictly: an entry that fills the block exactly stays in it.
  if (tailleBloc_ < bloc_.DonnePosition() + besoin) Vidange();
  return {sortie_->DonnePosition(), bloc_.DonnePosition()};
}

_typPositionEncodageBloc EncodageParBlocCompresse::EncodeChaine(ChaineN chaine, ChaineN::Codage codage) {
  for (const char16_t c : chaine) {
    if (c == 0)
      throw exceptions::OperationInvalide(N_("Une chaîne à coder en bloc ne peut contenir le caractère nul"));
  }
  const std::string octets = chaine.Encode(codage);
  const uint64_t terminateur = ConvertisseurChaineN::ConvertisseurPourCodage(codage).TailleTerminateur();
  if (octets.size() + terminateur > tailleBloc_) {
    throw exceptions::OperationInvalide(
        N_("Entrée plus grande que le bloc") " : " +
        detail::Formate(N_("%s octets pour des blocs de %s"),
                        {std::to_string(octets.size() + terminateur), std::to_string(tailleBloc_)}));
  }
  // The room the format has always reckoned: the text up to its first zero byte, plus its length
  // in VarElias.
  const uint64_t longueur = std::strlen(octets.c_str());
  const _typPositionEncodageBloc position = Place(longueur + SerialiseurVarElias::NbBitsRequis(longueur));
  bloc_.Mets(reinterpret_cast<const uint8_t*>(octets.data()), octets.size());
  for (uint64_t i = 0; i < terminateur; ++i) bloc_.Mets(uint8_t{0});
  return position;
}

_typPositionEncodageBloc EncodageParBlocCompresse::EncodeOctets(const char* octets, uint64_t n) {
  if (n > tailleBloc_) {
    throw exceptions::OperationInvalide(N_("Entrée plus grande que le bloc") " : " + std::to_string(n) +
                                        " octets pour des blocs de " + std::to_string(tailleBloc_));
  }
  const _typPositionEncodageBloc position = Place(n);
  bloc_.Mets(reinterpret_cast<const uint8_t*>(octets), n);
  return position;
}

void EncodageParBlocCompresse::TermineEncodage() { Vidange(); }

void EncodageParBlocCompresse::Vidange() {
  const uint64_t n = bloc_.DonnePosition();
  const uint8_t* octets = bloc_.PreteDonneesBrutes();
  if (type_ == CompressionZlib) {
    detail::CompresseZlib(octets, n, travail_);
  } else if (type_ == SansCompression) {
    travail_.assign(octets, octets + n);
  } else {
    TypeInconnu();
  }
  SerialiseurVarElias::Ecris(*sortie_, uint64_t{travail_.size()});
  sortie_->Mets(travail_.data(), travail_.size());
  bloc_.Vide();
}

// ---- decoding

DecodageParBlocCompresse::DecodageParBlocCompresse(FluxEntreeMemoire* entree, uint64_t debut)
    : entree_(entree), debut_(debut) {
  if (entree == nullptr) throw exceptions::PointeurInvalide();
  if (debut >= entree->Taille())
    throw exceptions::ErreurDeserialisation(N_("Blocs compressés : en-tête hors des données"));
  entree->Positionne(debut);
  SerialiseurVarElias::Lis(*entree, &tailleBloc_);
  // The encoder takes its block size as an unsigned int: anything larger is damage.
  if (tailleBloc_ > std::numeric_limits<unsigned int>::max()) {
    throw exceptions::ErreurDeserialisation(
        detail::Formate(N_("Blocs compressés : taille de bloc %s"), {std::to_string(tailleBloc_)}));
  }
  if (entree->EstALaFin()) throw exceptions::ErreurDeserialisation(N_("Blocs compressés : en-tête tronqué"));
  type_ = entree->Donne();
}

namespace {

// The last block decoded on this thread, kept with the stored bytes it came from: a block asked
// for again is served without decoding when its stored bytes are the same, compared byte for
// byte (so a changed input, or another input at the same address, is decoded afresh). Entries
// of one block are often read one after another; each costs then a comparison, not a decoding.
struct DernierBloc {
  std::vector<uint8_t> stocke;
  std::vector<uint8_t> decode;
  uint64_t taille = 0;
  bool valide = false;
};

}  // namespace

const uint8_t* DecodageParBlocCompresse::Bloc(const _typPositionEncodageBloc& position,
                                              uint64_t* taille) const {
  if (type_ != SansCompression && type_ != CompressionZlib) TypeInconnu();
  const uint64_t octetsEntree = entree_->Taille();
  TamponMemoire lu = entree_->NouveauTamponEnPretantDonnees();
  const uint8_t* octets = lu.PreteDonneesBrutes();
  if (position.positionBloc >= octetsEntree || debut_ > octetsEntree - position.positionBloc) {
    BlocEndommage(position.positionBloc, N_("hors des données"));
  }
  uint64_t stocke = 0;
  const uint8_t* donnees =
      SerialiseurVarElias::LisDepuis(octets + debut_ + position.positionBloc, octets + octetsEntree, &stocke);
  if (stocke > static_cast<uint64_t>(octets + octetsEntree - donnees)) {
    BlocEndommage(position.positionBloc,
                  detail::Formate(N_("longueur %s au-delà des données"), {std::to_string(stocke)}));
  }
  if (type_ == SansCompression) {
    *taille = stocke;
    return donnees;
  }
  thread_local DernierBloc dernier;
  if (dernier.valide && dernier.stocke.size() == stocke &&
      std::memcmp(dernier.stocke.data(), donnees, stocke) == 0) {
    *taille = dernier.taille;
    return dernier.decode.data();
  }
  dernier.valide = false;
  // Nothing this library writes decodes to more than twice the block size (see the encoder),
  // and deflate expands at most about 1032 to 1: room for the smaller, so that neither a
  // damaged header nor a damaged record can ask for more memory than its bytes could fill.
  const uint64_t capacite = std::min<uint64_t>(2 * tailleBloc_ + 16, stocke * 1032 + 64);
  if (dernier.decode.size() < capacite) dernier.decode.resize(capacite);
  if (!detail::DecompresseZlib(donnees, stocke, dernier.decode.data(), capacite, &dernier.taille)) {
    BlocEndommage(position.positionBloc, N_("flux zlib invalide"));
  }
  dernier.stocke.assign(donnees, donnees + stocke);
  dernier.valide = true;
  *taille = dernier.taille;
  return dernier.decode.data();
}

TamponMemoire DecodageParBlocCompresse::_PlaceTamponSelonPosition(
    const _typPositionEncodageBloc& position) const {
  uint64_t taille = 0;
  const uint8_t* octets = Bloc(position, &taille);
  TamponMemoire bloc(taille + 1);
  bloc.Mets(octets, taille);
  bloc.Positionne(0);
  return bloc;
}

void DecodageParBlocCompresse::DecodeChaine(const _typPositionEncodageBloc& position, ChaineN& chaine,
                                            ChaineN::Codage codage) const {
  uint64_t taille = 0;
  const uint8_t* octets = Bloc(position, &taille);
  if (position.positionDansBloc >= taille) {
    BlocEndommage(position.positionBloc, detail::Formate(N_("entrée au-delà du bloc (%s)"),
                                                         {std::to_string(position.positionDansBloc)}));
  }
  // Read in place: a buffer lending the block's bytes.
  TamponMemoire bloc(reinterpret_cast<char*>(const_cast<uint8_t*>(octets)), static_cast<int64_t>(taille),
                     false);
  bloc.Positionne(position.positionDansBloc);
  try {
    chaine.Lis(bloc, codage);
  } catch (const exceptions::OperationInvalide&) {
    BlocEndommage(position.positionBloc, N_("chaîne sans terminateur"));
  }
}

void DecodageParBlocCompresse::DecodeOctets(const _typPositionEncodageBloc& position, uint64_t n,
                                            const char* destination) const {
  uint64_t taille = 0;
  const uint8_t* octets = Bloc(position, &taille);
  if (position.positionDansBloc > taille || n > taille - position.positionDansBloc) {
    BlocEndommage(position.positionBloc, N_("entrée au-delà du bloc"));
  }
  std::memcpy(const_cast<char*>(destination), octets + position.positionDansBloc, n);
}

}  // namespace sdd
