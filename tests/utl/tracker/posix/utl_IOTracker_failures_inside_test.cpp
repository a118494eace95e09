// The tracker's outputs where the system has neither a stream nor a directory for them.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "common/failing/posix/FailingSystemCall.h"
#include "utl/tracker/TrackerTest.h"

namespace {

class IOTrackerFailuresTest : public IOTrackerTest {
 protected:
  static utl_IOTracker& Start() {
    SetEnvironment("KES_IO_INDIVIDUAL", "1");
    return StartTracker("1");
  }
};

// Of so many files the last one's output is opened for every line.
TEST_F(IOTrackerFailuresTest, ALineWithoutAStreamIsLeftOut) {
  constexpr int kFiles = 201;
  utl_IOTracker& tracker = Start();
  for (int i = 0; i < kFiles; ++i) {
    tracker.COpen(i, ("f" + std::to_string(i)).c_str());
  }
  testing::internal::CaptureStdout();
  tracker.Mark("1");
  {
    const FailingSystemCall stream(PosixCall::kMakeStream, ENOMEM);
    tracker.Mark("2");
    EXPECT_TRUE(stream.Happened());
  }
  tracker.Mark("3");
  testing::internal::GetCapturedStdout();
  EndTracker();
  EXPECT_EQ(Read("f199_ioTotal").lines.size(), 3U);
  EXPECT_EQ(Read("f200_ioTotal").lines.size(), 2U);
}

TEST_F(IOTrackerFailuresTest, NoOutputComesIntoBeingInADirectoryThatIsGone) {
  std::filesystem::create_directory(File("gone"));
  const CurrentDirectory gone(File("gone"));
  std::filesystem::remove(File("gone"));
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "a");
  testing::internal::CaptureStdout();
  tracker.Mark("1");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
