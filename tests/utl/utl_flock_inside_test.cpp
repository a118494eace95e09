// The five modes between descriptors and processes, and what fails.

#include <string>

#include "common/handle/AsHandle.h"
#include "common/handle/Pipe.h"
#include "utl/FlockTest.h"

namespace {

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

TEST_F(FlockTest, BetweenDescriptorsOfOneProcess) {
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(Names(pair.held, pair.asked));
    const LockedDescriptor one(path_);
    const LockedDescriptor other(path_);
    EXPECT_EQ(ErrorOf(one, pair.held), 0);
    EXPECT_EQ(ErrorOf(other, pair.asked), pair.error);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
    if (pair.error != 0) {
      EXPECT_EQ(ErrorOf(other, pair.asked), 0);
    }
  }
}

TEST_F(FlockTest, BetweenProcesses) {
  LockingProcess other(path_);
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(Names(pair.held, pair.asked));
    const LockedDescriptor one(path_);
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

TEST_F(FlockTest, FreshFileIsHadInEveryMode) {
  for (const int mode : {kShared, kExclusive, kTryShared, kTryExclusive}) {
    const LockedDescriptor one(path_);
    EXPECT_EQ(ErrorOf(one, mode), 0);
    EXPECT_EQ(ErrorOf(one, kUnlock), 0);
  }
}

TEST_F(FlockTest, OtherModesAreInvalid) {
  for (const int mode : {0, 3, 4, 7, 9, 10, 12, 13, 14, 15, 16, -1, -2, 1 << 30, 0x105}) {
    EXPECT_EQ(ErrorOf(one_, mode), kInvalidArgument) << mode;
    EXPECT_EQ(ErrorOf(-1, mode), kInvalidArgument) << mode;
  }
  EXPECT_EQ(ErrorOf(other_, kTryExclusive), 0);
}

TEST_F(FlockTest, BadDescriptors) {
  LockedDescriptor one(path_);
  const int closed = one;
  one.Close();
  for (const int mode : kModes) {
    for (const int descriptor : {-1, closed, kNoFile, -1000}) {
      EXPECT_EQ(ErrorOf(descriptor, mode), kInvalidHandle) << descriptor << ", " << mode;
    }
  }
}

TEST_F(FlockTest, UnlockOfWhatIsNotLocked) {
  EXPECT_NE(ErrorOf(one_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(one_, kTryExclusive), 0);
  SetLastError(0);
  const int error = ErrorOf(other_, kUnlock);
  EXPECT_NE(error, 0);
  EXPECT_EQ(error, static_cast<int>(GetLastError()));
  EXPECT_EQ(ErrorOf(other_, kTryShared), kLocked);
  EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  EXPECT_NE(ErrorOf(one_, kUnlock), 0);
}

TEST_F(FlockTest, FailureIsTheSystemsOwnNumber) {
  ASSERT_EQ(ErrorOf(one_, kExclusive), 0);
  EXPECT_EQ(ErrorOf(other_, kTryShared), static_cast<int>(ERROR_LOCK_VIOLATION));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
}

TEST_F(FlockTest, ExclusiveOnOneDescriptorExcludesASecond) {
  EXPECT_EQ(ErrorOf(one_, kTryExclusive), 0);
  EXPECT_EQ(ErrorOf(one_, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(one_, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one_, kTryExclusive), kLocked);
}

TEST_F(FlockTest, SharedTwiceIsUnlockedTwice) {
  EXPECT_EQ(ErrorOf(one_, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one_, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other_, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other_, kTryExclusive), 0);
}

TEST_F(FlockTest, SharedBesideTheOwnExclusiveOutlivesIt) {
  EXPECT_EQ(ErrorOf(one_, kTryExclusive), 0);
  EXPECT_EQ(ErrorOf(one_, kTryShared), 0);
  EXPECT_EQ(ErrorOf(other_, kTryShared), kLocked);
  EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other_, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(other_, kTryShared), 0);
  EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other_, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other_, kTryExclusive), 0);
}

TEST_F(FlockTest, ReadersAndWritersMayLockAsTheyLike) {
  const int accesses[] = {_O_RDONLY, _O_WRONLY, _O_RDWR};
  for (const int first : accesses) {
    for (const int second : accesses) {
      for (const Pair& pair : kPairs) {
        SCOPED_TRACE(Names(first, second) + ": " + Names(pair.held, pair.asked));
        const LockedDescriptor one(path_, first);
        const LockedDescriptor other(path_, second);
        EXPECT_EQ(ErrorOf(one, pair.held), 0);
        EXPECT_EQ(ErrorOf(other, pair.asked), pair.error);
      }
    }
  }
}

// Whatever the descriptor may do with the file.
TEST_F(FlockTest, SuccessLeavesErrnoAlone) {
  for (const int access : {_O_RDONLY, _O_WRONLY, _O_RDWR}) {
    const LockedDescriptor descriptor(path_, access);
    for (const int mode : {kShared, kTryShared, kUnlock, kUnlock, kExclusive, kTryShared,
                           kUnlock, kUnlock, kTryExclusive, kUnlock}) {
      EXPECT_EQ(ErrorOf(descriptor, mode), 0) << Names(access, mode);
    }
  }
}

TEST_F(FlockTest, ClosingUnlocks) {
  EXPECT_EQ(ErrorOf(one_, kExclusive), 0);
  one_.Close();
  EXPECT_EQ(ErrorOf(other_, kTryExclusive), 0);
}

TEST_F(FlockTest, ClosingAnotherDescriptorUnlocksNothing) {
  EXPECT_EQ(ErrorOf(one_, kExclusive), 0);
  LockedDescriptor(path_).Close();
  EXPECT_EQ(ErrorOf(other_, kTryShared), kLocked);
}

TEST_F(FlockTest, EndOfTheProcessUnlocks) {
  for (const bool killed : {false, true}) {
    LockingProcess other(path_);
    ASSERT_EQ(other.ErrorOf(kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(one_, kTryShared), kLocked);
    killed ? other.Kill() : other.End();
    EXPECT_EQ(ErrorOf(one_, kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(one_, kUnlock), 0);
  }
}

// 4 GiB less 64 KiB from the start, whatever the file's size.
TEST_F(FlockTest, LockedRange) {
  const HANDLE handle = AsHandle(_get_osfhandle(other_));
  ASSERT_EQ(ErrorOf(one_, kExclusive), 0);
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

TEST_F(FlockTest, PositionDoesNotMatter) {
  _lseeki64(one_, 7, SEEK_SET);
  ASSERT_EQ(ErrorOf(one_, kExclusive), 0);
  EXPECT_EQ(_lseeki64(one_, 0, SEEK_CUR), 7);
  EXPECT_EQ(ErrorOf(other_, kTryShared), kLocked);
}

// What is no file has nothing to lock.
TEST_F(FlockTest, Pipes) {
  const Pipe pipe;
  for (const int mode : kModes) {
    EXPECT_EQ(ErrorOf(pipe.Reader(), mode), kInvalidHandle);
    EXPECT_EQ(ErrorOf(pipe.Writer(), mode), kInvalidHandle);
  }
}
