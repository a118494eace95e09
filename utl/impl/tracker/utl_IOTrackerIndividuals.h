#pragma once

// The outputs that show one file each.

#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "utl/impl/tracker/utl_IOTrackerOutput.h"
#include "utl/impl/tracker/utl_IOTrackerSettings.h"
#include "utl/impl/tracker/utl_IOTrackerTable.h"

/// The output of one file, and what its next line shows.
struct utl_IOTrackerIndividual {
  explicit utl_IOTrackerIndividual(const char* itsPath) : path(itsPath) {}

  const char* path;  // of the time when this was made
  utl_IOTrackerRecord record;
  utl_IOTrackerOutput output;
};

/// All of them. Of several files that would have the same output the first one gets it.
/// Streams are a scarce thing of the process, so that only so many outputs stay open; the
/// others are opened for every line.
///
/// Threads: used by one thread at a time.
class utl_IOTrackerIndividuals {
 public:
  /// Has the next line of the entry's output show its totals of this moment.
  void Take(utl_IOTrackerTable::Entry& entry);
  /// Writes a line in every output, behind the head in those that are new. `start` is
  /// what stands before the columns.
  void WriteLines(const utl_IOTrackerSettings& settings, std::string_view head,
                  std::string_view start, double now);
  void Flush();

 private:
  void Open(utl_IOTrackerIndividual& individual, const utl_IOTrackerSettings& settings,
            std::string_view head);

  std::vector<std::unique_ptr<utl_IOTrackerIndividual>> all_;
  std::size_t opened_ = 0;                 // of all, whether they could be or not
  int kept_ = 0;                           // that stay open
  std::unordered_set<std::string> names_;  // of outputs, as they are compared
};
