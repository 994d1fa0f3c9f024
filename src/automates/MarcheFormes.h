#pragma once

// The lexicon's word-to-forms and prefix-to-forms searches: the shared insensitive walk over the
// stored automaton, then, for prefixes, every form below each place reached.

#include <algorithm>
#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>

#include "automates/EnsemblePositions.h"
#include "automates/GrapheAutomate.h"
#include "automates/MarcheInsensible.h"
#include "automates/PileLocale.h"

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
    detail::EnsemblePositions positions;
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
    if (positions.Taille() == 0) return;
    if (positions.Taille() == 1) {
      ajoute(&positions[0]);  // the usual answer: one form, nothing to rank
      return;
    }
    for (const _Position* p : MarcheInsensible<G>::Classe(positions)) ajoute(p);
  }

  bool FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes, _OptionRecherche options,
                        uint32_t limite, RecuperationForme recuperation) {
    uint64_t total = 0;
    return Visite(prefixes, options,
                  [&](const _Position& p, const char16_t* unites, uint32_t n, uint32_t numero) {
                    ChaineN texte(unites, static_cast<uint64_t>(n));
                    if (recuperation != RecuperationFormeTelQuelAccepte) {
                      RecuperationFormeParams params{nullptr, &texte, numero, p.rang1, p.rang2, p.detail};
                      if (!recuperation(params)) return true;
                    }
                    _Forme& f = formes.Ajoute(_Forme{});
                    f.forme = std::move(texte);
                    f.numero = numero;
                    f.rang1 = p.rang1;
                    f.rang2 = p.rang2;
                    f.detail = p.detail;
                    f.valeur = p.valeur;
                    ++total;
                    return limite == 0 || total <= limite;
                  });
  }

  // Every form below every place the prefixes reach, handed to `recoit(position, units,
  // length, number)`, which returns false to stop; false when it or the clock stopped the walk.
  template <typename Recepteur>
  bool Visite(const ListeT<ChaineN>& prefixes, _OptionRecherche options, Recepteur&& recoit) {
    detail::EnsemblePositions positions;
    for (const ChaineN& prefixe : prefixes) {
      ChaineN copie;
      if (!detail::PrepareMot(prefixe, options.drapeaux, copie)) continue;
      MarcheInsensible<G>(g_).Cherche(copie, prefixe, options, true, nullptr, positions);
    }
    uint64_t emises = 0;  // forms met below every position: at most N
    for (const _Position* p : MarcheInsensible<G>::Classe(positions)) {
      if (!Complete(*p, emises, options, recoit)) return false;
    }
    return true;
  }

 private:
  const L& l() const { return g_.Lecteur(); }

  // Every form below a prefix position, in number order (end of form first, then the
  // transitions from the smallest count up). In a correct lexicon these are the numbers
  // p.numero, p.numero + 1, … without a gap, every path ends in a form (so a form comes within
  // a path's length of walking) and all the positions together hold at most N forms: any
  // other number, or more forms, is damage. The path is kept in one buffer and each form is
  // handed over as units in it: nothing is allocated per form.
  template <typename Recepteur>
  bool Complete(const _Position& p, uint64_t& emises, _OptionRecherche options, Recepteur& recoit) const {
    struct Entree {
      uint64_t adresse;
      uint32_t numero;
      uint32_t profondeur;
      char16_t car;
    };
    // The path and the stack of pending transitions live on the stack while they fit, which
    // they do for any real lexicon: a heap block of a kilobyte or more makes the allocator
    // merge its small free blocks first, which would cost more than this whole walk.
    PileLocale<char16_t, 512> chemin;
    for (uint64_t i = 0; i < p.texte.Longueur(); ++i) chemin.Empile(p.texte.DonneUnites()[i]);
    const uint32_t base = static_cast<uint32_t>(chemin.Taille());
    PileLocale<Entree, 256> pile;
    pile.Empile({p.etat, p.numero, base, 0});
    const bool chrono = options.drapeaux & _OptionRecherche::kTempsLimite;
    uint64_t attendu = p.numero;
    while (!pile.EstVide()) {
      const Entree en = pile.Depile();
      chemin.Tronque(en.profondeur);
      if (en.car != 0) chemin.Dernier() = en.car;
      const Etat e = l().LisEtat(en.adresse);
      if (e.final) {
        if (++emises > l().NbFormes() || en.numero != attendu++) detail::AutomateCorrompu(en.adresse);
        if (!recoit(p, chemin.Donnees(), static_cast<uint32_t>(chemin.Taille()), en.numero)) return false;
        if (chrono && l().TempsEcoulay()) return false;
      }
      const uint8_t* t = e.transitions;
      for (uint32_t k = 0; k < e.nb; ++k, t += kT) {
        pile.Empile({L::Cible(e, t), en.numero + L::Compte(t), en.profondeur + 1, L::Car(t)});
      }
    }
    return true;
  }

  G g_;
};

}  // namespace sdd
