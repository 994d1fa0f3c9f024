#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace sdd {

// A stack whose first N elements live inside the object (on the caller's stack), the rest on
// the heap. For trivially copyable T.
template <typename T, size_t N>
class PileLocale {
 public:
  PileLocale() = default;
  // Its pointer may designate its own storage: never copied.
  PileLocale(const PileLocale&) = delete;
  PileLocale& operator=(const PileLocale&) = delete;

  void Empile(const T& x) {
    if (taille_ == capacite_) Agrandis();
    donnees_[taille_++] = x;
  }
  T Depile() { return donnees_[--taille_]; }
  bool EstVide() const { return taille_ == 0; }
  size_t Taille() const { return taille_; }
  // Keeps the first n elements; growing this way (n above the size) gives zeros.
  void Tronque(size_t n) {
    while (taille_ < n) Empile(T{});
    taille_ = n;
  }
  T& Dernier() { return donnees_[taille_ - 1]; }
  const T* Donnees() const { return donnees_; }

  void Vide() { taille_ = 0; }
  void push_back(const T& x) { Empile(x); }  // for the walks written against std::u16string
  void clear() { Vide(); }

 private:
  void Agrandis() {
    std::vector<T> plus(capacite_ * 2);
    std::copy(donnees_, donnees_ + taille_, plus.begin());
    tas_ = std::move(plus);
    donnees_ = tas_.data();
    capacite_ = tas_.size();
  }

  T local_[N];
  std::vector<T> tas_;
  T* donnees_ = local_;
  size_t taille_ = 0;
  size_t capacite_ = N;
};

}  // namespace sdd
