#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include <outils_socle/Export.h>
#include <outils_socle/conteneurs/ListeC.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/RechercheFormes.h>

namespace sdd {

class FluxEntree;
class FluxSortie;
class ProbabiliteTransformation;
class TableChaineNoyau;
namespace detail {
class GrapheTable;
class IndexClefs;
}  // namespace detail

template <>
struct Serialiseur<TableChaineNoyau>;

// A set of strings with payloads, as a compressed prefix tree (radix tree): every node carries a
// fragment of characters, and a key is the fragments on the path from the root to a node marked
// as a key end. Children form a list in ascending order of their first character (a whole code
// point: a tree never splits a surrogate pair), no two alike. The payload comes with a derived
// node type: TableChaine<Charge> (TableChaine.h) is the typed layer; the core alone is a set.
//
// Besides membership it answers the searches of the lexicon automaton, with the same rules and
// ranks (they share their walks): insensitive lookup, prefixes, joker patterns, corrections; and
// anagrams. Iteration and the searches list keys in tree order: ascending code points.
//
// The serialised form (docs/table_chaine.md) is read in place by TableChaineSurDisqueNoyau.
// Not synchronised: callers serialise writers; searches only read, except for the start time of
// a time-limited search.
class OUTILS_SOCLE_EXPORT TableChaineNoyau {
 public:
  static constexpr uint16_t kVersionTableTrie = 110;
  // Read too: child and sibling positions on 8 bytes instead of VarElias.
  static constexpr uint16_t kVersionTableTrie100 = 100;
  // Keys are at most this long (the searches address a place in a fragment on 16 bits); a
  // longer one is refused with OperationInvalide.
  static constexpr uint64_t kLongueurMaxClef = 65535;
  using _OptionRecherche = OptionRecherche;

  class OUTILS_SOCLE_EXPORT __attribute__((aligned(64))) Noeud {
   public:
    static constexpr uint8_t kFinDeClef = 2;

    Noeud();
    explicit Noeud(const ChaineN& cars);
    Noeud(const Noeud&) = delete;
    Noeud& operator=(const Noeud&) = delete;
    // Destroys the node's children and its following siblings too, without recursion.
    virtual ~Noeud();

    const ChaineN& Cars() const { return cars_; }
    void MetsCars(const ChaineN& cars);
    bool EstClef() const { return drapeaux_ & kFinDeClef; }
    const Noeud* PremierEnfant() const { return enfant_; }
    const Noeud* Suivant() const { return suivant_; }
    bool AUnSeulEnfant() const { return enfant_ != nullptr && enfant_->suivant_ == nullptr; }
    bool APlusDUnEnfant() const { return enfant_ != nullptr && enfant_->suivant_ != nullptr; }
    // A deep copy of the node, its children and its following siblings.
    Noeud* Clone() const;
    // Merges the only child into this node: its fragment is appended, and the node takes its
    // flags, payload and children.
    void RappatrieEnfant();
    // Hands this node's children to `autre`, which has none.
    void TransfereFeuilles(Noeud* autre);
    // Dumps for diagnosis: "fragment*" for a key end, children in brackets; and a PlantUML
    // mind map.
    void RepresentationLineaire(ChaineN& texte) const;
    void RepresentationPlantUML(ChaineN& texte) const;

   protected:
    // What a derived type's payload needs: it overrides these four. The base node has none.
    virtual void CopieCharge(const Noeud& autre);
    virtual Noeud* Cree(const ChaineN& cars) const;  // a node of the same type
    virtual void EcrisCharge(FluxSortie& sortie) const;
    virtual void LisCharge(FluxEntree& entree);
    // How payloads move when nodes split and merge. By default three copies through a fresh
    // node made by Cree, so the four above are enough; a type may override it with a cheaper
    // swap (TableChaine does).
    virtual void EchangeCharge(Noeud& autre);

   private:
    friend class TableChaineNoyau;
    friend class detail::GrapheTable;
    friend struct Serialiseur<TableChaineNoyau>;
    // Short fragments are kept in the node too, so that a lookup compares them without going to
    // the fragment's own buffer.
    static constexpr uint64_t kCourt = 4;
    // The children by first code point, mirrored so that a search finds the child it wants
    // without walking the list (which stays the children's order and owner), and without
    // touching a child before it goes into it: the first few in the node itself, more in an
    // index that the node's first line points at.
    static constexpr uint32_t kEnLigne = 3;
    struct _Entree {
      char32_t premier;
      Noeud* enfant;
    };
    // Refreshes what is derived from the fragment (first code point, length, short copy) and
    // from the children (their mirror).
    void Actualise();
    void ActualiseIndex();
    void ActualiseIndexes();  // of the whole subtree
    // Gives the node a fresh payload, as Cree makes it (for a node that stops being a key end).
    void OublieCharge();
    Noeud* Copie(bool fragmentsNeufs) const;
    const char16_t* Unites() const { return longueur_ <= kCourt ? court_ : cars_.DonneUnites(); }
    uint32_t NbEnfants() const { return nbEnfants_; }
    char32_t PremierDeLEnfant(uint32_t k) const {
      return nbEnfants_ <= kEnLigne ? premiersEnLigne_[k] : miroir_.index[k].premier;
    }
    Noeud* Enfant(uint32_t k) const {
      return nbEnfants_ <= kEnLigne ? miroir_.enLigne[k] : miroir_.index[k].enfant;
    }

    // What a search reads comes first, in the node's first 64 bytes (after the pointer to the
    // virtual table): one cache line per level of a descent.
    char32_t premier_ = 0;   // the fragment's first code point (0 for the root)
    uint16_t longueur_ = 0;  // its length (keys are at most kLongueurMaxClef units)
    uint8_t drapeaux_ = 0;
    char16_t court_[kCourt] = {};
    uint32_t nbEnfants_ = 0;
    char32_t premiersEnLigne_[kEnLigne] = {};
    union {
      Noeud* enLigne[kEnLigne];
      const _Entree* index;  // index_'s entries, when more than kEnLigne
    } miroir_{};
    // The rest.
    ChaineN cars_;
    Noeud* enfant_ = nullptr;
    Noeud* suivant_ = nullptr;
    std::vector<_Entree> index_;  // ascending, as the list
  };

  // A found key: its text, its node (for its payload) and, from the insensitive searches, the
  // ranks of AutomateAcycliqueMin::_Forme (rang1 accents and variants, rang2 case and
  // ligatures, detail the Malgray mask of the differences met).
  struct _Forme {
    ChaineN forme;
    uint8_t rang1 = 0;
    uint8_t rang2 = 0;
    uint16_t detail = 0;
    uint32_t valeur = 0;  // the characters of the searched text that the match consumed
    const Noeud* noeud = nullptr;
  };
  struct _FormeProbabiliste {
    ChaineN forme;
    uint32_t cout = 0;
    double probabilite = 0;
    const Noeud* noeud = nullptr;
  };

  // The keys in tree order. Prochain() moves to the next key (the first, at the first call)
  // and answers false past the last. The table must not change meanwhile.
  class OUTILS_SOCLE_EXPORT __Iterateur {
   public:
    explicit __Iterateur(const TableChaineNoyau& table);
    bool Prochain();
    // The current key: the prefix above the node and the node's fragment; empty when there is
    // none.
    ChaineN Clef() const;
    const Noeud* NoeudCourant() const { return pile_.empty() ? nullptr : pile_.back(); }

   private:
    const Noeud* racine_;
    std::vector<const Noeud*> pile_;  // the path from the root's child to the current node
    bool commence_ = false;
  };

  TableChaineNoyau();
  TableChaineNoyau(const TableChaineNoyau& autre);
  TableChaineNoyau& operator=(const TableChaineNoyau& autre);
  virtual ~TableChaineNoyau();

  void Vide();
  uint64_t Taille() const { return nombre_; }
  bool Possede(const ChaineN& clef) const;
  bool Supprime(const ChaineN& clef);
  const Noeud* Racine() const { return racine_; }
  // Prepares a table that is done changing for fast reading. The nodes are laid out again in
  // tree order: a table's nodes lie where they were allocated, so one built from keys in random
  // order has its subtrees spread over the heap and every step of a walk is a cache miss;
  // afterwards a subtree is one stretch of memory. And a lookup index of 16 bytes a node is
  // laid out beside the tree (24 with its pointers to the nodes), which Possede, the typed
  // layer's Trouve and FormesPourJoker use: ten megabytes for the French word list, where the
  // tree takes ninety, so that they stay in the processor's caches (lookups two to three times
  // faster on large tables). The next insertion of a key or deletion drops the index; the
  // layout stays. Costs a copy of the tree and a walk of it; node pointers held from before
  // are no longer valid. A table read from its serialised form is laid out and indexed so
  // already.
  void Compacte();
  bool EstCompacte() const { return indexClefs_ != nullptr; }

  // ---- searches: each returns false when the limit (0: none) or the clock cut it
  // The keys that match the word insensitively, best first (rank, then tree order), as
  // AutomateAcycliqueMin::FormesPour ranks them; the callback judges each.
  bool FormesPour(const ChaineN& mot, _OptionRecherche options, uint32_t limite, ListeC<_Forme>& formes,
                  RecuperationForme recuperation = nullptr) const;
  // The keys below each place the prefix reaches (insensitively); places best first, keys
  // below each in tree order. Stops once more than `limite` keys are gathered.
  bool FormesCommencant(const ChaineN& prefixe, _OptionRecherche options, uint32_t limite,
                        ListeC<_Forme>& formes, RecuperationForme recuperation = nullptr) const;
  bool FormesCommencant(const ListeT<ChaineN>& prefixes, _OptionRecherche options, uint32_t limite,
                        ListeC<_Forme>& formes, RecuperationForme recuperation = nullptr) const;
  // Joker patterns, as AutomateAcycliqueMin::FormesPourJoker: "*" any run, "?" and "_" one
  // character, "#" a consonant, "&" a vowel; `parametre` bits 2, 4, 8 the Malgray mask of the
  // other characters, 0x01 a stored ligature matches its letters, 0x10 jokers stand for any
  // character. Keys in tree order.
  bool FormesPourJoker(const ChaineN& motif, uint32_t limite, uint32_t parametre,
                       ListeC<_Forme>& formes) const;
  // The keys made of the word's characters, each used once, compared under the Malgray mask
  // of the option's value (0: all differences); with kSousAnagrammes, of some of them.
  bool FormesPourAnagrammes(const ChaineN& mot, _OptionRecherche options, uint32_t limite,
                            ListeC<_Forme>& formes) const;
  // Corrections, as AutomateAcycliqueMin::FormesProbabilistes: the keys within `coutMax` of
  // the word (0: the model's bound; no model: the French one), by cost then tree order.
  bool FormesProbabilistes(const ChaineN& mot, _OptionRecherche options, uint32_t limite, uint32_t coutMax,
                           ListeC<_FormeProbabiliste>& formes,
                           const ProbabiliteTransformation* modele = nullptr) const;

  // With it on, FormesPour also finds the key stored with a final "!" ("zut!" for "zut").
  void MetsRecupereExclamation(bool oui) { recupereExclamation_ = oui; }
  // With it on, FormesPour also finds the key stored as a prefix with a final "-" ("anti-").
  void MetsRecupereTiretPourPrefixes(bool oui) { recupereTiret_ = oui; }

  ChaineN RepresentationLineaire() const;
  ChaineN RepresentationPlantUML() const;

 protected:
  // The derived table hands its root, of its node type; the core takes it.
  explicit TableChaineNoyau(Noeud* racine);

  // Locates the key. True when it ends exactly at a node boundary (*noeud is that node). In
  // every case *longueur is the length matched, *parent the last node entered, *precedent the
  // child of *parent after which the key's rest would go, and *noeud the child that begins like
  // the rest (to be split), or null.
  bool TrouveMeilleurEmplacement(const ChaineN& clef, uint64_t* longueur, Noeud** precedent, Noeud** noeud,
                                 Noeud** parent) const;
  // The node of the key, or null when the key is not in the table (a node where it would end
  // that is no key end included).
  Noeud* TrouveEmplacement(const ChaineN& clef) const;
  // The key's node, made if need be; *present false when the key is new.
  Noeud* TrouveEmplacementEtInsere(const ChaineN& clef, bool* present);
  bool TrouveEmplacementEtSupprime(const ChaineN& clef);
  Noeud* InsereNouveauNoeud(const ChaineN& clef, uint64_t longueur, Noeud* precedent, Noeud* noeud,
                            Noeud* parent);
  // Whether fragment `a` sorts before the text `b` from `position` on (first code points).
  static bool EstAvant(const ChaineN& a, const ChaineN& b, uint64_t position);
  // The node of the empty key: the root.
  Noeud* TrouveNoeudVide() const { return racine_; }
  // Whether a time-limited search begun at `debut` has run out of time.
  static bool _TempsEcoulay(std::chrono::steady_clock::time_point debut);

 private:
  friend struct Serialiseur<TableChaineNoyau>;
  friend class TableChaineRecherches;
  // Replaces the tree (reading a serialised table).
  void MetsArbre(Noeud* racine, uint64_t nombre);

  Noeud* racine_;
  uint64_t nombre_ = 0;
  std::unique_ptr<detail::IndexClefs> indexClefs_;  // from Compacte, until the keys change
  bool recupereExclamation_ = false;
  bool recupereTiret_ = false;
};

// The serialised form: version (2 bytes), key count (4 bytes), root position and block size
// (VarElias), the node block (docs/table_chaine.md). Ecris writes version 110, or 100 if asked;
// it refuses a key holding an unpaired surrogate (its UTF-8 form could not be read back). Lis
// reads 100 and 110 and refuses anything malformed with TableNonValide; the table is left as it
// was when it refuses.
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<TableChaineNoyau> {
  static uint64_t Ecris(FluxSortie& sortie, const TableChaineNoyau& table,
                        uint16_t version = TableChaineNoyau::kVersionTableTrie);
  static void Lis(FluxEntree& entree, TableChaineNoyau* table);
};

}  // namespace sdd
