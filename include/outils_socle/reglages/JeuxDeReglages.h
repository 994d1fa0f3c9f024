#pragma once

// Named sets of settings applied together: "présentation compacte", "lecture à voix haute"...
// A set is a list of (path, value) changes; Applique hands it to Reglages::Applique, so it is
// applied whole or not at all, and readers on other threads see it wholly before or wholly
// after. Listeners of a jeux_de_reglages hear which set was applied; listeners of the
// Reglages hear which paths changed.
//
// The sets are checked when applied, not when defined: declarations may come later, and a set
// that no longer fits them fails with OperationInvalide, changing nothing. Every member may be
// called from any thread. The Reglages must outlive this object.

#include <functional>
#include <memory>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/reglages/Reglages.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT jeux_de_reglages {
 public:
  using Jeu = std::vector<Reglages::Changement>;
  using Ecouteur = std::function<void(const UniChaine& nomDuJeu)>;

  explicit jeux_de_reglages(Reglages& reglages);
  jeux_de_reglages(const jeux_de_reglages&) = delete;
  jeux_de_reglages& operator=(const jeux_de_reglages&) = delete;
  ~jeux_de_reglages();

  // Defines or replaces a set.
  void Definis(const UniChaine& nom, const Jeu& jeu);
  bool Enleve(const UniChaine& nom);
  bool Possede(const UniChaine& nom) const;
  Jeu Donne(const UniChaine& nom) const;  // OperationInvalide for an unknown name
  std::vector<UniChaine> Noms() const;    // in order of definition

  // Applies the set, all or nothing. Throws OperationInvalide for an unknown name or a change
  // the settings refuse.
  void Applique(const UniChaine& nom);

  int AjouteEcouteur(Ecouteur ecouteur);
  void EnleveEcouteur(int numero);

 private:
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
};

}  // namespace sdd
