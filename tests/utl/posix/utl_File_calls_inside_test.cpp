// Sizes that only a file system in memory has.

#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>

#include "common/failing/posix/FailingSystemCall.h"
#include "utl/utl_File.h"

namespace {

// Where its last bytes begin is computed in double precision, and does not fit.
TEST(FileCallsTest, TheLargestSizeHasNoLastBytes) {
  struct statfs system = {};
  if (statfs("/dev/shm", &system) != 0 || system.f_type != TMPFS_MAGIC) {
    GTEST_SKIP() << "there is no file system in memory";
  }
  const std::filesystem::path name =
      "/dev/shm/utl_File_calls_test." + std::to_string(getpid());
  {
    const FailingSystemCall allocation(PosixCall::kAllocate, EOPNOTSUPP);
    utl_File file(name.c_str(), utl_FileAccessWrite, utl_FileShareDefault);
    EXPECT_THROW(file.Extend(utl_FileOffset(INT64_MAX)), utl_FileExceptionExtend);
    EXPECT_TRUE(allocation.Happened());
  }
  EXPECT_EQ(std::filesystem::file_size(name), std::uintmax_t{INT64_MAX});
  std::filesystem::remove(name);
}

}  // namespace
