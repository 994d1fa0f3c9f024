#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/VerificateurOrthographe.h>
#include <outils_socle/texte/UniCaractere.h>

#include <algorithm>

namespace sdd {

namespace {

constexpr uint64_t kClasseAccentCombinant = uint64_t{1} << 10;

ChaineN Chaine(std::u16string_view u) { return ChaineN(u.data(), static_cast<uint64_t>(u.size())); }

// The elided words of French, written before an apostrophe: "l'arbre", "qu'il", "jusqu'ici".
bool EstElision(std::u16string_view tete) {
  std::u16string minuscules(tete);
  for (char16_t& c : minuscules) c = UniCaractere::Minuscule(c);
  for (const char16_t* e : {u"l", u"d", u"j", u"m", u"n", u"s", u"t", u"c", u"ç", u"qu", u"jusqu", u"lorsqu",
                            u"puisqu", u"quoiqu", u"presqu", u"quelqu"})
    if (minuscules == e) return true;
  return false;
}

// The first apostrophe's place, or the word's size.
size_t Apostrophe(std::u16string_view mot) {
  size_t k = 0;
  while (k < mot.size() && !VerificateurOrthographe::EstApostrophe(mot[k])) ++k;
  return k;
}

enum class Casse { kTelle, kInitiale, kCapitales };

Casse CasseDe(std::u16string_view mot) {
  size_t lettres = 0, capitales = 0;
  for (const char16_t c : mot) {
    if (!UniCaractere::EstLettre(c)) continue;
    ++lettres;
    capitales += UniCaractere::EstMajuscule(c);
  }
  if (lettres > 1 && capitales == lettres) return Casse::kCapitales;
  return !mot.empty() && UniCaractere::EstMajuscule(mot[0]) ? Casse::kInitiale : Casse::kTelle;
}

}  // namespace

struct VerificateurOrthographe::Decoupe {
  std::u16string avant, partie, apres;
};

bool VerificateurOrthographe::EstLettreDeMot(char16_t c) {
  return UniCaractere::EstLettre(c) || (UniCaractere::Classes(c) & kClasseAccentCombinant) != 0;
}
bool VerificateurOrthographe::EstApostrophe(char16_t c) {
  return c == u'\'' || c == u'\u2019' || c == u'\u02BC';
}
bool VerificateurOrthographe::EstTrait(char16_t c) { return c == u'-' || c == u'\u2010' || c == u'\u2011'; }
const char* VerificateurOrthographe::JointuresUTF8() { return "'\u2019\u02BC-\u2010\u2011"; }

bool VerificateurOrthographe::Connu(std::u16string_view mot) const {
  // Nothing longer than the lexicon's longest possible word is split either: the splits recurse
  // once per apostrophe, and a hostile text may hold a "word" of a million of them.
  if (mot.size() > AutomateAcycliqueMin::kLongueurMaxMot) return false;
  return Tient(mot) || ParElision(mot) || ParParties(mot);
}

bool VerificateurOrthographe::Tient(std::u16string_view mot) const {
  if (mot.empty() || mot.size() > AutomateAcycliqueMin::kLongueurMaxMot) return false;
  ListeC<AutomateAcycliqueMin::_Forme> formes;
  const AutomateAcycliqueMin::_OptionRecherche options(
      0, ChaineN::kMalgrayCasse | ChaineN::kMalgrayVariantes | ChaineN::kMalgrayLigatures);
  // Stored forms are precomposed: a decomposed "é" (e and a combining accent) is composed first.
  ChaineN compose = Chaine(mot);
  compose.NormaliseNFC();
  lexique_->FormesPour(compose, formes, options);
  return !formes.EstVide();
}

bool VerificateurOrthographe::ParElision(std::u16string_view mot) const {
  const size_t k = Apostrophe(mot);
  if (k == 0 || k + 1 >= mot.size()) return false;
  if (!EstElision(mot.substr(0, k)) && !Tient(mot.substr(0, k + 1))) return false;
  return Connu(mot.substr(k + 1));
}

bool VerificateurOrthographe::ParParties(std::u16string_view mot) const {
  size_t debut = 0;
  bool coupe = false;
  for (size_t k = 0; k <= mot.size(); ++k) {
    if (k < mot.size() && !EstTrait(mot[k])) continue;
    const std::u16string_view partie = mot.substr(debut, k - debut);
    // The euphonic "t" of "a-t-il" stands between two parts.
    const bool euphonique = coupe && k < mot.size() && (partie == u"t" || partie == u"T");
    if (k == mot.size() && !coupe) return false;  // no dash: nothing to split
    if (!euphonique && !Connu(partie)) return false;
    coupe = true;
    debut = k + 1;
  }
  return coupe;
}

// The one unknown part of an elided or hyphenated word, with what stands before and after it
// ("l'" + "ecole" + ""); an empty part when the word does not split so, or when more than one
// part is unknown.
VerificateurOrthographe::Decoupe VerificateurOrthographe::PartieInconnue(std::u16string_view mot) const {
  const size_t k = Apostrophe(mot);
  if (k > 0 && k + 1 < mot.size() && (EstElision(mot.substr(0, k)) || Tient(mot.substr(0, k + 1)))) {
    const std::u16string_view reste = mot.substr(k + 1);
    if (Connu(reste)) return {};
    Decoupe d = PartieInconnue(reste);  // "l'arc-en-ceil": the compound's own unknown part
    if (d.partie.empty()) return {std::u16string(mot.substr(0, k + 1)), std::u16string(reste), {}};
    d.avant = std::u16string(mot.substr(0, k + 1)) + d.avant;
    return d;
  }
  Decoupe trouvee;
  size_t debut = 0, inconnues = 0;
  for (size_t j = 0; j <= mot.size(); ++j) {
    if (j < mot.size() && !EstTrait(mot[j])) continue;
    if (j == mot.size() && debut == 0) return {};  // no dash
    const std::u16string_view partie = mot.substr(debut, j - debut);
    if (!partie.empty() && partie != u"t" && partie != u"T" && !Connu(partie)) {
      ++inconnues;
      trouvee = {std::u16string(mot.substr(0, debut)), std::u16string(partie), std::u16string(mot.substr(j))};
    }
    debut = j + 1;
  }
  return inconnues == 1 ? trouvee : Decoupe{};
}

// The lexicon's corrections of one word, in the word's case, never empty forms.
std::vector<std::u16string> VerificateurOrthographe::Corrections(std::u16string_view mot,
                                                                 uint32_t combien) const {
  std::vector<std::u16string> s;
  if (mot.empty() || mot.size() > AutomateAcycliqueMin::kLongueurMaxMot) return s;
  ListeC<AutomateAcycliqueMin::_FormeProbabiliste> formes;
  ChaineN compose = Chaine(mot);
  compose.NormaliseNFC();
  lexique_->FormesProbabilistes(compose, {}, combien, 0, nullptr, formes);
  const Casse casse = CasseDe(mot);
  for (const auto& f : formes) {
    std::u16string forme(f.forme.DonneUnites(), f.forme.Longueur());
    if (forme.empty()) continue;
    if (casse == Casse::kCapitales) {
      for (char16_t& c : forme) c = UniCaractere::Majuscule(c);
    } else if (casse == Casse::kInitiale) {
      forme[0] = UniCaractere::Majuscule(forme[0]);
    }
    s.push_back(std::move(forme));
  }
  return s;
}

std::vector<std::u16string> VerificateurOrthographe::Suggestions(std::u16string_view mot,
                                                                 uint32_t combien) const {
  std::vector<std::u16string> s;
  if (combien == 0 || mot.size() > AutomateAcycliqueMin::kLongueurMaxMot) return s;
  const auto ajoute = [&](std::u16string forme) {
    if (s.size() < combien && std::find(s.begin(), s.end(), forme) == s.end()) s.push_back(std::move(forme));
  };
  const Decoupe d = PartieInconnue(mot);
  if (!d.partie.empty()) {
    // After an elided word ("l'", "qu'") only a vowel or an h can come.
    const bool elision = !d.avant.empty() && EstApostrophe(d.avant.back());
    for (const std::u16string& f : Corrections(d.partie, combien)) {
      const char16_t premier = UniCaractere::SansAccent(UniCaractere::Minuscule(f[0]));
      if (!elision || UniCaractere::EstVoyelle(premier) || premier == u'h') ajoute(d.avant + f + d.apres);
    }
  }
  for (std::u16string& f : Corrections(mot, combien)) ajoute(std::move(f));
  return s;
}

}  // namespace sdd
