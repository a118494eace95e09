// The verbs that only read.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "common/Output.h"
#include "common/Progress.h"
#include "sections/SectionFile.h"
#include "sections/Sections.h"
#include "sections/Values.h"

namespace {

constexpr char kName[] = "kst_sections";

std::string Checksum(const utl_SectionInfo& section) {
  return fmt::format("{:08x}", section.checksum);
}

std::string NameOf(const utl_SectionInfo& section) {
  return std::string(section.name);
}

Json Described(const utl_SectionInfo& section) {
  return {{"name", NameOf(section)},
          {"length", section.length},
          {"checksum", Checksum(section)}};
}

std::string SurplusText(std::int64_t surplus) {
  return surplus < 0 ? fmt::format("{} bytes are missing at the end", -surplus)
                     : fmt::format("{} bytes are left over at the end", surplus);
}

}  // namespace

int ListSections(const std::vector<std::string>& files, bool asJson,
                 const Console& console) {
  Json all = Json::array();
  const int status = ForEachFile(kName, files, console, [&](const std::string& file) {
    const SectionFile sections(file);
    Json listed = Json::array();
    std::string text;
    for (const utl_SectionInfo& section : sections.Sections()) {
      listed.push_back(Described(section));
      text += fmt::format("{:>12}  {}  {}\n", section.length, Checksum(section),
                          Shown(NameOf(section)));
    }
    all.push_back({{"file", file}, {"sections", listed}});
    if (!asJson) {
      const std::size_t count = sections.Sections().size();
      console.out << fmt::format("{}: {} section{}\n", Shown(file), count, Plural(count));
      console.out << (count > 0 ? "      length  checksum  name\n" : "") << text;
    }
    return kGood;
  });
  if (asJson) {
    console.out << JsonText(all);
  }
  return status;
}

namespace {

// Checks one file; `report` is told about it, and what is wrong with it comes back as
// lines.
std::string Verify(const std::string& file, const Console& console, Json& report) {
  SectionFile sections(file);
  Progress progress(console, sections.Bytes());
  Json listed = Json::array();
  std::string problems;
  for (const utl_SectionInfo& section : sections.Sections()) {
    const std::string damage = sections.Damage(static_cast<int>(listed.size()));
    listed.push_back(Described(section));
    listed.back()["damage"] = damage;
    if (!damage.empty()) {
      problems += fmt::format("{}: section \"{}\": {}\n", Shown(file),
                              Shown(NameOf(section)), damage);
    }
    progress.Add(section.length);
  }
  const std::int64_t surplus = sections.Surplus();
  if (surplus != 0) {
    problems += fmt::format("{}: {}\n", Shown(file), SurplusText(surplus));
  }
  report = {{"file", file},
            {"good", problems.empty()},
            {"surplus", surplus},
            {"sections", listed}};
  return problems;
}

std::string Verdict(const Json& report) {
  const Json& sections = report["sections"];
  const auto good = std::count_if(sections.begin(), sections.end(),
                                  [](const Json& one) { return one["damage"] == ""; });
  return fmt::format("{}: {} of {} section{} good\n",
                     Shown(report["file"].get<std::string>()), good, sections.size(),
                     Plural(sections.size()));
}

}  // namespace

int VerifyFiles(const std::vector<std::string>& files, bool asJson,
                const Console& console) {
  Json all = Json::array();
  const int status = ForEachFile(kName, files, console, [&](const std::string& file) {
    Json report;
    const std::string problems = Verify(file, console, report);
    if (!asJson) {
      console.out << problems << Verdict(report);
    }
    all.push_back(report);
    return problems.empty() ? kGood : kFinding;
  });
  if (asJson) {
    console.out << JsonText(all);
  }
  return status;
}

int DumpSection(const DumpOptions& options, const Console& console) {
  const std::string data = SectionFile(options.file).Data(options.section);
  const ValueType type = TypeFor(options.type, options.section, data);
  if (!options.asJson) {
    console.out << Listing(type, data);
    return kGood;
  }
  Json json = {{"file", options.file}, {"section", options.section}};
  const std::optional<std::vector<double>> numbers = NumbersOf(type, data);
  if (numbers) {
    json["values"] = *numbers;
  } else if (type == ValueType::kText) {
    json["text"] = data;
  } else {
    std::string bytes;
    for (const char c : data) {
      bytes += fmt::format("{:02x}", static_cast<unsigned char>(c));
    }
    json["bytes"] = bytes;
  }
  console.out << JsonText(json);
  return kGood;
}

namespace {

bool AreEqual(double one, double other, const DiffOptions& options) {
  if (one == other || (std::isnan(one) && std::isnan(other))) {
    return true;
  }
  const double larger = std::max(std::abs(one), std::abs(other));
  return std::abs(one - other) <= options.absolute + options.tolerance * larger;
}

// How two lists of equal length differ; empty if they do not.
std::string Difference(const std::vector<double>& old, const std::vector<double>& fresh,
                       const DiffOptions& options) {
  std::size_t count = 0;
  std::size_t worst = 0;
  double largest = -1;
  for (std::size_t i = 0; i < old.size(); ++i) {
    if (AreEqual(old[i], fresh[i], options)) {
      continue;
    }
    ++count;
    // No number is more different than one that is none.
    const double distance = std::abs(old[i] - fresh[i]);
    if (distance > largest || std::isnan(distance)) {
      largest = std::isnan(distance) ? HUGE_VAL : distance;
      worst = i;
    }
  }
  return count == 0 ? ""
                    : fmt::format("{} of {} values differ, most at {}: {} and {}", count,
                                  old.size(), worst, old[worst], fresh[worst]);
}

// How two sections of one name differ.
std::string Difference(const std::string& name, const std::string& old,
                       const std::string& fresh, const DiffOptions& options) {
  if (old == fresh) {
    return "";
  }
  if (old.size() != fresh.size()) {
    return fmt::format("{} bytes, and {}", old.size(), fresh.size());
  }
  const ValueType type = TypeFor(options.type, name, old);
  const auto before = NumbersOf(type, old);
  const auto after = NumbersOf(type, fresh);
  if (before && after) {
    return Difference(*before, *after, options);
  }
  const auto place = std::mismatch(old.begin(), old.end(), fresh.begin()).first;
  return fmt::format("differ from byte {} on", place - old.begin());
}

// The names of the sections, each once: of several of one name the first counts.
std::vector<std::string> NamesIn(const SectionFile& file) {
  std::vector<std::string> names;
  std::set<std::string> known;
  for (const utl_SectionInfo& section : file.Sections()) {
    if (known.insert(NameOf(section)).second) {
      names.push_back(NameOf(section));
    }
  }
  return names;
}

bool Contains(const std::vector<std::string>& sorted, const std::string& name) {
  return std::binary_search(sorted.begin(), sorted.end(), name);
}

std::vector<std::string> Sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

int DiffFiles(const DiffOptions& options, const Console& console) {
  SectionFile old(options.files[0]);
  SectionFile fresh(options.files[1]);
  const std::vector<std::string> before = NamesIn(old);
  const std::vector<std::string> after = NamesIn(fresh);
  const std::vector<std::string> inOld = Sorted(before);
  const std::vector<std::string> inFresh = Sorted(after);
  Json differences = Json::array();
  std::string lines;  // written at the end, below no progress bar
  const auto tell = [&](const std::string& name, const std::string& difference) {
    if (!difference.empty()) {
      differences.push_back({{"name", name}, {"difference", difference}});
      lines += fmt::format("\"{}\": {}\n", Shown(name), Shown(difference));
    }
  };
  {
    Progress progress(console, old.Bytes());
    for (const std::string& name : before) {
      if (!Contains(inFresh, name)) {
        tell(name, "only in " + options.files[0]);
        continue;
      }
      const std::string data = old.Data(name);
      tell(name, Difference(name, data, fresh.Data(name), options));
      progress.Add(static_cast<std::int64_t>(data.size()));
    }
  }
  for (const std::string& name : after) {
    tell(name, Contains(inOld, name) ? "" : "only in " + options.files[1]);
  }
  if (options.asJson) {
    console.out << JsonText(
        {{"files", {options.files[0], options.files[1]}}, {"differences", differences}});
  } else {
    console.out << lines;
  }
  return differences.empty() ? kGood : kFinding;
}
