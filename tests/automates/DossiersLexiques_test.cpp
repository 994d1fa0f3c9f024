#include <outils_socle/automates/DossiersLexiques.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace sdd {
namespace {

// Sets an environment variable for the test's duration, and puts it back.
class Variable {
 public:
  Variable(const char* nom, const char* valeur) : nom_(nom) {
    if (const char* avant = std::getenv(nom)) avant_ = avant;
    if (valeur != nullptr)
      setenv(nom, valeur, 1);
    else
      unsetenv(nom);
  }
  ~Variable() {
    if (avant_)
      setenv(nom_, avant_->c_str(), 1);
    else
      unsetenv(nom_);
  }

 private:
  const char* nom_;
  std::optional<std::string> avant_;
};

TEST(DossiersLexiques, CommeLesReglesXDG) {
  {
    const Variable maison("HOME", "/home/u"), donnees("XDG_DATA_HOME", nullptr),
        systeme("XDG_DATA_DIRS", nullptr);
    EXPECT_EQ(DossierLexiquesUtilisateur(), "/home/u/.local/share/outils-socle/lexiques");
    EXPECT_EQ(DossiersLexiques(), (std::vector<std::string>{"/home/u/.local/share/outils-socle/lexiques",
                                                            "/usr/local/share/outils-socle/lexiques",
                                                            "/usr/share/outils-socle/lexiques"}));
  }
  {
    // A relative XDG_DATA_HOME is ignored; relative and empty entries of XDG_DATA_DIRS too.
    const Variable maison("HOME", "/home/u"), donnees("XDG_DATA_HOME", "relatif"),
        systeme("XDG_DATA_DIRS", "/opt/a/::relatif:/opt/b");
    EXPECT_EQ(DossiersLexiques(),
              (std::vector<std::string>{"/home/u/.local/share/outils-socle/lexiques",
                                        "/opt/a/outils-socle/lexiques", "/opt/b/outils-socle/lexiques"}));
  }
  {
    const Variable maison("HOME", nullptr), donnees("XDG_DATA_HOME", "/d"), systeme("XDG_DATA_DIRS", "/s");
    EXPECT_EQ(DossiersLexiques(),
              (std::vector<std::string>{"/d/outils-socle/lexiques", "/s/outils-socle/lexiques"}));
  }
  {
    const Variable maison("HOME", nullptr), donnees("XDG_DATA_HOME", nullptr), systeme("XDG_DATA_DIRS", "/s");
    EXPECT_EQ(DossierLexiquesUtilisateur(), "");
    EXPECT_EQ(DossiersLexiques(), (std::vector<std::string>{"/s/outils-socle/lexiques"}));
  }
}

}  // namespace
}  // namespace sdd
