#include <outils_socle/langues/DomaineTraduction.h>
#include <outils_socle/langues/Langues.h>

#include <libintl.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <atomic>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <mutex>

#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"
#include "texte/RaisonsSysteme.h"

// GNU gettext's catalogue generation counter: bumping it makes gettext drop what it has looked
// up, the documented way to switch languages at run time.
extern "C" int _nl_msg_cat_cntr;

namespace sdd {

namespace {

constexpr const char* kDomaineBibliotheque = "outils-socle";
// The languages the suite's interfaces are translated into; their names come from ICU.
constexpr const char* kCodesOfferts[] = {"fr", "en", "de", "es", "it", "nl", "pt"};

std::atomic<int> gLangueChoisie{0};  // index in Offertes(); 0 is French

std::mutex gVerrouDossier;
std::string gDossierTraductions;  // guarded by gVerrouDossier; empty until first needed
std::once_flag gDomaineLie;

UniChaine EnUniChaine(const icu::UnicodeString& texte) {
  std::string utf8;
  texte.toUTF8String(utf8);
  return UniChaine(utf8);
}

std::string EnMinuscules(std::string_view texte) {
  std::string s(texte);
  for (char& c : s) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return s;
}

// "en_GB.UTF-8@euro" -> "en".
std::string LangueDeLocale(std::string_view locale) {
  const size_t fin = locale.find_first_of("_.@-");
  return EnMinuscules(locale.substr(0, fin));
}

std::string DossierParDefaut() {
  const std::string bibliotheque = plateforme::CheminDeLaBibliotheque();
  const std::string dossier = bibliotheque.substr(0, bibliotheque.rfind('/') + 1);
  // In the build tree the catalogues sit beside the library; installed, they are where
  // GNUInstallDirs puts them relative to the library's folder.
  if (plateforme::EstUnDossier(dossier + "locale")) return dossier + "locale";
  return dossier + OUTILS_SOCLE_LOCALE_DEPUIS_LIBDIR;
}

void LieDomaineBibliotheque() {
  std::call_once(gDomaineLie, [] {
    const std::string dossier = Langues::DossierTraductions();
    bindtextdomain(kDomaineBibliotheque, dossier.c_str());
    bind_textdomain_codeset(kDomaineBibliotheque, "UTF-8");
  });
}

}  // namespace

const std::vector<LangueInterface>& Langues::Offertes() {
  static const std::vector<LangueInterface> offertes = [] {
    std::vector<LangueInterface> langues;
    const icu::Locale francais("fr");
    for (const char* code : kCodesOfferts) {
      const icu::Locale locale(code);
      icu::UnicodeString nomFrancais, nomPropre;
      locale.getDisplayLanguage(francais, nomFrancais);
      locale.getDisplayLanguage(locale, nomPropre);
      langues.push_back({code, locale.getISO3Language(), EnUniChaine(nomFrancais), EnUniChaine(nomPropre)});
    }
    return langues;
  }();
  return offertes;
}

const LangueInterface* Langues::Trouve(std::string_view code) {
  const std::string cherche = EnMinuscules(code);
  for (const LangueInterface& langue : Offertes()) {
    if (langue.code6391 == cherche || langue.code6392 == cherche) return &langue;
  }
  return nullptr;
}

std::string Langues::LangueUtilisateur() {
  return LangueUtilisateur([](const char* nom) { return std::getenv(nom); });
}

std::string Langues::LangueUtilisateur(const std::function<const char*(const char*)>& lis) {
  const char* liste = lis("LANGUAGE");
  if (liste != nullptr) {
    const std::string_view l(liste);
    for (size_t debut = 0; debut <= l.size();) {
      const size_t fin = std::min(l.find(':', debut), l.size());
      if (const LangueInterface* langue = Trouve(LangueDeLocale(l.substr(debut, fin - debut))))
        return langue->code6391;
      debut = fin + 1;
    }
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* valeur = lis(variable);
    if (valeur == nullptr || *valeur == '\0') continue;
    const LangueInterface* langue = Trouve(LangueDeLocale(valeur));
    return langue != nullptr ? langue->code6391 : "fr";
  }
  return "fr";
}

void Langues::ChoisisLangue(std::string_view code) {
  const LangueInterface* langue = Trouve(code);
  if (langue == nullptr)
    throw exceptions::OperationInvalide(
        detail::Formate(N_("Langue d’interface non offerte : « %s »"), {std::string(code)}));
  const char* messages = std::setlocale(LC_MESSAGES, nullptr);
  if (messages == nullptr || std::string_view(messages) == "C" || std::string_view(messages) == "POSIX")
    std::setlocale(LC_MESSAGES, "C.UTF-8");
  setenv("LANGUAGE", langue->code6391.c_str(), 1);
  ++_nl_msg_cat_cntr;
  gLangueChoisie.store(static_cast<int>(langue - Offertes().data()));
}

std::string Langues::LangueChoisie() {
  return Offertes()[static_cast<size_t>(gLangueChoisie.load())].code6391;
}

std::string Langues::DossierTraductions() {
  std::lock_guard<std::mutex> verrou(gVerrouDossier);
  if (gDossierTraductions.empty()) gDossierTraductions = DossierParDefaut();
  return gDossierTraductions;
}

void Langues::MetsDossierTraductions(const std::string& dossier) {
  {
    std::lock_guard<std::mutex> verrou(gVerrouDossier);
    gDossierTraductions = dossier;
  }
  LieDomaineBibliotheque();  // a no-op the second time: bind again ourselves
  bindtextdomain(kDomaineBibliotheque, dossier.c_str());
  ++_nl_msg_cat_cntr;
}

DomaineTraduction::DomaineTraduction(const std::string& domaine, const std::string& dossier)
    : domaine_(domaine) {
  if (bindtextdomain(domaine.c_str(), dossier.c_str()) == nullptr ||
      bind_textdomain_codeset(domaine.c_str(), "UTF-8") == nullptr)
    throw exceptions::OuvertureEchouee(detail::Formate(N_("Domaine de traduction « %s »"), {domaine}) +
                                       " : " + detail::RaisonSystemeFrancaise(errno));
}

UniChaine DomaineTraduction::Traduis(const char* texte) const {
  return UniChaine(dgettext(domaine_.c_str(), texte));
}

UniChaine DomaineTraduction::TraduisPluriel(const char* singulier, const char* pluriel,
                                            unsigned long n) const {
  return UniChaine(dngettext(domaine_.c_str(), singulier, pluriel, n));
}

namespace detail {

std::string TraduisTexteBibliotheque(const std::string& texte) {
  if (gLangueChoisie.load(std::memory_order_relaxed) == 0 || texte.empty()) return texte;
  LieDomaineBibliotheque();
  const char* traduit = dgettext(kDomaineBibliotheque, texte.c_str());
  if (traduit != texte.c_str()) return traduit;  // gettext hands back its argument when it has nothing
  std::string selonModele;
  if (TraduisSelonModele(texte, selonModele)) return selonModele;
  const size_t separateur = texte.find(" : ");
  if (separateur == std::string::npos) return texte;
  // Each part is looked up in turn: "Écriture échouée : t.tab : Permission non accordée" has a
  // known head, a path that stays as it is, and a known reason. A part the catalogue does not
  // know (a path, a name, a number) is kept whole.
  // The head holds no " : ", so it is looked up whole and against the models only.
  return TraduisTexteBibliotheque(texte.substr(0, separateur)) + " : " +
         TraduisTexteBibliotheque(texte.substr(separateur + 3));
}

}  // namespace detail

}  // namespace sdd
