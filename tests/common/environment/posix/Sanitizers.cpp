// What the sanitizers report although nothing is wrong.

#include <sanitizer/lsan_interface.h>

// A stream's own data, which the sanitizer's copy of fopencookie keeps where the leak
// checker does not look.
const char* __lsan_default_suppressions() {
  return "leak:_fsopen\n";
}

// This test closes a descriptor while another thread waits with it.
extern "C" const char* __tsan_default_suppressions() {
  return "race:FlockTest_InterruptedWaitLocksNoOtherFileOfTheNumber_Test\n";
}
