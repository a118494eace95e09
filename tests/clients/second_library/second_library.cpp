#include "second_library.h"

#include <atomic>

#include "nex/nex_AssertException.h"

template class thr_GlobalSingleton<second_Global>;
template class omi_Singleton<second_Plain>;
template class thr_ThreadSingleton<second_PerThread>;

namespace {

std::atomic<int> alive{0};

template <class Class>
const char* Catch(void (*thrower)(), const char* name) {
  try {
    thrower();
  } catch (const Class&) {
    return name;
  } catch (...) {
    return "something else";
  }
  return "nothing";
}

}  // namespace

second_PerThread::second_PerThread() {
  ++alive;
}
second_PerThread::~second_PerThread() {
  --alive;
}

thr_Mutex* second_GlobalLock() {
  return &thr_GlobalLock::Instance();
}

KSTutlObjects second_LookAtKSTutlObjects() {
  return LookAtKSTutlObjects();
}

KSTutlObjects second_MakeKSTutlObjects() {
  return MakeKSTutlObjects();
}

second_Global* second_GlobalInstance() {
  return &thr_GlobalSingleton<second_Global>::Instance();
}

second_Plain* second_PlainInstance() {
  return &omi_Singleton<second_Plain>::Instance();
}

second_PerThread* second_PerThreadInstance() {
  return &thr_ThreadSingleton<second_PerThread>::Instance();
}

int second_PerThreadAlive() {
  return alive;
}

const char* second_CatchByClass(void (*thrower)()) {
  return Catch<nex_AssertException>(thrower, "nex_AssertException");
}

const char* second_CatchByGroup(void (*thrower)()) {
  return Catch<nex_TextException>(thrower, "nex_TextException");
}

const char* second_CatchByRoot(void (*thrower)()) {
  return Catch<nex_Exception>(thrower, "nex_Exception");
}

void second_Throw() {
  nex_AssertException(atr_String("from the second library")).Throw("second_library", 1);
}
