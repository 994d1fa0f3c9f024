// The comparison of sequences: alignments, distances and unified diffs.
#include <outils_socle/synchro/Synchro.h>

#include <memory>
#include <vector>

#include "Differences.h"

#include "Commun.h"

namespace outils_python {

namespace {

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

}  // namespace

void DeclareSynchro(py::module_& m) {
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
}

}  // namespace outils_python
