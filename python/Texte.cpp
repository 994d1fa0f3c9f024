// Encodings, comparison and normalisations of text.

#include "Commun.h"

namespace outils_python {

namespace {

ChaineN::Codage CodageValide(ArgEntier codage) {
  return static_cast<ChaineN::Codage>(Entier(codage, "codage", 0, 6));
}

py::bytes Encode(ArgTexte texte, ArgEntier codage) {
  const ChaineN t = Texte(texte, "texte");
  return py::bytes(t.Encode(CodageValide(codage)));
}

py::str Decode(const py::object& octets, ArgEntier codage) {
  const py::buffer_info vue = Tampon(octets, "octets");
  const ChaineN::Codage c = CodageValide(codage);
  return Str(ChaineN(static_cast<const char*>(vue.ptr), c, static_cast<uint64_t>(vue.size * vue.itemsize)));
}

}  // namespace

void DeclareTexte(py::module_& m) {
  // ---- text
  m.attr("CODAGE_MAC_ROMAN") = 0;
  m.attr("CODAGE_LATIN9") = 1;
  m.attr("CODAGE_WIN_LATIN1") = 2;
  m.attr("CODAGE_DOS") = 3;
  m.attr("CODAGE_UTF8") = 4;
  m.attr("CODAGE_UTF16LE") = 5;
  m.attr("CODAGE_UTF16BE") = 6;
  m.attr("MALGRAY_RIEN") = 0;
  m.attr("MALGRAY_LIGATURES") = 1;
  m.attr("MALGRAY_ACCENTS") = 2;
  m.attr("MALGRAY_CASSE") = 4;
  m.attr("MALGRAY_VARIANTES") = 8;
  m.def("encode", &Encode, py::arg("texte"), py::arg("codage") = 4,
        "Le texte en octets dans l’un des sept codages (CODAGE_*) ; un caractère absent du codage devient « "
        "? ».");
  m.def("decode", &Decode, py::arg("octets"), py::arg("codage") = 4,
        "Les octets lus dans l’un des sept codages.");
  m.def(
      "egal",
      [](ArgTexte a, ArgTexte b, ArgEntier masque) {
        return Texte(a, "a").Egal(Texte(b, "b"),
                                  static_cast<ChaineN::Malgray>(Entier(masque, "masque", 0, 15)));
      },
      py::arg("a"), py::arg("b"), py::arg("masque") = 0,
      "Vrai si a et b sont égales aux différences près que le masque ignore (MALGRAY_*).");
  const auto normalisation = [&](const char* nom, ChaineN& (ChaineN::*f)(), const char* doc) {
    m.def(
        nom,
        [f](ArgTexte texte) {
          ChaineN c = Texte(texte, "texte");
          (c.*f)();
          return Str(c);
        },
        py::arg("texte"), doc);
  };
  normalisation(
      "normalise_variante_minusculise_sans_accent", &ChaineN::NormaliseVarianteMinusculiseSansAccent,
      "Chaque caractère en minuscule, sans accent, variantes ramenées : ce que voient les comparaisons.");
  normalisation("normalise_nfc", &ChaineN::NormaliseNFC, "La composition canonique Unicode (NFC).");
  normalisation("normalise_apostrophe", &ChaineN::NormaliseApostrophe, "’ ‘ ` ´ deviennent '.");
  normalisation("normalise_blanc", &ChaineN::NormaliseBlanc, "Chaque blanc devient une espace.");
  normalisation("consolide_blancs", &ChaineN::ConsolideBlancs, "Une suite de blancs devient une espace.");
  normalisation("nettoie_blancs", &ChaineN::NettoieBlancs, "Enlève les blancs du début et de la fin.");
  normalisation("convertis_cars_typographiques", &ChaineN::ConvertisCarsTypographiques,
                "Guillemets, tirets, points de suspension et blancs typographiques en texte simple.");
  normalisation("ligature", &ChaineN::Ligature, "oe, ae (et leurs majuscules) deviennent œ, æ.");
  normalisation("deligature", &ChaineN::Deligature, "Œ, œ, Æ, æ deviennent leurs lettres.");
}

}  // namespace outils_python
