// The reader of the monitor's logs, on which the monitor's tests stand, takes a log that
// is as the page says and no other.

#include "utl/UseLog.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

const std::string kLog =
    "!Snapshot = ?\n"
    "!Version = 6.6\n"
    "!Host = node7 Intel64\n"
    "beam.1 0                               beam-Start"
    " 0.1 0.2 11 12 0.3 13 14 15 16 17 18 0 0 0 99 \n"
    "beam.2 -5                                 beam-End"
    " 1.1 0.2 11 -12 1.3 13 14 15 16 17 18 0 0 0 99 \n"
    "!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    "PeakPageFileUsage,0,0,0,ProcessID\n"
    "!Timer Summary                     # calls     CPU/call      CPU       Elapsed\n"
    "!Timer 3 :               assembly   2      0.6000      1.2000      -2.8 \n"
    "!Timer 20 :                   Self   1000      0.0000      0.0000      0.0 \n";

UseLog Read(const std::string& text) {
  return ReadUseLog(text, "beam", false);
}

TEST(UseLogReaderTest, TakesALog) {
  const UseLog log = Read(kLog);
  EXPECT_EQ(log.snapshot, "?");
  EXPECT_EQ(log.version, "6.6");
  EXPECT_EQ(log.host, "node7 Intel64");
  ASSERT_EQ(log.marks.size(), 2U);
  EXPECT_EQ(log.marks[1].Phase(), "beam.2");
  EXPECT_EQ(log.marks[1].Wall(), -5);
  EXPECT_EQ(log.marks[1].Label(), std::string(32, ' ') + "beam-End");
  EXPECT_EQ(log.Number(log.marks[1], "WS"), -12);
  EXPECT_EQ(log.Number(log.marks[1], "ProcessID"), 99);
  ASSERT_EQ(log.timers.size(), 2U);
  EXPECT_EQ(log.timers[0].id, 3);
  EXPECT_EQ(log.timers[0].name, "assembly");
  EXPECT_EQ(log.timers[0].calls, 2);
  EXPECT_EQ(log.timers[0].processorPerCall, 0.6);
  EXPECT_EQ(log.timers[0].processor, 1.2);
  EXPECT_EQ(log.timers[0].elapsed, -2.8);
}

TEST(UseLogReaderTest, TakesALogThatIsNotEnded) {
  const UseLog log = Read(kLog.substr(0, kLog.find("!Phase")));
  EXPECT_FALSE(log.finished);
  EXPECT_EQ(log.marks.size(), 2U);
}

TEST(UseLogReaderTest, RefusesEveryOtherLog) {
  const struct {
    const char* part;
    const char* instead;
  } cases[] = {
      {"!Snapshot = ", "!Snapshot: "},
      {"!Version = 6.6\n", ""},
      {"!Host = ", "!Host ="},
      {"beam.1", "beam.0"},
      {"beam.2", "beam.3"},
      {"beam.2", "plate.2"},
      {"beam.1 0 ", "beam.1 0  "},
      {"beam.1 0 ", "beam.1 0.0 "},
      {"beam.1 0 ", "beam.1 zero "},
      {"beam.2 -5 ", "beam.2 - "},
      {" beam-Start", "beam-Start"},
      {" 0.1 0.2 ", " 0.10 0.2 "},
      {" 0.1 0.2 ", " 1 0.2 "},
      {" 0.1 0.2 ", " .1 0.2 "},
      {" 0.1 0.2 ", " 0,1 0.2 "},
      {" 0.1 0.2 ", " 0.1  0.2 "},
      {" 11 12 ", " 11.0 12 "},
      {" 11 12 ", " 11 "},
      {" 11 12 ", " 11,12 "},
      {" 17 18 0 0 0 ", " 17 18 0 0 1 "},
      {" 99 \n", " 99\n"},
      {" 99 \n", " 99 7 \n"},
      {"!Phase,Wall,", "!Phase,Time,"},
      {"ProcessID\n", "ProcessID \n"},
      {"!Timer Summary ", "!Timers Summary "},
      {"!Timer 3 :", "!Timer 21 :"},
      {"!Timer 3 :", "!Timer 20 :"},
      {"!Timer 3 :", "!Timer -1 :"},
      {"!Timer 3 :", "!Timer three :"},
      {"  assembly", " assembly"},
      {"   2      0.6000", "   2     0.6000"},
      {" 0.6000 ", " 0.600 "},
      {" -2.8 \n", " -2.80 \n"},
      {" -2.8 \n", " -2.8\n"},
      {" 0.0 \n", " 0.0 "},
      {" 0.0 \n", " 0.0 \n\n"},
  };
  for (const auto& one : cases) {
    std::string text = kLog;
    const std::size_t at = text.find(one.part);
    ASSERT_NE(at, std::string::npos) << one.part;
    text.replace(at, std::string(one.part).size(), one.instead);
    EXPECT_THROW(Read(text), std::runtime_error) << one.part << ": " << one.instead;
  }
  EXPECT_THROW(Read(""), std::runtime_error);
  EXPECT_THROW(Read(kLog.substr(0, kLog.find("beam.1"))), std::runtime_error);
  EXPECT_THROW(Read(kLog.substr(0, kLog.find("!Timer"))), std::runtime_error);
}

}  // namespace
