#pragma once

#include <QString>

#include <compare>
#include <cstdint>
#include <memory>
#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/texte/Objet.h>

namespace sdd {
class ChaineN;
}

// The Unicode string of the application layer. The text lives in a QString; the object also
// keeps one byte buffer that it lends to callers of the narrow conversions (PreteCString,
// PreteUTF8) and a one-byte tag free for the caller's use, 255 until set.
//
// Lent pointers belong to the string: they stay valid until the next lending call on the same
// object, a change of its text, or its destruction. One object is for one thread at a time.
class OUTILS_SOCLE_EXPORT UniChaine : public sdd::Objet {
 public:
  // Numbered independently of sdd::ChaineN::Codage. Each value names a codec of the platform's
  // codec registry; an unknown value, or a codec the platform lacks, means windows-1252.
  enum Codage {
    kCodageMacintosh = 0,    // "Macintosh"
    kCodageISO8859_15 = 1,   // "ISO 8859-15"
    kCodageWindows1252 = 2,  // "windows-1252"
    kCodageUTF8 = 3,
    kCodageUTF16 = 4,  // native byte order, no byte-order mark
    kCodageCP850 = 5,  // "CP850"
  };

  // The same options as sdd::ChaineN::Malgray, with the same values.
  enum Malgray {
    kMalgrayRien = 0,
    kMalgrayLigatures = 1,
    kMalgrayAccents = 2,
    kMalgrayCasse = 4,
    kMalgrayVariantes = 8,
  };

  UniChaine() = default;
  UniChaine(const UniChaine& autre);
  UniChaine(UniChaine&& autre) noexcept;
  UniChaine& operator=(const UniChaine& autre);
  UniChaine& operator=(UniChaine&& autre) noexcept;
  ~UniChaine() override;

  UniChaine(const QString& texte);         // NOLINT(google-explicit-constructor)
  UniChaine(const char* utf8);             // NOLINT(google-explicit-constructor)
  UniChaine(const std::string& utf8);      // NOLINT(google-explicit-constructor)
  UniChaine(const std::u16string& texte);  // NOLINT(google-explicit-constructor)
  UniChaine(const std::wstring& texte);    // NOLINT(google-explicit-constructor)
  UniChaine(const char16_t* texte);        // NOLINT(google-explicit-constructor)
  UniChaine(const sdd::ChaineN& texte);    // NOLINT(google-explicit-constructor)
  // Bytes in the given encoding; n < 0 means "up to the first zero byte".
  UniChaine(const char* octets, Codage codage, int n = -1);

  // The name handed to the platform's codec lookup for an encoding, after the fallback to 2.
  static const char* NomCodec(int codage);

  const QString& DonneQString() const { return texte_; }
  sdd::ChaineN DonneChaineN() const;
  std::string DonneStdString() const;  // UTF-8
  std::u16string DonneU16String() const;
  std::wstring DonneWString() const;
  // The text encoded in `codage`, as bytes without terminator.
  std::string Encode(Codage codage) const;

  // Lending: the bytes stay owned by this object (see the class comment).
  const char* PreteCString(Codage codage = kCodageUTF8, int* longueur = nullptr) const;
  const char* PreteUTF8(int* longueur = nullptr) const;
  // Zero-terminated UTF-16 units.
  const char16_t* PreteUniCString() const;

  int Longueur() const { return static_cast<int>(texte_.size()); }
  bool EstVide() const { return texte_.isEmpty(); }
  // The index of the first surrogate without its other half, -1 when there is none. Such a
  // string has no UTF-8 form: the conversions write "?" in its place, and the library's
  // writers of UTF-8 refuse it.
  int PremierSubstitutIsole() const;
  // The unit at index i; an index outside 0..Longueur()-1 throws IndexHorsBorne.
  char16_t operator[](int i) const;
  UniChaine SousChaine(int debut, int n = -1) const;
  int Trouve(const UniChaine& motif, int depuis = 0) const;  // -1 when absent
  // Comparison and search under the options, exactly as sdd::ChaineN does them.
  bool Egal(const UniChaine& autre, Malgray m) const;
  int Trouve(const UniChaine& motif, int depuis, Malgray m) const;
  UniChaine& Remplace(const UniChaine& ancien, const UniChaine& nouveau);
  UniChaine& AjouteFin(const UniChaine& autre);
  UniChaine& Vide();

  unsigned char DonneEtiquette() const { return etiquette_; }
  void MetsEtiquette(unsigned char etiquette) { etiquette_ = etiquette; }

  UniChaine& operator+=(const UniChaine& autre) { return AjouteFin(autre); }
  friend UniChaine operator+(UniChaine a, const UniChaine& b) { return a.AjouteFin(b); }
  friend bool operator==(const UniChaine& a, const UniChaine& b) { return a.texte_ == b.texte_; }
  // Ordered by UTF-16 units, like sdd::ChaineN.
  friend std::strong_ordering operator<=>(const UniChaine& a, const UniChaine& b) {
    const int c = QString::compare(a.texte_, b.texte_, Qt::CaseSensitive);
    return c < 0 ? std::strong_ordering::less
                 : (c > 0 ? std::strong_ordering::greater : std::strong_ordering::equal);
  }

 private:
  QString texte_;
  mutable std::unique_ptr<char[]> pret_;  // the last lent bytes
  unsigned char etiquette_ = 255;
};

constexpr UniChaine::Malgray operator|(UniChaine::Malgray a, UniChaine::Malgray b) {
  return static_cast<UniChaine::Malgray>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

// A file-system path: built, converted and compared exactly like a UniChaine.
class OUTILS_SOCLE_EXPORT UniChemin : public UniChaine {
 public:
  using UniChaine::UniChaine;
  UniChemin() = default;
  UniChemin(const UniChaine& texte) : UniChaine(texte) {}  // NOLINT(google-explicit-constructor)
};
