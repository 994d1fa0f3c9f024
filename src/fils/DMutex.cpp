#include <outils_socle/fils/DMutex.h>

#include <QMutex>
#include <QWaitCondition>

#include <memory>

#include "fils/AnnotationsTSan.h"

namespace sdd {

struct DMutex::_Rep {
  QMutex mutex;
  explicit _Rep(QMutex::RecursionMode mode) : mutex(mode) {}
};

// The condition keeps its QWaitCondition one level further away, in a cell of its own.
struct DCondAttente::_Rep {
  std::unique_ptr<QWaitCondition> condition = std::make_unique<QWaitCondition>();
};

// ---- DMutex

DMutex::DMutex(eTypeMutex type)
    : rep_(new _Rep(type == eMutexRecursif ? QMutex::Recursive : QMutex::NonRecursive)) {}

DMutex::~DMutex() { delete rep_; }

void DMutex::Verrouille() {
  rep_->mutex.lock();
  OUTILS_SOCLE_TSAN_ACQUIERT(rep_);
}

void DMutex::Deverrouille() {
  OUTILS_SOCLE_TSAN_LIBERE(rep_);
  rep_->mutex.unlock();
}

bool DMutex::EssaieVerrouille() {
  if (!rep_->mutex.tryLock(0)) return false;
  OUTILS_SOCLE_TSAN_ACQUIERT(rep_);
  return true;
}

// ---- DCondAttente

DCondAttente::DCondAttente() : rep_(new _Rep) {}

DCondAttente::~DCondAttente() { delete rep_; }

void DCondAttente::Attends(DMutex& mutex) {
  OUTILS_SOCLE_TSAN_LIBERE(mutex.rep_);
  rep_->condition->wait(&mutex.rep_->mutex);
  OUTILS_SOCLE_TSAN_ACQUIERT(rep_);
  OUTILS_SOCLE_TSAN_ACQUIERT(mutex.rep_);
}

void DCondAttente::AttendsTemps(DMutex&, float) {}

void DCondAttente::ReveilUn() {
  OUTILS_SOCLE_TSAN_LIBERE(rep_);
  rep_->condition->wakeOne();
}

void DCondAttente::ReveilTous() {
  OUTILS_SOCLE_TSAN_LIBERE(rep_);
  rep_->condition->wakeAll();
}

// ---- DMutexLMRU

DMutexLMRU::DMutexLMRU() = default;

void DMutexLMRU::VerrouilleLecteur() {
  porte_.Verrouille();
  redacteur_.Verrouille();  // only passed through: a reader waits here while a writer owns the lock
  compteur_.Verrouille();
  nbLecteurs_.fetch_add(1, std::memory_order_relaxed);
  compteur_.Deverrouille();
  redacteur_.Deverrouille();
  porte_.Deverrouille();
}

void DMutexLMRU::DeverrouilleLecteur() {
  compteur_.Verrouille();
  nbLecteurs_.fetch_sub(1, std::memory_order_relaxed);
  compteur_.Deverrouille();
  lecteurSorti_.ReveilTous();
}

void DMutexLMRU::VerrouilleRedacteur() {
  porte_.Verrouille();  // held while the readers drain: no new reader gets in
  compteur_.Verrouille();
  while (nbLecteurs_.load(std::memory_order_relaxed) > 0) lecteurSorti_.Attends(compteur_);
  compteur_.Deverrouille();
  porte_.Deverrouille();
  redacteur_.Verrouille();
}

void DMutexLMRU::DeverrouilleRedacteur() { redacteur_.Deverrouille(); }

int DMutexLMRU::NbLecteurs() const { return nbLecteurs_.load(std::memory_order_relaxed); }

// ---- Scope lockers

StVerrouilleDMutex::StVerrouilleDMutex(DMutex* mutex) : mutex_(mutex) {
  if (mutex_) mutex_->Verrouille();
}
StVerrouilleDMutex::~StVerrouilleDMutex() {
  if (mutex_) mutex_->Deverrouille();
}

StVerrouilleDMutexTemp::StVerrouilleDMutexTemp(DMutex* mutex) : mutex_(mutex) { mutex_->Verrouille(); }
StVerrouilleDMutexTemp::~StVerrouilleDMutexTemp() {
  if (!libere_) mutex_->Deverrouille();
}
void StVerrouilleDMutexTemp::Deverrouille() {
  libere_ = true;
  mutex_->Deverrouille();
}

StVerrouilleLecteur::StVerrouilleLecteur(DMutexLMRU* verrou, bool actif) : verrou_(verrou), actif_(actif) {
  if (actif_) verrou_->VerrouilleLecteur();
}
StVerrouilleLecteur::~StVerrouilleLecteur() {
  if (actif_) verrou_->DeverrouilleLecteur();
}

StVerrouilleRedacteur::StVerrouilleRedacteur(DMutexLMRU* verrou, bool actif)
    : verrou_(verrou), actif_(actif) {
  if (actif_) verrou_->VerrouilleRedacteur();
}
StVerrouilleRedacteur::~StVerrouilleRedacteur() {
  if (actif_) verrou_->DeverrouilleRedacteur();
}

StDeverrouilleLecteur::StDeverrouilleLecteur(DMutexLMRU* verrou, bool actif)
    : verrou_(verrou), actif_(actif) {
  if (actif_) verrou_->DeverrouilleLecteur();
}
StDeverrouilleLecteur::~StDeverrouilleLecteur() {
  if (actif_) verrou_->VerrouilleLecteur();
}

}  // namespace sdd
