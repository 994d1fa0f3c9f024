#include <outils_socle/journaux/BoiteNoire.h>
#include <outils_socle/journaux/CJournal.h>
#include <outils_socle/journaux/Traces.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <thread>

#include "commun/Exceptions.h"
#include "commun/Octets.h"

namespace sdd {
namespace {

std::string Lis(const std::string& chemin) {
  std::ifstream f(chemin, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

std::vector<std::string> Lignes(const std::string& texte) {
  std::vector<std::string> lignes;
  std::istringstream s(texte);
  for (std::string l; std::getline(s, l);) lignes.push_back(l);
  return lignes;
}

const std::regex kLigne(
    R"(^(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})\t(TRACE|DÉBOGAGE|INFO|AVERTISSEMENT|ERREUR|CRITIQUE)\t(\d+)\t(.*)$)");

// The header's date against the C library's gmtime, over four centuries of instants either
// side of 1970, leap days and negative times included.
TEST(EntreeJournal, DateCommeGmtime) {
  std::mt19937_64 alea(7);
  std::vector<int64_t> instants = {
      0, -1, 951782400000, 951868799999, 4107542400000, -30610224000000, 253402300799999};
  for (int i = 0; i < 20000; ++i)
    instants.push_back(static_cast<int64_t>(alea() % 25000000000000ULL) - 12500000000000LL);
  for (const int64_t ms : instants) {
    const time_t secondes = static_cast<time_t>(ms >= 0 ? ms / 1000 : (ms - 999) / 1000);
    std::tm tm{};
    gmtime_r(&secondes, &tm);
    char attendu[64];
    const size_t n = std::strftime(attendu, sizeof attendu, "%Y-%m-%d %H:%M:%S", &tm);
    char obtenu[detail::kTailleEnTeteEntree];
    const size_t m = detail::FormateEnTete(ms, eNiveauJournal::eInfo, 12, obtenu);
    const int millis = static_cast<int>(((ms % 1000) + 1000) % 1000);
    char suite[32];
    std::snprintf(suite, sizeof suite, ".%03d\tINFO\t12\t", millis);
    ASSERT_EQ(std::string(obtenu, m), std::string(attendu, n) + suite) << ms;
  }
  EXPECT_EQ(FormateEntree(EntreeJournal{0, eNiveauJournal::eDebogage, 5, "a\nb"}),
            "1970-01-01 00:00:00.000\tDÉBOGAGE\t5\ta\n  b\n");
}

// Four threads write past the cap many times over: every entry is in exactly one file, whole,
// on a line of its own, and no file is over the cap.
TEST(CJournal, RotationSousQuatreFils) {
  essais::DossierTemporaire dossier;
  const std::string chemin = dossier / "journal.log";
  constexpr uint64_t kCap = 16 * 1024;
  constexpr int kParFil = 3000;
  {
    CJournal journal(chemin, kCap, 1000);
    std::vector<std::thread> fils;
    for (int f = 0; f < 4; ++f)
      fils.emplace_back([&, f] {
        for (int i = 0; i < kParFil; ++i) {
          // Lengths vary so that rotations fall at every place in a line.
          journal.Ajoute(eNiveauJournal::eInfo, "fil " + std::to_string(f) + " entrée " + std::to_string(i) +
                                                    " " + std::string(static_cast<size_t>(i % 97), 'x') +
                                                    " fin");
        }
      });
    for (std::thread& t : fils) t.join();
    EXPECT_EQ(journal.NbEntreesPerdues(), 0u);
  }
  std::map<std::pair<int, int>, int> vues;
  int fichiers = 0;
  for (const auto& e : std::filesystem::directory_iterator(dossier / "")) {
    ++fichiers;
    const std::string contenu = Lis(e.path().string());
    EXPECT_LE(contenu.size(), kCap) << e.path();
    ASSERT_FALSE(contenu.empty());
    EXPECT_EQ(contenu.back(), '\n');
    for (const std::string& ligne : Lignes(contenu)) {
      std::smatch m;
      ASSERT_TRUE(std::regex_match(ligne, m, kLigne)) << ligne;
      int f = -1, i = -1;
      const std::string texte = m[4];
      ASSERT_EQ(std::sscanf(texte.c_str(), "fil %d entrée %d", &f, &i), 2) << ligne;
      ASSERT_EQ(texte, "fil " + std::to_string(f) + " entrée " + std::to_string(i) + " " +
                           std::string(static_cast<size_t>(i % 97), 'x') + " fin");
      ++vues[{f, i}];
    }
  }
  EXPECT_GT(fichiers, 20);
  EXPECT_EQ(vues.size(), 4u * kParFil);
  for (const auto& [clef, n] : vues) ASSERT_EQ(n, 1) << clef.first << " " << clef.second;
}

TEST(CJournal, GardeLesAnciensDemandesEtAlertesTellesQuelles) {
  essais::DossierTemporaire dossier;
  const std::string chemin = dossier / "j.log";
  {
    CJournal journal(chemin, 200, 2);
    for (int i = 0; i < 20; ++i)
      journal.Ajoute(eNiveauJournal::eAvertissement, "entrée " + std::to_string(i));
    journal.Ajoute(eNiveauJournal::eInfo, std::string(500, 'L'));  // longer than the cap: alone
    const DAlerteInfo alerte(DAlerteInfo::eAlerte, "Fichier illisible", "Le disque a refusé", "Titre");
    journal.Ajoute(alerte);
    journal.Ajoute(eNiveauJournal::eInfo, UniChaine("deux\nlignes"));
    journal.Vide();
    // The file's lines are those of FormateEntree, stamp for stamp.
    const EntreeJournal datee{951782400123, eNiveauJournal::eCritique, gettid(), "le 29 février 2000"};
    CJournal autre(dossier / "autre/a.log", 1000, 0);
    autre.Ajoute(datee);
    autre.Vide();
    EXPECT_EQ(Lis(dossier / "autre/a.log"), FormateEntree(datee));
    const std::vector<std::string> dernier = Lignes(Lis(chemin));
    ASSERT_EQ(dernier.size(), 3u);
    std::smatch m;
    ASSERT_TRUE(std::regex_match(dernier[0], m, kLigne));
    EXPECT_EQ(m[2], "ERREUR");
    EXPECT_EQ(m[4], alerte.DonneMessagePourJournalisation().DonneStdString());
    EXPECT_EQ(dernier[2], "  lignes");
    EXPECT_EQ(Lis(dossier / "j.1.log").size(), 500u + 24 + 1 + 4 + std::to_string(getpid()).size() + 2);
  }
  int fichiers = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(dossier / "")) ++fichiers;
  EXPECT_EQ(fichiers, 4);  // j.log, j.1.log, j.2.log and autre/
  EXPECT_NE(Lis(dossier / "j.2.log").find("entrée 19"), std::string::npos);

  // Missing folders are created; a folder that is a file cannot be.
  CJournal(dossier / "nouveau/dossier/j.log", 100, 1).Ajoute(eNiveauJournal::eInfo, "créé");
  EXPECT_NE(Lis(dossier / "nouveau/dossier/j.log").find("créé"), std::string::npos);
  EXPECT_THROW(CJournal(dossier / "j.log/j.log", 100, 1), exceptions::OuvertureEchouee);
  EXPECT_THROW(CJournal(dossier / "k.log", 0, 1), exceptions::OperationInvalide);
}

TEST(BoiteNoire, GardeLesDernieresDansLOrdre) {
  essais::DossierTemporaire dossier;
  BoiteNoire boite(5);  // rounded up to 8
  EXPECT_EQ(boite.Capacite(), 8u);
  for (int i = 0; i < 20; ++i) boite.Ajoute(eNiveauJournal::eInfo, "n" + std::to_string(i));
  // 223 ASCII bytes then "é": the cut falls inside it and backs off to 223.
  boite.Ajoute(eNiveauJournal::eCritique, std::string(223, 'a') + "é" + std::string(50, 'b'));
  boite.Ajoute(eNiveauJournal::eTrace, "x\ny");
  EXPECT_EQ(boite.Ecris(dossier / "b.txt"), 8u);
  const std::vector<std::string> lignes = Lignes(Lis(dossier / "b.txt"));
  ASSERT_EQ(lignes.size(), 9u);
  std::smatch m;
  for (int i = 0; i < 6; ++i) {
    ASSERT_TRUE(std::regex_match(lignes[static_cast<size_t>(i)], m, kLigne));
    EXPECT_EQ(m[4], "n" + std::to_string(i + 14));
    EXPECT_EQ(m[3], std::to_string(gettid()));
  }
  ASSERT_TRUE(std::regex_match(lignes[6], m, kLigne));
  EXPECT_EQ(m[4], std::string(223, 'a'));
  EXPECT_EQ(lignes[8], "  y");
  EXPECT_EQ(boite.NbAjouts(), 22u);
}

// Writers fill the ring many times over while a reader writes it out: every line written is a
// whole entry of one writer (the seqlock at work; ThreadSanitizer watches the atomics).
TEST(BoiteNoire, EcritePendantQueLesFilsAjoutent) {
  essais::DossierTemporaire dossier;
  BoiteNoire boite(64);
  std::atomic<bool> fin{false};
  std::vector<std::thread> fils;
  for (int f = 0; f < 3; ++f)
    fils.emplace_back([&, f] {
      for (int i = 0; !fin; ++i) {
        const char c = static_cast<char>('a' + f);
        boite.Ajoute(eNiveauJournal::eInfo, std::string(static_cast<size_t>(10 + i % 200), c));
      }
    });
  while (boite.NbAjouts() < 10000) std::this_thread::yield();
  int lignes = 0;
  for (int tour = 0; tour < 200; ++tour) {
    boite.Ecris(dossier / "b.txt");
    for (const std::string& ligne : Lignes(Lis(dossier / "b.txt"))) {
      std::smatch m;
      ASSERT_TRUE(std::regex_match(ligne, m, kLigne)) << ligne;
      const std::string texte = m[4];
      ASSERT_EQ(texte.find_first_not_of(texte[0]), std::string::npos) << texte;
      ++lignes;
    }
  }
  fin = true;
  for (std::thread& t : fils) t.join();
  EXPECT_GT(lignes, 0);
}

// A child process fills its black box and dies of a fault: the box is on disk, and the child
// died of the signal (under AddressSanitizer, whose handler comes after ours, it exits instead).
void MeurtAvecBoiteNoire(const std::string& chemin, int signal) {
  const pid_t enfant = fork();
  ASSERT_GE(enfant, 0);
  if (enfant == 0) {
    BoiteNoire boite(16);
    boite.InstalleSurSignauxFatals(chemin);
    for (int i = 0; i < 40; ++i) boite.Ajoute(eNiveauJournal::eInfo, "avant la chute " + std::to_string(i));
    if (signal == SIGSEGV) {
      // A real fault, but not one the undefined-behaviour sanitizer intercepts first (as it
      // does a store through a null pointer): a write to a page mapped without access.
      void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      *static_cast<volatile int*>(page) = 1;
    }
    std::abort();
  }
  int etat = 0;
  ASSERT_EQ(waitpid(enfant, &etat, 0), enfant);
#if defined(__SANITIZE_ADDRESS__)
  EXPECT_TRUE(WIFSIGNALED(etat) || (WIFEXITED(etat) && WEXITSTATUS(etat) != 0));
#else
  ASSERT_TRUE(WIFSIGNALED(etat));
  EXPECT_EQ(WTERMSIG(etat), signal);
#endif
  const std::vector<std::string> lignes = Lignes(Lis(chemin));
  ASSERT_EQ(lignes.size(), 16u);
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lignes.back(), m, kLigne));
  EXPECT_EQ(m[4], "avant la chute 39");
}

TEST(BoiteNoire, EcriteParUnEnfantTueParSIGSEGV) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "ThreadSanitizer takes every SIGSEGV for itself and aborts before any handler";
#endif
  essais::DossierTemporaire dossier;
  MeurtAvecBoiteNoire(dossier / "segv.txt", SIGSEGV);
}

TEST(BoiteNoire, EcriteParUnEnfantQuiAbandonne) {
  essais::DossierTemporaire dossier;
  MeurtAvecBoiteNoire(dossier / "abrt.txt", SIGABRT);
}

TEST(BoiteNoire, UneSeuleInstallee) {
  essais::DossierTemporaire dossier;
  BoiteNoire a, b;
  a.InstalleSurSignauxFatals(dossier / "a");
  EXPECT_THROW(b.InstalleSurSignauxFatals(dossier / "b"), exceptions::OperationInvalide);
  a.DesinstalleSignaux();
  b.InstalleSurSignauxFatals(dossier / "b");
  EXPECT_THROW(a.InstalleSurSignauxFatals(std::string(5000, 'x')), exceptions::OuvertureEchouee);
}

TEST(Traces, ChaqueRecepteurAuDessusDeSonSeuil) {
  essais::DossierTemporaire dossier;
  Traces traces;
  EXPECT_FALSE(traces.EstUtile(eNiveauJournal::eCritique));
  std::vector<std::string> avertis, tous;
  traces.Ajoute(
      std::make_shared<RecepteurRappel>(eNiveauJournal::eAvertissement, [&](const EntreeJournal& e) {
        avertis.push_back(std::string(NomNiveauJournal(e.niveau)) + ":" + std::string(e.texte));
      }));
  const int n = traces.Ajoute(std::make_shared<RecepteurRappel>(
      eNiveauJournal::eTrace, [&](const EntreeJournal& e) { tous.emplace_back(e.texte); }));
  auto journal = std::make_shared<CJournal>(dossier / "t.log", 1 << 20, 1);
  traces.Ajoute(std::make_shared<RecepteurJournal>(eNiveauJournal::eErreur, journal));
  auto boite = std::make_shared<BoiteNoire>(8);
  traces.Ajoute(std::make_shared<RecepteurBoiteNoire>(eNiveauJournal::eDebogage, boite));

  traces.Trace(eNiveauJournal::eTrace, "t");
  traces.Trace(eNiveauJournal::eInfo, "i");
  traces.Trace(DAlerteInfo(DAlerteInfo::eAlerte, "m", "e", "T"));
  EXPECT_EQ(tous.size(), 3u);
  ASSERT_EQ(avertis.size(), 1u);
  EXPECT_EQ(
      avertis[0],
      "ERREUR:" +
          DAlerteInfo(DAlerteInfo::eAlerte, "m", "e", "T").DonneMessagePourJournalisation().DonneStdString());
  EXPECT_EQ(boite->NbAjouts(), 2u);
  journal->Vide();
  EXPECT_EQ(Lignes(Lis(dossier / "t.log")).size(), 1u);
  EXPECT_TRUE(traces.Enleve(n));
  EXPECT_FALSE(traces.Enleve(n));
  EXPECT_FALSE(traces.EstUtile(eNiveauJournal::eTrace));
  EXPECT_TRUE(traces.EstUtile(eNiveauJournal::eDebogage));
}

TEST(Traces, ErreurStandardUneLigneParEntree) {
  essais::DossierTemporaire dossier;
  const int sauve = dup(2);
  const int fichier = open((dossier / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  dup2(fichier, 2);
  {
    Traces traces;
    traces.Ajoute(std::make_shared<RecepteurErreurStandard>(eNiveauJournal::eInfo));
    traces.Trace(eNiveauJournal::eDebogage, "caché");
    traces.Trace(eNiveauJournal::eInfo, "montré");
  }
  dup2(sauve, 2);
  close(sauve);
  close(fichier);
  const std::vector<std::string> lignes = Lignes(Lis(dossier / "err"));
  ASSERT_EQ(lignes.size(), 1u);
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lignes[0], m, kLigne));
  EXPECT_EQ(m[4], "montré");
}

}  // namespace
}  // namespace sdd
