// The string table as a Python mapping from str to int, safe to share between threads.
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/TamponMemoire.h>

#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <utility>
#include <vector>

#include "Commun.h"

namespace outils_python {

namespace {

using Table = sdd::TableChaine<int64_t>;
using Paires = std::vector<std::pair<std::u16string, int64_t>>;

// One reader/writer lock per table: searches and reads share it, changes take it alone. A
// search runs without the GIL, so a change made meanwhile from another thread would free the
// nodes it walks; the lock makes it wait instead. A thread that finds the lock taken lets go
// of the GIL while it waits, so that whoever holds the lock can finish. Results are copied
// out under the lock and turned into Python objects after it is released: making them may run
// any Python code (a collection, a finaliser), which may want the table again.
class TablePython {
 public:
  static constexpr const char* kNom = "TableChaine";

  template <typename F>
  auto Lit(F&& f) const {
    std::shared_lock<std::shared_mutex> verrou(mutex_, std::try_to_lock);
    if (!verrou.owns_lock()) {
      py::gil_scoped_release sansGil;
      verrou.lock();
    }
    return f(table_);
  }
  // The same, entirely without the GIL: for the searches, which may be long.
  template <typename F>
  auto LitSansGil(F&& f) const {
    py::gil_scoped_release sansGil;
    std::shared_lock<std::shared_mutex> verrou(mutex_);
    return f(table_);
  }
  template <typename F>
  auto Change(F&& f) {
    std::unique_lock<std::shared_mutex> verrou(mutex_, std::try_to_lock);
    if (!verrou.owns_lock()) {
      py::gil_scoped_release sansGil;
      verrou.lock();
    }
    return f(table_);
  }

  // A table no other thread can see yet, being filled.
  Table& Neuve() { return table_; }

 private:
  Table table_;
  mutable std::shared_mutex mutex_;
};

using Formes = sdd::ListeC<sdd::TableChaineNoyau::_Forme>;

// Runs one of the table's searches, then gives at most `limite` (0: all) keys with their values.
template <typename Recherche>
py::list Cherche(const TablePython& t, uint32_t limite, Recherche&& recherche) {
  const Paires paires = t.LitSansGil([&](const Table& table) {
    Formes formes;
    recherche(table, formes);
    Paires r;
    for (const auto& f : formes) {
      if (limite != 0 && r.size() == limite) break;
      r.emplace_back(U16(f.forme), Table::DonneCharge(f));
    }
    return r;
  });
  py::list r;
  for (const auto& [clef, valeur] : paires) r.append(py::make_tuple(Str(clef), valeur));
  return r;
}

Paires Toutes(const TablePython& t) {
  return t.Lit([](const Table& table) {
    Paires r;
    r.reserve(table.Taille());
    for (const auto& [clef, charge] : table) r.emplace_back(U16(clef), charge);
    return r;
  });
}

int64_t Valeur(py::handle v, const char* nom) { return Entier(v, nom, INT64_MIN, INT64_MAX); }

std::unique_ptr<TablePython> DepuisDict(const py::object& donnees) {
  auto t = std::make_unique<TablePython>();
  if (donnees.is_none()) return t;
  if (!PyDict_Check(donnees.ptr()) && !py::hasattr(donnees, "items"))
    throw py::type_error("donnees : un dict de str vers int est attendu, reçu " + NomType(donnees));
  std::vector<std::pair<ChaineN, int64_t>> paires;
  for (const py::handle paire : donnees.attr("items")()) {
    const py::tuple kv = py::reinterpret_borrow<py::tuple>(paire);
    if (!PyUnicode_Check(kv[0].ptr()))
      throw py::type_error("donnees : clef str attendue, reçu " + NomType(kv[0]));
    paires.emplace_back(Texte(kv[0], "donnees (clef)"),
                        Element(
                            "donnees", [&] { return std::string(py::repr(kv[0])); },
                            [&](const char* nom) { return Valeur(kv[1], nom); }));
  }
  for (const auto& [k, v] : paires) t->Neuve().Mets(k, v);
  return t;
}

std::unique_ptr<TablePython> DepuisFlux(sdd::FluxEntree& entree) {
  auto t = std::make_unique<TablePython>();
  t->Neuve().Lis(entree);
  return t;
}

std::unique_ptr<TablePython> DepuisOctets(const py::object& donnees) {
  const py::buffer_info vue = Tampon(donnees, "donnees");
  sdd::TamponMemoire tampon(static_cast<char*>(vue.ptr), vue.size * vue.itemsize, false);
  return DepuisFlux(tampon);
}

py::bytes Octets(const TablePython& t) {
  sdd::TamponMemoire tampon;
  t.LitSansGil([&](const Table& table) { table.Ecris(tampon); });
  return py::bytes(reinterpret_cast<const char*>(tampon.PreteDonneesBrutes()), tampon.Taille());
}

// The key's value, if the table holds the key.
std::optional<int64_t> Cherche(const TablePython& t, const ChaineN& clef) {
  return t.Lit([&](const Table& table) {
    const int64_t* v = table.Trouve(clef);
    return v != nullptr ? std::optional<int64_t>(*v) : std::nullopt;
  });
}

py::list Clefs(const TablePython& t) {
  py::list r;
  for (const auto& paire : Toutes(t)) r.append(Str(paire.first));
  return r;
}

[[noreturn]] void LanceClef(const ChaineN& k) { throw py::key_error(std::string(py::repr(Str(k)))); }

}  // namespace

void DeclareTable(py::module_& m) {
  py::class_<TablePython>(
      m, "TableChaine",
      "Table de chaînes : un dictionnaire de str vers int gardé en arbre de préfixes compressé, "
      "avec les recherches insensibles, les préfixes, les jokers, les anagrammes et les corrections.\n\n"
      "Plusieurs fils peuvent s’en servir à la fois : chaque table a un verrou de lecteurs et "
      "d’écrivain ; les recherches se font ensemble, une modification attend qu’elles finissent et "
      "les fait attendre. L’itération parcourt une copie des clefs. Elle se picke sous sa forme "
      "sérialisée.")
      .def(py::init(&DepuisDict), py::arg("donnees") = py::none(),
           "Une table vide, ou remplie des paires d’un dict de str vers int.")
      .def("__len__",
           [](Soi<TablePython> soi) { return Objet(soi).Lit([](const Table& t) { return t.Taille(); }); })
      .def("__repr__",
           [](Soi<TablePython> soi) {
             return "<TableChaine : " +
                    std::to_string(Objet(soi).Lit([](const Table& t) { return t.Taille(); })) + " clefs>";
           })
      .def(
          "__contains__",
          [](Soi<TablePython> soi, ArgTexte clef) {
            const ChaineN k = Texte(clef, "clef");
            return Objet(soi).Lit([&](const Table& t) { return t.Trouve(k) != nullptr; });
          },
          py::arg("clef"))
      .def(
          "__getitem__",
          [](Soi<TablePython> soi, ArgTexte clef) {
            const ChaineN k = Texte(clef, "clef");
            const std::optional<int64_t> v = Cherche(Objet(soi), k);
            if (!v) LanceClef(k);
            return *v;
          },
          py::arg("clef"))
      .def(
          "__setitem__",
          [](Soi<TablePython> soi, ArgTexte clef, ArgEntier valeur) {
            const ChaineN k = Texte(clef, "clef");
            const int64_t v = Valeur(valeur.h, "valeur");
            Objet(soi).Change([&](Table& t) { t.Mets(k, v); });
          },
          py::arg("clef"), py::arg("valeur"))
      .def(
          "__delitem__",
          [](Soi<TablePython> soi, ArgTexte clef) {
            const ChaineN k = Texte(clef, "clef");
            if (!Objet(soi).Change([&](Table& t) { return t.Supprime(k); })) LanceClef(k);
          },
          py::arg("clef"))
      .def(
          "get",
          [](Soi<TablePython> soi, ArgTexte clef, py::object defaut) -> py::object {
            const std::optional<int64_t> v = Cherche(Objet(soi), Texte(clef, "clef"));
            return v ? py::cast(*v) : defaut;
          },
          py::arg("clef"), py::arg("defaut") = py::none(),
          "La valeur de la clef, defaut si elle est absente.")
      .def(
          "items",
          [](Soi<TablePython> soi) {
            py::list r;
            for (const auto& [clef, valeur] : Toutes(Objet(soi))) r.append(py::make_tuple(Str(clef), valeur));
            return r;
          },
          "Les paires (clef, valeur) dans l’ordre de l’arbre.")
      .def(
          "keys", [](Soi<TablePython> soi) { return Clefs(Objet(soi)); },
          "Les clefs dans l’ordre de l’arbre.")
      .def("__iter__", [](Soi<TablePython> soi) { return py::iter(Clefs(Objet(soi))); })
      .def(
          "ecris",
          [](Soi<TablePython> soi, ArgChemin chemin) {
            const std::string c = Chemin(chemin, "chemin");
            Objet(soi).LitSansGil([&](const Table& t) {
              sdd::FichierRemplacant sortie(c.c_str());
              t.Ecris(sortie);
              sortie.Ferme();
            });
          },
          py::arg("chemin"),
          "Écrit la table sous sa forme sérialisée (version 110), dans un fichier écrit à côté puis "
          "renommé : une panne laisse l’ancien entier.")
      .def(
          "octets", [](Soi<TablePython> soi) { return Octets(Objet(soi)); },
          "La forme sérialisée, en octets.")
      .def_static(
          "lis",
          [](ArgChemin chemin) {
            const std::string c = Chemin(chemin, "chemin");
            py::gil_scoped_release sansGil;
            sdd::Fichier entree(c.c_str(), sdd::Fichier::eLecture);
            return DepuisFlux(entree);
          },
          py::arg("chemin"), "Lit une table écrite par ecris ; une forme endommagée lève TableNonValide.")
      .def_static(
          "depuis_octets", &DepuisOctets, py::arg("donnees"),
          "Lit une table dans les octets que donne octets() ; une forme endommagée lève TableNonValide.")
      .def(py::pickle([](Soi<TablePython> soi) { return Octets(Objet(soi)); },
                      [](const py::bytes& octets) { return DepuisOctets(octets); }))
      .def(
          "formes_pour",
          [](Soi<TablePython> soi, ArgTexte mot, ArgEntier masque, ArgEntier limite) {
            const ChaineN k = Texte(mot, "mot");
            const auto options =
                sdd::OptionRecherche(0, static_cast<uint32_t>(Entier(masque, "masque", 0, 15)));
            const uint32_t n = Entier32(limite, "limite");
            return Cherche(Objet(soi), n, [&](const Table& t, Formes& f) { t.FormesPour(k, options, n, f); });
          },
          py::arg("mot"), py::arg("masque") = 0, py::arg("limite") = 0,
          "Les (clef, valeur) qui correspondent au mot sans tenir compte des accents, de la casse, des "
          "variantes ni des ligatures (masque : les différences tolérées, bits MALGRAY_*, 0 pour toutes), "
          "les meilleures d’abord ; au plus limite (0 : toutes).")
      .def(
          "formes_commencant",
          [](Soi<TablePython> soi, ArgTexte prefixe, ArgEntier limite) {
            const ChaineN p = Texte(prefixe, "prefixe");
            const uint32_t n = Entier32(limite, "limite");
            return Cherche(Objet(soi), n,
                           [&](const Table& t, Formes& f) { t.FormesCommencant(p, {}, n, f); });
          },
          py::arg("prefixe"), py::arg("limite") = 0,
          "Les (clef, valeur) des clefs qui commencent par le préfixe (sans tenir compte des accents ni "
          "de la casse) ; au plus limite (0 : toutes).")
      .def(
          "formes_pour_joker",
          [](Soi<TablePython> soi, ArgTexte motif, ArgEntier limite, ArgEntier parametre) {
            const ChaineN p = Texte(motif, "motif");
            const uint32_t n = Entier32(limite, "limite");
            const auto options = static_cast<uint32_t>(Entier(parametre, "parametre", 0, 31));
            return Cherche(Objet(soi), n,
                           [&](const Table& t, Formes& f) { t.FormesPourJoker(p, n, options, f); });
          },
          py::arg("motif"), py::arg("limite") = 0, py::arg("parametre") = 0,
          "Les (clef, valeur) des clefs du motif, dans l’ordre de l’arbre ; au plus limite (0 : toutes). "
          "Motif et parametre comme AutomateAcycliqueMin.formes_pour_joker : sans JOKER_TOUT_CARACTERE, "
          "* ne passe pas un trait d’union.")
      .def(
          "formes_pour_anagrammes",
          [](Soi<TablePython> soi, ArgTexte mot, ArgEntier limite) {
            const ChaineN k = Texte(mot, "mot");
            const uint32_t n = Entier32(limite, "limite");
            return Cherche(Objet(soi), n,
                           [&](const Table& t, Formes& f) { t.FormesPourAnagrammes(k, {}, n, f); });
          },
          py::arg("mot"), py::arg("limite") = 0,
          "Les (clef, valeur) des clefs faites des lettres du mot, chacune une fois ; au plus limite "
          "(0 : toutes).");
}

}  // namespace outils_python
