#pragma once

#include <cstdlib>

/// Ends the process, which a fuzzer reports with the input, unless `holds`.
inline void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}
