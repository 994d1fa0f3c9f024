// outils-socle blocs: pack a word list into compressed blocks, and fetch entries back by their
// position, to see what block compression gives on one's own data.
#include <algorithm>
#include <cstdio>
#include <random>
#include <sstream>
#include <vector>

#include <outils_socle/flux/EncodageParBlocCompresse.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/texte/Exception.h>

#include "Commandes.h"

namespace outils {

namespace {

const char* const kAideBlocs =
    N_("Usage : outils-socle blocs <action> ...\n"
       "\n"
       "  range LISTE SORTIE [--taille N] [--type T] [--codage C]\n"
       "        range les mots de LISTE (UTF-8, un par ligne) dans des blocs de N octets (16384 par\n"
       "        défaut), compressés par zlib (T = 1, par défaut) ou non (T = 0), chaque mot écrit\n"
       "        dans le codage C (UTF-8 par défaut) ; écrit SORTIE et SORTIE.positions (la position\n"
       "        de chaque mot, une par ligne), puis mesure la lecture d'un mot au hasard\n"
       "  lis BLOCS POSITION... [--codage C]\n"
       "        le mot rangé à chaque position « (bloc,décalage) »\n");

bool LisPosition(const std::string& texte, sdd::_typPositionEncodageBloc& position) {
  unsigned long long bloc = 0, decalage = 0;
  char fin = 0;
  if (std::sscanf(texte.c_str(), " (%llu ,%llu )%c", &bloc, &decalage, &fin) != 2) return false;
  position = {bloc, decalage};
  return true;
}

bool Codage(const Arguments& a, sdd::ChaineN::Codage& codage) {
  const std::string nom = a.Texte("codage", "UTF-8");
  const auto c = CodageDepuisNom(nom);
  if (!c) {
    Erreur(Texte(N_("codage inconnu : « %s » (codages : %s)"), {nom, NomsDesCodages()}));
    return false;
  }
  codage = *c;
  return true;
}

int Range(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("blocs range : LISTE et SORTIE attendues"));
    return 2;
  }
  sdd::ChaineN::Codage codage = sdd::ChaineN::kCodageUTF8;
  if (!Codage(a, codage)) return 2;
  const long taille = a.Nombre("taille", 16384);
  const long type = a.Nombre("type", 1);
  if (taille < 1 || taille > (1L << 30) || (type != 0 && type != 1)) {
    Erreur(Tr("blocs range : --taille de 1 à 2^30, --type 0 ou 1"));
    return 2;
  }
  sdd::ListeT<sdd::ChaineN> mots;
  if (!LisListe(a.positions[0], mots)) return 1;
  std::vector<sdd::_typPositionEncodageBloc> positions;
  uint64_t brut = 0, blocs = 0;
  auto t0 = Horloge::now();
  {
    sdd::FichierRemplacant sortie(a.positions[1].c_str());
    sdd::EncodageParBlocCompresse encodeur(&sortie, static_cast<unsigned int>(taille),
                                           static_cast<sdd::eTypeCompression>(type));
    for (const sdd::ChaineN& mot : mots) {
      const auto p = encodeur.EncodeChaine(mot, codage);
      blocs += positions.empty() || p.positionBloc != positions.back().positionBloc;
      positions.push_back(p);
      brut += mot.Encode(codage).size() + 1;
    }
    encodeur.TermineEncodage();
    sortie.Ferme();
  }
  const double ecriture = MsDepuis(t0);
  {
    std::ostringstream texte;
    for (const auto& p : positions) texte << p << '\n';
    const std::string octets = texte.str();
    sdd::FichierRemplacant f((a.positions[1] + ".positions").c_str());
    f.Mets(reinterpret_cast<const uint8_t*>(octets.data()), octets.size());
    f.Ferme();
  }
  sdd::FichierMMap lu{UniChemin(a.positions[1].c_str())};
  std::printf(Tr("%llu mots rangés en %.1f ms dans %llu blocs : %llu octets pour %llu (%.1f %%)\n"),
              static_cast<unsigned long long>(mots.Taille()), ecriture,
              static_cast<unsigned long long>(blocs), static_cast<unsigned long long>(lu.Taille()),
              static_cast<unsigned long long>(brut),
              brut == 0 ? 0.0 : 100.0 * static_cast<double>(lu.Taille()) / static_cast<double>(brut));
  if (positions.empty()) return 0;
  // Reading back: every word checked, then a thousand at random, timed.
  sdd::DecodageParBlocCompresse decodeur(&lu, 0);
  sdd::ChaineN mot;
  for (uint64_t i = 0; i < mots.Taille(); ++i) {
    decodeur.DecodeChaine(positions[i], mot, codage);
    const std::string octets = mots[i].Encode(codage);  // what the encoding can hold of the word
    if (mot != sdd::ChaineN(octets.data(), codage, octets.size())) {
      Erreur(Texte(N_("le mot %s ne se relit pas"), {std::to_string(i)}));
      return 1;
    }
  }
  std::mt19937 alea(42);
  t0 = Horloge::now();
  for (int i = 0; i < 1000; ++i) decodeur.DecodeChaine(positions[alea() % positions.size()], mot, codage);
  std::printf(Tr("relus : tous exacts ; un mot au hasard en %.2f µs\n"), MsDepuis(t0));
  return 0;
}

int Lis(const Arguments& a) {
  if (a.positions.size() < 2) {
    Erreur(Tr("blocs lis : BLOCS et au moins une POSITION attendus"));
    return 2;
  }
  sdd::ChaineN::Codage codage = sdd::ChaineN::kCodageUTF8;
  if (!Codage(a, codage)) return 2;
  sdd::FichierMMap blocs{UniChemin(a.positions[0].c_str())};
  sdd::DecodageParBlocCompresse decodeur(&blocs, 0);
  for (size_t i = 1; i < a.positions.size(); ++i) {
    sdd::_typPositionEncodageBloc position;
    if (!LisPosition(a.positions[i], position)) {
      Erreur(Texte(N_("position attendue sous la forme (bloc,décalage), pas « %s »"), {a.positions[i]}));
      return 2;
    }
    sdd::ChaineN mot;
    const auto t0 = Horloge::now();
    decodeur.DecodeChaine(position, mot, codage);
    std::printf("%s\t%s\t(%.1f µs)\n", a.positions[i].c_str(), U8(mot).c_str(), MsDepuis(t0) * 1000);
  }
  return 0;
}

}  // namespace

int Blocs(const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
    return AfficheAide(kAideBlocs, !arguments.empty());
  }
  const std::string action = arguments[0];
  const Arguments a = Analyse({arguments.begin() + 1, arguments.end()}, {"taille", "type", "codage"});
  try {
    if (action == "range") return Range(a);
    if (action == "lis") return Lis(a);
  } catch (const sdd::exceptions::Exception& e) {
    Erreur(e.MessageCompletTraduit().PreteUTF8());
    return 1;
  }
  return ActionInconnue("blocs", action);
}

}  // namespace outils
