#pragma once

// The one refusal of the UniChaine writers of UTF-8 (serialiser, compressed record, settings):
// Qt writes a lone surrogate as "?", so a string holding one has no UTF-8 form to store.

#include <outils_socle/texte/UniChaine.h>

namespace sdd::detail {

// Throws OperationInvalide naming the position of the first lone surrogate, if there is one.
void RefuseSansFormeUTF8(const UniChaine& texte);

}  // namespace sdd::detail
