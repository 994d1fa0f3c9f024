#include <outils_socle/journaux/EntreeJournal.h>

#include "plateforme/Plateforme.h"

namespace sdd {

const char* NomNiveauJournal(eNiveauJournal niveau) {
  switch (niveau) {
    case eNiveauJournal::eTrace: return "TRACE";
    case eNiveauJournal::eDebogage: return "DÉBOGAGE";
    case eNiveauJournal::eInfo: return "INFO";
    case eNiveauJournal::eAvertissement: return "AVERTISSEMENT";
    case eNiveauJournal::eErreur: return "ERREUR";
    case eNiveauJournal::eCritique: return "CRITIQUE";
  }
  return "?";
}

eNiveauJournal NiveauPourAlerte(const DAlerteInfo& alerte) {
  switch (alerte.DonneTypeDialogue()) {
    case DAlerteInfo::eAlerte: return eNiveauJournal::eErreur;
    case DAlerteInfo::eAttention:
    case DAlerteInfo::eAvertissement: return eNiveauJournal::eAvertissement;
    default: return eNiveauJournal::eInfo;
  }
}

EntreeJournal EntreeMaintenant(eNiveauJournal niveau, std::string_view texte) {
  return EntreeJournal{plateforme::MillisecondesUTC(), niveau, plateforme::NumeroDeFil(), texte};
}

namespace detail {

namespace {

char* EcrisNombre(char* ou, int64_t n, int chiffres) {
  char tampon[24];
  int longueur = 0;
  const bool negatif = n < 0;
  uint64_t reste = negatif ? 0 - static_cast<uint64_t>(n) : static_cast<uint64_t>(n);
  do {
    tampon[longueur++] = static_cast<char>('0' + reste % 10);
    reste /= 10;
  } while (reste != 0 || longueur < chiffres);
  if (negatif) *ou++ = '-';
  while (longueur > 0) *ou++ = tampon[--longueur];
  return ou;
}

}  // namespace

size_t FormateEnTete(int64_t millisecondes, eNiveauJournal niveau, int64_t fil, char* destination) noexcept {
  // Days to a civil date in the proleptic Gregorian calendar, by plain arithmetic (H. Hinnant's
  // days_from_civil inverse): localtime and gmtime may lock or allocate, which a signal
  // handler must not.
  int64_t jours = millisecondes / 86400000;
  int64_t resteMs = millisecondes % 86400000;
  if (resteMs < 0) {
    resteMs += 86400000;
    --jours;
  }
  const int64_t z = jours + 719468;
  const int64_t ere = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t jourDeEre = z - ere * 146097;
  const int64_t anDeEre = (jourDeEre - jourDeEre / 1460 + jourDeEre / 36524 - jourDeEre / 146096) / 365;
  const int64_t jourDeAn = jourDeEre - (365 * anDeEre + anDeEre / 4 - anDeEre / 100);
  const int64_t moisDecale = (5 * jourDeAn + 2) / 153;
  const int64_t jour = jourDeAn - (153 * moisDecale + 2) / 5 + 1;
  const int64_t mois = moisDecale < 10 ? moisDecale + 3 : moisDecale - 9;
  const int64_t annee = anDeEre + ere * 400 + (mois <= 2 ? 1 : 0);

  char* ou = destination;
  ou = EcrisNombre(ou, annee, 4);
  *ou++ = '-';
  ou = EcrisNombre(ou, mois, 2);
  *ou++ = '-';
  ou = EcrisNombre(ou, jour, 2);
  *ou++ = ' ';
  ou = EcrisNombre(ou, resteMs / 3600000, 2);
  *ou++ = ':';
  ou = EcrisNombre(ou, resteMs / 60000 % 60, 2);
  *ou++ = ':';
  ou = EcrisNombre(ou, resteMs / 1000 % 60, 2);
  *ou++ = '.';
  ou = EcrisNombre(ou, resteMs % 1000, 3);
  *ou++ = '\t';
  for (const char* nom = NomNiveauJournal(niveau); *nom != '\0'; ++nom) *ou++ = *nom;
  *ou++ = '\t';
  ou = EcrisNombre(ou, fil, 1);
  *ou++ = '\t';
  return static_cast<size_t>(ou - destination);
}

}  // namespace detail

std::string FormateEntree(const EntreeJournal& entree) {
  char enTete[detail::kTailleEnTeteEntree];
  std::string ligne(enTete, detail::FormateEnTete(entree.millisecondes, entree.niveau, entree.fil, enTete));
  for (const char c : entree.texte) {
    ligne += c;
    if (c == '\n') ligne += "  ";
  }
  ligne += '\n';
  return ligne;
}

}  // namespace sdd
