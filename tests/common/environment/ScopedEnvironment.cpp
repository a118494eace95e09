#include "common/environment/ScopedEnvironment.h"

#include <cstdlib>

ScopedEnvironment::ScopedEnvironment(const char* name, const char* value) : name_(name) {
  const char* earlier = std::getenv(name);
  wasSet_ = earlier != nullptr;
  if (wasSet_) {
    earlier_ = earlier;
  }
  SetEnvironment(name, value);
}

ScopedEnvironment::~ScopedEnvironment() {
  SetEnvironment(name_.c_str(), wasSet_ ? earlier_.c_str() : nullptr);
}
