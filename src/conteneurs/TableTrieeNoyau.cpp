// The red-black tree behind every sorted set of the library, after the classic presentation
// (Guibas and Sedgewick, 1978; the case analysis of deletion as in Cormen et al., split into the
// six cases named below). The serialised form is described in docs/table_triee.md.
#include <outils_socle/conteneurs/TableTrieeNoyau.h>

#include <outils_socle/flux/Flux.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/Exception.h>

#include <iostream>
#include <memory>
#include <utility>
#include "langues/Marque.h"

namespace sdd {

using Noeud = TableTrieeNoyau::NoeudRNNoyau;

// ---- Nodes

Noeud::~NoeudRNNoyau() {
  delete gauche_;
  delete droite_;
}

Noeud* Noeud::GrandParent() const {
  const Noeud* p = Parent();
  return p ? p->Parent() : nullptr;
}

Noeud* Noeud::Sibling() const {
  const Noeud* p = Parent();
  if (p == nullptr) return nullptr;
  return p->gauche_ == this ? p->droite_ : p->gauche_;
}

Noeud* Noeud::Oncle() const {
  const Noeud* p = Parent();
  return p ? p->Sibling() : nullptr;
}

bool Noeud::EstEnfantGauche() const {
  const Noeud* p = Parent();
  return p != nullptr && p->gauche_ == this;
}

bool Noeud::EstEnfantDroite() const {
  const Noeud* p = Parent();
  return p != nullptr && p->droite_ == this;
}

Noeud* Noeud::DescendantPlusProfondGauche() {
  Noeud* n = this;
  while (n->gauche_ != nullptr) n = n->gauche_;
  return n;
}

int64_t Noeud::NbEnfants() const {
  if (Parent() == this) return -300;  // a corrupted tree, shown as a negative count
  int64_t n = 0;
  for (const Noeud* enfant : {gauche_, droite_}) {
    if (enfant == nullptr) continue;
    const int64_t sous = enfant->NbEnfants();
    if (sous < 0) return sous;
    n += sous + 1;
  }
  return n;
}

Noeud* Noeud::Clone(Noeud* parent) const {
  Noeud* copie = Copie(parent);
  copie->parent_ = reinterpret_cast<uintptr_t>(parent) | (parent_ & 1);
  copie->gauche_ = copie->droite_ = nullptr;
  try {
    if (gauche_) copie->gauche_ = gauche_->Clone(copie);
    if (droite_) copie->droite_ = droite_->Clone(copie);
  } catch (...) {
    delete copie;
    throw;
  }
  return copie;
}

bool Noeud::EstValide(int* hauteurNoire) const {
  if (EstRouge() && (NoeudRNEstRouge(gauche_) || NoeudRNEstRouge(droite_))) {
    std::cerr << "Les enfants d'un noeud rouge (" << static_cast<const void*>(this)
              << ") ne sont pas noirs\n";
    return false;
  }
  int gauche = 1, droite = 1;  // a missing child is a black leaf
  if (gauche_ && !gauche_->EstValide(&gauche)) return false;
  if (droite_ && !droite_->EstValide(&droite)) return false;
  if (gauche != droite) {
    std::cerr << "Le nombre de noeuds noirs à gauche (" << gauche << ") et à droite (" << droite
              << ") est différents (" << static_cast<const void*>(this) << ")\n";
    return false;
  }
  *hauteurNoire = gauche + (EstNoir() ? 1 : 0);
  return true;
}

// ---- Table

TableTrieeNoyau::TableTrieeNoyau(const TableTrieeNoyau& autre)
    : racine_(autre.racine_ ? autre.racine_->Clone(nullptr) : nullptr), nombre_(autre.nombre_) {}

TableTrieeNoyau::TableTrieeNoyau(TableTrieeNoyau&& autre) noexcept
    : racine_(std::exchange(autre.racine_, nullptr)), nombre_(std::exchange(autre.nombre_, 0)) {}

TableTrieeNoyau& TableTrieeNoyau::operator=(const TableTrieeNoyau& autre) {
  if (this != &autre) {
    Noeud* copie = autre.racine_ ? autre.racine_->Clone(nullptr) : nullptr;
    delete racine_;
    racine_ = copie;
    nombre_ = autre.nombre_;
  }
  return *this;
}

TableTrieeNoyau& TableTrieeNoyau::operator=(TableTrieeNoyau&& autre) noexcept {
  if (this != &autre) {
    delete racine_;
    racine_ = std::exchange(autre.racine_, nullptr);
    nombre_ = std::exchange(autre.nombre_, 0);
  }
  return *this;
}

TableTrieeNoyau::~TableTrieeNoyau() { delete racine_; }

int64_t TableTrieeNoyau::NbEnfants() const {
  if (racine_ == nullptr) return 0;
  const int64_t n = racine_->NbEnfants();
  return n < 0 ? n : n + 1;
}

void TableTrieeNoyau::Vide() {
  delete racine_;
  racine_ = nullptr;
  nombre_ = 0;
}

bool TableTrieeNoyau::EstArbreValide() const {
  if (racine_ == nullptr) return true;
  if (racine_->EstRouge()) {
    std::cerr << "la racine n'est pas noire\n";
    return false;
  }
  int hauteur = 0;
  return racine_->EstValide(&hauteur);
}

// ---- Search and insertion

Noeud* TableTrieeNoyau::_TrouveEmplacement(const ProxyClefNoyau& clef, Noeud** parent, bool* aGauche) const {
  Noeud* n = racine_;
  *parent = nullptr;
  *aGauche = false;
  while (n != nullptr) {
    if (EstEgal(clef, n)) return n;
    *parent = n;
    *aGauche = VaAGauche(clef, n);
    n = *aGauche ? n->gauche_ : n->droite_;
  }
  return nullptr;
}

Noeud* TableTrieeNoyau::_Possede(const ProxyClefNoyau& clef) const {
  Noeud* parent;
  bool aGauche;
  return _TrouveEmplacement(clef, &parent, &aGauche);
}

Noeud* TableTrieeNoyau::_Insere(const ProxyClefNoyau& clef, bool* present) {
  return _TrouveEmplacementEtInsere(clef, present);
}

Noeud* TableTrieeNoyau::_TrouveEmplacementEtInsere(const ProxyClefNoyau& clef, bool* present) {
  Noeud* parent;
  bool aGauche;
  if (Noeud* existant = _TrouveEmplacement(clef, &parent, &aGauche)) {
    if (present) *present = true;  // the first payload stays
    return existant;
  }
  if (present) *present = false;
  Noeud* nouveau = NouveauNoeud(clef);
  _Accroche(nouveau, parent, aGauche);
  return nouveau;
}

void TableTrieeNoyau::_Accroche(Noeud* nouveau, Noeud* parent, bool aGauche) {
  nouveau->parent_ = reinterpret_cast<uintptr_t>(parent);  // red
  nouveau->gauche_ = nouveau->droite_ = nullptr;
  if (parent == nullptr)
    racine_ = nouveau;
  else
    (aGauche ? parent->gauche_ : parent->droite_) = nouveau;
  ++nombre_;
  Balance(nouveau);
}

void TableTrieeNoyau::Balance(Noeud* n) {
  for (;;) {
    Noeud* p = n->Parent();
    if (p == nullptr) {
      n->MetsEstNoir();
      return;
    }
    if (p->EstNoir()) return;
    Noeud* g = p->Parent();  // a red parent is never the root
    Noeud* oncle = p == g->gauche_ ? g->droite_ : g->gauche_;
    if (NoeudRNEstRouge(oncle)) {
      p->MetsEstNoir();
      oncle->MetsEstNoir();
      g->MetsEstRouge();
      n = g;
      continue;
    }
    // The inner grandchild is first turned outside.
    if (n == p->droite_ && p == g->gauche_) {
      RotationGauche(p);
      n = n->gauche_;
    } else if (n == p->gauche_ && p == g->droite_) {
      RotationDroite(p);
      n = n->droite_;
    }
    p = n->Parent();
    g = p->Parent();
    p->MetsEstNoir();
    g->MetsEstRouge();
    if (n == p->gauche_)
      RotationDroite(g);
    else
      RotationGauche(g);
    return;
  }
}

void TableTrieeNoyau::Remplace(Noeud* ancien, Noeud* nouveau) {
  Noeud* p = ancien->Parent();
  if (p == nullptr)
    racine_ = nouveau;
  else if (p->gauche_ == ancien)
    p->gauche_ = nouveau;
  else
    p->droite_ = nouveau;
  if (nouveau) nouveau->MetsParent(p);
}

void TableTrieeNoyau::RotationGauche(Noeud* n) {
  Noeud* d = n->droite_;
  Remplace(n, d);
  n->droite_ = d->gauche_;
  if (d->gauche_) d->gauche_->MetsParent(n);
  d->gauche_ = n;
  n->MetsParent(d);
}

void TableTrieeNoyau::RotationDroite(Noeud* n) {
  Noeud* g = n->gauche_;
  Remplace(n, g);
  n->gauche_ = g->droite_;
  if (g->droite_) g->droite_->MetsParent(n);
  g->droite_ = n;
  n->MetsParent(g);
}

// ---- Deletion

void TableTrieeNoyau::_Supprime(const ProxyClefNoyau& clef) {
  bool present;
  _TrouveEmplacementEtSupprime(clef, &present);
}

void TableTrieeNoyau::_TrouveEmplacementEtSupprime(const ProxyClefNoyau& clef, bool* present) {
  Noeud* n = _Possede(clef);
  if (present) *present = n != nullptr;
  if (n) _SupprimeNoeud(n);
}

void TableTrieeNoyau::_SupprimeNoeud(Noeud* n) {
  --nombre_;
  if (n->gauche_ && n->droite_) {
    // The in-order predecessor gives its payload and is removed in the node's stead.
    Noeud* predecesseur = n->gauche_;
    while (predecesseur->droite_) predecesseur = predecesseur->droite_;
    n->CopieDonnees(*predecesseur);
    n = predecesseur;
  }
  Noeud* enfant = n->gauche_ ? n->gauche_ : n->droite_;
  if (n->EstNoir()) {
    if (NoeudRNEstRouge(enfant))
      enfant->MetsEstNoir();
    else
      SupprimeCas1(enfant ? enfant : n);  // without a child, the node stands for the black leaf
  }
  Remplace(n, enfant);
  n->gauche_ = n->droite_ = nullptr;
  delete n;
}

void TableTrieeNoyau::SupprimeCas1(Noeud* n) {
  if (n->Parent() != nullptr) SupprimeCas2(n);
}

void TableTrieeNoyau::SupprimeCas2(Noeud* n) {
  Noeud* s = n->Sibling();
  if (NoeudRNEstRouge(s)) {
    n->Parent()->MetsEstRouge();
    s->MetsEstNoir();
    if (n->EstEnfantGauche())
      RotationGauche(n->Parent());
    else
      RotationDroite(n->Parent());
  }
  SupprimeCas3(n);
}

void TableTrieeNoyau::SupprimeCas3(Noeud* n) {
  Noeud* s = n->Sibling();
  if (n->Parent()->EstNoir() && NoeudRNEstNoir(s) && s && NoeudRNEstNoir(s->gauche_) &&
      NoeudRNEstNoir(s->droite_)) {
    s->MetsEstRouge();
    SupprimeCas1(n->Parent());
  } else {
    SupprimeCas4(n);
  }
}

void TableTrieeNoyau::SupprimeCas4(Noeud* n) {
  Noeud* s = n->Sibling();
  if (n->Parent()->EstRouge() && NoeudRNEstNoir(s) && s && NoeudRNEstNoir(s->gauche_) &&
      NoeudRNEstNoir(s->droite_)) {
    s->MetsEstRouge();
    n->Parent()->MetsEstNoir();
  } else {
    SupprimeCas5(n);
  }
}

void TableTrieeNoyau::SupprimeCas5(Noeud* n) {
  Noeud* s = n->Sibling();
  if (NoeudRNEstNoir(s) && s) {
    if (n->EstEnfantGauche() && NoeudRNEstNoir(s->droite_) && NoeudRNEstRouge(s->gauche_)) {
      s->MetsEstRouge();
      s->gauche_->MetsEstNoir();
      RotationDroite(s);
    } else if (n->EstEnfantDroite() && NoeudRNEstNoir(s->gauche_) && NoeudRNEstRouge(s->droite_)) {
      s->MetsEstRouge();
      s->droite_->MetsEstNoir();
      RotationGauche(s);
    }
  }
  SupprimeCas6(n);
}

void TableTrieeNoyau::SupprimeCas6(Noeud* n) {
  Noeud* s = n->Sibling();
  Noeud* p = n->Parent();
  if (p->EstNoir())
    s->MetsEstNoir();
  else
    s->MetsEstRouge();
  p->MetsEstNoir();
  if (n->EstEnfantGauche()) {
    s->droite_->MetsEstNoir();
    RotationGauche(p);
  } else {
    s->gauche_->MetsEstNoir();
    RotationDroite(p);
  }
}

// ---- Iteration

TableTrieeNoyau::__Iterateur::__Iterateur(const TableTrieeNoyau& table, bool aLaFin)
    : table_(&table), courant_(nullptr), commence_(aLaFin) {}

bool TableTrieeNoyau::__Iterateur::Prochain() {
  if (!commence_) {
    commence_ = true;
    courant_ = table_->racine_ ? table_->racine_->DescendantPlusProfondGauche() : nullptr;
    return courant_ != nullptr;
  }
  if (courant_ == nullptr) return false;
  if (courant_->Droite()) {
    courant_ = courant_->Droite()->DescendantPlusProfondGauche();
    return true;
  }
  while (courant_->EstEnfantDroite()) courant_ = courant_->Parent();
  courant_ = courant_->Parent();  // null past the root: the end
  return courant_ != nullptr;
}

// ---- Serialised form

SerialiseurNoeudRN::~SerialiseurNoeudRN() = default;

namespace {

constexpr uint8_t kNoir = 1, kGaucheSuit = 2, kDroiteSuit = 4;
// No red-black tree of at most 2^64 nodes is deeper than this.
constexpr unsigned kProfondeurMax = 130;

// The red-black rules, checked silently on a loaded tree.
bool EstRougeNoir(const Noeud* n, int* hauteur) {
  if (n == nullptr) {
    *hauteur = 1;
    return true;
  }
  if (n->EstRouge() &&
      (TableTrieeNoyau::NoeudRNEstRouge(n->Gauche()) || TableTrieeNoyau::NoeudRNEstRouge(n->Droite())))
    return false;
  int g, d;
  if (!EstRougeNoir(n->Gauche(), &g) || !EstRougeNoir(n->Droite(), &d) || g != d) return false;
  *hauteur = g + (n->EstNoir() ? 1 : 0);
  return true;
}

}  // namespace

uint64_t Serialiseur<TableTrieeNoyau>::Ecris(FluxSortie& sortie, const TableTrieeNoyau& table,
                                             SerialiseurNoeudRN& serialiseur) {
  const uint64_t debut = Serialiseur<unsigned short>::Ecris(sortie, kVersion);
  SerialiseurVarElias::Ecris(sortie, table.nombre_);
  if (table.nombre_ != 0 && table.racine_) SerialiseDansTampon(table.racine_, sortie, serialiseur);
  return debut;
}

void Serialiseur<TableTrieeNoyau>::SerialiseDansTampon(const Noeud* noeud, FluxSortie& sortie,
                                                       SerialiseurNoeudRN& serialiseur) {
  const uint8_t drapeaux = (noeud->EstNoir() ? kNoir : 0) | (noeud->Gauche() ? kGaucheSuit : 0) |
                           (noeud->Droite() ? kDroiteSuit : 0);
  sortie.Mets(drapeaux);
  if (noeud->Gauche()) SerialiseDansTampon(noeud->Gauche(), sortie, serialiseur);
  if (noeud->Droite()) SerialiseDansTampon(noeud->Droite(), sortie, serialiseur);
  serialiseur.Ecris(sortie, *noeud);
}

void Serialiseur<TableTrieeNoyau>::Lis(FluxEntree& entree, TableTrieeNoyau& table,
                                       SerialiseurNoeudRN& serialiseur) {
  table.Vide();
  if (entree.Taille() - entree.DonnePosition() < 2 || entree.EstALaFin())
    throw exceptions::TableNonValide(N_("Table tronquée"));
  unsigned short version = 0;
  Serialiseur<unsigned short>::Lis(entree, &version);
  if (version != kVersion) throw exceptions::TableNonValide(N_("Version non gérée"));
  uint64_t nombre = 0;
  SerialiseurVarElias::Lis(entree, &nombre);
  if (nombre == 0) return;
  // Every node takes at least its flags byte: a count beyond the bytes left is a lie.
  if (nombre > entree.Taille() - entree.DonnePosition())
    throw exceptions::TableNonValide(N_("Nombre d'éléments impossible"));
  std::unique_ptr<Noeud> racine(table.NouveauNoeudVide());
  uint64_t lus = 0;
  DeserialiseDuTampon(table, racine.get(), entree, nullptr, serialiseur, 1, &lus, nombre);
  int hauteur = 0;
  if (lus != nombre) throw exceptions::TableNonValide(N_("Nombre d'éléments différent de l'annonce"));
  if (racine->EstRouge() || !EstRougeNoir(racine.get(), &hauteur))
    throw exceptions::TableNonValide(N_("Arbre rouge-noir invalide"));
  table.racine_ = racine.release();
  table.nombre_ = nombre;
}

void Serialiseur<TableTrieeNoyau>::DeserialiseDuTampon(TableTrieeNoyau& table, Noeud* noeud,
                                                       FluxEntree& entree, Noeud* parent,
                                                       SerialiseurNoeudRN& serialiseur, unsigned profondeur,
                                                       uint64_t* lus, uint64_t annonces) {
  if (profondeur > kProfondeurMax) throw exceptions::TableNonValide(N_("Arbre trop profond"));
  if (++*lus > annonces) throw exceptions::TableNonValide(N_("Plus de noeuds qu'annoncé"));
  if (entree.EstALaFin()) throw exceptions::TableNonValide(N_("Table tronquée"));
  const uint8_t drapeaux = entree.Donne();
  if (drapeaux & ~(kNoir | kGaucheSuit | kDroiteSuit))
    throw exceptions::TableNonValide(N_("Drapeaux de noeud inconnus"));
  noeud->parent_ = reinterpret_cast<uintptr_t>(parent) | (drapeaux & kNoir);
  // Children hang on the node as soon as they exist, so a failure below frees them with it.
  if (drapeaux & kGaucheSuit) {
    noeud->gauche_ = table.NouveauNoeudVide();
    DeserialiseDuTampon(table, noeud->gauche_, entree, noeud, serialiseur, profondeur + 1, lus, annonces);
  }
  if (drapeaux & kDroiteSuit) {
    noeud->droite_ = table.NouveauNoeudVide();
    DeserialiseDuTampon(table, noeud->droite_, entree, noeud, serialiseur, profondeur + 1, lus, annonces);
  }
  serialiseur.Lis(entree, *noeud);
}

}  // namespace sdd
