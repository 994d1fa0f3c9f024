// Texts compared character by character, for outils-socle synchro --caracteres.
#include <outils_socle/texte/UniCaractere.h>

#include "Differences.h"

namespace outils {

namespace {

// Past this many characters on both sides, a changed block is not compared character by
// character (the search grows with the product of the lengths when they differ much): it is
// shown as removed and inserted whole.
constexpr size_t kJetonsMaximum = 5000;

}  // namespace

// A text cut into characters: a code point and the combining marks after it, so that "é"
// written with a combining accent moves as one piece. Malformed bytes stand alone.
std::vector<std::string_view> Caracteres(std::string_view texte) {
  std::vector<std::string_view> jetons;
  auto pointDeCode = [&](size_t i, size_t& longueur) -> uint32_t {
    const auto o = [&](size_t k) { return static_cast<unsigned char>(texte[k]); };
    const unsigned c = o(i);
    longueur = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
    if (i + longueur > texte.size()) longueur = 1;
    uint32_t cp = longueur == 1 ? c : c & (0x7Fu >> longueur);
    for (size_t k = 1; k < longueur; ++k) {
      if ((o(i + k) & 0xC0) != 0x80) {
        longueur = 1;
        return c;
      }
      cp = (cp << 6) | (o(i + k) & 0x3F);
    }
    return cp;
  };
  auto combinant = [](uint32_t cp) {
    return cp < 0x10000 && (sdd::UniCaractere::Classes(static_cast<char16_t>(cp)) & (uint64_t{1} << 10)) != 0;
  };
  size_t i = 0;
  while (i < texte.size()) {
    size_t longueur;
    pointDeCode(i, longueur);
    size_t fin = i + longueur;
    while (fin < texte.size()) {
      size_t l;
      if (!combinant(pointDeCode(fin, l))) break;
      fin += l;
    }
    jetons.push_back(texte.substr(i, fin - i));
    i = fin;
  }
  return jetons;
}

std::vector<Morceau> CompareCaracteres(std::string_view ancien, std::string_view nouveau, float limite,
                                       int& distance) {
  const std::vector<std::string_view> a = Caracteres(ancien), b = Caracteres(nouveau);
  std::vector<Morceau> morceaux;
  auto ajoute = [&](Genre g, std::string_view t) {
    if (t.empty()) return;
    if (!morceaux.empty() && morceaux.back().genre == g && morceaux.back().texte.end() == t.begin()) {
      morceaux.back().texte =
          std::string_view(morceaux.back().texte.data(), morceaux.back().texte.size() + t.size());
    } else {
      morceaux.push_back({g, t});
    }
  };
  if (a.size() + b.size() > kJetonsMaximum || limite < 0) {
    distance += static_cast<int>(a.size() + b.size());
    ajoute(Genre::kSupprime, ancien);
    ajoute(Genre::kInsere, nouveau);
    return morceaux;
  }
  const Differences d = CompareLignes(a, b, {limite, nullptr});
  distance += d.distance;
  // Pieces of a text from character `de` to character `a` (exclusive).
  auto etendue = [](const std::vector<std::string_view>& j, int de, int a) {
    if (de >= a) return std::string_view();
    return std::string_view(
        j[static_cast<size_t>(de)].data(),
        static_cast<size_t>(j[static_cast<size_t>(a - 1)].end() - j[static_cast<size_t>(de)].begin()));
  };
  int i = 0;
  for (const Modification& m : d.modifications) {
    ajoute(Genre::kCommun, etendue(a, i, m.ancien));
    ajoute(Genre::kSupprime, etendue(a, m.ancien, m.ancien + m.supprimes));
    ajoute(Genre::kInsere, etendue(b, m.nouveau, m.nouveau + m.inseres));
    i = m.ancien + m.supprimes;
  }
  ajoute(Genre::kCommun, etendue(a, i, static_cast<int>(a.size())));
  return morceaux;
}

}  // namespace outils
