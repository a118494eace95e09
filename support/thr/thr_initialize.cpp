#include "thr/thr_initialize.h"

#include "thr/thr_GlobalLock.h"
#include "thr/thr_ThreadPool.h"

void thr_initialize(int& /*count*/) {
  thr_GlobalLock::Instance();
}

void thr_finalize(int& /*count*/) {
  thr_GlobalSingleton<thr_ThreadPool>::Destroy();
}
