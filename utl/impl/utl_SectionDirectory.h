#pragma once

// Internal to the library: the directory of a multisection file in memory.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cow/cow_String.h"

/// One section. Its bytes are in the file at `offset`, or in `data` when they were set
/// since the last save.
struct utl_SectionRecord {
  cow_String name;
  std::int64_t offset = 0;  ///< wide, as a damaged file's lengths may sum to anything
  int fileLength = 0;       ///< negative only in a damaged file
  std::unique_ptr<char[]> data = nullptr;
  int memoryLength = 0;
  std::uint32_t checksum = 0;

  int Length() const { return data ? memoryLength : fileLength; }
};

/// The records in the order of the file, found by name in constant time.
class utl_SectionDirectory {
 public:
  using Records = std::vector<utl_SectionRecord>;

  /// The first record of this name, or null. Names are compared up to a zero byte.
  utl_SectionRecord* Find(const cow_String& name);

  /// The new last record. Changes nothing when it throws.
  utl_SectionRecord& Append(utl_SectionRecord record);

  /// To be changed in all but the names.
  Records& All() { return records_; }
  const Records& All() const { return records_; }

  /// Bytes of header and directory in the file that holds these sections: the place of
  /// the first section's data.
  std::int64_t DataOffset() const;
  /// Bytes of all sections.
  std::int64_t DataSize() const;

 private:
  Records records_;
  // The keys are the bytes of the records' names, which stay where they are when a
  // record is moved.
  std::unordered_map<std::string_view, std::size_t> index_;
};
