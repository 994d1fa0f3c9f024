#pragma once

// Where an operation queue sends its blocks: the main thread's event loop, the shared pool at one
// priority, or a private serial lane with a thread of its own that feeds the pool one block at a
// time.
#include <QObject>

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>

#include "fils/SemaphoreComptage.h"

class QTimer;

namespace sdd::detail {

class DFileRepartiteur : public QObject {
  Q_OBJECT

 public:
  enum eGenre { ePrive, ePartage, ePrincipal };

  DFileRepartiteur(eGenre genre, int priorite);
  ~DFileRepartiteur() override;

  void Poste(std::function<void()> bloc);
  void PosteSync(std::function<void()> bloc);
  void PosteApresTemps(double secondes, std::function<void()> bloc);

  static DFileRepartiteur* Partage(int priorite);
  static DFileRepartiteur* Principal();

 signals:
  void Traitement();

 public slots:
  void TraiteFilPrincipal();

 private slots:
  void TempsEcoule();

 private:
  void BouclePrivee();

  std::atomic<bool> arrete_{false};
  bool partage_;
  int priorite_;
  bool principal_;
  SemaphoreComptage reveil_;
  std::unique_ptr<boost::thread> filPrive_;
  boost::mutex mutexPrincipale_;
  std::deque<std::function<void()>> filePrincipale_;  // under mutexPrincipale_
  boost::mutex mutexPrivee_;
  std::deque<std::function<void()>> filePrivee_;  // under mutexPrivee_
  boost::mutex mutexMinuteurs_;
  std::map<QTimer*, std::function<void()>> minuteurs_;  // under mutexMinuteurs_
};

}  // namespace sdd::detail
