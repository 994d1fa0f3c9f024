// Operation queues over the thread manager, the main thread's event loop and private lanes.
#include <outils_socle/fils/DGestionnaireFils.h>
#include <outils_socle/fils/FileOperations.h>
#include <outils_socle/texte/UniChaine.h>

#include <QCoreApplication>
#include <QTimer>

#include <mutex>
#include <set>

#include "fils/DFileRepartiteur.h"

namespace sdd {

namespace detail {

namespace {

std::mutex mutexRegistre;
std::map<int, DFileRepartiteur*> partages;  // under mutexRegistre
DFileRepartiteur* principal = nullptr;      // under mutexRegistre

void AuGestionnaire(std::function<void()> bloc, int priorite) {
  DGestionnaireFils::Instance()->post(std::move(bloc), static_cast<DGestionnaireFils::ePriorite>(priorite));
}

}  // namespace

DFileRepartiteur::DFileRepartiteur(eGenre genre, int priorite)
    : partage_(genre != ePrive), priorite_(genre == ePrive ? 1 : priorite), principal_(genre == ePrincipal) {
  if (principal_) {
    if (QCoreApplication* application = QCoreApplication::instance()) moveToThread(application->thread());
    connect(this, &DFileRepartiteur::Traitement, this, &DFileRepartiteur::TraiteFilPrincipal,
            static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection));
  }
  if (genre == ePrive) filPrive_ = std::make_unique<boost::thread>([this] { BouclePrivee(); });
}

DFileRepartiteur::~DFileRepartiteur() {
  arrete_ = true;
  if (filPrive_) {
    // One more unit than the blocks queued: the lane runs what is left, then sees it is stopped
    // with nothing queued and ends. (Waiting for an idle lane only would hang on a busy one.)
    reveil_.Rends();
    filPrive_->join();
  }
  boost::lock_guard<boost::mutex> verrou(mutexMinuteurs_);
  for (auto& [minuteur, bloc] : minuteurs_) delete minuteur;  // pending timers are dropped
}

void DFileRepartiteur::Poste(std::function<void()> bloc) {
  if (arrete_) return;
  if (principal_) {
    {
      boost::lock_guard<boost::mutex> verrou(mutexPrincipale_);
      filePrincipale_.push_back(std::move(bloc));
    }
    emit Traitement();
  } else if (partage_) {
    AuGestionnaire(std::move(bloc), priorite_);
  } else {
    {
      boost::lock_guard<boost::mutex> verrou(mutexPrivee_);
      filePrivee_.push_back(std::move(bloc));
    }
    reveil_.Rends();
  }
}

void DFileRepartiteur::PosteSync(std::function<void()> bloc) {
  if (arrete_) return;
  SemaphoreComptage fini;
  std::function<void()> enveloppe = [&fini, bloc = std::move(bloc)] {
    bloc();
    fini.Rends();
  };
  if (principal_)
    Poste(std::move(enveloppe));
  else
    AuGestionnaire(std::move(enveloppe), DGestionnaireFils::ePrioriteDefaut);
  fini.Prends();
}

void DFileRepartiteur::PosteApresTemps(double secondes, std::function<void()> bloc) {
  if (arrete_) return;
  const double millisecondes = secondes * 1000.0;
  auto* minuteur = new QTimer();
  minuteur->setSingleShot(true);
  minuteur->setInterval(millisecondes > 0 ? static_cast<int>(millisecondes) : 0);
  connect(minuteur, &QTimer::timeout, this, &DFileRepartiteur::TempsEcoule,
          static_cast<Qt::ConnectionType>(Qt::AutoConnection | Qt::UniqueConnection));
  {
    boost::lock_guard<boost::mutex> verrou(mutexMinuteurs_);
    minuteurs_[minuteur] = std::move(bloc);
  }
  minuteur->start();
}

void DFileRepartiteur::TempsEcoule() {
  auto* minuteur = qobject_cast<QTimer*>(sender());
  if (minuteur == nullptr) return;
  std::function<void()> bloc;
  {
    boost::lock_guard<boost::mutex> verrou(mutexMinuteurs_);
    auto it = minuteurs_.find(minuteur);
    if (it == minuteurs_.end()) return;
    bloc = std::move(it->second);
    minuteurs_.erase(it);
  }
  Poste(std::move(bloc));
  minuteur->deleteLater();
}

void DFileRepartiteur::TraiteFilPrincipal() {
  // One call drains everything queued so far, including what the blocks it runs queue.
  for (;;) {
    std::function<void()> bloc;
    {
      boost::lock_guard<boost::mutex> verrou(mutexPrincipale_);
      if (filePrincipale_.empty()) return;
      bloc = std::move(filePrincipale_.front());
      filePrincipale_.pop_front();
    }
    bloc();
  }
}

void DFileRepartiteur::BouclePrivee() {
  for (;;) {
    reveil_.Prends();
    std::function<void()> bloc;
    {
      boost::lock_guard<boost::mutex> verrou(mutexPrivee_);
      if (filePrivee_.empty()) {
        if (arrete_) return;
        continue;
      }
      bloc = std::move(filePrivee_.front());
      filePrivee_.pop_front();
    }
    // One block at a time, on the pool: the next waits until this one has finished.
    SemaphoreComptage fini;
    AuGestionnaire(
        [&fini, &bloc] {
          bloc();
          fini.Rends();
        },
        priorite_);
    fini.Prends();
  }
}

DFileRepartiteur* DFileRepartiteur::Partage(int priorite) {
  std::lock_guard<std::mutex> verrou(mutexRegistre);
  DFileRepartiteur*& r = partages[priorite];
  if (r == nullptr) r = new DFileRepartiteur(ePartage, priorite);
  return r;
}

DFileRepartiteur* DFileRepartiteur::Principal() {
  std::lock_guard<std::mutex> verrou(mutexRegistre);
  if (principal == nullptr) principal = new DFileRepartiteur(ePrincipal, 1);
  return principal;
}

}  // namespace detail

// ---- OperationUnique and Operation

OperationUnique::OperationUnique(const OperationUnique& autre) {
  StVerrouilleDMutex verrou(&const_cast<OperationUnique&>(autre).mutex_);
  fait_ = autre.fait_.load();
}

OperationUnique& OperationUnique::operator=(const OperationUnique& autre) {
  if (this != &autre) {
    StVerrouilleDMutex verrou(&const_cast<OperationUnique&>(autre).mutex_);
    fait_ = autre.fait_.load();
  }
  return *this;
}

void OperationUnique::operator()(const std::function<void()>& bloc) {
  if (fait_.load(std::memory_order_acquire)) return;
  StVerrouilleDMutex verrou(&mutex_);
  if (fait_.load(std::memory_order_relaxed)) return;
  bloc();  // a throw leaves fait_ false: the next call tries again
  fait_.store(true, std::memory_order_release);
}

void Operation::run() { Execute(); }
Operation::~Operation() = default;

void Operation::Lance(FileOperations* file) {
  file->LanceBlocOperation([this] { Execute(); });
}

void Operation::LanceUneSeuleFois(OperationUnique* garde) {
  (*garde)([this] { Execute(); });
}

// ---- FileOperations

FileOperations::FileOperations(const UniChaine&)
    : possede_(true), repartiteur_(new detail::DFileRepartiteur(detail::DFileRepartiteur::ePrive, 1)) {}

FileOperations::FileOperations(detail::DFileRepartiteur* repartiteur, bool possede)
    : possede_(possede), repartiteur_(repartiteur) {}

FileOperations::~FileOperations() {
  // The process-wide dispatchers outlive their handles.
  if (possede_) delete repartiteur_;
}

FileOperations* FileOperations::CreePrincipale() {
  return new FileOperations(detail::DFileRepartiteur::Principal(), false);
}
FileOperations* FileOperations::CreeGlobaleDeDefaut() {
  return new FileOperations(detail::DFileRepartiteur::Partage(1), false);
}
FileOperations* FileOperations::CreeGlobalePrioriteHaute() {
  return new FileOperations(detail::DFileRepartiteur::Partage(0), false);
}
FileOperations* FileOperations::CreeGlobalePrioriteBasse() {
  return new FileOperations(detail::DFileRepartiteur::Partage(2), false);
}

namespace {

FileOperations* Une(FileOperations*& instance, OperationUnique& garde, FileOperations* (*cree)()) {
  garde([&] { instance = cree(); });
  return instance;
}

}  // namespace

FileOperations* FileOperations::Principale() {
  static OperationUnique garde;
  static FileOperations* instance = nullptr;
  return Une(instance, garde, &CreePrincipale);
}
FileOperations* FileOperations::GlobaleDeDefaut() {
  static OperationUnique garde;
  static FileOperations* instance = nullptr;
  return Une(instance, garde, &CreeGlobaleDeDefaut);
}
FileOperations* FileOperations::GlobalePrioriteHaute() {
  static OperationUnique garde;
  static FileOperations* instance = nullptr;
  return Une(instance, garde, &CreeGlobalePrioriteHaute);
}
FileOperations* FileOperations::GlobalePrioriteBasse() {
  static OperationUnique garde;
  static FileOperations* instance = nullptr;
  return Une(instance, garde, &CreeGlobalePrioriteBasse);
}

void FileOperations::LanceBlocOperation(std::function<void()> bloc) { repartiteur_->Poste(std::move(bloc)); }

void FileOperations::LanceBlocOperationSync(std::function<void()> bloc) {
  repartiteur_->PosteSync(std::move(bloc));
}

void FileOperations::LanceBlocOperationApresTemps(double secondes, std::function<void()> bloc) {
  repartiteur_->PosteApresTemps(secondes, std::move(bloc));
}

void FileOperations::LanceBlocOperationNFois(unsigned long long n,
                                             std::function<void(unsigned long long)> bloc) {
  const int32_t compte = static_cast<int32_t>(n);
  if (compte <= 0) return;
  detail::SemaphoreComptage fini;
  for (int32_t i = 0; i < compte; ++i)
    repartiteur_->Poste([&fini, &bloc, i] {
      bloc(static_cast<unsigned long long>(i));
      fini.Rends();
    });
  for (int32_t i = 0; i < compte; ++i) fini.Prends();
}

void FileOperations::LibereTout() { DGestionnaireFils::LibereInstance(); }

// ---- FileOperationsInterruptible

FileOperationsInterruptible::FileOperationsInterruptible(const UniChaine& nom) : FileOperations(nom) {}
FileOperationsInterruptible::FileOperationsInterruptible(detail::DFileRepartiteur* repartiteur)
    : FileOperations(repartiteur, false) {}
FileOperationsInterruptible::~FileOperationsInterruptible() = default;

FileOperationsInterruptible* FileOperationsInterruptible::Principale() {
  static FileOperationsInterruptible instance(detail::DFileRepartiteur::Principal());
  return &instance;
}
FileOperationsInterruptible* FileOperationsInterruptible::GlobaleDeDefaut() {
  static FileOperationsInterruptible instance(detail::DFileRepartiteur::Partage(1));
  return &instance;
}
FileOperationsInterruptible* FileOperationsInterruptible::GlobalePrioriteHaute() {
  static FileOperationsInterruptible instance(detail::DFileRepartiteur::Partage(0));
  return &instance;
}
FileOperationsInterruptible* FileOperationsInterruptible::GlobalePrioriteBasse() {
  static FileOperationsInterruptible instance(detail::DFileRepartiteur::Partage(2));
  return &instance;
}

void FileOperationsInterruptible::LanceBlocOperation(std::function<void(const unsigned int&)> bloc) {
  StVerrouilleDMutex verrou(&mutex_);
  demandes_.fetch_add(1);
  Repartiteur()->Poste([this, bloc = std::move(bloc)] {
    // Only the latest request runs; older ones see that a newer one came and give way.
    if (demandes_.fetch_sub(1) != 1) return;
    const unsigned int& demandes = reinterpret_cast<const unsigned int&>(demandes_);
    bloc(demandes);
  });
}

// ---- GroupeOperations

struct GroupeOperations::_Rep {
  std::atomic<int32_t> compte{0};
  DMutex mutex;
  std::set<detail::SemaphoreComptage*> attentes;  // under mutex
};

GroupeOperations::GroupeOperations() : rep_(std::make_shared<_Rep>()) {}

GroupeOperations::~GroupeOperations() { AttendreLaFinDesOperations(); }

void GroupeOperations::AjouteOperationBloc(FileOperations* file, std::function<void()> bloc) {
  {
    StVerrouilleDMutex verrou(&rep_->mutex);
    rep_->compte.fetch_add(1);
  }
  file->LanceBlocOperation([rep = rep_, bloc = std::move(bloc)] {
    bloc();
    StVerrouilleDMutex verrou(&rep->mutex);
    if (rep->compte.fetch_sub(1) == 1) {
      for (detail::SemaphoreComptage* s : rep->attentes) s->Rends();
      rep->attentes.clear();
    }
  });
}

void GroupeOperations::AjouteOperation(FileOperations* file, Operation* operation) {
  AjouteOperationBloc(file, [operation] { operation->Execute(); });
}

void GroupeOperations::AttendreLaFinDesOperations() {
  detail::SemaphoreComptage fini;
  {
    StVerrouilleDMutex verrou(&rep_->mutex);
    if (rep_->compte.load() == 0) return;
    rep_->attentes.insert(&fini);
  }
  fini.Prends();
}

void GroupeOperations::AvertirOperationBlocALaFinDesOperations(FileOperations* file,
                                                               std::function<void()> bloc) {
  std::shared_ptr<_Rep> rep = rep_;
  // Polls by re-posting itself until the group is idle.
  struct Sonde {
    static void Poste(std::shared_ptr<_Rep> rep, FileOperations* file, std::function<void()> bloc) {
      file->LanceBlocOperation([rep, file, bloc = std::move(bloc)]() mutable {
        StVerrouilleDMutexTemp verrou(&rep->mutex);
        if (rep->compte.load() < 1) {
          bloc();
          return;
        }
        verrou.Deverrouille();
        Poste(rep, file, std::move(bloc));
      });
    }
  };
  Sonde::Poste(rep, file, std::move(bloc));
}

void GroupeOperations::AvertirOperationALaFinDesOperations(FileOperations* file, Operation* operation) {
  AvertirOperationBlocALaFinDesOperations(file, [operation] { operation->Execute(); });
}

}  // namespace sdd
