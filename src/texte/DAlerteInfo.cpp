#include <outils_socle/texte/DAlerteDeleguay.h>
#include <outils_socle/texte/DAlerteInfo.h>
#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/ExceptionCode.h>

#include <QCoreApplication>

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"

namespace {

bool avecDecoration = false;
DAlerteDeleguay* presentateur = nullptr;

// French typography in user-facing texts: curly apostrophe, no-break spaces inside guillemets,
// and LF as the only line break. The order matters: CR LF must become LF before lone CRs do.
UniChaine NormaliseTypographie(const UniChaine& texte) {
  QString s = texte.DonneQString();
  s.replace(QChar(u'\''), QChar(u'\u2019'));
  s.replace(QStringLiteral(u"« "), QStringLiteral(u"«\u00A0"));
  s.replace(QStringLiteral(u" »"), QStringLiteral(u"\u00A0»"));
  s.replace(QStringLiteral(u"\r\n"), QStringLiteral(u"\n"));
  s.replace(QChar(u'\r'), QChar(u'\n'));
  return UniChaine(s);
}

const char* EtiquetteJournal(DAlerteInfo::eTypeDialogue type) {
  switch (type) {
    case DAlerteInfo::eInconnu: return "(Inconnu)";
    case DAlerteInfo::eQuestion: return "(Question)";
    case DAlerteInfo::eInformation: return "(Information)";
    case DAlerteInfo::eAttention:
    case DAlerteInfo::eAvertissement: return "(Attention)";
    case DAlerteInfo::eAlerte: return "(ALERTE)";
    case DAlerteInfo::eIconeMaison: return "(IconeMaison)";
    default: return "(Autre)";
  }
}

}  // namespace

// ---- DAlerteInfo

DAlerteInfo::DAlerteInfo() : typeDialogue_(eInconnu), titreParDefaut_(true) {}

DAlerteInfo::DAlerteInfo(eTypeDialogue type, const UniChaine& message, const UniChaine& explication,
                         const UniChaine& titre)
    : typeDialogue_(type),
      message_(message),
      explication_(explication),
      titreFenetre_(titre),
      titreParDefaut_(true) {
  if (!titre.EstVide()) {
    titreParDefaut_ = false;
  } else if (!avecDecoration) {
    titreFenetre_ = "Prismale";
  } else {
    titreFenetre_ = DonneDecoration() + " (" + UniChaine(QCoreApplication::applicationName()) + ")";
  }
  message_ = NormaliseTypographie(message_);
  explication_ = NormaliseTypographie(explication_);
  titreFenetre_ = NormaliseTypographie(titreFenetre_);
}

DAlerteInfo::DAlerteInfo(const DAlerteInfo& source) { CopieDepuis(source); }

DAlerteInfo& DAlerteInfo::operator=(const DAlerteInfo& source) {
  if (this != &source) CopieDepuis(source);
  return *this;
}

void DAlerteInfo::CopieDepuis(const DAlerteInfo& source) {
  typeDialogue_ = source.typeDialogue_;
  message_ = source.message_;
  titreFenetre_ = source.titreFenetre_;
  explication_ = source.DonneExplication();
  titreParDefaut_ = source.titreParDefaut_ && !avecDecoration;
}

DAlerteInfo::~DAlerteInfo() = default;

UniChaine DAlerteInfo::DonneExplication() const { return explication_; }

bool DAlerteInfo::EstNULL() const {
  return typeDialogue_ == eInconnu && message_.EstVide() && explication_.EstVide() && titreFenetre_.EstVide();
}

bool DAlerteInfo::EstTitreParDefaut() const { return titreParDefaut_ && !avecDecoration; }

UniChaine DAlerteInfo::DonneChainePourStdException() const { return message_ + " " + DonneExplication(); }

UniChaine DAlerteInfo::DonneMessagePourJournalisation() const {
  return UniChaine(EtiquetteJournal(typeDialogue_)) + "\t" + message_ + "\t" + explication_ + "\t";
}

void DAlerteInfo::MetsDecorationTitreDialogue(bool decoration) { avecDecoration = decoration; }

void DAlerteInfo::MetsDecorationTitreDialogueChaine(const UniChaine& decoration) {
  DonneDecoration() = decoration;
}

UniChaine& DAlerteInfo::DonneDecoration() {
  static UniChaine decoration;  // created once, thread-safely, on first use
  return decoration;
}

// ---- DAlerteInfoErreur, DAlerteInfoAssertionQt

DAlerteInfoErreur::DAlerteInfoErreur(eTypeDialogue type, const UniChaine& message,
                                     const UniChaine& explication, int codeErreur, const UniChaine& titre,
                                     int codeSecondaire, int codeTertiaire)
    : DAlerteInfo(type, message, explication, titre),
      codeErreur_(codeErreur),
      codeSecondaire_(codeSecondaire),
      codeTertiaire_(codeTertiaire) {}

UniChaine DAlerteInfoErreur::DonneExplication() const {
  UniChaine texte = DAlerteInfo::DonneExplication();
  if (codeErreur_ != -1) {
    UniChaine code =
        sdd::Traduis("Code Erreur: {1};",
                     "Pour message d'erreur général avec des numéros d'erreurs. Point-virgule à la fin.");
    code.Remplace("{1}", std::to_string(codeErreur_));
    texte += "\n\n " + code;
  }
  // The secondary and tertiary codes are appended whether or not the first one is present.
  if (codeSecondaire_ != -1) texte += " " + std::to_string(codeSecondaire_) + ";";
  if (codeTertiaire_ != -1) texte += " " + std::to_string(codeTertiaire_) + ";";
  return texte;
}

DAlerteInfoAssertionQt::DAlerteInfoAssertionQt(eTypeDialogue type, const UniChaine& message,
                                               const UniChaine& explication)
    : DAlerteInfo(type, message, explication, UniChaine()) {}

// ---- DAlerteDeleguay

DAlerteDeleguay::~DAlerteDeleguay() = default;

void DAlerteDeleguay::MetsDAlerteDeleguay(DAlerteDeleguay* p) { presentateur = p; }

int DAlerteDeleguay::DAlerteParDeleguay(const DAlerteInfo& info) {
  return presentateur ? presentateur->DAlerte(info) : 0;
}

int DAlerteDeleguay::DAlerteRappelParDeleguay(const DAlerteInfo& info, const UniChaine& texte) {
  return presentateur ? presentateur->DAlerteRappel(info, texte) : 0;
}

// ---- ExceptionCode, ExceptionFmt

ExceptionCode::ExceptionCode(const DAlerteInfo& info)
    : info_(info), utf8_(info_.DonneChainePourStdException().DonneStdString()) {}

const char* ExceptionCode::what() const noexcept { return utf8_.c_str(); }

ExceptionFmt::ExceptionFmt(UniChaine::Codage codage, const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copie;
  va_copy(copie, args);
  const int taille = std::vsnprintf(nullptr, 0, format, copie);
  va_end(copie);
  std::vector<char> octets(taille > 0 ? static_cast<size_t>(taille) + 1 : 1, '\0');
  if (taille > 0) std::vsnprintf(octets.data(), octets.size(), format, args);
  va_end(args);
  texte_ = UniChaine(octets.data(), codage, taille > 0 ? taille : 0);
  utf8_ = texte_.DonneStdString();
}

const char* ExceptionFmt::what() const noexcept { return utf8_.c_str(); }

// ---- Translation

namespace sdd {

// An application's Qt translator comes first; then our own catalogue, when the application
// has chosen a language other than French.
UniChaine Traduis(const char* texte, const char* commentaire) {
  const QString qt = QCoreApplication::translate("OutilsSocle", texte, commentaire);
  if (qt != QString::fromUtf8(texte)) return UniChaine(qt);
  return UniChaine(detail::TraduisTexteBibliotheque(texte));
}

}  // namespace sdd
