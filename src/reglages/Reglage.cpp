#include <outils_socle/reglages/Reglage.h>

#include <QByteArray>
#include <charconv>

#include <outils_socle/texte/Exception.h>
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "texte/FormeUTF8.h"

namespace sdd {

const char* NomTypeReglage(eTypeReglage type) {
  switch (type) {
    case eTypeReglage::eBooleen: return N_("booléen");
    case eTypeReglage::eEntier: return N_("entier");
    case eTypeReglage::eChaine: return N_("chaîne");
    case eTypeReglage::eListeChaines: return N_("liste de chaînes");
    case eTypeReglage::eBlob: return N_("blob");
  }
  return "?";
}

Reglage Reglage::Booleen(bool valeur) { return Reglage(valeur); }
Reglage Reglage::Entier(int64_t valeur) { return Reglage(valeur); }
Reglage Reglage::Chaine(const UniChaine& valeur) {
  detail::RefuseSansFormeUTF8(valeur);
  return Reglage(valeur);
}

Reglage Reglage::ListeChaines(const Chaines& valeur) {
  for (const UniChaine& chaine : valeur) detail::RefuseSansFormeUTF8(chaine);
  return Reglage(valeur);
}
Reglage Reglage::Blob(const Octets& valeur) { return Reglage(valeur); }

namespace {

[[noreturn]] void LanceMauvaisType(eTypeReglage demande, eTypeReglage present) {
  throw exceptions::OperationInvalide(detail::Formate(N_("Réglage de type %s lu comme %s"),
                                                      {NomTypeReglage(present), NomTypeReglage(demande)}));
}

}  // namespace

bool Reglage::DonneBooleen() const {
  if (const bool* v = std::get_if<bool>(&valeur_)) return *v;
  LanceMauvaisType(eTypeReglage::eBooleen, Type());
}

int64_t Reglage::DonneEntier() const {
  if (const int64_t* v = std::get_if<int64_t>(&valeur_)) return *v;
  LanceMauvaisType(eTypeReglage::eEntier, Type());
}

const UniChaine& Reglage::DonneChaine() const {
  if (const UniChaine* v = std::get_if<UniChaine>(&valeur_)) return *v;
  LanceMauvaisType(eTypeReglage::eChaine, Type());
}

const Reglage::Chaines& Reglage::DonneListeChaines() const {
  if (const Chaines* v = std::get_if<Chaines>(&valeur_)) return *v;
  LanceMauvaisType(eTypeReglage::eListeChaines, Type());
}

const Reglage::Octets& Reglage::DonneBlob() const {
  if (const Octets* v = std::get_if<Octets>(&valeur_)) return *v;
  LanceMauvaisType(eTypeReglage::eBlob, Type());
}

std::string Reglage::EcrisTexte() const {
  switch (Type()) {
    case eTypeReglage::eBooleen: return DonneBooleen() ? "true" : "false";
    case eTypeReglage::eEntier: return std::to_string(DonneEntier());
    case eTypeReglage::eChaine: return DonneChaine().DonneStdString();
    case eTypeReglage::eListeChaines:
      throw exceptions::OperationInvalide(N_("Une liste de chaînes n’a pas de forme texte"));
    case eTypeReglage::eBlob: {
      const Octets& octets = DonneBlob();
      const QByteArray brut(reinterpret_cast<const char*>(octets.data()), static_cast<int>(octets.size()));
      return brut.toBase64().toStdString();
    }
  }
  return std::string();
}

bool Reglage::LisTexte(eTypeReglage type, const std::string& texte, Reglage& valeur) {
  switch (type) {
    case eTypeReglage::eBooleen:
      if (texte == "true" || texte == "1" || texte == "vrai") {
        valeur = Booleen(true);
        return true;
      }
      if (texte == "false" || texte == "0" || texte == "faux") {
        valeur = Booleen(false);
        return true;
      }
      return false;
    case eTypeReglage::eEntier: {
      // from_chars takes no '+' and no spaces; we take a '+' and nothing else.
      const char* debut = texte.data();
      const char* fin = debut + texte.size();
      if (debut != fin && *debut == '+') ++debut;
      int64_t n = 0;
      const auto [ou, erreur] = std::from_chars(debut, fin, n);
      if (erreur != std::errc() || ou != fin || debut == fin) return false;
      valeur = Entier(n);
      return true;
    }
    case eTypeReglage::eChaine: valeur = Chaine(UniChaine(texte)); return true;
    case eTypeReglage::eListeChaines:
      // A list reaches here only as JSON's empty array, which the property tree cannot tell
      // from an empty string.
      if (!texte.empty()) return false;
      valeur = ListeChaines({});
      return true;
    case eTypeReglage::eBlob: {
      const QByteArray brut = QByteArray::fromRawData(texte.data(), static_cast<int>(texte.size()));
      const auto decode = QByteArray::fromBase64Encoding(brut, QByteArray::AbortOnBase64DecodingErrors);
      if (!decode) return false;
      // Only the canonical text: otherwise two texts would read as one value and a setting
      // could change on a save that changed nothing.
      if (decode.decoded.toBase64() != brut) return false;
      valeur = Blob(Octets(decode.decoded.begin(), decode.decoded.end()));
      return true;
    }
  }
  return false;
}

}  // namespace sdd
