#pragma once

#include <utility>

#include <outils_socle/conteneurs/TableChaineNoyau.h>
#include <outils_socle/flux/Serialiseur.h>

namespace sdd {

// The payload of a table that is only a set of strings: nothing, and nothing stored.
struct AucuneCharge {
  friend bool operator==(AucuneCharge, AucuneCharge) { return true; }
};
template <>
struct Serialiseur<AucuneCharge> {
  static uint64_t Ecris(FluxSortie& sortie, const AucuneCharge&) { return sortie.DonnePosition(); }
  static void Lis(FluxEntree&, AucuneCharge*) {}
};

// The string table with a payload per key: a frequency, an identifier, a structure. The payload
// is stored in the serialised form by SerialiseurCharge (by default the library's
// Serialiseur<Charge>, which covers the integers, floats and strings), whose Ecris(FluxSortie&,
// const Charge&) and Lis(FluxEntree&, Charge*) must read back exactly what they wrote.
//
//   TableChaine<uint32_t> frequences;
//   frequences.Mets(ChaineN("été"), 42);
//   if (const uint32_t* f = frequences.Trouve(ChaineN("été"))) ...
//   for (const auto& [clef, charge] : frequences) ...   // in tree order
//
// Not synchronised, like the core.
template <typename Charge = AucuneCharge, typename SerialiseurCharge = Serialiseur<Charge>>
class TableChaine : public TableChaineNoyau {
  class _Noeud final : public Noeud {
   public:
    _Noeud() = default;
    explicit _Noeud(const ChaineN& cars) : Noeud(cars) {}
    Charge charge{};

   protected:
    void CopieCharge(const Noeud& autre) override { charge = static_cast<const _Noeud&>(autre).charge; }
    void EchangeCharge(Noeud& autre) override {
      using std::swap;
      swap(charge, static_cast<_Noeud&>(autre).charge);
    }
    Noeud* Cree(const ChaineN& cars) const override { return new _Noeud(cars); }
    void EcrisCharge(FluxSortie& sortie) const override { SerialiseurCharge::Ecris(sortie, charge); }
    void LisCharge(FluxEntree& entree) override { SerialiseurCharge::Lis(entree, &charge); }
  };

 public:
  TableChaine() : TableChaineNoyau(new _Noeud) {}
  TableChaine(const TableChaine&) = default;
  TableChaine& operator=(const TableChaine&) = default;

  // Adds the key with its payload; false, leaving the payload there, when the key was present.
  bool Insere(const ChaineN& clef, const Charge& charge = Charge()) {
    bool present = false;
    auto* n = static_cast<_Noeud*>(TrouveEmplacementEtInsere(clef, &present));
    if (!present) n->charge = charge;
    return !present;
  }
  // Adds the key or replaces its payload.
  void Mets(const ChaineN& clef, const Charge& charge) {
    bool present = false;
    static_cast<_Noeud*>(TrouveEmplacementEtInsere(clef, &present))->charge = charge;
  }
  // The key's payload, made (default) if the key is new.
  Charge& operator[](const ChaineN& clef) {
    bool present = false;
    return static_cast<_Noeud*>(TrouveEmplacementEtInsere(clef, &present))->charge;
  }
  // The key's payload, or null when the key is absent. Valid until the table changes.
  Charge* Trouve(const ChaineN& clef) {
    Noeud* n = TrouveEmplacement(clef);
    return n != nullptr ? &static_cast<_Noeud*>(n)->charge : nullptr;
  }
  const Charge* Trouve(const ChaineN& clef) const {
    const Noeud* n = TrouveEmplacement(clef);
    return n != nullptr ? &static_cast<const _Noeud*>(n)->charge : nullptr;
  }
  // The payload of a key the searches found (its `noeud`).
  static const Charge& DonneCharge(const Noeud* noeud) { return static_cast<const _Noeud*>(noeud)->charge; }
  static const Charge& DonneCharge(const _Forme& forme) { return DonneCharge(forme.noeud); }
  static const Charge& DonneCharge(const _FormeProbabiliste& forme) { return DonneCharge(forme.noeud); }

  // (key, payload) in tree order; the table must not change meanwhile.
  class const_iterator {
   public:
    using value_type = std::pair<ChaineN, const Charge&>;
    const_iterator(const TableChaineNoyau& table, bool fin) : it_(table), fin_(fin) {
      if (!fin_) fin_ = !it_.Prochain();
    }
    value_type operator*() const {
      return {it_.Clef(), static_cast<const _Noeud*>(it_.NoeudCourant())->charge};
    }
    const_iterator& operator++() {
      fin_ = !it_.Prochain();
      return *this;
    }
    bool operator==(const const_iterator& autre) const {
      return fin_ == autre.fin_ && (fin_ || it_.NoeudCourant() == autre.it_.NoeudCourant());
    }

   private:
    __Iterateur it_;
    bool fin_;
  };
  const_iterator begin() const { return const_iterator(*this, false); }
  const_iterator end() const { return const_iterator(*this, true); }

  void Ecris(FluxSortie& sortie, uint16_t version = kVersionTableTrie) const {
    Serialiseur<TableChaineNoyau>::Ecris(sortie, *this, version);
  }
  void Lis(FluxEntree& entree) { Serialiseur<TableChaineNoyau>::Lis(entree, this); }
};

}  // namespace sdd
