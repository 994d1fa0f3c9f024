// The comparison of sequences: alignments, distances and unified diffs.
#include <outils_socle/synchro/DifferencesLignes.h>
#include <outils_socle/synchro/Synchro.h>

#include <atomic>
#include <vector>

#include "Commun.h"

namespace outils_python {

namespace {

using Elements = std::vector<std::u16string>;

bool CompareElements(void* a, int i, void* b, int j) {
  return (*static_cast<const Elements*>(a))[static_cast<std::size_t>(i)] ==
         (*static_cast<const Elements*>(b))[static_cast<std::size_t>(j)];
}

// A sequence's length must fit the alignment's int indices.
constexpr std::size_t kLongueurMax = 0x3FFFFFFF;

Elements Liste(const py::handle& objet, const char* nom) {
  const py::sequence suite = py::reinterpret_borrow<py::sequence>(objet);
  if (static_cast<std::size_t>(py::len(suite)) > kLongueurMax)
    throw py::value_error(std::string(nom) + " : trop d’éléments");
  Elements r;
  r.reserve(py::len(suite));
  std::u16string tampon;
  for (std::size_t i = 0; i < static_cast<std::size_t>(py::len(suite)); ++i) {
    const py::object e = suite[i];
    r.emplace_back(Element(
        nom, [i] { return std::to_string(i); }, [&](const char* n) { return Unites(e, n, tampon); }));
  }
  return r;
}

bool EstListe(const py::handle& o) {
  return !PyUnicode_Check(o.ptr()) && !PyBytes_Check(o.ptr()) && PySequence_Check(o.ptr());
}

// Either two str (compared character by character) or two sequences of str (element by
// element). The object keeps its two sequences and nothing else that a call changes: each
// call makes its own Synchro, so that threads may share one object, and a limit or an
// interruption of one call leaves the next whole.
class SynchroPython {
 public:
  static constexpr const char* kNom = "Synchro";

  SynchroPython(const py::object& ancien, const py::object& nouveau, ArgReel limite)
      : limite_(static_cast<float>(Reel(limite, "limite", 0, 1e9))) {
    if (PyUnicode_Check(ancien.ptr()) && PyUnicode_Check(nouveau.ptr())) {
      caracteres_ = true;
      a_ = Texte(ancien, "ancien");
      b_ = Texte(nouveau, "nouveau");
      if (a_.Longueur() > kLongueurMax || b_.Longueur() > kLongueurMax)
        throw py::value_error("ancien, nouveau : texte trop long");
    } else if (EstListe(ancien) && EstListe(nouveau)) {
      listeA_ = Liste(ancien, "ancien");
      listeB_ = Liste(nouveau, "nouveau");
    } else {
      throw py::type_error("ancien, nouveau : deux str, ou deux listes de str, sont attendus, reçu " +
                           NomType(ancien) + " et " + NomType(nouveau));
    }
  }

  py::tuple Etat() const {
    if (caracteres_) return py::make_tuple(Str(a_), Str(b_), limite_);
    py::list a, b;
    for (const auto& e : listeA_) a.append(Str(e));
    for (const auto& e : listeB_) b.append(Str(e));
    return py::make_tuple(a, b, limite_);
  }

  std::vector<int> Synchronise() {
    std::vector<int> resultat(static_cast<std::size_t>(Nouveaux()));
    Execute([&](Synchro& s) {
      if (!resultat.empty()) s.Synchronise(resultat.data());
    });
    return resultat;
  }
  int Distance() {
    int d = 0;
    Execute([&](Synchro& s) { d = s.DonneDistance(); });
    return d;
  }
  bool PhrasesSimilaires(bool contenuAccepte) {
    bool oui = false;
    Execute([&](Synchro& s) { oui = s.PhrasesSimilaires(contenuAccepte); });
    return oui;
  }
  bool LimiteDepassee() const { return depassee_; }

 private:
  int Nouveaux() const { return static_cast<int>(caracteres_ ? b_.Longueur() : listeB_.size()); }

  template <typename F>
  void Execute(F&& f) {
    const auto elements = caracteres_ ? a_.Longueur() + b_.Longueur() : listeA_.size() + listeB_.size();
    Interruptible(elements, [&](const std::atomic<bool>& arret) {
      Synchro s = caracteres_ ? Synchro(a_, b_, limite_)
                              : Synchro(&listeA_, static_cast<int>(listeA_.size()), &listeB_,
                                        static_cast<int>(listeB_.size()), CompareElements, limite_);
      s.ArreteSur(&arret);
      f(s);
      depassee_ = s.LimiteTempsDepassee();
    });
  }

  bool caracteres_ = false;
  ChaineN a_, b_;
  Elements listeA_, listeB_;
  float limite_;
  std::atomic<bool> depassee_{false};
};

// The unified diff of two texts, as `diff -u` writes it below its two header lines.
py::str DiffUnifie(ArgTexte ancien, ArgTexte nouveau, ArgEntier contexte, ArgTexte nomAncien,
                   ArgTexte nomNouveau, ArgReel limite, bool minimal) {
  sdd::TexteEnLignes a, b;
  a.octets = Texte(ancien, "ancien").Encode();
  b.octets = Texte(nouveau, "nouveau").Encode();
  const int n = static_cast<int>(Entier(contexte, "contexte", 0, 1000000));
  const std::string nomA = Texte(nomAncien, "nom_ancien").Encode();
  const std::string nomB = Texte(nomNouveau, "nom_nouveau").Encode();
  const auto secondes = static_cast<float>(Reel(limite, "limite", 0, 1e9));
  std::string sortie;
  Interruptible(a.octets.size() + b.octets.size(), [&](const std::atomic<bool>& arret) {
    a.Decoupe();
    b.Decoupe();
    if (a.lignes.size() > kLongueurMax || b.lignes.size() > kLongueurMax)
      throw py::value_error("ancien, nouveau : trop de lignes");
    const sdd::Differences d = sdd::CompareLignes(a.lignes, b.lignes, {secondes, &arret, minimal});
    if (d.modifications.empty() || arret) return;
    sortie = "--- " + nomA + "\n+++ " + nomB + "\n";
    sdd::EcrisBlocsUnifies(sortie, a, b, d, n);
  });
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(sortie.data(), static_cast<Py_ssize_t>(sortie.size()), "strict"));
}

}  // namespace

void DeclareSynchro(py::module_& m) {
  py::class_<SynchroPython>(
      m, "Synchro",
      "Alignement de deux suites : deux str (caractère par caractère) ou deux listes de str "
      "(élément par élément, des lignes par exemple). Chaque appel cherche à nouveau : plusieurs "
      "fils peuvent se servir d’un même objet, et Ctrl-C interrompt une longue recherche. Il se picke.")
      .def(py::init<const py::object&, const py::object&, ArgReel>(), py::arg("ancien"), py::arg("nouveau"),
           py::arg("limite") = 0.0,
           "limite : secondes de recherche par appel avant de rendre un alignement non minimal (0 : aucune).")
      .def(
          "synchronise", [](Soi<SynchroPython> soi) { return Objet(soi).Synchronise(); },
          "Pour chaque élément nouveau, son indice ancien ou -1.")
      .def(
          "distance", [](Soi<SynchroPython> soi) { return Objet(soi).Distance(); },
          "Éléments supprimés plus insérés d’un plus court passage de l’ancien au nouveau.")
      .def(
          "phrases_similaires",
          [](Soi<SynchroPython> soi, bool contenuAccepte) {
            return Objet(soi).PhrasesSimilaires(contenuAccepte);
          },
          py::arg("contenu_accepte") = false,
          "Vrai si les deux suites sont proches (moins de 30 % de différence) ; contenu_accepte : un "
          "nouveau texte contenu dans l’ancien compte comme proche.")
      .def_property_readonly(
          "limite_depassee", [](Soi<SynchroPython> soi) { return Objet(soi).LimiteDepassee(); },
          "Vrai si la limite de temps a coupé la dernière recherche.")
      .def(py::pickle([](Soi<SynchroPython> soi) { return Objet(soi).Etat(); },
                      [](const py::tuple& etat) {
                        if (etat.size() != 3) throw py::value_error("Synchro : état picklé invalide");
                        return std::make_unique<SynchroPython>(etat[0], etat[1], ArgReel{etat[2]});
                      }));
  m.def("diff_unifie", &DiffUnifie, py::arg("ancien"), py::arg("nouveau"), py::arg("contexte") = 3,
        py::arg("nom_ancien") = "ancien", py::arg("nom_nouveau") = "nouveau", py::arg("limite") = 0.0,
        py::arg("minimal") = false,
        "La différence unifiée de deux textes, comme diff -u (sans dates) ; vide s’ils sont égaux.\n\n"
        "Les lignes absentes de l’autre texte sont mises de côté avant la recherche, comme le fait "
        "diff. Comme diff, la recherche est bornée : une partie qui demanderait trop de changements "
        "est coupée là où la recherche est allée le plus loin, et la différence reste juste ; "
        "minimal=True cherche la plus courte quel qu’en soit le coût (diff --minimal). limite : "
        "secondes avant de rendre une différence juste mais pas la plus courte (0 : aucune). Le GIL "
        "est rendu pendant la comparaison, et Ctrl-C l’interrompt.");
}

}  // namespace outils_python
