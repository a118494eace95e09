// What the sanitizers report although nothing is wrong.

#include <sanitizer/lsan_interface.h>

// A stream's own data, which the sanitizer's copy of fopencookie keeps where the leak
// checker does not look.
const char* __lsan_default_suppressions() {
  return "leak:_fsopen\n";
}

// That a descriptor is closed while another thread waits with it is what this test does.
extern "C" const char* __tsan_default_suppressions() {
  return "race:FlockTest_InterruptedWaitLocksNoOtherFileOfTheNumber_Test\n";
}
