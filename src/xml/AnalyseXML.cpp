#include "xml/AnalyseXML.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "xml/MarqueOrdreOctets.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <mutex>
#include <optional>
#include <string>

namespace sdd::xml {

namespace {

// Everything the callbacks share, reached through the parser context's _private (libxml2 hands
// it on to the contexts it makes for entity contents).
struct Etat {
  Etat(const OptionsParseurXML& o, Recepteur& r) : options(o), recepteur(r) {}
  const OptionsParseurXML& options;
  Recepteur& recepteur;
  uint64_t fourni = 0;  // bytes of the document handed to libxml2 so far (see Fournis)
  uint64_t budget = 0;  // what may be delivered for them (see Budget)
  uint64_t livre = 0;   // delivered so far
  int profondeur = 0;
  std::optional<ErreurXML> erreur;        // the first error, ours or libxml2's
  std::exception_ptr exceptionRecepteur;  // what a receiver threw
  std::vector<Balise::Attribut> attributs;
  std::string nom;
  bool retourEnAttente = false;  // the last piece of an unfinished CDATA section ended with a CR
  // Whether "xmlns:xml" appears in the bytes fed so far or in an entity's text (see
  // DeclareEspaceXml), and the last bytes fed, for a name split between two pieces.
  bool espaceXmlPossible = false;
  std::string finPrecedente;
  // Entity contents are parsed by contexts of their own, whose positions count from the start
  // of the replacement text. Errors found there are placed at the outermost reference in the
  // document, as expat places them, and name the entities involved.
  int ligneReference = 0;  // where the last reference of the document began
  int colonneReference = 0;
  // The contexts open one inside the other, the document's first, and the entity each one last
  // looked up: the content of that entity is what the next context parses.
  std::vector<const xmlParserCtxt*> contextes;
  std::vector<std::string> entites;
};

Etat& EtatDe(void* ctx) { return *static_cast<Etat*>(static_cast<xmlParserCtxtPtr>(ctx)->_private); }

bool Arrete(const Etat& e) { return e.erreur.has_value() || e.exceptionRecepteur != nullptr; }

// Halts one context. Marking it malformed matters: libxml2 looks an entity up again by itself
// in a context it still believes well-formed, whatever our lookup answered.
void Halte(void* ctx) {
  auto* ctxt = static_cast<xmlParserCtxtPtr>(ctx);
  ctxt->wellFormed = 0;
  xmlStopParser(ctxt);
}

// The nesting level of a context: 0 for the document, n inside n entities. libxml2 says nothing
// when an entity's context ends, but the context around it only acts again once it has: a
// context met again closes the ones opened inside it, and a new one opens inside the last.
std::size_t Niveau(Etat& e, const xmlParserCtxt* ctxt) {
  for (std::size_t i = e.contextes.size(); i-- > 0;) {
    if (e.contextes[i] == ctxt) {
      e.contextes.resize(i + 1);
      return i;
    }
  }
  e.contextes.push_back(ctxt);
  return e.contextes.size() - 1;
}

// Records the first error, placed in the document: where the parser stands in the document's
// own context; inside an entity's content, at the reference that led there, with the entity
// named (the one whose text holds the fault, and the one the document refers to).
void Enregistre(Etat& e, const xmlParserCtxt* ctxt, int ligne, int colonne, const std::string& quoi) {
  const std::size_t niveau = Niveau(e, ctxt);
  if (niveau == 0 || e.entites.size() < niveau) {
    e.erreur.emplace(ligne, colonne, quoi);
    return;
  }
  std::string ou =
      niveau > 1
          ? detail::Formate(N_("dans le texte de remplacement de l’entité « %s », appelée par « %s »"),
                            {e.entites[niveau - 1], e.entites[0]})
          : detail::Formate(N_("dans le texte de remplacement de l’entité « %s »"), {e.entites[niveau - 1]});
  e.erreur.emplace(e.ligneReference, e.colonneReference, ou + " : " + quoi);
}

// Records our refusal at the parser's position and halts this context; the outer context, when
// this one parses an entity's content, halts on its next event (see Garde).
void Refuse(void* ctx, const std::string& quoi) {
  Etat& e = EtatDe(ctx);
  if (!Arrete(e)) {
    Enregistre(e, static_cast<xmlParserCtxtPtr>(ctx), xmlSAX2GetLineNumber(ctx), xmlSAX2GetColumnNumber(ctx),
               quoi);
  }
  Halte(ctx);
}

// Runs a receiver call; an exception it throws stops the parse and is rethrown by Analyse.
// Once stopped, every further event is dropped and halts the context it comes from.
template <typename F>
void Garde(void* ctx, F&& f) {
  Etat& e = EtatDe(ctx);
  if (Arrete(e)) return Halte(ctx);
  try {
    f(e);
  } catch (...) {
    e.exceptionRecepteur = std::current_exception();
    Halte(ctx);
  }
}

constexpr std::size_t kCoutReference = 8;

// The document may deliver (names, attribute values, texts, 8 per entity reference) up to
// facteurExpansionMax times the bytes read so far, plus 1 MiB. Counting against what was read,
// not against a size known in advance, keeps the rule for pipes and other streams of unknown
// length.
uint64_t Budget(const Etat& e) {
  constexpr uint64_t kFranchise = uint64_t{1} << 20;
  const uint64_t facteur = std::max<uint64_t>(e.options.facteurExpansionMax, 1);
  uint64_t budget;
  if (__builtin_mul_overflow(e.fourni, facteur, &budget) || budget > UINT64_MAX - kFranchise)
    return UINT64_MAX;
  return budget + kFranchise;
}

// Counts n more bytes handed to libxml2. The budget follows here, once per piece fed, rather
// than in Consomme, which every text and tag asks.
void Fournis(Etat& e, uint64_t n) {
  e.fourni += n;
  e.budget = Budget(e);
}

bool Consomme(void* ctx, Etat& e, std::size_t n) {
  e.livre += n;
  if (e.livre <= e.budget) return true;
  Refuse(ctx, detail::Formate(N_("le texte développé dépasse %s octets"), {std::to_string(e.budget)}) +
                  " : " + N_("expansion d’entités excessive"));
  return false;
}

std::string_view Vue(const xmlChar* s) { return std::string_view(reinterpret_cast<const char*>(s)); }

// The name as written: the local name itself when there is no prefix (no copy), else
// "prefix:local" built in `tampon`.
std::string_view NomQualifie(std::string& tampon, const xmlChar* prefixe, const xmlChar* local) {
  if (prefixe == nullptr) return Vue(local);
  tampon.assign(Vue(prefixe));
  tampon += ':';
  tampon += Vue(local);
  return tampon;
}

constexpr std::string_view kEspaceXml = "http://www.w3.org/XML/1998/namespace";

// The name, in UTF-8 and in both UTF-16s: the bytes fed are the document's own.
bool NommeEspaceXml(std::string_view octets) {
  static const std::string kNoms[] = {std::string("xmlns:xml"),
                                      std::string("x\0m\0l\0n\0s\0:\0x\0m\0l\0", 18),
                                      std::string("\0x\0m\0l\0n\0s\0:\0x\0m\0l", 17)};
  for (const std::string& nom : kNoms) {
    if (octets.find(nom) != std::string_view::npos) return true;
  }
  return false;
}

// Watches the bytes fed for the name of the xml prefix's declaration, which is rare.
void Surveille(Etat& e, std::string_view morceau) {
  if (e.espaceXmlPossible) return;
  e.finPrecedente.append(morceau.substr(0, 32));
  e.espaceXmlPossible = NommeEspaceXml(e.finPrecedente) || NommeEspaceXml(morceau);
  e.finPrecedente.assign(morceau.substr(morceau.size() - std::min<std::size_t>(morceau.size(), 32)));
}

// `xmlns:xml="http://www.w3.org/XML/1998/namespace"` is legal and redundant, and libxml2 drops
// it before its callbacks. Whether the start tag just read declares it, from the tag's text
// still in the parser's input: back to its "<" (which no attribute value holds), then its
// attribute names, skipping quoted values. libxml2 refuses the declaration with any other
// value, so its value is known.
bool DeclareEspaceXml(const xmlParserCtxt* ctxt) {
  const xmlParserInput* entree = ctxt->input;
  if (entree == nullptr || entree->base == nullptr || entree->cur == nullptr) return false;
  const char* debut = reinterpret_cast<const char*>(entree->base);
  const char* fin = reinterpret_cast<const char*>(entree->cur);
  const char* p = fin;
  while (p > debut && *p != '<') --p;
  if (*p != '<') return false;
  const std::string_view balise(p + 1, static_cast<std::size_t>(fin - p - 1));
  const auto espace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  std::size_t i = 0;
  while (i < balise.size() && !espace(balise[i])) ++i;  // the element's name
  while (i < balise.size()) {
    while (i < balise.size() && espace(balise[i])) ++i;
    const std::size_t nom = i;
    while (i < balise.size() && !espace(balise[i]) && balise[i] != '=') ++i;
    const std::string_view attribut = balise.substr(nom, i - nom);
    while (i < balise.size() && balise[i] != '"' && balise[i] != '\'') ++i;
    if (i == balise.size()) return false;
    const std::size_t fermante = balise.find(balise[i], i + 1);
    if (fermante == std::string_view::npos) return false;
    if (attribut == "xmlns:xml") return true;
    i = fermante + 1;
  }
  return false;
}

void DebutElement(void* ctx, const xmlChar* local, const xmlChar* prefixe, const xmlChar* /*uri*/,
                  int nbEspaces, const xmlChar** espaces, int nbAttributs, int /*nbParDefaut*/,
                  const xmlChar** attributs) {
  Garde(ctx, [&](Etat& e) {
    if (++e.profondeur > e.options.profondeurMax) {
      return Refuse(ctx, detail::Formate(N_("imbrication plus profonde que %s niveaux"),
                                         {std::to_string(e.options.profondeurMax)}));
    }
    if (static_cast<std::size_t>(nbAttributs) + static_cast<std::size_t>(nbEspaces) >
        e.options.attributsMax) {
      return Refuse(ctx, detail::Formate(N_("plus de %s attributs sur une balise"),
                                         {std::to_string(e.options.attributsMax)}));
    }
    const std::string_view nom = NomQualifie(e.nom, prefixe, local);
    // Every name and value is held to the same cap: element names, attribute names, namespace
    // prefixes and the values of attributes and namespace declarations.
    const std::size_t cap = e.options.tailleMaxAttribut;
    const auto tropLong = [&](const char* quoi, std::size_t n) {
      Refuse(ctx, detail::Formate(N_("%s de %s octets, plus que %s"),
                                  {quoi, std::to_string(n), std::to_string(cap)}));
    };
    if (nom.size() > cap) return tropLong(N_("nom de balise"), nom.size());
    std::size_t taille = nom.size();
    e.attributs.clear();
    // Namespace declarations first: libxml2 reports them apart from the other attributes.
    for (int i = 0; i < nbEspaces; ++i) {
      const std::string_view p = espaces[2 * i] != nullptr ? Vue(espaces[2 * i]) : std::string_view();
      const std::string_view uri =
          espaces[2 * i + 1] != nullptr ? Vue(espaces[2 * i + 1]) : std::string_view();
      if (p.size() > cap) return tropLong(N_("préfixe d’espace de noms"), p.size());
      if (uri.size() > cap) return tropLong(N_("espace de noms"), uri.size());
      std::string nom = p.empty() ? std::string("xmlns") : "xmlns:" + std::string(p);
      taille += nom.size() + uri.size();
      e.attributs.push_back(Balise::Attribut{std::move(nom), std::string(uri)});
    }
    if (e.espaceXmlPossible && DeclareEspaceXml(static_cast<xmlParserCtxtPtr>(ctx))) {
      e.attributs.push_back(Balise::Attribut{"xmlns:xml", std::string(kEspaceXml)});
    }
    for (int i = 0; i < nbAttributs; ++i) {
      const xmlChar** a = attributs + 5 * i;  // local, prefix, URI, value, end of value
      const auto n = static_cast<std::size_t>(a[4] - a[3]);
      if (n > cap) return tropLong(N_("valeur d’attribut"), n);
      Balise::Attribut attribut;
      if (a[1] == nullptr) {
        attribut.nom.assign(Vue(a[0]));
      } else {
        NomQualifie(attribut.nom, a[1], a[0]);
      }
      if (attribut.nom.size() > cap) return tropLong(N_("nom d’attribut"), attribut.nom.size());
      attribut.valeur.assign(reinterpret_cast<const char*>(a[3]), n);
      taille += attribut.nom.size() + n;
      e.attributs.push_back(std::move(attribut));
    }
    if (!Consomme(ctx, e, taille)) return;
    e.recepteur.Debut(nom, e.attributs);
  });
}

void FinElement(void* ctx, const xmlChar* local, const xmlChar* prefixe, const xmlChar* /*uri*/) {
  Garde(ctx, [&](Etat& e) {
    --e.profondeur;
    e.recepteur.Fin(NomQualifie(e.nom, prefixe, local));
  });
}

void Caracteres(void* ctx, const xmlChar* texte, int n) {
  Garde(ctx, [&](Etat& e) {
    if (!Consomme(ctx, e, static_cast<std::size_t>(n))) return;
    e.recepteur.Texte(std::string_view(reinterpret_cast<const char*>(texte), static_cast<std::size_t>(n)));
  });
}

// A CDATA section's text with its line ends normalised as everywhere else (CR LF and CR alone
// become LF): libxml2's push parser hands the document's sections over raw. A long section
// comes in several pieces, the last one just before "]]>" in the input; a CR that ends a piece
// and an LF that starts the next one of the same section are one line end. Sections in an
// entity's text come from libxml2's other parser, already normalised, and any CR left there
// came from a character reference, which stays.
void SectionCData(void* ctx, const xmlChar* texte, int n) {
  Garde(ctx, [&](Etat& e) {
    if (!Consomme(ctx, e, static_cast<std::size_t>(n))) return;
    std::string_view v(reinterpret_cast<const char*>(texte), static_cast<std::size_t>(n));
    if (static_cast<xmlParserCtxtPtr>(ctx) != e.contextes.front()) {
      e.recepteur.Texte(v);
      return;
    }
    const bool suite = e.retourEnAttente;
    const xmlChar* fin = texte + n;
    e.retourEnAttente = false;
    const bool derniere = fin[0] == ']' && fin[1] == ']' && fin[2] == '>';
    if (v.find('\r') == std::string_view::npos && !(suite && !v.empty() && v.front() == '\n')) {
      e.recepteur.Texte(v);
      return;
    }
    std::string normalise;
    normalise.reserve(v.size());
    bool retour = suite;
    for (const char c : v) {
      if (c == '\n' && retour) {
        retour = false;
        continue;
      }
      retour = c == '\r';
      normalise += retour ? '\n' : c;
    }
    e.retourEnAttente = retour && !derniere;
    e.recepteur.Texte(normalise);
  });
}

void Commentaire(void* ctx, const xmlChar* texte) {
  Garde(ctx, [&](Etat& e) {
    const std::string_view t = Vue(texte);
    if (!Consomme(ctx, e, t.size())) return;
    e.recepteur.Commentaire(t);
  });
}

void Instruction(void* ctx, const xmlChar* cible, const xmlChar* donnees) {
  Garde(ctx, [&](Etat& e) {
    const std::string_view c = Vue(cible);
    const std::string_view d = donnees != nullptr ? Vue(donnees) : std::string_view();
    if (!Consomme(ctx, e, c.size() + d.size())) return;
    e.recepteur.Instruction(c, d);
  });
}

// Every declaration is kept (in the context's document, where libxml2 looks entities up):
// declaring an external entity is legal and harmless while nothing refers to it. A reference
// to one would have libxml2 read the file or URL it names; the loader below refuses that (see
// ChargeurRefusant), so the reference is the error, at its place. The replacement text of an
// internal entity, general or parameter, is charged to the budget when an expansion asks for
// it (Entite, EntiteParametre).
//
// A CR in an internal entity's replacement text came from a character reference (&#13;): the
// literal ones were made line feeds when the declaration was read. XML keeps it a CR, but
// libxml2 reads the text again as input, which makes it a line feed; written back as a
// reference it survives. Only in character data: inside a tag a CR is a space, which a
// reference cannot stand for (and an attribute makes it a space anyway); comments, processing
// instructions and CDATA sections hold no references, so theirs still become line feeds.
std::string ReecritRetours(std::string_view texte) {
  std::string sortie;
  sortie.reserve(texte.size() + 16);
  std::size_t i = 0;
  while (i < texte.size()) {
    if (texte[i] == '\r') {
      sortie += "&#13;";
      ++i;
      continue;
    }
    if (texte[i] != '<') {
      sortie += texte[i++];
      continue;
    }
    std::size_t fin = texte.size();
    std::string_view fermeture;
    if (texte.substr(i, 4) == "<!--") {
      fermeture = "-->";
    } else if (texte.substr(i, 9) == "<![CDATA[") {
      fermeture = "]]>";
    } else if (texte.substr(i, 2) == "<?") {
      fermeture = "?>";
    }
    if (!fermeture.empty()) {
      const std::size_t k = texte.find(fermeture, i + 2);
      if (k != std::string_view::npos) fin = k + fermeture.size();
    } else {  // a tag: up to its ">", outside quoted values
      char guillemet = 0;
      for (std::size_t j = i + 1; j < texte.size(); ++j) {
        const char c = texte[j];
        if (guillemet != 0) {
          if (c == guillemet) guillemet = 0;
        } else if (c == '"' || c == '\'') {
          guillemet = c;
        } else if (c == '>') {
          fin = j + 1;
          break;
        }
      }
    }
    sortie.append(texte.substr(i, fin - i));
    i = fin;
  }
  return sortie;
}

void EntiteDeclaree(void* ctx, const xmlChar* nom, int type, const xmlChar* publicId, const xmlChar* systemId,
                    xmlChar* contenu) {
  if (Arrete(EtatDe(ctx))) return;
  if (type == XML_INTERNAL_GENERAL_ENTITY && contenu != nullptr) {
    const std::string_view texte = Vue(contenu);
    // A character reference may have spelt the name in the declaration.
    EtatDe(ctx).espaceXmlPossible |= texte.find("xmlns:xml") != std::string_view::npos;
    if (texte.find('\r') != std::string_view::npos) {
      const std::string reecrit = ReecritRetours(texte);
      std::vector<xmlChar> copie(reecrit.begin(), reecrit.end());
      copie.push_back(0);
      xmlSAX2EntityDecl(ctx, nom, type, publicId, systemId, copie.data());
      return;
    }
  }
  xmlSAX2EntityDecl(ctx, nom, type, publicId, systemId, contenu);
}

// Every entity reference asks for its declaration here. Once the parse is stopped, none is found,
// so the contexts libxml2 opened for enclosing entities stop at their next reference instead of
// expanding the rest of a nested entity. Each lookup is charged to the budget, which bounds the
// number of expansions even for entities that expand to nothing.
xmlEntityPtr Entite(void* ctx, const xmlChar* nom) {
  Etat& e = EtatDe(ctx);
  if (Arrete(e)) {
    Halte(ctx);
    return nullptr;
  }
  if (!Consomme(ctx, e, kCoutReference)) return nullptr;
  const auto* ctxt = static_cast<xmlParserCtxtPtr>(ctx);
  const std::size_t niveau = Niveau(e, ctxt);
  if (e.entites.size() <= niveau) e.entites.resize(niveau + 1);
  e.entites[niveau] = std::string(Vue(nom));
  if (niveau == 0) {
    // The parser stands just past "&name;", which never spans lines: its start is that many
    // characters back.
    std::size_t caracteres = 0;
    for (const char c : Vue(nom)) caracteres += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    e.ligneReference = xmlSAX2GetLineNumber(ctx);
    e.colonneReference = std::max(1, xmlSAX2GetColumnNumber(ctx) - static_cast<int>(caracteres) - 2);
  }
  return xmlSAX2GetEntity(ctx, nom);
}

// A parameter entity expands inside the DTD, where nothing is delivered: each expansion is
// charged its reference and its replacement text, so nested expansions are bounded like
// general ones.
xmlEntityPtr EntiteParametre(void* ctx, const xmlChar* nom) {
  Etat& e = EtatDe(ctx);
  if (Arrete(e)) {
    Halte(ctx);
    return nullptr;
  }
  xmlEntityPtr entite = xmlSAX2GetParameterEntity(ctx, nom);
  const std::size_t contenu =
      entite != nullptr && entite->content != nullptr ? static_cast<std::size_t>(entite->length) : 0;
  if (!Consomme(ctx, e, kCoutReference + contenu)) return nullptr;
  return entite;
}

// An unparsed entity (NDATA) names outside data that only the application may fetch: its
// declaration is kept and never read.
std::string_view VueOuVide(const xmlChar* s) { return s != nullptr ? Vue(s) : std::string_view(); }

void EntiteNonAnalysee(void* ctx, const xmlChar* nom, const xmlChar* publicId, const xmlChar* systemId,
                       const xmlChar* notation) {
  Garde(ctx, [&](Etat& e) {
    xmlSAX2UnparsedEntityDecl(ctx, nom, publicId, systemId, notation);
    e.recepteur.EntiteNonAnalysee(Vue(nom), VueOuVide(publicId), VueOuVide(systemId), VueOuVide(notation));
  });
}

void NotationDeclaree(void* ctx, const xmlChar* nom, const xmlChar* publicId, const xmlChar* systemId) {
  Garde(ctx, [&](Etat& e) {
    xmlSAX2NotationDecl(ctx, nom, publicId, systemId);
    e.recepteur.Notation(Vue(nom), VueOuVide(publicId), VueOuVide(systemId));
  });
}

// The external DTD is never loaded: what it would declare stays undeclared.
void SousEnsembleExterne(void*, const xmlChar*, const xmlChar*, const xmlChar*) {}

xmlParserInputPtr ResousEntite(void* ctx, const xmlChar* publicId, const xmlChar* systemId) {
  Refuse(ctx, N_("ressource externe refusée") " : " + std::string(systemId != nullptr   ? Vue(systemId)
                                                                  : publicId != nullptr ? Vue(publicId)
                                                                                        : ""));
  return nullptr;
}

// Called for an entity the parser could not expand (declared nowhere it may look).
void Reference(void* ctx, const xmlChar* nom) {
  Refuse(ctx, N_("entité non déclarée") " : " + std::string(Vue(nom)));
}

void ErreurLibxml(void* /*donnees*/, xmlErrorPtr erreur) {
  if (erreur == nullptr || erreur->ctxt == nullptr) return;
  // What libxml2 checks of the DTD's own declarations (a default value that does not fit its
  // type, a token listed twice, an element declared twice, two ID attributes) are validity
  // constraints: a parser that does not validate must accept a well-formed document that
  // breaks them, and libxml2 reports them as errors even when it does not validate.
  if (erreur->domain == XML_FROM_VALID || erreur->domain == XML_FROM_DTD) return;
  // A system identifier is a URI reference only by convention: XML takes any string
  // ("d:\\images\\x.gif"), and libxml2's complaint about one it cannot parse as a URI is
  // not a well-formedness error.
  if (erreur->code == XML_ERR_INVALID_URI) return;
  const bool grave = erreur->level >= XML_ERR_ERROR || erreur->code == XML_WAR_UNDECLARED_ENTITY;
  if (!grave) return;
  auto* ctxt = static_cast<xmlParserCtxtPtr>(erreur->ctxt);
  if (ctxt->_private == nullptr) return;
  Etat& e = *static_cast<Etat*>(ctxt->_private);
  if (Arrete(e)) return;
  std::string message = erreur->message != nullptr ? erreur->message : N_("document XML mal formé");
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  Enregistre(e, ctxt, erreur->line, erreur->int2, message);
}

xmlSAXHandler Gestionnaire() {
  xmlSAXHandler h;
  std::memset(&h, 0, sizeof h);
  xmlSAXVersion(&h, 2);  // the DTD callbacks keep libxml2's own, which store the entities
  h.startElement = nullptr;
  h.endElement = nullptr;
  h.startElementNs = DebutElement;
  h.endElementNs = FinElement;
  h.characters = Caracteres;
  h.ignorableWhitespace = Caracteres;
  h.cdataBlock = SectionCData;
  h.comment = Commentaire;
  h.processingInstruction = Instruction;
  h.getEntity = Entite;
  h.getParameterEntity = EntiteParametre;
  h.entityDecl = EntiteDeclaree;
  h.unparsedEntityDecl = EntiteNonAnalysee;
  h.notationDecl = NotationDeclaree;
  h.externalSubset = SousEnsembleExterne;
  h.resolveEntity = ResousEntite;
  h.reference = Reference;
  h.warning = nullptr;
  h.error = nullptr;
  h.fatalError = nullptr;
  h.serror = ErreurLibxml;
  return h;
}

struct LibereContexte {
  xmlParserCtxtPtr ctxt;
  ~LibereContexte() {
    if (ctxt->myDoc != nullptr) xmlFreeDoc(ctxt->myDoc);
    xmlFreeParserCtxt(ctxt);
  }
};

}  // namespace

CaptureMessagesLibxml::CaptureMessagesLibxml()
    : ancienContexte_(xmlGenericErrorContext), ancienneFonction_(xmlGenericError) {
  xmlSetGenericErrorFunc(this, &CaptureMessagesLibxml::Recoit);
}

CaptureMessagesLibxml::~CaptureMessagesLibxml() {
  xmlSetGenericErrorFunc(ancienContexte_, ancienneFonction_);
}

// libxml2 sends one message in several calls (a prefix, then the text); a line end ends it.
void CaptureMessagesLibxml::Recoit(void* ctx, const char* format, ...) {
  auto* capture = static_cast<CaptureMessagesLibxml*>(ctx);
  char tampon[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(tampon, sizeof tampon, format, arguments);
  va_end(arguments);
  if (!capture->premier_.empty()) return;
  capture->courant_ += tampon;
  const std::size_t fin = capture->courant_.find('\n');
  if (fin != std::string::npos) capture->premier_ = capture->courant_.substr(0, fin);
}

// Whether this thread is inside one of our parses: libxml2 loads external entities through a
// process-wide loader, not through the parser's callbacks, so the loader asks this.
thread_local bool tAnalyseEnCours = false;
xmlExternalEntityLoader gChargeurPrecedent = nullptr;

// Refuses every outside resource our parses would read (an external entity a document refers
// to, general or parameter), placing the refusal at the reference; anyone else's libxml2
// parses in the process keep the loader they had.
xmlParserInputPtr ChargeurRefusant(const char* url, const char* id, xmlParserCtxtPtr ctxt) {
  if (!tAnalyseEnCours) return gChargeurPrecedent != nullptr ? gChargeurPrecedent(url, id, ctxt) : nullptr;
  if (ctxt == nullptr || ctxt->_private == nullptr) return nullptr;
  Etat& e = *static_cast<Etat*>(ctxt->_private);
  if (!Arrete(e)) {
    // libxml2 asks from the context it opened for the entity's text; the refusal belongs at
    // the reference in the document (the parser's own place for a parameter entity).
    const std::string quoi = N_("ressource externe refusée") " : " + std::string(url != nullptr  ? url
                                                                                 : id != nullptr ? id
                                                                                                 : "");
    if (Niveau(e, ctxt) == 0) {
      e.erreur.emplace(xmlSAX2GetLineNumber(ctxt), xmlSAX2GetColumnNumber(ctxt), quoi);
    } else {
      e.erreur.emplace(e.ligneReference, e.colonneReference, quoi);
    }
  }
  Halte(ctxt);
  return nullptr;
}

struct AnalyseEnCours {
  AnalyseEnCours() : avant(tAnalyseEnCours) { tAnalyseEnCours = true; }
  ~AnalyseEnCours() { tAnalyseEnCours = avant; }
  bool avant;
};

void InitialiseLibxml() {
  static std::once_flag fait;
  std::call_once(fait, [] {
    xmlInitParser();
    gChargeurPrecedent = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(ChargeurRefusant);
  });
}

void Analyse(SourceOctets& source, const OptionsParseurXML& options, Recepteur& recepteur, bool dejaDecode) {
  InitialiseLibxml();
  const AnalyseEnCours enCours;
  CaptureMessagesLibxml messages;
  Etat etat(options, recepteur);

  xmlSAXHandler sax = Gestionnaire();
  std::string_view morceau = source.Suivant();
  if (!dejaDecode) VerifieMarqueEtDeclaration(morceau);
  const std::size_t debut = std::min<std::size_t>(4, morceau.size());
  xmlParserCtxtPtr ctxt =
      xmlCreatePushParserCtxt(&sax, nullptr, morceau.data(), static_cast<int>(debut), nullptr);
  if (ctxt == nullptr) throw exceptions::MemoireInsuffisante(N_("contexte d’analyse XML"));
  LibereContexte liberation{ctxt};
  ctxt->_private = &etat;
  etat.contextes.push_back(ctxt);
  // libxml2's own fixed limits (depth 256, 10 MB per attribute) give way when ours are wider.
  const bool large = options.profondeurMax > 256 || options.tailleMaxAttribut > 10'000'000;
  xmlCtxtUseOptions(ctxt, XML_PARSE_NOENT | XML_PARSE_NONET | (large ? XML_PARSE_HUGE : 0) |
                              (dejaDecode ? XML_PARSE_IGNORE_ENC : 0));
  Fournis(etat, debut);
  Surveille(etat, morceau.substr(0, debut));
  morceau.remove_prefix(debut);

  // Chunks of at most 1 MiB, so that a stop is noticed soon and int sizes never overflow.
  constexpr std::size_t kMorceau = std::size_t{1} << 20;
  while (true) {
    while (!morceau.empty() && !Arrete(etat)) {
      const std::size_t n = std::min(kMorceau, morceau.size());
      Fournis(etat, n);
      Surveille(etat, morceau.substr(0, n));
      xmlParseChunk(ctxt, morceau.data(), static_cast<int>(n), 0);
      morceau.remove_prefix(n);
    }
    if (Arrete(etat)) break;
    morceau = source.Suivant();
    if (morceau.empty()) {
      xmlParseChunk(ctxt, nullptr, 0, 1);
      break;
    }
  }
  if (etat.exceptionRecepteur != nullptr) std::rethrow_exception(etat.exceptionRecepteur);
  if (etat.erreur) throw *etat.erreur;
  if (!ctxt->wellFormed || etat.profondeur != 0) {
    throw ErreurXML(
        xmlSAX2GetLineNumber(ctxt), xmlSAX2GetColumnNumber(ctxt),
        messages.Premier().empty() ? std::string(N_("document XML mal formé")) : messages.Premier());
  }
}

}  // namespace sdd::xml
