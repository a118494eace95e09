#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "cow/cow_1DArray.h"
#include "cow/cow_List.h"
#include "cow/cow_Map.h"
#include "cow/cow_String.h"
#include "utl/utl_FileOffset.h"
#include "utl/utl_FilePath.h"

/// Values as they stand in the log: the same text for the same value on every target.

/// In quotes, bytes that cannot be printed as \xNN; of a long text the beginning, the
/// length and a checksum.
std::string Shown(std::string_view text);
inline std::string Shown(const char* text) {
  return Shown(std::string_view(text));
}
inline std::string Shown(const std::string& text) {
  return Shown(std::string_view(text));
}
inline std::string Shown(const cow_String& text) {
  return Shown(std::string_view(text));
}
/// The path's parts.
std::string Shown(const utl_FilePath& path);
/// So many digits that no other number of the type has them.
std::string Shown(double value);
std::string Shown(float value);

inline std::string Shown(bool value) {
  return value ? "yes" : "no";
}
template <std::integral Integer>
std::string Shown(Integer value) {
  char text[24];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}
inline std::string Shown(char value) {
  return Shown(static_cast<int>(value));
}
inline std::string Shown(const utl_FileOffset& value) {
  return Shown(static_cast<std::int64_t>(value));
}

template <class Container>
std::string ShownElements(const Container& elements) {
  std::string text;
  for (const auto& element : elements) {
    text += (text.empty() ? "" : ", ") + Shown(element);
  }
  return "[" + text + "]";
}
template <class First, class Second>
std::string Shown(const std::pair<First, Second>& pair) {
  return Shown(pair.first) + ": " + Shown(pair.second);
}
template <class Value>
std::string Shown(const cow_List<Value>& list) {
  return ShownElements(list);
}
template <class Value>
std::string Shown(const cow_1DArray<Value>& array) {
  return ShownElements(array);
}
template <class Key, class Value>
std::string Shown(const cow_Map<Key, Value>& map) {
  return ShownElements(map);
}

/// Several values in a row.
template <class... Values>
std::string ShownAll(const Values&... values) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + Shown(values)), ...);
  return text;
}

/// A text that is to stand in the log as it is.
struct Verbatim {
  std::string text;
};
inline std::string Shown(const Verbatim& value) {
  return value.text;
}

/// FNV-1a.
std::uint64_t Checksum(std::string_view bytes);
