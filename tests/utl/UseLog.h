#pragma once

#include <string>
#include <vector>

/// A mark's line, its fields as they stand in the file.
struct UseMark {
  std::vector<std::string> fields;

  const std::string& Phase() const { return fields[0]; }
  int Wall() const { return std::stoi(fields[1]); }
  /// All columns of it: blanks in front belong to a label that is not written whole.
  const std::string& Label() const { return fields[2]; }
};

struct UseTimer {
  int id;
  std::string name;  ///< Without the blanks that align it.
  int calls;
  double processorPerCall;
  double processor;
  double elapsed;
};

/// The log of the resource monitor, read by docs/resource-log.md alone.
struct UseLog {
  std::string snapshot;
  std::string version;
  std::string host;
  std::vector<UseMark> marks;
  bool finished = false;  ///< The columns' header and the summary are there.
  std::vector<std::string> columns;
  std::vector<UseTimer> timers;

  /// The number in the column of this name.
  double Number(const UseMark& mark, const std::string& column) const;
};

/// Reads the log of `job`. Throws std::runtime_error, with the line, when it is not
/// exactly as the page says.
UseLog ReadUseLog(const std::string& text, const std::string& job, bool wholeLabels);
