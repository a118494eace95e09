// kst_compare SEED FIRST COUNT DIRECTORY [LEFT_OUT...]: random operations through the
// library's public interface, told in a log that is the same on every target where the
// library does the same; scripts/compare-targets compares two.
//
// Operations come in sequences of 40, each of one theme, in a directory of its own below
// DIRECTORY and with a newly started library; the last one tells what is left on disk.
// The run begins with the sequence of operation FIRST. An operation's inputs depend on
// SEED and its number alone, so that those that are not needed to repeat a difference can
// be LEFT_OUT.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "common/environment/ScopedEnvironment.h"
#include "compare/Leavings.h"
#include "compare/Subject.h"
#include "nex/nex_Exception.h"
#include "utl/utl_initialize.h"

namespace {

constexpr long long kLength = 40;

struct Share {
  MakeSubject* make;
  int weight;
};

// The subjects of a sequence, and how often each has its turn.
struct Theme {
  std::vector<Share> subjects;
};

const Theme kThemes[] = {
    {{{MakeEntries, 1}, {MakeFiles, 8}, {MakeStatus, 2}}},
    {{{MakeEntries, 1}, {MakeStatus, 6}, {MakeListings, 2}}},
    {{{MakeLocks, 1}}},
    {{{MakeEntries, 1}, {MakeTempFiles, 12}}},
    {{{MakeEntries, 1}, {MakeSections, 15}}},
    {{{MakeBinStreams, 1}}},
    {{{MakePathNames, 1}}},
    {{{MakeEntries, 1}, {MakeEnvironment, 3}, {MakePaths, 6}}},
    {{{MakeUrls, 1}}},
    {{{MakePatterns, 1}}},
    {{{MakeNumbers, 1}}},
    {{{MakeEncoders, 1}}},
    {{{MakeTrees, 1}}},
    {{{MakeCommandLine, 1}}},
    {{{MakeHost, 1}}},
    {{{MakeEntries, 1}, {MakeMonitor, 10}}},
    {{{MakeEntries, 1}, {MakeTracker, 10}, {MakeFiles, 1}}},
    {{{MakeEntries, 1}, {MakeSupport, 6}}},
};

// Whatever a sequence may have set, and the variable of a name like "$_" that shells set.
void ClearEnvironment() {
  for (const char* name : {"_", "V", "W", "PATHS", "NONE", "SUPAUXNAME", "SCRATCH",
                           "TMPDIR", "KES_COMMAND", "KES_LEARNER", "KES_RESOURCE_MONITOR",
                           "KES_IO_TRACK", "KES_IO_INDIVIDUAL", "KES_IO_TIMEPOINTS",
                           "KESTRA_SEQ", "KESTRA_VERSION", "KESTRA_DEVL_MODE", "WORK"}) {
    SetEnvironment(name, nullptr);
  }
}

class Sequence {
 public:
  Sequence(std::uint64_t seed, long long number, const std::string& directory)
      : seed_(seed), first_(number * kLength) {
    // All names are of one length.
    std::string name = std::to_string(number);
    name = "s" + std::string(8 - name.size(), '0') + name;
    world_.directory = directory + "/" + name;
    world_.shown = "Z:" + world_.directory;
    std::replace(world_.shown.begin(), world_.shown.end(), '/', '\\');
    log_.SetDirectory(world_.directory);
    std::filesystem::create_directory(world_.directory);
    std::filesystem::current_path(world_.directory);
    ClearEnvironment();
    utl_initialize(count_);
    Random random(seed_, kSettings, static_cast<std::uint64_t>(number));
    for (const Share& share : random.Pick(kThemes).subjects) {
      world_.subjects.push_back(share.make(world_, random));
      turns_.insert(turns_.end(), static_cast<std::size_t>(share.weight),
                    world_.subjects.back().get());
    }
  }

  // A sequence may be cut short.
  ~Sequence() {
    for (const auto& subject : world_.subjects) {
      try {
        subject->Close();
      } catch (const nex_Exception&) {
        // Nobody compares it.
      }
    }
    world_.subjects.clear();
    utl_finalize(count_);
    ClearEnvironment();
  }
  Sequence(const Sequence&) = delete;
  Sequence& operator=(const Sequence&) = delete;

  // One operation.
  void Run(long long index) {
    log_.Begin(index);
    if (index == first_ + kLength - 1) {
      return End();
    }
    Random random(seed_, kOperations, static_cast<std::uint64_t>(index));
    Subject* const subject =
        turns_[static_cast<std::size_t>(random.Below(static_cast<int>(turns_.size())))];
    subject->Run(random, log_);
  }

 private:
  static constexpr std::uint64_t kSettings = 0;
  static constexpr std::uint64_t kOperations = 1;

  void End() {
    log_.Call("end");
    for (const auto& subject : world_.subjects) {
      log_.Result([&] { subject->Close(); });
    }
    world_.subjects.clear();
    utl_finalize(count_);
    utl_initialize(count_);
    ClearEnvironment();
    log_.Result([&] { return Verbatim{Leavings(world_.shown)}; });
  }

  std::uint64_t seed_;
  long long first_;
  int count_ = 0;
  Log log_;
  World world_;
  std::vector<Subject*> turns_;
};

long long Number(const char* text) {
  long long number = 0;
  const char* const end = text + std::strlen(text);
  const auto [stopped, error] = std::from_chars(text, end, number);
  if (error != std::errc() || stopped != end || number < 0) {
    throw std::invalid_argument(std::string("not a number: ") + text);
  }
  return number;
}

void Compare(const std::vector<const char*>& arguments) {
  if (arguments.size() < 5) {
    throw std::invalid_argument(
        "usage: kst_compare SEED FIRST COUNT DIRECTORY [LEFT_OUT...]");
  }
  const auto seed = static_cast<std::uint64_t>(Number(arguments[1]));
  const long long first = Number(arguments[2]);
  const long long end = first + Number(arguments[3]);
  std::vector<long long> leftOut;
  for (std::size_t i = 5; i < arguments.size(); ++i) {
    leftOut.push_back(Number(arguments[i]));
  }
  const auto isLeftOut = [&](long long index) {
    return std::find(leftOut.begin(), leftOut.end(), index) != leftOut.end();
  };
  for (long long start = first - first % kLength; start < end; start += kLength) {
    Sequence sequence(seed, start / kLength, arguments[4]);
    for (long long index = start; index < std::min(start + kLength, end); ++index) {
      // The last one lets go of everything, and is never left out.
      if (!isLeftOut(index)) {
        sequence.Run(index);
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Compare({argv, argv + argc});
    return 0;
  } catch (const std::exception& failure) {
    std::fflush(stdout);
    std::fprintf(stderr, "kst_compare: %s\n", failure.what());
    return 2;
  }
}
