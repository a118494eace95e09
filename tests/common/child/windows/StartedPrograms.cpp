#include "common/child/StartedPrograms.h"

#include <windows.h>

// Without inheritance: a program that inherits handles keeps them to its end here.
void StartedPrograms::StartOne(int /*number*/) {
  STARTUPINFOA start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION started = {};
  char line[] = "cmd.exe /c exit";
  if (!CreateProcessA(nullptr, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                      &started)) {
    return;
  }
  WaitForSingleObject(started.hProcess, INFINITE);
  CloseHandle(started.hProcess);
  CloseHandle(started.hThread);
}
