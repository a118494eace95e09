#include "common/failing/InsteadOfSleep.h"

#include <utility>

#include "common/failing/Redirection.h"

namespace {

std::function<void(DWORD)> replacement;

}  // namespace

InsteadOfSleep::InsteadOfSleep(std::function<void(DWORD)> action) {
  replacement = std::move(action);
}

InsteadOfSleep::~InsteadOfSleep() {
  replacement = nullptr;
}

REDIRECT(void, Sleep, DWORD milliseconds) {
  if (replacement) {
    replacement(milliseconds);
  } else {
    REAL(Sleep)(milliseconds);
  }
}
