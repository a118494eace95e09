// Every call to the system that a save makes fails once.

#include <windows.h>

#include <optional>
#include <stdexcept>

#include "common/expect/Told.h"
#include "common/failing/FailingCall.h"
#include "common/failing/ShortWrites.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

class MultisectionFailureTest : public MultisectionTest {
 protected:
  MultisectionFailureTest() { WriteImage(kOld); }

  // Opens, sets "a" and "c"; then one of the calls of saving and closing fails.
  void SaveFailing(SystemCall call, int nth) {
    failure_.reset();
    WriteImage(kOld);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", kNew[0].data);
    Set(file, "c", kNew[2].data);
    failure_.emplace(call, DWORD{ERROR_ACCESS_DENIED}, nth);
    file.saveChanges();
  }

  /// Whether `bytes` are those of the old file, or of a copy over it that broke off.
  static bool IsStageOfASave(const std::string& bytes) {
    const std::string fresh = BuildImage(kNew);
    std::string stage = BuildImage(kOld);
    if (bytes == stage) {
      return true;
    }
    stage.resize(fresh.size());
    for (std::size_t copied = 0; copied <= fresh.size(); ++copied) {
      if (bytes == fresh.substr(0, copied) + stage.substr(copied)) {
        return true;
      }
    }
    return false;
  }

  static const Image kOld;
  static const Image kNew;

  std::optional<FailingCall> failure_;
  const cow_String temporary_ =
      (file_ + "." + std::to_string(GetCurrentProcessId()) + ".tmp").c_str();
};

const Image MultisectionFailureTest::kOld = {{"a", "old"}, {"b", "kept"}, {"c", "3"}};
const Image MultisectionFailureTest::kNew = {
    {"a", "new, longer"}, {"b", "kept"}, {"c", ""}};

TEST_F(MultisectionFailureTest, EveryCallOfASaveFailsOnce) {
  for (const SystemCall call :
       {SystemCall::kCloseHandle, SystemCall::kCreateFile, SystemCall::kFlushFileBuffers,
        SystemCall::kGetFileSize, SystemCall::kReadFile, SystemCall::kSetEndOfFile,
        SystemCall::kSetFilePointer, SystemCall::kWriteFile}) {
    for (int nth = 1;; ++nth) {
      SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                   std::to_string(nth));
      bool thrown = false;
      try {
        SaveFailing(call, nth);
      } catch (const nex_TextException&) {
        thrown = true;
      }
      ASSERT_EQ(thrown, failure_->Happened());
      EXPECT_EQ(OtherFiles(), "");
      if (!thrown) {
        EXPECT_GT(nth, 1) << "no such call at all";
        EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
        break;
      }
      EXPECT_TRUE(IsStageOfASave(ReadWholeFile(file_)));
    }
  }
}

struct Failure {
  SystemCall call;
  int nth;
  std::string told;
};

TEST_F(MultisectionFailureTest, FailuresAreThoseOfTheFileThatFailed) {
  // The first write is that of the temporary file, the second Extend's.
  const std::vector<Failure> failures = {
      {SystemCall::kCreateFile, 1,
       Told(utl_FileExceptionOpen(5, temporary_, "CreateFile in OpenWrite"))},
      {SystemCall::kSetFilePointer, 1,
       Told(utl_FileExceptionSeek(5, path_, "SetFilePointer"))},
      {SystemCall::kReadFile, 1, Told(utl_FileExceptionRead(5, path_, "ReadFile"))},
      {SystemCall::kWriteFile, 1,
       Told(utl_FileExceptionWrite(5, temporary_, "WriteFile"))},
      {SystemCall::kDeleteFile, 1,
       Told(utl_FileExceptionOpen(5, temporary_, "CreateFile in OpenWrite"))},
      {SystemCall::kFlushFileBuffers, 1,
       Told(utl_FileExceptionFlush(5, temporary_, "FlushFileBuffers"))},
      {SystemCall::kFlushFileBuffers, 2,
       Told(utl_FileExceptionFlush(5, path_, "FlushFileBuffers"))},
      {SystemCall::kGetFileSize, 1,
       Told(utl_FileExceptionSize(5, temporary_, "GetFileSize"))},
      {SystemCall::kSetEndOfFile, 1,
       Told(utl_FileExceptionExtend(5, path_, "SetEndOfFile"))},
      {SystemCall::kWriteFile, 2, Told(utl_FileExceptionExtend(5, path_, "WriteFile"))},
      {SystemCall::kWriteFile, 3, Told(utl_FileExceptionWrite(5, path_, "WriteFile"))},
      {SystemCall::kCloseHandle, 1,
       Told(utl_FileExceptionClose(5, temporary_, "CloseHandle"))},
      {SystemCall::kCloseHandle, 2,
       Told(utl_FileExceptionClose(5, path_, "CloseHandle"))},
  };
  for (const Failure& failure : failures) {
    try {
      SaveFailing(failure.call, failure.nth);
      ADD_FAILURE() << "not thrown: " << failure.told;
    } catch (const nex_TextException& thrown) {
      EXPECT_EQ(Told(thrown), failure.told);
    }
    EXPECT_EQ(OtherFiles(), "");
  }
}

TEST_F(MultisectionFailureTest, FailedOpeningLeavesNoLock) {
  {
    const FailingCall failure(SystemCall::kCreateFile, ERROR_ACCESS_DENIED);
    EXPECT_THROW_TEXT(
        utl_MultisectionFile(path_, utl_FileAccessUpdate), utl_FileExceptionOpen,
        utl_FileExceptionOpen(5, path_, "CreateFile in OpenUpdate").AsString());
  }
  {
    const FailingCall failure(SystemCall::kReadFile, ERROR_ACCESS_DENIED);
    EXPECT_THROW_TEXT(utl_MultisectionFile(path_, utl_FileAccessUpdate),
                      utl_FileExceptionRead,
                      utl_FileExceptionRead(5, path_, "ReadFile").AsString());
  }
  EXPECT_EQ(OtherFiles(), "");
}

// The second name is passed over, and the directory read again from its start.
TEST_F(MultisectionFailureTest, EveryCallOfAnOpeningFailsOnce) {
  const Image image = {{"a", "1"}, {std::string(200000, 'n'), "2"}, {"c", "3"}};
  WriteImage(image);
  const std::pair<SystemCall, std::string> failures[] = {
      {SystemCall::kCreateFile,
       Told(utl_FileExceptionOpen(5, path_, "CreateFile in OpenRead"))},
      {SystemCall::kGetFileSize, Told(utl_FileExceptionSize(5, path_, "GetFileSize"))},
      {SystemCall::kReadFile, Told(utl_FileExceptionRead(5, path_, "ReadFile"))},
      {SystemCall::kSetFilePointer,
       Told(utl_FileExceptionSeek(5, path_, "SetFilePointer"))}};
  for (const auto& [call, told] : failures) {
    for (int nth = 1;; ++nth) {
      SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                   std::to_string(nth));
      const FailingCall failure(call, ERROR_ACCESS_DENIED, nth);
      try {
        utl_MultisectionFile file(path_, utl_FileAccessRead);
        ASSERT_FALSE(failure.Happened());
        EXPECT_GT(nth, 1) << "no such call at all";
        EXPECT_EQ(Get(file, "c"), "3");
        break;
      } catch (const nex_TextException& thrown) {
        ASSERT_TRUE(failure.Happened());
        EXPECT_EQ(Told(thrown), told);
      }
    }
  }
}

TEST_F(MultisectionFailureTest, FailedWriteOfTheTemporaryFileKeepsTheDataForAnotherTry) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "a", kNew[0].data);
  Set(file, "c", kNew[2].data);
  {
    const FailingCall full(SystemCall::kWriteFile, ERROR_DISK_FULL);
    EXPECT_THROW_TEXT(file.saveChanges(), utl_FileExceptionWrite,
                      utl_FileExceptionWrite(112, temporary_, "WriteFile").AsString());
  }
  {
    const ShortWrites full(10);
    EXPECT_THROW_TEXT(file.saveChanges(), utl_FileExceptionFull,
                      utl_FileExceptionFull(temporary_).AsString());
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kOld));
  for (const ImageSection& section : kNew) {
    EXPECT_EQ(Get(file, section.name), section.data);
  }
  file.saveChanges();
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
}

TEST_F(MultisectionFailureTest, FailedReadIsNotTakenForAPlaceInTheFile) {
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(file, "a"), "old");
  {
    const FailingCall failure(SystemCall::kReadFile, ERROR_ACCESS_DENIED);
    EXPECT_THROW_TEXT(Get(file, "b"), utl_FileExceptionRead,
                      utl_FileExceptionRead(5, path_, "ReadFile").AsString());
  }
  {
    const FailingCall failure(SystemCall::kSetFilePointer, ERROR_ACCESS_DENIED);
    EXPECT_THROW_TEXT(Get(file, "a"), utl_FileExceptionSeek,
                      utl_FileExceptionSeek(5, path_, "SetFilePointer").AsString());
  }
  EXPECT_EQ(Get(file, "c"), "3");
  EXPECT_EQ(Get(file, "b"), "kept");
}

TEST_F(MultisectionFailureTest, SectionIsReadAgainFromItsStartAfterAReadBrokeOff) {
  std::string data(600000, 'x');
  data.front() = 'a';
  WriteImage({{"a", "1"}, {"large", data}});
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(file, "a"), "1");
  {
    const FailingCall failure(SystemCall::kReadFile, ERROR_ACCESS_DENIED, 2);
    EXPECT_THROW_TEXT(Get(file, "large"), utl_FileExceptionRead,
                      utl_FileExceptionRead(5, path_, "ReadFile").AsString());
  }
  EXPECT_TRUE(data == Get(file, "large"));
}

TEST_F(MultisectionFailureTest, FailedCloseIsThrownByTheDestructorAfterUnlocking) {
  EXPECT_THROW_TEXT(
      {
        utl_MultisectionFile file(path_, utl_FileAccessUpdate);
        failure_.emplace(SystemCall::kCloseHandle, DWORD{ERROR_INVALID_HANDLE});
      },
      utl_FileExceptionClose, utl_FileExceptionClose(6, path_, "CloseHandle").AsString());
  EXPECT_EQ(OtherFiles(), "");
}

TEST_F(MultisectionFailureTest, FailedCloseIsSilentWhileAnotherExceptionUnwinds) {
  try {
    const utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    failure_.emplace(SystemCall::kCloseHandle, DWORD{ERROR_INVALID_HANDLE});
    throw std::runtime_error("first");
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "first");
  }
  EXPECT_TRUE(failure_->Happened());
  EXPECT_EQ(OtherFiles(), "");
}

}  // namespace
