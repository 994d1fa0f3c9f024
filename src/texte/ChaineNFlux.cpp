// ChaineN on streams: the encoded characters, then the encoded terminator.
#include <outils_socle/flux/Flux.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ConvertisseurChaineN.h>
#include <outils_socle/texte/Exception.h>

#include <cstring>
#include <string>

#include "langues/Marque.h"

namespace sdd {

namespace {

// The length of the encoded text before its terminator in [debut, fin), or -1 without one.
int64_t LongueurAvantTerminateur(const uint8_t* debut, const uint8_t* fin, unsigned terminateur) {
  if (terminateur == 1) {
    const void* zero = std::memchr(debut, 0, static_cast<size_t>(fin - debut));
    return zero ? static_cast<const uint8_t*>(zero) - debut : -1;
  }
  for (const uint8_t* p = debut; fin - p >= 2; p += 2)
    if (p[0] == 0 && p[1] == 0) return p - debut;
  return -1;
}

}  // namespace

ChaineN& ChaineN::Lis(FluxEntree& entree) { return Lis(entree, kCodageUTF8); }

ChaineN& ChaineN::Lis(FluxEntree& entree, Codage codage) {
  Vide();
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  // Bytes in memory: find the terminator and decode the whole text at once, which is what the
  // character-by-character walk below gives too (a zero unit always ends a sequence).
  if (auto* memoire = dynamic_cast<FluxEntreeMemoire*>(&entree)) {
    const uint64_t position = memoire->DonnePosition(), taille = memoire->Taille();
    if (position >= taille) throw exceptions::OperationInvalide();
    const uint8_t* debut = static_cast<const uint8_t*>(memoire->Ptr());
    const int64_t n =
        LongueurAvantTerminateur(debut, debut + (taille - position), convertisseur.TailleTerminateur());
    if (n < 0) {
      memoire->PositionneALaFin();
      throw exceptions::OperationInvalide();
    }
    Mets(reinterpret_cast<const char*>(debut), codage, static_cast<uint64_t>(n));
    memoire->Positionne(position + static_cast<uint64_t>(n) + convertisseur.TailleTerminateur());
    return *this;
  }
  char16_t unites[2];
  unsigned n = 0;
  for (;;) {
    if (!convertisseur.DecodeCaractere(entree, unites, &n)) throw exceptions::OperationInvalide();
    if (n == 1 && unites[0] == 0) return *this;
    AjouteFin(unites, n);
  }
}

uint64_t ChaineN::Ecris(FluxSortie& sortie, Codage codage) const {
  // The reader stops at the first zero: a string holding one would come back cut.
  const std::u16string_view unites(DonneUnites(), Longueur());
  if (const std::size_t i = unites.find(u'\0'); i != std::u16string_view::npos) {
    throw exceptions::OperationInvalide(
        std::string(N_("Chaîne avec U+0000, où sa forme enregistrée s’arrêterait")) + " : position " +
        std::to_string(i));
  }
  const uint64_t debut = sortie.DonnePosition();
  const ConvertisseurChaineN& convertisseur = ConvertisseurChaineN::ConvertisseurPourCodage(codage);
  std::string octets = Encode(codage);
  octets.append(convertisseur.TailleTerminateur(), '\0');
  sortie.Mets(reinterpret_cast<const uint8_t*>(octets.data()), octets.size());
  return debut;
}

}  // namespace sdd
