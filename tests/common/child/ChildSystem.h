#pragma once

#include "common/child/ChildProcess.h"

/// What a target's system does for ChildProcess.
class ChildProcess::System {
 public:
  explicit System(const std::vector<std::string>& args);
  ~System();
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  /// Appends what the child wrote; false at the end.
  bool Receive(std::string& bytes);
  bool Send(const std::string& bytes);
  void CloseInput();
  bool IsRunning();
  void Kill();
  int Wait();

 private:
  struct Handles;
  std::unique_ptr<Handles> handles_;
};
