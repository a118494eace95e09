#pragma once

#include <windows.h>

#include <functional>

/// While it lives, a pause ends at once, after a call of `action` with its milliseconds.
/// One object at a time.
class InsteadOfSleep {
 public:
  explicit InsteadOfSleep(std::function<void(DWORD)> action);
  ~InsteadOfSleep();
  InsteadOfSleep(const InsteadOfSleep&) = delete;
  InsteadOfSleep& operator=(const InsteadOfSleep&) = delete;
};
