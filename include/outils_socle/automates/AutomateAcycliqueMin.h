#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/conteneurs/ListeC.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/RechercheFormes.h>
#include <outils_socle/texte/UniChaine.h>

namespace sdd {

class FluxEntree;
class FluxEntreeMemoire;
class ProbabiliteTransformation;

// Lets a caller stop a long joker search: asked every few thousand steps.
class OUTILS_SOCLE_EXPORT DelegueInterruptionAutomateAcycliqueMin {
 public:
  virtual ~DelegueInterruptionAutomateAcycliqueMin();
  virtual bool DoitInterrompre() = 0;
};

// A word list compiled by CompilateurAutomateAcycliqueMin, read in place from a mapped file or
// from the bytes of a memory stream: a minimal acyclic automaton whose forms are numbered 0 to
// N − 1 (a perfect hash). The stored form is described in docs/automate.md.
//
// Damaged data never makes it read outside its bytes: opening checks that the header and the
// state area lie inside the stream, and every state is checked as it is reached (its
// transitions lie inside the area, each target lies strictly before its source, which the
// writer guarantees by laying children out first, so no walk can loop, and a state that is not
// final has a transition). A violation throws exceptions::TableNonValide. The checks cost three
// comparisons per state visited (about 2 % of an exact lookup).
//
// Nor can damaged data make a search run long, though a few hundred bytes can describe 2^40
// paths. With S the size of the state area, m the length of the word, prefix or pattern, and
// R the size of the answer (the forms returned, or gathered before the limit stops the walk),
// every search returns, or throws TableNonValide, after work in O(S·m + R·L), L being the
// length of the longest form walked:
// - NoPourMot and FormePourNo descend one path: O(S), O(m) on a correct lexicon.
// - FormePourNos gives every entry of its walk the range of numbers that the counts promise
//   below it and checks that the counts share it out exactly; ranges of one depth are
//   disjoint, so at most one entry per wanted number and depth is expanded.
// - FormesPour and the prefix walk of FormesCommencant remember the (state, place in the
//   word) pairs that led nowhere and refuse more matches than a correct lexicon can have (3N,
//   counting the "!" and "-" twins); the listing below a prefix checks that the numbers it
//   meets follow one another, at most N in all. Every path it walks ends in a form.
// - FormesPourJoker walks each path once with the set of pattern places it can reach, keeps a
//   place only when the rest of the pattern can still match below (worked out once per
//   (state, place)), and checks that its matches come in rising numbers, at most N.
// - FormesProbabilistes, whose rows differ from path to path, walks at most a budget of
//   4·S·(m + 1) paths beyond a floor of 2^20, then stops as the clock stops it (false).
// Where a correct lexicon's answer is itself exponential in S (all the words over {a, l} of
// length 22 fit in about 400 bytes), R is that answer; a damaged one can make R no larger than N.
//
// Searches keep their working state to themselves, so one automaton may serve several threads,
// except for time-limited prefix searches (option 0x20), whose start time is kept here.
namespace detail {
struct IndexRacine;
}  // namespace detail

class OUTILS_SOCLE_EXPORT AutomateAcycliqueMin {
 public:
  static constexpr int kNbOctetVersion = 4;
  static constexpr int kNbOctetTailleEnfant = 2;
  static constexpr uint64_t kAdrRacineInexistante = 0xFFFFFFFF;
  static constexpr uint64_t kLongueurMaxMot = 400;
  // Past this many milliseconds of a monotonic clock a time-limited search stops.
  static constexpr int kTempsLimiteMs = OptionRecherche::kTempsLimiteMs;

  // A stored form found by a search. The insensitive searches rank it: rang1 counts the
  // characters that differ by accent or variant (é for e, ’ for '), rang2 those that differ by
  // case or by a ligature (Œ for OE), detail is the Malgray mask of the kinds of difference met
  // (1 ligature, 2 accent, 4 case, 8 variant; 0x10 a trailing "!", 0x20 a trailing "-" taken by
  // the two switches). Smaller is better; an exact match has all three at 0 and comes first.
  // valeur holds the number of characters of the searched text that the match consumed.
  struct _Forme {
    ChaineN forme;
    uint32_t numero = 0;
    uint8_t rang1 = 0;
    uint8_t rang2 = 0;
    uint16_t detail = 0;
    uint32_t valeur = 0;
  };

  // A place reached by a walk: a state and the number accumulated on the way there. Two
  // positions are equal when both agree; the set of positions keeps each place once.
  struct _Position {
    uint64_t etat = 0;
    uint32_t numero = 0;
    uint8_t rang1 = 0;
    uint8_t rang2 = 0;
    uint16_t detail = 0;
    ChaineN texte;
    bool prefixe = false;     // reached in prefix mode: every form below it counts
    bool provisoire = false;  // a weaker candidate, replaced by any firm one
    uint32_t valeur = 0;
    friend bool operator<(const _Position& a, const _Position& b) {
      return a.etat != b.etat ? a.etat < b.etat : a.numero < b.numero;
    }
    friend bool operator==(const _Position& a, const _Position& b) {
      return a.etat == b.etat && a.numero == b.numero;
    }
  };

  // A correction proposed by FormesProbabilistes: cout is the edit cost under the model
  // (ProbabiliteTransformation::kCoutUnitaire per ordinary edit), probabilite the model's
  // reading of it.
  struct _FormeProbabiliste {
    ChaineN forme;
    uint32_t numero = 0;
    uint32_t cout = 0;
    double probabilite = 0;
  };

  // The options of the searches (texte/RechercheFormes.h).
  using _OptionRecherche = OptionRecherche;

  // The stream must hold the automaton from `position` on; it stays the caller's and must
  // outlive this object (and its copies), whose reads point into its bytes.
  AutomateAcycliqueMin(FluxEntreeMemoire* flux, uint64_t position = 0);
  // Maps the file and owns the mapping.
  explicit AutomateAcycliqueMin(const UniChemin& chemin, uint64_t position = 0);
  AutomateAcycliqueMin(const AutomateAcycliqueMin& autre);
  AutomateAcycliqueMin& operator=(const AutomateAcycliqueMin& autre);
  ~AutomateAcycliqueMin();

  // Header plus state area: what an embedding container skips over.
  uint64_t DonneTailleTotal() const { return tailleEntete_ + tailleZone_; }
  static uint64_t DonneTailleTotal(FluxEntree* flux, uint64_t position);

  uint32_t NombreDeFormes() const { return nbFormes_; }
  int Version() const;  // V0·1000 + V1·100 + V2·10 + V3
  int LargeurAdresse() const { return largeurAdresse_; }
  uint32_t PlusGrandCompte() const { return plusGrandCompte_; }
  bool EstVide() const { return racine_ == kAdrRacineInexistante; }
  // Counts the states and transitions reachable from the root (one walk over the automaton).
  void Statistiques(uint64_t* etats, uint64_t* transitions) const;

  bool FormePourNo(uint32_t numero, _Forme& forme) const;
  // The numbers are served in the order given; it pays to sort them (one walk serves an
  // ascending list); a number of N or more gives nothing.
  void FormePourNos(const ListeT<uint32_t>& numeros, ListeT<_Forme>& formes) const;
  // The exact inverse of FormePourNo: the number of the form equal to the word, −1 if absent.
  int64_t NoPourMot(const ChaineN& mot) const;
  int64_t NoPourMot(const char16_t* unites, uint64_t n) const;

  // The stored forms that match the word, best first (rank, then number).
  void FormesPour(const ChaineN& mot, ListeC<_Forme>& formes, _OptionRecherche options = _OptionRecherche(),
                  RecuperationForme recuperation = RecuperationFormeTelQuelAccepte) const;
  // Forms beginning with the prefix (insensitively, as FormesPour). Each matching place is
  // completed in number order; completion stops once more than `limite` forms are gathered
  // (0: no limit) or, with option 0x20, once the time is up. False when it stopped early.
  bool FormesCommencant(const ChaineN& prefixe, ListeC<_Forme>& formes,
                        _OptionRecherche options = _OptionRecherche(), uint32_t limite = 0,
                        RecuperationForme recuperation = nullptr);
  bool FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes,
                        _OptionRecherche options = _OptionRecherche(), uint32_t limite = 0,
                        RecuperationForme recuperation = nullptr);

  // What a visit hands over for each form: its UTF-16 units (valid during the call only, not
  // terminated) and its number. Returning false stops the visit.
  class VisiteurFormes {
   public:
    virtual bool Visite(const char16_t* unites, uint32_t longueur, uint32_t numero) = 0;

   protected:
    ~VisiteurFormes() = default;
  };
  // The forms FormesCommencant would list, in the same order, handed to the visitor one by one
  // without building a string or a list node: the way to stream, count or filter a large
  // answer. False when the visitor or the clock (option 0x20) stopped it.
  bool VisiteFormesCommencant(const ChaineN& prefixe, VisiteurFormes& visiteur,
                              _OptionRecherche options = _OptionRecherche());
  bool VisiteFormesCommencant(const ListeT<ChaineN>& prefixes, VisiteurFormes& visiteur,
                              _OptionRecherche options = _OptionRecherche());
  // The same with any callable taking (const char16_t* unites, uint32_t longueur, uint32_t
  // numero) and returning bool.
  template <typename F>
  requires std::is_invocable_r_v<bool, F&, const char16_t*, uint32_t, uint32_t>
  bool VisiteFormesCommencant(const ChaineN& prefixe, F&& f, _OptionRecherche options = _OptionRecherche()) {
    struct Adaptateur final : VisiteurFormes {
      explicit Adaptateur(F& g) : f(g) {}
      bool Visite(const char16_t* unites, uint32_t longueur, uint32_t numero) override {
        return f(unites, longueur, numero);
      }
      F& f;
    } adaptateur(f);
    return VisiteFormesCommencant(prefixe, static_cast<VisiteurFormes&>(adaptateur), options);
  }

  // Pattern language (the string table's): "*" any run of characters, even empty; "?" and "_"
  // one character; "#" one consonant; "&" one vowel; any other character matches one that is
  // equal under the Malgray bits 2, 4, 8 of `parametre`; with bit 0x01 a stored ligature also
  // matches its two letters in the pattern. Without bit 0x10, jokers stand only for letters
  // and digits ("*" for letters only). Results in number order, each form once, at most
  // `limite` (0: all): the walk stops at the limit. False when the delegate interrupted it.
  bool FormesPourJoker(const ChaineN& motif, ListeC<_Forme>& formes, uint32_t parametre = 0,
                       uint32_t limite = 0, DelegueInterruptionAutomateAcycliqueMin* delegue = nullptr) const;
  // Corrections: the forms within `coutMax` of the word under the model (0: the model's own
  // bound; a null model: the French default), by ascending cost then number, at most `limite`
  // (0: all). With option 0x20 the search widens its cost bound in steps and, when the time is
  // up, returns the forms of the last fully searched bound: always the head of the complete
  // ranked answer, as the limit also gives. False when the limit, the clock or the visit budget
  // (above; only damaged or adversarial bytes come near it) cut the answer.
  bool FormesProbabilistes(const ChaineN& mot, const _OptionRecherche& options, uint32_t limite,
                           uint32_t coutMax, const ProbabiliteTransformation* modele,
                           ListeC<_FormeProbabiliste>& formes);

  // With it on, FormesPour also finds the word stored with a final "!" ("zut!" for "zut").
  void MetsRecupereExclamation(bool oui) { recupereExclamation_ = oui; }
  // With it on, FormesPour also finds the word stored as a prefix with a final "-" ("anti-").
  void MetsRecupereTiretPourPrefixes(bool oui) { recupereTiret_ = oui; }

 protected:
  void _LisEntete(FluxEntreeMemoire* flux, uint64_t position);
  bool _FormesCommencant(const ListeT<ChaineN>& prefixes, ListeC<_Forme>& formes, _OptionRecherche options,
                         uint32_t limite, RecuperationForme recuperation);
  static constexpr int NbOctetsNoeud(int largeur) { return largeur + 5; }
  static constexpr int NbOctetsNoeudSansCar(int largeur) { return largeur + 3; }
  bool _TempsEcoulay() const;
  // Adds a place to the set; of two equal places the better ranked stays (smaller rang1, then
  // smaller rang2), and a provisional one always gives way to a firm one.
  static void AjoutPositionDansListe(EnsembleTriay<_Position>& positions, const _Position& position);

 private:
  template <int A>
  friend class LecteurAutomate;

  std::shared_ptr<FluxEntreeMemoire> possede_;  // the mapped file when opened from a path
  std::shared_ptr<const detail::IndexRacine>
      index_;  // the root's and its children's transitions by character
  FluxEntreeMemoire* flux_ = nullptr;
  const uint8_t* zone_ = nullptr;  // first byte of the state area
  uint8_t version_[4] = {0, 0, 0, 0};
  uint64_t racine_ = kAdrRacineInexistante;
  uint64_t base_ = 0;  // stream position of the state area
  uint64_t tailleZone_ = 0;
  uint64_t tailleEntete_ = 12;
  uint32_t plusGrandCompte_ = 0;
  int largeurAdresse_ = 3;
  int octetsNoeud_ = 8;
  int octetsNoeudSansCar_ = 6;
  uint32_t nbFormes_ = 0;
  std::chrono::steady_clock::time_point debut_{};
  bool recupereExclamation_ = false;
  bool recupereTiret_ = false;
};

}  // namespace sdd
