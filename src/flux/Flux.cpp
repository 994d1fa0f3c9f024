#include <outils_socle/flux/Flux.h>

#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/UniChaine.h>

#include <string>

namespace sdd {

Flux::~Flux() = default;

namespace {

// One line decoded character by character. LF ends it; CR ends it too, swallowing an LF that
// follows, and otherwise leaving the next character to be read again.
template <typename Ajoute>
bool LisLigne(FluxEntree& entree, int codage, Ajoute ajoute) {
  if (entree.EstALaFin()) return false;
  if (!entree.EstEnBonEtat()) return true;
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  char16_t unites[2];
  unsigned n;
  while (entree.EstEnBonEtat()) {
    if (!convertisseur.DecodeCaractere(entree, unites, &n)) return true;
    if (n == 1 && unites[0] == u'\n') return true;
    if (n == 1 && unites[0] == u'\r') {
      const uint64_t position = entree.DonnePosition();
      if (position >= entree.Taille()) return true;
      if (!convertisseur.DecodeCaractere(entree, unites, &n)) return true;
      if (!(n == 1 && unites[0] == u'\n')) entree.Positionne(position);
      return true;
    }
    ajoute(unites, n);
  }
  return true;
}

}  // namespace

bool FluxEntree::DonneLigne(ChaineN& ligne, int codage) {
  ligne.Vide();
  return LisLigne(*this, codage, [&ligne](const char16_t* u, unsigned n) { ligne.AjouteFin(u, n); });
}

bool FluxEntree::DonneLigne(UniChaine& ligne, int codage) {
  std::u16string texte;
  const bool lue = LisLigne(*this, codage, [&texte](const char16_t* u, unsigned n) { texte.append(u, n); });
  ligne = UniChaine(texte);
  return lue;
}

uint64_t FluxEntree::DonneFluxSortie(FluxSortie& sortie, uint64_t n) {
  uint64_t deplaces = 0;
  while (deplaces < n && !EstALaFin()) {
    sortie.Mets(Donne());
    ++deplaces;
  }
  return deplaces;
}

FluxSortie& FluxSortie::MetsUniChaine(const UniChaine& chaine, int codage) {
  const std::string octets = chaine.Encode(static_cast<UniChaine::Codage>(codage));
  Mets(reinterpret_cast<const uint8_t*>(octets.data()), octets.size());
  return *this;
}

FluxSortie& FluxSortie::MetsChaineN(const ChaineN& chaine, int codage) {
  const std::string octets = chaine.Encode(static_cast<ChaineN::Codage>(codage));
  Mets(reinterpret_cast<const uint8_t*>(octets.data()), octets.size());
  return *this;
}

uint64_t FluxSortie::MetsFluxEntree(FluxEntree& entree, uint64_t n) {
  return entree.DonneFluxSortie(*this, n);
}

}  // namespace sdd
