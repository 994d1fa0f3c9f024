// outils-socle huffman: build a Huffman code from a text, encode and decode with it, and see
// what it gives against the entropy of the counts.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include <outils_socle/flux/CodeHuffmanCalcul.h>
#include <outils_socle/flux/Fichier.h>
#include <outils_socle/flux/TamponMemoire.h>
#include <outils_socle/texte/Exception.h>

#include "Commandes.h"

namespace outils {

namespace {

const char* const kAideHuffman =
    N_("Usage : outils-socle huffman <action> ...\n"
       "\n"
       "  stats TEXTE                 construit le code des caractères du texte (UTF-8) et le mesure :\n"
       "                              bits par caractère, entropie des comptes, débits, aller-retour\n"
       "  code TEXTE CODE             écrit dans CODE le code construit sur les caractères de TEXTE\n"
       "  encode CODE TEXTE SORTIE    code TEXTE (UTF-8) : le nombre de caractères, puis les bits\n"
       "  decode CODE ENTREE SORTIE   l'inverse : écrit le texte en UTF-8\n"
       "  montre CODE [--limite N]    les codes, du plus court au plus long\n");

bool LisTexte(const std::string& chemin, sdd::ChaineN& texte) {
  std::string octets;
  if (!LisFichier(chemin, octets)) return false;
  texte = sdd::ChaineN(octets.data(), sdd::ChaineN::kCodageUTF8, octets.size());
  return true;
}

// A whole file in a buffer positioned at its start; false with a message when it cannot be read.
bool LisOctets(const std::string& chemin, sdd::TamponMemoire& octets) {
  std::string contenu;
  if (!LisFichier(chemin, contenu)) return false;
  octets.Vide();
  octets.Mets(contenu.data(), contenu.size());
  octets.Positionne(0);
  return true;
}

bool LisCode(const std::string& chemin, sdd::CodeHuffmanUniChaine& code) {
  sdd::TamponMemoire octets;
  if (!LisOctets(chemin, octets)) return false;
  code.Lis(octets);
  return true;
}

void Ecris(const std::string& chemin, const sdd::TamponMemoire& octets) {
  sdd::FichierRemplacant sortie(chemin.c_str());
  sortie.Mets(octets.PreteDonneesBrutes(), octets.Taille());
  sortie.Ferme();
}

std::string Montre(char16_t c) {
  if (c == u'\n') return "\\n";
  if (c == u'\t') return "\\t";
  if (c == u' ') return Tr("« »");
  char u[8];
  std::snprintf(u, sizeof(u), "U+%04X", static_cast<unsigned>(c));
  if (c < 0x20 || (c >= 0xD800 && c < 0xE000)) return u;
  return U8(sdd::ChaineN(&c, uint64_t{1}));
}

template <typename F>
double MeilleurEnSecondes(F&& f) {
  double meilleur = 1e300;
  for (int i = 0; i < 3; ++i) {
    const auto t0 = Horloge::now();
    f();
    meilleur = std::min(meilleur, MsDepuis(t0) / 1000);
  }
  return meilleur;
}

int Stats(const Arguments& a) {
  if (a.positions.size() != 1) {
    Erreur(Tr("huffman stats : TEXTE attendu"));
    return 2;
  }
  sdd::ChaineN texte;
  if (!LisTexte(a.positions[0], texte)) return 1;
  const uint64_t n = texte.Longueur();
  std::vector<uint64_t> comptes(65536, 0);
  for (const char16_t c : texte) ++comptes[c];
  sdd::CodeHuffmanCalcul<char16_t> code;
  code.CalculCodeAvecDonnees(texte);

  uint64_t distincts = 0, bits = 0;
  double entropie = 0;
  for (uint32_t c = 0; c < comptes.size(); ++c) {
    if (comptes[c] == 0) continue;
    ++distincts;
    bits += comptes[c] * code.NbBits(static_cast<char16_t>(c));
    const double p = static_cast<double>(comptes[c]) / static_cast<double>(n);
    entropie -= p * std::log2(p);
  }
  sdd::TamponMemoire serialise;
  code.Ecris(serialise);
  sdd::TamponMemoire encode(n / 2 + 64);
  const double tEncode = MeilleurEnSecondes([&] {
    encode.Vide();
    code.EncodeTouteLaChaine(texte, encode);
  });
  sdd::ChaineN retour;
  const double tDecode = MeilleurEnSecondes([&] {
    encode.Positionne(0);
    code.DecodeLeFlux(encode, static_cast<unsigned int>(n), retour);
  });
  const double parCar = n == 0 ? 0 : static_cast<double>(bits) / static_cast<double>(n);
  // Each line is one translated text: a translation keeps the labels' column itself.
  std::printf(Tr("caractères          %llu\n"), static_cast<unsigned long long>(n));
  std::printf(Tr("distincts           %llu\n"), static_cast<unsigned long long>(distincts));
  std::printf(Tr("bits au total       %llu\n"), static_cast<unsigned long long>(bits));
  std::printf(Tr("octets              %llu (UTF-16 : %llu)\n"),
              static_cast<unsigned long long>(encode.Taille()), static_cast<unsigned long long>(2 * n));
  std::printf(Tr("bits par caractère  %.4f\n"), parCar);
  std::printf(Tr("entropie            %.4f bits par caractère\n"), entropie);
  std::printf(Tr("écart               %.4f bit par caractère\n"), parCar - entropie);
  std::printf(Tr("code sérialisé      %llu octets\n"), static_cast<unsigned long long>(serialise.Taille()));
  std::printf(Tr("codage              %.1f M caractères/s\n"), static_cast<double>(n) / tEncode / 1e6);
  std::printf(Tr("décodage            %.1f M caractères/s\n"), static_cast<double>(n) / tDecode / 1e6);
  std::printf(Tr("aller-retour        %s\n"), retour == texte ? Tr("exact") : Tr("FAUX"));
  return retour == texte ? 0 : 1;
}

int Code(const Arguments& a) {
  if (a.positions.size() != 2) {
    Erreur(Tr("huffman code : TEXTE et CODE attendus"));
    return 2;
  }
  sdd::ChaineN texte;
  if (!LisTexte(a.positions[0], texte)) return 1;
  sdd::CodeHuffmanCalcul<char16_t> code;
  code.CalculCodeAvecDonnees(texte);
  sdd::TamponMemoire octets;
  code.Ecris(octets);
  Ecris(a.positions[1], octets);
  std::printf(Tr("%u caractères distincts, code de %llu octets\n"), code.NombreDeCaracteres(),
              static_cast<unsigned long long>(octets.Taille()));
  return 0;
}

int Encode(const Arguments& a) {
  if (a.positions.size() != 3) {
    Erreur(Tr("huffman encode : CODE, TEXTE et SORTIE attendus"));
    return 2;
  }
  sdd::CodeHuffmanUniChaine code;
  sdd::ChaineN texte;
  if (!LisCode(a.positions[0], code) || !LisTexte(a.positions[1], texte)) return 1;
  sdd::TamponMemoire octets;
  code.EncodeTouteLaChaineAvecLongueur(texte, octets);
  Ecris(a.positions[2], octets);
  std::printf(Tr("%llu caractères en %llu octets\n"), static_cast<unsigned long long>(texte.Longueur()),
              static_cast<unsigned long long>(octets.Taille()));
  return 0;
}

int Decode(const Arguments& a) {
  if (a.positions.size() != 3) {
    Erreur(Tr("huffman decode : CODE, ENTREE et SORTIE attendus"));
    return 2;
  }
  sdd::CodeHuffmanUniChaine code;
  sdd::TamponMemoire entree;
  if (!LisCode(a.positions[0], code) || !LisOctets(a.positions[1], entree)) return 1;
  sdd::ChaineN texte;
  code.DecodeLeFluxAvecLongueur(entree, texte);
  sdd::TamponMemoire octets;
  octets.MetsChaineN(texte, sdd::ChaineN::kCodageUTF8);
  Ecris(a.positions[2], octets);
  return 0;
}

int Montre(const Arguments& a) {
  if (a.positions.size() != 1) {
    Erreur(Tr("huffman montre : CODE attendu"));
    return 2;
  }
  sdd::CodeHuffmanUniChaine code;
  if (!LisCode(a.positions[0], code)) return 1;
  std::vector<std::pair<uint8_t, char16_t>> codes;
  for (uint32_t c = 0; c < 65536; ++c) {
    bool inconnu = true;
    const auto x = code.PreteCodePourCar(static_cast<char16_t>(c), &inconnu);
    if (!inconnu) codes.emplace_back(x.longueur, static_cast<char16_t>(c));
  }
  std::sort(codes.begin(), codes.end());
  const auto limite = static_cast<size_t>(a.Nombre("limite", 0));
  auto bits = [](const sdd::CodeHuffman<char16_t>::_Code& x) {
    std::string s;
    for (int i = x.longueur - 1; i >= 0; --i) s += (x.valeur >> i & 1) ? '1' : '0';
    return s;
  };
  for (size_t i = 0; i < codes.size() && (limite == 0 || i < limite); ++i) {
    std::printf("  %s %s\n", Aligne(Montre(codes[i].second), 8).c_str(),
                bits(code.PreteCodePourCar(codes[i].second, nullptr)).c_str());
  }
  std::printf(Tr("  %s %s (puis les 16 bits du caractère)\n"), Aligne(Tr("échappement"), 8).c_str(),
              bits(code.CodeEchappement()).c_str());
  return 0;
}

}  // namespace

int Huffman(const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
    return AfficheAide(kAideHuffman, !arguments.empty());
  }
  const std::string action = arguments[0];
  const Arguments a = Analyse({arguments.begin() + 1, arguments.end()}, {"limite"});
  try {
    if (action == "stats") return Stats(a);
    if (action == "code") return Code(a);
    if (action == "encode") return Encode(a);
    if (action == "decode") return Decode(a);
    if (action == "montre") return Montre(a);
  } catch (const sdd::exceptions::Exception& e) {
    Erreur(e.MessageCompletTraduit().PreteUTF8());
    return 1;
  }
  return ActionInconnue("huffman", action);
}

}  // namespace outils
