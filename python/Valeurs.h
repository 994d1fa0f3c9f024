#pragma once

// Forme and Correction, the values searches return: named tuples of CPython's own kind (like
// os.stat_result), so that they compare with ==, hash, pickle and print as values, and cost
// one allocation each.
#include "Commun.h"

namespace outils_python {

py::object NouvelleForme(py::str forme, uint32_t numero, uint32_t rang1, uint32_t rang2, uint32_t detail);
py::object NouvelleCorrection(py::str forme, uint32_t numero, uint32_t cout, double probabilite);
void DeclareValeurs(py::module_& m);

}  // namespace outils_python
