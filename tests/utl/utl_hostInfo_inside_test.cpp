#include "utl/utl_hostInfo.h"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/InsteadOfSleep.h"
#include "common/failing/WatchedSockets.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "nex/nex_TextException.h"
#include "utl/impl/utl_registryNumber.h"
#include "utl/impl/utl_timeText.h"

namespace {

std::string Now(const char* format) {
  const std::time_t now = std::time(nullptr);
  char text[64];
  std::strftime(text, sizeof text, format, std::localtime(&now));
  return text;
}

TEST(HostInfoTest, DateAndTimeAreTheLocalOnes) {
  // The clock may tick between the calls: the answer lies between two readings.
  const std::string before = Now("%d-%b-%Y");
  const cow_String date = utl_getDate();
  EXPECT_TRUE(date == before || date == Now("%d-%b-%Y")) << date;
  std::string first;
  cow_String time;
  do {
    first = Now("%H:%M:%S");
    time = utl_getTime();
  } while (first != Now("%H:%M:%S"));
  EXPECT_EQ(time, first);
}

TEST(HostInfoTest, DateAndTimeHaveTwoDigitsAndEnglishMonths) {
  const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm when = {};
  when.tm_year = 107;
  when.tm_mday = 1;
  when.tm_hour = 4;
  when.tm_min = 3;
  when.tm_sec = 9;
  for (when.tm_mon = 0; when.tm_mon < 12; ++when.tm_mon) {
    EXPECT_EQ(utl_dateText(when), std::string("01-") + months[when.tm_mon] + "-2007");
  }
  EXPECT_EQ(utl_timeText(when), "04:03:09");
}

TEST(HostInfoTest, HostOrUserThatCannotBeHadIsEmpty) {
  for (SystemCall call : {SystemCall::kSocketStart, SystemCall::kGetHostName}) {
    const FailingCall failing(call, ERROR_ACCESS_DENIED);
    EXPECT_EQ(utl_getHostName(), "");
    EXPECT_TRUE(failing.Happened());
  }
  const FailingCall failing(SystemCall::kGetUserName, ERROR_ACCESS_DENIED);
  EXPECT_EQ(utl_getUserName(), "");
  EXPECT_TRUE(failing.Happened());
}

TEST(HostInfoTest, HostAndUserAreKnown) {
  EXPECT_NE(utl_getHostName(), "");
  EXPECT_NE(utl_getUserName(), "");
}

TEST(HostInfoTest, CurrentDirectoryHasItsDrive) {
  const TempDir dir;
  const CurrentDirectory current(dir.Path());
  EXPECT_EQ(utl_getcwd(), dir.ShownPath());
}

TEST(HostInfoTest, CurrentDirectoryTooLongForTheSystemCallIsEmpty) {
  const TempDir dir;
  const CurrentDirectory current(dir.Path());
  // Step by step, there and back: no call gets a long path, which Windows would refuse.
  const std::string name(100, 'd');
  for (int depth = 0; depth < 3; ++depth) {
    std::filesystem::create_directory(name);
    std::filesystem::current_path(name);
  }
  const cow_String shown = utl_getcwd();
  for (int depth = 0; depth < 3; ++depth) {
    std::filesystem::current_path("..");
    std::filesystem::remove(name);
  }
  EXPECT_EQ(shown, "");
}

TEST(HostInfoTest, PlatformIsAlwaysTheSame) {
  EXPECT_EQ(utl_getPlatform(), "win86_64");
}

TEST(HostInfoTest, CountsProcessors) {
  EXPECT_EQ(utl_getNumberCpus(), static_cast<int>(std::thread::hardware_concurrency()));
}

TEST(HostInfoTest, ClockRateIsPlausible) {
  const int rate = utl_getCpusClockSpeed();
  EXPECT_GT(rate, 100);
  EXPECT_LT(rate, 20000);
}

TEST(HostInfoTest, ClockRateIsFoundUnderEachSpelling) {
  const char* key = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
  for (const char* spelling : {"~MHz", "~Mhz", "~mhz"}) {
    EXPECT_GT(utl_registryNumber(key, {spelling}), 100) << spelling;
    EXPECT_GT(utl_registryNumber(key, {"absent", spelling}), 100) << spelling;
  }
}

TEST(HostInfoTest, ClockRateWithoutKeyOrValueIsMinusOne) {
  EXPECT_EQ(utl_registryNumber("HARDWARE\\DESCRIPTION\\System\\NoProcessor\\0", {"~MHz"}),
            -1);
  EXPECT_EQ(utl_registryNumber("HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                               {"absent", "absent too"}),
            -1);
}

TEST(HostInfoTest, DriverNameComesFromTheCommand) {
  const struct {
    const char *command, *name;
  } cases[] = {
      {"C:\\tools\\launcher.exe", "kst"},
      {"/opt/bin/kst_driver", "kst_driver"},
      {"/opt/bin/launcher2.exe", "launcher2"},
      {"Launcher", "Launcher"},
      {"kstrdb://server/launcher", "kstrdb://server/launcher"},
      {"Network connectors/launcher", "Network connectors/launcher"},
  };
  for (const auto& c : cases) {
    ScopedEnvironment command("KES_COMMAND", c.command);
    EXPECT_EQ(utl_getDriverName(), c.name) << c.command;
  }
}

TEST_CHILD(printDriverName) {
  ChildWriteLine(("<" + utl_getDriverName() + ">").c_str());
  return 0;
}

TEST(HostInfoTest, DriverNameOfAnEmptyCommandIsEmpty) {
  const ScopedEnvironment restored("KES_COMMAND", nullptr);
  SetEmptyForChildren("KES_COMMAND");
  ChildProcess child = ChildProcess::Start("printDriverName");
  EXPECT_EQ(child.ReadLine(), "<>");
  EXPECT_EQ(child.Wait(), 0);
}

TEST(HostInfoTest, DriverNameWithoutCommandThrows) {
  ScopedEnvironment command("KES_COMMAND", nullptr);
  EXPECT_THROW_FROM(utl_getDriverName(), nex_TextException,
                    "Failed to determine driver name", "utl/impl/utl_getDriverName");
}

TEST(HostInfoTest, SleepsAndAnswersOne) {
  EXPECT_EQ(utl_sleep(0), 1);
  EXPECT_EQ(utl_sleep(1), 1);
  std::vector<DWORD> pauses;
  const InsteadOfSleep sleep([&](DWORD milliseconds) { pauses.push_back(milliseconds); });
  for (const unsigned milliseconds : {0u, 30u, 4294967295u}) {
    EXPECT_EQ(utl_sleep(milliseconds), 1);
  }
  EXPECT_EQ(pauses, (std::vector<DWORD>{0, 30, 4294967295}));
}

TEST(HostInfoTest, SocketLayerStartsWithVersionTwo) {
  const WatchedSockets sockets;
  utl_InitializeWinsock();
  utl_InitializeWinsock();
  EXPECT_EQ(sockets.Starts(), (std::vector<WORD>{0x0002, 0x0002}));
  EXPECT_EQ(sockets.Ends(), 0);
}

TEST(HostInfoTest, SocketLayerOfAnotherVersionIsLeftDown) {
  for (WORD granted : std::vector<WORD>{0x0102, 0x0001, 0x0202}) {
    const WatchedSockets sockets({}, granted);
    utl_InitializeWinsock();
    EXPECT_EQ(sockets.Ends(), 1) << granted;
  }
}

TEST(HostInfoTest, SocketLayerThatDoesNotStartIsNotEnded) {
  const WatchedSockets sockets;
  const FailingCall failing(SystemCall::kSocketStart, ERROR_ACCESS_DENIED);
  utl_InitializeWinsock();
  EXPECT_TRUE(failing.Happened());
  EXPECT_EQ(sockets.Ends(), 0);
}

TEST(HostInfoTest, HostNameStartsTheSocketLayerForItselfAndNeverEndsIt) {
  const WatchedSockets sockets;
  EXPECT_NE(utl_getHostName(), "");
  EXPECT_NE(utl_getHostName(), "");
  EXPECT_EQ(sockets.Starts(), (std::vector<WORD>{0x0101, 0x0101}));
  EXPECT_EQ(sockets.Ends(), 0);
}

}  // namespace
