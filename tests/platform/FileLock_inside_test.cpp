// Byte-range locks, between handles of one process and of two.

#include <io.h>

#include <thread>

#include "common/child/ChildProcess.h"
#include "common/handle/AsHandle.h"
#include "common/handle/Pipe.h"
#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kTry = LOCKFILE_FAIL_IMMEDIATELY;
constexpr DWORD kTryExclusive = LOCKFILE_FAIL_IMMEDIATELY | LOCKFILE_EXCLUSIVE_LOCK;
constexpr DWORD kLocked = ERROR_LOCK_VIOLATION;

// The code, 0 on success, for `length` bytes from `start`.
DWORD LockCode(HANDLE handle, DWORD flags, DWORD start, DWORD length) {
  OVERLAPPED at = {};
  at.Offset = start;
  SetLastError(kUntouched);
  return LockFileEx(handle, flags, 0, length, 0, &at) ? 0 : GetLastError();
}

DWORD UnlockCode(HANDLE handle, DWORD start, DWORD length) {
  OVERLAPPED at = {};
  at.Offset = start;
  SetLastError(kUntouched);
  return UnlockFileEx(handle, 0, length, 0, &at) ? 0 : GetLastError();
}

}  // namespace

class FileLockTest : public PlatformTest {
 protected:
  FileLockTest()
      : one_(Open(Name("a"), GENERIC_READ | GENERIC_WRITE)),
        other_(Open(Name("a"), GENERIC_READ | GENERIC_WRITE)) {}

  ScopedHandle one_;
  ScopedHandle other_;
};

TEST_F(FileLockTest, ExclusiveKeepsOthersOut) {
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(LockCode(other_, kTry, 9, 1), kLocked);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 10, 10), 0u);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 9, 1), 0u);
}

TEST_F(FileLockTest, SharedKeepsExclusiveOut) {
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 5, 10), kLocked);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 5, 10), 0u);
}

TEST_F(FileLockTest, OwnLocks) {
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, OfTwoOwnLocksTheEarlierIsUnlockedFirst) {
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
}

TEST_F(FileLockTest, ReadersLockExclusively) {
  const ScopedHandle reader(Open(Name("a")));
  const ScopedHandle otherReader(Open(Name("a")));
  EXPECT_EQ(LockCode(reader, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(otherReader, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(LockCode(otherReader, kTry, 0, 10), kLocked);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  EXPECT_EQ(LockCode(reader, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(reader, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(LockCode(otherReader, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(otherReader, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(reader, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, ReadersLocksGoWithTheirHandle) {
  ScopedHandle reader(Open(Name("a")));
  EXPECT_EQ(LockCode(reader, kTryExclusive, 0, 10), 0u);
  reader.Close();
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

// A handle that has been given its number anew has none of the earlier one's locks.
TEST_F(FileLockTest, LocksDoNotPassToTheNextHandle) {
  ScopedHandle first(Open(Name("a")));
  EXPECT_EQ(LockCode(first, kTry, 0, 10), 0u);
  first.Close();
  const ScopedHandle next(Open(Name("a")));
  EXPECT_EQ(UnlockCode(next, 0, 10), kLocked);
  EXPECT_EQ(LockCode(next, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, WaitsForTheOwnHandle) {
  for (const DWORD held : {kTry, kTryExclusive}) {
    ASSERT_EQ(LockCode(one_, held, 0, 10), 0u);
    std::thread waiter(
        [this] { EXPECT_EQ(LockCode(one_, LOCKFILE_EXCLUSIVE_LOCK, 0, 10), 0u); });
    EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
    waiter.join();
    EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
    EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  }
}

TEST_F(FileLockTest, WhatIsNoFileIsNotLocked) {
  const Pipe pipe;
  const HANDLE reader = AsHandle(_get_osfhandle(pipe.Reader()));
  const ScopedHandle directory(Open(Name("d"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS));
  const ScopedHandle device(Open("Z:\\dev\\null", GENERIC_READ | GENERIC_WRITE));
  for (const DWORD flags :
       {kTry, kTryExclusive, DWORD{0}, DWORD{LOCKFILE_EXCLUSIVE_LOCK}}) {
    EXPECT_EQ(LockCode(reader, flags, 0, 1), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(LockCode(directory, flags, 0, 1), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(LockCode(device, flags, 0, 1), DWORD{ERROR_INVALID_FUNCTION});
  }
  EXPECT_EQ(UnlockCode(reader, 0, 1), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(UnlockCode(directory, 0, 1), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(UnlockCode(device, 0, 1), kLocked);
}

TEST_F(FileLockTest, SharedTwiceIsUnlockedTwice) {
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, WhatIsNotLockedIsNotUnlocked) {
  EXPECT_EQ(UnlockCode(one_, 0, 10), kLocked);  // Windows says 158
  EXPECT_EQ(LockCode(one_, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(one_, 0, 5), kLocked);
  EXPECT_EQ(UnlockCode(other_, 0, 10), kLocked);
}

TEST_F(FileLockTest, TheRangeOfWholeFileLocks) {
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 0xFFFF0000), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0xFFFEFFFF, 1), kLocked);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0xFFFF0000, 1), 0u);
  EXPECT_EQ(UnlockCode(one_, 0, 0xFFFF0000), 0u);
}

TEST_F(FileLockTest, ClosingLetsGo) {
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
  // Another handle of the file that is closed changes nothing.
  ScopedHandle third(Open(Name("a")));
  third.Close();
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  one_.Close();
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, LocksAreNoMatterForShareModes) {
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 0), 0u);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ | GENERIC_WRITE), 0u);
}

TEST_F(FileLockTest, InvalidHandles) {
  EXPECT_EQ(LockCode(INVALID_HANDLE_VALUE, kTry, 0, 1), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(UnlockCode(INVALID_HANDLE_VALUE, 0, 1), DWORD{ERROR_INVALID_HANDLE});
}

// Takes the lock, waiting, says so, and holds it until the next line.
TEST_CHILD(lockAndHold) {
  const ScopedHandle handle(Open(argv[1], GENERIC_READ | GENERIC_WRITE));
  ChildWriteLine("locking");
  ChildWriteLine(std::to_string(LockCode(handle, LOCKFILE_EXCLUSIVE_LOCK, 0, 10)));
  ChildReadLine();
  return 0;
}

TEST_F(FileLockTest, BetweenProcesses) {
  ChildProcess child = ChildProcess::Start("lockAndHold", {Name("a")});
  ASSERT_EQ(child.ReadLine(), "locking");
  ASSERT_EQ(child.ReadLine(), "0");
  EXPECT_EQ(LockCode(one_, kTry, 5, 1), kLocked);
  child.Kill();
  EXPECT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, WaitingEndsWithTheUnlock) {
  ASSERT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
  ChildProcess child = ChildProcess::Start("lockAndHold", {Name("a")});
  ASSERT_EQ(child.ReadLine(), "locking");
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(child.ReadLine(), "0");
}
