#include "common/environment/OnlyReadAndWrite.h"

bool AllowOnlyReadAndWrite() {
  return false;
}
