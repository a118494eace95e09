#include "pnt/pnt_Debug.h"

#include <cstdio>
#include <mutex>

namespace {

// Never destroyed: code that runs at the end of the process may still print.
std::recursive_mutex& PrintLock() {
  static std::recursive_mutex* const lock = new std::recursive_mutex;
  return *lock;
}

}  // namespace

void pnt_StartDebug() {
  PrintLock().lock();
}

void pnt_EndDebug() {
  std::fflush(stdout);
  PrintLock().unlock();
}
