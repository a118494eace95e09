#include "utl_SectionDirectory.h"

#include <algorithm>
#include <utility>

#include "utl_MultisectionFormat.h"

namespace {

std::string_view Key(const cow_String& name) {
  return name.c_str();
}

}  // namespace

utl_SectionRecord* utl_SectionDirectory::Find(const cow_String& name) {
  const auto found = index_.find(Key(name));
  return found == index_.end() ? nullptr : &records_[found->second];
}

utl_SectionRecord& utl_SectionDirectory::Append(utl_SectionRecord record) {
  records_.push_back(std::move(record));
  try {
    index_.try_emplace(Key(records_.back().name), records_.size() - 1);
  } catch (...) {
    records_.pop_back();
    throw;
  }
  return records_.back();
}

std::int64_t utl_SectionDirectory::DataOffset() const {
  std::int64_t size = kMultisectionHeaderSize;
  for (const utl_SectionRecord& record : records_) {
    size += kMultisectionEntrySize + record.name.Length();
  }
  return size;
}

std::int64_t utl_SectionDirectory::DataSize() const {
  std::int64_t size = 0;
  for (const utl_SectionRecord& record : records_) {
    size += std::max(record.Length(), 0);
  }
  return size;
}
