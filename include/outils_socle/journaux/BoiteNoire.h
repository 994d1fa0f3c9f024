#pragma once

// The black box: the last N entries, kept in memory at a cost of a few tens of nanoseconds
// each, written out on demand or when the process dies of a fatal signal.
//
// Entries go into a ring of fixed slots claimed by one atomic increment; a text longer than a
// slot (kTailleTexte bytes) is cut there, at a character boundary. No lock, no allocation: any
// thread may add at any moment, a signal handler included. A slot being overwritten while the
// box is written out is skipped, never printed half old, half new. An entry whose slot is still
// being written by an older entry's writer (the ring came all the way round while that writer
// stalled) is dropped rather than mixed with it.
//
// InstalleSurSignauxFatals makes the box write itself to a file on SIGSEGV, SIGBUS, SIGFPE,
// SIGILL and SIGABRT, using only async-signal-safe calls (open, write, close), then lets the
// signal end the process as it would have. The handler runs on an alternate stack on the
// installing thread, so a stack overflow there is caught too. One box at a time is installed.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include <outils_socle/Export.h>
#include <outils_socle/journaux/EntreeJournal.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT BoiteNoire {
 public:
  static constexpr size_t kTailleTexte = 224;  // a slot is 256 bytes with its stamp

  // Keeps the last `nbEntrees` entries, rounded up to a power of two (at least 2).
  explicit BoiteNoire(size_t nbEntrees = 1024);
  BoiteNoire(const BoiteNoire&) = delete;
  BoiteNoire& operator=(const BoiteNoire&) = delete;
  // Uninstalls itself first if installed.
  ~BoiteNoire();

  void Ajoute(eNiveauJournal niveau, std::string_view texte) noexcept;
  // With the entry's own stamp.
  void Ajoute(const EntreeJournal& entree) noexcept;

  size_t Capacite() const { return masque_ + 1; }
  // Entries added since construction, kept or not.
  uint64_t NbAjouts() const { return prochain_.load(std::memory_order_relaxed); }

  // Writes the kept entries, oldest first, as journal lines to a file descriptor. Safe in a
  // signal handler. Returns the number of entries written.
  size_t Ecris(int descripteur) const noexcept;
  // Writes them to a file (created or emptied). Throws ErreurFichier (an OuvertureEchouee) with
  // the system's reason when the file cannot be created or written.
  size_t Ecris(const UniChemin& chemin) const;

  // Throws OuvertureEchouee for a path longer than 4,095 bytes, OperationInvalide if another
  // box is installed.
  void InstalleSurSignauxFatals(const UniChemin& chemin);
  void DesinstalleSignaux();

 private:
  struct _Case;
  static void SurSignalFatal(int signal) noexcept;
  // Sets *echec (when given) when a write fails, errno telling why.
  size_t EcrisEntrees(int descripteur, bool* echec) const noexcept;

  std::unique_ptr<_Case[]> cases_;
  size_t masque_;
  alignas(64) std::atomic<uint64_t> prochain_{0};
  char cheminSignal_[4096] = {};
};

}  // namespace sdd
