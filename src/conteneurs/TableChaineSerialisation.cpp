// The string table's serialised form (see FormatTableChaine.h and docs/table_chaine.md).
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <outils_socle/conteneurs/TableChaineNoyau.h>
#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/Exception.h>

#include "conteneurs/FormatTableChaine.h"
#include "conteneurs/IndexClefs.h"
#include "conteneurs/PointsDeCode.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

namespace {

[[noreturn]] void Invalide(const std::string& pourquoi) {
  throw exceptions::TableNonValide(UniChaine(pourquoi.c_str()));
}

[[noreturn]] void Boucle() { Invalide(N_("Boucle dans la structure de chaines")); }

void EcrisPosition(FluxSortie& sortie, uint64_t position, uint16_t version) {
  if (version == TableChaineNoyau::kVersionTableTrie100) {
    SerialiseNombreSurNbOctets::Ecris(sortie, position, 8);
  } else {
    SerialiseurVarElias::Ecris(sortie, position);
  }
}

}  // namespace

uint64_t Serialiseur<TableChaineNoyau>::Ecris(FluxSortie& sortie, const TableChaineNoyau& table,
                                              uint16_t version) {
  using Noeud = TableChaineNoyau::Noeud;
  if (version != TableChaineNoyau::kVersionTableTrie && version != TableChaineNoyau::kVersionTableTrie100) {
    throw exceptions::OperationInvalide(N_("Version de table de chaînes inconnue") " : " +
                                        std::to_string(version));
  }
  if (table.Taille() > UINT32_MAX) throw exceptions::OperationInvalide(N_("Plus de 2^32 − 1 clefs"));
  // The block, each node after its child's and its sibling's subtrees (post-order of the tree
  // seen as binary: child left, sibling right), without recursion.
  TamponMemoire bloc(256);
  struct Pas {
    const Noeud* n;
    int etape;  // 0: child next, 1: sibling next, 2: the node itself
  };
  std::vector<Pas> a{{table.racine_, 0}};
  std::vector<uint64_t> positions;  // of the subtrees just written, as a stack
  while (!a.empty()) {
    Pas& p = a.back();
    const Noeud* n = p.n;
    if (p.etape == 0) {
      p.etape = 1;
      if (n->enfant_ != nullptr) a.push_back({n->enfant_, 0});
      continue;
    }
    if (p.etape == 1) {
      p.etape = 2;
      if (n->suivant_ != nullptr) a.push_back({n->suivant_, 0});
      continue;
    }
    a.pop_back();
    const uint64_t suivant = n->suivant_ != nullptr ? positions.back() : 0;
    if (n->suivant_ != nullptr) positions.pop_back();
    const uint64_t enfant = n->enfant_ != nullptr ? positions.back() : 0;
    if (n->enfant_ != nullptr) positions.pop_back();
    // What a fragment record cannot carry is refused while the block is still in memory, before
    // a byte reaches the stream: a lone surrogate has no UTF-8 form (and ChaineN::Ecris refuses a
    // U+0000, which would end the fragment early).
    if (detail::ASubstitutIsole(n->cars_.DonneUnites(), n->cars_.Longueur())) {
      throw exceptions::OperationInvalide(
          N_("Une clef contient un demi-caractère UTF-16 isolé : elle ne s’écrit pas en UTF-8"));
    }
    positions.push_back(bloc.DonnePosition());
    n->cars_.Ecris(bloc, ChaineN::kCodageUTF8);
    const uint8_t drapeaux = static_cast<uint8_t>((n->EstClef() ? detail::kDrapeauFinDeClef : 0) |
                                                  (n->enfant_ != nullptr ? detail::kDrapeauEnfant : 0) |
                                                  (n->suivant_ != nullptr ? detail::kDrapeauSuivant : 0));
    bloc.Mets(drapeaux);
    if (n->enfant_ != nullptr) EcrisPosition(bloc, enfant, version);
    if (n->suivant_ != nullptr) EcrisPosition(bloc, suivant, version);
    if (n->EstClef()) n->EcrisCharge(bloc);
  }
  const uint64_t debut = sortie.DonnePosition();
  Serialiseur<unsigned short>::Ecris(sortie, version);
  Serialiseur<unsigned int>::Ecris(sortie, static_cast<unsigned int>(table.Taille()));
  SerialiseurVarElias::Ecris(sortie, positions.back());
  SerialiseurVarElias::Ecris(sortie, bloc.DonnePosition());
  sortie.Mets(bloc.PreteDonneesBrutes(), bloc.DonnePosition());
  return debut;
}

namespace {

uint64_t LisVarElias(FluxEntree& entree) {
  if (entree.EstALaFin()) Invalide(N_("Table de chaînes tronquée"));
  uint64_t v = 0;
  try {
    SerialiseurVarElias::Lis(entree, &v);
  } catch (const exceptions::IndexHorsBorne&) {
    Invalide(N_("Table de chaînes tronquée"));
  }
  return v;
}

}  // namespace

void Serialiseur<TableChaineNoyau>::Lis(FluxEntree& entree, TableChaineNoyau* table) {
  using Noeud = TableChaineNoyau::Noeud;
  if (table == nullptr) throw exceptions::PointeurInvalide();
  uint8_t entete[detail::kTailleEnteteFixe];
  if (entree.Donne(sizeof(entete), entete) != sizeof(entete)) Invalide(N_("Table de chaînes tronquée"));
  const unsigned version = entete[0] | entete[1] << 8u;
  if (version != TableChaineNoyau::kVersionTableTrie && version != TableChaineNoyau::kVersionTableTrie100) {
    Invalide(N_("Version non gérée"));
  }
  const bool elias = version == TableChaineNoyau::kVersionTableTrie;
  const uint64_t nombre = entete[2] | entete[3] << 8u | entete[4] << 16u | uint64_t{entete[5]} << 24u;
  const uint64_t racine = LisVarElias(entree);
  const uint64_t taille = LisVarElias(entree);
  const uint64_t reste =
      entree.Taille() > entree.DonnePosition() ? entree.Taille() - entree.DonnePosition() : 0;
  if (taille > reste) Invalide(N_("Table de chaînes tronquée : le bloc des nœuds dépasse les données"));
  if (racine >= taille) Invalide(N_("Table de chaînes : racine hors du bloc"));
  std::vector<uint8_t> octets(taille);
  if (entree.Donne(taille, octets.data()) != taille) Invalide(N_("Table de chaînes tronquée"));
  TamponMemoire bloc(reinterpret_cast<char*>(octets.data()), static_cast<int64_t>(taille), false);

  // Records from the root down, without recursion. Every position a record names lies before
  // it (the writer puts each record after its child's and sibling's), which rules out loops,
  // and no record is read twice, which rules out shared subtrees (a table is a tree).
  std::unique_ptr<Noeud> nouvelle(table->racine_->Cree(ChaineN()));
  std::vector<bool> lus(taille, false);
  struct Pas {
    uint64_t position;
    Noeud* noeud;       // the node to fill
    uint64_t referent;  // the position of the record that names it
    char32_t apres;     // a sibling's first code point must come after this one
    bool racine;
  };
  std::vector<Pas> a{{racine, nouvelle.get(), taille, 0, true}};
  uint64_t clefs = 0;
  while (!a.empty()) {
    const Pas p = a.back();
    a.pop_back();
    if (p.position >= p.referent) Boucle();
    if (lus[p.position]) Boucle();
    lus[p.position] = true;
    bloc.Positionne(p.position);
    Noeud* n = p.noeud;
    try {
      n->cars_.Lis(bloc, ChaineN::kCodageUTF8);
    } catch (const exceptions::OperationInvalide&) {
      Invalide(detail::Formate(N_("Table de chaînes : fragment sans fin à la position %s"),
                               {std::to_string(p.position)}));
    }
    n->Actualise();
    if (n->cars_.Longueur() > TableChaineNoyau::kLongueurMaxClef)
      Invalide(N_("Table de chaînes : fragment trop long"));
    if (p.racine != n->cars_.EstVide())
      Invalide(N_("Table de chaînes : fragment vide ailleurs qu’à la racine, ou racine non vide"));
    if (!p.racine && n->premier_ <= p.apres) Invalide(N_("Table de chaînes : enfants dans le désordre"));
    if (bloc.EstALaFin()) Invalide(N_("Table de chaînes tronquée"));
    const uint8_t drapeaux = bloc.Donne();
    if ((drapeaux & ~detail::kDrapeauxConnus) != 0) Invalide(N_("Table de chaînes : drapeaux inconnus"));
    if (p.racine && (drapeaux & detail::kDrapeauSuivant))
      Invalide(N_("Table de chaînes : la racine a une suivante"));
    auto position = [&]() -> uint64_t {
      if (elias) return LisVarElias(bloc);
      if (taille - bloc.DonnePosition() < 8) Invalide(N_("Table de chaînes tronquée"));
      uint64_t v = 0;
      SerialiseNombreSurNbOctets::Lis(bloc, &v, 8);
      return v;
    };
    const uint64_t enfant = (drapeaux & detail::kDrapeauEnfant) ? position() : 0;
    const uint64_t suivant = (drapeaux & detail::kDrapeauSuivant) ? position() : 0;
    if (drapeaux & detail::kDrapeauFinDeClef) {
      n->drapeaux_ = Noeud::kFinDeClef;
      n->LisCharge(bloc);
      if (++clefs > nombre) Invalide(N_("Table de chaînes : plus de clefs que l’en-tête n’en annonce"));
    }
    if (drapeaux & detail::kDrapeauSuivant) {
      n->suivant_ = n->Cree(ChaineN());
      a.push_back({suivant, n->suivant_, p.position, n->premier_, false});
    }
    if (drapeaux & detail::kDrapeauEnfant) {
      n->enfant_ = n->Cree(ChaineN());
      a.push_back({enfant, n->enfant_, p.position, 0, false});
    }
  }
  if (clefs != nombre) Invalide(N_("Table de chaînes : moins de clefs que l’en-tête n’en annonce"));
  nouvelle->ActualiseIndexes();
  // A table read back is usually read from then on: its lookup index, as Compacte lays it out
  // (its nodes, allocated in the order of the records, are in tree order already).
  auto index = std::make_unique<detail::IndexClefs>(nouvelle.get());
  table->MetsArbre(nouvelle.release(), nombre);
  table->indexClefs_ = std::move(index);
}

}  // namespace sdd
