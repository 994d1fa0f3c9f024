#pragma once

#include <outils_socle/flux/TamponMemoire.h>

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

// Byte helpers for stored-form tests.
namespace essais {

using Octets = std::vector<uint8_t>;

// The bytes written so far (the buffer's size).
inline Octets OctetsDe(const sdd::TamponMemoire& tampon) {
  const uint8_t* p = tampon.PreteDonneesBrutes();
  return Octets(p, p + tampon.Taille());
}

// A buffer lending exactly these bytes: capacity = size, so any read past them is caught.
class TamponSur {
 public:
  explicit TamponSur(Octets octets)
      : octets_(std::move(octets)),
        tampon_(reinterpret_cast<char*>(octets_.data()), static_cast<int64_t>(octets_.size()), false) {}
  sdd::TamponMemoire& operator*() { return tampon_; }
  sdd::TamponMemoire* operator->() { return &tampon_; }

 private:
  Octets octets_;
  sdd::TamponMemoire tampon_;
};

// A fresh directory, removed with its contents at the end of the test.
class DossierTemporaire {
 public:
  DossierTemporaire() {
    std::random_device alea;
    chemin_ = std::filesystem::temp_directory_path() / ("outils_socle_" + std::to_string(alea()));
    std::filesystem::create_directories(chemin_);
  }
  ~DossierTemporaire() {
    std::error_code ec;
    std::filesystem::remove_all(chemin_, ec);
  }
  std::string operator/(const std::string& nom) const { return (chemin_ / nom).string(); }

 private:
  std::filesystem::path chemin_;
};

}  // namespace essais
