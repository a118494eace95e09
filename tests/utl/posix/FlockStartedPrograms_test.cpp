// Locks of descriptors that the system's own calls open and close, while programs are
// started that have them for a moment.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "common/child/StartedPrograms.h"
#include "common/temp/TempDir.h"
#include "utl/utl_flock.h"

TEST(FlockStartedProgramsTest, WhoUnlocksBeforeClosingKeepsNobodyOut) {
  constexpr int kPrograms = 100;
  const TempDir dir;
  const std::string path = dir.File("locked");
  int refused = 0;
  const StartedPrograms programs;
  while (programs.Count() < kPrograms) {
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    refused += utl_flock(fd, 6) == 0 ? 0 : 1;
    utl_flock(fd, 8);
    close(fd);
  }
  EXPECT_EQ(refused, 0);
}
