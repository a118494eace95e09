#include "nex/nex_initialize.h"

void nex_initialize(int& /*count*/) {}

void nex_finalize(int& /*count*/) {}
