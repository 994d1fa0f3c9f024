#pragma once

#include <outils_socle/Export.h>

namespace sdd {

// The polymorphic base of the objects that the owning lists (ListeTDePtr, ListeCDePtr) can
// destroy. Libere() runs just before the object is deleted by such a list: a subclass that holds
// resources needing an orderly release (a thread to stop, a file to flush) does it there, while the
// object is still whole. By default it does nothing.
class OUTILS_SOCLE_EXPORT Objet {
 public:
  Objet() = default;
  Objet(const Objet&) = default;
  Objet& operator=(const Objet&) = default;
  virtual ~Objet();

  virtual void Libere();
};

}  // namespace sdd
