#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UTF8.h>
#include <outils_socle/xml/EcritureXML.h>

#include <libxml/tree.h>

#include <QString>

#include <cstdio>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"
#include "xml/CaracteresXML.h"

namespace sdd {

namespace {

[[noreturn]] void Refuse(const Balise& b, const std::string& quoi) {
  throw exceptions::OperationInvalide(
      UniChaine(detail::Formate(N_("écriture XML, élément « %s »"), {b.Nom()}) + " : " + quoi));
}

// ISO-8859-15 is Latin-1 with eight places given to €, Š, š, Ž, ž, Œ, œ and Ÿ.
bool EstLatin9(int32_t cp) {
  switch (cp) {
    case 0xA4:
    case 0xA6:
    case 0xA8:
    case 0xB4:
    case 0xB8:
    case 0xBC:
    case 0xBD:
    case 0xBE: return false;
    case 0x20AC:
    case 0x160:
    case 0x161:
    case 0x17D:
    case 0x17E:
    case 0x152:
    case 0x153:
    case 0x178: return true;
    default: return cp <= 0xFF;
  }
}

// Bytes that pass through as they are: printable ASCII other than the markup characters of
// text or of attribute values.
struct TableSimples {
  bool texte[256] = {};
  bool attribut[256] = {};
  constexpr TableSimples() {
    for (int c = 0x20; c < 0x80; ++c) {
      texte[c] = c != '&' && c != '<' && c != '>';
      attribut[c] = c != '&' && c != '<' && c != '"';
    }
  }
};
constexpr TableSimples kSimples{};

class Ecrivain {
 public:
  explicit Ecrivain(const OptionsEcritureXML& options) : options_(options) {}

  std::string Ecris(const Balise& racine) {
    if (options_.declaration || options_.codage == eCodageXML::eISO8859_15) {
      sortie_ += "<?xml version=\"1.0\" encoding=\"";
      sortie_ += options_.codage == eCodageXML::eUTF8    ? "UTF-8"
                 : options_.codage == eCodageXML::eUTF16 ? "UTF-16"
                                                         : "ISO-8859-15";
      sortie_ += "\"?>\n";
    }
    EcrisElement(racine, 0);
    sortie_ += '\n';
    return Encode();
  }

 private:
  void EcrisElement(const Balise& b, int niveau) {
    const std::size_t portees = prefixes_.size();
    for (const Balise::Attribut& a : b.Attributs()) {
      if (a.nom == "xmlns" || a.nom.starts_with("xmlns:")) {
        if (a.nom.size() > 6 && a.valeur.empty())
          Refuse(b, detail::Formate(N_("le préfixe %s reçoit un espace de noms vide"), {a.nom.substr(6)}));
        prefixes_.push_back(a.nom.size() > 6 ? a.nom.substr(6) : std::string());
      }
    }
    VerifieNom(b, b.Nom(), false);
    sortie_ += '<';
    sortie_ += b.Nom();
    const auto& attributs = b.Attributs();
    for (std::size_t i = 0; i < attributs.size(); ++i) {
      const Balise::Attribut& a = attributs[i];
      VerifieNom(b, a.nom, true);
      for (std::size_t j = 0; j < i; ++j) {
        if (attributs[j].nom == a.nom)
          Refuse(b, detail::Formate(N_("attribut « %s » donné deux fois"), {a.nom}));
      }
      sortie_ += ' ';
      sortie_ += a.nom;
      sortie_ += "=\"";
      Echappe(b, a.valeur, true);
      sortie_ += '"';
    }
    if (b.Texte().empty() && b.NombreEnfants() == 0) {
      sortie_ += "/>";
    } else {
      sortie_ += '>';
      Echappe(b, b.Texte(), false);
      const bool miseEnPage = options_.indentation > 0 && b.Texte().empty() && SansQueues(b);
      for (const Balise& enfant : b.Enfants()) {
        if (miseEnPage) Aligne(niveau + 1);
        EcrisElement(enfant, niveau + 1);
        Echappe(b, enfant.Queue(), false);
      }
      if (miseEnPage) Aligne(niveau);
      sortie_ += "</";
      sortie_ += b.Nom();
      sortie_ += '>';
    }
    prefixes_.resize(portees);
  }

  static bool SansQueues(const Balise& b) {
    for (const Balise& enfant : b.Enfants()) {
      if (!enfant.Queue().empty()) return false;
    }
    return true;
  }

  void Aligne(int niveau) {
    sortie_ += '\n';
    sortie_.append(static_cast<std::size_t>(niveau) * static_cast<std::size_t>(options_.indentation), ' ');
  }

  // A name must be a qualified name whose prefix is declared in scope (or is xml / xmlns), and
  // representable in the target encoding, since names cannot use character references.
  // Names repeat throughout a document: each distinct one is checked once (the tree outlives the
  // writer, so the views stay valid), the prefix's scope every time.
  void VerifieNom(const Balise& b, const std::string& nom, bool attribut) {
    if (!nomsVerifies_.contains(nom)) {
      // libxml2's name check reads bytes leniently: the bytes must first be UTF-8 at all.
      if (PremiereErreurUTF8(nom) != std::string_view::npos)
        Refuse(b, N_("un nom n’est pas en UTF-8 valide"));
      if (nom.empty() || nom.find('\0') != std::string::npos ||
          xmlValidateQName(reinterpret_cast<const xmlChar*>(nom.c_str()), 0) != 0) {
        Refuse(b, detail::Formate(N_("« %s » n’est pas un nom XML"), {nom}));
      }
      if (options_.codage == eCodageXML::eISO8859_15) {
        for (std::size_t i = 0; i < nom.size();) {
          if (!EstLatin9(DecodeCaractereUTF8(nom, i)))
            Refuse(b, detail::Formate(N_("le nom « %s » ne s’écrit pas en ISO-8859-15"), {nom}));
        }
      }
      nomsVerifies_.insert(nom);
    }
    const std::size_t deuxPoints = nom.find(':');
    if (deuxPoints == std::string::npos) return;
    const std::string prefixe = nom.substr(0, deuxPoints);
    if (prefixe == "xml" || (attribut && prefixe == "xmlns")) return;
    for (const std::string& p : prefixes_) {
      if (p == prefixe) return;
    }
    Refuse(b, detail::Formate(N_("le préfixe « %s » n’est pas déclaré"), {prefixe}));
  }

  // Runs of simple bytes are copied at once; everything else goes one character at a time.

  void Echappe(const Balise& b, std::string_view texte, bool attribut) {
    std::size_t i = 0;
    while (i < texte.size()) {
      const std::size_t debut = i;
      const bool* simple = attribut ? kSimples.attribut : kSimples.texte;
      while (i < texte.size() && simple[static_cast<unsigned char>(texte[i])]) ++i;
      if (i > debut) {
        sortie_.append(texte.data() + debut, i - debut);
        continue;
      }
      const auto c = static_cast<unsigned char>(texte[i]);
      if (c < 0x80) {
        ++i;
        sortie_ += Reference(b, c, attribut);
        continue;
      }
      const int32_t cp = DecodeCaractereUTF8(texte, i);
      if (cp < 0) Refuse(b, N_("texte en UTF-8 invalide"));
      if (!detail::EstCaractereXML(cp))
        Refuse(b, detail::Formate(N_("U+%s n’est pas un caractère XML"), {Hexa(cp)}));
      if (options_.codage == eCodageXML::eISO8859_15 && !EstLatin9(cp)) {
        char reference[16];
        std::snprintf(reference, sizeof reference, "&#x%X;", static_cast<unsigned>(cp));
        sortie_ += reference;
      } else {
        sortie_.append(texte.substr(debut, i - debut));
      }
    }
  }

  // What an ASCII character that is not Simple becomes.
  static std::string_view Reference(const Balise& b, unsigned char c, bool attribut) {
    switch (c) {
      case '&': return "&amp;";
      case '<': return "&lt;";
      case '>': return "&gt;";  // reaches here in text only, where "]]>" must not appear
      case '"': return attribut ? "&quot;" : "\"";
      case '\r': return "&#13;";
      case '\t': return attribut ? "&#9;" : "\t";
      case '\n': return attribut ? "&#10;" : "\n";
      default: break;
    }
    Refuse(b, detail::Formate(N_("caractère de contrôle %s dans un texte"), {std::to_string(c)}));
  }

  static std::string Hexa(int32_t cp) {
    char tampon[16];
    std::snprintf(tampon, sizeof tampon, "%04X", static_cast<unsigned>(cp));
    return tampon;
  }

  std::string Encode() {
    switch (options_.codage) {
      case eCodageXML::eUTF8: return std::move(sortie_);
      case eCodageXML::eUTF16: {
        const QString texte = QString::fromUtf8(sortie_.data(), static_cast<int>(sortie_.size()));
        std::string octets("\xFF\xFE", 2);
        octets.reserve(2 + 2 * static_cast<std::size_t>(texte.size()));
        for (const QChar c : texte) {
          const char16_t u = c.unicode();
          octets += static_cast<char>(u & 0xFF);
          octets += static_cast<char>(u >> 8);
        }
        return octets;
      }
      case eCodageXML::eISO8859_15:
        // Every character left is one the code page has (the others became references).
        return UniChaine(sortie_).Encode(UniChaine::kCodageISO8859_15);
    }
    return std::move(sortie_);
  }

  const OptionsEcritureXML& options_;
  std::string sortie_;
  std::vector<std::string> prefixes_;  // declared in the open elements, innermost last
  std::unordered_set<std::string_view> nomsVerifies_;
};

}  // namespace

std::string EcrisXML(const Balise& racine, const OptionsEcritureXML& options) {
  return Ecrivain(options).Ecris(racine);
}

void EcrisFichierXML(const Balise& racine, const UniChemin& chemin, const OptionsEcritureXML& options) {
  const std::string octets = EcrisXML(racine, options);
  const std::string nom = chemin.DonneStdString();
  eOperationFichier echec;
  if (!plateforme::RemplaceFichier(nom, octets.data(), octets.size(), &echec)) LanceErreurFichier(nom, echec);
}

}  // namespace sdd
