#pragma once

// The insensitive walk, shared by the lexicon automaton and the string table: from the root, it
// follows every transition that the typed character may stand for (accents, case, variants,
// ligatures either way round) and gathers the places where the word, or a prefix, ends.
//
// It walks a graph of single-character transitions given by an adapter G:
//   Etat Racine(); Vue Lis(Etat); bool Final(const Vue&);
//   the transitions of a state, in a plain loop (kept out of callbacks: this is the hot loop):
//   Sortie Premiere(const Vue&); bool Existe(const Vue&, Sortie); Sortie Suivante(Sortie);
//   char16_t Car(Sortie);
//   Etat Cible(const Vue&, Sortie); uint32_t Compte(Sortie) (the numbering's count, or 0);
//   bool Trouve(const Vue&, char16_t, Sortie*); uint64_t Identite(Etat);
//   uint32_t NbFormes(); bool RecupereExclamation(), RecupereTiret();
//   [[noreturn]] Corrompu(uint64_t); static constexpr bool kMemorise.
// Identite(Etat) and the accumulated number make a place's key; kMemorise asks the walk to
// remember the (state, place in the word) pairs that led nowhere, which only a graph that
// shares states (the automaton) needs.

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/texte/RechercheFormes.h>

#include "automates/EnsemblePositions.h"
#include "automates/IndexRacine.h"
#include "automates/MemoMarche.h"
#include "texte/Malgray.h"
#include "texte/PlisRecherche.h"

namespace sdd {

namespace detail {

// The word a search works on: cut to kLongueurMaxMot with 0x80 (otherwise a longer word gives
// nothing), stripped of non-letters with 0x10.
inline bool PrepareMot(const ChaineN& mot, uint32_t drapeaux, ChaineN& copie) {
  copie = mot;
  if (copie.Longueur() > AutomateAcycliqueMin::kLongueurMaxMot) {
    if (!(drapeaux & OptionRecherche::kCoupeMotsLongs)) return false;
    copie.EnleveDepuisFin(AutomateAcycliqueMin::kLongueurMaxMot);
  }
  if (drapeaux & OptionRecherche::kEnleveNonAlpha) copie.EnleveCarNonAlpha();
  return true;
}

}  // namespace detail

template <typename G>
class MarcheInsensible {
  using Etat = typename G::Etat;
  using Vue = typename G::Vue;
  using Sortie = typename G::Sortie;

 public:
  using _Position = AutomateAcycliqueMin::_Position;

  explicit MarcheInsensible(const G& g) : g_(g) {}

  // The places that `copie` (the word as prepared; `mot` as the caller gave it) reaches: where
  // a form ends, or in prefix mode anywhere; `recuperation` (null in prefix mode) judges each.
  void Cherche(const ChaineN& copie, const ChaineN& mot, const OptionRecherche& options, bool prefixe,
               RecuperationForme recuperation, detail::EnsemblePositions& positions) const {
    Marche m(copie, mot, options, prefixe, recuperation, positions, g_.NbFormes());
    Avance(m, g_.Racine(), 0, 0, 0, 0, 0);
  }

  // Best first: rank, then number.
  static std::vector<const _Position*> Classe(const detail::EnsemblePositions& positions) {
    std::vector<const _Position*> v;
    for (size_t i = 0; i < positions.Taille(); ++i) v.push_back(&positions[i]);
    if (v.size() > 1) {
      std::sort(v.begin(), v.end(), [](const _Position* x, const _Position* y) {
        if (x->rang1 != y->rang1) return x->rang1 < y->rang1;
        if (x->rang2 != y->rang2) return x->rang2 < y->rang2;
        return x->numero != y->numero ? x->numero < y->numero : x->etat < y->etat;
      });
    }
    return v;
  }

 private:
  static constexpr uint8_t kMort = 1;

  struct Marche {
    Marche(const ChaineN& copie, const ChaineN& original, const OptionRecherche& options, bool enPrefixe,
           RecuperationForme rec, detail::EnsemblePositions& ens, uint32_t nbFormes)
        : q(copie.DonneUnites()),
          m(static_cast<uint32_t>(copie.Longueur())),
          masque(static_cast<uint16_t>(options.valeur == 0 ? 0xF : options.valeur & 0xF)),
          exact(options.drapeaux & OptionRecherche::kExactSeulement),
          prefixe(enPrefixe),
          mot(&original),
          recuperation(rec),
          positions(ens),
          table(detail::TablePlis()),
          seuilMemo(8 * (uint64_t{m} + 1)),
          arriveesMax(3 * uint64_t{nbFormes} + 3),
          morts(m + 1) {
      for (uint32_t i = 0; i < m; ++i) {
        plis[i] = table[q[i]];
        ascii[i] = VariantesAscii(plis[i]);
      }
    }
    const char16_t* q;
    uint32_t m;
    char16_t plis[AutomateAcycliqueMin::kLongueurMaxMot];
    std::array<char16_t, 2> ascii[AutomateAcycliqueMin::kLongueurMaxMot];  // VariantesAscii of each fold
    uint16_t masque;
    bool exact;
    bool prefixe;
    const ChaineN* mot;
    RecuperationForme recuperation;
    detail::EnsemblePositions& positions;
    const char16_t* table;  // the fold of every unit
    // Bounds on damaged bytes. A correct lexicon reaches each form by one path, so the places
    // where the walk ends (forms, or prefix positions, with their "!" and "-" twins) are at
    // most 3N. The pairs (state, place in the word) that led to no such place are remembered
    // once the walk has made more steps than an ordinary lookup needs: a pair met again leads
    // nowhere again, so no pair is walked twice for nothing.
    uint64_t visites = 0;
    uint64_t arrivees = 0;
    uint64_t seuilMemo;
    uint64_t arriveesMax;
    detail::MemoMarche morts;
    // The path so far: at most two stored characters per typed one (œ typed, "oe" stored) and a
    // final "!" or "-". On the stack: the walk allocates nothing but its results.
    struct {
      char16_t u[2 * AutomateAcycliqueMin::kLongueurMaxMot + 2];
      uint32_t n = 0;
      void push_back(char16_t c) { u[n++] = c; }
      void pop_back() { --n; }
    } chemin;
  };

  // Follows every transition that the typed character at i may stand for. Exact steps cost
  // nothing; a folded match adds to rang1 (accent, variant) or rang2 (case); a ligature
  // against its two letters, either way round, adds to rang2.
  void Avance(Marche& m, Etat etat, uint32_t i, uint32_t numero, uint8_t r1, uint8_t r2,
              uint16_t detail) const {
    if (i == m.m) {
      Arrivee(m, etat, numero, r1, r2, detail);
      return;
    }
    if constexpr (G::kMemorise) {
      const uint64_t id = g_.Identite(etat);
      if (++m.visites > m.seuilMemo && m.morts.Lis(id, i) == kMort) return;
      const uint64_t arrivees = m.arrivees;
      Suivants(m, etat, i, numero, r1, r2, detail);
      if (m.arrivees == arrivees && m.visites > m.seuilMemo) m.morts.Mets(id, i, kMort);
    } else {
      Suivants(m, etat, i, numero, r1, r2, detail);
    }
  }

  void Suivants(Marche& m, Etat etat, uint32_t i, uint32_t numero, uint8_t r1, uint8_t r2,
                uint16_t detail) const {
    const Vue e = g_.Lis(etat);
    const char16_t q = m.q[i];
    const char16_t pq = m.plis[i];
    // The root and its wide children hold dozens of transitions: the table built at opening
    // gives the typed letter's transition, or its folds' (and the ligatures'), without testing
    // every transition.
    const detail::IndexRacine::Rangs* rangs = nullptr;
    if constexpr (requires { g_.Index(); }) {
      const detail::IndexRacine* index = g_.Index();
      if (index != nullptr && q < detail::IndexRacine::kCarMax && pq < detail::IndexRacine::kCarMax) {
        rangs = index->TableDe(etat, g_.Racine(), m.chemin.u, m.chemin.n, !m.exact);
      }
    }
    if (m.exact) {
      // Only the transition on the typed character itself: the graph finds it its fastest way
      // (a vector scan in the lexicon), where the loop below would test every transition.
      Sortie t;
      if constexpr (requires { g_.Index(); }) {
        if (rangs != nullptr) {
          if ((*rangs)[q] != 0) Pas(m, e, g_.Ieme(e, (*rangs)[q] - 1u), q, i + 1, numero, r1, r2, detail);
          return;
        }
      }
      if (g_.Trouve(e, q, &t)) {
        Pas(m, e, t, q, i + 1, numero, r1, r2, detail);
      }
      return;
    }
    const bool ligatureTapee = detail::EstLigature(q);
    if constexpr (requires { g_.Index(); }) {
      if (rangs != nullptr) {
        // The typed letter's folds; with ligatures, the four ligatures and, for a typed one,
        // the folds of its first letter; each character once.
        char16_t candidats[2 * kVariantesMax + 4];
        size_t n = Variantes(pq, candidats);
        if (n != kTrop && (m.masque & ChaineN::kMalgrayLigatures)) {
          const char16_t premiere = ligatureTapee ? detail::Pli(detail::LettresDeLigature(q)[0]) : pq;
          if (premiere != pq) {
            const size_t autres = Variantes(premiere, candidats + n);
            n = autres == kTrop ? kTrop : n + autres;
          }
          for (const char16_t l : {u'\u00C6', u'\u00E6', u'\u0152', u'\u0153'}) {
            if (n != kTrop && m.table[l] != pq && m.table[l] != premiere) candidats[n++] = l;
          }
        }
        for (size_t k = 0; k < n && n != kTrop; ++k) {
          const uint16_t rang = (*rangs)[candidats[k]];
          if (rang == 0) continue;
          Essaie(m, e, g_.Ieme(e, rang - 1u), i, numero, r1, r2, detail, ligatureTapee);
        }
        if (n != kTrop) return;
      }
    }
    // Past ASCII, any character may be a variant or a ligature; below, only the typed letter's
    // own variants can match. The graph picks the candidates out of the state's records at
    // once, and only those are looked at closely.
    if constexpr (requires { g_.Candidats(e, q, q); }) {
      if (!ligatureTapee && m.ascii[i][0] != kSansFiltre && e.nb <= G::kCandidatsMax) {
        for (uint64_t bits = g_.Candidats(e, m.ascii[i][0], m.ascii[i][1]); bits != 0; bits &= bits - 1) {
          Essaie(m, e, g_.Ieme(e, static_cast<uint32_t>(std::countr_zero(bits))), i, numero, r1, r2, detail,
                 false);
        }
        return;
      }
    }
    for (Sortie t = g_.Premiere(e); g_.Existe(e, t); t = g_.Suivante(t)) {
      Essaie(m, e, t, i, numero, r1, r2, detail, ligatureTapee);
    }
  }

  // The characters below the index's limit that fold to `pli`, into `sortie`; their number, or
  // kTrop for a fold past the limit or with more than kVariantesMax characters (none in
  // Latin blocks today: "u" has the most, 22), which the caller then finds by testing every
  // transition.
  static constexpr size_t kVariantesMax = 40;
  static constexpr size_t kTrop = SIZE_MAX;
  static size_t Variantes(char16_t pli, char16_t* sortie) {
    struct Table {
      std::array<uint16_t, detail::IndexRacine::kCarMax + 1> debut{};
      std::array<char16_t, detail::IndexRacine::kCarMax> car{};
    };
    static const Table table = [] {
      Table t;
      const char16_t* plis = detail::TablePlis();
      for (char16_t c = 0; c < detail::IndexRacine::kCarMax; ++c) {
        if (plis[c] < detail::IndexRacine::kCarMax) ++t.debut[plis[c] + 1];
      }
      for (size_t f = 0; f < detail::IndexRacine::kCarMax; ++f) t.debut[f + 1] += t.debut[f];
      auto place = t.debut;
      for (char16_t c = 0; c < detail::IndexRacine::kCarMax; ++c) {
        if (plis[c] < detail::IndexRacine::kCarMax) t.car[place[plis[c]]++] = c;
      }
      return t;
    }();
    if (pli >= detail::IndexRacine::kCarMax) return kTrop;
    const size_t n = table.debut[pli + 1] - table.debut[pli];
    if (n > kVariantesMax) return kTrop;
    std::copy_n(table.car.begin() + table.debut[pli], n, sortie);
    return n;
  }

  // The ASCII characters that fold to `pli`: none, one, or the letter and its capital (padded
  // with a character past ASCII, which the filter lets through anyway); kSansFiltre first when
  // there are more, or the fold lies past the index's limit.
  static constexpr char16_t kSansFiltre = 0xFFFF;
  static std::array<char16_t, 2> VariantesAscii(char16_t pli) {
    static const auto table = [] {
      std::array<std::array<char16_t, 2>, detail::IndexRacine::kCarMax> t;
      for (char16_t p = 0; p < detail::IndexRacine::kCarMax; ++p) {
        char16_t v[kVariantesMax];
        const size_t n = Variantes(p, v);
        t[p] = {0x80, 0x80};
        size_t k = 0;
        for (size_t j = 0; n != kTrop && j < n; ++j) {
          if (v[j] < 0x80 && k < 2) t[p][k] = v[j];
          if (v[j] < 0x80) ++k;
        }
        if (n == kTrop || k > 2) t[p] = {kSansFiltre, kSansFiltre};
      }
      return t;
    }();
    return pli < detail::IndexRacine::kCarMax ? table[pli]
                                              : std::array<char16_t, 2>{kSansFiltre, kSansFiltre};
  }

  // One transition of the state at place i: followed if its character may stand for the
  // typed one.
  [[gnu::always_inline]] void Essaie(Marche& m, const Vue& e, Sortie t, uint32_t i, uint32_t numero,
                                     uint8_t r1, uint8_t r2, uint16_t detail, bool ligatureTapee) const {
    const char16_t q = m.q[i];
    const char16_t pq = m.plis[i];
    {
      const char16_t c = g_.Car(t);
      if (c == q) {
        Pas(m, e, t, c, i + 1, numero, r1, r2, detail);
        return;
      }
      if (m.exact) return;
      if (m.table[c] == pq) {
        const uint16_t bits = detail::Difference(c, q);
        if ((bits & ~m.masque) == 0) {
          Pas(m, e, t, c, i + 1, numero,
              detail::Plus(r1, bits & (ChaineN::kMalgrayAccents | ChaineN::kMalgrayVariantes)),
              detail::Plus(r2, bits & ChaineN::kMalgrayCasse), detail | bits);
        }
        return;
      }
      if (!(m.masque & ChaineN::kMalgrayLigatures)) return;
      if (detail::EstLigature(c) && i + 1 < m.m) {
        // Stored "œ", typed "oe".
        const char16_t* lettres = detail::LettresDeLigature(c);
        if (detail::Pli(lettres[0]) == pq && detail::Pli(lettres[1]) == m.plis[i + 1]) {
          const uint16_t bits = detail::Difference(lettres[0], q) |
                                detail::Difference(lettres[1], m.q[i + 1]) | ChaineN::kMalgrayLigatures;
          if ((bits & ~m.masque) == 0) {
            Pas(m, e, t, c, i + 2, numero, detail::Plus(r1, bits & ChaineN::kMalgrayAccents),
                detail::Plus(r2, true), detail | bits);
          }
        }
      } else if (ligatureTapee) {
        // Typed "œ", stored "oe": two steps for one typed character.
        const char16_t* lettres = detail::LettresDeLigature(q);
        if (detail::Pli(c) != detail::Pli(lettres[0])) return;
        const Vue e2 = g_.Lis(g_.Cible(e, t));
        const uint32_t compte = g_.Compte(t);
        for (Sortie t2 = g_.Premiere(e2); g_.Existe(e2, t2); t2 = g_.Suivante(t2)) {
          const char16_t c2 = g_.Car(t2);
          if (detail::Pli(c2) != detail::Pli(lettres[1])) continue;
          const uint16_t bits = detail::Difference(c, lettres[0]) | detail::Difference(c2, lettres[1]) |
                                ChaineN::kMalgrayLigatures;
          if ((bits & ~m.masque) != 0) continue;
          m.chemin.push_back(c);
          Pas(m, e2, t2, c2, i + 1, numero + compte, detail::Plus(r1, bits & ChaineN::kMalgrayAccents),
              detail::Plus(r2, true), detail | bits);
          m.chemin.pop_back();
        }
      }
    }
  }

  void Pas(Marche& m, const Vue& e, Sortie t, char16_t c, uint32_t i, uint32_t numero, uint8_t r1, uint8_t r2,
           uint16_t detail) const {
    m.chemin.push_back(c);
    Avance(m, g_.Cible(e, t), i, numero + g_.Compte(t), r1, r2, detail);
    m.chemin.pop_back();
  }

  // Counts a place where the walk ends; more than a correct lexicon allows is damage.
  void CompteArrivee(Marche& m, Etat etat) const {
    if (++m.arrivees > m.arriveesMax) g_.Corrompu(g_.Identite(etat));
  }

  void Arrivee(Marche& m, Etat etat, uint32_t numero, uint8_t r1, uint8_t r2, uint16_t detail) const {
    if (m.prefixe) {
      CompteArrivee(m, etat);
      Propose(m, _Position{g_.Identite(etat), numero, r1, r2, detail, Texte(m.chemin), true, false, m.m});
      return;
    }
    const Vue e = g_.Lis(etat);
    if (g_.Final(e)) {
      CompteArrivee(m, etat);
      Propose(m, _Position{g_.Identite(etat), numero, r1, r2, detail, Texte(m.chemin), false, false, m.m});
    }
    // The two switches: the word stored with a trailing "!" or "-", kept as weaker candidates.
    const std::pair<bool, char16_t> suffixes[] = {{g_.RecupereExclamation(), u'!'},
                                                  {g_.RecupereTiret(), u'-'}};
    for (auto [actif, suffixe] : suffixes) {
      if (!actif) continue;
      Sortie t{};
      if (!g_.Trouve(e, suffixe, &t)) continue;
      const Etat cible = g_.Cible(e, t);
      if (!g_.Final(g_.Lis(cible))) continue;
      const uint16_t bit = suffixe == u'!' ? 0x10 : 0x20;
      CompteArrivee(m, cible);
      Propose(m, _Position{g_.Identite(cible), numero + g_.Compte(t), r1, detail::Plus(r2, true),
                           static_cast<uint16_t>(detail | bit),
                           Texte(m.chemin) + ChaineN(&suffixe, uint64_t{1}), false, true, m.m});
    }
  }

  template <typename Chemin>
  static ChaineN Texte(const Chemin& c) {
    return ChaineN(c.u, static_cast<uint64_t>(c.n));
  }

  void Propose(Marche& m, const _Position& p) const {
    if (m.recuperation != nullptr) {
      RecuperationFormeParams params{m.mot, &p.texte, p.numero, p.rang1, p.rang2, p.detail};
      if (!m.recuperation(params)) return;
    }
    m.positions.Ajoute(p);
  }

  const G& g_;
};

}  // namespace sdd
