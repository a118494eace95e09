#include "pnt/pnt_initialize.h"

void pnt_initialize(int& /*count*/) {}

void pnt_finalize(int& /*count*/) {}
