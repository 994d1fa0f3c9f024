// The calendar across the French and British reforms.
#include <outils_socle/dates/Calendrier.h>

#include "Commun.h"

namespace outils_python {

void DeclareCalendrier(py::module_& m) {
  // ---- calendar
  m.def("calcule_ecart_depuis_15821209", &CalculeEcartDepuis15821209, py::arg("jour"), py::arg("mois"),
        py::arg("annee"), "Jours depuis le 9 décembre 1582 (réforme française).");
  m.def("calcule_ecart_depuis_17520902", &CalculeEcartDepuis17520902, py::arg("jour"), py::arg("mois"),
        py::arg("annee"), "Jours depuis le 2 septembre 1752 (réforme britannique).");
  m.def("calcule_difference_dates", &CalculeDifferenceDates, py::arg("annee"), py::arg("mois"),
        py::arg("jour"), "Jours de la date à aujourd’hui, positifs pour une date passée.");
  m.def("compare_dates", &CompareDates, py::arg("annee1"), py::arg("mois1"), py::arg("jour1"),
        py::arg("annee2"), py::arg("mois2"), py::arg("jour2"), "-1, 0 ou 1.");
  m.def(
      "donne_date",
      []() {
        int a = 0, mo = 0, j = 0;
        typJourSem js{};
        DonneDate(&a, &mo, &j, &js);
        return py::make_tuple(a, mo, j, static_cast<int>(js));
      },
      "(année, mois, jour, jour de la semaine) d’aujourd’hui.");
}

}  // namespace outils_python
