#pragma once

// One setting's value: a boolean, an integer, a string, a list of strings or a blob of bytes.
// A value knows its kind; Reglages uses the kind of a setting's default to refuse writes of
// another kind. Values are plain, copyable and comparable; a default-constructed value is the
// boolean false.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

enum class eTypeReglage : uint8_t {
  eBooleen,
  eEntier,  // signed 64 bits
  eChaine,
  eListeChaines,
  eBlob,  // bytes; base64 in the files
};

// "booléen", "entier", "chaîne", "liste de chaînes", "blob": for messages.
OUTILS_SOCLE_EXPORT const char* NomTypeReglage(eTypeReglage type);

class OUTILS_SOCLE_EXPORT Reglage {
 public:
  using Octets = std::vector<uint8_t>;
  using Chaines = std::vector<UniChaine>;

  Reglage() = default;
  static Reglage Booleen(bool valeur);
  static Reglage Entier(int64_t valeur);
  // A string is text: one holding a lone surrogate (half of a pair, which no file can carry as
  // UTF-8) throws OperationInvalide, rather than become "?" on the way to the file.
  static Reglage Chaine(const UniChaine& valeur);
  static Reglage ListeChaines(const Chaines& valeur);
  static Reglage Blob(const Octets& valeur);

  eTypeReglage Type() const { return static_cast<eTypeReglage>(valeur_.index()); }

  // Each throws OperationInvalide when the value is of another kind.
  bool DonneBooleen() const;
  int64_t DonneEntier() const;
  const UniChaine& DonneChaine() const;
  const Chaines& DonneListeChaines() const;
  const Octets& DonneBlob() const;

  // The text a file stores for a value that is not a list: "true"/"false", the decimal
  // integer, the string's UTF-8, the blob's base64.
  std::string EcrisTexte() const;
  // Reads that text as a value of `type` (not a list); false, with `valeur` untouched, when the
  // text is not a well-formed value of that kind. "1"/"0" and "vrai"/"faux" are read as
  // booleans too; integers allow a sign and no other character; base64 must be canonical.
  static bool LisTexte(eTypeReglage type, const std::string& texte, Reglage& valeur);

  friend bool operator==(const Reglage& a, const Reglage& b) { return a.valeur_ == b.valeur_; }

 private:
  template <class T>
  explicit Reglage(T valeur) : valeur_(std::move(valeur)) {}

  // The alternatives are in eTypeReglage's order, so index() is the kind.
  std::variant<bool, int64_t, UniChaine, Chaines, Octets> valeur_;
};

}  // namespace sdd
