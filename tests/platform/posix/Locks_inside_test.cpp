// Byte-range locks where the system refuses, other threads wait, or the program has
// unlocked by the system's own calls.

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "common/failing/posix/FailingSystemCall.h"
#include "common/handle/AsHandle.h"
#include "platform/LockCode.h"
#include "platform/PlatformTest.h"
#include "platform/posix/state/posix_range.h"

namespace {

constexpr DWORD kWait = 0;  // for a shared lock
constexpr DWORD kWaitExclusive = LOCKFILE_EXCLUSIVE_LOCK;

int NumberOf(HANDLE handle) {
  return static_cast<int>(reinterpret_cast<intptr_t>(handle));
}

int OpenDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<int>(std::distance(begin(all), end(all)));
}

class LocksTest : public PlatformTest {
 protected:
  LocksTest()
      : one_(Open(Name("a"), GENERIC_READ | GENERIC_WRITE)),
        other_(Open(Name("a"), GENERIC_READ | GENERIC_WRITE)) {}

  // Returns once a thread waits in the system for a lock of "a".
  void AwaitWaiting() const {
    struct stat status = {};
    ASSERT_EQ(stat(Name("a").c_str(), &status), 0);
    const std::string file = ":" + std::to_string(status.st_ino) + " ";
    for (;;) {
      std::ifstream locks("/proc/locks");
      for (std::string line; std::getline(locks, line);) {
        if (line.find("-> OFDLCK") != std::string::npos &&
            line.find(file) != std::string::npos) {
          return;
        }
      }
    }
  }

  // Its mark is the second lock that is asked for, the first being one to read.
  void ExpectAWriterWithoutAMarkSharesWithNobody(PosixCall call) {
    const int fd = open(Name("a").c_str(), O_WRONLY);
    {
      const FailingSystemCall mark(call, ENOLCK, 2);
      EXPECT_EQ(LockCode(AsHandle(fd), kTry, 0, 10), 0u);
      EXPECT_TRUE(mark.Happened());
    }
    EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
    EXPECT_EQ(UnlockCode(AsHandle(fd), 0, 10), 0u);
    EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
    EXPECT_TRUE(CloseHandle(AsHandle(fd)));
  }

  ScopedHandle one_;
  ScopedHandle other_;
};

}  // namespace

// What the system refuses.

TEST_F(LocksTest, ALockThatTheSystemDoesNotHave) {
  const FailingSystemCall lock(PosixCall::kLock, EDOM);
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), DWORD{ERROR_GEN_FAILURE});
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
}

TEST_F(LocksTest, EitherNumberOfARefusalIsALock) {
  for (const int number : {EAGAIN, EACCES}) {
    const FailingSystemCall lock(PosixCall::kLock, number);
    EXPECT_EQ(LockCode(one_, kTry, 0, 10), kLocked);
    EXPECT_TRUE(lock.Happened());
  }
}

TEST_F(LocksTest, AReadersSecondLockThatIsRefusedLeavesNeither) {
  const ScopedHandle reader(Open(Name("a")));
  {
    const FailingSystemCall second(PosixCall::kLock, EDOM, 2);
    EXPECT_EQ(LockCode(reader, kTryExclusive, 0, 10), DWORD{ERROR_GEN_FAILURE});
    EXPECT_TRUE(second.Happened());
  }
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

TEST_F(LocksTest, NoDescriptorToGoOnWith) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  const FailingSystemCall duplicate(PosixCall::kDuplicate, EMFILE);
  EXPECT_EQ(LockCode(one_, kWait, 0, 10), DWORD{ERROR_TOO_MANY_OPEN_FILES});
}

TEST_F(LocksTest, TheSystemCannotWait) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  for (const DWORD flags : {kWait, kWaitExclusive}) {
    const FailingSystemCall waiting(PosixCall::kLockWaiting, EDOM);
    EXPECT_EQ(LockCode(one_, flags, 0, 10), DWORD{ERROR_GEN_FAILURE});
  }
}

TEST_F(LocksTest, AnInterruptedWaitGoesOn) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  const FailingSystemCall waiting(PosixCall::kLockWaiting, EINTR);
  std::thread waiter([this] { EXPECT_EQ(LockCode(one_, kWait, 0, 10), 0u); });
  AwaitWaiting();
  EXPECT_TRUE(waiting.Happened());
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  waiter.join();
}

// The two calls before are the unlocking ones.
TEST_F(LocksTest, ALockThatIsRefusedAfterAWait) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  std::thread waiter(
      [this] { EXPECT_EQ(LockCode(one_, kWait, 0, 10), DWORD{ERROR_GEN_FAILURE}); });
  AwaitWaiting();
  const FailingSystemCall lock(PosixCall::kLock, EDOM, 3);
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  waiter.join();
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u) << "nothing stays";
}

TEST_F(LocksTest, AFileThatCannotBeLookedAtIsNotLocked) {
  const int fd = open(Name("a").c_str(), O_RDWR);
  for (const int nth : {1, 3}) {
    {
      const FailingSystemCall status(PosixCall::kStatus, EIO, nth);
      EXPECT_EQ(LockCode(AsHandle(fd), kTry, 0, 10), DWORD{ERROR_INVALID_HANDLE});
      EXPECT_TRUE(status.Happened());
    }
    const FailingSystemCall status(PosixCall::kStatus, EIO, nth);
    EXPECT_EQ(UnlockCode(AsHandle(fd), 0, 10), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_TRUE(status.Happened());
  }
  close(fd);
}

TEST_F(LocksTest, NothingIsLockedBeyondTheLastByte) {
  OVERLAPPED at = {};
  at.OffsetHigh = 0x7FFFFFFF;
  EXPECT_EQ(CodeOf([&] { return LockFileEx(one_, kTry, 0, 10, 0, &at); }),
            DWORD{ERROR_INVALID_PARAMETER});
}

// Several ranges of one handle.

TEST_F(LocksTest, RangesThatDoNotMeetAreUnlockedByThemselves) {
  for (const DWORD start : {0, 20}) {
    EXPECT_EQ(LockCode(one_, kTry, start, 10), 0u);
  }
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 20, 10), kLocked);
}

TEST_F(LocksTest, RangesThatOverlapStayLockedUntilTheLast) {
  for (const DWORD first : {kTry, kTryExclusive}) {
    EXPECT_EQ(LockCode(one_, first, 0, 20), 0u);
    EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
    EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
    EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
    EXPECT_EQ(UnlockCode(one_, 0, 20), 0u);
    EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 20), 0u);
    EXPECT_EQ(UnlockCode(other_, 0, 20), 0u);
  }
}

TEST_F(LocksTest, AWriterUnlocksWhatItSharesBesideAnExclusiveRange) {
  const ScopedHandle writer(AsHandle(open(Name("a").c_str(), O_WRONLY)));
  EXPECT_EQ(LockCode(writer, kTryExclusive, 20, 10), 0u);
  EXPECT_EQ(LockCode(writer, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(writer, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 20, 10), kLocked);
}

// What a child shares beside its parent's exclusive lock, by the same open file, is not
// the system's: neither unlocking nor closing it may let go of the parent's.
TEST_F(LocksTest, AChildsSharingLeavesItsParentsLock) {
  for (const int access : {O_RDWR, O_WRONLY}) {
    const ScopedHandle handle(AsHandle(open(Name("a").c_str(), access)));
    EXPECT_EQ(LockCode(handle, kTryExclusive, 0, 10), 0u);
    const pid_t child = fork();
    if (child == 0) {
      const bool isRight =
          LockCode(handle, kTry, 0, 10) == 0 && LockCode(handle, kTry, 20, 10) == 0 &&
          UnlockCode(handle, 20, 10) == 0 && UnlockCode(handle, 0, 10) == 0 &&
          LockCode(handle, kTry, 0, 10) == 0 && CloseHandle(handle);
      _exit(isRight ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
    EXPECT_EQ(LockCode(other_, kTryExclusive, 20, 10), 0u);
    EXPECT_EQ(UnlockCode(other_, 20, 10), 0u);
  }
}

// Several threads with one handle.

TEST_F(LocksTest, NothingIsLockedExclusivelyWhileAThreadWaitsToShare) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  std::thread waiter([this] { EXPECT_EQ(LockCode(one_, kWait, 0, 10), 0u); });
  AwaitWaiting();
  EXPECT_EQ(LockCode(one_, kTryExclusive, 20, 10), kLocked);
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  waiter.join();
  EXPECT_EQ(LockCode(one_, kTryExclusive, 20, 10), 0u);
}

TEST_F(LocksTest, TwoThreadsWait) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  const auto share = [this] { EXPECT_EQ(LockCode(one_, kWait, 0, 10), 0u); };
  std::thread first(share);
  AwaitWaiting();
  const int descriptors = OpenDescriptors();
  std::thread second(share);
  while (OpenDescriptors() == descriptors) {  // it has one of its own while it waits
  }
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  first.join();
  second.join();
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked) << "it is locked twice";
}

// The thread sanitizer would take `close` for a race, which it is.
TEST_F(LocksTest, AHandleThatIsClosedByTheSystemsCallWhileAThreadWaits) {
  ASSERT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
  const int fd = open(Name("a").c_str(), O_RDWR);
  std::thread waiter([fd] {
    EXPECT_EQ(LockCode(AsHandle(fd), kWait, 0, 10), DWORD{ERROR_INVALID_HANDLE});
  });
  AwaitWaiting();
  syscall(SYS_close, fd);
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  waiter.join();
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

// Unlocked by the system's own calls.

TEST_F(LocksTest, WhatAWriterSharesIsNotSharedOnceTheSystemHasItUnlocked) {
  const ScopedHandle writer(AsHandle(open(Name("a").c_str(), O_WRONLY)));
  ASSERT_EQ(LockCode(writer, kTry, 0, 10), 0u);
  flock sharers = {};
  sharers.l_type = F_UNLCK;
  sharers.l_whence = SEEK_SET;
  sharers.l_start = posix::kFirstSharersByte;
  sharers.l_len = posix::kFirstShareByte - posix::kFirstSharersByte;
  ASSERT_EQ(fcntl(NumberOf(writer), F_OFD_SETLK, &sharers), 0);
  EXPECT_EQ(UnlockCode(writer, 0, 10), kLocked);
}

// Open files without a mark, which special files that only tell their status are.

TEST_F(LocksTest, AStatusHandleWhoseNumberIsAnotherFiles) {
  ASSERT_EQ(mkfifo(Name("fifo").c_str(), 0644), 0);
  const HANDLE status = Open(Name("fifo"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS);
  ASSERT_NE(status, INVALID_HANDLE_VALUE);
  const int fd = open(Name("a").c_str(), O_RDWR);
  EXPECT_EQ(LockCode(AsHandle(fd), kTry, 0, 10), 0u) << "not the FIFO's";
  ASSERT_EQ(dup2(fd, NumberOf(status)), NumberOf(status));
  EXPECT_EQ(LockCode(status, kTry, 0, 10), 0u) << "it is another file's now";
  close(NumberOf(status));
  close(fd);
}

TEST_F(LocksTest, AWriterWhoseMarkIsRefusedSharesWithNobody) {
  ExpectAWriterWithoutAMarkSharesWithNobody(PosixCall::kLock);
}

TEST_F(LocksTest, AWriterWhoseMarkIsNotRecordedSharesWithNobody) {
  ExpectAWriterWithoutAMarkSharesWithNobody(PosixCall::kAcceptLock);
}

TEST_F(LocksTest, AStatusHandleWhoseFileCannotBeLookedAt) {
  ASSERT_EQ(mkfifo(Name("fifo").c_str(), 0644), 0);
  const ScopedHandle status(Open(Name("fifo"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS));
  ASSERT_TRUE(status.IsValid());
  const FailingSystemCall look(PosixCall::kStatus, EIO);
  DWORD count = 0;
  EXPECT_FALSE(WriteFile(status, "x", 1, &count, nullptr)) << "the system refuses it";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(look.Happened());
}

TEST_F(LocksTest, FileWhoseLocksNobodyTellsIsOpenedAllTheSame) {
  const FailingSystemCall ask(PosixCall::kAskForLock, EIO);
  EXPECT_TRUE(ScopedHandle(Open(Name("a"))).IsValid());
  EXPECT_TRUE(ask.Happened());
}
