#pragma once

// Word to forms and prefix to forms: the insensitive walk, which follows every transition that
// a typed character may stand for (accents, case, variants, ligatures either way round), and
// the listing of the forms below a prefix.

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/texte/UniCaractere.h>

#include "automates/LecteurAutomate.h"
#include "automates/MemoMarche.h"
#include "texte/Malgray.h"

namespace sdd {

namespace detail {

// The folded form of every unit (variant, lower case, no accent), as a dense 128 KiB table built
// on first use: the insensitive walks fold every transition they pass.
inline const char16_t* TablePlis() {
  static const std::unique_ptr<char16_t[]> table = [] {
    auto t = std::make_unique<char16_t[]>(65536);
    for (uint32_t c = 0; c < 65536; ++c) {
      t[c] = UniCaractere::NormaliseVarianteMinusculiseSansAccent(static_cast<char16_t>(c));
    }
    return t;
  }();
  return table.get();
}

inline char16_t Pli(char16_t c) { return TablePlis()[c]; }

// The kinds of difference (Malgray bits) between a stored character and a typed one that fold
// to the same letter.
inline uint16_t Difference(char16_t stocke, char16_t tape) {
  uint16_t bits = 0;
  if (UniCaractere::EstMajuscule(stocke) != UniCaractere::EstMajuscule(tape)) bits |= ChaineN::kMalgrayCasse;
  const char16_t a = UniCaractere::Minuscule(stocke), b = UniCaractere::Minuscule(tape);
  if (a != b) {
    bits |= UniCaractere::SansAccent(a) == UniCaractere::SansAccent(b) ? ChaineN::kMalgrayAccents
                                                                       : ChaineN::kMalgrayVariantes;
  }
  return bits;
}

// The table's ligatures (Æ æ Œ œ) all lie at U+00C6 and above: ASCII letters, most of what a
// walk meets, are told apart without a call.
inline bool EstLigature(char16_t c) { return c >= 0xC6 && UniCaractere::EstLigature(c); }

inline uint8_t Plus(uint8_t rang, bool oui) {
  return oui && rang < 255 ? static_cast<uint8_t>(rang + 1) : rang;
}
}  // namespace detail

template <int A>
class MarcheInsensible {
  using L = LecteurAutomate<A>;
  using Etat = typename L::Etat;
  using _Forme = AutomateAcycliqueMin::_Forme;
  using _Position = AutomateAcycliqueMin::_Position;
  using _OptionRecherche = AutomateAcycliqueMin::_OptionRecherche;
  static constexpr uint32_t kT = L::kOctetsTransition;

 public:
  explicit MarcheInsensible(const AutomateAcycliqueMin& automate) : l_(automate) {}

  void FormesPour(const ChaineN& mot, ListeC<_Forme>& formes, _OptionRecherche options,
                  RecuperationForme recuperation) const {
    ChaineN copie;
    if (!detail::PrepareMot(mot, options.drapeaux, copie)) return;
    EnsembleTriay<_Position> positions;
    Marche m(copie, mot, options, false, recuperation, positions, l_.NbFormes());
    Avance(m, l_.Racine(), 0, 0, 0, 0, 0);
    auto ajoute = [&](const _Position* p) {
      _Forme& f = formes.Ajoute(_Forme{});
      f.forme = p->texte;
      f.numero = p->numero;
      f.rang1 = p->rang1;
      f.rang2 = p->rang2;
      f.detail = p->detail;
      f.valeur = p->valeur;
    };
    auto premiere = positions.begin();
    if (premiere == positions.end()) return;
    if (std::next(premiere) == positions.end()) {
      ajoute(&*premiere);  // the usual answer: one form, nothing to rank
      return;
    }
    for (const _Position* p : Classe(positions)) ajoute(p);
  }

  bool FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes, _OptionRecherche options,
                        uint32_t limite, RecuperationForme recuperation) {
    EnsembleTriay<_Position> positions;
    for (const ChaineN& prefixe : prefixes) {
      ChaineN copie;
      if (!detail::PrepareMot(prefixe, options.drapeaux, copie)) continue;
      Marche m(copie, prefixe, options, true, nullptr, positions, l_.NbFormes());
      Avance(m, l_.Racine(), 0, 0, 0, 0, 0);
    }
    uint64_t total = 0;
    uint64_t emises = 0;  // forms met below every position: at most N
    for (const _Position* p : Classe(positions)) {
      if (!Complete(*p, formes, total, emises, options, limite, recuperation)) return false;
    }
    return true;
  }

 private:
  static constexpr uint8_t kMort = 1;

  struct Marche {
    Marche(const ChaineN& copie, const ChaineN& original, _OptionRecherche options, bool enPrefixe,
           RecuperationForme rec, EnsembleTriay<_Position>& ens, uint32_t nbFormes)
        : q(copie.DonneUnites()),
          m(static_cast<uint32_t>(copie.Longueur())),
          masque(static_cast<uint16_t>(options.valeur == 0 ? 0xF : options.valeur & 0xF)),
          exact(options.drapeaux & _OptionRecherche::kExactSeulement),
          prefixe(enPrefixe),
          mot(&original),
          recuperation(rec),
          positions(ens),
          table(detail::TablePlis()),
          seuilMemo(8 * (uint64_t{m} + 1)),
          arriveesMax(3 * uint64_t{nbFormes} + 3),
          morts(m + 1) {
      for (uint32_t i = 0; i < m; ++i) plis[i] = table[q[i]];
    }
    const char16_t* q;
    uint32_t m;
    char16_t plis[AutomateAcycliqueMin::kLongueurMaxMot];
    uint16_t masque;
    bool exact;
    bool prefixe;
    const ChaineN* mot;
    RecuperationForme recuperation;  // null in prefix mode: the completed forms are judged
    EnsembleTriay<_Position>& positions;
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
  void Avance(Marche& m, uint64_t adresse, uint32_t i, uint32_t numero, uint8_t r1, uint8_t r2,
              uint16_t detail) const {
    if (i == m.m) {
      Arrivee(m, adresse, numero, r1, r2, detail);
      return;
    }
    if (++m.visites > m.seuilMemo && m.morts.Lis(adresse, i) == kMort) return;
    const uint64_t arrivees = m.arrivees;
    Suivants(m, adresse, i, numero, r1, r2, detail);
    if (m.arrivees == arrivees && m.visites > m.seuilMemo) m.morts.Mets(adresse, i, kMort);
  }

  void Suivants(Marche& m, uint64_t adresse, uint32_t i, uint32_t numero, uint8_t r1, uint8_t r2,
                uint16_t detail) const {
    const Etat e = l_.LisEtat(adresse);
    const char16_t q = m.q[i];
    const char16_t pq = m.plis[i];
    const uint8_t* t = e.transitions;
    for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
      const char16_t c = L::Car(t);
      if (c == q) {
        Pas(m, e, t, c, i + 1, numero, r1, r2, detail);
        continue;
      }
      if (m.exact) continue;
      if (m.table[c] == pq) {
        const uint16_t bits = detail::Difference(c, q);
        if ((bits & ~m.masque) == 0) {
          Pas(m, e, t, c, i + 1, numero,
              detail::Plus(r1, bits & (ChaineN::kMalgrayAccents | ChaineN::kMalgrayVariantes)),
              detail::Plus(r2, bits & ChaineN::kMalgrayCasse), detail | bits);
        }
        continue;
      }
      if (!(m.masque & ChaineN::kMalgrayLigatures)) continue;
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
      } else if (detail::EstLigature(q)) {
        // Typed "œ", stored "oe": two steps for one typed character.
        const char16_t* lettres = detail::LettresDeLigature(q);
        if (detail::Pli(c) != detail::Pli(lettres[0])) continue;
        const uint64_t milieu = L::Cible(e, t);
        const Etat e2 = l_.LisEtat(milieu);
        const uint8_t* t2 = e2.transitions;
        for (uint32_t k2 = 0; k2 < e2.nb; ++k2, t2 += kT) {
          const char16_t c2 = L::Car(t2);
          if (detail::Pli(c2) != detail::Pli(lettres[1])) continue;
          const uint16_t bits = detail::Difference(c, lettres[0]) | detail::Difference(c2, lettres[1]) |
                                ChaineN::kMalgrayLigatures;
          if ((bits & ~m.masque) != 0) continue;
          m.chemin.push_back(c);
          Pas(m, e2, t2, c2, i + 1, numero + L::Compte(t), detail::Plus(r1, bits & ChaineN::kMalgrayAccents),
              detail::Plus(r2, true), detail | bits);
          m.chemin.pop_back();
        }
      }
    }
  }

  void Pas(Marche& m, const Etat& e, const uint8_t* t, char16_t c, uint32_t i, uint32_t numero, uint8_t r1,
           uint8_t r2, uint16_t detail) const {
    m.chemin.push_back(c);
    Avance(m, L::Cible(e, t), i, numero + L::Compte(t), r1, r2, detail);
    m.chemin.pop_back();
  }

  // Counts a place where the walk ends; more than a correct lexicon allows is damage.
  static void CompteArrivee(Marche& m, uint64_t adresse) {
    if (++m.arrivees > m.arriveesMax) detail::AutomateCorrompu(adresse);
  }

  void Arrivee(Marche& m, uint64_t adresse, uint32_t numero, uint8_t r1, uint8_t r2, uint16_t detail) const {
    if (m.prefixe) {
      CompteArrivee(m, adresse);
      Propose(m, _Position{adresse, numero, r1, r2, detail, Texte(m.chemin), true, false, m.m});
      return;
    }
    const Etat e = l_.LisEtat(adresse);
    if (e.final) {
      CompteArrivee(m, adresse);
      Propose(m, _Position{adresse, numero, r1, r2, detail, Texte(m.chemin), false, false, m.m});
    }
    // The two switches: the word stored with a trailing "!" or "-", kept as weaker candidates.
    const std::pair<bool, char16_t> suffixes[] = {{l_.RecupereExclamation(), u'!'},
                                                  {l_.RecupereTiret(), u'-'}};
    for (auto [actif, suffixe] : suffixes) {
      if (!actif) continue;
      const uint8_t* t = L::Trouve(e, suffixe);
      if (t == nullptr) continue;
      const uint64_t cible = L::Cible(e, t);
      if (!l_.LisEtat(cible).final) continue;
      const uint16_t bit = suffixe == u'!' ? 0x10 : 0x20;
      CompteArrivee(m, cible);
      Propose(m, _Position{cible, numero + L::Compte(t), r1, detail::Plus(r2, true),
                           static_cast<uint16_t>(detail | bit),
                           Texte(m.chemin) + ChaineN(&suffixe, uint64_t{1}), false, true, m.m});
    }
  }

  static ChaineN Texte(const std::u16string& s) { return ChaineN(s.data(), static_cast<uint64_t>(s.size())); }
  template <typename Chemin>
  static ChaineN Texte(const Chemin& c) {
    return ChaineN(c.u, static_cast<uint64_t>(c.n));
  }

  void Propose(Marche& m, const _Position& p) const {
    if (m.recuperation != nullptr) {
      RecuperationFormeParams params{m.mot, &p.texte, p.numero, p.rang1, p.rang2, p.detail};
      if (!m.recuperation(params)) return;
    }
    L::AjoutePosition(m.positions, p);
  }

  // Best first: rank, then number.
  static std::vector<const _Position*> Classe(const EnsembleTriay<_Position>& positions) {
    std::vector<const _Position*> v;
    for (const _Position& p : positions) v.push_back(&p);
    if (v.size() > 1) {
      std::sort(v.begin(), v.end(), [](const _Position* x, const _Position* y) {
        if (x->rang1 != y->rang1) return x->rang1 < y->rang1;
        if (x->rang2 != y->rang2) return x->rang2 < y->rang2;
        return x->numero != y->numero ? x->numero < y->numero : x->etat < y->etat;
      });
    }
    return v;
  }

  // Every form below a prefix position, in number order (end of form first, then the
  // transitions from the smallest count up). In a correct lexicon these are the numbers
  // p.numero, p.numero + 1, … without a gap, every path ends in a form (so a form comes within
  // a path's length of walking) and all the positions together hold at most N forms: any
  // other number, or more forms, is damage.
  bool Complete(const _Position& p, ListeC<_Forme>& formes, uint64_t& total, uint64_t& emises,
                _OptionRecherche options, uint32_t limite, RecuperationForme recuperation) const {
    struct Entree {
      uint64_t adresse;
      uint32_t numero;
      uint32_t profondeur;
      char16_t car;
    };
    std::u16string chemin(p.texte.DonneUnites(), p.texte.Longueur());
    const uint32_t base = static_cast<uint32_t>(chemin.size());
    std::vector<Entree> pile{{p.etat, p.numero, base, 0}};
    const bool chrono = options.drapeaux & _OptionRecherche::kTempsLimite;
    uint64_t attendu = p.numero;
    while (!pile.empty()) {
      const Entree en = pile.back();
      pile.pop_back();
      chemin.resize(en.profondeur);
      if (en.car != 0) chemin.back() = en.car;
      const Etat e = l_.LisEtat(en.adresse);
      if (e.final) {
        if (++emises > l_.NbFormes() || en.numero != attendu++) detail::AutomateCorrompu(en.adresse);
        ChaineN texte = Texte(chemin);
        RecuperationFormeParams params{nullptr, &texte, en.numero, p.rang1, p.rang2, p.detail};
        if (recuperation(params)) {
          _Forme& f = formes.Ajoute(_Forme{});
          f.forme = std::move(texte);
          f.numero = en.numero;
          f.rang1 = p.rang1;
          f.rang2 = p.rang2;
          f.detail = p.detail;
          f.valeur = p.valeur;
          ++total;
          if (limite != 0 && total > limite) return false;
        }
        if (chrono && l_.TempsEcoulay()) return false;
      }
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        pile.push_back({L::Cible(e, t), en.numero + L::Compte(t), en.profondeur + 1, L::Car(t)});
      }
    }
    return true;
  }

  L l_;
};

}  // namespace sdd
