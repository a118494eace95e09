// Byte-range locks, between handles of one process and of two.

#include <fcntl.h>
#include <io.h>

#include <string>
#include <thread>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/handle/AsHandle.h"
#include "common/handle/Pipe.h"
#include "platform/LockCode.h"
#include "platform/PlatformTest.h"

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

TEST_F(FileLockTest, WritersShare) {
  const ScopedHandle writer(Open(Name("a"), GENERIC_WRITE));
  const ScopedHandle otherWriter(Open(Name("a"), GENERIC_WRITE));
  const ScopedHandle reader(Open(Name("a")));
  for (const HANDLE handle :
       {HANDLE{writer}, HANDLE{otherWriter}, HANDLE{one_}, HANDLE{reader}}) {
    EXPECT_EQ(LockCode(handle, kTry, 0, 10), 0u);
  }
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(reader, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(otherWriter, 0, 10), 0u);
  for (const HANDLE handle :
       {HANDLE{writer}, HANDLE{otherWriter}, HANDLE{one_}, HANDLE{reader}}) {
    EXPECT_EQ(LockCode(handle, kTryExclusive, 0, 10), kLocked);
  }
  EXPECT_EQ(UnlockCode(writer, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(writer, 0, 10), kLocked);
  for (const HANDLE handle : {HANDLE{otherWriter}, HANDLE{one_}, HANDLE{reader}}) {
    EXPECT_EQ(LockCode(handle, kTryExclusive, 0, 10), 0u);
    EXPECT_EQ(LockCode(writer, kTry, 0, 10), kLocked);
    EXPECT_EQ(UnlockCode(handle, 0, 10), 0u);
  }
}

TEST_F(FileLockTest, WritersLocksOfBothKinds) {
  ScopedHandle writer(Open(Name("a"), GENERIC_WRITE));
  EXPECT_EQ(LockCode(writer, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(LockCode(writer, kTry, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(writer, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(LockCode(writer, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(writer, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
  writer.Close();
  EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
}

TEST_F(FileLockTest, WritersWait) {
  const ScopedHandle writer(Open(Name("a"), GENERIC_WRITE));
  ASSERT_EQ(LockCode(one_, kTryExclusive, 0, 10), 0u);
  std::thread sharer([&] { EXPECT_EQ(LockCode(writer, 0, 0, 10), 0u); });
  EXPECT_EQ(UnlockCode(one_, 0, 10), 0u);
  sharer.join();
  std::thread waiter(
      [this] { EXPECT_EQ(LockCode(one_, LOCKFILE_EXCLUSIVE_LOCK, 0, 10), 0u); });
  EXPECT_EQ(UnlockCode(writer, 0, 10), 0u);
  waiter.join();
  EXPECT_EQ(LockCode(writer, kTry, 0, 10), kLocked);
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

// Locks an inherited handle as it is told, "x", "s" (without waiting), "w" (waiting
// exclusively) or "u" for unlocking a line, and answers with the code.
TEST_CHILD(lockInherited) {
  const HANDLE handle = AsHandle(std::stoll(argv[1]));
  for (std::string line; !(line = ChildReadLine()).empty();) {
    const DWORD flags = line == "x" ? kTryExclusive : line == "s" ? kTry : DWORD{2};
    ChildWriteLine(std::to_string(line == "u" ? UnlockCode(handle, 0, 10)
                                              : LockCode(handle, flags, 0, 10)));
  }
  return 0;
}

namespace {

// A descriptor that children inherit, and a child that has it.
class InheritedLockTest : public FileLockTest {
 protected:
  InheritedLockTest() : InheritedLockTest(_O_RDWR) {}
  explicit InheritedLockTest(int access)
      : descriptor_(_open(Name("a").c_str(), access | _O_BINARY)),
        handle_(AsHandle(_get_osfhandle(descriptor_))),
        child_(ChildProcess::Start("lockInherited",
                                   {std::to_string(_get_osfhandle(descriptor_))})) {}
  ~InheritedLockTest() override { _close(descriptor_); }

  std::string ChildsCode(const std::string& order) {
    child_.WriteLine(order);
    return child_.ReadLine();
  }

  // Whether the locks of one are the other's, whoever has locked.
  void ExpectCommonLocks();
  // A shared lock beside the other's exclusive one, which it outlives.
  void ExpectSharedBesideExclusive();

  const int descriptor_;
  const HANDLE handle_;
  ChildProcess child_;
};

const std::string kLockedText = std::to_string(kLocked);

void InheritedLockTest::ExpectCommonLocks() {
  for (const DWORD held : {kTryExclusive, kTry}) {
    SCOPED_TRACE(held);
    EXPECT_EQ(LockCode(handle_, held, 0, 10), 0u);
    EXPECT_EQ(ChildsCode("x"), kLockedText);
    EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), kLocked);
    EXPECT_EQ(ChildsCode("u"), "0");
    EXPECT_EQ(UnlockCode(handle_, 0, 10), kLocked);
    EXPECT_EQ(LockCode(other_, kTryExclusive, 0, 10), 0u);
    EXPECT_EQ(ChildsCode("x"), kLockedText);
    EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
  }
  EXPECT_EQ(ChildsCode("x"), "0");
  EXPECT_EQ(LockCode(handle_, kTryExclusive, 0, 10), kLocked);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  EXPECT_EQ(UnlockCode(handle_, 0, 10), 0u);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), 0u);
  EXPECT_EQ(UnlockCode(other_, 0, 10), 0u);
}

void InheritedLockTest::ExpectSharedBesideExclusive() {
  EXPECT_EQ(LockCode(handle_, kTryExclusive, 0, 10), 0u);
  EXPECT_EQ(ChildsCode("s"), "0");
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
  child_.CloseInput();
  EXPECT_EQ(child_.Wait(), 0);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
}

class InheritedReaderLockTest : public InheritedLockTest {
 protected:
  InheritedReaderLockTest() : InheritedLockTest(_O_RDONLY) {}
};

}  // namespace

TEST_F(InheritedLockTest, LocksAreThoseOfTheOpenFile) {
  ExpectCommonLocks();
}

TEST_F(InheritedReaderLockTest, LocksAreThoseOfTheOpenFile) {
  ExpectCommonLocks();
}

TEST_F(InheritedLockTest, SharedBesideTheOthersExclusive) {
  ExpectSharedBesideExclusive();
}

TEST_F(InheritedReaderLockTest, SharedBesideTheOthersExclusive) {
  ExpectSharedBesideExclusive();
}

TEST_F(InheritedLockTest, AChildWaitsForItsParentsLock) {
  EXPECT_EQ(LockCode(handle_, kTryExclusive, 0, 10), 0u);
  child_.WriteLine("w");
  EXPECT_EQ(UnlockCode(handle_, 0, 10), 0u);
  EXPECT_EQ(child_.ReadLine(), "0");
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
}

TEST_F(InheritedLockTest, AChildThatClosesUnlocksNothing) {
  EXPECT_EQ(LockCode(handle_, kTryExclusive, 0, 10), 0u);
  child_.CloseInput();
  EXPECT_EQ(child_.Wait(), 0);
  EXPECT_EQ(LockCode(other_, kTry, 0, 10), kLocked);
}

// Run as a user who may not write the file: how others are refused, and not refused.
TEST_CHILD(lockUnwritable) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  const ScopedHandle handle(Open(argv[1]));
  if (!handle.IsValid() || Open(argv[1], GENERIC_WRITE) != INVALID_HANDLE_VALUE) {
    return 3;
  }
  for (std::string line; !(line = ChildReadLine()).empty();) {
    ChildWriteLine(std::to_string(line == "u" ? UnlockCode(handle, 0, 10)
                                              : LockCode(handle, kTryExclusive, 0, 10)));
  }
  return 0;
}

TEST_F(FileLockTest, WhoeverMayNotWriteTheFileExcludesAllTheSame) {
  ChildProcess child = ChildProcess::Start("lockUnwritable", {Name("a")});
  child.WriteLine("x");
  const std::string answer = child.ReadLine();
  if (answer.empty() && child.Wait() == 2) {
    GTEST_SKIP() << "no other user than root to be had on this target";
  }
  ASSERT_EQ(answer, "0");
  const ScopedHandle reader(Open(Name("a")));
  for (const HANDLE handle : {HANDLE{one_}, HANDLE{reader}}) {
    EXPECT_EQ(LockCode(handle, kTry, 5, 1), kLocked);
    EXPECT_EQ(LockCode(handle, kTryExclusive, 0, 10), kLocked);
    EXPECT_EQ(LockCode(handle, kTryExclusive, 10, 1), 0u);
    EXPECT_EQ(UnlockCode(handle, 10, 1), 0u);
  }
  child.WriteLine("u");
  EXPECT_EQ(child.ReadLine(), "0");
  for (const HANDLE handle : {HANDLE{one_}, HANDLE{reader}}) {
    for (const DWORD flags : {kTry, kTryExclusive}) {
      EXPECT_EQ(LockCode(handle, flags, 0, 10), 0u);
      child.WriteLine("x");
      EXPECT_EQ(child.ReadLine(), kLockedText);
      EXPECT_EQ(UnlockCode(handle, 0, 10), 0u);
    }
  }
}
