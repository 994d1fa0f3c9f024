#include <outils_socle/conteneurs/ListesDePtr.h>

namespace sdd {

namespace {

void Tue(Objet* objet) {
  if (objet == nullptr) return;
  objet->Libere();
  delete objet;
}

}  // namespace

ListeTDePtr::~ListeTDePtr() = default;

void ListeTDePtr::VideEtTueObjets() {
  for (Objet* objet : *this) Tue(objet);
  Vide();
}

ListeCDePtr::~ListeCDePtr() = default;

void ListeCDePtr::VideEtTueObjets() {
  for (Objet* objet : *this) Tue(objet);
  Vide();
}

}  // namespace sdd
