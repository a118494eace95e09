#include "thr/thr_ThreadSlot.h"

#include <windows.h>

#include <mutex>
#include <new>

#include "thr/thr_GlobalLock.h"
#include "thr/thr_ThreadExit.h"

static_assert(TLS_OUT_OF_INDEXES == 0xFFFFFFFF);

// A thread without a pointer may read an index that another thread frees at this moment.
// That does no harm: whoever gets the index next, this thread has no value under it.
void* thr_ThreadSlot::Get() const {
  const unsigned index = index_.load(std::memory_order_acquire);
  if (index == kNone) {
    return nullptr;
  }
  const DWORD lastError = GetLastError();  // TlsGetValue clears it
  void* const value = TlsGetValue(index);
  SetLastError(lastError);
  return value;
}

void thr_ThreadSlot::Set(void* value, void (*cleanup)()) {
  thr_ThreadExit::Register(cleanup);
  Join();
  if (TlsSetValue(index_.load(std::memory_order_relaxed), value) == FALSE) {
    Leave();
    throw std::bad_alloc();
  }
}

void* thr_ThreadSlot::Take() {
  void* const value = Get();
  if (value != nullptr) {
    TlsSetValue(index_.load(std::memory_order_relaxed), nullptr);
    Leave();
  }
  return value;
}

void thr_ThreadSlot::Join() {
  const std::lock_guard<thr_Mutex> guard(thr_GlobalLock::Instance());
  if (users_ == 0) {
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) {
      throw std::bad_alloc();
    }
    index_.store(index, std::memory_order_release);
  }
  ++users_;
}

void thr_ThreadSlot::Leave() {
  const std::lock_guard<thr_Mutex> guard(thr_GlobalLock::Instance());
  --users_;
  if (users_ == 0) {
    TlsFree(index_.exchange(kNone, std::memory_order_acq_rel));
  }
}
