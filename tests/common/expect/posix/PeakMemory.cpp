#include "common/expect/PeakMemory.h"

#include <fstream>
#include <stdexcept>
#include <string>

std::int64_t PeakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::int64_t kilobytes = 0;
    if (word == "VmPeak:" && status >> kilobytes) {
      return kilobytes * 1024;
    }
  }
  throw std::runtime_error("no VmPeak in /proc/self/status");
}
