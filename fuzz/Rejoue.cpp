// Runs a fuzz target's code over every file of the folders given, as libFuzzer would over a
// corpus: how the inputs that once found a fault stay in the test suite (ctest runs it over
// tests/fuzz/<target>/). A fault now is a crash or a sanitizer report, as it was then.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* donnees, size_t taille);

int main(int argc, char** argv) {
  size_t nb = 0;
  for (int i = 1; i < argc; ++i) {
    std::error_code ec;
    if (!std::filesystem::is_directory(argv[i], ec)) continue;  // no regression input yet
    for (const auto& entree : std::filesystem::directory_iterator(argv[i])) {
      if (!entree.is_regular_file()) continue;
      std::ifstream f(entree.path(), std::ios::binary);
      const std::vector<uint8_t> octets{std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
      LLVMFuzzerTestOneInput(octets.data(), octets.size());
      ++nb;
    }
  }
  std::printf("%zu entrées rejouées\n", nb);
  return 0;
}
