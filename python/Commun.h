#pragma once

// What the files of the Python module share: arguments checked into the library's types, the
// translation of the library's exceptions, and each part's registration in the module.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <outils_socle/texte/ChaineN.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace outils_python {

namespace py = pybind11;
using sdd::ChaineN;

// ---- arguments
// pybind11's own conversions fail with "incompatible function arguments" or an opaque
// RuntimeError that names neither the argument nor what was expected. Arguments therefore
// arrive as these wrappers, which accept any object and show the expected type in help() and
// the signatures; the function converts each one by name, and a wrong value raises TypeError
// or ValueError saying which argument, what was expected and what came.
struct ArgTexte {
  py::handle h;
};
struct ArgEntier {
  py::handle h;
};
struct ArgReel {
  py::handle h;
};
struct ArgChemin {
  py::handle h;
};

// The type's name, for messages: "reçu NoneType".
std::string NomType(py::handle objet);

// The UTF-16 units of a str without building a Python or C++ string on the way: Python keeps
// text as 1, 2 or 4 bytes per code point; the 2-byte form is already UTF-16 and is lent as it
// is, the others are widened into `tampon` (code points past the BMP as surrogate pairs). A
// lone surrogate (a str made from broken UTF-16, or with surrogateescape) has no place in the
// library's text and raises ValueError.
std::u16string_view Unites(py::handle objet, const char* nom, std::u16string& tampon);
inline ChaineN Texte(py::handle objet, const char* nom) {
  std::u16string tampon;
  const std::u16string_view u = Unites(objet, nom, tampon);
  return ChaineN(u.data(), static_cast<uint64_t>(u.size()));
}
inline ChaineN Texte(ArgTexte a, const char* nom) { return Texte(a.h, nom); }

// An int (or any object with __index__, but not a bool's cousin float) within [min, max];
// ValueError outside.
int64_t Entier(py::handle objet, const char* nom, int64_t min, int64_t max);
inline int64_t Entier(ArgEntier a, const char* nom, int64_t min, int64_t max) {
  return Entier(a.h, nom, min, max);
}
inline uint32_t Entier32(ArgEntier a, const char* nom) {
  return static_cast<uint32_t>(Entier(a.h, nom, 0, UINT32_MAX));
}
// An int or a float, finite, within [min, max].
double Reel(ArgReel a, const char* nom, double min, double max);
// A path as os.fspath gives it (str, bytes or os.PathLike), in the file system's bytes;
// ValueError for an empty path or one holding a NUL.
std::string Chemin(ArgChemin a, const char* nom);

// The bytes of a bytes-like object (bytes, bytearray, memoryview, mmap…), valid while the
// object lives and is not resized; TypeError for anything else, str included.
py::buffer_info Tampon(const py::handle& objet, const char* nom);

// An element of a list argument, converted by `conversion(nom)`: when it is refused, the
// conversion runs again under the element's full name ("mots[3]"), so that the error names the
// element without a name being built for every element that passes.
template <typename F, typename Place>
auto Element(const char* nom, Place&& place, F&& conversion) {
  try {
    return conversion(nom);
  } catch (const py::builtin_exception&) {
    const std::string complet = std::string(nom) + "[" + place() + "]";
    conversion(complet.c_str());  // raises, under the full name
    throw;
  }
}

// Strings back to Python.
inline py::str Str(const char16_t* u, std::size_t n) {
  PyObject* s = PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(u), static_cast<Py_ssize_t>(2 * n),
                                      "surrogatepass", nullptr);
  if (s == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(s);
}
inline py::str Str(const ChaineN& s) { return Str(s.DonneUnites(), s.Longueur()); }
inline py::str Str(const std::u16string& s) { return Str(s.data(), s.size()); }
inline std::u16string U16(const ChaineN& s) { return std::u16string(s.DonneUnites(), s.Longueur()); }

// ---- objects
// Cls.__new__(Cls) makes an object whose __init__ never ran (pybind11 then hands methods
// uninitialised memory), and a method called unbound (Cls.methode(None)) gets no object at
// all. Every method therefore receives its object as Soi<T>, and reaches it through Objet,
// which checks that it is a T whose __init__ ran and raises TypeError otherwise.
template <typename T>
struct Soi {
  py::handle h;
};
[[noreturn]] void LanceNonInitialise(const char* classe);
[[noreturn]] void LanceSansObjet(const char* classe, py::handle recu);
template <typename T>
T& Objet(Soi<T> soi) {
  // Looked up once: the classes are registered when the module loads, before any call.
  static const py::detail::type_info* const info = py::detail::get_type_info(typeid(T));
  if (info == nullptr || !PyObject_TypeCheck(soi.h.ptr(), info->type)) LanceSansObjet(T::kNom, soi.h);
  auto* instance = reinterpret_cast<py::detail::instance*>(soi.h.ptr());
  const py::detail::value_and_holder v = instance->get_value_and_holder(info, false);
  if (!v || !v.holder_constructed() || v.value_ptr() == nullptr) LanceNonInitialise(T::kNom);
  return *static_cast<T*>(v.value_ptr());
}

// Sets the Python error for a library exception; rethrows anything else.
void Traduis(std::exception_ptr p);

// Runs `f` for a function written against CPython's calling convention directly, turning C++
// exceptions into the Python error.
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

// Long work: `travail` runs on another thread without the GIL while this one waits; on the
// main thread it checks for signals every 50 ms, so that Ctrl-C raises KeyboardInterrupt at
// once: the flag handed to `travail` is raised, the work gives up, and the interruption
// propagates once it has. `elements` is the size of the work's input (the two sequences'
// lengths together): below a few thousand, the search ends in milliseconds whatever the
// inputs, and runs right here rather than pay for a thread (some tens of microseconds).
void Interruptible(uint64_t elements, const std::function<void(const std::atomic<bool>& arret)>& travail);
// Notes which thread is Python's main one; called when the module loads.
void NoteFilPrincipal();

// Each part adds its classes and functions to the module.
void DeclareErreurs(py::module_& m);
void DeclareTexte(py::module_& m);
void DeclareLexique(py::module_& m);
void DeclareTable(py::module_& m);
void DeclareSynchro(py::module_& m);
void DeclareCalendrier(py::module_& m);

}  // namespace outils_python

// The wrappers' casters: they take any object, and name the expected type in signatures.
namespace pybind11::detail {
#define OUTILS_PYTHON_ARGUMENT(Type, nom)                                                 \
  template <>                                                                             \
  struct type_caster<outils_python::Type> {                                               \
    PYBIND11_TYPE_CASTER(outils_python::Type, const_name(nom));                           \
    bool load(handle source, bool) {                                                      \
      value.h = source;                                                                   \
      return true;                                                                        \
    }                                                                                     \
    static handle cast(const outils_python::Type&, return_value_policy, handle) = delete; \
  };
OUTILS_PYTHON_ARGUMENT(ArgTexte, "str")
OUTILS_PYTHON_ARGUMENT(ArgEntier, "int")
OUTILS_PYTHON_ARGUMENT(ArgReel, "float")
OUTILS_PYTHON_ARGUMENT(ArgChemin, "str | bytes | os.PathLike[str] | os.PathLike[bytes]")
#undef OUTILS_PYTHON_ARGUMENT
// The object of a method, shown as its class in signatures.
template <typename T>
struct type_caster<outils_python::Soi<T>> {
  PYBIND11_TYPE_CASTER(outils_python::Soi<T>, make_caster<T>::name);
  bool load(handle source, bool) {
    value.h = source;
    return true;
  }
  static handle cast(const outils_python::Soi<T>&, return_value_policy, handle) = delete;
};
}  // namespace pybind11::detail
