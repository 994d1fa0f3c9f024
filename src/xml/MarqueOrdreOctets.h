#pragma once

// The byte-order mark against the XML declaration. A mark says the encoding; a declaration that
// names another one is an error (XML 1.0, 4.3.3), which libxml2 lets pass, the mark winning
// silently. Checked on the document's first bytes, before the parser sees them.

#include <string_view>

namespace sdd::xml {

// Throws ErreurXML (line 1, column 1) when `debut` opens with a byte-order mark and a
// declaration naming an encoding of another family.
void VerifieMarqueEtDeclaration(std::string_view debut);

}  // namespace sdd::xml
