#include "automates/EtatsCompilation.h"

#include <algorithm>

namespace sdd::detail {

namespace {

uint64_t Melange(uint64_t h, uint64_t v) {
  h ^= v + 0x9E3779B97F4A7C15ull + (h << 6) + (h >> 2);
  h *= 0xBF58476D1CE4E5B9ull;
  return h ^ (h >> 31);
}

}  // namespace

void TransitionC::Vers(EtatC* e) {
  cible = e;
  formes = e->nbFormes;
}

bool EtatsEgaux(const EtatC* a, const EtatC* b) {
  if (a == b) return true;
  if (a->final != b->final || a->nbFormes != b->nbFormes || a->hauteur != b->hauteur ||
      a->hachage != b->hachage || a->nb != b->nb || a->empreinte != b->empreinte) {
    return false;
  }
  for (uint32_t i = 0; i < a->nb; ++i) {
    const TransitionC& x = a->transitions[i];
    const TransitionC& y = b->transitions[i];
    if (x.car != y.car) return false;
    if ((x.cible == nullptr) != (y.cible == nullptr)) return false;
    if (x.cible != nullptr && !EtatsEgaux(x.cible, y.cible)) return false;
  }
  return true;
}

EtatC* LexiqueCompile::Enregistre(const TransitionC* transitions, uint32_t nb, bool final) {
  EtatC candidat{.transitions = const_cast<TransitionC*>(transitions),
                 .nb = nb,
                 .final = final,
                 .nbFormes = final ? 1u : 0u,
                 .empreinte = final ? 0x5bd1e995ull : 0};
  for (uint32_t i = 0; i < nb; ++i) {
    const TransitionC& t = transitions[i];
    candidat.nbFormes += t.formes;
    candidat.hauteur = std::max(candidat.hauteur, t.cible->hauteur + 1);
    candidat.hachage = candidat.hachage * 53 + t.car;
    candidat.empreinte = Melange(Melange(candidat.empreinte, t.car), t.cible->empreinte);
  }
  candidat.empreinte = Melange(candidat.empreinte, nb);
  if (EtatC* existant = registre.Trouve(candidat)) return existant;
  return Adopte(candidat);
}

EtatC* LexiqueCompile::Adopte(const EtatC& e) {
  Arene& arene = *arenes.front();
  auto* etat = static_cast<EtatC*>(arene.Alloue(sizeof(EtatC)));
  *etat = e;
  etat->canon = nullptr;
  etat->transitions =
      e.nb == 0 ? nullptr : static_cast<TransitionC*>(arene.Alloue(sizeof(TransitionC) * e.nb));
  std::copy(e.transitions, e.transitions + e.nb, etat->transitions);
  registre.Ajoute(etat);
  transitions += etat->nb;
  return etat;
}

void Constructeur::Ouvre(size_t profondeur) {
  if (ouverts_.size() <= profondeur) ouverts_.resize(profondeur + 1);
  ouverts_[profondeur].transitions.clear();
  ouverts_[profondeur].final = false;
}

void Constructeur::FermeJusqua(size_t profondeur) {
  for (size_t d = profondeur_; d > profondeur; --d) {
    Ouvert& o = ouverts_[d];
    EtatC* e =
        lexique_.Enregistre(o.transitions.data(), static_cast<uint32_t>(o.transitions.size()), o.final);
    ouverts_[d - 1].transitions.back().Vers(e);
  }
  profondeur_ = std::min(profondeur_, profondeur);
}

void Constructeur::Ajoute(const char16_t* mot, size_t n) {
  size_t commun = 0;
  const size_t borne = std::min(n, dernier_.size());
  while (commun < borne && mot[commun] == dernier_[commun]) ++commun;
  FermeJusqua(commun);
  for (size_t d = commun; d < n; ++d) {
    ouverts_[d].transitions.push_back({mot[d], 0, nullptr});
    Ouvre(d + 1);
  }
  ouverts_[n].final = true;
  profondeur_ = n;
  dernier_.assign(mot, n);
  vide_ = false;
}

void Constructeur::Termine() {
  FermeJusqua(0);
  if (vide_) return;  // no word: no root
  Ouvert& o = ouverts_[0];
  lexique_.racine =
      lexique_.Enregistre(o.transitions.data(), static_cast<uint32_t>(o.transitions.size()), o.final);
}

}  // namespace sdd::detail
