#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "utl/impl/multisection/utl_MultisectionErrors.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"
#include "utl/impl/utl_fileErrors.h"
#include "utl/utl_File.h"

namespace {

/// Reads the bytes of a file in order, in larger pieces.
class BufferedReader {
 public:
  explicit BufferedReader(utl_File& file) : file_(file), buffer_(kBuffer) {}

  /// Copies the next `count` bytes; false when the file ends before.
  bool Take(char* to, int count) {
    while (count > 0) {
      const int piece = std::min(count, Available());
      if (piece == 0) {
        return false;
      }
      std::memcpy(to, Advance(piece), static_cast<std::size_t>(piece));
      to += piece;
      count -= piece;
    }
    return true;
  }

  /// Passes over the next `count` bytes without reading them; false when the file ends
  /// before.
  bool Skip(int count) {
    const int buffered = std::min(count, end_ - next_);
    Advance(buffered);
    count -= buffered;
    return count == 0 || SkipInFile(count);
  }

  /// Goes back to `position`, which is in the first piece.
  void Rewind(int position) {
    if (position_ == next_) {
      next_ = position;  // the buffer still has the first piece
      position_ = position;
    } else {
      SeekTo(position);
    }
  }

  /// The position in the file.
  std::int64_t Position() const { return position_; }

 private:
  static constexpr int kBuffer = 64 * 1024;

  // How many bytes the buffer has, after reading more if it had none; 0 at the end.
  int Available() {
    if (next_ == end_) {
      next_ = 0;
      end_ = 0;
      end_ = file_.Read(buffer_.data(), kBuffer);
    }
    return end_ - next_;
  }

  bool SkipInFile(int count) {
    const std::int64_t target = position_ + count;
    if (target > static_cast<std::int64_t>(file_.FileSize())) {
      return false;
    }
    SeekTo(target);
    return true;
  }

  void SeekTo(std::int64_t position) {
    file_.Seek(position);
    position_ = position;
    next_ = 0;
    end_ = 0;
  }

  const char* Advance(int count) {
    const char* bytes = buffer_.data() + next_;
    next_ += count;
    position_ += count;
    return bytes;
  }

  utl_File& file_;
  std::vector<char> buffer_;
  int next_ = 0;
  int end_ = 0;
  std::int64_t position_ = 0;
};

class DirectoryReader {
 public:
  DirectoryReader(utl_File& file, const cow_String& path) : reader_(file), path_(path) {}

  void ReadHeader() {
    char bytes[4];
    if (!reader_.Take(bytes, 4) || std::memcmp(bytes, kMultisectionTag, 4) != 0) {
      utl_multisectionFail(path_, "Invalid file type");
    }
    if (!reader_.Take(bytes, 4) || utl_getInt(bytes) != kMultisectionVersion) {
      utl_multisectionFail(path_, "Unsupported file format");
    }
    count_ = std::max(Int(), 0);
  }

  /// Passes over the entries. Bytes that a damaged count or length promises are found
  /// missing here, before any memory is taken for them.
  void Measure() {
    for (int i = 0; i < count_; ++i) {
      Expect(reader_.Skip(NameLength()));
      Expect(reader_.Skip(2 * kInt));
      if (reader_.Position() > std::numeric_limits<int>::max()) {
        utl_multisectionFailTooLong(path_);
      }
    }
    end_ = reader_.Position();
  }

  /// Reads the entries that were measured.
  void ReadEntries(utl_SectionDirectory& directory) {
    reader_.Rewind(kMultisectionHeaderSize);
    directory.Reserve(count_,
                      static_cast<std::size_t>(end_ - kMultisectionHeaderSize) -
                          static_cast<std::size_t>(count_) * kMultisectionEntrySize);
    std::int64_t place = end_;
    for (int i = 0; i < count_; ++i) {
      const int nameLength = NameLength();
      Expect(reader_.Position() + nameLength <= end_);  // or the file is being changed
      Expect(reader_.Take(directory.Append(nameLength), nameLength));
      utl_Section& section = directory.Last();
      section.length = Int();
      section.checksum = static_cast<std::uint32_t>(Int());
      section.place = place;
      place += section.length;
    }
  }

 private:
  static constexpr int kInt = 4;

  int Int() {
    char bytes[kInt];
    Expect(reader_.Take(bytes, kInt));
    return static_cast<int>(utl_getInt(bytes));
  }

  int NameLength() {
    const int length = Int();
    if (length < 0) {
      utl_multisectionFail(path_, "Invalid string length");
    }
    return length;
  }

  void Expect(bool taken) {
    if (!taken) {
      utl_fileFailAtEnd(path_);
    }
  }

  BufferedReader reader_;
  const cow_String& path_;
  int count_ = 0;
  std::int64_t end_ = 0;  // of the directory
};

}  // namespace

void utl_multisectionReadDirectory(utl_File& file, const cow_String& path,
                                   utl_SectionDirectory& directory) {
  DirectoryReader reader(file, path);
  reader.ReadHeader();
  reader.Measure();
  reader.ReadEntries(directory);
}
