#include <outils_socle/texte/UniChaine.h>

#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/Exception.h>

#include <QByteArray>
#include <QTextCodec>

#include <cstring>

#include "langues/Marque.h"
#include "texte/FormeUTF8.h"

namespace {

QTextCodec* CodecPour(int codage) {
  QTextCodec* codec = QTextCodec::codecForName(UniChaine::NomCodec(codage));
  return codec ? codec : QTextCodec::codecForName("windows-1252");
}

// Units copied as they are. QString::fromUtf16 would take a leading U+FEFF or U+FFFE for a
// byte-order mark (dropping it, or swapping every unit after it) and replace lone surrogates.
QString DepuisUnites(const char16_t* unites, std::size_t n) {
  return QString(reinterpret_cast<const QChar*>(unites), static_cast<int>(n));
}

// UTF-8 through the library's own decoder, as ChaineN reads it (one U+FFFD per ill-formed
// sequence, a leading U+FEFF kept as a character).
QString DepuisUTF8(const char* octets, std::size_t n) {
  // Straight into the string's buffer: a byte never gives more than one unit.
  const sdd::ConvertisseurChaineN& utf8 =
      sdd::ConvertisseurChaineN::ConvertisseurPourCodage(sdd::ChaineN::kCodageUTF8);
  QString texte(static_cast<int>(n), Qt::Uninitialized);
  const uint64_t unites = utf8.Decode(octets, n, reinterpret_cast<char16_t*>(texte.data()), n);
  texte.truncate(static_cast<int>(unites));
  return texte;
}

// UTF-8 and UTF-16 are converted directly: Qt's UTF-16 codec would add or expect a byte-order
// mark, and the library's UTF-16 is the native order of the units without one.
QString DepuisOctets(const char* octets, int codage, int n) {
  if (octets == nullptr) return QString();
  switch (codage) {
    case UniChaine::kCodageUTF8:
      return DepuisUTF8(octets, n < 0 ? std::strlen(octets) : static_cast<std::size_t>(n));
    case UniChaine::kCodageUTF16: {
      int unites = 0;
      if (n < 0) {
        for (size_t i = 0; octets[i] != 0 || octets[i + 1] != 0; i += 2) ++unites;
      } else {
        unites = n / 2;
      }
      QString s(unites, Qt::Uninitialized);
      std::memcpy(s.data(), octets, static_cast<size_t>(unites) * 2);
      return s;
    }
    default: return CodecPour(codage)->toUnicode(octets, n < 0 ? static_cast<int>(std::strlen(octets)) : n);
  }
}

QByteArray VersOctets(const QString& texte, int codage) {
  switch (codage) {
    case UniChaine::kCodageUTF8: return texte.toUtf8();
    case UniChaine::kCodageUTF16:
      return QByteArray(reinterpret_cast<const char*>(texte.utf16()), texte.size() * 2);
    default: return CodecPour(codage)->fromUnicode(texte);
  }
}

}  // namespace

UniChaine::UniChaine(const UniChaine& autre)
    : Objet(autre), texte_(autre.texte_), etiquette_(autre.etiquette_) {}

UniChaine::UniChaine(UniChaine&& autre) noexcept
    : texte_(std::move(autre.texte_)), etiquette_(autre.etiquette_) {}

UniChaine& UniChaine::operator=(const UniChaine& autre) {
  texte_ = autre.texte_;
  etiquette_ = autre.etiquette_;
  return *this;
}

UniChaine& UniChaine::operator=(UniChaine&& autre) noexcept {
  texte_ = std::move(autre.texte_);
  etiquette_ = autre.etiquette_;
  return *this;
}

UniChaine::~UniChaine() = default;

UniChaine::UniChaine(const QString& texte) : texte_(texte) {}
UniChaine::UniChaine(const char* utf8) : texte_(utf8 ? DepuisUTF8(utf8, std::strlen(utf8)) : QString()) {}
UniChaine::UniChaine(const std::string& utf8) : texte_(DepuisUTF8(utf8.data(), utf8.size())) {}
UniChaine::UniChaine(const std::u16string& texte) : texte_(DepuisUnites(texte.data(), texte.size())) {}
UniChaine::UniChaine(const std::wstring& texte) : texte_(QString::fromStdWString(texte)) {}
UniChaine::UniChaine(const char16_t* texte)
    : texte_(texte ? DepuisUnites(texte, std::char_traits<char16_t>::length(texte)) : QString()) {}
UniChaine::UniChaine(const sdd::ChaineN& texte)
    : texte_(DepuisUnites(texte.DonneUnites(), texte.Longueur())) {}
UniChaine::UniChaine(const char* octets, Codage codage, int n) : texte_(DepuisOctets(octets, codage, n)) {}

const char* UniChaine::NomCodec(int codage) {
  switch (codage) {
    case kCodageMacintosh: return "Macintosh";
    case kCodageISO8859_15: return "ISO 8859-15";
    case kCodageUTF8: return "UTF-8";
    case kCodageUTF16: return "UTF-16";
    case kCodageCP850: return "CP850";
    default: return "windows-1252";
  }
}

sdd::ChaineN UniChaine::DonneChaineN() const {
  return sdd::ChaineN(reinterpret_cast<const char16_t*>(texte_.utf16()), static_cast<uint64_t>(texte_.size()),
                      true);
}

std::string UniChaine::DonneStdString() const { return texte_.toStdString(); }

std::u16string UniChaine::DonneU16String() const { return texte_.toStdU16String(); }

std::wstring UniChaine::DonneWString() const { return texte_.toStdWString(); }

std::string UniChaine::Encode(Codage codage) const { return VersOctets(texte_, codage).toStdString(); }

const char* UniChaine::PreteCString(Codage codage, int* longueur) const {
  const QByteArray octets = VersOctets(texte_, codage);
  const size_t n = static_cast<size_t>(octets.size());
  pret_ = std::make_unique<char[]>(n + 2);  // room for a UTF-16 terminator
  std::memcpy(pret_.get(), octets.constData(), n);
  pret_[n] = 0;
  pret_[n + 1] = 0;
  if (longueur) *longueur = static_cast<int>(n);
  return pret_.get();
}

const char* UniChaine::PreteUTF8(int* longueur) const { return PreteCString(kCodageUTF8, longueur); }

const char16_t* UniChaine::PreteUniCString() const {
  return reinterpret_cast<const char16_t*>(texte_.utf16());
}

int UniChaine::PremierSubstitutIsole() const {
  const int n = static_cast<int>(texte_.size());
  for (int i = 0; i < n; ++i) {
    const QChar c = texte_[i];
    if (c.isHighSurrogate() && i + 1 < n && texte_[i + 1].isLowSurrogate()) {
      ++i;
    } else if (c.isSurrogate()) {
      return i;
    }
  }
  return -1;
}

namespace sdd::detail {

void RefuseSansFormeUTF8(const UniChaine& texte) {
  if (const int i = texte.PremierSubstitutIsole(); i >= 0) {
    throw exceptions::OperationInvalide(std::string(N_("Chaîne avec un substitut isolé, sans forme UTF-8")) +
                                        " : position " + std::to_string(i));
  }
}

}  // namespace sdd::detail

char16_t UniChaine::operator[](int i) const {
  if (i < 0 || i >= texte_.size())
    sdd::LanceIndexHorsBorne(static_cast<uint64_t>(i), 0, static_cast<uint64_t>(texte_.size()));
  return texte_.at(i).unicode();
}

UniChaine UniChaine::SousChaine(int debut, int n) const {
  if (debut < 0 || debut > texte_.size())
    sdd::LanceIndexHorsBorne(static_cast<uint64_t>(debut), 0, static_cast<uint64_t>(texte_.size()));
  return UniChaine(texte_.mid(debut, n));
}

int UniChaine::Trouve(const UniChaine& motif, int depuis) const {
  return texte_.indexOf(motif.texte_, depuis);
}

namespace {

// A ChaineN reading the QString's units in place.
sdd::ChaineN Vue(const QString& texte) {
  return sdd::ChaineN(reinterpret_cast<const char16_t*>(texte.utf16()), static_cast<uint64_t>(texte.size()),
                      false);
}

}  // namespace

bool UniChaine::Egal(const UniChaine& autre, Malgray m) const {
  return Vue(texte_).Egal(Vue(autre.texte_), static_cast<sdd::ChaineN::Malgray>(m));
}

int UniChaine::Trouve(const UniChaine& motif, int depuis, Malgray m) const {
  if (depuis < 0) depuis = 0;
  return static_cast<int>(Vue(texte_).Contient(Vue(motif.texte_), static_cast<uint64_t>(depuis),
                                               static_cast<sdd::ChaineN::Malgray>(m)));
}

UniChaine& UniChaine::Remplace(const UniChaine& ancien, const UniChaine& nouveau) {
  if (!ancien.EstVide()) texte_.replace(ancien.texte_, nouveau.texte_);
  return *this;
}

UniChaine& UniChaine::AjouteFin(const UniChaine& autre) {
  texte_.append(autre.texte_);
  return *this;
}

UniChaine& UniChaine::Vide() {
  texte_.clear();
  return *this;
}
