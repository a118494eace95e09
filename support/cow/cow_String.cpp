#include "cow/cow_String.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>

namespace {

constexpr std::size_t kMaxLength = std::numeric_limits<int>::max();

int CheckedLength(std::size_t length) {
  if (length > kMaxLength) {
    throw std::length_error("cow_String: longer than 2147483647 bytes");
  }
  return static_cast<int>(length);
}

std::size_t Size(int length) {
  return static_cast<std::size_t>(std::max(length, 0));
}

// Twice the old capacity, so that appending costs constant time per byte, and at least
// what fills a block of 64 bytes.
int Grown(int capacity) {
  constexpr std::int64_t kMinimum = 64 - 1 - sizeof(cow_StringStorage);
  return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{2} * capacity, kMinimum,
                                                   std::numeric_limits<int>::max()));
}

void SetLength(cow_StringStorage& storage, int length) {
  storage.length = length;
  storage.chars[length] = '\0';
}

// REQUIRES: the storage has room.
void AppendBytes(cow_StringStorage& storage, std::string_view text) {
  if (!text.empty()) {
    std::memcpy(storage.chars + storage.length, text.data(), text.size());
    SetLength(storage, storage.length + static_cast<int>(text.size()));
  }
}

}  // namespace

cow_StringStorage::cow_StringStorage(char* text, int textLength,
                                     int textCapacity) noexcept
    : chars(text != nullptr ? text : Inline()),
      length(textLength),
      capacity(textCapacity) {
  chars[length] = '\0';
}

cow_StringStorage::~cow_StringStorage() {
  if (chars != Inline()) {
    ::operator delete(chars);
  }
}

void* cow_StringStorage::operator new(std::size_t header, Room text) {
  return ::operator new(header + static_cast<std::size_t>(text));
}

cow_StringStorage* cow_StringStorage::Make(int capacity) {
  const int bytes = std::max(capacity, 0);
  return new (Room{Size(bytes) + 1}) cow_StringStorage(nullptr, 0, bytes);
}

cow_StringStorage* cow_StringStorage::Adopt(char* block, int textLength) {
  try {
    return new (Room{0}) cow_StringStorage(block, textLength, textLength);
  } catch (...) {
    ::operator delete(block);
    throw;
  }
}

cow_String::cow_String(const char* text) : cow_String(View(text)) {}

cow_String::cow_String(const char* data, int length)
    : cow_String(std::string_view(data, Size(length))) {}

cow_String::cow_String(std::string_view text) {
  if (!text.empty()) {
    storage_ = cow_Handle<Storage>(Storage::Make(CheckedLength(text.size())));
    AppendBytes(storage_.Unique(), text);
  }
}

cow_String cow_String::Reserved(int capacity) {
  cow_String result;
  result.Reserve(capacity);
  return result;
}

cow_String cow_String::Adopt(char* block, int length) {
  cow_String result;
  if (block != nullptr) {
    result.storage_ = cow_Handle<Storage>(Storage::Adopt(block, length));
  }
  return result;
}

cow_String cow_String::Joined(std::string_view a, std::string_view b,
                              std::string_view c) {
  cow_String result = Reserved(CheckedLength(a.size() + b.size() + c.size()));
  return result.operator+=(a).operator+=(b).operator+=(c);
}

bool cow_String::HasRoom(int capacity) const noexcept {
  return storage_.IsUnique() && storage_.Get()->capacity >= capacity;
}

// REQUIRES: capacity >= Length().
cow_Handle<cow_StringStorage> cow_String::CopyWithRoom(int capacity) const {
  cow_Handle<Storage> copy(Storage::Make(capacity));
  AppendBytes(copy.Unique(), *this);
  return copy;
}

// Storage of this string alone. REQUIRES: the string has storage.
cow_String::Storage& cow_String::Writable() {
  if (!storage_.IsUnique()) {
    storage_ = CopyWithRoom(Length());
  }
  return storage_.Unique();
}

int cow_String::Find(std::string_view text, int from) const noexcept {
  const std::size_t at = std::string_view(*this).find(text, Size(from));
  return at == std::string_view::npos ? Length() : static_cast<int>(at);
}

int cow_String::FindLast(char c) const noexcept {
  const std::size_t at = std::string_view(*this).rfind(c);
  return at == std::string_view::npos ? Length() : static_cast<int>(at);
}

cow_String cow_String::Substr(int from, int length) const {
  from = std::clamp(from, 0, Length());
  length = std::clamp(length, 0, Length() - from);
  return length == Length() ? *this : cow_String(c_str() + from, length);
}

cow_String& cow_String::Append(const char* data, int length) {
  return *this += std::string_view(data, Size(length));
}

cow_String& cow_String::operator+=(const char* text) {
  return *this += View(text);
}

cow_String& cow_String::operator+=(std::string_view text) {
  if (text.empty()) {
    return *this;
  }
  const int needed = CheckedLength(static_cast<std::size_t>(Length()) + text.size());
  if (HasRoom(needed)) {
    AppendBytes(storage_.Unique(), text);
  } else {
    // The old storage lives until the end: the text may be part of it.
    const int grown = storage_.IsUnique() ? Grown(storage_.Get()->capacity) : 0;
    cow_Handle<Storage> longer = CopyWithRoom(std::max(grown, needed));
    AppendBytes(longer.Unique(), text);
    storage_ = std::move(longer);
  }
  return *this;
}

cow_String& cow_String::Insert(int at, std::string_view text) {
  const std::string_view whole = *this;
  const std::size_t split = std::min(Size(at), whole.size());
  *this = Joined(whole.substr(0, split), text, whole.substr(split));
  return *this;
}

cow_String& cow_String::Remove(int from, int length) {
  from = std::clamp(from, 0, Length());
  length = std::clamp(length, 0, Length() - from);
  if (length > 0) {
    Storage& storage = Writable();
    const int rest = storage.length - from - length;
    std::memmove(storage.chars + from, storage.chars + from + length, Size(rest));
    SetLength(storage, from + rest);
  }
  return *this;
}

cow_String& cow_String::Trim(const char* set) {
  const std::string_view whole = *this;
  const std::size_t first = whole.find_first_not_of(View(set));
  if (first == std::string_view::npos) {
    return Clear();
  }
  const std::size_t end = whole.find_last_not_of(View(set)) + 1;
  Remove(static_cast<int>(end), Length());
  return Remove(0, static_cast<int>(first));
}

cow_String& cow_String::Replace(char from, char to) {
  if (std::string_view(*this).find(from) != std::string_view::npos) {
    Storage& storage = Writable();
    std::replace(storage.chars, storage.chars + storage.length, from, to);
  }
  return *this;
}

cow_String& cow_String::Reserve(int capacity) {
  if (capacity > 0 && !HasRoom(capacity)) {
    storage_ = CopyWithRoom(std::max(capacity, Length()));
  }
  return *this;
}

cow_String& cow_String::Clear() noexcept {
  if (storage_.IsUnique()) {
    SetLength(storage_.Unique(), 0);
  } else {
    storage_ = {};
  }
  return *this;
}

std::ostream& operator<<(std::ostream& out, const cow_String& text) {
  return out << std::string_view(text);
}
