// Boost.PropertyTree pulls in boost/bind.hpp, which asks for this to keep quiet.
#define BOOST_BIND_GLOBAL_PLACEHOLDERS
#include "reglages/FormatsReglages.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>

#include <outils_socle/texte/Exception.h>

#include "reglages/CheminsReglages.h"

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
  throw exceptions::ErreurDeserialisation(std::string("Réglages ") + NomFormat(format) +
                                          " endommagés : " + pourquoi);
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
  if (!EstCheminValide(chemin)) LanceEndommage(format, "chemin non valide « " + chemin + " »");
  if (!contenu.emplace(chemin, std::move(valeur)).second)
    LanceEndommage(format, "chemin en double « " + chemin + " »");
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
          LanceEndommage(eFormatReglages::eXML, "liste « " + chemin + " » : <" + nom + "> inattendu");
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
                     "tableau à la place d’un objet " +
                         (prefixe.empty() ? std::string("à la racine") : "sous « " + prefixe + " »"));
    const std::string chemin = Joins(prefixe, clef);
    if (fils.empty()) {
      Ajoute(contenu, chemin, ValeurFichier{false, fils.data(), {}}, eFormatReglages::eJSON);
    } else if (fils.front().first.empty()) {
      ValeurFichier valeur;
      valeur.liste = true;
      for (const auto& [nom, element] : fils) {
        if (!element.empty())
          LanceEndommage(eFormatReglages::eJSON, "liste « " + chemin + " » : élément composé");
        valeur.elements.push_back(element.data());
      }
      Ajoute(contenu, chemin, std::move(valeur), eFormatReglages::eJSON);
    } else {
      LisJson(fils, chemin, contenu);
    }
  }
}

void VerifieIni(const std::string& chemin, const ValeurFichier& valeur) {
  const auto refuse = [&](const std::string& pourquoi) {
    throw exceptions::OperationInvalide("Réglages INI : « " + chemin + " » " + pourquoi);
  };
  if (std::count(chemin.begin(), chemin.end(), '/') > 1)
    refuse("est trop profond pour une section et une clé");
  if (valeur.liste) refuse("est une liste");
  const std::string& t = valeur.texte;
  if (t.find_first_of("\r\n") != std::string::npos) refuse("contient un saut de ligne");
  if (!t.empty() && (std::isspace(static_cast<unsigned char>(t.front())) ||
                     std::isspace(static_cast<unsigned char>(t.back()))))
    refuse("commence ou finit par une espace");
}

}  // namespace

std::string EcrisContenu(const ContenuFichier& contenu, eFormatReglages format) {
  pt::ptree racine;
  pt::ptree& base = format == eFormatReglages::eXML ? racine.put_child(kRacineXml, pt::ptree()) : racine;
  for (const auto& [chemin, valeur] : contenu) {
    if (format == eFormatReglages::eINI) VerifieIni(chemin, valeur);
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
      break;
    case eFormatReglages::eJSON: pt::write_json(sortie, racine, true); break;
    case eFormatReglages::eINI: pt::write_ini(sortie, racine); break;
  }
  return sortie.str();
}

ContenuFichier LisContenu(const std::string& texte, eFormatReglages format) {
  // XML has the <reglages> element above the settings' own levels.
  if ((format == eFormatReglages::eXML && ProfondeurXml(texte) > kProfondeurMaxReglages + 1) ||
      (format == eFormatReglages::eJSON && ProfondeurJson(texte) > kProfondeurMaxReglages))
    LanceEndommage(format, "plus de " + std::to_string(kProfondeurMaxReglages) + " niveaux");
  std::istringstream entree(texte);
  pt::ptree racine;
  ContenuFichier contenu;
  try {
    switch (format) {
      case eFormatReglages::eXML: {
        pt::read_xml(entree, racine, pt::xml_parser::no_comments);
        if (racine.size() != 1 || racine.front().first != kRacineXml)
          LanceEndommage(format, std::string("l’élément racine doit être <") + kRacineXml + ">");
        LisXml(racine.front().second, "", contenu);
        break;
      }
      case eFormatReglages::eJSON:
        pt::read_json(entree, racine);
        if (racine.empty() && !racine.data().empty()) LanceEndommage(format, "la racine doit être un objet");
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
    LanceEndommage(format, "ligne " + std::to_string(e.line()) + " : " + e.message());
  } catch (const pt::ptree_error& e) {
    LanceEndommage(format, e.what());
  }
  return contenu;
}

}  // namespace sdd::detail
