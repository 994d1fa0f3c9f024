#pragma once

// The arithmetic of a correction search, apart from the graph it walks: one row of the
// weighted Damerau–Levenshtein table per character of a path, each computed from the two rows
// above it over its band only (the cells that can still be within the bound: Ukkonen's
// cut-off), and a floor under every form below a state from that state's summary. The walks
// of MarcheCorrections.h decide which rows to compute and in what order; this class holds what
// the typed word and the model give once per search (costs per place, letters that take part
// in swaps) and never allocates per row.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <outils_socle/automates/ProbabiliteTransformation.h>

#include "automates/ResumesEtats.h"

namespace sdd::detail {

class LignesEdition {
 public:
  // Costs past this are all "out of reach": sums of two stay within 32 bits, and bounds are
  // kept below it.
  static constexpr uint32_t kInfini = uint32_t{1} << 30;
  static uint32_t Plafonne(uint32_t cout) { return std::min(cout, kInfini); }

  // The cells of a row that can be within the bound, [lo, hi]; empty when lo > hi. Cells just
  // outside hold kInfini, so the next row reads its band's neighbours without tests; the rest
  // of the row is stale.
  struct Bande {
    uint32_t lo = 1, hi = 0;
  };

  // `resumes` may be null: Plancher is then never asked.
  LignesEdition(std::u16string mot, const ProbabiliteTransformation& modele, const ResumesEtats* resumes)
      : q_(std::move(mot)), m_(static_cast<uint32_t>(q_.size())), modele_(modele) {
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
    if (resumes != nullptr) PrepareResumes(*resumes);
  }

  uint32_t Longueur() const { return m_; }
  char16_t Tape(uint32_t j) const { return q_[j]; }

  // Row 0, the empty path: the typed characters deleted one by one, a rising row whose band
  // starts at 0.
  Bande PremiereLigne(uint32_t* ligne, uint32_t borne) const {
    ligne[0] = 0;
    for (uint32_t j = 1; j <= m_; ++j) ligne[j] = ligne[j - 1] + suppressions_[j];
    uint32_t fin = 0;
    while (fin < m_ && ligne[fin + 1] <= borne) ++fin;
    if (fin < m_) ligne[fin + 1] = kInfini;
    return {0, fin};
  }

  // The row of a path whose last character is c (the one before it `precedent`, 0 at the
  // start), from the row above (`avant`, band ba) and the one above that (`avantAvant`, band
  // bb; null for a path of one character). It is computed over ba widened by one (the only
  // cells a substitution or an insertion can bring within the bound) and the places a swap
  // reaches from avantAvant; deletions then carry it to the right while it stays within the
  // bound. A cell within the bound is exact: its best predecessor is within the bound too, so
  // inside its row's band.
  // False when the branch is hopeless: no cell within the bound, and no swap of c with the
  // next character that could arrive within it one level down. Deletions along the row cannot
  // lower its smallest cell, so that is known before their chain. Afterwards Minimum() and
  // Pont() tell the row's smallest cell and its best swap through it (each kInfini if none).
  bool Calcule(uint32_t* ligne, const uint32_t* avant, Bande ba, const uint32_t* avantAvant, Bande bb,
               char16_t c, char16_t precedent, uint32_t borne, Bande& bande) {
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
      if (avantAvant != nullptr && c != precedent) {
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
    minimum_ = minimum;
    if (minimum > borne && pont > borne) return false;
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
  uint32_t Minimum() const { return minimum_; }
  uint32_t Pont() const { return pont_; }

  // The characters a path may go on with, when only the typed ones can keep its next row
  // within the bound: every substitution by another character and every insertion is too
  // dear for the row's cells. Most paths whose cost has reached the bound are such, and their
  // children's rows would mostly die: testing a child's character against these few is far
  // cheaper than its row.
  static constexpr uint32_t kSuitesMax = 8;
  struct Suites {
    uint32_t nb = 0;  // 0: no restriction known
    char16_t car[kSuitesMax];
    bool Permet(char16_t c) const {
      if (nb == 0) return true;
      for (uint32_t k = 0; k < nb; ++k) {
        if (car[k] == c) return true;
      }
      return false;
    }
  };
  // For a path whose row is `ligne` (band ba), the row above `avant` (band bb; null at depth
  // 1) and last character `dernier`: the typed characters that an exact match, a swap through
  // the next row or a swap ending in it can still afford. Without the model's floors (another
  // model, or no summaries) there is no restriction.
  Suites SuitesPossibles(const uint32_t* ligne, Bande ba, const uint32_t* avant, Bande bb, char16_t dernier,
                         uint32_t borne) const {
    Suites s;
    if (autreMin_.empty() || m_ == 0) return s;
    uint32_t minimum = kInfini;
    for (uint32_t j = ba.lo; j <= ba.hi; ++j) {
      minimum = std::min(minimum, ligne[j]);
      if (j < m_ && ligne[j] + autreMin_[j] <= borne) return s;  // a substitution at place j + 1
    }
    if (minimum + insertionMin_ <= borne) return s;
    bool tient = true;
    const auto ajoute = [&](char16_t c) {
      for (uint32_t i = 0; i < s.nb; ++i) {
        if (s.car[i] == c) return;
      }
      if (s.nb == kSuitesMax) {
        tient = false;
        return;
      }
      s.car[s.nb++] = c;
    };
    for (uint32_t k = ba.lo; k <= ba.hi && k < m_; ++k) {
      if (ligne[k] <= borne) ajoute(q_[k]);  // typed place k matched exactly
      // "ba" for "ab" begins. Under the French costs a swap is dearer than a doubled letter,
      // so no row that gets here affords one; a model with cheaper swaps would.
      if (k + 2 <= m_ && ligne[k] + transpositions_[k + 2] <= borne) ajoute(q_[k + 1]);
    }
    if (avant != nullptr) {
      for (uint32_t k = bb.lo; k <= bb.hi && k + 2 <= m_; ++k) {
        if (EchangeFinitEnDessous(k, avant, dernier, borne)) ajoute(q_[k]);
      }
    }
    return tient && s.nb > 0 ? s : Suites{};
  }

  // Whether every form below a path (row `ligne`, band ba; the row above `avant`, band bb,
  // null at depth 1; last character `dernier`) within the bound is the path followed by a
  // rest of the typed word as it stands, from a cell of the row within the bound: when no
  // edit with a cost is affordable from any such cell, nor a swap ending one level down.
  // The search then follows those rests instead of computing rows.
  bool QueDesExactes(const uint32_t* ligne, Bande ba, const uint32_t* avant, Bande bb, char16_t dernier,
                     uint32_t borne) const {
    if (ecartMin_.empty() || ba.lo > ba.hi) return false;
    for (uint32_t j = ba.lo; j <= ba.hi; ++j) {
      if (ligne[j] <= borne && ligne[j] + ecartMin_[j] <= borne) return false;
    }
    if (avant != nullptr) {
      for (uint32_t k = bb.lo; k <= bb.hi && k + 2 <= m_; ++k) {
        if (EchangeFinitEnDessous(k, avant, dernier, borne)) return false;
      }
    }
    return true;
  }

  // A floor under the cost of every form below a state (summary r) whose path has the row
  // last computed by Calcule (band b): the best of the row's cells, each plus what the rest of
  // the word must cost at least below (the typed letters whose class no form below has; the
  // deletions or insertions the rests' lengths force), or the row's best swap through it,
  // which the summary does not cover. Returns borne + 1 at most ("out of reach").
  uint32_t Plancher(const uint32_t* ligne, Bande b, const ResumesEtats::Resume& r, uint32_t borne) const {
    uint64_t meilleur = std::min<uint64_t>(uint64_t{borne} + 1, pont_);
    if (b.lo > b.hi) return static_cast<uint32_t>(meilleur);
    const uint64_t absentes = ~r.classes & classesSuffixe_[b.lo];
    uint32_t lettres = 0;  // the floors of the typed letters from place j on that nothing below holds
    uint32_t j = m_;
    if (absentes != 0) {
      for (; j > b.hi; --j) lettres += (classesMot_[j - 1] & absentes) != 0 ? penalites_[j - 1] : 0;
    }
    for (j = b.hi;; --j) {
      const uint32_t reste = m_ - j;
      uint64_t longueurs = 0;
      if (reste > r.longueurMax && r.longueurMax != ResumesEtats::kLongueurInconnue) {
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

 private:
  // Whether the path's last character `dernier` is the first half of a swap of the typed
  // places k, k + 1 ("ba" typed "ab") that the row above (`avant`) affords: the next row may
  // then end it with the typed place k.
  bool EchangeFinitEnDessous(uint32_t k, const uint32_t* avant, char16_t dernier, uint32_t borne) const {
    return q_[k + 1] == dernier && q_[k] != dernier && avant[k] + transpositions_[k + 2] <= borne;
  }

  // What the summaries are compared with: for each typed place, its letter class and what it
  // costs at least when no form below has that class (deleted, or replaced by a letter of
  // another class: a swap needs the letter itself below); for each place, the cheapest
  // deletion from there on; and the cheapest insertion the model can make.
  void PrepareResumes(const ResumesEtats& resumes) {
    classesMot_.resize(m_);
    penalites_.resize(m_);
    std::vector<uint32_t> substitutionMin(m_);
    for (uint32_t j = 0; j < m_; ++j) {
      classesMot_[j] = uint64_t{1} << ResumesEtats::Classe(q_[j]);
      const size_t k = q_.find(q_[j]);  // the model is asked once per distinct letter
      substitutionMin[j] =
          k < j ? substitutionMin[k] : Plafonne(resumes.SubstitutionMinimale(modele_, q_[j]));
      penalites_[j] = std::min(substitutionMin[j], suppressions_[j + 1]);
    }
    classesSuffixe_.assign(m_ + 1, 0);
    suppressionMin_.assign(m_ + 1, kInfini);
    for (uint32_t j = m_; j-- > 0;) {
      classesSuffixe_[j] = classesSuffixe_[j + 1] | classesMot_[j];
      suppressionMin_[j] = std::min(suppressionMin_[j + 1], suppressions_[j + 1]);
    }
    insertionMin_ = Plafonne(resumes.InsertionMinimale(modele_));
    resumes_ = &resumes;
    coutsTapes_.resize(m_);
    bool table = false;
    for (uint32_t j = 0; j < m_; ++j) {
      coutsTapes_[j] = resumes.CoutsSubstitution(modele_, q_[j]);
      table |= coutsTapes_[j] != nullptr;
    }
    if (!table) coutsTapes_.clear();
    if (insertionMin_ > 0) {
      autreMin_.resize(m_);
      for (uint32_t j = 0; j < m_; ++j) {
        const size_t k = q_.find(q_[j]);
        autreMin_[j] = k < j ? autreMin_[k] : Plafonne(resumes.SubstitutionMinimaleAutre(modele_, q_[j]));
      }
      // From cell j, the cheapest edit with a cost: an insertion, or a substitution, deletion
      // or swap of a typed character from place j on. (Under the French costs a doubled
      // letter's insertion is as cheap as any deletion or swap; other costs need them all.)
      ecartMin_.assign(m_ + 1, insertionMin_);
      for (uint32_t j = m_; j-- > 0;) {
        uint32_t e = std::min({ecartMin_[j + 1], autreMin_[j], suppressions_[j + 1]});
        if (j + 2 <= m_) e = std::min(e, transpositions_[j + 2]);
        ecartMin_[j] = e;
      }
    }
  }

  static constexpr uint32_t kCache = 0x250;  // Latin letters: costs remembered per typed place

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
    const int rang = coutsTapes_.empty() ? -1 : resumes_->RangAlphabet(stocke);
    for (uint32_t j = 0; j < m_; ++j) {
      if (q_[j] == stocke) {
        ligne[j] = 0;
      } else if (rang >= 0 && coutsTapes_[j] != nullptr) {
        ligne[j] = Plafonne(coutsTapes_[j][rang]);
      } else {
        ligne[j] = Plafonne(modele_.CoutSubstitution(q_[j], stocke));
      }
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
  static constexpr uint32_t kInconnu = UINT32_MAX;
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

  std::u16string q_;
  uint32_t m_;
  const ProbabiliteTransformation& modele_;
  std::vector<uint32_t> suppressions_;
  std::vector<uint32_t> transpositions_;  // [j]: swapping the typed characters j − 2 and j − 1
  std::vector<uint32_t> substitutions_;   // kCache rows of m_ costs, filled on first use
  std::vector<uint8_t> connues_;          // which of those rows are filled
  std::vector<uint32_t> autres_;          // the row of a character past kCache
  std::vector<Places> lettres_;           // the word's characters, each once
  std::u16string lettresDuMot_;           // the same characters, in the same order
  std::vector<uint16_t> rangLettre_;      // 1 + place in lettres_ of a Latin letter, or 0
  std::vector<PaireRetenue> insertions_;
  std::vector<uint64_t> classesMot_;      // the letter class of each typed place, as a bit
  std::vector<uint32_t> penalites_;       // what each typed place costs where its class is absent
  std::vector<uint64_t> classesSuffixe_;  // [j]: the classes of the typed places from j on
  std::vector<uint32_t> suppressionMin_;  // [j]: the cheapest deletion of a typed place from j on
  uint32_t insertionMin_ = 0;
  const ResumesEtats* resumes_ = nullptr;
  std::vector<const uint32_t*> coutsTapes_;  // [j]: the remembered costs of typed place j, or null
  std::vector<uint32_t> ecartMin_;  // [j]: the cheapest edit with a cost from cell j on (see QueDesExactes)
  std::vector<uint32_t> autreMin_;  // [j]: the cheapest substitution of typed place j by another character
  uint32_t pont_ = kInfini;         // of the row last computed
  uint32_t minimum_ = kInfini;      // of the row last computed
};

}  // namespace sdd::detail
