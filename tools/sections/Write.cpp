// The verbs that write files.

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "common/Output.h"
#include "common/Progress.h"
#include "sections/SectionFile.h"
#include "sections/Sections.h"
#include "utl/utl_NativePath.h"

namespace {

constexpr std::int64_t kLongest = 0x7fffffff;  // of a section file

std::string Contents(const std::string& path) {
  const std::filesystem::path native = utl_nativePath(path);
  std::ifstream in(native, std::ios::binary);
  if (!in || std::filesystem::is_directory(native)) {
    throw FileError(path, "cannot be read");
  }
  std::string bytes;
  std::vector<char> piece(1 << 20);
  while (in.read(piece.data(), static_cast<std::streamsize>(piece.size())) ||
         in.gcount() > 0) {
    bytes.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    if (static_cast<std::int64_t>(bytes.size()) > kLongest) {
      throw FileError(path, "is too long for a section");
    }
  }
  return bytes;
}

void WriteNew(const std::string& path, const std::string& bytes) {
  const std::filesystem::path native = utl_nativePath(path);
  if (std::filesystem::exists(native)) {
    throw FileError(path, "is there already, and nothing is overwritten");
  }
  std::ofstream out(native, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) {
    std::error_code ignored;
    std::filesystem::remove(native, ignored);
    throw FileError(path, "could not be written");
  }
}

}  // namespace

int GetSection(const std::string& file, const std::string& section,
               const std::string& output, bool asJson, const Console& console) {
  const std::string data = SectionFile(file).Data(section);
  WriteNew(output, data);
  if (asJson) {
    console.out << JsonText({{"file", file},
                             {"section", section},
                             {"output", output},
                             {"length", data.size()}});
  } else {
    console.out << fmt::format("{}: {} bytes\n", Shown(output), data.size());
  }
  return kGood;
}

int SetSection(const std::string& file, const std::string& section,
               const std::string& input, bool asJson, const Console& console) {
  const std::string data = Contents(input);
  utl_MultisectionFile sections(file, utl_FileAccessUpdate);
  const bool isThere = sections.hasSection(section);
  sections.setSection<char>(section, data);
  sections.saveChangesAtomically();
  if (asJson) {
    console.out << JsonText({{"file", file},
                             {"section", section},
                             {"replaced", isThere},
                             {"length", data.size()}});
  } else {
    console.out << fmt::format("{}: section \"{}\" {}, {} bytes\n", Shown(file),
                               Shown(section), isThere ? "replaced" : "added",
                               data.size());
  }
  return kGood;
}

int RemoveSections(const std::string& file, const std::vector<std::string>& sections,
                   const std::string& output, bool asJson, const Console& console) {
  SectionFile old(file);
  std::set<std::string> absent(sections.begin(), sections.end());
  for (const utl_SectionInfo& section : old.Sections()) {
    absent.erase(std::string(section.name));
  }
  if (!absent.empty()) {
    throw FileError(file, "has no section \"" + *absent.begin() + "\"");
  }
  NewSectionFile fresh(output);
  Json removed = Json::array();
  {
    Progress progress(console, old.Bytes());
    for (const utl_SectionInfo& section : old.Sections()) {
      const std::string name(section.name);
      if (std::find(sections.begin(), sections.end(), name) == sections.end()) {
        fresh.Add(name, old.Data(name));
      } else {
        removed.push_back(name);
      }
      progress.Add(section.length);
    }
    fresh.Save();
  }
  const std::size_t kept = old.Sections().size() - removed.size();
  if (asJson) {
    console.out << JsonText(
        {{"file", file}, {"output", output}, {"kept", kept}, {"removed", removed}});
  } else {
    console.out << fmt::format("{}: {} of {} sections\n", Shown(output), kept,
                               old.Sections().size());
  }
  return kGood;
}

int SalvageSections(const std::string& file, const std::string& output, bool asJson,
                    const Console& console) {
  SectionFile damaged(file);
  NewSectionFile rescued(output);
  std::set<std::string> names;
  Json lost = Json::array();  // told at the end, below no progress bar
  {
    Progress progress(console, damaged.Bytes());
    int number = 0;
    for (const utl_SectionInfo& section : damaged.Sections()) {
      const std::string name(section.name);
      std::string damage = damaged.Damage(number++);
      if (!names.insert(name).second) {
        damage = "another section of this name comes before it";
      }
      if (damage.empty()) {
        rescued.Add(name, damaged.Data(name));
      } else {
        lost.push_back({{"name", name}, {"length", section.length}, {"damage", damage}});
      }
      progress.Add(section.length);
    }
    rescued.Save();
  }
  const std::size_t saved = damaged.Sections().size() - lost.size();
  if (asJson) {
    console.out << JsonText(
        {{"file", file}, {"output", output}, {"saved", saved}, {"lost", lost}});
  } else {
    for (const Json& one : lost) {
      console.out << fmt::format(
          "lost: \"{}\", {} bytes: {}\n", Shown(one["name"].get<std::string>()),
          one["length"].get<int>(), one["damage"].get<std::string>());
    }
    console.out << fmt::format("{}: {} of {} sections\n", Shown(output), saved,
                               damaged.Sections().size());
  }
  return lost.empty() ? kGood : kFinding;
}
