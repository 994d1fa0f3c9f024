#include "xml/MarqueOrdreOctets.h"

#include <cctype>
#include <string>

#include <outils_socle/xml/ParseurXML.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace sdd::xml {

namespace {

// The encoding the XML declaration names, read from the first bytes in the byte-order mark's
// encoding (the declaration itself is ASCII); empty without a declaration or a name.
std::string CodageDeclare(std::string_view debut, int octetsParUnite, bool grandBoutiste) {
  std::string ascii;
  for (std::size_t i = 0; i + octetsParUnite <= debut.size() && ascii.size() < 512; i += octetsParUnite) {
    unsigned c = static_cast<unsigned char>(debut[i]);
    if (octetsParUnite == 2) {
      const auto a = static_cast<unsigned char>(debut[i]), b = static_cast<unsigned char>(debut[i + 1]);
      c = grandBoutiste ? (a << 8 | b) : (b << 8 | a);
    }
    if (c >= 0x80) break;
    ascii += static_cast<char>(c);
    if (ascii.size() >= 2 && ascii.compare(ascii.size() - 2, 2, "?>") == 0) break;
  }
  if (ascii.rfind("<?xml", 0) != 0) return {};
  const std::size_t fin = ascii.find("?>");
  const std::size_t cle = ascii.find("encoding", 0);
  if (cle == std::string::npos || (fin != std::string::npos && cle > fin)) return {};
  std::size_t i = ascii.find_first_of("'\"", cle);
  if (i == std::string::npos) return {};
  const std::size_t j = ascii.find(ascii[i], i + 1);
  if (j == std::string::npos) return {};
  std::string nom = ascii.substr(i + 1, j - i - 1);
  for (char& c : nom) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return nom;
}

}  // namespace

void VerifieMarqueEtDeclaration(std::string_view debut) {
  std::string declare;
  const char* marque = nullptr;
  bool accorde = true;
  if (debut.substr(0, 3) == "\xEF\xBB\xBF") {
    marque = "UTF-8";
    declare = CodageDeclare(debut.substr(3), 1, false);
    accorde = declare.empty() || declare == "utf-8";
  } else if (debut.substr(0, 2) == "\xFE\xFF" || debut.substr(0, 2) == "\xFF\xFE") {
    marque = "UTF-16";
    declare = CodageDeclare(debut.substr(2), 2, debut[0] == '\xFE');
    accorde = declare.empty() || declare.rfind("utf-16", 0) == 0 || declare == "iso-10646-ucs-2";
  }
  if (!accorde) {
    throw ErreurXML(1, 1,
                    detail::Formate(N_("la marque d’ordre des octets dit %s, la déclaration dit « %s »"),
                                    {marque, declare}));
  }
}

}  // namespace sdd::xml
