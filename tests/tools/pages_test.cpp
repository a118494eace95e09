// Manual pages and completions know what the tools take, and what they print as CSV.

#include <gtest/gtest.h>

#include <map>
#include <regex>

#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "doctor/Doctor.h"
#include "iotrack/IoTrack.h"
#include "sections/Sections.h"
#include "tools/RunTool.h"
#include "usage/Usage.h"

namespace {

struct NamedTool {
  std::string name;
  int (*main)(int, const char* const*, const Console&);
  std::vector<std::string> verbs;
};

const NamedTool kTools[] = {{"kst_sections",
                             KstSections,
                             {"list", "verify", "dump", "get", "set", "remove", "diff",
                              "salvage", "unlock", "recover"}},
                            {"kst_doctor", KstDoctor, {}},
                            {"kst_iotrack", KstIoTrack, {}},
                            {"kst_usage", KstUsage, {}}};

std::set<std::string> OptionsIn(const std::string& text) {
  const std::regex option("--[a-z]+");
  std::set<std::string> options;
  for (std::sregex_iterator it(text.begin(), text.end(), option), end; it != end; ++it) {
    options.insert(it->str());
  }
  return options;
}

// A tool's verbs and options, as its help tells them.
std::set<std::string> WordsOf(const NamedTool& tool) {
  const std::string help = RunWith(tool.main, {"--help"}).out;
  std::set<std::string> words = OptionsIn(help);
  for (const std::string& verb : tool.verbs) {
    EXPECT_NE(help.find("  " + verb + ' '), std::string::npos) << verb;
    words.insert(verb);
    words.merge(OptionsIn(RunWith(tool.main, {verb, "--help"}).out));
  }
  return words;
}

TEST(KstPagesTest, ManualPagesAndCompletionsKnowAllVerbsAndOptions) {
  const std::string folder = KSTUTL_SOURCE "/packaging/";
  for (const NamedTool& tool : kTools) {
    const std::string page = std::regex_replace(
        ReadWholeFile(folder + "man/" + tool.name + ".1"), std::regex("\\\\-"), "-");
    const std::string completion = ReadWholeFile(folder + "completion/" + tool.name);
    for (const std::string& word : WordsOf(tool)) {
      EXPECT_NE(completion.find(word), std::string::npos) << tool.name << ' ' << word;
      // Every tool has these two.
      if (word != "--help" && word != "--version") {
        EXPECT_NE(page.find(word), std::string::npos) << tool.name << ' ' << word;
      }
    }
  }
}

struct CsvOutput {
  const char* tool;
  int (*main)(int, const char* const*, const Console&);
  const char* what;
  const char* file;
};

const CsvOutput kCsvOutputs[] = {{"kst_usage", KstUsage, "marks", "beam.use"},
                                 {"kst_usage", KstUsage, "timers", "beam.use"},
                                 {"kst_iotrack", KstIoTrack, "files", "beam"},
                                 {"kst_iotrack", KstIoTrack, "totals", "beam"}};

// The fields of a line of which none has a comma or quotes in quotes.
std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  const std::regex field("(\"[^\"]*\"|[^,\"]*)(,|$)");
  for (std::sregex_iterator it(line.begin(), line.end(), field), end; it != end; ++it) {
    fields.push_back((*it)[1]);
    if ((*it)[2].length() == 0) {
      break;
    }
  }
  return fields;
}

// Types of columns by their names, in the table of a manual page.
std::vector<std::pair<std::string, std::string>> ColumnsOf(const CsvOutput& output) {
  const std::string page =
      ReadWholeFile(KSTUTL_SOURCE "/packaging/man/" + std::string(output.tool) + ".1");
  const std::string head = ".TP\n.B " + std::string(output.what) + "\n.nf\n";
  const std::size_t begin = page.find(head) + head.size();
  const std::string table = page.substr(begin, page.find(".fi", begin) - begin);
  const std::regex line("([a-z_]+) +(text|integer|real)[^\n]*\n");
  std::vector<std::pair<std::string, std::string>> columns;
  for (std::sregex_iterator it(table.begin(), table.end(), line), end; it != end; ++it) {
    columns.emplace_back((*it)[1], (*it)[2]);
  }
  return columns;
}

TEST(KstPagesTest, ColumnsHaveTheNamesAndTypesOfTheManualPage) {
  const CurrentDirectory here(KSTUTL_SOURCE "/tests/tools/golden");
  const std::map<std::string, std::regex> types = {
      {"text", std::regex("[^,\"]+|\"[^\"]*\"")},
      {"integer", std::regex("(-?[0-9]+)?")},
      {"real", std::regex("-?[0-9]+\\.[0-9]+(e[-+][0-9]+)?|inf")}};
  for (const CsvOutput& output : kCsvOutputs) {
    const auto columns = ColumnsOf(output);
    std::istringstream lines(
        RunWith(output.main, {"--csv", output.what, output.file}).out);
    std::string line;
    std::getline(lines, line);
    const std::vector<std::string> names = Fields(line);
    ASSERT_EQ(names.size(), columns.size()) << output.what;
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(names[i], columns[i].first) << output.what;
    }
    int count = 0;
    for (; std::getline(lines, line); ++count) {
      const std::vector<std::string> fields = Fields(line);
      ASSERT_EQ(fields.size(), columns.size()) << line;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_TRUE(std::regex_match(fields[i], types.at(columns[i].second)))
            << columns[i].first << ": " << fields[i];
      }
    }
    EXPECT_GT(count, 1) << output.what;
  }
}

}  // namespace
