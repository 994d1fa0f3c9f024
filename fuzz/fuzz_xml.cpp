// The XML reader: the first byte chooses the parser's options (tight limits, so the fuzzer
// reaches them quickly) and what is read, the rest is the document.
//   - As a document: parsed into a tree, into the read-only tree (which must read the same and
//     refuse the same) and as a stream. Any tree the parser accepts must come
//     back the same through the writer, in every encoding it can be written in: a difference
//     traps, since it would mean the writer and the parser disagree about some text.
//   - As a schema (bit 0x40): loaded, then every path it allows is walked a few levels down
//     through the navigation questions.
#include <outils_socle/xml/ArbreXML.h>
#include <outils_socle/xml/EcritureXML.h>
#include <outils_socle/xml/ParseurXML.h>
#include <outils_socle/xml/SchemaXML.h>

#include <string>

#include "Commun.h"

namespace {

class Muet final : public sdd::EcouteurXML {};

void Explore(const sdd::SchemaXML& schema, const std::string& chemin, int niveau) {
  schema.AttributsPermis(chemin);
  schema.TypeTexte(chemin);
  schema.ValeursPermises(chemin);
  schema.EstMixte(chemin);
  if (niveau == 4) return;
  for (const sdd::DeclarationEnfantXML& enfant : schema.EnfantsPermis(chemin)) {
    if (enfant.nom != "*" && schema.PossedeElement(chemin + "/" + enfant.nom)) {
      Explore(schema, chemin + "/" + enfant.nom, niveau + 1);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  const uint8_t mode = donnees[0];
  const std::string_view texte(reinterpret_cast<const char*>(donnees + 1), taille - 1);
  sdd::OptionsParseurXML options;
  options.ignoreEspacesDeMiseEnPage = (mode & 1) != 0;
  if (mode & 2) options.profondeurMax = 12;
  if (mode & 4) options.tailleMaxAttribut = 64;
  if (mode & 8) options.attributsMax = 4;
  if (mode & 16) options.facteurExpansionMax = 1;
  const sdd::ParseurXML parseur(options);

  if (mode & 0x40) {
    fuzz::Essaie([&] {
      const sdd::SchemaXML schema = sdd::SchemaXML::LisTexte(texte);
      for (const std::string& racine : schema.ElementsRacines()) {
        if (schema.PossedeElement(racine)) Explore(schema, racine, 0);
      }
    });
    return 0;
  }

  Muet muet;
  fuzz::Essaie([&] { parseur.AnalyseMemoire(texte.data(), texte.size(), muet); });
  // The read-only tree reads what the editable tree reads, and refuses what it refuses.
  bool refuseEnBlocs = false, refuse = false;
  sdd::Balise enBlocs, lue;
  try {
    enBlocs = parseur.LisArbreTexte(texte).Racine().VersBalise();
  } catch (const sdd::exceptions::Exception&) {
    refuseEnBlocs = true;
  }
  try {
    lue = parseur.LisTexte(texte);
  } catch (const sdd::exceptions::Exception&) {
    refuse = true;
  }
  if (refuse != refuseEnBlocs || !(enBlocs == lue)) __builtin_trap();
  fuzz::Essaie([&] {
    const sdd::Balise arbre = parseur.LisTexte(texte);
    for (const sdd::eCodageXML codage :
         {sdd::eCodageXML::eUTF8, sdd::eCodageXML::eUTF16, sdd::eCodageXML::eISO8859_15}) {
      sdd::OptionsEcritureXML ecriture;
      ecriture.codage = codage;
      ecriture.indentation = (mode & 0x80) != 0 ? 2 : 0;
      std::string ecrit;
      try {
        ecrit = sdd::EcrisXML(arbre, ecriture);
      } catch (const sdd::exceptions::OperationInvalide&) {
        continue;  // a name ISO-8859-15 cannot write
      }
      // Indented output reads back the same only with the layout dropped on both sides.
      if (ecriture.indentation == 0 || options.ignoreEspacesDeMiseEnPage) {
        if (!(parseur.LisTexte(ecrit) == arbre)) __builtin_trap();
      }
    }
  });
  return 0;
}
