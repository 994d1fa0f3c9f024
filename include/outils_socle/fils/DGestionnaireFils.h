#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <outils_socle/Export.h>

namespace sdd {

// The process-wide pool of worker threads behind the operation queues. Blocks are posted at three
// priorities; a distributor thread hands them to the workers, high first without starving the
// others (after five high blocks in a row a waiting lower one gets a turn; after five default
// ones, a waiting low one). Each worker has a watchdog: once the watchdog interval has passed
// since the worker was made, the block it runs (or its next one) marks it blocked and a fresh
// worker joins, so a hung or long block never shrinks the pool; the marked worker leaves when its
// block returns and a reaper thread joins it. The pool starts with twice the hardware threads,
// at least 5.
//
// Created by the first Instance(), destroyed by LibereInstance(): the destructor stops taking
// blocks, lets the workers finish the blocks they run, joins every thread, and drops the blocks
// still queued without running them. post() may be called from any thread. A block that throws is
// not caught by the pool.
class OUTILS_SOCLE_EXPORT DGestionnaireFils {
 public:
  enum ePriorite {
    ePrioriteHaute = 0,
    ePrioriteDefaut = 1,  // also any value other than 0 and 2
    ePrioriteBasse = 2,
  };

  static DGestionnaireFils* Instance();
  static void LibereInstance();

  // Queues a block; dropped when the manager is stopping.
  void post(std::function<void()> bloc, ePriorite priorite = ePrioriteDefaut);
  // The workers at this moment.
  int NbFils() const;

  // The watchdog interval, 25,000 ms unless changed; a pool takes it when it is created, so
  // tests that need a short one set it before Instance().
  static void MetsIntervalleSurveillance(std::chrono::milliseconds intervalle);
  static std::chrono::milliseconds IntervalleSurveillance();

  DGestionnaireFils(const DGestionnaireFils&) = delete;
  DGestionnaireFils& operator=(const DGestionnaireFils&) = delete;
  ~DGestionnaireFils();

 private:
  DGestionnaireFils();
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
};

}  // namespace sdd
