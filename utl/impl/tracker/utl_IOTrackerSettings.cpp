#include "utl/impl/tracker/utl_IOTrackerSettings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/platform.h"
#include "utl/utl_CommandLine.h"

namespace {

constexpr int kTimedMode = 2;
constexpr std::int64_t kDefaultInterval = 1000;  // milliseconds
constexpr std::int64_t kIntervalUnit = 10;       // milliseconds

// The number that the variable begins with, as atoi reads it; 0 if it is unset. A number
// that does not fit becomes the nearest that does.
int EnvironmentNumber(const char* name) {
  const char* const text = platform::Environment(name);
  const long long number = text == nullptr ? 0 : std::strtoll(text, nullptr, 10);
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

std::optional<std::string> Option(const char* name) {
  const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
  if (!line.IsMember(name)) {
    return std::nullopt;
  }
  const cow_String value = line.ConstGetValue(name, "");
  return std::string(utl_cutText(value.c_str(), kTrackerSettingSize));
}

}  // namespace

std::string_view utl_cutText(const char* text, std::size_t most) {
  if (text == nullptr) {
    return {};
  }
  const void* const end = std::memchr(text, '\0', most);
  return {text, end == nullptr
                    ? most
                    : static_cast<std::size_t>(static_cast<const char*>(end) - text)};
}

utl_IOTrackerSettings utl_IOTrackerSettings::Read() {
  utl_IOTrackerSettings settings;
  settings.level = std::clamp(EnvironmentNumber("KES_IO_TRACK"), 0, kDetailedLevel);
  if (settings.level == 0) {
    return settings;
  }
  settings.timed = EnvironmentNumber("KES_IO_TIMEPOINTS") == kTimedMode;
  settings.individual = EnvironmentNumber("KES_IO_INDIVIDUAL") > 0;
  const int interval = EnvironmentNumber("KES_IO_TIMEINTERVAL");
  settings.interval = interval > 0 ? interval * kIntervalUnit : kDefaultInterval;
  settings.outputDirectory = Option("outdir");
  settings.scratchDirectory = Option("tmpdir");
  settings.job = Option("job");
  return settings;
}

std::string utl_IOTrackerSettings::OutputName(std::string_view kind) const {
  std::string name;
  if (job && outputDirectory) {
    name = *outputDirectory + '/';
  }
  if (job) {
    name += *job + '.';
  }
  return WithSuffix(name += kind);
}

std::string utl_IOTrackerSettings::IndividualName(std::string_view path) const {
  path.remove_prefix(path.rfind('\\') + 1);  // "/" separates nothing here
  std::string name = outputDirectory ? *outputDirectory + '\\' : std::string();
  return WithSuffix((name += path) += "_ioTotal");
}

std::string utl_IOTrackerSettings::WithSuffix(const std::string& name) const {
  return suffix.empty() ? name : name + '_' + suffix;
}
