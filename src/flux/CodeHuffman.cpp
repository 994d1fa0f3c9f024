// The Huffman code: its tables, its serialised form (docs/huffman.md), and the bit-level
// encoding and decoding of characters.
#include <outils_socle/flux/CodeHuffman.h>

#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniChaine.h>

#include "flux/BitsHuffman.h"
#include "flux/DonneesHuffman.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

namespace detail {

std::shared_ptr<const DonneesHuffman> DonneesHuffman::Vide() {
  static const std::shared_ptr<const DonneesHuffman> vide = [] {
    NoeudHuffman echappement;
    echappement.echappement = true;
    return DepuisArbre({echappement}, 0);
  }();
  return vide;
}

std::shared_ptr<const DonneesHuffman> DonneesHuffman::DepuisArbre(std::vector<NoeudHuffman> noeuds,
                                                                  int32_t racine) {
  auto d = std::make_shared<DonneesHuffman>();
  d->noeuds = std::move(noeuds);
  d->racine = racine;
  d->table.resize(size_t{1} << kBitsTable);
  // Depth first, with an explicit stack: (node, code, length).
  struct Pas {
    int32_t noeud;
    uint64_t valeur;
    uint32_t longueur;
  };
  std::vector<Pas> pile{{racine, 0, 0}};
  while (!pile.empty()) {
    const Pas p = pile.back();
    pile.pop_back();
    const NoeudHuffman& n = d->noeuds[static_cast<size_t>(p.noeud)];
    if (n.EstFeuille()) {
      const _Code code{p.valeur, static_cast<uint8_t>(p.longueur)};
      if (n.echappement) {
        d->echappement = code;
      } else {
        auto& page = d->pages[n.car >> 8];
        if (page == nullptr) page = std::make_unique<Page>();
        page->codes[n.car & 0xFF] = code;
        page->presents[n.car & 0xFF] = true;
        ++d->nbCaracteres;
      }
      if (p.longueur <= kBitsTable) {
        const uint64_t debut = p.valeur << (kBitsTable - p.longueur);
        const uint64_t fin = (p.valeur + 1) << (kBitsTable - p.longueur);
        for (uint64_t i = debut; i < fin; ++i) {
          d->table[i] = Entree{n.car, static_cast<uint8_t>(p.longueur),
                               n.echappement ? eEchappement : eCaractere, p.noeud};
        }
      }
      continue;
    }
    if (p.longueur == kBitsTable) d->table[p.valeur] = Entree{0, kBitsTable, eSuite, p.noeud};
    if (p.longueur == kLongueurCodeMax) {
      throw exceptions::OperationInvalide(detail::Formate(N_("Code de Huffman : un code dépasserait %s bits"),
                                                          {std::to_string(kLongueurCodeMax)}));
    }
    if (n.droite >= 0) pile.push_back({n.droite, p.valeur << 1 | 1, p.longueur + 1});
    if (n.gauche >= 0) pile.push_back({n.gauche, p.valeur << 1, p.longueur + 1});
  }
  return d;
}

[[noreturn]] void Tronque() {
  throw exceptions::ErreurDeserialisation(N_("Code de Huffman : données tronquées"));
}

namespace {

[[noreturn]] void CodeInvalide(const std::string& pourquoi) {
  throw exceptions::ErreurDeserialisation(N_("Code de Huffman invalide") " : " + pourquoi);
}

uint8_t OctetOuTronque(FluxEntree& entree) {
  if (entree.EstALaFin()) CodeInvalide(N_("données tronquées"));
  return entree.Donne();
}

// A VarElias number; a stream that ends inside it is a truncated code (a memory stream reports
// the end as a bound fault).
uint64_t NombreOuTronque(FluxEntree& entree) {
  if (entree.EstALaFin()) CodeInvalide(N_("données tronquées"));
  uint64_t n = 0;
  try {
    SerialiseurVarElias::Lis(entree, &n);
  } catch (const exceptions::IndexHorsBorne&) {
    CodeInvalide(N_("données tronquées"));
  }
  return n;
}

}  // namespace

// ---- encoding

void EcrisCode(const DonneesHuffman& d, char16_t c, EcrivainBits& sortie) {
  if (const auto* code = d.Code(c)) {
    sortie.Ajoute(code->valeur, code->longueur);
    return;
  }
  sortie.Ajoute(d.echappement.valeur, d.echappement.longueur);
  sortie.Ajoute(c & 0xFFu, 8);
  sortie.Ajoute(c >> 8, 8);
}

// ---- decoding

bool LisCaractere(const DonneesHuffman& d, LecteurBitsMemoire& l, char16_t* c) {
  using E = DonneesHuffman;
  const uint64_t mot = l.Regarde();
  const E::Entree& e = d.table[mot >> (64 - E::kBitsTable)];
  uint32_t longueur = e.longueur;
  bool echappement = e.genre == E::eEchappement;
  char16_t car = e.car;
  if (e.genre == E::eSuite) {
    // A code longer than the table: on down the tree from where it left off.
    if (l.Restants() < E::kBitsTable) return false;
    int32_t n = e.noeud;
    uint64_t position = l.Position() + E::kBitsTable;
    for (;;) {
      const NoeudHuffman& noeud = d.noeuds[static_cast<size_t>(n)];
      if (noeud.EstFeuille()) {
        car = noeud.car;
        echappement = noeud.echappement;
        break;
      }
      if (position >= l.Fin()) return false;
      n = l.Bit(position++) ? noeud.droite : noeud.gauche;
    }
    longueur = static_cast<uint32_t>(position - l.Position());
  }
  if (l.Restants() < longueur + (echappement ? 16u : 0u)) return false;
  l.Avance(longueur);
  if (echappement) {
    const uint64_t brut = l.Regarde() >> 48;
    car = static_cast<char16_t>((brut >> 8) | (brut & 0xFF) << 8);
    l.Avance(16);
  }
  *c = car;
  return true;
}

// The tree walk, one bit at a time; `bit` gives the next bit or −1 at the end of the data.
template <typename Bit>
bool MarcheArbre(const DonneesHuffman& d, Bit bit, char16_t* c) {
  int32_t n = d.racine;
  for (;;) {
    const NoeudHuffman& noeud = d.noeuds[static_cast<size_t>(n)];
    if (noeud.EstFeuille()) break;
    const int b = bit();
    if (b < 0) return false;
    // A 0 goes left when there is a left child; anything else goes right, if it can.
    const int32_t suivant = b == 0 && noeud.gauche >= 0 ? noeud.gauche : noeud.droite;
    if (suivant < 0) return false;
    n = suivant;
  }
  const NoeudHuffman& feuille = d.noeuds[static_cast<size_t>(n)];
  if (!feuille.echappement) {
    *c = feuille.car;
    return true;
  }
  uint32_t brut = 0;
  for (int i = 0; i < 16; ++i) {
    const int b = bit();
    if (b < 0) return false;
    brut = brut << 1 | static_cast<uint32_t>(b);
  }
  *c = static_cast<char16_t>((brut >> 8) | (brut & 0xFF) << 8);
  return true;
}

// ---- serialised form

uint64_t EcrisDonnees(const DonneesHuffman& d, FluxSortie& sortie) {
  const uint64_t debut = sortie.DonnePosition();
  sortie.Mets(kVersionCodeHuffman);
  SerialiseurVarElias::Ecris(sortie, uint64_t{d.nbCaracteres});
  std::vector<int32_t> pile{d.racine};
  while (!pile.empty()) {
    const NoeudHuffman& n = d.noeuds[static_cast<size_t>(pile.back())];
    pile.pop_back();
    if (!n.EstFeuille()) {
      sortie.Mets(kNoeudInterne);
      pile.push_back(n.droite);
      pile.push_back(n.gauche);
    } else if (n.echappement) {
      sortie.Mets(kFeuilleEchappement);
    } else {
      sortie.Mets(kFeuilleCaractere);
      Serialiseur<char16_t>::Ecris(sortie, n.car);
    }
  }
  return debut;
}

std::shared_ptr<const DonneesHuffman> LisDonnees(FluxEntree& entree) {
  if (OctetOuTronque(entree) != kVersionCodeHuffman) {
    throw exceptions::ErreurDeserialisation(N_("Code de Huffman : version non gérée"));
  }
  const uint64_t nbCaracteres = NombreOuTronque(entree);
  if (nbCaracteres > 65536) CodeInvalide(N_("plus de 65 536 caractères"));
  // Pre-order: each internal node waits for its left, then its right child. A full binary tree
  // with k + 1 leaves has 2k + 1 nodes: more is damage.
  const uint64_t nbNoeudsMax = 2 * nbCaracteres + 1;
  std::vector<NoeudHuffman> noeuds;
  struct Attente {
    int32_t noeud;
    uint32_t profondeur;
  };
  std::vector<Attente> enAttente;  // internal nodes still missing a child
  std::vector<bool> vus(65536, false);
  uint64_t caracteres = 0, echappements = 0;
  do {
    if (noeuds.size() == nbNoeudsMax) CodeInvalide(N_("plus de nœuds que de feuilles n’en demandent"));
    const auto indice = static_cast<int32_t>(noeuds.size());
    const uint32_t profondeur = enAttente.empty() ? 0 : enAttente.back().profondeur + 1;
    NoeudHuffman n;
    const uint8_t genre = OctetOuTronque(entree);
    if (genre == kFeuilleCaractere) {
      uint8_t octets[2];
      if (entree.Donne(2, octets) != 2) CodeInvalide(N_("données tronquées"));
      n.car = static_cast<char16_t>(octets[0] | octets[1] << 8);
      if (vus[n.car]) CodeInvalide(N_("un caractère a deux codes"));
      vus[n.car] = true;
      ++caracteres;
    } else if (genre == kFeuilleEchappement) {
      n.echappement = true;
      ++echappements;
    } else if (genre != kNoeudInterne) {
      CodeInvalide(detail::Formate(N_("nœud de genre %s"), {std::to_string(genre)}));
    }
    noeuds.push_back(n);
    if (!enAttente.empty()) {
      NoeudHuffman& parent = noeuds[static_cast<size_t>(enAttente.back().noeud)];
      if (parent.gauche < 0) {
        parent.gauche = indice;
      } else {
        parent.droite = indice;
        enAttente.pop_back();
      }
    }
    if (genre == kNoeudInterne) {
      // Its children would have codes longer than the longest a code may have.
      if (profondeur >= kLongueurCodeMax) CodeInvalide(N_("arbre trop profond"));
      enAttente.push_back({indice, profondeur});
    }
  } while (!enAttente.empty());
  if (echappements != 1) CodeInvalide(N_("il faut une seule feuille d’échappement"));
  if (caracteres != nbCaracteres) CodeInvalide(N_("le nombre de caractères ne correspond pas à l’arbre"));
  return DonneesHuffman::DepuisArbre(std::move(noeuds), 0);
}

}  // namespace detail

using detail::DonneesHuffman;
using detail::EcrivainBits;
using detail::LecteurBitsFlux;
using detail::LecteurBitsMemoire;
using detail::Tronque;

namespace {

// A stream's bytes in memory, from its position: the fast path of the bulk decoders.
FluxEntreeMemoire* EnMemoire(FluxEntree& entree) { return dynamic_cast<FluxEntreeMemoire*>(&entree); }

void Ecrit16(FluxSortie& sortie, char16_t c) {
  const uint8_t octets[2] = {static_cast<uint8_t>(c & 0xFF), static_cast<uint8_t>(c >> 8)};
  sortie.Mets(octets, 2);
}

bool Lis16(FluxEntree& entree, char16_t* c) {
  uint8_t octets[2];
  if (entree.EstALaFin() || entree.Donne(2, octets) != 2) return false;
  *c = static_cast<char16_t>(octets[0] | octets[1] << 8);
  return true;
}

}  // namespace

template <typename T>
CodeHuffman<T>::CodeHuffman() : donnees_(DonneesHuffman::Vide()) {}
template <typename T>
CodeHuffman<T>::CodeHuffman(const CodeHuffman&) = default;
template <typename T>
CodeHuffman<T>::CodeHuffman(CodeHuffman&& autre) noexcept : donnees_(autre.donnees_) {}
template <typename T>
CodeHuffman<T>& CodeHuffman<T>::operator=(const CodeHuffman&) = default;
template <typename T>
CodeHuffman<T>& CodeHuffman<T>::operator=(CodeHuffman&& autre) noexcept {
  donnees_ = autre.donnees_;  // a moved-from code stays usable
  return *this;
}
template <typename T>
CodeHuffman<T>::~CodeHuffman() = default;

template <typename T>
void CodeHuffman<T>::MetsDonnees(std::shared_ptr<const DonneesHuffman> donnees) {
  donnees_ = std::move(donnees);
}

template <typename T>
uint64_t CodeHuffman<T>::Ecris(FluxSortie& sortie) const {
  return detail::EcrisDonnees(*donnees_, sortie);
}

template <typename T>
void CodeHuffman<T>::Lis(FluxEntree& entree) {
  donnees_ = detail::LisDonnees(entree);
}

template <typename T>
typename CodeHuffman<T>::_Code CodeHuffman<T>::PreteCodePourCar(T c, bool* inconnu) const {
  const _Code* code = donnees_->Code(c);
  if (inconnu != nullptr) *inconnu = code == nullptr;
  return code != nullptr ? *code : donnees_->echappement;
}

template <typename T>
typename CodeHuffman<T>::_Code CodeHuffman<T>::CodeEchappement() const {
  return donnees_->echappement;
}

template <typename T>
uint32_t CodeHuffman<T>::NombreDeCaracteres() const {
  return donnees_->nbCaracteres;
}

template <typename T>
uint32_t CodeHuffman<T>::NbBits(T c) const {
  const _Code* code = donnees_->Code(c);
  return code != nullptr ? code->longueur : donnees_->echappement.longueur + 16u;
}

template <typename T>
void CodeHuffman<T>::EncodeUnCar(T c, unsigned char* octet, unsigned char* decalage,
                                 FluxSortie& sortie) const {
  EcrivainBits e(sortie, *octet, *decalage);
  detail::EcrisCode(*donnees_, c, e);
  e.Rends(octet, decalage);
}

template <typename T>
bool CodeHuffman<T>::EncodeUnCar(T c, unsigned char* octets, size_t taille, size_t* positionBit) const {
  const uint64_t bits = NbBits(c);
  if (*positionBit > taille * 8 || taille * 8 - *positionBit < bits) return false;
  detail::EcrivainBitsTableau e(octets, *positionBit);
  if (const _Code* code = donnees_->Code(c)) {
    e.Ajoute(code->valeur, code->longueur);
  } else {
    e.Ajoute(donnees_->echappement.valeur, donnees_->echappement.longueur);
    e.Ajoute(c & 0xFFu, 8);
    e.Ajoute(c >> 8, 8);
  }
  *positionBit += bits;
  return true;
}

template <typename T>
bool CodeHuffman<T>::DecodeUnCar(FluxEntree& entree, unsigned char* octet, unsigned char* decalage,
                                 T* c) const {
  LecteurBitsFlux l(entree, *octet, *decalage);
  const bool lu = detail::MarcheArbre(
      *donnees_, [&] { return l.Bit(); }, c);
  l.Rends(octet, decalage);
  return lu;
}

template <typename T>
bool CodeHuffman<T>::DecodeUnCar(const unsigned char* octets, size_t taille, size_t* positionBit,
                                 T* c) const {
  if (*positionBit > taille * 8) return false;
  LecteurBitsMemoire l(octets, taille, *positionBit);
  if (!detail::LisCaractere(*donnees_, l, c)) return false;
  *positionBit = l.Position();
  return true;
}

template <typename T>
bool CodeHuffman<T>::DecodeUnCarBitABit(const unsigned char* octets, size_t taille, size_t* positionBit,
                                        T* c) const {
  if (*positionBit > taille * 8) return false;
  size_t position = *positionBit;
  auto bit = [&]() -> int {
    if (position >= taille * 8) return -1;
    const int b = octets[position >> 3] >> (7 - (position & 7)) & 1;
    ++position;
    return b;
  };
  if (!detail::MarcheArbre(*donnees_, bit, c)) return false;
  *positionBit = position;
  return true;
}

template <typename T>
void CodeHuffman<T>::EncodeTouteLaChaineAvecLeDecalage(const ChaineN& chaine, unsigned char* octet,
                                                       unsigned char* decalage, FluxSortie& sortie) const {
  EcrivainBits e(sortie, *octet, *decalage);
  const DonneesHuffman& d = *donnees_;
  for (const char16_t c : chaine) detail::EcrisCode(d, c, e);
  e.Rends(octet, decalage);
}

template <typename T>
void CodeHuffman<T>::EncodeTouteLaChaine(const ChaineN& chaine, FluxSortie& sortie) const {
  unsigned char octet = 0, decalage = 0;
  EncodeTouteLaChaineAvecLeDecalage(chaine, &octet, &decalage, sortie);
  if (decalage != 0) sortie.Mets(octet);
}

template <typename T>
uint64_t CodeHuffman<T>::EncodeTouteLaChaineAvecLongueur(const ChaineN& chaine, FluxSortie& sortie) const {
  const uint64_t debut = SerialiseurVarElias::Ecris(sortie, chaine.Longueur());
  EncodeTouteLaChaine(chaine, sortie);
  return debut;
}

namespace {

// Every character takes at least one bit: a count beyond the bits left is refused before any
// room is made for it.
void VerifiePlace(FluxEntree& entree, uint64_t n, unsigned char decalage) {
  const uint64_t reste =
      entree.Taille() > entree.DonnePosition() ? entree.Taille() - entree.DonnePosition() : 0;
  if (n > reste * 8 + (decalage == 0 ? 0 : 8u - decalage)) Tronque();
}

}  // namespace

template <typename T>
void CodeHuffman<T>::DecodeLeFluxAvecDecalage(FluxEntree& entree, unsigned int n, unsigned char* octet,
                                              unsigned char* decalage, ChaineN& chaine) const {
  VerifiePlace(entree, n, *decalage);
  std::u16string texte(n, u'\0');
  LecteurBitsFlux l(entree, *octet, *decalage);
  for (unsigned int i = 0; i < n; ++i) {
    if (!detail::MarcheArbre(
            *donnees_, [&] { return l.Bit(); }, &texte[i]))
      Tronque();
  }
  l.Rends(octet, decalage);
  chaine.Mets(texte.data(), static_cast<uint64_t>(n));
}

template <typename T>
void CodeHuffman<T>::DecodeLeFlux(FluxEntree& entree, unsigned int n, ChaineN& chaine) const {
  if (n == 0) {
    chaine.Mets(u"", uint64_t{0});
    return;
  }
  VerifiePlace(entree, n, 0);
  if (FluxEntreeMemoire* memoire = EnMemoire(entree)) {
    // In place, through the table, then past the last byte used.
    const uint64_t debut = memoire->DonnePosition();
    const uint64_t taille = memoire->Taille() > debut ? memoire->Taille() - debut : 0;
    LecteurBitsMemoire l(static_cast<const uint8_t*>(memoire->Ptr()), taille, 0);
    std::u16string texte(n, u'\0');
    const DonneesHuffman& d = *donnees_;
    for (unsigned int i = 0; i < n; ++i) {
      if (!detail::LisCaractere(d, l, &texte[i])) Tronque();
    }
    memoire->Positionne(debut + (l.Position() + 7) / 8);
    chaine.Mets(texte.data(), static_cast<uint64_t>(n));
    return;
  }
  unsigned char octet = 0, decalage = 0;
  DecodeLeFluxAvecDecalage(entree, n, &octet, &decalage, chaine);
}

template <typename T>
void CodeHuffman<T>::DecodeLeFluxAvecLongueur(FluxEntree& entree, ChaineN& chaine) const {
  uint64_t n = 0;
  SerialiseurVarElias::Lis(entree, &n);
  if (n > UINT32_MAX) Tronque();
  DecodeLeFlux(entree, static_cast<unsigned int>(n), chaine);
}

template <typename T>
uint64_t CodeHuffman<T>::EncodeUnePartieDuFluxEntree(FluxEntree& entree, unsigned int n, unsigned char* octet,
                                                     unsigned char* decalage, FluxSortie& sortie) const {
  EcrivainBits e(sortie, *octet, *decalage);
  uint64_t faits = 0;
  char16_t c = 0;
  while (faits < n && Lis16(entree, &c)) {
    detail::EcrisCode(*donnees_, c, e);
    ++faits;
  }
  e.Rends(octet, decalage);
  return faits;
}

template <typename T>
uint64_t CodeHuffman<T>::EncodeTousLeFluxEntree(FluxEntree& entree, unsigned int n,
                                                FluxSortie& sortie) const {
  unsigned char octet = 0, decalage = 0;
  const uint64_t faits = EncodeUnePartieDuFluxEntree(entree, n, &octet, &decalage, sortie);
  if (decalage != 0) sortie.Mets(octet);
  return faits;
}

template <typename T>
uint64_t CodeHuffman<T>::DecodeUnePartieDuFluxEntree(FluxEntree& entree, unsigned int n, unsigned char* octet,
                                                     unsigned char* decalage, FluxSortie& sortie) const {
  LecteurBitsFlux l(entree, *octet, *decalage);
  uint64_t faits = 0;
  char16_t c = 0;
  while (faits < n && detail::MarcheArbre(
                          *donnees_, [&] { return l.Bit(); }, &c)) {
    Ecrit16(sortie, c);
    ++faits;
  }
  l.Rends(octet, decalage);
  return faits;
}

template <typename T>
uint64_t CodeHuffman<T>::DecodeLeFluxEntreeEtArrete(FluxEntree& entree, unsigned int n,
                                                    FluxSortie& sortie) const {
  unsigned char octet = 0, decalage = 0;
  const uint64_t faits = DecodeUnePartieDuFluxEntree(entree, n, &octet, &decalage, sortie);
  if (faits < n) Tronque();
  return faits;
}

template class CodeHuffman<char16_t>;

void CodeHuffmanUniChaine::EncodeTouteLaChaine(const UniChaine& chaine, FluxSortie& sortie) const {
  EncodeTouteLaChaine(chaine.DonneChaineN(), sortie);
}

uint64_t CodeHuffmanUniChaine::EncodeTouteLaChaineAvecLongueur(const UniChaine& chaine,
                                                               FluxSortie& sortie) const {
  return EncodeTouteLaChaineAvecLongueur(chaine.DonneChaineN(), sortie);
}

void CodeHuffmanUniChaine::DecodeLeFlux(FluxEntree& entree, unsigned int n, UniChaine& chaine) const {
  ChaineN texte;
  DecodeLeFlux(entree, n, texte);
  chaine = UniChaine(texte);
}

void CodeHuffmanUniChaine::DecodeLeFluxAvecLongueur(FluxEntree& entree, UniChaine& chaine) const {
  ChaineN texte;
  DecodeLeFluxAvecLongueur(entree, texte);
  chaine = UniChaine(texte);
}

}  // namespace sdd
