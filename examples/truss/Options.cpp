#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "rgx/rgx_funcs.h"
#include "Truss.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_NativePath.h"

namespace {

// Each has a value. The library itself looks at the last two.
const std::string kOptions[] = {"job",    "outdir", "digits", "export",
                                "import", "svg",    "tmpdir", "error"};

[[noreturn]] void Refuse(const std::string& reason) {
  throw std::invalid_argument(reason + " (kst_truss -help tells more)");
}

std::string Quoted(const std::string& text) {
  return '"' + Shortened(text) + '"';
}

bool IsOption(const std::string& argument) {
  return argument.starts_with('-');
}

// Takes the arguments one by one: options with their values, and the deck.
std::string CheckArguments(const utl_CommandLine& line) {
  std::string deck;
  for (int i = 1; i < line.Size(); ++i) {
    const std::string argument(line.ConstGet(i));
    if (!IsOption(argument)) {
      if (!deck.empty()) {
        Refuse("expected one deck, not " + Quoted(deck) + " and " + Quoted(argument));
      }
      deck = argument;
      continue;
    }
    if (std::ranges::find(kOptions, argument.substr(1)) == std::end(kOptions)) {
      Refuse("unknown option " + Shortened(argument));
    }
    ++i;
    if (i == line.Size() || IsOption(std::string(line.ConstGet(i))) ||
        line.ConstGet(i).IsEmpty()) {
      Refuse("expected a value after " + argument);
    }
  }
  if (deck.empty()) {
    Refuse("expected the name of a deck");
  }
  return deck;
}

// A job's name is the beginning of its files' names: no path, and no device of Windows.
void CheckJob(const std::string& job) {
  const bool isOdd = rgx_match("[\\x01-\\x1f\\\\/:*?\"<>|$%]|^[ .]", job).Matched();
  const bool isDevice =
      rgx_match("(?i)^(con|prn|aux|nul|com\\d|lpt\\d)(\\.|$)", job).Matched();
  if (job.size() > 100) {
    Refuse("a job's name has 100 characters at the most");
  }
  if (isOdd || isDevice) {
    Refuse(Quoted(job) + " is no name for a job");
  }
}

bool IsDirectory(const std::filesystem::path& path) {
  std::error_code error;  // one that cannot be looked at is none
  return std::filesystem::is_directory(path, error);
}

// It is better to hear of this before the work than after it. Whether a file could be
// made is tried beside the result, which may exist.
void CheckResult(const std::string& path) {
  const std::filesystem::path result = utl_nativePath(path);
  if (!IsDirectory(result.parent_path())) {
    Refuse("there is no directory " + Shortened(result.parent_path().string()));
  }
  if (IsDirectory(result) || !utl_FilePath(path, "").IsWriteable() ||
      !utl_FilePath(path + ".try", "").IsWriteable()) {
    Refuse("cannot write " + result.string());
  }
}

// The same of a file that is simply written: it is opened, and stays as it is.
void CheckOutput(const std::string& name) {
  std::error_code ignored;
  const bool isNew = !std::filesystem::exists(name, ignored);
  if (!std::ofstream(name, std::ios::app)) {
    Refuse("cannot write " + Shortened(name));
  }
  if (isNew) {
    std::filesystem::remove(name, ignored);
  }
}

}  // namespace

Options ReadOptions(const utl_CommandLine& line) {
  Options options;
  options.deck = CheckArguments(line);
  CheckJob(std::string(line.ConstGetValue("job", "")));
  options.result = std::string(utl_JobFileName(".kdb"));
  options.exported = std::string(line.ConstGetValue("export", ""));
  options.imported = std::string(line.ConstGetValue("import", ""));
  options.digits = std::clamp(line.ConstGetValueAsInt("digits", 6), 1, 17);
  options.picture = std::string(line.ConstGetValue("svg", ""));
  CheckResult(options.result);
  for (const std::string& name : {options.exported, options.picture}) {
    if (!name.empty()) {
      CheckOutput(name);
    }
  }
  return options;
}

void PrintUsage() {
  std::cout <<
      R"(kst_truss -job NAME [OPTIONS] DECK

Solves the pin-jointed frame in the file DECK, prints displacements, bar forces
and reactions, and saves them in NAME.kdb, a multisection file.

  -job NAME      what the job's files are called
  -outdir DIR    where they lie; without it in the current directory
  -digits N      digits of the numbers that are printed, 1 to 17; without it 6
  -export FILE   also writes nodes, bars and results as one binary stream
  -import FILE   compares such a file with the job
  -svg FILE      also draws the deformed frame, its bars coloured by force
  -tmpdir DIR    the scratch directory, as far as the I/O tracker is concerned
  -error FLAG=N  debug printing of the library
  -help          this text

With KES_RESOURCE_MONITOR=ON the job leaves a log of what its phases used, with
KES_IO_TRACK=1 one of what they wrote and read.

Example:
  kst_truss -job bridge -outdir results bridge.deck
where bridge.deck has these lines:
  title Two bars
  material 200
  node 1 -3 0 0
  node 2  3 0 0
  node 3  0 4 0
  bar 1 1 3 2
  bar 2 2 3 2
  fix 1 xyz
  fix 2 xyz
  fix 3 z
  load 3 6 -16 0
)";
}
