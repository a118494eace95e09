#include "usage/Usage.h"

namespace {

constexpr char kName[] = "kst_usage";

constexpr char kExamples[] = R"(Examples:
  kst_usage beam.use                    phases, timers and memory of a job
  kst_usage --diff old.use new.use      two runs side by side
  kst_usage rank*.use                   the ranks of a parallel run: sums, spread,
                                        the slowest, those apart from the others
  kst_usage --html beam.html beam.use   the same as a page with plots, for a browser
  kst_usage --csv marks beam.use > marks.csv
  kst_usage --json rank*.use

A phase is what lies between two marks and has the name of the second one. Processor
times are in seconds, megabytes have 1,048,576 bytes. A log without its end, of a
process that still runs or has died, is read up to its last whole line.

Exit status: 0 all is well, 1 a log is cut off, 2 wrong use, a file that cannot be
read or is no such log, or a page that cannot be written.)";

}  // namespace

int KstUsage(int argc, const char* const* argv, const Console& console) {
  CLI::App tool("Resource logs (JOB.use): what took time and memory.", kName);
  tool.footer(kExamples);
  std::vector<std::string> files;
  bool isDiff = false;
  bool asJson = false;
  std::string csv;
  std::string page;
  tool.add_option("FILE", files, "Resource logs")->required();
  CLI::Option* const diff =
      tool.add_flag("--diff", isDiff, "Compare two logs, the older one first");
  CLI::Option* const json = tool.add_flag("--json", asJson, "Print JSON");
  tool.add_option("--csv", csv, "Print comma-separated values: marks or timers")
      ->check(CLI::IsMember({"marks", "timers"}))
      ->excludes(json)
      ->excludes(diff);
  CLI::Option* const html =
      tool.add_option("--html", page, "Write a page with plots, one file for a browser")
          ->type_name("PAGE")
          ->excludes(json)
          ->excludes("--csv");
  tool.callback([&] {
    if (isDiff && files.size() != 2) {
      throw CLI::ValidationError("--diff", "needs two files");
    }
  });
  return RunTool(tool, argc, argv, console, [&]() -> int {
    std::vector<UsageLog> logs;
    const int status = ForEachFile(kName, files, console, [&](const std::string& file) {
      logs.push_back(ReadUsageLog(file));
      if (logs.back().IsCut()) {
        console.err << kName << ": " << Shown(file) << ": is cut off at line "
                    << logs.back().cutLine << ", the process still runs or has died\n";
        return kFinding;
      }
      return kGood;
    });
    if (isDiff && logs.size() < 2) {
      return status;  // why is told already
    }
    if (html->count() > 0) {
      if (!logs.empty()) {
        WritePage(page, UsagePage(logs, isDiff, files.size()));
      }
    } else if (asJson) {
      console.out << JsonText(isDiff ? JsonOfDifference(logs[0], logs[1]) : JsonOf(logs));
    } else if (isDiff) {
      PrintDifference(logs[0], logs[1], console);
    } else if (csv == "marks") {
      PrintMarksCsv(logs, console);
    } else if (csv == "timers") {
      PrintTimersCsv(logs, console);
    } else if (files.size() > 1) {
      PrintLogs(logs, console);
    } else if (!logs.empty()) {
      PrintLog(logs[0], console);
    }
    return status;
  });
}
