#include "automates/ResumesEtats.h"

#include <algorithm>
#include <cstring>

#include <outils_socle/automates/ProbabiliteTransformation.h>
#include <outils_socle/texte/UniCaractere.h>

namespace sdd::detail {

uint32_t ResumesEtats::Classe(char16_t c) {
  const char16_t p = UniCaractere::NormaliseVarianteMinusculiseSansAccent(c);
  if (p >= u'a' && p <= u'z') return p - u'a';
  return 26 + p % 38;
}

template <int A>
std::unique_ptr<const ResumesEtats> ResumesEtats::Calcule(const LecteurAutomate<A>& l) {
  using L = LecteurAutomate<A>;
  std::unique_ptr<ResumesEtats> r(new ResumesEtats);
  // Without parent lists every state has an even size with 3-byte addresses (2 + 8 per
  // transition), with them too (2 + 8 per parent): one bit per even byte is enough.
  r->pas_ = A == 3 ? 1 : 0;
  const uint64_t impair = (uint64_t{1} << r->pas_) - 1;
  const uint64_t nbMots = ((l.TailleZone() >> r->pas_) >> 6) + 1;
  std::vector<uint64_t> debuts(nbMots, 0);
  auto marque = [&](uint64_t adresse) {
    const uint64_t bit = adresse >> r->pas_;
    uint64_t& mot = debuts[bit >> 6];
    const uint64_t masque = uint64_t{1} << (bit & 63);
    const bool nouveau = (mot & masque) == 0;
    mot |= masque;
    return nouveau;
  };
  try {
    // Every state reachable from the root, each once. LisEtat and Cible check what every walk
    // checks (inside the area, targets before sources), so this ends on any bytes.
    if ((l.Racine() & impair) != 0) return nullptr;
    std::vector<uint64_t> pile{l.Racine()};
    marque(l.Racine());
    while (!pile.empty()) {
      const auto e = l.LisEtat(pile.back());
      pile.pop_back();
      for (uint32_t k = 0; k < e.nb; ++k) {
        const uint64_t cible = L::Cible(e, e.transitions + k * L::kOctetsTransition);
        if ((cible & impair) != 0) return nullptr;  // damage: a target inside a state
        if (marque(cible)) pile.push_back(cible);
      }
    }
  } catch (const exceptions::Exception&) {
    return nullptr;
  }

  r->mots_.resize(nbMots);
  uint64_t nbEtats = 0;
  for (uint64_t m = 0; m < nbMots; ++m) {
    r->mots_[m] = {static_cast<uint32_t>(nbEtats), static_cast<uint32_t>(debuts[m]),
                   static_cast<uint32_t>(debuts[m] >> 32)};
    nbEtats += static_cast<uint64_t>(std::popcount(debuts[m]));
  }
  r->resumes_.resize(nbEtats * kOctetsResume);

  // In address order: a state's targets lie before it, so their summaries are ready.
  std::vector<uint64_t> vus(1024, 0);  // the characters met, one bit each
  uint64_t rang = 0;
  for (uint64_t m = 0; m < nbMots; ++m) {
    for (uint64_t bits = debuts[m]; bits != 0; bits &= bits - 1, ++rang) {
      const uint64_t adresse = (m * 64 + static_cast<uint64_t>(std::countr_zero(bits))) << r->pas_;
      const auto e = l.LisEtat(adresse);  // already read once: cannot throw
      uint32_t court = e.final ? 0 : kLongueurInconnue, long_ = 0;
      uint64_t classes = 0;
      for (uint32_t k = 0; k < e.nb; ++k) {
        const uint8_t* t = e.transitions + k * L::kOctetsTransition;
        const char16_t c = L::Car(t);
        const Resume enfant = r->Lis(L::Cible(e, t));
        court = std::min<uint32_t>(court, std::min<uint32_t>(enfant.longueurMin + 1u, kLongueurInconnue - 1));
        long_ =
            enfant.longueurMax == kLongueurInconnue
                ? kLongueurInconnue
                : std::max<uint32_t>(long_, std::min<uint32_t>(enfant.longueurMax + 1u, kLongueurInconnue));
        classes |= enfant.classes | uint64_t{1} << Classe(c);
        vus[c >> 6] |= uint64_t{1} << (c & 63);
      }
      uint8_t* resume = &r->resumes_[rang * kOctetsResume];
      std::memcpy(resume, &classes, 8);
      resume[8] = static_cast<uint8_t>(court);
      resume[9] = static_cast<uint8_t>(long_);
    }
  }
  for (uint32_t m = 0; m < vus.size(); ++m) {
    for (uint64_t bits = vus[m]; bits != 0; bits &= bits - 1) {
      r->alphabet_.push_back(static_cast<char16_t>(m * 64 + static_cast<uint32_t>(std::countr_zero(bits))));
    }
  }
  return r;
}

template std::unique_ptr<const ResumesEtats> ResumesEtats::Calcule(const LecteurAutomate<3>&);
template std::unique_ptr<const ResumesEtats> ResumesEtats::Calcule(const LecteurAutomate<4>&);

// Beyond a few hundred characters (a lexicon of ideographs) the pairs would cost more than the
// floors save: no floor is then remembered.
constexpr size_t kAlphabetMaxPlanchers = 512;

const ResumesEtats::Planchers& ResumesEtats::PlanchersFrancais() const {
  std::call_once(planchersCalcules_, [&] {
    if (alphabet_.size() > kAlphabetMaxPlanchers) return;
    const ProbabiliteTransformation& modele = ProbabiliteTransformation::Francais();
    uint32_t insertion = UINT32_MAX;
    for (const char16_t c : alphabet_) {
      insertion = std::min(insertion, modele.CoutInsertion(c, 0));
      for (const char16_t precedent : alphabet_)
        insertion = std::min(insertion, modele.CoutInsertion(c, precedent));
      // One pass over the pairs gives both floors and the table.
      const bool table = alphabet_.size() <= kAlphabetMaxCouts;
      const uint32_t classe = Classe(c);
      uint32_t autreClasse = UINT32_MAX, autre = UINT32_MAX;
      for (const char16_t d : alphabet_) {
        const uint32_t cout = d != c ? modele.CoutSubstitution(c, d) : 0;
        if (d != c) autre = std::min(autre, cout);
        if (Classe(d) != classe) autreClasse = std::min(autreClasse, cout);
        if (table) planchersFrancais_.couts.push_back(cout);
      }
      planchersFrancais_.substitutions.push_back(autreClasse);
      planchersFrancais_.autres.push_back(autre);
    }
    planchersFrancais_.insertion = insertion == UINT32_MAX ? 0 : insertion;
  });
  return planchersFrancais_;
}

uint32_t ResumesEtats::CalculeSubstitutionMinimale(const ProbabiliteTransformation& modele,
                                                   char16_t tape) const {
  if (alphabet_.size() > kAlphabetMaxPlanchers) return 0;
  const uint32_t classe = Classe(tape);
  uint32_t plancher = UINT32_MAX;
  for (const char16_t c : alphabet_) {
    if (Classe(c) != classe) plancher = std::min(plancher, modele.CoutSubstitution(tape, c));
  }
  return plancher;
}

uint32_t ResumesEtats::InsertionMinimale(const ProbabiliteTransformation& modele) const {
  return &modele == &ProbabiliteTransformation::Francais() ? PlanchersFrancais().insertion : 0;
}

uint32_t ResumesEtats::SubstitutionMinimale(const ProbabiliteTransformation& modele, char16_t tape) const {
  if (&modele == &ProbabiliteTransformation::Francais()) {
    const auto k = std::lower_bound(alphabet_.begin(), alphabet_.end(), tape);
    const Planchers& p = PlanchersFrancais();
    if (k != alphabet_.end() && *k == tape && !p.substitutions.empty()) {
      return p.substitutions[static_cast<size_t>(k - alphabet_.begin())];
    }
  }
  return CalculeSubstitutionMinimale(modele, tape);
}

const uint32_t* ResumesEtats::CoutsSubstitution(const ProbabiliteTransformation& modele,
                                                char16_t tape) const {
  if (&modele != &ProbabiliteTransformation::Francais()) return nullptr;
  const Planchers& p = PlanchersFrancais();
  const int k = RangAlphabet(tape);
  if (p.couts.empty() || k < 0) return nullptr;
  return &p.couts[static_cast<size_t>(k) * alphabet_.size()];
}

uint32_t ResumesEtats::SubstitutionMinimaleAutre(const ProbabiliteTransformation& modele,
                                                 char16_t tape) const {
  if (&modele != &ProbabiliteTransformation::Francais()) return 0;
  const Planchers& p = PlanchersFrancais();
  if (p.autres.empty()) return 0;
  const int k = RangAlphabet(tape);
  if (k >= 0) return p.autres[static_cast<size_t>(k)];
  uint32_t autre = UINT32_MAX;  // a typed character no form holds: every character is another
  for (const char16_t c : alphabet_) autre = std::min(autre, modele.CoutSubstitution(tape, c));
  return autre;
}

}  // namespace sdd::detail
