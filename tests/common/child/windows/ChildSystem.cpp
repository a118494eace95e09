#include "common/child/ChildSystem.h"

#include <windows.h>

#include <stdexcept>

struct ChildProcess::System::Handles {
  HANDLE process = nullptr;
  HANDLE input = nullptr;   // the child's
  HANDLE output = nullptr;  // the child's
};

namespace {

// The form in which the C run time of the child splits its command line.
std::string Quoted(const std::string& arg) {
  std::string quoted = "\"";
  size_t backslashes = 0;
  for (const char c : arg) {
    if (c == '"') {
      quoted.append(backslashes + 1, '\\');
    }
    backslashes = c == '\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, '\\') + '"';
}

std::string CommandLine(const std::string& program,
                        const std::vector<std::string>& args) {
  std::string line = Quoted(program);
  for (const std::string& arg : args) {
    (line += ' ') += Quoted(arg);
  }
  return line;
}

// A pipe of which only the child's end is inherited.
void MakePipe(HANDLE& childsEnd, HANDLE& ours, bool childReads) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  HANDLE readEnd;
  HANDLE writeEnd;
  if (!CreatePipe(&readEnd, &writeEnd, &inherited, 0)) {
    throw std::runtime_error("no pipes for a child process");
  }
  childsEnd = childReads ? readEnd : writeEnd;
  ours = childReads ? writeEnd : readEnd;
  SetHandleInformation(ours, HANDLE_FLAG_INHERIT, 0);
}

}  // namespace

ChildProcess::System::System(const std::vector<std::string>& args)
    : handles_(std::make_unique<Handles>()) {
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  MakePipe(startup.hStdInput, handles_->input, true);
  MakePipe(startup.hStdOutput, handles_->output, false);
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  std::string line = CommandLine(program, args);
  PROCESS_INFORMATION process = {};
  const BOOL started = CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, 0,
                                      nullptr, nullptr, &startup, &process);
  CloseHandle(startup.hStdInput);
  CloseHandle(startup.hStdOutput);
  if (!started) {
    throw std::runtime_error("no child process");
  }
  CloseHandle(process.hThread);
  handles_->process = process.hProcess;
}

ChildProcess::System::~System() {
  Kill();
  CloseInput();
  CloseHandle(handles_->output);
  CloseHandle(handles_->process);
}

bool ChildProcess::System::Receive(std::string& bytes) {
  char buffer[4096];
  DWORD count = 0;
  if (!ReadFile(handles_->output, buffer, sizeof buffer, &count, nullptr)) {
    return false;
  }
  bytes.append(buffer, count);
  return count > 0;
}

bool ChildProcess::System::Send(const std::string& bytes) {
  DWORD count = 0;
  return WriteFile(handles_->input, bytes.data(), static_cast<DWORD>(bytes.size()),
                   &count, nullptr) &&
         count == bytes.size();
}

void ChildProcess::System::CloseInput() {
  if (handles_->input != nullptr) {
    CloseHandle(handles_->input);
  }
  handles_->input = nullptr;
}

bool ChildProcess::System::IsRunning() {
  return WaitForSingleObject(handles_->process, 0) == WAIT_TIMEOUT;
}

void ChildProcess::System::Kill() {
  // The exit code after signal 9 on the other target.
  if (IsRunning()) {
    TerminateProcess(handles_->process, 137);
  }
  Wait();
}

int ChildProcess::System::Wait() {
  WaitForSingleObject(handles_->process, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(handles_->process, &code);
  return static_cast<int>(code);
}
