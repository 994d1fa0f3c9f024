#pragma once

// The automaton under construction: immutable states in pools, a register that keeps one
// state per right language, and the sorted incremental construction of one part.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/ChaineN.h>

namespace sdd::detail {

struct EtatC;

struct TransitionC {
  char16_t car;
  uint32_t formes;  // the target's nbFormes, kept here (in what would be padding) so that
                    // ordering a state's transitions for the layout never visits the targets
  EtatC* cible;
  void Vers(EtatC* e);  // points the transition at e
};

// A state, never changed once registered. Its transitions are sorted by character; the end of
// form is the `final` flag rather than a transition on 0.
//
// The writing passes read a target's mark first, and a new state's transitions right after:
// both lead the record, so that most states answer them from one cache line.
struct EtatC {
  uint32_t epoque = 0;  // the layout pass that last reached it (the mark of the writing passes)
  uint32_t indice = 0;  // its place in that pass, or its address in the area
  TransitionC* transitions = nullptr;
  uint32_t nb = 0;
  bool final = false;
  uint32_t nbFormes = 0;   // forms accepted from here (the end of form counts one)
  uint32_t hauteur = 0;    // longest path below
  uint64_t hachage = 0;    // hash × 53 + c over the characters, in order
  uint64_t empreinte = 0;  // hash of the whole right language (characters, finality, targets')
  EtatC* canon = nullptr;  // set while a part is merged: its equal in the merged automaton
};

// A bump allocator: states and their transition arrays, freed together.
class Arene {
 public:
  void* Alloue(size_t taille) {
    taille = (taille + 7) & ~size_t{7};
    if (reste_ < taille) {
      // Small parts stay small: blocks grow from 4 KiB to 256 KiB.
      prochain_ = std::min(prochain_ * 2, kBlocMax);
      const size_t bloc = std::max<size_t>(taille, prochain_);
      blocs_.push_back(std::make_unique_for_overwrite<uint8_t[]>(bloc));
      libre_ = blocs_.back().get();
      reste_ = bloc;
    }
    void* p = libre_;
    libre_ += taille;
    reste_ -= taille;
    return p;
  }

 private:
  static constexpr size_t kBlocMax = 256 * 1024;
  size_t prochain_ = 2048;
  std::vector<std::unique_ptr<uint8_t[]>> blocs_;
  uint8_t* libre_ = nullptr;
  size_t reste_ = 0;
};

// Two states are equal when they are the same object, or agree on their form count, height,
// character hash and transition count, and then transition by transition on the character and
// on targets equal by this same rule. Targets are registered before their sources, so in
// practice the rule stops at the first target pointer; the language hash sorts out the rest.
bool EtatsEgaux(const EtatC* a, const EtatC* b);

// Open addressing over the language hash, linear probing.
class Registre {
 public:
  Registre() : cases_(1024, nullptr) {}
  // The registered state equal to the candidate (whose fields are filled in), or null.
  EtatC* Trouve(const EtatC& candidat) const {
    const size_t masque = cases_.size() - 1;
    for (size_t i = candidat.empreinte & masque;; i = (i + 1) & masque) {
      EtatC* e = cases_[i];
      if (e == nullptr) return nullptr;
      if (e->empreinte == candidat.empreinte && EtatsEgaux(e, &candidat)) return e;
    }
  }
  void Ajoute(EtatC* e) {
    if ((nb_ + 1) * 2 > cases_.size()) Agrandis();
    Place(e);
    ++nb_;
  }
  size_t Taille() const { return nb_; }

 private:
  void Place(EtatC* e) {
    const size_t masque = cases_.size() - 1;
    size_t i = e->empreinte & masque;
    while (cases_[i] != nullptr) i = (i + 1) & masque;
    cases_[i] = e;
  }
  void Agrandis() {
    std::vector<EtatC*> anciennes(cases_.size() * 2, nullptr);
    anciennes.swap(cases_);
    for (EtatC* e : anciennes) {
      if (e != nullptr) Place(e);
    }
  }
  std::vector<EtatC*> cases_;
  size_t nb_ = 0;
};

// The sorted words' units end to end, read once from the words' own buffers.
struct MotsContigus {
  std::vector<std::u16string> blocs;
  std::vector<std::u16string_view> vues;  // in the order of the sorted list
};

// The compiled forms as a sorted list, made on first request (from the automaton: the
// compiler keeps no copy of its input).
struct FormesTriees {
  std::mutex verrou;
  bool faites = false;
  ListeT<ChaineN> liste;
};

// One automaton: its root, the register of its states and the pools that hold them (a merged
// automaton keeps the pools of every part it absorbed).
struct LexiqueCompile {
  EtatC* racine = nullptr;
  Registre registre;
  std::vector<std::shared_ptr<Arene>> arenes{std::make_shared<Arene>()};
  uint64_t transitions = 0;  // over the registered states: the layout sizes its arrays by it
  mutable uint32_t epoque = 0;
  mutable std::mutex ecriture;  // the layout passes mark states; copies of a compiler share them

  // The registered state with these transitions and finality, created if new.
  EtatC* Enregistre(const TransitionC* transitions, uint32_t nb, bool final);
  // A copy of e (and of its transitions) in this automaton's own pool, registered: how a merge
  // keeps the new states of a part whose pool it then frees.
  EtatC* Adopte(const EtatC& e);
};

// Sorted incremental construction: the path of the last word stays open; when the next word
// leaves it, the states below the fork are closed bottom-up, each replaced by its registered
// equal or registered itself.
class Constructeur {
 public:
  explicit Constructeur(LexiqueCompile& lexique) : lexique_(lexique) { Ouvre(0); }
  void Ajoute(const char16_t* mot, size_t n);
  // Closes everything and sets the root.
  void Termine();

 private:
  struct Ouvert {
    std::vector<TransitionC> transitions;
    bool final = false;
  };
  void Ouvre(size_t profondeur);
  void FermeJusqua(size_t profondeur);  // closes the open states deeper than `profondeur`

  LexiqueCompile& lexique_;
  std::vector<Ouvert> ouverts_;
  size_t profondeur_ = 0;  // depth of the deepest open state
  std::u16string dernier_;
  bool vide_ = true;
};

}  // namespace sdd::detail
