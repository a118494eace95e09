// Runs a fuzz target over the inputs of a folder, without a fuzzer: replay FOLDER.
// The last name that is printed is that of an input that fails.

#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>

#include "fuzz/common/FuzzDirectory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) try {
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(argv[argc - 1])) {
    std::cout << file.path().filename().string() << std::endl;
    const std::string bytes = FuzzDirectory::Read(file.path().string());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                           bytes.size());
    ++count;
  }
  return count > 0 ? 0 : 1;
} catch (const std::exception& failure) {
  std::cout << failure.what() << '\n';
  return 1;
}
