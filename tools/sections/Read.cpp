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

namespace {

// Each number as it is: a double has not every digit of an int64.
Json ValuesOf(ValueType type, std::string_view data) {
  Json values = Json::array();
  WithTypeOfNumbers(type, [&](auto zero) {
    for (std::size_t i = 0; i < data.size() / sizeof(zero); ++i) {
      values.push_back(NumberAt<decltype(zero)>(data, i));
    }
  });
  return values;
}

}  // namespace

int DumpSection(const DumpOptions& options, const Console& console) {
  const std::string data = SectionFile(options.file).Data(options.section);
  const ValueType type = TypeFor(options.type, options.section, data);
  if (!options.asJson) {
    console.out << Listing(type, data);
    return kGood;
  }
  Json json = {{"file", options.file}, {"section", options.section}};
  if (AreNumbers(type, data)) {
    json["values"] = ValuesOf(type, data);
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

// How far two numbers are apart; of different integers never 0, however large they are.
double Distance(double one, double other) {
  return std::abs(one - other);
}

double Distance(std::int64_t one, std::int64_t other) {
  const auto [low, high] = std::minmax(one, other);
  return static_cast<double>(static_cast<std::uint64_t>(high) -
                             static_cast<std::uint64_t>(low));
}

double Distance(std::int32_t one, std::int32_t other) {
  return Distance(std::int64_t{one}, std::int64_t{other});
}

template <class T>
bool AreEqual(T one, T other, const DiffOptions& options) {
  const auto first = static_cast<double>(one);
  const auto second = static_cast<double>(other);
  if (one == other || (std::isnan(first) && std::isnan(second))) {
    return true;
  }
  const double larger = std::max(std::abs(first), std::abs(second));
  const double distance = Distance(one, other);
  // What is infinite has nothing near it, whatever part of it is allowed.
  return std::isfinite(distance) &&
         distance <= options.absolute + options.tolerance * larger;
}

// How the numbers of two sections of equal length differ; empty if they do not.
template <class T>
std::string Difference(std::string_view old, std::string_view fresh,
                       const DiffOptions& options) {
  const std::size_t values = old.size() / sizeof(T);
  std::size_t count = 0;
  std::size_t worst = 0;
  double largest = -1;
  for (std::size_t i = 0; i < values; ++i) {
    const T one = NumberAt<T>(old, i);
    const T other = NumberAt<T>(fresh, i);
    if (AreEqual(one, other, options)) {
      continue;
    }
    ++count;
    // No number is more different than one that is none.
    const double distance = Distance(one, other);
    if (distance > largest || std::isnan(distance)) {
      largest = std::isnan(distance) ? HUGE_VAL : distance;
      worst = i;
    }
  }
  return count == 0
             ? ""
             : fmt::format("{} of {} values differ, most at {}: {} and {}", count, values,
                           worst, NumberAt<T>(old, worst), NumberAt<T>(fresh, worst));
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
  if (AreNumbers(type, old)) {
    std::string difference;
    WithTypeOfNumbers(type, [&](auto zero) {
      difference = Difference<decltype(zero)>(old, fresh, options);
    });
    return difference;
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
