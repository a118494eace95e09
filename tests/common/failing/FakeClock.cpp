#include "common/failing/FakeClock.h"

#include <time.h>

#include <atomic>

namespace {

using Clock = std::chrono::steady_clock;

// Atomic, as any thread may ask for the time.
std::atomic<bool> standsStill = false;
std::atomic<Clock::time_point> shown;

}  // namespace

FakeClock::FakeClock() {
  shown = Clock::now();
  standsStill = true;
}

FakeClock::~FakeClock() {
  standsStill = false;
}

void FakeClock::Advance(Clock::duration time) {
  shown = shown.load() + time;
}

// Takes the place of the run time's own, and asks the system in the same way.
Clock::time_point Clock::now() noexcept {
  if (standsStill) {
    return shown;
  }
  timespec read = {};
  clock_gettime(CLOCK_MONOTONIC, &read);
  return time_point(std::chrono::seconds(read.tv_sec) +
                    std::chrono::nanoseconds(read.tv_nsec));
}
