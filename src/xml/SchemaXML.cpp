#include <outils_socle/texte/Exception.h>
#include <outils_socle/xml/EcritureXML.h>
#include <outils_socle/xml/ParseurXML.h>
#include <outils_socle/xml/SchemaXML.h>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemas.h>

#include <cerrno>

#include <limits>
#include <map>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"
#include "xml/AnalyseXML.h"
#include "xml/NavigationSchema.h"

namespace sdd {

struct SchemaXML::_Rep {
  xml::NavigationSchema navigation;
  xmlSchemaPtr schema = nullptr;
  explicit _Rep(Balise racine) : navigation(std::move(racine)) {}
  ~_Rep() { xmlSchemaFree(schema); }
  _Rep(const _Rep&) = delete;
  _Rep& operator=(const _Rep&) = delete;
};

namespace {

std::string SansFinDeLigne(const char* message) {
  std::string m = message != nullptr ? message : "";
  while (!m.empty() && (m.back() == '\n' || m.back() == ' ')) m.pop_back();
  return m;
}

void PremiereErreur(void* donnees, xmlErrorPtr erreur) {
  auto* premiere = static_cast<std::string*>(donnees);
  if (erreur == nullptr || erreur->level < XML_ERR_ERROR || !premiere->empty()) return;
  *premiere = "ligne " + std::to_string(erreur->line) + " : " + SansFinDeLigne(erreur->message);
}

void CollecteErreur(void* donnees, xmlErrorPtr erreur) {
  if (erreur == nullptr || erreur->level < XML_ERR_ERROR) return;
  auto* erreurs = static_cast<std::vector<ErreurValidationXML>*>(donnees);
  ErreurValidationXML e;
  e.ligne = erreur->line;
  e.message = SansFinDeLigne(erreur->message);
  if (erreur->node != nullptr) {
    xmlChar* chemin = xmlGetNodePath(static_cast<xmlNodePtr>(erreur->node));
    if (chemin != nullptr) {
      e.chemin = reinterpret_cast<const char*>(chemin);
      xmlFree(chemin);
    }
  }
  erreurs->push_back(std::move(e));
}

void Silence(void*, xmlErrorPtr) {}

std::string LisToutLeFichier(const UniChemin& chemin) {
  const std::string nom = chemin.DonneStdString();
  const int fd = plateforme::OuvreFichier(nom, plateforme::eAcces::eLecture);
  if (fd < 0) LanceErreurFichier(nom, eOperationFichier::eOuverture);  // a folder included
  std::string octets;
  char tampon[1 << 16];
  int64_t n;
  while ((n = plateforme::LisFichier(fd, tampon, sizeof tampon)) > 0)
    octets.append(tampon, static_cast<std::size_t>(n));
  const int erreur = errno;
  plateforme::FermeFichier(fd);
  if (n < 0) throw exceptions::ErreurFichier(nom, eOperationFichier::eLecture, erreur);
  return octets;
}

}  // namespace

SchemaXML::SchemaXML(std::unique_ptr<_Rep> rep) : rep_(std::move(rep)) {}
SchemaXML::SchemaXML(SchemaXML&&) noexcept = default;
SchemaXML& SchemaXML::operator=(SchemaXML&&) noexcept = default;
SchemaXML::~SchemaXML() = default;

namespace {

// libxml2's whole-document entry points count bytes in an int.
void VerifieTaille(std::string_view texte) {
  if (texte.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw exceptions::OperationInvalide(
        UniChaine(N_("document XML de plus de 2 Gio : trop grand pour être validé")));
  }
}

}  // namespace

SchemaXML SchemaXML::LisTexte(std::string_view texte) {
  VerifieTaille(texte);
  // Our parser first: its limits hold for the schema too, and it refuses external entities,
  // so libxml2's schema reader below never meets one.
  auto rep = std::make_unique<_Rep>(ParseurXML().LisTexte(texte));
  xml::InitialiseLibxml();
  xml::CaptureMessagesLibxml messages;
  std::string premiere;
  xmlSchemaParserCtxtPtr ctxt = xmlSchemaNewMemParserCtxt(texte.data(), static_cast<int>(texte.size()));
  if (ctxt == nullptr) throw exceptions::MemoireInsuffisante(N_("contexte de lecture de schéma"));
  xmlSchemaSetParserStructuredErrors(ctxt, PremiereErreur, &premiere);
  rep->schema = xmlSchemaParse(ctxt);
  xmlSchemaFreeParserCtxt(ctxt);
  if (rep->schema == nullptr) {
    throw exceptions::OperationInvalide(
        UniChaine(N_("schéma XML non valide") " : " + (premiere.empty() ? std::string("?") : premiere)));
  }
  return SchemaXML(std::move(rep));
}

SchemaXML SchemaXML::LisFichier(const UniChemin& chemin) { return LisTexte(LisToutLeFichier(chemin)); }

std::vector<std::string> SchemaXML::ElementsRacines() const { return rep_->navigation.ElementsRacines(); }

bool SchemaXML::PossedeElement(std::string_view chemin) const {
  return rep_->navigation.Element(chemin) != nullptr;
}

std::vector<DeclarationEnfantXML> SchemaXML::EnfantsPermis(std::string_view chemin) const {
  return rep_->navigation.Enfants(rep_->navigation.ElementExistant(chemin));
}

std::vector<DeclarationAttributXML> SchemaXML::AttributsPermis(std::string_view chemin) const {
  return rep_->navigation.Attributs(rep_->navigation.ElementExistant(chemin));
}

std::string SchemaXML::TypeTexte(std::string_view chemin) const {
  return rep_->navigation.TypeTexte(rep_->navigation.ElementExistant(chemin));
}

std::vector<std::string> SchemaXML::ValeursPermises(std::string_view chemin) const {
  return rep_->navigation.ValeursPermises(rep_->navigation.ElementExistant(chemin));
}

bool SchemaXML::EstMixte(std::string_view chemin) const {
  return rep_->navigation.EstMixte(rep_->navigation.ElementExistant(chemin));
}

std::vector<ErreurValidationXML> SchemaXML::Valide(std::string_view document) const {
  // Checked by our parser first (limits, no external entity), so that libxml2's tree reader
  // below only ever sees a document it may read in full.
  VerifieTaille(document);
  ParseurXML().LisTexte(document);
  xml::InitialiseLibxml();
  xml::CaptureMessagesLibxml messages;
  xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
  if (ctxt == nullptr) throw exceptions::MemoireInsuffisante(N_("contexte d’analyse XML"));
  ctxt->sax->serror = Silence;
  xmlDocPtr doc =
      xmlCtxtReadMemory(ctxt, document.data(), static_cast<int>(document.size()), nullptr, nullptr,
                        XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_BIG_LINES | XML_PARSE_HUGE);
  xmlFreeParserCtxt(ctxt);
  if (doc == nullptr) throw ErreurXML(0, 0, "document illisible pour la validation");
  std::vector<ErreurValidationXML> erreurs;
  xmlSchemaValidCtxtPtr validation = xmlSchemaNewValidCtxt(rep_->schema);
  if (validation == nullptr) {
    xmlFreeDoc(doc);
    throw exceptions::MemoireInsuffisante(N_("contexte de validation XML"));
  }
  xmlSchemaSetValidStructuredErrors(validation, CollecteErreur, &erreurs);
  const int resultat = xmlSchemaValidateDoc(validation, doc);
  xmlSchemaFreeValidCtxt(validation);
  xmlFreeDoc(doc);
  if (resultat != 0 && erreurs.empty()) erreurs.push_back(ErreurValidationXML{0, "/", "document non valide"});
  return erreurs;
}

std::vector<ErreurValidationXML> SchemaXML::Valide(const Balise& racine) const {
  return Valide(EcrisXML(racine));
}

std::vector<ErreurValidationXML> SchemaXML::ValideFichier(const UniChemin& chemin) const {
  return Valide(LisToutLeFichier(chemin));
}

}  // namespace sdd
