#pragma once

// Internal to the library: the directory of a multisection file in memory.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "cow/cow_String.h"
#include "platform/platform.h"
#include "utl/impl/multisection/utl_NameIndex.h"

/// Gives back the memory of a section's bytes.
struct utl_FreeSectionBytes {
  void operator()(char* bytes) const noexcept;

  int length = 0;
};
using utl_SectionBytes = std::unique_ptr<char[], utl_FreeSectionBytes>;

/// A section without its name.
struct utl_Section {
  /// Where its bytes are in the file, if they are not held here. 64 bits, as a damaged
  /// file's lengths may add up to anything.
  std::int64_t place = 0;
  /// Its bytes, if they were set and are not in the file yet; the directory's.
  char* data = nullptr;
  int length = 0;  ///< In bytes; negative only in a damaged file.
  std::uint32_t checksum = 0;
};

/// The sections in the order of the file, each known by its number, from 0 on.
///
/// A damaged file can have a directory of millions of entries: an entry takes 28 bytes
/// and its name here, 12 and its name in the file, and 8 more once names are searched.
class utl_SectionDirectory {
 public:
  static constexpr int kNone = utl_NameIndex<>::kNone;

  utl_SectionDirectory() = default;
  ~utl_SectionDirectory();
  utl_SectionDirectory(const utl_SectionDirectory&) = delete;
  utl_SectionDirectory& operator=(const utl_SectionDirectory&) = delete;

  int Count() const { return static_cast<int>(nameEnds_.size()); }
  const utl_Section& operator[](int section) const { return sections_[Index(section)]; }

  /// The whole name; valid until a section is appended.
  std::string_view Name(int section) const;

  /// The first section of this name, or kNone. Names are compared up to a zero byte.
  int Find(const cow_String& name);

  /// Bytes of header and directory in the file that holds these sections.
  std::int64_t DataOffset() const;
  /// Bytes of that file. A negative length counts as 0.
  std::int64_t FileSize() const;

  /// Memory for the bytes of a section.
  utl_SectionBytes NewBytes(int length);

  /// Gives these bytes to the section of this name, a new last one if there is none.
  /// Changes nothing when it throws.
  void Set(const cow_String& name, utl_SectionBytes bytes, std::uint32_t checksum);

  /// Takes the memory for so many sections, so that appending them takes no more.
  void Reserve(int sections, std::size_t nameBytes);
  /// Adds a last section; the caller writes its name to the `nameLength` bytes returned.
  char* Append(int nameLength);
  /// The last section.
  utl_Section& Last() { return sections_[Index(Count() - 1)]; }

  /// A new file was written up to `written`: the sections that are in it to their last
  /// byte are from now on those of the new file.
  void Settle(std::int64_t written);

 private:
  static std::size_t Index(int section) { return static_cast<std::size_t>(section); }
  std::size_t NamesEnd() const { return nameEnds_.empty() ? 0 : nameEnds_.back(); }

  // The size of nameEnds_ is the number of sections: the others may have more elements
  // after a failure.
  std::vector<std::uint32_t> nameEnds_;
  std::vector<char> names_;  // one after the other
  std::vector<utl_Section> sections_;
  utl_NameIndex<> index_;
  platform::LargeBlocks largeBlocks_;
};
