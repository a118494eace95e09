#pragma once

#include <cctype>
#include <string>

/// The rules of references to the environment to the letter: after each replacement the
/// search starts from the front.
class EnvironmentModel {
 public:
  using string = std::string;

  /// Gives a variable's value, or null where it is unset.
  using LookUp = char* (*)(const char*);

  explicit EnvironmentModel(LookUp lookUp) : lookUp_(lookUp) {}

  string Expanded(string text) const {
    Expand(text, [](const string& s, std::size_t from, std::size_t& begin) {
      begin = s.find('%', from);
      const std::size_t close = begin == string::npos ? begin : s.find('%', begin + 1);
      return close == string::npos ? string() : s.substr(begin, close + 1 - begin);
    });
    Expand(text, [](const string& s, std::size_t from, std::size_t& begin) {
      while ((begin = s.find('$', from)) != string::npos && begin + 1 < s.size()) {
        std::size_t end = from = begin + 1;
        if (std::isalpha(Byte(s[end])) != 0) {
          while (end < s.size() && (std::isalnum(Byte(s[end])) != 0 || s[end] == '_')) {
            ++end;
          }
          return s.substr(begin, end - begin);
        }
      }
      return string();
    });
    return text;
  }

 private:
  static int Byte(char c) { return static_cast<unsigned char>(c); }

  template <class Next>
  void Expand(string& text, Next next) const {
    std::size_t from = 0;
    for (int replaced = 0; replaced < 1000 && text.size() <= 1'048'576;) {
      std::size_t begin = 0;
      const string whole = next(text, from, begin);
      if (whole.empty()) {
        return;
      }
      const string name = whole.substr(1, whole.size() - (whole[0] == '%' ? 2 : 1));
      const char* const value = name.size() > 255 ? nullptr : lookUp_(name.c_str());
      if (value == nullptr) {
        from = begin + whole.size();
      } else {
        text = text.substr(0, begin) + value + text.substr(begin + whole.size());
        from = 0;
        ++replaced;
      }
    }
  }

  LookUp lookUp_;
};
