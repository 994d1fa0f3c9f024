#pragma once

#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/conteneurs/ListeT.h>
#include <outils_socle/texte/ChaineN.h>
#include <outils_socle/texte/ErreurFichier.h>

#include <time.h>

#include <chrono>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Marks a text for the translation catalogue (xgettext's keyword N_); it stays as it is, and is
// translated where it is used (Texte, Tr).
#define N_(texte) texte

// The subcommands of outils-socle. Each takes its own arguments (without the subcommand's name)
// and returns the process exit code: 0 on success, 1 when the work failed (a file that cannot be
// read), 2 for a usage error.
namespace outils {

int Convertis(const std::vector<std::string>& arguments);
int Demo(const std::vector<std::string>& arguments);
int Lexique(const std::vector<std::string>& arguments);
int Huffman(const std::vector<std::string>& arguments);
int Blocs(const std::vector<std::string>& arguments);
int TableDeChaines(const std::vector<std::string>& arguments);
int SynchroTextes(const std::vector<std::string>& arguments);
int Jours(const std::vector<std::string>& arguments);
int Xml(const std::vector<std::string>& arguments);
// outils-socle lexique verifie LEXIQUE TEXTE [--suggestions N].
struct Arguments;
int VerifieTexte(const Arguments& a);
// The lexicon part of the demonstration, on the same word list.
int DemoLexique(const std::string& liste);

// The encoding a user's name designates, case-insensitively ("UTF-8", "latin9", "CP1252"...).
std::optional<sdd::ChaineN::Codage> CodageDepuisNom(const std::string& nom);
const char* NomDuCodage(sdd::ChaineN::Codage codage);
// The accepted names, for help texts.
std::string NomsDesCodages();

// Reads a whole file ("-" for standard input); false with a message on stderr on failure.
// `modification`, when given, receives the file's modification time (now for standard input).
bool LisFichier(const std::string& chemin, std::string& contenu, struct timespec* modification = nullptr);

// A progress bar on stderr, redrawn when the percentage changes.
class Barre : public sdd::Progression {
 public:
  void Avance(uint64_t fait, uint64_t total) override;

 private:
  int dernier_ = -1;
};
// A UTF-8 word list, one word a line (CR LF too); empty lines are skipped.
bool LisListe(const std::string& chemin, sdd::ListeT<sdd::ChaineN>& mots);
std::string U8(const sdd::ChaineN& c);

// Options of the form --nom VALEUR (for the names in `avecValeur`) or --drapeau; the rest are
// positional.
struct Arguments {
  std::vector<std::string> positions;
  std::vector<std::pair<std::string, std::string>> options;
  bool Drapeau(const std::string& nom) const;
  long Nombre(const std::string& nom, long defaut) const;
  std::string Texte(const std::string& nom, const std::string& defaut) const;
};
Arguments Analyse(const std::vector<std::string>& arguments, const std::vector<std::string>& avecValeur);

using Horloge = std::chrono::steady_clock;
double MsDepuis(Horloge::time_point debut);
// `texte` (UTF-8) followed by spaces up to `largeur` terminal columns, so that columns line up
// whatever the accents: a precomposed "é" takes one column, a combining accent none, a wide
// East Asian character two. Text already as wide is returned whole.
std::string Aligne(const std::string& texte, size_t largeur);
// The same, with the spaces before: numbers' headers line up on the right.
std::string AligneADroite(const std::string& texte, size_t largeur);
// The longest head of `texte` (UTF-8) that fits in `largeur` terminal columns.
std::string Coupe(const std::string& texte, size_t largeur);
// The terminal columns that `texte` (UTF-8) takes.
size_t LargeurAffichage(const std::string& texte);

// Prints "outils-socle: <message>" on stderr.
void Erreur(const std::string& message);
// A subcommand's help (a marked text), translated: on stdout with status 0 when asked for, on
// stderr with status 2 when the subcommand was given nothing.
int AfficheAide(const char* aide, bool demandee);
// The refusal of an action the subcommand does not have; status 2.
int ActionInconnue(const std::string& commande, const std::string& action);
// A message of the program in the user's language, each "%s" replaced by the next value.
std::string Texte(const char* modele, std::initializer_list<std::string> valeurs);
// A text of the program in the user's language, from the library's catalogue (xgettext keywords
// Tr and TrPluriel:1,2). The French text stays the printf format that GCC checks the arguments
// against, and msgfmt checks that the translation takes the same ones.
const char* Tr(const char* texte) __attribute__((format_arg(1)));
// The form for `n` things, by the catalogue's plural rule (French: the singular for 0 and 1).
const char* TrPluriel(const char* singulier, const char* pluriel, unsigned long n)
    __attribute__((format_arg(1), format_arg(2)));

}  // namespace outils
