#include "common/native/NativePaths.h"

std::vector<NativeForm> NativeForms() {
  return {{"Z:\\home\\u", "/home/u"},
          {"z:/home/u", "/home/u"},
          {"Z:\\", "/"},
          {"\\home\\u", "/home/u"},
          {"/home/u", "/home/u"},
          {"Z:\\home\\u\\", "/home/u/"},
          {"Z:\\a\\..\\b\\.\\c", "/b/c"},
          {"Z:\\..\\a", "/a"},
          {"sub\\f.txt", "sub/f.txt"},
          {"sub/f.txt", "sub/f.txt"},
          {"..\\f.txt", "../f.txt"},
          {"Z:f.txt", "f.txt"},
          {".", "."},
          {"", ""},
          {"a*b?", "a*b?"},
          {"C:\\a.txt", "C:/a.txt"},
          {"kstrdb:a", "kstrdb:a"}};
}

std::vector<NativeForm> FormsOfPaths() {
  return {{"Z:\\home\\u", "/home/u"},
          {"Z:\\", "/"},
          {"Z:\\home\\u\\", "/home/u/"},
          {"Z:\\a\\..\\b", "/a/../b"},
          {"sub\\f.txt", "sub/f.txt"},
          {"..\\f.txt", "../f.txt"},
          {".", "."},
          {"", ""},
          {".\\z:x", "z:x"},
          {"a*b?", "a*b?"},
          {"a .txt", "a .txt"}};
}

std::vector<NamelessPath> NamelessPaths() {
  return {{"/tmp/a\\b", "/tmp/a\\b"}, {"a\\b", "a\\b"},
          {"/tmp/a.", "/tmp/a."},     {"a ", "a "},
          {"dir./a", "dir./a"},       {"/...", "/..."}};
}

std::size_t NativeLength(const std::string& name) {
  return name.size() - 2;
}
