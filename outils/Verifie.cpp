// outils-socle lexique verifie: the words of a text that a lexicon does not hold, with their
// line, column and likely corrections, as French is written (elisions, hyphenated compounds,
// capitals).
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <unordered_map>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/VerificateurOrthographe.h>
#include <outils_socle/texte/UniCaractere.h>

#include "Commandes.h"

namespace outils {

namespace {

using sdd::AutomateAcycliqueMin;
using sdd::ChaineN;
using sdd::UniCaractere;
using sdd::VerificateurOrthographe;

// The checker's answers for the words met already: a text repeats its words.
class Memoire {
 public:
  explicit Memoire(const VerificateurOrthographe& verificateur) : verificateur_(verificateur) {}
  bool Connu(const std::u16string& mot) {
    const auto deja = connus_.find(mot);
    if (deja != connus_.end()) return deja->second;
    return connus_.emplace(mot, verificateur_.Connu(mot)).first->second;
  }

 private:
  const VerificateurOrthographe& verificateur_;
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

  const VerificateurOrthographe verificateur(lexique);
  Memoire memoire(verificateur);
  // A bar for long texts, on a terminal only.
  Barre barre;
  const bool avancement = n > (1u << 20) && isatty(STDERR_FILENO) != 0;
  const auto t0 = Horloge::now();
  size_t mots = 0, fautes = 0;
  size_t ligne = 1, colonne = 1;  // of u[i], in characters
  std::string sortie;
  for (size_t i = 0; i < n;) {
    if (!VerificateurOrthographe::EstLettreDeMot(u[i])) {
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
    const auto lettre = [&](size_t k) { return VerificateurOrthographe::EstLettreDeMot(u[k]); };
    const auto jointure = [&](size_t k) {
      return VerificateurOrthographe::EstApostrophe(u[k]) || VerificateurOrthographe::EstTrait(u[k]);
    };
    while (fin < n && (lettre(fin) || (jointure(fin) && fin + 1 < n && lettre(fin + 1) && fin > i))) ++fin;
    // A word glued to digits ("2e", "A4") is a code, not a word.
    const bool code =
        (i > 0 && UniCaractere::EstChiffre(u[i - 1])) || (fin < n && UniCaractere::EstChiffre(u[fin]));
    const std::u16string mot(u + i, u + fin);
    if (!code) {
      ++mots;
      if (!memoire.Connu(mot)) {
        ++fautes;
        sortie += a.positions[1] + ":" + std::to_string(ligne) + ":" + std::to_string(colonne) + ": " +
                  U8(ChaineN(mot.data(), static_cast<uint64_t>(mot.size())));
        const auto s = verificateur.Suggestions(mot, static_cast<uint32_t>(suggestions));
        for (size_t k = 0; k < s.size(); ++k)
          sortie += (k == 0 ? " → " : ", ") + U8(ChaineN(s[k].data(), static_cast<uint64_t>(s[k].size())));
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
