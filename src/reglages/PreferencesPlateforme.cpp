#include <outils_socle/reglages/PreferencesPlateforme.h>

#include <QSettings>
#include <QStringList>

#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "reglages/CheminsReglages.h"

namespace sdd {

struct PreferencesPlateforme::_Rep {
  _Rep(const QString& organisation, const QString& application)
      : parametres(QSettings::NativeFormat, QSettings::UserScope, organisation, application) {}
  QSettings parametres;
};

PreferencesPlateforme::PreferencesPlateforme(const UniChaine& organisation, const UniChaine& application)
    : rep_(std::make_unique<_Rep>(organisation.DonneQString(), application.DonneQString())) {}

PreferencesPlateforme::~PreferencesPlateforme() = default;

UniChemin PreferencesPlateforme::Chemin() const { return UniChaine(rep_->parametres.fileName()); }

void PreferencesPlateforme::Mets(const UniChaine& cle, const Reglage& valeur) {
  if (!detail::EstCheminValide(cle.DonneStdString()))
    throw exceptions::OperationInvalide(
        detail::Formate(N_("Clé de préférence non valide : « %s »"), {cle.DonneStdString()}));
  QVariant v;
  switch (valeur.Type()) {
    case eTypeReglage::eBooleen: v = valeur.DonneBooleen(); break;
    case eTypeReglage::eEntier: v = static_cast<qlonglong>(valeur.DonneEntier()); break;
    case eTypeReglage::eChaine: v = valeur.DonneChaine().DonneQString(); break;
    case eTypeReglage::eListeChaines: {
      QStringList liste;
      for (const UniChaine& chaine : valeur.DonneListeChaines()) liste << chaine.DonneQString();
      v = liste;
      break;
    }
    case eTypeReglage::eBlob: {
      const Reglage::Octets& octets = valeur.DonneBlob();
      v = QByteArray(reinterpret_cast<const char*>(octets.data()), static_cast<int>(octets.size()));
      break;
    }
  }
  rep_->parametres.setValue(cle.DonneQString(), v);
}

// QSettings' INI file keeps no types: a value written in this process comes back typed, one read
// from the file comes back as a string (a one-element list as its element, an empty list as an
// invalid value). Each kind is read from both shapes.
bool PreferencesPlateforme::Donne(const UniChaine& cle, eTypeReglage type, Reglage& valeur) const {
  const QString clef = cle.DonneQString();
  if (!rep_->parametres.contains(clef)) return false;
  const QVariant v = rep_->parametres.value(clef);
  switch (type) {
    case eTypeReglage::eBooleen:
      if (v.type() == QVariant::Bool) {
        valeur = Reglage::Booleen(v.toBool());
        return true;
      }
      return v.type() == QVariant::String && Reglage::LisTexte(type, v.toString().toStdString(), valeur);
    case eTypeReglage::eEntier: {
      bool lu = false;
      const qlonglong n = v.toLongLong(&lu);
      if (!lu || v.type() == QVariant::Bool) return false;
      valeur = Reglage::Entier(n);
      return true;
    }
    case eTypeReglage::eChaine:
      if (v.type() != QVariant::String) return false;
      valeur = Reglage::Chaine(UniChaine(v.toString()));
      return true;
    case eTypeReglage::eListeChaines: {
      Reglage::Chaines chaines;
      if (v.type() == QVariant::StringList || v.type() == QVariant::String) {
        for (const QString& s : v.toStringList()) chaines.emplace_back(s);
      } else if (v.isValid()) {
        return false;
      }
      valeur = Reglage::ListeChaines(chaines);
      return true;
    }
    case eTypeReglage::eBlob: {
      if (v.type() != QVariant::ByteArray) return false;
      const QByteArray octets = v.toByteArray();
      valeur = Reglage::Blob(Reglage::Octets(octets.begin(), octets.end()));
      return true;
    }
  }
  return false;
}

bool PreferencesPlateforme::DonneBooleen(const UniChaine& cle, bool repli) const {
  Reglage v;
  return Donne(cle, eTypeReglage::eBooleen, v) ? v.DonneBooleen() : repli;
}

int64_t PreferencesPlateforme::DonneEntier(const UniChaine& cle, int64_t repli) const {
  Reglage v;
  return Donne(cle, eTypeReglage::eEntier, v) ? v.DonneEntier() : repli;
}

UniChaine PreferencesPlateforme::DonneChaine(const UniChaine& cle, const UniChaine& repli) const {
  Reglage v;
  return Donne(cle, eTypeReglage::eChaine, v) ? v.DonneChaine() : repli;
}

Reglage::Chaines PreferencesPlateforme::DonneListeChaines(const UniChaine& cle,
                                                          const Reglage::Chaines& repli) const {
  Reglage v;
  return Donne(cle, eTypeReglage::eListeChaines, v) ? v.DonneListeChaines() : repli;
}

Reglage::Octets PreferencesPlateforme::DonneBlob(const UniChaine& cle, const Reglage::Octets& repli) const {
  Reglage v;
  return Donne(cle, eTypeReglage::eBlob, v) ? v.DonneBlob() : repli;
}

bool PreferencesPlateforme::Enleve(const UniChaine& cle) {
  if (!rep_->parametres.contains(cle.DonneQString())) return false;
  rep_->parametres.remove(cle.DonneQString());
  return true;
}

std::vector<UniChaine> PreferencesPlateforme::Cles() const {
  std::vector<UniChaine> cles;
  for (const QString& cle : rep_->parametres.allKeys()) cles.emplace_back(cle);
  return cles;
}

void PreferencesPlateforme::Synchronise() {
  rep_->parametres.sync();
  if (rep_->parametres.status() != QSettings::NoError)
    throw exceptions::OuvertureEchouee(rep_->parametres.fileName().toStdString() +
                                       (rep_->parametres.status() == QSettings::AccessError
                                            ? " : " N_("accès refusé")
                                            : " : " N_("format non valide")));
}

void PreferencesPlateforme::EnregistreDepuis(const Reglages& reglages) {
  const Reglages photo(reglages);  // one moment's values
  for (const UniChaine& chemin : photo.Chemins()) {
    Reglage valeur;
    if (photo.DonneValeur(chemin, valeur)) Mets(chemin, valeur);
  }
}

void PreferencesPlateforme::ChargeDans(Reglages& reglages) const {
  std::vector<Reglages::Changement> changements;
  for (const UniChaine& cle : Cles()) {
    if (!detail::EstCheminValide(cle.DonneStdString())) continue;  // written by someone else
    Reglage defaut;
    const eTypeReglage type = reglages.DonneDefaut(cle, defaut) ? defaut.Type() : eTypeReglage::eChaine;
    Reglage valeur;
    if (Donne(cle, type, valeur)) changements.emplace_back(cle, valeur);
  }
  reglages.Applique(changements);
}

}  // namespace sdd
