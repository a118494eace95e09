#include "common/child/ChildProcess.h"

#include <iostream>
#include <map>
#include <utility>

#include "common/child/ChildSystem.h"

namespace {

constexpr int kUnknownChild = 125;

std::map<std::string, ChildMain>& Registry() {
  static std::map<std::string, ChildMain> registry;
  return registry;
}

void DropReturn(std::string& line) {
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
}

}  // namespace

ChildProcess ChildProcess::Start(const std::string& name,
                                 const std::vector<std::string>& args) {
  std::vector<std::string> all = {"--child", name};
  all.insert(all.end(), args.begin(), args.end());
  return ChildProcess(std::make_unique<System>(all));
}

ChildProcess::ChildProcess(std::unique_ptr<System> system) : system_(std::move(system)) {}

ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;
ChildProcess& ChildProcess::operator=(ChildProcess&&) noexcept = default;
ChildProcess::~ChildProcess() = default;

std::string ChildProcess::ReadLine() {
  size_t end;
  while ((end = received_.find('\n')) == std::string::npos) {
    if (!system_->Receive(received_)) {
      return std::exchange(received_, {});
    }
  }
  std::string line = received_.substr(0, end);
  received_.erase(0, end + 1);
  DropReturn(line);
  return line;
}

bool ChildProcess::WriteLine(const std::string& line) {
  return system_->Send(line + "\n");
}

void ChildProcess::CloseInput() {
  system_->CloseInput();
}
bool ChildProcess::IsRunning() {
  return system_->IsRunning();
}
void ChildProcess::Kill() {
  system_->Kill();
}
int ChildProcess::Wait() {
  return system_->Wait();
}

std::string ChildReadLine() {
  std::string line;
  std::getline(std::cin, line);
  DropReturn(line);
  return line;
}

void ChildWriteLine(const std::string& line) {
  std::cout << line << std::endl;
}

bool RegisterChild(const char* name, ChildMain entry) {
  return Registry().emplace(name, entry).second;
}

int RunChild(int argc, char** argv) {
  const auto found = argc > 0 ? Registry().find(argv[0]) : Registry().end();
  return found == Registry().end() ? kUnknownChild : found->second(argc, argv);
}
