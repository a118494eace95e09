#pragma once

// The outputs that each show one file.

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "utl/impl/tracker/utl_IOTrackerOutput.h"
#include "utl/impl/tracker/utl_IOTrackerSettings.h"
#include "utl/impl/tracker/utl_IOTrackerTable.h"

/// All outputs of single files. Of several files that would have the same output the
/// first one gets it. A process has few streams, so only a limited number of outputs stay
/// open; the others are opened for every line.
///
/// Threads: used by one thread at a time.
class utl_IOTrackerIndividuals {
 public:
  /// Makes the next lines show the totals that these tables have now.
  /// REQUIRES: the tables' mutex is held; they are the same at every call.
  void Take(const utl_IOTrackerTable& c, const utl_IOTrackerTable& u);
  /// Writes a line to every output, after the head in those that are new. `start` comes
  /// before the columns.
  void WriteLines(const utl_IOTrackerSettings& settings, std::string_view start,
                  double now);
  void Flush();

 private:
  /// The output of one file, and what its next line shows.
  struct Individual {
    explicit Individual(const char* itsPath) : path(itsPath) {}

    const char* path;  // when this was made
    utl_IOTrackerRecord record;
    utl_IOTrackerOutput output;
    bool isNew = true;  // it is not known yet whether it gets its output
  };
  using Files = std::vector<Individual>;

  static void TakeTable(const utl_IOTrackerTable& table, Files& files);
  void Open(Individual& individual, const utl_IOTrackerSettings& settings);

  // One for every entry of a table, in the same order.
  Files c_;
  Files u_;
  int kept_ = 0;                           // outputs that stay open
  std::unordered_set<std::string> names_;  // of outputs, in the form for comparison
};
