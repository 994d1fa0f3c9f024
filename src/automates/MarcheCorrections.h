#pragma once

// Corrections: the forms within a weighted edit distance of a word, by a depth-first walk that
// carries one row of the Damerau–Levenshtein table per depth (Oflazer's error-tolerant
// recognition over a lexicon automaton) and abandons a branch once its whole row is past the
// bound, or once the summary of what lies below shows that every form there is. LignesEdition.h
// does the rows' arithmetic. Shared by the lexicon automaton and the string table, over the
// graph adapters of MarcheInsensible.h (plus TempsEcoulay()).

#include <algorithm>
#include <memory>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/RechercheFormes.h>

#include "automates/LignesEdition.h"
#include "automates/MarcheInsensible.h"
#include "automates/ResumesEtats.h"

namespace sdd {

template <typename G>
class RechercheCorrections {
  using Etat = typename G::Etat;
  using Vue = typename G::Vue;
  using Sortie = typename G::Sortie;
  using Lignes = detail::LignesEdition;
  using Bande = Lignes::Bande;
  static constexpr uint32_t kInfini = Lignes::kInfini;

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
    coutMax = std::min(coutMax, kInfini - 1);
    const bool chrono = options.drapeaux & OptionRecherche::kTempsLimite;
    const detail::ResumesEtats* resumes = nullptr;
    if constexpr (requires { g.Resumes(); }) resumes = g.Resumes();
    RechercheCorrections c(g, copie, **modele, chrono, Budget(tailleGraphe, copie.Longueur()), resumes);

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
        complet = borne == coutMax && retenus.size() == limite && !c.reduit_;
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
                       uint64_t budget, const detail::ResumesEtats* resumes)
      : g_(g),
        lignes_(std::u16string(mot.DonneUnites(), mot.Longueur()), modele, resumes),
        m_(lignes_.Longueur()),
        chrono_(chrono),
        budget_(budget),
        resumes_(resumes) {}

  // The limit-th best (cost, number) met so far, with a limit: the bound shrinks to its cost
  // (kept inclusive, so that ties are still all found and ranked), which leaves the answer's
  // head unchanged and most of the search space unentered.
  class Meilleurs {
   public:
    explicit Meilleurs(uint32_t limite) : limite_(limite) {}
    void Retiens(uint32_t cout, uint32_t numero, uint32_t& borne) {
      if (limite_ == 0) return;
      if (tas_.size() < limite_) {
        tas_.emplace(cout, numero);
      } else if (std::make_pair(cout, numero) < tas_.top()) {
        tas_.pop();
        tas_.emplace(cout, numero);
      }
      if (tas_.size() == limite_) borne = std::min(borne, tas_.top().first);
    }

   private:
    uint32_t limite_;
    std::priority_queue<std::pair<uint32_t, uint32_t>> tas_;  // worst on top
  };

  // One pass at `borne`; false when the clock or the budget stopped it. `reduit_` tells
  // whether a branch was set aside after the bound shrank, which the pass's own bound might
  // have kept: only then may forms within that bound be missing.
  //
  // One frame per depth walks its state's transitions in place (the one on the typed word's
  // next character first: good forms early tighten the bound sooner), so a transition whose
  // row is hopeless costs its row and nothing else, and one whose character cannot keep the
  // row within the bound costs a comparison.
  bool Parcours(uint32_t borne, uint32_t limite, std::vector<Candidat>& trouves) {
    const uint32_t largeur = m_ + 1;
    const uint32_t borneDuPassage = borne;
    borneDuPassage_ = borne;
    reduit_ = false;
    Meilleurs meilleurs(limite);
    rangees_.assign(largeur, 0);
    bandes_.assign(1, lignes_.PremiereLigne(rangees_.data(), borne));
    uint32_t d = 0;  // depth of the frame on top
    if (!Entre(0, g_.Racine(), 0, borne, meilleurs, trouves)) return true;
    uint64_t pas = 0;
    for (;;) {
      Cadre& f = cadres_[d];
      Sortie t;
      if (f.rangAttendu != kAucun && !f.attendueFaite) {
        f.attendueFaite = true;
        t = g_.Premiere(f.vue);
        for (uint32_t k = 0; k < f.rangAttendu; ++k) t = g_.Suivante(t);
      } else {
        if (!g_.Existe(f.vue, f.suivante)) {
          if (d == 0) return true;
          --d;
          continue;
        }
        t = f.suivante;
        f.suivante = g_.Suivante(t);
        if (f.rang++ == f.rangAttendu) continue;
      }
      if (++visites_ > budget_) return false;
      if (chrono_ && (++pas & 1023) == 0 && g_.TempsEcoulay()) return false;
      const char16_t c = g_.Car(t);
      if (!f.suites.Permet(c)) {
        reduit_ |= borne < borneDuPassage;
        continue;
      }
      if (bandes_.size() < d + 2) {
        rangees_.resize(static_cast<size_t>(d + 2) * largeur);
        bandes_.resize(d + 2);
        pile_.resize(d + 1);
      }
      pile_[d] = c;
      uint32_t* ligne = &rangees_[static_cast<size_t>(d + 1) * largeur];
      const bool profond = d >= 1;
      if (!lignes_.Calcule(ligne, ligne - largeur, bandes_[d], profond ? ligne - 2 * largeur : nullptr,
                           profond ? bandes_[d - 1] : Bande{}, c, profond ? pile_[d - 1] : 0, borne,
                           bandes_[d + 1])) {
        reduit_ |= borne < borneDuPassage;
        continue;
      }
      const Etat cible = g_.Cible(f.vue, t);
      if (resumes_ != nullptr) {
        const uint32_t plancher =
            lignes_.Plancher(ligne, bandes_[d + 1], resumes_->Lis(g_.Identite(cible)), borne);
        if (plancher > borne) {
          reduit_ |= plancher <= borneDuPassage;
          continue;
        }
      }
      if (Entre(d + 1, cible, f.numero + g_.Compte(t), borne, meilleurs, trouves)) ++d;
    }
  }

  // Enters the state reached at depth d (its row computed): records it if it ends a form within
  // the bound, and gives it a frame; false when it has no transition to follow.
  bool Entre(uint32_t d, Etat etat, uint32_t numero, uint32_t& borne, Meilleurs& meilleurs,
             std::vector<Candidat>& trouves) {
    const Vue e = g_.Lis(etat);
    const uint32_t* ligne = &rangees_[static_cast<size_t>(d) * (m_ + 1)];
    if (g_.Final(e)) {
      const uint32_t cout = bandes_[d].hi == m_ ? ligne[m_] : kInfini;
      if (cout <= borne) {
        trouves.push_back({numero, cout, ChaineN(pile_.data(), uint64_t{d}), g_.Identite(etat)});
        if (trouves.size() > g_.NbFormes()) g_.Corrompu(g_.Identite(etat));
        meilleurs.Retiens(cout, numero, borne);
      }
    }
    const Sortie premiere = g_.Premiere(e);
    if (!g_.Existe(e, premiere)) return false;
    // The row above and the path's last character, which the swaps read (none at the root).
    const uint32_t* avant = d >= 1 ? ligne - (m_ + 1) : nullptr;
    const Bande bandeAvant = d >= 1 ? bandes_[d - 1] : Bande{};
    const char16_t dernier = d >= 1 ? pile_[d - 1] : 0;
    if (lignes_.QueDesExactes(ligne, bandes_[d], avant, bandeAvant, dernier, borne)) {
      // What the bound no longer affords once it has shrunk, the pass's own might have.
      reduit_ |= borne < borneDuPassage_;
      Exactes(d, e, numero, borne, meilleurs, trouves);
      return false;
    }
    if (cadres_.size() <= d) cadres_.resize(d + 1);
    Cadre& f = cadres_[d];
    f.vue = e;
    f.suivante = premiere;
    f.numero = numero;
    f.rang = 0;
    f.rangAttendu = kAucun;
    f.attendueFaite = false;
    f.suites = lignes_.SuitesPossibles(ligne, bandes_[d], avant, bandeAvant, dernier, borne);
    if (d < m_) {
      uint32_t k = 0;
      for (Sortie t = premiere; g_.Existe(e, t); t = g_.Suivante(t), ++k) {
        if (g_.Car(t) == lignes_.Tape(d)) {
          f.rangAttendu = k;
          break;
        }
      }
    }
    return true;
  }

  // The forms below a path at depth d that can only go on with a rest of the typed word as it
  // stands (QueDesExactes): from each cell j of its row within the bound, the typed characters
  // j … m − 1 followed one transition each, a form at the end costing that cell. Its steps
  // count as visits; the walk's next step checks the budget.
  void Exactes(uint32_t d, const Vue& e, uint32_t numero, uint32_t& borne, Meilleurs& meilleurs,
               std::vector<Candidat>& trouves) {
    const uint32_t* ligne = &rangees_[static_cast<size_t>(d) * (m_ + 1)];
    const Bande b = bandes_[d];
    for (uint32_t j = b.lo; j <= b.hi && j < m_; ++j) {
      const uint32_t cout = ligne[j];
      if (cout > borne) continue;
      Vue v = e;
      Etat etat{};
      uint32_t n = numero, k = j;
      for (; k < m_; ++k) {
        ++visites_;
        Sortie t;
        if (!g_.Trouve(v, lignes_.Tape(k), &t)) break;
        n += g_.Compte(t);
        etat = g_.Cible(v, t);
        v = g_.Lis(etat);
      }
      if (k < m_ || !g_.Final(v)) continue;
      texte_.assign(pile_.begin(), pile_.begin() + d);
      for (k = j; k < m_; ++k) texte_.push_back(lignes_.Tape(k));
      trouves.push_back({n, cout, ChaineN(texte_.data(), uint64_t{texte_.size()}), g_.Identite(etat)});
      if (trouves.size() > g_.NbFormes()) g_.Corrompu(g_.Identite(etat));
      meilleurs.Retiens(cout, n, borne);
    }
  }

  static constexpr uint32_t kAucun = UINT32_MAX;
  struct Cadre {
    Vue vue;
    Sortie suivante;        // the next transition in stored order
    uint32_t numero = 0;    // of the first form below the state
    uint32_t rang = 0;      // the place of `suivante` among the transitions
    uint32_t rangAttendu;   // the place of the transition on the word's next character, or kAucun
    bool attendueFaite;     // that transition, taken first, is done
    Lignes::Suites suites;  // the characters worth a row
  };

  const G& g_;
  Lignes lignes_;
  uint32_t m_;
  bool chrono_;
  bool reduit_ = false;
  uint32_t borneDuPassage_ = 0;  // the bound the pass began with
  uint64_t budget_;
  uint64_t visites_ = 0;                 // over every step of one search
  const detail::ResumesEtats* resumes_;  // null: the graph has none, or its bytes are damaged
  std::vector<uint32_t> rangees_;        // one row of m_ + 1 cells per depth of the path
  std::vector<Bande> bandes_;            // and its band
  std::vector<char16_t> pile_;           // the path's characters, pile_[d − 1] leading to depth d
  std::vector<char16_t> texte_;          // a form found by Exactes
  std::vector<Cadre> cadres_;
};

}  // namespace sdd
