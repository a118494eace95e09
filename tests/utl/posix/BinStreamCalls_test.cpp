// A value through a binary stream is one call of the system, and no other call beside it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "common/temp/TempDir.h"
#include "utl/utl_BinStream.h"

namespace {

constexpr auto kLittle = omi_Swapper::kLittleEndian;

// How a child ends that may only read and write from its beginning on; the system kills
// it at any other call.
int StatusOfStrictChild(const std::function<void()>& task) {
  const pid_t child = fork();
  if (child == 0) {
    const bool isStrict = prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) == 0;
    if (isStrict) {
      task();
    }
    syscall(SYS_exit, isStrict ? 0 : 2);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(BinStreamCallsTest, ValuesAreReadAndWrittenWithoutAnyOtherCall) {
  const TempDir dir;
  const std::string path = dir.File("stream");
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  const int reader = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  utl_BinOStream out(fd, kLittle);
  utl_BinIStream in(reader, kLittle);
  const int result = StatusOfStrictChild([&] {
    out.WriteInt(7);
    out.WriteInt64(8);
    in.ReadInt();
    in.ReadInt64();
  });
  if (result == 2) {
    GTEST_SKIP() << "the system does not restrict the calls of a process";
  }
  EXPECT_EQ(result, 0);
  EXPECT_EQ(ReadWholeFile(path).size(), 12U);
  EXPECT_EQ(StatusOfStrictChild([fd] { lseek(fd, 0, SEEK_CUR); }), -1)
      << "any other call would have ended it";
  close(reader);
  close(fd);
}
