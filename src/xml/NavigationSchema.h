#pragma once

// Answers the navigation questions of SchemaXML from the schema's own tree. Element
// declarations are the schema's xs:element tags (global or local, references followed); every
// walk through references is bounded, so a schema that refers to itself in a circle (which
// libxml2 refuses anyway) throws instead of looping.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/xml/Balise.h>
#include <outils_socle/xml/SchemaXML.h>

namespace sdd::xml {

class NavigationSchema {
 public:
  // Throws OperationInvalide when the root is not a schema or the schema names another file.
  explicit NavigationSchema(Balise racine);
  NavigationSchema(const NavigationSchema&) = delete;
  NavigationSchema& operator=(const NavigationSchema&) = delete;

  std::vector<std::string> ElementsRacines() const;
  // The declaration the path leads to, nullptr when none.
  const Balise* Element(std::string_view chemin) const;
  // The same, throwing OperationInvalide when none.
  const Balise* ElementExistant(std::string_view chemin) const;

  std::vector<DeclarationEnfantXML> Enfants(const Balise* element) const;
  std::vector<DeclarationAttributXML> Attributs(const Balise* element) const;
  std::string TypeTexte(const Balise* element) const;
  std::vector<std::string> ValeursPermises(const Balise* element) const;
  bool EstMixte(const Balise* element) const;

 private:
  struct Particule {
    DeclarationEnfantXML declaration;
    const Balise* element;  // the declaration followed, nullptr for a wildcard
  };

  bool Est(const Balise& b, std::string_view local) const;
  bool EstPredefini(const std::string& qnom) const;
  const Balise* Global(const std::map<std::string, const Balise*, std::less<>>& table,
                       const std::string& qnom) const;
  const Balise* Resous(const Balise* element) const;
  const Balise* TypeComplexe(const Balise* element) const;
  const Balise* TypeSimple(const Balise* element, std::string& nomType) const;
  void Modele(const Balise& groupe, uint64_t min, uint64_t max, std::vector<Particule>& sortie,
              int profondeur) const;
  void ContenuType(const Balise& type, std::vector<Particule>& sortie, int profondeur) const;
  std::vector<Particule> Particules(const Balise* element) const;
  void AttributsType(const Balise& type, std::vector<DeclarationAttributXML>& sortie, int profondeur) const;
  void AttributsListe(const Balise& parent, std::vector<DeclarationAttributXML>& sortie,
                      int profondeur) const;

  Balise racine_;
  std::string prefixe_;  // of the XML Schema namespace in this document, with its ':' ("xs:")
  std::map<std::string, const Balise*, std::less<>> elements_, typesComplexes_, typesSimples_, groupes_,
      groupesAttributs_, attributs_;
};

}  // namespace sdd::xml
