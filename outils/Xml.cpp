// outils-socle xml: checks XML documents (well-formed, valid against a schema), rewrites them
// indented in a chosen encoding, and shows what a schema allows where.
#include <cstdio>
#include <string>

#include <outils_socle/texte/Exception.h>
#include <outils_socle/xml/EcritureXML.h>
#include <outils_socle/xml/ParseurXML.h>
#include <outils_socle/xml/SchemaXML.h>

#include "Commandes.h"

namespace outils {

namespace {

const char* const kAideXml =
    N_("Usage : outils-socle xml <action> ...\n"
       "\n"
       "  verifie FICHIER... [--schema XSD]\n"
       "        dit si chaque document est bien formé (ligne et colonne de la première erreur) et,\n"
       "        avec un schéma, s'il est valide (ligne et chemin de chaque erreur) ; code de\n"
       "        retour 1 si l'un ne l'est pas. Les entités externes, les bombes d'entités, les\n"
       "        imbrications de plus de 256 niveaux sont refusées\n"
       "  formate FICHIER [--indentation N] [--codage C] [--sortie F]\n"
       "        réécrit le document indenté de N espaces (2 par défaut ; 0 : sans mise en page)\n"
       "        dans le codage C (utf8 par défaut, utf16, latin9), sur la sortie standard ou dans F\n"
       "  schema XSD [CHEMIN]\n"
       "        les éléments racines du schéma ; avec un chemin (reglages/affichage), les\n"
       "        enfants permis avec leur type et leurs bornes, les attributs et le type du texte\n");

// Counts what a stream of events holds, without keeping the document.
class Compte final : public sdd::EcouteurXML {
 public:
  void Debut(std::string_view, const std::vector<sdd::Balise::Attribut>& attributs) override {
    ++elements;
    this->attributs += attributs.size();
  }
  uint64_t elements = 0;
  uint64_t attributs = 0;
};

int Verifie(const Arguments& a) {
  if (a.positions.empty()) {
    Erreur(Tr("xml verifie : au moins un FICHIER attendu"));
    return 2;
  }
  const std::string cheminSchema = a.Texte("schema", "");
  std::unique_ptr<sdd::SchemaXML> schema;
  if (!cheminSchema.empty())
    schema = std::make_unique<sdd::SchemaXML>(sdd::SchemaXML::LisFichier(cheminSchema));
  int code = 0;
  for (const std::string& fichier : a.positions) {
    Compte compte;
    try {
      sdd::ParseurXML().AnalyseFichier(fichier, compte);
    } catch (const sdd::ErreurXML& e) {
      std::printf(Tr("%s:%d:%d: mal formé : %s\n"), fichier.c_str(), e.Ligne(), e.Colonne(),
                  e.QuoiTraduit().c_str());
      code = 1;
      continue;
    }
    if (!schema) {
      std::printf(Tr("%s : bien formé, %llu éléments, %llu attributs\n"), fichier.c_str(),
                  static_cast<unsigned long long>(compte.elements),
                  static_cast<unsigned long long>(compte.attributs));
      continue;
    }
    const std::vector<sdd::ErreurValidationXML> erreurs = schema->ValideFichier(fichier);
    if (erreurs.empty()) {
      std::printf(Tr("%s : valide\n"), fichier.c_str());
      continue;
    }
    for (const sdd::ErreurValidationXML& e : erreurs) {
      std::printf("%s:%d: %s : %s\n", fichier.c_str(), e.ligne, e.chemin.c_str(), e.message.c_str());
    }
    code = 1;
  }
  return code;
}

int Formate(const Arguments& a) {
  if (a.positions.size() != 1) {
    Erreur(Tr("xml formate : un FICHIER attendu"));
    return 2;
  }
  sdd::OptionsEcritureXML options;
  options.indentation = static_cast<int>(a.Nombre("indentation", 2));
  const std::string codage = a.Texte("codage", "utf8");
  if (codage == "utf8" || codage == "utf-8") {
    options.codage = sdd::eCodageXML::eUTF8;
  } else if (codage == "utf16" || codage == "utf-16") {
    options.codage = sdd::eCodageXML::eUTF16;
  } else if (codage == "latin9" || codage == "iso-8859-15") {
    options.codage = sdd::eCodageXML::eISO8859_15;
  } else {
    Erreur(Texte(N_("xml formate : codage inconnu « %s » (utf8, utf16, latin9)"), {codage}));
    return 2;
  }
  sdd::OptionsParseurXML lecture;
  lecture.ignoreEspacesDeMiseEnPage = options.indentation > 0;
  try {
    const sdd::Balise racine = sdd::ParseurXML(lecture).LisFichier(a.positions[0]);
    const std::string sortie = a.Texte("sortie", "");
    if (sortie.empty()) {
      const std::string octets = sdd::EcrisXML(racine, options);
      std::fwrite(octets.data(), 1, octets.size(), stdout);
    } else {
      sdd::EcrisFichierXML(racine, sortie, options);
    }
  } catch (const sdd::ErreurXML& e) {
    std::fprintf(stderr, Tr("%s:%d:%d: mal formé : %s\n"), a.positions[0].c_str(), e.Ligne(), e.Colonne(),
                 e.QuoiTraduit().c_str());
    return 1;
  }
  return 0;
}

std::string Bornes(const sdd::DeclarationEnfantXML& d) {
  const std::string max =
      d.occurrencesMax == sdd::DeclarationEnfantXML::kIllimite ? "∞" : std::to_string(d.occurrencesMax);
  return std::to_string(d.occurrencesMin) + ".." + max;
}

int Schema(const Arguments& a) {
  if (a.positions.empty() || a.positions.size() > 2) {
    Erreur(Tr("xml schema : XSD et au plus un CHEMIN attendus"));
    return 2;
  }
  const sdd::SchemaXML schema = sdd::SchemaXML::LisFichier(a.positions[0]);
  if (a.positions.size() == 1) {
    for (const std::string& racine : schema.ElementsRacines()) std::printf("%s\n", racine.c_str());
    return 0;
  }
  const std::string& chemin = a.positions[1];
  if (!schema.PossedeElement(chemin)) {
    Erreur(Texte(N_("xml schema : aucun élément « %s » dans le schéma"), {chemin}));
    return 1;
  }
  const std::string texte = schema.TypeTexte(chemin);
  std::printf("%s%s%s\n", chemin.c_str(), texte.empty() ? "" : " : ", texte.c_str());
  for (const std::string& valeur : schema.ValeursPermises(chemin))
    std::printf(Tr("  valeur « %s »\n"), valeur.c_str());
  if (schema.EstMixte(chemin)) std::fputs(Tr("  contenu mixte (texte entre les enfants)\n"), stdout);
  for (const sdd::DeclarationEnfantXML& d : schema.EnfantsPermis(chemin)) {
    std::printf(Tr("  enfant    %s %s %s\n"), Aligne(d.nom, 20).c_str(),
                Aligne(d.type.empty() ? "-" : d.type, 24).c_str(), Bornes(d).c_str());
  }
  for (const sdd::DeclarationAttributXML& d : schema.AttributsPermis(chemin)) {
    std::string defaut;
    if (!d.defaut.empty())
      defaut = Texte(d.fixe ? N_(" fixé à « %s »") : N_(" par défaut « %s »"), {d.defaut});
    std::printf(Tr("  attribut  %s %s %s%s\n"), Aligne(d.nom, 20).c_str(), Aligne(d.type, 24).c_str(),
                d.requis ? Tr("requis") : Tr("facultatif"), defaut.c_str());
  }
  return 0;
}

}  // namespace

int Xml(const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
    return AfficheAide(kAideXml, !arguments.empty());
  }
  const std::string action = arguments[0];
  const Arguments a = Analyse(std::vector<std::string>(arguments.begin() + 1, arguments.end()),
                              {"schema", "indentation", "codage", "sortie"});
  try {
    if (action == "verifie") return Verifie(a);
    if (action == "formate") return Formate(a);
    if (action == "schema") return Schema(a);
  } catch (const sdd::exceptions::Exception& e) {
    Erreur(e.MessageCompletTraduit().DonneStdString());
    return 1;
  }
  return ActionInconnue("xml", action);
}

}  // namespace outils
