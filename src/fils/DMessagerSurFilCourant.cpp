#include <outils_socle/fils/DMessagerSurFilCourant.h>

#include "fils/AnnotationsTSan.h"
#include "fils/PasserelleQt.h"

namespace sdd {

namespace detail {

void PasserelleQt::PriseExecuteSurFilCourant() {
  OUTILS_SOCLE_TSAN_ACQUIERT(this);  // Qt's event queue hands the call over
  messager_->ExecuteSurFilCourant();
}

}  // namespace detail

DMessagerSurFilCourant::DMessagerSurFilCourant() : passerelle_(new detail::PasserelleQt(this)) {
  QObject::connect(passerelle_, &detail::PasserelleQt::SignalExecuteSurFilCourant, passerelle_,
                   &detail::PasserelleQt::PriseExecuteSurFilCourant, Qt::QueuedConnection);
}

DMessagerSurFilCourant::~DMessagerSurFilCourant() { delete passerelle_; }

void DMessagerSurFilCourant::LanceExecution() {
  OUTILS_SOCLE_TSAN_LIBERE(passerelle_);
  emit passerelle_->SignalExecuteSurFilCourant();
}

void DMessagerSurFilCourant::LanceExecutionApresDelai(double) { LanceExecution(); }

void DMessagerSurFilCourant::InterrompsExecution() {}

}  // namespace sdd
