#include "omi/omni_initialize.h"

void omni_initialize(int& /*count*/) {}

void omni_finalize(int& /*count*/) {}
