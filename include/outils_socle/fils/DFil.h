#pragma once

#include <cstdint>

#include <outils_socle/Export.h>

namespace sdd {

class ReceveurTrace;

// A thread whose body is Execute(), supplied by a subclass. Debute() starts one run on a new
// platform thread with a priority; Termine() then runs on that thread right after Execute().
// Debute() on a finished DFil starts a new run; on a running one it would abandon the running
// thread object, which callers avoid. The DFil must outlive its run: its destructor waits for the
// run to end. One owner thread starts, waits for and destroys a DFil; not copyable.
class OUTILS_SOCLE_EXPORT DFil {
 public:
  // Shifted by one against the platform's levels: 0 inherits the starting thread's priority.
  enum ePriorite {
    ePrioriteHeritee = 0,
    ePrioriteInactive = 1,
    ePrioritePlusBasse = 2,
    ePrioriteBasse = 3,
    ePrioriteNormale = 4,
    ePrioriteHaute = 5,
    ePrioritePlusHaute = 6,
    ePrioriteCritique = 7,  // any other value inherits
  };

  explicit DFil(int identifiant);
  DFil(const DFil&) = delete;
  DFil& operator=(const DFil&) = delete;
  virtual ~DFil();

  // Waits without limit for the run to end. Requires a Debute() before.
  virtual void AttendsLaFin();
  virtual void Debute(ePriorite priorite);
  // Runs on the thread right after Execute(); does nothing unless overridden.
  virtual void Termine();
  virtual void Execute() = 0;
  // The trace receiver this thread uses; none by default.
  virtual ReceveurTrace* PreteReceveurTrace();

  bool ATerminay() const;  // requires a Debute() before
  int DonneIdent() const;
  // The priority level the last run was started with on the platform (0 idle to 6 time-critical,
  // 7 inherit), for diagnosis; -1 before the first start.
  int DonnePrioritePlateforme() const;

  // The DFil running the calling thread, or null (the main thread, threads made otherwise).
  static DFil* FilCourant();
  // Sleeps seconds × 1000 milliseconds, truncated; nothing wakes it early.
  static void Dors(float secondes);
  // Gives up the rest of the time slice.
  static void LachePriorite();
  // The logical processors (at least 1); both give the same count.
  static int NbProcesseurs();
  static int NbProcesseursPhysiques();

 private:
  struct _Rep;
  _Rep* rep_;
};

}  // namespace sdd
