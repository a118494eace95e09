#include "common/child/ChildSystem.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

struct ChildProcess::System::Handles {
  pid_t process = -1;
  int input = -1;   // the child's
  int output = -1;  // the child's
  bool ended = false;
  int exitCode = 0;

  void Record(int status) {
    ended = true;
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
};

ChildProcess::System::System(const std::vector<std::string>& args)
    : handles_(std::make_unique<Handles>()) {
  // Sockets, not pipes: writing to a child that has ended then fails quietly.
  int input[2];
  int output[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input) != 0 ||
      pipe2(output, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipes for a child process");
  }
  // What the link says and not the link: below Valgrind that one leads to Valgrind.
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& arg : args) {
    argv.push_back(const_cast<char*>(arg.c_str()));
  }
  argv.push_back(nullptr);
  handles_->process = fork();
  if (handles_->process == 0) {
    dup2(input[1], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(input[1]);
  close(output[1]);
  handles_->input = input[0];
  handles_->output = output[0];
  if (handles_->process < 0) {
    throw std::runtime_error("no child process");
  }
}

ChildProcess::System::~System() {
  Kill();
  CloseInput();
  close(handles_->output);
}

bool ChildProcess::System::Receive(std::string& bytes) {
  char buffer[4096];
  ssize_t count;
  do {
    count = read(handles_->output, buffer, sizeof buffer);
  } while (count < 0 && errno == EINTR);
  if (count > 0) {
    bytes.append(buffer, static_cast<size_t>(count));
  }
  return count > 0;
}

bool ChildProcess::System::Send(const std::string& bytes) {
  return send(handles_->input, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(bytes.size());
}

void ChildProcess::System::CloseInput() {
  if (handles_->input >= 0) {
    close(handles_->input);
  }
  handles_->input = -1;
}

bool ChildProcess::System::IsRunning() {
  int status;
  if (!handles_->ended && waitpid(handles_->process, &status, WNOHANG) > 0) {
    handles_->Record(status);
  }
  return !handles_->ended;
}

void ChildProcess::System::Kill() {
  if (IsRunning()) {
    kill(handles_->process, SIGKILL);
  }
  Wait();
}

int ChildProcess::System::Wait() {
  while (!handles_->ended) {
    int status;
    if (waitpid(handles_->process, &status, 0) > 0) {
      handles_->Record(status);
    } else if (errno != EINTR) {
      throw std::runtime_error("cannot wait for a child process");
    }
  }
  return handles_->exitCode;
}
