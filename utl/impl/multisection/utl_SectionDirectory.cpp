#include "utl/impl/multisection/utl_SectionDirectory.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "utl/impl/multisection/utl_MultisectionFormat.h"

namespace {

std::string_view UpToZero(std::string_view name) {
  return name.substr(0, name.find('\0'));
}

// Fewer bytes come from operator new.
constexpr int kLargeSection = kMultisectionPiece;

// Ends that a section holds its bytes here.
void DropBytes(utl_Section& section) {
  utl_SectionBytes(std::exchange(section.data, nullptr), {section.length});
}

}  // namespace

void utl_FreeSectionBytes::operator()(char* bytes) const noexcept {
  if (length >= kLargeSection) {
    platform::LargeBlocks::GiveBack(bytes, static_cast<std::size_t>(length));
  } else {
    delete[] bytes;
  }
}

utl_SectionDirectory::~utl_SectionDirectory() {
  for (utl_Section& section : sections_) {
    DropBytes(section);
  }
}

std::string_view utl_SectionDirectory::Name(int section) const {
  const std::size_t begin = section == 0 ? 0 : nameEnds_[Index(section - 1)];
  return {names_.data() + begin, nameEnds_[Index(section)] - begin};
}

int utl_SectionDirectory::Find(const cow_String& name) {
  return index_.Find(UpToZero(name), Count(),
                     [this](int section) { return UpToZero(Name(section)); });
}

std::int64_t utl_SectionDirectory::DataOffset() const {
  return kMultisectionHeaderSize + std::int64_t{kMultisectionEntrySize} * Count() +
         static_cast<std::int64_t>(NamesEnd());
}

std::int64_t utl_SectionDirectory::FileSize() const {
  std::int64_t size = DataOffset();
  for (int i = 0; i < Count(); ++i) {
    size += std::max((*this)[i].length, 0);
  }
  return size;
}

utl_SectionBytes utl_SectionDirectory::NewBytes(int length) {
  const std::size_t size = Index(length);
  return {length >= kLargeSection ? largeBlocks_.Take(size) : new char[size], {length}};
}

void utl_SectionDirectory::Set(const cow_String& name, utl_SectionBytes bytes,
                               std::uint32_t checksum) {
  const int found = Find(name);
  if (found == kNone) {
    std::copy_n(name.c_str(), name.Length(), Append(name.Length()));
  }
  utl_Section& section = found == kNone ? Last() : sections_[Index(found)];
  DropBytes(section);
  const int length = bytes.get_deleter().length;
  section = {.data = bytes.release(), .length = length, .checksum = checksum};
}

void utl_SectionDirectory::Reserve(int sections, std::size_t nameBytes) {
  nameEnds_.reserve(Index(sections));
  names_.reserve(nameBytes);
  sections_.reserve(Index(sections));
}

char* utl_SectionDirectory::Append(int nameLength) {
  const std::size_t begin = NamesEnd();
  const std::size_t end = begin + Index(nameLength);
  if (end > std::numeric_limits<std::uint32_t>::max()) {
    throw std::bad_alloc();
  }
  names_.resize(end);
  sections_.resize(Index(Count()) + 1);
  nameEnds_.push_back(static_cast<std::uint32_t>(end));
  return names_.data() + begin;
}

void utl_SectionDirectory::Settle(std::int64_t written) {
  std::int64_t place = DataOffset();
  for (int i = 0; i < Count(); ++i) {
    utl_Section& section = sections_[Index(i)];
    const std::int64_t end = place + std::max(section.length, 0);
    if (end > written) {
      return;
    }
    DropBytes(section);
    section.place = std::exchange(place, end);
  }
}
