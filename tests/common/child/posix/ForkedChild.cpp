#include "common/child/ForkedChild.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

std::optional<int> ResultInForkedChild(const std::function<int()>& task) {
  const pid_t process = fork();
  if (process < 0) {
    throw std::runtime_error("no child process");
  }
  if (process == 0) {
    _exit(task());
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
