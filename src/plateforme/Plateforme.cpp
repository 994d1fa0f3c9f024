#include "plateforme/Plateforme.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace sdd::plateforme {

int OuvreFichier(const std::string& chemin, eAcces acces) {
  int drapeaux = O_CLOEXEC;
  switch (acces) {
    case eAcces::eLecture: drapeaux |= O_RDONLY; break;
    case eAcces::eEcriture: drapeaux |= O_WRONLY | O_CREAT | O_TRUNC; break;
    case eAcces::eLectureEcriture: drapeaux |= O_RDWR | O_CREAT; break;
    case eAcces::eCreation: drapeaux |= O_RDWR | O_CREAT | O_TRUNC; break;
  }
  int fd;
  do {
    fd = ::open(chemin.c_str(), drapeaux, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return -1;
  struct stat etat;
  if (::fstat(fd, &etat) == 0 && S_ISDIR(etat.st_mode)) {  // a directory is no file for us
    ::close(fd);
    errno = EISDIR;
    return -1;
  }
  return fd;
}

int CreeFichierDansSignal(const char* chemin) {
  int fd;
  do {
    fd = ::open(chemin, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

bool FermeFichier(int fd) { return ::close(fd) == 0; }

int64_t LisFichier(int fd, void* destination, uint64_t n) {
  for (;;) {
    const ssize_t lus = ::read(fd, destination, n);
    if (lus >= 0) return lus;
    if (errno != EINTR) return -1;
  }
}

bool EcrisFichier(int fd, const void* octets, uint64_t n) {
  const char* p = static_cast<const char*>(octets);
  while (n > 0) {
    const ssize_t ecrits = ::write(fd, p, n);
    if (ecrits < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += ecrits;
    n -= static_cast<uint64_t>(ecrits);
  }
  return true;
}

int64_t PositionneFichier(int fd, int64_t decalage, int origine) {
  const int quoi = origine == 0 ? SEEK_SET : origine == 1 ? SEEK_CUR : SEEK_END;
  return ::lseek(fd, decalage, quoi);
}

int64_t TailleFichier(int fd) {
  struct stat etat;
  if (::fstat(fd, &etat) != 0) return -1;
  return etat.st_size;
}

bool EstUnDossier(const std::string& chemin) {
  struct stat etat;
  return ::stat(chemin.c_str(), &etat) == 0 && S_ISDIR(etat.st_mode);
}

void (*gCrochetAvantRenommage)() = nullptr;

namespace {

// Fails with errno kept and the step recorded.
bool Echec(eOperationFichier* echec, eOperationFichier etape) {
  if (echec != nullptr) *echec = etape;
  return false;
}

}  // namespace

bool CommenceRemplacement(const std::string& chemin, Remplacement& r, eOperationFichier* echec) {
  r = Remplacement();
  r.cible = chemin;
  struct stat etat;
  if (::lstat(chemin.c_str(), &etat) == 0 && S_ISLNK(etat.st_mode)) {
    // Replace what the link names, not the link. A dangling link is replaced like a missing file.
    char* resolu = ::realpath(chemin.c_str(), nullptr);
    if (resolu != nullptr) {
      r.cible = resolu;
      std::free(resolu);
    }
  }
  const bool existe = ::stat(r.cible.c_str(), &etat) == 0;
  if (existe && S_ISDIR(etat.st_mode)) {
    errno = EISDIR;
    return Echec(echec, eOperationFichier::eCreation);
  }
  if (existe && !S_ISREG(etat.st_mode)) {
    do {
      r.descripteur = ::open(r.cible.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    } while (r.descripteur < 0 && errno == EINTR);
    return r.descripteur >= 0 || Echec(echec, eOperationFichier::eOuverture);
  }
  // A name of our own rather than mkstemp's, so that a new file is created 0666 under the umask
  // like any other file of the user's (mkstemp makes 0600, and reading the umask means
  // changing it for every thread).
  static std::atomic<uint32_t> compteur{0};
  for (int essai = 0; r.descripteur < 0 && essai < 100; ++essai) {
    r.temporaire = r.cible + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(compteur++);
    r.descripteur = ::open(r.temporaire.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (r.descripteur < 0 && errno != EEXIST && errno != EINTR) break;
  }
  if (r.descripteur < 0) {
    r.temporaire.clear();
    return Echec(echec, eOperationFichier::eCreation);
  }
  // The replacement keeps the permissions of the file it replaces (not its owner: only root
  // could give that).
  if (existe && ::fchmod(r.descripteur, etat.st_mode & 07777) != 0) {
    AbandonneRemplacement(r);
    return Echec(echec, eOperationFichier::eCreation);
  }
  return true;
}

bool TermineRemplacement(Remplacement& r, eOperationFichier* echec) {
  if (r.temporaire.empty()) {  // written in place: a device may not know fsync, and that is fine
    const bool synchronise = ::fsync(r.descripteur) == 0 || errno == EINVAL || errno == EROFS;
    const int erreur = errno;
    const bool ferme = ::close(r.descripteur) == 0;
    r.descripteur = -1;
    if (!synchronise) {
      errno = erreur;
      return Echec(echec, eOperationFichier::eSynchronisation);
    }
    return ferme || Echec(echec, eOperationFichier::eFermeture);
  }
  if (::fsync(r.descripteur) != 0) {
    AbandonneRemplacement(r);
    return Echec(echec, eOperationFichier::eSynchronisation);
  }
  const int fd = r.descripteur;
  r.descripteur = -1;
  if (::close(fd) != 0) {
    AbandonneRemplacement(r);
    return Echec(echec, eOperationFichier::eFermeture);
  }
  if (gCrochetAvantRenommage != nullptr) gCrochetAvantRenommage();
  if (::rename(r.temporaire.c_str(), r.cible.c_str()) != 0) {
    AbandonneRemplacement(r);
    return Echec(echec, eOperationFichier::eRenommage);
  }
  r.temporaire.clear();
  // The rename itself is durable only once the folder is flushed.
  const size_t barre = r.cible.rfind('/');
  const std::string dossier =
      barre == std::string::npos ? "." : (barre == 0 ? "/" : r.cible.substr(0, barre));
  const int fdDossier = ::open(dossier.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fdDossier >= 0) {
    ::fsync(fdDossier);
    ::close(fdDossier);
  }
  return true;
}

void AbandonneRemplacement(Remplacement& r) {
  const int erreur = errno;
  if (r.descripteur >= 0) ::close(r.descripteur);
  r.descripteur = -1;
  if (!r.temporaire.empty()) ::unlink(r.temporaire.c_str());
  r.temporaire.clear();
  errno = erreur;
}

bool RemplaceFichier(const std::string& chemin, const void* octets, uint64_t n, eOperationFichier* echec) {
  Remplacement r;
  if (!CommenceRemplacement(chemin, r, echec)) return false;
  if (!EcrisFichier(r.descripteur, octets, n)) {
    AbandonneRemplacement(r);
    return Echec(echec, eOperationFichier::eEcriture);
  }
  return TermineRemplacement(r, echec);
}

void* ProjetteFichier(int fd, uint64_t taille) {
  void* adresse = ::mmap(nullptr, taille, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
  return adresse == MAP_FAILED ? nullptr : adresse;
}

void LibereProjection(void* adresse, uint64_t taille) { ::munmap(adresse, taille); }

void* AlloueGrandesPages(uint64_t taille) {
  // Large pages need an aligned range: map one page more and give back what lies on either
  // side of the aligned part.
  const uint64_t marge = taille + kGrandePage;
  void* brut = ::mmap(nullptr, marge, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (brut == MAP_FAILED) return nullptr;
  const auto debut = reinterpret_cast<uintptr_t>(brut);
  const uintptr_t aligne = (debut + kGrandePage - 1) & ~(uintptr_t{kGrandePage} - 1);
  if (aligne > debut) ::munmap(brut, aligne - debut);
  const uintptr_t fin = debut + marge;
  if (fin > aligne + taille) ::munmap(reinterpret_cast<void*>(aligne + taille), fin - (aligne + taille));
  void* adresse = reinterpret_cast<void*>(aligne);
#ifdef MADV_HUGEPAGE
  ::madvise(adresse, taille, MADV_HUGEPAGE);  // a hint: without it the range works all the same
#endif
  return adresse;
}

void LibereGrandesPages(void* adresse, uint64_t taille) { ::munmap(adresse, taille); }

std::string CheminDeLaBibliotheque() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&CheminDeLaBibliotheque), &info) == 0 || info.dli_fname == nullptr)
    return {};
  return info.dli_fname;
}

int64_t MillisecondesUTC() {
  struct timespec t;
  ::clock_gettime(CLOCK_REALTIME, &t);
  return static_cast<int64_t>(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

int64_t NumeroDeFil() {
  thread_local const int64_t numero = ::gettid();
  return numero;
}

namespace {

constexpr int kSignauxFatals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
struct sigaction gAnciennesActions[NSIG];
// Room for the handler when the thread's own stack is what overflowed.
alignas(16) char gPileSignal[64 * 1024];

}  // namespace

bool InstalleGestionnaireFatal(void (*gestionnaire)(int)) {
  stack_t pile{};
  pile.ss_sp = gPileSignal;
  pile.ss_size = sizeof gPileSignal;
  if (::sigaltstack(&pile, nullptr) != 0) return false;
  struct sigaction action {};
  action.sa_handler = gestionnaire;
  action.sa_flags = SA_ONSTACK;
  ::sigemptyset(&action.sa_mask);
  for (const int signal : kSignauxFatals) {
    if (::sigaction(signal, &action, &gAnciennesActions[signal]) != 0) return false;
  }
  return true;
}

void RetireGestionnaireFatal() {
  for (const int signal : kSignauxFatals) ::sigaction(signal, &gAnciennesActions[signal], nullptr);
}

void RelanceSignal(int signal) {
  ::sigaction(signal, &gAnciennesActions[signal], nullptr);
  ::raise(signal);
}

void CedeLaMain() { ::sched_yield(); }

}  // namespace sdd::plateforme
