#include <windows.h>

#include <cstdlib>
#include <string>

#include "common/environment/ScopedEnvironment.h"

// The C run time cannot set a variable to the empty text: that clears it.
void SetEnvironment(const char* name, const char* value) {
  const std::string text = value != nullptr ? value : "";
  _putenv((std::string(name) + "=" + text).c_str());
}

void SetEmptyForChildren(const char* name) {
  SetEnvironmentVariableA(name, "");
}
