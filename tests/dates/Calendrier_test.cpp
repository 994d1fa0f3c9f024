// The day counts against the worked examples, and against an independent count: Julian day
// numbers (Fliegel and Van Flandern's formulas), each date in the calendar in force where it
// falls, for thousands of random valid dates.
#include <outils_socle/dates/Calendrier.h>

#include <gtest/gtest.h>
#include <QDate>

#include <random>

namespace {

int64_t JourJulienGregorien(int64_t j, int64_t m, int64_t a) {
  const int64_t c = (14 - m) / 12, y = a + 4800 - c, mm = m + 12 * c - 3;
  return j + (153 * mm + 2) / 5 + 365 * y + y / 4 - y / 100 + y / 400 - 32045;
}

int64_t JourJulienJulien(int64_t j, int64_t m, int64_t a) {
  const int64_t c = (14 - m) / 12, y = a + 4800 - c, mm = m + 12 * c - 3;
  return j + (153 * mm + 2) / 5 + 365 * y + y / 4 - 32083;
}

bool BissextileJulienne(int a) { return a % 4 == 0; }
bool BissextileGregorienne(int a) { return (a % 4 == 0 && a % 100 != 0) || a % 400 == 0; }

int Longueur(int m, bool bissextile) {
  static const int jours[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && bissextile ? 29 : jours[m - 1];
}

TEST(Calendrier, ExemplesReforme1582) {
  EXPECT_EQ(CalculeEcartDepuis15821209(9, 12, 1582), 0);
  EXPECT_EQ(CalculeEcartDepuis15821209(20, 12, 1582), 1);
  EXPECT_EQ(CalculeEcartDepuis15821209(31, 12, 1582), 12);
  EXPECT_EQ(CalculeEcartDepuis15821209(1, 1, 1583), 13);
  EXPECT_EQ(CalculeEcartDepuis15821209(1, 1, 1584), 378);
  EXPECT_EQ(CalculeEcartDepuis15821209(1, 3, 1584), 438);
  EXPECT_EQ(CalculeEcartDepuis15821209(1, 1, 1582), -342);
  EXPECT_EQ(CalculeEcartDepuis15821209(1, 1, 2000), 152319);
  EXPECT_EQ(CalculeEcartDepuis15821209(1, 1, 1), -577802);
  // Days of the gap read as day - 19.
  EXPECT_EQ(CalculeEcartDepuis15821209(10, 12, 1582), -9);
  EXPECT_EQ(CalculeEcartDepuis15821209(19, 12, 1582), 0);
}

TEST(Calendrier, ExemplesReforme1752) {
  EXPECT_EQ(CalculeEcartDepuis17520902(2, 9, 1752), 0);
  EXPECT_EQ(CalculeEcartDepuis17520902(14, 9, 1752), 1);
  EXPECT_EQ(CalculeEcartDepuis17520902(3, 9, 1752), -10);
  EXPECT_EQ(CalculeEcartDepuis17520902(1, 1, 1753), 110);
  EXPECT_EQ(CalculeEcartDepuis17520902(1, 1, 1752), -245);
  EXPECT_EQ(CalculeEcartDepuis17520902(1, 1, 2000), 90324);
  // The kept quirk of January and February 1700.
  EXPECT_EQ(CalculeEcartDepuis17520902(1, 1, 1700), -19237);
  EXPECT_EQ(CalculeEcartDepuis17520902(28, 2, 1700), -19179);
  EXPECT_EQ(CalculeEcartDepuis17520902(29, 2, 1700), -19178);
  EXPECT_EQ(CalculeEcartDepuis17520902(1, 3, 1700), -19178);
}

TEST(Calendrier, DatesHorsNormes) {
  for (auto compte : {CalculeEcartDepuis15821209, CalculeEcartDepuis17520902}) {
    EXPECT_EQ(compte(1, 3, 1600) - compte(1, 1, 1600), 60);
    EXPECT_EQ(compte(1, 3, 1500) - compte(1, 1, 1500), 60);  // Julian leap year
    EXPECT_EQ(compte(32, 1, 2000), compte(1, 2, 2000));
    EXPECT_EQ(compte(1, 13, 2000), compte(1, 12, 2000));
    // Month 0: 31 days before January (in a common year: the leap-day step looks at months 1
    // and 2 only).
    EXPECT_EQ(compte(1, 1, 2001) - compte(1, 0, 2001), 31);
    EXPECT_EQ(compte(1, 0, 2001), compte(1, 12, 2000));
    EXPECT_EQ(compte(1, 1, 1) - compte(1, 1, 0), 365);
    EXPECT_EQ(compte(1, 1, 0) - compte(1, 1, -4), 4 * 365);  // no leap years below 1
    // Absurd values cost no more than real ones, and do not crash.
    compte(2000000000, -2000000000, -2000000000);
    compte(-2000000000, 2000000000, 2000000000);
  }
}

TEST(Calendrier, ContreLesJoursJuliens) {
  std::mt19937 alea(1582);
  const int64_t origine1582 = JourJulienJulien(9, 12, 1582);
  const int64_t origine1752 = JourJulienJulien(2, 9, 1752);
  ASSERT_EQ(origine1582 + 1, JourJulienGregorien(20, 12, 1582));
  ASSERT_EQ(origine1752 + 1, JourJulienGregorien(14, 9, 1752));
  for (int essai = 0; essai < 20000; ++essai) {
    const int a = 1 + static_cast<int>(alea() % 4000);
    const int m = 1 + static_cast<int>(alea() % 12);
    // 1582 reform.
    {
      const bool julien = a < 1582 || (a == 1582 && (m < 12));
      const bool bissextile = julien || a < 1582 ? BissextileJulienne(a) : BissextileGregorienne(a);
      const int j =
          1 + static_cast<int>(alea() % Longueur(m, a <= 1582 ? BissextileJulienne(a) : bissextile));
      if (!(a == 1582 && m == 12 && j > 9 && j < 20)) {
        const bool avant = a < 1582 || (a == 1582 && (m < 12 || j <= 9));
        const int64_t jj = avant ? JourJulienJulien(j, m, a) : JourJulienGregorien(j, m, a);
        ASSERT_EQ(CalculeEcartDepuis15821209(j, m, a), jj - origine1582) << j << "/" << m << "/" << a;
      }
    }
    // 1752 reform.
    {
      const bool bissextile = a <= 1752 ? BissextileJulienne(a) : BissextileGregorienne(a);
      const int j = 1 + static_cast<int>(alea() % Longueur(m, bissextile));
      if (!(a == 1752 && m == 9 && j > 2 && j < 14)) {
        const bool avant = a < 1752 || (a == 1752 && (m < 9 || (m == 9 && j <= 2)));
        const int64_t jj = avant ? JourJulienJulien(j, m, a) : JourJulienGregorien(j, m, a);
        const int64_t attendu = jj - origine1752 + (a == 1700 && m <= 2 ? 1 : 0);
        ASSERT_EQ(CalculeEcartDepuis17520902(j, m, a), attendu) << j << "/" << m << "/" << a;
      }
    }
  }
}

TEST(Calendrier, ComparaisonEtAujourdhui) {
  EXPECT_EQ(CompareDates(2020, 5, 1, 2020, 5, 2), -1);
  EXPECT_EQ(CompareDates(2020, 6, 1, 2020, 5, 30), 1);
  EXPECT_EQ(CompareDates(2020, 6, 1, 2020, 6, 1), 0);
  EXPECT_EQ(CompareDates(2019, 12, 31, 2020, 1, 1), -1);
  // Today, from Qt's clock as an independent source (read twice, in case midnight passes).
  for (int essai = 0; essai < 2; ++essai) {
    const QDate qt = QDate::currentDate();
    int a = 0, m = 0, j = 0;
    typJourSem js{};
    DonneDate(&a, &m, &j, &js);
    if (QDate::currentDate() != qt) continue;
    EXPECT_EQ(a, qt.year());
    EXPECT_EQ(m, qt.month());
    EXPECT_EQ(j, qt.day());
    EXPECT_EQ(js, qt.dayOfWeek() == 7 ? kDimanche : static_cast<typJourSem>(qt.dayOfWeek() + 1));
    DonneDate(&a, &m, &j);  // no weekday wanted
    EXPECT_EQ(CalculeDifferenceDates(a, m, j), 0);
    const QDate hier = qt.addDays(-1000);
    EXPECT_EQ(CalculeDifferenceDates(hier.year(), hier.month(), hier.day()), 1000);
    break;
  }
}

}  // namespace
