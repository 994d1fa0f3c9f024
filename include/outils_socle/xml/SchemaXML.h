#pragma once

// An XML Schema (XSD 1.0): validation of documents, and the questions a schema-driven editor
// asks — which child elements and attributes an element may have, of which types, how often.
//
// Validation is libxml2's. Navigation reads the schema's own tree: elements are addressed by a
// path of element names from a global element, "reglages/affichage/police", following local
// declarations, element references, named and anonymous types, model groups (sequence, choice,
// all, group references) and complex-content extensions and restrictions. Occurrence bounds are
// effective ones: a child inside a choice of several branches may be absent (minimum 0), a
// child inside a repeated group repeats with it, a name met twice adds up its bounds.
//
// The schema is one document: xs:include, xs:import and xs:redefine with a schemaLocation are
// refused, so loading never reads another file or the network. The schema text goes through
// ParseurXML first and so gets the same limits as any document.
//
// A SchemaXML may be shared by threads once loaded: its members are const and libxml2's
// validation contexts are made per call. A moved-from SchemaXML may only be assigned to or
// destroyed.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>
#include <outils_socle/xml/Balise.h>

namespace sdd {

struct DeclarationEnfantXML {
  static constexpr uint64_t kIllimite = std::numeric_limits<uint64_t>::max();
  std::string nom;
  std::string type;  // "xs:integer", a type's name, or "" for an anonymous complex type
  uint64_t occurrencesMin = 1;
  uint64_t occurrencesMax = 1;  // kIllimite for "unbounded"
  friend bool operator==(const DeclarationEnfantXML&, const DeclarationEnfantXML&) = default;
};

struct DeclarationAttributXML {
  std::string nom;
  // "xs:integer", a type's name, or, when the declaration names no type, "xs:anySimpleType"
  // (with the schema's own prefix for its namespace): any simple value, as XML Schema reads it
  std::string type;
  bool requis = false;
  std::string defaut;  // the default or fixed value, "" when none
  bool fixe = false;
  friend bool operator==(const DeclarationAttributXML&, const DeclarationAttributXML&) = default;
};

struct ErreurValidationXML {
  int ligne = 0;       // in the validated text, from 1; 0 when libxml2 cannot say
  std::string chemin;  // the element, as an XPath from the root: "/reglages/affichage/theme"
  std::string message;
  friend bool operator==(const ErreurValidationXML&, const ErreurValidationXML&) = default;
};

class OUTILS_SOCLE_EXPORT SchemaXML {
 public:
  // Throws ErreurXML for a malformed schema document and OperationInvalide for a document that
  // is not a valid schema (with libxml2's first complaint) or that names another file.
  static SchemaXML LisTexte(std::string_view texte);
  static SchemaXML LisFichier(const UniChemin& chemin);

  SchemaXML(SchemaXML&&) noexcept;
  SchemaXML& operator=(SchemaXML&&) noexcept;
  ~SchemaXML();

  // The global elements, which may be a document's root.
  std::vector<std::string> ElementsRacines() const;
  // False when the path leads nowhere in the schema.
  bool PossedeElement(std::string_view chemin) const;
  // The child elements the element may hold, in the order the schema declares them. Throws
  // OperationInvalide for a path that leads nowhere.
  std::vector<DeclarationEnfantXML> EnfantsPermis(std::string_view chemin) const;
  std::vector<DeclarationAttributXML> AttributsPermis(std::string_view chemin) const;
  // The type of the element's text: a built-in type ("xs:integer"), the base of a restriction
  // for an anonymous simple type, "" when the element holds only elements.
  std::string TypeTexte(std::string_view chemin) const;
  // The enumerated values the element's text may take, empty when not an enumeration.
  std::vector<std::string> ValeursPermises(std::string_view chemin) const;
  // Whether the element may hold text between its children.
  bool EstMixte(std::string_view chemin) const;

  // Every error of the document against the schema; empty when it is valid. A document that is
  // not well-formed throws ErreurXML instead.
  std::vector<ErreurValidationXML> Valide(std::string_view document) const;
  // A tree is validated as EcrisXML writes it: lines are those of that text, the paths locate.
  std::vector<ErreurValidationXML> Valide(const Balise& racine) const;
  std::vector<ErreurValidationXML> ValideFichier(const UniChemin& chemin) const;

 private:
  struct _Rep;
  explicit SchemaXML(std::unique_ptr<_Rep> rep);
  std::unique_ptr<_Rep> rep_;
};

}  // namespace sdd
