#pragma once

// What the files of the Python module share: strings across the boundary, the translation of
// the library's exceptions, and each part's registration in the module.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <outils_socle/texte/ChaineN.h>

#include <string>
#include <string_view>

namespace outils_python {

namespace py = pybind11;
using sdd::ChaineN;

// Strings cross as str; inside, the library's UTF-16.
inline ChaineN N(const std::u16string& s) { return ChaineN(s.data(), static_cast<uint64_t>(s.size())); }
inline std::u16string U(const ChaineN& s) { return std::u16string(s.DonneUnites(), s.Longueur()); }

// The UTF-16 units of a str without building a Python or C++ string on the way: Python keeps
// text as 1, 2 or 4 bytes per code point; the 2-byte form is already UTF-16 and is lent as it
// is, the others are widened into `tampon` (code points past the BMP as surrogate pairs).
inline std::u16string_view Unites(const py::handle& objet, std::u16string& tampon) {
  PyObject* s = objet.ptr();
  if (!PyUnicode_Check(s)) throw py::type_error("str attendu");
  const Py_ssize_t n = PyUnicode_GET_LENGTH(s);
  const void* donnees = PyUnicode_DATA(s);
  switch (PyUnicode_KIND(s)) {
    case PyUnicode_2BYTE_KIND:
      return std::u16string_view(static_cast<const char16_t*>(donnees), static_cast<std::size_t>(n));
    case PyUnicode_1BYTE_KIND: {
      const auto* octets = static_cast<const Py_UCS1*>(donnees);
      tampon.assign(octets, octets + n);
      return tampon;
    }
    default: {
      const auto* points = static_cast<const Py_UCS4*>(donnees);
      tampon.clear();
      for (Py_ssize_t i = 0; i < n; ++i) {
        const Py_UCS4 c = points[i];
        if (c < 0x10000) {
          tampon.push_back(static_cast<char16_t>(c));
        } else {
          tampon.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
          tampon.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
        }
      }
      return tampon;
    }
  }
}

// Sets the Python error for a library exception; rethrows anything else.
void Traduis(std::exception_ptr p);

// The exact lookup is the call Python code makes millions of times: it goes straight through
// CPython's calling convention (METH_O) rather than pybind11's general dispatcher, which
// halves the cost of crossing into the library.
template <typename F>
PyObject* Protege(F&& f) {
  try {
    return f();
  } catch (py::error_already_set& e) {
    e.restore();
  } catch (py::builtin_exception& e) {
    e.set_error();
  } catch (...) {
    try {
      Traduis(std::current_exception());
    } catch (...) {
      PyErr_SetString(PyExc_RuntimeError, "outils_socle : erreur inattendue");
    }
  }
  return nullptr;
}

// Each part adds its classes and functions to the module.
void DeclareErreurs(py::module_& m);
void DeclareTexte(py::module_& m);
void DeclareLexique(py::module_& m);
void DeclareTable(py::module_& m);
void DeclareSynchro(py::module_& m);
void DeclareCalendrier(py::module_& m);

}  // namespace outils_python
