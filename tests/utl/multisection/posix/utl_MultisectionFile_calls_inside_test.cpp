// Each of the system's own calls in a save fails: below the Windows calls, which make
// them, and with the reasons that POSIX has.

#include <windows.h>

#include <cerrno>

#include "common/failing/posix/FailingSystemCall.h"
#include "common/handle/OpenHandles.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

constexpr PosixCall kCalls[] = {
    PosixCall::kOpen,  PosixCall::kWrite,  PosixCall::kSetSize, PosixCall::kAllocate,
    PosixCall::kFlush, PosixCall::kRename, PosixCall::kUnlink};

class MultisectionSystemCallsTest : public MultisectionTest,
                                    public testing::WithParamInterface<Save> {
 protected:
  bool IsAtomic() const { return GetParam() == kSaves[1]; }

  /// Opens the old file, sets what is new, saves and closes. Whether nothing was thrown.
  bool SaveNew() const {
    try {
      utl_MultisectionFile file(path_, utl_FileAccessUpdate);
      for (const ImageSection& section : kNew) {
        Set(file, section.name, section.data);
      }
      (file.*GetParam())();
      return true;
    } catch (const nex_TextException&) {
      return false;
    }
  }

  static const Image kOld;
  static const Image kNew;
};

const Image MultisectionSystemCallsTest::kOld = {{"a", "old"}, {"b", "kept"}};
const Image MultisectionSystemCallsTest::kNew = {{"a", "new, longer"}, {"c", "3"}};
const Image kSaved = {{"a", "new, longer"}, {"b", "kept"}, {"c", "3"}};

INSTANTIATE_TEST_SUITE_P(BothSaves, MultisectionSystemCallsTest,
                         testing::ValuesIn(kSaves), [](const auto& save) {
                           return save.param == kSaves[0] ? "Ordinary" : "Atomic";
                         });

// Renaming and unlinking are never interrupted.
TEST_P(MultisectionSystemCallsTest, InterruptedCallsAreMadeAgain) {
  int interruptions = 0;
  for (const PosixCall call : {PosixCall::kOpen, PosixCall::kWrite, PosixCall::kSetSize,
                               PosixCall::kAllocate, PosixCall::kFlush}) {
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
      SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                   std::to_string(nth));
      WriteImage(kOld);
      const FailingSystemCall interrupted(call, EINTR, nth);
      EXPECT_TRUE(SaveNew());
      happened = interrupted.Happened();
      interruptions += happened ? 1 : 0;
      EXPECT_TRUE(ParseImage(ReadWholeFile(file_)) == kSaved);
      EXPECT_EQ(OtherFiles(), "");
    }
  }
  EXPECT_GT(interruptions, 5);
}

// What cannot be deleted stays, and is deleted by the next one who makes it.
TEST_P(MultisectionSystemCallsTest, FailedCallsLeaveTheFileOrTellOfIt) {
  const int handles = OpenHandles();
  int failures = 0;
  for (const PosixCall call : kCalls) {
    for (const int number : {EIO, ENOSPC, EACCES, EMFILE, ENOMEM}) {
      bool happened = true;
      for (int nth = 1; happened; ++nth) {
        SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                     std::to_string(nth) + ", " + std::to_string(number));
        WriteImage(kOld);
        bool saved = false;
        {
          const FailingSystemCall failing(call, number, nth);
          saved = SaveNew();
          happened = failing.Happened();
        }
        failures += happened ? 1 : 0;
        EXPECT_EQ(OpenHandles(), handles);
        const std::string bytes = ReadWholeFile(file_);
        EXPECT_TRUE(!saved || ParseImage(bytes) == kSaved);
        EXPECT_TRUE(!IsAtomic() || bytes == BuildImage(kOld) ||
                    ParseImage(bytes) == kSaved);
        if (call == PosixCall::kUnlink) {
          std::filesystem::remove(lock_);
        }
        WriteImage(kOld);
        EXPECT_TRUE(SaveNew());
        EXPECT_EQ(OtherFiles(), "");
        EXPECT_TRUE(ParseImage(ReadWholeFile(file_)) == kSaved);
      }
    }
  }
  EXPECT_GT(failures, 50);
}

// There a full disk shows later, but saving works.
TEST_P(MultisectionSystemCallsTest, FileSystemThatCannotAllocateAhead) {
  WriteImage(kOld);
  const FailingSystemCall none(PosixCall::kAllocate, EOPNOTSUPP, 1);
  EXPECT_TRUE(SaveNew());
  EXPECT_EQ(none.Happened(), !IsAtomic());
  EXPECT_TRUE(ParseImage(ReadWholeFile(file_)) == kSaved);
}

// Some answer so, having nothing to flush.
TEST_P(MultisectionSystemCallsTest, FileSystemThatFlushesNothing) {
  bool happened = true;
  for (int nth = 1; happened; ++nth) {
    WriteImage(kOld);
    const FailingSystemCall none(PosixCall::kFlush, EINVAL, nth);
    EXPECT_TRUE(SaveNew());
    EXPECT_TRUE(ParseImage(ReadWholeFile(file_)) == kSaved);
    happened = none.Happened();
    EXPECT_TRUE(happened || nth > 2);
  }
}

}  // namespace
