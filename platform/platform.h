#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// What differs between the targets and is not a Windows call: platform/posix and
// platform/windows each define it.

namespace platform {

/// The file that `name` names for the Windows calls, as the system itself writes it.
std::filesystem::path NativePath(const char* name);

/// The name of the file `path` for the Windows calls; false when there is none, and
/// `name` is then the path as far as it can be shown.
bool NameOf(const std::filesystem::path& path, std::string& name);

/// The value of an environment variable, whatever its name's letter case; null when it is
/// unset. Where two variables differ in letter case alone, which Windows does not know,
/// the one with the exact name comes first. The text belongs to the environment, as with
/// std::getenv.
char* Environment(const char* name);

/// Whether a file that is open can be replaced by renaming another one.
bool OpenFilesCanBeReplaced();

/// Flushes the name of a file to the disk, which on POSIX flushing the file does not do:
/// the error number, 0 for success. In a directory that this process may not read it
/// cannot, and does nothing.
unsigned FlushName(const char* name);

// The rights of files: owner, group and permissions on POSIX. On Windows a file inherits
// those of its directory, and these calls do nothing.

/// For SECURITY_ATTRIBUTES, the descriptor of a file that only its owner may read and
/// write.
void* OwnersAlone();

/// Gives an open file, which this process has made, the rights of another as far as it
/// may: a group that it may not set loses its permissions. The owner may always read and
/// write. Does nothing when the other is not open.
void GiveRights(void* file, void* like);

/// Whether two open files have the same rights.
bool HaveSameRights(void* file, void* like);

/// Memory for blocks of 100 KB and more, which the system fills several times as fast
/// when they lie side by side in its large pages (Linux). On Windows these are the blocks
/// of operator new. One object is used by one thread at a time.
class LargeBlocks {
 public:
  LargeBlocks() = default;
  ~LargeBlocks();
  LargeBlocks(const LargeBlocks&) = delete;
  LargeBlocks& operator=(const LargeBlocks&) = delete;

  /// The memory is the caller's, who gives it back with its size, even after this object
  /// is gone. Throws std::bad_alloc.
  char* Take(std::size_t size);
  static void GiveBack(char* block, std::size_t size) noexcept;

 private:
  char* next_ = nullptr;
  char* end_ = nullptr;
};

// Other processes.

struct Process {
  std::uint32_t number = 0;
  std::string name;  ///< of its program; empty when the system does not tell
};

/// Whether a process has this number, and then which.
bool FindProcess(std::uint32_t number, Process& found);

/// The processes that have the file `name` open for writing, as far as the system tells;
/// on Windows, which does not tell for what, all that have it open.
std::vector<Process> WritersOf(const char* name);

// The signals that end a process (POSIX).

/// Makes a write to a pipe without a reader, or beyond a limit of the file's size, fail
/// instead of ending the process, unless the program has handlers for these signals.
void IgnoreSignalsOfWriting();

}  // namespace platform
