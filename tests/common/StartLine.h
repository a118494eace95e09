#pragma once

#include <atomic>
#include <thread>

/// Lets threads of a test begin together: each calls Wait(), and all go on when the last
/// one has come. (std::latch was seen to lose its wake-up on Windows.)
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
