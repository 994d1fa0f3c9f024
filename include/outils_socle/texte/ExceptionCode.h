#pragma once

#include <exception>
#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/texte/DAlerteInfo.h>

// A user-visible failure thrown as a standard exception. The held record is a plain DAlerteInfo:
// a DAlerteInfoErreur passed in is copied down, its codes frozen into the explanation.
class OUTILS_SOCLE_EXPORT ExceptionCode : public std::exception {
 public:
  explicit ExceptionCode(const DAlerteInfo& info);
  DAlerteInfo DonneMessageErreur() const { return info_; }
  // UTF-8 of DonneChainePourStdException(); valid while this object lives.
  const char* what() const noexcept override;

 private:
  DAlerteInfo info_;
  std::string utf8_;
};

// A standard exception whose text is formatted in the manner of printf.
class OUTILS_SOCLE_EXPORT ExceptionFmt : public std::exception {
 public:
  // The format and the string arguments are bytes in `codage`.
  ExceptionFmt(UniChaine::Codage codage, const char* format, ...) __attribute__((format(printf, 3, 4)));
  UniChaine DonneTexte() const { return texte_; }
  const char* what() const noexcept override;

 private:
  UniChaine texte_;
  std::string utf8_;
};
