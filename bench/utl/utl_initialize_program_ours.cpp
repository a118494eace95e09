#include "utl/utl_initialize.h"

int main() {
  int count = 0;
  utl_initialize(count);
  utl_finalize(count);
  return count;
}
