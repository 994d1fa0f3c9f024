#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/xml/ParseurXML.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"
#include "xml/AnalyseXML.h"
#include "xml/CaracteresXML.h"
#include "xml/ConstructeurArbre.h"

namespace sdd {

ErreurXML::ErreurXML(int ligne, int colonne, const std::string& quoi)
    : ErreurDeserialisation(UniChaine(detail::Formate(N_("XML : ligne %s, colonne %s"),
                                                      {std::to_string(ligne), std::to_string(colonne)}) +
                                      " : " + quoi)),
      ligne_(ligne),
      colonne_(colonne),
      quoi_(quoi) {}

ErreurXML::~ErreurXML() = default;

std::string ErreurXML::QuoiTraduit() const { return detail::TraduisTexteBibliotheque(quoi_); }

EcouteurXML::~EcouteurXML() = default;
void EcouteurXML::Debut(std::string_view, const std::vector<Balise::Attribut>&) {}
void EcouteurXML::Texte(std::string_view) {}
void EcouteurXML::Fin(std::string_view) {}
void EcouteurXML::Commentaire(std::string_view) {}
void EcouteurXML::Instruction(std::string_view, std::string_view) {}
void EcouteurXML::Notation(std::string_view, std::string_view, std::string_view) {}
void EcouteurXML::EntiteNonAnalysee(std::string_view, std::string_view, std::string_view, std::string_view) {}

namespace {

class SourceMemoire final : public xml::SourceOctets {
 public:
  SourceMemoire(const void* octets, std::size_t taille) : reste_(static_cast<const char*>(octets), taille) {}
  std::string_view Suivant() override { return std::exchange(reste_, std::string_view()); }

 private:
  std::string_view reste_;
};

// Reads the file in chunks, so a document larger than memory can still be streamed.
class SourceFichier final : public xml::SourceOctets {
 public:
  explicit SourceFichier(const UniChemin& chemin) : nom_(chemin.DonneStdString()) {
    fd_ = plateforme::OuvreFichier(nom_, plateforme::eAcces::eLecture);
    if (fd_ < 0) LanceErreurFichier(nom_, eOperationFichier::eOuverture);  // a folder included
  }
  ~SourceFichier() override { plateforme::FermeFichier(fd_); }
  SourceFichier(const SourceFichier&) = delete;
  SourceFichier& operator=(const SourceFichier&) = delete;

  std::string_view Suivant() override {
    const int64_t n = plateforme::LisFichier(fd_, tampon_.data(), tampon_.size());
    if (n < 0) LanceErreurFichier(nom_, eOperationFichier::eLecture);
    return std::string_view(tampon_.data(), static_cast<std::size_t>(n));
  }

 private:
  std::string nom_;
  int fd_ = -1;
  std::vector<char> tampon_ = std::vector<char>(std::size_t{1} << 18);
};

// Builds the tree. The stack holds the open elements; each lives in its parent's children,
// which do not move while it is open (only the innermost open element gets new children).
class Constructeur final : public xml::Recepteur {
 public:
  explicit Constructeur(bool ignoreEspaces) : ignoreEspaces_(ignoreEspaces) {}

  void Debut(std::string_view nom, std::vector<Balise::Attribut>& attributs) override {
    Balise* parent = nullptr;
    if (!pile_.empty()) {
      parent = pile_.back();
      if (ignoreEspaces_) EnleveMiseEnPage(*parent);
    }
    Balise nouvelle(std::string(nom), std::move(attributs));
    pile_.push_back(parent != nullptr ? &parent->AjouteEnfant(std::move(nouvelle))
                                      : &(racine_ = std::move(nouvelle)));
  }

  void Texte(std::string_view texte) override {
    if (pile_.empty()) return;  // whitespace around the root
    Balise& courante = *pile_.back();
    if (courante.NombreEnfants() == 0) {
      courante.AjouteTexte(texte);
    } else {
      courante.Enfants().back().AjouteQueue(texte);
    }
  }

  void Fin(std::string_view) override {
    if (ignoreEspaces_ && pile_.back()->NombreEnfants() > 0) EnleveMiseEnPage(*pile_.back());
    pile_.pop_back();
  }

  Balise Racine() { return std::move(racine_); }

 private:
  // The text just before a tag inside an element that has, or is about to get, children: at a
  // child's start, the text seen so far in the parent is exactly the text before that child.
  static void EnleveMiseEnPage(Balise& b) {
    if (b.NombreEnfants() == 0) {
      if (detail::EstEspaceXML(b.Texte())) b.MetsTexte(std::string());
    } else if (detail::EstEspaceXML(b.Enfants().back().Queue())) {
      b.Enfants().back().MetsQueue(std::string());
    }
  }

  bool ignoreEspaces_;
  Balise racine_;
  std::vector<Balise*> pile_;
};

class Relais final : public xml::Recepteur {
 public:
  explicit Relais(EcouteurXML& ecouteur) : ecouteur_(ecouteur) {}
  void Debut(std::string_view nom, std::vector<Balise::Attribut>& attributs) override {
    ecouteur_.Debut(nom, attributs);
  }
  void Texte(std::string_view texte) override { ecouteur_.Texte(texte); }
  void Fin(std::string_view nom) override { ecouteur_.Fin(nom); }
  void Commentaire(std::string_view texte) override { ecouteur_.Commentaire(texte); }
  void Instruction(std::string_view cible, std::string_view donnees) override {
    ecouteur_.Instruction(cible, donnees);
  }
  void Notation(std::string_view nom, std::string_view public_, std::string_view systeme) override {
    ecouteur_.Notation(nom, public_, systeme);
  }
  void EntiteNonAnalysee(std::string_view nom, std::string_view public_, std::string_view systeme,
                         std::string_view notation) override {
    ecouteur_.EntiteNonAnalysee(nom, public_, systeme, notation);
  }

 private:
  EcouteurXML& ecouteur_;
};

Balise ConstruisArbre(xml::SourceOctets& source, const OptionsParseurXML& options, bool dejaDecode) {
  Constructeur constructeur(options.ignoreEspacesDeMiseEnPage);
  xml::Analyse(source, options, constructeur, dejaDecode);
  return constructeur.Racine();
}

ArbreXML ConstruisArbreXML(xml::SourceOctets& source, const OptionsParseurXML& options, bool dejaDecode) {
  xml::ConstructeurArbre constructeur(options.ignoreEspacesDeMiseEnPage);
  xml::Analyse(source, options, constructeur, dejaDecode);
  return constructeur.Arbre();
}

}  // namespace

Balise ParseurXML::LisFichier(const UniChemin& chemin) const {
  SourceFichier source(chemin);
  return ConstruisArbre(source, options_, false);
}

Balise ParseurXML::LisMemoire(const void* octets, std::size_t taille) const {
  SourceMemoire source(octets, taille);
  return ConstruisArbre(source, options_, false);
}

Balise ParseurXML::LisChaine(const UniChaine& texte) const {
  const std::string utf8 = texte.DonneStdString();
  SourceMemoire source(utf8.data(), utf8.size());
  return ConstruisArbre(source, options_, true);
}

Balise ParseurXML::LisChaine(const ChaineN& texte) const { return LisChaine(UniChaine(texte)); }

ArbreXML ParseurXML::LisArbreFichier(const UniChemin& chemin) const {
  SourceFichier source(chemin);
  return ConstruisArbreXML(source, options_, false);
}

ArbreXML ParseurXML::LisArbreMemoire(const void* octets, std::size_t taille) const {
  SourceMemoire source(octets, taille);
  return ConstruisArbreXML(source, options_, false);
}

ArbreXML ParseurXML::LisArbreChaine(const UniChaine& texte) const {
  const std::string utf8 = texte.DonneStdString();
  SourceMemoire source(utf8.data(), utf8.size());
  return ConstruisArbreXML(source, options_, true);
}

ArbreXML ParseurXML::LisArbreChaine(const ChaineN& texte) const { return LisArbreChaine(UniChaine(texte)); }

void ParseurXML::AnalyseFichier(const UniChemin& chemin, EcouteurXML& ecouteur) const {
  SourceFichier source(chemin);
  Relais relais(ecouteur);
  xml::Analyse(source, options_, relais, false);
}

void ParseurXML::AnalyseMemoire(const void* octets, std::size_t taille, EcouteurXML& ecouteur) const {
  SourceMemoire source(octets, taille);
  Relais relais(ecouteur);
  xml::Analyse(source, options_, relais, false);
}

void ParseurXML::AnalyseChaine(const UniChaine& texte, EcouteurXML& ecouteur) const {
  const std::string utf8 = texte.DonneStdString();
  SourceMemoire source(utf8.data(), utf8.size());
  Relais relais(ecouteur);
  xml::Analyse(source, options_, relais, true);
}

}  // namespace sdd
