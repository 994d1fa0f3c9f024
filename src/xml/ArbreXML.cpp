#include <outils_socle/texte/Exception.h>
#include <outils_socle/xml/ArbreXML.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "plateforme/Plateforme.h"
#include "xml/CaracteresXML.h"
#include "xml/CheminsXML.h"
#include "xml/ConstructeurArbre.h"

namespace sdd {

// Blocks that grow from 4 KiB to 2 MiB, so a small document holds little and a large one
// allocates rarely; a piece larger than a quarter of the current block size gets a block of its
// own, which leaves the current one in use. Blocks of the largest size are asked of the system
// in large pages: a large document's tree then costs one page fault per 2 MiB, where ordinary
// pages cost 512 (a tenth of the whole read, measured on a 30 MB document).
struct ArbreXML::Blocs {
  static constexpr std::size_t kPremier = std::size_t{1} << 12;
  static constexpr std::size_t kMax = plateforme::kGrandePage;

  Blocs() = default;
  Blocs(const Blocs&) = delete;
  Blocs& operator=(const Blocs&) = delete;
  ~Blocs() {
    for (void* p : grands) plateforme::LibereGrandesPages(p, kMax);
  }

  void* Alloue(std::size_t taille, std::size_t alignement) {
    std::size_t decalage = (alignement - reinterpret_cast<std::uintptr_t>(libre) % alignement) % alignement;
    if (libre == nullptr || decalage + taille > reste) {
      if (taille > prochain / 4) return Nouveau(taille);
      libre = static_cast<char*>(Nouveau(prochain));
      reste = prochain;
      prochain = std::min(prochain * 2, kMax);
      decalage = 0;  // new[] aligns for every fundamental type
    }
    char* p = libre + decalage;
    libre = p + taille;
    reste -= decalage + taille;
    return p;
  }

  void* Nouveau(std::size_t taille) {
    if (taille == kMax) {
      grands.reserve(grands.size() + 1);
      if (void* p = plateforme::AlloueGrandesPages(kMax)) {
        grands.push_back(p);
        octets += taille;
        return p;
      }
    }
    blocs.push_back(std::make_unique_for_overwrite<char[]>(taille));
    octets += taille;
    return blocs.back().get();
  }

  std::vector<std::unique_ptr<char[]>> blocs;
  std::vector<void*> grands;  // blocks of kMax in large pages
  char* libre = nullptr;
  std::size_t reste = 0;
  std::size_t prochain = kPremier;
  std::size_t octets = 0;
};

const NoeudXML* ArbreXML::Vide() {
  static const NoeudXML vide;
  return &vide;
}

ArbreXML::ArbreXML() : blocs_(std::make_unique<Blocs>()), racine_(Vide()) {}

// The blocks change hands, the nodes stay where they are; the tree left behind is empty.
ArbreXML::ArbreXML(ArbreXML&& autre) noexcept
    : blocs_(std::move(autre.blocs_)), racine_(std::exchange(autre.racine_, Vide())) {}

ArbreXML& ArbreXML::operator=(ArbreXML&& autre) noexcept {
  if (this != &autre) {
    blocs_ = std::move(autre.blocs_);
    racine_ = std::exchange(autre.racine_, Vide());
  }
  return *this;
}
ArbreXML::~ArbreXML() = default;

std::size_t ArbreXML::Octets() const { return blocs_ != nullptr ? blocs_->octets : 0; }

std::string NoeudXML::TexteComplet() const {
  std::string sortie;
  xml::AjouteTexteComplet(*this, sortie);
  return sortie;
}

const std::string_view* NoeudXML::TrouveAttribut(std::string_view nom) const {
  for (const Attribut& a : Attributs()) {
    if (a.nom == nom) return &a.valeur;
  }
  return nullptr;
}

std::string_view NoeudXML::DonneAttribut(std::string_view nom, std::string_view repli) const {
  const std::string_view* valeur = TrouveAttribut(nom);
  return valeur != nullptr ? *valeur : repli;
}

const NoeudXML& NoeudXML::Enfant(std::size_t i) const {
  if (i >= nbEnfants_) LanceIndexHorsBorne(i, 0, nbEnfants_);
  return enfants_[i];
}

const NoeudXML* NoeudXML::Enfant(std::string_view nom) const {
  for (const NoeudXML& enfant : Enfants()) {
    if (enfant.nom_ == nom) return &enfant;
  }
  return nullptr;
}

std::vector<const NoeudXML*> NoeudXML::EnfantsNommes(std::string_view nom) const {
  std::vector<const NoeudXML*> trouves;
  for (const NoeudXML& enfant : Enfants()) {
    if (enfant.nom_ == nom) trouves.push_back(&enfant);
  }
  return trouves;
}

const NoeudXML* NoeudXML::Trouve(std::string_view chemin) const {
  const std::vector<const NoeudXML*> trouves = xml::ResousChemin(*this, chemin, true);
  return trouves.empty() ? nullptr : trouves.front();
}

std::vector<const NoeudXML*> NoeudXML::TrouveTous(std::string_view chemin) const {
  return xml::ResousChemin(*this, chemin, false);
}

Balise NoeudXML::VersBalise() const {
  std::vector<Balise::Attribut> attributs;
  attributs.reserve(nbAttributs_);
  for (const Attribut& a : Attributs()) attributs.push_back({std::string(a.nom), std::string(a.valeur)});
  Balise b(std::string(nom_), std::move(attributs));
  b.MetsTexte(std::string(texte_));
  b.MetsQueue(std::string(queue_));
  b.Enfants().reserve(nbEnfants_);
  for (const NoeudXML& enfant : Enfants()) b.AjouteEnfant(enfant.VersBalise());
  return b;
}

namespace xml {

ConstructeurArbre::ConstructeurArbre(bool ignoreEspaces) : ignoreEspaces_(ignoreEspaces) {}
ConstructeurArbre::~ConstructeurArbre() = default;

std::string_view ConstructeurArbre::Copie(std::string_view s) {
  if (s.empty()) return {};
  char* p = static_cast<char*>(arbre_.blocs_->Alloue(s.size(), 1));
  std::memcpy(p, s.data(), s.size());
  return {p, s.size()};
}

void ConstructeurArbre::Debut(std::string_view nom, std::vector<Balise::Attribut>& attributs) {
  PlaceTexte(false);
  Ouvert o{NoeudXML(), enAttente_.size()};
  o.noeud.nom_ = Copie(nom);
  if (!attributs.empty()) {
    auto* a = static_cast<NoeudXML::Attribut*>(
        arbre_.blocs_->Alloue(attributs.size() * sizeof(NoeudXML::Attribut), alignof(NoeudXML::Attribut)));
    for (std::size_t i = 0; i < attributs.size(); ++i) {
      new (&a[i]) NoeudXML::Attribut{Copie(attributs[i].nom), Copie(attributs[i].valeur)};
    }
    o.noeud.attributs_ = a;
    o.noeud.nbAttributs_ = attributs.size();
  }
  ouverts_.push_back(o);
}

void ConstructeurArbre::Texte(std::string_view texte) {
  if (!ouverts_.empty()) texte_.append(texte);  // (whitespace around the root is dropped)
}

void ConstructeurArbre::PlaceTexte(bool aLaFin) {
  if (texte_.empty() || ouverts_.empty()) return;
  Ouvert& o = ouverts_.back();
  const bool avantEnfant = o.premierEnfant == enAttente_.size();
  // Layout is text between tags inside an element that has, or is about to get, children.
  const bool miseEnPage = ignoreEspaces_ && (!aLaFin || !avantEnfant) && detail::EstEspaceXML(texte_);
  if (!miseEnPage) (avantEnfant ? o.noeud.texte_ : enAttente_.back().queue_) = Copie(texte_);
  texte_.clear();
}

void ConstructeurArbre::Fin(std::string_view) {
  PlaceTexte(true);
  NoeudXML n = ouverts_.back().noeud;
  const std::size_t premier = ouverts_.back().premierEnfant;
  ouverts_.pop_back();
  n.nbEnfants_ = enAttente_.size() - premier;
  if (n.nbEnfants_ != 0) {
    auto* e =
        static_cast<NoeudXML*>(arbre_.blocs_->Alloue(n.nbEnfants_ * sizeof(NoeudXML), alignof(NoeudXML)));
    std::uninitialized_copy(enAttente_.begin() + static_cast<std::ptrdiff_t>(premier), enAttente_.end(), e);
    n.enfants_ = e;
    enAttente_.erase(enAttente_.begin() + static_cast<std::ptrdiff_t>(premier), enAttente_.end());
  }
  if (!ouverts_.empty()) {
    enAttente_.push_back(n);
  } else {
    auto* racine = static_cast<NoeudXML*>(arbre_.blocs_->Alloue(sizeof(NoeudXML), alignof(NoeudXML)));
    new (racine) NoeudXML(n);
    arbre_.racine_ = racine;
  }
}

ArbreXML ConstructeurArbre::Arbre() { return std::move(arbre_); }

}  // namespace xml
}  // namespace sdd
