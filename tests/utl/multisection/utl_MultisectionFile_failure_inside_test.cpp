// Every call to the system that a save makes fails once.

#include <windows.h>

#include <optional>
#include <stdexcept>

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
  atr_String text;
};

TEST_F(MultisectionFailureTest, FailuresAreThoseOfTheFileThatFailed) {
  // The first write is that of the temporary file, the second Extend's.
  const std::vector<Failure> failures = {
      {SystemCall::kCreateFile, 1,
       utl_FileExceptionOpen(5, temporary_, "CreateFile in OpenWrite").AsString()},
      {SystemCall::kSetFilePointer, 1,
       utl_FileExceptionSeek(5, path_, "SetFilePointer").AsString()},
      {SystemCall::kReadFile, 1, utl_FileExceptionRead(5, path_, "ReadFile").AsString()},
      {SystemCall::kWriteFile, 1,
       utl_FileExceptionWrite(5, temporary_, "WriteFile").AsString()},
      {SystemCall::kDeleteFile, 1,
       utl_FileExceptionOpen(5, temporary_, "CreateFile in OpenWrite").AsString()},
      {SystemCall::kFlushFileBuffers, 1,
       utl_FileExceptionFlush(5, temporary_, "FlushFileBuffers").AsString()},
      {SystemCall::kFlushFileBuffers, 2,
       utl_FileExceptionFlush(5, path_, "FlushFileBuffers").AsString()},
      {SystemCall::kGetFileSize, 1,
       utl_FileExceptionSize(5, temporary_, "GetFileSize").AsString()},
      {SystemCall::kSetEndOfFile, 1,
       utl_FileExceptionExtend(5, path_, "SetEndOfFile").AsString()},
      {SystemCall::kWriteFile, 2,
       utl_FileExceptionExtend(5, path_, "WriteFile").AsString()},
      {SystemCall::kWriteFile, 3,
       utl_FileExceptionWrite(5, path_, "WriteFile").AsString()},
      {SystemCall::kCloseHandle, 1,
       utl_FileExceptionClose(5, temporary_, "CloseHandle").AsString()},
      {SystemCall::kCloseHandle, 2,
       utl_FileExceptionClose(5, path_, "CloseHandle").AsString()},
  };
  for (const Failure& failure : failures) {
    try {
      SaveFailing(failure.call, failure.nth);
      ADD_FAILURE() << "not thrown: " << failure.text;
    } catch (const nex_TextException& thrown) {
      EXPECT_EQ(thrown.AsString(), failure.text);
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
  for (const SystemCall call : {SystemCall::kCreateFile, SystemCall::kGetFileSize,
                                SystemCall::kReadFile, SystemCall::kSetFilePointer}) {
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
      } catch (const nex_TextException&) {
        ASSERT_TRUE(failure.Happened());
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
