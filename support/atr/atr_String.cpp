#include "atr/atr_String.h"

#include <ostream>

atr_String::atr_String(const char* text)
    : atr_String(Copied{}, text != nullptr ? std::string_view(text) : "") {}

atr_String::atr_String(Copied, std::string_view text)
    : text_(text.empty() ? nullptr : std::make_shared<const std::string>(text)) {}

std::ostream& operator<<(std::ostream& out, const atr_String& text) {
  return out << text.c_str();
}
