#pragma once

// What the system reports about this process, for utl_ResourceMonitor. What it does not
// report is 0.

#include <cstdint>

/// Seconds of processor time so far.
struct utl_ProcessorTimes {
  double user = 0;
  double system = 0;
};

/// What the process uses at one moment; sizes in bytes, cut to 32 bits.
struct utl_ResourceSample {
  std::int32_t wall = 0;  // seconds since the start of day, cut towards zero
  double user = 0;        // seconds
  double system = 0;
  double processor = 0;
  std::int32_t peakWorkingSet = 0;
  std::int32_t workingSet = 0;
  std::int32_t peakPagedPool = 0;
  std::int32_t pagedPool = 0;
  std::int32_t peakNonPagedPool = 0;
  std::int32_t nonPagedPool = 0;
  std::int32_t pageFaults = 0;
  std::int32_t peakPageFile = 0;
  std::int32_t reserved[3] = {};
  std::int32_t processId = 0;
};

/// The local time of day in seconds: in whole seconds, and with milliseconds.
std::int32_t utl_wholeSecondsOfDay();
double utl_secondsOfDay();

utl_ProcessorTimes utl_processorTimes();

/// Takes a sample. `process` is a handle of this process, or null: then nothing is known
/// of its memory. `startOfDay` is a time of day.
utl_ResourceSample utl_takeSample(void* process, std::int32_t startOfDay,
                                  std::uint32_t processId);
