#include <outils_socle/journaux/CJournal.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <atomic>
#include <climits>

#include <outils_socle/texte/ErreurFichier.h>
#include <outils_socle/texte/Exception.h>

#include "langues/Marque.h"
#include "langues/TraductionBibliotheque.h"
#include "plateforme/Plateforme.h"

namespace sdd {

namespace {

spdlog::level::level_enum NiveauSpdlog(eNiveauJournal niveau) {
  switch (niveau) {
    case eNiveauJournal::eTrace: return spdlog::level::trace;
    case eNiveauJournal::eDebogage: return spdlog::level::debug;
    case eNiveauJournal::eInfo: return spdlog::level::info;
    case eNiveauJournal::eAvertissement: return spdlog::level::warn;
    case eNiveauJournal::eErreur: return spdlog::level::err;
    case eNiveauJournal::eCritique: return spdlog::level::critical;
  }
  return spdlog::level::info;
}

// The whole line in one pass, with the same header as every other journal of the library
// (EntreeJournal.h): spdlog's level names are fixed when spdlog is built, ours are French, and
// one formatter of our own costs less than a pattern of seven flags.
class FormatJournal final : public spdlog::formatter {
 public:
  void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& destination) override {
    static constexpr eNiveauJournal kNiveaux[] = {eNiveauJournal::eTrace,  eNiveauJournal::eDebogage,
                                                  eNiveauJournal::eInfo,   eNiveauJournal::eAvertissement,
                                                  eNiveauJournal::eErreur, eNiveauJournal::eCritique};
    const int64_t millisecondes =
        std::chrono::duration_cast<std::chrono::milliseconds>(message.time.time_since_epoch()).count();
    const eNiveauJournal niveau = kNiveaux[std::clamp(static_cast<int>(message.level), 0, 5)];
    // The date changes once a second: kept, as spdlog's own formatter does (the sink's lock
    // guards this object).
    int64_t seconde = millisecondes / 1000;
    int64_t milli = millisecondes % 1000;
    if (milli < 0) {
      milli += 1000;
      --seconde;
    }
    if (seconde != secondeEnCache_) {
      char enTete[detail::kTailleEnTeteEntree];
      const size_t n = detail::FormateEnTete(seconde * 1000, niveau, 0, enTete);
      dateEnCache_.assign(enTete, std::string_view(enTete, n).find('.') + 1);
      secondeEnCache_ = seconde;
    }
    destination.append(dateEnCache_.data(), dateEnCache_.data() + dateEnCache_.size());
    const char ms[5] = {static_cast<char>('0' + milli / 100), static_cast<char>('0' + milli / 10 % 10),
                        static_cast<char>('0' + milli % 10), '\t', 0};
    destination.append(ms, ms + 4);
    const std::string_view nom = NomNiveauJournal(niveau);
    destination.append(nom.data(), nom.data() + nom.size());
    destination.push_back('\t');
    const spdlog::fmt_lib::format_int fil(message.thread_id);
    destination.append(fil.data(), fil.data() + fil.size());
    destination.push_back('\t');
    destination.append(message.payload.data(), message.payload.data() + message.payload.size());
    destination.push_back('\n');
  }
  std::unique_ptr<spdlog::formatter> clone() const override { return std::make_unique<FormatJournal>(); }

 private:
  int64_t secondeEnCache_ = INT64_MIN;
  std::string dateEnCache_;  // "2026-11-23 14:05:09."
};

}  // namespace

struct CJournal::_Rep {
  std::shared_ptr<spdlog::logger> journal;
  std::string chemin;
  std::atomic<uint64_t> perdues{0};

  void Ecris(spdlog::log_clock::time_point quand, eNiveauJournal niveau, std::string_view texte) {
    // Continuation lines are indented (see EntreeJournal.h); the common case copies nothing.
    if (texte.find('\n') == std::string_view::npos) {
      journal->log(quand, spdlog::source_loc{}, NiveauSpdlog(niveau),
                   spdlog::string_view_t(texte.data(), texte.size()));
      return;
    }
    std::string indente;
    for (const char c : texte) {
      indente += c;
      if (c == '\n') indente += "  ";
    }
    journal->log(quand, spdlog::source_loc{}, NiveauSpdlog(niveau), spdlog::string_view_t(indente));
  }
};

CJournal::CJournal(const UniChemin& chemin, uint64_t tailleMax, int nbAnciens)
    : rep_(std::make_unique<_Rep>()) {
  rep_->chemin = chemin.DonneStdString();
  if (tailleMax == 0)
    throw exceptions::OperationInvalide(detail::Formate(N_("Journal « %s »"), {rep_->chemin}) + " : " +
                                        N_("taille maximale nulle"));
  try {
    auto fichier = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
        rep_->chemin, tailleMax, static_cast<size_t>(std::max(nbAnciens, 0)));
    fichier->set_formatter(std::make_unique<FormatJournal>());
    rep_->journal = std::make_shared<spdlog::logger>(rep_->chemin, std::move(fichier));
  } catch (const spdlog::spdlog_ex& e) {
    // spdlog's text is English and keeps no error number: open the file again to learn it.
    const int fd = plateforme::OuvreFichier(rep_->chemin, plateforme::eAcces::eLectureEcriture);
    if (fd < 0) LanceErreurFichier(rep_->chemin, eOperationFichier::eOuverture);
    plateforme::FermeFichier(fd);
    throw exceptions::OuvertureEchouee(rep_->chemin + " : " + e.what());
  }
  rep_->journal->set_level(spdlog::level::trace);
  rep_->journal->flush_on(spdlog::level::err);
  _Rep* rep = rep_.get();
  rep_->journal->set_error_handler(
      [rep](const std::string&) { rep->perdues.fetch_add(1, std::memory_order_relaxed); });
}

CJournal::~CJournal() { rep_->journal->flush(); }

void CJournal::Ajoute(eNiveauJournal niveau, std::string_view texte) {
  rep_->Ecris(spdlog::log_clock::now(), niveau, texte);
}

void CJournal::Ajoute(eNiveauJournal niveau, const UniChaine& texte) {
  // Not PreteUTF8: the lent buffer belongs to the string, which other threads may be reading.
  Ajoute(niveau, std::string_view(texte.DonneStdString()));
}

void CJournal::Ajoute(const DAlerteInfo& alerte) {
  Ajoute(NiveauPourAlerte(alerte), alerte.DonneMessagePourJournalisation());
}

void CJournal::Ajoute(const EntreeJournal& entree) {
  const auto quand = spdlog::log_clock::time_point(std::chrono::milliseconds(entree.millisecondes));
  rep_->Ecris(quand, entree.niveau, entree.texte);
}

void CJournal::Vide() { rep_->journal->flush(); }

UniChemin CJournal::Chemin() const { return UniChaine(rep_->chemin); }

uint64_t CJournal::NbEntreesPerdues() const { return rep_->perdues.load(std::memory_order_relaxed); }

}  // namespace sdd
