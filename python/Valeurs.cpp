// The value types of the searches' answers.
#include "Valeurs.h"

namespace outils_python {

namespace {

PyStructSequence_Field champsForme[] = {
    {"forme", "le texte de la forme, tel que le lexique le garde"},
    {"numero", "son numéro dans le lexique"},
    {"rang1", "le premier rang de la correspondance (plus petit : plus proche du mot cherché)"},
    {"rang2", "le second rang, qui départage à premier rang égal"},
    {"detail", "le détail de la correspondance"},
    {nullptr, nullptr}};
PyStructSequence_Desc descriptionForme = {
    "outils_socle.Forme",
    "Une forme trouvée : texte, numéro, rangs (les plus petits d’abord) et détail. Un tuple nommé.",
    champsForme, 5};

PyStructSequence_Field champsCorrection[] = {
    {"forme", "le texte de la correction"},
    {"numero", "son numéro dans le lexique"},
    {"cout", "le coût des fautes corrigées (10 par faute ordinaire)"},
    {"probabilite", "la lecture du coût par le modèle"},
    {nullptr, nullptr}};
PyStructSequence_Desc descriptionCorrection = {
    "outils_socle.Correction", "Une correction : forme, numéro, coût et probabilité. Un tuple nommé.",
    champsCorrection, 4};

// Made once when the module loads, kept for the interpreter's life like the module.
PyTypeObject* typeForme = nullptr;
PyTypeObject* typeCorrection = nullptr;

py::object Nouveau(PyTypeObject* type) {
  PyObject* o = PyStructSequence_New(type);
  if (o == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(o);
}

}  // namespace

py::object NouvelleForme(py::str forme, uint32_t numero, uint32_t rang1, uint32_t rang2, uint32_t detail) {
  py::object o = Nouveau(typeForme);
  PyStructSequence_SetItem(o.ptr(), 0, forme.release().ptr());
  PyStructSequence_SetItem(o.ptr(), 1, PyLong_FromUnsignedLong(numero));
  PyStructSequence_SetItem(o.ptr(), 2, PyLong_FromUnsignedLong(rang1));
  PyStructSequence_SetItem(o.ptr(), 3, PyLong_FromUnsignedLong(rang2));
  PyStructSequence_SetItem(o.ptr(), 4, PyLong_FromUnsignedLong(detail));
  if (PyErr_Occurred()) throw py::error_already_set();
  return o;
}

py::object NouvelleCorrection(py::str forme, uint32_t numero, uint32_t cout, double probabilite) {
  py::object o = Nouveau(typeCorrection);
  PyStructSequence_SetItem(o.ptr(), 0, forme.release().ptr());
  PyStructSequence_SetItem(o.ptr(), 1, PyLong_FromUnsignedLong(numero));
  PyStructSequence_SetItem(o.ptr(), 2, PyLong_FromUnsignedLong(cout));
  PyStructSequence_SetItem(o.ptr(), 3, PyFloat_FromDouble(probabilite));
  if (PyErr_Occurred()) throw py::error_already_set();
  return o;
}

void DeclareValeurs(py::module_& m) {
  typeForme = PyStructSequence_NewType(&descriptionForme);
  typeCorrection = PyStructSequence_NewType(&descriptionCorrection);
  if (typeForme == nullptr || typeCorrection == nullptr) throw py::error_already_set();
  m.attr("Forme") = py::handle(reinterpret_cast<PyObject*>(typeForme));
  m.attr("Correction") = py::handle(reinterpret_cast<PyObject*>(typeCorrection));
}

}  // namespace outils_python
