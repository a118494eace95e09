// The pages that kst_usage and kst_iotrack write.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>

#include "common/environment/FileSizeLimit.h"
#include "common/Output.h"
#include "common/Page.h"
#include "common/PageAssets.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "iotrack/IoTrack.h"
#include "tools/RunTool.h"
#include "usage/Usage.h"

namespace {

constexpr char kHead[] = "!Snapshot = snap\n!Version = 6.6-7\n!Host = node7\n";

std::string MarkLine(int number, int wall, const std::string& label, double cpu,
                     int megabytes) {
  const std::string fill(label.size() < 40 ? 40 - label.size() : 0, ' ');
  const std::string time = std::to_string(cpu);
  const std::string bytes = std::to_string(std::int64_t{megabytes} << 20);
  return "a." + std::to_string(number) + ' ' + std::to_string(wall) + ' ' + fill + label +
         ' ' + time + " 0.0 " + bytes + ' ' + bytes + ' ' + time +
         " 0 0 0 0 10 4096 0 0 0 4711 \n";
}

// A log of some phases, cut off, so that it has no timers.
std::string Log(const std::vector<std::string>& phases, double cpu = 1) {
  std::string log = kHead + MarkLine(1, 0, "a-Start", 0, 1);
  int number = 1;
  for (const std::string& phase : phases) {
    log += MarkLine(number + 1, 3 * number, phase, number * cpu, number % 100);
    ++number;
  }
  return log;
}

std::string Replaced(std::string text, std::string_view what, const std::string& by) {
  const std::size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << by;
  return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

// The page without what is the same in every one.
std::string OwnPart(std::string html) {
  html = Replaced(html, PageStyle(), "(style)\n");
  html = Replaced(html, PageLicence(), "(licence)\n");
  html = Replaced(html, PageChart(), "(chart)");
  return Replaced(html, PagePlots(), "(plots)\n");
}

Json PlotsOf(const std::string& html) {
  const std::string begin = "<script type=\"application/json\" id=\"plots\">\n";
  const std::size_t from = html.find(begin) + begin.size();
  return Json::parse(html.substr(from, html.find("</script>", from) - from));
}

std::size_t Count(const std::string& text, std::string_view what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

class KstHtmlTest : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.File(name); }

  std::string Written(const std::string& name, const std::string& bytes) const {
    WriteWholeFile(Path(name), bytes);
    return Path(name);
  }

  // The names of what is in the directory.
  std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  // The page that a tool makes with these arguments.
  template <class Main>
  std::string Made(Main main, std::vector<std::string> arguments,
                   int status = kGood) const {
    arguments.insert(arguments.begin(), {"--html", Path("page.html")});
    const ToolRun run = RunWith(main, arguments);
    EXPECT_EQ(run.status, status) << run.err;
    EXPECT_EQ(run.out, "");
    return ReadWholeFile(Path("page.html"));
  }

  // The job "beam" of the I/O tracker, which wrote these files.
  std::string WrittenJob(const std::vector<std::string>& files) const {
    std::string summary = "IO Summary for All Files\n\nWORK DIRECTORY FILES\n";
    int number = 0;
    for (const std::string& file : files) {
      summary += file + ", " + std::to_string(++number) + ".0, 0.5, 1.0, 0.25\n";
    }
    Written("beam.ioFileSummary", summary + "\n\nSCRATCH DIRECTORY FILES\n\n");
    return Path("beam");
  }

  const TempDir dir_;
};

// After a change that is meant, KSTUTL_UPDATE_GOLDEN=1 in the environment has the golden
// pages written anew, to be reviewed.
void ExpectGolden(const std::string& html, const std::string& name) {
  if (std::getenv("KSTUTL_UPDATE_GOLDEN") != nullptr) {
    WriteWholeFile(name, OwnPart(html));
  }
  EXPECT_EQ(OwnPart(html), ReadWholeFile(name)) << name;
}

TEST_F(KstHtmlTest, PagesAreTheGoldenOnes) {
  const CurrentDirectory here(KSTUTL_SOURCE "/tests/tools/golden");
  ExpectGolden(Made(KstUsage, {"beam.use"}), "usage.html");
  ExpectGolden(Made(KstUsage, {"--diff", "beam.use", "beam.use"}), "difference.html");
  ExpectGolden(Made(KstUsage, {"beam.use", "beam.use", "beam.use"}), "ranks.html");
  ExpectGolden(Made(KstIoTrack, {"beam"}), "iotrack.html");
  ExpectGolden(Made(KstIoTrack, {"beam", "beam", "--top", "1"}), "jobs.html");
}

TEST_F(KstHtmlTest, WhatEveryPageHasIsInItAsItIs) {
  const std::string library = ReadWholeFile(KSTUTL_CHART_JS);
  EXPECT_GT(library.size(), 100000u);
  EXPECT_TRUE(PageChart() == library);
  const std::string folder = KSTUTL_SOURCE "/tools/common/page/";
  EXPECT_TRUE(PageStyle() == ReadWholeFile(folder + "style.css"));
  EXPECT_TRUE(PagePlots() == ReadWholeFile(folder + "plots.js"));
  EXPECT_TRUE(PageLicence() == ReadWholeFile(folder + "licence.txt"));
  EXPECT_EQ(library.find("</script"), std::string::npos);
  const std::string html = Made(KstUsage, {Written("a.use", Log({"read"}))}, kFinding);
  EXPECT_EQ(Count(html, library), 1u);
  EXPECT_NE(html.find("Permission is hereby granted"), std::string::npos);
}

TEST_F(KstHtmlTest, PageNeedsNothingElse) {
  for (const std::string& html :
       {Made(KstUsage, {Written("a.use", Log({"read"}))}, kFinding),
        Made(KstIoTrack, {WrittenJob({"x.dat"})})}) {
    EXPECT_TRUE(html.starts_with("<!DOCTYPE html>\n"));
    EXPECT_TRUE(html.ends_with("</body>\n</html>\n"));
    EXPECT_NE(html.find("content=\"default-src 'none'; "), std::string::npos);
    const std::string own = OwnPart(html);
    for (const char* outside : {"src=", "href=", "url(", "@import", "://"}) {
      EXPECT_EQ(own.find(outside), std::string::npos) << outside;
      EXPECT_EQ(PageStyle().find(outside), std::string::npos) << outside;
    }
  }
}

TEST_F(KstHtmlTest, NamesCannotBecomeMarkupOrScripts) {
  const std::vector<std::string> names = {"</script><script>alert(1)</script>",
                                          "<!--<script>",
                                          "<img src=x onerror=alert(1)>",
                                          "\"' onload='x\"",
                                          "&lt;b>",
                                          "{}, [\\\"",
                                          "a\x1b[2Jb\xff",
                                          "\xe2\x80\xaetxt.exe",
                                          "m\xc3\xa4st"};
  std::vector<std::string> shown = names;
  shown[6] = "a\\x1b[2Jb\\xff";
  shown[7] = "\\xe2\\x80\\xaetxt.exe";
  const std::string log = Log(names);
  for (const std::string& html :
       {Made(KstUsage, {Written("a.use", log)}, kFinding),
        Made(KstUsage, {"--diff", Path("a.use"), Path("a.use")}, kFinding),
        Made(KstUsage, {Path("a.use"), Path("a.use")}, kFinding),
        Made(KstIoTrack, {WrittenJob(names)})}) {
    const std::string own = OwnPart(html);
    const std::regex tag("</?(script|img|b)[^a-z]");
    const std::vector<std::string> tags(
        std::sregex_token_iterator(own.begin(), own.end(), tag), {});
    EXPECT_EQ(tags.size(), 6u) << testing::PrintToString(tags);
    EXPECT_EQ(Count(own, "<!--"), 1u) << "before the licence";
    EXPECT_EQ(Count(own, "onload='x\""), 0u);
    EXPECT_EQ(own.find('\x1b'), std::string::npos);
    std::set<std::string> found;
    for (const Json& plot : PlotsOf(html)) {
      if (plot["kind"] == "bars") {
        found.insert(plot["names"].begin(), plot["names"].end());
      }
    }
    for (const std::string& name : shown) {
      EXPECT_TRUE(found.contains(name)) << name;
    }
  }
}

TEST_F(KstHtmlTest, LogThatIsCutOffIsToldOnThePage) {
  const std::string html = Made(KstUsage, {Written("a.use", Log({"read"}))}, kFinding);
  EXPECT_NE(html.find("<p class=\"note\">" + Path("a.use") +
                      " is cut off, the process still runs or has died.</p>"),
            std::string::npos);
  const std::string all =
      Made(KstUsage, {Path("a.use"), Path("a.use"), Path("a.use")}, kFinding);
  EXPECT_NE(all.find(Path("a.use") + " and 2 more are cut off"), std::string::npos);
  WrittenJob({"x.dat"});
  std::filesystem::resize_file(Path("beam.ioFileSummary"), 70);
  const std::string job = Made(KstIoTrack, {Path("beam")}, kFinding);
  EXPECT_NE(job.find("beam.ioFileSummary is cut off at line 4, the process still runs or "
                     "has died.</p>"),
            std::string::npos);
}

TEST_F(KstHtmlTest, LogOfNothingHasNoPlots) {
  const std::string html = Made(KstUsage, {Written("a.use", Log({}))}, kFinding);
  EXPECT_EQ(PlotsOf(html), Json::array());
  EXPECT_EQ(html.find("<canvas"), std::string::npos);
  EXPECT_EQ(Count(html, "<p>None.</p>"), 2u) << "phases and timers";
  const std::string job = Made(KstIoTrack, {WrittenJob({})});
  EXPECT_EQ(PlotsOf(job), Json::array());
  EXPECT_EQ(Count(job, "<p>None.</p>"), 2u) << "rates and files";
}

TEST_F(KstHtmlTest, ThousandsOfNamesArePlottedInPart) {
  std::vector<std::string> names;
  names.reserve(3000);
  for (int i = 0; i < 3000; ++i) {
    names.push_back("step " + std::to_string(i));
  }
  const std::string html = Made(KstUsage, {Written("a.use", Log(names))}, kFinding);
  const Json plots = PlotsOf(html);
  ASSERT_EQ(plots.size(), 2u);
  EXPECT_EQ(plots[0]["names"].size(), 20u);
  EXPECT_EQ(plots[0]["series"][1]["values"].size(), 20u);
  EXPECT_EQ(plots[1]["series"][0]["x"].size(), 400u);
  EXPECT_NE(html.find("<figcaption>Time of each phase; the 20 largest of 3,000<"),
            std::string::npos);
  EXPECT_NE(html.find("of several marks the one with most"), std::string::npos);
  EXPECT_NE(html.find("<p>The first 1,000 of 3,000 rows; --json has all.</p>"),
            std::string::npos);
  EXPECT_EQ(Count(html, "<tr><td"), 2000u) << "of phases and marks";

  const std::string job = Made(KstIoTrack, {WrittenJob(names), "--top", "3"});
  EXPECT_EQ(PlotsOf(job)[2]["names"],
            (Json::array({"step 2999", "step 2998", "step 2997"})));
}

TEST_F(KstHtmlTest, LargestOfManyBarsKeepTheirOrder) {
  Page page("tool", "title");
  page.Section("bars");
  BarPlot plot;
  plot.names = {"a", "b", "c", "d"};
  plot.series = {{"one", {1, 5, 0, 3}, {}}, {"two", {9, 1, 2, 3}, {}}};
  plot.most = 2;
  page.Add(plot);
  plot.isStacked = true;
  plot.series[0].values[2] = std::numeric_limits<double>::quiet_NaN();
  page.Add(plot);
  const Json plots = PlotsOf(page.Html());
  EXPECT_EQ(plots[0]["names"], Json::array({"a", "b"})) << "by the longest bar";
  EXPECT_EQ(plots[0]["series"][1]["values"], Json::array({9.0, 1.0}));
  EXPECT_EQ(plots[1]["names"], Json::array({"a", "b"})) << "by all parts; b before d";
  plot.most = 4;
  page.Add(plot);
  EXPECT_EQ(PlotsOf(page.Html())[2]["series"][0]["values"][2], nullptr);
}

TEST_F(KstHtmlTest, LongNamesLoseTheirMiddleBetweenLetters) {
  std::string umlauts;
  for (int i = 0; i < 100; ++i) {
    umlauts += "\xc3\xa4";
  }
  const std::string html = Made(
      KstUsage,
      {Written("a.use", Log({std::string(9000, 'x') + "end", "u" + umlauts, "short"}))},
      kFinding);
  const Json names = PlotsOf(html)[0]["names"];
  EXPECT_EQ(names[0],
            std::string(60, 'x') + "\xe2\x80\xa6" + std::string(57, 'x') + "end");
  EXPECT_EQ(names[1],
            "u" + umlauts.substr(0, 58) + "\xe2\x80\xa6" + umlauts.substr(0, 60));
  EXPECT_EQ(names[2], "short");
  EXPECT_NE(html.find("Long names are shown without their middle."), std::string::npos);
  const std::string whole = Made(KstUsage, {Written("a.use", Log({"short"}))}, kFinding);
  EXPECT_EQ(whole.find("without their middle"), std::string::npos);
}

TEST_F(KstHtmlTest, OutlierOfManyHasItsOwnColour) {
  std::vector<std::string> logs;
  for (const double cpu : {1.0, 1.1, 9.0, 1.2}) {
    logs.push_back(Written("r" + std::to_string(logs.size()), Log({"solve"}, cpu)));
  }
  const Json plot = PlotsOf(Made(KstUsage, logs, kFinding))[1];
  EXPECT_EQ(plot["names"].size(), 4u);
  EXPECT_EQ(plot["series"][0]["values"], Json::array({1.0, 1.1, nullptr, 1.2}));
  EXPECT_EQ(plot["series"][1]["name"], "outlier");
  EXPECT_EQ(plot["series"][1]["values"], Json::array({nullptr, nullptr, 9.0, nullptr}));
}

TEST_F(KstHtmlTest, ComparedRunsShareTheirNames) {
  const std::string old = Written("old.use", Log({"read", "solve"}));
  const std::string fresh = Written("new.use", Log({"load", "solve"}, 2));
  const Json plots = PlotsOf(Made(KstUsage, {"--diff", old, fresh}, kFinding));
  EXPECT_EQ(plots[1]["names"], Json::array({"read", "solve", "load"}));
  EXPECT_EQ(plots[1]["series"][0]["values"], Json::array({1.0, 1.0, nullptr}));
  EXPECT_EQ(plots[1]["series"][1]["values"], Json::array({nullptr, 2.0, 2.0}));
  EXPECT_EQ(plots[2]["series"][0]["name"], "old");
  EXPECT_EQ(plots[2]["series"][1]["name"], "new");
}

TEST_F(KstHtmlTest, MarksOfAShortJobStandSideBySide) {
  const std::string log = kHead + MarkLine(1, 0, "a-Start", 0, 1) +
                          MarkLine(2, 0, "read", 0, 2) + MarkLine(3, 0, "solve", 0, 3);
  const Json plots = PlotsOf(Made(KstUsage, {Written("a.use", log)}, kFinding));
  ASSERT_EQ(plots.size(), 1u) << "all phases took no time";
  const Json& plot = plots[0];
  EXPECT_EQ(plot["across"], "mark");
  EXPECT_EQ(plot["ticks"], Json::array({"(start)", "read", "solve"}));
  EXPECT_EQ(plot["series"][0]["x"], Json::array({0.0, 1.0, 2.0}));
}

TEST_F(KstHtmlTest, FilesWithCountsArePlottedByThem) {
  const std::string job = WrittenJob({"x.dat", "y.dat"});
  Written("x.dat_ioTotal",
          "IO Tracking Totals\nElapsed Time, Write Count, Write MB, Write Time, Read "
          "Count, Read MB, Read Time\n0.1, 3, 1.0, 0.5, 4, 1.0, 0.1\n");
  const Json plots = PlotsOf(Made(KstIoTrack, {job}));
  ASSERT_EQ(plots.size(), 5u);
  EXPECT_EQ(plots[4]["names"], Json::array({"x.dat"})) << "the other's are not known";
  EXPECT_EQ(plots[4]["series"][0]["values"], Json::array({3.0}));
  EXPECT_EQ(plots[4]["series"][1]["values"], Json::array({4.0}));
}

TEST_F(KstHtmlTest, InfiniteTimesHaveNoBar) {
  Written("beam.ioFileSummary",
          "IO Summary for All Files\n\nWORK DIRECTORY FILES\nx, 1.0, inf, 1.0, 1.0\n\n\n"
          "SCRATCH DIRECTORY FILES\n\n");
  const std::string html = Made(KstIoTrack, {Path("beam")});
  EXPECT_EQ(PlotsOf(html)[3]["series"][0]["values"], Json::array({nullptr}));
  EXPECT_NE(html.find("<td>inf</td>"), std::string::npos);
}

TEST_F(KstHtmlTest, PointsThatAreNowhereAreLeftOutOfACurve) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Page page("tool", "title");
  page.Section("curves");
  CurvePlot plot;
  plot.curves = {{"a", {0, kInfinity, 2}, {1, 2, kInfinity}, {"x", "y", "z"}}};
  page.Add(plot);
  plot.curves = {{"a", {0, kInfinity}, {1, 2}, {"x", "y"}}};
  page.Add(plot);
  const Json plots = PlotsOf(page.Html());
  ASSERT_EQ(plots.size(), 1u) << "one of a single place is nothing to see";
  EXPECT_EQ(plots[0]["most"], 2.0);
  EXPECT_EQ(plots[0]["series"][0]["x"], Json::array({0.0, 2.0}));
  EXPECT_EQ(plots[0]["series"][0]["y"], Json::array({1.0, nullptr}));
  EXPECT_EQ(plots[0]["series"][0]["labels"], Json::array({"x", "z"}));
}

TEST_F(KstHtmlTest, TablesThatAreScrolledHaveTheNameOfTheirSection) {
  Page page("tool", "title");
  page.Section("a \"b\"");
  page.Add(Table{{"name"}, {}, {{"x"}}});
  EXPECT_NE(page.Html().find(" tabindex=\"0\" role=\"region\" "
                             "aria-label=\"a &quot;b&quot;\">"),
            std::string::npos);
}

TEST_F(KstHtmlTest, NumbersAreReadable) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Fixed(1234.5678, 3), "1234.568");
  EXPECT_EQ(Fixed(-0.04, 1), "0.0");
  EXPECT_EQ(Fixed(-0.06, 1), "-0.1");
  EXPECT_EQ(Fixed(-1e14, 0), "-100000000000000");
  EXPECT_EQ(Fixed(-1e300, 3), "-1e+300");
  EXPECT_EQ(Fixed(kInfinity, 1), "inf");
  EXPECT_EQ(Fixed(-kInfinity, 1), "-inf");
  EXPECT_EQ(Fixed(kInfinity - kInfinity, 1), "-") << "its sign differs by processor";
  EXPECT_EQ(Signed(2, 1), "+2.0");
  EXPECT_EQ(Signed(-0.04, 1), "+0.0");
  EXPECT_EQ(Signed(-2, 0), "-2");
  EXPECT_EQ(Signed(kInfinity - kInfinity, 1), "-");
}

TEST_F(KstHtmlTest, RatesOfInfiniteTotalsAreToldAsNone) {
  Written("beam.ioTotal",
          "IO Tracking Totals\nCode Mark, Elapsed Time, Work Write Count, Work Write MB, "
          "Work Write Time, Work Read Count, Work Read MB, Work Read Time, Scratch Write "
          "Count, Scratch Write MB, Scratch Write Time, Scratch Read Count, Scratch Read "
          "MB, Scratch Read Time\na, inf, 1, inf, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1\n");
  const std::string html = Made(KstIoTrack, {WrittenJob({"x.dat"})});
  EXPECT_NE(html.find("<td>inf</td><td>inf</td><td>-</td>"), std::string::npos);
  EXPECT_NE(html.find("beam: 1 file, 1 line of totals</p>"), std::string::npos);
}

TEST_F(KstHtmlTest, FileThatCannotBeReadIsToldOnThePageOfTheOthers) {
  const std::string log = Written("a.use", Log({"read"}));
  const std::string html = Made(KstUsage, {Path("none"), log, log}, kTrouble);
  EXPECT_NE(html.find("Of 3 files 2 could be read."), std::string::npos);
  const std::string job = WrittenJob({"x"});
  const std::string page = Made(KstIoTrack, {job, Path("none")}, kTrouble);
  EXPECT_NE(page.find("Of 2 jobs 1 could be read."), std::string::npos);
}

TEST_F(KstHtmlTest, NothingIsWrittenWhereNothingCouldBeRead) {
  const std::string log = Written("a.use", Log({"read"}));
  const std::string page = Path("page.html");
  EXPECT_EQ(RunWith(KstUsage, {"--html", page, Path("none")}).status, kTrouble);
  EXPECT_EQ(RunWith(KstUsage, {"--html", page, "--diff", log, Path("none")}).status,
            kTrouble);
  EXPECT_EQ(RunWith(KstIoTrack, {"--html", page, Path("none")}).status, kTrouble);
  EXPECT_EQ(Files(), std::set<std::string>{"a.use"});
}

TEST_F(KstHtmlTest, WrongUseIsRefused) {
  const std::string page = Path("page.html");
  const std::string log = Written("a.use", Log({"read"}));
  const struct {
    int (*main)(int, const char* const*, const Console&);
    std::vector<std::string> arguments;
  } cases[] = {{KstUsage, {"--html"}},
               {KstUsage, {"--html", page}},
               {KstUsage, {"--html", page, "--json", log}},
               {KstUsage, {"--html", page, "--csv", "marks", log}},
               {KstIoTrack, {"--html"}},
               {KstIoTrack, {"--html", page}},
               {KstIoTrack, {"--html", page, "--json", log}},
               {KstIoTrack, {"--html", page, "--csv", "files", log}}};
  for (const auto& [main, arguments] : cases) {
    const ToolRun run = RunWith(main, arguments);
    EXPECT_EQ(run.status, kTrouble) << testing::PrintToString(arguments);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("\nTry kst_"), std::string::npos) << run.err;
  }
  EXPECT_EQ(Files(), std::set<std::string>{"a.use"});
}

TEST_F(KstHtmlTest, WhatIsNoPageIsNotReplaced) {
  const std::string log = Written("a.use", Log({"read"}));
  std::filesystem::create_directory(Path("directory"));
  Written("short", "<!DOC");
  const struct {
    std::string page;
    const char* text;
  } cases[] = {{log, "is there already, and is no page"},
               {Path("short"), "is there already, and is no page"},
               {Path("directory"), "is no file that a page could replace"},
               {Path("none") + "/page.html", "could not be written"},
               {"", "could not be written"}};
  const std::set<std::string> before = Files();
  for (const auto& [page, text] : cases) {
    const ToolRun run = RunWith(KstUsage, {"--html", page, log});
    EXPECT_EQ(run.status, kTrouble) << page;
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.ends_with("\nkst_usage: " + page + ": " + text + "\n"))
        << run.err;
  }
  EXPECT_EQ(Files(), before);
  EXPECT_EQ(ReadWholeFile(log), Log({"read"}));
}

TEST_F(KstHtmlTest, PageReplacesAPageAndAnEmptyFile) {
  const std::string log = Written("a.use", Log({"read"}));
  Written("page.html", "");
  const std::string first = Made(KstUsage, {log}, kFinding);
  Written("a.use", Log({"load"}));
  const std::string second = Made(KstUsage, {log}, kFinding);
  EXPECT_NE(first, second);
  EXPECT_EQ(Files(), (std::set<std::string>{"a.use", "page.html"}));
  EXPECT_EQ(Made(KstUsage, {log}, kFinding), second) << "the same every time";
}

TEST_F(KstHtmlTest, PageThatHasNoRoomLeavesTheOldOne) {
  if (!FileSizeLimit::IsAvailable()) {
    GTEST_SKIP() << "the system has no limit of a file's size";
  }
  const std::string log = Written("a.use", Log({"read"}));
  const std::string before = Made(KstUsage, {log}, kFinding);
  ToolRun run;
  {
    const FileSizeLimit limit(100000);
    run = RunWith(KstUsage, {"--html", Path("page.html"), log});
  }
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_TRUE(run.err.ends_with(Path("page.html") + ": could not be written\n"))
      << run.err;
  EXPECT_EQ(Files(), (std::set<std::string>{"a.use", "page.html"}));
  EXPECT_EQ(ReadWholeFile(Path("page.html")), before);
}

TEST_F(KstHtmlTest, WhatALinkLeadsToIsReplaced) {
  std::error_code error;
  std::filesystem::create_symlink("target.html", Path("page.html"), error);
  if (error) {
    GTEST_SKIP() << "the system makes no symbolic links: " << error.message();
  }
  const std::string log = Written("a.use", Log({"read"}));
  const ToolRun run = RunWith(KstUsage, {"--html", Path("page.html"), log});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_TRUE(run.err.ends_with(Path("page.html") + ": leads nowhere\n")) << run.err;
  Written("target.html", "");
  Made(KstUsage, {log}, kFinding);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("page.html")));
  EXPECT_TRUE(ReadWholeFile(Path("target.html")).starts_with("<!DOCTYPE html>"));
}

TEST_F(KstHtmlTest, PathsMayBeginWithASlash) {
  std::string log = Written("a.use", Log({"read"}));
  log = log.substr(log.find_first_of("/\\"));
  std::replace(log.begin(), log.end(), '\\', '/');
  EXPECT_EQ(RunWith(KstUsage, {"--html", log + ".html", log}).status, kFinding);
  EXPECT_TRUE(FileExists(Path("a.use.html")));
}

TEST_F(KstHtmlTest, CountsAreGrouped) {
  const std::pair<std::int64_t, const char*> cases[] = {
      {0, "0"}, {999, "999"}, {1000, "1,000"}, {123456789, "123,456,789"}};
  for (const auto& [number, text] : cases) {
    EXPECT_EQ(Grouped(number), text);
  }
}

}  // namespace
