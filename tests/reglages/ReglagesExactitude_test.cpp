// Every hostile string (tests/commun/ChainesHostiles.h), each saved alone in each format:
// refused before anything is written, or read back the same by our reader and by Python's
// (xml.etree, json, configparser). Never changed on the way.
#include <outils_socle/reglages/Reglages.h>
#include <outils_socle/texte/Exception.h>

#include <gtest/gtest.h>

#include <QString>
#include <QVector>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "commun/ChainesHostiles.h"
#include "commun/Commande.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

UniChaine DePoints(const std::u32string& points) {
  return UniChaine(QString::fromUcs4(points.data(), static_cast<int>(points.size())));
}

bool EstEspaceRogne(char32_t c) {  // what Python's str.isspace() accepts
  return (c >= 0x09 && c <= 0x0D) || (c >= 0x1C && c <= 0x20) || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

// What each format refuses: XML what XML 1.0 cannot carry; INI line breaks and what readers
// trim at either end. JSON carries everything. (A lone surrogate never gets this far.)
bool Refuse(eFormatReglages format, const std::u32string& s) {
  if (format == eFormatReglages::eXML) {
    for (const char32_t c : s) {
      if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0xFFFE || c == 0xFFFF) return true;
    }
  }
  if (format == eFormatReglages::eINI) {
    if (s.find_first_of(U"\r\n") != std::u32string::npos) return true;
    return !s.empty() && (EstEspaceRogne(s.front()) || EstEspaceRogne(s.back()));
  }
  return false;
}

const char* Extension(eFormatReglages format) {
  return format == eFormatReglages::eXML ? "xml" : format == eFormatReglages::eJSON ? "json" : "ini";
}

std::u32string PointsDeCode(const std::u16string& s) {
  const QString q(reinterpret_cast<const QChar*>(s.data()), static_cast<int>(s.size()));
  const QVector<uint> points = q.toUcs4();
  return std::u32string(points.begin(), points.end());
}

TEST(ReglagesExactitude, ChaqueChaineHostileRevientOuEstRefusee) {
  essais::DossierTemporaire dossier;
  std::ofstream manifeste(dossier / "manifeste.txt", std::ios::binary);
  std::vector<std::u32string> chaines;
  for (const std::u16string& s : essais::ChainesHostiles()) {
    if (essais::ASubstitutIsole(s)) {  // no UTF-8 form: refused as soon as it is set
      Reglages r;
      EXPECT_THROW(r.MetsChaine("s/v", UniChaine(s)), exceptions::OperationInvalide) << essais::EnHexa(s);
    } else {
      chaines.push_back(PointsDeCode(s));
    }
  }
  int refusees = 0, relues = 0;
  for (std::size_t i = 0; i < chaines.size(); ++i) {
    const UniChaine chaine = DePoints(chaines[i]);
    const std::string utf8 = chaine.DonneStdString();
    for (const eFormatReglages format :
         {eFormatReglages::eXML, eFormatReglages::eJSON, eFormatReglages::eINI}) {
      SCOPED_TRACE(std::string(Extension(format)) + " " + essais::Hexa(utf8));
      const std::string fichier = dossier / ("c" + std::to_string(i) + "." + Extension(format));
      std::ofstream(fichier) << "ancien";
      Reglages r;
      r.MetsChaine("s/v", chaine);
      const bool liste = format != eFormatReglages::eINI;
      if (liste) r.MetsListeChaines("s/l", {chaine, UniChaine("x"), chaine});
      if (Refuse(format, chaines[i])) {
        EXPECT_THROW(r.Enregistre(fichier, format), exceptions::OperationInvalide);
        std::ifstream f(fichier);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(f), {}), "ancien");  // untouched
        ++refusees;
        continue;
      }
      r.Enregistre(fichier, format);
      Reglages lu;
      lu.Declare("s/v", Reglage::Chaine(""));
      lu.Charge(fichier, format);
      EXPECT_EQ(lu.DonneChaine("s/v").DonneStdString(), utf8);
      manifeste << Extension(format) << ' ' << fichier << " s/v " << essais::Hexa(utf8) << '\n';
      if (liste) {
        EXPECT_EQ(lu.DonneListeChaines("s/l"), (Reglage::Chaines{chaine, UniChaine("x"), chaine}));
        manifeste << Extension(format) << ' ' << fichier << " s/l L" << essais::Hexa(utf8) << ",78,"
                  << essais::Hexa(utf8) << '\n';
      }
      ++relues;
    }
  }
  manifeste.close();
  EXPECT_GT(refusees, 60);
  EXPECT_GT(relues, 120);
  const std::string commande = std::string(OUTILS_SOCLE_PYTHON3) + " " + OUTILS_SOCLE_SOURCES_TESTS +
                               "/reglages/lis_reglages.py " + (dossier / "manifeste.txt");
  EXPECT_EQ(std::system(commande.c_str()), 0) << commande;
}

TEST(ReglagesExactitude, UnSubstitutIsoleEstRefuse) {
  Reglages r;
  const UniChaine seul(QString(QChar(0xD800)) + "a");
  const UniChaine bas(QString("a") + QChar(0xDC00));
  EXPECT_THROW(r.MetsChaine("s/v", seul), exceptions::OperationInvalide);
  EXPECT_THROW(r.MetsListeChaines("s/l", {UniChaine("a"), bas}), exceptions::OperationInvalide);
  EXPECT_TRUE(r.Chemins().empty());
  r.MetsChaine("s/v", DePoints(U"𝄞"));  // a pair is one character, and welcome
  EXPECT_EQ(r.DonneChaine("s/v").DonneStdString(), "𝄞");
}

// A file written elsewhere with CR LF line ends reads as every XML reader reads it: XML turns
// each CR LF, and each CR, into LF before parsing; a CR written as a reference stays.
TEST(ReglagesExactitude, LesFinsDeLigneXmlSontNormalisees) {
  Reglages r;
  r.LisTexte("<reglages>\r\n  <s>\r\n    <v>a\r\nb\rc&#13;d</v>\r\n  </s>\r\n</reglages>\r\n",
             eFormatReglages::eXML);
  EXPECT_EQ(r.DonneChaine("s/v").DonneStdString(), "a\nb\nc\rd");
  EXPECT_NE(r.EcrisTexte(eFormatReglages::eXML).find("c&#13;d"), std::string::npos);
}

}  // namespace
}  // namespace sdd
