// Ligatures, normal forms and locale sorting of ChaineN.
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>
#include <outils_socle/texte/UniCaractere.h>

#include <unicode/ucol.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace sdd {

ChaineN& ChaineN::Ligature() {
  static const ListeT<ChaineN> lettres{ChaineN(u"oe"), ChaineN(u"Oe"), ChaineN(u"OE"),
                                       ChaineN(u"ae"), ChaineN(u"Ae"), ChaineN(u"AE")};
  static const ListeT<ChaineN> ligatures{ChaineN(u"\u0153"), ChaineN(u"\u0152"), ChaineN(u"\u0152"),
                                         ChaineN(u"\u00E6"), ChaineN(u"\u00C6"), ChaineN(u"\u00C6")};
  return RemplaceEnLotChainePlusCourte(lettres, ligatures);
}

ChaineN& ChaineN::Deligature() {
  static const ListeT<ChaineN> ligatures{ChaineN(u"\u0152"), ChaineN(u"\u0153"), ChaineN(u"\u00C6"),
                                         ChaineN(u"\u00E6")};
  static const ListeT<ChaineN> lettres{ChaineN(u"OE"), ChaineN(u"oe"), ChaineN(u"AE"), ChaineN(u"ae")};
  return RemplaceEnLotChainePlusLongue(ligatures, lettres);
}

bool ChaineN::EstLigaturay() const {
  for (char16_t c : *this)
    if (UniCaractere::EstLigature(c)) return true;
  return false;
}

ChaineN& ChaineN::NormaliseVarianteMinusculiseSansAccent() {
  const uint64_t n = Longueur();
  uint64_t i = 0;
  const char16_t* lu = DonneUnites();
  while (i < n && UniCaractere::NormaliseVarianteMinusculiseSansAccent(lu[i]) == lu[i]) ++i;
  if (i == n) return *this;
  char16_t* u = Modifiable(0);
  for (; i < n; ++i) u[i] = UniCaractere::NormaliseVarianteMinusculiseSansAccent(u[i]);
  return *this;
}

ChaineN& ChaineN::NormaliseNFC() {
  UErrorCode erreur = U_ZERO_ERROR;
  const UNormalizer2* nfc = unorm2_getNFCInstance(&erreur);
  if (U_FAILURE(erreur)) throw exceptions::OperationInvalide();
  const int32_t n = static_cast<int32_t>(Longueur());
  if (unorm2_isNormalized(nfc, DonneUnites(), n, &erreur) && U_SUCCESS(erreur)) return *this;
  erreur = U_ZERO_ERROR;
  // Composition never lengthens a string in practice; size by preflight to be exact anyway.
  const int32_t taille = unorm2_normalize(nfc, DonneUnites(), n, nullptr, 0, &erreur);
  if (erreur != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(erreur)) throw exceptions::OperationInvalide();
  ChaineN resultat;
  char16_t* u = resultat.Modifiable(static_cast<uint64_t>(taille) + 1);
  erreur = U_ZERO_ERROR;
  unorm2_normalize(nfc, DonneUnites(), n, u, taille, &erreur);
  if (U_FAILURE(erreur)) throw exceptions::OperationInvalide();
  resultat.MetsLongueur(static_cast<uint64_t>(taille));
  return *this = std::move(resultat);
}

void ChaineN::TriChaineNLocale(ListeT<ChaineN>& liste, const char* locale) {
  UErrorCode erreur = U_ZERO_ERROR;
  std::unique_ptr<UCollator, void (*)(UCollator*)> collateur(ucol_open(locale, &erreur), ucol_close);
  if (U_FAILURE(erreur) || !collateur) throw exceptions::OuvertureEchouee(std::string("collation ") + locale);
  ucol_setStrength(collateur.get(), UCOL_TERTIARY);
  if (std::strncmp(locale, "fr", 2) == 0) {
    ucol_setAttribute(collateur.get(), UCOL_FRENCH_COLLATION, UCOL_ON, &erreur);
    if (U_FAILURE(erreur)) throw exceptions::OperationInvalide();
  }
  std::stable_sort(liste.begin(), liste.end(), [&collateur](const ChaineN& a, const ChaineN& b) {
    return ucol_strcoll(collateur.get(), a.DonneUnites(), static_cast<int32_t>(a.Longueur()), b.DonneUnites(),
                        static_cast<int32_t>(b.Longueur())) == UCOL_LESS;
  });
}

}  // namespace sdd
