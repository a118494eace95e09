#pragma once

// What environment and command line say about the I/O tracker.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The levels: every one does what those below it do.
inline constexpr int kTotalsLevel = 1;
inline constexpr int kIncrementsLevel = 2;  // writes increments beside totals
inline constexpr int kDetailedLevel = 3;    // counts bytes, opens, changes of position

/// The tracker's switches, and the names of its outputs.
struct utl_IOTrackerSettings {
  /// Reads the environment's KES_IO_... and the command line's "outdir", "tmpdir", "job".
  static utl_IOTrackerSettings Read();

  /// The name of the output of that kind, for example "ioTotal": the job's name comes
  /// before it, and the output directory only together with the job; the suffix follows.
  std::string OutputName(std::string_view kind) const;
  /// The name of the output that shows the file `path` alone.
  std::string IndividualName(std::string_view path) const;

  int level = 0;  // 0: there is no tracker
  bool timed = false;
  bool individual = false;
  std::int64_t interval = 0;  // milliseconds, above 0
  // Each is set if its option is given, with or without a value.
  std::optional<std::string> outputDirectory;
  std::optional<std::string> scratchDirectory;
  std::optional<std::string> job;
  std::string suffix;  // "": none

 private:
  std::string WithSuffix(const std::string& name) const;
};

/// At most the first `most` characters of `text`; null is "".
std::string_view utl_cutText(const char* text, std::size_t most);

/// A setting of the tracker stores at most this many characters of a text.
inline constexpr std::size_t kTrackerSettingSize = 2048;
