#pragma once

#include <atomic>
#include <thread>

/// While it lives, a thread starts programs that do nothing, one after the other, in
/// every way that the system has. They inherit nothing that they would keep.
class StartedPrograms {
 public:
  StartedPrograms() : thread_(&StartedPrograms::Run, this) {}
  ~StartedPrograms() {
    ends_ = true;
    thread_.join();
  }
  StartedPrograms(const StartedPrograms&) = delete;
  StartedPrograms& operator=(const StartedPrograms&) = delete;

  /// How many have run.
  int Count() const { return count_; }

 private:
  void Run() {
    while (!ends_) {
      StartOne(count_);
      ++count_;
    }
  }
  /// Starts a program and waits for its end; one version for each target.
  static void StartOne(int number);

  std::atomic<bool> ends_ = false;
  std::atomic<int> count_ = 0;
  std::thread thread_;
};
