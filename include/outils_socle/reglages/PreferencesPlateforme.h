#pragma once

// The user's preferences where the platform keeps them: on Linux, through QSettings, the INI
// file "<organisation>/<application>.conf" in the user's configuration folder
// ($XDG_CONFIG_HOME, else ~/.config). Keys are settings paths ("affichage/police/taille").
//
// Reading never throws: an absent key, or a value that does not read as the asked kind, gives
// the fallback. Writes are buffered by QSettings and reach the file on Synchronise() or when
// the object dies; Synchronise() throws OuvertureEchouee when the file cannot be written.
// QSettings' own file locking makes concurrent processes safe; one object is for one thread at
// a time, as QSettings is.

#include <memory>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/reglages/Reglages.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT PreferencesPlateforme {
 public:
  PreferencesPlateforme(const UniChaine& organisation, const UniChaine& application);
  PreferencesPlateforme(const PreferencesPlateforme&) = delete;
  PreferencesPlateforme& operator=(const PreferencesPlateforme&) = delete;
  ~PreferencesPlateforme();

  UniChemin Chemin() const;  // the file QSettings uses

  // OperationInvalide for a key that is not a settings path.
  void Mets(const UniChaine& cle, const Reglage& valeur);
  // The value of `cle` read as `type`; false when absent or not of that kind.
  bool Donne(const UniChaine& cle, eTypeReglage type, Reglage& valeur) const;
  bool DonneBooleen(const UniChaine& cle, bool repli = false) const;
  int64_t DonneEntier(const UniChaine& cle, int64_t repli = 0) const;
  UniChaine DonneChaine(const UniChaine& cle, const UniChaine& repli = UniChaine()) const;
  Reglage::Chaines DonneListeChaines(const UniChaine& cle, const Reglage::Chaines& repli = {}) const;
  Reglage::Octets DonneBlob(const UniChaine& cle, const Reglage::Octets& repli = {}) const;
  bool Enleve(const UniChaine& cle);
  std::vector<UniChaine> Cles() const;

  void Synchronise();

  // Bridges with a Reglages: every value it holds (values read from a file and never declared
  // are skipped), and back, every key read as the kind of the Reglages' declaration (keys
  // nobody declared are read as strings). ChargeDans applies all at once.
  void EnregistreDepuis(const Reglages& reglages);
  void ChargeDans(Reglages& reglages) const;

 private:
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
};

}  // namespace sdd
