#include "common/shell/Shell.h"

#include <algorithm>

std::string ShellName(const std::string& path) {
  std::string name = path.substr(path.compare(0, 2, "Z:") == 0 ? 2 : 0);
  std::replace(name.begin(), name.end(), '\\', '/');
  return '\'' + name + '\'';
}

ShellLinks::~ShellLinks() {
  if (!names_.empty()) {
    RunShell("cd " + ShellName(directory_) + " && rm -f" + names_);
  }
}

bool ShellLinks::Make(const std::string& target, const std::string& name) {
  names_ += " " + name;
  return RunShell("cd " + ShellName(directory_) + " && ln -s " + target + " " + name);
}
