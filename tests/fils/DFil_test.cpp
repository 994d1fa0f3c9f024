// Threads and locks. Orders are asserted through events the threads record, never by timing,
// except where a test must show that something has NOT happened yet: there it gives the other
// thread ample time, which can only make a broken lock pass, never a correct one fail.
#include <outils_socle/fils/DFil.h>
#include <outils_socle/fils/DMessagerSurFilCourant.h>
#include <outils_socle/fils/DMutex.h>

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace sdd {
namespace {

using Horloge = std::chrono::steady_clock;

// A DFil running a function.
class FilDe : public DFil {
 public:
  explicit FilDe(std::function<void()> corps, int ident = 0) : DFil(ident), corps_(std::move(corps)) {}
  ~FilDe() override = default;
  void Execute() override { corps_(); }
  void Termine() override { termine = true; }
  std::atomic<bool> termine{false};

 private:
  std::function<void()> corps_;
};

// Events in the order threads record them.
class Journal {
 public:
  void Note(const std::string& e) {
    StVerrouilleDMutex verrou(&mutex_);
    evenements_.push_back(e);
  }
  std::vector<std::string> Evenements() {
    StVerrouilleDMutex verrou(&mutex_);
    return evenements_;
  }

 private:
  DMutex mutex_;
  std::vector<std::string> evenements_;
};

void AttendsQue(const std::function<bool()>& condition) {
  const auto limite = Horloge::now() + std::chrono::seconds(20);
  while (!condition() && Horloge::now() < limite) DFil::LachePriorite();
}

TEST(DMutex, RecursifOuSimple) {
  DMutex recursif(DMutex::eMutexRecursif);
  recursif.Verrouille();
  EXPECT_TRUE(recursif.EssaieVerrouille());  // the owner may lock again
  recursif.Deverrouille();
  recursif.Deverrouille();

  DMutex simple;
  simple.Verrouille();
  EXPECT_FALSE(simple.EssaieVerrouille());  // a second lock by the owner would block
  bool autreAObtenu = true;
  FilDe autre([&] { autreAObtenu = simple.EssaieVerrouille(); });
  autre.Debute(DFil::ePrioriteNormale);
  autre.AttendsLaFin();
  EXPECT_FALSE(autreAObtenu);
  simple.Deverrouille();
  EXPECT_TRUE(simple.EssaieVerrouille());
  simple.Deverrouille();
  DMutex autreValeur(static_cast<DMutex::eTypeMutex>(5));  // anything but 1 is simple
  autreValeur.Verrouille();
  EXPECT_FALSE(autreValeur.EssaieVerrouille());
  autreValeur.Deverrouille();
}

TEST(DCondAttente, AttendsTempsNeFaitRienEtAttendsSeReveille) {
  DMutex m;
  DCondAttente c;
  m.Verrouille();
  const auto debut = Horloge::now();
  c.AttendsTemps(m, 5.0f);
  EXPECT_LT(Horloge::now() - debut, std::chrono::seconds(1));
  EXPECT_FALSE(m.EssaieVerrouille());  // still held by us
  m.Deverrouille();

  bool pret = false;
  FilDe signaleur([&] {
    m.Verrouille();
    pret = true;
    c.ReveilTous();
    m.Deverrouille();
  });
  m.Verrouille();
  signaleur.Debute(DFil::ePrioriteNormale);
  while (!pret) c.Attends(m);
  m.Deverrouille();
  signaleur.AttendsLaFin();
  EXPECT_TRUE(pret);
}

TEST(DFil, CourantPrioritesEtFin) {
  EXPECT_EQ(DFil::FilCourant(), nullptr);  // the main thread has no DFil
  DFil* vu = nullptr;
  FilDe fil([&] { vu = DFil::FilCourant(); }, 42);
  EXPECT_EQ(fil.DonneIdent(), 42);
  EXPECT_EQ(fil.DonnePrioritePlateforme(), -1);
  fil.Debute(DFil::ePrioriteHeritee);
  fil.AttendsLaFin();
  EXPECT_EQ(vu, &fil);
  EXPECT_TRUE(fil.termine);  // Termine() ran after Execute()
  EXPECT_TRUE(fil.ATerminay());
  EXPECT_EQ(fil.DonnePrioritePlateforme(), QThread::InheritPriority);
  for (int p : {8, -1}) {
    fil.Debute(static_cast<DFil::ePriorite>(p));  // a new run on a finished DFil
    fil.AttendsLaFin();
    EXPECT_EQ(fil.DonnePrioritePlateforme(), QThread::InheritPriority) << p;
  }
  fil.Debute(DFil::ePrioriteCritique);
  fil.AttendsLaFin();
  EXPECT_EQ(fil.DonnePrioritePlateforme(), QThread::TimeCriticalPriority);
  fil.Debute(DFil::ePrioriteInactive);
  fil.AttendsLaFin();
  EXPECT_EQ(fil.DonnePrioritePlateforme(), QThread::IdlePriority);
  EXPECT_GE(DFil::NbProcesseurs(), 1);
  EXPECT_EQ(DFil::NbProcesseursPhysiques(), DFil::NbProcesseurs());
}

TEST(DFil, Dors) {
  auto debut = Horloge::now();
  DFil::Dors(0.25f);
  const auto duree = Horloge::now() - debut;
  EXPECT_GE(duree, std::chrono::milliseconds(250));
  EXPECT_LT(duree, std::chrono::seconds(5));
  debut = Horloge::now();
  DFil::Dors(0.0009f);  // truncated to 0 ms
  EXPECT_LT(Horloge::now() - debut, std::chrono::milliseconds(200));
}

TEST(DMutexLMRU, LecteursPuisRedacteurPrioritaire) {
  DMutexLMRU verrou;
  Journal journal;
  verrou.VerrouilleLecteur();
  verrou.VerrouilleLecteur();  // read holds nest on one thread
  EXPECT_EQ(verrou.NbLecteurs(), 2);

  std::atomic<bool> redacteurParti{false}, lecteurParti{false};
  FilDe redacteur([&] {
    redacteurParti = true;
    verrou.VerrouilleRedacteur();
    journal.Note("redacteur");
    verrou.DeverrouilleRedacteur();
  });
  FilDe lecteurTardif([&] {
    lecteurParti = true;
    verrou.VerrouilleLecteur();
    journal.Note("lecteur tardif");
    verrou.DeverrouilleLecteur();
  });
  redacteur.Debute(DFil::ePrioriteNormale);
  AttendsQue([&] { return redacteurParti.load(); });
  DFil::Dors(0.3f);  // time for the writer to take the gate and wait for the readers
  lecteurTardif.Debute(DFil::ePrioriteNormale);
  AttendsQue([&] { return lecteurParti.load(); });
  DFil::Dors(0.3f);
  EXPECT_TRUE(journal.Evenements().empty());  // the writer waits for us, the late reader for it
  verrou.DeverrouilleLecteur();
  DFil::Dors(0.1f);
  EXPECT_TRUE(journal.Evenements().empty());  // one read hold is still ours
  verrou.DeverrouilleLecteur();
  redacteur.AttendsLaFin();
  lecteurTardif.AttendsLaFin();
  // Both got in. Their order is not fixed: the writer releases the gate before it takes the
  // writer mutex, and a reader waiting at the gate may slip in during that interval.
  std::vector<std::string> evenements = journal.Evenements();
  std::sort(evenements.begin(), evenements.end());
  EXPECT_EQ(evenements, (std::vector<std::string>{"lecteur tardif", "redacteur"}));
  EXPECT_EQ(verrou.NbLecteurs(), 0);
}

TEST(DMutexLMRU, VerrousDePortee) {
  DMutexLMRU verrou;
  {
    StVerrouilleLecteur lecture(&verrou, true);
    StVerrouilleLecteur inactif(&verrou, false);
    EXPECT_EQ(verrou.NbLecteurs(), 1);
    {
      StDeverrouilleLecteur rendu(&verrou, true);
      EXPECT_EQ(verrou.NbLecteurs(), 0);
      StDeverrouilleLecteur rien(&verrou, false);
      EXPECT_EQ(verrou.NbLecteurs(), 0);
    }
    EXPECT_EQ(verrou.NbLecteurs(), 1);
  }
  EXPECT_EQ(verrou.NbLecteurs(), 0);
  { StVerrouilleRedacteur ecriture(&verrou, true); }
  { StVerrouilleRedacteur rien(&verrou, false); }
  StVerrouilleLecteur apres(&verrou, true);  // the writer left: readers get in
  EXPECT_EQ(verrou.NbLecteurs(), 1);

  DMutex m;
  {
    StVerrouilleDMutexTemp temp(&m);
    EXPECT_FALSE(m.EssaieVerrouille());
    temp.Deverrouille();
    EXPECT_TRUE(m.EssaieVerrouille());  // released early; the destructor leaves it alone
    m.Deverrouille();
  }
  { StVerrouilleDMutex nul(nullptr); }
  EXPECT_TRUE(m.EssaieVerrouille());
  m.Deverrouille();
}

class MessagerCompteur : public DMessagerSurFilCourant {
 public:
  void ExecuteSurFilCourant() override {
    surLeFilPrincipal =
        surLeFilPrincipal && QThread::currentThread() == QCoreApplication::instance()->thread();
    ++executions;
  }
  int executions = 0;
  bool surLeFilPrincipal = true;
};

TEST(DMessagerSurFilCourant, ExecuteSurLeFilQuiLaCree) {
  static int argc = 1;
  static char nom[] = "tests_fils";
  static char* argv[] = {nom, nullptr};
  static QCoreApplication application(argc, argv);
  MessagerCompteur messager;
  FilDe ouvrier([&] {
    messager.LanceExecution();
    messager.LanceExecutionApresDelai(10.0);  // the delay is ignored
    messager.LanceExecution();
    messager.InterrompsExecution();  // withdraws nothing
  });
  ouvrier.Debute(DFil::ePrioriteNormale);
  ouvrier.AttendsLaFin();
  EXPECT_EQ(messager.executions, 0);  // nothing runs until the event loop takes the calls up
  const auto limite = Horloge::now() + std::chrono::seconds(20);
  while (messager.executions < 3 && Horloge::now() < limite) QCoreApplication::processEvents();
  EXPECT_EQ(messager.executions, 3);
  EXPECT_TRUE(messager.surLeFilPrincipal);
}

}  // namespace
}  // namespace sdd
