// A value through a binary stream is one call of the system, and no other call beside it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <iterator>

#include "common/temp/TempDir.h"
#include "utl/utl_BinStream.h"

namespace {

constexpr auto kLittle = omi_Swapper::kLittleEndian;

// From here on the system ends this process at any call but reading, writing and ending.
// The system's own strict mode would end this thread alone, beside which the thread
// sanitizer has another one.
bool AllowNothingElse() {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_read, 3, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_write, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter = {static_cast<unsigned short>(std::size(program)), program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// How a child ends that may only read and write from its beginning on.
int StatusOfStrictChild(const std::function<void()>& task) {
  const pid_t child = fork();
  if (child == 0) {
    const bool isStrict = AllowNothingElse();
    if (isStrict) {
      task();
    }
    syscall(SYS_exit_group, isStrict ? 0 : 2);
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
