#include "thr/thr_GlobalLock.h"

#include <atomic>

#include "thr/thr_currentProcess.h"

namespace {

struct Lock {
  explicit Lock(Lock* itsParents) : parents(itsParents) {}

  thr_Mutex mutex;
  const std::uint32_t process = thr_currentProcess();
  Lock* const parents;  // reachable, so that leak checkers do not report it
};

std::atomic<Lock*> lock = nullptr;

bool IsOwn(const Lock* candidate) {
  return candidate != nullptr && candidate->process == thr_currentProcess();
}

}  // namespace

thr_Mutex& thr_GlobalLock::Instance() {
  Lock* present = lock.load(std::memory_order_acquire);
  while (!IsOwn(present)) {
    auto* const made = new Lock(present);
    if (lock.compare_exchange_strong(present, made, std::memory_order_acq_rel)) {
      return made->mutex;
    }
    delete made;
  }
  return present->mutex;
}
