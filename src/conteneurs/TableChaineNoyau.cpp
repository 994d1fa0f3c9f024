// The string table's tree: locating, inserting with node splits, deleting with merges, copies,
// iteration and dumps. Walks use explicit stacks: a tree may be as deep as its longest key and
// as wide as its alphabet, and recursion would spend the stack on both.
#include <outils_socle/conteneurs/TableChaineNoyau.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/texte/Exception.h>

#include "conteneurs/IndexClefs.h"
#include "conteneurs/PointsDeCode.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd {

using detail::PointDeCode;

// ---- nodes

TableChaineNoyau::Noeud::Noeud() = default;
TableChaineNoyau::Noeud::Noeud(const ChaineN& cars) : cars_(cars) { Actualise(); }

TableChaineNoyau::Noeud::~Noeud() {
  // The children and following siblings, one by one: each is emptied of its links before it
  // is deleted, so no destructor below this one recurses.
  std::vector<Noeud*> a;
  if (enfant_ != nullptr) a.push_back(enfant_);
  if (suivant_ != nullptr) a.push_back(suivant_);
  enfant_ = suivant_ = nullptr;
  while (!a.empty()) {
    Noeud* n = a.back();
    a.pop_back();
    if (n->enfant_ != nullptr) a.push_back(n->enfant_);
    if (n->suivant_ != nullptr) a.push_back(n->suivant_);
    n->enfant_ = n->suivant_ = nullptr;
    delete n;
  }
}

void TableChaineNoyau::Noeud::Actualise() {
  const uint64_t n = cars_.Longueur();
  longueur_ = static_cast<uint16_t>(n);  // callers refuse longer fragments before use
  premier_ = n == 0 ? 0 : PointDeCode(cars_.DonneUnites(), n, 0);
  if (n <= kCourt) std::copy(cars_.DonneUnites(), cars_.DonneUnites() + n, court_);
}

void TableChaineNoyau::Noeud::ActualiseIndex() {
  uint32_t n = 0;
  for (Noeud* e = enfant_; e != nullptr; e = e->suivant_) {
    if (n < kEnLigne) {
      premiersEnLigne_[n] = e->premier_;
      miroir_.enLigne[n] = e;
    }
    ++n;
  }
  nbEnfants_ = n;
  index_.clear();
  if (n <= kEnLigne) {
    index_.shrink_to_fit();
    return;
  }
  index_.reserve(n);
  for (Noeud* e = enfant_; e != nullptr; e = e->suivant_) index_.push_back({e->premier_, e});
  miroir_.index = index_.data();
}

void TableChaineNoyau::Noeud::MetsCars(const ChaineN& cars) {
  cars_ = cars;
  Actualise();
}

void TableChaineNoyau::Noeud::CopieCharge(const Noeud&) {}

// Built on the copy alone, through a fresh node of the same type, so that a node type that gives
// only the copy still has its payloads moved whole when nodes split and merge.
void TableChaineNoyau::Noeud::EchangeCharge(Noeud& autre) {
  const std::unique_ptr<Noeud> tampon(Cree(ChaineN()));
  tampon->CopieCharge(*this);
  CopieCharge(autre);
  autre.CopieCharge(*tampon);
}

void TableChaineNoyau::Noeud::OublieCharge() {
  const std::unique_ptr<Noeud> neuf(Cree(ChaineN()));
  EchangeCharge(*neuf);
}
TableChaineNoyau::Noeud* TableChaineNoyau::Noeud::Cree(const ChaineN& cars) const { return new Noeud(cars); }
void TableChaineNoyau::Noeud::EcrisCharge(FluxSortie&) const {}
void TableChaineNoyau::Noeud::LisCharge(FluxEntree&) {}

TableChaineNoyau::Noeud* TableChaineNoyau::Noeud::Clone() const { return Copie(false); }

TableChaineNoyau::Noeud* TableChaineNoyau::Noeud::Copie(bool fragmentsNeufs) const {
  // Each original node with the place in the copy that must point to its copy.
  std::vector<std::pair<const Noeud*, Noeud**>> a;
  Noeud* copie = nullptr;
  a.emplace_back(this, &copie);
  while (!a.empty()) {
    const auto [original, lien] = a.back();
    a.pop_back();
    // A fragment's copy shares its buffer unless asked otherwise.
    Noeud* n =
        original->Cree(fragmentsNeufs ? ChaineN(original->cars_.DonneUnites(), original->cars_.Longueur())
                                      : original->cars_);
    n->drapeaux_ = original->drapeaux_;
    n->CopieCharge(*original);
    *lien = n;
    if (original->suivant_ != nullptr) a.emplace_back(original->suivant_, &n->suivant_);
    if (original->enfant_ != nullptr) a.emplace_back(original->enfant_, &n->enfant_);
  }
  copie->ActualiseIndexes();
  return copie;
}

void TableChaineNoyau::Noeud::ActualiseIndexes() {
  std::vector<Noeud*> a{this};
  while (!a.empty()) {
    Noeud* n = a.back();
    a.pop_back();
    n->ActualiseIndex();
    for (Noeud* e = n->enfant_; e != nullptr; e = e->suivant_) a.push_back(e);
  }
}

void TableChaineNoyau::Noeud::RappatrieEnfant() {
  Noeud* enfant = enfant_;
  if (enfant == nullptr || enfant->suivant_ != nullptr) throw exceptions::OperationInvalide();
  cars_.AjouteFin(enfant->cars_);
  Actualise();
  drapeaux_ = enfant->drapeaux_;
  EchangeCharge(*enfant);
  enfant_ = enfant->enfant_;
  enfant->enfant_ = nullptr;
  delete enfant;
  ActualiseIndex();
}

void TableChaineNoyau::Noeud::TransfereFeuilles(Noeud* autre) {
  if (autre->enfant_ != nullptr) throw exceptions::OperationInvalide();
  autre->enfant_ = enfant_;
  enfant_ = nullptr;
  autre->ActualiseIndex();
  ActualiseIndex();
}

namespace {

// Depth-first over a node's subtree (not its siblings): f(node, depth) before its children.
template <typename F>
void Parcours(const TableChaineNoyau::Noeud* racine, F&& f) {
  std::vector<std::pair<const TableChaineNoyau::Noeud*, int>> a{{racine, 0}};
  while (!a.empty()) {
    const auto [n, profondeur] = a.back();
    a.pop_back();
    f(n, profondeur);
    std::vector<const TableChaineNoyau::Noeud*> enfants;
    for (const auto* e = n->PremierEnfant(); e != nullptr; e = e->Suivant()) enfants.push_back(e);
    for (auto it = enfants.rbegin(); it != enfants.rend(); ++it) a.emplace_back(*it, profondeur + 1);
  }
}

}  // namespace

void TableChaineNoyau::Noeud::RepresentationLineaire(ChaineN& texte) const {
  // fragment, "*" for a key end, then "[" children separated by "," "]".
  struct Pas {
    const Noeud* n;
    bool ferme;
  };
  std::vector<Pas> a{{this, false}};
  while (!a.empty()) {
    const Pas p = a.back();
    a.pop_back();
    if (p.ferme) {
      texte.AjouteFin(u"]", uint64_t{1});
      if (p.n->suivant_ != nullptr && p.n != this) texte.AjouteFin(u",", uint64_t{1});
      continue;
    }
    texte.AjouteFin(p.n->cars_);
    if (p.n->EstClef()) texte.AjouteFin(u"*", uint64_t{1});
    if (p.n->enfant_ != nullptr) {
      texte.AjouteFin(u"[", uint64_t{1});
      a.push_back({p.n, true});
      std::vector<const Noeud*> enfants;
      for (const Noeud* e = p.n->enfant_; e != nullptr; e = e->suivant_) enfants.push_back(e);
      for (auto it = enfants.rbegin(); it != enfants.rend(); ++it) a.push_back({*it, false});
    } else if (p.n->suivant_ != nullptr && p.n != this) {
      texte.AjouteFin(u",", uint64_t{1});
    }
  }
}

void TableChaineNoyau::Noeud::RepresentationPlantUML(ChaineN& texte) const {
  texte.AjouteFin("@startmindmap\n", ChaineN::kCodageUTF8);
  Parcours(this, [&](const Noeud* n, int profondeur) {
    texte.AjouteFin(
        ChaineN(std::string(static_cast<size_t>(profondeur) + 1, '*') + " ", ChaineN::kCodageUTF8));
    if (n->cars_.EstVide()) {
      texte.AjouteFin("(racine)", ChaineN::kCodageUTF8);
    } else {
      texte.AjouteFin(n->cars_);
    }
    if (n->EstClef()) texte.AjouteFin(" ✓", ChaineN::kCodageUTF8);
    texte.AjouteFin("\n", ChaineN::kCodageUTF8);
  });
  texte.AjouteFin("@endmindmap\n", ChaineN::kCodageUTF8);
}

// ---- the table

TableChaineNoyau::TableChaineNoyau() : racine_(new Noeud) {}

TableChaineNoyau::TableChaineNoyau(Noeud* racine) : racine_(racine) {
  if (racine == nullptr) throw exceptions::PointeurInvalide();
}

TableChaineNoyau::TableChaineNoyau(const TableChaineNoyau& autre)
    : racine_(autre.racine_->Clone()),
      nombre_(autre.nombre_),
      recupereExclamation_(autre.recupereExclamation_),
      recupereTiret_(autre.recupereTiret_) {}

TableChaineNoyau& TableChaineNoyau::operator=(const TableChaineNoyau& autre) {
  if (this != &autre) {
    Noeud* copie = autre.racine_->Clone();
    indexClefs_.reset();
    delete racine_;
    racine_ = copie;
    nombre_ = autre.nombre_;
    recupereExclamation_ = autre.recupereExclamation_;
    recupereTiret_ = autre.recupereTiret_;
  }
  return *this;
}

TableChaineNoyau::~TableChaineNoyau() { delete racine_; }

void TableChaineNoyau::Vide() {
  Noeud* racine = racine_->Cree(ChaineN());
  indexClefs_.reset();
  delete racine_;
  racine_ = racine;
  nombre_ = 0;
}

void TableChaineNoyau::MetsArbre(Noeud* racine, uint64_t nombre) {
  indexClefs_.reset();
  delete racine_;
  racine_ = racine;
  nombre_ = nombre;
}

bool TableChaineNoyau::_TempsEcoulay(std::chrono::steady_clock::time_point debut) {
  return std::chrono::steady_clock::now() - debut >
         std::chrono::milliseconds(OptionRecherche::kTempsLimiteMs);
}

bool TableChaineNoyau::EstAvant(const ChaineN& a, const ChaineN& b, uint64_t position) {
  if (a.EstVide()) return true;
  if (position >= b.Longueur()) return false;
  return PointDeCode(a.DonneUnites(), a.Longueur(), 0) < PointDeCode(b.DonneUnites(), b.Longueur(), position);
}

bool TableChaineNoyau::TrouveMeilleurEmplacement(const ChaineN& clef, uint64_t* longueur, Noeud** precedent,
                                                 Noeud** noeud, Noeud** parent) const {
  const char16_t* u = clef.DonneUnites();
  const uint64_t n = clef.Longueur();
  Noeud* ici = racine_;
  uint64_t lu = 0;
  *parent = nullptr;
  *precedent = nullptr;
  for (;;) {
    if (lu == n) {
      *longueur = lu;
      *noeud = ici;
      return true;
    }
    *parent = ici;
    *precedent = nullptr;
    const char32_t c = PointDeCode(u, n, lu);
    // The child that begins with c, from the node's mirror of its children.
    const uint32_t nb = ici->nbEnfants_;
    uint32_t k = 0;
    if (nb <= Noeud::kEnLigne) {
      while (k < nb && ici->premiersEnLigne_[k] < c) ++k;
    } else {
      const Noeud::_Entree* p = ici->miroir_.index;
      k = static_cast<uint32_t>(
          std::lower_bound(p, p + nb, c, [](const Noeud::_Entree& x, char32_t y) { return x.premier < y; }) -
          p);
    }
    if (k > 0) *precedent = ici->Enfant(k - 1);
    Noeud* e = k < nb ? ici->Enfant(k) : nullptr;
    const bool trouve = e != nullptr && ici->PremierDeLEnfant(k) == c;
    *longueur = lu;
    if (!trouve) {
      *noeud = nullptr;
      return false;
    }
    const uint64_t m = e->longueur_;
    if (m > n - lu || !std::equal(u + lu, u + lu + m, e->Unites())) {
      *noeud = e;  // begins like the rest: to be split
      return false;
    }
    lu += m;
    ici = e;
  }
}

void TableChaineNoyau::Compacte() {
  // The copy allocates in pre-order while the old nodes still hold their memory, so its nodes
  // (with their fragments, copied rather than shared) come one after another, each subtree in
  // one stretch.
  Noeud* copie = racine_->Copie(true);
  indexClefs_.reset();
  delete racine_;
  racine_ = copie;
  indexClefs_ = std::make_unique<detail::IndexClefs>(racine_);
}

TableChaineNoyau::Noeud* TableChaineNoyau::TrouveEmplacement(const ChaineN& clef) const {
  if (indexClefs_ != nullptr) {
    const uint32_t i = indexClefs_->Trouve(clef.DonneUnites(), clef.Longueur());
    // The index points at this table's own nodes.
    if (i == detail::IndexClefs::kAbsente || !indexClefs_->EstClef(i)) return nullptr;
    return const_cast<Noeud*>(indexClefs_->NoeudDe(i));
  }
  uint64_t longueur = 0;
  Noeud *precedent = nullptr, *noeud = nullptr, *parent = nullptr;
  if (!TrouveMeilleurEmplacement(clef, &longueur, &precedent, &noeud, &parent) || !noeud->EstClef())
    return nullptr;
  return noeud;
}

bool TableChaineNoyau::Possede(const ChaineN& clef) const {
  if (indexClefs_ != nullptr) {
    const uint32_t i = indexClefs_->Trouve(clef.DonneUnites(), clef.Longueur());
    return i != detail::IndexClefs::kAbsente && indexClefs_->EstClef(i);
  }
  return TrouveEmplacement(clef) != nullptr;
}

TableChaineNoyau::Noeud* TableChaineNoyau::InsereNouveauNoeud(const ChaineN& clef, uint64_t longueur,
                                                              Noeud* precedent, Noeud* noeud, Noeud* parent) {
  const char16_t* reste = clef.DonneUnites() + longueur;
  const uint64_t r = clef.Longueur() - longueur;
  if (noeud == nullptr) {
    // Nothing begins like the rest: a new leaf, in its place in the ascending list.
    Noeud* feuille = racine_->Cree(ChaineN(reste, r));
    feuille->suivant_ = precedent == nullptr ? parent->enfant_ : precedent->suivant_;
    (precedent == nullptr ? parent->enfant_ : precedent->suivant_) = feuille;
    parent->ActualiseIndex();
    return feuille;
  }
  // Split `noeud` after the prefix it shares with the rest, never inside a surrogate pair.
  const char16_t* f = noeud->cars_.DonneUnites();
  const uint64_t m = noeud->cars_.Longueur();
  uint64_t commun = 0;
  while (commun < m && commun < r && f[commun] == reste[commun]) ++commun;
  if (commun > 0 && commun < m && detail::EstSubstitutHaut(f[commun - 1]) &&
      detail::EstSubstitutBas(f[commun])) {
    --commun;
  }
  Noeud* suite = noeud->Cree(ChaineN(f + commun, m - commun));
  suite->drapeaux_ = noeud->drapeaux_;
  suite->EchangeCharge(*noeud);
  noeud->TransfereFeuilles(suite);
  noeud->cars_ = ChaineN(f, commun);
  noeud->Actualise();
  noeud->drapeaux_ = 0;
  noeud->enfant_ = suite;
  if (r == commun) {
    noeud->ActualiseIndex();
    return noeud;
  }
  Noeud* feuille = noeud->Cree(ChaineN(reste + commun, r - commun));
  if (feuille->premier_ < suite->premier_) {
    feuille->suivant_ = suite;
    noeud->enfant_ = feuille;
  } else {
    suite->suivant_ = feuille;
  }
  noeud->ActualiseIndex();
  return feuille;
}

TableChaineNoyau::Noeud* TableChaineNoyau::TrouveEmplacementEtInsere(const ChaineN& clef, bool* present) {
  if (clef.Longueur() > kLongueurMaxClef) {
    throw exceptions::OperationInvalide(
        detail::Formate(N_("Clef de plus de %s caractères"), {std::to_string(kLongueurMaxClef)}));
  }
  uint64_t longueur = 0;
  Noeud *precedent = nullptr, *noeud = nullptr, *parent = nullptr;
  if (!TrouveMeilleurEmplacement(clef, &longueur, &precedent, &noeud, &parent)) {
    noeud = InsereNouveauNoeud(clef, longueur, precedent, noeud, parent);
  }
  *present = true;
  if (!noeud->EstClef()) {
    indexClefs_.reset();  // a new key, perhaps new nodes
    noeud->drapeaux_ |= Noeud::kFinDeClef;
    ++nombre_;
    *present = false;
  }
  return noeud;
}

bool TableChaineNoyau::TrouveEmplacementEtSupprime(const ChaineN& clef) {
  uint64_t longueur = 0;
  Noeud *precedent = nullptr, *noeud = nullptr, *parent = nullptr;
  if (!TrouveMeilleurEmplacement(clef, &longueur, &precedent, &noeud, &parent) || !noeud->EstClef())
    return false;
  --nombre_;
  indexClefs_.reset();
  if (noeud == racine_ || noeud->APlusDUnEnfant()) {
    noeud->drapeaux_ &= static_cast<uint8_t>(~Noeud::kFinDeClef);
    noeud->OublieCharge();  // the key, put back later, starts from a fresh payload
    return true;
  }
  if (noeud->AUnSeulEnfant()) {
    noeud->RappatrieEnfant();
    return true;
  }
  // A leaf: unlink it; its parent, no key and left with one child, takes that child in.
  (precedent == nullptr ? parent->enfant_ : precedent->suivant_) = noeud->suivant_;
  noeud->suivant_ = nullptr;
  delete noeud;
  parent->ActualiseIndex();
  if (parent != racine_ && !parent->EstClef() && parent->AUnSeulEnfant()) parent->RappatrieEnfant();
  return true;
}

bool TableChaineNoyau::Supprime(const ChaineN& clef) { return TrouveEmplacementEtSupprime(clef); }

ChaineN TableChaineNoyau::RepresentationLineaire() const {
  ChaineN texte;
  racine_->RepresentationLineaire(texte);
  return texte;
}

ChaineN TableChaineNoyau::RepresentationPlantUML() const {
  ChaineN texte;
  racine_->RepresentationPlantUML(texte);
  return texte;
}

// ---- iteration

TableChaineNoyau::__Iterateur::__Iterateur(const TableChaineNoyau& table) : racine_(table.racine_) {}

bool TableChaineNoyau::__Iterateur::Prochain() {
  // Pre-order over the tree: the root (when a key), then each child's subtree in order.
  for (;;) {
    if (!commence_) {
      commence_ = true;
      pile_.push_back(racine_);
    } else if (!pile_.empty() && pile_.back()->PremierEnfant() != nullptr) {
      pile_.push_back(pile_.back()->PremierEnfant());
    } else {
      while (!pile_.empty() && (pile_.back()->Suivant() == nullptr || pile_.size() == 1)) pile_.pop_back();
      if (pile_.empty()) return false;
      pile_.back() = pile_.back()->Suivant();
    }
    if (pile_.back()->EstClef()) return true;
  }
}

ChaineN TableChaineNoyau::__Iterateur::Clef() const {
  ChaineN clef;
  for (const Noeud* n : pile_) clef.AjouteFin(n->Cars());
  return clef;
}

}  // namespace sdd
