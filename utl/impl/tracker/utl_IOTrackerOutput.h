#pragma once

// The text files that the tracker writes.

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

/// One text file, created or emptied. What is written to a file that cannot be opened is
/// silently lost, and so is what a full disk does not take.
///
/// Threads: used by one thread at a time.
class utl_IOTrackerOutput {
 public:
  /// Whether `Open` is still to be called. It is called once.
  bool IsNew() const { return new_; }
  /// Opens the file and writes its head; returns whether it could be opened.
  bool Open(const std::string& name, std::string_view head);
  void Write(std::string_view text);
  /// Writes a line at the time `now`, in seconds, and flushes if the last flush is longer
  /// ago than the flush interval.
  void WriteLine(std::string_view line, double now);
  void Flush();

  /// Closes the file; from now on it is opened for every line, as long as it exists.
  void OpenForEveryLine(const std::string& name);

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };
  using Stream = std::unique_ptr<std::FILE, Close>;

  Stream stream_;
  double lastFlush_ = 0;
  bool new_ = true;
  std::string everyLine_;  // the name; "" for a file that stays open
};
