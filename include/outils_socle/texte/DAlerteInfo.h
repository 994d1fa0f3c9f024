#pragma once

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>

// An alert a user must see: the kind of dialog, a message, an explanation and a window title.
// Functions that can fail in a user-visible way fill one through a `DAlerteInfo &` out-parameter
// or throw it inside an ExceptionCode; the host application shows it through its
// DAlerteDeleguay. Records are plain values, safe to build and copy on any thread.
//
// Construction normalises typography in the three texts: straight apostrophes become U+2019,
// the ordinary spaces inside « » become no-break spaces, and CR LF or lone CR become LF.
class OUTILS_SOCLE_EXPORT DAlerteInfo {
 public:
  enum eTypeDialogue : int32_t {
    eInconnu = 0,
    eQuestion = 1,
    eInformation = 2,
    eAttention = 3,
    eAlerte = 4,         // the only kind the library raises itself
    eAutre = 5,          // logged as "(Autre)"
    eAvertissement = 6,  // a second warning kind, logged like eAttention
    eAutreBis = 7,       // logged as "(Autre)"
    eIconeMaison = 8,    // the application's own icon
  };

  DAlerteInfo();
  // An empty title takes the default: "Prismale", or, when decoration is on, the decoration text
  // followed by the application's name in parentheses.
  DAlerteInfo(eTypeDialogue type, const UniChaine& message, const UniChaine& explication,
              const UniChaine& titre);
  // The copy takes the source's DonneExplication(), so copying a DAlerteInfoErreur freezes its
  // error codes into the explanation text.
  DAlerteInfo(const DAlerteInfo& source);
  DAlerteInfo& operator=(const DAlerteInfo& source);
  virtual ~DAlerteInfo();

  virtual UniChaine DonneExplication() const;

  eTypeDialogue DonneTypeDialogue() const { return typeDialogue_; }
  UniChaine DonneMessage() const { return message_; }
  UniChaine DonneTitreFenetre() const { return titreFenetre_; }
  void MetsTypeDialogue(eTypeDialogue type) { typeDialogue_ = type; }

  bool EstNULL() const;
  // True while the title came from the default rule and decoration is off.
  bool EstTitreParDefaut() const;
  // message + " " + DonneExplication()
  UniChaine DonneChainePourStdException() const;
  // "(label)\tmessage\texplanation\t": the stored explanation, without the error codes that a
  // DAlerteInfoErreur adds in DonneExplication().
  UniChaine DonneMessagePourJournalisation() const;

  // Process-wide, unsynchronised: set them at start-up, before worker threads run.
  static void MetsDecorationTitreDialogue(bool avecDecoration);
  static void MetsDecorationTitreDialogueChaine(const UniChaine& decoration);

 private:
  static UniChaine& DonneDecoration();
  void CopieDepuis(const DAlerteInfo& source);

  eTypeDialogue typeDialogue_;
  UniChaine message_;
  UniChaine explication_;
  UniChaine titreFenetre_;
  bool titreParDefaut_;
};

// An alert with up to three error codes; -1 means absent. DonneExplication() appends the codes
// that are present after the explanation.
class OUTILS_SOCLE_EXPORT DAlerteInfoErreur : public DAlerteInfo {
 public:
  // Mind the order: the title sits between the first and the second code.
  DAlerteInfoErreur(eTypeDialogue type, const UniChaine& message, const UniChaine& explication,
                    int codeErreur, const UniChaine& titre, int codeSecondaire, int codeTertiaire);
  UniChaine DonneExplication() const override;

  int DonneCodeErreur() const { return codeErreur_; }
  int DonneCodeSecondaire() const { return codeSecondaire_; }
  int DonneCodeTertiaire() const { return codeTertiaire_; }

 private:
  int codeErreur_;
  int codeSecondaire_;
  int codeTertiaire_;
};

// The record used when the application framework reports a failed assertion; its title always
// follows the default rule.
class OUTILS_SOCLE_EXPORT DAlerteInfoAssertionQt : public DAlerteInfo {
 public:
  DAlerteInfoAssertionQt(eTypeDialogue type, const UniChaine& message, const UniChaine& explication);
};
