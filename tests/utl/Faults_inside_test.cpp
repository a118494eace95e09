// Each call to the system that an operation makes fails, once or from then on: what is
// thrown is the exception of that call, nothing stays open, and the object can be used
// once the calls work again.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/expect/Told.h"
#include "common/failing/FailingCall.h"
#include "common/handle/OpenHandles.h"
#include "nex/nex_SystemErrorException.h"
#include "utl/FlockTest.h"
#include "utl/ResourceMonitorTest.h"
#include "utl/TempFileFixture.h"
#include "utl/tracker/TrackerTest.h"
#include "utl/utl_BinStream.h"
#include "utl/utl_File.h"

namespace {

constexpr DWORD kCode = ERROR_DISK_FULL;  // the run time's ENOSPC
constexpr Failing kBoth[] = {Failing::kOnce, Failing::kFromThenOn};

constexpr SystemCall kCalls[] = {
    SystemCall::kAccess,
    SystemCall::kCloseHandle,
    SystemCall::kCreateFile,
    SystemCall::kDeleteFile,
    SystemCall::kFlushFileBuffers,
    SystemCall::kGetDiskFreeSpaceEx,
    SystemCall::kGetFileInformationByHandle,
    SystemCall::kGetFileSize,
    SystemCall::kGetProcessMemoryInfo,
    SystemCall::kEnumProcessModules,
    SystemCall::kMoveFileEx,
    SystemCall::kOpenProcess,
    SystemCall::kReadFile,
    SystemCall::kSetEndOfFile,
    SystemCall::kSetFilePointer,
    SystemCall::kSetHandleInformation,
    SystemCall::kWriteFile,
};

/// The nth call of a kind.
using Call = std::pair<SystemCall, int>;

/// What an operation throws when a call fails, "" for nothing. A call that is not listed
/// is not made.
using Failures = std::map<Call, std::string>;

// Makes the operation with each of its calls failing. `use` gets a fresh object ready,
// calls its argument, with the calls working again afterwards, and uses the object once
// more.
void ExpectFailures(
    const Failures& expected,
    const std::function<
        void(const std::function<void(const std::function<void()>& operation)>&)>& use) {
  use([](const auto& operation) { operation(); });  // what stays is there now
  const int handles = OpenHandles();
  for (const SystemCall call : kCalls) {
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
      const auto failure = expected.find({call, nth});
      for (const Failing failing : kBoth) {
        SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                     std::to_string(nth) +
                     (failing == Failing::kOnce ? " once" : " from then on"));
        std::string thrown;
        use([&](const auto& operation) {
          const FailingCall planned(call, kCode, nth, failing);
          try {
            operation();
          } catch (const nex_TextException& told) {
            thrown = Told(told);
          }
          happened = planned.Happened();
        });
        EXPECT_EQ(happened, failure != expected.end());
        EXPECT_EQ(thrown, failure != expected.end() ? failure->second : "");
        EXPECT_EQ(OpenHandles(), handles);
      }
    }
  }
}

class FileFaultsTest : public testing::Test {
 protected:
  FileFaultsTest() { WriteWholeFile(path_, "0123456789"); }

  template <class Exception>
  std::string Of(const char* operation) const {
    return Told(Exception(kCode, name_, operation));
  }

  // An operation of the open file.
  void Expect(const Failures& failures,
              const std::function<void(utl_File&)>& operation) const {
    ExpectFailures(failures, [&](const auto& failing) {
      utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
      file.Init();
      failing([&] { operation(file); });
      ExpectUsable(file);
    });
  }

  static void ExpectUsable(utl_File& file) {
    char bytes[3] = {};
    file.Seek(0);
    EXPECT_EQ(file.Write("abc", 3), 3);
    file.Seek(0);
    EXPECT_EQ(file.Read(bytes, 3), 3);
    EXPECT_EQ(std::string(bytes, 3), "abc");
    EXPECT_EQ(file.Location(), 3);
  }

  TempDir dir_;
  const std::string path_ = dir_.File("job.dat");
  const cow_String name_ = path_.c_str();
};

TEST_F(FileFaultsTest, Opening) {
  const std::pair<utl_FileAccess, const char*> opens[] = {
      {utl_FileAccessUpdate, "CreateFile in OpenUpdate"},
      {utl_FileAccessWrite, "CreateFile in OpenWrite"}};
  for (const auto& [access, operation] : opens) {
    ExpectFailures({{{SystemCall::kCreateFile, 1}, Of<utl_FileExceptionOpen>(operation)}},
                   [&, access = access](const auto& failing) {
                     utl_File file(name_, access, utl_FileShareReadWrite);
                     failing([&] { file.Init(); });
                     ExpectUsable(file);
                   });
  }
}

TEST_F(FileFaultsTest, OperationsOfOneCall) {
  char byte = 0;
  Expect(
      {{{SystemCall::kSetFilePointer, 1}, Of<utl_FileExceptionSeek>("SetFilePointer")}},
      [](utl_File& file) { file.Seek(5); });
  Expect({{{SystemCall::kSetFilePointer, 1},
           Of<utl_FileExceptionLocation>("SetFilePointer")}},
         [](utl_File& file) { file.Location(); });
  Expect({{{SystemCall::kFlushFileBuffers, 1},
           Of<utl_FileExceptionFlush>("FlushFileBuffers")}},
         [](utl_File& file) { file.Flush(); });
  Expect({{{SystemCall::kReadFile, 1}, Of<utl_FileExceptionRead>("ReadFile")}},
         [&](utl_File& file) { file.Read(&byte, 1); });
  Expect({{{SystemCall::kWriteFile, 1}, Of<utl_FileExceptionWrite>("WriteFile")}},
         [](utl_File& file) { file.Write("x", 1); });
  Expect({{{SystemCall::kWriteFile, 1}, Of<utl_FileExceptionWrite>("WriteFile")}},
         [](utl_File& file) { file.WriteShortAllowed("x", 1); });
  Expect({{{SystemCall::kGetFileSize, 1}, Of<utl_FileExceptionSize>("GetFileSize")}},
         [](utl_File& file) { file.FileSize(); });
  Expect({{{SystemCall::kCloseHandle, 1}, Of<utl_FileExceptionClose>("CloseHandle")}},
         [](utl_File& file) { file.Release(); });
}

TEST_F(FileFaultsTest, Extending) {
  Failures failures = {
      {{SystemCall::kSetEndOfFile, 1}, Of<utl_FileExceptionExtend>("SetEndOfFile")},
      {{SystemCall::kReadFile, 1}, Of<utl_FileExceptionExtend>("ReadFile")},
      {{SystemCall::kWriteFile, 1}, Of<utl_FileExceptionExtend>("WriteFile")}};
  for (int i = 1; i <= 5; ++i) {
    const std::string operation = "SetFilePointer " + std::to_string(i);
    failures[{SystemCall::kSetFilePointer, i}] =
        Of<utl_FileExceptionExtend>(operation.c_str());
  }
  Expect(failures, [](utl_File& file) { file.Extend(20); });
}

// A file whose identity cannot be found out is opened again, to be sure.
TEST_F(FileFaultsTest, Renewing) {
  const Failures failures = {{{SystemCall::kGetFileInformationByHandle, 1}, ""},
                             {{SystemCall::kGetFileInformationByHandle, 2}, ""},
                             {{SystemCall::kCreateFile, 1}, ""},
                             {{SystemCall::kCloseHandle, 1}, ""}};
  Expect(failures, [](utl_File& file) {
    try {
      file.Renew();
    } catch (const utl_FileExceptionOpen&) {
    }
  });
}

// Whether the calls that a call of the run time makes can be made to fail.
bool CallsOfTheRunTimeFail() {
  const FailingCall first(SystemCall::kCreateFile, kCode);
  _close(_open("Z:\\dev\\null", _O_RDONLY));
  return first.Happened();
}

// The temporary file.

class TempFileFaultsTest : public TempFileFixture {
 protected:
  void SetUp() override {
    if (!CallsOfTheRunTimeFail()) {
      GTEST_SKIP() << "this run time's own calls cannot be redirected";
    }
  }

  std::string CannotOpen() const {
    return Told(utl_TempFileOpenExc(utl_TempFile("scr").Name(), std::strerror(ENOSPC)));
  }

  // An operation of an object that has its name, with the file there or not.
  void Expect(const Failures& failures, bool exists,
              const std::function<void(utl_TempFile&)>& operation) const {
    ExpectFailures(failures, [&](const auto& failing) {
      {
        utl_TempFile file("scr");
        if (exists) {
          WriteWholeFile(PathOf(file), "");
        }
        file.Name();
        failing([&] { operation(file); });
        EXPECT_TRUE(file.OpenIfPresent() || !exists);
        file.Close();
      }
      EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
    });
  }

  ScopedEnvironment scratch_{"SCRATCH", dir_.ShownPath().c_str()};
};

TEST_F(TempFileFaultsTest, Creating) {
  Expect({{{SystemCall::kCreateFile, 1}, CannotOpen()}}, false,
         [](utl_TempFile& file) { file.Create(); });
}

TEST_F(TempFileFaultsTest, Opening) {
  Expect({{{SystemCall::kCreateFile, 1}, CannotOpen()}}, true,
         [](utl_TempFile& file) { file.Open(); });
  Expect({{{SystemCall::kCreateFile, 1}, CannotOpen()}}, true,
         [](utl_TempFile& file) { EXPECT_TRUE(file.OpenIfPresent()); });
}

TEST_F(TempFileFaultsTest, NamingAndItsSpace) {
  const std::string status = Told(nex_SystemErrorException(
      omi_SystemErrorCode(omi_SystemErrorCode::kSystem, static_cast<int>(kCode))));
  const std::string space = "error: 112:  could not get free space for \"Z:\\\"\n";
  const Failures failures = {
      {{SystemCall::kCreateFile, 1}, status},
      {{SystemCall::kGetFileInformationByHandle, 1}, status},
      {{SystemCall::kCloseHandle, 1}, ""},
      {{SystemCall::kGetDiskFreeSpaceEx, 1}, Told(nex_TextException(space.c_str()))}};
  ExpectFailures(failures, [&](const auto& failing) {
    {
      utl_TempFile file("scr");
      failing([&] { file.Name(); });
      file.Create();
      EXPECT_TRUE(std::filesystem::exists(PathOf(file)));
    }
    EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
  });
}

TEST_F(TempFileFaultsTest, TheEndTellsNothing) {
  const int handles = OpenHandles();
  for (const Failing failing : kBoth) {
    std::optional<utl_TempFile> file("scr");
    file->Create();
    const std::string path = PathOf(*file);
    const FailingCall removal(SystemCall::kDeleteFile, kCode, 1, failing);
    EXPECT_NO_THROW(file.reset());
    EXPECT_TRUE(removal.Happened());
    EXPECT_TRUE(std::filesystem::remove(path));
    EXPECT_EQ(OpenHandles(), handles);
  }
}

// Locks.

using FlockFaultsTest = FlockTest;

TEST_F(FlockFaultsTest, FailureLocksNothing) {
  for (const int mode : {kShared, kExclusive, kTryShared, kTryExclusive}) {
    for (const Failing times : kBoth) {
      const LockedDescriptor file(path_);
      {
        const FailingCall failing(SystemCall::kLockFileEx, kCode, 1, times);
        EXPECT_EQ(ErrorOf(file, mode), static_cast<int>(kCode));
      }
      const LockedDescriptor other(path_);
      EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
      EXPECT_EQ(ErrorOf(other, kUnlock), 0);
      EXPECT_EQ(ErrorOf(file, mode), 0);
    }
  }
}

TEST_F(FlockFaultsTest, FailedUnlockingLeavesTheLock) {
  const LockedDescriptor file(path_);
  const LockedDescriptor other(path_);
  EXPECT_EQ(ErrorOf(file, kExclusive), 0);
  {
    const FailingCall failing(SystemCall::kUnlockFileEx, kCode);
    EXPECT_EQ(ErrorOf(file, kUnlock), static_cast<int>(kCode));
  }
  EXPECT_EQ(ErrorOf(other, kTryExclusive), kLocked);
  EXPECT_EQ(ErrorOf(file, kUnlock), 0);
  EXPECT_EQ(ErrorOf(other, kTryExclusive), 0);
}

// Binary streams.

class BinStreamFaultsTest : public TempFileFaultsTest {
 protected:
  // With a descriptor of a file that begins as given.
  void Expect(const Failures& failures, const std::string& bytes,
              const std::function<void(int)>& operation) const {
    const std::string path = dir_.File("stream");
    ExpectFailures(failures, [&](const auto& failing) {
      WriteWholeFile(path, bytes);
      const int fd = _open(path.c_str(), _O_RDWR | _O_BINARY);
      failing([&] { operation(fd); });
      _lseeki64(fd, 0, SEEK_SET);
      utl_BinOStream(fd, omi_Swapper::kLittleEndian).WriteInt(7);
      _lseeki64(fd, 0, SEEK_SET);
      EXPECT_EQ(utl_BinIStream(fd, omi_Swapper::kLittleEndian).ReadInt(), 7);
      _close(fd);
    });
  }
};

TEST_F(BinStreamFaultsTest, Writing) {
  const std::string failure = Told(utl_BinStreamWriteError(std::strerror(ENOSPC)));
  Expect({{{SystemCall::kWriteFile, 1}, failure},
          {{SystemCall::kWriteFile, 2}, failure},
          {{SystemCall::kWriteFile, 3}, failure},
          {{SystemCall::kWriteFile, 4}, failure}},
         "", [](int fd) {
           utl_BinOStream out(fd, omi_Swapper::kLittleEndian);
           const double numbers[2] = {1, 2};
           out.WriteInt(1);
           out.WriteString("text");  // length and bytes
           out.WriteDoubleArray(numbers, 2);
         });
}

TEST_F(BinStreamFaultsTest, Reading) {
  const std::string failure = Told(utl_BinStreamReadError(std::strerror(ENOSPC)));
  Expect({{{SystemCall::kReadFile, 1}, failure},
          {{SystemCall::kReadFile, 2}, failure},
          {{SystemCall::kReadFile, 3}, failure},
          {{SystemCall::kReadFile, 4}, failure}},
         std::string("\1\0\0\0\4\0\0\0text", 12) + std::string(16, '\0'), [](int fd) {
           utl_BinIStream in(fd, omi_Swapper::kLittleEndian);
           double numbers[2];
           EXPECT_EQ(in.ReadInt(), 1);
           EXPECT_EQ(in.ReadString(), "text");
           in.ReadDoubleArray(numbers, 2);
         });
}

// Logs tell of no failure, and the next one is whole.

// Makes `log` with each call of each kind failing, which it must not tell.
void ExpectSilence(const std::function<void()>& log) {
  log();
  const int handles = OpenHandles();
  int failures = 0;
  for (const SystemCall call : kCalls) {
    for (const Failing failing : kBoth) {
      bool happened = true;
      for (int nth = 1; happened; ++nth) {
        SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                     std::to_string(nth));
        const FailingCall planned(call, kCode, nth, failing);
        EXPECT_NO_THROW(log());
        happened = planned.Happened();
        failures += happened ? 1 : 0;
        EXPECT_EQ(OpenHandles(), handles);
      }
    }
  }
  EXPECT_GT(failures, 2);
}

TEST_F(ResourceMonitorOnTest, FailingCallsOfALogAreNotTold) {
  const auto log = [] {
    Monitor().Initialize("beam");
    Monitor().StartTimer(0, "timer");
    Monitor().StopTimer(0);
    Monitor().Mark("mark");
    Monitor().Mark(std::string(10000, 'x').c_str());
    Finalize();
  };
  ExpectSilence(log);
  log();
  EXPECT_EQ(Log().marks.size(), 4U);
}

using IOTrackerFaultsTest = IOTrackerTest;

TEST_F(IOTrackerFaultsTest, FailingCallsOfTheFilesAreNotTold) {
  if (!CallsOfTheRunTimeFail()) {
    GTEST_SKIP() << "this run time's own calls cannot be redirected";
  }
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  const auto log = [] {
    utl_IOTracker& tracker = StartTracker("3");
    tracker.COpen(1, "work");
    for (int i = 0; i < 600; ++i) {
      tracker.CWrite(1, kMegabyte, 0.5);
      tracker.Mark("mark");
    }
    tracker.CClose(1);
    tracker.FlushOutputs();
    EndTracker();
  };
  testing::internal::CaptureStdout();  // it tells what it opens
  ExpectSilence(log);
  log();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(Read("ioTotal").lines.size(), 600U);
}

}  // namespace
