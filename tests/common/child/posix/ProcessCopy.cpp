#include "common/child/ProcessCopy.h"

#include <dlfcn.h>
#include <sanitizer/lsan_interface.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

bool isCopy = false;

}  // namespace

// What belongs to threads that a copy does not have would be reported as leaked, so
// copies are not searched for leaks.
int __lsan_is_turned_off() {
  return isCopy ? 1 : 0;
}

// Not under the thread sanitizer, which takes a copy's threads for its parent's.
bool ProcessesCanBeCopied() {
  return dlsym(RTLD_DEFAULT, "__tsan_init") == nullptr;
}

bool BusyProcessesCanBeCopied() {
  return dlsym(RTLD_DEFAULT, "__asan_init") == nullptr;
}

int RunInProcessCopy(const std::function<int()>& work) {
  constexpr unsigned kLongestLife = 60;  // seconds
  // Not all streams: those of the code under test must be copied as they are.
  std::fflush(stdout);
  std::fflush(stderr);
  const pid_t copy = fork();
  if (copy < 0) {
    throw std::runtime_error("the process cannot be copied");
  }
  if (copy == 0) {
    isCopy = true;
    alarm(kLongestLife);
    std::exit(work());
  }
  int status = 0;
  while (waitpid(copy, &status, 0) < 0) {
    if (errno != EINTR) {
      throw std::runtime_error("cannot wait for the process's copy");
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
