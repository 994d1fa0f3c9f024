// Counting characters and building their Huffman code (see CodeHuffmanCalcul.h for the order
// that makes the tree reproducible).
#include <outils_socle/flux/CodeHuffmanCalcul.h>

#include <vector>

#include <outils_socle/flux/Flux.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/UniChaine.h>

#include "flux/DonneesHuffman.h"

namespace sdd {

namespace detail {

// The frequency table: one count per unit, allocated on the first count.
struct CompteursHuffman {
  std::vector<uint64_t> comptes;
  void Ajoute(char16_t c) {
    if (comptes.empty()) comptes.assign(65536, 0);
    ++comptes[c];
  }
};

namespace {

struct Candidat {
  uint64_t frequence;
  int32_t noeud;
  bool echappement;
};

// Above in the heap: the smaller frequency; between two of frequency 0, the escape leaf.
bool PlusPetit(const Candidat& a, const Candidat& b) {
  if (a.frequence != b.frequence) return a.frequence < b.frequence;
  return a.frequence == 0 && a.echappement && !b.echappement;
}

// A binary min-heap in an array; equals are never exchanged.
class Tas {
 public:
  size_t Taille() const { return v_.size(); }
  void Pousse(const Candidat& c) {
    v_.push_back(c);
    for (size_t i = v_.size() - 1; i > 0;) {
      const size_t parent = (i - 1) / 2;
      if (!PlusPetit(v_[i], v_[parent])) break;
      std::swap(v_[i], v_[parent]);
      i = parent;
    }
  }
  Candidat Retire() {
    const Candidat haut = v_.front();
    v_.front() = v_.back();
    v_.pop_back();
    for (size_t i = 0;;) {
      const size_t g = 2 * i + 1, d = g + 1;
      size_t plusPetit = i;
      if (g < v_.size() && PlusPetit(v_[g], v_[plusPetit])) plusPetit = g;
      if (d < v_.size() && PlusPetit(v_[d], v_[plusPetit])) plusPetit = d;
      if (plusPetit == i) break;
      std::swap(v_[i], v_[plusPetit]);
      i = plusPetit;
    }
    return haut;
  }

 private:
  std::vector<Candidat> v_;
};

}  // namespace

std::shared_ptr<const DonneesHuffman> ConstruitArbre(const std::vector<uint64_t>& comptes) {
  std::vector<NoeudHuffman> noeuds;
  Tas tas;
  for (uint32_t c = 0; c < comptes.size(); ++c) {
    if (comptes[c] == 0) continue;
    NoeudHuffman n;
    n.car = static_cast<char16_t>(c);
    noeuds.push_back(n);
    tas.Pousse({comptes[c], static_cast<int32_t>(noeuds.size() - 1), false});
  }
  NoeudHuffman echappement;
  echappement.echappement = true;
  noeuds.push_back(echappement);
  tas.Pousse({0, static_cast<int32_t>(noeuds.size() - 1), true});
  while (tas.Taille() >= 2) {
    const Candidat gauche = tas.Retire();
    const Candidat droite = tas.Retire();
    NoeudHuffman parent;
    parent.gauche = gauche.noeud;
    parent.droite = droite.noeud;
    noeuds.push_back(parent);
    tas.Pousse({gauche.frequence + droite.frequence, static_cast<int32_t>(noeuds.size() - 1), false});
  }
  const int32_t racine = tas.Retire().noeud;
  return DonneesHuffman::DepuisArbre(std::move(noeuds), racine);
}

}  // namespace detail

template <typename T, typename Code>
CodeHuffmanCalcul<T, Code>::CodeHuffmanCalcul() : compteurs_(std::make_unique<detail::CompteursHuffman>()) {}

template <typename T, typename Code>
CodeHuffmanCalcul<T, Code>::CodeHuffmanCalcul(const CodeHuffmanCalcul& autre)
    : Code(autre), compteurs_(std::make_unique<detail::CompteursHuffman>(*autre.compteurs_)) {}

template <typename T, typename Code>
CodeHuffmanCalcul<T, Code>& CodeHuffmanCalcul<T, Code>::operator=(const CodeHuffmanCalcul& autre) {
  if (this != &autre) {
    Code::operator=(autre);
    *compteurs_ = *autre.compteurs_;
  }
  return *this;
}

template <typename T, typename Code>
CodeHuffmanCalcul<T, Code>::~CodeHuffmanCalcul() = default;

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::AugmenteFrequence(T c) {
  compteurs_->Ajoute(c);
}

template <typename T, typename Code>
uint64_t CodeHuffmanCalcul<T, Code>::DonneFrequence(T c) const {
  return compteurs_->comptes.empty() ? 0 : compteurs_->comptes[c];
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::InitialisationConstruction() {
  compteurs_->comptes.clear();
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::AugmenteCodeAvecDonnees(FluxEntree& entree) {
  uint8_t tampon[4096];
  uint64_t garde = 0;  // a low byte waiting for its high byte from the next read
  bool enAttente = false;
  while (!entree.EstALaFin()) {
    const uint64_t lus = entree.Donne(sizeof(tampon), tampon);
    if (lus == 0) break;
    for (uint64_t i = 0; i < lus; ++i) {
      if (enAttente) {
        compteurs_->Ajoute(static_cast<char16_t>(garde | uint64_t{tampon[i]} << 8));
        enAttente = false;
      } else {
        garde = tampon[i];
        enAttente = true;
      }
    }
  }
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::AugmenteCodeAvecDonnees(const ChaineN& chaine) {
  for (const char16_t c : chaine) compteurs_->Ajoute(c);
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::CalculCodeAvecDonnees(FluxEntree& entree) {
  InitialisationConstruction();
  AugmenteCodeAvecDonnees(entree);
  ConstruitCodeHuffman();
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::CalculCodeAvecDonnees(const ChaineN& chaine) {
  InitialisationConstruction();
  AugmenteCodeAvecDonnees(chaine);
  ConstruitCodeHuffman();
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::ConstruitCodeHuffman() {
  this->MetsDonnees(detail::ConstruitArbre(compteurs_->comptes));
  InitialisationConstruction();
}

template <typename T, typename Code>
void CodeHuffmanCalcul<T, Code>::EcrisEnFichierCode(const ChaineN&, const UniChemin&) const {}

template class CodeHuffmanCalcul<char16_t, CodeHuffman<char16_t>>;
template class CodeHuffmanCalcul<char16_t, CodeHuffmanUniChaine>;

void CodeHuffmanCalculUniChaine::CalculCodeAvecDonnees(const UniChaine& chaine) {
  CalculCodeAvecDonnees(chaine.DonneChaineN());
}

void CodeHuffmanCalculUniChaine::AugmenteCodeAvecDonnees(const UniChaine& chaine) {
  AugmenteCodeAvecDonnees(chaine.DonneChaineN());
}

void CodeHuffmanCalculUniChaine::EcrisEnFichierCode(const UniChaine&, const UniChemin&) const {}

}  // namespace sdd
