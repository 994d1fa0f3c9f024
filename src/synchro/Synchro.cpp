// Myers' difference algorithm, "An O(ND) Difference Algorithm and Its Variations" (1986), in
// its linear-space form: the middle snake of the whole, then the parts before and after it.
#include <outils_socle/synchro/Synchro.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>
#include <limits>

#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniChaine.h>

namespace {

uint64_t MaintenantMs() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

}  // namespace

// ---- comparisons

bool Synchro::CompareCaracteres(void* ancien, int i, void* nouveau, int j) {
  return static_cast<const char*>(ancien)[i] == static_cast<const char*>(nouveau)[j];
}

bool Synchro::CompareEntiers(void* ancien, int i, void* nouveau, int j) {
  return static_cast<const int*>(ancien)[i] == static_cast<const int*>(nouveau)[j];
}

bool Synchro::CompareChaines(void* ancien, int i, void* nouveau, int j) {
  return std::strcmp(static_cast<char* const*>(ancien)[i], static_cast<char* const*>(nouveau)[j]) == 0;
}

bool Synchro::CompareListeTUniChaines(void* ancien, int i, void* nouveau, int j) {
  // A negative index becomes a huge one, which the list refuses like any index past its end.
  const auto& a = *static_cast<const sdd::ListeT<UniChaine>*>(ancien);
  const auto& b = *static_cast<const sdd::ListeT<UniChaine>*>(nouveau);
  return a[static_cast<uint64_t>(static_cast<int64_t>(i))] ==
         b[static_cast<uint64_t>(static_cast<int64_t>(j))];
}

bool Synchro::CompareUniCarDansChaineN(void* ancien, int i, void* nouveau, int j) {
  return static_cast<const sdd::ChaineN*>(ancien)->DonneUnites()[i] ==
         static_cast<const sdd::ChaineN*>(nouveau)->DonneUnites()[j];
}

bool Synchro::CompareUniCarDansUniChaine(void* ancien, int i, void* nouveau, int j) {
  const QString& a = static_cast<const UniChaine*>(ancien)->DonneQString();
  const QString& b = static_cast<const UniChaine*>(nouveau)->DonneQString();
  const QChar x = i < 0 ? QChar(0) : a[i];
  const QChar y = j < 0 ? QChar(0) : b[j];
  return x == y;
}

bool Synchro::CompareUniChaines(void* ancien, int i, void* nouveau, int j) {
  return static_cast<const UniChaine*>(ancien)[i] == static_cast<const UniChaine*>(nouveau)[j];
}

// ---- construction

Synchro::Synchro(const sdd::ChaineN& ancien, const sdd::ChaineN& nouveau, float limite)
    : Synchro(ancien, static_cast<int>(ancien.Longueur()), nouveau, static_cast<int>(nouveau.Longueur()),
              limite) {}

Synchro::Synchro(const sdd::ChaineN& ancien, int n, const sdd::ChaineN& nouveau, int m, float limite)
    : Synchro(const_cast<sdd::ChaineN*>(&ancien), n, const_cast<sdd::ChaineN*>(&nouveau), m,
              CompareUniCarDansChaineN, limite) {}

Synchro::Synchro(const UniChaine& ancien, const UniChaine& nouveau, float limite)
    : Synchro(const_cast<UniChaine*>(&ancien), ancien.Longueur(), const_cast<UniChaine*>(&nouveau),
              nouveau.Longueur(), CompareUniCarDansUniChaine, limite) {}

Synchro::Synchro(const char* ancien, int n, const char* nouveau, int m, float limite)
    : Synchro(const_cast<char*>(ancien), n, const_cast<char*>(nouveau), m, CompareCaracteres, limite) {}

Synchro::Synchro(void* ancien, int n, void* nouveau, int m, Comparaison compare, float limite)
    : ancien_(ancien), n_(std::max(n, 0)), nouveau_(nouveau), m_(std::max(m, 0)), compare_(compare) {
  Init(limite);
}

Synchro::~Synchro() = default;

void Synchro::Init(float secondes) {
  limite_ = false;
  depasse_ = false;
  if (secondes > 0) {
    limite_ = true;
    echeance_ = MaintenantMs() + static_cast<uint32_t>(static_cast<int64_t>(secondes * 1000));
  }
  // Diagonals k of a part run from -m to n; a search also reads one beyond each end.
  const size_t taille = static_cast<size_t>(n_) + static_cast<size_t>(m_) + 3;
  decalage_ = m_ + 1;
  avant_.reset(new int[taille]);
  arriere_.reset(new int[taille]);
  debutSerpent_.reset(new int[taille]);
  resultat_.reset();
}

bool Synchro::TempsEcoule() {
  if (limite_ && MaintenantMs() > echeance_) depasse_ = true;
  if (arret_ != nullptr && arret_->load(std::memory_order_relaxed)) depasse_ = true;
  return depasse_;
}

// ---- the middle snake

int Synchro::TrouveSerpent(int x0, int n, int y0, int m, Serpent& serpent) {
  // The snakes are where the comparisons happen, millions of them on long, different inputs:
  // for the callbacks we know, compare inline rather than call through the pointer.
  if (compare_ == CompareEntiers) {
    const int* a = static_cast<const int*>(ancien_);
    const int* b = static_cast<const int*>(nouveau_);
    return TrouveSerpentAvec([a, b](int i, int j) { return a[i] == b[j]; }, x0, n, y0, m, serpent);
  }
  if (compare_ == CompareCaracteres) {
    const char* a = static_cast<const char*>(ancien_);
    const char* b = static_cast<const char*>(nouveau_);
    return TrouveSerpentAvec([a, b](int i, int j) { return a[i] == b[j]; }, x0, n, y0, m, serpent);
  }
  return TrouveSerpentAvec([this](int i, int j) { return Egaux(i, j); }, x0, n, y0, m, serpent);
}

template <typename Egal>
int Synchro::TrouveSerpentAvec(const Egal& egaux, int x0, int n, int y0, int m, Serpent& serpent) {
  const int delta = n - m;
  const bool impair = (delta & 1) != 0;
  int* const av = avant_.get() + decalage_;
  int* const ar = arriere_.get() + decalage_;
  int* const debut = debutSerpent_.get() + decalage_;
  // Unreached diagonals: forward x below 0, reverse x above n. Only diagonals in [-m, n] hold
  // points of the grid; those beyond are never searched, and read as unreached.
  constexpr int kAvantAbsent = -1;
  const int arriereAbsent = n + 1;
  const int kMin = -m, kMax = n;
  for (int k = kMin - 1; k <= kMax + 1; ++k) {
    av[k] = kAvantAbsent;
    ar[k] = arriereAbsent;
  }
  // Every point stored is a point of the grid (moves are taken only when they stay in it, and
  // snakes stop at its edges), and a round reads only what the previous round wrote or the
  // initial marks: a diagonal's point is usable exactly when it was reached.
  auto valideAvant = [&](int k) { return av[k] != kAvantAbsent; };
  auto valideArriere = [&](int k) { return ar[k] != arriereAbsent; };
  const int dMax = (n + m + 1) / 2;
  for (int d = 0; d <= dMax; ++d) {
    if (TempsEcoule()) return n + m;
    // Forward: the furthest point of each diagonal after d moves, from a neighbour's, then
    // along the snake of equal elements. A diagonal is reached from its neighbours of the
    // previous round, by a move down from k + 1 or right from k - 1, if that move stays in
    // the grid; the preferred one as Myers chooses, else the other.
    const int premierAvant = std::max(-d, kMin + ((kMin + d) & 1));
    const int dernierAvant = std::min(d, kMax - ((kMax - d) & 1));
    // A round writes the diagonals of its own parity and reads the other's: one array will do.
    for (int k = premierAvant; k <= dernierAvant; k += 2) {
      int x;
      if (d == 0) {
        x = 0;
      } else {
        const bool bas = valideAvant(k + 1) && av[k + 1] - (k + 1) < m;
        const bool droite = valideAvant(k - 1) && av[k - 1] < n;
        bool depuisBas;
        if (k == -d) {
          depuisBas = true;
        } else if (k == d) {
          depuisBas = false;
        } else {
          depuisBas = av[k - 1] < av[k + 1];
        }
        if (depuisBas && !bas) depuisBas = false;
        if (!depuisBas && !droite) depuisBas = bas;
        if (!bas && !droite) {
          av[k] = kAvantAbsent;
          continue;
        }
        x = depuisBas ? av[k + 1] : av[k - 1] + 1;
      }
      if (!impair) debut[k] = x;
      int y = x - k;
      while (x < n && y < m && egaux(x0 + x, y0 + y)) {
        ++x;
        ++y;
      }
      av[k] = x;
      if (impair && k >= delta - (d - 1) && k <= delta + (d - 1) && valideArriere(k) && x >= ar[k]) {
        serpent = {ar[k], ar[k] - k, debut[k], debut[k] - k};
        return 2 * d - 1;
      }
    }
    // Reverse: the mirror image, from (n, m) towards the origin, on diagonals delta - d to
    // delta + d: a move left from k + 1 or up from k - 1.
    const int premierArriere = std::max(delta - d, kMin + ((kMin - delta + d) & 1));
    const int dernierArriere = std::min(delta + d, kMax - ((kMax - delta - d) & 1));
    for (int k = premierArriere; k <= dernierArriere; k += 2) {
      int x;
      if (d == 0) {
        x = n;
      } else {
        const bool gauche = valideArriere(k + 1) && ar[k + 1] > 0;
        const bool haut = valideArriere(k - 1) && ar[k - 1] - (k - 1) > 0;
        bool depuisGauche;
        if (k == delta - d) {
          depuisGauche = true;
        } else if (k == delta + d) {
          depuisGauche = false;
        } else {
          depuisGauche = ar[k + 1] - 1 <= ar[k - 1];
        }
        if (depuisGauche && !gauche) depuisGauche = false;
        if (!depuisGauche && !haut) depuisGauche = gauche;
        if (!gauche && !haut) {
          ar[k] = arriereAbsent;
          continue;
        }
        x = depuisGauche ? ar[k + 1] - 1 : ar[k - 1];
      }
      if (impair) debut[k] = x;
      int y = x - k;
      while (x > 0 && y > 0 && egaux(x0 + x - 1, y0 + y - 1)) {
        --x;
        --y;
      }
      ar[k] = x;
      if (!impair && k >= -d && k <= d && valideAvant(k) && x <= av[k]) {
        serpent = {debut[k], debut[k] - k, av[k], av[k] - k};
        return 2 * d;
      }
    }
  }
  return n + m;
}

// ---- the alignment

void Synchro::TrouveLCS(int* resultat, int x, int n, int y, int m) {
  while (n >= 1 && m >= 1) {
    Serpent s{};
    const int d = TrouveSerpent(x, n, y, m, s);
    if (d >= n + m) return;  // nothing in common, or no time left
    if (d < 2) {
      // Equal parts, or one element more on one side: all the rest matches.
      if (m <= n) {
        for (int j = 0; j < s.yDebut; ++j) resultat[y + j] = x + j;
      } else {
        for (int j = 0; j < s.yDebut - 1; ++j) resultat[y + j] = x + j;
      }
      for (int j = s.yDebut; j < m; ++j) resultat[y + j] = x + s.xDebut + (j - s.yDebut);
      return;
    }
    // The part before the snake by recursion (half of d: the depth is logarithmic), the snake,
    // then the part after it in this same call.
    TrouveLCS(resultat, x, s.xDebut, y, s.yDebut);
    for (int j = s.yDebut; j < s.yFin; ++j) resultat[y + j] = x + s.xDebut + (j - s.yDebut);
    x += s.xFin;
    n -= s.xFin;
    y += s.yFin;
    m -= s.yFin;
  }
}

int* Synchro::Synchronise(int* resultat) {
  if (resultat == nullptr) {
    resultat_.reset(new int[static_cast<size_t>(m_) + 1]);
    resultat = resultat_.get();
  }
  const int plusCourt = std::min(n_, m_);
  int prefixe = 0;
  while (prefixe < plusCourt && Egaux(prefixe, prefixe)) ++prefixe;
  int suffixe = 0;
  if (prefixe != plusCourt) {
    while (suffixe < plusCourt && Egaux(n_ - 1 - suffixe, m_ - 1 - suffixe)) ++suffixe;
  }
  // Prefix and suffix may overlap (old "aaa", new "aaxaa"): the shorter one gives way.
  if (prefixe + suffixe > plusCourt) {
    if (prefixe < suffixe) {
      prefixe = plusCourt - suffixe;
    } else {
      suffixe = plusCourt - prefixe;
    }
  }
  for (int j = 0; j < prefixe; ++j) resultat[j] = j;
  for (int j = prefixe; j < m_ - suffixe; ++j) resultat[j] = -1;
  for (int j = m_ - suffixe; j < m_; ++j) resultat[j] = j + (n_ - m_);
  TrouveLCS(resultat, prefixe, n_ - suffixe - prefixe, prefixe, m_ - suffixe - prefixe);
  return resultat;
}

int Synchro::DonneDistance() {
  if (n_ == 0) return m_;
  if (m_ == 0) return n_;
  Serpent s{};
  return TrouveSerpent(0, n_, 0, m_, s);
}

void Synchro::DonneDistanceEtDivergence(int& distance, double& a, double& b) {
  const int petit = std::min(n_, m_), grand = std::max(n_, m_);
  if (n_ >= 1 && m_ >= 1 && static_cast<double>(petit) / grand > 0.5) {
    distance = DonneDistance();
    a = static_cast<double>(distance - grand + petit) / petit;
    b = static_cast<double>(distance) / (petit + grand);
  } else {
    distance = INT_MAX;
    a = b = std::numeric_limits<double>::max();
  }
}

bool Synchro::PhrasesSimilaires(bool contenuAccepte) {
  if (n_ < m_) contenuAccepte = false;
  if (n_ < 1 || m_ < 1) return false;
  const int petit = std::min(n_, m_), grand = std::max(n_, m_);
  if (!contenuAccepte && static_cast<double>(petit) / grand <= 0.5) return false;
  return static_cast<double>(DonneDistance() + petit - grand) / petit < 0.3;
}

// ---- filters

void Synchro::MetsNouveauCaracteresNonConsecutifs(int* t, int n) {
  if (n < 2) return;
  for (int i = 0; i < n; ++i) {
    if (t[i] == -1) continue;
    // The previous entry as already filtered (so a -1 there lets an old index 0 stay).
    const bool avecPrecedent = i > 0 && t[i - 1] + 1 == t[i];
    const bool avecSuivant = i < n - 1 && t[i] + 1 == t[i + 1];
    if (!avecPrecedent && !avecSuivant) t[i] = -1;
  }
}

void Synchro::MetsNouveauAnciensPetitsIntervalles(int* t, int n, int minimum) {
  if (n < 2) return;
  int i = 0;
  while (i < n) {
    if (t[i] == -1) {
      ++i;
      continue;
    }
    int fin = i;
    while (fin < n && t[fin] != -1) ++fin;
    if (fin - i < minimum) std::fill(t + i, t + fin, -1);
    i = fin;
  }
}

void Synchro::MetsNouveauJusqueFinDeLigne(const UniChaine& nouveau, int* t, int n) {
  if (n < 2) return;
  const QString& texte = nouveau.DonneQString();
  auto finDeLigne = [&](int i) {
    if (i < 0 || i >= texte.size()) return false;
    const char16_t c = texte[i].unicode();
    return c == 13 || c == 10;
  };
  int i = 0;
  while (i < n) {
    if (t[i] != -1) {
      ++i;
      continue;
    }
    while (i < n && t[i] == -1) ++i;  // the run of new entries
    // From the run's last entry to the line's end, included; then on after it.
    int j = i - 1;
    while (j < n && !finDeLigne(j)) t[j++] = -1;
    if (j < n) t[j++] = -1;
    i = j;
  }
}
