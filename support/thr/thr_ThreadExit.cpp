#include "thr/thr_ThreadExit.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "support/thr/thr_keepLibraryLoaded.h"

namespace {

using Cleanups = std::vector<void (*)()>;

void WINAPI RunCleanups(void* list);

DWORD RegistrySlot() {
  static const DWORD slot = [] {
    // Threads may end after a client has unloaded the library, and the system would then
    // call what is no longer there.
    thr_keepLibraryLoaded();
    const DWORD made = FlsAlloc(RunCleanups);
    if (made == FLS_OUT_OF_INDEXES) {
      throw std::bad_alloc();
    }
    return made;
  }();
  return slot;
}

void WINAPI RunCleanups(void* list) {
  const std::unique_ptr<Cleanups> cleanups(static_cast<Cleanups*>(list));
  // The system has emptied the slot; a clean-up that registers another must find the
  // list again.
  FlsSetValue(RegistrySlot(), list);
  while (!cleanups->empty()) {
    void (*const cleanup)() = cleanups->back();
    cleanups->pop_back();
    cleanup();
  }
  FlsSetValue(RegistrySlot(), nullptr);
}

}  // namespace

void thr_ThreadExit::Register(void (*cleanup)()) {
  const DWORD slot = RegistrySlot();
  auto* cleanups = static_cast<Cleanups*>(FlsGetValue(slot));
  if (cleanups == nullptr) {
    auto made = std::make_unique<Cleanups>();
    if (FlsSetValue(slot, made.get()) == FALSE) {
      throw std::bad_alloc();
    }
    cleanups = made.release();
  }
  if (std::find(cleanups->begin(), cleanups->end(), cleanup) == cleanups->end()) {
    cleanups->push_back(cleanup);
  }
}
