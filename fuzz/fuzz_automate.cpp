// The lexicon reader: opening from memory, then every kind of query, driven by the bytes after
// the stored form.
//
// Input: one byte of mode, a 16-bit length L (little-endian), L bytes, then the queries.
// - Mode bit 0 clear: the L bytes are a stored automaton, as the writer makes them (the seeds
//   are real lexicons) and as mutation damages them.
// - Mode bit 0 set: the L bytes describe a graph that this target writes out in the stored
//   form: states each leading only to earlier ones (which the reader demands), so shared
//   subtrees, dead ends, duplicate characters and counts that are exact, overflowing or made
//   up all occur, with few bytes describing exponentially many paths. Blind mutation of a
//   stored form almost never builds those.
#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/ProbabiliteTransformation.h>

#include <algorithm>

#include "Commun.h"

namespace {

using sdd::AutomateAcycliqueMin;

class Curseur {
 public:
  Curseur(const uint8_t* p, size_t n) : p_(p), n_(n) {}
  uint8_t Octet() { return i_ < n_ ? p_[i_++] : 0; }
  bool Fini() const { return i_ >= n_; }

 private:
  const uint8_t* p_;
  size_t n_;
  size_t i_ = 0;
};

void Mets(std::vector<uint8_t>& o, uint64_t v, int octets) {
  for (int i = 0; i < octets; ++i) o.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

std::vector<uint8_t> Graphe(Curseur c, bool enteteMenteur) {
  static const char16_t kLettres[] = {u'a', u'b', u'e', u'é', u'E', u'œ', u'-', u'!'};
  struct Transition {
    char16_t car;
    uint32_t cible;
    uint32_t compte;
  };
  struct Etat {
    bool final;
    std::vector<Transition> transitions;
    uint64_t formes = 0;
    uint64_t adresse = 0;
  };
  std::vector<Etat> etats(1 + c.Octet() % 48);
  std::vector<uint8_t> zone;
  uint32_t plusGrand = 0;
  for (size_t s = 0; s < etats.size(); ++s) {
    Etat& e = etats[s];
    const uint8_t drapeaux = c.Octet();
    e.final = (drapeaux & 1) != 0 || s == 0;
    const size_t nb = s == 0 ? 0 : (drapeaux >> 1) % 9;
    for (size_t k = 0; k < nb; ++k) {
      const uint8_t x = c.Octet();
      e.transitions.push_back({kLettres[x % 8], static_cast<uint32_t>(c.Octet() % s), 0});
    }
    // Counts as the writer makes them: numbering order is the end of form, then the
    // transitions by descending forms below (ties by descending character); stored reversed.
    std::sort(e.transitions.begin(), e.transitions.end(), [&](const Transition& a, const Transition& b) {
      const uint64_t fa = etats[a.cible].formes, fb = etats[b.cible].formes;
      return fa != fb ? fa > fb : a.car > b.car;
    });
    uint64_t somme = e.final ? 1 : 0;
    for (Transition& t : e.transitions) {
      t.compte = static_cast<uint32_t>(somme & 0xFFFFFF);
      if (drapeaux & 0x80) t.compte = (uint32_t{c.Octet()} << 8 | c.Octet()) & 0xFFFFFF;  // a lie
      somme += etats[t.cible].formes;
      plusGrand = std::max(plusGrand, t.compte);
    }
    e.formes = std::min<uint64_t>(somme, uint64_t{1} << 40);
    std::reverse(e.transitions.begin(), e.transitions.end());
    e.adresse = zone.size();
    Mets(zone, 2 * e.transitions.size() + (e.final ? 1 : 0), 2);
    for (const Transition& t : e.transitions) {
      Mets(zone, t.car, 2);
      Mets(zone, t.compte, 3);
      Mets(zone, etats[t.cible].adresse, 3);
    }
  }
  std::vector<uint8_t> o = {2, 0, 0, 0};
  Mets(o, enteteMenteur ? (uint32_t{c.Octet()} << 8 | c.Octet()) : etats.back().adresse, 4);
  Mets(o, enteteMenteur ? (uint32_t{c.Octet()} << 8 | c.Octet()) : zone.size(), 4);
  Mets(o, plusGrand, 4);
  o.insert(o.end(), zone.begin(), zone.end());
  return o;
}

void Interroge(AutomateAcycliqueMin& a, FuzzedDataProvider& f) {
  const uint32_t n = a.NombreDeFormes();
  for (int q = 0; q < 6 && f.remaining_bytes() > 0; ++q) {
    const uint8_t genre = f.ConsumeIntegral<uint8_t>();
    const std::u16string mot = fuzz::Chaine(f);
    AutomateAcycliqueMin::_OptionRecherche options;
    // Any option but the clock, which would make a run depend on the machine's speed.
    options.drapeaux =
        f.ConsumeIntegral<uint32_t>() & ~uint32_t{AutomateAcycliqueMin::_OptionRecherche::kTempsLimite};
    options.valeur = f.ConsumeIntegral<uint16_t>();
    sdd::ListeC<AutomateAcycliqueMin::_Forme> formes;
    fuzz::Essaie([&] {
      switch (genre % 8) {
        case 0: {
          // On damaged bytes the two need not agree (a made-up count numbers wrongly, and
          // nothing in the stored form can tell): only that they answer is checked.
          const int64_t no = a.NoPourMot(fuzz::N(mot));
          AutomateAcycliqueMin::_Forme forme;
          if (no >= 0) a.FormePourNo(static_cast<uint32_t>(no), forme);
          break;
        }
        case 1: a.FormesPour(fuzz::N(mot), formes, options); break;
        case 2:
          a.FormesCommencant(fuzz::N(mot), formes, options, f.ConsumeIntegralInRange<uint32_t>(1, 50));
          break;
        case 3: {
          uint64_t vues = 0;
          a.VisiteFormesCommencant(
              fuzz::N(mot), [&](const char16_t*, uint32_t, uint32_t) { return ++vues < 1000; }, options);
          break;
        }
        case 4:
          // A limit of 0 means none: a 300-byte lexicon may rightly hold 16 million forms, and
          // listing them all is work of the answer's size, not a fault of the reader.
          a.FormesPourJoker(fuzz::N(mot), formes, f.ConsumeIntegral<uint8_t>(),
                            f.ConsumeIntegralInRange<uint32_t>(1, 50));
          break;
        case 5: {
          sdd::ListeC<AutomateAcycliqueMin::_FormeProbabiliste> corrections;
          a.FormesProbabilistes(fuzz::N(mot), options, f.ConsumeIntegralInRange<uint32_t>(0, 10),
                                f.ConsumeIntegralInRange<uint32_t>(0, 40), nullptr, corrections);
          break;
        }
        case 6: {
          AutomateAcycliqueMin::_Forme forme;
          const uint32_t no = f.ConsumeIntegralInRange<uint32_t>(0, n + 1);
          if (a.FormePourNo(no, forme)) a.NoPourMot(forme.forme);
          break;
        }
        default: {
          sdd::ListeT<uint32_t> numeros;
          for (int k = 0; k < 8; ++k) numeros.Ajoute(f.ConsumeIntegralInRange<uint32_t>(0, n + 1));
          sdd::ListeT<AutomateAcycliqueMin::_Forme> resultats;
          a.FormePourNos(numeros, resultats);
          break;
        }
      }
    });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 3) return 0;
  const uint8_t mode = donnees[0];
  const size_t l = std::min<size_t>(donnees[1] | size_t{donnees[2]} << 8, taille - 3);
  const uint8_t* corps = donnees + 3;
  std::vector<uint8_t> octets =
      (mode & 1) ? Graphe(Curseur(corps, l), (mode & 2) != 0) : std::vector<uint8_t>(corps, corps + l);
  FuzzedDataProvider f(corps + l, taille - 3 - l);
  fuzz::Octets lexique(std::move(octets));
  fuzz::Essaie([&] {
    AutomateAcycliqueMin a(&*lexique);
    uint64_t etats = 0, transitions = 0;
    fuzz::Essaie([&] { a.Statistiques(&etats, &transitions); });
    Interroge(a, f);
  });
  return 0;
}
