#include "common/expect/Steps.h"

#include <windows.h>
#include <x86intrin.h>

namespace {

constexpr unsigned kTrapAfterEach = 0x100;

volatile bool isCounting = false;
std::int64_t steps = 0;

LONG CALLBACK Count(EXCEPTION_POINTERS* raised) {
  if (raised->ExceptionRecord->ExceptionCode != EXCEPTION_SINGLE_STEP) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  ++steps;
  if (isCounting) {  // the system has cleared the flag
    raised->ContextRecord->EFlags |= kTrapAfterEach;
  }
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

std::int64_t StepsOf(const std::function<void()>& operation) {
  operation();
  void* const handler = AddVectoredExceptionHandler(1, Count);
  steps = 0;
  isCounting = true;
  __writeeflags(__readeflags() | kTrapAfterEach);
  operation();
  isCounting = false;
  RemoveVectoredExceptionHandler(handler);
  return steps;
}
