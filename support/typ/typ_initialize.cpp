#include "typ/typ_initialize.h"

void typ_initialize(int& /*count*/) {}

void typ_finalize(int& /*count*/) {}
