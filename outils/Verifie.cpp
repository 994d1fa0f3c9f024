// outils-socle lexique verifie: the words of a text that a lexicon does not hold, with their
// line, column and likely corrections, as French is written (elisions, hyphenated compounds,
// capitals).
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <unordered_map>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/texte/UniCaractere.h>

#include "Commandes.h"

namespace outils {

namespace {

using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;
using sdd::UniCaractere;

bool EstApostrophe(char16_t c) { return c == u'\'' || c == u'\u2019' || c == u'\u02BC'; }
bool EstTrait(char16_t c) { return c == u'-' || c == u'\u2010' || c == u'\u2011'; }
bool EstDansMot(char16_t c) {
  // Letters and the combining accents of a decomposed "é".
  return UniCaractere::EstLettre(c) || (UniCaractere::Classes(c) & (uint64_t{1} << 10)) != 0;
}

// The elided words of French, written before an apostrophe: "l'arbre", "qu'il", "jusqu'ici".
bool EstElision(std::u16string tete) {
  for (char16_t& c : tete) c = UniCaractere::Minuscule(c);
  for (const char16_t* e : {u"l", u"d", u"j", u"m", u"n", u"s", u"t", u"c", u"ç", u"qu", u"jusqu", u"lorsqu",
                            u"puisqu", u"quoiqu", u"presqu", u"quelqu"})
    if (tete == e) return true;
  return false;
}

class Verificateur {
 public:
  explicit Verificateur(AutomateAcycliqueMin& lexique) : lexique_(lexique) {}

  // Whether French would accept the word: held by the lexicon (any case, any apostrophe or
  // dash variant, ligatures either way, but accents as written); or an elided word and a
  // known word ("l'arbre"); or a hyphenated compound whose parts are all known ("dis-moi",
  // "a-t-il").
  bool Connu(const std::u16string& mot) {
    const auto deja = connus_.find(mot);
    if (deja != connus_.end()) return deja->second;
    const bool connu = Tient(mot) || ParElision(mot) || ParParties(mot);
    connus_.emplace(mot, connu);
    return connu;
  }

  // Likely corrections, best first. French writes an elided word and the next one as one
  // ("l'ecole"), and a compound as parts ("peut-etre"): the part that is unknown is corrected,
  // the rest kept as written ("l'école", "peut-être"); then the whole word's own corrections.
  std::vector<std::string> Suggestions(const std::u16string& mot, uint32_t combien) {
    std::vector<std::string> s;
    if (combien == 0) return s;
    const auto ajoute = [&](const std::u16string& forme) {
      const std::string utf8 = U8(Chaine(forme));
      if (s.size() < combien && std::find(s.begin(), s.end(), utf8) == s.end()) s.push_back(utf8);
    };
    const auto [avant, partie, apres] = PartieInconnue(mot);
    if (!partie.empty()) {
      // After an elided word ("l'", "qu'") only a vowel or an h can come.
      const bool elision = !avant.empty() && EstApostrophe(avant.back());
      for (const std::u16string& f : Corrections(partie, combien)) {
        const char16_t premier = UniCaractere::SansAccent(UniCaractere::Minuscule(f[0]));
        if (!elision || UniCaractere::EstVoyelle(premier) || premier == u'h') ajoute(avant + f + apres);
      }
    }
    for (const std::u16string& f : Corrections(mot, combien)) ajoute(f);
    return s;
  }

 private:
  static ChaineN Chaine(const std::u16string& u) {
    return ChaineN(u.data(), static_cast<uint64_t>(u.size()));
  }

  // The lexicon's corrections of one word, never empty forms.
  std::vector<std::u16string> Corrections(const std::u16string& mot, uint32_t combien) {
    std::vector<std::u16string> s;
    if (mot.empty() || mot.size() > AutomateAcycliqueMin::kLongueurMaxMot) return s;
    sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
    ChaineN compose = Chaine(mot);
    compose.NormaliseNFC();
    lexique_.FormesProbabilistes(compose, {}, combien, 0, nullptr, formes);
    // A capital typed at the start stays ("L'Ecole" → "L'École").
    const bool capitale = UniCaractere::EstMajuscule(mot[0]);
    for (const auto& f : formes) {
      std::u16string forme(f.forme.DonneUnites(), f.forme.Longueur());
      if (forme.empty()) continue;
      if (capitale) forme[0] = UniCaractere::Majuscule(forme[0]);
      s.push_back(std::move(forme));
    }
    return s;
  }

  // The one unknown part of an elided or hyphenated word, with what stands before and after it
  // ("l'" + "ecole" + ""); an empty part when the word does not split so, or when more than one
  // part is unknown.
  struct Decoupe {
    std::u16string avant, partie, apres;
  };
  Decoupe PartieInconnue(const std::u16string& mot) {
    size_t k = 0;
    while (k < mot.size() && !EstApostrophe(mot[k])) ++k;
    if (k > 0 && k + 1 < mot.size() && (EstElision(mot.substr(0, k)) || Tient(mot.substr(0, k + 1)))) {
      const std::u16string reste = mot.substr(k + 1);
      if (!Connu(reste)) {
        Decoupe d = PartieInconnue(reste);  // "l'arc-en-ceil": the compound's own unknown part
        if (d.partie.empty()) return {mot.substr(0, k + 1), reste, {}};
        d.avant = mot.substr(0, k + 1) + d.avant;
        return d;
      }
      return {};
    }
    Decoupe trouvee;
    size_t debut = 0, inconnues = 0;
    for (size_t j = 0; j <= mot.size(); ++j) {
      if (j < mot.size() && !EstTrait(mot[j])) continue;
      if (j == mot.size() && debut == 0) return {};  // no dash
      const std::u16string partie = mot.substr(debut, j - debut);
      if (!partie.empty() && partie != u"t" && partie != u"T" && !Connu(partie)) {
        ++inconnues;
        trouvee = {mot.substr(0, debut), partie, mot.substr(j)};
      }
      debut = j + 1;
    }
    return inconnues == 1 ? trouvee : Decoupe{};
  }

  bool Tient(const std::u16string& mot) {
    if (mot.empty() || mot.size() > AutomateAcycliqueMin::kLongueurMaxMot) return false;
    sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
    const AutomateAcycliqueMin::_OptionRecherche options(
        0, ChaineN::kMalgrayCasse | ChaineN::kMalgrayVariantes | ChaineN::kMalgrayLigatures);
    // Stored forms are precomposed: a decomposed "é" (e and a combining accent) is composed first.
    ChaineN compose(mot.data(), static_cast<uint64_t>(mot.size()));
    compose.NormaliseNFC();
    lexique_.FormesPour(compose, formes, options);
    return !formes.EstVide();
  }

  bool ParElision(const std::u16string& mot) {
    size_t k = 0;
    while (k < mot.size() && !EstApostrophe(mot[k])) ++k;
    if (k == 0 || k + 1 >= mot.size()) return false;
    const std::u16string tete = mot.substr(0, k + 1);
    if (!EstElision(mot.substr(0, k)) && !Tient(tete)) return false;
    return Connu(mot.substr(k + 1));
  }

  bool ParParties(const std::u16string& mot) {
    size_t debut = 0;
    bool coupe = false;
    for (size_t k = 0; k <= mot.size(); ++k) {
      if (k < mot.size() && !EstTrait(mot[k])) continue;
      const std::u16string partie = mot.substr(debut, k - debut);
      // The euphonic "t" of "a-t-il" stands between two parts.
      const bool euphonique = coupe && k < mot.size() && (partie == u"t" || partie == u"T");
      if (k == mot.size() && !coupe) return false;  // no dash: nothing to split
      if (!euphonique && !Connu(partie)) return false;
      coupe = true;
      debut = k + 1;
    }
    return coupe;
  }

  AutomateAcycliqueMin& lexique_;
  std::unordered_map<std::u16string, bool> connus_;
};

}  // namespace

int VerifieTexte(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("lexique verifie : LEXIQUE et TEXTE attendus"));
    return 2;
  }
  const long suggestions = a.Nombre("suggestions", 3);
  if (suggestions < 0 || suggestions > 100) {
    Erreur(Tr("lexique verifie : --suggestions entre 0 et 100"));
    return 2;
  }
  AutomateAcycliqueMin lexique(UniChemin(a.positions[0].c_str()));
  std::string octets;
  if (!LisFichier(a.positions[1], octets)) return 2;
  const ChaineN texte(octets.data(), ChaineN::kCodageUTF8, octets.size());
  const char16_t* u = texte.DonneUnites();
  const size_t n = texte.Longueur();

  Verificateur verificateur(lexique);
  // A bar for long texts, on a terminal only.
  Barre barre;
  const bool avancement = n > (1u << 20) && isatty(STDERR_FILENO) != 0;
  const auto t0 = Horloge::now();
  size_t mots = 0, fautes = 0;
  size_t ligne = 1, colonne = 1;  // of u[i], in characters
  std::string sortie;
  for (size_t i = 0; i < n;) {
    if (!EstDansMot(u[i])) {
      if (u[i] == u'\n') {
        ++ligne;
        colonne = 1;
      } else if ((u[i] & 0xFC00) != 0xDC00) {  // a low surrogate ends a character counted already
        ++colonne;
      }
      ++i;
      continue;
    }
    // A word: letters, with apostrophes and dashes inside it (each between two letters).
    size_t fin = i;
    while (fin < n && (EstDansMot(u[fin]) || ((EstApostrophe(u[fin]) || EstTrait(u[fin])) && fin + 1 < n &&
                                              EstDansMot(u[fin + 1]) && fin > i)))
      ++fin;
    // A word glued to digits ("2e", "A4") is a code, not a word.
    const bool code =
        (i > 0 && UniCaractere::EstChiffre(u[i - 1])) || (fin < n && UniCaractere::EstChiffre(u[fin]));
    const std::u16string mot(u + i, u + fin);
    if (!code) {
      ++mots;
      if (!verificateur.Connu(mot)) {
        ++fautes;
        sortie += a.positions[1] + ":" + std::to_string(ligne) + ":" + std::to_string(colonne) + ": " +
                  U8(ChaineN(mot.data(), static_cast<uint64_t>(mot.size())));
        const auto s = verificateur.Suggestions(mot, static_cast<uint32_t>(suggestions));
        for (size_t k = 0; k < s.size(); ++k) sortie += (k == 0 ? " → " : ", ") + s[k];
        sortie += '\n';
      }
    }
    for (; i < fin; ++i)
      if ((u[i] & 0xFC00) != 0xDC00) ++colonne;
    if (avancement) barre.Avance(i, n);
  }
  if (avancement) barre.Avance(n, n);
  std::fwrite(sortie.data(), 1, sortie.size(), stdout);
  std::fprintf(stderr, Tr("%zu mot(s), %zu inconnu(s), en %.1f ms\n"), mots, fautes, MsDepuis(t0));
  return fautes == 0 ? 0 : 1;
}

}  // namespace outils
