// Any bytes as a multisection file: opening, reading every section, changing the file and
// saving it in both ways does what a second reader and writer of the format does, or ends
// in a text exception where that finds damage.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/common/FuzzDirectory.h"
#include "fuzz/common/Require.h"
#include "utl/multisection/MultisectionImage.h"
#include "utl/utl_MultisectionFile.h"

namespace {

// Names count up to their first zero byte.
bool HaveOneName(const std::string& a, const std::string& b) {
  return std::strcmp(a.c_str(), b.c_str()) == 0;
}

// Whether every section can be read. What the file does not have must take no memory.
bool AreGood(utl_MultisectionFile& file, std::size_t size) {
  bool areGood = true;
  int number = 0;
  for (const utl_SectionInfo& section : file.getSections()) {
    try {
      file.checkSection(number++);
      Require(file.getSection<char>(section.name).size() <= size);
    } catch (const nex_TextException&) {
      areGood = false;
    }
  }
  return areGood;
}

void RequireSections(utl_MultisectionFile& file, const Image& sections) {
  const std::vector<utl_SectionInfo> found = file.getSections();
  Require(found.size() == sections.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    Require(HaveOneName(std::string(found[i].name), sections[i].name));
    const auto first = std::find_if(
        sections.begin(), sections.end(),
        [&](const ImageSection& one) { return HaveOneName(one.name, sections[i].name); });
    const std::vector<char> data = file.getSection<char>(found[i].name);
    Require(std::equal(data.begin(), data.end(), first->data.begin(), first->data.end()));
  }
}

Image Changed(Image sections, const std::string& bytes) {
  const auto place = std::find_if(
      sections.begin(), sections.end(),
      [](const ImageSection& section) { return HaveOneName(section.name, "set"); });
  if (place == sections.end()) {
    sections.push_back({"set", bytes});
  } else {
    place->data = bytes;
  }
  return sections;
}

void Use(const std::string& path, const std::string& bytes,
         const std::optional<Image>& sections) {
  utl_MultisectionFile file(path, utl_FileAccessUpdate);
  Require(AreGood(file, bytes.size()) == sections.has_value() || !IsWholeImage(bytes));
  if (sections) {
    RequireSections(file, *sections);
  }
  file.setSectionData("set", bytes.data(), static_cast<int>(bytes.size()));
  file.saveChanges();
  const std::string result = FuzzDirectory::Read(path);
  Require(!sections || ParseImage(result) == Changed(*sections, bytes));
  file.saveChangesAtomically();
  Require(FuzzDirectory::Read(path) == result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = FuzzDirectory::File("sections.kdb");
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::optional<Image> sections = ParseImage(bytes);
  FuzzDirectory::Write(path, bytes);
  try {
    Use(path, bytes, sections);
  } catch (const nex_TextException&) {
    Require(!sections);
  }
  return 0;
}
