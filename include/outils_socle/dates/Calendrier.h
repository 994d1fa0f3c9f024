#pragma once

// Day counts across the two calendar reforms that matter to the library's users: the French
// one (Julian 9 December 1582 followed by Gregorian 20 December 1582) and the British one
// (Julian 2 September 1752 followed by Gregorian 14 September 1752). A counting function turns
// a date into a day number relative to its reform; the difference of two numbers is a count of
// days, each date read in the calendar in force where it falls.
//
// Dates are not checked: a day past the month's end runs on linearly, a month above 12 counts
// as December, month 0 as a 31-day month before January; years below 1 are common years (no
// year 0 is skipped). Work is constant whatever the values.

#include <outils_socle/Export.h>

// The weekday, as DonneDate gives it.
enum typJourSem {
  kDimanche = 1,
  kLundi = 2,
  kMardi = 3,
  kMercredi = 4,
  kJeudi = 5,
  kVendredi = 6,
  kSamedi = 7,
};

// Days from 9 December 1582: 0 for that day, 1 for 20 December 1582, the next day in France.
// Note the order (day, month, year).
OUTILS_SOCLE_EXPORT int CalculeEcartDepuis15821209(int jour, int mois, int annee);

// Days from 2 September 1752: 0 for that day, 1 for 14 September 1752, the next day in Britain.
// One step is kept from the French count on purpose: the leap day of the date's own year
// follows the Gregorian rule after 1582, so dates in January and February 1700 count one day
// more than the Julian calendar gives (29 February and 1 March 1700 share a number).
OUTILS_SOCLE_EXPORT int CalculeEcartDepuis17520902(int jour, int mois, int annee);

// Days from the date to today (local date), positive for a past date. Order (year, month, day).
OUTILS_SOCLE_EXPORT int CalculeDifferenceDates(int annee, int mois, int jour);

// -1, 0 or 1 as the triple (a1, b1, c1) sorts before, with or after (a2, b2, c2): pass
// (year, month, day).
OUTILS_SOCLE_EXPORT int CompareDates(int a1, int b1, int c1, int a2, int b2, int c2);

// Today's local date, and its weekday when `jourSem` is given.
OUTILS_SOCLE_EXPORT void DonneDate(int* annee, int* mois, int* jour, typJourSem* jourSem = nullptr);
