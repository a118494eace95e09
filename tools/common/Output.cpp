#include "common/Output.h"

#include <fmt/format.h>

#include <cmath>

std::string JsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string Fixed(double number, int digits) {
  constexpr double kVeryLarge = 1e15;  // whole numbers up to here are exact
  if (std::isnan(number)) {
    return "-";
  }
  if (std::abs(number) >= kVeryLarge) {
    return fmt::format("{:.4g}", number);
  }
  std::string text = fmt::format("{:.{}f}", number, digits);
  if (text.starts_with('-') && text.find_first_of("123456789") == std::string::npos) {
    text.erase(0, 1);
  }
  return text;
}

std::string Signed(double number, int digits) {
  const std::string text = Fixed(number, digits);
  return text.starts_with('-') ? text : '+' + text;
}

const char* Plural(std::size_t count) {
  return count == 1 ? "" : "s";
}

std::string CsvField(std::string_view text) {
  std::string shown = Shown(text);
  if (!shown.empty() && shown.find_first_of(",\"") == std::string::npos) {
    return shown;
  }
  std::string field = "\"";
  for (const char c : shown) {
    field += c;
    if (c == '"') {
      field += '"';
    }
  }
  return field + '"';
}

std::string CsvField(double number) {
  return fmt::format("{:#}", number);
}
