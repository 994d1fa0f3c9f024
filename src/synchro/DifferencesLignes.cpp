#include <outils_socle/synchro/DifferencesLignes.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>

#include <outils_socle/synchro/Synchro.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"

namespace sdd {

void TexteEnLignes::Decoupe() {
  lignes.clear();
  const std::string_view tout(octets);
  size_t debut = 0;
  while (debut < tout.size()) {
    size_t fin = tout.find('\n', debut);
    fin = fin == std::string_view::npos ? tout.size() : fin + 1;
    lignes.push_back(tout.substr(debut, fin - debut));
    debut = fin;
  }
}

namespace {

// The elements of `suite` whose number occurs in `autre` (numbers are below `plafond`), and
// their places in `suite`.
void GardeCommuns(const std::vector<int>& suite, const std::vector<char>& dansAutre, std::vector<int>& gardes,
                  std::vector<int>& places) {
  for (size_t i = 0; i < suite.size(); ++i) {
    if (dansAutre[static_cast<size_t>(suite[i])]) {
      gardes.push_back(suite[i]);
      places.push_back(static_cast<int>(i));
    }
  }
}

// Myers' search from both ends (the middle snake), bounded as GNU diff bounds its own: a part
// whose edit cost reaches `tropCher` is cut where one of the two searches got furthest, instead
// of being searched to its end. Below that cost every part is cut at a middle snake, so a script
// that needs few edits comes out shortest, as Synchro gives it. The parts wait on a stack, not
// in recursion: cuts far from the middle would otherwise nest as deep as the input is long.
class RechercheBornee {
 public:
  RechercheBornee(const std::vector<int>& a, const std::vector<int>& b, const LimitesComparaison& limites)
      : a_(a), b_(b), limites_(limites) {
    const size_t diagonales = a.size() + b.size() + 3;
    avant_.resize(diagonales);
    arriere_.resize(diagonales);
    decalage_ = static_cast<long>(b.size()) + 1;
    // About the square root of the size, rounded up to a power of two, and 4096 at least.
    tropCher_ = 1;
    for (size_t d = diagonales; d != 0; d >>= 2) tropCher_ <<= 1;
    tropCher_ = std::max(tropCher_, 4096L);
    if (limites.limite > 0)
      echeance_ = std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                      std::chrono::duration<double>(static_cast<double>(limites.limite)));
  }

  // alignes[j]: the element of `a` that b[j] is matched with, or -1.
  void Aligne(std::vector<int>& alignes) {
    alignes.assign(b_.size(), -1);
    std::vector<Partie> pile{{0, static_cast<long>(a_.size()), 0, static_cast<long>(b_.size())}};
    while (!pile.empty()) {
      Partie p = pile.back();
      pile.pop_back();
      // Equal heads and tails match at once.
      while (p.x0 < p.x1 && p.y0 < p.y1 && a_[static_cast<size_t>(p.x0)] == b_[static_cast<size_t>(p.y0)])
        alignes[static_cast<size_t>(p.y0++)] = static_cast<int>(p.x0++);
      while (p.x0 < p.x1 && p.y0 < p.y1 &&
             a_[static_cast<size_t>(p.x1 - 1)] == b_[static_cast<size_t>(p.y1 - 1)])
        alignes[static_cast<size_t>(--p.y1)] = static_cast<int>(--p.x1);
      if (p.x0 == p.x1 || p.y0 == p.y1) continue;  // only deletions, or only insertions, left
      if (Arrete()) {  // the rest stays unmatched: a valid script, not a shortest one
        arrete_ = true;
        continue;
      }
      const Coupure c = Coupe(p);
      if ((c.x == p.x0 && c.y == p.y0) || (c.x == p.x1 && c.y == p.y1)) {
        // A cut must leave both parts smaller; should one ever fall on a corner, the part's
        // first old element is deleted instead, which always shortens it.
        pile.push_back({p.x0 + 1, p.x1, p.y0, p.y1});
        continue;
      }
      pile.push_back({c.x, p.x1, c.y, p.y1});
      pile.push_back({p.x0, c.x, p.y0, c.y});
    }
  }

  bool Arrete() const {
    return arrete_ || (limites_.arret != nullptr && limites_.arret->load(std::memory_order_relaxed)) ||
           (limites_.limite > 0 && std::chrono::steady_clock::now() > echeance_);
  }
  bool LimiteAtteinte() const { return arrete_; }

 private:
  struct Partie {
    long x0, x1, y0, y1;
  };
  struct Coupure {
    long x, y;
  };

  long& Av(long k) { return avant_[static_cast<size_t>(k + decalage_)]; }
  long& Ar(long k) { return arriere_[static_cast<size_t>(k + decalage_)]; }
  bool Egaux(long x, long y) const { return a_[static_cast<size_t>(x)] == b_[static_cast<size_t>(y)]; }

  // A point through which a script of the part passes, strictly inside it (the part has no
  // equal head or tail, so both searches move at once). Diagonal k holds the points x - y = k;
  // the forward search starts on x0 - y0, the reverse one on x1 - y1.
  Coupure Coupe(const Partie& p) {
    const long kMin = p.x0 - p.y1, kMax = p.x1 - p.y0;
    const long kAvant = p.x0 - p.y0, kArriere = p.x1 - p.y1;
    const bool impair = ((kAvant - kArriere) & 1) != 0;
    long avMin = kAvant, avMax = kAvant, arMin = kArriere, arMax = kArriere;
    Av(kAvant) = p.x0;
    Ar(kArriere) = p.x1;
    for (long cout = 1;; ++cout) {
      if ((cout & 255) == 0 && Arrete()) {
        arrete_ = true;
        return {p.x0 + (p.x1 - p.x0) / 2, p.y0};  // any inner point: the parts stay unmatched
      }
      // One more move forward: the range of diagonals widens by one at each end, within the
      // part; an unreached neighbour reads as -1 (never the better one).
      if (avMin > kMin)
        Av(--avMin - 1) = -1;
      else
        ++avMin;
      if (avMax < kMax)
        Av(++avMax + 1) = -1;
      else
        --avMax;
      for (long k = avMax; k >= avMin; k -= 2) {
        const long bas = Av(k - 1), haut = Av(k + 1);
        long x = bas >= haut ? bas + 1 : haut;
        long y = x - k;
        while (x < p.x1 && y < p.y1 && Egaux(x, y)) ++x, ++y;
        Av(k) = x;
        if (impair && arMin <= k && k <= arMax && Ar(k) <= x) return {x, y};
      }
      // One more move backward, the mirror image; an unreached neighbour reads as past the end.
      if (arMin > kMin)
        Ar(--arMin - 1) = LONG_MAX;
      else
        ++arMin;
      if (arMax < kMax)
        Ar(++arMax + 1) = LONG_MAX;
      else
        --arMax;
      for (long k = arMax; k >= arMin; k -= 2) {
        const long bas = Ar(k - 1), haut = Ar(k + 1);
        long x = bas < haut ? bas : haut - 1;
        long y = x - k;
        while (x > p.x0 && y > p.y0 && Egaux(x - 1, y - 1)) --x, --y;
        Ar(k) = x;
        if (!impair && avMin <= k && k <= avMax && x <= Av(k)) return {x, y};
      }
      if (cout < tropCher_) continue;
      // Too dear: cut where a search got furthest towards the other end, in x + y. The point
      // is on a path of the search, so the script through it is valid.
      long meilleurAvant = -1, xAvant = 0, yAvant = 0;
      for (long k = avMax; k >= avMin; k -= 2) {
        long x = std::min(Av(k), p.x1), y = x - k;
        if (y > p.y1) x = p.y1 + k, y = p.y1;
        if (x + y > meilleurAvant) meilleurAvant = x + y, xAvant = x, yAvant = y;
      }
      long meilleurArriere = LONG_MAX, xArriere = 0, yArriere = 0;
      for (long k = arMax; k >= arMin; k -= 2) {
        long x = std::max(p.x0, Ar(k)), y = x - k;
        if (y < p.y0) x = p.y0 + k, y = p.y0;
        if (x + y < meilleurArriere) meilleurArriere = x + y, xArriere = x, yArriere = y;
      }
      if (meilleurAvant - (p.x0 + p.y0) >= (p.x1 + p.y1) - meilleurArriere) return {xAvant, yAvant};
      return {xArriere, yArriere};
    }
  }

  const std::vector<int>& a_;
  const std::vector<int>& b_;
  const LimitesComparaison& limites_;
  std::vector<long> avant_, arriere_;
  long decalage_ = 0;
  long tropCher_ = 4096;
  std::chrono::steady_clock::time_point echeance_{};
  bool arrete_ = false;
};

}  // namespace

Differences CompareSuites(const std::vector<int>& ancien, const std::vector<int>& nouveau,
                          LimitesComparaison limites) {
  // The numbers index a table: a negative one would reach before it.
  for (const std::vector<int>* suite : {&ancien, &nouveau})
    for (int x : *suite)
      if (x < 0)
        throw exceptions::OperationInvalide(N_("CompareSuites : les numéros doivent être positifs ou nuls"));
  int plafond = 0;
  for (int x : ancien) plafond = std::max(plafond, x + 1);
  for (int x : nouveau) plafond = std::max(plafond, x + 1);
  std::vector<char> dansAncien(static_cast<size_t>(plafond)), dansNouveau(static_cast<size_t>(plafond));
  for (int x : ancien) dansAncien[static_cast<size_t>(x)] = 1;
  for (int x : nouveau) dansNouveau[static_cast<size_t>(x)] = 1;
  std::vector<int> a, b, placesA, placesB;
  GardeCommuns(ancien, dansNouveau, a, placesA);
  GardeCommuns(nouveau, dansAncien, b, placesB);

  std::vector<int> alignes(b.size() + 1, -1);
  bool limiteAtteinte = false;
  if (limites.minimale) {
    Synchro synchro(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                    Synchro::CompareEntiers, limites.limite);
    synchro.ArreteSur(limites.arret);
    synchro.Synchronise(alignes.data());
    limiteAtteinte = synchro.LimiteTempsDepassee();
  } else {
    RechercheBornee recherche(a, b, limites);
    recherche.Aligne(alignes);
    limiteAtteinte = recherche.LimiteAtteinte();
  }

  // Back to the whole sequences: each new element, its old element or -1.
  std::vector<int> ancienDe(nouveau.size(), -1);
  for (size_t j = 0; j < b.size(); ++j)
    if (alignes[j] >= 0) ancienDe[static_cast<size_t>(placesB[j])] = placesA[static_cast<size_t>(alignes[j])];

  Differences r;
  r.limiteAtteinte = limiteAtteinte;
  int i = 0;      // next old element
  int debut = 0;  // first new element since the last match
  const int n = static_cast<int>(ancien.size()), m = static_cast<int>(nouveau.size());
  for (int j = 0; j <= m; ++j) {
    const int k = j < m ? ancienDe[static_cast<size_t>(j)] : n;
    if (j < m && k < 0) continue;
    // An alignment out of order or onto unequal elements would give a wrong script: never
    // print one.
    if (k < i || (j < m && ancien[static_cast<size_t>(k)] != nouveau[static_cast<size_t>(j)]))
      throw std::logic_error("alignement incohérent");
    if (k > i || j > debut) {
      r.modifications.push_back({i, k - i, debut, j - debut});
      r.distance += (k - i) + (j - debut);
    }
    i = k + 1;
    debut = j + 1;
  }
  return r;
}

namespace {

// Numbers equal lines alike: an open-addressing table of line texts, since hashing every line
// is most of the work on files that differ little. The hash is seeded per process, so that a
// file made to collide cannot turn the lookups quadratic.
class Numeroteur {
 public:
  explicit Numeroteur(size_t lignes) {
    size_t capacite = 16;
    while (capacite < 2 * lignes) capacite *= 2;
    cases_.assign(capacite, 0);
    masque_ = capacite - 1;
    textes_.reserve(lignes);
  }

  // The numbers of `lignes`, appended to `numeros`. The slots are read in random order and
  // most reads miss the cache: the hashes are computed first, and each slot is fetched a few
  // lines ahead of its use, so that the misses overlap.
  void Numerote(const std::vector<std::string_view>& lignes, std::vector<int>& numeros) {
    std::vector<uint64_t> hachages(lignes.size());
    for (size_t k = 0; k < lignes.size(); ++k) hachages[k] = Hache(lignes[k]);
    constexpr size_t kAvance = 16;
    numeros.reserve(numeros.size() + lignes.size());
    for (size_t k = 0; k < lignes.size(); ++k) {
      if (k + kAvance < lignes.size()) __builtin_prefetch(&cases_[hachages[k + kAvance] & masque_]);
      numeros.push_back(Numero(lignes[k], hachages[k]));
    }
  }

 private:
  int Numero(std::string_view ligne, uint64_t h) {
    // A slot holds the number + 1 in its low half and the hash's high half as a tag, so that
    // a probe reads one slot and touches a line's text only when the tags agree.
    const uint64_t etiquette = h & 0xFFFFFFFF00000000ULL;
    for (size_t i = h & masque_;; i = (i + 1) & masque_) {
      const uint64_t c = cases_[i];
      if (c == 0) {
        textes_.push_back(ligne);
        cases_[i] = etiquette | textes_.size();
        return static_cast<int>(textes_.size() - 1);
      }
      if ((c & 0xFFFFFFFF00000000ULL) == etiquette) {
        const size_t numero = (c & 0xFFFFFFFFU) - 1;
        if (textes_[numero] == ligne) return static_cast<int>(numero);
      }
    }
  }

  static uint64_t Graine() {
    static const uint64_t graine =
        (static_cast<uint64_t>(std::random_device{}()) << 32) ^ std::random_device{}();
    return graine;
  }
  static uint64_t Melange(uint64_t h) {
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    return h;
  }
  static uint64_t Hache(std::string_view s) {
    uint64_t h = Graine() ^ (s.size() * 0x9E3779B97F4A7C15ULL);
    size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
      uint64_t mot;
      std::memcpy(&mot, s.data() + i, 8);
      h = Melange(h ^ mot) * 0xc4ceb9fe1a85ec53ULL;
    }
    uint64_t reste = 0;
    std::memcpy(&reste, s.data() + i, s.size() - i);
    return Melange(h ^ reste);
  }

  std::vector<uint64_t> cases_;  // tag | number + 1, 0 for an empty slot
  size_t masque_;
  std::vector<std::string_view> textes_;
};

}  // namespace

Differences CompareLignes(const std::vector<std::string_view>& ancien,
                          const std::vector<std::string_view>& nouveau, LimitesComparaison limites) {
  Numeroteur numeros(ancien.size() + nouveau.size());
  std::vector<int> a, b;
  numeros.Numerote(ancien, a);
  numeros.Numerote(nouveau, b);
  return CompareSuites(a, b, limites);
}

std::vector<Bloc> GroupeEnBlocs(const std::vector<Modification>& modifications, int lignesAnciennes,
                                int lignesNouvelles, int contexte) {
  std::vector<Bloc> blocs;
  for (size_t premiere = 0; premiere < modifications.size();) {
    size_t derniere = premiere;
    while (derniere + 1 < modifications.size()) {
      const Modification& p = modifications[derniere];
      const Modification& s = modifications[derniere + 1];
      if (s.ancien - (p.ancien + p.supprimes) > 2 * contexte) break;
      ++derniere;
    }
    const Modification& p = modifications[premiere];
    const Modification& d = modifications[derniere];
    // Unchanged lines match one to one between modifications, so the context is the same
    // count on both sides.
    const int avant = std::min(contexte, std::min(p.ancien, p.nouveau));
    const int apres = std::min(contexte, std::min(lignesAnciennes - (d.ancien + d.supprimes),
                                                  lignesNouvelles - (d.nouveau + d.inseres)));
    blocs.push_back({premiere, derniere, p.ancien - avant, d.ancien + d.supprimes + apres, p.nouveau - avant,
                     d.nouveau + d.inseres + apres});
    premiere = derniere + 1;
  }
  return blocs;
}

void ParcoursBlocs(const Differences& d, int lignesAnciennes, int lignesNouvelles, int contexte,
                   VisiteurBlocs& visiteur) {
  for (const Bloc& bloc : GroupeEnBlocs(d.modifications, lignesAnciennes, lignesNouvelles, contexte)) {
    visiteur.Bloc(bloc);
    int i = bloc.ancienDebut;
    for (size_t k = bloc.premiere; k <= bloc.derniere; ++k) {
      const Modification& m = d.modifications[k];
      if (m.ancien > i) visiteur.Communes(i, m.ancien);
      visiteur.Change(m);
      i = m.ancien + m.supprimes;
    }
    if (bloc.ancienFin > i) visiteur.Communes(i, bloc.ancienFin);
  }
}

namespace {

class EcrivainUnifie final : public VisiteurBlocs {
 public:
  EcrivainUnifie(std::string& sortie, const TexteEnLignes& ancien, const TexteEnLignes& nouveau)
      : sortie_(sortie), a_(ancien), b_(nouveau) {}
  void Bloc(const sdd::Bloc& bloc) override {
    sortie_ += "@@ -";
    AjouteEtendue(sortie_, bloc.ancienDebut, bloc.ancienFin - bloc.ancienDebut);
    sortie_ += " +";
    AjouteEtendue(sortie_, bloc.nouveauDebut, bloc.nouveauFin - bloc.nouveauDebut);
    sortie_ += " @@\n";
  }
  void Communes(int debut, int fin) override {
    for (int i = debut; i < fin; ++i) Ligne(' ', a_.lignes[static_cast<size_t>(i)]);
  }
  void Change(const Modification& m) override {
    for (int s = 0; s < m.supprimes; ++s) Ligne('-', a_.lignes[static_cast<size_t>(m.ancien + s)]);
    for (int s = 0; s < m.inseres; ++s) Ligne('+', b_.lignes[static_cast<size_t>(m.nouveau + s)]);
  }

 private:
  void Ligne(char marque, std::string_view ligne) {
    sortie_ += marque;
    sortie_ += ligne;
    if (ligne.empty() || ligne.back() != '\n') sortie_ += "\n\\ No newline at end of file\n";
  }
  std::string& sortie_;
  const TexteEnLignes& a_;
  const TexteEnLignes& b_;
};

}  // namespace

void EcrisBlocsUnifies(std::string& sortie, const TexteEnLignes& ancien, const TexteEnLignes& nouveau,
                       const Differences& d, int contexte) {
  EcrivainUnifie ecrivain(sortie, ancien, nouveau);
  ParcoursBlocs(d, static_cast<int>(ancien.lignes.size()), static_cast<int>(nouveau.lignes.size()), contexte,
                ecrivain);
}

void AjouteEtendue(std::string& sortie, int debut, int compte) {
  if (compte == 1) {
    sortie += std::to_string(debut + 1);
  } else {
    sortie += std::to_string(compte == 0 ? debut : debut + 1);
    sortie += ',';
    sortie += std::to_string(compte);
  }
}

}  // namespace sdd
