#pragma once

#include <cstdint>

/// The most memory this process has had so far, in bytes, for tests that nothing takes
/// memory out of proportion: natively address space, untouched memory included; under
/// Windows the working set.
std::int64_t PeakMemory();
