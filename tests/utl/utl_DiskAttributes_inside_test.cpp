#include "utl/utl_DiskAttributes.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include "common/environment/ScopedEnvironment.h"
#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/FakeDiskSpace.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "nex/nex_TextException.h"
#include "pnt/pnt_Debug.h"
#include "typ/typ_DebugFlags.h"

namespace {

constexpr ULONGLONG kKilobyte = 1024;
constexpr ULONGLONG kMegabyte = 1024 * kKilobyte;

std::string FailureText(DWORD code, const std::string& path) {
  return "error: " + std::to_string(code) + ":  could not get free space for \"" + path +
         "\"\n";
}

#define EXPECT_FAILURE(disk, code, path)                          \
  EXPECT_THROW_FROM((disk).GetFreeDiskSpace(), nex_TextException, \
                    FailureText(code, path).c_str(), "utl/impl/utl_DiskAttributes")

class DebugLevel {
 public:
  explicit DebugLevel(int level) { typ_DebugFlags::SetDebugFlags("utl", level); }
  ~DebugLevel() { typ_DebugFlags::SetDebugFlags("utl", 0); }
  DebugLevel(const DebugLevel&) = delete;
  DebugLevel& operator=(const DebugLevel&) = delete;
};

// What a query about Z:\ prints.
std::string Printed(ULONGLONG toCaller, ULONGLONG onDrive) {
  const FakeDiskSpace space(toCaller, onDrive);
  const utl_DiskAttributes disk("Z:\\dir");
  testing::internal::CaptureStdout();
  EXPECT_EQ(disk.GetFreeDiskSpace(), toCaller);
  return testing::internal::GetCapturedStdout();
}

std::string Lines(const std::string& onDrive, const std::string& toCaller) {
  return "\n Free space on drive Z:\\ =" + onDrive +
         " \n\n Free space to caller Z:\\ =" + toCaller + " \n";
}

}  // namespace

TEST(DiskAttributesTest, PathThatIsAskedAbout) {
  const FakeDiskSpace space(1, 2);
  const ScopedEnvironment variable("KST_DISK_TEST", "Q:\\sub");
  const struct {
    const char* path;
    const char* asked;
  } cases[] = {
      {"D:\\data", "D:\\"},
      {"C:\\work\\dir", "C:\\"},
      {"C:\\work\\dir\\", "C:\\"},
      {"C:/data/dir", "C:\\"},
      {"C:\\", "C:\\"},
      {"Z:", "Z:\\"},
      {"Q:", "Q:"},  // a drive that has no current directory
      {"z:\\tmp", "z:\\"},
      {"\\\\host\\share\\dir", "\\\\host\\share\\dir"},
      {"//host/share", "//host/share"},
      {"\\dir\\sub", "\\dir\\sub"},
      {"\\\\host:\\share", "\\\\host:\\"},
      {"Network connectors:/x", "Network connectors:\\"},
      {"Network connectors\\x", "Network connectors\\x"},
      {"kstrdb://host:80/db", "kstrdb:\\"},
      // What follows is cut where the absolute form has its colon.
      {"data\\job", "da\\"},
      {"d", "d\\"},
      {".", ".\\"},
      {"", "\\"},
      {"%KST_DISK_TEST%\\x", "%K\\"},
      {"$KST_DISK_TEST", "$K\\"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(utl_DiskAttributes(one.path).GetFreeDiskSpace(), 1U);
    EXPECT_EQ(space.Asked(), one.asked) << one.path;
  }
}

TEST(DiskAttributesTest, ZeroByteEndsTheAskedPath) {
  const FakeDiskSpace space(1, 2);
  EXPECT_EQ(utl_DiskAttributes(cow_String("\\a\\b\0c", 6)).GetFreeDiskSpace(), 1U);
  EXPECT_EQ(space.Asked(), "\\a\\b");
}

// Without a current directory the absolute form may begin with the colon.
TEST(DiskAttributesTest, ColonAtTheVeryStartIsNoDrive) {
  const TempDir directory;
  std::filesystem::create_directory(directory.File("gone"));
  const CurrentDirectory current(directory.File("gone"));
  std::error_code error;
  std::filesystem::remove(directory.File("gone"), error);
  if (error) {
    GTEST_SKIP() << "a current directory cannot be removed here";
  }
  const FakeDiskSpace space(1, 2);
  EXPECT_EQ(utl_DiskAttributes(":\\x").GetFreeDiskSpace(), 1U);
  EXPECT_EQ(space.Asked(), ":\\x");
}

TEST(DiskAttributesTest, LongPath) {
  const FakeDiskSpace space(1, 2);
  const std::string name(100'000, 'x');
  EXPECT_EQ(utl_DiskAttributes(("Z:\\" + name).c_str()).GetFreeDiskSpace(), 1U);
  EXPECT_EQ(space.Asked(), "Z:\\");
  EXPECT_EQ(utl_DiskAttributes(("\\" + name).c_str()).GetFreeDiskSpace(), 1U);
  EXPECT_EQ(space.Asked(), "\\" + name);
}

TEST(DiskAttributesTest, BytesFreeToTheCaller) {
  const FakeDiskSpace space(0xFFFF'FFFF'FFFF'FFFE, 0xFFFF'FFFF'FFFF'FFFF);
  EXPECT_EQ(utl_DiskAttributes("Z:\\dir").GetFreeDiskSpace(), 0xFFFF'FFFF'FFFF'FFFE);
}

TEST(DiskAttributesTest, EachQueryAsksTheSystemAgain) {
  const utl_DiskAttributes disk("Z:\\dir");
  {
    const FakeDiskSpace space(7, 9);
    EXPECT_EQ(disk.GetFreeDiskSpace(), 7U);
  }
  const FakeDiskSpace space(8, 9);
  EXPECT_EQ(disk.GetFreeDiskSpace(), 8U);
}

TEST(DiskAttributesTest, CopiesAskAboutTheSamePath) {
  const FakeDiskSpace space(1, 2);
  const utl_DiskAttributes disk("D:\\data");
  utl_DiskAttributes other("C:\\");
  other = disk;
  EXPECT_EQ(other.GetFreeDiskSpace(), 1U);
  EXPECT_EQ(space.Asked(), "D:\\");
}

TEST(DiskAttributesTest, RealDiskHasSpace) {
  const TempDir directory;
  ULARGE_INTEGER total = {};
  ASSERT_TRUE(GetDiskFreeSpaceExA("Z:\\", nullptr, &total, nullptr));
  const std::uint64_t space =
      utl_DiskAttributes(directory.ShownPath().c_str()).GetFreeDiskSpace();
  EXPECT_GT(space, 0U);
  EXPECT_LT(space, total.QuadPart);
}

TEST(DiskAttributesTest, AbsentDrive) {
  EXPECT_FAILURE(utl_DiskAttributes("Q:\\data"), ERROR_PATH_NOT_FOUND, "Q:\\");
}

TEST(DiskAttributesTest, CutRelativePath) {
  const TempDir directory;
  const CurrentDirectory current(directory.Path());
  EXPECT_FAILURE(utl_DiskAttributes("data"), ERROR_FILE_NOT_FOUND, "da\\");
  std::filesystem::create_directory("da");
  EXPECT_GT(utl_DiskAttributes("data").GetFreeDiskSpace(), 0U);
  WriteWholeFile("fi", "");
  EXPECT_FAILURE(utl_DiskAttributes("file"), ERROR_INVALID_NAME, "fi\\");
}

TEST(DiskAttributesTest, EmptyPathIsTheRootOfTheCurrentDrive) {
  EXPECT_GT(utl_DiskAttributes("").GetFreeDiskSpace(), 0U);
  EXPECT_GT(utl_DiskAttributes(nullptr).GetFreeDiskSpace(), 0U);
}

TEST(DiskAttributesTest, FailureTellsCodePathAndSource) {
  const utl_DiskAttributes disk("D:\\data");
  const FailingCall failing(SystemCall::kGetDiskFreeSpaceEx, 1117);
  EXPECT_THROW_FROM(disk.GetFreeDiskSpace(), nex_TextException,
                    "error: 1117:  could not get free space for \"D:\\\"\n",
                    "utl/impl/utl_DiskAttributes");
}

TEST(DiskAttributesTest, AfterFailuresTheSpaceIsToldAgain) {
  const utl_DiskAttributes disk("Z:\\");
  for (const Failing times : {Failing::kOnce, Failing::kFromThenOn}) {
    {
      const FailingCall failing(SystemCall::kGetDiskFreeSpaceEx, 1117, 1, times);
      EXPECT_FAILURE(disk, 1117, "Z:\\");
    }
    EXPECT_NO_THROW(disk.GetFreeDiskSpace());
  }
}

TEST(DiskAttributesTest, FailureWithTheHighestCode) {
  const utl_DiskAttributes disk("D:\\data");
  const FailingCall failing(SystemCall::kGetDiskFreeSpaceEx, 0xFFFFFFFF);
  EXPECT_FAILURE(disk, 4294967295U, "D:\\");
}

TEST(DiskAttributesTest, FailureDoesNotScanThePathForPlaceholders) {
  const utl_DiskAttributes disk("\\\\host\\%s\\%u");
  const FailingCall failing(SystemCall::kGetDiskFreeSpaceEx, 5);
  EXPECT_FAILURE(disk, 5, "\\\\host\\%s\\%u");
}

TEST(DiskAttributesTest, FailurePrintsNothing) {
  const DebugLevel level(3);
  testing::internal::CaptureStdout();
  EXPECT_FAILURE(utl_DiskAttributes("Q:\\"), ERROR_PATH_NOT_FOUND, "Q:\\");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(DiskAttributesTest, PrintsFromLevelThreeOn) {
  for (const int level : {0, 2, -1}) {
    const DebugLevel debug(level);
    EXPECT_EQ(Printed(1, 1), "") << level;
  }
  for (const int level : {3, 4, 100}) {
    const DebugLevel debug(level);
    EXPECT_EQ(Printed(1, 2), Lines("2 bytes", "1 bytes")) << level;
  }
}

TEST(DiskAttributesTest, UnitIsChosenByWhatIsFreeOnTheDrive) {
  const DebugLevel level(3);
  const struct {
    ULONGLONG onDrive;
    ULONGLONG toCaller;
    const char* shownOnDrive;
    const char* shownToCaller;
  } cases[] = {
      {0, 0, "0 bytes", "0 bytes"},
      {1024, 1023, "1024 bytes", "1023 bytes"},
      {1025, 1024, "1 kbytes", "1 kbytes"},
      {1025, 1023, "1 kbytes", "0 kbytes"},
      {4095, 2048, "3 kbytes", "2 kbytes"},
      {kMegabyte - 1, 1, "1023 kbytes", "0 kbytes"},
      {kMegabyte, kMegabyte, "1024 kbytes", "1024 kbytes"},
      {kMegabyte + 1, kMegabyte, "1 MB", "1 MB"},
      {kMegabyte + 1, kMegabyte - 1, "1 MB", "0 MB"},
      // More to the caller than there is: the unit is still the drive's.
      {1024, 4 * kMegabyte, "1024 bytes", "4194304 bytes"},
      {0xFFFF'FFFF'FFFF'FFFF, 5 * kMegabyte, "17592186044415 MB", "5 MB"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(Printed(one.toCaller, one.onDrive),
              Lines(one.shownOnDrive, one.shownToCaller))
        << one.onDrive << ", " << one.toCaller;
  }
}

TEST(DiskAttributesTest, PrintsBetweenTheMarksOfDebugPrinting) {
  const DebugLevel level(3);
  const FakeDiskSpace space(1, 2);
  testing::internal::CaptureStdout();
  pnt_StartDebug();
  std::thread other([] { utl_DiskAttributes("Z:\\dir").GetFreeDiskSpace(); });
  // Time for the thread to go wrong; a right one waits for the mark, whatever the time.
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  std::fputs("others first", stdout);
  pnt_EndDebug();
  other.join();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "others first" + Lines("2 bytes", "1 bytes"));
}

TEST(DiskAttributesTest, PrintedPathIsNoFormat) {
  const DebugLevel level(3);
  const FakeDiskSpace space(1, 2);
  testing::internal::CaptureStdout();
  utl_DiskAttributes("\\\\host\\%s%n").GetFreeDiskSpace();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n Free space on drive \\\\host\\%s%n =2 bytes \n"
            "\n Free space to caller \\\\host\\%s%n =1 bytes \n");
}
