// The calendar across the French and British reforms.
#include <outils_socle/dates/Calendrier.h>

#include "Commun.h"

namespace outils_python {

namespace {

// The counts are ints: within these bounds every day number, and the difference of two, fits
// (5 million years are under 1.9 billion days), so no answer wraps silently.
constexpr int64_t kAnneeMax = 5000000;
constexpr int64_t kMoisMax = 10000;
constexpr int64_t kJourMax = 100000000;

struct Date {
  int jour, mois, annee;
};

Date LisDate(ArgEntier jour, ArgEntier mois, ArgEntier annee) {
  return Date{static_cast<int>(Entier(jour, "jour", -kJourMax, kJourMax)),
              static_cast<int>(Entier(mois, "mois", -kMoisMax, kMoisMax)),
              static_cast<int>(Entier(annee, "annee", -kAnneeMax, kAnneeMax))};
}

// Ends each counting function's docstring (a literal, so that the texts are joined at compile
// time and live as long as the module, as pybind11 needs).
#define OUTILS_PYTHON_DATES_NON_VERIFIEES                                                                     \
  "\n\nLes dates ne sont pas vérifiées, comme dans la bibliothèque : un jour au-delà de la fin du mois "  \
  "continue sur les suivants, un mois au-dessus de 12 compte comme décembre, le mois 0 comme un mois de 31 " \
  "jours avant janvier ; les années avant 1 sont communes. Années de -5 000 000 à 5 000 000, mois de "     \
  "-10 000 à 10 000, jours de -100 000 000 à 100 000 000 : au-delà, ValueError."

}  // namespace

void DeclareCalendrier(py::module_& m) {
  m.def(
      "calcule_ecart_depuis_15821209",
      [](ArgEntier jour, ArgEntier mois, ArgEntier annee) {
        const Date d = LisDate(jour, mois, annee);
        return CalculeEcartDepuis15821209(d.jour, d.mois, d.annee);
      },
      py::arg("jour"), py::arg("mois"), py::arg("annee"),
      "Jours depuis le 9 décembre 1582 (réforme française) : 0 ce jour-là, 1 le 20 décembre 1582. "
      "Attention à l’ordre (jour, mois, année)." OUTILS_PYTHON_DATES_NON_VERIFIEES);
  m.def(
      "calcule_ecart_depuis_17520902",
      [](ArgEntier jour, ArgEntier mois, ArgEntier annee) {
        const Date d = LisDate(jour, mois, annee);
        return CalculeEcartDepuis17520902(d.jour, d.mois, d.annee);
      },
      py::arg("jour"), py::arg("mois"), py::arg("annee"),
      "Jours depuis le 2 septembre 1752 (réforme britannique) : 0 ce jour-là, 1 le 14 septembre 1752. "
      "Attention à l’ordre (jour, mois, année)." OUTILS_PYTHON_DATES_NON_VERIFIEES);
  m.def(
      "calcule_difference_dates",
      [](ArgEntier annee, ArgEntier mois, ArgEntier jour) {
        const Date d = LisDate(jour, mois, annee);
        return CalculeDifferenceDates(d.annee, d.mois, d.jour);
      },
      py::arg("annee"), py::arg("mois"), py::arg("jour"),
      "Jours de la date à aujourd’hui (date locale), positifs pour une date passée. Ordre (année, mois, "
      "jour)." OUTILS_PYTHON_DATES_NON_VERIFIEES);
  m.def(
      "compare_dates",
      [](ArgEntier annee1, ArgEntier mois1, ArgEntier jour1, ArgEntier annee2, ArgEntier mois2,
         ArgEntier jour2) {
        const auto e = [](ArgEntier a, const char* nom) {
          return static_cast<int>(Entier(a, nom, INT32_MIN, INT32_MAX));
        };
        return CompareDates(e(annee1, "annee1"), e(mois1, "mois1"), e(jour1, "jour1"), e(annee2, "annee2"),
                            e(mois2, "mois2"), e(jour2, "jour2"));
      },
      py::arg("annee1"), py::arg("mois1"), py::arg("jour1"), py::arg("annee2"), py::arg("mois2"),
      py::arg("jour2"),
      "-1, 0 ou 1 selon que la première date vient avant, est la même ou vient après (comparaison des "
      "triplets "
      "(année, mois, jour), sans vérification).");
  m.def(
      "donne_date",
      []() {
        int a = 0, mo = 0, j = 0;
        typJourSem js{};
        DonneDate(&a, &mo, &j, &js);
        return py::make_tuple(a, mo, j, static_cast<int>(js));
      },
      "(année, mois, jour, jour de la semaine) d’aujourd’hui, en date locale. Le jour de la semaine va de "
      "1, dimanche, à 7, samedi (2 lundi, 3 mardi, 4 mercredi, 5 jeudi, 6 vendredi) ; ce n’est pas la "
      "convention de datetime.isoweekday().");
}

}  // namespace outils_python
