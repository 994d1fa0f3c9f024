// The string table's searches. Word-to-keys, prefixes, jokers and corrections run the lexicon
// automaton's own walks (src/automates/Marche*.h) over the tree seen as a graph of one-character
// transitions, so that both answer with the same rules and ranks; anagrams are the table's own.
#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/conteneurs/TableChaineNoyau.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniCaractere.h>

#include "automates/MarcheCorrections.h"
#include "automates/MarcheInsensible.h"
#include "automates/MarcheJoker.h"
#include "conteneurs/GraphesTable.h"
#include "conteneurs/IndexClefs.h"
#include "conteneurs/PointsDeCode.h"
#include "texte/Malgray.h"

namespace sdd {

namespace {

using detail::GrapheTable;
using Noeud = TableChaineNoyau::Noeud;

// Tree order: ascending code points.
bool AvantEnPointsDeCode(const ChaineN& a, const ChaineN& b) {
  const char16_t* x = a.DonneUnites();
  const char16_t* y = b.DonneUnites();
  const uint64_t n = a.Longueur(), m = b.Longueur();
  uint64_t i = 0;
  while (i < n && i < m && x[i] == y[i]) ++i;
  if (i == n || i == m) return n < m;
  return detail::PointDeCode(x, n, i) < detail::PointDeCode(y, m, i);
}

TableChaineNoyau::_Forme FormeDe(const MarcheInsensible<GrapheTable>::_Position& p) {
  TableChaineNoyau::_Forme f;
  f.forme = p.texte;
  f.rang1 = p.rang1;
  f.rang2 = p.rang2;
  f.detail = p.detail;
  f.valeur = p.valeur;
  f.noeud = GrapheTable::DepuisIdentite(p.etat).n;
  return f;
}

// Best first: rank, then text.
std::vector<const MarcheInsensible<GrapheTable>::_Position*> Classe(
    const detail::EnsemblePositions& positions) {
  std::vector<const MarcheInsensible<GrapheTable>::_Position*> v;
  for (size_t i = 0; i < positions.Taille(); ++i) v.push_back(&positions[i]);
  std::sort(v.begin(), v.end(), [](const auto* x, const auto* y) {
    if (x->rang1 != y->rang1) return x->rang1 < y->rang1;
    if (x->rang2 != y->rang2) return x->rang2 < y->rang2;
    return AvantEnPointsDeCode(x->texte, y->texte);
  });
  return v;
}

}  // namespace

// Reaches the table's private switches and clock for the searches.
class TableChaineRecherches {
 public:
  static GrapheTable Graphe(const TableChaineNoyau& t, bool chrono) {
    return GrapheTable(t, t.recupereExclamation_, t.recupereTiret_, chrono);
  }
  // The lookup index's graph, when Compacte laid one out.
  static std::optional<detail::GrapheIndex> GrapheDeLIndex(const TableChaineNoyau& t, bool chrono) {
    if (t.indexClefs_ == nullptr) return std::nullopt;
    return detail::GrapheIndex(t, *t.indexClefs_, t.recupereExclamation_, t.recupereTiret_, chrono);
  }
  static bool TempsEcoulay(std::chrono::steady_clock::time_point debut) {
    return TableChaineNoyau::_TempsEcoulay(debut);
  }
};

bool detail::GrapheTableCommun::TempsEcoulay() const {
  return chrono_ && TableChaineRecherches::TempsEcoulay(debut_);
}

// ---- word to keys, prefix to keys

bool TableChaineNoyau::FormesPour(const ChaineN& mot, _OptionRecherche options, uint32_t limite,
                                  ListeC<_Forme>& formes, RecuperationForme recuperation) const {
  if (recuperation == nullptr) recuperation = RecuperationFormeTelQuelAccepte;
  ChaineN copie;
  if (!detail::PrepareMot(mot, options.drapeaux, copie)) return true;
  const GrapheTable g = TableChaineRecherches::Graphe(*this, false);
  detail::EnsemblePositions positions;
  MarcheInsensible<GrapheTable>(g).Cherche(copie, mot, options, false, recuperation, positions);
  uint64_t n = 0;
  for (const auto* p : Classe(positions)) {
    if (limite != 0 && n == limite) return false;
    formes.Ajoute(FormeDe(*p));
    ++n;
  }
  return true;
}

bool TableChaineNoyau::FormesCommencant(const ChaineN& prefixe, _OptionRecherche options, uint32_t limite,
                                        ListeC<_Forme>& formes, RecuperationForme recuperation) const {
  ListeT<ChaineN> prefixes;
  prefixes.Ajoute(prefixe);
  return FormesCommencant(prefixes, options, limite, formes, recuperation);
}

bool TableChaineNoyau::FormesCommencant(const ListeT<ChaineN>& prefixes, _OptionRecherche options,
                                        uint32_t limite, ListeC<_Forme>& formes,
                                        RecuperationForme recuperation) const {
  if (recuperation == nullptr) recuperation = RecuperationFormeTelQuelAccepte;
  const bool chrono = options.drapeaux & OptionRecherche::kTempsLimite;
  const GrapheTable g = TableChaineRecherches::Graphe(*this, chrono);
  detail::EnsemblePositions positions;
  for (const ChaineN& prefixe : prefixes) {
    ChaineN copie;
    if (!detail::PrepareMot(prefixe, options.drapeaux, copie)) continue;
    MarcheInsensible<GrapheTable>(g).Cherche(copie, prefixe, options, true, nullptr, positions);
  }
  uint64_t total = 0;
  for (const auto* p : Classe(positions)) {
    // Every key below the place, in tree order: the rest of the fragment, then the subtree.
    const GrapheTable::Etat e = GrapheTable::DepuisIdentite(p->etat);
    std::u16string chemin(p->texte.DonneUnites(), p->texte.Longueur());
    chemin.append(e.n->Cars().DonneUnites() + e.i, e.n->Cars().Longueur() - e.i);
    // Pre-order without a list of children: a node's next sibling goes on the stack below its
    // first child (the place's own node has no siblings to visit).
    struct Pas {
      const Noeud* n;
      size_t longueur;  // the path's length with n's fragment
      bool suivants;
    };
    std::vector<Pas> a{{e.n, chemin.size(), false}};
    bool premier = true;
    while (!a.empty()) {
      const Pas x = a.back();
      a.pop_back();
      if (!premier) {
        chemin.resize(x.longueur - x.n->Cars().Longueur());
        chemin.append(x.n->Cars().DonneUnites(), x.n->Cars().Longueur());
      }
      premier = false;
      if (x.suivants && x.n->Suivant() != nullptr) {
        const Noeud* s = x.n->Suivant();
        a.push_back({s, x.longueur - x.n->Cars().Longueur() + s->Cars().Longueur(), true});
      }
      if (const Noeud* c = x.n->PremierEnfant()) a.push_back({c, x.longueur + c->Cars().Longueur(), true});
      if (x.n->EstClef()) {
        _Forme f = FormeDe(*p);
        f.forme = ChaineN(chemin.data(), static_cast<uint64_t>(chemin.size()));
        f.noeud = x.n;
        RecuperationFormeParams params{nullptr, &f.forme, 0, f.rang1, f.rang2, f.detail};
        if (recuperation(params)) {
          formes.Ajoute(std::move(f));
          if (limite != 0 && ++total > limite) return false;
        }
        if (g.TempsEcoulay()) return false;
      }
    }
  }
  return true;
}

// ---- jokers

namespace {

// The walk meets keys in the order of its stack, not the tree's: gather, then sort and cut.
template <typename G>
bool Jokers(const G& g, const ChaineN& motif, uint32_t limite, uint32_t parametre,
            ListeC<TableChaineNoyau::_Forme>& formes) {
  std::vector<TableChaineNoyau::_Forme> trouvees;
  MarcheJoker<G>(g, motif, parametre)
      .Parcours(0, nullptr, [&](const char16_t* texte, uint64_t n, uint32_t, uint64_t identite) {
        TableChaineNoyau::_Forme f;
        f.forme = ChaineN(texte, n);
        f.valeur = static_cast<uint32_t>(motif.Longueur());
        f.noeud = g.NoeudDe(identite);
        trouvees.push_back(std::move(f));
      });
  std::sort(trouvees.begin(), trouvees.end(),
            [](const TableChaineNoyau::_Forme& x, const TableChaineNoyau::_Forme& y) {
              return AvantEnPointsDeCode(x.forme, y.forme);
            });
  const bool complet = limite == 0 || trouvees.size() <= limite;
  if (!complet) trouvees.resize(limite);
  for (TableChaineNoyau::_Forme& f : trouvees) formes.Ajoute(std::move(f));
  return complet;
}

}  // namespace

bool TableChaineNoyau::FormesPourJoker(const ChaineN& motif, uint32_t limite, uint32_t parametre,
                                       ListeC<_Forme>& formes) const {
  if (const auto g = TableChaineRecherches::GrapheDeLIndex(*this, false))
    return Jokers(*g, motif, limite, parametre, formes);
  return Jokers(TableChaineRecherches::Graphe(*this, false), motif, limite, parametre, formes);
}

// ---- corrections

bool TableChaineNoyau::FormesProbabilistes(const ChaineN& mot, _OptionRecherche options, uint32_t limite,
                                           uint32_t coutMax, ListeC<_FormeProbabiliste>& formes,
                                           const ProbabiliteTransformation* modele) const {
  const bool chrono = options.drapeaux & OptionRecherche::kTempsLimite;
  const GrapheTable g = TableChaineRecherches::Graphe(*this, chrono);
  using R = RechercheCorrections<GrapheTable>;
  std::vector<R::Candidat> retenus;
  // The graph's size for the budget: a tree has no shared states, so no search comes near it.
  const uint64_t taille = 64 * Taille() + 4096;
  const bool complet = R::Cherche(g, taille, mot, options, limite, coutMax, &modele, retenus);
  std::stable_sort(retenus.begin(), retenus.end(), [](const R::Candidat& x, const R::Candidat& y) {
    return x.cout != y.cout ? x.cout < y.cout : AvantEnPointsDeCode(x.texte, y.texte);
  });
  for (R::Candidat& r : retenus) {
    _FormeProbabiliste& f = formes.Ajoute(_FormeProbabiliste{});
    f.forme = std::move(r.texte);
    f.cout = r.cout;
    f.probabilite = modele->Probabilite(r.cout);
    f.noeud = GrapheTable::DepuisIdentite(r.identite).n;
  }
  return complet;
}

// ---- anagrams

namespace {

// The characters of a word as the anagram search compares them: folded under the mask, each
// ligature as its two letters when the mask tolerates ligatures; kept as (character, count).
class Lettres {
 public:
  Lettres(const ChaineN& mot, uint16_t masque) : masque_(masque) {
    for (const char16_t c : mot) Ajoute(c, +1);
  }
  char16_t Plie(char16_t c) const {
    if (masque_ & ChaineN::kMalgrayVariantes) c = UniCaractere::Variante(c);
    if (masque_ & ChaineN::kMalgrayCasse) c = UniCaractere::Minuscule(c);
    if (masque_ & ChaineN::kMalgrayAccents) c = UniCaractere::SansAccent(c);
    return c;
  }
  // Takes (or, with -1, gives back) the character; false when it is not there to take.
  bool Ajoute(char16_t c, int sens) {
    const char16_t* lettres = (masque_ & ChaineN::kMalgrayLigatures) ? detail::LettresDeLigature(c) : nullptr;
    if (lettres != nullptr) {
      if (!Change(Plie(lettres[0]), sens)) return false;
      if (!Change(Plie(lettres[1]), sens)) {
        Change(Plie(lettres[0]), -sens);
        return false;
      }
      return true;
    }
    return Change(Plie(c), sens);
  }
  bool Vide() const { return restants_ == 0; }

 private:
  bool Change(char16_t c, int sens) {
    for (auto& [car, nombre] : comptes_) {
      if (car != c) continue;
      if (nombre + sens < 0) return false;
      nombre += sens;
      restants_ += sens;
      return true;
    }
    if (sens < 0) return false;
    comptes_.emplace_back(c, sens);
    restants_ += sens;
    return true;
  }

  uint16_t masque_;
  std::vector<std::pair<char16_t, int>> comptes_;
  int restants_ = 0;
};

}  // namespace

bool TableChaineNoyau::FormesPourAnagrammes(const ChaineN& mot, _OptionRecherche options, uint32_t limite,
                                            ListeC<_Forme>& formes) const {
  ChaineN copie;
  if (!detail::PrepareMot(mot, options.drapeaux, copie)) return true;
  const auto masque = static_cast<uint16_t>(options.valeur == 0 ? 0xF : options.valeur & 0xF);
  const bool partiel = options.drapeaux & OptionRecherche::kSousAnagrammes;
  // Characters the table's keys offer, the word's letters still to place: each step of the walk
  // takes one (the walk is as deep as the word is long). Taking back is the reverse step.
  Lettres reste(copie, masque);
  // Depth first in tree order: (node, unit of its fragment, taken or not).
  struct Pas {
    const Noeud* n;
    uint32_t i;
    size_t longueur;  // the path's length before this step
    bool retour;
    bool suivants;  // at a node's start: its next sibling is still to visit
  };
  std::u16string chemin;
  std::vector<Pas> a{{Racine(), 0, 0, false, false}};
  uint64_t n = 0;
  while (!a.empty()) {
    const Pas p = a.back();
    a.pop_back();
    if (p.retour) {
      reste.Ajoute(chemin[p.longueur], +1);
      chemin.resize(p.longueur);
      continue;
    }
    if (p.i == 0 && p.suivants && p.n->Suivant() != nullptr)
      a.push_back({p.n->Suivant(), 0, p.longueur, false, true});
    const uint64_t longueurFragment = p.n->Cars().Longueur();
    if (p.i < longueurFragment) {
      const char16_t c = p.n->Cars().DonneUnites()[p.i];
      if (!reste.Ajoute(c, -1)) continue;
      chemin.push_back(c);
      a.push_back({nullptr, 0, p.longueur, true, false});
      a.push_back({p.n, p.i + 1, p.longueur + 1, false, false});
      continue;
    }
    // At a node boundary: a key here, then the children in tree order.
    if (p.n->EstClef() && !chemin.empty() && (reste.Vide() || partiel)) {
      if (limite != 0 && n == limite) return false;
      _Forme& f = formes.Ajoute(_Forme{});
      f.forme = ChaineN(chemin.data(), static_cast<uint64_t>(chemin.size()));
      f.valeur = static_cast<uint32_t>(copie.Longueur());
      f.noeud = p.n;
      ++n;
    }
    if (reste.Vide()) continue;
    // The children in tree order: each one, when its turn comes, puts its next sibling below.
    if (const Noeud* c = p.n->PremierEnfant()) a.push_back({c, 0, chemin.size(), false, true});
  }
  return true;
}

}  // namespace sdd
