#include "common/handle/Pipe.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <stdexcept>

namespace {

void SetTimer(int microseconds) {
  const itimerval timer = {{0, microseconds}, {0, microseconds}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

Pipe::Pipe() {
  if (pipe2(ends_, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
}

Pipe::~Pipe() {
  CloseWriter();
  close(ends_[0]);
}

void Pipe::CloseWriter() {
  if (ends_[1] >= 0) close(ends_[1]);
  ends_[1] = -1;
}

Interruptions::Interruptions() {
  struct sigaction action = {};  // without SA_RESTART
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  SetTimer(500);
}

Interruptions::~Interruptions() {
  SetTimer(0);
  signal(SIGALRM, SIG_DFL);
}

bool Interruptions::AreKnown() {
  return true;
}
