#pragma once

// The lexicon's word-to-forms and prefix-to-forms searches: the shared insensitive walk over the
// stored automaton, then, for prefixes, every form below each place reached.

#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/conteneurs/EnsembleTriay.h>

#include "automates/GrapheAutomate.h"
#include "automates/MarcheInsensible.h"

namespace sdd {

template <int A>
class MarcheFormes {
  using G = GrapheAutomate<A>;
  using L = LecteurAutomate<A>;
  using Etat = typename L::Etat;
  using _Forme = AutomateAcycliqueMin::_Forme;
  using _Position = AutomateAcycliqueMin::_Position;
  using _OptionRecherche = AutomateAcycliqueMin::_OptionRecherche;
  static constexpr uint32_t kT = L::kOctetsTransition;

 public:
  explicit MarcheFormes(const AutomateAcycliqueMin& automate) : g_(automate) {}

  void FormesPour(const ChaineN& mot, ListeC<_Forme>& formes, _OptionRecherche options,
                  RecuperationForme recuperation) const {
    ChaineN copie;
    if (!detail::PrepareMot(mot, options.drapeaux, copie)) return;
    EnsembleTriay<_Position> positions;
    MarcheInsensible<G>(g_).Cherche(copie, mot, options, false, recuperation, positions);
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
    for (const _Position* p : MarcheInsensible<G>::Classe(positions)) ajoute(p);
  }

  bool FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes, _OptionRecherche options,
                        uint32_t limite, RecuperationForme recuperation) {
    EnsembleTriay<_Position> positions;
    for (const ChaineN& prefixe : prefixes) {
      ChaineN copie;
      if (!detail::PrepareMot(prefixe, options.drapeaux, copie)) continue;
      MarcheInsensible<G>(g_).Cherche(copie, prefixe, options, true, nullptr, positions);
    }
    uint64_t total = 0;
    uint64_t emises = 0;  // forms met below every position: at most N
    for (const _Position* p : MarcheInsensible<G>::Classe(positions)) {
      if (!Complete(*p, formes, total, emises, options, limite, recuperation)) return false;
    }
    return true;
  }

 private:
  const L& l() const { return g_.Lecteur(); }

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
      const Etat e = l().LisEtat(en.adresse);
      if (e.final) {
        if (++emises > l().NbFormes() || en.numero != attendu++) detail::AutomateCorrompu(en.adresse);
        ChaineN texte(chemin.data(), static_cast<uint64_t>(chemin.size()));
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
        if (chrono && l().TempsEcoulay()) return false;
      }
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        pile.push_back({L::Cible(e, t), en.numero + L::Compte(t), en.profondeur + 1, L::Car(t)});
      }
    }
    return true;
  }

  G g_;
};

}  // namespace sdd
