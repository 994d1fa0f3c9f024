#include "xml/NavigationSchema.h"
#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

#include <outils_socle/texte/Exception.h>

#include <charconv>

namespace sdd::xml {

namespace {

constexpr const char* kEspaceXSD = "http://www.w3.org/2001/XMLSchema";
constexpr int kProfondeurMax = 64;
constexpr uint64_t kIllimite = DeclarationEnfantXML::kIllimite;

[[noreturn]] void Refuse(const std::string& quoi) {
  throw exceptions::OperationInvalide(UniChaine(N_("schéma XML") " : " + quoi));
}

void Plonge(int profondeur) {
  if (profondeur > kProfondeurMax) Refuse(N_("références circulaires ou imbrication de plus de 64 niveaux"));
}

std::string Local(std::string_view qnom) {
  const std::size_t deuxPoints = qnom.find(':');
  return std::string(deuxPoints == std::string_view::npos ? qnom : qnom.substr(deuxPoints + 1));
}

uint64_t Nombre(const Balise& b, std::string_view attribut) {
  const std::string* valeur = b.TrouveAttribut(attribut);
  if (valeur == nullptr) return 1;
  if (*valeur == "unbounded") return kIllimite;
  uint64_t n = 1;
  std::from_chars(valeur->data(), valeur->data() + valeur->size(), n);
  return n;
}

uint64_t Produit(uint64_t a, uint64_t b) {
  if (a == 0 || b == 0) return 0;
  if (a == kIllimite || b == kIllimite || a > kIllimite / b) return kIllimite;
  return a * b;
}

uint64_t Somme(uint64_t a, uint64_t b) { return (a == kIllimite || b > kIllimite - a) ? kIllimite : a + b; }

bool Vrai(const std::string* v) { return v != nullptr && (*v == "true" || *v == "1"); }

}  // namespace

NavigationSchema::NavigationSchema(Balise racine) : racine_(std::move(racine)) {
  bool trouve = false;
  for (const Balise::Attribut& a : racine_.Attributs()) {
    if (a.valeur != kEspaceXSD) continue;
    if (a.nom == "xmlns") {
      prefixe_.clear();
      trouve = true;
      break;
    }
    if (a.nom.starts_with("xmlns:")) {
      prefixe_ = a.nom.substr(6) + ':';
      trouve = true;
    }
  }
  if (!trouve || !Est(racine_, "schema")) Refuse(N_("la racine n’est pas un xs:schema"));
  for (const Balise& b : racine_.Enfants()) {
    if ((Est(b, "include") || Est(b, "import") || Est(b, "redefine")) &&
        b.PossedeAttribut("schemaLocation")) {
      Refuse(detail::Formate(N_("%s de « %s » refusé"), {b.Nom(), b.DonneAttribut("schemaLocation")}) +
             " : " + N_("un schéma se lit d’un seul document, sans autre fichier"));
    }
    const std::string* nom = b.TrouveAttribut("name");
    if (nom == nullptr) continue;
    auto* table = Est(b, "element")          ? &elements_
                  : Est(b, "complexType")    ? &typesComplexes_
                  : Est(b, "simpleType")     ? &typesSimples_
                  : Est(b, "group")          ? &groupes_
                  : Est(b, "attributeGroup") ? &groupesAttributs_
                  : Est(b, "attribute")      ? &attributs_
                                             : nullptr;
    if (table != nullptr) table->emplace(*nom, &b);
  }
}

bool NavigationSchema::Est(const Balise& b, std::string_view local) const {
  const std::string& nom = b.Nom();
  return nom.size() == prefixe_.size() + local.size() && nom.starts_with(prefixe_) && nom.ends_with(local);
}

bool NavigationSchema::EstPredefini(const std::string& qnom) const {
  if (!prefixe_.empty()) return qnom.starts_with(prefixe_);
  // Schema namespace as the default one: unprefixed names are the built-in types unless the
  // schema defines a type of that name.
  return qnom.find(':') == std::string::npos && !typesComplexes_.contains(qnom) &&
         !typesSimples_.contains(qnom);
}

const Balise* NavigationSchema::Global(const std::map<std::string, const Balise*, std::less<>>& table,
                                       const std::string& qnom) const {
  const auto it = table.find(Local(qnom));
  return it == table.end() ? nullptr : it->second;
}

const Balise* NavigationSchema::Resous(const Balise* element) const {
  if (element == nullptr) return nullptr;
  const std::string* ref = element->TrouveAttribut("ref");
  return ref != nullptr ? Global(elements_, *ref) : element;
}

const Balise* NavigationSchema::TypeComplexe(const Balise* element) const {
  if (element == nullptr) return nullptr;
  for (const Balise& c : element->Enfants()) {
    if (Est(c, "complexType")) return &c;
  }
  const std::string* type = element->TrouveAttribut("type");
  if (type == nullptr || EstPredefini(*type)) return nullptr;
  return Global(typesComplexes_, *type);
}

// The simple type of the element's text (nullptr for a built-in one), its name in `nomType`
// ("" when the element holds elements only).
const Balise* NavigationSchema::TypeSimple(const Balise* element, std::string& nomType) const {
  nomType.clear();
  if (element == nullptr) return nullptr;
  const std::string* type = element->TrouveAttribut("type");
  const Balise* complexe = TypeComplexe(element);
  if (type != nullptr && complexe == nullptr) {
    nomType = *type;
    return EstPredefini(*type) ? nullptr : Global(typesSimples_, *type);
  }
  for (const Balise& c : element->Enfants()) {
    if (!Est(c, "simpleType")) continue;
    for (const Balise& r : c.Enfants()) {
      if (Est(r, "restriction")) nomType = r.DonneAttribut("base");
    }
    return &c;
  }
  if (complexe == nullptr) {
    nomType = prefixe_ + "anyType";
    return nullptr;
  }
  // Text in a complex type: simple content, derived from some base.
  for (const Balise& c : complexe->Enfants()) {
    if (!Est(c, "simpleContent")) continue;
    for (const Balise& derivation : c.Enfants()) {
      const std::string* base = derivation.TrouveAttribut("base");
      if (base == nullptr) continue;
      nomType = *base;
      return EstPredefini(*base) ? nullptr : Global(typesSimples_, *base);
    }
  }
  return nullptr;
}

void NavigationSchema::Modele(const Balise& groupe, uint64_t min, uint64_t max,
                              std::vector<Particule>& sortie, int profondeur) const {
  Plonge(profondeur);
  const uint64_t gmin = Produit(min, Nombre(groupe, "minOccurs"));
  const uint64_t gmax = Produit(max, Nombre(groupe, "maxOccurs"));
  if (Est(groupe, "group")) {
    const std::string* ref = groupe.TrouveAttribut("ref");
    const Balise* defini = ref != nullptr ? Global(groupes_, *ref) : &groupe;
    if (defini == nullptr) return;
    for (const Balise& c : defini->Enfants()) {
      if (Est(c, "sequence") || Est(c, "choice") || Est(c, "all"))
        Modele(c, gmin, gmax, sortie, profondeur + 1);
    }
    return;
  }
  // In a choice of several branches, any one branch may be left out.
  uint64_t minBranche = gmin;
  if (Est(groupe, "choice")) {
    int branches = 0;
    for (const Balise& c : groupe.Enfants()) {
      if (Est(c, "element") || Est(c, "any") || Est(c, "sequence") || Est(c, "choice") || Est(c, "group"))
        ++branches;
    }
    if (branches > 1) minBranche = 0;
  }
  for (const Balise& c : groupe.Enfants()) {
    if (Est(c, "element")) {
      const Balise* declaration = Resous(&c);
      Particule p;
      p.element = declaration;
      p.declaration.nom = c.PossedeAttribut("ref") ? Local(c.DonneAttribut("ref")) : c.DonneAttribut("name");
      if (declaration != nullptr) p.declaration.type = declaration->DonneAttribut("type");
      p.declaration.occurrencesMin = Produit(minBranche, Nombre(c, "minOccurs"));
      p.declaration.occurrencesMax = Produit(gmax, Nombre(c, "maxOccurs"));
      sortie.push_back(std::move(p));
    } else if (Est(c, "any")) {
      Particule p{DeclarationEnfantXML{"*", "", Produit(minBranche, Nombre(c, "minOccurs")),
                                       Produit(gmax, Nombre(c, "maxOccurs"))},
                  nullptr};
      sortie.push_back(std::move(p));
    } else if (Est(c, "sequence") || Est(c, "choice") || Est(c, "all") || Est(c, "group")) {
      Modele(c, minBranche, gmax, sortie, profondeur + 1);
    }
  }
}

void NavigationSchema::ContenuType(const Balise& type, std::vector<Particule>& sortie, int profondeur) const {
  Plonge(profondeur);
  for (const Balise& c : type.Enfants()) {
    if (Est(c, "sequence") || Est(c, "choice") || Est(c, "all") || Est(c, "group")) {
      Modele(c, 1, 1, sortie, profondeur + 1);
    } else if (Est(c, "complexContent")) {
      for (const Balise& derivation : c.Enfants()) {
        const bool extension = Est(derivation, "extension");
        if (!extension && !Est(derivation, "restriction")) continue;
        // An extension appends its particles to the base's; a restriction restates them all.
        const std::string* base = derivation.TrouveAttribut("base");
        const Balise* typeBase =
            base != nullptr && !EstPredefini(*base) ? Global(typesComplexes_, *base) : nullptr;
        if (extension && typeBase != nullptr) ContenuType(*typeBase, sortie, profondeur + 1);
        ContenuType(derivation, sortie, profondeur + 1);
      }
    }
  }
}

std::vector<NavigationSchema::Particule> NavigationSchema::Particules(const Balise* element) const {
  std::vector<Particule> toutes;
  const Balise* type = TypeComplexe(Resous(element));
  if (type != nullptr) ContenuType(*type, toutes, 0);
  // A name met twice (a, b, a) adds up its bounds, keeping its first place.
  std::vector<Particule> fusion;
  std::map<std::string, std::size_t, std::less<>> places;
  for (Particule& p : toutes) {
    const auto [it, nouveau] = places.emplace(p.declaration.nom, fusion.size());
    if (nouveau) {
      fusion.push_back(std::move(p));
      continue;
    }
    DeclarationEnfantXML& d = fusion[it->second].declaration;
    d.occurrencesMin = Somme(d.occurrencesMin, p.declaration.occurrencesMin);
    d.occurrencesMax = Somme(d.occurrencesMax, p.declaration.occurrencesMax);
  }
  return fusion;
}

std::vector<std::string> NavigationSchema::ElementsRacines() const {
  std::vector<std::string> noms;
  for (const Balise& b : racine_.Enfants()) {
    if (Est(b, "element") && b.PossedeAttribut("name")) noms.push_back(b.DonneAttribut("name"));
  }
  return noms;
}

const Balise* NavigationSchema::Element(std::string_view chemin) const {
  if (chemin.starts_with('/')) chemin.remove_prefix(1);
  std::size_t fin = chemin.find('/');
  const auto it = elements_.find(chemin.substr(0, fin));
  if (it == elements_.end()) return nullptr;
  const Balise* courant = it->second;
  while (fin != std::string_view::npos) {
    chemin.remove_prefix(fin + 1);
    fin = chemin.find('/');
    const std::string_view nom = chemin.substr(0, fin);
    const Balise* suivant = nullptr;
    for (const Particule& p : Particules(courant)) {
      if (p.element != nullptr && p.declaration.nom == nom) suivant = p.element;
    }
    if (suivant == nullptr) return nullptr;
    courant = suivant;
  }
  return courant;
}

const Balise* NavigationSchema::ElementExistant(std::string_view chemin) const {
  const Balise* element = Element(chemin);
  if (element == nullptr) Refuse(detail::Formate(N_("aucun élément « %s »"), {std::string(chemin)}));
  return element;
}

std::vector<DeclarationEnfantXML> NavigationSchema::Enfants(const Balise* element) const {
  std::vector<DeclarationEnfantXML> enfants;
  for (Particule& p : Particules(element)) enfants.push_back(std::move(p.declaration));
  return enfants;
}

void NavigationSchema::AttributsListe(const Balise& parent, std::vector<DeclarationAttributXML>& sortie,
                                      int profondeur) const {
  Plonge(profondeur);
  for (const Balise& c : parent.Enfants()) {
    if (Est(c, "attributeGroup")) {
      const std::string* ref = c.TrouveAttribut("ref");
      const Balise* groupe = ref != nullptr ? Global(groupesAttributs_, *ref) : nullptr;
      if (groupe != nullptr) AttributsListe(*groupe, sortie, profondeur + 1);
      continue;
    }
    if (!Est(c, "attribute")) continue;
    const std::string* ref = c.TrouveAttribut("ref");
    const Balise* declaration = ref != nullptr ? Global(attributs_, *ref) : &c;
    DeclarationAttributXML a;
    a.nom = ref != nullptr ? Local(*ref) : c.DonneAttribut("name");
    if (declaration != nullptr) {
      a.type = declaration->DonneAttribut("type");
      for (const Balise& t : declaration->Enfants()) {
        if (!Est(t, "simpleType")) continue;
        for (const Balise& r : t.Enfants()) {
          if (Est(r, "restriction")) a.type = r.DonneAttribut("base");
        }
      }
    }
    if (a.type.empty()) a.type = prefixe_ + "anySimpleType";
    a.requis = c.DonneAttribut("use") == "required";
    for (const Balise* source : {declaration, &c}) {
      if (source == nullptr) continue;
      if (source->PossedeAttribut("default")) a.defaut = source->DonneAttribut("default");
      if (source->PossedeAttribut("fixed")) {
        a.defaut = source->DonneAttribut("fixed");
        a.fixe = true;
      }
    }
    std::erase_if(sortie, [&](const DeclarationAttributXML& d) { return d.nom == a.nom; });
    if (c.DonneAttribut("use") != "prohibited") sortie.push_back(std::move(a));
  }
}

void NavigationSchema::AttributsType(const Balise& type, std::vector<DeclarationAttributXML>& sortie,
                                     int profondeur) const {
  Plonge(profondeur);
  AttributsListe(type, sortie, profondeur + 1);
  for (const Balise& c : type.Enfants()) {
    if (!Est(c, "complexContent") && !Est(c, "simpleContent")) continue;
    for (const Balise& derivation : c.Enfants()) {
      if (!Est(derivation, "extension") && !Est(derivation, "restriction")) continue;
      // Both derivations keep the base's attributes; a restriction may prohibit some.
      const std::string* base = derivation.TrouveAttribut("base");
      const Balise* typeBase =
          base != nullptr && !EstPredefini(*base) ? Global(typesComplexes_, *base) : nullptr;
      if (typeBase != nullptr) AttributsType(*typeBase, sortie, profondeur + 1);
      AttributsListe(derivation, sortie, profondeur + 1);
    }
  }
}

std::vector<DeclarationAttributXML> NavigationSchema::Attributs(const Balise* element) const {
  std::vector<DeclarationAttributXML> attributs;
  const Balise* type = TypeComplexe(Resous(element));
  if (type != nullptr) AttributsType(*type, attributs, 0);
  return attributs;
}

std::string NavigationSchema::TypeTexte(const Balise* element) const {
  std::string nom;
  TypeSimple(Resous(element), nom);
  return nom;
}

std::vector<std::string> NavigationSchema::ValeursPermises(const Balise* element) const {
  std::string nom;
  const Balise* type = TypeSimple(Resous(element), nom);
  for (int profondeur = 0; type != nullptr; ++profondeur) {
    Plonge(profondeur);
    const Balise* restriction = nullptr;
    for (const Balise& c : type->Enfants()) {
      if (Est(c, "restriction")) restriction = &c;
    }
    if (restriction == nullptr) break;
    std::vector<std::string> valeurs;
    for (const Balise& c : restriction->Enfants()) {
      if (Est(c, "enumeration")) valeurs.push_back(c.DonneAttribut("value"));
    }
    if (!valeurs.empty()) return valeurs;
    const std::string* base = restriction->TrouveAttribut("base");
    type = base != nullptr && !EstPredefini(*base) ? Global(typesSimples_, *base) : nullptr;
  }
  return {};
}

bool NavigationSchema::EstMixte(const Balise* element) const {
  const Balise* type = TypeComplexe(Resous(element));
  if (type == nullptr) return false;
  if (Vrai(type->TrouveAttribut("mixed"))) return true;
  for (const Balise& c : type->Enfants()) {
    if (Est(c, "complexContent") && Vrai(c.TrouveAttribut("mixed"))) return true;
  }
  return false;
}

}  // namespace sdd::xml
