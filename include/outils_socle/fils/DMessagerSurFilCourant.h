#pragma once

#include <outils_socle/Export.h>

namespace sdd {

namespace detail {
class PasserelleQt;
}

// Runs ExecuteSurFilCourant() later on the thread that built the messenger, when that thread's
// event loop takes up the call: the one way to hand work back to a thread that runs an event loop
// (in practice the main thread, which must then run one). LanceExecution() may be called from any
// thread; each call queues one run. Destroying the messenger drops the runs still queued.
class OUTILS_SOCLE_EXPORT DMessagerSurFilCourant {
 public:
  DMessagerSurFilCourant();
  DMessagerSurFilCourant(const DMessagerSurFilCourant&) = delete;
  DMessagerSurFilCourant& operator=(const DMessagerSurFilCourant&) = delete;
  virtual ~DMessagerSurFilCourant();
  virtual void ExecuteSurFilCourant() = 0;

  void LanceExecution();
  // The same as LanceExecution(): the delay is ignored.
  void LanceExecutionApresDelai(double secondes);
  // Does nothing: a run already queued is not withdrawn.
  void InterrompsExecution();

 private:
  detail::PasserelleQt* passerelle_;
};

}  // namespace sdd
