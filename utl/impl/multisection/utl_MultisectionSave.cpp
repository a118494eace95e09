#include <windows.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "utl/impl/multisection/utl_MultisectionErrors.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"
#include "utl/impl/utl_fileErrors.h"
#include "utl/utl_File.h"

namespace {

/// Writes to a file through a buffer, so that many small pieces take one call. Counts in
/// `written` the bytes that are in the file; those in the buffer do not count.
class GatheringWriter {
 public:
  GatheringWriter(utl_File& file, std::int64_t& written)
      : file_(file), written_(written), buffer_(kMultisectionPiece) {}

  void Append(const char* bytes, int count) {
    if (count > FreeRoom()) {
      Flush();
    }
    if (count >= kMultisectionPiece) {
      written_ += file_.Write(bytes, count);
      return;
    }
    std::copy_n(bytes, count, buffer_.data() + used_);
    used_ += count;
  }

  void AppendInt(std::uint32_t value) {
    char bytes[4];
    utl_putInt(bytes, value);
    Append(bytes, 4);
  }

  /// Appends the next `count` bytes of another file; false when that one ends before.
  bool AppendFrom(utl_File& source, int count) {
    while (count > 0) {
      if (FreeRoom() == 0) {
        Flush();
      }
      const int piece = source.Read(buffer_.data() + used_, std::min(count, FreeRoom()));
      if (piece == 0) {
        return false;
      }
      used_ += piece;
      count -= piece;
    }
    return true;
  }

  void Flush() {
    if (used_ > 0) {
      file_.Write(buffer_.data(), used_);
      written_ += used_;
      used_ = 0;
    }
  }

 private:
  int FreeRoom() const { return kMultisectionPiece - used_; }

  utl_File& file_;
  std::int64_t& written_;
  std::vector<char> buffer_;
  int used_ = 0;
};

// Appends the bytes from `begin` to `end` of another file.
void CopyRange(GatheringWriter& out, utl_File& source, const cow_String& path,
               std::int64_t begin, std::int64_t end) {
  if (end > begin) {
    source.Seek(begin);
    if (!out.AppendFrom(source, static_cast<int>(end - begin))) {
      out.Flush();
      utl_fileFailAtEnd(path);
    }
  }
}

void WriteDirectory(GatheringWriter& out, const utl_SectionDirectory& directory) {
  out.Append(reinterpret_cast<const char*>(kMultisectionTag), sizeof kMultisectionTag);
  out.AppendInt(kMultisectionVersion);
  out.AppendInt(static_cast<std::uint32_t>(directory.Count()));
  for (int section = 0; section < directory.Count(); ++section) {
    const std::string_view name = directory.Name(section);
    out.AppendInt(static_cast<std::uint32_t>(name.size()));
    out.Append(name.data(), static_cast<int>(name.size()));
    out.AppendInt(static_cast<std::uint32_t>(directory[section].length));
    out.AppendInt(directory[section].checksum);
  }
}

// Copies the bytes of sections from the file that holds them, from `first` to the last
// one that follows without a gap, and returns the next section.
int CopySections(GatheringWriter& out, const utl_SectionDirectory& directory, int first,
                 utl_File& file, const cow_String& path) {
  const std::int64_t begin = directory[first].place;
  std::int64_t end = begin;
  int next = first;
  for (; next < directory.Count(); ++next) {
    const utl_Section& section = directory[next];
    if (section.data != nullptr || section.length < 0 || section.place != end) {
      break;
    }
    end += section.length;
  }
  CopyRange(out, file, path, begin, end);
  return next;
}

// Writes the bytes of all sections.
void WriteSections(GatheringWriter& out, const utl_SectionDirectory& directory,
                   utl_File& file, const cow_String& path) {
  for (int i = 0; i < directory.Count();) {
    const utl_Section& section = directory[i];
    if (section.data != nullptr) {
      out.Append(section.data, section.length);
      ++i;
    } else if (section.length < 0) {
      ++i;
    } else {
      i = CopySections(out, directory, i, file, path);
    }
  }
}

// Writes the whole new file.
void WriteAll(utl_File& to, std::int64_t& written, const utl_SectionDirectory& directory,
              utl_File& file, const cow_String& path) {
  GatheringWriter out(to, written);
  WriteDirectory(out, directory);
  WriteSections(out, directory, file, path);
  out.Flush();
}

void CheckSize(const utl_SectionDirectory& directory, const cow_String& path) {
  if (directory.FileSize() > std::numeric_limits<int>::max()) {
    utl_multisectionFailTooLong(path);
  }
}

/// Deletes a file at the end of its scope.
class FileRemover {
 public:
  explicit FileRemover(const cow_String& path) : path_(path) {}
  ~FileRemover() { DeleteFileA(path_.c_str()); }
  FileRemover(const FileRemover&) = delete;
  FileRemover& operator=(const FileRemover&) = delete;

 private:
  cow_String path_;
};

/// The temporary file of a save: closed, then deleted whichever way the save ends.
struct TemporaryFile {
  TemporaryFile(const utl_File& original, const cow_String& originalPath)
      : path(originalPath + "." + std::to_string(GetCurrentProcessId()) + ".tmp"),
        remover(path) {
    file.OpenNew(path, original);
  }

  const cow_String path;
  const FileRemover remover;
  utl_File file;
};

// What was written of a save counts as saved however it ends.
struct Settlement {
  ~Settlement() { directory.Settle(written); }

  utl_SectionDirectory& directory;
  std::int64_t written = 0;
};

// The end of the run of sections in memory that begins with `first`, and their bytes.
std::pair<int, std::int64_t> RunInMemory(const utl_SectionDirectory& directory,
                                         int first) {
  std::int64_t bytes = 0;
  int end = first;
  for (; end < directory.Count() && directory[end].data != nullptr; ++end) {
    bytes += directory[end].length;
  }
  return {end, bytes};
}

// Copies the whole temporary file over the file. Where many bytes one after the other are
// still in memory, they are taken from there.
void CopyOver(utl_File& file, TemporaryFile& temporary,
              const utl_SectionDirectory& directory) {
  const auto size = static_cast<std::int64_t>(temporary.file.FileSize());
  file.Extend(static_cast<int>(size));
  file.Seek(0);
  std::int64_t copiedOver = 0;  // nobody asks for it
  GatheringWriter out(file, copiedOver);
  std::int64_t copied = 0;
  std::int64_t place = directory.DataOffset();
  for (int i = 0; i < directory.Count();) {
    const auto [end, bytes] = RunInMemory(directory, i);
    if (bytes >= kMultisectionPiece) {
      CopyRange(out, temporary.file, temporary.path, copied, place);
      for (int section = i; section < end; ++section) {
        out.Append(directory[section].data, directory[section].length);
      }
      copied = place + bytes;
    }
    place += bytes;
    i = end;
    for (; i < directory.Count() && directory[i].data == nullptr; ++i) {
      place += std::max(directory[i].length, 0);
    }
  }
  CopyRange(out, temporary.file, temporary.path, copied, size);
  out.Flush();
}

}  // namespace

void utl_multisectionSave(utl_File& file, const cow_String& path,
                          utl_SectionDirectory& directory) {
  CheckSize(directory, path);
  TemporaryFile temporary(file, path);
  Settlement settlement{directory};
  WriteAll(temporary.file, settlement.written, directory, file, path);
  temporary.file.Flush();
  utl_fileFlushName(temporary.path);  // or a loss of power loses the temporary file
  CopyOver(file, temporary, directory);
  file.Flush();  // before the temporary file is deleted, or a loss of power loses both
}

void utl_multisectionSaveAtomically(utl_File& file, const cow_String& path,
                                    utl_SectionDirectory& directory) {
  CheckSize(directory, path);
  TemporaryFile temporary(file, path);
  std::int64_t written = 0;
  WriteAll(temporary.file, written, directory, file, path);
  temporary.file.Flush();
  try {
    temporary.file.Replace(file);
  } catch (const utl_FileExceptionFlush&) {
    directory.Settle(written);  // the file has been replaced
    throw;
  }
  directory.Settle(written);
}
