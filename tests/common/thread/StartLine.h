#pragma once

#include <atomic>
#include <thread>

/// Lets threads of a test begin together: each calls Wait(), and all go on when the last
/// one has done so.
///
/// Not std::latch: where there is no futex, libstdc++ 12 looks at the value before it
/// takes the lock under which it sleeps, and notifies without that lock. A wake-up in
/// between is lost, and threads hung on Windows. The same holds for std::barrier and for
/// std::atomic's wait(); std::condition_variable and std::future are sound.
class StartLine {
 public:
  explicit StartLine(int threads) : missing_(threads) {}

  void Wait() {
    missing_.fetch_sub(1, std::memory_order_relaxed);
    while (missing_.load(std::memory_order_relaxed) > 0) {
      std::this_thread::yield();
    }
  }

 private:
  std::atomic<int> missing_;
};
