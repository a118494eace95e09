#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// Something that is asked of a disk. Files have numbers, which names lead to.
struct DiskRequest {
  enum class Kind {
    kWrite,    // `bytes` at `offset` of `file`
    kGrow,     // `file` has at least `offset` bytes
    kSetSize,  // `file` has `offset` bytes
    kFlush,    // `file` is to be on the disk
    kSetName,  // `name` leads to `file`
    kRemoveName,
    kFlushNames,
  };

  Kind kind;
  int file = 0;
  std::int64_t offset = 0;
  std::string bytes;
  std::string name;
};

/// A disk with one directory.
struct DiskImage {
  std::map<std::string, int> names;
  std::map<int, std::string> files;

  /// Carries out a request.
  void Do(const DiskRequest& request);
  /// The names with the bytes that they lead to.
  std::map<std::string, std::string> Contents() const;
};

/// While it lives, notes in order what this process asks of the files of a directory: by
/// the calls to the system that the library makes, `open` and `write` for instance. One
/// object at a time, in the thread that makes the calls.
///
///     RecordedDisk disk(directory.Path());
///     file.saveChanges();
///     for (const DiskRequest& request : disk.Requests()) ...
class RecordedDisk {
 public:
  explicit RecordedDisk(const std::string& directory);
  ~RecordedDisk();
  RecordedDisk(const RecordedDisk&) = delete;
  RecordedDisk& operator=(const RecordedDisk&) = delete;

  /// What was in the directory at the beginning.
  const DiskImage& Before() const { return before_; }
  /// A renaming is two requests: the new name, and the removal of the old one.
  const std::vector<DiskRequest>& Requests() const { return requests_; }

 private:
  DiskImage before_;
  std::vector<DiskRequest> requests_;
};
