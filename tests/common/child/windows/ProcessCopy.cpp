#include "common/child/ProcessCopy.h"

#include <stdexcept>

bool ProcessesCanBeCopied() {
  return false;
}

bool BusyProcessesCanBeCopied() {
  return false;
}

int RunInProcessCopy(const std::function<int()>& /*work*/) {
  throw std::runtime_error("the process cannot be copied");
}
