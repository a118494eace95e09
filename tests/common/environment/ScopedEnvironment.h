#pragma once

#include <string>

/// Sets or clears an environment variable of this process for as long as the object
/// lives, then puts the earlier state back.
///
///     ScopedEnvironment on("KES_LEARNER", "ON");
///     ScopedEnvironment off("SCRATCH", nullptr);
class ScopedEnvironment {
 public:
  /// A null `value` clears the variable.
  ScopedEnvironment(const char* name, const char* value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::string name_;
  bool wasSet_;
  std::string earlier_;
};

/// Sets `name` to the empty text for the processes started from here on. (Some run times
/// cannot set a variable of their own process to nothing: that clears it.)
void SetEmptyForChildren(const char* name);

/// Sets (or with null clears) `name` where std::getenv reads; one version a target.
void SetEnvironment(const char* name, const char* value);
