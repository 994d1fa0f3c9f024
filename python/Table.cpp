// The string table as a Python mapping from str to int.
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/flux/Fichier.h>

#include <memory>

#include "Commun.h"

namespace outils_python {

namespace {

using Table = sdd::TableChaine<int64_t>;

// Runs one of the table's searches without the GIL, then gives its keys with their values.
template <typename Recherche>
py::list Cherche(Recherche&& recherche) {
  sdd::ListeC<sdd::TableChaineNoyau::_Forme> formes;
  {
    py::gil_scoped_release sansGil;
    recherche(formes);
  }
  py::list r;
  for (const auto& f : formes) r.append(py::make_tuple(U(f.forme), Table::DonneCharge(f)));
  return r;
}

py::list Clefs(const Table& t) {
  py::list r;
  for (const auto& [clef, charge] : t) r.append(py::cast(U(clef)));
  return r;
}

}  // namespace

void DeclareTable(py::module_& m) {
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
      .def("keys", &Clefs)
      .def("__iter__", [](const Table& t) { return py::iter(Clefs(t)); })
      .def(
          "ecris",
          [](const Table& t, const std::string& chemin) {
            sdd::FichierRemplacant sortie(chemin.c_str());
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
            return Cherche([&](auto& formes) {
              t.FormesPour(N(mot), sdd::OptionRecherche(0, static_cast<uint32_t>(masque)), limite, formes);
            });
          },
          py::arg("mot"), py::arg("masque") = 0, py::arg("limite") = 0,
          "Les (clef, valeur) qui correspondent au mot sans tenir compte des accents, de la casse, des "
          "variantes ni des ligatures, les meilleures d’abord.")
      .def(
          "formes_commencant",
          [](const Table& t, const std::u16string& prefixe, uint32_t limite) {
            return Cherche([&](auto& formes) { t.FormesCommencant(N(prefixe), {}, limite, formes); });
          },
          py::arg("prefixe"), py::arg("limite") = 0)
      .def(
          "formes_pour_joker",
          [](const Table& t, const std::u16string& motif, uint32_t limite) {
            return Cherche([&](auto& formes) { t.FormesPourJoker(N(motif), limite, 0, formes); });
          },
          py::arg("motif"), py::arg("limite") = 0)
      .def(
          "formes_pour_anagrammes",
          [](const Table& t, const std::u16string& mot, uint32_t limite) {
            return Cherche([&](auto& formes) { t.FormesPourAnagrammes(N(mot), {}, limite, formes); });
          },
          py::arg("mot"), py::arg("limite") = 0);
}

}  // namespace outils_python
