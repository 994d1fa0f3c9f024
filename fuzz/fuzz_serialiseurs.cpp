// The deserialisers: every number encoding (VarElias at each width, three and five bytes, 1 to
// 8 bytes big-endian), the length-prefixed strings (char*, const char*, std::string,
// UniChaine, UniChemin), ChaineN::Lis in each of the seven encodings, and the compressed string
// record. The first bytes pick, step by step, what is read next from the same stream, so values
// follow each other as they do in stored forms; lengths that lie are what mutation makes of
// the seeds (a writer's output of each kind).
#include <outils_socle/flux/Serialiseur.h>
#include <outils_socle/texte/UniChaine.h>

#include <memory>

#include "Commun.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille) {
  if (taille < 1) return 0;
  // The choices come from the front byte run, the stream is the rest.
  const size_t nbChoix = std::min<size_t>(donnees[0] % 16 + 1, taille - 1);
  fuzz::Octets flux(std::vector<uint8_t>(donnees + 1 + nbChoix, donnees + taille));
  for (size_t i = 0; i < nbChoix; ++i) {
    const uint8_t choix = donnees[1 + i];
    bool fin = false;
    fuzz::Essaie([&] {
      switch (choix % 16) {
        case 0: {
          uint64_t v = 0;
          sdd::SerialiseurVarElias::Lis(*flux, &v);
          break;
        }
        case 1: {
          unsigned int v = 0;
          sdd::SerialiseurVarElias::Lis(*flux, &v);
          break;
        }
        case 2: {
          unsigned short v = 0;
          sdd::SerialiseurVarElias::Lis(*flux, &v);
          break;
        }
        case 3: {
          unsigned int v = 0;
          sdd::SerialiseurTroisOctets::Lis(*flux, &v);
          break;
        }
        case 4: {
          uint64_t v = 0;
          sdd::SerialiseurCinqOctets::Lis(*flux, &v);
          break;
        }
        case 5: {
          uint64_t v = 0;
          sdd::SerialiseNombreSurNbOctets::Lis(*flux, &v, static_cast<unsigned char>(choix >> 4));
          break;
        }
        case 6: {
          char* v = nullptr;
          sdd::Serialiseur<char*>::Lis(*flux, &v);
          std::unique_ptr<char[]> garde(v);
          break;
        }
        case 7: {
          const char* v = nullptr;
          sdd::Serialiseur<const char*>::Lis(*flux, &v);
          std::unique_ptr<const char[]> garde(v);
          break;
        }
        case 8: {
          std::string v;
          sdd::Serialiseur<std::string>::Lis(*flux, &v);
          break;
        }
        case 9: {
          UniChaine v;
          sdd::Serialiseur<UniChaine>::Lis(*flux, &v);
          break;
        }
        case 10: {
          UniChemin v;
          sdd::Serialiseur<UniChemin>::Lis(*flux, &v);
          break;
        }
        case 11:
        case 12: {
          sdd::ChaineN v;
          v.Lis(*flux, static_cast<sdd::ChaineN::Codage>((choix >> 4) % 7));
          break;
        }
        // The compressed string record refuses damage with a plain int, -1, as it always has
        // (docs/chaine_compressee.md): that and the library's exceptions are its refusals.
        case 13: try { sdd::TamponMemoire::DecompresseChaineN(*flux);
          } catch (int) {
          }
          break;
        case 14: try { sdd::TamponMemoire::DecompresseUniChaine(*flux);
          } catch (int) {
          }
          break;
        default: fin = true;
      }
    });
    if (fin) break;
  }
  return 0;
}
