#pragma once

#include <clocale>
#include <locale>
#include <string>

/// While it lives, the C and the C++ library write numbers with a decimal comma, as far
/// as the system has such a locale.
class DecimalComma {
 public:
  DecimalComma() {
    std::locale::global(std::locale(std::locale(), new CommaForPoint));
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252",
                             "fr_FR.UTF-8", "German", "French"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) {
        break;
      }
    }
  }
  ~DecimalComma() {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }
  DecimalComma(const DecimalComma&) = delete;
  DecimalComma& operator=(const DecimalComma&) = delete;

 private:
  class CommaForPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
};
