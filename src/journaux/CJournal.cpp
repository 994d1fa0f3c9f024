#include <outils_socle/journaux/CJournal.h>

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <atomic>

#include <outils_socle/texte/Exception.h>

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

// spdlog's level names are fixed when spdlog is built; ours are French, so they come from a
// pattern flag of our own.
class NomDeNiveau final : public spdlog::custom_flag_formatter {
 public:
  void format(const spdlog::details::log_msg& message, const std::tm&,
              spdlog::memory_buf_t& destination) override {
    static constexpr eNiveauJournal kNiveaux[] = {eNiveauJournal::eTrace,  eNiveauJournal::eDebogage,
                                                  eNiveauJournal::eInfo,   eNiveauJournal::eAvertissement,
                                                  eNiveauJournal::eErreur, eNiveauJournal::eCritique};
    const int i = std::clamp(static_cast<int>(message.level), 0, 5);
    const std::string_view nom = NomNiveauJournal(kNiveaux[i]);
    destination.append(nom.data(), nom.data() + nom.size());
  }
  std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<NomDeNiveau>(); }
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
    throw exceptions::OperationInvalide("Journal « " + rep_->chemin + " » : taille maximale nulle");
  try {
    auto fichier = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
        rep_->chemin, tailleMax, static_cast<size_t>(std::max(nbAnciens, 0)));
    auto format =
        std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::utc, std::string("\n"));
    format->add_flag<NomDeNiveau>('*').set_pattern("%Y-%m-%d %H:%M:%S.%e\t%*\t%t\t%v");
    fichier->set_formatter(std::move(format));
    rep_->journal = std::make_shared<spdlog::logger>(rep_->chemin, std::move(fichier));
  } catch (const spdlog::spdlog_ex& e) {
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
