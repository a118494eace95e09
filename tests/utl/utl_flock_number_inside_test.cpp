// Locks belong to the open file, not to the number of its descriptor: that may be closed
// by the system's own calls, which the library does not see, be another file's after
// that, or be one of several of one open file.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "common/handle/Pipe.h"
#include "utl/FlockTest.h"

namespace {

constexpr int kAccesses[] = {O_RDONLY, O_WRONLY, O_RDWR};
constexpr int kLocking[] = {kShared, kExclusive, kTryShared, kTryExclusive};

// Opens by the system's own call, and is to be given a certain number.
int OpenAs(int number, const std::string& path, int access = O_RDWR) {
  const int descriptor = open(path.c_str(), access);
  EXPECT_EQ(descriptor, number);
  return descriptor;
}

class FlockNumberTest : public FlockTest {
 protected:
  FlockNumberTest() { WriteWholeFile(next_, "0123456789"); }

  // What holds for a descriptor that nobody has locked, whatever its number was before.
  static void ExpectUnlocked(int descriptor, const std::string& path) {
    const LockedDescriptor other(path);
    EXPECT_NE(ErrorOf(descriptor, kUnlock), 0);
    EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(descriptor, kTryShared), kLocked);
    EXPECT_EQ(ErrorOf(descriptor, kTryExclusive), kLocked);
    EXPECT_EQ(ErrorOf(other, kUnlock), 0);
    EXPECT_EQ(ErrorOf(descriptor, kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(other, kTryShared), kLocked);
    EXPECT_EQ(ErrorOf(descriptor, kUnlock), 0);
  }

  const std::string next_ = dir_.File("next");
};

}  // namespace

TEST_F(FlockNumberTest, TheNextFileOfANumberIsNotLocked) {
  for (const int access : kAccesses) {
    for (const int mode : kLocking) {
      for (const std::string& next : {next_, path_}) {
        SCOPED_TRACE(Names(access, mode) + " " + next);
        const int first = open(path_.c_str(), access);
        EXPECT_EQ(ErrorOf(first, mode), 0);
        close(first);
        const int second = OpenAs(first, next, access);
        ExpectUnlocked(second, next);
        close(second);
      }
    }
  }
}

TEST_F(FlockNumberTest, TheLibrarysOwnOpensForgetAsWell) {
  for (const int access : {_O_RDONLY, _O_WRONLY, _O_RDWR}) {
    SCOPED_TRACE(access);
    const int first = _open(path_.c_str(), access | _O_BINARY);
    EXPECT_EQ(ErrorOf(first, kTryExclusive), 0);
    close(first);
    const LockedDescriptor second(next_, access);
    ASSERT_EQ(second, first);
    ExpectUnlocked(second, next_);
  }
}

// Whoever asks, be it another process, before the library is called again here.
TEST_F(FlockNumberTest, ClosingByTheSystemsOwnCallUnlocks) {
  LockingProcess process(path_);
  for (const int access : kAccesses) {
    SCOPED_TRACE(access);
    const int first = open(path_.c_str(), access);
    EXPECT_EQ(ErrorOf(first, kTryExclusive), 0);
    EXPECT_EQ(process.ErrorOf(kTryShared), kLocked);
    close(first);
    EXPECT_EQ(process.ErrorOf(kTryExclusive), 0);
    EXPECT_EQ(process.ErrorOf(kUnlock), 0);
  }
  process.End();
}

TEST_F(FlockNumberTest, ANumberThatIsTakenFromItsFile) {
  for (const int access : kAccesses) {
    SCOPED_TRACE(access);
    const int first = open(path_.c_str(), access);
    const int second = open(next_.c_str(), O_RDWR);
    EXPECT_EQ(ErrorOf(first, kTryExclusive), 0);
    ASSERT_GE(dup2(second, first), 0);
    ExpectUnlocked(first, next_);
    ExpectUnlocked(second, next_);
    EXPECT_EQ(ErrorOf(other_, kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(other_, kUnlock), 0);
    close(first);
    close(second);
  }
}

TEST_F(FlockNumberTest, DescriptorsOfOneOpenFileHaveItsLocks) {
  for (const int access : kAccesses) {
    SCOPED_TRACE(access);
    const int first = open(path_.c_str(), access);
    EXPECT_EQ(ErrorOf(first, kTryExclusive), 0);
    const int second = dup(first);
    EXPECT_EQ(ErrorOf(second, kTryExclusive), kLocked);
    EXPECT_EQ(ErrorOf(second, kTryShared), 0);
    EXPECT_EQ(ErrorOf(second, kUnlock), 0);
    EXPECT_EQ(ErrorOf(other_, kTryExclusive), kLocked);
    EXPECT_EQ(ErrorOf(second, kUnlock), 0);
    EXPECT_EQ(ErrorOf(other_, kTryExclusive), 0);
    EXPECT_EQ(ErrorOf(other_, kUnlock), 0);
    EXPECT_NE(ErrorOf(first, kUnlock), 0);
    close(first);
    close(second);
  }
}

TEST_F(FlockNumberTest, ManyFilesUnderOneNumber) {
  const int number = open(path_.c_str(), O_RDWR);
  close(number);
  for (int i = 0; i < 500; ++i) {
    const int access = kAccesses[i % 3];
    const int descriptor = OpenAs(number, i % 2 == 0 ? path_ : next_, access);
    EXPECT_EQ(ErrorOf(descriptor, kLocking[i % 4]), 0);
    close(descriptor);
  }
  EXPECT_EQ(ErrorOf(one_, kTryExclusive), 0);
}
