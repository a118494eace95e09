#pragma once

// Internal to the library: the directory of a multisection file in memory.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cow/cow_String.h"

inline constexpr int utl_kNoSection = -1;

/// The sections in the order of the file, found by name in constant time. A section is
/// meant by its number, from 0 on.
///
/// A damaged file can have a directory of millions of entries, so an entry costs here
/// what it costs there: twelve bytes and its name. The index of the names comes only
/// with the first search and holds each name once; places are kept for one section in
/// many; bytes that were set stand apart.
class utl_SectionDirectory {
 public:
  int Count() const { return static_cast<int>(nameEnds_.size()); }

  /// The first section of this name, or utl_kNoSection. Names are compared up to a zero
  /// byte.
  int Find(const cow_String& name);

  /// The whole name; valid until a section is appended.
  std::string_view Name(int section) const;
  /// In bytes, as set or else as in the file; negative only in a damaged file.
  int Length(int section) const;
  /// Of the bytes as set or else as in the file.
  std::uint32_t Checksum(int section) const { return checksums_[Index(section)]; }
  /// The bytes that were set and are not in the file yet; null for all other sections.
  const char* Data(int section) const;
  /// Where the section's bytes stand in the file. Wide, as a damaged file's lengths may
  /// sum to anything.
  std::int64_t Place(int section) const;

  /// Bytes of header and directory in the file that holds these sections: the place of
  /// the first section's data.
  std::int64_t DataOffset() const;
  /// Bytes of all sections.
  std::int64_t DataSize() const;

  /// Gives the section of this name, a new last one if there is none, these bytes.
  /// Changes nothing when it throws.
  void Set(const cow_String& name, std::unique_ptr<char[]> data, int length,
           std::uint32_t checksum);

  // A directory is read from a file by Reserve, for each section AppendName and
  // Describe, and PlaceFrom.

  /// Takes the memory for that many sections, so that appending them takes no more.
  void Reserve(int sections, std::size_t nameBytes);
  /// A new last section. Its name is to be written to the `length` bytes returned.
  char* AppendName(int length);
  /// What the file tells of the last section.
  void Describe(int length, std::uint32_t checksum);
  /// The sections stand in the file one behind the other, the first at `offset`.
  void PlaceFrom(std::int64_t offset);

  /// A new file was written up to `written`: the sections that are in it to their last
  /// byte are from now on those of the new file. Changes nothing when it throws.
  void Settle(std::int64_t written);

 private:
  struct Held {
    std::unique_ptr<char[]> data;
    int length = 0;
  };
  // The place of a section. Those behind it up to the next mark stand in the file as
  // their lengths tell.
  struct Mark {
    int section;
    std::int64_t place;
  };

  static std::size_t Index(int section) { return static_cast<std::size_t>(section); }
  std::size_t NamesEnd() const { return nameEnds_.empty() ? 0 : nameEnds_.back(); }
  std::string_view Key(int section) const;
  std::size_t Slot(std::string_view key) const;
  void IndexNames();
  void GrowIndex();

  // An element a section, one behind the other in names_. nameEnds_ has the last word
  // on how many there are: the others may have more after a failure.
  std::vector<std::uint32_t> nameEnds_;
  std::vector<char> names_;
  std::vector<int> fileLengths_;
  std::vector<std::uint32_t> checksums_;

  std::vector<Mark> marks_;  // in the order of the sections
  std::unordered_map<int, Held> held_;

  // A hash table with linear probing: sections of different names, or utl_kNoSection.
  std::vector<int> slots_;
  std::size_t usedSlots_ = 0;
  int indexed_ = 0;  // sections before this one have been entered
};
