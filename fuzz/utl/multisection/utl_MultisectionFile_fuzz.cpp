// Any bytes as a multisection file: opening, reading every section it names, changing
// and saving it in both ways must end well or in a text exception.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <windows.h>

#include "utl/utl_MultisectionFile.h"

namespace {

std::uint32_t IntAt(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i > 0; --i) {
    value = value << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
  }
  return value;
}

// The directory as far as it makes sense.
struct Directory {
  std::vector<cow_String> names;
  bool hasNegativeLength = false;
};

Directory Parse(const std::string& bytes) {
  Directory directory;
  std::size_t at = 12;
  while (at + 4 <= bytes.size()) {
    const std::size_t length = IntAt(bytes, at);
    at += 4;
    if (length > bytes.size() - at || bytes.size() - at - length < 8) {
      break;
    }
    directory.names.emplace_back(bytes.data() + at, static_cast<int>(length));
    at += length;
    directory.hasNegativeLength |= static_cast<std::int32_t>(IntAt(bytes, at)) < 0;
    at += 8;
  }
  return directory;
}

std::string ReadWholeFile(const cow_String& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Read(utl_MultisectionFile& file, const cow_String& name, std::size_t limit) {
  const int length = file.getSectionLength(name);
  if (length < 0 || static_cast<std::size_t>(length) > limit) {
    return {};
  }
  std::string data(static_cast<std::size_t>(length), '?');
  try {
    file.getSectionData(name, data.data());
  } catch (const nex_TextException&) {
  }
  return data;
}

void Use(const cow_String& path, const std::string& bytes) {
  const Directory directory = Parse(bytes);
  utl_MultisectionFile file(path, utl_FileAccessUpdate);
  for (const cow_String& name : directory.names) {
    if (file.hasSection(name)) {
      Read(file, name, bytes.size());
    }
  }
  for (const utl_SectionInfo& section : file.getSections()) {
    try {
      // What the file does not have must take no memory.
      if (file.getSection<short>(section.name).size() > bytes.size()) {
        std::abort();
      }
    } catch (const nex_TextException&) {
    }
  }
  file.setSectionData("set", bytes.data(), static_cast<int>(bytes.size()));
  file.saveChanges();
  const std::string result = ReadWholeFile(path);
  {
    // A negative length misplaces what comes after it; all else must come back.
    utl_MultisectionFile saved(path, utl_FileAccessRead);
    if (!directory.hasNegativeLength && Read(saved, "set", bytes.size()) != bytes) {
      std::abort();
    }
  }
  file.saveChangesAtomically();
  if (ReadWholeFile(path) != result) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path =
      (std::filesystem::temp_directory_path() /
       ("kstutl_fuzz_" + std::to_string(GetCurrentProcessId()) + ".kdb"))
          .string();
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  try {
    Use(path.c_str(), bytes);
  } catch (const nex_TextException&) {
  }
  return 0;
}
