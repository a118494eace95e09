#pragma once

#include <cstdint>

/// The most memory this process has had so far, in bytes, for tests that nothing takes
/// too much memory: natively the address space, untouched memory included; under Windows
/// the working set.
std::int64_t PeakMemory();
