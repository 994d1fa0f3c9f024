// The number and string encodings; docs/nombres.md describes them byte by byte.
#include <outils_socle/flux/Serialiseur.h>

#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniChaine.h>

#include <cstring>
#include <memory>
#include "langues/Marque.h"
#include "texte/FormeUTF8.h"

namespace sdd {

// ---- SerialiseurVarElias

uint64_t SerialiseurVarElias::NbBitsRequis(const uint64_t& valeur) {
  // Seven comparisons, no loop: the compiler makes them branch-free.
  return 1 + (valeur >= kDebuts[2]) + (valeur >= kDebuts[3]) + (valeur >= kDebuts[4]) +
         (valeur >= kDebuts[5]) + (valeur >= kDebuts[6]) + (valeur >= kDebuts[7]) + (valeur >= kDebuts[8]);
}

uint8_t* SerialiseurVarElias::EcrisVers(uint8_t* p, uint64_t valeur) {
  if (valeur >= kValeurMax) LanceIndexHorsBorne(valeur, 0, kValeurMax);
  const unsigned k = static_cast<unsigned>(NbBitsRequis(valeur));
  // The marker bit sits just above the 7k bits of v − B[k]; the k bytes go out high byte first,
  // as one 8-byte big-endian store of which the first k bytes count.
  const uint64_t code = (valeur - kDebuts[k]) | (uint64_t{1} << (7 * k));
  uint64_t mot = code << (64 - 8 * k);
  if constexpr (std::endian::native == std::endian::little) mot = __builtin_bswap64(mot);
  std::memcpy(p, &mot, 8);
  return p + k;
}

uint64_t SerialiseurVarElias::Ecris(FluxSortie& sortie, const uint64_t& valeur) {
  const uint64_t debut = sortie.DonnePosition();
  uint8_t octets[8];
  const uint8_t* fin = EcrisVers(octets, valeur);
  sortie.Mets(octets, static_cast<uint64_t>(fin - octets));
  return debut;
}

void SerialiseurVarElias::Lis(FluxEntree& entree, uint64_t* valeur) {
  const uint8_t premier = entree.Donne();
  if (premier == 0) throw exceptions::ErreurDeserialisation(N_("VarElias : valeur 0"));
  const unsigned k = static_cast<unsigned>(std::countl_zero(premier)) + 1;
  uint64_t r = premier & (0xFFu >> k);
  for (unsigned i = 1; i < k; ++i) r = (r << 8) | entree.Donne();
  *valeur = r + kDebuts[k];
}

void SerialiseurVarElias::Lis(FluxEntree& entree, unsigned int* valeur) {
  uint64_t v = 0;
  Lis(entree, &v);
  *valeur = static_cast<unsigned int>(v);
}

void SerialiseurVarElias::Lis(FluxEntree& entree, unsigned short* valeur) {
  uint64_t v = 0;
  Lis(entree, &v);
  *valeur = static_cast<unsigned short>(v);
}

const uint8_t* SerialiseurVarElias::LisDepuisLent(const uint8_t* p, const uint8_t* fin, uint64_t* valeur) {
  if (p >= fin) throw exceptions::ErreurDeserialisation(N_("VarElias : valeur tronquée"));
  if (*p == 0) throw exceptions::ErreurDeserialisation(N_("VarElias : valeur 0"));
  const unsigned k = static_cast<unsigned>(std::countl_zero(*p)) + 1;
  if (static_cast<uint64_t>(fin - p) < k)
    throw exceptions::ErreurDeserialisation(N_("VarElias : valeur tronquée"));
  uint64_t r = *p & (0xFFu >> k);
  for (unsigned i = 1; i < k; ++i) r = (r << 8) | p[i];
  *valeur = r + kDebuts[k];
  return p + k;
}

// ---- Strings

namespace {

uint64_t EcrisOctets(FluxSortie& sortie, const char* octets, uint64_t n) {
  const uint64_t debut = SerialiseurVarElias::Ecris(sortie, n);
  sortie.Mets(reinterpret_cast<const uint8_t*>(octets), n);
  return debut;
}

// Reads a length and refuses one larger than what the stream still holds: a corrupt length must
// not become a huge allocation.
uint64_t LisLongueur(FluxEntree& entree) {
  uint64_t n = 0;
  SerialiseurVarElias::Lis(entree, &n);
  const uint64_t position = entree.DonnePosition(), taille = entree.Taille();
  if (position > taille || n > taille - position)
    throw exceptions::ErreurDeserialisation(N_("Chaîne plus longue que le flux") " : " + std::to_string(n) +
                                            " octets");
  return n;
}

}  // namespace

uint64_t Serialiseur<char*>::Ecris(FluxSortie& sortie, char* const& valeur) {
  return EcrisOctets(sortie, valeur, std::strlen(valeur));
}

void Serialiseur<char*>::Lis(FluxEntree& entree, char** valeur) {
  const uint64_t n = LisLongueur(entree);
  char* octets = new char[n + 1];
  entree.Donne(n, reinterpret_cast<uint8_t*>(octets));
  octets[n] = 0;
  *valeur = octets;
}

uint64_t Serialiseur<const char*>::Ecris(FluxSortie& sortie, const char* const& valeur) {
  return EcrisOctets(sortie, valeur, std::strlen(valeur));
}

void Serialiseur<const char*>::Lis(FluxEntree& entree, const char** valeur) {
  const uint64_t n = LisLongueur(entree);
  char* octets = new char[n + 1];  // the last byte stays as allocated: no terminator
  entree.Donne(n, reinterpret_cast<uint8_t*>(octets));
  *valeur = octets;
}

uint64_t Serialiseur<std::string>::Ecris(FluxSortie& sortie, const std::string& valeur) {
  return EcrisOctets(sortie, valeur.data(), valeur.size());
}

void Serialiseur<std::string>::Lis(FluxEntree& entree, std::string* valeur) {
  const uint64_t n = LisLongueur(entree);
  valeur->resize(n);
  entree.Donne(n, reinterpret_cast<uint8_t*>(valeur->data()));
}

uint64_t Serialiseur<UniChaine>::Ecris(FluxSortie& sortie, const UniChaine& valeur) {
  detail::RefuseSansFormeUTF8(valeur);
  int n = 0;
  const char* utf8 = valeur.PreteCString(UniChaine::kCodageUTF8, &n);
  return EcrisOctets(sortie, utf8, static_cast<uint64_t>(n));
}

void Serialiseur<UniChaine>::Lis(FluxEntree& entree, UniChaine* valeur) {
  std::string utf8;
  Serialiseur<std::string>::Lis(entree, &utf8);
  *valeur = UniChaine(utf8);
}

uint64_t Serialiseur<UniChemin>::Ecris(FluxSortie& sortie, const UniChemin& valeur) {
  return Serialiseur<UniChaine>::Ecris(sortie, valeur);
}

void Serialiseur<UniChemin>::Lis(FluxEntree& entree, UniChemin* valeur) {
  UniChaine texte;
  Serialiseur<UniChaine>::Lis(entree, &texte);
  *valeur = UniChemin(texte);
}

// ---- Three, five and n bytes

namespace {

uint64_t EcrisPetitBoutiste(FluxSortie& sortie, uint64_t valeur, unsigned n) {
  const uint64_t debut = sortie.DonnePosition();
  uint8_t octets[8];
  for (unsigned i = 0; i < n; ++i) octets[i] = static_cast<uint8_t>(valeur >> (8 * i));
  sortie.Mets(octets, n);
  return debut;
}

// Reads n bytes with Donne(), without an end test, least significant first.
template <typename Accumulateur>
Accumulateur LisPetitBoutiste(FluxEntree& entree, unsigned n) {
  if (n > sizeof(Accumulateur)) LanceIndexHorsBorne(n, 0, sizeof(Accumulateur) + 1);
  Accumulateur valeur = 0;
  for (unsigned i = 0; i < n; ++i)
    valeur += static_cast<Accumulateur>(static_cast<Accumulateur>(entree.Donne()) << (8 * i));
  return valeur;
}

}  // namespace

uint64_t SerialiseurTroisOctets::Ecris(FluxSortie& sortie, const unsigned int& valeur) {
  return EcrisPetitBoutiste(sortie, valeur, 3);
}

void SerialiseurTroisOctets::Lis(FluxEntree& entree, unsigned int* valeur) {
  uint8_t octets[3] = {static_cast<uint8_t>(*valeur), static_cast<uint8_t>(*valeur >> 8),
                       static_cast<uint8_t>(*valeur >> 16)};
  entree.Donne(3, octets);
  *valeur = octets[0] | (octets[1] << 8) | (static_cast<unsigned>(octets[2]) << 16);
}

uint64_t SerialiseurCinqOctets::Ecris(FluxSortie& sortie, const uint64_t& valeur) {
  return EcrisPetitBoutiste(sortie, valeur, 5);
}

void SerialiseurCinqOctets::Lis(FluxEntree& entree, uint64_t* valeur) {
  uint8_t octets[5];
  for (unsigned i = 0; i < 5; ++i) octets[i] = static_cast<uint8_t>(*valeur >> (8 * i));
  entree.Donne(5, octets);
  uint64_t v = 0;
  for (unsigned i = 0; i < 5; ++i) v |= static_cast<uint64_t>(octets[i]) << (8 * i);
  *valeur = v;
}

uint64_t SerialiseNombreSurNbOctets::Ecris(FluxSortie& sortie, uint64_t valeur, unsigned char nbOctets) {
  if (nbOctets > 8) LanceIndexHorsBorne(nbOctets, 0, 9);
  return EcrisPetitBoutiste(sortie, valeur, nbOctets);
}

void SerialiseNombreSurNbOctets::Lis(FluxEntree& entree, unsigned char* valeur, unsigned char nbOctets) {
  *valeur = static_cast<unsigned char>(LisPetitBoutiste<uint32_t>(entree, nbOctets));
}
void SerialiseNombreSurNbOctets::Lis(FluxEntree& entree, unsigned int* valeur, unsigned char nbOctets) {
  *valeur = LisPetitBoutiste<uint32_t>(entree, nbOctets);
}
void SerialiseNombreSurNbOctets::Lis(FluxEntree& entree, uint64_t* valeur, unsigned char nbOctets) {
  *valeur = LisPetitBoutiste<uint64_t>(entree, nbOctets);
}
void SerialiseNombreSurNbOctets::Lis(FluxEntree& entree, char16_t* valeur, unsigned char nbOctets) {
  *valeur = static_cast<char16_t>(LisPetitBoutiste<uint32_t>(entree, nbOctets));
}

}  // namespace sdd
