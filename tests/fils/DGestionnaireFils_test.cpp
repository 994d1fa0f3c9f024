// The thread manager. Orders are asserted through recorded events and latches; the only waits
// on time are bounded polls for the pool's size, which end as soon as it is reached.
#include <outils_socle/fils/DGestionnaireFils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "fils/FilesPriorite.h"

namespace sdd {
namespace {

using Horloge = std::chrono::steady_clock;

std::string Ordre(detail::FilesPriorite<char>& files, size_t n) {
  std::string ordre;
  for (size_t i = 0; i < n; ++i) ordre += files.Prends();
  return ordre;
}

TEST(FilesPriorite, CinqHautesPuisUneBasse) {
  detail::FilesPriorite<char> files;
  for (int i = 0; i < 20; ++i) files.Ajoute('H', 0);
  for (int i = 0; i < 20; ++i) files.Ajoute('L', 2);
  EXPECT_EQ(Ordre(files, 40), "HHHHHLHHHHHLHHHHHLHHHHHLLLLLLLLLLLLLLLLL");
  EXPECT_TRUE(files.SontVides());
}

TEST(FilesPriorite, DefautSeulDansLOrdreEtPrioritesInconnues) {
  detail::FilesPriorite<int> files;
  for (int i = 0; i < 12; ++i) files.Ajoute(i, i % 2 ? 1 : 7);  // 7 counts as default
  for (int i = 0; i < 12; ++i) EXPECT_EQ(files.Prends(), i);
  EXPECT_EQ(detail::FilesPriorite<int>::Normalise(-1), 1);
  EXPECT_EQ(detail::FilesPriorite<int>::Normalise(2), 2);
}

TEST(FilesPriorite, TroisNiveaux) {
  detail::FilesPriorite<char> files;
  for (int i = 0; i < 7; ++i) files.Ajoute('H', 0);
  for (int i = 0; i < 7; ++i) files.Ajoute('D', 1);
  for (int i = 0; i < 3; ++i) files.Ajoute('L', 2);
  // After five highs a default gets a turn; after five defaults in a row, a low one.
  EXPECT_EQ(Ordre(files, 17), "HHHHHDHHDDDDLDDLL");
}

void AttendsNbFils(DGestionnaireFils* g, int attendu) {
  const auto limite = Horloge::now() + std::chrono::seconds(30);
  while (g->NbFils() != attendu && Horloge::now() < limite)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

TEST(DGestionnaireFils, ExecuteTousLesBlocsEtSArreteProprement) {
  DGestionnaireFils* g = DGestionnaireFils::Instance();
  EXPECT_EQ(DGestionnaireFils::Instance(), g);
  const int attendu = std::max(5, 2 * static_cast<int>(std::thread::hardware_concurrency()));
  EXPECT_EQ(g->NbFils(), attendu);
  constexpr int kBlocs = 20000;
  std::atomic<int> faits{0};
  std::latch fin(kBlocs);
  for (int i = 0; i < kBlocs; ++i)
    g->post(
        [&] {
          faits.fetch_add(1);
          fin.count_down();
        },
        static_cast<DGestionnaireFils::ePriorite>(i % 3));
  fin.wait();
  EXPECT_EQ(faits.load(), kBlocs);
  DGestionnaireFils::LibereInstance();
  // A fresh pool after the release.
  DGestionnaireFils* nouveau = DGestionnaireFils::Instance();
  std::latch un(1);
  nouveau->post([&] { un.count_down(); }, static_cast<DGestionnaireFils::ePriorite>(7));
  un.wait();
  DGestionnaireFils::LibereInstance();
}

TEST(DGestionnaireFils, LaSurveillanceRemplaceUnFilBloque) {
  EXPECT_EQ(DGestionnaireFils::IntervalleSurveillance(), std::chrono::milliseconds(25000));
  DGestionnaireFils::MetsIntervalleSurveillance(std::chrono::milliseconds(100));
  DGestionnaireFils* g = DGestionnaireFils::Instance();
  const int depart = g->NbFils();
  std::latch commence(1), libere(1);
  g->post([&] {
    commence.count_down();
    libere.wait();  // outlasts the watchdog
  });
  commence.wait();
  AttendsNbFils(g, depart + 1);
  EXPECT_EQ(g->NbFils(), depart + 1);  // a fresh worker took the blocked one's place
  libere.count_down();
  AttendsNbFils(g, depart);
  EXPECT_EQ(g->NbFils(), depart);  // the blocked worker left once its block returned
  // The pool still works; workers past their expiry are marked at their next block and replaced,
  // so the pool never shrinks below its size (a worker marked just after its block stays until
  // its next one, hence no exact count here).
  std::latch encore(50);
  for (int i = 0; i < 50; ++i) g->post([&] { encore.count_down(); });
  encore.wait();
  EXPECT_GE(g->NbFils(), depart);
  DGestionnaireFils::LibereInstance();
  DGestionnaireFils::MetsIntervalleSurveillance(std::chrono::milliseconds(25000));
}

TEST(DGestionnaireFils, LArretAttendLesBlocsEnCoursPuisPlusRienNeTourne) {
  DGestionnaireFils* g = DGestionnaireFils::Instance();
  const int n = g->NbFils();
  std::latch occupes(n), libere(1);
  std::atomic<int> finis{0};
  for (int i = 0; i < n; ++i)
    g->post([&] {
      occupes.count_down();
      libere.wait();
      finis.fetch_add(1);
    });
  occupes.wait();  // every worker is busy
  std::atomic<int> tardifs{0};
  for (int i = 0; i < 100; ++i) g->post([&] { tardifs.fetch_add(1); });
  std::thread liberateur([&] { libere.count_down(); });
  DGestionnaireFils::LibereInstance();  // waits for the running blocks and joins every thread
  liberateur.join();
  EXPECT_EQ(finis.load(), n);
  // Every thread is joined: nothing can run any more, whatever was still queued.
  const int apres = tardifs.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(tardifs.load(), apres);
}

}  // namespace
}  // namespace sdd
