// Writes the seed corpora of the fuzz targets into DOSSIER/<target>/, each made by the
// library's own writers in the layout its target reads (see each fuzz_*.cpp): a small
// compiled lexicon, serialised tables, block streams, indexed records, a Huffman code, values
// of every serialiser, text in every encoding.
#include <outils_socle/automates/CompilateurAutomateAcycliqueMin.h>
#include <outils_socle/conteneurs/EnsembleTriay.h>
#include <outils_socle/conteneurs/TableChaine.h>
#include <outils_socle/flux/CodeHuffmanCalcul.h>
#include <outils_socle/flux/DonneesIndexeesParNo.h>
#include <outils_socle/flux/EncodageParBlocCompresse.h>
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/UniChaine.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Octets = std::vector<uint8_t>;
namespace fs = std::filesystem;

const char* const kMots[] = {"été",  "étés",  "ete",   "Été",    "tête",    "bête",        "bêtes",
                             "sœur", "soeur", "cœur",  "a",      "ab",      "abc",         "anti-",
                             "zut!", "zut",   "arbre", "arbres", "l'arbre", "aujourd'hui", "c'est-à-dire",
                             "naïf", "Noël",  "maïs",  "mais",   "œuvre"};

Octets De(const sdd::TamponMemoire& t) {
  const uint8_t* p = t.PreteDonneesBrutes();
  return Octets(p, p + t.Taille());
}

void Ecris(const fs::path& dossier, const std::string& nom, const Octets& octets) {
  fs::create_directories(dossier);
  std::ofstream(dossier / nom, std::ios::binary)
      .write(reinterpret_cast<const char*>(octets.data()), static_cast<std::streamsize>(octets.size()));
}

// Mode byte, 16-bit length, body, then query bytes.
Octets AvecLongueur(uint8_t mode, const Octets& corps, const Octets& suite) {
  Octets o = {mode, static_cast<uint8_t>(corps.size()), static_cast<uint8_t>(corps.size() >> 8)};
  o.insert(o.end(), corps.begin(), corps.end());
  o.insert(o.end(), suite.begin(), suite.end());
  return o;
}

Octets Prefixe(uint8_t premier, const Octets& reste) {
  Octets o = {premier};
  o.insert(o.end(), reste.begin(), reste.end());
  return o;
}

Octets Texte(const char* s) { return Octets(s, s + std::char_traits<char>::length(s)); }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage : fuzz_graines DOSSIER\n");
    return 2;
  }
  const fs::path racine = argv[1];
  const Octets requetes = Octets{0x01, 0x05, 0xE9, 't', 0xE9, 0,    0,    0,   0,   0x0F, 0,
                                 0x02, 0x03, 'a',  'b', 0x05, 0x02, 0x04, 'a', '*', 0x06};

  // The lexicon: its stored form with and without parent links, and a generated graph.
  sdd::ListeT<sdd::ChaineN> liste;
  for (const char* m : kMots) liste.Ajoute(sdd::ChaineN(m));
  for (uint32_t options : {0u, uint32_t{sdd::CompilateurAutomateAcycliqueMin::InclureNoeudsParents}}) {
    sdd::CompilateurAutomateAcycliqueMin c(liste, options);
    sdd::TamponMemoire t;
    c.FormeCompactay(t);
    Ecris(racine / "automate", "lexique" + std::to_string(options), AvecLongueur(0, De(t), requetes));
  }
  Ecris(racine / "automate", "graphe",
        AvecLongueur(1, Octets{0x30, 0x13, 0x01, 0x05, 0x11, 0x02, 0x07, 0x03, 0x09, 0x33, 0x21}, requetes));

  // The sorted table, of integers and of strings; and values to build one from.
  {
    sdd::EnsembleTriay<int> e;
    for (int v = 0; v < 40; v += 3) e.Insere(v);
    sdd::TamponMemoire t;
    e.Ecris(t, [](sdd::FluxSortie& s, const int& v) {
      sdd::SerialiseurVarElias::Ecris(s, static_cast<uint64_t>(v));
    });
    Ecris(racine / "table_triee", "entiers", Prefixe(0, De(t)));
    sdd::EnsembleTriay<sdd::ChaineN> m;
    for (const char* x : kMots) m.Insere(sdd::ChaineN(x));
    sdd::TamponMemoire u;
    m.Ecris(u, [](sdd::FluxSortie& s, const sdd::ChaineN& c) { c.Ecris(s); });
    Ecris(racine / "table_triee", "chaines", Prefixe(1, De(u)));
    Ecris(racine / "table_triee", "construite",
          Prefixe(3, Octets{0x20, 'a', 'b', 'c', 0x05, 0x04, 'x', 'y', 'z', 0x02}));
  }

  // The string table in both versions; and keys to build one from.
  {
    sdd::TableChaine<> table;
    for (const char* x : kMots) table.Insere(sdd::ChaineN(x));
    for (uint16_t version :
         {sdd::TableChaineNoyau::kVersionTableTrie, sdd::TableChaineNoyau::kVersionTableTrie100}) {
      sdd::TamponMemoire t;
      table.Ecris(t, version);
      Octets o = Prefixe(0, De(t));
      o.insert(o.end(), requetes.begin(), requetes.end());
      Ecris(racine / "table_chaine", "table" + std::to_string(version), o);
    }
    Ecris(racine / "table_chaine", "construite",
          Prefixe(1, Octets{0x30, 0x01, 0x05, 0xE9, 't', 0xE9, 's', 0x01, 0x03, 'a', 'n', 't', 0, 0x02}));
  }

  // Blocks, raw and zlib; indexed records.
  for (auto type : {sdd::SansCompression, sdd::CompressionZlib}) {
    sdd::TamponMemoire t;
    sdd::EncodageParBlocCompresse e(&t, 64, type);
    for (const char* x : kMots) e.EncodeChaine(sdd::ChaineN(x), sdd::ChaineN::kCodageUTF8);
    e.TermineEncodage();
    Ecris(racine / "blocs", "blocs" + std::to_string(type), Prefixe(0, De(t)));
  }
  {
    sdd::CreateurDonneesIndexeesParNo c;
    for (const char* x : kMots)
      c.Ajoute(reinterpret_cast<const uint8_t*>(x), std::char_traits<char>::length(x));
    sdd::TamponMemoire t;
    c.Ecris(t);
    Ecris(racine / "blocs", "indexees", Prefixe(1, De(t)));
    Ecris(racine / "blocs", "construits",
          Prefixe(2, Octets{0x10, 0x08, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0x01, 0x03, 'x', 'y', 'z'}));
  }

  // A Huffman code and text it encodes.
  {
    sdd::CodeHuffmanCalcul<char16_t> calcul;
    std::string texte;
    for (const char* x : kMots) texte += x;
    const sdd::ChaineN chaine(texte.c_str());
    calcul.CalculCodeAvecDonnees(chaine);
    sdd::TamponMemoire t;
    calcul.Ecris(t);
    calcul.EncodeTouteLaChaineAvecLongueur(chaine, t);
    Ecris(racine / "huffman", "code", Prefixe(0, De(t)));
    Ecris(racine / "huffman", "construit", Prefixe(1, Texte("@l'arbre est un arbre")));
  }

  // Serialisers: the choices, then a stream holding one value of each kind in that order.
  {
    sdd::TamponMemoire t;
    sdd::SerialiseurVarElias::Ecris(t, uint64_t{300});
    sdd::SerialiseurVarElias::Ecris(t, uint64_t{70000});
    sdd::SerialiseurVarElias::Ecris(t, uint64_t{5});
    sdd::SerialiseurTroisOctets::Ecris(t, 0x123456u);
    sdd::SerialiseurCinqOctets::Ecris(t, uint64_t{0x123456789});
    sdd::SerialiseNombreSurNbOctets::Ecris(t, uint64_t{0x1234}, 2);
    sdd::Serialiseur<std::string>::Ecris(t, std::string("char*"));
    sdd::Serialiseur<std::string>::Ecris(t, std::string("const char*"));
    sdd::Serialiseur<std::string>::Ecris(t, std::string("std::string"));
    sdd::Serialiseur<UniChaine>::Ecris(t, UniChaine("été"));
    sdd::Serialiseur<UniChaine>::Ecris(t, UniChaine("/tmp/é"));
    sdd::ChaineN("Noël").Ecris(t, sdd::ChaineN::kCodageUTF8);
    sdd::ChaineN("œuvre").Ecris(t, sdd::ChaineN::kCodageUTF16LE);
    sdd::TamponMemoire::CompresseChaineN(t, sdd::ChaineN("c'est-à-dire"));
    sdd::TamponMemoire::CompresseChaineN(t, sdd::ChaineN("aujourd'hui"));
    const Octets choix = {15, 0, 1, 2, 3, 4, 0x25, 6, 7, 8, 9, 10, 0x4B, 0x5C, 13, 14};
    Octets o = choix;
    const Octets valeurs = De(t);
    o.insert(o.end(), valeurs.begin(), valeurs.end());
    Ecris(racine / "serialiseurs", "valeurs", o);
  }

  // Text in each encoding, and lines.
  for (int codage = 0; codage < 7; ++codage) {
    const sdd::ChaineN s("Noël à l'œuvre\nété\r\nfin");
    uint64_t n = 0;
    const char* octets = codage == sdd::ChaineN::kCodageUTF8
                             ? s.PreteUTF8(0, nullptr, &n)
                             : s.PreteCString(static_cast<sdd::ChaineN::Codage>(codage), 0, nullptr, &n);
    if (codage >= sdd::ChaineN::kCodageUTF16LE) n = s.Longueur() * 2;
    const Octets texte(octets, octets + n);
    Ecris(racine / "chainen", "texte" + std::to_string(codage), Prefixe(static_cast<uint8_t>(codage), texte));
    Ecris(racine / "chainen", "lignes" + std::to_string(codage),
          Prefixe(static_cast<uint8_t>(0x80 | codage), texte));
  }
  // XML: every construct, the hostile shapes the parser must refuse in time, a schema with
  // each kind of declaration the navigation follows.
  {
    const char* const kDocuments[] = {
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- c --><r a=\"1\" b='&amp;&lt;'>t<![CDATA[<x>]]>"
        "<?pi d?><e/>q&#233;&#x1D11E;</r>",
        "<x:r xmlns:x=\"urn:x\" xmlns=\"urn:d\" x:a=\"1\"><x:e>t</x:e><e b=\"2\"/></x:r>",
        "<!DOCTYPE r [<!ENTITY n \"v&#38;#38;\"><!ENTITY b \"<b>g</b>\">]><r v=\"&n;\">&n;&b;</r>",
        "<!DOCTYPE r [<!ENTITY a \"&b;&b;&b;&b;\"><!ENTITY b \"&c;&c;&c;&c;\"><!ENTITY c "
        "\"xyz\">]><r>&a;&a;</r>",
        "<!DOCTYPE r [<!ENTITY s SYSTEM \"file:///etc/passwd\">]><r>&s;</r>",
        "<a><a><a><a><a><a><a><a><a><a><a><a><a><a></a></a></a></a></a></a></a></a></a></a></a></a></a></a>",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?><r a=\"\xA4\">\xBD\r\n\t</r>",
    };
    int n = 0;
    for (const char* d : kDocuments) {
      Ecris(racine / "xml", "doc" + std::to_string(n), Prefixe(static_cast<uint8_t>(n), Texte(d)));
      Ecris(racine / "xml", "docindente" + std::to_string(n), Prefixe(static_cast<uint8_t>(0x81), Texte(d)));
      ++n;
    }
    const char* const kSchema =
        "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element name=\"r\"><xs:complexType "
        "mixed=\"true\"><xs:sequence maxOccurs=\"2\"><xs:element ref=\"e\"/><xs:choice><xs:element "
        "name=\"a\" "
        "type=\"T\"/><xs:group ref=\"G\"/></xs:choice></xs:sequence><xs:attributeGroup ref=\"A\"/>"
        "</xs:complexType></xs:element><xs:element name=\"e\" type=\"xs:string\"/><xs:group name=\"G\">"
        "<xs:sequence><xs:element name=\"g\" type=\"C\"/></xs:sequence></xs:group><xs:attributeGroup "
        "name=\"A\"><xs:attribute name=\"x\" default=\"1\"/></xs:attributeGroup><xs:simpleType name=\"T\">"
        "<xs:restriction base=\"xs:string\"><xs:enumeration value=\"u\"/></xs:restriction></xs:simpleType>"
        "<xs:complexType name=\"B\"><xs:sequence><xs:element name=\"b\" minOccurs=\"0\"/></xs:sequence>"
        "</xs:complexType><xs:complexType name=\"C\"><xs:complexContent><xs:extension "
        "base=\"B\"><xs:sequence>"
        "<xs:element name=\"c\" type=\"C\" minOccurs=\"0\"/></xs:sequence></xs:extension></xs:complexContent>"
        "</xs:complexType></xs:schema>";
    Ecris(racine / "xml", "schema", Prefixe(0x40, Texte(kSchema)));
  }
  return 0;
}
