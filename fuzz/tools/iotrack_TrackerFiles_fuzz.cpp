// Any texts as a job's totals, summary and individual output, with the byte 1C between
// them: they are refused with a line, or what was read makes sense.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/FileError.h"
#include "fuzz/common/FuzzDirectory.h"
#include "fuzz/common/Require.h"
#include "iotrack/TrackerFiles.h"

namespace {

void RequireSums(const TrackedSums& sums) {
  for (const Transfer& transfer : {sums.written, sums.read}) {
    Require(transfer.count >= 0 && transfer.megabytes >= 0 && transfer.seconds >= 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  for (const char* name : {"job.ioTotal", "job.ioFileSummary", "a_ioTotal"}) {
    const std::size_t end = rest.find('\x1C');
    FuzzDirectory::Write(FuzzDirectory::File(name), rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  try {
    const TrackedJob job = ReadTrackedJob(FuzzDirectory::File("job"));
    for (const TotalsLine& line : job.lines) {
      Require(line.elapsed >= 0);
      RequireSums(line.work);
      RequireSums(line.scratch);
    }
    for (const TrackedFile& file : job.files) {
      RequireSums(file.sums);
    }
  } catch (const FileError& failure) {
    Require(std::string(failure.what()).find(": line ") != std::string::npos);
  }
  return 0;
}
