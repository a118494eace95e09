#include "typ/typ_initialize.h"

#include "typ/typ_DebugFlags.h"

void typ_initialize(int& /*count*/) {}

void typ_finalize(int& /*count*/) {
  typ_DebugFlags::Clear();
}
