#pragma once

#include <string>
#include <type_traits>

#include "compare/Show.h"

/// The log, on the standard output. An operation is a line with its number, its name and
/// its inputs, written before it begins, and a line with its result:
///
///     @1203 utl_File.Read 1, 16
///     = 3 "abc"
///
/// What the library prints meanwhile stands in between. Names of the scratch directory
/// are replaced, and the digits of the process's number in the names of temporary files.
class Log {
 public:
  /// The scratch directory, absolute, from now on.
  void SetDirectory(const std::string& directory) { directory_ = directory; }
  /// The next operation's number.
  void Begin(long long index) { index_ = index; }

  /// The operation and its inputs.
  template <class... Inputs>
  Log& Call(const char* name, const Inputs&... inputs) {
    WriteCall(name, ShownAll(inputs...));
    return *this;
  }

  /// Carries it out and writes what it returns or throws.
  template <class Operation>
  void Result(Operation operation) {
    WriteResult(Outcome(operation));
  }

 private:
  template <class Operation>
  static std::string Outcome(Operation operation) {
    try {
      if constexpr (std::is_void_v<std::invoke_result_t<Operation>>) {
        operation();
        return "done";
      } else {
        return Shown(operation());
      }
    } catch (...) {
      return ShownException();
    }
  }
  // The exception that is being handled: its class and its text.
  static std::string ShownException();

  void WriteCall(const char* name, const std::string& inputs) const;
  void WriteResult(const std::string& result) const;
  std::string Masked(const std::string& text) const;

  std::string directory_;
  long long index_ = 0;
};
