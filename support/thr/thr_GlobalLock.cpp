#include "thr/thr_GlobalLock.h"

thr_Mutex& thr_GlobalLock::Instance() {
  static thr_Mutex* const lock = new thr_Mutex;
  return *lock;
}
