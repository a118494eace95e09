#include "thr/thr_initialize.h"

#include "thr/thr_GlobalLock.h"

void thr_initialize(int& /*count*/) {
  thr_GlobalLock::Instance();
}

void thr_finalize(int& /*count*/) {}
