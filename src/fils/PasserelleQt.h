#pragma once

#include <QObject>

namespace sdd {
class DMessagerSurFilCourant;
}

namespace sdd::detail {

// The messenger's Qt side: its signal is connected to its slot with a queued connection, so the
// slot runs on the thread this object belongs to (the messenger's creator).
class PasserelleQt : public QObject {
  Q_OBJECT

 public:
  explicit PasserelleQt(DMessagerSurFilCourant* messager) : messager_(messager) {}

 signals:
  void SignalExecuteSurFilCourant();

 public slots:
  void PriseExecuteSurFilCourant();

 private:
  DMessagerSurFilCourant* messager_;
};

}  // namespace sdd::detail
