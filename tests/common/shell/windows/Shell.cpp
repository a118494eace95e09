#include "common/shell/Shell.h"

#include <windows.h>

#include <filesystem>

#include "common/temp/TempDir.h"

// Wine starts the system's own programs, but does not report their end: the command makes
// a file as a sign.
bool RunShell(const std::string& command) {
  const TempDir dir;
  const std::string done = dir.File("done");
  const std::string failed = dir.File("failed");
  std::string line = "sh -c \"if " + command + "; then : > " + ShellName(done) +
                     "; else : > " + ShellName(failed) + "; fi\"";
  STARTUPINFOA start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA("Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &start, &process)) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  while (!std::filesystem::exists(done) && !std::filesystem::exists(failed)) {
    Sleep(1);
  }
  return std::filesystem::exists(done);
}
