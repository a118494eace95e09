#include <windows.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "utl/impl/multisection/utl_MultisectionErrors.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"
#include "utl/impl/utl_fileErrors.h"
#include "utl/utl_File.h"

namespace {

/// Writes to a file through a buffer, so that many small pieces take one call.
class GatheringWriter {
 public:
  explicit GatheringWriter(utl_File& file) : file_(file), buffer_(kMultisectionPiece) {}

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

  /// How many bytes are in the file; those in the buffer do not count.
  std::int64_t Written() const { return written_; }

 private:
  int FreeRoom() const { return kMultisectionPiece - used_; }

  utl_File& file_;
  std::vector<char> buffer_;
  int used_ = 0;
  std::int64_t written_ = 0;
};

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
  if (end > begin) {
    file.Seek(begin);
    if (!out.AppendFrom(file, static_cast<int>(end - begin))) {
      out.Flush();
      utl_fileFailAtEnd(path);
    }
  }
  return next;
}

// Writes the bytes of all sections.
void WriteSections(GatheringWriter& out, const utl_SectionDirectory& directory,
                   utl_File& file, const cow_String& path) {
  for (int i = 0; i < directory.Count();) {
    const utl_Section& section = directory[i];
    if (section.data != nullptr) {
      out.Append(section.data.get(), section.length);
      ++i;
    } else if (section.length < 0) {
      ++i;
    } else {
      i = CopySections(out, directory, i, file, path);
    }
  }
}

// Writes the whole new file.
void WriteAll(GatheringWriter& out, const utl_SectionDirectory& directory, utl_File& file,
              const cow_String& path) {
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

// Writes the new file. The part that was written counts as saved, even after a failure.
void WriteAndSettle(utl_File& temporary, utl_SectionDirectory& directory, utl_File& file,
                    const cow_String& path) {
  GatheringWriter out(temporary);
  try {
    WriteAll(out, directory, file, path);
  } catch (...) {
    directory.Settle(out.Written());
    throw;
  }
  directory.Settle(out.Written());
}

void CopyOver(utl_File& file, TemporaryFile& temporary) {
  const auto size =
      static_cast<int>(static_cast<std::int64_t>(temporary.file.FileSize()));
  file.Extend(size);
  file.Seek(0);
  temporary.file.Seek(0);
  GatheringWriter out(file);
  if (!out.AppendFrom(temporary.file, size)) {
    utl_fileFailAtEnd(temporary.path);
  }
  out.Flush();
}

}  // namespace

void utl_multisectionSave(utl_File& file, const cow_String& path,
                          utl_SectionDirectory& directory) {
  CheckSize(directory, path);
  TemporaryFile temporary(file, path);
  WriteAndSettle(temporary.file, directory, file, path);
  temporary.file.Flush();
  CopyOver(file, temporary);
  file.Flush();  // before the temporary file is deleted, or a loss of power loses both
}

void utl_multisectionSaveAtomically(utl_File& file, const cow_String& path,
                                    utl_SectionDirectory& directory) {
  CheckSize(directory, path);
  TemporaryFile temporary(file, path);
  GatheringWriter out(temporary.file);
  WriteAll(out, directory, file, path);
  temporary.file.Flush();
  try {
    temporary.file.Replace(file);
  } catch (const utl_FileExceptionFlush&) {
    directory.Settle(out.Written());  // the file has been replaced
    throw;
  }
  directory.Settle(out.Written());
}
