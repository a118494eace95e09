// Any text as a resource log: it is refused with a line, or what was read adds up.

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/FileError.h"
#include "fuzz/common/FuzzDirectory.h"
#include "fuzz/common/Require.h"
#include "usage/UsageLog.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = FuzzDirectory::File("log.use");
  FuzzDirectory::Write(path, {reinterpret_cast<const char*>(data), size});
  try {
    const UsageLog log = ReadUsageLog(path);
    Require(!log.marks.empty());
    std::int64_t count = 1;
    std::int64_t wall = log.marks.front().wall;
    for (const UsagePhase& phase : PhasesOf(log)) {
      count += phase.count;
      wall += phase.wall;
    }
    Require(count == static_cast<std::int64_t>(log.marks.size()));
    Require(wall == log.marks.back().wall);
    Require(TimersByCost(log).size() == log.timers.size());
    Require(log.IsCut() || log.timers.back().number == 20);
  } catch (const FileError& failure) {
    Require(std::string(failure.what()).starts_with(path + ": line "));
  }
  return 0;
}
