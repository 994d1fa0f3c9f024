// ChaineN's searches, replacements, blank handling, joining and escaping. Searches walk the
// string once with UniCarEgalOption when options are given; the exact case uses the standard
// library's search, which is the same walk, only faster.
#include <outils_socle/texte/ChaineN.h>

#include <outils_socle/texte/Exception.h>

#include <QRegularExpression>
#include <QString>

#include <outils_socle/texte/UniCaractere.h>

#include <string_view>

#include "texte/ClassesCaracteres.h"
#include "texte/Malgray.h"

namespace sdd {

namespace {

using Vue = std::u16string_view;

Vue VueDe(const ChaineN& s) { return Vue(s.DonneUnites(), s.Longueur()); }

int64_t Position(size_t p) { return p == Vue::npos ? -1 : static_cast<int64_t>(p); }

// Letters and digits make words; anything else is a boundary.
bool EstCarMot(char16_t c) {
  return (UniCaractere::Classes(c) & (detail::classes::kLettre | detail::classes::kChiffre)) != 0;
}

bool EstDans(char16_t c, const ChaineN& ensemble, ChaineN::Malgray m) {
  for (char16_t e : ensemble)
    if (UniCarEgalOption(c, e, m)) return true;
  return false;
}

// The units of `s` from `position` that match the whole motif, or -1.
int64_t LongueurA(const ChaineN& s, uint64_t position, const ChaineN& motif, ChaineN::Malgray m) {
  return detail::CorrespondAvecOptions(s.DonneUnites(), s.Longueur(), position, motif, m);
}

struct Occurrence {
  int64_t position = -1;
  uint64_t longueur = 0;
};

// The first occurrence at or after `depuis` standing as a whole word: no letter or digit just
// before it nor just after it.
Occurrence TrouveMotEntier(const ChaineN& s, const ChaineN& motif, uint64_t depuis, ChaineN::Malgray m) {
  const char16_t* u = s.DonneUnites();
  const uint64_t n = s.Longueur();
  if (motif.EstVide()) return {};
  for (int64_t p = s.Contient(motif, depuis, m); p >= 0;
       p = s.Contient(motif, static_cast<uint64_t>(p) + 1, m)) {
    const uint64_t i = static_cast<uint64_t>(p);
    const int64_t l = LongueurA(s, i, motif, m);
    if (l <= 0) continue;
    const uint64_t fin = i + static_cast<uint64_t>(l);
    if ((i == 0 || !EstCarMot(u[i - 1])) && (fin == n || !EstCarMot(u[fin])))
      return {p, static_cast<uint64_t>(l)};
  }
  return {};
}

// The start of an occurrence that ends exactly at the end of `s`, or -1.
int64_t DebutDuSuffixe(const ChaineN& s, const ChaineN& motif, ChaineN::Malgray m) {
  const uint64_t n = s.Longueur(), k = motif.Longueur();
  if (!(m & ChaineN::kMalgrayLigatures)) {
    if (k > n) return -1;
    return LongueurA(s, n - k, motif, m) >= 0 ? static_cast<int64_t>(n - k) : -1;
  }
  // A ligature stands for two letters: the occurrence spans between k / 2 and 2k units.
  const uint64_t plusLong = 2 * k < n ? 2 * k : n;
  for (uint64_t l = (k + 1) / 2; l <= plusLong; ++l)
    if (LongueurA(s, n - l, motif, m) == static_cast<int64_t>(l)) return static_cast<int64_t>(n - l);
  return -1;
}

}  // namespace

// ---- Search

int64_t ChaineN::Contient(const ChaineN& motif, uint64_t depuis, Malgray m) const {
  const uint64_t n = Longueur();
  if (depuis > n) return -1;
  if (m == kMalgrayRien) return Position(VueDe(*this).find(VueDe(motif), depuis));
  for (uint64_t i = depuis; i <= n; ++i)
    if (LongueurA(*this, i, motif, m) >= 0) return static_cast<int64_t>(i);
  return -1;
}

int64_t ChaineN::Contient(char16_t c, uint64_t depuis, Malgray m) const {
  if (m == kMalgrayRien) return Position(VueDe(*this).find(c, depuis));
  const char16_t* u = DonneUnites();
  for (uint64_t i = depuis; i < Longueur(); ++i)
    if (UniCarEgalOption(u[i], c, m)) return static_cast<int64_t>(i);
  return -1;
}

bool ChaineN::ContientALaPos(const ChaineN& motif, uint64_t position, Malgray m) const {
  return LongueurA(*this, position, motif, m) >= 0;
}

int64_t ChaineN::ContientUnCarDe(const ChaineN& ensemble, uint64_t depuis, Malgray m) const {
  const char16_t* u = DonneUnites();
  for (uint64_t i = depuis; i < Longueur(); ++i)
    if (EstDans(u[i], ensemble, m)) return static_cast<int64_t>(i);
  return -1;
}

int64_t ChaineN::TrouveDernier(const ChaineN& motif, Malgray m) const {
  const uint64_t n = Longueur();
  if (m == kMalgrayRien) return motif.Longueur() > n ? -1 : Position(VueDe(*this).rfind(VueDe(motif)));
  for (uint64_t i = n + 1; i-- > 0;)
    if (LongueurA(*this, i, motif, m) >= 0) return static_cast<int64_t>(i);
  return -1;
}

int64_t ChaineN::TrouveDernier(char16_t c) const { return Position(VueDe(*this).rfind(c)); }

int64_t ChaineN::TrouveUnCarDeVersLArriere(const ChaineN& ensemble, uint64_t depuis) const {
  const uint64_t n = Longueur();
  if (n == 0) return -1;
  if (depuis >= n) depuis = n - 1;
  const char16_t* u = DonneUnites();
  for (uint64_t i = depuis + 1; i-- > 0;)
    if (EstDans(u[i], ensemble, kMalgrayRien)) return static_cast<int64_t>(i);
  return -1;
}

bool ChaineN::CommencePar(const ChaineN& motif, Malgray m) const { return ContientALaPos(motif, 0, m); }

bool ChaineN::TerminePar(const ChaineN& motif, Malgray m) const {
  return DebutDuSuffixe(*this, motif, m) >= 0;
}

bool ChaineN::CommenceMotEntier(const ChaineN& motif, uint64_t position, Malgray m) const {
  if (!ContientALaPos(motif, position, m)) return false;
  return position == 0 || !EstCarMot(DonneUnites()[position - 1]);
}

bool ChaineN::CommenceParMotEntier(const ChaineN& motif, Malgray m) const {
  const int64_t l = LongueurA(*this, 0, motif, m);
  if (l < 0) return false;
  return static_cast<uint64_t>(l) == Longueur() || !EstCarMot(DonneUnites()[l]);
}

bool ChaineN::TermineMotEntier(const ChaineN& motif, Malgray m) const {
  const int64_t debut = DebutDuSuffixe(*this, motif, m);
  if (debut < 0) return false;
  return debut == 0 || !EstCarMot(DonneUnites()[debut - 1]);
}

int64_t ChaineN::ContientMotEntier(const ChaineN& motif, uint64_t depuis, Malgray m) const {
  return TrouveMotEntier(*this, motif, depuis, m).position;
}

ListeC<std::pair<uint64_t, uint64_t>> ChaineN::RechercheMotEntier(const ChaineN& motif, Malgray m) const {
  ListeC<std::pair<uint64_t, uint64_t>> trouves;
  for (Occurrence o = TrouveMotEntier(*this, motif, 0, m); o.position >= 0;
       o = TrouveMotEntier(*this, motif, static_cast<uint64_t>(o.position) + o.longueur, m))
    trouves.Ajoute({static_cast<uint64_t>(o.position), o.longueur});
  return trouves;
}

bool ChaineN::ContientRegex(const ChaineN& expression, int64_t* position, int64_t* longueur) const {
  // Unicode classes, so that \w and \b know accented letters.
  const QRegularExpression regex(
      // The units as they are (fromUtf16 would drop a leading U+FEFF as a byte-order mark).
      QString(reinterpret_cast<const QChar*>(expression.DonneUnites()),
              static_cast<int>(expression.Longueur())),
      QRegularExpression::UseUnicodePropertiesOption);
  if (!regex.isValid()) LanceErreurSyntaxe();
  // The subject is read in place: no copy of this string's units.
  const QString sujet =
      QString::fromRawData(reinterpret_cast<const QChar*>(DonneUnites()), static_cast<int>(Longueur()));
  const QRegularExpressionMatch resultat = regex.match(sujet);
  if (position) *position = resultat.hasMatch() ? resultat.capturedStart() : -1;
  if (longueur) *longueur = resultat.hasMatch() ? resultat.capturedLength() : -1;
  return resultat.hasMatch();
}

// ---- Replacement

ChaineN& ChaineN::Remplace(const ChaineN& ancien, const ChaineN& nouveau) {
  return RemplaceLot(&ancien, &nouveau, 1);
}

ChaineN& ChaineN::RemplaceDepuisFin(const ChaineN& ancien, const ChaineN& nouveau) {
  if (ancien.EstVide()) return *this;
  const int64_t p = TrouveDernier(ancien);
  if (p < 0) return *this;
  // A copy, not a reference: it keeps the source buffer alive while this one changes.
  const ChaineN garde(nouveau);  // NOLINT(performance-unnecessary-copy-initialization)
  return Remplace(static_cast<uint64_t>(p), ancien.Longueur(), garde.DonneUnites(), garde.Longueur());
}

ChaineN& ChaineN::RemplaceFin(const ChaineN& ancien, const ChaineN& nouveau) {
  if (ancien.EstVide() || !TerminePar(ancien)) return *this;
  // A copy, not a reference: it keeps the source buffer alive while this one changes.
  const ChaineN garde(nouveau);  // NOLINT(performance-unnecessary-copy-initialization)
  return Remplace(Longueur() - ancien.Longueur(), ancien.Longueur(), garde.DonneUnites(), garde.Longueur());
}

ChaineN& ChaineN::RemplaceMotEntier(const ChaineN& ancien, const ChaineN& nouveau) {
  if (ancien.EstVide()) return *this;
  const ChaineN source(*this);
  ChaineN resultat;
  uint64_t copie = 0;
  for (const auto& [position, longueur] : source.RechercheMotEntier(ancien)) {
    resultat.AjouteFin(source.DonneUnites() + copie, position - copie).AjouteFin(nouveau);
    copie = position + longueur;
  }
  if (copie == 0) return *this;
  resultat.AjouteFin(source.DonneUnites() + copie, source.Longueur() - copie);
  return *this = std::move(resultat);
}

namespace {

// The longest of the patterns that matches at `position`, or -1. Empty patterns never match.
int64_t MeilleurMotif(const char16_t* u, uint64_t n, uint64_t position, const ChaineN* anciens,
                      uint64_t nombre) {
  int64_t meilleur = -1;
  uint64_t longueur = 0;
  for (uint64_t k = 0; k < nombre; ++k) {
    const uint64_t l = anciens[k].Longueur();
    if (l == 0 || l <= longueur || l > n - position) continue;
    const char16_t* a = anciens[k].DonneUnites();
    if (a[0] == u[position] && std::char_traits<char16_t>::compare(u + position, a, l) == 0) {
      meilleur = static_cast<int64_t>(k);
      longueur = l;
    }
  }
  return meilleur;
}

void VerifieLots(const ListeT<ChaineN>& anciens, const ListeT<ChaineN>& nouveaux) {
  if (anciens.Taille() != nouveaux.Taille()) throw exceptions::OperationInvalide();
}

bool PlusLongue(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre) {
  for (uint64_t k = 0; k < nombre; ++k)
    if (nouveaux[k].Longueur() > anciens[k].Longueur()) return true;
  return false;
}

}  // namespace

ChaineN& ChaineN::RemplaceLot(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre) {
  return PlusLongue(anciens, nouveaux, nombre) ? RemplaceLotPlusLongue(anciens, nouveaux, nombre)
                                               : RemplaceLotPlusCourte(anciens, nouveaux, nombre);
}

// Replacements are never longer, so writing trails reading: one pass in place. A pattern or
// replacement that shares this buffer keeps the old units alive, since writing unshares first.
ChaineN& ChaineN::RemplaceLotPlusCourte(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre) {
  const uint64_t n = Longueur();
  uint64_t premier = 0;
  while (premier < n && MeilleurMotif(DonneUnites(), n, premier, anciens, nombre) < 0) ++premier;
  if (premier == n) return *this;
  char16_t* u = Modifiable(0);
  uint64_t ecrit = premier;
  for (uint64_t i = premier; i < n;) {
    const int64_t k = MeilleurMotif(u, n, i, anciens, nombre);
    if (k < 0) {
      u[ecrit++] = u[i++];
      continue;
    }
    const ChaineN& r = nouveaux[k];
    std::char_traits<char16_t>::move(u + ecrit, r.DonneUnites(), r.Longueur());
    ecrit += r.Longueur();
    i += anciens[k].Longueur();
  }
  MetsLongueur(ecrit);
  return *this;
}

// Replacements may be longer: size the result, then write it once into a new buffer.
ChaineN& ChaineN::RemplaceLotPlusLongue(const ChaineN* anciens, const ChaineN* nouveaux, uint64_t nombre) {
  const char16_t* u = DonneUnites();
  const uint64_t n = Longueur();
  uint64_t taille = 0;
  bool trouve = false;
  for (uint64_t i = 0; i < n;) {
    const int64_t k = MeilleurMotif(u, n, i, anciens, nombre);
    if (k < 0) {
      ++taille;
      ++i;
    } else {
      trouve = true;
      taille += nouveaux[k].Longueur();
      i += anciens[k].Longueur();
    }
  }
  if (!trouve) return *this;
  ChaineN resultat;
  char16_t* o = resultat.Modifiable(taille + 1);
  uint64_t ecrit = 0;
  for (uint64_t i = 0; i < n;) {
    const int64_t k = MeilleurMotif(u, n, i, anciens, nombre);
    if (k < 0) {
      o[ecrit++] = u[i++];
    } else {
      const ChaineN& r = nouveaux[k];
      std::char_traits<char16_t>::copy(o + ecrit, r.DonneUnites(), r.Longueur());
      ecrit += r.Longueur();
      i += anciens[k].Longueur();
    }
  }
  resultat.MetsLongueur(ecrit);
  return *this = std::move(resultat);
}

ChaineN& ChaineN::RemplaceEnLot(const ListeT<ChaineN>& anciens, const ListeT<ChaineN>& nouveaux) {
  VerifieLots(anciens, nouveaux);
  return RemplaceLot(anciens.Donnees(), nouveaux.Donnees(), anciens.Taille());
}

ChaineN& ChaineN::RemplaceEnLotChainePlusCourte(const ListeT<ChaineN>& anciens,
                                                const ListeT<ChaineN>& nouveaux) {
  VerifieLots(anciens, nouveaux);
  if (PlusLongue(anciens.Donnees(), nouveaux.Donnees(), anciens.Taille()))
    throw exceptions::OperationInvalide();
  return RemplaceLotPlusCourte(anciens.Donnees(), nouveaux.Donnees(), anciens.Taille());
}

ChaineN& ChaineN::RemplaceEnLotChainePlusLongue(const ListeT<ChaineN>& anciens,
                                                const ListeT<ChaineN>& nouveaux) {
  VerifieLots(anciens, nouveaux);
  return RemplaceLotPlusLongue(anciens.Donnees(), nouveaux.Donnees(), anciens.Taille());
}

ChaineN& ChaineN::RemplaceEnLotChaineVide(const ListeT<ChaineN>& anciens) {
  ListeT<ChaineN> nouveaux(anciens.Taille());
  for (uint64_t k = 0; k < anciens.Taille(); ++k) nouveaux.AjouteVide();
  return RemplaceLotPlusCourte(anciens.Donnees(), nouveaux.Donnees(), anciens.Taille());
}

template <typename Garde>
ChaineN& ChaineN::Filtre(Garde garde) {
  const uint64_t n = Longueur();
  const char16_t* lu = DonneUnites();
  uint64_t i = 0;
  while (i < n && garde(lu, i)) ++i;
  if (i == n) return *this;
  char16_t* u = Modifiable(0);
  uint64_t ecrit = i;
  for (++i; i < n; ++i)
    if (garde(u, i)) u[ecrit++] = u[i];
  MetsLongueur(ecrit);
  return *this;
}

ChaineN& ChaineN::EnleveCarNonAlpha() {
  return Filtre([](const char16_t* u, uint64_t i) {
    const char16_t c = u[i];
    return UniCaractere::EstLettre(c);
  });
}

ChaineN& ChaineN::RemplaceRCParBlancs() {
  if (ContientUnCarDe(ChaineN(u"\r\n", false)) < 0) return *this;
  char16_t* u = Modifiable(0);
  for (uint64_t i = 0; i < Longueur(); ++i)
    if (u[i] == u'\r' || u[i] == u'\n') u[i] = u' ';
  return *this;
}

// ---- Blanks and typography

bool ChaineN::EstBlanc(char16_t c) {
  switch (c) {
    case u' ':
    case u'\t':
    case u'\n':
    case u'\v':
    case u'\f':
    case u'\r':
    case 0x00A0:
    case 0x1680:
    case 0x202F:
    case 0x205F:
    case 0x3000: return true;
    default: return c >= 0x2000 && c <= 0x200A;
  }
}

ChaineN& ChaineN::NettoieBlancs() {
  const char16_t* u = DonneUnites();
  uint64_t debut = 0, fin = Longueur();
  while (debut < fin && EstBlanc(u[debut])) ++debut;
  while (fin > debut && EstBlanc(u[fin - 1])) --fin;
  EnleveDepuisFin(fin);
  return EnleveDebut(debut);
}

ChaineN& ChaineN::NormaliseBlanc() {
  const char16_t* lu = DonneUnites();
  uint64_t i = 0;
  while (i < Longueur() && (lu[i] == u' ' || !EstBlanc(lu[i]))) ++i;
  if (i == Longueur()) return *this;
  char16_t* u = Modifiable(0);
  for (; i < Longueur(); ++i)
    if (EstBlanc(u[i])) u[i] = u' ';
  return *this;
}

ChaineN& ChaineN::ConsolideBlancs() {
  // A run keeps its first unit, made a space, and drops the rest.
  Filtre([](const char16_t* u, uint64_t i) { return !(EstBlanc(u[i]) && i > 0 && EstBlanc(u[i - 1])); });
  return NormaliseBlanc();
}

ChaineN& ChaineN::ConsolideBlancsMemeTypes() {
  return Filtre([](const char16_t* u, uint64_t i) { return !(EstBlanc(u[i]) && i > 0 && u[i - 1] == u[i]); });
}

ChaineN& ChaineN::NormaliseApostrophe() {
  static const ListeT<ChaineN> anciens{ChaineN(u"\u2019"), ChaineN(u"\u2018"), ChaineN(u"`"),
                                       ChaineN(u"\u00B4")};
  static const ListeT<ChaineN> nouveaux{ChaineN(u"'"), ChaineN(u"'"), ChaineN(u"'"), ChaineN(u"'")};
  return RemplaceLotPlusCourte(anciens.Donnees(), nouveaux.Donnees(), anciens.Taille());
}

ChaineN& ChaineN::ConvertisCarsTypographiques() {
  static const ListeT<ChaineN> anciens{
      ChaineN(u"\u2019"),       ChaineN(u"\u2018"),       ChaineN(u"\u201C"),       ChaineN(u"\u201D"),
      ChaineN(u"\u00AB\u00A0"), ChaineN(u"\u00A0\u00BB"), ChaineN(u"\u00AB\u202F"), ChaineN(u"\u202F\u00BB"),
      ChaineN(u"\u00AB "),      ChaineN(u" \u00BB"),      ChaineN(u"\u00AB"),       ChaineN(u"\u00BB"),
      ChaineN(u"\u2010"),       ChaineN(u"\u2011"),       ChaineN(u"\u2013"),       ChaineN(u"\u2014"),
      ChaineN(u"\u2212"),       ChaineN(u"\u2026")};
  static const ListeT<ChaineN> nouveaux{
      ChaineN(u"'"),  ChaineN(u"'"),  ChaineN(u"\""), ChaineN(u"\""), ChaineN(u"\""), ChaineN(u"\""),
      ChaineN(u"\""), ChaineN(u"\""), ChaineN(u"\""), ChaineN(u"\""), ChaineN(u"\""), ChaineN(u"\""),
      ChaineN(u"-"),  ChaineN(u"-"),  ChaineN(u"-"),  ChaineN(u"-"),  ChaineN(u"-"),  ChaineN(u"...")};
  RemplaceEnLot(anciens, nouveaux);
  return NormaliseBlanc();
}

ChaineN& ChaineN::ConvertisRetoursDeCharriot() {
  static const ListeT<ChaineN> anciens{ChaineN(u"\r\n"), ChaineN(u"\r")};
  static const ListeT<ChaineN> nouveaux{ChaineN(u"\n"), ChaineN(u"\n")};
  return RemplaceEnLotChainePlusCourte(anciens, nouveaux);
}

// ---- Joining and escaping

ChaineN ChaineN::Joindre(const ListeT<ChaineN>& morceaux, const ChaineN& separateur) {
  uint64_t taille = 0;
  for (const ChaineN& m : morceaux) taille += m.Longueur();
  if (morceaux.Taille() > 1) taille += (morceaux.Taille() - 1) * separateur.Longueur();
  ChaineN resultat;
  if (taille == 0) return resultat;
  resultat.Assure(taille + 1);
  for (uint64_t k = 0; k < morceaux.Taille(); ++k) {
    if (k > 0) resultat.AjouteFin(separateur);
    resultat.AjouteFin(morceaux[k].DonneUnites(), morceaux[k].Longueur());
  }
  return resultat;
}

ChaineN ChaineN::DonneChaineEchappayPourcent() const {
  static const char kHex[] = "0123456789ABCDEF";
  const std::string octets = Encode(kCodageUTF8);
  std::string sortie;
  sortie.reserve(octets.size());
  for (unsigned char c : octets) {
    const bool libre = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '.' || c == '_' || c == '~';
    if (libre) {
      sortie += static_cast<char>(c);
    } else {
      sortie += '%';
      sortie += kHex[c >> 4];
      sortie += kHex[c & 0xF];
    }
  }
  return ChaineN(sortie, kCodageUTF8);
}

ChaineN ChaineN::DonneChaineDesechappeePourcent() const {
  auto chiffre = [](char16_t c) -> int {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
  };
  // Escaped bytes are gathered, then the whole is decoded as UTF-8; unescaped units are
  // re-encoded as UTF-8 so that both kinds join in one byte string.
  std::string octets;
  const char16_t* u = DonneUnites();
  const uint64_t n = Longueur();
  for (uint64_t i = 0; i < n; ++i) {
    if (u[i] == u'%' && i + 2 < n && chiffre(u[i + 1]) >= 0 && chiffre(u[i + 2]) >= 0) {
      octets += static_cast<char>(chiffre(u[i + 1]) * 16 + chiffre(u[i + 2]));
      i += 2;
      continue;
    }
    uint64_t j = i;
    while (j < n && u[j] != u'%') ++j;
    if (j == i) ++j;  // a '%' that starts no escape
    octets += ChaineN(u + i, j - i, false).Encode(kCodageUTF8);
    i = j - 1;
  }
  return ChaineN(octets, kCodageUTF8);
}

}  // namespace sdd
