// The library's exceptions as one Python family rooted in OutilsSocleErreur, each carrying the
// library's French message.
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/ExceptionCode.h>

#include "Commun.h"

namespace outils_python {

namespace {

template <typename E>
void Lance(const py::handle& classe, const E& e) {
  PyErr_SetString(classe.ptr(), e.MessageComplet().DonneStdString().c_str());
}

// The Python classes of the library's exceptions, made once when the module loads (and never
// released: the module lives as long as the interpreter).
struct ClassesErreur {
  py::handle base, erreurDeserialisation, erreurSyntaxe, indexHorsBorne, liberation, memoire,
      operationInvalide, ouvertureEchouee, pointeurInvalide, tableNonValide, valeurIndefinie, modulePrismale,
      exceptionCode;
} classes;

// A refused file operation as the OSError Python code expects: the library's message, with
// errno, strerror (the system's reason) and filename set, so `except FileNotFoundError`-style
// tests on e.errno work.
void LanceErreurFichier(const py::handle& classe, const sdd::exceptions::ErreurFichier& e) {
  PyObject* message = PyUnicode_FromString(e.MessageComplet().DonneStdString().c_str());
  PyObject* instance = message != nullptr ? PyObject_CallOneArg(classe.ptr(), message) : nullptr;
  Py_XDECREF(message);
  if (instance == nullptr) return;  // the failure's own exception is set
  PyObject* numero = PyLong_FromLong(e.NumeroErreur());
  PyObject* raison = PyUnicode_FromString(sdd::RaisonSysteme(e.NumeroErreur()).DonneStdString().c_str());
  // Paths are bytes on Linux: decoded as os.fsdecode does, so any name round-trips.
  PyObject* nom =
      PyUnicode_DecodeFSDefaultAndSize(e.Chemin().data(), static_cast<Py_ssize_t>(e.Chemin().size()));
  if (numero != nullptr && raison != nullptr && nom != nullptr) {
    PyObject_SetAttrString(instance, "errno", numero);
    PyObject_SetAttrString(instance, "strerror", raison);
    PyObject_SetAttrString(instance, "filename", nom);
  }
  Py_XDECREF(numero);
  Py_XDECREF(raison);
  Py_XDECREF(nom);
  if (PyErr_Occurred() == nullptr) PyErr_SetObject(classe.ptr(), instance);
  Py_DECREF(instance);
}

}  // namespace

void Traduis(std::exception_ptr p) {
  namespace x = sdd::exceptions;
  try {
    if (p) std::rethrow_exception(p);
  } catch (const x::ErreurDeserialisation& e) {
    Lance(classes.erreurDeserialisation, e);
  } catch (const x::ErreurSyntaxe& e) {
    Lance(classes.erreurSyntaxe, e);
  } catch (const x::IndexHorsBorne& e) {
    Lance(classes.indexHorsBorne, e);
  } catch (const x::LiberationObjetImpossible& e) {
    Lance(classes.liberation, e);
  } catch (const x::MemoireInsuffisante& e) {
    Lance(classes.memoire, e);
  } catch (const x::OperationInvalide& e) {
    Lance(classes.operationInvalide, e);
  } catch (const x::ErreurFichier& e) {
    LanceErreurFichier(classes.ouvertureEchouee, e);
  } catch (const x::OuvertureEchouee& e) {
    Lance(classes.ouvertureEchouee, e);
  } catch (const x::PointeurInvalide& e) {
    Lance(classes.pointeurInvalide, e);
  } catch (const x::TableNonValide& e) {
    Lance(classes.tableNonValide, e);
  } catch (const x::ValeurIndefinieIterateur& e) {
    Lance(classes.valeurIndefinie, e);
  } catch (const x::ExceptionModulePrismale& e) {
    Lance(classes.modulePrismale, e);
  } catch (const x::Exception& e) {
    Lance(classes.base, e);
  } catch (const ExceptionCode& e) {
    PyErr_SetString(classes.exceptionCode.ptr(), e.what());
  }
}

void DeclareErreurs(py::module_& m) {
  // The exception family: a base and one class per library exception, in the library's words.
  static py::exception<sdd::exceptions::Exception> base(m, "OutilsSocleErreur", PyExc_Exception);
  base.doc() = "Racine des erreurs de la bibliothèque ; le message est celui de la bibliothèque.";
  const auto sousClasse = [&](const char* nom, PyObject* aussi = nullptr) {
    py::object bases = aussi != nullptr ? py::make_tuple(base, py::handle(aussi)) : py::make_tuple(base);
    py::object classe = py::reinterpret_steal<py::object>(
        PyErr_NewException((std::string("outils_socle.") + nom).c_str(), bases.ptr(), nullptr));
    m.attr(nom) = classe;
    return classe.release();  // kept for the interpreter's life, like the module
  };
  classes.erreurDeserialisation = sousClasse("ErreurDeserialisation");
  classes.erreurSyntaxe = sousClasse("ErreurSyntaxe");
  classes.indexHorsBorne = sousClasse("IndexHorsBorne", PyExc_IndexError);
  classes.liberation = sousClasse("LiberationObjetImpossible");
  classes.memoire = sousClasse("MemoireInsuffisante", PyExc_MemoryError);
  classes.operationInvalide = sousClasse("OperationInvalide");
  classes.ouvertureEchouee = sousClasse("OuvertureEchouee", PyExc_OSError);
  // OSError would print "[Errno 2] reason: 'path'" once errno and filename are set; like the
  // rest of the family it shows the library's message, which names the operation as well.
  py::handle(classes.ouvertureEchouee).attr("__str__") = py::handle(PyExc_BaseException).attr("__str__");
  classes.pointeurInvalide = sousClasse("PointeurInvalide");
  classes.tableNonValide = sousClasse("TableNonValide");
  classes.valeurIndefinie = sousClasse("ValeurIndefinieIterateur");
  classes.modulePrismale = sousClasse("ExceptionModulePrismale");
  classes.exceptionCode = sousClasse("ExceptionCode");
  classes.base = base;
  py::register_exception_translator(&Traduis);
}

}  // namespace outils_python
