#include "common/Progress.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds kFirst(1000);
constexpr std::chrono::milliseconds kPause(100);
constexpr int kWidth = 40;

}  // namespace

Progress::Progress(const Console& console, std::int64_t total)
    : out_(console.err),
      isWatched_(console.isTerminal),
      total_(std::max<std::int64_t>(total, 1)),
      next_(Clock::now() + kFirst) {}

Progress::~Progress() {
  if (isShown_) {
    out_ << '\r' << std::string(kWidth + 8, ' ') << '\r' << std::flush;
  }
}

void Progress::Add(std::int64_t done) {
  done_ = std::min(done_ + std::max<std::int64_t>(done, 0), total_);
  if (!isWatched_ || Clock::now() < next_) {
    return;
  }
  const double part = static_cast<double>(done_) / static_cast<double>(total_);
  const int full = static_cast<int>(part * kWidth);
  out_ << fmt::format("\r[{:#<{}}{:{}}] {:3.0f} %", "", full, "", kWidth - full,
                      part * 100)
       << std::flush;
  isShown_ = true;
  next_ = Clock::now() + kPause;
}
