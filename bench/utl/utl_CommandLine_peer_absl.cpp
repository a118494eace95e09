#include <absl/container/flat_hash_map.h>

#include <mutex>
#include <string>

#include "bench_work.h"
#include "utl_CommandLine_works.h"

namespace {

std::mutex mutex;

const bench::Part part([] {
  static auto* const map = new absl::flat_hash_map<std::string, std::string>;
  for (const auto& [name, value] : kCommandLine) {
    (*map)[name] = value;
  }
  for (const auto& [name, option] : kCommandLineWorks) {
    bench::Work(name).Coding("mutex and Abseil", [option = std::string(option)] {
      const std::lock_guard<std::mutex> guard(mutex);
      return map->find(option)->second;
    });
  }
});

}  // namespace
