#include <outils_socle/synchro/DifferencesLignes.h>

#include <algorithm>
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
  Synchro synchro(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                  Synchro::CompareEntiers, limites.limite);
  synchro.ArreteSur(limites.arret);
  synchro.Synchronise(alignes.data());

  // Back to the whole sequences: each new element, its old element or -1.
  std::vector<int> ancienDe(nouveau.size(), -1);
  for (size_t j = 0; j < b.size(); ++j)
    if (alignes[j] >= 0) ancienDe[static_cast<size_t>(placesB[j])] = placesA[static_cast<size_t>(alignes[j])];

  Differences r;
  r.limiteAtteinte = synchro.LimiteTempsDepassee();
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
