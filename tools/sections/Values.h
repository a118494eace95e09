#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

/// How the bytes of a section are read. Numbers lie one after the other, least
/// significant byte first.
enum class ValueType { kHex, kText, kInt32, kInt64, kFloat32, kFloat64 };

/// The names of the types on the command line, "auto" first.
const std::vector<std::string>& ValueTypeNames();

/// The type for a name on the command line. With "auto" that is what kst_truss saves
/// under this section's name; text where every byte is a printable one; else bytes.
ValueType TypeFor(const std::string& typeName, std::string_view section,
                  std::string_view data);

/// Whether the bytes are numbers of this type, and no byte is left over.
bool AreNumbers(ValueType type, std::string_view data);

/// The number at a place.
template <class T>
T NumberAt(std::string_view data, std::size_t place) {
  T number;
  std::memcpy(&number, data.data() + place * sizeof(T), sizeof(T));
  return number;
}

/// Calls `work` with a zero of the type that the numbers have; not for text and bytes.
template <class Work>
void WithTypeOfNumbers(ValueType type, Work work) {
  switch (type) {
    case ValueType::kInt32:
      return work(std::int32_t{});
    case ValueType::kInt64:
      return work(std::int64_t{});
    case ValueType::kFloat32:
      return work(float{});
    case ValueType::kFloat64:
      return work(double{});
    default:
      return;
  }
}

/// The section's values as text, several in a line, each line beginning with the number
/// of its first value. Bytes are shown as other tools do, by 16.
std::string Listing(ValueType type, std::string_view data);
