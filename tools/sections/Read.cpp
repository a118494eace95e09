// The verbs that only read.

#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "common/Progress.h"
#include "sections/SectionFile.h"
#include "sections/Sections.h"
#include "sections/Values.h"

namespace {

using Json = nlohmann::ordered_json;

std::string Text(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string Checksum(const utl_SectionInfo& section) {
  return fmt::format("{:08x}", section.checksum);
}

std::string NameOf(const utl_SectionInfo& section) {
  return std::string(section.name);
}

const char* Plural(std::size_t count) {
  return count == 1 ? "" : "s";
}

// Runs the work for each file; one that cannot be read does not keep the others from it.
template <class Work>
int ForEachFile(const std::vector<std::string>& files, const Console& console,
                Work work) {
  int status = kGood;
  for (const std::string& file : files) {
    try {
      status = std::max(status, work(file));
    } catch (...) {
      console.err << "kst_sections: " << Shown(CurrentFailure()) << '\n';
      status = kTrouble;
    }
  }
  return status;
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
  const int status = ForEachFile(files, console, [&](const std::string& file) {
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
    console.out << Text(all);
  }
  return status;
}

int VerifyFiles(const std::vector<std::string>& files, bool asJson,
                const Console& console) {
  Json all = Json::array();
  const int status = ForEachFile(files, console, [&](const std::string& file) {
    SectionFile sections(file);
    std::int64_t bytes = 0;
    for (const utl_SectionInfo& section : sections.Sections()) {
      bytes += std::max(section.length, 0);
    }
    Json listed = Json::array();
    std::string text;
    std::size_t damaged = 0;
    {
      Progress progress(console, bytes);
      for (const utl_SectionInfo& section : sections.Sections()) {
        const std::string damage = sections.Damage(static_cast<int>(listed.size()));
        Json described = Described(section);
        described["damage"] = damage;
        listed.push_back(described);
        if (!damage.empty()) {
          text += fmt::format("{}: section \"{}\": {}\n", Shown(file),
                              Shown(NameOf(section)), damage);
          ++damaged;
        }
        progress.Add(section.length);
      }
    }
    const std::int64_t surplus = sections.Surplus();
    if (surplus != 0) {
      text += fmt::format("{}: {}\n", Shown(file), SurplusText(surplus));
    }
    const bool isGood = damaged == 0 && surplus == 0;
    all.push_back(
        {{"file", file}, {"good", isGood}, {"surplus", surplus}, {"sections", listed}});
    if (!asJson) {
      const std::size_t count = sections.Sections().size();
      console.out << text
                  << fmt::format("{}: {} of {} section{} good\n", Shown(file),
                                 count - damaged, count, Plural(count));
    }
    return isGood ? kGood : kFinding;
  });
  if (asJson) {
    console.out << Text(all);
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
  console.out << Text(json);
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

// How the two differ; empty if they do not.
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
  if (!before || !after) {
    const auto place = std::mismatch(old.begin(), old.end(), fresh.begin()).first;
    return fmt::format("differ from byte {} on", place - old.begin());
  }
  std::size_t count = 0;
  std::size_t worst = 0;
  double largest = -1;
  for (std::size_t i = 0; i < before->size(); ++i) {
    const double distance = std::abs((*before)[i] - (*after)[i]);
    if (!AreEqual((*before)[i], (*after)[i], options)) {
      ++count;
      // No number is more different than one that is none.
      if (distance > largest || std::isnan(distance)) {
        largest = std::isnan(distance) ? HUGE_VAL : distance;
        worst = i;
      }
    }
  }
  return count == 0
             ? ""
             : fmt::format("{} of {} values differ, most at {}: {} and {}", count,
                           before->size(), worst, (*before)[worst], (*after)[worst]);
}

// The first section of a name is the one that counts.
std::vector<std::string> NamesIn(const SectionFile& file) {
  std::vector<std::string> names;
  for (const utl_SectionInfo& section : file.Sections()) {
    names.push_back(NameOf(section));
  }
  return names;
}

}  // namespace

int DiffFiles(const DiffOptions& options, const Console& console) {
  SectionFile old(options.files[0]);
  SectionFile fresh(options.files[1]);
  const std::vector<std::string> before = NamesIn(old);
  const std::vector<std::string> after = NamesIn(fresh);
  const std::set<std::string> inOld(before.begin(), before.end());
  const std::set<std::string> inFresh(after.begin(), after.end());
  Json differences = Json::array();
  const auto tell = [&](const std::string& name, const std::string& difference) {
    differences.push_back({{"name", name}, {"difference", difference}});
    if (!options.asJson) {
      console.out << '"' << Shown(name) << "\": " << Shown(difference) << '\n';
    }
  };
  std::set<std::string> told;
  for (const std::string& name : before) {
    if (!told.insert(name).second) {
      continue;
    }
    if (!inFresh.contains(name)) {
      tell(name, "only in " + options.files[0]);
      continue;
    }
    const std::string difference =
        Difference(name, old.Data(name), fresh.Data(name), options);
    if (!difference.empty()) {
      tell(name, difference);
    }
  }
  for (const std::string& name : after) {
    if (!inOld.contains(name) && told.insert(name).second) {
      tell(name, "only in " + options.files[1]);
    }
  }
  if (options.asJson) {
    console.out << Text(
        {{"files", {options.files[0], options.files[1]}}, {"differences", differences}});
  }
  return differences.empty() ? kGood : kFinding;
}
