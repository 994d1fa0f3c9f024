// Display widths for the program's tables. printf's "%-30s" pads by bytes, which shifts every
// line holding an accent; these count terminal columns instead, as the C library's wcwidth
// does for a UTF-8 terminal.
#include <locale.h>

#include <algorithm>
#include <clocale>
#include <cwchar>

#include "Commandes.h"

namespace outils {

namespace {

// The C.UTF-8 locale, built once and used only around our own calls: the program's global
// locale stays "C", so its numbers and messages do not change with the user's settings.
locale_t LocaleUTF8() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  return locale;
}

}  // namespace

size_t LargeurAffichage(const std::string& texte) {
  const locale_t utf8 = LocaleUTF8();
  if (utf8 == static_cast<locale_t>(0)) {
    // No UTF-8 locale on this system: one column per character, continuation bytes skipped.
    size_t colonnes = 0;
    for (const unsigned char c : texte) colonnes += (c & 0xC0) != 0x80;
    return colonnes;
  }
  const locale_t precedente = uselocale(utf8);
  size_t colonnes = 0;
  std::mbstate_t etat{};
  for (size_t i = 0; i < texte.size();) {
    wchar_t c = 0;
    const size_t lus = std::mbrtowc(&c, texte.data() + i, texte.size() - i, &etat);
    if (lus == static_cast<size_t>(-1) || lus == static_cast<size_t>(-2) || lus == 0) {
      // A malformed or cut sequence shows as one replacement character.
      ++colonnes;
      ++i;
      etat = std::mbstate_t{};
      continue;
    }
    const int largeur = wcwidth(c);
    colonnes += largeur > 0 ? static_cast<size_t>(largeur) : 0;
    i += lus;
  }
  uselocale(precedente);
  return colonnes;
}

std::string Coupe(const std::string& texte, size_t largeur) {
  const locale_t utf8 = LocaleUTF8();
  const locale_t precedente = utf8 != static_cast<locale_t>(0) ? uselocale(utf8) : static_cast<locale_t>(0);
  size_t colonnes = 0, i = 0;
  std::mbstate_t etat{};
  while (i < texte.size()) {
    wchar_t c = 0;
    size_t lus = std::mbrtowc(&c, texte.data() + i, texte.size() - i, &etat);
    int largeurCar = 1;
    if (lus == static_cast<size_t>(-1) || lus == static_cast<size_t>(-2) || lus == 0) {
      lus = 1;
      etat = std::mbstate_t{};
    } else if (utf8 != static_cast<locale_t>(0)) {
      largeurCar = std::max(wcwidth(c), 0);
    }
    if (colonnes + static_cast<size_t>(largeurCar) > largeur) break;
    colonnes += static_cast<size_t>(largeurCar);
    i += lus;
  }
  if (precedente != static_cast<locale_t>(0)) uselocale(precedente);
  return texte.substr(0, i);
}

std::string Aligne(const std::string& texte, size_t largeur) {
  const size_t colonnes = LargeurAffichage(texte);
  return colonnes >= largeur ? texte : texte + std::string(largeur - colonnes, ' ');
}

std::string AligneADroite(const std::string& texte, size_t largeur) {
  const size_t colonnes = LargeurAffichage(texte);
  return colonnes >= largeur ? texte : std::string(largeur - colonnes, ' ') + texte;
}

}  // namespace outils
