#include <outils_socle/journaux/Traces.h>

#include <map>
#include <mutex>
#include <shared_mutex>

#include <outils_socle/fils/DMutex.h>

#include "plateforme/Plateforme.h"

namespace sdd {

namespace {
constexpr int kAucunSeuil = 1000;  // above every level
}

RecepteurTrace::~RecepteurTrace() = default;

void RecepteurErreurStandard::Recois(const EntreeJournal& entree) {
  const std::string ligne = FormateEntree(entree);
  plateforme::EcrisFichier(2, ligne.data(), ligne.size());
}

RecepteurJournal::RecepteurJournal(eNiveauJournal seuil, std::shared_ptr<CJournal> journal)
    : RecepteurTrace(seuil), journal_(std::move(journal)) {}

void RecepteurJournal::Recois(const EntreeJournal& entree) { journal_->Ajoute(entree); }

RecepteurBoiteNoire::RecepteurBoiteNoire(eNiveauJournal seuil, std::shared_ptr<BoiteNoire> boite)
    : RecepteurTrace(seuil), boite_(std::move(boite)) {}

void RecepteurBoiteNoire::Recois(const EntreeJournal& entree) { boite_->Ajoute(entree); }

RecepteurRappel::RecepteurRappel(eNiveauJournal seuil, std::function<void(const EntreeJournal&)> rappel)
    : RecepteurTrace(seuil), rappel_(std::move(rappel)) {}

void RecepteurRappel::Recois(const EntreeJournal& entree) { rappel_(entree); }

struct Traces::_Rep {
  // Not the threads subsystem's DMutexLMRU: by its contract a reader that slips in while a
  // writer is about to start is let through beside it, and a set must be seen whole or not at
  // all. std::shared_mutex excludes readers from the writer, always.
  mutable std::shared_mutex verrou;
  std::map<int, std::shared_ptr<RecepteurTrace>> recepteurs;  // guarded by verrou
  int prochain = 1;
};

Traces::Traces() : rep_(std::make_unique<_Rep>()), seuilMin_(kAucunSeuil) {}
Traces::~Traces() = default;

int Traces::Ajoute(std::shared_ptr<RecepteurTrace> recepteur) {
  std::unique_lock verrou(rep_->verrou);
  const int numero = rep_->prochain++;
  seuilMin_.store(std::min(seuilMin_.load(), static_cast<int>(recepteur->Seuil())));
  rep_->recepteurs.emplace(numero, std::move(recepteur));
  return numero;
}

bool Traces::Enleve(int numero) {
  std::unique_lock verrou(rep_->verrou);
  if (rep_->recepteurs.erase(numero) == 0) return false;
  int seuil = kAucunSeuil;
  for (const auto& [n, r] : rep_->recepteurs) seuil = std::min(seuil, static_cast<int>(r->Seuil()));
  seuilMin_.store(seuil);
  return true;
}

void Traces::Trace(eNiveauJournal niveau, std::string_view texte) {
  if (!EstUtile(niveau)) return;
  const EntreeJournal entree = EntreeMaintenant(niveau, texte);
  std::shared_lock verrou(rep_->verrou);
  for (const auto& [numero, recepteur] : rep_->recepteurs) {
    if (niveau >= recepteur->Seuil()) recepteur->Recois(entree);
  }
}

void Traces::Trace(const DAlerteInfo& alerte) {
  const eNiveauJournal niveau = NiveauPourAlerte(alerte);
  if (EstUtile(niveau)) Trace(niveau, alerte.DonneMessagePourJournalisation().DonneStdString());
}

Traces& Traces::Globales() {
  // Never destroyed: traces may come from other static objects' destructors.
  static Traces* const globales = new Traces;
  return *globales;
}

}  // namespace sdd
