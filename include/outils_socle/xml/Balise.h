#pragma once

// An XML element: its qualified name as written ("xs:element"), its attributes in document
// order, its text and its child elements. Names and texts are UTF-8 in std::string, as they come
// from the parser, so a large document costs one allocation per name or text and no conversion;
// the *Uni accessors give UniChaine for the application layer.
//
// Mixed content follows the text/tail model: Texte() is the text before the first child, and
// each child's Queue() is the text that follows it inside this element, before the next child.
// "<a>x<b/>y<c/>z</a>" is a with Texte "x", children b (Queue "y") and c (Queue "z"). Comments
// and processing instructions are not part of the tree (the streaming reader sees them).
//
// Namespace declarations are ordinary attributes here ("xmlns", "xmlns:xs"); names keep their
// prefix. They always come first among the attributes, in their own order, then the others in
// theirs: the parser reports them apart, so this is the one order it can give back. Two trees are equal (==)
// when names, attributes (in order), texts, tails and children are equal.
//
// A Balise holds its children by value: a reference or pointer to a child stays valid until a
// child is added to or removed from the same parent.

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

class OUTILS_SOCLE_EXPORT Balise {
 public:
  struct Attribut {
    std::string nom;
    std::string valeur;
    friend bool operator==(const Attribut&, const Attribut&) = default;
  };

  Balise() = default;
  explicit Balise(std::string nom, std::string texte = std::string());
  // With its attributes, whose names must differ (as the parser gives them; the writer refuses
  // a tree where they do not).
  Balise(std::string nom, std::vector<Attribut> attributs);

  const std::string& Nom() const { return nom_; }
  UniChaine NomUni() const { return UniChaine(nom_); }
  void MetsNom(std::string nom) { nom_ = std::move(nom); }

  const std::string& Texte() const { return texte_; }
  UniChaine TexteUni() const { return UniChaine(texte_); }
  void MetsTexte(std::string texte) { texte_ = std::move(texte); }
  void AjouteTexte(std::string_view texte) { texte_.append(texte); }
  const std::string& Queue() const { return queue_; }
  void MetsQueue(std::string queue) { queue_ = std::move(queue); }
  void AjouteQueue(std::string_view queue) { queue_.append(queue); }
  // Texte() and every descendant's text and tail, in document order: what the element says
  // once its markup is taken away (the tail of this element itself is not included).
  std::string TexteComplet() const;

  // Attributes.
  const std::vector<Attribut>& Attributs() const { return attributs_; }
  bool PossedeAttribut(std::string_view nom) const { return TrouveAttribut(nom) != nullptr; }
  // nullptr when absent.
  const std::string* TrouveAttribut(std::string_view nom) const;
  // The value, or `repli` when absent.
  std::string DonneAttribut(std::string_view nom, std::string_view repli = {}) const;
  UniChaine DonneAttributUni(std::string_view nom, const UniChaine& repli = UniChaine()) const;
  // Replaces the value of an attribute that exists (keeping its place), else adds it at the end
  // (a namespace declaration: after the other declarations).
  void MetsAttribut(std::string_view nom, std::string valeur);
  // False when there was none.
  bool EnleveAttribut(std::string_view nom);

  // Children.
  const std::vector<Balise>& Enfants() const { return enfants_; }
  std::vector<Balise>& Enfants() { return enfants_; }
  std::size_t NombreEnfants() const { return enfants_.size(); }
  // The i-th child; throws IndexHorsBorne outside 0..NombreEnfants()-1.
  const Balise& Enfant(std::size_t i) const;
  Balise& Enfant(std::size_t i);
  // The first child with that name, nullptr when none.
  const Balise* Enfant(std::string_view nom) const;
  Balise* Enfant(std::string_view nom);
  // Every child with that name, in order.
  std::vector<const Balise*> EnfantsNommes(std::string_view nom) const;

  // Paths: child names joined by '/', "reglages/affichage/police". A leading '/' makes the
  // first component name this element itself ("/reglages/affichage" from the root element
  // reglages); "*" matches any name. Trouve gives the first match in document order, nullptr
  // when none; TrouveTous gives every match. An empty path, or one with an empty component,
  // matches nothing.
  const Balise* Trouve(std::string_view chemin) const;
  Balise* Trouve(std::string_view chemin);
  std::vector<const Balise*> TrouveTous(std::string_view chemin) const;

  // Editing. AjouteEnfant returns the child in its place (see the class comment on validity).
  Balise& AjouteEnfant(Balise enfant);
  Balise& AjouteEnfant(std::string nom, std::string texte = std::string());
  // Inserts before position i (0..NombreEnfants()); throws IndexHorsBorne beyond.
  Balise& InsereEnfant(std::size_t i, Balise enfant);
  // Removes the i-th child; throws IndexHorsBorne outside the children.
  void EnleveEnfant(std::size_t i);
  // Removes every child with that name; returns how many.
  std::size_t EnleveEnfants(std::string_view nom);
  void VideEnfants() { enfants_.clear(); }

  friend bool operator==(const Balise&, const Balise&) = default;

 private:
  std::string nom_;
  std::string texte_;
  std::string queue_;
  std::vector<Attribut> attributs_;
  std::vector<Balise> enfants_;
};

}  // namespace sdd
