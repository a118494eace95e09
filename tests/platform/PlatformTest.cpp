#include "platform/PlatformTest.h"

#include <filesystem>

PlatformTest::PlatformTest() {
  WriteWholeFile(Name("a"), "0123456789");
  std::filesystem::create_directory(Name("d"));
  WriteWholeFile(Name("d/x"), "x");
}

bool MakeHardLink(const std::string& file, const std::string& secondName) {
  std::error_code error;
  std::filesystem::create_hard_link(file, secondName, error);
  return !error;
}
