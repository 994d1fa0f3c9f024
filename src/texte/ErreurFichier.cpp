// File failures: the alert catalogue, the system's reasons, and ErreurFichier.
#include <outils_socle/texte/ErreurFichier.h>

#include <cerrno>
#include <cstring>
#include <iterator>

#include "langues/Marque.h"
#include "texte/RaisonsSysteme.h"

namespace sdd {

UniChaine MessageErreurFichier(int n) {
  static const char* const kTextes[] = {
      N_("Une erreur de type indéfini s’est produite (code 0)."),
      N_("Espace insuffisant. Opération annulée."),
      N_("Erreur à la création du fichier."),
      N_("Erreur à l’ouverture du fichier."),
      N_("Erreur à la destruction du fichier."),
      N_("Erreur à l’écriture du fichier."),
      N_("Erreur à la lecture du fichier."),
  };
  if (n < 0 || n >= static_cast<int>(std::size(kTextes))) return UniChaine();
  return Traduis(kTextes[n]);
}

DAlerteInfo CreeAlerteErreurFichier(int message, int explication, int codeErreur, int codeSecondaire,
                                    int codeTertiaire) {
  DAlerteInfoErreur erreur(DAlerteInfo::eAlerte, MessageErreurFichier(message),
                           MessageErreurFichier(explication), codeErreur, UniChaine(), codeSecondaire,
                           codeTertiaire);
  return DAlerteInfo(erreur);
}

namespace detail {

// The reasons a file operation meets, in French. The texts are glibc's own French ones, so a
// message reads the same whether it came through us or through strerror under a French
// locale; the English catalogue holds glibc's untranslated texts.
const char* RaisonSystemeEnFrancais(int numero) {
  switch (numero) {
    case EPERM: return N_("Opération non permise");
    case ENOENT: return N_("Aucun fichier ou dossier de ce type");
    case EINTR: return N_("Appel système interrompu");
    case EIO: return N_("Erreur d'entrée/sortie");
    case ENXIO: return N_("Aucun périphérique ou adresse");
    case EBADF: return N_("Mauvais descripteur de fichier");
    case EAGAIN: return N_("Ressource temporairement non disponible");
    case ENOMEM: return N_("Ne peut allouer de la mémoire");
    case EACCES: return N_("Permission non accordée");
    case EFAULT: return N_("Mauvaise adresse");
    case EBUSY: return N_("Périphérique ou ressource occupé");
    case EEXIST: return N_("Le fichier existe");
    case EXDEV: return N_("Lien physique inter-périphérique invalide");
    case ENODEV: return N_("Aucun périphérique de ce type");
    case ENOTDIR: return N_("N'est pas un dossier");
    case EISDIR: return N_("est un dossier");
    case EINVAL: return N_("Argument invalide");
    case ENFILE: return N_("Trop de fichiers ouverts dans le système");
    case EMFILE: return N_("Trop de fichiers ouverts");
    case ETXTBSY: return N_("Fichier texte occupé");
    case EFBIG: return N_("Fichier trop gros");
    case ENOSPC: return N_("Aucun espace disponible sur le périphérique");
    case ESPIPE: return N_("Repérage non permis");
    case EROFS: return N_("Système de fichiers accessible en lecture seulement");
    case EMLINK: return N_("Trop de liens");
    case EPIPE: return N_("Relais brisé (pipe)");
    case ENAMETOOLONG: return N_("Nom de fichier trop long");
    case ENOSYS: return N_("Fonction non implantée");
    case ENOTEMPTY: return N_("Le dossier n'est pas vide");
    case ELOOP: return N_("Trop de niveaux de liens symboliques");
    case EOVERFLOW: return N_("Valeur trop grande pour le type défini de données");
    case EOPNOTSUPP: return N_("Opération non supportée");
    case ETIMEDOUT: return N_("Connexion terminée par expiration du délai d'attente");
    case ESTALE: return N_("Panne d'accès au fichier");
    case EDQUOT: return N_("Débordement du quota d'espace disque");
    default: return nullptr;
  }
}

std::string RaisonSystemeFrancaise(int numero) {
  if (const char* texte = RaisonSystemeEnFrancais(numero)) return texte;
  // A rare number: the system's own words, in whatever language it speaks, with the number
  // that identifies it everywhere.
  char tampon[256];
  return std::string(strerror_r(numero, tampon, sizeof tampon)) + " (errno " + std::to_string(numero) + ")";
}

}  // namespace detail

UniChaine RaisonSysteme(int numero) {
  if (const char* texte = detail::RaisonSystemeEnFrancais(numero)) return Traduis(texte);
  return UniChaine(detail::RaisonSystemeFrancaise(numero));
}

namespace exceptions {

namespace {

const char* MessageOperation(eOperationFichier operation) {
  switch (operation) {
    case eOperationFichier::eCreation: return N_("Création échouée");
    case eOperationFichier::eOuverture: return N_("Ouverture échouée");
    case eOperationFichier::eLecture: return N_("Lecture échouée");
    case eOperationFichier::eEcriture: return N_("Écriture échouée");
    case eOperationFichier::eSynchronisation: return N_("Écriture sur le disque échouée");
    case eOperationFichier::eRenommage: return N_("Remplacement échoué");
    case eOperationFichier::eFermeture: return N_("Fermeture échouée");
  }
  return N_("Ouverture échouée");
}

// The alert of the file-error catalogue that an application presenting alerts expects.
int AlerteOperation(eOperationFichier operation) {
  switch (operation) {
    case eOperationFichier::eCreation: return eErreurFichierCreation;
    case eOperationFichier::eOuverture: return eErreurFichierOuverture;
    case eOperationFichier::eLecture: return eErreurFichierLecture;
    default: return eErreurFichierEcriture;
  }
}

}  // namespace

ErreurFichier::ErreurFichier(const std::string& chemin, eOperationFichier operation, int numeroErreur)
    : OuvertureEchouee(MessageOperation(operation),
                       UniChaine(chemin + " : " + detail::RaisonSystemeFrancaise(numeroErreur))),
      ::ExceptionCode(
          CreeAlerteErreurFichier(AlerteOperation(operation), eErreurFichierIndefinie, -1, -1, -1)),
      chemin_(chemin),
      operation_(operation),
      numeroErreur_(numeroErreur) {}

ErreurFichier::~ErreurFichier() = default;

}  // namespace exceptions

void LanceErreurFichier(const std::string& chemin, eOperationFichier operation) {
  const int numero = errno;  // before anything else can change it
  throw exceptions::ErreurFichier(chemin, operation, numero);
}

}  // namespace sdd
