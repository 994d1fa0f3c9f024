#include <outils_socle/journaux/BoiteNoire.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"
#include "texte/RaisonsSysteme.h"

namespace sdd {

// One slot, written as a seqlock: `sequence` is 2n + 1 while entry n is written and 2n + 2 once
// it is whole. Everything in it is atomic (relaxed) so that a reader racing a writer reads
// stale or fresh words, never undefined ones, and then throws away what the sequence says is
// not entry n whole. A seqlock allows one writer at a time: `ecriture` is that writer's claim.
struct BoiteNoire::_Case {
  static constexpr size_t kMots = kTailleTexte / 8;
  std::atomic<bool> ecriture{false};
  std::atomic<uint64_t> sequence{0};
  std::atomic<int64_t> millisecondes{0};
  std::atomic<int64_t> fil{0};
  std::atomic<uint64_t> niveauEtLongueur{0};  // level << 32 | length in bytes
  std::atomic<uint64_t> mots[kMots] = {};
};
static_assert(sizeof(std::atomic<uint64_t>) == 8 && BoiteNoire::kTailleTexte % 8 == 0);

namespace {

std::atomic<BoiteNoire*> gBoiteInstallee{nullptr};

}  // namespace

BoiteNoire::BoiteNoire(size_t nbEntrees) : masque_(std::bit_ceil(std::max<size_t>(nbEntrees, 2)) - 1) {
  cases_ = std::make_unique<_Case[]>(masque_ + 1);
}

BoiteNoire::~BoiteNoire() {
  if (gBoiteInstallee.load() == this) DesinstalleSignaux();
}

void BoiteNoire::Ajoute(eNiveauJournal niveau, std::string_view texte) noexcept {
  Ajoute(EntreeJournal{plateforme::MillisecondesUTC(), niveau, plateforme::NumeroDeFil(), texte});
}

void BoiteNoire::Ajoute(const EntreeJournal& entree) noexcept {
  size_t longueur = entree.texte.size();
  if (longueur > kTailleTexte) {
    longueur = kTailleTexte;
    // Cut before a UTF-8 continuation byte, so the kept text stays whole characters.
    while (longueur > 0 && (static_cast<unsigned char>(entree.texte[longueur]) & 0xC0) == 0x80) --longueur;
  }
  const uint64_t n = prochain_.fetch_add(1, std::memory_order_relaxed);
  _Case& c = cases_[n & masque_];
  // The ring came round while another writer is still in this slot (stalled, or interrupted by
  // the signal that called us): this entry is dropped. Two writers in one slot would mix their
  // texts, and a reader could take the mix for whole between the end of one and the end of the
  // other. Never waiting keeps Ajoute lock-free and safe in a signal handler.
  if (c.ecriture.exchange(true, std::memory_order_acquire)) return;
  const uint64_t enCours = 2 * n + 1;
  c.sequence.store(enCours, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_release);
  c.millisecondes.store(entree.millisecondes, std::memory_order_relaxed);
  c.fil.store(entree.fil, std::memory_order_relaxed);
  c.niveauEtLongueur.store(static_cast<uint64_t>(entree.niveau) << 32 | longueur, std::memory_order_relaxed);
  for (size_t i = 0; i * 8 < longueur; ++i) {
    uint64_t mot = 0;
    std::memcpy(&mot, entree.texte.data() + i * 8, std::min<size_t>(8, longueur - i * 8));
    c.mots[i].store(mot, std::memory_order_relaxed);
  }
  c.sequence.store(enCours + 1, std::memory_order_release);
  c.ecriture.store(false, std::memory_order_release);
}

size_t BoiteNoire::Ecris(int descripteur) const noexcept { return EcrisEntrees(descripteur, nullptr); }

size_t BoiteNoire::EcrisEntrees(int descripteur, bool* echec) const noexcept {
  if (echec != nullptr) *echec = false;
  const uint64_t fin = prochain_.load(std::memory_order_acquire);
  const uint64_t debut = fin > masque_ + 1 ? fin - (masque_ + 1) : 0;
  size_t ecrites = 0;
  for (uint64_t n = debut; n < fin; ++n) {
    const _Case& c = cases_[n & masque_];
    const uint64_t avant = c.sequence.load(std::memory_order_acquire);
    if (avant != 2 * n + 2) continue;  // being written, overwritten since, or mixed
    const int64_t millisecondes = c.millisecondes.load(std::memory_order_relaxed);
    const int64_t fil = c.fil.load(std::memory_order_relaxed);
    const uint64_t niveauEtLongueur = c.niveauEtLongueur.load(std::memory_order_relaxed);
    const size_t longueur = std::min<size_t>(niveauEtLongueur & 0xFFFFFFFF, kTailleTexte);
    uint64_t mots[_Case::kMots];
    for (size_t i = 0; i * 8 < longueur; ++i) mots[i] = c.mots[i].load(std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_acquire);
    if (c.sequence.load(std::memory_order_relaxed) != avant) continue;

    // The line, built on the stack: a header, the text with its continuation indents, '\n'.
    char ligne[detail::kTailleEnTeteEntree + 3 * kTailleTexte + 1];
    const auto niveau = static_cast<eNiveauJournal>(std::min<uint64_t>(niveauEtLongueur >> 32, 5));
    size_t taille = detail::FormateEnTete(millisecondes, niveau, fil, ligne);
    const char* texte = reinterpret_cast<const char*>(mots);
    for (size_t i = 0; i < longueur; ++i) {
      ligne[taille++] = texte[i];
      if (texte[i] == '\n') {
        ligne[taille++] = ' ';
        ligne[taille++] = ' ';
      }
    }
    ligne[taille++] = '\n';
    if (!plateforme::EcrisFichier(descripteur, ligne, taille)) {
      if (echec != nullptr) *echec = true;  // errno says why
      break;
    }
    ++ecrites;
  }
  return ecrites;
}

size_t BoiteNoire::Ecris(const UniChemin& chemin) const {
  const std::string nom = chemin.DonneStdString();
  const int fd = plateforme::OuvreFichier(nom, plateforme::eAcces::eEcriture);
  if (fd < 0) LanceErreurFichier(nom, eOperationFichier::eCreation);
  bool echec;
  const size_t ecrites = EcrisEntrees(fd, &echec);
  if (echec) {
    const int erreur = errno;
    plateforme::FermeFichier(fd);
    throw exceptions::ErreurFichier(nom, eOperationFichier::eEcriture, erreur);
  }
  if (!plateforme::FermeFichier(fd)) LanceErreurFichier(nom, eOperationFichier::eFermeture);
  return ecrites;
}

void BoiteNoire::InstalleSurSignauxFatals(const UniChemin& chemin) {
  const std::string nom = chemin.DonneStdString();
  if (nom.size() >= sizeof cheminSignal_)
    throw exceptions::OuvertureEchouee(nom.substr(0, 64) +
                                       "… : " + N_("chemin trop long pour la boîte noire"));
  BoiteNoire* attendue = nullptr;
  if (!gBoiteInstallee.compare_exchange_strong(attendue, this) && attendue != this)
    throw exceptions::OperationInvalide(
        N_("Une autre boîte noire est déjà installée sur les signaux fatals"));
  // Copied now: the handler may not allocate or lock to read a string.
  std::memcpy(cheminSignal_, nom.c_str(), nom.size() + 1);
  if (attendue == this) return;
  if (!plateforme::InstalleGestionnaireFatal(&BoiteNoire::SurSignalFatal)) {
    gBoiteInstallee.store(nullptr);
    throw exceptions::OperationInvalide(N_("Boîte noire : signaux fatals non détournés") " : " +
                                        detail::RaisonSystemeFrancaise(errno));
  }
}

void BoiteNoire::DesinstalleSignaux() {
  BoiteNoire* attendue = this;
  if (gBoiteInstallee.compare_exchange_strong(attendue, nullptr)) plateforme::RetireGestionnaireFatal();
}

void BoiteNoire::SurSignalFatal(int signal) noexcept {
  const BoiteNoire* boite = gBoiteInstallee.load();
  if (boite != nullptr) {
    const int fd = plateforme::CreeFichierDansSignal(boite->cheminSignal_);
    if (fd >= 0) {
      boite->Ecris(fd);
      plateforme::FermeFichier(fd);
    }
  }
  plateforme::RelanceSignal(signal);
}

}  // namespace sdd
