#include <cstdlib>

#include "common/environment/ScopedEnvironment.h"

void SetEnvironment(const char* name, const char* value) {
  if (value == nullptr || *value == '\0') {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}

void SetEmptyForChildren(const char* name) {
  setenv(name, "", 1);
}
