#pragma once

// Builds an ArbreXML from the driver's events. Each element is put together on the side while
// it is open; when it closes, its children (closed already, waiting in document order) are
// copied side by side into the tree's blocks, so every node is written there once and a
// parent's children form one array. A run of text is gathered until the next tag, then placed
// once: as the open element's text before its first child, or as the last child's tail.

#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/xml/ArbreXML.h>

#include "xml/AnalyseXML.h"

namespace sdd::xml {

class ConstructeurArbre final : public Recepteur {
 public:
  explicit ConstructeurArbre(bool ignoreEspaces);
  ~ConstructeurArbre() override;

  void Debut(std::string_view nom, std::vector<Balise::Attribut>& attributs) override;
  void Texte(std::string_view texte) override;
  void Fin(std::string_view nom) override;

  // The tree once the root has closed.
  ArbreXML Arbre();

 private:
  struct Ouvert {
    NoeudXML noeud;
    std::size_t premierEnfant;  // its first child's place in enAttente_
  };
  // The text gathered since the last tag goes where it belongs; `aLaFin`: the tag is an end tag.
  void PlaceTexte(bool aLaFin);
  std::string_view Copie(std::string_view s);

  bool ignoreEspaces_;
  ArbreXML arbre_;
  std::vector<Ouvert> ouverts_;
  std::vector<NoeudXML> enAttente_;  // closed children of the open elements
  std::string texte_;
};

}  // namespace sdd::xml
