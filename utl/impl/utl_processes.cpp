#include "utl/utl_processes.h"

#include "platform/platform.h"

namespace {

utl_Process Told(const platform::Process& process) {
  return {process.number, cow_String(std::string_view(process.name))};
}

}  // namespace

std::optional<utl_Process> utl_findProcess(std::uint32_t number) {
  platform::Process process;
  if (!platform::FindProcess(number, process)) {
    return std::nullopt;
  }
  return Told(process);
}

std::vector<utl_Process> utl_findWriters(const cow_String& path) {
  std::vector<utl_Process> writers;
  for (const platform::Process& writer : platform::WritersOf(path.c_str())) {
    writers.push_back(Told(writer));
  }
  return writers;
}
