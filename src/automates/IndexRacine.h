#pragma once

// A small table built when a lexicon is opened: for the root and each of its children, the
// place of the transition on every character below U+0180 (French needs nothing above). The
// exact lookup then skips the scans of the two widest levels, where the states hold dozens of
// transitions. It reads only the root and its children (a few pages of a mapped file), takes
// some 50 KB and well under a millisecond (bench_automates measures the opening).

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <outils_socle/texte/Exception.h>

#include "automates/IndexNumeros.h"
#include "automates/LecteurAutomate.h"
#include "automates/ResumesEtats.h"

namespace sdd::detail {

struct IndexRacine {
  static constexpr char16_t kCarMax = 0x180;
  // 1 + the index of the first stored transition on each character, 0 when there is none: the
  // transition Trouve would return.
  using Rangs = std::array<uint16_t, kCarMax>;
  Rangs racine{};
  // For each character of the root, the table of the state it leads to, or -1.
  std::array<int16_t, kCarMax> enfant{};
  // Whether a table lists every transition of its state (no character from kCarMax on, none
  // twice): only then may a walk that visits several characters' transitions use the table
  // instead of the state's whole list.
  struct TableEnfant {
    Rangs rangs;
    uint64_t adresse;  // of the state
    bool complete;
  };
  std::vector<TableEnfant> enfants;
  bool racineComplete = false;
  // What the correction searches learn about the states, on the first one that needs it. It
  // lives here because this table is made at opening and shared by copies of the lexicon,
  // which read the same bytes: opening allocates nothing more for it.
  mutable ResumesParesseux resumes;
  // Where number → form starts, on the first such lookup; shared the same way.
  mutable IndexNumerosParesseux numeros;

  template <int A>
  const IndexNumeros* Numeros(const LecteurAutomate<A>& l) const {
    std::call_once(numeros.construit, [&] { numeros.index = IndexNumeros::Construis(l); });
    return numeros.index.get();
  }

  static bool Remplis(const uint8_t* transitions, uint32_t nb, uint32_t octets, Rangs& rangs) {
    bool complet = true;
    for (uint32_t k = nb; k-- > 0;) {  // backwards, so that the first of duplicates stays
      const char16_t c = static_cast<char16_t>(Lis16(transitions + k * octets));
      if (c >= kCarMax || rangs[c] != 0) complet = false;
      if (c < kCarMax) rangs[c] = static_cast<uint16_t>(k + 1);
    }
    return complet;
  }

  // The table of the state at `adresse`, or null: the root's, or that of the root's child on
  // the path's only character so far. With `complete`, only a table that lists all of the
  // state's transitions.
  const Rangs* TableDe(uint64_t adresse, uint64_t adresseRacine, const char16_t* chemin, uint32_t n,
                       bool complete) const {
    if (adresse == adresseRacine) return racineComplete || !complete ? &racine : nullptr;
    if (n != 1 || chemin[0] >= kCarMax || enfant[chemin[0]] < 0) return nullptr;
    const TableEnfant& t = enfants[static_cast<size_t>(enfant[chemin[0]])];
    return t.adresse == adresse && (t.complete || !complete) ? &t.rangs : nullptr;
  }

  // Null when the root or a child cannot be read: the searches then meet the damage themselves
  // and refuse it as they always have.
  template <int A>
  static std::shared_ptr<const IndexRacine> Construis(const LecteurAutomate<A>& l) {
    using L = LecteurAutomate<A>;
    try {
      auto index = std::make_shared<IndexRacine>();
      index->enfant.fill(-1);
      const typename L::Etat racine = l.LisEtat(l.Racine());
      if (racine.nb > 0xFFFF) return nullptr;
      index->racineComplete = Remplis(racine.transitions, racine.nb, L::kOctetsTransition, index->racine);
      for (char16_t c = 0; c < kCarMax; ++c) {
        if (index->racine[c] == 0) continue;
        const uint8_t* t = racine.transitions + (index->racine[c] - 1) * L::kOctetsTransition;
        const uint64_t adresse = L::Cible(racine, t);
        const typename L::Etat e = l.LisEtat(adresse);
        if (e.nb < 4 || e.nb > 0xFFFF) continue;  // narrow states scan as fast
        index->enfant[c] = static_cast<int16_t>(index->enfants.size());
        TableEnfant& table = index->enfants.emplace_back();
        table.rangs.fill(0);
        table.adresse = adresse;
        table.complete = Remplis(e.transitions, e.nb, L::kOctetsTransition, table.rangs);
      }
      return index;
    } catch (const exceptions::Exception&) {
      return nullptr;
    }
  }
};

}  // namespace sdd::detail
