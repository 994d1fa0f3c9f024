// The Python module outils_socle: the lexicon, comparison, encodings, text comparison and the
// calendar, with the C++ names in PEP 8 spelling. Strings cross as str (UTF-16 inside); the
// library's exceptions become one Python family rooted in OutilsSocleErreur; long work runs
// without the GIL, so Python threads that search at once use several cores.
#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/dates/Calendrier.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/synchro/Synchro.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/ExceptionCode.h>

#include <memory>
#include <string>
#include <vector>

#include "Differences.h"

namespace py = pybind11;
using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;

namespace {

// ---- strings

ChaineN N(const std::u16string& s) { return ChaineN(s.data(), static_cast<uint64_t>(s.size())); }
std::u16string U(const ChaineN& s) { return std::u16string(s.DonneUnites(), s.Longueur()); }

// The UTF-16 units of a str without building a Python or C++ string on the way: Python keeps
// text as 1, 2 or 4 bytes per code point; the 2-byte form is already UTF-16 and is lent as it
// is, the others are widened into `tampon` (code points past the BMP as surrogate pairs).
std::u16string_view Unites(const py::handle& objet, std::u16string& tampon) {
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

int64_t NoPourMot(AutomateAcycliqueMin& a, const py::handle& mot) {
  thread_local std::u16string tampon;
  const std::u16string_view u = Unites(mot, tampon);
  return a.NoPourMot(u.data(), u.size());
}

ChaineN::Codage CodageValide(int codage) {
  if (codage < 0 || codage > 6)
    throw py::value_error("codage inconnu : " + std::to_string(codage) + " (0 à 6)");
  return static_cast<ChaineN::Codage>(codage);
}

py::bytes Encode(const std::u16string& texte, int codage) {
  return py::bytes(N(texte).Encode(CodageValide(codage)));
}

std::u16string Decode(const py::bytes& octets, int codage) {
  const std::string_view v = octets;
  return U(ChaineN(v.data(), CodageValide(codage), static_cast<uint64_t>(v.size())));
}

// ---- the lexicon

struct Forme {
  std::u16string forme;
  uint32_t numero, rang1, rang2, detail;
};

Forme DeForme(const AutomateAcycliqueMin::_Forme& f) {
  return Forme{U(f.forme), f.numero, f.rang1, f.rang2, f.detail};
}

struct Correction {
  std::u16string forme;
  uint32_t numero, cout;
  double probabilite;
};

// Reports the compiler's progress to a Python callable, taking the GIL for each call. The
// compiler may call from its worker threads, where an exception must not escape: the first one
// the callable raises is kept (further reports are dropped) and raised once the compile is over.
class ProgressionPython final : public sdd::Progression {
 public:
  explicit ProgressionPython(py::object f) : f_(std::move(f)) {}
  void Avance(uint64_t fait, uint64_t total) override {
    py::gil_scoped_acquire gil;
    if (erreur_) return;
    try {
      f_(fait, total);
    } catch (py::error_already_set& e) {
      erreur_ = std::make_unique<py::error_already_set>(std::move(e));
    }
  }
  // With the GIL held.
  void RelanceErreur() {
    if (erreur_) throw py::error_already_set(std::move(*erreur_));
  }

 private:
  py::object f_;
  std::unique_ptr<py::error_already_set> erreur_;
};

class Compilateur {
 public:
  Compilateur(const py::iterable& mots, bool parents, const py::object& progression) {
    sdd::ListeT<ChaineN> liste;
    for (const py::handle m : mots) {
      if (!py::isinstance<py::str>(m)) {
        throw py::type_error("mots : des str sont attendus, pas " +
                             std::string(py::str(m.get_type().attr("__name__"))));
      }
      liste.Ajoute(N(m.cast<std::u16string>()));
    }
    std::unique_ptr<ProgressionPython> rapport;
    if (!progression.is_none()) rapport = std::make_unique<ProgressionPython>(progression);
    {
      py::gil_scoped_release sansGil;
      compilateur_ = std::make_unique<sdd::CompilateurAutomateAcycliqueMin>(
          liste, parents ? sdd::CompilateurAutomateAcycliqueMin::InclureNoeudsParents : 0, UINT64_MAX,
          rapport.get());
    }
    if (rapport) rapport->RelanceErreur();
  }

  uint64_t Ecris(const std::string& chemin) {
    py::gil_scoped_release sansGil;
    sdd::FichierAvecTampon sortie(chemin.c_str(), sdd::Fichier::eEcriture);
    const uint64_t octets = compilateur_->FormeCompactay(sortie);
    sortie.Ferme();
    return octets;
  }

  py::bytes Octets() {
    sdd::TamponMemoire tampon;
    {
      py::gil_scoped_release sansGil;
      compilateur_->FormeCompactay(tampon);
    }
    return py::bytes(reinterpret_cast<const char*>(tampon.PreteDonneesBrutes()), tampon.Taille());
  }

  sdd::CompilateurAutomateAcycliqueMin& operator*() { return *compilateur_; }

 private:
  std::unique_ptr<sdd::CompilateurAutomateAcycliqueMin> compilateur_;
};

// An automaton on its mapped file; the file object must outlive the automaton reading it.
class Lexique {
 public:
  explicit Lexique(const std::string& chemin) {
    py::gil_scoped_release sansGil;
    automate_ = std::make_unique<AutomateAcycliqueMin>(UniChemin(chemin));
  }
  AutomateAcycliqueMin& A() { return *automate_; }

 private:
  std::unique_ptr<AutomateAcycliqueMin> automate_;
};

// A lazy listing: each refill walks again from the start, skips what was already given and
// takes twice as many as last time, so a caller that stops after k forms pays O(k) walks.
class Listage {
 public:
  using Remplis = std::function<void(uint64_t deja, uint64_t lot, std::vector<Forme>& sortie)>;
  Listage(py::object proprietaire, Remplis remplis)
      : proprietaire_(std::move(proprietaire)), remplis_(std::move(remplis)) {}

  Forme Suivante() {
    if (i_ == tampon_.size()) {
      if (fini_) throw py::stop_iteration();
      tampon_.clear();
      i_ = 0;
      {
        py::gil_scoped_release sansGil;
        remplis_(donnees_, lot_, tampon_);
      }
      fini_ = tampon_.size() < lot_;
      donnees_ += tampon_.size();
      lot_ *= 2;
      if (tampon_.empty()) throw py::stop_iteration();
    }
    return tampon_[i_++];
  }

 private:
  py::object proprietaire_;  // keeps the lexicon alive while the generator lives
  Remplis remplis_;
  std::vector<Forme> tampon_;
  std::size_t i_ = 0;
  uint64_t donnees_ = 0;
  uint64_t lot_ = 64;
  bool fini_ = false;
};

// ---- text comparison

struct Comparaison {
  std::vector<std::u16string> ancien, nouveau;
};

bool CompareElements(void* a, int i, void* b, int j) {
  return static_cast<const std::vector<std::u16string>*>(a)->at(static_cast<std::size_t>(i)) ==
         static_cast<const std::vector<std::u16string>*>(b)->at(static_cast<std::size_t>(j));
}

// Either two str (compared character by character) or two lists of str (element by element).
class SynchroPython {
 public:
  SynchroPython(const py::object& ancien, const py::object& nouveau, float limite) {
    if (py::isinstance<py::str>(ancien) && py::isinstance<py::str>(nouveau)) {
      a_ = N(ancien.cast<std::u16string>());
      b_ = N(nouveau.cast<std::u16string>());
      nouveaux_ = static_cast<int>(b_.Longueur());
      synchro_ = std::make_unique<Synchro>(a_, b_, limite);
    } else {
      listes_.ancien = ancien.cast<std::vector<std::u16string>>();
      listes_.nouveau = nouveau.cast<std::vector<std::u16string>>();
      nouveaux_ = static_cast<int>(listes_.nouveau.size());
      synchro_ = std::make_unique<Synchro>(&listes_.ancien, static_cast<int>(listes_.ancien.size()),
                                           &listes_.nouveau, static_cast<int>(listes_.nouveau.size()),
                                           CompareElements, limite);
    }
  }

  std::vector<int> Synchronise() {
    std::vector<int> resultat(static_cast<std::size_t>(nouveaux_));
    py::gil_scoped_release sansGil;
    if (nouveaux_ > 0) synchro_->Synchronise(resultat.data());
    return resultat;
  }
  int Distance() {
    py::gil_scoped_release sansGil;
    return synchro_->DonneDistance();
  }
  bool PhrasesSimilaires(bool contenuAccepte) {
    py::gil_scoped_release sansGil;
    return synchro_->PhrasesSimilaires(contenuAccepte);
  }
  bool LimiteDepassee() const { return synchro_->LimiteTempsDepassee(); }

 private:
  ChaineN a_, b_;
  Comparaison listes_;
  int nouveaux_ = 0;
  std::unique_ptr<Synchro> synchro_;
};

// The unified diff of two texts, as `diff -u` writes it below its two header lines.
std::string DiffUnifie(const std::string& ancien, const std::string& nouveau, int contexte,
                       const std::string& nomAncien, const std::string& nomNouveau) {
  outils::TexteEnLignes a{ancien, {}}, b{nouveau, {}};
  a.Decoupe();
  b.Decoupe();
  std::string sortie;
  const outils::Differences d = outils::CompareLignes(a.lignes, b.lignes, 0);
  if (d.modifications.empty()) return sortie;
  sortie += "--- " + nomAncien + "\n+++ " + nomNouveau + "\n";
  const auto ligne = [&](char marque, std::string_view l) {
    sortie += marque;
    sortie += l;
    if (l.empty() || l.back() != '\n') sortie += "\n\\ No newline at end of file\n";
  };
  for (const outils::Bloc& bloc : outils::GroupeEnBlocs(d.modifications, static_cast<int>(a.lignes.size()),
                                                        static_cast<int>(b.lignes.size()), contexte)) {
    sortie += "@@ -";
    outils::AjouteEtendue(sortie, bloc.ancienDebut, bloc.ancienFin - bloc.ancienDebut);
    sortie += " +";
    outils::AjouteEtendue(sortie, bloc.nouveauDebut, bloc.nouveauFin - bloc.nouveauDebut);
    sortie += " @@\n";
    int i = bloc.ancienDebut;
    for (std::size_t k = bloc.premiere; k <= bloc.derniere; ++k) {
      const outils::Modification& m = d.modifications[k];
      for (; i < m.ancien; ++i) ligne(' ', a.lignes[static_cast<std::size_t>(i)]);
      for (int s = 0; s < m.supprimes; ++s) ligne('-', a.lignes[static_cast<std::size_t>(m.ancien + s)]);
      for (int s = 0; s < m.inseres; ++s) ligne('+', b.lignes[static_cast<std::size_t>(m.nouveau + s)]);
      i = m.ancien + m.supprimes;
    }
    for (; i < bloc.ancienFin; ++i) ligne(' ', a.lignes[static_cast<std::size_t>(i)]);
  }
  return sortie;
}

// ---- the string table: a mapping from str to int, kept as a compressed prefix tree

using Table = sdd::TableChaine<int64_t>;

py::list Paires(const sdd::ListeC<sdd::TableChaineNoyau::_Forme>& formes) {
  py::list r;
  for (const auto& f : formes) r.append(py::make_tuple(U(f.forme), Table::DonneCharge(f)));
  return r;
}

// ---- exceptions

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

// Sets the Python error for a library exception; rethrows anything else.
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

PyObject* NoPourMotBrut(PyObject* soi, PyObject* mot) {
  return Protege([&] { return PyLong_FromLongLong(NoPourMot(py::handle(soi).cast<Lexique&>().A(), mot)); });
}

PyObject* ContientBrut(PyObject* soi, PyObject* mot) {
  return Protege([&] { return PyBool_FromLong(NoPourMot(py::handle(soi).cast<Lexique&>().A(), mot) >= 0); });
}

// Installs a METH_O function as a method of a pybind11 class.
void AjouteMethodeBrute(const py::handle& classe, PyMethodDef* definition) {
  PyObject* descripteur = PyDescr_NewMethod(reinterpret_cast<PyTypeObject*>(classe.ptr()), definition);
  if (descripteur == nullptr || PyObject_SetAttrString(classe.ptr(), definition->ml_name, descripteur) != 0) {
    Py_XDECREF(descripteur);
    throw py::error_already_set();
  }
  Py_DECREF(descripteur);
}

}  // namespace

PYBIND11_MODULE(outils_socle, m) {
  m.doc() =
      "Outils de base pour le texte français : lexiques compilés en automates minimaux (recherches "
      "insensibles classées, préfixes, jokers, corrections), comparaison sans accents, casse ni "
      "ligatures, sept codages, comparaison de textes et calendrier.";

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
  classes.pointeurInvalide = sousClasse("PointeurInvalide");
  classes.tableNonValide = sousClasse("TableNonValide");
  classes.valeurIndefinie = sousClasse("ValeurIndefinieIterateur");
  classes.modulePrismale = sousClasse("ExceptionModulePrismale");
  classes.exceptionCode = sousClasse("ExceptionCode");
  classes.base = base;
  py::register_exception_translator(&Traduis);

  // ---- text
  m.attr("CODAGE_MAC_ROMAN") = 0;
  m.attr("CODAGE_LATIN9") = 1;
  m.attr("CODAGE_WIN_LATIN1") = 2;
  m.attr("CODAGE_DOS") = 3;
  m.attr("CODAGE_UTF8") = 4;
  m.attr("CODAGE_UTF16LE") = 5;
  m.attr("CODAGE_UTF16BE") = 6;
  m.attr("MALGRAY_RIEN") = 0;
  m.attr("MALGRAY_LIGATURES") = 1;
  m.attr("MALGRAY_ACCENTS") = 2;
  m.attr("MALGRAY_CASSE") = 4;
  m.attr("MALGRAY_VARIANTES") = 8;
  m.def("encode", &Encode, py::arg("texte"), py::arg("codage") = 4,
        "Le texte en octets dans l’un des sept codages (CODAGE_*) ; un caractère absent du codage devient « "
        "? ».");
  m.def("decode", &Decode, py::arg("octets"), py::arg("codage") = 4,
        "Les octets lus dans l’un des sept codages.");
  m.def(
      "egal",
      [](const std::u16string& a, const std::u16string& b, int masque) {
        return N(a).Egal(N(b), static_cast<ChaineN::Malgray>(masque));
      },
      py::arg("a"), py::arg("b"), py::arg("masque") = 0,
      "Vrai si a et b sont égales aux différences près que le masque ignore (MALGRAY_*).");
  const auto normalisation = [&](const char* nom, ChaineN& (ChaineN::*f)(), const char* doc) {
    m.def(
        nom,
        [f](const std::u16string& s) {
          ChaineN c = N(s);
          (c.*f)();
          return U(c);
        },
        py::arg("texte"), doc);
  };
  normalisation(
      "normalise_variante_minusculise_sans_accent", &ChaineN::NormaliseVarianteMinusculiseSansAccent,
      "Chaque caractère en minuscule, sans accent, variantes ramenées : ce que voient les comparaisons.");
  normalisation("normalise_nfc", &ChaineN::NormaliseNFC, "La composition canonique Unicode (NFC).");
  normalisation("normalise_apostrophe", &ChaineN::NormaliseApostrophe, "’ ‘ ` ´ deviennent '.");
  normalisation("normalise_blanc", &ChaineN::NormaliseBlanc, "Chaque blanc devient une espace.");
  normalisation("consolide_blancs", &ChaineN::ConsolideBlancs, "Une suite de blancs devient une espace.");
  normalisation("nettoie_blancs", &ChaineN::NettoieBlancs, "Enlève les blancs du début et de la fin.");
  normalisation("convertis_cars_typographiques", &ChaineN::ConvertisCarsTypographiques,
                "Guillemets, tirets, points de suspension et blancs typographiques en texte simple.");
  normalisation("ligature", &ChaineN::Ligature, "oe, ae (et leurs majuscules) deviennent œ, æ.");
  normalisation("deligature", &ChaineN::Deligature, "Œ, œ, Æ, æ deviennent leurs lettres.");

  // ---- the lexicon
  py::class_<Forme>(m, "Forme", "Une forme trouvée : texte, numéro, rangs (accents, casse) et détail.")
      .def_readonly("forme", &Forme::forme)
      .def_readonly("numero", &Forme::numero)
      .def_readonly("rang1", &Forme::rang1)
      .def_readonly("rang2", &Forme::rang2)
      .def_readonly("detail", &Forme::detail)
      .def("__repr__", [](const Forme& f) {
        return py::str("Forme({!r}, numero={}, rang1={}, rang2={}, detail={})")
            .format(f.forme, f.numero, f.rang1, f.rang2, f.detail);
      });
  py::class_<Correction>(m, "Correction",
                         "Une correction : forme, numéro, coût (10 par faute ordinaire), probabilité.")
      .def_readonly("forme", &Correction::forme)
      .def_readonly("numero", &Correction::numero)
      .def_readonly("cout", &Correction::cout)
      .def_readonly("probabilite", &Correction::probabilite)
      .def("__repr__", [](const Correction& c) {
        return py::str("Correction({!r}, numero={}, cout={})").format(c.forme, c.numero, c.cout);
      });

  py::class_<Compilateur>(m, "CompilateurAutomateAcycliqueMin",
                          "Compile une liste de mots (tout itérable de str) en automate minimal acyclique.")
      .def(py::init<const py::iterable&, bool, const py::object&>(), py::arg("mots"),
           py::arg("parents") = false, py::arg("progression") = py::none(),
           "progression(fait, total) est appelée pendant la compilation.")
      .def("ecris", &Compilateur::Ecris, py::arg("chemin"),
           "Écrit le lexique dans un fichier ; rend sa taille.")
      .def("octets", &Compilateur::Octets, "Le lexique tel qu’il serait écrit.")
      .def_property_readonly("nb_formes", [](Compilateur& c) { return (*c).NbFormes(); })
      .def_property_readonly("nb_etats", [](Compilateur& c) { return (*c).NbEtats(); })
      .def_property_readonly("nb_transitions", [](Compilateur& c) { return (*c).NbTransitions(); });

  py::class_<Lexique> classeLexique(
      m, "AutomateAcycliqueMin",
      "Un lexique compilé, lu sur place dans son fichier projeté en mémoire. Un fichier "
      "endommagé lève TableNonValide.");
  static PyMethodDef noPourMot = {
      "no_pour_mot", NoPourMotBrut, METH_O,
      "no_pour_mot(mot: str) -> int\nLe numéro de la forme, -1 si elle est absente."};
  static PyMethodDef contient = {"__contains__", ContientBrut, METH_O,
                                 "Vrai si la forme est dans le lexique."};
  AjouteMethodeBrute(classeLexique, &noPourMot);
  AjouteMethodeBrute(classeLexique, &contient);
  classeLexique.def(py::init<const std::string&>(), py::arg("chemin"))
      .def("__len__", [](Lexique& l) { return l.A().NombreDeFormes(); })
      .def(
          "forme_pour_no",
          [](Lexique& l, uint32_t numero) {
            AutomateAcycliqueMin::_Forme f;
            if (!l.A().FormePourNo(numero, f))
              throw py::index_error("numéro hors du lexique : " + std::to_string(numero));
            return U(f.forme);
          },
          py::arg("numero"), "La forme de ce numéro ; IndexError hors de 0..len-1.")
      .def(
          "formes_pour",
          [](Lexique& l, const std::u16string& mot, int masque, bool exact) {
            sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
            {
              py::gil_scoped_release sansGil;
              l.A().FormesPour(N(mot), formes,
                               sdd::OptionRecherche(exact ? sdd::OptionRecherche::kExactSeulement : 0,
                                                    static_cast<uint32_t>(masque)));
            }
            std::vector<Forme> r;
            for (const auto& f : formes) r.push_back(DeForme(f));
            return r;
          },
          py::arg("mot"), py::arg("masque") = 0, py::arg("exact") = false,
          "Les formes du mot sans tenir compte des accents, de la casse, des variantes ni des ligatures, "
          "les meilleures d’abord ; masque : les différences tolérées (bits MALGRAY_*), 0 pour toutes ; "
          "exact : seulement la forme telle quelle.")
      .def(
          "formes_commencant",
          [](py::object soi, const std::u16string& prefixe) {
            Lexique& l = soi.cast<Lexique&>();
            const ChaineN p = N(prefixe);
            return Listage(soi, [&l, p](uint64_t deja, uint64_t lot, std::vector<Forme>& sortie) {
              uint64_t vu = 0;
              l.A().VisiteFormesCommencant(p, [&](const char16_t* u, uint32_t n, uint32_t numero) {
                if (vu++ >= deja) sortie.push_back(Forme{std::u16string(u, n), numero, 0, 0, 0});
                return sortie.size() < lot;
              });
            });
          },
          py::arg("prefixe"),
          "Générateur des formes commençant par le préfixe, dans l’ordre des numéros par place.")
      .def(
          "formes_pour_joker",
          [](py::object soi, const std::u16string& motif, int parametre) {
            Lexique& l = soi.cast<Lexique&>();
            const ChaineN p = N(motif);
            return Listage(soi, [&l, p, parametre](uint64_t deja, uint64_t lot, std::vector<Forme>& sortie) {
              sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
              l.A().FormesPourJoker(p, formes, static_cast<uint32_t>(parametre),
                                    static_cast<uint32_t>(deja + lot));
              uint64_t i = 0;
              for (const auto& f : formes) {
                if (i++ >= deja) sortie.push_back(DeForme(f));
              }
            });
          },
          py::arg("motif"), py::arg("parametre") = 0,
          "Générateur des formes du motif (* suite, ? et _ un caractère, # consonne, & voyelle), par numéro.")
      .def(
          "formes_probabilistes",
          [](Lexique& l, const std::u16string& mot, uint32_t limite, uint32_t coutMax) {
            sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
            {
              py::gil_scoped_release sansGil;
              l.A().FormesProbabilistes(N(mot), {}, limite, coutMax, nullptr, formes);
            }
            std::vector<Correction> r;
            for (const auto& f : formes) r.push_back(Correction{U(f.forme), f.numero, f.cout, f.probabilite});
            return r;
          },
          py::arg("mot"), py::arg("limite") = 10, py::arg("cout_max") = 0,
          "Les corrections du mot par coût croissant (cout_max 0 : 20, deux fautes ordinaires).");

  py::class_<Table>(
      m, "TableChaine",
      "Table de chaînes : un dictionnaire de str vers int gardé en arbre de préfixes compressé, "
      "avec les recherches insensibles, les préfixes, les jokers, les anagrammes et les corrections.")
      .def(py::init<>())
      .def(py::init([](const py::dict& d) {
             auto t = std::make_unique<Table>();
             for (const auto& [k, v] : d) t->Mets(N(k.cast<std::u16string>()), v.cast<int64_t>());
             return t;
           }),
           py::arg("donnees"))
      .def("__len__", &Table::Taille)
      .def("__contains__", [](const Table& t, const std::u16string& k) { return t.Trouve(N(k)) != nullptr; })
      .def("__getitem__",
           [](const Table& t, const std::u16string& k) {
             const int64_t* v = t.Trouve(N(k));
             if (v == nullptr) throw py::key_error(py::str(py::cast(k)).cast<std::string>());
             return *v;
           })
      .def("__setitem__", [](Table& t, const std::u16string& k, int64_t v) { t.Mets(N(k), v); })
      .def("__delitem__",
           [](Table& t, const std::u16string& k) {
             if (!t.Supprime(N(k))) throw py::key_error(py::str(py::cast(k)).cast<std::string>());
           })
      .def(
          "get",
          [](const Table& t, const std::u16string& k, py::object defaut) -> py::object {
            const int64_t* v = t.Trouve(N(k));
            return v != nullptr ? py::cast(*v) : defaut;
          },
          py::arg("clef"), py::arg("defaut") = py::none())
      .def(
          "items",
          [](const Table& t) {
            py::list r;
            for (const auto& [clef, charge] : t) r.append(py::make_tuple(U(clef), charge));
            return r;
          },
          "Les paires (clef, valeur) dans l’ordre de l’arbre.")
      .def("keys",
           [](const Table& t) {
             py::list r;
             for (const auto& [clef, charge] : t) r.append(py::cast(U(clef)));
             return r;
           })
      .def("__iter__",
           [](const Table& t) {
             py::list r;
             for (const auto& [clef, charge] : t) r.append(py::cast(U(clef)));
             return py::iter(r);
           })
      .def(
          "ecris",
          [](const Table& t, const std::string& chemin) {
            sdd::FichierAvecTampon sortie(chemin.c_str(), sdd::Fichier::eEcriture);
            t.Ecris(sortie);
            sortie.Ferme();
          },
          py::arg("chemin"), "Écrit la table sous sa forme sérialisée (version 110).")
      .def_static(
          "lis",
          [](const std::string& chemin) {
            auto t = std::make_unique<Table>();
            sdd::Fichier entree(chemin.c_str(), sdd::Fichier::eLecture);
            t->Lis(entree);
            return t;
          },
          py::arg("chemin"), "Lit une table écrite par ecris ; une forme endommagée lève TableNonValide.")
      .def(
          "formes_pour",
          [](const Table& t, const std::u16string& mot, int masque, uint32_t limite) {
            sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
            {
              py::gil_scoped_release sansGil;
              t.FormesPour(N(mot), sdd::OptionRecherche(0, static_cast<uint32_t>(masque)), limite, formes);
            }
            return Paires(formes);
          },
          py::arg("mot"), py::arg("masque") = 0, py::arg("limite") = 0,
          "Les (clef, valeur) qui correspondent au mot sans tenir compte des accents, de la casse, des "
          "variantes ni des ligatures, les meilleures d’abord.")
      .def(
          "formes_commencant",
          [](const Table& t, const std::u16string& prefixe, uint32_t limite) {
            sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
            {
              py::gil_scoped_release sansGil;
              t.FormesCommencant(N(prefixe), {}, limite, formes);
            }
            return Paires(formes);
          },
          py::arg("prefixe"), py::arg("limite") = 0)
      .def(
          "formes_pour_joker",
          [](const Table& t, const std::u16string& motif, uint32_t limite) {
            sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
            {
              py::gil_scoped_release sansGil;
              t.FormesPourJoker(N(motif), limite, 0, formes);
            }
            return Paires(formes);
          },
          py::arg("motif"), py::arg("limite") = 0)
      .def(
          "formes_pour_anagrammes",
          [](const Table& t, const std::u16string& mot, uint32_t limite) {
            sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
            {
              py::gil_scoped_release sansGil;
              t.FormesPourAnagrammes(N(mot), {}, limite, formes);
            }
            return Paires(formes);
          },
          py::arg("mot"), py::arg("limite") = 0);

  py::class_<Listage>(m, "_Listage")
      .def("__iter__", [](py::object soi) { return soi; })
      .def("__next__", &Listage::Suivante);

  // ---- text comparison
  py::class_<SynchroPython>(
      m, "Synchro",
      "Alignement de deux suites : deux str (caractère par caractère) ou deux listes de "
      "str (élément par élément, des lignes par exemple).")
      .def(py::init<const py::object&, const py::object&, float>(), py::arg("ancien"), py::arg("nouveau"),
           py::arg("limite") = 0.0f,
           "limite : secondes avant de rendre un alignement non minimal (0 : aucune).")
      .def("synchronise", &SynchroPython::Synchronise,
           "Pour chaque élément nouveau, son indice ancien ou -1.")
      .def("distance", &SynchroPython::Distance, "Éléments supprimés plus insérés.")
      .def("phrases_similaires", &SynchroPython::PhrasesSimilaires, py::arg("contenu_accepte") = false)
      .def_property_readonly("limite_depassee", &SynchroPython::LimiteDepassee);
  m.def("diff_unifie", &DiffUnifie, py::arg("ancien"), py::arg("nouveau"), py::arg("contexte") = 3,
        py::arg("nom_ancien") = "ancien", py::arg("nom_nouveau") = "nouveau",
        "La différence unifiée de deux textes, comme diff -u (sans dates) ; vide s’ils sont égaux.");

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
