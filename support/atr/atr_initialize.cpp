#include "atr/atr_initialize.h"

void atr_initialize(int& /*count*/) {}

void atr_finalize(int& /*count*/) {}
