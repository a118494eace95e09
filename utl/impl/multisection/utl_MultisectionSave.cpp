#include <windows.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "atr/atr_translate.h"
#include "utl/impl/multisection/utl_LockFileHolder.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"
#include "utl/utl_MultisectionFile.h"

namespace {

/// Writes to a file through a buffer, so that many small pieces make one call.
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
    utl_PutInt(bytes, value);
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

  /// How many bytes the file has got; those in the buffer do not count.
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
    out.AppendInt(static_cast<std::uint32_t>(directory.Length(section)));
    out.AppendInt(directory.Checksum(section));
  }
}

// Writes the bytes of all sections, from memory or from the file that holds them.
void WriteSections(GatheringWriter& out, const utl_SectionDirectory& directory,
                   utl_File& file, const cow_String& path) {
  for (int section = 0; section < directory.Count(); ++section) {
    const int length = directory.Length(section);
    if (const char* data = directory.Data(section)) {
      out.Append(data, length);
    } else if (length > 0) {
      file.Seek(directory.Place(section));
      if (!out.AppendFrom(file, length)) {
        out.Flush();
        utl_MultisectionFailAtEnd(path);
      }
    }
  }
}

}  // namespace

void utl_MultisectionFile::saveChanges() {
  /// Deletes the temporary file, whichever way the save ends.
  class FileRemover {
   public:
    explicit FileRemover(const cow_String& path) : path_(path) {}
    ~FileRemover() { DeleteFileA(path_.c_str()); }
    FileRemover(const FileRemover&) = delete;
    FileRemover& operator=(const FileRemover&) = delete;

   private:
    cow_String path_;
  };

  if (directory_->DataOffset() + directory_->DataSize() >
      std::numeric_limits<int>::max()) {
    utl_MultisectionFail(path_,
                         atr_translate("Total size exceeds 2147483647 bytes").Result());
  }
  position_ = kUnknownPosition;
  const cow_String temporaryPath =
      path_ + "." + std::to_string(GetCurrentProcessId()) + ".tmp";
  const FileRemover remover(temporaryPath);
  utl_File temporary;
  temporary.Open(temporaryPath, utl_FileAccessWrite, utl_FileShareDefault);
  WriteTemporary(temporary);
  temporary.Flush();
  CopyOver(temporary, temporaryPath);
}

void utl_MultisectionFile::WriteTemporary(utl_File& temporary) {
  GatheringWriter out(temporary);
  try {
    WriteDirectory(out, *directory_);
    WriteSections(out, *directory_, file_, path_);
    out.Flush();
  } catch (...) {
    directory_->Settle(out.Written());
    throw;
  }
  directory_->Settle(out.Written());
}

void utl_MultisectionFile::CopyOver(utl_File& temporary,
                                    const cow_String& temporaryPath) {
  const auto size = static_cast<int>(static_cast<std::int64_t>(temporary.FileSize()));
  file_.Extend(size);
  file_.Seek(0);
  temporary.Seek(0);
  GatheringWriter out(file_);
  if (!out.AppendFrom(temporary, size)) {
    utl_MultisectionFailAtEnd(temporaryPath);
  }
  out.Flush();
}
