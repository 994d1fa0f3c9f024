#pragma once

#include <atomic>

#include <outils_socle/Export.h>

namespace sdd {

// The library's locks, over Qt's, whose types stay hidden behind pointers. No lock has a
// time-out. These objects are not copyable: each owns its Qt object.

// A mutex, non-recursive by default: a second Verrouille() by the same thread blocks forever.
class OUTILS_SOCLE_EXPORT DMutex {
 public:
  enum eTypeMutex {
    eMutexSimple = 0,
    eMutexRecursif = 1,  // the owner may lock again; each lock needs its unlock
  };

  explicit DMutex(eTypeMutex type = eMutexSimple);  // any value but 1 is simple
  DMutex(const DMutex&) = delete;
  DMutex& operator=(const DMutex&) = delete;
  ~DMutex();

  void Verrouille();
  void Deverrouille();
  // One try, without waiting.
  bool EssaieVerrouille();

 private:
  friend class DCondAttente;
  struct _Rep;
  _Rep* rep_;
};

// A condition to wait on with a locked DMutex.
class OUTILS_SOCLE_EXPORT DCondAttente {
 public:
  DCondAttente();
  DCondAttente(const DCondAttente&) = delete;
  DCondAttente& operator=(const DCondAttente&) = delete;
  ~DCondAttente();

  // Waits without limit; `mutex` is locked by the caller, released while waiting, locked again
  // on return.
  void Attends(DMutex& mutex);
  // Does nothing and returns at once, by design: neither waits nor touches the mutex. A timed
  // wait is DFil::Dors or a caller's own loop.
  void AttendsTemps(DMutex& mutex, float secondes);
  void ReveilUn();
  void ReveilTous();

 private:
  struct _Rep;
  _Rep* rep_;
};

// Many readers or one writer, with writer preference: a writer waiting for the readers to leave
// holds the entry gate, so no new reader starts before it has had its turn.
//   reader in:  gate, writer mutex, counter mutex; count + 1; all released
//   reader out: count − 1 under the counter mutex, then every waiter woken
//   writer in:  gate, counter mutex, wait until the count is 0, both released, then the writer
//               mutex, held until the writer leaves
// Read holds nest on one thread, unless a writer started waiting in between (the nested request
// then blocks forever); the write hold does not nest, and a writer cannot take a read hold.
class OUTILS_SOCLE_EXPORT DMutexLMRU {
 public:
  DMutexLMRU();
  DMutexLMRU(const DMutexLMRU&) = delete;
  DMutexLMRU& operator=(const DMutexLMRU&) = delete;

  void VerrouilleLecteur();
  void DeverrouilleLecteur();
  void VerrouilleRedacteur();
  void DeverrouilleRedacteur();
  // The readers inside, read without a lock: a hint, exact only when nothing changes.
  int NbLecteurs() const;

 private:
  DCondAttente lecteurSorti_;       // signalled whenever a reader leaves
  DMutex porte_;                    // the entry gate
  DMutex redacteur_;                // held by the writer while it owns the lock
  DMutex compteur_;                 // guards nbLecteurs_; the condition's mutex
  std::atomic<int> nbLecteurs_{0};  // changed under compteur_; NbLecteurs() reads it lock-free
};

// Scope lockers.
class OUTILS_SOCLE_EXPORT StVerrouilleDMutex {
 public:
  explicit StVerrouilleDMutex(DMutex* mutex);  // null: does nothing
  StVerrouilleDMutex(const StVerrouilleDMutex&) = delete;
  StVerrouilleDMutex& operator=(const StVerrouilleDMutex&) = delete;
  ~StVerrouilleDMutex();

 private:
  DMutex* mutex_;
};

// Like StVerrouilleDMutex, with an early release. Deverrouille() checks nothing: a second call
// unlocks a second time.
class OUTILS_SOCLE_EXPORT StVerrouilleDMutexTemp {
 public:
  explicit StVerrouilleDMutexTemp(DMutex* mutex);  // not null
  StVerrouilleDMutexTemp(const StVerrouilleDMutexTemp&) = delete;
  StVerrouilleDMutexTemp& operator=(const StVerrouilleDMutexTemp&) = delete;
  ~StVerrouilleDMutexTemp();
  void Deverrouille();

 private:
  DMutex* mutex_;
  bool libere_ = false;
};

// The three reader/writer lockers act only when `actif` is true, so that a caller may write the
// locker unconditionally and decide at run time.
class OUTILS_SOCLE_EXPORT StVerrouilleLecteur {
 public:
  StVerrouilleLecteur(DMutexLMRU* verrou, bool actif);
  StVerrouilleLecteur(const StVerrouilleLecteur&) = delete;
  StVerrouilleLecteur& operator=(const StVerrouilleLecteur&) = delete;
  ~StVerrouilleLecteur();

 private:
  DMutexLMRU* verrou_;
  bool actif_;
};

class OUTILS_SOCLE_EXPORT StVerrouilleRedacteur {
 public:
  StVerrouilleRedacteur(DMutexLMRU* verrou, bool actif);
  StVerrouilleRedacteur(const StVerrouilleRedacteur&) = delete;
  StVerrouilleRedacteur& operator=(const StVerrouilleRedacteur&) = delete;
  ~StVerrouilleRedacteur();

 private:
  DMutexLMRU* verrou_;
  bool actif_;
};

// Gives back one read hold for its scope (a reader that must let a writer through), and takes it
// again at the end.
class OUTILS_SOCLE_EXPORT StDeverrouilleLecteur {
 public:
  StDeverrouilleLecteur(DMutexLMRU* verrou, bool actif);
  StDeverrouilleLecteur(const StDeverrouilleLecteur&) = delete;
  StDeverrouilleLecteur& operator=(const StDeverrouilleLecteur&) = delete;
  ~StDeverrouilleLecteur();

 private:
  DMutexLMRU* verrou_;
  bool actif_;
};

}  // namespace sdd
