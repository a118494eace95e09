#include "utl/impl/multisection/utl_LockFileHolder.h"

#include <gtest/gtest.h>
#include <io.h>

#include <vector>

#include "common/child/ChildProcess.h"
#include "common/failing/InsteadOfSleep.h"
#include "common/temp/TempDir.h"

namespace {

class LockFileHolderTest : public testing::Test {
 protected:
  TempDir dir_;
  const std::string file_ = dir_.File("data.lock");
  const cow_String path_ = file_.c_str();
};

TEST_F(LockFileHolderTest, NoAttemptMakesNoFile) {
  utl_LockFileHolder lock(path_, 0, 10);
  EXPECT_FALSE(FileExists(file_));
  EXPECT_FALSE(lock.acquire(0, 10));
  EXPECT_FALSE(FileExists(file_));
}

TEST_F(LockFileHolderTest, ConstructorTriesAtOnce) {
  utl_LockFileHolder lock(path_, 1, 0);
  EXPECT_TRUE(FileExists(file_));
  EXPECT_TRUE(lock.acquire(0, 0)) << "held already";
}

TEST_F(LockFileHolderTest, TheLockFileIsEmpty) {
  const utl_LockFileHolder lock(path_, 1, 0);
  EXPECT_EQ(ReadWholeFile(file_), "");
}

TEST_F(LockFileHolderTest, HolderRemovesTheFile) {
  { const utl_LockFileHolder lock(path_, 1, 0); }
  EXPECT_FALSE(FileExists(file_));
}

TEST_F(LockFileHolderTest, SecondHolderFailsAndLeavesTheFileAlone) {
  const utl_LockFileHolder first(path_, 1, 0);
  {
    utl_LockFileHolder second(path_, 3, 0);
    EXPECT_FALSE(second.acquire(3, 0));
  }
  EXPECT_TRUE(FileExists(file_));
}

TEST_F(LockFileHolderTest, FreedLockIsAcquiredByALaterAttempt) {
  WriteWholeFile(file_, "");
  utl_LockFileHolder lock(path_, 1, 0);
  EXPECT_FALSE(lock.acquire(1, 0));
  ASSERT_EQ(_unlink(file_.c_str()), 0);
  EXPECT_TRUE(lock.acquire(1, 0));
}

TEST_F(LockFileHolderTest, PausesAfterEveryFailedAttemptTheLastOneToo) {
  WriteWholeFile(file_, "");
  std::vector<DWORD> pauses;
  const InsteadOfSleep sleep([&](DWORD milliseconds) { pauses.push_back(milliseconds); });
  utl_LockFileHolder lock(path_, 2, 5);
  EXPECT_EQ(pauses, (std::vector<DWORD>{5, 5}));
  EXPECT_FALSE(lock.acquire(3, 7));
  EXPECT_EQ(pauses, (std::vector<DWORD>{5, 5, 7, 7, 7}));
}

TEST_F(LockFileHolderTest, DoesNotPauseAfterSuccess) {
  const InsteadOfSleep sleep([](DWORD) { ADD_FAILURE(); });
  utl_LockFileHolder lock(path_, 10, 10);
  EXPECT_TRUE(lock.acquire(10, 10));
}

TEST_F(LockFileHolderTest, AcquireOfAHeldLockIsTrueWithoutAnAttempt) {
  utl_LockFileHolder lock(path_, 1, 0);
  EXPECT_TRUE(lock.acquire(10, 1000));
}

TEST_F(LockFileHolderTest, NoDirectoryNoLock) {
  utl_LockFileHolder lock(dir_.File("missing/data.lock").c_str(), 2, 0);
  EXPECT_FALSE(lock.acquire(2, 0));
}

// Prints whether the lock was got, and exits 0, when descriptor 0 is the next free one.
TEST_CHILD(lockOnDescriptorZero) {
  _close(0);
  utl_LockFileHolder lock(argv[1], 2, 0);
  ChildWriteLine(lock.acquire(2, 0) ? "held" : "not held");
  ChildWriteLine(FileExists(argv[1]) ? "file" : "no file");
  return 0;
}

TEST_F(LockFileHolderTest, DescriptorZeroIsAFailureThatLeavesNoFile) {
  ChildProcess child = ChildProcess::Start("lockOnDescriptorZero", {file_});
  EXPECT_EQ(child.ReadLine(), "not held");
  EXPECT_EQ(child.ReadLine(), "no file");
  EXPECT_EQ(child.Wait(), 0);
}

// Exits 0 when the lock is got on descriptor 1, the next free one.
TEST_CHILD(lockOnDescriptorOne) {
  _close(1);
  utl_LockFileHolder lock(argv[1], 1, 0);
  return lock.acquire(0, 0) && FileExists(argv[1]) ? 0 : 1;
}

TEST_F(LockFileHolderTest, DescriptorOneHoldsTheLockAsAnyOther) {
  EXPECT_EQ(ChildProcess::Start("lockOnDescriptorOne", {file_}).Wait(), 0);
  EXPECT_FALSE(FileExists(file_));
}

}  // namespace
