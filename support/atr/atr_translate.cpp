#include "atr/atr_translate.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace {

struct Placeholder {
  std::size_t length = 0;  // in the template; 0 when there is none
  int position = 0;        // of its argument; 0 for the next one
};

// The placeholder at the start of `text`, whose first character is "%".
Placeholder Parse(std::string_view text) {
  const char* const end = text.data() + text.size();
  const char* at = text.data() + 1;
  int position = 0;
  const auto [digitsEnd, error] = std::from_chars(at, end, position);
  if (error == std::errc() && position > 0 && digitsEnd != end && *digitsEnd == '$') {
    at = digitsEnd + 1;
  } else {
    position = 0;
  }
  if (at == end || (*at != 's' && *at != 'u')) {
    return {};
  }
  return {static_cast<std::size_t>(at + 1 - text.data()), position};
}

}  // namespace

atr_translate::atr_translate(const char* untranslated) : template_(untranslated) {}

// One pass over the template: inserted text is never looked at again.
atr_String atr_translate::Result() const {
  std::string result;
  std::string_view rest = template_.c_str();
  int unnumbered = 0;
  while (!rest.empty()) {
    result += rest.substr(0, rest.find('%'));
    rest.remove_prefix(std::min(rest.find('%'), rest.size()));
    if (rest.empty()) {
      break;
    }
    const Placeholder found = Parse(rest);
    const bool isNext = found.length > 0 && found.position == 0;
    const auto argument = arguments_.find(isNext ? ++unnumbered : found.position);
    const std::size_t length = std::max<std::size_t>(found.length, 1);
    if (argument != arguments_.end()) {
      result += argument->second.c_str();
    } else {
      result += rest.substr(0, length);
    }
    rest.remove_prefix(length);
  }
  return result;
}

void atr_SubstituteFormat(atr_translate& text, int position, const atr_String& argument) {
  if (position > 0) {
    text.arguments_[position] = argument;
  }
}

void atr_SubstituteFormat(atr_translate& text, int position, int argument) {
  atr_SubstituteFormat(text, position, std::to_string(argument));
}

void atr_SubstituteFormat(atr_translate& text, int position, unsigned argument) {
  atr_SubstituteFormat(text, position, std::to_string(argument));
}
