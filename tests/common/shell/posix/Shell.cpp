#include "common/shell/Shell.h"

#include <cstdlib>

bool RunShell(const std::string& command) {
  return std::system(command.c_str()) == 0;
}
