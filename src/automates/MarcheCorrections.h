#pragma once

// Corrections: the forms within a weighted edit distance of a word, by a depth-first walk that
// carries one row of the Damerau–Levenshtein table per depth (Oflazer's error-tolerant
// recognition over a lexicon automaton) and abandons a branch once its whole row is past the
// bound. Each row is computed only over its band, the cells that can still be within the
// bound (Ukkonen's cut-off): a few cells around the diagonal instead of the whole word.
// Shared by the lexicon automaton and the string table, over the graph adapters of
// MarcheInsensible.h (plus TempsEcoulay()).

#include <algorithm>
#include <memory>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/RechercheFormes.h>

#include "automates/MarcheInsensible.h"
#include "automates/ResumesEtats.h"

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
        q_(mot.DonneUnites(), mot.Longueur()),
        m_(static_cast<uint32_t>(q_.size())),
        modele_(modele),
        chrono_(chrono),
        budget_(budget),
        resumes_(resumes) {
    suppressions_.resize(m_ + 1, 0);
    transpositions_.resize(m_ + 1, 0);
    for (uint32_t j = 1; j <= m_; ++j) {
      suppressions_[j] = Plafonne(modele_.CoutSuppression(q_[j - 1], j >= 2 ? q_[j - 2] : 0));
      if (j >= 2) transpositions_[j] = Plafonne(modele_.CoutTransposition(q_[j - 2], q_[j - 1]));
    }
    substitutions_.resize(static_cast<size_t>(kCache) * m_);
    connues_.assign(kCache, 0);
    autres_.resize(m_);
    rangLettre_.assign(kCache, 0);
    for (uint32_t j = 2; j <= m_; ++j) {
      Lettre(q_[j - 2]).echanges.push_back(j);
      if (q_[j - 1] != q_[j - 2]) Lettre(q_[j - 1]).ponts.push_back(j);
    }
    insertions_.resize(size_t{1} << kBitsInsertions);
    if (resumes_ != nullptr) PrepareResumes();
  }

  // What the summaries are compared with: for each typed place, its letter class and what it
  // costs at least when no form below has that class (deleted, or replaced by a letter of
  // another class: a swap needs the letter itself below); for each place, the cheapest
  // deletion from there on; and the cheapest insertion the model can make.
  void PrepareResumes() {
    classesMot_.resize(m_);
    penalites_.resize(m_);
    std::vector<uint32_t> substitutionMin(m_);
    for (uint32_t j = 0; j < m_; ++j) {
      classesMot_[j] = uint64_t{1} << detail::ResumesEtats::Classe(q_[j]);
      const size_t k = q_.find(q_[j]);  // the model is asked once per distinct letter
      substitutionMin[j] =
          k < j ? substitutionMin[k] : Plafonne(resumes_->SubstitutionMinimale(modele_, q_[j]));
      penalites_[j] = std::min(substitutionMin[j], suppressions_[j + 1]);
    }
    classesSuffixe_.assign(m_ + 1, 0);
    suppressionMin_.assign(m_ + 1, kInfini);
    for (uint32_t j = m_; j-- > 0;) {
      classesSuffixe_[j] = classesSuffixe_[j + 1] | classesMot_[j];
      suppressionMin_[j] = std::min(suppressionMin_[j + 1], suppressions_[j + 1]);
    }
    insertionMin_ = Plafonne(resumes_->InsertionMinimale(modele_));
  }

  // One pass at `borne`; false when the clock or the budget stopped it.
  // With a limit, the bound shrinks to the cost of the limit-th best form found so far (kept
  // inclusive, so that ties are still all found and ranked): the answer's head is unchanged and
  // most of the search space is never entered. `reduit_` tells whether a branch was set aside
  // after the bound shrank, which the pass's own bound might have kept: only then may forms
  // within that bound be missing.
  //
  // Depth-first, one frame per depth that walks its state's transitions in place (the one on
  // the typed word's next character first: good forms early tighten the bound sooner), so a
  // transition whose row is hopeless costs its row and nothing else.
  bool Parcours(uint32_t borne, uint32_t limite, std::vector<Candidat>& trouves) {
    const uint32_t largeur = m_ + 1;
    const uint32_t borneDuPassage = borne;
    reduit_ = false;
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
    // Row 0: the typed characters deleted one by one, a rising row whose band starts at 0.
    lignes_.assign(largeur, 0);
    bandes_.assign(1, Bande{});
    for (uint32_t j = 1; j <= m_; ++j) lignes_[j] = lignes_[j - 1] + suppressions_[j];
    uint32_t fin = 0;
    while (fin < m_ && lignes_[fin + 1] <= borne) ++fin;
    bandes_[0] = {0, fin};
    if (fin < m_) lignes_[fin + 1] = kInfini;
    uint32_t d = 0;  // depth of the frame on top
    if (!Entre(0, g_.Racine(), 0, borne, trouves, retient)) return true;
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
      if (bandes_.size() < d + 2) {
        lignes_.resize(static_cast<size_t>(d + 2) * largeur);
        bandes_.resize(d + 2);
        chemin_.resize(d + 1);
      }
      chemin_[d] = c;
      if (!CalculeLigne(d + 1, borne)) {
        reduit_ |= borne < borneDuPassage;
        continue;
      }
      const Etat cible = g_.Cible(f.vue, t);
      if (resumes_ != nullptr) {
        const uint32_t plancher = Plancher(d + 1, g_.Identite(cible), borne);
        if (plancher > borne) {
          reduit_ |= plancher <= borneDuPassage;
          continue;
        }
      }
      if (Entre(d + 1, cible, f.numero + g_.Compte(t), borne, trouves, retient)) ++d;
    }
  }

  // Enters the state reached at depth d (its row computed): records it if it ends a form within
  // the bound, and gives it a frame; false when it has no transition to follow.
  template <typename Retient>
  bool Entre(uint32_t d, Etat etat, uint32_t numero, uint32_t borne, std::vector<Candidat>& trouves,
             Retient& retient) {
    const Vue e = g_.Lis(etat);
    if (g_.Final(e)) {
      const uint32_t cout = bandes_[d].hi == m_ ? lignes_[static_cast<size_t>(d) * (m_ + 1) + m_] : kInfini;
      if (cout <= borne) {
        trouves.push_back({numero, cout, ChaineN(chemin_.data(), uint64_t{d}), g_.Identite(etat)});
        if (trouves.size() > g_.NbFormes()) g_.Corrompu(g_.Identite(etat));
        retient(cout, numero);
      }
    }
    const Sortie premiere = g_.Premiere(e);
    if (!g_.Existe(e, premiere)) return false;
    if (cadres_.size() <= d) cadres_.resize(d + 1);
    Cadre& f = cadres_[d];
    f.vue = e;
    f.suivante = premiere;
    f.numero = numero;
    f.rang = 0;
    f.rangAttendu = kAucun;
    f.attendueFaite = false;
    if (d < m_) {
      uint32_t k = 0;
      for (Sortie t = premiere; g_.Existe(e, t); t = g_.Suivante(t), ++k) {
        if (g_.Car(t) == q_[d]) {
          f.rangAttendu = k;
          break;
        }
      }
    }
    return true;
  }

  static constexpr uint32_t kAucun = UINT32_MAX;
  struct Cadre {
    Vue vue;
    Sortie suivante;       // the next transition in stored order
    uint32_t numero = 0;   // of the first form below the state
    uint32_t rang = 0;     // the place of `suivante` among the transitions
    uint32_t rangAttendu;  // the place of the transition on the word's next character, or kAucun
    bool attendueFaite;    // that transition, taken first, is done
  };

  static constexpr uint32_t kCache = 0x250;  // Latin letters: costs remembered per typed place

  // Costs past this are all "out of reach": sums of two stay within 32 bits, and bounds are
  // kept below it.
  static constexpr uint32_t kInfini = uint32_t{1} << 30;
  static uint32_t Plafonne(uint32_t cout) { return std::min(cout, kInfini); }

  // The cost of substituting each typed character by `stocke`, one per place of the word: asked
  // of the model once per character and search for the Latin letters, every time for the rest.
  const uint32_t* Substitutions(char16_t stocke) {
    uint32_t* ligne;
    if (stocke < kCache) {
      ligne = substitutions_.data() + static_cast<size_t>(stocke) * m_;  // (an empty word has no row)
      if (connues_[stocke]) return ligne;
      connues_[stocke] = 1;
    } else {
      ligne = autres_.data();
    }
    for (uint32_t j = 0; j < m_; ++j) {
      ligne[j] = q_[j] == stocke ? 0 : Plafonne(modele_.CoutSubstitution(q_[j], stocke));
    }
    return ligne;
  }

  // The model's insertion cost, remembered in a small table of the pairs met, one place per
  // pair by a hash (a pair that takes another's place is asked again): a row asks it once, the
  // children of one state share the preceding letter, and 8 KiB stay in the nearest cache where
  // a table per preceding letter did not.
  uint32_t Insertion(char16_t c, char16_t precedent) {
    const uint32_t cle = uint32_t{precedent} << 16 | c;
    PaireRetenue& p = insertions_[(cle * 0x9E3779B1u) >> (32 - kBitsInsertions)];
    if (p.cle != cle || p.cout == kInconnu) {
      p.cle = cle;
      p.cout = Plafonne(modele_.CoutInsertion(c, precedent));
    }
    return p.cout;
  }
  struct PaireRetenue {
    uint32_t cle = 0;
    uint32_t cout = kInconnu;
  };
  static constexpr int kBitsInsertions = 10;

  // The places where a character of the word takes part in a swap of neighbours, worked out
  // once per search: `echanges`, the j where it is typed at j − 2 (a stored "…ba" for a typed
  // "ab" at j − 2, j − 1); `ponts`, the j where it is typed at j − 1 after another character
  // (the first half of such a swap).
  struct Places {
    std::vector<uint32_t> echanges, ponts;
  };
  Places& Lettre(char16_t c) {
    const size_t k = lettresDuMot_.find(c);
    if (k != std::u16string::npos) return lettres_[k];
    lettres_.emplace_back();
    lettresDuMot_.push_back(c);
    if (c < kCache) rangLettre_[c] = static_cast<uint16_t>(lettres_.size());
    return lettres_.back();
  }
  const Places* PlacesDe(char16_t c) const {
    if (c < kCache) return rangLettre_[c] != 0 ? &lettres_[rangLettre_[c] - 1] : nullptr;
    const size_t k = lettresDuMot_.find(c);
    return k != std::u16string::npos ? &lettres_[k] : nullptr;
  }

  // The cells of a row that can be within the bound, [lo, hi]; empty when lo > hi. Cells just
  // outside hold kInfini, so the next row reads its band's neighbours without tests; the rest
  // of the row is stale.
  struct Bande {
    uint32_t lo = 1, hi = 0;
  };

  // Row d, for the path's last character, from rows d − 1 and d − 2, over the band of row
  // d − 1 widened by one (the only cells a substitution or an insertion can bring within the
  // bound) and the places a swap reaches from row d − 2; deletions then carry the row to the
  // right while it stays within the bound. A cell within the bound is exact: its best
  // predecessor is within the bound too, so inside its row's band.
  // False when the branch is hopeless: no cell within the bound, and no swap of this character
  // with the next one that could arrive within it one level down (through row d − 1). Deletions
  // along the row cannot lower its smallest cell, so that is known before their chain.
  bool CalculeLigne(uint32_t d, uint32_t borne) {
    const uint32_t largeur = m_ + 1;
    uint32_t* ligne = &lignes_[static_cast<size_t>(d) * largeur];
    const uint32_t* avant = ligne - largeur;
    const Bande ba = bandes_[d - 1];
    const char16_t c = chemin_[d - 1];
    const char16_t precedent = d >= 2 ? chemin_[d - 2] : 0;
    uint32_t minimum = kInfini;
    uint32_t a = 1, b = 0;  // the cells computed
    if (ba.lo <= ba.hi) {
      const uint32_t insertion = Insertion(c, precedent);
      const uint32_t* sub = Substitutions(c);
      a = ba.lo;
      b = std::min(ba.hi + 1, m_);
      uint32_t j = a;
      if (j == 0) {
        ligne[0] = avant[0] + insertion;
        minimum = ligne[0];
        j = 1;
      }
      for (; j <= b; ++j) {
        ligne[j] = std::min(avant[j - 1] + sub[j - 1], avant[j] + insertion);
        minimum = std::min(minimum, ligne[j]);
      }
    }
    uint32_t pont = kInfini;
    if (const Places* places = PlacesDe(c)) {
      for (const uint32_t j : places->ponts) {
        if (j - 2 >= ba.lo && j - 2 <= ba.hi) pont = std::min(pont, avant[j - 2] + transpositions_[j]);
      }
      if (d >= 2 && c != precedent) {
        const Bande bb = bandes_[d - 2];
        const uint32_t* avantAvant = avant - largeur;
        for (const uint32_t j : places->echanges) {
          if (q_[j - 1] != precedent || j - 2 < bb.lo || j - 2 > bb.hi) continue;
          const uint32_t v = avantAvant[j - 2] + transpositions_[j];
          if (v > borne) continue;
          if (a > b) {
            a = b = j;
            ligne[j] = v;
          } else if (j < a) {
            std::fill(ligne + j + 1, ligne + a, kInfini);
            ligne[j] = v;
            a = j;
          } else if (j > b) {
            std::fill(ligne + b + 1, ligne + j, kInfini);
            ligne[j] = v;
            b = j;
          } else {
            ligne[j] = std::min(ligne[j], v);
          }
          minimum = std::min(minimum, v);
        }
      }
    }
    pont_ = pont;
    if (minimum > borne && pont > borne) return false;
    Bande& bande = bandes_[d];
    bande = Bande{};
    if (minimum > borne) return true;  // only the swap carries on: no cell of this row does
    for (uint32_t j = a + 1; j <= b; ++j) ligne[j] = std::min(ligne[j], ligne[j - 1] + suppressions_[j]);
    while (b < m_ && ligne[b] + suppressions_[b + 1] <= borne) {
      ligne[b + 1] = ligne[b] + suppressions_[b + 1];
      ++b;
    }
    while (ligne[a] > borne) ++a;
    while (ligne[b] > borne) --b;
    bande = {a, b};
    if (a > 0) ligne[a - 1] = kInfini;
    if (b < m_) ligne[b + 1] = kInfini;
    return true;
  }

  // A floor under the cost of every form at or below `etat`, which row d's path reaches, from
  // its summary: the best of the row's cells, each plus what the rest of the word must cost
  // at least below (the typed letters whose class no form below has; the deletions or
  // insertions the rests' lengths force). Returns borne + 1 at most ("out of reach"), and
  // nothing past the bound is decided: a swap that runs through this row (its first letter the
  // one just taken) is not covered, so such a row is never set aside.
  uint32_t Plancher(uint32_t d, uint64_t etat, uint32_t borne) const {
    if (pont_ <= borne) return 0;
    const detail::ResumesEtats::Resume r = resumes_->Lis(etat);
    const Bande b = bandes_[d];
    const uint32_t* ligne = &lignes_[static_cast<size_t>(d) * (m_ + 1)];
    const uint64_t absentes = ~r.classes & classesSuffixe_[b.lo];
    uint32_t lettres = 0;  // the floors of the typed letters from place j on that nothing below holds
    uint32_t j = m_;
    if (absentes != 0) {
      for (; j > b.hi; --j) lettres += (classesMot_[j - 1] & absentes) != 0 ? penalites_[j - 1] : 0;
    }
    uint64_t meilleur = uint64_t{borne} + 1;
    for (j = b.hi;; --j) {
      const uint32_t reste = m_ - j;
      uint64_t longueurs = 0;
      if (reste > r.longueurMax && r.longueurMax != detail::ResumesEtats::kLongueurInconnue) {
        longueurs = uint64_t{reste - r.longueurMax} * suppressionMin_[j];
      } else if (reste < r.longueurMin) {
        longueurs = uint64_t{r.longueurMin - reste} * insertionMin_;
      }
      meilleur = std::min(meilleur, ligne[j] + std::max<uint64_t>(lettres, longueurs));
      if (j == b.lo) break;
      if (absentes != 0 && (classesMot_[j - 1] & absentes) != 0) lettres += penalites_[j - 1];
    }
    return static_cast<uint32_t>(meilleur);
  }

  static constexpr uint32_t kInconnu = UINT32_MAX;

  const G& g_;
  std::u16string q_;
  uint32_t m_;
  const ProbabiliteTransformation& modele_;
  bool chrono_;
  std::vector<uint32_t> suppressions_;
  std::vector<uint32_t> transpositions_;  // [j]: swapping the typed characters j − 2 and j − 1
  std::vector<uint32_t> substitutions_;   // kCache rows of m_ costs, filled on first use
  std::vector<uint8_t> connues_;          // which of those rows are filled
  std::vector<uint32_t> autres_;          // the row of a character past kCache
  std::vector<Places> lettres_;           // the word's characters, each once
  std::u16string lettresDuMot_;           // the same characters, in the same order
  std::vector<uint16_t> rangLettre_;      // 1 + place in lettres_ of a Latin letter, or 0
  std::vector<PaireRetenue> insertions_;
  std::vector<uint32_t> lignes_;  // one row of m_ + 1 cells per depth of the path
  std::vector<Bande> bandes_;     // and its band
  std::vector<char16_t> chemin_;  // the path's characters, chemin_[d − 1] leading to depth d
  std::vector<Cadre> cadres_;
  bool reduit_ = false;
  uint64_t budget_;
  uint64_t visites_ = 0;                  // over every step of one search
  const detail::ResumesEtats* resumes_;   // null: the graph has none, or its bytes are damaged
  std::vector<uint64_t> classesMot_;      // the letter class of each typed place, as a bit
  std::vector<uint32_t> penalites_;       // what each typed place costs where its class is absent
  std::vector<uint64_t> classesSuffixe_;  // [j]: the classes of the typed places from j on
  std::vector<uint32_t> suppressionMin_;  // [j]: the cheapest deletion of a typed place from j on
  uint32_t insertionMin_ = 0;
  uint32_t pont_ = 0;  // the last row's best swap through it (see CalculeLigne)
};

}  // namespace sdd
