#include "sections/Values.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "common/Tool.h"

namespace {

constexpr std::size_t kBytesInALine = 16;

struct NamedType {
  std::string_view name;
  ValueType type;
};

constexpr NamedType kTypes[] = {
    {"hex", ValueType::kHex},         {"text", ValueType::kText},
    {"int32", ValueType::kInt32},     {"int64", ValueType::kInt64},
    {"float32", ValueType::kFloat32}, {"float64", ValueType::kFloat64}};

// What kst_truss saves.
constexpr NamedType kSections[] = {
    {"title", ValueType::kText},          {"node ids", ValueType::kInt32},
    {"bar ids", ValueType::kInt32},       {"bar nodes", ValueType::kInt32},
    {"node places", ValueType::kFloat64}, {"bar areas", ValueType::kFloat64},
    {"bar moduli", ValueType::kFloat64},  {"displacements", ValueType::kFloat64},
    {"forces", ValueType::kFloat64},      {"reactions", ValueType::kFloat64}};

const NamedType* Find(std::string_view name, const NamedType* begin,
                      const NamedType* end) {
  return std::find_if(begin, end, [&](const NamedType& one) { return one.name == name; });
}

std::size_t SizeOf(ValueType type) {
  switch (type) {
    case ValueType::kInt32:
    case ValueType::kFloat32:
      return 4;
    case ValueType::kInt64:
    case ValueType::kFloat64:
      return 8;
    default:
      return 1;
  }
}

bool Fits(ValueType type, std::string_view data) {
  return data.size() % SizeOf(type) == 0;
}

std::string BytesListing(std::string_view data) {
  std::string text;
  for (std::size_t at = 0; at < data.size(); at += kBytesInALine) {
    const std::string_view row = data.substr(at, kBytesInALine);
    std::string bytes;
    std::string signs;
    for (const char c : row) {
      bytes += fmt::format("{:02x} ", static_cast<unsigned char>(c));
      signs += c >= ' ' && c < '\x7f' ? c : '.';
    }
    text += fmt::format("{:08x}  {:48} {}\n", at, bytes, signs);
  }
  return text;
}

std::string TextListing(std::string_view data) {
  std::string text;
  while (!data.empty()) {
    const std::size_t end = std::min(data.find('\n'), data.size());
    text += Shown(data.substr(0, end)) + '\n';
    data.remove_prefix(std::min(end + 1, data.size()));
  }
  return text;
}

}  // namespace

const std::vector<std::string>& ValueTypeNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list = {"auto"};
    for (const NamedType& type : kTypes) {
      list.emplace_back(type.name);
    }
    return list;
  }();
  return names;
}

ValueType TypeFor(const std::string& typeName, std::string_view section,
                  std::string_view data) {
  const NamedType* type = Find(typeName, std::begin(kTypes), std::end(kTypes));
  if (type != std::end(kTypes)) {
    return type->type;
  }
  type = Find(section, std::begin(kSections), std::end(kSections));
  if (type != std::end(kSections) && Fits(type->type, data)) {
    return type->type;
  }
  const bool isText = std::all_of(data.begin(), data.end(), [](char c) {
    return (c >= ' ' && c < '\x7f') || c == '\n' || c == '\t';
  });
  return isText && !data.empty() ? ValueType::kText : ValueType::kHex;
}

bool AreNumbers(ValueType type, std::string_view data) {
  return SizeOf(type) > 1 && Fits(type, data);
}

std::string Listing(ValueType type, std::string_view data) {
  if (type == ValueType::kText) {
    return TextListing(data);
  }
  if (type == ValueType::kHex) {
    return BytesListing(data);
  }
  const bool isShort = SizeOf(type) == 4;
  const std::size_t inALine = isShort ? 5 : 3;
  const int width = isShort ? 14 : 24;  // of the longest number
  const std::size_t count = data.size() / SizeOf(type);
  std::string text;
  WithTypeOfNumbers(type, [&](auto zero) {
    for (std::size_t i = 0; i < count; ++i) {
      text += i % inALine == 0 ? fmt::format("{}{:>8}", i > 0 ? "\n" : "", i) : "";
      text += fmt::format(" {:>{}}", NumberAt<decltype(zero)>(data, i), width);
    }
  });
  const std::size_t left = data.size() % SizeOf(type);
  text += count > 0 ? "\n" : "";
  text += left > 0 ? fmt::format("and {} bytes that are no whole value\n", left) : "";
  return text;
}
