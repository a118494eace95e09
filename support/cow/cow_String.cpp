#include "cow/cow_String.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>

#include "cow/cow_Handle.h"

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

}  // namespace

/// What long texts share: the bytes with a terminating zero, either right after this
/// header in the same block or in a block that was adopted.
class cow_StringStorage : public cow_Shared {
 public:
  /// Room for `bytes` bytes. Throws std::bad_alloc.
  static cow_StringStorage* Make(int bytes) {
    return new (Room{Size(bytes) + 1}) cow_StringStorage(nullptr, bytes);
  }
  /// Takes over a block of ::operator new, even when it throws std::bad_alloc.
  static cow_StringStorage* Adopt(char* block, int length) {
    try {
      return new (Room{0}) cow_StringStorage(block, length);
    } catch (...) {
      ::operator delete(block);
      throw;
    }
  }

  cow_StringStorage(const cow_StringStorage&) = delete;
  ~cow_StringStorage() {
    if (chars != Inline()) {
      ::operator delete(chars);
    }
  }
  // NOLINTNEXTLINE(misc-new-delete-overloads): made by the private form with Room.
  static void operator delete(void* block) { ::operator delete(block); }

  char* const chars;
  const int capacity;

 private:
  cow_StringStorage(char* block, int bytes) noexcept
      : chars(block != nullptr ? block : Inline()), capacity(bytes) {}
  enum class Room : std::size_t {};
  static void* operator new(std::size_t header, Room text) {
    return ::operator new(header + static_cast<std::size_t>(text));
  }
  static void operator delete(void* block, Room) { ::operator delete(block); }
  char* Inline() noexcept { return reinterpret_cast<char*>(this + 1); }
};

namespace {

using Handle = cow_Handle<cow_StringStorage>;

// Copies a text of one or two words, by its first and its last word.
template <class Word>
void CopyEnds(char* to, std::string_view text) {
  const std::size_t last = text.size() - sizeof(Word);
  Word words[2];
  std::memcpy(&words[0], text.data(), sizeof(Word));
  std::memcpy(&words[1], text.data() + last, sizeof(Word));
  std::memcpy(to, &words[0], sizeof(Word));
  std::memcpy(to + last, &words[1], sizeof(Word));
}

// Copies up to 32 bytes, in less time than a call of memcpy takes.
void CopyShort(char* to, std::string_view text) {
  if (text.size() >= 16) {
    CopyEnds<std::array<char, 16>>(to, text);
  } else if (text.size() >= 8) {
    CopyEnds<std::uint64_t>(to, text);
  } else if (text.size() >= 4) {
    CopyEnds<std::uint32_t>(to, text);
  } else if (text.size() >= 2) {
    CopyEnds<std::uint16_t>(to, text);
  } else if (!text.empty()) {
    *to = text.front();
  }
}

// Twice the old capacity, so that appending costs constant time per byte, and at least
// what fills a block of 64 bytes.
int Grown(int capacity) {
  constexpr std::int64_t kMinimum = 64 - 1 - sizeof(cow_StringStorage);
  return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{2} * capacity, kMinimum,
                                                   std::numeric_limits<int>::max()));
}

}  // namespace

cow_String::cow_String(const char* text) : cow_String(View(text)) {}

cow_String::cow_String(const char* data, int length)
    : cow_String(std::string_view(data, Size(length))) {}

cow_String::cow_String(std::string_view text) {
  if (text.size() <= kMostShort) {
    CopyShort(text_.bytes, text);
    BecomeShort(static_cast<int>(text.size()));
    return;
  }
  cow_StringStorage& storage = *cow_StringStorage::Make(CheckedLength(text.size()));
  std::memcpy(storage.chars, text.data(), text.size());
  text_.shared = {&storage, storage.chars, 0, {}, kShared};
  SetLength(static_cast<int>(text.size()));
}

cow_String::cow_String(cow_StringStorage& storage, int length) noexcept {
  text_.shared = {&storage, storage.chars, length, {}, kShared};
}

cow_String cow_String::Reserved(int capacity) {
  return WithRoom(capacity, {});
}

cow_String cow_String::Adopt(char* block, int length) {
  return block != nullptr ? cow_String(*cow_StringStorage::Adopt(block, length), length)
                          : cow_String();
}

cow_String cow_String::Joined(std::string_view a, std::string_view b,
                              std::string_view c) {
  cow_String result = Reserved(CheckedLength(a.size() + b.size() + c.size()));
  result.AppendBytes(a);
  result.AppendBytes(b);
  result.AppendBytes(c);
  return result;
}

// REQUIRES: `capacity` is not less than the text's length.
cow_String cow_String::WithRoom(int capacity, std::string_view text) {
  cow_String result;
  if (capacity > kMostShort) {
    result = cow_String(*cow_StringStorage::Make(capacity), 0);
    result.SetLength(0);
  }
  result.AppendBytes(text);
  return result;
}

void cow_String::Hold() const noexcept {
  Handle::Hold(*text_.shared.storage);
}

void cow_String::Drop() noexcept {
  Handle::Drop(text_.shared.storage);
}

// Whether the text may be written in place, up to that length.
bool cow_String::HasRoom(int capacity) const noexcept {
  return IsShort() ? capacity <= kMostShort
                   : text_.shared.storage->capacity >= capacity &&
                         Handle::IsHeldOnce(*text_.shared.storage);
}

// The bytes, of this string alone.
char* cow_String::Writable() {
  if (!HasRoom(Length())) {
    *this = cow_String(std::string_view(*this));
  }
  return IsShort() ? text_.bytes : text_.shared.chars;
}

// REQUIRES: there is room, and the bytes are this string's alone.
void cow_String::SetLength(int length) noexcept {
  if (IsShort()) {
    BecomeShort(length);
  } else {
    text_.shared.length = length;
    text_.shared.chars[length] = '\0';
  }
}

// REQUIRES: as for SetLength.
void cow_String::AppendBytes(std::string_view text) noexcept {
  if (!text.empty()) {
    const int length = Length();
    std::memcpy((IsShort() ? text_.bytes : text_.shared.chars) + length, text.data(),
                text.size());
    SetLength(length + static_cast<int>(text.size()));
  }
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
    AppendBytes(text);
  } else {
    // The old storage lives until the end: the text may be part of it.
    const bool shared = !HasRoom(Length());
    const int capacity = IsShort() ? kMostShort : text_.shared.storage->capacity;
    cow_String longer =
        WithRoom(shared ? needed : std::max(Grown(capacity), needed), *this);
    longer.AppendBytes(text);
    *this = std::move(longer);
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
    char* const chars = Writable();
    const int rest = Length() - from - length;
    std::memmove(chars + from, chars + from + length, Size(rest));
    SetLength(from + rest);
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
    char* const chars = Writable();
    std::replace(chars, chars + Length(), from, to);
  }
  return *this;
}

cow_String& cow_String::Reserve(int capacity) {
  if (capacity > 0 && !HasRoom(capacity)) {
    *this = WithRoom(std::max(capacity, Length()), *this);
  }
  return *this;
}

cow_String& cow_String::Clear() noexcept {
  if (HasRoom(0)) {
    SetLength(0);
  } else {
    *this = {};
  }
  return *this;
}

std::ostream& operator<<(std::ostream& out, const cow_String& text) {
  return out << std::string_view(text);
}
