// outils-socle jours: day numbers of dates across the French (1582) and British (1752)
// calendar reforms, differences between dates, and today's date with its weekday.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <outils_socle/dates/Calendrier.h>

#include "Commandes.h"

namespace outils {

namespace {

const char* const kAideJours =
    N_("Usage : outils-socle jours [DATE [DATE2]]\n"
       "\n"
       "Compte les jours à travers les deux réformes du calendrier : en France, le 9 décembre 1582\n"
       "(julien) fut suivi du 20 décembre 1582 (grégorien) ; en Grande-Bretagne, le 2 septembre 1752\n"
       "du 14 septembre 1752. Une date s'écrit JJ/MM/AAAA ou AAAA-MM-JJ, lue dans le calendrier en\n"
       "vigueur à cette date dans chaque pays.\n"
       "\n"
       "  sans date     la date du jour, son jour de la semaine et ses numéros de jour\n"
       "  DATE          ses numéros de jour depuis chaque réforme, son jour de la semaine dans\n"
       "                chaque pays et l'écart avec aujourd'hui\n"
       "  DATE DATE2    le nombre de jours de DATE à DATE2 dans chaque pays\n");

const char* const kMois[] = {N_("janvier"),   N_("février"), N_("mars"),     N_("avril"),
                             N_("mai"),       N_("juin"),    N_("juillet"),  N_("août"),
                             N_("septembre"), N_("octobre"), N_("novembre"), N_("décembre")};
const char* const kJoursSemaine[] = {N_("dimanche"), N_("lundi"),    N_("mardi"), N_("mercredi"),
                                     N_("jeudi"),    N_("vendredi"), N_("samedi")};

struct Date {
  int jour, mois, annee;
};

// JJ/MM/AAAA or AAAA-MM-JJ, a date that exists in at least one of the two calendars (29
// February of any year divisible by 4 is accepted: the Julian calendar has it).
bool LisDate(const std::string& texte, Date& d) {
  int lus = 0;
  const bool iso = texte.find('-') != std::string::npos;
  const int champs = iso ? std::sscanf(texte.c_str(), "%4d-%2d-%2d%n", &d.annee, &d.mois, &d.jour, &lus)
                         : std::sscanf(texte.c_str(), "%2d/%2d/%4d%n", &d.jour, &d.mois, &d.annee, &lus);
  if (champs != 3 || static_cast<size_t>(lus) != texte.size() ||
      texte.find_first_of(" \t+") != std::string::npos)
    return false;
  if (d.annee < 1 || d.mois < 1 || d.mois > 12 || d.jour < 1) return false;
  static const int kLongueurs[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return d.jour <= (d.mois == 2 && d.annee % 4 != 0 ? 28 : kLongueurs[d.mois - 1]);
}

std::string Ecris(const Date& d) {
  // The order of day, month and year, and the ordinal of the first, are the language's own.
  if (d.jour == 1) return Texte(N_("1er %s %s"), {Tr(kMois[d.mois - 1]), std::to_string(d.annee)});
  return Texte(N_("%s %s %s"), {std::to_string(d.jour), Tr(kMois[d.mois - 1]), std::to_string(d.annee)});
}

// "3 jours", "1 jour", "-2 jours": the plural of the count's size, whatever its sign.
std::string Jours(int n) {
  char texte[64];
  std::snprintf(texte, sizeof(texte),
                TrPluriel("%d jour", "%d jours", static_cast<unsigned long>(std::abs(n))), n);
  return texte;
}

std::string NonGregorien(int annee) {
  return Texte(N_("le 29 février %s n'existe pas dans le calendrier grégorien"), {std::to_string(annee)});
}

bool SansBissextileGregorien(int annee) { return annee % 100 == 0 && annee % 400 != 0; }

// The weekday (0 Sunday) of a day number: 9 December 1582 (Julian) was a Sunday, 2 September
// 1752 (Julian) a Wednesday.
int JourSemaine(int numero, int jourZero) { return ((numero % 7) + 7 + jourZero) % 7; }

struct Lecture {
  int numero;        // as the library counts
  int jourSemaine;   // 0 Sunday
  std::string note;  // when the date did not exist there, or the library's 1700 rule applies
};

Lecture EnFrance(const Date& d) {
  Lecture l{CalculeEcartDepuis15821209(d.jour, d.mois, d.annee), 0, ""};
  l.jourSemaine = JourSemaine(l.numero, 0);
  if (d.annee == 1582 && d.mois == 12 && d.jour > 9 && d.jour < 20)
    l.note = Tr("date sautée par la réforme (du 10 au 19 décembre 1582)");
  else if (d.annee > 1582 && d.mois == 2 && d.jour == 29 && SansBissextileGregorien(d.annee))
    l.note = NonGregorien(d.annee);
  return l;
}

Lecture EnGrandeBretagne(const Date& d) {
  Lecture l{CalculeEcartDepuis17520902(d.jour, d.mois, d.annee), 0, ""};
  // The library counts January and February 1700 one day more than the Julian calendar does
  // (it applies the Gregorian leap rule to the date's own year after 1582); the weekday is the
  // true one.
  const bool quirk1700 = d.annee == 1700 && d.mois <= 2;
  l.jourSemaine = JourSemaine(l.numero - (quirk1700 ? 1 : 0), 3);
  if (d.annee == 1752 && d.mois == 9 && d.jour > 2 && d.jour < 14)
    l.note = Tr("date sautée par la réforme (du 3 au 13 septembre 1752)");
  else if (d.annee > 1752 && d.mois == 2 && d.jour == 29 && SansBissextileGregorien(d.annee))
    l.note = NonGregorien(d.annee);
  else if (quirk1700)
    l.note =
        Tr("compté un jour de plus que le calendrier julien, comme la bibliothèque compte janvier et février "
           "1700");
  return l;
}

const char* const kFrance = N_("en France (depuis le 9 décembre 1582)");
const char* const kGrandeBretagne = N_("en Grande-Bretagne (depuis le 2 septembre 1752)");

// A country's name padded to the longer of the two in terminal columns, so that the day numbers
// line up in any language.
std::string Pays(const char* pays) {
  const size_t largeur = std::max(LargeurAffichage(Tr(kFrance)), LargeurAffichage(Tr(kGrandeBretagne)));
  return Aligne(Tr(pays), largeur);
}

void Montre(const char* pays, const Lecture& l) {
  std::printf(Tr("  %s : jour %d, un %s"), Pays(pays).c_str(), l.numero, Tr(kJoursSemaine[l.jourSemaine]));
  if (!l.note.empty()) std::printf(" (%s)", l.note.c_str());
  std::printf("\n");
}

int Aujourdhui() {
  Date d{};
  typJourSem jourSemaine = kDimanche;
  DonneDate(&d.annee, &d.mois, &d.jour, &jourSemaine);
  std::printf(Tr("Aujourd'hui : %s %s\n"), Tr(kJoursSemaine[jourSemaine - 1]), Ecris(d).c_str());
  std::printf(Tr("  %s : jour %d\n"), Pays(kFrance).c_str(),
              CalculeEcartDepuis15821209(d.jour, d.mois, d.annee));
  std::printf(Tr("  %s : jour %d\n"), Pays(kGrandeBretagne).c_str(),
              CalculeEcartDepuis17520902(d.jour, d.mois, d.annee));
  return 0;
}

int UneDate(const Date& d) {
  std::printf("%s\n", Ecris(d).c_str());
  Montre(kFrance, EnFrance(d));
  Montre(kGrandeBretagne, EnGrandeBretagne(d));
  const int ecart = CalculeDifferenceDates(d.annee, d.mois, d.jour);
  if (ecart > 0) std::printf(Tr("  il y a %s (en France)\n"), Jours(ecart).c_str());
  if (ecart < 0) std::printf(Tr("  dans %s (en France)\n"), Jours(-ecart).c_str());
  if (ecart == 0) std::fputs(Tr("  aujourd'hui\n"), stdout);
  return 0;
}

int DeuxDates(const Date& a, const Date& b) {
  std::printf(Tr("Du %s au %s :\n"), Ecris(a).c_str(), Ecris(b).c_str());
  const Lecture fa = EnFrance(a), fb = EnFrance(b), ga = EnGrandeBretagne(a), gb = EnGrandeBretagne(b);
  std::printf(Tr("  %s : %s\n"), Pays(kFrance).c_str(), Jours(fb.numero - fa.numero).c_str());
  std::printf(Tr("  %s : %s\n"), Pays(kGrandeBretagne).c_str(), Jours(gb.numero - ga.numero).c_str());
  for (const std::string& note : {fa.note, fb.note, ga.note, gb.note})
    if (!note.empty()) std::printf("  (%s)\n", note.c_str());
  return 0;
}

}  // namespace

int Jours(const std::vector<std::string>& arguments) {
  if (!arguments.empty() && (arguments[0] == "--help" || arguments[0] == "-h")) {
    std::fputs(Tr(kAideJours), stdout);
    return 0;
  }
  if (arguments.size() > 2) {
    Erreur(Tr("jours : au plus deux dates (voir outils-socle jours --help)"));
    return 2;
  }
  Date dates[2]{};
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (!LisDate(arguments[i], dates[i])) {
      Erreur(Texte(N_("jours : date non valide « %s » (JJ/MM/AAAA ou AAAA-MM-JJ, année de 1 à 9999)"),
                   {arguments[i]}));
      return 2;
    }
  }
  if (arguments.empty()) return Aujourdhui();
  if (arguments.size() == 1) return UneDate(dates[0]);
  return DeuxDates(dates[0], dates[1]);
}

}  // namespace outils
