// A program outside the project, built against the installed library.
#include <outils_socle/OutilsSocle.h>

#include <cstdio>

int main() {
  const sdd::ChaineN texte("é", sdd::ChaineN::kCodageUTF8);
  uint64_t n = 0;
  const char* octets = texte.PreteUTF8(0, nullptr, &n);
  std::printf("%s ->", octets);
  for (uint64_t i = 0; i < n; ++i) std::printf(" %02X", static_cast<unsigned char>(octets[i]));
  std::printf("\n");
  try {
    sdd::LanceIndexHorsBorne(5, 0, 3);
  } catch (const sdd::exceptions::Exception& e) {
    std::printf("%s\n", e.MessageComplet().DonneStdString().c_str());
  }
  return 0;
}
