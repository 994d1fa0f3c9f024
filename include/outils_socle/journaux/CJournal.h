#pragma once

// A size-capped journal file. Entries are appended as lines (see EntreeJournal.h); when the
// next entry would take the file past its cap, the file is rotated first: "journal.log" becomes
// "journal.1.log", "journal.1.log" becomes "journal.2.log" and so on, the oldest beyond
// `nbAnciens` is deleted, and a new "journal.log" starts. An entry is never split across
// files; one longer than the cap gets a file of its own.
//
// Built on spdlog's rotating file sink. Every member may be called from any thread: each entry
// is formatted whole and written under the sink's lock, so the lines of several threads never
// interleave. Writes are buffered; entries at eErreur and above, Vide() and the destructor
// flush them to the system. A write that fails (disk full) loses that entry and is counted,
// never thrown: a journal must not bring down what it watches.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <outils_socle/Export.h>
#include <outils_socle/journaux/EntreeJournal.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT CJournal {
 public:
  // Opens (appending) or creates the file, and the folders above it. Throws OuvertureEchouee when it cannot,
  // and OperationInvalide for a cap of 0.
  CJournal(const UniChemin& chemin, uint64_t tailleMax, int nbAnciens);
  CJournal(const CJournal&) = delete;
  CJournal& operator=(const CJournal&) = delete;
  ~CJournal();

  void Ajoute(eNiveauJournal niveau, std::string_view texte);
  // These two only settle the choice between string_view and UniChaine for the caller.
  void Ajoute(eNiveauJournal niveau, const std::string& texte) { Ajoute(niveau, std::string_view(texte)); }
  void Ajoute(eNiveauJournal niveau, const char* texte) { Ajoute(niveau, std::string_view(texte)); }
  void Ajoute(eNiveauJournal niveau, const UniChaine& texte);
  // The alert's DonneMessagePourJournalisation() as it is, at NiveauPourAlerte's level.
  void Ajoute(const DAlerteInfo& alerte);
  // An entry stamped by someone else (a trace receiver keeps the stamp of the trace).
  void Ajoute(const EntreeJournal& entree);

  void Vide();
  UniChemin Chemin() const;
  uint64_t NbEntreesPerdues() const;

 private:
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
};

}  // namespace sdd
