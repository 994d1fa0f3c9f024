// The Python module outils_socle: the lexicon, comparison, encodings, text comparison and the
// calendar, with the C++ names in PEP 8 spelling. Strings cross as str (UTF-16 inside); the
// library's exceptions become one Python family rooted in OutilsSocleErreur; long work runs
// without the GIL, so Python threads that search at once use several cores.
#include "Commun.h"

PYBIND11_MODULE(_outils_socle, m) {
  m.doc() =
      "Outils de base pour le texte français : lexiques compilés en automates minimaux (recherches "
      "insensibles classées, préfixes, jokers, corrections), comparaison sans accents, casse ni "
      "ligatures, sept codages, comparaison de textes et calendrier.";

  outils_python::NoteFilPrincipal();
  outils_python::DeclareErreurs(m);
  outils_python::DeclareTexte(m);
  outils_python::DeclareLexique(m);
  outils_python::DeclareTable(m);
  outils_python::DeclareSynchro(m);
  outils_python::DeclareCalendrier(m);
}
