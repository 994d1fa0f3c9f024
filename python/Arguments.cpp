// Arguments checked one by one, each error naming its argument; long work made interruptible.
#include <chrono>
#include <cmath>
#include <future>
#include <thread>

#include <outils_socle/texte/UTF8.h>

#include "Commun.h"

namespace outils_python {

std::string NomType(py::handle objet) { return Py_TYPE(objet.ptr())->tp_name; }

namespace {

[[noreturn]] void LanceType(const char* nom, const char* attendu, py::handle recu) {
  throw py::type_error(std::string(nom) + " : " + attendu + " attendu, reçu " + NomType(recu));
}

[[noreturn]] void LanceSubstitut(const char* nom, std::size_t position, uint32_t unite) {
  char code[8];
  std::snprintf(code, sizeof(code), "%04X", unite);
  throw py::value_error(std::string(nom) + " : substitut isolé U+" + code + " en position " +
                        std::to_string(position) + " (un texte Unicode valide est attendu)");
}

}  // namespace

std::u16string_view Unites(py::handle objet, const char* nom, std::u16string& tampon) {
  PyObject* s = objet.ptr();
  if (!PyUnicode_Check(s)) LanceType(nom, "str", objet);
  const Py_ssize_t n = PyUnicode_GET_LENGTH(s);
  const void* donnees = PyUnicode_DATA(s);
  switch (PyUnicode_KIND(s)) {
    case PyUnicode_2BYTE_KIND: {
      // A 2-byte str holds no pair (a code point past the BMP would have made it 4-byte):
      // every surrogate in it stands alone.
      const auto* u = static_cast<const char16_t*>(donnees);
      for (Py_ssize_t i = 0; i < n; ++i)
        if ((u[i] & 0xF800) == 0xD800) LanceSubstitut(nom, static_cast<std::size_t>(i), u[i]);
      return std::u16string_view(u, static_cast<std::size_t>(n));
    }
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
          if ((c & 0xF800) == 0xD800) LanceSubstitut(nom, static_cast<std::size_t>(i), c);
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

int64_t Entier(py::handle objet, const char* nom, int64_t min, int64_t max) {
  PyObject* o = objet.ptr();
  if (PyFloat_Check(o) || !PyIndex_Check(o)) LanceType(nom, "int", objet);
  py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(o));
  if (!index) throw py::error_already_set();
  int debordement = 0;
  const long long v = PyLong_AsLongLongAndOverflow(index.ptr(), &debordement);
  if (v == -1 && PyErr_Occurred()) throw py::error_already_set();
  if (debordement != 0 || v < min || v > max) {
    throw py::value_error(std::string(nom) + " : un entier de " + std::to_string(min) + " à " +
                          std::to_string(max) + " est attendu, reçu " + std::string(py::str(index)));
  }
  return v;
}

double Reel(ArgReel a, const char* nom, double min, double max) {
  PyObject* o = a.h.ptr();
  if (!PyFloat_Check(o) && !PyLong_Check(o)) LanceType(nom, "float", a.h);
  const double v = PyFloat_AsDouble(o);
  if (v == -1.0 && PyErr_Occurred()) throw py::error_already_set();
  if (!(v >= min && v <= max)) {
    char bornes[64];
    std::snprintf(bornes, sizeof(bornes), "%g à %g", min, max);
    throw py::value_error(std::string(nom) + " : un nombre de " + bornes + " est attendu, reçu " +
                          std::string(py::repr(a.h)));
  }
  return v;
}

std::string Chemin(ArgChemin a, const char* nom) {
  py::object chemin = py::reinterpret_steal<py::object>(PyOS_FSPath(a.h.ptr()));
  if (!chemin) {
    PyErr_Clear();
    LanceType(nom, "str, bytes ou os.PathLike", a.h);
  }
  std::string octets;
  if (PyUnicode_Check(chemin.ptr())) {
    // The file system's encoding with surrogateescape, as os.fsencode: any name round-trips.
    py::object encode = py::reinterpret_steal<py::object>(PyUnicode_EncodeFSDefault(chemin.ptr()));
    if (!encode) throw py::error_already_set();
    octets = std::string(py::bytes(encode));
  } else {
    octets = std::string(py::bytes(chemin));
  }
  if (octets.empty()) throw py::value_error(std::string(nom) + " : chemin vide");
  if (octets.find('\0') != std::string::npos)
    throw py::value_error(std::string(nom) + " : le chemin contient un caractère nul");
  // The library names files in Unicode (UTF-8 on disk): a name in another encoding would be
  // opened or written under a different name.
  if (sdd::PremiereErreurUTF8(octets) != std::string_view::npos)
    throw py::value_error(std::string(nom) +
                          " : le chemin n’est pas de l’UTF-8 valide, que la bibliothèque ne sait pas nommer");
  return octets;
}

py::buffer_info Tampon(const py::handle& objet, const char* nom) {
  if (PyUnicode_Check(objet.ptr()) || !PyObject_CheckBuffer(objet.ptr()))
    LanceType(nom, "un objet bytes ou semblable", objet);
  return py::reinterpret_borrow<py::buffer>(objet).request();
}

void LanceNonInitialise(const char* classe) {
  throw py::type_error(std::string(classe) +
                       " : objet non initialisé (créé par __new__ sans que __init__ l’ait rempli)");
}

void LanceSansObjet(const char* classe, py::handle recu) {
  throw py::type_error(std::string(classe) + " : méthode appelée sans objet " + classe + " (reçu " +
                       NomType(recu) + ")");
}

namespace {
unsigned long filPrincipal = 0;  // noted once, when the module loads
}  // namespace

void NoteFilPrincipal() {
  filPrincipal = py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>();
}

void Interruptible(uint64_t elements, const std::function<void(const std::atomic<bool>& arret)>& travail) {
  constexpr uint64_t kElementsCourts = 4096;
  // Only the main thread receives signals; elsewhere the work simply runs here without the GIL.
  const bool principal = PyThread_get_thread_ident() == filPrincipal;
  std::atomic<bool> arret{false};
  if (!principal || elements < kElementsCourts) {
    py::gil_scoped_release sansGil;
    travail(arret);
    return;
  }
  std::exception_ptr erreur;
  std::promise<void> fin;
  std::future<void> fini = fin.get_future();
  std::thread fil([&] {
    try {
      travail(arret);
    } catch (...) {
      erreur = std::current_exception();
    }
    fin.set_value();
  });
  bool interrompu = false;
  {
    py::gil_scoped_release sansGil;
    while (fini.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
      py::gil_scoped_acquire gil;
      if (PyErr_CheckSignals() != 0) {
        interrompu = true;
        arret = true;
        break;
      }
    }
    fini.wait();
  }
  fil.join();
  if (interrompu) throw py::error_already_set();
  if (erreur) std::rethrow_exception(erreur);
}

}  // namespace outils_python
