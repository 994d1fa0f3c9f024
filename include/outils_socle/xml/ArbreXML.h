#pragma once

// A document read whole into a tree that is only read afterwards: the fast way to load a large
// file when nothing in it is edited. Every node, attribute and text lives in blocks owned by the
// ArbreXML (one allocation per block, texts in place), so reading costs no allocation per name
// or text, and freeing the tree costs one release per block.
//
// The nodes follow Balise's model exactly (names as written, attributes in document order with
// the namespace declarations first, the text/tail model of mixed content, no comments or
// processing instructions), and the paths of Trouve read the same way. VersBalise() gives an
// editable copy; ParseurXML::LisArbre* gives the same tree as ParseurXML::Lis* would.
//
// The names, texts and nodes are views into the tree's blocks: they stay valid while the
// ArbreXML lives, moved or not, and no longer.

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/xml/Balise.h>

namespace sdd {

namespace xml {
class ConstructeurArbre;
}

class OUTILS_SOCLE_EXPORT NoeudXML {
 public:
  struct Attribut {
    std::string_view nom;
    std::string_view valeur;
  };

  std::string_view Nom() const { return nom_; }
  std::string_view Texte() const { return texte_; }
  std::string_view Queue() const { return queue_; }
  // Texte() and every descendant's text and tail, in document order (see Balise::TexteComplet).
  std::string TexteComplet() const;

  std::span<const Attribut> Attributs() const { return {attributs_, nbAttributs_}; }
  bool PossedeAttribut(std::string_view nom) const { return TrouveAttribut(nom) != nullptr; }
  // nullptr when absent.
  const std::string_view* TrouveAttribut(std::string_view nom) const;
  // The value, or `repli` when absent.
  std::string_view DonneAttribut(std::string_view nom, std::string_view repli = {}) const;

  std::span<const NoeudXML> Enfants() const { return {enfants_, nbEnfants_}; }
  std::size_t NombreEnfants() const { return nbEnfants_; }
  // The i-th child; throws IndexHorsBorne outside 0..NombreEnfants()-1.
  const NoeudXML& Enfant(std::size_t i) const;
  // The first child with that name, nullptr when none.
  const NoeudXML* Enfant(std::string_view nom) const;
  std::vector<const NoeudXML*> EnfantsNommes(std::string_view nom) const;

  // Paths as Balise::Trouve reads them: "a/b", "/racine/a", "*" for any name.
  const NoeudXML* Trouve(std::string_view chemin) const;
  std::vector<const NoeudXML*> TrouveTous(std::string_view chemin) const;

  // An editable copy of this element and everything below it.
  Balise VersBalise() const;

 private:
  friend class xml::ConstructeurArbre;
  friend class ArbreXML;
  NoeudXML() = default;

  std::string_view nom_;
  std::string_view texte_;
  std::string_view queue_;
  const Attribut* attributs_ = nullptr;
  const NoeudXML* enfants_ = nullptr;
  std::size_t nbAttributs_ = 0;
  std::size_t nbEnfants_ = 0;
};

class OUTILS_SOCLE_EXPORT ArbreXML {
 public:
  // An empty tree, whose root has no name.
  ArbreXML();
  ArbreXML(ArbreXML&&) noexcept;
  ArbreXML& operator=(ArbreXML&&) noexcept;
  ArbreXML(const ArbreXML&) = delete;
  ArbreXML& operator=(const ArbreXML&) = delete;
  ~ArbreXML();

  const NoeudXML& Racine() const { return *racine_; }
  // The bytes of the blocks the tree holds.
  std::size_t Octets() const;

 private:
  friend class xml::ConstructeurArbre;
  static const NoeudXML* Vide();
  struct Blocs;
  std::unique_ptr<Blocs> blocs_;
  const NoeudXML* racine_;
};

}  // namespace sdd
