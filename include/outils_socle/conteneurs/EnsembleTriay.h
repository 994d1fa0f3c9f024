#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

#include <outils_socle/conteneurs/TableTrieeNoyau.h>

namespace sdd {

// The default order and equality of a sorted set: T's own < and ==.
template <typename T>
struct FonctionPlusPetit {
  bool operator()(const T& a, const T& b) const { return a < b; }
};
template <typename T>
struct FonctionEgalite {
  bool operator()(const T& a, const T& b) const { return a == b; }
};

// A sorted set of T over TableTrieeNoyau: each element once (an element equal to one already
// there is not inserted, and the first stays), ascending iteration, logarithmic insertion,
// search and removal. The order and the equality are function objects, which may carry state
// (the automaton compiler compares std::shared_ptr states by their contents); Egalite must agree
// with PlusPetit: two elements are equal exactly when neither is smaller. Searches walk the
// tree here, with the typed comparisons inlined; the core does the linking, the rebalancing and
// the serialised form. T must be default-constructible to be read from a stream.
// Not synchronised.
template <typename T, typename PlusPetit = FonctionPlusPetit<T>, typename Egalite = FonctionEgalite<T>>
class EnsembleTriay : private TableTrieeNoyau {
  struct _Noeud final : NoeudRNNoyau {
    _Noeud() = default;
    explicit _Noeud(const T& v) : valeur(v) {}
    void CopieDonnees(const NoeudRNNoyau& autre) override {
      valeur = static_cast<const _Noeud&>(autre).valeur;
    }
    NoeudRNNoyau* Copie(NoeudRNNoyau*) const override { return new _Noeud(valeur); }
    T valeur{};
  };

 public:
  using value_type = T;

  // Ascending, read-only.
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = const T*;
    using reference = const T&;

    const_iterator(const TableTrieeNoyau& table, bool aLaFin) : it_(table, aLaFin) {
      if (!aLaFin) it_.Prochain();
    }
    reference operator*() const { return static_cast<const _Noeud*>(it_.Noeud())->valeur; }
    pointer operator->() const { return &**this; }
    const_iterator& operator++() {
      it_.Prochain();
      return *this;
    }
    const_iterator operator++(int) {
      const_iterator avant = *this;
      it_.Prochain();
      return avant;
    }
    bool operator==(const const_iterator& autre) const { return it_ == autre.it_; }

   private:
    TableTrieeNoyau::__Iterateur it_;
  };
  using iterator = const_iterator;

  explicit EnsembleTriay(PlusPetit plusPetit = PlusPetit(), Egalite egalite = Egalite())
      : plusPetit_(std::move(plusPetit)), egalite_(std::move(egalite)) {}
  EnsembleTriay(const EnsembleTriay&) = default;
  EnsembleTriay(EnsembleTriay&&) noexcept = default;
  EnsembleTriay& operator=(const EnsembleTriay&) = default;
  EnsembleTriay& operator=(EnsembleTriay&&) noexcept = default;
  ~EnsembleTriay() override = default;

  // The stored element equal to x: x itself when it was absent (*present false), the element
  // already there otherwise (*present true).
  const T& Insere(const T& x, bool* present = nullptr) {
    NoeudRNNoyau* parent = nullptr;
    bool aGauche = false;
    if (_Noeud* existant = Cherche(x, &parent, &aGauche)) {
      if (present) *present = true;
      return existant->valeur;
    }
    if (present) *present = false;
    auto* nouveau = new _Noeud(x);
    _Accroche(nouveau, parent, aGauche);
    return nouveau->valeur;
  }
  // The stored element equal to x, or null.
  const T* Trouve(const T& x) const {
    NoeudRNNoyau* parent;
    bool aGauche;
    const _Noeud* n = Cherche(x, &parent, &aGauche);
    return n ? &n->valeur : nullptr;
  }
  bool Contient(const T& x) const { return Trouve(x) != nullptr; }
  // Removes the element equal to x; false when there was none.
  bool Enleve(const T& x) {
    NoeudRNNoyau* parent;
    bool aGauche;
    _Noeud* n = Cherche(x, &parent, &aGauche);
    if (n == nullptr) return false;
    _SupprimeNoeud(n);
    return true;
  }

  using TableTrieeNoyau::EstArbreValide;
  using TableTrieeNoyau::EstVide;
  using TableTrieeNoyau::NbEnfants;
  using TableTrieeNoyau::Racine;
  using TableTrieeNoyau::Taille;
  using TableTrieeNoyau::Vide;
  const TableTrieeNoyau& Noyau() const { return *this; }

  const_iterator begin() const { return const_iterator(*this, false); }
  const_iterator end() const { return const_iterator(*this, true); }

  // Writes with `ecris(FluxSortie&, const T&)` and reads with `lis(FluxEntree&, T*)`, in the
  // table's serialised form. Returns the position where the table starts.
  template <typename FonctionEcris>
  uint64_t Ecris(FluxSortie& sortie, FonctionEcris ecris) const {
    struct _Ser : SerialiseurNoeudRN {
      explicit _Ser(FonctionEcris& e) : e_(e) {}
      void Lis(FluxEntree&, NoeudRNNoyau&) override {}
      void Ecris(FluxSortie& s, const NoeudRNNoyau& n) override {
        e_(s, static_cast<const _Noeud&>(n).valeur);
      }
      FonctionEcris& e_;
    } ser(ecris);
    return Serialiseur<TableTrieeNoyau>::Ecris(sortie, *this, ser);
  }
  template <typename FonctionLis>
  void Lis(FluxEntree& entree, FonctionLis lis) {
    struct _Ser : SerialiseurNoeudRN {
      explicit _Ser(FonctionLis& l) : l_(l) {}
      void Lis(FluxEntree& e, NoeudRNNoyau& n) override { l_(e, &static_cast<_Noeud&>(n).valeur); }
      void Ecris(FluxSortie&, const NoeudRNNoyau&) override {}
      FonctionLis& l_;
    } ser(lis);
    Serialiseur<TableTrieeNoyau>::Lis(entree, *this, ser);
  }

 protected:
  bool EstEgal(const ProxyClefNoyau& clef, const NoeudRNNoyau* n) const override {
    return egalite_(*static_cast<const T*>(clef.clef), static_cast<const _Noeud*>(n)->valeur);
  }
  bool VaAGauche(const ProxyClefNoyau& clef, const NoeudRNNoyau* n) const override {
    return plusPetit_(*static_cast<const T*>(clef.clef), static_cast<const _Noeud*>(n)->valeur);
  }
  NoeudRNNoyau* NouveauNoeud(const ProxyClefNoyau& clef) const override {
    return new _Noeud(*static_cast<const T*>(clef.clef));
  }
  NoeudRNNoyau* NouveauNoeudVide() const override { return new _Noeud(); }

 private:
  // The core's search with the comparisons inlined, and one comparison per level instead of
  // two: the walk goes down by the order alone, remembering the last node not greater than x,
  // and tests that one for equality at the end. That is the same answer because Egalite agrees
  // with PlusPetit (see the class comment).
  _Noeud* Cherche(const T& x, NoeudRNNoyau** parent, bool* aGauche) const {
    NoeudRNNoyau* n = const_cast<NoeudRNNoyau*>(Racine());
    NoeudRNNoyau* candidat = nullptr;
    *parent = nullptr;
    *aGauche = false;
    if constexpr (std::is_arithmetic_v<T>) {
      // Comparing numbers costs nothing: stop at the equal node rather than go on to a leaf.
      while (n != nullptr) {
        const T& v = static_cast<const _Noeud*>(n)->valeur;
        if (egalite_(x, v)) return static_cast<_Noeud*>(n);
        *parent = n;
        *aGauche = plusPetit_(x, v);
        n = *aGauche ? n->Gauche() : n->Droite();
      }
      return nullptr;
    }
    while (n != nullptr) {
      *parent = n;
      *aGauche = plusPetit_(x, static_cast<const _Noeud*>(n)->valeur);
      if (*aGauche) {
        n = n->Gauche();
      } else {
        candidat = n;
        n = n->Droite();
      }
    }
    if (candidat != nullptr && egalite_(x, static_cast<const _Noeud*>(candidat)->valeur))
      return static_cast<_Noeud*>(candidat);
    return nullptr;
  }

  PlusPetit plusPetit_;
  Egalite egalite_;
};

}  // namespace sdd
