#pragma once

// The searches of AutomateAcycliqueMin, over LecteurAutomate<A>.

#include <algorithm>
#include <memory>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/texte/UniCaractere.h>

#include "automates/LecteurAutomate.h"
#include "texte/ClassesCaracteres.h"
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

// The word a search works on: cut to kLongueurMaxMot with 0x80 (otherwise a longer word gives
// nothing), stripped of non-letters with 0x10.
inline bool PrepareMot(const ChaineN& mot, uint32_t drapeaux, ChaineN& copie) {
  copie = mot;
  if (copie.Longueur() > AutomateAcycliqueMin::kLongueurMaxMot) {
    if (!(drapeaux & AutomateAcycliqueMin::_OptionRecherche::kCoupeMotsLongs)) return false;
    copie.EnleveDepuisFin(AutomateAcycliqueMin::kLongueurMaxMot);
  }
  if (drapeaux & AutomateAcycliqueMin::_OptionRecherche::kEnleveNonAlpha) copie.EnleveCarNonAlpha();
  return true;
}

}  // namespace detail

template <int A>
class MarchesAutomate {
  using L = LecteurAutomate<A>;
  using Etat = typename L::Etat;
  using _Forme = AutomateAcycliqueMin::_Forme;
  using _Position = AutomateAcycliqueMin::_Position;
  using _OptionRecherche = AutomateAcycliqueMin::_OptionRecherche;
  static constexpr uint32_t kT = L::kOctetsTransition;

 public:
  explicit MarchesAutomate(const AutomateAcycliqueMin& automate) : a_(automate), l_(automate) {}

  void Statistiques(uint64_t* etats, uint64_t* transitions) const {
    std::vector<bool> vus(a_.tailleZone_, false);
    std::vector<uint64_t> pile{l_.Racine()};
    vus[l_.Racine()] = true;
    while (!pile.empty()) {
      const Etat e = l_.LisEtat(pile.back());
      pile.pop_back();
      ++*etats;
      *transitions += e.nb;
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        const uint64_t cible = L::Cible(e, t);
        if (!vus[cible]) {
          vus[cible] = true;
          pile.push_back(cible);
        }
      }
    }
  }

  // ---- numbers to forms, one walk for the whole list

  void FormePourNos(const ListeT<uint32_t>& numeros, ListeT<_Forme>& formes) const {
    // The walk serves a descending list (each state's entries are taken largest count first and
    // only those not above the wanted number are stacked), so serve the numbers in that order
    // and hand the forms back in the caller's.
    std::vector<std::pair<uint32_t, uint32_t>> voulus;  // number, place in the caller's list
    for (uint32_t i = 0; i < numeros.Taille(); ++i) {
      if (numeros[i] < a_.nbFormes_) voulus.emplace_back(numeros[i], i);
    }
    std::sort(voulus.begin(), voulus.end(), [](auto x, auto y) { return x.first > y.first; });
    std::vector<ChaineN> textes(numeros.Taille());
    std::vector<bool> trouves(numeros.Taille(), false);

    struct Entree {
      uint64_t adresse;
      uint32_t profondeur;
      uint32_t numero;
      char16_t car;
      bool developpe;
      bool final;
    };
    std::vector<Entree> pile{{l_.Racine(), 0, 0, 0, false, false}};
    std::u16string chemin;
    size_t k = 0;
    while (!pile.empty() && k < voulus.size()) {
      Entree& haut = pile.back();
      if (!haut.developpe) {
        haut.developpe = true;
        if (haut.profondeur > 0) {
          chemin.resize(haut.profondeur - 1);
          chemin.push_back(haut.car);
        }
        const Etat e = l_.LisEtat(haut.adresse);
        haut.final = e.final;
        const Entree parent = haut;
        const uint32_t voulu = voulus[k].first;
        for (uint32_t i = e.nb; i-- > 0;) {
          const uint8_t* t = e.transitions + i * kT;
          const uint64_t numero = static_cast<uint64_t>(parent.numero) + L::Compte(t);
          if (numero <= voulu) {
            pile.push_back({L::Cible(e, t), parent.profondeur + 1, static_cast<uint32_t>(numero), L::Car(t),
                            false, false});
          }
        }
        continue;
      }
      if (haut.final) {
        while (k < voulus.size() && voulus[k].first == haut.numero) {
          textes[voulus[k].second] = ChaineN(chemin.data(), static_cast<uint64_t>(haut.profondeur));
          trouves[voulus[k].second] = true;
          ++k;
        }
      }
      pile.pop_back();
    }
    for (uint32_t i = 0; i < numeros.Taille(); ++i) {
      if (!trouves[i]) continue;
      _Forme& f = formes.AjouteVide();
      f.forme = std::move(textes[i]);
      f.numero = numeros[i];
    }
  }

  // ---- word to forms, prefix to forms

  void FormesPour(const ChaineN& mot, ListeC<_Forme>& formes, _OptionRecherche options,
                  RecuperationForme recuperation) const {
    ChaineN copie;
    if (!detail::PrepareMot(mot, options.drapeaux, copie)) return;
    EnsembleTriay<_Position> positions;
    Marche m(copie, mot, options, false, recuperation, positions);
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
      Marche m(copie, prefixe, options, true, nullptr, positions);
      Avance(m, l_.Racine(), 0, 0, 0, 0, 0);
    }
    uint64_t total = 0;
    for (const _Position* p : Classe(positions)) {
      if (!Complete(*p, formes, total, options, limite, recuperation)) return false;
    }
    return true;
  }

  // ---- joker patterns

  bool FormesPourJoker(const ChaineN& motif, ListeC<_Forme>& formes, uint32_t parametre, uint32_t limite,
                       DelegueInterruptionAutomateAcycliqueMin* delegue) const {
    // Runs of "*" are one "*".
    std::u16string p;
    for (char16_t c : motif) {
      if (!(c == u'*' && !p.empty() && p.back() == u'*')) p.push_back(c);
    }
    const auto masque = static_cast<ChaineN::Malgray>(parametre & 0xE);
    const bool ligatures = parametre & 0x01;
    const bool tout = parametre & 0x10;
    const uint32_t m = static_cast<uint32_t>(p.size());

    struct Entree {
      uint64_t adresse;
      uint32_t i;  // place in the pattern
      uint32_t numero;
      uint32_t profondeur;
      char16_t car;  // 0: same state, pattern moved on
    };
    std::vector<Entree> pile{{l_.Racine(), 0, 0, 0, 0}};
    std::u16string chemin;
    std::vector<std::pair<uint32_t, ChaineN>> trouvees;
    uint64_t pas = 0;
    bool complet = true;
    while (!pile.empty()) {
      if ((++pas & 4095) == 0 && delegue != nullptr && delegue->DoitInterrompre()) {
        complet = false;
        break;
      }
      const Entree en = pile.back();
      pile.pop_back();
      chemin.resize(en.profondeur);
      if (en.car != 0) chemin.back() = en.car;
      const Etat e = l_.LisEtat(en.adresse);
      if (en.i == m) {
        if (e.final) {
          trouvees.emplace_back(en.numero, ChaineN(chemin.data(), static_cast<uint64_t>(chemin.size())));
          if (trouvees.size() > a_.nbFormes_) detail::AutomateCorrompu(en.adresse);
        }
        continue;
      }
      const char16_t j = p[en.i];
      if (j == u'*') pile.push_back({en.adresse, en.i + 1, en.numero, en.profondeur, 0});
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        const char16_t c = L::Car(t);
        const uint64_t classes = UniCaractere::Classes(c);
        const bool joker =
            tout || (classes & (detail::classes::kChiffreJoker | detail::classes::kLettreJoker));
        uint32_t avance = 0;
        switch (j) {
          case u'*':
            if (tout || (classes & detail::classes::kLettreJoker)) avance = 0 + 100;  // stays on the "*"
            break;
          case u'?':
          case u'_': avance = joker ? 1 : 0; break;
          case u'#': avance = joker && (classes & detail::classes::kConsonne) ? 1 : 0; break;
          case u'&': avance = joker && (classes & detail::classes::kVoyelle) ? 1 : 0; break;
          default:
            if (UniCarEgalOption(j, c, masque)) {
              avance = 1;
            } else if (ligatures && en.i + 1 < m) {
              const char16_t* lettres = detail::LettresDeLigature(c);
              if (lettres != nullptr && UniCarEgalOption(j, lettres[0], masque) &&
                  UniCarEgalOption(p[en.i + 1], lettres[1], masque)) {
                avance = 2;
              }
            }
        }
        if (avance == 0) continue;
        const uint32_t suivant = avance == 100 ? en.i : en.i + avance;
        pile.push_back({L::Cible(e, t), suivant, en.numero + L::Compte(t), en.profondeur + 1, c});
      }
    }
    // A form can match along several ways through "*"s: keep each once, in number order.
    std::sort(trouvees.begin(), trouvees.end(),
              [](const auto& x, const auto& y) { return x.first < y.first; });
    trouvees.erase(std::unique(trouvees.begin(), trouvees.end(),
                               [](const auto& x, const auto& y) { return x.first == y.first; }),
                   trouvees.end());
    if (limite != 0 && trouvees.size() > limite) trouvees.resize(limite);
    for (auto& [numero, texte] : trouvees) {
      _Forme& f = formes.Ajoute(_Forme{});
      f.forme = std::move(texte);
      f.numero = numero;
      f.valeur = static_cast<uint32_t>(motif.Longueur());
    }
    return complet;
  }

  // ---- corrections

  bool FormesProbabilistes(const ChaineN& mot, const _OptionRecherche& options, uint32_t limite,
                           uint32_t coutMax, const ProbabiliteTransformation* modele,
                           ListeC<AutomateAcycliqueMin::_FormeProbabiliste>& formes) {
    ChaineN copie;
    if (!detail::PrepareMot(mot, options.drapeaux, copie)) return true;
    if (modele == nullptr) modele = &ProbabiliteTransformation::Francais();
    if (coutMax == 0) coutMax = modele->CoutMaximalParDefaut();
    Correction c(copie, *modele, options.drapeaux & _OptionRecherche::kTempsLimite);

    // Widen the bound in steps; each step's answer is complete for its bound, so when the
    // limit or the clock stops us, the last complete step gives the head of the full answer.
    // Without a clock there is nothing to interrupt: one pass at the full bound, sorted and cut
    // to the limit, is the same head.
    const bool chrono = options.drapeaux & _OptionRecherche::kTempsLimite;
    const uint32_t paliers[] = {chrono ? coutMax / 4 : coutMax, chrono ? coutMax / 2 : coutMax, coutMax};
    std::vector<Candidat> retenus;
    bool complet = true;
    for (size_t n = 0; n < std::size(paliers); ++n) {
      const uint32_t borne = paliers[n];
      if (n > 0 && borne == paliers[n - 1]) continue;
      std::vector<Candidat> trouves;
      if (!c.Cherche(*this, borne, limite, trouves)) {
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
      return x.cout != y.cout ? x.cout < y.cout : x.numero < y.numero;
    });
    if (limite != 0 && retenus.size() > limite) retenus.resize(limite);
    for (Candidat& r : retenus) {
      auto& f = formes.Ajoute(AutomateAcycliqueMin::_FormeProbabiliste{});
      f.forme = std::move(r.texte);
      f.numero = r.numero;
      f.cout = r.cout;
      f.probabilite = modele->Probabilite(r.cout);
    }
    return complet;
  }

 private:
  struct Marche {
    Marche(const ChaineN& copie, const ChaineN& original, _OptionRecherche options, bool enPrefixe,
           RecuperationForme rec, EnsembleTriay<_Position>& ens)
        : q(copie.DonneUnites()),
          m(static_cast<uint32_t>(copie.Longueur())),
          masque(static_cast<uint16_t>(options.valeur == 0 ? 0xF : options.valeur & 0xF)),
          exact(options.drapeaux & _OptionRecherche::kExactSeulement),
          prefixe(enPrefixe),
          mot(&original),
          recuperation(rec),
          positions(ens),
          table(detail::TablePlis()) {
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

  void Arrivee(Marche& m, uint64_t adresse, uint32_t numero, uint8_t r1, uint8_t r2, uint16_t detail) const {
    if (m.prefixe) {
      Propose(m, _Position{adresse, numero, r1, r2, detail, Texte(m.chemin), true, false, m.m});
      return;
    }
    const Etat e = l_.LisEtat(adresse);
    if (e.final) Propose(m, _Position{adresse, numero, r1, r2, detail, Texte(m.chemin), false, false, m.m});
    // The two switches: the word stored with a trailing "!" or "-", kept as weaker candidates.
    const std::pair<bool, char16_t> suffixes[] = {{a_.recupereExclamation_, u'!'}, {a_.recupereTiret_, u'-'}};
    for (auto [actif, suffixe] : suffixes) {
      if (!actif) continue;
      const uint8_t* t = L::Trouve(e, suffixe);
      if (t == nullptr) continue;
      const uint64_t cible = L::Cible(e, t);
      if (!l_.LisEtat(cible).final) continue;
      const uint16_t bit = suffixe == u'!' ? 0x10 : 0x20;
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
    AutomateAcycliqueMin::AjoutPositionDansListe(m.positions, p);
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
  // transitions from the smallest count up).
  bool Complete(const _Position& p, ListeC<_Forme>& formes, uint64_t& total, _OptionRecherche options,
                uint32_t limite, RecuperationForme recuperation) const {
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
    uint64_t emises = 0;
    while (!pile.empty()) {
      const Entree en = pile.back();
      pile.pop_back();
      chemin.resize(en.profondeur);
      if (en.car != 0) chemin.back() = en.car;
      const Etat e = l_.LisEtat(en.adresse);
      if (e.final) {
        if (++emises > a_.nbFormes_) detail::AutomateCorrompu(en.adresse);
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
        if (chrono && a_._TempsEcoulay()) return false;
      }
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        pile.push_back({L::Cible(e, t), en.numero + L::Compte(t), en.profondeur + 1, L::Car(t)});
      }
    }
    return true;
  }

  struct Candidat {
    uint32_t numero;
    uint32_t cout;
    ChaineN texte;
  };

  // A depth-first walk that carries one row of the weighted Damerau–Levenshtein table per
  // depth (row d: cost of turning each prefix of the typed word into the d first characters of
  // the path) and abandons a branch once its whole row is past the bound.
  class Correction {
   public:
    Correction(const ChaineN& mot, const ProbabiliteTransformation& modele, bool chrono)
        : q_(mot.DonneUnites(), mot.Longueur()),
          m_(static_cast<uint32_t>(q_.size())),
          modele_(modele),
          chrono_(chrono) {
      suppressions_.resize(m_ + 1, 0);
      for (uint32_t j = 1; j <= m_; ++j) {
        suppressions_[j] = modele_.CoutSuppression(q_[j - 1], j >= 2 ? q_[j - 2] : 0);
      }
      substitutions_.assign(static_cast<size_t>(kCache) * m_, kInconnu);
    }

    // False when the clock stopped it.
    // With a limit, the bound shrinks to the cost of the limit-th best form found so far (kept
    // inclusive, so that ties are still all found and ranked by number): the answer's head is
    // unchanged and most of the search space is never entered.
    bool Cherche(const MarchesAutomate& marches, uint32_t borne, uint32_t limite,
                 std::vector<Candidat>& trouves) {
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
        uint64_t adresse;
        uint32_t numero;
        uint32_t profondeur;
        char16_t car;
      };
      std::vector<Entree> pile{{marches.l_.Racine(), 0, 0, 0}};
      std::u16string chemin;
      uint64_t pas = 0;
      while (!pile.empty()) {
        if (chrono_ && (++pas & 1023) == 0 && marches.a_._TempsEcoulay()) return false;
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
        const Etat e = marches.l_.LisEtat(en.adresse);
        const uint32_t cout = lignes_[static_cast<size_t>(d) * largeur + m_];
        if (e.final && cout <= borne) {
          trouves.push_back({en.numero, cout, Texte(chemin.substr(0, d))});
          if (trouves.size() > marches.a_.nbFormes_) detail::AutomateCorrompu(en.adresse);
          retient(cout, en.numero);
        }
        // The transition on the typed word's next character goes on top: good forms early
        // tighten the bound sooner.
        const char16_t attendu = d < m_ ? q_[d] : 0;
        const uint8_t* t = e.transitions;
        const uint8_t* premier = nullptr;
        for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
          if (L::Car(t) == attendu) {
            premier = t;
            continue;
          }
          pile.push_back({L::Cible(e, t), en.numero + L::Compte(t), d + 1, L::Car(t)});
        }
        if (premier != nullptr) {
          pile.push_back({L::Cible(e, premier), en.numero + L::Compte(premier), d + 1, L::Car(premier)});
        }
      }
      return true;
    }

   private:
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

    std::u16string q_;
    uint32_t m_;
    const ProbabiliteTransformation& modele_;
    bool chrono_;
    std::vector<uint32_t> suppressions_;
    std::vector<uint32_t> substitutions_;
    std::vector<uint32_t> lignes_;
  };

  const AutomateAcycliqueMin& a_;
  L l_;
};

}  // namespace sdd
