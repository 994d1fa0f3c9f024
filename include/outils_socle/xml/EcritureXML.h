#pragma once

// Writing a Balise tree as an XML document.
//
// What is written reads back, with ParseurXML, as the same tree (==) for any tree whose names
// are XML names and whose texts are XML characters: '&', '<' and '>' are escaped in text, and
// '&', '<', '"', tab, line feed and carriage return in attribute values (a parser would
// otherwise normalise the last three to spaces); a carriage return in text is written "&#13;"
// for the same reason. In ISO-8859-15, a character the code page lacks is written as a
// character reference ("&#x3A9;"); a name cannot be written that way, so such a name is refused.
//
// Indentation adds line breaks and spaces only inside elements whose content is elements alone
// (no text, no tails), so it never changes a text: reading it back with
// OptionsParseurXML::ignoreEspacesDeMiseEnPage gives the same tree.
//
// A name that is not an XML name (element, attribute or prefix, ill-formed UTF-8 included), an
// attribute given twice, text in ill-formed UTF-8, or a character XML cannot carry at all (C0
// controls other than tab, LF and CR, U+FFFE, U+FFFF) throws OperationInvalide naming the
// element; nothing is written to the file then. UTF-8 is checked by the library's one decoder
// (texte/UTF8.h), the one ChaineN uses.

#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>
#include <outils_socle/xml/Balise.h>

namespace sdd {

enum class eCodageXML : uint8_t {
  eUTF8,        // no byte-order mark
  eUTF16,       // little-endian with its byte-order mark, as XML requires for UTF-16
  eISO8859_15,  // Latin-9
};

struct OptionsEcritureXML {
  eCodageXML codage = eCodageXML::eUTF8;
  bool declaration = true;  // <?xml version="1.0" encoding="..."?>
  int indentation = 0;      // spaces per level; 0 writes no layout at all
};

// The document's bytes, in the chosen encoding.
OUTILS_SOCLE_EXPORT std::string EcrisXML(const Balise& racine, const OptionsEcritureXML& options = {});
// Written to a temporary file beside `chemin`, then renamed over it: a crash leaves the old file
// or the new one. Throws ErreurFichier (an OuvertureEchouee) when the file cannot be written.
OUTILS_SOCLE_EXPORT void EcrisFichierXML(const Balise& racine, const UniChemin& chemin,
                                         const OptionsEcritureXML& options = {});

}  // namespace sdd
