#pragma once

// What every journal, black box and trace receiver shares: levels and the entry.
//
// An entry is written as one line: the time in UTC to the millisecond, the level, the system
// thread number and the text, separated by tabs:
//   2026-11-23 14:05:09.042<TAB>ERREUR<TAB>48211<TAB>Table non valide : Version non gérée
// A line break inside the text is followed by two spaces, so that every line that does not
// start with a space starts an entry. UTC, because the black box formats times inside a
// signal handler, where the time zone cannot be read; one clock for every journal keeps them
// comparable.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <outils_socle/Export.h>
#include <outils_socle/texte/DAlerteInfo.h>

namespace sdd {

enum class eNiveauJournal : uint8_t {
  eTrace,
  eDebogage,
  eInfo,
  eAvertissement,
  eErreur,
  eCritique,
};

// "TRACE", "DÉBOGAGE", "INFO", "AVERTISSEMENT", "ERREUR", "CRITIQUE".
OUTILS_SOCLE_EXPORT const char* NomNiveauJournal(eNiveauJournal niveau);
// An alert's level: eAlerte is an error, eAttention and eAvertissement warnings, the rest
// information.
OUTILS_SOCLE_EXPORT eNiveauJournal NiveauPourAlerte(const DAlerteInfo& alerte);

struct EntreeJournal {
  int64_t millisecondes = 0;  // since 1970-01-01 00:00 UTC
  eNiveauJournal niveau = eNiveauJournal::eInfo;
  int64_t fil = 0;         // the system's thread number (gettid)
  std::string_view texte;  // UTF-8; valid during the call that hands the entry over
};

// An entry stamped now, on the calling thread.
OUTILS_SOCLE_EXPORT EntreeJournal EntreeMaintenant(eNiveauJournal niveau, std::string_view texte);

// The line of an entry, with its final line break.
OUTILS_SOCLE_EXPORT std::string FormateEntree(const EntreeJournal& entree);

namespace detail {
// The line's start, up to and including the tab before the text, into `destination` (at least
// kTailleEnTeteEntree bytes); returns the length. No allocation, no lock, no library call: safe
// in a signal handler.
constexpr size_t kTailleEnTeteEntree = 80;
OUTILS_SOCLE_EXPORT size_t FormateEnTete(int64_t millisecondes, eNiveauJournal niveau, int64_t fil,
                                         char* destination) noexcept;
}  // namespace detail

}  // namespace sdd
