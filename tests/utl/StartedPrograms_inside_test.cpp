// Programs that another thread starts have every open file for a moment, with its locks
// and share modes. Nothing is to be refused for that, and nothing to stay behind.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "common/child/StartedPrograms.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/temp/TempDir.h"
#include "utl/impl/multisection/utl_LockFileHolder.h"
#include "utl/utl_File.h"
#include "utl/utl_flock.h"
#include "utl/utl_TempFile.h"

namespace {

constexpr int kTryExclusive = 6;

// Longer for one who looks for the race.
std::chrono::milliseconds Duration() {
  const char* given = std::getenv("KSTUTL_RACE_SECONDS");
  return std::chrono::milliseconds(given == nullptr ? 1000 : std::atoi(given) * 1000);
}

class StartedProgramsTest : public testing::Test {
 protected:
  // Does one thing over and over while programs are started; how often it failed.
  int Failures(const std::function<bool()>& succeeds) {
    int failures = 0;
    const auto end = std::chrono::steady_clock::now() + Duration();
    while (std::chrono::steady_clock::now() < end) {
      failures += succeeds() ? 0 : 1;
      ++rounds_;
    }
    return failures;
  }

  const TempDir dir_;
  const std::string path_ = dir_.File("f");
  std::atomic<long> rounds_ = 0;
};

}  // namespace

TEST_F(StartedProgramsTest, NothingIsRefusedAndNothingStays) {
  const ScopedEnvironment scratch("SCRATCH", dir_.ShownPath().c_str());
  WriteWholeFile(path_, "0123456789");
  const std::function<bool()> tasks[] = {
      // Opens that share nothing.
      [&] {
        const HANDLE handle = CreateFileA(path_.c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                          nullptr, OPEN_EXISTING, 0, nullptr);
        return handle != INVALID_HANDLE_VALUE && CloseHandle(handle);
      },
      // Exclusive locks of a descriptor that children inherit, and of one that may not
      // write.
      [&, path = dir_.File("locked")] {
        bool locked = true;
        for (const int access : {_O_RDWR | _O_CREAT, _O_RDONLY}) {
          const int descriptor = _open(path.c_str(), access | _O_BINARY, 0600);
          locked = utl_flock(descriptor, kTryExclusive) == 0 && locked;
          _close(descriptor);
        }
        return locked;
      },
      [] {
        try {
          utl_TempFile("").Create();
        } catch (const utl_TempFileException&) {
          return false;
        }
        return true;
      },
      [&, path = cow_String(dir_.File("job.lock"))] {
        return utl_LockFileHolder(path, 1, 0).acquire(0, 0);
      },
      // A file that is deleted when it is closed.
      [&, path = dir_.File("m")] {
        const HANDLE handle = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                          CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
        return handle != INVALID_HANDLE_VALUE && CloseHandle(handle);
      },
  };
  std::vector<std::thread> threads;
  int started = 0;
  {
    const StartedPrograms programs;
    for (const auto& task : tasks) {
      threads.emplace_back([&] { EXPECT_EQ(Failures(task), 0); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    started = programs.Count();
  }
  EXPECT_GT(started, 0);
  RecordProperty("rounds", std::to_string(rounds_));
  RecordProperty("programs", started);
  std::vector<std::string> left;
  for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
    left.push_back(entry.path().filename().string());
  }
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"f", "locked"}));
}
