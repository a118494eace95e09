#include "utl/utl_flock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "common/ChildProcess.h"
#include "common/Pipe.h"
#include "common/TempDir.h"

namespace {

constexpr int kShared = 1;
constexpr int kExclusive = 2;
constexpr int kTryShared = 5;
constexpr int kTryExclusive = 6;
constexpr int kUnlock = 8;

constexpr int kLocked = 33;        // the system's lock violation
constexpr int kInvalidHandle = 6;  // the system's
constexpr int kInvalidArgument = 22;
constexpr int kNoFile = 9999;  // a descriptor that nobody has
constexpr int kUntouched = 4711;

// errno after a failing call, 0 for one that succeeds and leaves errno alone.
int ErrorOf(int descriptor, int mode) {
  errno = kUntouched;
  const int result = utl_flock(descriptor, mode);
  const int error = errno;
  EXPECT_EQ(result, error == kUntouched ? 0 : -1) << mode;
  return result == 0 ? 0 : error;
}

class Descriptor {
 public:
  explicit Descriptor(const std::string& path, int access = _O_RDWR)
      : number_(_open(path.c_str(), access | _O_BINARY)) {
    EXPECT_GE(number_, 0);
  }
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  operator int() const { return number_; }
  void Close() {
    if (number_ >= 0) _close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

// A call in a thread of its own, which may wait.
class WaitingLock {
 public:
  WaitingLock(int descriptor, int mode)
      : thread_([this, descriptor, mode] {
          started_ = true;
          result_ = utl_flock(descriptor, mode);
          done_ = true;
        }) {
    while (!started_) std::this_thread::yield();
  }
  ~WaitingLock() {
    if (thread_.joinable()) thread_.join();
  }
  WaitingLock(const WaitingLock&) = delete;
  WaitingLock& operator=(const WaitingLock&) = delete;

  // Gives it time to go wrong; whatever the time, a right one has not returned.
  bool IsWaiting() const {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    return !done_;
  }
  int Result() {
    thread_.join();
    return result_;
  }

 private:
  std::atomic<bool> started_ = false;
  std::atomic<bool> done_ = false;
  int result_ = -2;
  std::thread thread_;
};

// Locks a file as it is told, a mode a line, and answers each with errno, 0 on success.
TEST_CHILD(lockAsTold) {
  const int descriptor = _open(argv[1], _O_RDWR | _O_BINARY);
  for (std::string mode = ChildReadLine(); mode != "end"; mode = ChildReadLine()) {
    ChildWriteLine(std::to_string(ErrorOf(descriptor, std::stoi(mode))));
  }
  return 0;
}

class OtherProcess {
 public:
  explicit OtherProcess(const std::string& path)
      : child_(ChildProcess::Start("lockAsTold", {path})) {}
  void Ask(int mode) { child_.WriteLine(std::to_string(mode)); }
  int Answer() { return std::stoi(child_.ReadLine()); }
  int ErrorOf(int mode) {
    Ask(mode);
    return Answer();
  }
  void End() {
    child_.WriteLine("end");
    EXPECT_EQ(child_.Wait(), 0);
  }
  void Kill() { child_.Kill(); }

 private:
  ChildProcess child_;
};

// What a holder of the first mode lets others have.
struct Pair {
  int held;
  int asked;
  int error;
};

constexpr Pair kPairs[] = {{kShared, kTryShared, 0},
                           {kShared, kTryExclusive, kLocked},
                           {kExclusive, kTryShared, kLocked},
                           {kExclusive, kTryExclusive, kLocked},
                           {kTryShared, kTryShared, 0},
                           {kTryShared, kTryExclusive, kLocked},
                           {kTryExclusive, kTryShared, kLocked},
                           {kTryExclusive, kTryExclusive, kLocked},
                           {kShared, kShared, 0}};

}  // namespace

class utl_flockTest : public testing::Test {
 protected:
  utl_flockTest() : path_(dir_.File("f")) { WriteWholeFile(path_, "0123456789"); }

  TempDir dir_;
  std::string path_;
};

TEST_F(utl_flockTest, BetweenDescriptorsOfOneProcess) {
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(std::to_string(pair.held) + ", " + std::to_string(pair.asked));
    const Descriptor one(path_);
    const Descriptor other(path_);
    EXPECT_EQ(ErrorOf(one, pair.held), 0);
    EXPECT_EQ(ErrorOf(other, pair.asked), pair.error);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
    if (pair.error != 0) {
      EXPECT_EQ(ErrorOf(other, pair.asked), 0);
    }
  }
}

TEST_F(utl_flockTest, BetweenProcesses) {
  OtherProcess other(path_);
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(std::to_string(pair.held) + ", " + std::to_string(pair.asked));
    const Descriptor one(path_);
    EXPECT_EQ(ErrorOf(one, pair.held), 0);
    EXPECT_EQ(other.ErrorOf(pair.asked), pair.error);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
    if (pair.error != 0) {
      EXPECT_EQ(other.ErrorOf(pair.asked), 0);
    }
    EXPECT_EQ(other.ErrorOf(kUnlock), 0);
  }
  other.End();
}

TEST_F(utl_flockTest, FreshFileIsHadInEveryMode) {
  for (const int mode : {kShared, kExclusive, kTryShared, kTryExclusive}) {
    const Descriptor one(path_);
    EXPECT_EQ(ErrorOf(one, mode), 0);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  }
}

TEST_F(utl_flockTest, OtherModesAreInvalid) {
  const Descriptor one(path_);
  for (const int mode : {0, 3, 4, 7, 9, 10, 12, 13, 14, 15, 16, -1, -2, 1 << 30, 0x105}) {
    EXPECT_EQ(ErrorOf(one, mode), kInvalidArgument) << mode;
    EXPECT_EQ(ErrorOf(-1, mode), kInvalidArgument) << mode;
  }
  const Descriptor other(path_);
  EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
}

TEST_F(utl_flockTest, BadDescriptors) {
  Descriptor one(path_);
  const int closed = one;
  one.Close();
  for (const int mode : {kShared, kExclusive, kTryShared, kTryExclusive, kUnlock}) {
    for (const int descriptor : {-1, closed, kNoFile, -1000}) {
      EXPECT_EQ(ErrorOf(descriptor, mode), kInvalidHandle) << descriptor << ", " << mode;
    }
  }
}

TEST_F(utl_flockTest, UnlockOfWhatIsNotLocked) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  SetLastError(0);
  EXPECT_NE(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(ErrorOf(one, kTryExclusive), 0);
  EXPECT_EQ(ErrorOf(other, kUnlock), static_cast<int>(GetLastError()));
  EXPECT_EQ(ErrorOf(other, kTryShared), kLocked);
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_NE(ErrorOf(one, kUnlock), 0);
}

TEST_F(utl_flockTest, FailureIsTheSystemsOwnNumber) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  ASSERT_EQ(ErrorOf(one, kExclusive), 0);
  EXPECT_EQ(ErrorOf(other, kTryShared), static_cast<int>(ERROR_LOCK_VIOLATION));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
}

TEST_F(utl_flockTest, ExclusiveOnOneDescriptorExcludesASecond) {
  const Descriptor one(path_);
  EXPECT_EQ(ErrorOf(one, kTryExclusive), 0);
  EXPECT_EQ(ErrorOf(one, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(ErrorOf(one, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one, kTryExclusive), kLocked);
}

TEST_F(utl_flockTest, SharedTwiceIsUnlockedTwice) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  EXPECT_EQ(ErrorOf(one, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
}

TEST_F(utl_flockTest, SharedBesideTheOwnExclusiveOutlivesIt) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  EXPECT_EQ(ErrorOf(one, kTryExclusive), 0);
  EXPECT_EQ(ErrorOf(one, kTryShared), 0);
  EXPECT_EQ(ErrorOf(other, kTryShared), kLocked);
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(other, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
}

TEST_F(utl_flockTest, ReadersAndWritersMayLockAsTheyLike) {
  const int accesses[] = {_O_RDONLY, _O_WRONLY, _O_RDWR};
  for (const int first : accesses) {
    for (const int second : accesses) {
      for (const Pair& pair : kPairs) {
        SCOPED_TRACE(std::to_string(first) + ", " + std::to_string(second) + ": " +
                     std::to_string(pair.held) + ", " + std::to_string(pair.asked));
        const Descriptor one(path_, first);
        const Descriptor other(path_, second);
        EXPECT_EQ(ErrorOf(one, pair.held), 0);
        EXPECT_EQ(ErrorOf(other, pair.asked), pair.error);
      }
    }
  }
}

TEST_F(utl_flockTest, ClosingUnlocks) {
  Descriptor one(path_);
  const Descriptor other(path_);
  EXPECT_EQ(ErrorOf(one, kExclusive), 0);
  one.Close();
  EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
}

TEST_F(utl_flockTest, ClosingAnotherDescriptorUnlocksNothing) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  EXPECT_EQ(ErrorOf(one, kExclusive), 0);
  Descriptor(path_).Close();
  EXPECT_EQ(ErrorOf(other, kTryShared), kLocked);
}

TEST_F(utl_flockTest, EndOfTheProcessUnlocks) {
  const Descriptor one(path_);
  for (const bool killed : {false, true}) {
    OtherProcess other(path_);
    ASSERT_EQ(other.ErrorOf(kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(one, kTryShared), kLocked);
    killed ? other.Kill() : other.End();
    EXPECT_EQ(ErrorOf(one, kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  }
}

// 4 GiB less 64 KiB from the start, whatever the file's size.
TEST_F(utl_flockTest, LockedRange) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(other));
  ASSERT_EQ(ErrorOf(one, kExclusive), 0);
  const auto isFree = [handle](DWORD low, DWORD high) {
    OVERLAPPED at = {};
    at.Offset = low;
    at.OffsetHigh = high;
    return LockFileEx(handle, LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &at) != FALSE;
  };
  EXPECT_FALSE(isFree(0, 0));
  EXPECT_FALSE(isFree(10, 0));
  EXPECT_FALSE(isFree(0xFFFEFFFF, 0));
  EXPECT_TRUE(isFree(0xFFFF0000, 0));
  EXPECT_TRUE(isFree(0xFFFFFFFF, 0));
  EXPECT_TRUE(isFree(0, 1));
}

TEST_F(utl_flockTest, PositionDoesNotMatter) {
  const Descriptor one(path_);
  const Descriptor other(path_);
  _lseeki64(one, 7, SEEK_SET);
  ASSERT_EQ(ErrorOf(one, kExclusive), 0);
  EXPECT_EQ(_lseeki64(one, 0, SEEK_CUR), 7);
  EXPECT_EQ(ErrorOf(other, kTryShared), kLocked);
}

TEST_F(utl_flockTest, WaitsForAnotherDescriptor) {
  const struct {
    int held;
    int asked;
  } cases[] = {{kExclusive, kShared}, {kExclusive, kExclusive}, {kShared, kExclusive}};
  for (const auto& one : cases) {
    SCOPED_TRACE(std::to_string(one.held) + ", " + std::to_string(one.asked));
    const Descriptor holder(path_);
    const Descriptor waiter(path_);
    ASSERT_EQ(ErrorOf(holder, one.held), 0);
    WaitingLock waiting(waiter, one.asked);
    EXPECT_TRUE(waiting.IsWaiting());
    EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
    EXPECT_EQ(waiting.Result(), 0);
    EXPECT_EQ(ErrorOf(holder, kTryExclusive), kLocked);
  }
}

TEST_F(utl_flockTest, WaitsForTheOwnDescriptorToBeUnlocked) {
  const struct {
    int held;
    int asked;
  } cases[] = {{kExclusive, kExclusive}, {kShared, kExclusive}};
  for (const auto& one : cases) {
    SCOPED_TRACE(std::to_string(one.held) + ", " + std::to_string(one.asked));
    const Descriptor both(path_);
    const Descriptor other(path_);
    ASSERT_EQ(ErrorOf(both, one.held), 0);
    WaitingLock waiting(both, one.asked);
    EXPECT_TRUE(waiting.IsWaiting());
    EXPECT_EQ(ErrorOf(both, kUnlock), 0);
    EXPECT_EQ(waiting.Result(), 0);
    EXPECT_EQ(ErrorOf(other, kTryShared), kLocked);
    EXPECT_EQ(ErrorOf(both, kUnlock), 0);
    EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
  }
}

TEST_F(utl_flockTest, WaiterOnTheSameDescriptorIsNotGivenWhatAnotherHolds) {
  const Descriptor holder(path_);
  const Descriptor both(path_);
  ASSERT_EQ(ErrorOf(holder, kExclusive), 0);
  WaitingLock waiting(both, kExclusive);
  EXPECT_TRUE(waiting.IsWaiting());
  EXPECT_EQ(ErrorOf(both, kTryShared), kLocked);
  EXPECT_EQ(ErrorOf(both, kTryExclusive), kLocked);
  EXPECT_NE(ErrorOf(both, kUnlock), 0);
  EXPECT_TRUE(waiting.IsWaiting());
  EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
  EXPECT_EQ(waiting.Result(), 0);
  EXPECT_EQ(ErrorOf(holder, kTryShared), kLocked);
}

TEST_F(utl_flockTest, SharedGoesAheadOfAWaitingExclusive) {
  const Descriptor holder(path_);
  const Descriptor both(path_);
  ASSERT_EQ(ErrorOf(holder, kShared), 0);
  WaitingLock waiting(both, kExclusive);
  EXPECT_TRUE(waiting.IsWaiting());
  EXPECT_EQ(ErrorOf(both, kTryShared), 0);
  EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
  EXPECT_TRUE(waiting.IsWaiting());
  EXPECT_EQ(ErrorOf(holder, kTryShared), 0);
  EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
  EXPECT_EQ(ErrorOf(both, kUnlock), 0);
  EXPECT_EQ(waiting.Result(), 0);
  EXPECT_EQ(ErrorOf(holder, kTryShared), kLocked);
}

TEST_F(utl_flockTest, WaitsForAnotherProcess) {
  OtherProcess other(path_);
  const Descriptor one(path_);
  for (const int mode : {kShared, kExclusive}) {
    ASSERT_EQ(other.ErrorOf(kTryExclusive), 0);
    WaitingLock waiting(one, mode);
    EXPECT_TRUE(waiting.IsWaiting());
    EXPECT_EQ(other.ErrorOf(kUnlock), 0);
    EXPECT_EQ(waiting.Result(), 0);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  }
  ASSERT_EQ(ErrorOf(one, kTryShared), 0);
  other.Ask(kExclusive);
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  EXPECT_EQ(other.Answer(), 0);
  EXPECT_EQ(ErrorOf(one, kTryShared), kLocked);
  other.End();
}

TEST_F(utl_flockTest, WaitEndsWhenTheHolderIsKilled) {
  OtherProcess other(path_);
  const Descriptor one(path_);
  ASSERT_EQ(other.ErrorOf(kTryExclusive), 0);
  WaitingLock waiting(one, kExclusive);
  EXPECT_TRUE(waiting.IsWaiting());
  other.Kill();
  EXPECT_EQ(waiting.Result(), 0);
}

TEST_F(utl_flockTest, WaitIsNotInterrupted) {
  const Descriptor holder(path_);
  const Descriptor waiter(path_);
  ASSERT_EQ(ErrorOf(holder, kExclusive), 0);
  const Interruptions interruptions;
  WaitingLock waiting(waiter, kExclusive);
  EXPECT_TRUE(waiting.IsWaiting());
  EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
  EXPECT_EQ(waiting.Result(), 0);
}

// Each adds to a counter; without a lock, additions would be lost.
TEST_F(utl_flockTest, ThreadsTakeTurns) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 50;
  for (const bool onOneDescriptor : {false, true}) {
    SCOPED_TRACE(onOneDescriptor);
    const Descriptor common(path_);
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        const Descriptor own(path_);
        const int descriptor = onOneDescriptor ? common : own;
        for (int round = 0; round < kRounds; ++round) {
          EXPECT_EQ(utl_flock(descriptor, kExclusive), 0);
          const int before = *const_cast<volatile int*>(&counter);
          std::this_thread::yield();
          *const_cast<volatile int*>(&counter) = before + 1;
          EXPECT_EQ(utl_flock(descriptor, kUnlock), 0);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counter, kThreads * kRounds);
  }
}

// Nobody is beside one who has the file exclusively.
TEST_F(utl_flockTest, ThreadsShareAndExclude) {
  constexpr int kRounds = 100;
  std::atomic<int> readers = 0;
  std::atomic<int> writers = 0;
  const auto work = [&](int access, unsigned seed) {
    const Descriptor own(path_, access);
    for (int round = 0; round < kRounds; ++round) {
      seed = seed * 1103515245 + 12345;
      const int mode =
          std::array{kShared, kExclusive, kTryShared, kTryExclusive}[seed >> 16 & 3];
      const int error = ErrorOf(own, mode);
      EXPECT_TRUE(error == 0 || ((mode & 4) != 0 && error == kLocked)) << error;
      if (error != 0) continue;
      const bool exclusive = (mode & kExclusive) != 0;
      (exclusive ? writers : readers) += 1;
      EXPECT_EQ(writers, exclusive ? 1 : 0);
      std::this_thread::yield();
      if (exclusive) {
        EXPECT_EQ(readers, 0);
      }
      (exclusive ? writers : readers) -= 1;
      EXPECT_EQ(ErrorOf(own, kUnlock), 0);
    }
  };
  std::vector<std::thread> threads;
  unsigned seed = 1;
  for (const int access : {_O_RDWR, _O_RDONLY, _O_WRONLY, _O_RDWR}) {
    threads.emplace_back(work, access, seed++);
  }
  for (std::thread& thread : threads) thread.join();
}

// What is no file has nothing to lock.
TEST_F(utl_flockTest, Pipes) {
  const Pipe pipe;
  for (const int mode : {kShared, kExclusive, kTryShared, kTryExclusive, kUnlock}) {
    EXPECT_EQ(ErrorOf(pipe.Reader(), mode), kInvalidHandle);
    EXPECT_EQ(ErrorOf(pipe.Writer(), mode), kInvalidHandle);
  }
}
