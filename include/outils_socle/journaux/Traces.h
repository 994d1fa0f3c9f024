#pragma once

// Trace receivers: a trace is stamped once and handed to every receiver whose threshold it
// reaches. Receivers for the standard error, a journal file, the black box and a caller's
// function are given; a caller may derive others.
//
// Traces may be called from any thread. Receivers are called on the tracing thread, under a
// shared lock, so they may run concurrently with each other and with themselves: each given
// receiver takes care of its own locking. A receiver must not add or remove receivers from
// Recois. A trace below every threshold costs one atomic load.

#include <atomic>
#include <functional>
#include <memory>
#include <string_view>

#include <outils_socle/Export.h>
#include <outils_socle/journaux/BoiteNoire.h>
#include <outils_socle/journaux/CJournal.h>
#include <outils_socle/journaux/EntreeJournal.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT RecepteurTrace {
 public:
  explicit RecepteurTrace(eNiveauJournal seuil) : seuil_(seuil) {}
  RecepteurTrace(const RecepteurTrace&) = delete;
  RecepteurTrace& operator=(const RecepteurTrace&) = delete;
  virtual ~RecepteurTrace();

  eNiveauJournal Seuil() const { return seuil_; }
  virtual void Recois(const EntreeJournal& entree) = 0;

 private:
  const eNiveauJournal seuil_;
};

// One write(2) per entry on descriptor 2, so lines of several processes do not mix either.
class OUTILS_SOCLE_EXPORT RecepteurErreurStandard : public RecepteurTrace {
 public:
  using RecepteurTrace::RecepteurTrace;
  void Recois(const EntreeJournal& entree) override;
};

class OUTILS_SOCLE_EXPORT RecepteurJournal : public RecepteurTrace {
 public:
  RecepteurJournal(eNiveauJournal seuil, std::shared_ptr<CJournal> journal);
  void Recois(const EntreeJournal& entree) override;

 private:
  std::shared_ptr<CJournal> journal_;
};

class OUTILS_SOCLE_EXPORT RecepteurBoiteNoire : public RecepteurTrace {
 public:
  RecepteurBoiteNoire(eNiveauJournal seuil, std::shared_ptr<BoiteNoire> boite);
  void Recois(const EntreeJournal& entree) override;

 private:
  std::shared_ptr<BoiteNoire> boite_;
};

// The function may be called from several threads at once.
class OUTILS_SOCLE_EXPORT RecepteurRappel : public RecepteurTrace {
 public:
  RecepteurRappel(eNiveauJournal seuil, std::function<void(const EntreeJournal&)> rappel);
  void Recois(const EntreeJournal& entree) override;

 private:
  std::function<void(const EntreeJournal&)> rappel_;
};

class OUTILS_SOCLE_EXPORT Traces {
 public:
  Traces();
  Traces(const Traces&) = delete;
  Traces& operator=(const Traces&) = delete;
  ~Traces();

  // The number identifies the receiver for Enleve.
  int Ajoute(std::shared_ptr<RecepteurTrace> recepteur);
  bool Enleve(int numero);

  bool EstUtile(eNiveauJournal niveau) const {
    return static_cast<int>(niveau) >= seuilMin_.load(std::memory_order_relaxed);
  }
  void Trace(eNiveauJournal niveau, std::string_view texte);
  void Trace(const DAlerteInfo& alerte);

  // The process's traces, for libraries and applications that share one set of receivers.
  static Traces& Globales();

 private:
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
  std::atomic<int> seuilMin_;  // the lowest threshold; above every level when there is none
};

}  // namespace sdd
