// Byte-range locks, between handles of one process and of two.

#include "common/ChildProcess.h"
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
