#include "utl/impl/multisection/utl_SectionDirectory.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <new>
#include <numeric>
#include <utility>

#include "utl/impl/multisection/utl_MultisectionFormat.h"

namespace {

// A place is the sum of at most so many lengths, which takes no longer than the search
// by name; the marks take a few thousandths of the directory's memory.
constexpr int kMarkDistance = 512;

constexpr std::size_t kFirstSlots = 64;  // a power of two

std::string_view UpToZero(std::string_view name) {
  return name.substr(0, name.find('\0'));
}

}  // namespace

int utl_SectionDirectory::Find(const cow_String& name) {
  IndexNames();
  return slots_.empty() ? utl_kNoSection : slots_[Slot(UpToZero(name))];
}

std::string_view utl_SectionDirectory::Name(int section) const {
  const std::size_t begin = section == 0 ? 0 : nameEnds_[Index(section - 1)];
  return {names_.data() + begin, nameEnds_[Index(section)] - begin};
}

int utl_SectionDirectory::Length(int section) const {
  const auto held = held_.find(section);
  return held == held_.end() ? fileLengths_[Index(section)] : held->second.length;
}

const char* utl_SectionDirectory::Data(int section) const {
  const auto held = held_.find(section);
  return held == held_.end() ? nullptr : held->second.data.get();
}

std::int64_t utl_SectionDirectory::Place(int section) const {
  const auto behind = std::upper_bound(
      marks_.begin(), marks_.end(), section,
      [](int wanted, const Mark& mark) { return wanted < mark.section; });
  const Mark mark = behind == marks_.begin() ? Mark{0, 0} : *std::prev(behind);
  return std::accumulate(fileLengths_.begin() + mark.section,
                         fileLengths_.begin() + section, mark.place);
}

std::int64_t utl_SectionDirectory::DataOffset() const {
  return kMultisectionHeaderSize + std::int64_t{kMultisectionEntrySize} * Count() +
         static_cast<std::int64_t>(NamesEnd());
}

std::int64_t utl_SectionDirectory::DataSize() const {
  std::int64_t size = 0;
  for (int i = 0; i < Count(); ++i) {
    size += std::max(Length(i), 0);
  }
  return size;
}

void utl_SectionDirectory::Set(const cow_String& name, std::unique_ptr<char[]> data,
                               int length, std::uint32_t checksum) {
  const int found = Find(name);
  const int section = found == utl_kNoSection ? Count() : found;
  Held& held = held_[section];
  if (found == utl_kNoSection) {
    try {
      std::copy_n(name.c_str(), name.Length(), AppendName(name.Length()));
    } catch (...) {
      held_.erase(section);
      throw;
    }
  }
  held = {std::move(data), length};
  checksums_[Index(section)] = checksum;
}

void utl_SectionDirectory::Reserve(int sections, std::size_t nameBytes) {
  nameEnds_.reserve(Index(sections));
  names_.reserve(nameBytes);
  fileLengths_.reserve(Index(sections));
  checksums_.reserve(Index(sections));
}

char* utl_SectionDirectory::AppendName(int length) {
  const std::size_t begin = NamesEnd();
  const std::size_t end = begin + static_cast<std::size_t>(length);
  if (end > std::numeric_limits<std::uint32_t>::max()) {
    throw std::bad_alloc();
  }
  names_.resize(end);
  fileLengths_.resize(Index(Count() + 1));
  checksums_.resize(Index(Count() + 1));
  nameEnds_.push_back(static_cast<std::uint32_t>(end));
  return names_.data() + begin;
}

void utl_SectionDirectory::Describe(int length, std::uint32_t checksum) {
  fileLengths_.back() = length;
  checksums_.back() = checksum;
}

void utl_SectionDirectory::PlaceFrom(std::int64_t offset) {
  marks_.clear();
  for (int i = 0; i < Count(); ++i) {
    if (i % kMarkDistance == 0) {
      marks_.push_back({i, offset});
    }
    offset += fileLengths_[Index(i)];
  }
}

void utl_SectionDirectory::Settle(std::int64_t written) {
  std::vector<Mark> marks;
  std::int64_t place = DataOffset();
  int section = 0;
  for (; section < Count(); ++section) {
    const std::int64_t behind = place + std::max(Length(section), 0);
    if (behind > written) {
      break;
    }
    if (section % kMarkDistance == 0 || Length(section - 1) < 0) {
      marks.push_back({section, place});
    }
    place = behind;
  }
  // The others stay where they are in the old file.
  if (section < Count()) {
    marks.push_back({section, Place(section)});
    std::copy_if(marks_.begin(), marks_.end(), std::back_inserter(marks),
                 [section](const Mark& mark) { return mark.section > section; });
  }
  marks_ = std::move(marks);
  std::erase_if(held_, [this, section](const auto& held) {
    if (held.first >= section) {
      return false;
    }
    fileLengths_[Index(held.first)] = held.second.length;
    return true;
  });
}

std::string_view utl_SectionDirectory::Key(int section) const {
  return UpToZero(Name(section));
}

// The slot that holds the section of this name, or is free for it.
std::size_t utl_SectionDirectory::Slot(std::string_view key) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>()(key) & mask;
  while (slots_[slot] != utl_kNoSection && Key(slots_[slot]) != key) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

void utl_SectionDirectory::IndexNames() {
  for (; indexed_ < Count(); ++indexed_) {
    if (4 * usedSlots_ >= 3 * slots_.size()) {
      GrowIndex();
    }
    int& slot = slots_[Slot(Key(indexed_))];
    if (slot == utl_kNoSection) {
      slot = indexed_;
      ++usedSlots_;
    }
  }
}

void utl_SectionDirectory::GrowIndex() {
  const std::vector<int> old = std::exchange(
      slots_, std::vector<int>(std::max(2 * slots_.size(), kFirstSlots), utl_kNoSection));
  for (const int section : old) {
    if (section != utl_kNoSection) {
      slots_[Slot(Key(section))] = section;
    }
  }
}
