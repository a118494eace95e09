// Waiting for a lock, and threads that contend for one.

#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "common/environment/Rounds.h"
#include "common/handle/Pipe.h"
#include "utl/FlockTest.h"

TEST_F(FlockTest, WaitsForAnotherDescriptor) {
  const struct {
    int held;
    int asked;
  } cases[] = {{kExclusive, kShared}, {kExclusive, kExclusive}, {kShared, kExclusive}};
  for (const auto& one : cases) {
    SCOPED_TRACE(Names(one.held, one.asked));
    const LockedDescriptor holder(path_);
    const LockedDescriptor waiter(path_);
    ASSERT_EQ(ErrorOf(holder, one.held), 0);
    WaitingLock waiting(waiter, one.asked);
    EXPECT_TRUE(waiting.IsWaiting());
    EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
    EXPECT_EQ(waiting.Result(), 0);
    EXPECT_EQ(ErrorOf(holder, kTryExclusive), kLocked);
  }
}

TEST_F(FlockTest, WaitsForTheOwnDescriptorToBeUnlocked) {
  const struct {
    int held;
    int asked;
  } cases[] = {{kExclusive, kExclusive}, {kShared, kExclusive}};
  for (const auto& one : cases) {
    SCOPED_TRACE(Names(one.held, one.asked));
    const LockedDescriptor both(path_);
    const LockedDescriptor other(path_);
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

TEST_F(FlockTest, WaiterOnTheSameDescriptorIsNotGivenWhatAnotherHolds) {
  const LockedDescriptor holder(path_);
  const LockedDescriptor both(path_);
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

TEST_F(FlockTest, SharedGoesAheadOfAWaitingExclusive) {
  const LockedDescriptor holder(path_);
  const LockedDescriptor both(path_);
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

TEST_F(FlockTest, WaitsForAnotherProcess) {
  LockingProcess other(path_);
  const LockedDescriptor one(path_);
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

TEST_F(FlockTest, WaitEndsWhenTheHolderIsKilled) {
  LockingProcess other(path_);
  const LockedDescriptor one(path_);
  ASSERT_EQ(other.ErrorOf(kTryExclusive), 0);
  WaitingLock waiting(one, kExclusive);
  EXPECT_TRUE(waiting.IsWaiting());
  other.Kill();
  EXPECT_EQ(waiting.Result(), 0);
}

TEST_F(FlockTest, WaitIsNotInterrupted) {
  const LockedDescriptor holder(path_);
  const LockedDescriptor waiter(path_);
  ASSERT_EQ(ErrorOf(holder, kExclusive), 0);
  const Interruptions interruptions;
  WaitingLock waiting(waiter, kExclusive);
  EXPECT_TRUE(waiting.IsWaiting());
  EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
  EXPECT_EQ(waiting.Result(), 0);
}

// Each adds to a counter; without a lock, additions would be lost.
TEST_F(FlockTest, ThreadsTakeTurns) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 50;
  for (const bool onOneDescriptor : {false, true}) {
    SCOPED_TRACE(onOneDescriptor);
    const LockedDescriptor common(path_);
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        const LockedDescriptor own(path_);
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
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(counter, kThreads * kRounds);
  }
}

// Nobody is beside one who has the file exclusively.
TEST_F(FlockTest, ThreadsShareAndExclude) {
  constexpr int kRounds = 100;
  std::atomic<int> readers = 0;
  std::atomic<int> writers = 0;
  const auto work = [&](int access, unsigned seed) {
    const LockedDescriptor own(path_, access);
    for (int round = 0; round < kRounds; ++round) {
      seed = seed * 1103515245 + 12345;
      const int mode =
          std::array{kShared, kExclusive, kTryShared, kTryExclusive}[seed >> 16 & 3];
      const int error = ErrorOf(own, mode);
      EXPECT_TRUE(error == 0 || ((mode & 4) != 0 && error == kLocked)) << error;
      if (error != 0) {
        continue;
      }
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
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST_F(FlockTest, WaitOfADescriptorThatIsClosedEndsWithoutALock) {
  for (const int access : {_O_RDWR, _O_RDONLY}) {
    const LockedDescriptor holder(path_);
    ASSERT_EQ(ErrorOf(holder, kTryExclusive), 0);
    LockedDescriptor waiter(path_, access);
    WaitingLock waiting(waiter, kExclusive);
    EXPECT_TRUE(waiting.IsWaiting());
    waiter.Close();
    EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
    EXPECT_EQ(waiting.Result(), -1);
    EXPECT_EQ(waiting.Error(), kInvalidHandle);
    EXPECT_EQ(ErrorOf(holder, kTryExclusive), 0);
  }
}

// What it waits for comes when the number is another file's.
TEST_F(FlockTest, InterruptedWaitLocksNoOtherFileOfTheNumber) {
  if (!Interruptions::AreKnown()) {
    GTEST_SKIP() << "Wine itself asks again by the handle's number";
  }
  const std::string next = dir_.File("next");
  WriteWholeFile(next, "0123456789");
  const Interruptions interruptions;
  for (const bool byTheLibrary : {false, true}) {
    for (const int access : {_O_RDWR, _O_RDONLY}) {
      for (const int mode : {kExclusive, kShared}) {
        SCOPED_TRACE(Names(access, mode));
        const LockedDescriptor holder(path_);
        ASSERT_EQ(ErrorOf(holder, kTryExclusive), 0);
        const int number = _open(path_.c_str(), access | _O_BINARY);
        WaitingLock waiting(number, mode);
        EXPECT_TRUE(waiting.IsWaiting());
        byTheLibrary ? _close(number) : close(number);
        const LockedDescriptor reused(next);
        ASSERT_EQ(reused, number);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));  // for interruptions
        EXPECT_EQ(ErrorOf(holder, kUnlock), 0);
        EXPECT_EQ(waiting.Result(), -1);
        EXPECT_EQ(waiting.Error(), kInvalidHandle);
        EXPECT_EQ(ErrorOf(holder, kTryExclusive), 0);
        EXPECT_NE(ErrorOf(reused, kUnlock), 0);
        EXPECT_EQ(ErrorOf(LockedDescriptor(next), kTryExclusive), 0);
      }
    }
  }
}

namespace {

// Locks a file as it is told, a mode a line, and answers each with errno, 0 on success.
TEST_CHILD(lockFileAsTold) {
  const int descriptor = _open(argv[1], _O_RDWR | _O_BINARY);
  for (std::string mode = ChildReadLine(); mode != "end"; mode = ChildReadLine()) {
    ChildWriteLine(std::to_string(ErrorOf(descriptor, std::stoi(mode))));
  }
  return 0;
}

long long NumberIn(const std::string& path) {
  return std::stoll("0" + ReadWholeFile(path));
}

// Adds to the number in argv[2] as often as argv[3] says, each time with argv[1] locked
// exclusively by a descriptor opened for argv[4]; every second time it locks it shared
// and looks whether the number stays. Answers with the number of surprises.
TEST_CHILD(addUnderLock) {
  const std::string counter = argv[2];
  const int descriptor = _open(argv[1], std::stoi(argv[4]) | _O_BINARY);
  int surprises = 0;
  ChildReadLine();
  for (int round = 0; round < 2 * std::stoi(argv[3]); ++round) {
    const int mode = round % 2 == 0 ? kExclusive : kShared;
    surprises += utl_flock(descriptor, mode) == 0 ? 0 : 1;
    const long long number = NumberIn(counter);
    if (mode == kExclusive) {
      WriteWholeFile(counter, std::to_string(number + 1));
    }
    surprises += NumberIn(counter) == number + (mode == kExclusive ? 1 : 0) ? 0 : 1;
    surprises += utl_flock(descriptor, kUnlock) == 0 ? 0 : 1;
  }
  ChildWriteLine(std::to_string(surprises));
  return 0;
}

}  // namespace

// Those that may read and write the locked file, and those that may not.
TEST_F(FlockTest, ProcessesTakeTurns) {
  constexpr int kProcesses = 16;
  constexpr int kAccesses[] = {_O_RDWR, _O_RDONLY, _O_WRONLY};
  const int rounds = ContentionRounds(25);
  const std::string counter = dir_.File("counter");
  WriteWholeFile(counter, "0");
  std::vector<ChildProcess> children;
  for (int i = 0; i < kProcesses; ++i) {
    children.push_back(ChildProcess::Start(
        "addUnderLock",
        {path_, counter, std::to_string(rounds), std::to_string(kAccesses[i % 3])}));
  }
  for (ChildProcess& child : children) {
    child.WriteLine("go");
  }
  for (ChildProcess& child : children) {
    EXPECT_EQ(child.ReadLine(), "0");
  }
  EXPECT_EQ(NumberIn(counter), kProcesses * rounds);
}

// Locks argv[1] again and again, in all ways and by all kinds of descriptors. Who has it
// exclusively makes the file argv[2], which nobody else may meet. Answers with the number
// of surprises.
TEST_CHILD(lockInAllWays) {
  constexpr int kRounds = 4000;
  constexpr int kAccesses[] = {_O_RDONLY, _O_WRONLY, _O_RDWR};
  constexpr int kWays[] = {kShared, kExclusive, kTryShared, kTryExclusive};
  std::minstd_rand random(static_cast<unsigned>(std::stoi(argv[3])));
  ChildReadLine();
  int surprises = 0;
  int descriptor = _open(argv[1], _O_RDWR | _O_BINARY);
  for (int round = 0; round < kRounds; ++round) {
    if (round % 20 == 0) {
      _close(descriptor);
      descriptor = _open(argv[1], kAccesses[random() % 3] | _O_BINARY);
    }
    const int mode = kWays[random() % 4];
    if (utl_flock(descriptor, mode) != 0) {
      surprises += mode == kShared || mode == kExclusive ? 1 : 0;
      continue;
    }
    if (mode == kExclusive || mode == kTryExclusive) {
      const int own = _open(argv[2], _O_CREAT | _O_EXCL | _O_RDWR, 0600);
      surprises += own < 0 ? 1 : 0;
      _close(own);
      _unlink(argv[2]);
    } else {
      surprises += _access(argv[2], 0) == 0 ? 1 : 0;
    }
    surprises += utl_flock(descriptor, kUnlock) == 0 ? 0 : 1;
  }
  _close(descriptor);
  ChildWriteLine(std::to_string(surprises));
  return 0;
}

TEST_F(FlockTest, ProcessesWithAllKindsOfLocks) {
  std::vector<ChildProcess> children;
  for (int number = 1; number <= 4; ++number) {
    children.push_back(ChildProcess::Start(
        "lockInAllWays", {path_, dir_.File("busy"), std::to_string(number)}));
  }
  for (ChildProcess& child : children) {
    child.WriteLine("go");
  }
  for (ChildProcess& child : children) {
    EXPECT_EQ(child.ReadLine(), "0");
  }
}
