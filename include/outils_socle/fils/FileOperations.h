#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include <outils_socle/Export.h>
#include <outils_socle/fils/DMutex.h>

class UniChaine;

namespace sdd {

namespace detail {
class DFileRepartiteur;
}

class FileOperations;

// Runs a block at most once per guard, synchronously, however many threads call at once. A run
// that throws leaves the guard unused: the next call tries again. Copies have their own mutex.
class OUTILS_SOCLE_EXPORT OperationUnique {
 public:
  OperationUnique() = default;
  OperationUnique(const OperationUnique& autre);
  OperationUnique& operator=(const OperationUnique& autre);
  void operator()(const std::function<void()>& bloc);
  bool EstFaite() const { return fait_.load(std::memory_order_acquire); }

 private:
  friend class Operation;
  DMutex mutex_;
  std::atomic<bool> fait_{false};
};

// A unit of work owned by its caller, which keeps it alive until it has run.
class OUTILS_SOCLE_EXPORT Operation {
 public:
  virtual void run();  // calls Execute()
  virtual ~Operation();
  virtual void Execute() = 0;

  // Posts a block that calls Execute() on the queue.
  void Lance(FileOperations* file);
  // Execute() at most once per guard, here and now.
  void LanceUneSeuleFois(OperationUnique* garde);
};

// An operation queue: blocks posted to it run on the main thread's event loop (Principale), on
// the shared pool at a priority (Globale*), or one at a time in posting order on a private lane
// (the constructor). Posting may be done from any thread. Waiting posts (Sync, NFois) are meant
// for short waits; a block that throws under them leaves the waiter waiting for ever.
class OUTILS_SOCLE_EXPORT FileOperations {
 public:
  // A private serial lane of its own; the name is not used.
  explicit FileOperations(const UniChaine& nom);
  FileOperations(const FileOperations&) = delete;
  FileOperations& operator=(const FileOperations&) = delete;
  // A private lane finishes the blocks still queued, then its thread ends; shared queues stay.
  virtual ~FileOperations();

  // New handles on the process-wide dispatchers (not owning them).
  static FileOperations* CreePrincipale();
  static FileOperations* CreeGlobaleDeDefaut();
  static FileOperations* CreeGlobalePrioriteHaute();
  static FileOperations* CreeGlobalePrioriteBasse();
  // The process-wide handles, made on first call and kept for the life of the process.
  static FileOperations* Principale();
  static FileOperations* GlobaleDeDefaut();
  static FileOperations* GlobalePrioriteHaute();
  static FileOperations* GlobalePrioriteBasse();

  void LanceBlocOperation(std::function<void()> bloc);
  // Posts and waits for the block to finish. Except on the main-thread queue, the block goes
  // straight to the pool at default priority (a private lane's order is bypassed). From the main
  // thread, a synchronous post to the main-thread queue never returns.
  void LanceBlocOperationSync(std::function<void()> bloc);
  // Posts after `secondes` (truncated to milliseconds), through a timer of the calling thread,
  // which must run an event loop.
  void LanceBlocOperationApresTemps(double secondes, std::function<void()> bloc);
  // Runs bloc(0) to bloc(n − 1) (in parallel on the pool) and waits for all. n is read as a
  // signed 32-bit count: 0 and values of 2^31 and more do nothing.
  void LanceBlocOperationNFois(unsigned long long n, std::function<void(unsigned long long)> bloc);

  // Stops the shared pool (DGestionnaireFils::LibereInstance); queues are not touched.
  static void LibereTout();

 protected:
  FileOperations(detail::DFileRepartiteur* repartiteur, bool possede);
  detail::DFileRepartiteur* Repartiteur() const { return repartiteur_; }

 private:
  bool possede_;
  detail::DFileRepartiteur* repartiteur_;
};

// A queue where a newer request voids older ones not yet started: of a burst, only the last
// runs. A running block receives the count of requests posted since it was taken up, and may
// stop early when it is no longer 0.
class OUTILS_SOCLE_EXPORT FileOperationsInterruptible : public FileOperations {
 public:
  explicit FileOperationsInterruptible(const UniChaine& nom);
  ~FileOperationsInterruptible() override;

  static FileOperationsInterruptible* Principale();
  static FileOperationsInterruptible* GlobaleDeDefaut();
  static FileOperationsInterruptible* GlobalePrioriteHaute();
  static FileOperationsInterruptible* GlobalePrioriteBasse();

  // The block receives the live count of newer requests; read it with LisDemandes, since other
  // threads change it while the block runs.
  void LanceBlocOperation(std::function<void(const unsigned int&)> bloc);
  static unsigned int LisDemandes(const unsigned int& demandes) {
    return __atomic_load_n(&demandes, __ATOMIC_ACQUIRE);
  }

 private:
  explicit FileOperationsInterruptible(detail::DFileRepartiteur* repartiteur);
  std::atomic<unsigned int> demandes_{0};
  DMutex mutex_;
};

// Blocks counted in and waited for as a whole.
class OUTILS_SOCLE_EXPORT GroupeOperations {
 public:
  GroupeOperations();
  GroupeOperations(const GroupeOperations&) = delete;
  GroupeOperations& operator=(const GroupeOperations&) = delete;
  // Waits for the outstanding blocks first.
  virtual ~GroupeOperations();

  void AjouteOperationBloc(FileOperations* file, std::function<void()> bloc);
  void AjouteOperation(FileOperations* file, Operation* operation);
  // Returns once no block of the group is outstanding (at once when none is).
  void AttendreLaFinDesOperations();
  // Runs the block on that queue once the group is idle (it polls by re-posting itself). The
  // block runs under the group's lock: it must not add to the same group.
  void AvertirOperationBlocALaFinDesOperations(FileOperations* file, std::function<void()> bloc);
  void AvertirOperationALaFinDesOperations(FileOperations* file, Operation* operation);

 private:
  struct _Rep;
  std::shared_ptr<_Rep> rep_;
};

}  // namespace sdd
