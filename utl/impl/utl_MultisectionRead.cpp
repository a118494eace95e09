#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "atr/atr_translate.h"
#include "utl_MultisectionFormat.h"
#include "utl_SectionDirectory.h"

namespace {

/// The bytes of a file in their order, fetched in larger pieces.
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

  /// Appends the next `count` bytes; false when the file ends before. Takes memory only
  /// for bytes that are really there.
  bool Take(cow_String& to, int count) {
    while (count > 0) {
      const int piece = std::min(count, Available());
      if (piece == 0) {
        return false;
      }
      to.Append(Advance(piece), piece);
      count -= piece;
    }
    return true;
  }

  /// How many bytes were taken.
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
      Fail("Invalid file type");
    }
    if (!reader_.Take(bytes, 4) || utl_GetInt(bytes) != kMultisectionVersion) {
      Fail("Unsupported file format");
    }
  }

  void ReadEntries(utl_SectionDirectory& directory) {
    const int count = Int();
    for (int i = 0; i < count; ++i) {
      utl_SectionRecord record;
      record.name = Name();
      record.fileLength = Int();
      record.checksum = static_cast<std::uint32_t>(Int());
      directory.Append(std::move(record));
    }
    std::int64_t offset = reader_.Position();
    for (utl_SectionRecord& record : directory.All()) {
      record.offset = offset;
      offset += record.fileLength;
    }
  }

 private:
  [[noreturn]] void Fail(const char* message) {
    utl_MultisectionFail(path_, atr_translate(message).Result());
  }

  int Int() {
    char bytes[4];
    Expect(reader_.Take(bytes, 4));
    return static_cast<int>(utl_GetInt(bytes));
  }

  cow_String Name() {
    const int length = Int();
    if (length < 0) {
      Fail("Invalid string length");
    }
    cow_String name;
    Expect(reader_.Take(name, length));
    return name;
  }

  void Expect(bool taken) {
    if (!taken) {
      utl_MultisectionFailAtEnd(path_);
    }
  }

  BufferedReader reader_;
  const cow_String& path_;
};

}  // namespace

void utl_MultisectionReadDirectory(utl_File& file, const cow_String& path,
                                   utl_SectionDirectory& directory) {
  DirectoryReader reader(file, path);
  reader.ReadHeader();
  reader.ReadEntries(directory);
}
