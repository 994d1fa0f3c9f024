#pragma once

#include <cstdint>

#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/ListeC.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/Objet.h>

namespace sdd {

// Lists of objects they may own. The destructor frees only the list's storage: destroying the
// objects is asked for explicitly with VideEtTueObjets(), which calls each object's Libere(),
// deletes it (null entries are skipped) and leaves the list empty.
class OUTILS_SOCLE_EXPORT ListeTDePtr : public Objet, public ListeT<Objet*, 2, 1, uint64_t> {
 public:
  ListeTDePtr() = default;
  explicit ListeTDePtr(uint64_t capacite) : ListeT(capacite) {}
  ~ListeTDePtr() override;

  virtual void VideEtTueObjets();
};

class OUTILS_SOCLE_EXPORT ListeCDePtr : public Objet, public ListeC<Objet*> {
 public:
  ListeCDePtr() = default;
  ~ListeCDePtr() override;

  virtual void VideEtTueObjets();
};

}  // namespace sdd
