// The thread manager: priority queues, a distributor, workers with watchdogs, and a reaper.
// Threads are boost::threads; watchdog timers run on a boost::asio I/O context of their own.
#include <outils_socle/fils/DGestionnaireFils.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/synchronized_value.hpp>
#include <boost/thread/thread.hpp>

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>

#include "fils/FilesPriorite.h"
#include "fils/SemaphoreComptage.h"

namespace sdd {

namespace {

constexpr int64_t kIntervalleSurveillanceDefaut =
    25000;  // ms: long enough for real work, short enough for hung work
std::atomic<int64_t> intervalleSurveillance{kIntervalleSurveillanceDefaut};

boost::synchronized_value<DGestionnaireFils*, boost::mutex> monInstance(nullptr);

}  // namespace

struct DGestionnaireFils::_Rep {
  struct Ouvrier {
    std::unique_ptr<boost::asio::steady_timer> surveillance;
    std::unique_ptr<boost::thread> fil;
    bool bloque = false;
  };

  std::atomic<bool> arret{false};
  std::atomic<bool> distributeurActif{true};
  std::atomic<bool> ouvriersActifs{true};
  std::atomic<bool> arretFaucheur{false};
  std::atomic<int32_t> nbFils{0};

  boost::mutex mutexFiles;
  detail::FilesPriorite<std::function<void()>> files;  // under mutexFiles

  boost::asio::io_context contexte;
  std::unique_ptr<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> garde;
  std::unique_ptr<boost::thread> filContexte;
  std::chrono::milliseconds intervalle{kIntervalleSurveillanceDefaut};

  boost::mutex mutexRegistre;
  std::map<boost::thread::id, Ouvrier> registre;  // under mutexRegistre

  boost::mutex mutexPrets;
  std::deque<std::function<void()>> prets;  // under mutexPrets

  boost::mutex mutexFaucheur;
  std::deque<std::unique_ptr<boost::thread>> aFaucher;  // under mutexFaucheur

  detail::SemaphoreComptage semDistributeur, semOuvriers, semFaucheur;
  std::unique_ptr<boost::thread> distributeur, faucheur;

  boost::mutex mutexFin;
  boost::condition_variable finFaucheur;
  bool faucheurTermine = false;  // under mutexFin

  void AjouteFil();
  void TraiteFiles();
  void TravailleFil();
  void TraiteFilsBloques(const boost::system::error_code& erreur, boost::thread::id ident);
  void DetruireFils();
};

void DGestionnaireFils::_Rep::AjouteFil() {
  nbFils.fetch_add(1);
  Ouvrier ouvrier;
  ouvrier.surveillance = std::make_unique<boost::asio::steady_timer>(contexte);
  ouvrier.surveillance->expires_after(intervalle);  // once, here: see TravailleFil
  // The registry is held while the thread starts, so that its first block finds its record.
  boost::lock_guard<boost::mutex> verrou(mutexRegistre);
  ouvrier.fil = std::make_unique<boost::thread>([this] { TravailleFil(); });
  const boost::thread::id ident = ouvrier.fil->get_id();
  registre.emplace(ident, std::move(ouvrier));
}

void DGestionnaireFils::_Rep::TraiteFiles() {
  while (distributeurActif.load()) {
    semDistributeur.Prends();
    if (!distributeurActif.load()) return;
    std::function<void()> bloc;
    {
      boost::lock_guard<boost::mutex> verrou(mutexFiles);
      bloc = files.Prends();
    }
    {
      boost::lock_guard<boost::mutex> verrou(mutexPrets);
      prets.push_back(std::move(bloc));
    }
    semOuvriers.Rends();
  }
}

void DGestionnaireFils::_Rep::TravailleFil() {
  const boost::thread::id moi = boost::this_thread::get_id();
  while (ouvriersActifs.load()) {
    semOuvriers.Prends();
    if (!ouvriersActifs.load()) break;
    std::function<void()> bloc;
    {
      boost::lock_guard<boost::mutex> verrou(mutexPrets);
      if (prets.empty()) continue;  // a unit given only to wake us for the shutdown
      bloc = std::move(prets.front());
      prets.pop_front();
    }
    // The watchdog's expiry was set when the worker was made and is never renewed: once it has
    // passed, this wait completes at once and the worker is replaced after this block.
    boost::asio::steady_timer* surveillance = nullptr;
    {
      boost::lock_guard<boost::mutex> verrou(mutexRegistre);
      auto it = registre.find(moi);
      if (it != registre.end()) surveillance = it->second.surveillance.get();
    }
    if (surveillance)
      surveillance->async_wait(
          [this, moi](const boost::system::error_code& e) { TraiteFilsBloques(e, moi); });
    bloc();
    if (surveillance) surveillance->cancel();
    boost::lock_guard<boost::mutex> verrou(mutexRegistre);
    auto it = registre.find(moi);
    if (it != registre.end() && it->second.bloque) break;
  }
  // Leave the pool: the reaper joins this thread.
  std::unique_ptr<boost::thread> fil;
  std::unique_ptr<boost::asio::steady_timer> surveillance;
  {
    boost::lock_guard<boost::mutex> verrou(mutexRegistre);
    auto it = registre.find(moi);
    if (it != registre.end()) {
      fil = std::move(it->second.fil);
      surveillance = std::move(it->second.surveillance);
      registre.erase(it);
    }
  }
  surveillance.reset();  // only this thread ever touches its timer; its handler does not
  {
    boost::lock_guard<boost::mutex> verrou(mutexFaucheur);
    aFaucher.push_back(std::move(fil));
  }
  nbFils.fetch_sub(1);
  semFaucheur.Rends();
}

void DGestionnaireFils::_Rep::TraiteFilsBloques(const boost::system::error_code& erreur,
                                                boost::thread::id ident) {
  if (erreur == boost::asio::error::operation_aborted) return;  // the block ended in time
  bool marque = false;
  {
    boost::lock_guard<boost::mutex> verrou(mutexRegistre);
    auto it = registre.find(ident);
    if (it != registre.end() && !it->second.bloque) marque = it->second.bloque = true;
  }
  if (marque && !arret.load()) AjouteFil();
}

void DGestionnaireFils::_Rep::DetruireFils() {
  for (;;) {
    if (arretFaucheur.load()) {
      bool reste;
      {
        boost::lock_guard<boost::mutex> verrou(mutexFaucheur);
        reste = !aFaucher.empty();
      }
      if (!reste && nbFils.load() < 1) break;
    }
    semFaucheur.Prends();
    std::unique_ptr<boost::thread> fil;
    {
      boost::lock_guard<boost::mutex> verrou(mutexFaucheur);
      if (aFaucher.empty()) continue;  // a unit given only to wake us
      fil = std::move(aFaucher.front());
      aFaucher.pop_front();
    }
    if (fil && fil->joinable()) fil->join();
  }
  boost::lock_guard<boost::mutex> verrou(mutexFin);
  faucheurTermine = true;
  finFaucheur.notify_all();
}

// ---- Public side

DGestionnaireFils::DGestionnaireFils() : rep_(std::make_unique<_Rep>()) {
  _Rep& r = *rep_;
  r.intervalle = std::chrono::milliseconds(intervalleSurveillance.load());
  r.garde = std::make_unique<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>>(
      r.contexte.get_executor());
  const int fils = std::max(5, 2 * static_cast<int>(boost::thread::hardware_concurrency()));
  for (int i = 0; i < fils; ++i) r.AjouteFil();
  r.filContexte = std::make_unique<boost::thread>([&r] { r.contexte.run(); });
  r.distributeur = std::make_unique<boost::thread>([&r] { r.TraiteFiles(); });
  r.faucheur = std::make_unique<boost::thread>([&r] { r.DetruireFils(); });
}

DGestionnaireFils::~DGestionnaireFils() {
  _Rep& r = *rep_;
  r.arret = true;
  r.distributeurActif = false;
  r.semDistributeur.Rends();
  r.distributeur->join();
  r.garde.reset();
  r.contexte.stop();  // pending watchdog waits are abandoned: the pool is going away
  r.filContexte->join();
  r.arretFaucheur = true;
  r.ouvriersActifs = false;
  {
    boost::unique_lock<boost::mutex> verrou(r.mutexFin);
    r.semOuvriers.Rends(std::max(r.nbFils.load(), 1));
    r.semFaucheur.Rends();  // in case the reaper waits with nothing left to join
    while (!r.faucheurTermine) r.finFaucheur.wait(verrou);
  }
  r.faucheur->join();
}

DGestionnaireFils* DGestionnaireFils::Instance() {
  DGestionnaireFils* instance = monInstance.get();
  if (instance != nullptr) return instance;
  {
    auto verrou = monInstance.synchronize();
    if (*verrou == nullptr) *verrou = new DGestionnaireFils();
  }
  return monInstance.get();
}

void DGestionnaireFils::LibereInstance() {
  auto verrou = monInstance.synchronize();
  delete *verrou;
  *verrou = nullptr;
}

void DGestionnaireFils::post(std::function<void()> bloc, ePriorite priorite) {
  if (rep_->arret.load()) return;
  {
    boost::lock_guard<boost::mutex> verrou(rep_->mutexFiles);
    rep_->files.Ajoute(std::move(bloc), priorite);
  }
  rep_->semDistributeur.Rends();
}

int DGestionnaireFils::NbFils() const { return rep_->nbFils.load(); }

void DGestionnaireFils::MetsIntervalleSurveillance(std::chrono::milliseconds intervalle) {
  intervalleSurveillance = intervalle.count();
}

std::chrono::milliseconds DGestionnaireFils::IntervalleSurveillance() {
  return std::chrono::milliseconds(intervalleSurveillance.load());
}

}  // namespace sdd
