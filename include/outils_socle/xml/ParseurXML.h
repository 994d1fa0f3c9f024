#pragma once

// Reading XML documents, as a tree of Balise or as a stream of events.
//
// The parser is libxml2's, driven through its event interface with our own limits, so a
// document from outside cannot make the reader do more than a bounded amount of work:
//   - no file or network resource is ever read because a document names it: external entities
//     (SYSTEM or PUBLIC, parsed or NDATA) may be declared, but a reference that would need one
//     is refused where it stands; an external DTD is not loaded, and an entity the document
//     uses without declaring it is an error, never a silent gap;
//   - internal entities, general and parameter, are expanded, but the expanded text (with 8
//     bytes counted per entity reference) may not exceed `facteurExpansionMax` times the bytes read so far,
//     plus 1 MiB: "billion laughs" stops early, and the rule holds for pipes of unknown length too;
//   - nesting deeper than `profondeurMax`, a name (of an element, an attribute or a namespace
//     prefix) or a value (of an attribute or a namespace declaration) longer than
//     `tailleMaxAttribut`, or more than `attributsMax` attributes on one tag is refused.
// Every refusal and every well-formedness error throws ErreurXML with the line and column where
// the parser stood; a fault in an entity's replacement text is placed, as expat places it, at
// the document's outermost reference to it, and the message names the entity ("dans le texte de
// remplacement de l’entité « f », appelée par « e » : …"). Input is read in chunks (files are never loaded
// whole), so streaming a document takes memory bounded by its largest text, not by its size.
//
// Encodings: the declaration (or byte-order mark) decides, as XML says: UTF-8, UTF-16 either
// endian, ISO-8859-15 (Latin-9), ISO-8859-1 and the others libxml2 knows. A ChaineN or UniChaine
// holds characters already decoded: its declaration's encoding is then ignored.
//
// One ParseurXML may be used by one thread at a time; separate parsers run in parallel.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniChaine.h>
#include <outils_socle/xml/ArbreXML.h>
#include <outils_socle/xml/Balise.h>

namespace sdd {

class ChaineN;

// A malformed or refused document. Ligne() and Colonne() count from 1; 0 when unknown (a file
// that cannot be read). The detail reads "ligne 3, colonne 7 : <what>".
class OUTILS_SOCLE_EXPORT ErreurXML : public exceptions::ErreurDeserialisation {
 public:
  ErreurXML(int ligne, int colonne, const std::string& quoi);
  ErreurXML(const ErreurXML&) = default;
  ErreurXML& operator=(const ErreurXML&) = default;
  ~ErreurXML() override;

  int Ligne() const { return ligne_; }
  int Colonne() const { return colonne_; }
  // What went wrong, without the position.
  const std::string& Quoi() const { return quoi_; }
  // The same in the interface language chosen with Langues::ChoisisLangue.
  std::string QuoiTraduit() const;

 private:
  int ligne_;
  int colonne_;
  std::string quoi_;
};

struct OptionsParseurXML {
  int profondeurMax = 256;
  std::size_t tailleMaxAttribut = std::size_t{1} << 20;  // bytes of UTF-8, names and values alike
  std::size_t attributsMax = 1024;
  std::size_t facteurExpansionMax = 10;
  // Drops text made only of spaces, tabs and line breaks where it separates tags inside an
  // element that has child elements: the layout that indentation adds. Text of an element
  // without children is always kept as it is.
  bool ignoreEspacesDeMiseEnPage = false;
};

// The streaming interface: override what you need. Texts may come in several pieces for one
// run of text (entity boundaries, CDATA sections, chunk ends); join them if you need it whole.
// An exception thrown by a member stops the parse and leaves Analyse* unchanged.
class OUTILS_SOCLE_EXPORT EcouteurXML {
 public:
  virtual ~EcouteurXML();
  // `attributs` are in document order, namespace declarations included.
  virtual void Debut(std::string_view nom, const std::vector<Balise::Attribut>& attributs);
  virtual void Texte(std::string_view texte);
  virtual void Fin(std::string_view nom);
  virtual void Commentaire(std::string_view texte);
  virtual void Instruction(std::string_view cible, std::string_view donnees);
  // Declarations of the internal DTD subset that name outside data: a notation, and an unparsed
  // entity (NDATA) with its notation. Identifiers absent from the declaration are empty. The
  // parser never reads what they name; the application may.
  virtual void Notation(std::string_view nom, std::string_view public_, std::string_view systeme);
  virtual void EntiteNonAnalysee(std::string_view nom, std::string_view public_, std::string_view systeme,
                                 std::string_view notation);
};

class OUTILS_SOCLE_EXPORT ParseurXML {
 public:
  ParseurXML() = default;
  explicit ParseurXML(const OptionsParseurXML& options) : options_(options) {}

  const OptionsParseurXML& Options() const { return options_; }
  OptionsParseurXML& Options() { return options_; }

  // The root element of a document. A file that cannot be opened throws OuvertureEchouee.
  Balise LisFichier(const UniChemin& chemin) const;
  Balise LisMemoire(const void* octets, std::size_t taille) const;
  Balise LisTexte(std::string_view octets) const { return LisMemoire(octets.data(), octets.size()); }
  Balise LisChaine(const ChaineN& texte) const;
  Balise LisChaine(const UniChaine& texte) const;

  // The same trees, read-only and built in blocks (see ArbreXML): for large documents read
  // and not edited.
  ArbreXML LisArbreFichier(const UniChemin& chemin) const;
  ArbreXML LisArbreMemoire(const void* octets, std::size_t taille) const;
  ArbreXML LisArbreTexte(std::string_view octets) const {
    return LisArbreMemoire(octets.data(), octets.size());
  }
  ArbreXML LisArbreChaine(const ChaineN& texte) const;
  ArbreXML LisArbreChaine(const UniChaine& texte) const;

  // The same documents as events.
  void AnalyseFichier(const UniChemin& chemin, EcouteurXML& ecouteur) const;
  void AnalyseMemoire(const void* octets, std::size_t taille, EcouteurXML& ecouteur) const;
  void AnalyseChaine(const UniChaine& texte, EcouteurXML& ecouteur) const;

 private:
  OptionsParseurXML options_;
};

}  // namespace sdd
