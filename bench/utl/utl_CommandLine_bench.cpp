// A query of the command line.

#include "utl/utl_CommandLine.h"

#include <mutex>
#include <string>
#include <unordered_map>

#include "bench_work.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl_CommandLine_works.h"

namespace {

using Line = thr_GlobalSingleton<utl_CommandLine>;

void Load() {
  cow_1DArrayList<cow_String> arguments;
  for (const auto& [name, value] : kCommandLine) {
    arguments.Append(std::string("-") + name);
    if (*value != '\0') {
      arguments.Append(value);
    }
  }
  utl_CommandLineLoader::SetArgsList(arguments);
}

using Map = std::unordered_map<std::string, std::string>;

Map MakeMap() {
  Map map;
  for (const auto& [name, value] : kCommandLine) {
    map[name] = value;
  }
  return map;
}

std::string NaiveValue(const std::string& name) {
  for (const auto& [option, value] : kCommandLine) {
    if (name == option) {
      return value;
    }
  }
  return {};
}

std::mutex mutex;

}  // namespace

void bench::AddWorks() {
  Load();
  static const Map* const map = new Map(MakeMap());
  for (const auto& [workName, option] : kCommandLineWorks) {
    const Work work(workName);
    work.Coding("ours", [name = cow_String(option)] {
      return Line::Instance().ConstGetValue(name);
    });
    work.Coding("naive", [name = std::string(option)] {
      const std::lock_guard<std::mutex> guard(mutex);
      return NaiveValue(name);
    });
    work.Coding("mutex and unordered_map", [name = std::string(option)] {
      const std::lock_guard<std::mutex> guard(mutex);
      return map->find(name)->second;
    });
    work.Counted();
  }
  Work("command line: number")
      .Coding("ours", [name = cow_String(
                           "cpus")] { return Line::Instance().ConstGetValueAsInt(name); })
      .Coding("mutex and unordered_map",
              [name = std::string("cpus")] {
                const std::lock_guard<std::mutex> guard(mutex);
                return std::stoi(map->find(name)->second);
              })
      .Counted();
}
