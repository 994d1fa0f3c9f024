// Boost.PropertyTree pulls in boost/bind.hpp, which asks for this to keep quiet.
#define BOOST_BIND_GLOBAL_PLACEHOLDERS
#include "reglages/FormatsReglages.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>

#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UTF8.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "reglages/CheminsReglages.h"
#include "xml/CaracteresXML.h"

namespace sdd::detail {

namespace pt = boost::property_tree;

namespace {

constexpr const char* kRacineXml = "reglages";
constexpr const char* kElementXml = "element";
constexpr const char* kAttributsXml = "<xmlattr>";

const char* NomFormat(eFormatReglages format) {
  switch (format) {
    case eFormatReglages::eXML: return "XML";
    case eFormatReglages::eJSON: return "JSON";
    case eFormatReglages::eINI: return "INI";
  }
  return "?";
}

[[noreturn]] void LanceEndommage(eFormatReglages format, const std::string& pourquoi) {
  throw exceptions::ErreurDeserialisation(detail::Formate(N_("Réglages %s endommagés"), {NomFormat(format)}) +
                                          " : " + pourquoi);
}

// The deepest nesting of a JSON text, strings skipped; stops counting past the limit.
int ProfondeurJson(const std::string& texte) {
  int profondeur = 0, maximum = 0;
  bool dansChaine = false;
  for (size_t i = 0; i < texte.size() && maximum <= kProfondeurMaxReglages; ++i) {
    const char c = texte[i];
    if (dansChaine) {
      if (c == '\\')
        ++i;
      else if (c == '"')
        dansChaine = false;
    } else if (c == '"') {
      dansChaine = true;
    } else if (c == '[' || c == '{') {
      maximum = std::max(maximum, ++profondeur);
    } else if (c == ']' || c == '}') {
      --profondeur;
    }
  }
  return maximum;
}

// The deepest nesting of elements in an XML text: comments, CDATA, declarations and quoted
// attribute values skipped, so that no '>' or "/>" inside them can hide a level.
int ProfondeurXml(const std::string& texte) {
  int profondeur = 0, maximum = 0;
  size_t i = 0;
  const auto saute = [&](const char* fin) {
    const size_t ou = texte.find(fin, i);
    i = ou == std::string::npos ? texte.size() : ou + std::strlen(fin);
  };
  while (i < texte.size() && maximum <= kProfondeurMaxReglages + 1) {
    if (texte[i] != '<') {
      ++i;
    } else if (texte.compare(i, 4, "<!--") == 0) {
      saute("-->");
    } else if (texte.compare(i, 9, "<![CDATA[") == 0) {
      saute("]]>");
    } else if (texte.compare(i, 2, "<?") == 0) {
      saute("?>");
    } else if (texte.compare(i, 2, "<!") == 0 || texte.compare(i, 2, "</") == 0) {
      if (texte[i + 1] == '/') --profondeur;
      saute(">");
    } else {
      char guillemet = 0;
      char precedent = 0;
      for (++i; i < texte.size(); ++i) {
        const char c = texte[i];
        if (guillemet != 0) {
          if (c == guillemet) guillemet = 0;
        } else if (c == '"' || c == '\'') {
          guillemet = c;
        } else if (c == '>') {
          break;
        }
        precedent = c;
      }
      ++i;
      if (precedent != '/') maximum = std::max(maximum, ++profondeur);
    }
  }
  return maximum;
}

void Ajoute(ContenuFichier& contenu, const std::string& chemin, ValeurFichier valeur,
            eFormatReglages format) {
  if (!EstCheminValide(chemin))
    LanceEndommage(format, detail::Formate(N_("chemin non valide « %s »"), {chemin}));
  if (!contenu.emplace(chemin, std::move(valeur)).second)
    LanceEndommage(format, detail::Formate(N_("chemin en double « %s »"), {chemin}));
}

std::string Joins(const std::string& prefixe, const std::string& clef) {
  return prefixe.empty() ? clef : prefixe + "/" + clef;
}

void LisXml(const pt::ptree& noeud, const std::string& prefixe, ContenuFichier& contenu) {
  for (const auto& [clef, fils] : noeud) {
    if (clef == kAttributsXml) continue;
    const std::string chemin = Joins(prefixe, clef);
    const auto attributs = fils.get_child_optional(kAttributsXml);
    if (attributs && attributs->get<std::string>("type", "") == "liste") {
      ValeurFichier valeur;
      valeur.liste = true;
      for (const auto& [nom, element] : fils) {
        if (nom == kAttributsXml) continue;
        if (nom != kElementXml || !element.empty())
          LanceEndommage(eFormatReglages::eXML, detail::Formate(N_("liste « %s »"), {chemin}) + " : " +
                                                    detail::Formate(N_("<%s> inattendu"), {nom}));
        valeur.elements.push_back(element.data());
      }
      Ajoute(contenu, chemin, std::move(valeur), eFormatReglages::eXML);
    } else if (fils.size() > (attributs ? 1u : 0u)) {
      LisXml(fils, chemin, contenu);
    } else {
      Ajoute(contenu, chemin, ValeurFichier{false, fils.data(), {}}, eFormatReglages::eXML);
    }
  }
}

void LisJson(const pt::ptree& noeud, const std::string& prefixe, ContenuFichier& contenu) {
  for (const auto& [clef, fils] : noeud) {
    if (clef.empty())
      LanceEndommage(eFormatReglages::eJSON,
                     prefixe.empty()
                         ? std::string(N_("tableau à la place d’un objet à la racine"))
                         : detail::Formate(N_("tableau à la place d’un objet sous « %s »"), {prefixe}));
    const std::string chemin = Joins(prefixe, clef);
    if (fils.empty()) {
      Ajoute(contenu, chemin, ValeurFichier{false, fils.data(), {}}, eFormatReglages::eJSON);
    } else if (fils.front().first.empty()) {
      ValeurFichier valeur;
      valeur.liste = true;
      for (const auto& [nom, element] : fils) {
        if (!element.empty())
          LanceEndommage(eFormatReglages::eJSON,
                         detail::Formate(N_("liste « %s »"), {chemin}) + " : " + N_("élément composé"));
        valeur.elements.push_back(element.data());
      }
      Ajoute(contenu, chemin, std::move(valeur), eFormatReglages::eJSON);
    } else {
      LisJson(fils, chemin, contenu);
    }
  }
}

[[noreturn]] void RefuseTexte(eFormatReglages format, const std::string& chemin,
                              const std::string& pourquoi) {
  throw exceptions::OperationInvalide(
      detail::Formate(N_("Réglages %s : « %s » %s"), {NomFormat(format), chemin, pourquoi}));
}

std::string PointDeCode(int32_t cp) {
  char texte[16];
  std::snprintf(texte, sizeof texte, "U+%04X", static_cast<unsigned>(cp));
  return texte;
}

// What readers of INI files trim around a value: Python's configparser strips every character
// str.isspace() accepts, Boost's reader the ASCII ones; both are refused at either end.
bool EstEspaceRogne(int32_t cp) {
  return (cp >= 0x09 && cp <= 0x0D) || (cp >= 0x1C && cp <= 0x20) || cp == 0x85 || cp == 0xA0 ||
         cp == 0x1680 || (cp >= 0x2000 && cp <= 0x200A) || cp == 0x2028 || cp == 0x2029 || cp == 0x202F ||
         cp == 0x205F || cp == 0x3000;
}

// A text goes into a file only if every reader gives it back as it is: well-formed UTF-8 in
// every format; in XML, only characters XML 1.0 can carry (no C0 control other than tab, LF
// and CR, no U+FFFE or U+FFFF: not even a character reference can write those); in INI, no line
// break and nothing a reader trims at either end. Anything else is refused before a byte is
// written.
void VerifieTexte(eFormatReglages format, const std::string& chemin, const std::string& t) {
  int32_t premier = -1, dernier = -1;
  for (std::size_t i = 0; i < t.size();) {
    const std::size_t debut = i;
    const int32_t cp = DecodeCaractereUTF8(t, i);
    if (cp < 0)
      RefuseTexte(format, chemin,
                  detail::Formate(N_("n’est pas de l’UTF-8 valide (octet %s)"), {std::to_string(debut)}));
    if (format == eFormatReglages::eXML && !detail::EstCaractereXML(cp))
      RefuseTexte(format, chemin,
                  detail::Formate(N_("contient %s, qu’XML 1.0 ne sait pas écrire"), {PointDeCode(cp)}));
    if (format == eFormatReglages::eINI && (cp == '\r' || cp == '\n'))
      RefuseTexte(format, chemin, N_("contient un saut de ligne"));
    if (debut == 0) premier = cp;
    dernier = cp;
  }
  if (format == eFormatReglages::eINI && (EstEspaceRogne(premier) || EstEspaceRogne(dernier)))
    RefuseTexte(format, chemin, N_("commence ou finit par une espace"));
}

void Verifie(eFormatReglages format, const std::string& chemin, const ValeurFichier& valeur) {
  if (format == eFormatReglages::eINI) {
    if (std::count(chemin.begin(), chemin.end(), '/') > 1)
      RefuseTexte(format, chemin, N_("est trop profond pour une section et une clé"));
    if (valeur.liste) RefuseTexte(format, chemin, N_("est une liste"));
  }
  if (!valeur.liste) VerifieTexte(format, chemin, valeur.texte);
  for (const std::string& element : valeur.elements) VerifieTexte(format, chemin, element);
}

// XML readers turn every CR, and every CR LF, into LF before they parse (XML 1.0, 2.11): a CR
// that must stay one is written as a character reference. Boost writes no CR of its own, so
// every CR byte of its output comes from a value.
std::string ProtegeRetoursChariot(std::string xml) {
  if (xml.find('\r') == std::string::npos) return xml;
  std::string sortie;
  sortie.reserve(xml.size());
  for (const char c : xml) {
    if (c == '\r')
      sortie += "&#13;";
    else
      sortie += c;
  }
  return sortie;
}

// The same normalisation on reading, which Boost's XML reader leaves out: a file with CR LF
// line ends (written on Windows, or by hand) reads as any other XML reader reads it.
std::string NormaliseFinsDeLigne(const std::string& xml) {
  if (xml.find('\r') == std::string::npos) return xml;
  std::string sortie;
  sortie.reserve(xml.size());
  for (std::size_t i = 0; i < xml.size(); ++i) {
    if (xml[i] != '\r') {
      sortie += xml[i];
    } else {
      sortie += '\n';
      if (i + 1 < xml.size() && xml[i + 1] == '\n') ++i;
    }
  }
  return sortie;
}

}  // namespace

std::string EcrisContenu(const ContenuFichier& contenu, eFormatReglages format) {
  pt::ptree racine;
  pt::ptree& base = format == eFormatReglages::eXML ? racine.put_child(kRacineXml, pt::ptree()) : racine;
  for (const auto& [chemin, valeur] : contenu) {
    Verifie(format, chemin, valeur);
    pt::ptree& noeud = base.put_child(pt::ptree::path_type(chemin, '/'), pt::ptree());
    if (!valeur.liste) {
      noeud.put_value(valeur.texte);
      continue;
    }
    if (format == eFormatReglages::eXML) noeud.put(pt::ptree::path_type("<xmlattr>/type", '/'), "liste");
    for (const std::string& element : valeur.elements)
      noeud.push_back({format == eFormatReglages::eXML ? kElementXml : "", pt::ptree(element)});
  }
  std::ostringstream sortie;
  switch (format) {
    case eFormatReglages::eXML:
      pt::write_xml(sortie, racine, pt::xml_writer_make_settings<std::string>(' ', 2));
      return ProtegeRetoursChariot(sortie.str());
    case eFormatReglages::eJSON: pt::write_json(sortie, racine, true); break;
    case eFormatReglages::eINI: pt::write_ini(sortie, racine); break;
  }
  return sortie.str();
}

ContenuFichier LisContenu(const std::string& texte, eFormatReglages format) {
  // XML has the <reglages> element above the settings' own levels.
  if ((format == eFormatReglages::eXML && ProfondeurXml(texte) > kProfondeurMaxReglages + 1) ||
      (format == eFormatReglages::eJSON && ProfondeurJson(texte) > kProfondeurMaxReglages))
    LanceEndommage(format,
                   detail::Formate(N_("plus de %s niveaux"), {std::to_string(kProfondeurMaxReglages)}));
  std::istringstream entree(format == eFormatReglages::eXML ? NormaliseFinsDeLigne(texte) : texte);
  pt::ptree racine;
  ContenuFichier contenu;
  try {
    switch (format) {
      case eFormatReglages::eXML: {
        pt::read_xml(entree, racine, pt::xml_parser::no_comments);
        if (racine.size() != 1 || racine.front().first != kRacineXml)
          LanceEndommage(format, detail::Formate(N_("l’élément racine doit être <%s>"), {kRacineXml}));
        LisXml(racine.front().second, "", contenu);
        break;
      }
      case eFormatReglages::eJSON:
        pt::read_json(entree, racine);
        if (racine.empty() && !racine.data().empty())
          LanceEndommage(format, N_("la racine doit être un objet"));
        LisJson(racine, "", contenu);
        break;
      case eFormatReglages::eINI:
        pt::read_ini(entree, racine);
        for (const auto& [clef, fils] : racine) {
          if (fils.empty()) {
            Ajoute(contenu, clef, ValeurFichier{false, fils.data(), {}}, format);
            continue;
          }
          for (const auto& [nom, valeur] : fils)
            Ajoute(contenu, clef + "/" + nom, ValeurFichier{false, valeur.data(), {}}, format);
        }
        break;
    }
  } catch (const pt::file_parser_error& e) {
    LanceEndommage(format, detail::Formate(N_("ligne %s"), {std::to_string(e.line())}) + " : " + e.message());
  } catch (const pt::ptree_error& e) {
    LanceEndommage(format, e.what());
  }
  return contenu;
}

}  // namespace sdd::detail
