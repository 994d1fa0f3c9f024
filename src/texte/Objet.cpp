#include <outils_socle/texte/Objet.h>

namespace sdd {

Objet::~Objet() = default;

void Objet::Libere() {}

}  // namespace sdd
