// The lexicon: compiling word lists, and the compiled automaton read in place.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <functional>
#include <memory>
#include <vector>

#include "Commun.h"

namespace outils_python {

using sdd::AutomateAcycliqueMin;

namespace {

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
    sdd::FichierRemplacant sortie(chemin.c_str());
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

int64_t NoPourMot(AutomateAcycliqueMin& a, const py::handle& mot) {
  thread_local std::u16string tampon;
  const std::u16string_view u = Unites(mot, tampon);
  return a.NoPourMot(u.data(), u.size());
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

void DeclareLexique(py::module_& m) {
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

  py::class_<Listage>(m, "_Listage")
      .def("__iter__", [](py::object soi) { return soi; })
      .def("__next__", &Listage::Suivante);
}

}  // namespace outils_python
