#include "iotrack/IoTrack.h"

namespace {

constexpr char kName[] = "kst_iotrack";

constexpr char kExamples[] = R"(Examples:
  kst_iotrack beam                      the files beam.ioTotal, beam.ioFileSummary
  kst_iotrack run/                      those of a run without a job's name
  kst_iotrack beam --by time --top 5    where the time went
  kst_iotrack rank1 rank2 rank3         sums, spread, the slowest
  kst_iotrack --html beam.html beam     the same as a page with plots, for a browser
  kst_iotrack --csv files beam > files.csv
  kst_iotrack --json beam

A megabyte has 1,048,576 bytes, times are in seconds. How often a file was written and
read is known if the job ran with KES_IO_INDIVIDUAL=1, and up to its last mark.

Exit status: 0 all is well, 1 a file is cut off, or there is no summary, 2 wrong use, a
file that cannot be read or is none of the tracker's, or a page that cannot be written.)";

}  // namespace

int KstIoTrack(int argc, const char* const* argv, const Console& console) {
  CLI::App tool(
      "Files of the I/O tracker: what was written and read, where and how fast.", kName);
  tool.footer(kExamples);
  std::vector<std::string> names;
  std::string by = "mb";
  std::size_t top = 10;
  bool asJson = false;
  std::string csv;
  std::string page;
  tool.add_option("JOB", names, "Names of jobs, or of their files")->required();
  tool.add_option("--by", by, "Order of the files: mb, time or count")
      ->check(CLI::IsMember({"mb", "time", "count"}));
  tool.add_option("--top", top, "How many files are shown, 10 if not given")
      ->check(WrongAmount);
  CLI::Option* const json = tool.add_flag("--json", asJson, "Print JSON");
  tool.add_option("--csv", csv, "Print comma-separated values: files or totals")
      ->check(CLI::IsMember({"files", "totals"}))
      ->excludes(json);
  CLI::Option* const html =
      tool.add_option("--html", page, "Write a page with plots, one file for a browser")
          ->type_name("PAGE")
          ->excludes(json)
          ->excludes("--csv");
  return RunTool(tool, argc, argv, console, [&]() -> int {
    std::vector<TrackedJob> jobs;
    const int status = ForEachFile(kName, names, console, [&](const std::string& name) {
      jobs.push_back(ReadTrackedJob(name));
      if (!jobs.back().cut.empty()) {
        console.err << kName << ": " << Shown(name) << ": " << Shown(jobs.back().cut)
                    << ", the process still runs or has died\n";
        return kFinding;
      }
      return kGood;
    });
    if (asJson) {
      console.out << JsonText(JsonOf(jobs));
    } else if (csv == "files") {
      PrintFilesCsv(jobs, console);
    } else if (csv == "totals") {
      PrintTotalsCsv(jobs, console);
    } else if (html->count() > 0) {
      if (!jobs.empty()) {
        WritePage(page, IoTrackPage(jobs, by, top, names.size()));
      }
    } else if (!jobs.empty()) {
      if (names.size() > 1) {
        PrintJobs(jobs, console);
      } else {
        PrintJob(jobs.front(), console);
      }
      PrintFiles(jobs, by, top, console);
    }
    return status;
  });
}
