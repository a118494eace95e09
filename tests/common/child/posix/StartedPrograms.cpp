#include "common/child/StartedPrograms.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

constexpr char kProgram[] = "/bin/true";

pid_t Fork() {
  const pid_t process = fork();
  if (process == 0) {
    execl(kProgram, kProgram, nullptr);
    _exit(127);
  }
  return process;
}

pid_t Spawn() {
  char* const arguments[] = {const_cast<char*>(kProgram), nullptr};
  pid_t process = -1;
  posix_spawn(&process, kProgram, nullptr, nullptr, arguments, environ);
  return process;
}

}  // namespace

void StartedPrograms::StartOne(int number) {
  if (number % 3 == 0) {
    [[maybe_unused]] const int status = std::system(kProgram);
    return;
  }
  const pid_t process = number % 3 == 1 ? Fork() : Spawn();
  while (process > 0 && waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
}
