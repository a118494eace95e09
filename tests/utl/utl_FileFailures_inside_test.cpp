// Every way in which a file operation fails: by what the object itself refuses, by the
// state of the disk, and by calls that are made to fail.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>

#include "common/child/ChildProcess.h"
#include "common/environment/FileSizeLimit.h"
#include "common/environment/SmallDisk.h"
#include "common/failing/FailingCall.h"
#include "common/failing/ShortWrites.h"
#include "common/temp/TempDir.h"
#include "FileTexts.h"
#include "utl/utl_File.h"
#include "utl/utl_IOTracker.h"

namespace {

constexpr DWORD kCode = ERROR_DISK_FULL;  // of the calls that are made to fail

class FileFailuresTest : public testing::Test {
 protected:
  FileFailuresTest() { WriteWholeFile(path_, "0123456789"); }

  std::string Text(const std::string& head, const std::string& operation,
                   int code = kCode) const {
    return CallText("*** Error: " + head, operation, code, path_);
  }
  cow_String Missing() const { return dir_.File("missing").c_str(); }

  TempDir dir_;
  std::string path_ = dir_.File("job.dat");
  cow_String name_ = path_.c_str();
};

TEST_F(FileFailuresTest, AMissingFileIsReportedByEachOperationAnew) {
  const std::string where[] = {"in OpenRead", "in OpenUpdate"};
  for (const utl_FileAccess access : {utl_FileAccessRead, utl_FileAccessUpdate}) {
    const std::string path = dir_.File("missing" + std::to_string(access));
    utl_File file(path.c_str(), access, utl_FileShareDefault);
    const std::string text =
        "*** Error: No such file (utl_File: " + where[access] + ")\nfile name: " + path;
    EXPECT_FILE_ERROR(file.Seek(0), utl_FileExceptionNoFile, text);
    EXPECT_FILE_ERROR(file.FileSize(), utl_FileExceptionNoFile, text);
    WriteWholeFile(path, "now");
    EXPECT_EQ(file.FileSize(), 3);
  }
}

struct OpenFailure {
  utl_FileAccess access;
  const char* operation;
};

const OpenFailure kOpenFailures[] = {
    {utl_FileAccessRead, "CreateFile in OpenRead"},
    {utl_FileAccessUpdate, "CreateFile in OpenUpdate"},
    {utl_FileAccessWrite, "CreateFile in OpenWrite"},
};

TEST_F(FileFailuresTest, AMissingDirectoryIsAnOpenFailure) {
  const std::string path = dir_.File("none") + "/x";
  for (const OpenFailure& failure : kOpenFailures) {
    utl_File file;
    EXPECT_FILE_ERROR(
        file.Open(path.c_str(), failure.access, utl_FileShareDefault),
        utl_FileExceptionOpen,
        CallText("*** Error: File open failed", failure.operation, 3, path));
  }
}

TEST_F(FileFailuresTest, ADirectoryIsAnOpenFailure) {
  for (const OpenFailure& failure : kOpenFailures) {
    utl_File file(dir_.Path().c_str(), failure.access, utl_FileShareDefault);
    EXPECT_FILE_ERROR(
        file.Location(), utl_FileExceptionOpen,
        CallText("*** Error: File open failed", failure.operation, 5, dir_.Path()));
  }
}

TEST_F(FileFailuresTest, TheErrorOfAnOpenIsThatOfTheCall) {
  for (const OpenFailure& failure : kOpenFailures) {
    thr_GlobalSingleton<utl_IOTracker_Container>::Destroy();  // made again in between
    const FailingCall failing(SystemCall::kCreateFile, kCode);
    utl_File file(name_, failure.access, utl_FileShareDefault);
    EXPECT_FILE_ERROR(file.Init(), utl_FileExceptionOpen,
                      Text("File open failed", failure.operation));
    file.Init();  // the second try succeeds
  }
  thr_GlobalSingleton<utl_IOTracker_Container>::Destroy();
}

// For writing there is no such case: any error number is an open failure.
TEST_F(FileFailuresTest, FileNotFoundForWritingIsAnOpenFailure) {
  const FailingCall failing(SystemCall::kCreateFile, ERROR_FILE_NOT_FOUND);
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
  EXPECT_FILE_ERROR(file.Init(), utl_FileExceptionOpen,
                    Text("File open failed", "CreateFile in OpenWrite", 2));
}

TEST_F(FileFailuresTest, AFileForReadingRefusesChangesBeforeItIsOpened) {
  utl_File file(Missing(), utl_FileAccessRead, utl_FileShareDefault);
  const std::string name = dir_.File("missing");
  const std::string write =
      "*** Error: Write failed (utl_File: attempt to write to a read-only file.)\n"
      "file name: " +
      name;
  EXPECT_FILE_ERROR(file.Write("x", 1), utl_FileExceptionWrite, write);
  EXPECT_FILE_ERROR(file.Write("x", -1), utl_FileExceptionWrite, write);
  EXPECT_FILE_ERROR(file.WriteShortAllowed("x", 1), utl_FileExceptionWrite, write);
  EXPECT_FILE_ERROR(file.Flush(), utl_FileExceptionFlush,
                    "*** Error: Flush failed (utl_File: attempt to flush a read-only "
                    "file.)\nfile name: " +
                        name);
  EXPECT_FILE_ERROR(file.Extend(10), nex_TextException,
                    "utl_File::Extend - attempt to extend a read-only file.");
}

TEST_F(FileFailuresTest, NegativeCountsAreRefusedWithoutACall) {
  char buffer[1] = {};
  for (const int count : {-1, -2147483647 - 1}) {
    utl_File file(name_, utl_FileAccessUpdate, utl_FileShareDefault);
    const FailingCall opened(SystemCall::kCreateFile, kCode);
    EXPECT_FILE_ERROR(file.Read(buffer, count), utl_FileExceptionRead,
                      Text("Read failed", "ReadFile", 87));
    EXPECT_FILE_ERROR(file.Write(buffer, count), utl_FileExceptionWrite,
                      Text("Write failed", "WriteFile", 87));
    EXPECT_FILE_ERROR(file.WriteShortAllowed(buffer, count), utl_FileExceptionWrite,
                      Text("Write failed", "WriteFile", 87));
    EXPECT_FALSE(opened.Happened());
  }
}

TEST_F(FileFailuresTest, PositionsBelowZero) {
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareDefault);
  EXPECT_FILE_ERROR(file.Seek(-1), utl_FileExceptionSeek,
                    Text("Seek failed", "SetFilePointer", 131));
  EXPECT_FILE_ERROR(file.Extend(-1), utl_FileExceptionExtend,
                    Text("Extend failed", "SetFilePointer 2", 131));
  EXPECT_EQ(file.FileSize(), 10);
}

// An access that is none of the three opens nothing, and counts as open: there is no
// handle to work with or to close.
TEST_F(FileFailuresTest, AnUnknownAccessOpensNothing) {
  char buffer[1] = {};
  const auto useUnopened = [&] {
    utl_File file(name_, static_cast<utl_FileAccess>(7), utl_FileShareDefault);
    file.Init();
    EXPECT_FILE_ERROR(file.Seek(0), utl_FileExceptionSeek,
                      Text("Seek failed", "SetFilePointer", 6));
    EXPECT_FILE_ERROR(file.Location(), utl_FileExceptionLocation,
                      Text("Get file location failed", "SetFilePointer", 6));
    EXPECT_FILE_ERROR(file.Flush(), utl_FileExceptionFlush,
                      Text("Flush failed", "FlushFileBuffers", 6));
    EXPECT_FILE_ERROR(file.Read(buffer, 1), utl_FileExceptionRead,
                      Text("Read failed", "ReadFile", 6));
    EXPECT_FILE_ERROR(file.Write(buffer, 1), utl_FileExceptionWrite,
                      Text("Write failed", "WriteFile", 6));
    EXPECT_FILE_ERROR(file.FileSize(), utl_FileExceptionSize,
                      Text("Get file size failed", "GetFileSize", 6));
    EXPECT_FILE_ERROR(file.Extend(1), utl_FileExceptionExtend,
                      Text("Extend failed", "SetFilePointer 1", 6));
  };
  EXPECT_FILE_ERROR(useUnopened(), utl_FileExceptionClose,
                    CallText("***ERROR: File close failed", "CloseHandle", 6, path_));
}

TEST_F(FileFailuresTest, FailingCallsOfTheOperations) {
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareDefault);
  file.Init();
  char buffer[1] = {};
  {
    const FailingCall failing(SystemCall::kSetFilePointer, kCode);
    EXPECT_FILE_ERROR(file.Seek(5), utl_FileExceptionSeek,
                      Text("Seek failed", "SetFilePointer"));
  }
  {
    const FailingCall failing(SystemCall::kSetFilePointer, kCode);
    EXPECT_FILE_ERROR(file.Location(), utl_FileExceptionLocation,
                      Text("Get file location failed", "SetFilePointer"));
  }
  {
    const FailingCall failing(SystemCall::kFlushFileBuffers, kCode);
    EXPECT_FILE_ERROR(file.Flush(), utl_FileExceptionFlush,
                      Text("Flush failed", "FlushFileBuffers"));
  }
  {
    const FailingCall failing(SystemCall::kReadFile, kCode);
    EXPECT_FILE_ERROR(file.Read(buffer, 1), utl_FileExceptionRead,
                      Text("Read failed", "ReadFile"));
  }
  {
    const FailingCall failing(SystemCall::kWriteFile, kCode);
    EXPECT_FILE_ERROR(file.Write(buffer, 1), utl_FileExceptionWrite,
                      Text("Write failed", "WriteFile"));
  }
  {
    const FailingCall failing(SystemCall::kWriteFile, kCode);
    EXPECT_FILE_ERROR(file.WriteShortAllowed(buffer, 1), utl_FileExceptionWrite,
                      Text("Write failed", "WriteFile"));
  }
  {
    const FailingCall failing(SystemCall::kGetFileSize, kCode);
    EXPECT_FILE_ERROR(file.FileSize(), utl_FileExceptionSize,
                      Text("Get file size failed", "GetFileSize"));
  }
  EXPECT_EQ(ReadWholeFile(path_), "0123456789");
}

struct ExtendStep {
  SystemCall call;
  int nth;
  const char* operation;
};

TEST_F(FileFailuresTest, EachStepOfExtend) {
  const ExtendStep steps[] = {
      {SystemCall::kSetFilePointer, 1, "SetFilePointer 1"},
      {SystemCall::kSetFilePointer, 2, "SetFilePointer 2"},
      {SystemCall::kSetEndOfFile, 1, "SetEndOfFile"},
      {SystemCall::kSetFilePointer, 3, "SetFilePointer 3"},
      {SystemCall::kReadFile, 1, "ReadFile"},
      {SystemCall::kSetFilePointer, 4, "SetFilePointer 4"},
      {SystemCall::kWriteFile, 1, "WriteFile"},
      {SystemCall::kSetFilePointer, 5, "SetFilePointer 5"},
  };
  for (const Failing times : {Failing::kOnce, Failing::kFromThenOn}) {
    bool sizeIsSet = false;
    for (const ExtendStep& step : steps) {
      WriteWholeFile(path_, "0123456789");
      utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
      {
        const FailingCall failing(step.call, kCode, step.nth, times);
        EXPECT_FILE_ERROR(file.Extend(20), utl_FileExceptionExtend,
                          Text("Extend failed", step.operation));
      }
      EXPECT_EQ(file.FileSize(), sizeIsSet ? 20 : 10) << step.operation;
      sizeIsSet = sizeIsSet || step.call == SystemCall::kSetEndOfFile;
    }
  }
}

TEST_F(FileFailuresTest, AShortWriteIsAFullDisk) {
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareReadWrite);
  file.Init();
  const ShortWrites few(3);
  EXPECT_EQ(file.WriteShortAllowed("abcde", 5), 3);
  EXPECT_FILE_ERROR(file.Write("fghij", 5), utl_FileExceptionFull,
                    "*** Error: Free disk space depleted\nfile name: %2$s");
  EXPECT_EQ(ReadWholeFile(path_), "abcfgh");
  EXPECT_EQ(file.Write("klm", 3), 3);
}

// The system takes what still fits. That is a count, and no error.
TEST_F(FileFailuresTest, SpaceThatEndsInTheMiddleOfAWriteIsAFullDisk) {
  if (!FileSizeLimit::IsAvailable()) {
    GTEST_SKIP() << "this system limits no file's size";
  }
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareReadWrite);
  {
    const FileSizeLimit ten(10);
    EXPECT_EQ(file.WriteShortAllowed("0123456", 7), 7);
    EXPECT_EQ(file.WriteShortAllowed("789abc", 6), 3);
    EXPECT_FILE_ERROR(file.WriteShortAllowed("abc", 3), utl_FileExceptionWrite,
                      Text("Write failed", "WriteFile", ERROR_DISK_FULL));
    file.Seek(5);
    EXPECT_FILE_ERROR(file.Write("ABCDEFG", 7), utl_FileExceptionFull,
                      "*** Error: Free disk space depleted\nfile name: %2$s");
    EXPECT_FILE_ERROR(file.Extend(11), utl_FileExceptionExtend,
                      Text("Extend failed", "SetEndOfFile", ERROR_DISK_FULL));
  }
  EXPECT_EQ(ReadWholeFile(path_), "01234ABCDE");
}

std::string OnOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' '; }, ' ');
  return text;
}

// Extends the file argv[2] on a disk of a megabyte at argv[1]: by more than there is, by
// what there is, and by more again when the disk is full. Prints what is thrown, and the
// size after it.
TEST_CHILD(extendOnASmallDisk) {
  constexpr int kDisk = 1 << 20;
  if (!MountSmallDisk(argv[1], kDisk)) {
    return 2;
  }
  WriteWholeFile(argv[2], std::string(100, 'x'));
  utl_File file(argv[2], utl_FileAccessUpdate, utl_FileShareReadWrite);
  for (const int size : {100 * kDisk, kDisk + 1, kDisk, kDisk + 5000}) {
    try {
      file.Extend(size);
      ChildWriteLine("extended");
    } catch (const utl_FileExceptionExtend& thrown) {
      ChildWriteLine(OnOneLine(thrown.AsString().c_str()));
    }
    ChildWriteLine(std::to_string(file.FileSize()));
  }
  file.Extend(100);
  ChildWriteLine(ReadWholeFile(argv[2]) == std::string(100, 'x') ? "unchanged"
                                                                 : "changed");
  return 0;
}

TEST_F(FileFailuresTest, AFullDiskShowsInExtendAndLeavesTheSize) {
  ChildProcess child = ChildProcess::Start("extendOnASmallDisk", {dir_.Path(), path_});
  const std::string full = child.ReadLine();
  if (full.empty() && child.Wait() == 2) {
    GTEST_SKIP() << "no disk of its own to be had for a process here";
  }
  const std::string expected =
      OnOneLine(Text("Extend failed", "SetEndOfFile", ERROR_DISK_FULL));
  EXPECT_EQ(full, expected);
  EXPECT_EQ(child.ReadLine(), "100");
  EXPECT_EQ(child.ReadLine(), expected);
  EXPECT_EQ(child.ReadLine(), "100");
  EXPECT_EQ(child.ReadLine(), "extended");
  EXPECT_EQ(child.ReadLine(), std::to_string(1 << 20));
  EXPECT_EQ(child.ReadLine(), expected);
  EXPECT_EQ(child.ReadLine(), std::to_string(1 << 20));
  EXPECT_EQ(child.ReadLine(), "unchanged");
}

// How many bytes Extend reads and writes back is not checked.
TEST_F(FileFailuresTest, ExtendIgnoresShortWrites) {
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
  const ShortWrites few(1);
  file.Extend(20);
  EXPECT_EQ(ReadWholeFile(path_), "0123456789" + std::string(10, '\0'));
}

TEST_F(FileFailuresTest, ADeviceWithoutSpace) {
  const std::string device = "Z:\\dev\\full";
  utl_File file(device.c_str(), utl_FileAccessUpdate, utl_FileShareReadWrite);
  EXPECT_FILE_ERROR(file.Write("x", 1), utl_FileExceptionWrite,
                    CallText("*** Error: Write failed", "WriteFile", 112, device));
}

TEST_F(FileFailuresTest, TheDestructorThrowsWhenTheCloseFails) {
  std::optional<FailingCall> failing;
  EXPECT_FILE_ERROR(
      {
        utl_File file(name_, utl_FileAccessRead, utl_FileShareDefault);
        file.Init();
        failing.emplace(SystemCall::kCloseHandle, kCode);
      },
      utl_FileExceptionClose,
      CallText("***ERROR: File close failed", "CloseHandle", kCode, path_));
}

TEST_F(FileFailuresTest, TheDestructorIsSilentWhileAnotherExceptionUnwinds) {
  std::optional<FailingCall> failing;
  try {
    utl_File file(name_, utl_FileAccessRead, utl_FileShareDefault);
    file.Init();
    failing.emplace(SystemCall::kCloseHandle, kCode);
    throw std::runtime_error("first");
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "first");
  }
  EXPECT_TRUE(failing->Happened());
}

TEST_F(FileFailuresTest, AFileThatWasNeverOpenedIsNotClosed) {
  const FailingCall failing(SystemCall::kCloseHandle, kCode);
  { const utl_File file(name_, utl_FileAccessRead, utl_FileShareDefault); }
  EXPECT_FALSE(failing.Happened());
}

}  // namespace
