#pragma once

#include <cstdint>

#include <outils_socle/Export.h>
#include <outils_socle/texte/UniChaine.h>

// The library's own failure family. It is deliberately not rooted in std::exception: these are
// faults of the program or of the data (an index out of bounds, a corrupt table), caught by code
// that knows the library, while failures a user must see travel as ExceptionCode.
namespace sdd::exceptions {

class OUTILS_SOCLE_EXPORT Exception {
 public:
  Exception(const UniChaine& message, const UniChaine& explication);
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception();

  UniChaine Message() const { return message_; }
  UniChaine Explication() const { return explication_; }
  // message + " : " + explication
  UniChaine MessageComplet() const;
  // The same texts in the interface language chosen with Langues::ChoisisLangue (French, as
  // above, until then). A detail the catalogue does not know stays as it is.
  UniChaine MessageTraduit() const;
  UniChaine ExplicationTraduite() const;
  UniChaine MessageCompletTraduit() const;

 private:
  UniChaine message_;      // fixed by the class
  UniChaine explication_;  // the detail of this occurrence
};

// Each subclass only fixes the texts; copying and moving copy both texts.
#define OUTILS_SOCLE_EXCEPTION_COPIABLE(Classe)      \
  Classe(const Classe&) = default;                   \
  Classe(Classe&& autre) noexcept : Classe(autre) {} \
  Classe& operator=(const Classe&) = default;        \
  ~Classe() override

class OUTILS_SOCLE_EXPORT ErreurDeserialisation : public Exception {
 public:
  explicit ErreurDeserialisation(const UniChaine& detail);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(ErreurDeserialisation);
};

// Shares its message with OperationInvalide.
class OUTILS_SOCLE_EXPORT ErreurSyntaxe : public Exception {
 public:
  ErreurSyntaxe();
  OUTILS_SOCLE_EXCEPTION_COPIABLE(ErreurSyntaxe);
};

// The three numbers are written in plain decimal: "index=5 min=0 max=3".
class OUTILS_SOCLE_EXPORT IndexHorsBorne : public Exception {
 public:
  IndexHorsBorne(uint64_t index, uint64_t min, uint64_t max);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(IndexHorsBorne);
};

class OUTILS_SOCLE_EXPORT LiberationObjetImpossible : public Exception {
 public:
  LiberationObjetImpossible();
  OUTILS_SOCLE_EXCEPTION_COPIABLE(LiberationObjetImpossible);
};

class OUTILS_SOCLE_EXPORT MemoireInsuffisante : public Exception {
 public:
  explicit MemoireInsuffisante(const UniChaine& detail);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(MemoireInsuffisante);
};

class OUTILS_SOCLE_EXPORT OperationInvalide : public Exception {
 public:
  OperationInvalide();
  explicit OperationInvalide(const UniChaine& detail);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(OperationInvalide);
};

// A file or resource that could not be used. Failures of file operations are its subclass
// ErreurFichier (ErreurFichier.h), which names the operation and keeps the system's error number.
class OUTILS_SOCLE_EXPORT OuvertureEchouee : public Exception {
 public:
  explicit OuvertureEchouee(const UniChaine& detail);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(OuvertureEchouee);

 protected:
  // For ErreurFichier, whose message names the operation that failed.
  OuvertureEchouee(const UniChaine& message, const UniChaine& detail);
};

class OUTILS_SOCLE_EXPORT PointeurInvalide : public Exception {
 public:
  PointeurInvalide();
  OUTILS_SOCLE_EXCEPTION_COPIABLE(PointeurInvalide);
};

class OUTILS_SOCLE_EXPORT TableNonValide : public Exception {
 public:
  explicit TableNonValide(const UniChaine& detail);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(TableNonValide);
};

class OUTILS_SOCLE_EXPORT ValeurIndefinieIterateur : public Exception {
 public:
  ValeurIndefinieIterateur();
  OUTILS_SOCLE_EXCEPTION_COPIABLE(ValeurIndefinieIterateur);
};

// Carries texts chosen by the thrower.
class OUTILS_SOCLE_EXPORT ExceptionModulePrismale : public Exception {
 public:
  ExceptionModulePrismale(const UniChaine& message, const UniChaine& explication);
  OUTILS_SOCLE_EXCEPTION_COPIABLE(ExceptionModulePrismale);
};

#undef OUTILS_SOCLE_EXCEPTION_COPIABLE

}  // namespace sdd::exceptions

namespace sdd {

// Every bound check of the library ends here, as LanceIndexHorsBorne(i, 0, n) with n the element
// count, so messages are uniform and the throwing code stays out of hot loops.
[[noreturn]] OUTILS_SOCLE_EXPORT void LanceIndexHorsBorne(uint64_t index, uint64_t min, uint64_t max);
[[noreturn]] OUTILS_SOCLE_EXPORT void LanceErreurSyntaxe();

}  // namespace sdd
