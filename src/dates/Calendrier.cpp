// The day counts work in 64 bits and in closed form (no loop over months or years), so that
// absurd dates cost no more than real ones; the result is the count's low 32 bits.
#include <outils_socle/dates/Calendrier.h>

#include <algorithm>
#include <cstdint>
#include <ctime>

namespace {

// Length of a month in a common year; any month outside 1-12 counts 31 days.
int64_t LongueurMois(int64_t mois) {
  switch (mois) {
    case 2: return 28;
    case 4:
    case 6:
    case 9:
    case 11: return 30;
    default: return 31;
  }
}

// Days of months a to b (a <= b) in a common year.
int64_t JoursDesMois(int64_t a, int64_t b) {
  if (a > b) return 0;
  int64_t total = 0;
  // Months below 1 (31 days each) in closed form; the rest is at most a year of months.
  if (a < 1) {
    const int64_t fin = std::min<int64_t>(b, 0);
    total += 31 * (fin - a + 1);
    a = 1;
  }
  for (int64_t mm = a; mm <= std::min<int64_t>(b, 12); ++mm) total += LongueurMois(mm);
  if (b > 12) total += 31 * (b - std::max<int64_t>(a, 13) + 1);
  return total;
}

// Leap years among 1..y (y >= 0), Julian and Gregorian rules.
int64_t BissextilesJuliens(int64_t y) { return y / 4; }
int64_t BissextilesGregoriens(int64_t y) { return y / 4 - y / 100 + y / 400; }

// Leap years in [a, b]: none below 1, the Julian rule up to `reforme`, the Gregorian after.
int64_t Bissextiles(int64_t a, int64_t b, int64_t reforme) {
  a = std::max<int64_t>(a, 1);
  if (a > b) return 0;
  int64_t n = 0;
  const int64_t finJulien = std::min(b, reforme);
  if (a <= finJulien) n += BissextilesJuliens(finJulien) - BissextilesJuliens(a - 1);
  const int64_t debutGregorien = std::max(a, reforme + 1);
  if (debutGregorien <= b) n += BissextilesGregoriens(b) - BissextilesGregoriens(debutGregorien - 1);
  return n;
}

bool EstBissextile(int64_t annee, int64_t reforme) { return Bissextiles(annee, annee, reforme) == 1; }

// Days from the anchor month of year `depuis` to the same month of year `annee`: each year
// crossed brings the February that follows the anchor.
int64_t MarcheDesAnnees(int64_t annee, int64_t depuis, int64_t reforme) {
  if (annee > depuis) return 365 * (annee - depuis) + Bissextiles(depuis + 1, annee, reforme);
  if (annee < depuis) return -(365 * (depuis - annee) + Bissextiles(annee + 1, depuis, reforme));
  return 0;
}

// The date's own leap day, always by the French reform's rule: counted by the year walk, it
// lies after a date in January or February (up to the 29th) of that year.
int64_t CorrectionJourBissextile(int64_t jour, int64_t mois, int64_t annee) {
  if (annee >= 1 && EstBissextile(annee, 1582) && (mois == 1 || (mois == 2 && jour <= 29))) return -1;
  return 0;
}

int Bas32(int64_t v) { return static_cast<int>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }

}  // namespace

int CalculeEcartDepuis15821209(int jour, int mois, int annee) {
  // Minus the days from the first of the month to the first of December (a 28-day February).
  const int64_t decalageMois = -JoursDesMois(mois, 11);
  const int64_t total =
      decalageMois + MarcheDesAnnees(annee, 1582, 1582) + CorrectionJourBissextile(jour, mois, annee);
  const bool apres = annee > 1582 || (annee == 1582 && (mois > 12 || (mois == 12 && jour > 9)));
  return Bas32(int64_t{jour} - (apres ? 19 : 9) + total);
}

int CalculeEcartDepuis17520902(int jour, int mois, int annee) {
  // From the first of the month to the first of September, before or after it; a month above
  // 12 counts as December.
  const int64_t m = std::min(mois, 12);
  const int64_t decalageMois = m < 9 ? -JoursDesMois(m, 8) : JoursDesMois(9, m - 1);
  const int64_t total =
      decalageMois + MarcheDesAnnees(annee, 1752, 1752) + CorrectionJourBissextile(jour, mois, annee);
  const bool apres = annee > 1752 || (annee == 1752 && (mois > 9 || (mois == 9 && jour > 2)));
  return Bas32(int64_t{jour} - (apres ? 13 : 2) + total);
}

int CompareDates(int a1, int b1, int c1, int a2, int b2, int c2) {
  if (a1 != a2) return a1 < a2 ? -1 : 1;
  if (b1 != b2) return b1 < b2 ? -1 : 1;
  if (c1 != c2) return c1 < c2 ? -1 : 1;
  return 0;
}

void DonneDate(int* annee, int* mois, int* jour, typJourSem* jourSem) {
  const std::time_t maintenant = std::time(nullptr);
  std::tm local{};
  localtime_r(&maintenant, &local);
  if (annee != nullptr) *annee = local.tm_year + 1900;
  if (mois != nullptr) *mois = local.tm_mon + 1;
  if (jour != nullptr) *jour = local.tm_mday;
  // tm_wday counts from Sunday = 0.
  if (jourSem != nullptr) *jourSem = static_cast<typJourSem>(local.tm_wday + 1);
}

int CalculeDifferenceDates(int annee, int mois, int jour) {
  int a = 0, m = 0, j = 0;
  DonneDate(&a, &m, &j);
  return Bas32(int64_t{CalculeEcartDepuis15821209(j, m, a)} - CalculeEcartDepuis15821209(jour, mois, annee));
}
