#pragma once

// The one place that speaks to the operating system (POSIX here): files, mapped memory and the
// scheduler. Everything else in the library goes through these functions. Failures are reported
// by return values with errno left as the system set it; callers turn them into the library's
// exceptions.

#include <cstdint>
#include <string>

#include <outils_socle/Export.h>
#include <outils_socle/texte/ErreurFichier.h>

namespace sdd::plateforme {

enum class eAcces {
  eLecture,          // read only; the file must exist
  eEcriture,         // write only; created if missing, emptied
  eLectureEcriture,  // read and write; created if missing, kept
  eCreation,         // read and write; created if missing, emptied
};

// A descriptor, or -1.
int OuvreFichier(const std::string& cheminUtf8, eAcces acces);
// Creates or empties a file for writing, with no allocation: async-signal-safe. A descriptor,
// or -1.
int CreeFichierDansSignal(const char* cheminUtf8);
bool FermeFichier(int descripteur);
// Bytes read (0 at the end), or -1.
int64_t LisFichier(int descripteur, void* destination, uint64_t n);
// Writes all n bytes, retrying partial writes; false on failure.
bool EcrisFichier(int descripteur, const void* octets, uint64_t n);
// The new position, or -1. `origine` 0 = start, 1 = current, 2 = end.
int64_t PositionneFichier(int descripteur, int64_t decalage, int origine);
// The file's size in bytes, or -1.
int64_t TailleFichier(int descripteur);
bool EstUnDossier(const std::string& cheminUtf8);
// Replaces a file's content as one step, so that a reader (a mapping included) sees the old
// content or the new one, never a mix, whatever happens in between: the bytes go to a temporary
// file in the target's folder, which is flushed to the disk, given the old file's permissions
// and renamed over the target; the folder is flushed last. A symbolic link is followed, so the
// file it names is replaced and the link stays. A target that exists and is not a regular file
// (a terminal, /dev/full, a pipe) is written in place: renaming over it would replace the
// device itself. Each step reports failure with errno kept and, in *echec, the step that failed;
// the temporary file is then removed.
struct Remplacement {
  int descripteur = -1;
  std::string cible;       // the file replaced (the link's target for a link)
  std::string temporaire;  // empty when writing in place
};
bool CommenceRemplacement(const std::string& cheminUtf8, Remplacement& r, eOperationFichier* echec);
bool TermineRemplacement(Remplacement& r, eOperationFichier* echec);
// Removes the temporary file; the target is left as it was. Keeps errno.
void AbandonneRemplacement(Remplacement& r);
// The three in one, for bytes already in memory.
bool RemplaceFichier(const std::string& cheminUtf8, const void* octets, uint64_t n, eOperationFichier* echec);
// Tests set this to stop the process between the flush and the rename (exported for them only;
// the header is private).
OUTILS_SOCLE_EXPORT extern void (*gCrochetAvantRenommage)();

// Maps `taille` bytes of the file privately (writes stay in memory); null on failure.
void* ProjetteFichier(int descripteur, uint64_t taille);
void LibereProjection(void* adresse, uint64_t taille);

// Memory of `taille` bytes (a multiple of kGrandePage) in pages of kGrandePage where the
// system has them, or ordinary pages: one fault per large page instead of 512 as a large
// block is first written. Null when the system refuses. Freed by LibereGrandesPages.
constexpr uint64_t kGrandePage = uint64_t{1} << 21;
void* AlloueGrandesPages(uint64_t taille);
void LibereGrandesPages(void* adresse, uint64_t taille);

// The path of the shared library this code is in (libOutilsSocle.so), empty if unknown.
std::string CheminDeLaBibliotheque();

// Milliseconds since 1970-01-01 00:00 UTC.
int64_t MillisecondesUTC();
// The system's number for the calling thread (gettid).
int64_t NumeroDeFil();

// Installs `gestionnaire` for SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT, run on an alternate
// stack of the calling thread. Each signal's previous disposition is kept: the handler ends
// with RelanceSignal, which puts it back and raises the signal again. False on failure.
bool InstalleGestionnaireFatal(void (*gestionnaire)(int));
void RetireGestionnaireFatal();
// Async-signal-safe.
void RelanceSignal(int signal);

// Gives the rest of the time slice to other threads.
void CedeLaMain();

}  // namespace sdd::plateforme
