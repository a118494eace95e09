// Manual pages and completions know what the tools take.

#include <gtest/gtest.h>

#include <regex>

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

}  // namespace
