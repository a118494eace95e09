#include "utl/utl_Stat.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <string>

#include "common/expect/ExceptionContract.h"
#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/WatchedFileCalls.h"
#include "common/handle/FileTime.h"
#include "common/temp/TempDir.h"
#include "nex/nex_SystemErrorException.h"
#include "utl/utl_File.h"

namespace {

constexpr int kSystem = omi_SystemErrorCode::kSystem;
constexpr int kRunTime = omi_SystemErrorCode::kRunTime;

class StatTest : public testing::Test {
 protected:
  StatTest() { WriteWholeFile(path_, "0123456789"); }

  cow_String Name(const std::string& name) const { return dir_.File(name).c_str(); }

  TempDir dir_;
  std::string path_ = dir_.File("job.dat");
  cow_String name_ = path_.c_str();
};

// The statement throws nex_SystemErrorException with this error, its text, and the
// source of utl_Stat.
template <class Statement>
void ExpectSystemError(Statement statement, int kind, int code) {
  EXPECT_THROW_FROM(statement(), nex_SystemErrorException,
                    omi_SystemErrorCode(kind, code).Text(), "utl/impl/utl_Stat");
  try {
    statement();
  } catch (const nex_SystemErrorException& thrown) {
    EXPECT_EQ(thrown.ErrorCode().Kind(), kind);
    EXPECT_EQ(thrown.ErrorCode().Code(), code);
  }
}

HANDLE OpenRaw(const std::string& path, DWORD access) {
  return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     OPEN_EXISTING, 0, nullptr);
}

TEST_F(StatTest, MembersStandInTheirOrder) {
  utl_Stat status(name_);
  const void* const members[] = {
      &status.flag,       &status.size,      &status.fileIndex,    &status.linkCount,
      &status.accessTime, &status.writeTime, &status.creationTime, &status.isDirectory,
      &status.isNormal,   &status.record,    &status.error,
  };
  for (std::size_t i = 1; i < std::size(members); ++i) {
    EXPECT_LT(members[i - 1], members[i]) << i;
  }
  static_assert(sizeof status.size == 8 && sizeof status.fileIndex == 8);
  static_assert(sizeof status.linkCount == 4 && sizeof status.accessTime == 4 &&
                sizeof status.writeTime == 4 && sizeof status.creationTime == 4);
}

TEST_F(StatTest, AFileByName) {
  const std::time_t before = std::time(nullptr) - 2;
  WriteWholeFile(path_, "0123456789");
  const utl_Stat status(name_);
  const std::time_t after = std::time(nullptr) + 2;
  EXPECT_FALSE(status.flag);
  EXPECT_EQ(status.record, &status.size);
  EXPECT_EQ(status.size, 10);
  EXPECT_NE(status.fileIndex, 0);
  EXPECT_EQ(status.linkCount, 1);
  EXPECT_FALSE(status.isDirectory);
  EXPECT_EQ(status.error.Kind(), kRunTime);
  EXPECT_EQ(status.error.Code(), 0);
  for (const std::int32_t time :
       {status.accessTime, status.writeTime, status.creationTime}) {
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
  }
  EXPECT_NO_THROW(status.ThrowIfFileNotFound());
}

TEST_F(StatTest, ADirectoryByName) {
  const utl_Stat status(dir_.Path().c_str());
  EXPECT_EQ(status.record, &status.size);
  EXPECT_TRUE(status.isDirectory);
  EXPECT_FALSE(status.isNormal);
}

TEST_F(StatTest, AFileWithTheArchiveAttributeIsNotNormal) {
  EXPECT_FALSE(utl_Stat(name_).isNormal);
}

TEST_F(StatTest, AMissingFileIsAnAnswer) {
  const utl_Stat status(Name("missing"));
  EXPECT_EQ(status.record, nullptr);
  EXPECT_EQ(status.error.Kind(), kSystem);
  EXPECT_EQ(status.error.Code(), 2);
  EXPECT_FALSE(status.flag || status.isDirectory || status.isNormal);
  EXPECT_EQ(status.size, 0);
  EXPECT_EQ(status.fileIndex, 0);
  EXPECT_EQ(status.linkCount, 0);
  EXPECT_EQ(status.accessTime, 0);
  EXPECT_EQ(status.writeTime, 0);
  EXPECT_EQ(status.creationTime, 0);
  ExpectSystemError([&] { status.ThrowIfFileNotFound(); }, kSystem, 2);
}

TEST_F(StatTest, EveryOtherFailureOfANameThrows) {
  ExpectSystemError([&] { const utl_Stat status(Name("none/x")); }, kSystem, 3);
  ExpectSystemError([&] { const utl_Stat status(""); }, kSystem, 3);
  ExpectSystemError(
      [&] {
        const FailingCall failing(SystemCall::kCreateFile, ERROR_ACCESS_DENIED);
        const utl_Stat status(name_);
      },
      kSystem, 5);
  utl_File writer(name_, utl_FileAccessUpdate, utl_FileShareRead);
  writer.Init();
  EXPECT_NO_THROW(utl_Stat{name_}) << "the status lets writers be";
}

TEST_F(StatTest, AFailingStatusOfAnOpenedNameThrowsAndClosesTheFile) {
  ExpectSystemError(
      [&] {
        const FailingCall failing(SystemCall::kGetFileInformationByHandle,
                                  ERROR_DISK_FULL);
        const utl_Stat status(name_);
      },
      kSystem, 112);
  utl_File alone(name_, utl_FileAccessUpdate, utl_FileShareRead);
  EXPECT_EQ(alone.FileSize(), 10) << "no handle that shares nothing is left";
}

TEST_F(StatTest, WhatANameIsOpenedWith) {
  const utl_Stat status(name_);
  EXPECT_EQ(LastCreateFile(),
            (CreateFileArguments{0x80000000, 3, 3, 0x2000000, false, false}));
}

TEST_F(StatTest, ADescriptorStaysOpen) {
  const int descriptor = _open(path_.c_str(), _O_RDONLY | _O_BINARY);
  ASSERT_GE(descriptor, 0);
  const utl_Stat status(descriptor);
  EXPECT_EQ(status.record, &status.size);
  EXPECT_EQ(status.size, 10);
  EXPECT_EQ(status.fileIndex, utl_Stat(name_).fileIndex);
  char buffer[10];
  EXPECT_EQ(_read(descriptor, buffer, 10), 10);
  EXPECT_EQ(_close(descriptor), 0);
}

TEST_F(StatTest, ABadDescriptorIsAnErrorOfTheRunTime) {
  ExpectSystemError([] { const utl_Stat status(-1); }, kRunTime, EBADF);
  ExpectSystemError([] { const utl_Stat status(1000); }, kRunTime, EBADF);
}

TEST_F(StatTest, AHandleStaysOpen) {
  const HANDLE handle = OpenRaw(path_, GENERIC_READ);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  const utl_Stat status(handle);
  EXPECT_EQ(status.record, &status.size);
  EXPECT_EQ(status.size, 10);
  EXPECT_EQ(status.fileIndex, utl_Stat(name_).fileIndex);
  EXPECT_TRUE(CloseHandle(handle));
}

TEST_F(StatTest, ABadHandleThrows) {
  void* const none = nullptr;
  ExpectSystemError([&] { const utl_Stat status(none); }, kSystem, 6);
}

TEST_F(StatTest, ATextIsANameAndNotAHandle) {
  EXPECT_EQ(utl_Stat(path_.c_str()).size, 10);
  EXPECT_EQ(utl_Stat(path_.data()).size, 10);
}

TEST_F(StatTest, ACopyIsAValueOfItsOwn) {
  utl_Stat file(name_);
  file.flag = file.isDirectory = file.isNormal = true;
  file.linkCount = 3;
  file.accessTime = 4;
  file.writeTime = 5;
  file.creationTime = 6;
  const auto expectAsFile = [&file](const utl_Stat& copy) {
    EXPECT_EQ(copy.record, &copy.size);
    EXPECT_EQ(copy.size, 10);
    EXPECT_EQ(copy.fileIndex, file.fileIndex);
    EXPECT_EQ(copy.linkCount, 3);
    EXPECT_EQ(copy.accessTime, 4);
    EXPECT_EQ(copy.writeTime, 5);
    EXPECT_EQ(copy.creationTime, 6);
    EXPECT_TRUE(copy.flag && copy.isDirectory && copy.isNormal);
    EXPECT_EQ(copy.error.Code(), 0);
  };
  const utl_Stat missing(Name("missing"));
  utl_Stat copy(file);
  expectAsFile(copy);
  const utl_Stat& same = copy;
  copy = same;
  expectAsFile(copy);
  copy = missing;
  EXPECT_EQ(copy.record, nullptr);
  EXPECT_EQ(copy.size, 0);
  EXPECT_EQ(copy.error.Code(), 2);
  EXPECT_FALSE(copy.flag || copy.isDirectory || copy.isNormal);
  copy = file;
  expectAsFile(copy);
}

TEST_F(StatTest, SizesAbove4GiB) {
  constexpr std::int64_t kSize = (std::int64_t{5} << 30) + 7;
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
  file.Seek(kSize - 1);
  file.Write("x", 1);
  EXPECT_EQ(utl_Stat(name_).size, kSize);
}

TEST_F(StatTest, LinksAreCountedAndShareTheFileIndex) {
  std::filesystem::create_hard_link(path_, dir_.File("link"));
  const utl_Stat status(name_);
  EXPECT_EQ(status.linkCount, 2);
  EXPECT_EQ(utl_Stat(Name("link")).fileIndex, status.fileIndex);
  WriteWholeFile(dir_.File("other"), "");
  EXPECT_NE(utl_Stat(Name("other")).fileIndex, status.fileIndex);
}

struct TimeCase {
  std::int64_t milliseconds;  // since 1970
  std::int32_t expected;
};

TEST_F(StatTest, TimesAreRoundedToTheNearestSecond) {
  const TimeCase cases[] = {
      {1'000'000'000'000, 1'000'000'000},
      {1'000'000'000'499, 1'000'000'000},
      {1'000'000'000'500, 1'000'000'001},
      {1'000'000'000'999, 1'000'000'001},
      {1'767'268'800'500, 1'767'268'801},  // 12:00:00.5
      {0, 0},
      {2'147'483'647'000, 2'147'483'647},
  };
  for (const TimeCase& time : cases) {
    SetWriteTime(path_, time.milliseconds);
    EXPECT_EQ(utl_Stat(name_).writeTime, time.expected) << time.milliseconds;
  }
}

// A half is added and the rest cut off towards zero, so times before 1970 lie a second
// late.
TEST_F(StatTest, TimesBefore1970AreCutTowardsZero) {
  const TimeCase cases[] = {{-1'000, 0}, {-10'000, -9}, {-10'500, -10}};
  for (const TimeCase& time : cases) {
    SetWriteTime(path_, time.milliseconds);
    EXPECT_EQ(utl_Stat(name_).writeTime, time.expected) << time.milliseconds;
  }
}

TEST(StatExceptionsTest, GroupAndClasses) {
  ExpectExceptionContract(utl_StatException("a message"), "a message");
  ExpectExceptionContract<utl_StatException>(utl_StatCantAccessFile("a message"),
                                             "a message");
  ExpectExceptionContract<utl_StatException>(utl_StatUnknownSystemError("a message"),
                                             "a message");
}

}  // namespace
