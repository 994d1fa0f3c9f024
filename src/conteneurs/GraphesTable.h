#pragma once

// The string table seen as a graph of one-character transitions, for the walks it shares with
// the lexicon automaton (src/automates/Marche*.h, whose header says what an adapter gives):
// over the tree itself, or over the lookup index that Compacte lays out.

#include <algorithm>
#include <chrono>
#include <cstdint>

#include <outils_socle/conteneurs/TableChaineNoyau.h>
#include <outils_socle/texte/Exception.h>

#include "conteneurs/IndexClefs.h"
#include "langues/Marque.h"

namespace sdd::detail {

using Noeud = TableChaineNoyau::Noeud;

// What both graphs share: the table's size and switches, and the clock of a time-limited search
// (its own: searches are const, and several may run at once).
class GrapheTableCommun {
 public:
  GrapheTableCommun(const TableChaineNoyau& table, bool exclamation, bool tiret, bool chrono)
      : table_(table), exclamation_(exclamation), tiret_(tiret), chrono_(chrono) {
    if (chrono_) debut_ = std::chrono::steady_clock::now();
  }
  // A tree reaches each state by one path: nothing to remember, and no numbers.
  static constexpr bool kMemorise = false;
  static constexpr bool kNumerote = false;
  template <typename Sortie>
  static uint32_t Compte(Sortie) {
    return 0;
  }
  uint32_t NbFormes() const { return static_cast<uint32_t>(std::min<uint64_t>(table_.Taille(), UINT32_MAX)); }
  bool RecupereExclamation() const { return exclamation_; }
  bool RecupereTiret() const { return tiret_; }
  bool TempsEcoulay() const;
  [[noreturn]] static void Corrompu(uint64_t) {
    throw exceptions::TableNonValide(N_("Table de chaînes : plus de réponses que de clefs"));
  }

 protected:
  const TableChaineNoyau& table_;

 private:
  bool exclamation_;
  bool tiret_;
  bool chrono_;
  std::chrono::steady_clock::time_point debut_{};
};

// The tree as a graph: a state is a node and how many units of its fragment have been read;
// inside a fragment there is one transition, at its end one per child. The children's first
// units come from the parent's mirror of them, so that a walk touches a node only when it goes
// into it: a tree's nodes lie wherever they were allocated, and each touch is a cache miss.
class GrapheTable : public GrapheTableCommun {
 public:
  struct Etat {
    const Noeud* n;
    uint32_t i;
  };
  using Vue = Etat;
  struct Sortie {
    const Noeud* n;  // the node left
    uint32_t i;      // inside its fragment: the unit read
    uint32_t k;      // the way out: inside, 0 (the only one); at the end, the child
    uint32_t nb;     // ways out
    bool interne;
  };
  using GrapheTableCommun::GrapheTableCommun;

  Etat Racine() const { return {table_.Racine(), 0}; }
  static Vue Lis(Etat e) { return e; }
  static bool Final(const Vue& v) { return v.i == v.n->longueur_ && v.n->EstClef(); }
  static Sortie Premiere(const Vue& v) {
    if (v.i < v.n->longueur_) return {v.n, v.i, 0, 1, true};
    return {v.n, 0, 0, v.n->NbEnfants(), false};
  }
  static bool Existe(const Vue&, Sortie s) { return s.k < s.nb; }
  static Sortie Suivante(Sortie s) {
    ++s.k;
    return s;
  }
  static char16_t Car(Sortie s) {
    if (s.interne) return s.n->Unites()[s.i];
    // A child's first unit: its first code point, or that code point's high surrogate.
    const char32_t c = s.n->PremierDeLEnfant(s.k);
    return c < 0x10000 ? static_cast<char16_t>(c) : static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
  }
  static Etat Cible(const Vue&, Sortie s) {
    if (s.interne) return {s.n, s.i + 1};
    // The walks ask for every child's state before they go into the first: fetching each now
    // lets the misses overlap rather than come one after another.
    const Noeud* enfant = s.n->Enfant(s.k);
    __builtin_prefetch(enfant);
    return {enfant, 1};
  }
  static bool Trouve(const Vue& v, char16_t c, Sortie* s) {
    for (Sortie t = Premiere(v); Existe(v, t); t = Suivante(t)) {
      if (Car(t) == c) {
        *s = t;
        return true;
      }
    }
    return false;
  }
  // Fragments hold at most kLongueurMaxClef units: the offset fits the low 16 bits.
  static uint64_t Identite(Etat e) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(e.n)) << 16 | e.i;
  }
  static Etat DepuisIdentite(uint64_t id) {
    return {reinterpret_cast<const Noeud*>(static_cast<uintptr_t>(id >> 16)),
            static_cast<uint32_t>(id & 0xFFFF)};
  }
  static const Noeud* NoeudDe(uint64_t identite) { return DepuisIdentite(identite).n; }
};

// The lookup index as a graph: a state is a record and how many units of its fragment have been
// read. Breadth-first records of 16 bytes: a walk reads a few megabytes rather than the tree's
// nodes, and touches a node only for the payload of a key it found.
class GrapheIndex : public GrapheTableCommun {
 public:
  struct Etat {
    uint32_t r;
    uint32_t i;
  };
  using Vue = Etat;
  struct Sortie {
    uint32_t r;  // inside a fragment: the record; at its end: the child
    uint32_t i;  // inside: the unit read
    uint32_t fin;
    bool interne;
  };

  GrapheIndex(const TableChaineNoyau& table, const IndexClefs& index, bool exclamation, bool tiret,
              bool chrono)
      : GrapheTableCommun(table, exclamation, tiret, chrono), index_(index) {}

  static Etat Racine() { return {0, 0}; }
  static Vue Lis(Etat e) { return e; }
  bool Final(const Vue& v) const { return v.i == index_.Longueur(v.r) && index_.EstClef(v.r); }
  Sortie Premiere(const Vue& v) const {
    if (v.i < index_.Longueur(v.r)) return {v.r, v.i, v.r + 1, true};
    return {index_.PremierEnfant(v.r), 0, index_.FinEnfants(v.r), false};
  }
  static bool Existe(const Vue&, Sortie s) { return s.interne ? s.fin != s.r : s.r < s.fin; }
  static Sortie Suivante(Sortie s) {
    if (s.interne) {
      s.fin = s.r;  // the only way out is taken
    } else {
      ++s.r;
    }
    return s;
  }
  char16_t Car(Sortie s) const { return index_.Unite(s.r, s.interne ? s.i : 0); }
  static Etat Cible(const Vue&, Sortie s) { return s.interne ? Etat{s.r, s.i + 1} : Etat{s.r, 1}; }
  bool Trouve(const Vue& v, char16_t c, Sortie* s) const {
    for (Sortie t = Premiere(v); Existe(v, t); t = Suivante(t)) {
      if (Car(t) == c) {
        *s = t;
        return true;
      }
    }
    return false;
  }
  static uint64_t Identite(Etat e) { return static_cast<uint64_t>(e.r) << 16 | e.i; }
  static Etat DepuisIdentite(uint64_t id) {
    return {static_cast<uint32_t>(id >> 16), static_cast<uint32_t>(id & 0xFFFF)};
  }
  const Noeud* NoeudDe(uint64_t identite) const { return index_.NoeudDe(DepuisIdentite(identite).r); }

 private:
  const IndexClefs& index_;
};

}  // namespace sdd::detail
