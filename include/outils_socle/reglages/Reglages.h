#pragma once

// A tree of typed settings addressed by path, "affichage/police/taille": components of ASCII
// letters, digits, '_', '-' and '.', not starting with a digit, '-' or '.', joined by '/'. A
// path holds a value or has settings under it, never both (the files could not say which).
//
// A setting is declared with its default, whose kind becomes the setting's kind. Reading never
// throws: an absent value, or a value of another kind read from a file, gives the declared
// default (or, for a path never declared, the caller's fallback). Writing a value of another
// kind than the declared one is refused with OperationInvalide. Values read from a file for
// paths nobody declared are kept as read and written back on the next save, so that an older
// version of an application does not erase a newer one's settings.
//
// Files: XML, JSON and INI through Boost.PropertyTree. Strings are UTF-8 and round-trip
// exactly, any Unicode character included; blobs are base64; lists are elements named
// "element" in XML and arrays in JSON. INI holds sections of plain values only: a tree that
// does not fit (deeper than section/key, lists, strings with line breaks or with spaces at
// either end) is refused when written. Loading is all or nothing: a damaged file throws
// ErreurDeserialisation with the parser's line and leaves the settings as they were. Saving
// writes a temporary file beside the target, flushes it to disk and renames it over the target,
// so a crash at any moment leaves either the old file or the new one.
//
// Thread safety: every member may be called from any thread. Readers share a reader/writer
// lock (std::shared_mutex, which unlike DMutexLMRU never lets a reader in beside a writer);
// Mets*, Applique and Charge hold it as writers, so a reader on another thread sees a
// whole Applique or none of it. To read several settings as of one moment, copy the Reglages
// (the copy takes the values, not the listeners) and read the copy. Listeners are called on the
// writing thread after the lock is released, with the paths whose value changed.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/reglages/Reglage.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

enum class eFormatReglages : uint8_t { eXML, eJSON, eINI };

class OUTILS_SOCLE_EXPORT Reglages {
 public:
  using Changement = std::pair<UniChaine, Reglage>;  // path, new value
  using Ecouteur = std::function<void(const std::vector<UniChaine>& cheminsChanges)>;

  Reglages();
  Reglages(const Reglages& autre);
  Reglages& operator=(const Reglages& autre);
  ~Reglages();

  // Declares a setting and its default. Declaring again with the same kind replaces the
  // default; another kind, or a path that clashes with the tree, throws OperationInvalide. A
  // value already read from a file is kept if it reads as the declared kind.
  void Declare(const UniChaine& chemin, const Reglage& defaut);
  bool EstDeclare(const UniChaine& chemin) const;
  // True when the path has a value of its own (set or read from a file), default aside.
  bool PossedeValeur(const UniChaine& chemin) const;

  // The value, else the declared default, else `repli`. Never throws, even for a bad path.
  bool DonneBooleen(const UniChaine& chemin, bool repli = false) const;
  int64_t DonneEntier(const UniChaine& chemin, int64_t repli = 0) const;
  UniChaine DonneChaine(const UniChaine& chemin, const UniChaine& repli = UniChaine()) const;
  Reglage::Chaines DonneListeChaines(const UniChaine& chemin, const Reglage::Chaines& repli = {}) const;
  Reglage::Octets DonneBlob(const UniChaine& chemin, const Reglage::Octets& repli = {}) const;

  // The path's own typed value (not a file's value that no declaration could read), or its
  // declared default; false when there is none.
  bool DonneValeur(const UniChaine& chemin, Reglage& valeur) const;
  bool DonneDefaut(const UniChaine& chemin, Reglage& defaut) const;

  // Sets one value; a path never declared takes the value's kind. Throws OperationInvalide for
  // a kind other than the declared one or a bad path.
  void Mets(const UniChaine& chemin, const Reglage& valeur);
  void MetsBooleen(const UniChaine& chemin, bool valeur) { Mets(chemin, Reglage::Booleen(valeur)); }
  void MetsEntier(const UniChaine& chemin, int64_t valeur) { Mets(chemin, Reglage::Entier(valeur)); }
  void MetsChaine(const UniChaine& chemin, const UniChaine& valeur) { Mets(chemin, Reglage::Chaine(valeur)); }
  void MetsListeChaines(const UniChaine& chemin, const Reglage::Chaines& valeur) {
    Mets(chemin, Reglage::ListeChaines(valeur));
  }
  void MetsBlob(const UniChaine& chemin, const Reglage::Octets& valeur) {
    Mets(chemin, Reglage::Blob(valeur));
  }
  // Several values at once, all or nothing: every change is checked first, then all are made
  // under one write lock. Throws OperationInvalide, changing nothing, if any change is refused.
  void Applique(const std::vector<Changement>& changements);
  // Forgets a value, so the default shows again. False if there was none.
  bool Enleve(const UniChaine& chemin);

  // Listeners; the number identifies one for EnleveEcouteur.
  int AjouteEcouteur(Ecouteur ecouteur);
  void EnleveEcouteur(int numero);

  // Text forms. LisTexte replaces every value by the text's (declarations stay). EcrisTexte
  // throws OperationInvalide for a value the format cannot give back exactly (a C0 control in
  // XML, a line break in INI: see docs/reglages.md).
  std::string EcrisTexte(eFormatReglages format) const;
  void LisTexte(const std::string& texte, eFormatReglages format);
  // Files. Charge throws ErreurFichier (an OuvertureEchouee) for a file it cannot read;
  // Enregistre throws what EcrisTexte throws, before touching the file, and ErreurFichier when the
  // temporary file cannot be written or renamed.
  void Enregistre(const UniChemin& chemin, eFormatReglages format) const;
  void Charge(const UniChemin& chemin, eFormatReglages format);

  // Paths with a value or a declaration, in byte order of their UTF-8.
  std::vector<UniChaine> Chemins() const;

 private:
  struct _Rep;
  std::unique_ptr<_Rep> rep_;
};

}  // namespace sdd
