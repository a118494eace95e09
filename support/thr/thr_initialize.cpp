#include "thr/thr_initialize.h"

#include "thr/thr_GlobalLock.h"
#include "thr/thr_ThreadPool.h"
#include "thr/thr_threadsAreGone.h"

void thr_initialize(int& /*count*/) {
  thr_GlobalLock::Instance();
}

void thr_finalize(int& /*count*/) {
  if (!thr_threadsAreGone()) {
    thr_GlobalSingleton<thr_ThreadPool>::Destroy();
  }
}
