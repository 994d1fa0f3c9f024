#pragma once

#include <cstdint>

#include <outils_socle/Export.h>

namespace sdd {

class FluxEntree;
class FluxSortie;
template <typename T>
struct Serialiseur;

// The library's ordered set, as an untyped core: an intrusive red-black tree whose nodes are
// derived per element type and whose keys are seen only through a proxy and two virtual
// comparisons (EnsembleTriay is the typed layer over it). Each key is held once; inserting it
// again keeps the first payload. Search, insertion and deletion are logarithmic; the colour bit
// lives in the low bit of the parent word, so a node costs its payload, three pointers and a
// vtable. The serialised form (docs/table_triee.md) keeps shape and colours, so loading is
// linear and makes no comparison. Not synchronised.
class OUTILS_SOCLE_EXPORT TableTrieeNoyau {
 public:
  // What the comparisons receive: the typed layer's key, untyped.
  struct ProxyClefNoyau {
    const void* clef;
  };

  class OUTILS_SOCLE_EXPORT NoeudRNNoyau {
   public:
    NoeudRNNoyau() = default;
    NoeudRNNoyau(const NoeudRNNoyau&) = delete;
    NoeudRNNoyau& operator=(const NoeudRNNoyau&) = delete;

    // Takes another node's payload (deletion moves a predecessor's payload up).
    virtual void CopieDonnees(const NoeudRNNoyau& autre) = 0;
    // A copy of this node alone (payload and colour, no children) under `parent`.
    virtual NoeudRNNoyau* Copie(NoeudRNNoyau* parent) const = 0;
    // Destroys both subtrees, then the node.
    virtual ~NoeudRNNoyau();

    NoeudRNNoyau* Parent() const { return reinterpret_cast<NoeudRNNoyau*>(parent_ & ~uintptr_t{1}); }
    void MetsParent(NoeudRNNoyau* parent) { parent_ = reinterpret_cast<uintptr_t>(parent) | (parent_ & 1); }
    bool EstNoir() const { return (parent_ & 1) != 0; }
    bool EstRouge() const { return (parent_ & 1) == 0; }
    void MetsEstNoir() { parent_ |= 1; }
    void MetsEstRouge() { parent_ &= ~uintptr_t{1}; }
    NoeudRNNoyau* Gauche() const { return gauche_; }
    NoeudRNNoyau* Droite() const { return droite_; }

    NoeudRNNoyau* GrandParent() const;
    NoeudRNNoyau* Oncle() const;
    NoeudRNNoyau* Sibling() const;
    bool EstEnfantGauche() const;
    bool EstEnfantDroite() const;
    NoeudRNNoyau* DescendantPlusProfondGauche();
    // Nodes below this one; -300 when the node is its own parent (a corrupted tree).
    int64_t NbEnfants() const;
    // A deep copy of the subtree under `parent`.
    NoeudRNNoyau* Clone(NoeudRNNoyau* parent) const;
    // Checks the red-black rules below this node, reporting to the standard error stream;
    // `hauteurNoire` receives the black height.
    bool EstValide(int* hauteurNoire) const;

   private:
    friend class TableTrieeNoyau;
    friend struct Serialiseur<TableTrieeNoyau>;
    uintptr_t parent_ = 0;  // parent pointer | colour (1 = black); below 2: no parent
    NoeudRNNoyau* gauche_ = nullptr;
    NoeudRNNoyau* droite_ = nullptr;
  };

  static bool NoeudRNEstNoir(const NoeudRNNoyau* n) { return n == nullptr || n->EstNoir(); }
  static bool NoeudRNEstRouge(const NoeudRNNoyau* n) { return n != nullptr && n->EstRouge(); }

  // In-order walk: positioned before the first element (or at the end with `aLaFin`).
  class OUTILS_SOCLE_EXPORT __Iterateur {
   public:
    __Iterateur(const TableTrieeNoyau& table, bool aLaFin);
    // Moves to the next element in ascending order; false at the end.
    bool Prochain();
    __Iterateur& operator++() {
      Prochain();
      return *this;
    }
    bool operator==(const __Iterateur& autre) const { return courant_ == autre.courant_; }
    bool operator!=(const __Iterateur& autre) const { return courant_ != autre.courant_; }
    NoeudRNNoyau* Noeud() const { return courant_; }

   private:
    const TableTrieeNoyau* table_;
    NoeudRNNoyau* courant_;
    bool commence_;
  };

  TableTrieeNoyau() = default;
  TableTrieeNoyau(const TableTrieeNoyau& autre);
  TableTrieeNoyau(TableTrieeNoyau&& autre) noexcept;
  TableTrieeNoyau& operator=(const TableTrieeNoyau& autre);
  TableTrieeNoyau& operator=(TableTrieeNoyau&& autre) noexcept;
  virtual ~TableTrieeNoyau();

  uint64_t Taille() const { return nombre_; }
  bool EstVide() const { return nombre_ == 0; }
  // Nodes counted by walking the tree (0 when empty).
  int64_t NbEnfants() const;
  void Vide();
  // The red-black rules hold: a black root, no red node with a red child, the same number of
  // black nodes on every path. Findings go to the standard error stream.
  bool EstArbreValide() const;
  const NoeudRNNoyau* Racine() const { return racine_; }

 protected:
  virtual bool EstEgal(const ProxyClefNoyau& clef, const NoeudRNNoyau* noeud) const = 0;
  // True when the key sorts before the node's.
  virtual bool VaAGauche(const ProxyClefNoyau& clef, const NoeudRNNoyau* noeud) const = 0;
  // A new red node without children, for a key (insertion) or empty (loading).
  virtual NoeudRNNoyau* NouveauNoeud(const ProxyClefNoyau& clef) const = 0;
  virtual NoeudRNNoyau* NouveauNoeudVide() const = 0;

  NoeudRNNoyau* _Insere(const ProxyClefNoyau& clef, bool* present);
  NoeudRNNoyau* _Possede(const ProxyClefNoyau& clef) const;
  void _Supprime(const ProxyClefNoyau& clef);
  // The node of the key, or null with the parent where it would hang and its side.
  NoeudRNNoyau* _TrouveEmplacement(const ProxyClefNoyau& clef, NoeudRNNoyau** parent, bool* aGauche) const;
  NoeudRNNoyau* _TrouveEmplacementEtInsere(const ProxyClefNoyau& clef, bool* present);
  void _TrouveEmplacementEtSupprime(const ProxyClefNoyau& clef, bool* present);

  // For typed layers that search by themselves: hang a new red node at the place a search
  // found (or as the root), then rebalance; and remove a node of this table.
  void _Accroche(NoeudRNNoyau* nouveau, NoeudRNNoyau* parent, bool aGauche);
  void _SupprimeNoeud(NoeudRNNoyau* noeud);

  void Balance(NoeudRNNoyau* noeud);
  void RotationGauche(NoeudRNNoyau* noeud);
  void RotationDroite(NoeudRNNoyau* noeud);
  void SupprimeCas1(NoeudRNNoyau* n);
  void SupprimeCas2(NoeudRNNoyau* n);
  void SupprimeCas3(NoeudRNNoyau* n);
  void SupprimeCas4(NoeudRNNoyau* n);
  void SupprimeCas5(NoeudRNNoyau* n);
  void SupprimeCas6(NoeudRNNoyau* n);

 private:
  friend struct Serialiseur<TableTrieeNoyau>;
  void Remplace(NoeudRNNoyau* ancien, NoeudRNNoyau* nouveau);

  NoeudRNNoyau* racine_ = nullptr;
  uint64_t nombre_ = 0;
};

// Reads and writes the payload of one node.
class OUTILS_SOCLE_EXPORT SerialiseurNoeudRN {
 public:
  virtual ~SerialiseurNoeudRN();
  virtual void Lis(FluxEntree& entree, TableTrieeNoyau::NoeudRNNoyau& noeud) = 0;
  virtual void Ecris(FluxSortie& sortie, const TableTrieeNoyau::NoeudRNNoyau& noeud) = 0;
};

// Version 100 (two bytes, little-endian), the element count (VarElias), then, when not empty,
// the root's record: a flags byte (1 black, 2 a left child follows, 4 a right child follows),
// the left child's record, the right child's, then the payload.
template <>
struct OUTILS_SOCLE_EXPORT Serialiseur<TableTrieeNoyau> {
  static constexpr uint16_t kVersion = 100;
  // Returns the position where the table starts.
  static uint64_t Ecris(FluxSortie& sortie, const TableTrieeNoyau& table, SerialiseurNoeudRN& serialiseur);
  // Empties the table, then reads it. A version other than 100 throws TableNonValide("Version
  // non gérée"); a record that is cut short, deeper than any red-black tree of its count, with
  // another number of nodes than announced, or breaking the red-black rules throws
  // TableNonValide too, and the table is left empty.
  static void Lis(FluxEntree& entree, TableTrieeNoyau& table, SerialiseurNoeudRN& serialiseur);

 protected:
  static void SerialiseDansTampon(const TableTrieeNoyau::NoeudRNNoyau* noeud, FluxSortie& sortie,
                                  SerialiseurNoeudRN& serialiseur);
  static void DeserialiseDuTampon(TableTrieeNoyau& table, TableTrieeNoyau::NoeudRNNoyau* noeud,
                                  FluxEntree& entree, TableTrieeNoyau::NoeudRNNoyau* parent,
                                  SerialiseurNoeudRN& serialiseur, unsigned profondeur, uint64_t* lus,
                                  uint64_t annonces);
};

}  // namespace sdd
