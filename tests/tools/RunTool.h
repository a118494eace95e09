#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "common/Tool.h"

/// What a tool did with some arguments.
struct ToolRun {
  int status;
  std::string out;
  std::string err;
};

/// Runs a tool as its main function does: RunTool(KstSections, {"list", path}).
template <class Main>
ToolRun RunWith(Main main, const std::vector<std::string>& arguments) {
  std::vector<const char*> argv = {"tool"};
  for (const std::string& argument : arguments) {
    argv.push_back(argument.c_str());
  }
  std::ostringstream out;
  std::ostringstream err;
  const Console console = {out, err, false};
  const int status = main(static_cast<int>(argv.size()), argv.data(), console);
  return {status, out.str(), err.str()};
}
