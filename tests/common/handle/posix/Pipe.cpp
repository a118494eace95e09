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

void Close(int& end) {
  if (end >= 0) {
    close(end);
  }
  end = -1;
}

}  // namespace

Pipe::Pipe() {
  if (pipe2(ends_, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
}

Pipe::~Pipe() {
  CloseWriter();
  CloseReader();
}

void Pipe::CloseReader() {
  Close(ends_[0]);
}

void Pipe::CloseWriter() {
  Close(ends_[1]);
}

void Pipe::DoNotBlock() {
  for (const int end : ends_) {
    fcntl(end, F_SETFL, fcntl(end, F_GETFL) | O_NONBLOCK);
  }
}

Interruptions::Interruptions() {
  struct sigaction action = {};  // without SA_RESTART
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  SetTimer(500);
}

Interruptions::~Interruptions() {
  SetTimer(0);
  signal(SIGALRM, SIG_IGN);  // not the default: one that is on its way must end nothing
}

bool Interruptions::AreKnown() {
  return true;
}

IgnoredPipeSignal::IgnoredPipeSignal() {
  signal(SIGPIPE, SIG_IGN);
}

IgnoredPipeSignal::~IgnoredPipeSignal() {
  signal(SIGPIPE, SIG_DFL);
}
