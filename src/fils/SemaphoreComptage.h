#pragma once

// A counting semaphore for hand-offs between the library's threads. Taking a unit first spins a
// little (not on a single processor), then yields, then sleeps on a condition until a unit is
// given back: short waits stay cheap and an idle pool burns no processor.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace sdd::detail {

class SemaphoreComptage {
 public:
  SemaphoreComptage() = default;
  SemaphoreComptage(const SemaphoreComptage&) = delete;
  SemaphoreComptage& operator=(const SemaphoreComptage&) = delete;
  // Waiters often keep the semaphore on their stack and return as soon as they see a unit: the
  // destructor waits until a Rends() still inside has left.
  ~SemaphoreComptage() { std::lock_guard<std::mutex> verrou(mutex_); }

  void Rends(int32_t unites = 1) {
    // All of it under the mutex, so that the destructor can wait for it (see there).
    std::lock_guard<std::mutex> verrou(mutex_);
    compte_.fetch_add(unites, std::memory_order_release);
    if (dormeurs_.load(std::memory_order_acquire) > 0) condition_.notify_all();
  }

  void Prends() {
    static const unsigned kTours = std::thread::hardware_concurrency() > 1 ? 200 : 0;
    for (unsigned i = 0; i < kTours; ++i)
      if (EssaiePrendre()) return;
    for (int i = 0; i < 50; ++i) {
      if (EssaiePrendre()) return;
      std::this_thread::yield();
    }
    std::unique_lock<std::mutex> verrou(mutex_);
    dormeurs_.fetch_add(1, std::memory_order_acq_rel);
    // The timed wait is a safety net only: Rends() notifies whenever someone sleeps.
    while (!EssaiePrendre()) condition_.wait_for(verrou, std::chrono::milliseconds(100));
    dormeurs_.fetch_sub(1, std::memory_order_acq_rel);
  }

  int32_t Compte() const { return compte_.load(std::memory_order_acquire); }

 private:
  bool EssaiePrendre() {
    int32_t n = compte_.load(std::memory_order_acquire);
    while (n > 0)
      if (compte_.compare_exchange_weak(n, n - 1, std::memory_order_acq_rel)) return true;
    return false;
  }

  std::atomic<int32_t> compte_{0};
  std::atomic<int32_t> dormeurs_{0};
  std::mutex mutex_;
  std::condition_variable condition_;
};

}  // namespace sdd::detail
