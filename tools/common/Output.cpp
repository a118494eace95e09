#include "common/Output.h"

#include <fmt/format.h>

std::string JsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
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
