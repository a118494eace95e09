#include "typ/typ_DebugFlags.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace {

constexpr int kUtlNumber = 3;
constexpr char kUtlName[] = "utl";

struct Flags {
  std::mutex mutex;
  std::map<std::string, int, std::less<>> levels;
};

// Never destroyed: code that runs at the end of the process may still ask.
Flags& AllFlags() {
  static Flags* const flags = new Flags;
  return *flags;
}

}  // namespace

void typ_DebugFlags::SetDebugFlags(const char* name, int level) {
  if (*name == '\0') {
    return;
  }
  Flags& flags = AllFlags();
  const std::lock_guard<std::mutex> guard(flags.mutex);
  flags.levels.insert_or_assign(name, level);
}

int typ_DebugFlags::Level(const char* name) {
  Flags& flags = AllFlags();
  const std::lock_guard<std::mutex> guard(flags.mutex);
  const auto found = flags.levels.find(name);
  return found == flags.levels.end() ? 0 : found->second;
}

int typ_DebugFlags::Level(int number) {
  return number == kUtlNumber ? Level(kUtlName) : 0;
}

void typ_DebugFlags::Clear() {
  Flags& flags = AllFlags();
  const std::lock_guard<std::mutex> guard(flags.mutex);
  flags.levels.clear();
}
