#pragma once

// The three priority queues of the thread manager and its pick rule: high blocks first, but
// after five of them in a row a waiting lower block gets a turn, and after five default blocks
// in a row (since the last low one) a waiting low block gets one. A queue is never skipped when
// the others are empty. Not synchronised: the manager holds its mutex around it.
#include <cstdint>
#include <deque>
#include <utility>

namespace sdd::detail {

template <typename Bloc>
class FilesPriorite {
 public:
  enum { eHaute = 0, eDefaut = 1, eBasse = 2 };

  // Any value but 0 and 2 is the default priority.
  static int Normalise(int priorite) { return priorite == eHaute || priorite == eBasse ? priorite : eDefaut; }

  void Ajoute(Bloc bloc, int priorite) { files_[Normalise(priorite)].push_back(std::move(bloc)); }
  bool SontVides() const {
    return files_[eHaute].empty() && files_[eDefaut].empty() && files_[eBasse].empty();
  }

  // The next block; at least one queue must hold one.
  Bloc Prends() {
    auto& haute = files_[eHaute];
    auto& defaut = files_[eDefaut];
    auto& basse = files_[eBasse];
    if ((!haute.empty() && consecutifsHaute_ < 5) || (defaut.empty() && basse.empty())) {
      ++consecutifsHaute_;
      return Retire(haute);
    }
    if (!defaut.empty() && (consecutifsNormale_ < 5 || basse.empty())) {
      consecutifsHaute_ = 0;
      ++consecutifsNormale_;
      return Retire(defaut);
    }
    consecutifsHaute_ = 0;
    consecutifsNormale_ = 0;
    return Retire(basse);
  }

 private:
  static Bloc Retire(std::deque<Bloc>& file) {
    Bloc bloc = std::move(file.front());
    file.pop_front();
    return bloc;
  }

  std::deque<Bloc> files_[3];
  int32_t consecutifsHaute_ = 0;
  int32_t consecutifsNormale_ = 0;
};

}  // namespace sdd::detail
