#include "common/native/NativePaths.h"

std::vector<NativeForm> NativeForms() {
  return {{"Z:\\home\\u", "Z:\\home\\u"},
          {"/home/u", "/home/u"},
          {"sub\\f.txt", "sub\\f.txt"},
          {"..\\f.txt", "..\\f.txt"},
          {"Z:\\a\\..\\b", "Z:\\a\\..\\b"},
          {"C:f.txt", "C:f.txt"},
          {"", ""}};
}

std::vector<NativeForm> FormsOfPaths() {
  return NativeForms();
}

std::vector<NamelessPath> NamelessPaths() {
  return {{L"Z:\\\x0416.txt", "Z:\\?.txt"}, {L"\xD800", "?"}};
}

std::size_t NativeLength(const std::string& name) {
  return name.size();
}
