#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "KSTutl_export.h"

class cow_StringStorage;

/// Copy-on-write string of bytes, the string type of every interface. A text of up to 23
/// bytes is stored in the object itself; copies of a longer one share their storage until
/// one of them is changed. A string may hold zero bytes; its text is always followed by a
/// terminating zero. Lengths and positions are in bytes, of type int; an operation whose
/// result would be longer than 2,147,483,647 bytes throws std::length_error, one that
/// finds no memory std::bad_alloc, and either leaves the string as it was.
///
/// Threads: as for a plain value. Copies that share storage may be used by different
/// threads at once; one string object by one thread at a time.
///
/// A failed search yields the string's length, so test "position less than length":
///
///     cow_String name = "deck.dat";
///     int dot = name.FindLast('.');
///     if (dot < name.Length()) name.Remove(dot, name.Length());   // "deck"
class KSTUTL_EXPORT cow_String {
 public:
  /// The empty string; it needs no storage.
  cow_String() noexcept { BecomeShort(0); }
  /// The text up to its terminator; null reads as "".
  cow_String(const char* text);
  /// `length` bytes of `data`, zero bytes included; 0 or less gives "".
  cow_String(const char* data, int length);
  /// The whole text, zero bytes included.
  cow_String(std::string_view text);
  cow_String(const std::string& text) : cow_String(std::string_view(text)) {}

  cow_String(const cow_String& other) noexcept : text_(other.text_) {
    if (!IsShort()) {
      Hold();
    }
  }
  /// Leaves `other` empty.
  cow_String(cow_String&& other) noexcept : text_(other.text_) { other.BecomeShort(0); }
  cow_String& operator=(const cow_String& other) noexcept {
    return *this = cow_String(other);
  }
  cow_String& operator=(cow_String&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  ~cow_String() {
    if (!IsShort()) {
      Drop();
    }
  }

  /// An empty string with storage for `capacity` bytes.
  static cow_String Reserved(int capacity);
  /// Takes over `block` without a copy; it is released by ::operator delete, also when
  /// this call throws std::bad_alloc. Null gives "".
  /// REQUIRES: a block of ::operator new of more than `length` bytes, block[length] is 0.
  static cow_String Adopt(char* block, int length);

  int Length() const noexcept {
    return IsShort() ? kMostShort - Tag() : text_.shared.length;
  }
  bool IsEmpty() const noexcept { return Length() == 0; }
  /// The bytes and a terminating zero, never null; valid until the string is changed,
  /// moved from or destroyed.
  const char* c_str() const noexcept {
    return IsShort() ? text_.bytes : text_.shared.chars;
  }
  /// The byte at `index`; the terminating zero at Length().
  /// REQUIRES: 0 <= index <= Length().
  char operator[](int index) const noexcept { return c_str()[index]; }
  /// The bytes as a range, without the terminating zero; valid as c_str() is.
  const char* begin() const noexcept { return c_str(); }
  const char* end() const noexcept { return c_str() + Length(); }
  operator std::string_view() const noexcept {
    return {c_str(), static_cast<std::size_t>(Length())};
  }

  /// Position of the first `text` at or after `from`, Length() when there is none. A
  /// negative `from` counts as 0.
  int Find(std::string_view text, int from = 0) const noexcept;
  /// Position of the last `c`, Length() when there is none.
  int FindLast(char c) const noexcept;
  /// The part that begins at `from` with `length` bytes; what lies outside the string is
  /// cut off: cow_String("abc").Substr(1, 9) is "bc". A copy of the whole string shares
  /// its storage.
  cow_String Substr(int from, int length) const;

  /// Appends `length` bytes of `data`, which may be part of this string; 0 or less
  /// appends nothing. Repeated appending costs constant time per byte.
  cow_String& Append(const char* data, int length);
  cow_String& operator+=(std::string_view text);
  cow_String& operator+=(const cow_String& text) {
    return *this += std::string_view(text);
  }
  cow_String& operator+=(const std::string& text) {
    return *this += std::string_view(text);
  }
  cow_String& operator+=(const char* text);
  cow_String& operator+=(char c) { return Append(&c, 1); }

  /// Inserts `text`, which may be part of this string, before the byte at `at` (cut to
  /// the string's range).
  cow_String& Insert(int at, std::string_view text);
  /// Removes `length` bytes from `from` on, as far as they lie in the string.
  cow_String& Remove(int from, int length);
  /// Removes the characters of `set` from both ends: " ab " trimmed by " " is "ab".
  cow_String& Trim(const char* set);
  /// Replaces every `from` by `to`.
  cow_String& Replace(char from, char to);
  /// Makes room for `capacity` bytes, so that appending up to there allocates nothing
  /// (until the storage is shared).
  cow_String& Reserve(int capacity);
  /// Empties the string. Storage of its own is kept for what is appended next; shared
  /// storage is left to the other holders.
  cow_String& Clear() noexcept;

  friend bool operator==(const cow_String& a, const cow_String& b) noexcept {
    return std::string_view(a) == std::string_view(b);
  }
  friend bool operator==(const cow_String& a, std::string_view b) noexcept {
    return std::string_view(a) == b;
  }
  friend bool operator==(const cow_String& a, const std::string& b) noexcept {
    return std::string_view(a) == b;
  }
  friend bool operator==(const cow_String& a, const char* b) noexcept {
    return std::string_view(a) == View(b);
  }
  /// Order of the unsigned bytes; a prefix comes first.
  friend std::strong_ordering operator<=>(const cow_String& a,
                                          const cow_String& b) noexcept {
    return std::string_view(a) <=> std::string_view(b);
  }
  friend std::strong_ordering operator<=>(const cow_String& a,
                                          std::string_view b) noexcept {
    return std::string_view(a) <=> b;
  }
  friend std::strong_ordering operator<=>(const cow_String& a,
                                          const std::string& b) noexcept {
    return std::string_view(a) <=> b;
  }
  friend std::strong_ordering operator<=>(const cow_String& a, const char* b) noexcept {
    return std::string_view(a) <=> View(b);
  }

  friend cow_String operator+(cow_String a, const cow_String& b) {
    a += b;
    return a;
  }
  friend cow_String operator+(cow_String a, std::string_view b) {
    a += b;
    return a;
  }
  friend cow_String operator+(cow_String a, const std::string& b) {
    a += b;
    return a;
  }
  friend cow_String operator+(cow_String a, const char* b) {
    a += b;
    return a;
  }
  friend cow_String operator+(cow_String a, char b) {
    a += b;
    return a;
  }
  friend cow_String operator+(const char* a, const cow_String& b) {
    return Joined(View(a), b);
  }
  friend cow_String operator+(char a, const cow_String& b) { return Joined({&a, 1}, b); }

  // The rest is implementation.

 private:
  static constexpr int kMostShort = 23;
  static constexpr int kShared = 0xFF;

  // Three words. The last byte tells the kind; in a short text it is the number of unused
  // bytes, and so, when there are none, the terminating zero.
  struct Shared {
    cow_StringStorage* storage;
    char* chars;  // the storage's
    int length;
    char unused[3];
    unsigned char tag;
  };
  union Text {
    char bytes[kMostShort + 1];
    Shared shared;
  };
  static_assert(sizeof(Text) == kMostShort + 1);

  static std::string_view View(const char* text) noexcept {
    return text != nullptr ? std::string_view(text) : std::string_view();
  }
  static cow_String Joined(std::string_view a, std::string_view b,
                           std::string_view c = {});
  // Takes over the only reference to the storage.
  cow_String(cow_StringStorage& storage, int length) noexcept;
  static cow_String WithRoom(int capacity, std::string_view text);

  unsigned char Tag() const noexcept {
    return static_cast<unsigned char>(text_.bytes[kMostShort]);
  }
  bool IsShort() const noexcept { return Tag() != kShared; }
  void BecomeShort(int length) noexcept {
    text_.bytes[length] = '\0';
    text_.bytes[kMostShort] = static_cast<char>(kMostShort - length);
  }
  void Hold() const noexcept;
  void Drop() noexcept;
  bool HasRoom(int capacity) const noexcept;
  char* Writable();
  void SetLength(int length) noexcept;
  void AppendBytes(std::string_view text) noexcept;

  Text text_;
};

/// Writes the text; the stream's width and fill apply.
KSTUTL_EXPORT std::ostream& operator<<(std::ostream& out, const cow_String& text);

template <>
struct std::hash<cow_String> {
  std::size_t operator()(const cow_String& text) const noexcept {
    return std::hash<std::string_view>()(text);
  }
};
