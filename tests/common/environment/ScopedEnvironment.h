#pragma once

#include <string>

/// Sets or clears an environment variable of this process for as long as the object
/// lives, then puts the earlier state back.
///
///     ScopedEnvironment on("KES_LEARNER", "ON");
///     ScopedEnvironment off("SCRATCH", nullptr);
class ScopedEnvironment {
 public:
  /// A null `value` clears the variable, and so does "": not every run time can set a
  /// variable of its own process to nothing. A child's can be set so.
  ScopedEnvironment(const char* name, const char* value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::string name_;
  bool wasSet_;
  std::string earlier_;
};

/// Sets `name` to the empty text for the processes started from here on.
void SetEmptyForChildren(const char* name);

/// Sets (or with null or "" clears) `name` where std::getenv reads; one version for each
/// target.
void SetEnvironment(const char* name, const char* value);
