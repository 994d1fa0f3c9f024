#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <new>
#include <utility>

#include <outils_socle/texte/Exception.h>

namespace sdd {

// The library's singly linked list. Appending is constant time through the tail pointer;
// positional access walks from the head. The destructor frees the nodes, never what the values
// point to. Not synchronised: one list, one thread at a time.
//
// Nodes come from blocks the list owns (2 nodes, then twice as many each time up to 256), and
// a removed node's place is reused by the next one: a search that fills a list with thousands
// of results makes a few dozen allocations for the nodes instead of one each. Nodes never move,
// so references and iterators stay valid until their element is removed; Vide frees the blocks.
//
// TriB is a bubble sort that relinks nodes and swaps equal neighbours too (so it is not stable);
// TriQ is a merge sort that relinks nodes: O(n log n), stable, no element is copied.
template <typename T>
class ListeC {
  struct _Noeud {
    T valeur;
    _Noeud* suivant;
  };

 public:
  using value_type = T;
  using Comparateur = bool (*)(const T&, const T&);

  // A forward iterator over the nodes, for range-for and the standard algorithms.
  template <typename Elem>
  class __IterateurStdBase {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Elem*;
    using reference = Elem&;

    __IterateurStdBase() = default;
    explicit __IterateurStdBase(_Noeud* noeud) : noeud_(noeud) {}
    reference operator*() const { return noeud_->valeur; }
    pointer operator->() const { return &noeud_->valeur; }
    __IterateurStdBase& operator++() {
      noeud_ = noeud_->suivant;
      return *this;
    }
    __IterateurStdBase operator++(int) {
      __IterateurStdBase avant = *this;
      noeud_ = noeud_->suivant;
      return avant;
    }
    friend bool operator==(const __IterateurStdBase& a, const __IterateurStdBase& b) {
      return a.noeud_ == b.noeud_;
    }

   private:
    friend class ListeC;
    _Noeud* noeud_ = nullptr;
  };
  using __IterateurStd = __IterateurStdBase<T>;
  using __IterateurStdConst = __IterateurStdBase<const T>;
  using iterator = __IterateurStd;
  using const_iterator = __IterateurStdConst;

  // A cursor in the library's own style: `for (auto it = l.Iter(); !it.EstFini(); it.Suivant())`.
  template <typename Elem>
  class __IterateurBase {
   public:
    explicit __IterateurBase(_Noeud* noeud) : noeud_(noeud) {}
    bool EstFini() const { return noeud_ == nullptr; }
    void Suivant() { noeud_ = noeud_->suivant; }
    Elem& Valeur() const {
      if (EstFini()) throw exceptions::ValeurIndefinieIterateur();
      return noeud_->valeur;
    }
    Elem& operator*() const { return Valeur(); }

   private:
    _Noeud* noeud_;
  };
  using __Iterateur = __IterateurBase<T>;
  using __IterateurConst = __IterateurBase<const T>;

  ListeC() = default;
  ListeC(const T* elements, uint64_t n) {
    for (uint64_t i = 0; i < n; ++i) Ajoute(elements[i]);
  }
  ListeC(std::initializer_list<T> elements) {
    for (const T& x : elements) Ajoute(x);
  }
  template <typename It>
  ListeC(It debut, It fin) {
    for (; debut != fin; ++debut) Ajoute(*debut);
  }
  ListeC(const ListeC& autre) {
    for (const T& x : autre) Ajoute(x);
  }
  ListeC(ListeC&& autre) noexcept
      : premier_(std::exchange(autre.premier_, nullptr)),
        dernier_(std::exchange(autre.dernier_, nullptr)),
        nombre_(std::exchange(autre.nombre_, 0)),
        blocs_(std::exchange(autre.blocs_, nullptr)),
        libres_(std::exchange(autre.libres_, nullptr)) {}
  ListeC& operator=(const ListeC& autre) {
    if (this != &autre) {
      ListeC copie(autre);
      Echange(copie);
    }
    return *this;
  }
  ListeC& operator=(ListeC&& autre) noexcept {
    if (this != &autre) {
      Vide();
      Echange(autre);
    }
    return *this;
  }
  ~ListeC() { Vide(); }

  void Echange(ListeC& autre) noexcept {
    std::swap(premier_, autre.premier_);
    std::swap(dernier_, autre.dernier_);
    std::swap(nombre_, autre.nombre_);
    std::swap(blocs_, autre.blocs_);
    std::swap(libres_, autre.libres_);
  }

  uint64_t Taille() const { return nombre_; }
  bool EstVide() const { return nombre_ == 0; }
  void Vide() {
    while (premier_ != nullptr) std::exchange(premier_, premier_->suivant)->~_Noeud();
    while (blocs_ != nullptr) {
      _Bloc* precedent = blocs_->precedent;
      ::operator delete(blocs_);
      blocs_ = precedent;
    }
    libres_ = nullptr;
    dernier_ = nullptr;
    nombre_ = 0;
  }

  T& Ajoute(const T& x) { return Lie(Nouveau(x, nullptr)); }
  T& Ajoute(T&& x) { return Lie(Nouveau(std::move(x), nullptr)); }

  // Inserts x so that it becomes element pos; pos may equal the count (append).
  void Insere(uint64_t pos, const T& x) {
    if (pos > nombre_) LanceIndexHorsBorne(pos, 0, nombre_);
    if (pos == nombre_) {
      Ajoute(x);
      return;
    }
    _Noeud** lien = &premier_;
    for (uint64_t i = 0; i < pos; ++i) lien = &(*lien)->suivant;
    *lien = Nouveau(x, *lien);
    ++nombre_;
  }
  // Inserts x before the node `position` designates (end() appends) and returns an iterator to
  // it. The list is singly linked, so finding the predecessor walks from the head.
  __IterateurStd InsereAvant(__IterateurStd position, const T& x) {
    if (position.noeud_ == nullptr) {
      Ajoute(x);
      return __IterateurStd(dernier_);
    }
    _Noeud** lien = &premier_;
    while (*lien != nullptr && *lien != position.noeud_) lien = &(*lien)->suivant;
    if (*lien == nullptr) throw exceptions::OperationInvalide();  // not a node of this list
    *lien = Nouveau(x, *lien);
    ++nombre_;
    return __IterateurStd(*lien);
  }

  // Removes element i; an index past the end reports count − 1 as the maximum.
  void Enleve(uint64_t i) {
    if (i >= nombre_) LanceIndexHorsBorne(i, 0, nombre_ - 1);
    _Noeud* precedent = nullptr;
    _Noeud* noeud = premier_;
    for (uint64_t k = 0; k < i; ++k) precedent = std::exchange(noeud, noeud->suivant);
    (precedent ? precedent->suivant : premier_) = noeud->suivant;
    if (noeud == dernier_) dernier_ = precedent;
    Rends(noeud);
    --nombre_;
  }

  T& Premier() { return Noeud(0)->valeur; }
  const T& Premier() const { return Noeud(0)->valeur; }
  T& Dernier() { return Noeud(nombre_ - 1)->valeur; }
  const T& Dernier() const { return Noeud(nombre_ - 1)->valeur; }
  T& operator[](uint64_t i) { return Noeud(i)->valeur; }
  const T& operator[](uint64_t i) const { return Noeud(i)->valeur; }

  bool Contient(const T& x) const {
    for (const T& y : *this)
      if (y == x) return true;
    return false;
  }

  friend bool operator==(const ListeC& a, const ListeC& b) {
    if (a.nombre_ != b.nombre_) return false;
    for (_Noeud *x = a.premier_, *y = b.premier_; x != nullptr; x = x->suivant, y = y->suivant)
      if (!(x->valeur == y->valeur)) return false;
    return true;
  }
  friend bool operator!=(const ListeC& a, const ListeC& b) { return !(a == b); }
  friend bool operator<(const ListeC& a, const ListeC& b) {
    _Noeud *x = a.premier_, *y = b.premier_;
    for (; x != nullptr && y != nullptr; x = x->suivant, y = y->suivant) {
      if (x->valeur < y->valeur) return true;
      if (y->valeur < x->valeur) return false;
    }
    return x == nullptr && y != nullptr;
  }
  friend bool operator>(const ListeC& a, const ListeC& b) { return b < a; }

  // Bubble sort by relinking. Two neighbours are swapped when the first is >= the second (or when
  // the comparator says so); equal neighbours are swapped too, on purpose.
  void TriB() {
    TriBulles([](const T& a, const T& b) { return !(a < b); });
  }
  void TriB(Comparateur doitEchanger) { TriBulles(doitEchanger); }
  // Merge sort by relinking, ascending by <, or by `avant` (true when a goes before b).
  void TriQ() {
    TriFusion([](const T& a, const T& b) { return a < b; });
  }
  void TriQ(Comparateur avant) { TriFusion(avant); }

  __Iterateur Iter() { return __Iterateur(premier_); }
  __IterateurConst CIter() const { return __IterateurConst(premier_); }
  __IterateurStd IterS() { return begin(); }
  __IterateurStd begin() { return __IterateurStd(premier_); }
  __IterateurStd end() { return __IterateurStd(); }
  __IterateurStdConst begin() const { return __IterateurStdConst(premier_); }
  __IterateurStdConst end() const { return __IterateurStdConst(); }

 private:
  struct _Bloc {
    _Bloc* precedent;
    uint32_t capacite;
    uint32_t utilises;
  };
  struct _Libre {
    _Libre* suivant;
  };
  static constexpr size_t kEnTeteBloc =
      (sizeof(_Bloc) + alignof(_Noeud) - 1) / alignof(_Noeud) * alignof(_Noeud);
  static constexpr uint32_t kBlocMax = 256;
  static_assert(alignof(_Noeud) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

  // A node made in a free place: a removed node's, else the next of the newest block.
  template <typename V>
  _Noeud* Nouveau(V&& valeur, _Noeud* suivant) {
    void* place;
    if (libres_ != nullptr) {
      place = std::exchange(libres_, libres_->suivant);
    } else {
      if (blocs_ == nullptr || blocs_->utilises == blocs_->capacite) {
        const uint32_t capacite = blocs_ == nullptr ? 2 : std::min(blocs_->capacite * 2, kBlocMax);
        void* memoire = ::operator new(kEnTeteBloc + capacite * sizeof(_Noeud));
        blocs_ = new (memoire) _Bloc{blocs_, capacite, 0};
      }
      place = reinterpret_cast<char*>(blocs_) + kEnTeteBloc + blocs_->utilises++ * sizeof(_Noeud);
    }
    try {
      return new (place) _Noeud{std::forward<V>(valeur), suivant};
    } catch (...) {
      libres_ = new (place) _Libre{libres_};
      throw;
    }
  }
  void Rends(_Noeud* noeud) {
    noeud->~_Noeud();
    libres_ = new (noeud) _Libre{libres_};
  }

  T& Lie(_Noeud* noeud) {
    (dernier_ ? dernier_->suivant : premier_) = noeud;
    dernier_ = noeud;
    ++nombre_;
    return noeud->valeur;
  }
  _Noeud* Noeud(uint64_t i) const {
    if (i >= nombre_) LanceIndexHorsBorne(i, 0, nombre_ - 1);
    if (i == nombre_ - 1) return dernier_;
    _Noeud* noeud = premier_;
    while (i-- > 0) noeud = noeud->suivant;
    return noeud;
  }

  template <typename Doit>
  void TriBulles(Doit doitEchanger) {
    _Noeud* finNonTriee = nullptr;  // first node of the sorted tail
    for (bool echange = true; echange && premier_ != finNonTriee;) {
      echange = false;
      _Noeud** lien = &premier_;
      _Noeud* dernierAtteint = nullptr;
      while ((*lien)->suivant != finNonTriee) {
        _Noeud* a = *lien;
        _Noeud* b = a->suivant;
        if (doitEchanger(a->valeur, b->valeur)) {
          a->suivant = b->suivant;
          b->suivant = a;
          *lien = b;
          if (dernier_ == b) dernier_ = a;
          echange = true;
          lien = &b->suivant;
        } else {
          lien = &a->suivant;
        }
        dernierAtteint = *lien;
      }
      finNonTriee = dernierAtteint;
    }
  }

  template <typename Avant>
  void TriFusion(Avant avant) {
    if (nombre_ < 2) return;
    // Bottom-up: merge runs of width 1, 2, 4... by relinking; no recursion, no extra storage.
    for (uint64_t largeur = 1; largeur < nombre_; largeur *= 2) {
      _Noeud* reste = premier_;
      _Noeud** queue = &premier_;
      while (reste != nullptr) {
        _Noeud* gauche = reste;
        _Noeud* droite = Coupe(gauche, largeur);
        reste = Coupe(droite, largeur);
        while (gauche != nullptr || droite != nullptr) {
          // Taking from the left on ties keeps the sort stable.
          _Noeud*& pris = (droite == nullptr || (gauche != nullptr && !avant(droite->valeur, gauche->valeur)))
                              ? gauche
                              : droite;
          *queue = pris;
          queue = &pris->suivant;
          dernier_ = pris;
          pris = pris->suivant;
        }
      }
      *queue = nullptr;
    }
  }
  // Detaches the first n nodes of the chain at `debut` and returns the rest.
  static _Noeud* Coupe(_Noeud* debut, uint64_t n) {
    for (uint64_t i = 1; debut != nullptr && i < n; ++i) debut = debut->suivant;
    if (debut == nullptr) return nullptr;
    return std::exchange(debut->suivant, nullptr);
  }

  _Noeud* premier_ = nullptr;
  _Noeud* dernier_ = nullptr;
  uint64_t nombre_ = 0;
  _Bloc* blocs_ = nullptr;    // the newest block, each pointing to the one before
  _Libre* libres_ = nullptr;  // places of removed nodes
};

}  // namespace sdd
