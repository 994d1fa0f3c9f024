#include <outils_socle/fils/DFil.h>

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

#include "fils/AnnotationsTSan.h"
#include "plateforme/Plateforme.h"

namespace sdd {

namespace {

// The platform thread of one run: its body is the DFil's Execute() then Termine(), nothing else.
class PasserelleQT_QThread : public QThread {
 public:
  explicit PasserelleQT_QThread(DFil* fil) : fil_(fil) {}
  DFil* Fil() const { return fil_; }

 protected:
  void run() override {
    OUTILS_SOCLE_TSAN_ACQUIERT(fil_);  // what Debute() set up happens before the run
    fil_->Execute();
    fil_->Termine();
    OUTILS_SOCLE_TSAN_LIBERE(this);  // the run happens before AttendsLaFin() returns
  }

 private:
  DFil* fil_;
};

QThread::Priority PrioriteQt(int priorite) {
  switch (priorite) {
    case DFil::ePrioriteInactive: return QThread::IdlePriority;
    case DFil::ePrioritePlusBasse: return QThread::LowestPriority;
    case DFil::ePrioriteBasse: return QThread::LowPriority;
    case DFil::ePrioriteNormale: return QThread::NormalPriority;
    case DFil::ePrioriteHaute: return QThread::HighPriority;
    case DFil::ePrioritePlusHaute: return QThread::HighestPriority;
    case DFil::ePrioriteCritique: return QThread::TimeCriticalPriority;
    default: return QThread::InheritPriority;
  }
}

}  // namespace

struct DFil::_Rep {
  int identifiant;
  bool drapeau = false;  // cleared by every Debute(); read by nothing yet
  PasserelleQT_QThread* fil = nullptr;
  int prioritePlateforme = -1;
};

DFil::DFil(int identifiant) : rep_(new _Rep{identifiant}) {}

DFil::~DFil() {
  if (rep_->fil) {
    rep_->fil->wait();
    OUTILS_SOCLE_TSAN_ACQUIERT(rep_->fil);
    delete rep_->fil;
  }
  delete rep_;
}

void DFil::Debute(ePriorite priorite) {
  rep_->drapeau = false;
  delete rep_->fil;  // an earlier run's object, not waited for
  rep_->fil = new PasserelleQT_QThread(this);
  const QThread::Priority qt = PrioriteQt(priorite);
  rep_->prioritePlateforme = static_cast<int>(qt);
  OUTILS_SOCLE_TSAN_LIBERE(this);
  rep_->fil->start(qt);
}

void DFil::AttendsLaFin() {
  rep_->fil->wait();
  OUTILS_SOCLE_TSAN_ACQUIERT(rep_->fil);
}

void DFil::Termine() {}

ReceveurTrace* DFil::PreteReceveurTrace() { return nullptr; }

bool DFil::ATerminay() const { return rep_->fil->isFinished(); }

int DFil::DonneIdent() const { return rep_->identifiant; }

int DFil::DonnePrioritePlateforme() const { return rep_->prioritePlateforme; }

DFil* DFil::FilCourant() {
  auto* passerelle = dynamic_cast<PasserelleQT_QThread*>(QThread::currentThread());
  return passerelle ? passerelle->Fil() : nullptr;
}

void DFil::Dors(float secondes) {
  // A private condition that nobody signals: the wait always runs its full time.
  QMutex mutex;
  QWaitCondition condition;
  const float millisecondes = secondes * 1000.0f;
  mutex.lock();
  condition.wait(&mutex, millisecondes > 0 ? static_cast<unsigned long>(millisecondes) : 0);
  mutex.unlock();
}

void DFil::LachePriorite() { plateforme::CedeLaMain(); }

int DFil::NbProcesseurs() {
  const int n = QThread::idealThreadCount();
  return n > 0 ? n : 1;
}

int DFil::NbProcesseursPhysiques() { return NbProcesseurs(); }

}  // namespace sdd
