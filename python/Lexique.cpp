// The lexicon: compiling word lists, and the compiled automaton read in place from a mapped
// file or from bytes.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/Exception.h>

#include <memory>
#include <mutex>
#include <vector>

#include "Commun.h"
#include "Valeurs.h"

namespace outils_python {

using sdd::AutomateAcycliqueMin;

namespace {

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
  static constexpr const char* kNom = "CompilateurAutomateAcycliqueMin";

  Compilateur(const py::object& mots, bool parents, const py::object& progression) {
    if (!py::isinstance<py::iterable>(mots) || py::isinstance<py::str>(mots))
      throw py::type_error("mots : un itérable de str est attendu, reçu " + NomType(mots));
    if (!progression.is_none() && !PyCallable_Check(progression.ptr()))
      throw py::type_error("progression : une fonction (fait, total) ou None est attendue, reçu " +
                           NomType(progression));
    sdd::ListeT<ChaineN> liste;
    std::size_t i = 0;
    for (const py::handle m : mots) {
      ChaineN mot = Element(
          "mots", [i] { return std::to_string(i); }, [&](const char* nom) { return Texte(m, nom); });
      // The automaton's states end on character 0: a word cannot hold it.
      for (uint64_t k = 0; k < mot.Longueur(); ++k)
        if (mot.DonneUnites()[k] == 0)
          throw py::value_error("mots[" + std::to_string(i) +
                                "] : le caractère U+0000 ne peut pas être dans un mot");
      liste.Ajoute(std::move(mot));
      ++i;
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

  // Writing the stored form walks the compiler's structures: one writer at a time.
  uint64_t Ecris(const std::string& chemin) {
    py::gil_scoped_release sansGil;
    const std::lock_guard<std::mutex> verrou(mutex_);
    sdd::FichierRemplacant sortie(chemin.c_str());
    const uint64_t octets = compilateur_->FormeCompactay(sortie);
    sortie.Ferme();
    return octets;
  }

  py::bytes Octets() {
    sdd::TamponMemoire tampon;
    {
      py::gil_scoped_release sansGil;
      const std::lock_guard<std::mutex> verrou(mutex_);
      compilateur_->FormeCompactay(tampon);
    }
    return py::bytes(reinterpret_cast<const char*>(tampon.PreteDonneesBrutes()), tampon.Taille());
  }

  const sdd::CompilateurAutomateAcycliqueMin& C() const { return *compilateur_; }

 private:
  std::unique_ptr<sdd::CompilateurAutomateAcycliqueMin> compilateur_;
  std::mutex mutex_;
};

// An automaton read in place: from its mapped file, or from a bytes object it keeps. Every
// search is const and the reader keeps no state between calls, so any number of threads
// may search one lexicon at once.
class Lexique {
 public:
  static constexpr const char* kNom = "AutomateAcycliqueMin";

  explicit Lexique(const std::string& chemin) {
    py::gil_scoped_release sansGil;
    auto fichier = std::make_unique<sdd::FichierMMap>(UniChemin(chemin));
    octets_ = fichier->Octets();
    taille_ = fichier->Taille();
    source_ = std::move(fichier);
    Ouvre();
  }

  // The bytes are kept: a bytes object as it is (it cannot change), any other buffer copied
  // into one (a bytearray or a writable mapping could change under the reader).
  struct DepuisOctets {};
  Lexique(DepuisOctets, const py::handle& donnees) {
    if (PyBytes_Check(donnees.ptr())) {
      proprietaire_ = py::reinterpret_borrow<py::object>(donnees);
    } else {
      const py::buffer_info vue = Tampon(donnees, "donnees");
      proprietaire_ = py::bytes(static_cast<const char*>(vue.ptr), vue.size * vue.itemsize);
    }
    char* octets = PyBytes_AS_STRING(proprietaire_.ptr());
    taille_ = static_cast<uint64_t>(PyBytes_GET_SIZE(proprietaire_.ptr()));
    octets_ = reinterpret_cast<const uint8_t*>(octets);
    source_ = std::make_unique<sdd::TamponMemoire>(octets, static_cast<int64_t>(taille_), false);
    py::gil_scoped_release sansGil;
    Ouvre();
  }

  // Searches are const in effect; the prefix visit is declared otherwise only because its
  // time-limited form (never used here) notes its start.
  AutomateAcycliqueMin& A() const { return *automate_; }

  // The stored form, for pickling: the bytes object itself when it is exactly the lexicon.
  py::bytes Octets() const {
    const uint64_t n = automate_->DonneTailleTotal();
    if (proprietaire_ && n == taille_) return py::reinterpret_borrow<py::bytes>(proprietaire_);
    return py::bytes(reinterpret_cast<const char*>(octets_), n);
  }

 private:
  void Ouvre() {
    try {
      automate_ = std::make_unique<AutomateAcycliqueMin>(source_.get(), 0);
    } catch (const sdd::exceptions::TableNonValide&) {
      throw;
    } catch (const sdd::exceptions::Exception&) {
      // A newer automaton says so by its version digits; bytes that are no digits at all
      // (a text file, garbage) are no lexicon.
      if (taille_ >= 4 && (octets_[0] > 9 || octets_[1] > 9 || octets_[2] > 9 || octets_[3] > 9))
        throw sdd::exceptions::TableNonValide(
            "ce n’est pas un lexique : les octets de version ne sont pas des chiffres");
      throw;
    }
  }

  py::object proprietaire_;  // the bytes object, when read from one (null otherwise)
  std::unique_ptr<sdd::FluxEntreeMemoire> source_;
  const uint8_t* octets_ = nullptr;
  uint64_t taille_ = 0;
  std::unique_ptr<AutomateAcycliqueMin> automate_;
};

struct FormeBrute {
  std::u16string forme;
  uint32_t numero, rang1, rang2, detail;
};

// A lazy listing: each refill walks again from the start, skips what was already given and
// takes twice as many as last time, so a caller that stops after k forms pays O(k) walks.
// Like Python's generators, it refuses to be advanced from two threads at once.
class Listage {
 public:
  static constexpr const char* kNom = "_Listage";
  using Remplis = std::function<void(uint64_t deja, uint64_t lot, std::vector<FormeBrute>& sortie)>;
  Listage(py::object proprietaire, Remplis remplis)
      : proprietaire_(std::move(proprietaire)), remplis_(std::move(remplis)) {}

  py::object Suivante() {
    if (enCours_) throw py::value_error("generator already executing");
    if (i_ == tampon_.size()) {
      if (fini_) throw py::stop_iteration();
      enCours_ = true;  // set and cleared with the GIL held
      tampon_.clear();
      i_ = 0;
      try {
        py::gil_scoped_release sansGil;
        remplis_(donnees_, lot_, tampon_);
      } catch (...) {
        enCours_ = false;
        fini_ = true;
        throw;
      }
      enCours_ = false;
      fini_ = tampon_.size() < lot_;
      donnees_ += tampon_.size();
      lot_ *= 2;
      if (tampon_.empty()) throw py::stop_iteration();
    }
    const FormeBrute& f = tampon_[i_++];
    return NouvelleForme(Str(f.forme), f.numero, f.rang1, f.rang2, f.detail);
  }

 private:
  py::object proprietaire_;  // keeps the lexicon alive while the generator lives
  Remplis remplis_;
  std::vector<FormeBrute> tampon_;
  std::size_t i_ = 0;
  uint64_t donnees_ = 0;
  uint64_t lot_ = 64;
  bool fini_ = false;
  bool enCours_ = false;
};

int64_t NoPourMot(PyObject* soi, PyObject* mot) {
  thread_local std::u16string tampon;
  const std::u16string_view u = Unites(mot, "mot", tampon);
  const Lexique& l = Objet(Soi<Lexique>{soi});
  return l.A().NoPourMot(u.data(), u.size());
}

PyObject* NoPourMotBrut(PyObject* soi, PyObject* mot) {
  return Protege([&] { return PyLong_FromLongLong(NoPourMot(soi, mot)); });
}

PyObject* ContientBrut(PyObject* soi, PyObject* mot) {
  return Protege([&] { return PyBool_FromLong(NoPourMot(soi, mot) >= 0); });
}

// Installs a METH_O function as a method of a pybind11 class: the exact lookup is the call
// Python code makes millions of times, and CPython's one-argument convention costs half of
// what pybind11's general dispatcher does.
void AjouteMethodeBrute(const py::handle& classe, PyMethodDef* definition) {
  PyObject* descripteur = PyDescr_NewMethod(reinterpret_cast<PyTypeObject*>(classe.ptr()), definition);
  if (descripteur == nullptr || PyObject_SetAttrString(classe.ptr(), definition->ml_name, descripteur) != 0) {
    Py_XDECREF(descripteur);
    throw py::error_already_set();
  }
  Py_DECREF(descripteur);
}

uint32_t Masque(ArgEntier a) { return static_cast<uint32_t>(Entier(a, "masque", 0, 15)); }

}  // namespace

void DeclareLexique(py::module_& m) {
  DeclareValeurs(m);
  m.attr("JOKER_LIGATURES") = 0x01;
  m.attr("JOKER_TOUT_CARACTERE") = 0x10;

  py::class_<Listage>(m, "_Listage", "Générateur de formes d’un lexique (voir formes_commencant).")
      .def("__iter__",
           [](Soi<Listage> soi) {
             Objet(soi);
             return py::reinterpret_borrow<py::object>(soi.h);
           })
      .def("__next__", [](Soi<Listage> soi) { return Objet(soi).Suivante(); });

  py::class_<Compilateur>(
      m, "CompilateurAutomateAcycliqueMin",
      "Compile une liste de mots (tout itérable de str) en automate minimal acyclique.\n\n"
      "Ne se picke pas : picklez AutomateAcycliqueMin.depuis_octets(c.octets()).")
      .def(py::init<const py::object&, bool, const py::object&>(), py::arg("mots"),
           py::arg("parents") = false, py::arg("progression") = py::none(),
           "mots : les formes ; parents : garder les nœuds parents ; progression(fait, total) est appelée "
           "pendant la compilation.")
      .def(
          "ecris",
          [](Soi<Compilateur> soi, ArgChemin chemin) { return Objet(soi).Ecris(Chemin(chemin, "chemin")); },
          py::arg("chemin"),
          "Écrit le lexique dans un fichier et rend sa taille. Le fichier est écrit à côté puis renommé : "
          "un lexique ouvert sur ce chemin garde son ancien contenu.")
      .def(
          "octets", [](Soi<Compilateur> soi) { return Objet(soi).Octets(); },
          "Le lexique tel qu’il serait écrit (à ouvrir par AutomateAcycliqueMin.depuis_octets).")
      .def_property_readonly(
          "nb_formes", [](Soi<Compilateur> soi) { return Objet(soi).C().NbFormes(); }, "Formes compilées.")
      .def_property_readonly(
          "nb_etats", [](Soi<Compilateur> soi) { return Objet(soi).C().NbEtats(); }, "États de l’automate.")
      .def_property_readonly(
          "nb_transitions", [](Soi<Compilateur> soi) { return Objet(soi).C().NbTransitions(); },
          "Transitions de l’automate.");

  py::class_<Lexique> classeLexique(
      m, "AutomateAcycliqueMin",
      "Un lexique compilé, lu sur place dans son fichier projeté en mémoire (ou dans des octets). "
      "Un fichier qui n’est pas un lexique, ou endommagé, lève TableNonValide. Plusieurs fils "
      "peuvent y chercher à la fois ; il se picke (ses octets voyagent).");
  static PyMethodDef noPourMot = {"no_pour_mot", NoPourMotBrut, METH_O,
                                  "no_pour_mot(self, mot: str) -> int\n--\n\n"
                                  "Le numéro de la forme, -1 si elle est absente."};
  static PyMethodDef contient = {
      "__contains__", ContientBrut, METH_O,
      "__contains__(self, mot: str) -> bool\n--\n\nVrai si la forme est dans le lexique."};
  AjouteMethodeBrute(classeLexique, &noPourMot);
  AjouteMethodeBrute(classeLexique, &contient);
  classeLexique
      .def(py::init([](ArgChemin chemin) { return std::make_unique<Lexique>(Chemin(chemin, "chemin")); }),
           py::arg("chemin"), "Ouvre le lexique écrit dans ce fichier.")
      .def_static(
          "depuis_octets",
          [](const py::object& donnees) {
            return std::make_unique<Lexique>(Lexique::DepuisOctets{}, donnees);
          },
          py::arg("donnees"),
          "Le lexique lu dans ces octets (bytes, bytearray, memoryview…), sans fichier : ceux de "
          "CompilateurAutomateAcycliqueMin.octets() ou d’un fichier lu.")
      .def(
          "octets", [](Soi<Lexique> soi) { return Objet(soi).Octets(); },
          "Les octets du lexique, tels qu’écrits dans son fichier.")
      .def(py::pickle(
          [](Soi<Lexique> soi) { return Objet(soi).Octets(); },
          [](const py::bytes& octets) { return std::make_unique<Lexique>(Lexique::DepuisOctets{}, octets); }))
      .def("__len__", [](Soi<Lexique> soi) { return Objet(soi).A().NombreDeFormes(); })
      .def("__repr__",
           [](Soi<Lexique> soi) {
             return "<AutomateAcycliqueMin : " + std::to_string(Objet(soi).A().NombreDeFormes()) + " formes>";
           })
      .def(
          "forme_pour_no",
          [](Soi<Lexique> soi, ArgEntier numero) {
            const Lexique& l = Objet(soi);
            const int64_t n = Entier(numero, "numero", INT64_MIN, INT64_MAX);
            AutomateAcycliqueMin::_Forme f;
            if (n < 0 || n >= l.A().NombreDeFormes() || !l.A().FormePourNo(static_cast<uint32_t>(n), f))
              throw py::index_error("numero : hors du lexique (0 à " +
                                    std::to_string(l.A().NombreDeFormes()) + " - 1), reçu " +
                                    std::to_string(n));
            return Str(f.forme);
          },
          py::arg("numero"), "La forme de ce numéro ; IndexError hors de 0..len-1.")
      .def(
          "formes_pour",
          [](Soi<Lexique> soi, ArgTexte mot, ArgEntier masque, bool exact) {
            const Lexique& l = Objet(soi);
            const ChaineN m = Texte(mot, "mot");
            const sdd::OptionRecherche options(exact ? sdd::OptionRecherche::kExactSeulement : 0,
                                               Masque(masque));
            sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
            {
              py::gil_scoped_release sansGil;
              l.A().FormesPour(m, formes, options);
            }
            py::list r;
            for (const auto& f : formes)
              r.append(NouvelleForme(Str(f.forme), f.numero, f.rang1, f.rang2, f.detail));
            return r;
          },
          py::arg("mot"), py::arg("masque") = 0, py::arg("exact") = false,
          "Les formes du mot sans tenir compte des accents, de la casse, des variantes ni des ligatures, "
          "les meilleures d’abord ; masque : les différences tolérées (bits MALGRAY_*), 0 pour toutes ; "
          "exact : seulement la forme telle quelle.")
      .def(
          "formes_commencant",
          [](Soi<Lexique> soi, ArgTexte prefixe) {
            const Lexique& l = Objet(soi);
            const ChaineN p = Texte(prefixe, "prefixe");
            return Listage(py::reinterpret_borrow<py::object>(soi.h),
                           [&l, p](uint64_t deja, uint64_t lot, std::vector<FormeBrute>& sortie) {
                             uint64_t vu = 0;
                             l.A().VisiteFormesCommencant(
                                 p, [&](const char16_t* u, uint32_t n, uint32_t numero) {
                                   if (vu++ >= deja)
                                     sortie.push_back(FormeBrute{std::u16string(u, n), numero, 0, 0, 0});
                                   return sortie.size() < lot;
                                 });
                           });
          },
          py::arg("prefixe"),
          "Générateur des formes commençant par le préfixe (sans tenir compte des accents ni de la casse), "
          "dans l’ordre des numéros par place ; il garde le lexique en vie.")
      .def(
          "formes_pour_joker",
          [](Soi<Lexique> soi, ArgTexte motif, ArgEntier parametre) {
            const Lexique& l = Objet(soi);
            const ChaineN p = Texte(motif, "motif");
            const auto options = static_cast<uint32_t>(Entier(parametre, "parametre", 0, 31));
            return Listage(
                py::reinterpret_borrow<py::object>(soi.h),
                [&l, p, options](uint64_t deja, uint64_t lot, std::vector<FormeBrute>& sortie) {
                  sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
                  l.A().FormesPourJoker(p, formes, options,
                                        static_cast<uint32_t>(std::min<uint64_t>(deja + lot, UINT32_MAX)));
                  uint64_t i = 0;
                  for (const auto& f : formes) {
                    if (i++ >= deja)
                      sortie.push_back(FormeBrute{U16(f.forme), f.numero, f.rang1, f.rang2, f.detail});
                  }
                });
          },
          py::arg("motif"), py::arg("parametre") = 0,
          "Générateur des formes du motif, par numéro : * une suite de caractères, ? et _ un caractère, "
          "# une consonne, & une voyelle ; les autres caractères se comparent exactement.\n\n"
          "parametre : une somme de bits. MALGRAY_ACCENTS, MALGRAY_CASSE, MALGRAY_VARIANTES : les "
          "différences tolérées sur les autres caractères ; JOKER_LIGATURES : une ligature du lexique "
          "répond à ses deux lettres ; JOKER_TOUT_CARACTERE : les jokers valent aussi pour ce qui n’est "
          "pas une lettre. Sans lui (par défaut), * ne passe ni trait d’union, ni apostrophe, ni "
          "espace : '*tion' ne trouve pas 'contre-indication'.")
      .def(
          "formes_probabilistes",
          [](Soi<Lexique> soi, ArgTexte mot, ArgEntier limite, ArgEntier coutMax) {
            const Lexique& l = Objet(soi);
            const ChaineN m = Texte(mot, "mot");
            const uint32_t n = Entier32(limite, "limite"), c = Entier32(coutMax, "cout_max");
            sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
            {
              py::gil_scoped_release sansGil;
              l.A().FormesProbabilistes(m, {}, n, c, nullptr, formes);
            }
            py::list r;
            for (const auto& f : formes)
              r.append(NouvelleCorrection(Str(f.forme), f.numero, f.cout, f.probabilite));
            return r;
          },
          py::arg("mot"), py::arg("limite") = 10, py::arg("cout_max") = 0,
          "Les corrections du mot par coût croissant (10 par faute ordinaire), au plus limite ; "
          "cout_max 0 : 20, deux fautes ordinaires.");
}

}  // namespace outils_python
