#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <new>
#include <utility>

#include <outils_socle/texte/Exception.h>

namespace sdd {

// The library's growable array. Storage is allocated lazily (a capacity given to the constructor
// is only recorded) and grows geometrically: capacity × Facteur, or capacity + Increment when
// multiplying does not grow it, so the default list goes 1, 2, 4, 8... Appending is amortised
// constant time; element access is constant time and bound-checked.
//
// Not synchronised: one list, one thread at a time. Iterators and references are invalidated by
// any growth. begin()/end() are plain pointers, so the standard algorithms apply.
//
// Choices where several behaviours would be reasonable:
//  - EnleveElement(x) removes every element equal to x and returns how many it removed.
//  - EnleveIntervalle(debut, fin) removes [debut, fin): the end is exclusive, like the standard
//    library's ranges; fin is clipped to the count, debut beyond the count throws.
template <typename T, int Facteur = 2, int Increment = 1, typename TailleT = uint64_t>
class ListeT {
 public:
  using value_type = T;
  using size_type = TailleT;
  using __IterateurStd = T*;
  using __IterateurStdConst = const T*;
  using iterator = __IterateurStd;
  using const_iterator = __IterateurStdConst;

  // A cursor in the library's own style: `for (auto it = l.Iter(); !it.EstFini(); it.Suivant())`.
  template <typename Elem>
  class __IterateurBase {
   public:
    __IterateurBase(Elem* debut, TailleT n) : courant_(debut), fin_(debut + n), debut_(debut) {}
    bool EstFini() const { return courant_ == fin_; }
    void Suivant() { ++courant_; }
    TailleT Index() const { return static_cast<TailleT>(courant_ - debut_); }
    // Throws ValeurIndefinieIterateur past the end.
    Elem& Valeur() const {
      if (EstFini()) throw exceptions::ValeurIndefinieIterateur();
      return *courant_;
    }
    Elem& operator*() const { return Valeur(); }
    Elem* operator->() const { return &Valeur(); }

   private:
    Elem* courant_;
    Elem* fin_;
    Elem* debut_;
  };
  using __Iterateur = __IterateurBase<T>;
  using __IterateurConst = __IterateurBase<const T>;

  ListeT() = default;
  explicit ListeT(TailleT capacite) : capacite_(capacite) {}
  ListeT(const T* elements, TailleT n, TailleT capacite = 0) : capacite_(capacite < n ? n : capacite) {
    for (TailleT i = 0; i < n; ++i) Ajoute(elements[i]);
  }
  ListeT(std::initializer_list<T> elements) : capacite_(static_cast<TailleT>(elements.size())) {
    for (const T& x : elements) Ajoute(x);
  }
  ListeT(const ListeT& autre) : capacite_(autre.capacite_) {
    if (autre.tableau_ != nullptr) {
      tableau_ = new T[capacite_]();
      for (TailleT i = 0; i < autre.nombre_; ++i) tableau_[i] = autre.tableau_[i];
      nombre_ = autre.nombre_;
    }
  }
  ListeT(ListeT&& autre) noexcept
      : tableau_(std::exchange(autre.tableau_, nullptr)),
        nombre_(std::exchange(autre.nombre_, 0)),
        capacite_(std::exchange(autre.capacite_, 0)) {}
  ListeT& operator=(const ListeT& autre) {
    if (this != &autre) {
      ListeT copie(autre);
      Echange(copie);
    }
    return *this;
  }
  ListeT& operator=(ListeT&& autre) noexcept {
    if (this != &autre) {
      ListeT vide;
      Echange(vide);
      Echange(autre);
    }
    return *this;
  }
  ~ListeT() { delete[] tableau_; }

  void Echange(ListeT& autre) noexcept {
    std::swap(tableau_, autre.tableau_);
    std::swap(nombre_, autre.nombre_);
    std::swap(capacite_, autre.capacite_);
  }

  TailleT Taille() const { return nombre_; }
  TailleT Capacite() const { return capacite_; }
  bool EstVide() const { return nombre_ == 0; }
  // Empties the list and keeps its storage.
  void Vide() { nombre_ = 0; }
  // Empties the list into fresh storage of exactly n slots.
  void Vide(TailleT n) { Init(n); }

  T& Ajoute(const T& x) {
    Reserve1();
    tableau_[nombre_] = x;
    return tableau_[nombre_++];
  }
  T& Ajoute(T&& x) {
    Reserve1();
    tableau_[nombre_] = std::move(x);
    return tableau_[nombre_++];
  }
  // One more slot, left as the storage holds it (default-constructed or an earlier value).
  T& AjouteVide() {
    Reserve1();
    return tableau_[nombre_++];
  }
  // Appends x unless an element == x is already there; true when appended.
  bool AjouteUnique(const T& x) {
    if (Contient(x)) return false;
    Ajoute(x);
    return true;
  }

  // Inserts x at pos. Past the end, the count first jumps to pos and the positions in between keep
  // whatever the storage held. Growth keeps one slot to spare (count + 1 < capacity), unlike Ajoute.
  void Insere(TailleT pos, const T& x) {
    if (tableau_ == nullptr) Alloue();
    while (!(nombre_ + 1 < capacite_ && pos < capacite_)) AgrandirParMove();
    if (pos > nombre_) nombre_ = pos;
    if (pos < nombre_) {
      for (TailleT i = nombre_; i > pos; --i) tableau_[i] = std::move(tableau_[i - 1]);
    }
    tableau_[pos] = x;
    ++nombre_;
  }

  // Removes element i; an index past the end reports count − 1 as the maximum.
  void Enleve(TailleT i) {
    if (i >= nombre_) LanceIndexHorsBorne(i, 0, nombre_ - 1);
    for (TailleT k = i + 1; k < nombre_; ++k) tableau_[k - 1] = std::move(tableau_[k]);
    --nombre_;
  }
  TailleT EnleveElement(const T& x) {
    TailleT ecrit = 0;
    for (TailleT k = 0; k < nombre_; ++k) {
      if (!(tableau_[k] == x)) {
        if (ecrit != k) tableau_[ecrit] = std::move(tableau_[k]);
        ++ecrit;
      }
    }
    const TailleT enleves = nombre_ - ecrit;
    nombre_ = ecrit;
    return enleves;
  }
  void EnleveIntervalle(TailleT debut, TailleT fin) {
    if (debut > nombre_) LanceIndexHorsBorne(debut, 0, nombre_);
    if (fin > nombre_) fin = nombre_;
    if (fin <= debut) return;
    const TailleT n = fin - debut;
    for (TailleT k = fin; k < nombre_; ++k) tableau_[k - n] = std::move(tableau_[k]);
    nombre_ -= n;
  }
  void EnlevePremier() { Enleve(0); }
  void EnleveDernier() { Enleve(nombre_ - 1); }

  T& operator[](TailleT i) { return tableau_[Verifie(i)]; }
  const T& operator[](TailleT i) const { return tableau_[Verifie(i)]; }
  T& Premier() { return (*this)[0]; }
  const T& Premier() const { return (*this)[0]; }
  T& Dernier() { return (*this)[nombre_ - 1]; }
  const T& Dernier() const { return (*this)[nombre_ - 1]; }

  bool Contient(const T& x) const {
    for (TailleT i = 0; i < nombre_; ++i)
      if (tableau_[i] == x) return true;
    return false;
  }
  bool Contient(const std::function<bool(const T&)>& predicat) const {
    for (TailleT i = 0; i < nombre_; ++i)
      if (predicat(tableau_[i])) return true;
    return false;
  }
  bool ElementsSontTousEquivalents() const {
    for (TailleT i = 1; i < nombre_; ++i)
      if (!(tableau_[i] == tableau_[0])) return false;
    return true;
  }

  friend bool operator==(const ListeT& a, const ListeT& b) {
    if (a.nombre_ != b.nombre_) return false;
    for (TailleT i = 0; i < a.nombre_; ++i)
      if (!(a.tableau_[i] == b.tableau_[i])) return false;
    return true;
  }
  friend bool operator!=(const ListeT& a, const ListeT& b) { return !(a == b); }
  // Lexicographic: at the first pair that differs, first < second; a proper prefix is smaller.
  friend bool operator<(const ListeT& a, const ListeT& b) {
    const TailleT n = a.nombre_ < b.nombre_ ? a.nombre_ : b.nombre_;
    for (TailleT i = 0; i < n; ++i) {
      if (a.tableau_[i] < b.tableau_[i]) return true;
      if (b.tableau_[i] < a.tableau_[i]) return false;
    }
    return a.nombre_ < b.nombre_;
  }
  friend bool operator>(const ListeT& a, const ListeT& b) { return b < a; }

  // In-place quicksort with the element type's <, not stable. The middle element is the pivot;
  // ranges of at most 16 elements are finished by insertion sort, which saves recursion there.
  void TriQ() {
    if (nombre_ > 1) TriQ(0, nombre_ - 1);
  }

  // Removes, in place and in order, the elements that also occur in `autre`. The walk in `autre`
  // advances only on a match, so `autre` must be a sorted sub-sequence of this list: an element
  // of `autre` missing here stops every later removal.
  void DifferenceListesTriees(const ListeT& autre) {
    if (autre.nombre_ == 0 || nombre_ == 0) return;
    TailleT j = 0, ecrit = 0;
    for (TailleT i = 0; i < nombre_; ++i) {
      if (j < autre.nombre_ && tableau_[i] == autre.tableau_[j]) {
        ++j;
        continue;
      }
      if (ecrit != i) tableau_[ecrit] = std::move(tableau_[i]);
      ++ecrit;
    }
    nombre_ = ecrit;
  }

  __Iterateur Iter() { return __Iterateur(tableau_, nombre_); }
  __IterateurConst CIter() const { return __IterateurConst(tableau_, nombre_); }
  __IterateurStd IterS() { return begin(); }
  T* begin() { return tableau_; }
  T* end() { return tableau_ + nombre_; }
  const T* begin() const { return tableau_; }
  const T* end() const { return tableau_ + nombre_; }
  T* Donnees() { return tableau_; }
  const T* Donnees() const { return tableau_; }

 protected:
  void Init(TailleT n) {
    T* nouveau = n ? new T[n]() : nullptr;
    delete[] tableau_;
    tableau_ = nouveau;
    capacite_ = n;
    nombre_ = 0;
  }
  // One growth step, copying or moving the elements into the new array.
  void Agrandir() { Realloue(CapaciteSuivante(), false); }
  void AgrandirParMove() { Realloue(CapaciteSuivante(), true); }

 private:
  static constexpr TailleT kCapaciteMax =
      static_cast<TailleT>(std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T));

  TailleT CapaciteSuivante() const {
    const TailleT c = static_cast<TailleT>(capacite_ * Facteur);
    return c > capacite_ ? c : static_cast<TailleT>(capacite_ + Increment);
  }
  void Alloue() {
    if (capacite_ > kCapaciteMax) throw std::bad_array_new_length();
    tableau_ = capacite_ ? new T[capacite_]() : nullptr;
  }
  void Reserve1() {
    if (tableau_ == nullptr && capacite_ > 0) Alloue();
    while (nombre_ >= capacite_) AgrandirParMove();
  }
  void Realloue(TailleT capacite, bool parMove) {
    if (capacite > kCapaciteMax) throw std::bad_array_new_length();
    T* nouveau = new T[capacite]();
    for (TailleT i = 0; i < nombre_; ++i) {
      if (parMove)
        nouveau[i] = std::move(tableau_[i]);
      else
        nouveau[i] = tableau_[i];
    }
    delete[] tableau_;
    tableau_ = nouveau;
    capacite_ = capacite;
  }
  TailleT Verifie(TailleT i) const {
    if (i >= nombre_) LanceIndexHorsBorne(i, 0, nombre_ - 1);
    return i;
  }

  void TriQ(TailleT lo, TailleT hi) {
    while (hi - lo > 15) {
      std::swap(tableau_[(lo + hi) / 2], tableau_[hi]);
      const T& pivot = tableau_[hi];
      TailleT i = lo, j = hi - 1;
      for (;;) {
        while (tableau_[i] < pivot) ++i;
        while (j > lo && pivot < tableau_[j]) --j;
        if (i >= j) break;
        std::swap(tableau_[i], tableau_[j]);
        ++i;
        --j;
      }
      std::swap(tableau_[i], tableau_[hi]);
      if (i > lo + 1) TriQ(lo, i - 1);
      if (i + 2 > hi) return;  // fewer than two elements on the right
      lo = i + 1;
    }
    for (TailleT k = lo + 1; k <= hi; ++k) {
      T x = std::move(tableau_[k]);
      TailleT m = k;
      for (; m > lo && x < tableau_[m - 1]; --m) tableau_[m] = std::move(tableau_[m - 1]);
      tableau_[m] = std::move(x);
    }
  }

  T* tableau_ = nullptr;
  TailleT nombre_ = 0;
  TailleT capacite_ = 0;
};

}  // namespace sdd
