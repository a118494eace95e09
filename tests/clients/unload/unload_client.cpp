// unload_client LIBRARY: a process that loads the library, registers a clean-up in a
// thread, unloads the library and then lets the thread end. Status 0 when the clean-up
// ran; the process must not crash.

#include <atomic>
#include <cstdio>
#include <thread>

#include "common/handle/DynamicLibrary.h"

namespace {

std::atomic<bool> cleanedUp{false};
std::atomic<bool> registered{false};
std::atomic<bool> unloaded{false};

using Register = void (*)(void (*)());

void Worker(Register registerCleanup) {
  registerCleanup([] { cleanedUp = true; });
  registered = true;
  while (!unloaded) {
    std::this_thread::yield();
  }
}

}  // namespace

int main(int, char** argv) {
  DynamicLibrary library(argv[1]);
  // thr_ThreadExit::Register(void (*)())
  const auto registerCleanup =
      reinterpret_cast<Register>(library.Function("_ZN14thr_ThreadExit8RegisterEPFvvE"));
  if (registerCleanup == nullptr) {
    std::puts("the library cannot be loaded");
    return 2;
  }
  std::thread worker(Worker, registerCleanup);
  while (!registered) {
    std::this_thread::yield();
  }
  library.Unload();
  unloaded = true;
  worker.join();
  return cleanedUp ? 0 : 1;
}
