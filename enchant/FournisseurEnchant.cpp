// An Enchant 2 provider: our compiled lexicons as the dictionaries of every application that asks
// Enchant (GTK text views, editors, chat clients, pyenchant, the ispell pipe of enchant-2 -a).
//
// A language tag ("fr", "fr_CA", "de_DE") names a lexicon file <tag>.aut, or failing that the
// language's <langue>.aut, looked up in the user's folder, $XDG_DATA_HOME/outils-socle/lexiques
// (~/.local/share/... by default), then in each folder of $XDG_DATA_DIRS (/usr/local/share and
// /usr/share by default) under outils-socle/lexiques. Words are checked and corrected as French
// is written (VerificateurOrthographe); Enchant itself keeps the personal word lists and the
// session's words, so those callbacks are left to it.
#include <enchant-provider.h>
#include <glib.h>

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <outils_socle/automates/AutomateAcycliqueMin.h>
#include <outils_socle/automates/DossiersLexiques.h>
#include <outils_socle/automates/VerificateurOrthographe.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/Exception.h>

namespace {

using sdd::AutomateAcycliqueMin;
using sdd::VerificateurOrthographe;

constexpr const char* kNom = "outils_socle";
constexpr const char* kExtension = ".aut";
// Suggestions given for a word: as many as Enchant's other providers give at most.
constexpr uint32_t kSuggestions = 10;

// A tag becomes part of a path: only letters, digits, "_", "-" and "@" are accepted.
bool EtiquetteSure(const std::string& etiquette) {
  if (etiquette.empty() || etiquette.size() > 64) return false;
  for (const char c : etiquette)
    if (!g_ascii_isalnum(c) && c != '_' && c != '-' && c != '@') return false;
  return true;
}

// The lexicon file for a tag: the tag's own, else its language's ("fr_CA" → "fr").
std::string CheminPour(const std::string& etiquette) {
  if (!EtiquetteSure(etiquette)) return {};
  std::vector<std::string> noms{etiquette};
  const size_t coupure = etiquette.find_first_of("_-@");
  if (coupure != std::string::npos) noms.push_back(etiquette.substr(0, coupure));
  for (const std::string& nom : noms) {
    for (const std::string& dossier : sdd::DossiersLexiques()) {
      const std::string chemin = dossier + "/" + nom + kExtension;
      if (access(chemin.c_str(), R_OK) == 0) return chemin;
    }
  }
  return {};
}

// Lexicons open at the moment, by file: the dictionaries of one language share one mapping,
// closed with the last of them.
class LexiquesOuverts {
 public:
  std::shared_ptr<AutomateAcycliqueMin> Ouvre(const std::string& chemin) {
    std::lock_guard<std::mutex> verrou(verrou_);
    std::shared_ptr<AutomateAcycliqueMin> lexique = ouverts_[chemin].lock();
    if (!lexique) {
      lexique = std::make_shared<AutomateAcycliqueMin>(UniChemin(chemin.c_str()));
      ouverts_[chemin] = lexique;
    }
    return lexique;
  }

 private:
  std::mutex verrou_;
  std::map<std::string, std::weak_ptr<AutomateAcycliqueMin>> ouverts_;
};

// A list as Enchant takes it back and frees it (g_strfreev); null when empty.
char** ListeGlib(const std::vector<std::string>& textes, size_t* nombre) {
  *nombre = textes.size();
  if (textes.empty()) return nullptr;
  char** liste = g_new0(char*, textes.size() + 1);
  for (size_t i = 0; i < textes.size(); ++i) liste[i] = g_strdup(textes[i].c_str());
  return liste;
}

LexiquesOuverts& Ouverts() {
  static LexiquesOuverts* ouverts = new LexiquesOuverts;  // never destroyed: modules unload late
  return *ouverts;
}

struct Dictionnaire {
  explicit Dictionnaire(std::shared_ptr<AutomateAcycliqueMin> l)
      : lexique(std::move(l)), verificateur(*lexique) {}
  std::shared_ptr<AutomateAcycliqueMin> lexique;
  VerificateurOrthographe verificateur;
};

Dictionnaire* De(EnchantDict* me) { return static_cast<Dictionnaire*>(me->user_data); }

std::u16string Unites(const char* mot, size_t longueur) {
  const sdd::ChaineN chaine(mot, sdd::ChaineN::kCodageUTF8, longueur);
  return std::u16string(chaine.DonneUnites(), chaine.Longueur());
}

// Every callback keeps exceptions on this side of the C interface.
int Verifie(EnchantDict* me, const char* const mot, size_t longueur) {
  try {
    return De(me)->verificateur.Connu(Unites(mot, longueur)) ? 0 : 1;
  } catch (...) {
    enchant_dict_set_error(me, "outils_socle: the word could not be checked");
    return -1;
  }
}

char** Suggere(EnchantDict* me, const char* const mot, size_t longueur, size_t* nombre) {
  *nombre = 0;
  try {
    const std::vector<std::u16string> suggestions =
        De(me)->verificateur.Suggestions(Unites(mot, longueur), kSuggestions);
    std::vector<std::string> utf8;
    for (const std::u16string& s : suggestions)
      utf8.emplace_back(sdd::ChaineN(s.data(), static_cast<uint64_t>(s.size())).PreteUTF8());
    return ListeGlib(utf8, nombre);
  } catch (...) {
    *nombre = 0;
    return nullptr;
  }
}

// Apostrophes and dashes belong to a word between two of its letters ("l'arbre", "peut-être"),
// never at its ends; letters and combining accents everywhere. `n`: 0 at the start, 1 inside,
// 2 at the end.
int EstCaractereDeMot(EnchantDict*, uint32_t c, size_t n) {
  if (c > 0xFFFF) return g_unichar_isalpha(c) ? 1 : 0;
  const auto u = static_cast<char16_t>(c);
  if (VerificateurOrthographe::EstLettreDeMot(u)) return 1;
  return n == 1 && (VerificateurOrthographe::EstApostrophe(u) || VerificateurOrthographe::EstTrait(u)) ? 1
                                                                                                       : 0;
}

const char* CaracteresEnPlus(EnchantDict*) { return VerificateurOrthographe::JointuresUTF8(); }

EnchantDict* DemandeDictionnaire(EnchantProvider* me, const char* const etiquette) {
  const std::string chemin = CheminPour(etiquette);
  if (chemin.empty()) return nullptr;
  try {
    auto* dictionnaire = new Dictionnaire(Ouverts().Ouvre(chemin));
    EnchantDict* dict = g_new0(EnchantDict, 1);
    dict->user_data = dictionnaire;
    dict->check = Verifie;
    dict->suggest = Suggere;
    dict->get_extra_word_characters = CaracteresEnPlus;
    dict->is_word_character = EstCaractereDeMot;
    return dict;
  } catch (const sdd::exceptions::Exception& e) {
    const std::string message = chemin + ": " + e.MessageComplet().DonneStdString();
    enchant_provider_set_error(me, message.c_str());
  } catch (...) {
    enchant_provider_set_error(me, (chemin + ": not a readable lexicon").c_str());
  }
  return nullptr;
}

void LibereDictionnaire(EnchantProvider*, EnchantDict* dict) {
  delete De(dict);
  g_free(dict);
}

// A file that is there but is not a lexicon does not count: Enchant would offer it, then fail.
int DictionnaireExiste(EnchantProvider*, const char* const etiquette) {
  const std::string chemin = CheminPour(etiquette);
  if (chemin.empty()) return 0;
  try {
    return Ouverts().Ouvre(chemin) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

// The tags of every lexicon found, once each.
char** ListeDictionnaires(EnchantProvider*, size_t* nombre) {
  std::set<std::string> etiquettes;
  for (const std::string& dossier : sdd::DossiersLexiques()) {
    DIR* d = opendir(dossier.c_str());
    if (d == nullptr) continue;
    while (const dirent* entree = readdir(d)) {
      const std::string nom = entree->d_name;
      const size_t n = std::char_traits<char>::length(kExtension);
      if (nom.size() <= n || nom.compare(nom.size() - n, n, kExtension) != 0) continue;
      const std::string etiquette = nom.substr(0, nom.size() - n);
      if (EtiquetteSure(etiquette)) etiquettes.insert(etiquette);
    }
    closedir(d);
  }
  return ListeGlib({etiquettes.begin(), etiquettes.end()}, nombre);
}

const char* Identifie(EnchantProvider*) { return kNom; }
const char* Decris(EnchantProvider*) { return "OutilsSocle (compiled lexicons)"; }
void Libere(EnchantProvider* me) { g_free(me); }

}  // namespace

extern "C" __attribute__((visibility("default"))) EnchantProvider* init_enchant_provider(void) {
  EnchantProvider* fournisseur = g_new0(EnchantProvider, 1);
  fournisseur->dispose = Libere;
  fournisseur->request_dict = DemandeDictionnaire;
  fournisseur->dispose_dict = LibereDictionnaire;
  fournisseur->dictionary_exists = DictionnaireExiste;
  fournisseur->identify = Identifie;
  fournisseur->describe = Decris;
  fournisseur->list_dicts = ListeDictionnaires;
  return fournisseur;
}
