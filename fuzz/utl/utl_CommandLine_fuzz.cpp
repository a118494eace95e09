// Argument lists of any kind, a line an argument: options and values are those of a
// model, and every query, those for callers in other languages as well, gives them or one
// of the stated exceptions.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/common/Require.h"
#include "fuzz/common/TakeLine.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineForeign.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

using Line = thr_GlobalSingleton<utl_CommandLine>;
using Options = std::map<std::string, std::string>;

// An argument after an option is its value, unless it is an option itself.
Options OptionsOf(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i].starts_with('-')) {
      const bool hasValue =
          i + 1 < arguments.size() && !arguments[i + 1].starts_with('-');
      options[arguments[i].substr(1)] = hasValue ? arguments[i + 1] : "";
    }
  }
  return options;
}

// Nothing unless there are only digits.
std::optional<unsigned> LowestBits(const std::string& value) {
  unsigned number = 0;
  for (const char c : value) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    number = 10 * number + static_cast<unsigned>(c - '0');
  }
  return number;
}

// A number that does not fit: an int keeps its lowest bits, a std::size_t is its largest.
template <class Query>
void RequireNumber(const std::string& value, Query query) {
  const std::optional<unsigned> expected = LowestBits(value);
  try {
    const auto number = query();
    const bool isLargest = number == std::numeric_limits<std::size_t>::max();
    Require(expected && (isLargest || static_cast<unsigned>(number) == *expected));
  } catch (const utl_CmdLineArgFormatException&) {
    Require(!expected);
  }
}

// The value in a buffer with a guard behind it, if it fits `length`.
void RequireForeign(const std::string& name, const std::string& value, int length) {
  std::array<char, 16> buffer;
  buffer.fill('#');
  const int used = utl_CommandLineStringC(name.c_str(), buffer.data(), length);
  const auto size = static_cast<std::size_t>(length);
  std::string expected(buffer.size(), '#');
  if (value.size() <= size) {
    expected.replace(0, size, value + std::string(size - value.size(), ' '));
    Require(used == static_cast<int>(value.size()));
  } else {
    Require(used == 0);
  }
  Require(std::string(buffer.data(), buffer.size()) == expected);
}

void RequireOption(const std::string& name, const std::string& value) {
  const utl_CommandLine& line = Line::Instance();
  const cow_String option(name);
  Require(line.IsMember(option) && line.ConstGetValue(option) == value);
  RequireNumber(value, [&] {
    return std::size_t{static_cast<unsigned>(line.ConstGetValueAsInt(option))};
  });
  RequireNumber(value, [&] { return line.ConstGetValueAsSizeT(option); });
  for (const auto& [key, text] : line.ConstGetValueAsDictionary(option)) {
    Require(value.find(std::string(key)) != std::string::npos &&
            value.find(std::string(text)) != std::string::npos);
  }
  if (name.find('\0') == std::string::npos) {  // which ends a name in C
    RequireForeign(name, value, 0);
    RequireForeign(name, value, 8);
    std::vector<char> buffer(value.size() + 1);
    Require(utl_getArgs(name.c_str(), buffer.data()) == static_cast<int>(value.size()));
    Require(buffer.back() == '\0' &&
            std::equal(value.begin(), value.end(), buffer.begin()));
  }
  const std::string padded = "  " + name + " ";
  cow_String stripped = option;
  stripped.Trim(" ");
  int status = -1;
  UTL_COMMANDLINEISMEMBER(padded.data(), &status, static_cast<int>(padded.size()));
  Require(status == (line.IsMember(stripped) ? 0 : 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Line::Destroy();
  std::vector<std::string> arguments;
  cow_1DArrayList<cow_String> list;
  for (std::string_view rest(reinterpret_cast<const char*>(data), size); !rest.empty();) {
    list.Append(TakeLine(rest));
    arguments.emplace_back(list[list.Length() - 1]);
  }
  utl_CommandLineLoader::SetArgsList(list);
  Require(Line::Instance().Size() == list.Length());
  const Options options = OptionsOf(arguments);
  for (const auto& [name, value] : options) {
    RequireOption(name, value);
  }
  for (const std::string& argument : arguments) {
    Require(Line::Instance().IsMember(cow_String(argument)) ==
            options.contains(argument));
  }
  return 0;
}
