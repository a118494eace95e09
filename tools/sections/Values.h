#pragma once

#include <optional>
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

/// The section's values as numbers; nothing where they are none, or not a whole number.
std::optional<std::vector<double>> NumbersOf(ValueType type, std::string_view data);

/// The section's values as text, several in a line, each line beginning with the number
/// of its first value. Bytes are shown as other tools do, by 16.
std::string Listing(ValueType type, std::string_view data);
