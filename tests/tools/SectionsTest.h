#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/temp/TempDir.h"
#include "sections/Sections.h"
#include "tools/RunTool.h"
#include "utl/utl_MultisectionFile.h"

using Json = nlohmann::json;
using Sections = std::vector<std::pair<std::string, std::string>>;

template <class T>
std::string BytesOf(const std::vector<T>& values) {
  std::string bytes(values.size() * sizeof(T), '\0');
  std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

/// A directory with the section file "a.kdb", for the verbs of kst_sections.
class KstSectionsTest : public testing::Test {
 protected:
  KstSectionsTest() {
    Write("a.kdb",
          {{"title", "A frame\n"}, {"forces", BytesOf<double>({1.5, -2, 0.25})}});
  }

  std::string Path(const std::string& name) const { return dir_.File(name); }

  void Write(const std::string& name, const Sections& sections) const {
    utl_MultisectionFile file(Path(name), utl_FileAccessWrite);
    for (const auto& [section, data] : sections) {
      file.setSection<char>(section, data);
    }
    file.saveChanges();
  }

  Sections Read(const std::string& name) const {
    utl_MultisectionFile file(Path(name), utl_FileAccessRead);
    Sections sections;
    for (const utl_SectionInfo& section : file.getSections()) {
      const std::vector<char> data = file.getSection<char>(section.name);
      sections.emplace_back(section.name, std::string(data.begin(), data.end()));
    }
    return sections;
  }

  // Writes "b.kdb", which is "a.kdb" with its last byte changed.
  void WriteDamaged() const {
    std::string bytes = ReadWholeFile(Path("a.kdb"));
    bytes.back() = static_cast<char>(bytes.back() + 1);
    WriteWholeFile(Path("b.kdb"), bytes);
  }

  static ToolRun Run(const std::vector<std::string>& arguments) {
    return RunWith(KstSections, arguments);
  }

  std::string Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
      names.insert(entry.path().filename().string());
    }
    std::string text;
    for (const std::string& name : names) {
      text += (text.empty() ? "" : " ") + name;
    }
    return text;
  }

  const TempDir dir_;
};
