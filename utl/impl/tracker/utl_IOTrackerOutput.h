#pragma once

// The text files that the tracker writes.

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "utl/impl/text/utl_LineText.h"
#include "utl/utl_IOTracker.h"

/// Lines of an output, with numbers as printf would write them in the "C" locale.
class utl_IOTrackerText {
 public:
  utl_IOTrackerText& Text(std::string_view text);
  /// ", " and the number, as "%d" or "%f".
  utl_IOTrackerText& Column(int number);
  utl_IOTrackerText& Column(double number);
  /// As "%f".
  utl_IOTrackerText& Number(double number);

  operator std::string_view() const { return text_; }

 private:
  utl_LineText text_;
};

/// The columns that the record of one file, or a sum, has in the outputs: count,
/// megabytes and time of what was written, the same of what was read.
void utl_addColumns(utl_IOTrackerText& line, const utl_IOTrackerRecord& record);

/// One text file, written anew. A file that cannot be opened takes what is written
/// without a word, as does one that meets a full disk.
///
/// Threads: used by one thread at a time.
class utl_IOTrackerOutput {
 public:
  /// Opens the file at the first call, with this head; only the first call tries. True
  /// in the call that opened it.
  bool Open(const std::string& name, std::string_view head);
  void Write(std::string_view text);
  /// Writes a line of the moment `now`, in seconds, and has it reach the file if the last
  /// time is longer ago than the flush interval.
  void WriteLine(std::string_view line, double now);
  void Flush();

  /// Closes the file; from now on it is opened for every line, as long as it is there.
  void OpenForEveryLine(const std::string& name);

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };
  using Stream = std::unique_ptr<std::FILE, Close>;

  Stream stream_;
  double lastFlush_ = 0;
  bool tried_ = false;
  std::string everyLine_;  // the name; "" for a file that stays open
};
