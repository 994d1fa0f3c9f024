// Operation queues. Completion is awaited through the queues' own waits or latches; the only
// timed loops are bounded polls that end as soon as their condition holds.
#include <outils_socle/fils/DGestionnaireFils.h>
#include <outils_socle/fils/FileOperations.h>
#include <outils_socle/texte/UniChaine.h>

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace sdd {
namespace {

using Horloge = std::chrono::steady_clock;

TEST(FileOperations, NFoisBornesEtIndices) {
  FileOperations* file = FileOperations::GlobaleDeDefaut();
  EXPECT_EQ(FileOperations::GlobaleDeDefaut(), file);
  std::atomic<int> appels{0};
  file->LanceBlocOperationNFois(0, [&](unsigned long long) { appels++; });
  file->LanceBlocOperationNFois(4294967295ull, [&](unsigned long long) { appels++; });  // -1 as 32 bits
  EXPECT_EQ(appels.load(), 0);
  std::mutex m;
  std::set<unsigned long long> indices;
  file->LanceBlocOperationNFois(3, [&](unsigned long long i) {
    std::lock_guard<std::mutex> verrou(m);
    indices.insert(i);
  });
  EXPECT_EQ(indices, (std::set<unsigned long long>{0, 1, 2}));  // all done on return
  std::atomic<int> beaucoup{0};
  FileOperations::GlobalePrioriteHaute()->LanceBlocOperationNFois(10000,
                                                                  [&](unsigned long long) { beaucoup++; });
  EXPECT_EQ(beaucoup.load(), 10000);
  FileOperations::LibereTout();
}

TEST(FileOperations, VoiePriveeDansLOrdreSansChevauchement) {
  std::vector<int> ordre;
  std::atomic<int> enCours{0}, maxEnCours{0};
  {
    FileOperations voie(UniChaine("voie"));
    for (int i = 0; i < 50; ++i)
      voie.LanceBlocOperation([&, i] {
        const int n = ++enCours;
        int m = maxEnCours.load();
        while (n > m && !maxEnCours.compare_exchange_weak(m, n)) {
        }
        ordre.push_back(i);  // safe: the lane never runs two at once
        std::this_thread::yield();
        --enCours;
      });
    std::atomic<bool> fait{false};
    voie.LanceBlocOperationSync([&] { fait = true; });
    EXPECT_TRUE(fait.load());
  }  // destroying the lane finishes what is queued, then its thread ends
  ASSERT_EQ(ordre.size(), 50u);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(ordre[static_cast<size_t>(i)], i);
  EXPECT_EQ(maxEnCours.load(), 1);
  FileOperations::LibereTout();
}

TEST(FileOperationsInterruptible, SeuleLaDerniereDemandeTourne) {
  FileOperationsInterruptible file(UniChaine("interruptible"));
  std::latch commence(1), libere(1);
  std::atomic<int> premier{0};
  // The lane is kept busy by a first request that waits.
  file.LanceBlocOperation([&](const unsigned int&) {
    premier++;
    commence.count_down();
    libere.wait();
  });
  commence.wait();
  std::atomic<int> derniers{0}, lequel{-1};
  std::latch fin(1);
  for (int i = 0; i < 5; ++i)
    file.LanceBlocOperation([&, i](const unsigned int&) {
      derniers++;
      lequel = i;
      fin.count_down();
    });
  libere.count_down();
  fin.wait();
  std::atomic<bool> barriere{false};
  file.LanceBlocOperation([&](const unsigned int&) { barriere = true; });  // runs after the others
  const auto limite = Horloge::now() + std::chrono::seconds(20);
  while (!barriere && Horloge::now() < limite) std::this_thread::yield();
  EXPECT_EQ(premier.load(), 1);
  EXPECT_EQ(derniers.load(), 1);  // of the burst, only the fifth ran
  EXPECT_EQ(lequel.load(), 4);
  FileOperations::LibereTout();
}

TEST(FileOperationsInterruptible, UnBlocEnCoursVoitLaDemandeSuivante) {
  FileOperationsInterruptible file(UniChaine("interruptible"));
  std::latch commence(1);
  std::atomic<bool> arreteTot{false}, suivant{false};
  file.LanceBlocOperation([&](const unsigned int& demandes) {
    commence.count_down();
    const auto limite = Horloge::now() + std::chrono::seconds(20);
    while (FileOperationsInterruptible::LisDemandes(demandes) == 0 && Horloge::now() < limite)
      std::this_thread::yield();
    arreteTot = FileOperationsInterruptible::LisDemandes(demandes) != 0;
  });
  commence.wait();
  file.LanceBlocOperation([&](const unsigned int&) { suivant = true; });
  const auto limite = Horloge::now() + std::chrono::seconds(20);
  while (!suivant && Horloge::now() < limite) std::this_thread::yield();
  EXPECT_TRUE(arreteTot.load());
  EXPECT_TRUE(suivant.load());
  FileOperations::LibereTout();
}

TEST(OperationUnique, UneSeuleFoisSousConcurrenceEtApresUneErreur) {
  OperationUnique garde;
  std::atomic<int> executions{0};
  std::latch depart(8);
  std::vector<std::thread> fils;
  for (int i = 0; i < 8; ++i)
    fils.emplace_back([&] {
      depart.arrive_and_wait();
      garde([&] { executions++; });
    });
  for (auto& f : fils) f.join();
  EXPECT_EQ(executions.load(), 1);
  EXPECT_TRUE(garde.EstFaite());

  OperationUnique fragile;
  int essais = 0;
  EXPECT_THROW(fragile([&] {
                 ++essais;
                 throw std::runtime_error("première fois");
               }),
               std::runtime_error);
  EXPECT_FALSE(fragile.EstFaite());
  fragile([&] { ++essais; });
  fragile([&] { ++essais; });
  EXPECT_EQ(essais, 2);
  const OperationUnique copie(fragile);
  EXPECT_TRUE(copie.EstFaite());
}

class Compteur : public Operation {
 public:
  void Execute() override { fois++; }
  std::atomic<int> fois{0};
};

TEST(GroupeOperations, AttendEtAvertit) {
  GroupeOperations vide;
  vide.AttendreLaFinDesOperations();  // nothing outstanding: returns at once
  Compteur operation;
  std::atomic<int> faits{0};
  std::atomic<int> vusALaFin{-1};
  std::latch averti(1);
  {
    GroupeOperations groupe;
    FileOperations* file = FileOperations::GlobaleDeDefaut();
    for (int i = 0; i < 200; ++i) groupe.AjouteOperationBloc(file, [&] { faits++; });
    groupe.AjouteOperation(file, &operation);
    groupe.AvertirOperationBlocALaFinDesOperations(file, [&] {
      vusALaFin = faits.load();
      averti.count_down();
    });
    groupe.AttendreLaFinDesOperations();
    EXPECT_EQ(faits.load(), 200);
    EXPECT_EQ(operation.fois.load(), 1);
    averti.wait();
  }
  EXPECT_EQ(vusALaFin.load(), 200);
  OperationUnique garde;
  operation.LanceUneSeuleFois(&garde);
  operation.LanceUneSeuleFois(&garde);
  EXPECT_EQ(operation.fois.load(), 2);  // once by the group, once through the guard
  FileOperations::LibereTout();
}

TEST(FileOperations, FilPrincipalEtMinuteur) {
  static int argc = 1;
  static char nom[] = "tests_fils";
  static char* argv[] = {nom, nullptr};
  static QCoreApplication application(argc, argv);
  FileOperations* principale = FileOperations::Principale();
  std::atomic<int> surPrincipal{0}, ailleurs{0};
  std::thread ouvrier([&] {
    for (int i = 0; i < 3; ++i)
      principale->LanceBlocOperation(
          [&] { (QThread::currentThread() == application.thread() ? surPrincipal : ailleurs)++; });
  });
  ouvrier.join();
  EXPECT_EQ(surPrincipal.load(), 0);  // nothing until the event loop turns
  std::atomic<bool> minuteur{false};
  principale->LanceBlocOperationApresTemps(0.0005, [&] { minuteur = true; });  // a 0 ms timer
  EXPECT_FALSE(minuteur.load());
  const auto limite = Horloge::now() + std::chrono::seconds(20);
  while ((surPrincipal < 3 || !minuteur) && Horloge::now() < limite) QCoreApplication::processEvents();
  EXPECT_EQ(surPrincipal.load(), 3);
  EXPECT_EQ(ailleurs.load(), 0);
  EXPECT_TRUE(minuteur.load());
  FileOperations::LibereTout();
}

}  // namespace
}  // namespace sdd
