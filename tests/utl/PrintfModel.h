#pragma once

#include <array>
#include <cstdio>
#include <string>

/// Numbers in the product's style, made of what the run time's own printf writes.
class PrintfModel {
 public:
  /// A real number; at most 180 characters.
  static std::string Real(double value, int width, int precision) {
    static const bool pads = PadsWholeNumbers();
    if (pads || width == 0) {
      return InStyle(Row(value, width, precision), width);
    }
    // No field to speak of, but the row.
    const std::string number = Row(value, 1, precision);
    Buffer buffer;
    std::snprintf(buffer.data(), buffer.size(), "%*s", width, number.c_str());
    return InStyle(buffer.data(), width);
  }

  static std::string Whole(long long value, int width) {
    Buffer buffer;
    std::snprintf(buffer.data(), buffer.size(), "%*lli", width, value);
    return buffer.data();
  }

 private:
  using Buffer = std::array<char, 200>;

  // Whether the run time's %g pads whole numbers at all. One forgets the blanks.
  static bool PadsWholeNumbers() {
    Buffer buffer;
    std::snprintf(buffer.data(), buffer.size(), "%*.*g", 8, 13, 100000.0);
    return std::string("  100000") == buffer.data();
  }

  // The four rows; an empty precision is what the third is about.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
  static std::string Row(double value, int width, int precision) {
    Buffer buffer;
    char* const text = buffer.data();
    if (width != 0 && precision != 0) {
      std::snprintf(text, buffer.size(), "%*.*g", width, precision, value);
    } else if (precision != 0) {
      std::snprintf(text, buffer.size(), "%.*g", precision, value);
    } else if (width != 0) {
      std::snprintf(text, buffer.size(), "%*.g", width, value);
    } else {
      std::snprintf(text, buffer.size(), "%g", value);
    }
    return text;
  }
#pragma GCC diagnostic pop

  // The rules for points and exponents.
  static std::string InStyle(std::string text, int width) {
    const std::size_t e = text.find('e');
    if (text.find('.') == std::string::npos && e == std::string::npos) {
      text += '.';
      return text[0] == ' ' ? text.substr(1) : text;
    }
    if (e != std::string::npos && text.size() == e + 5 && text[e + 2] == '0' &&
        text.back() != ' ') {
      text.erase(e + 2, 1);
      return width != 0 ? " " + text : text;
    }
    return text;
  }
};
