#pragma once

// Corrections: the forms within a weighted edit distance of a word, by a depth-first walk that
// carries one row of the Damerau–Levenshtein table per depth (Oflazer's error-tolerant
// recognition over a lexicon automaton) and abandons a branch once its whole row is past the
// bound. Shared by the lexicon automaton and the string table, over the graph adapters of
// MarcheInsensible.h (plus TempsEcoulay()).

#include <algorithm>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/RechercheFormes.h>

#include "automates/MarcheInsensible.h"

namespace sdd {

template <typename G>
class RechercheCorrections {
  using Etat = typename G::Etat;
  using Vue = typename G::Vue;
  using Sortie = typename G::Sortie;

 public:
  // A form found: its number (0 where the graph numbers nothing), its cost, its text, and the
  // identity of the state where it ends.
  struct Candidat {
    uint32_t numero;
    uint32_t cout;
    ChaineN texte;
    uint64_t identite;
  };

  // Paths walked per unit of the graph's size (the automaton's bytes, the table's characters)
  // and per place in the word, beyond a floor for tiny graphs. Rows of different paths differ,
  // so nothing learnt at a state can be reused the way the other walks do; this budget is what
  // bounds the work on bytes that describe exponentially many paths. Searches on the French
  // list use under 0.2 % of it, even with four mistakes allowed.
  static constexpr uint64_t kVisitesParOctet = 4;
  static constexpr uint64_t kVisitesMin = uint64_t{1} << 20;
  static uint64_t Budget(uint64_t taille, uint64_t longueurMot) {
    return kVisitesMin + kVisitesParOctet * taille * (longueurMot + 1);
  }

  // The forms within coutMax (0: the model's bound; no model: the French one) of the word, by
  // ascending cost, then number, then text, at most `limite` (0: all), into `retenus`; *modele
  // is set to the model used. False when the limit, the clock or the budget cut the answer.
  static bool Cherche(const G& g, uint64_t tailleGraphe, const ChaineN& mot, const OptionRecherche& options,
                      uint32_t limite, uint32_t coutMax, const ProbabiliteTransformation** modele,
                      std::vector<Candidat>& retenus) {
    ChaineN copie;
    if (!detail::PrepareMot(mot, options.drapeaux, copie)) return true;
    if (*modele == nullptr) *modele = &ProbabiliteTransformation::Francais();
    if (coutMax == 0) coutMax = (*modele)->CoutMaximalParDefaut();
    const bool chrono = options.drapeaux & OptionRecherche::kTempsLimite;
    RechercheCorrections c(g, copie, **modele, chrono, Budget(tailleGraphe, copie.Longueur()));

    // Widen the bound in steps; each step's answer is complete for its bound, so when the
    // limit, the clock or the visit budget stops us, the last complete step gives the head of
    // the full answer. Without a clock, one pass at the full bound, sorted and cut to the limit,
    // is the same head (should the budget stop that pass, there is no complete step and the
    // answer is empty).
    const uint32_t paliers[] = {chrono ? coutMax / 4 : coutMax, chrono ? coutMax / 2 : coutMax, coutMax};
    bool complet = true;
    for (size_t n = 0; n < std::size(paliers); ++n) {
      const uint32_t borne = paliers[n];
      if (n > 0 && borne == paliers[n - 1]) continue;
      std::vector<Candidat> trouves;
      if (!c.Parcours(borne, limite, trouves)) {
        complet = false;
        break;
      }
      retenus = std::move(trouves);
      if (limite != 0 && retenus.size() >= limite) {
        complet = borne == coutMax && retenus.size() == limite;
        break;
      }
    }
    std::sort(retenus.begin(), retenus.end(), [](const Candidat& x, const Candidat& y) {
      if (x.cout != y.cout) return x.cout < y.cout;
      if (x.numero != y.numero) return x.numero < y.numero;
      return x.texte < y.texte;
    });
    if (limite != 0 && retenus.size() > limite) retenus.resize(limite);
    return complet;
  }

 private:
  RechercheCorrections(const G& g, const ChaineN& mot, const ProbabiliteTransformation& modele, bool chrono,
                       uint64_t budget)
      : g_(g),
        q_(mot.DonneUnites(), mot.Longueur()),
        m_(static_cast<uint32_t>(q_.size())),
        modele_(modele),
        chrono_(chrono),
        budget_(budget) {
    suppressions_.resize(m_ + 1, 0);
    for (uint32_t j = 1; j <= m_; ++j) {
      suppressions_[j] = modele_.CoutSuppression(q_[j - 1], j >= 2 ? q_[j - 2] : 0);
    }
    substitutions_.assign(static_cast<size_t>(kCache) * m_, kInconnu);
  }

  // One pass at `borne`; false when the clock or the budget stopped it.
  // With a limit, the bound shrinks to the cost of the limit-th best form found so far (kept
  // inclusive, so that ties are still all found and ranked): the answer's head is unchanged and
  // most of the search space is never entered.
  bool Parcours(uint32_t borne, uint32_t limite, std::vector<Candidat>& trouves) {
    const uint32_t largeur = m_ + 1;
    std::priority_queue<std::pair<uint32_t, uint32_t>> meilleurs;  // (cost, number), worst on top
    auto retient = [&](uint32_t cout, uint32_t numero) {
      if (limite == 0) return;
      if (meilleurs.size() < limite) {
        meilleurs.emplace(cout, numero);
      } else if (std::make_pair(cout, numero) < meilleurs.top()) {
        meilleurs.pop();
        meilleurs.emplace(cout, numero);
      }
      if (meilleurs.size() == limite) borne = std::min(borne, meilleurs.top().first);
    };
    lignes_.assign(largeur, 0);
    for (uint32_t j = 1; j <= m_; ++j) lignes_[j] = lignes_[j - 1] + suppressions_[j];
    struct Entree {
      Etat etat;
      uint32_t numero;
      uint32_t profondeur;
      char16_t car;
    };
    std::vector<Entree> pile{{g_.Racine(), 0, 0, 0}};
    std::u16string chemin;
    uint64_t pas = 0;
    while (!pile.empty()) {
      if (++visites_ > budget_) return false;
      if (chrono_ && (++pas & 1023) == 0 && g_.TempsEcoulay()) return false;
      const Entree en = pile.back();
      pile.pop_back();
      const uint32_t d = en.profondeur;
      if (d > 0) {
        chemin.resize(d);
        chemin[d - 1] = en.car;
        if (lignes_.size() < static_cast<size_t>(d + 1) * largeur)
          lignes_.resize(static_cast<size_t>(d + 1) * largeur);
        uint32_t pont = 0;
        if (CalculeLigne(chemin, d, pont) > borne && pont > borne) continue;
      }
      const Vue e = g_.Lis(en.etat);
      const uint32_t cout = lignes_[static_cast<size_t>(d) * largeur + m_];
      if (g_.Final(e) && cout <= borne) {
        trouves.push_back({en.numero, cout, ChaineN(chemin.data(), uint64_t{d}), g_.Identite(en.etat)});
        if (trouves.size() > g_.NbFormes()) g_.Corrompu(g_.Identite(en.etat));
        retient(cout, en.numero);
      }
      // The transition on the typed word's next character goes on top: good forms early
      // tighten the bound sooner.
      const char16_t attendu = d < m_ ? q_[d] : 0;
      size_t premier = SIZE_MAX;
      for (Sortie t = g_.Premiere(e); g_.Existe(e, t); t = g_.Suivante(t)) {
        const char16_t c = g_.Car(t);
        if (c == attendu) premier = pile.size();
        pile.push_back({g_.Cible(e, t), en.numero + g_.Compte(t), d + 1, c});
      }
      if (premier != SIZE_MAX && premier + 1 != pile.size()) {
        // Keep the others in their order, the expected one last.
        const Entree attendue = pile[premier];
        pile.erase(pile.begin() + static_cast<std::ptrdiff_t>(premier));
        pile.push_back(attendue);
      }
    }
    return true;
  }

  static constexpr uint32_t kCache = 0x250;  // Latin letters: costs remembered per typed place
  static constexpr uint32_t kInconnu = UINT32_MAX;

  uint32_t Substitution(uint32_t j, char16_t stocke) {
    const char16_t tape = q_[j];
    if (tape == stocke) return 0;
    if (stocke >= kCache) return modele_.CoutSubstitution(tape, stocke);
    uint32_t& c = substitutions_[static_cast<size_t>(stocke) * m_ + j];
    if (c == kInconnu) c = modele_.CoutSubstitution(tape, stocke);
    return c;
  }

  // Row d from rows d − 1 and d − 2; returns its smallest cell.
  // `pont`: the least cost at which a swap of this character with the next one could still
  // arrive one level down (through row d − 1); a branch past the bound by both is hopeless.
  uint32_t CalculeLigne(const std::u16string& chemin, uint32_t d, uint32_t& pont) {
    const uint32_t largeur = m_ + 1;
    uint32_t* ligne = &lignes_[static_cast<size_t>(d) * largeur];
    const uint32_t* avant = ligne - largeur;
    const uint32_t* avantAvant = d >= 2 ? avant - largeur : nullptr;
    const char16_t c = chemin[d - 1];
    const char16_t precedent = d >= 2 ? chemin[d - 2] : 0;
    const uint32_t insertion = modele_.CoutInsertion(c, precedent);
    ligne[0] = avant[0] + insertion;
    uint32_t minimum = ligne[0];
    pont = UINT32_MAX;
    for (uint32_t j = 1; j <= m_; ++j) {
      if (j >= 2 && q_[j - 1] == c && q_[j - 2] != c) {
        pont = std::min(pont, avant[j - 2] + modele_.CoutTransposition(q_[j - 2], q_[j - 1]));
      }
      uint32_t v = avant[j - 1] + Substitution(j - 1, c);
      v = std::min(v, avant[j] + insertion);
      v = std::min(v, ligne[j - 1] + suppressions_[j]);
      if (avantAvant != nullptr && j >= 2 && c == q_[j - 2] && precedent == q_[j - 1] && c != precedent) {
        v = std::min(v, avantAvant[j - 2] + modele_.CoutTransposition(q_[j - 2], q_[j - 1]));
      }
      ligne[j] = v;
      minimum = std::min(minimum, v);
    }
    return minimum;
  }

  const G& g_;
  std::u16string q_;
  uint32_t m_;
  const ProbabiliteTransformation& modele_;
  bool chrono_;
  std::vector<uint32_t> suppressions_;
  std::vector<uint32_t> substitutions_;
  std::vector<uint32_t> lignes_;
  uint64_t budget_;
  uint64_t visites_ = 0;  // over every step of one search
};

}  // namespace sdd
