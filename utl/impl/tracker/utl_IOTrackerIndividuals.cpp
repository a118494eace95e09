#include "utl/impl/tracker/utl_IOTrackerIndividuals.h"

#include <cstdio>
#include <utility>

#include "utl/impl/text/utl_comparablePath.h"
#include "utl/impl/tracker/utl_IOTrackerLines.h"

namespace {

// Run times have at least 512 streams, which the process itself needs.
constexpr int kMostKept = 200;

}  // namespace

void utl_IOTrackerIndividuals::Take(const utl_IOTrackerTable& c,
                                    const utl_IOTrackerTable& u) {
  TakeTable(c, c_);
  TakeTable(u, u_);
}

void utl_IOTrackerIndividuals::TakeTable(const utl_IOTrackerTable& table, Files& files) {
  std::size_t index = 0;
  table.ForEach([&](const utl_IOTrackerEntry& entry) {
    if (index == files.size()) {
      files.emplace_back(entry.path);
    }
    files[index].record = entry.Record(kTotals);
    ++index;
  });
}

void utl_IOTrackerIndividuals::WriteLines(const utl_IOTrackerSettings& settings,
                                          std::string_view start, double now) {
  for (Files* files : {&c_, &u_}) {
    for (Individual& individual : *files) {
      if (std::exchange(individual.isNew, false)) {
        Open(individual, settings);
      }
      utl_LineText line;
      line.Text(start);
      utl_addTrackerColumns(line, individual.record);
      individual.output.WriteLine(line.Text("\n"), now);
    }
  }
}

void utl_IOTrackerIndividuals::Flush() {
  for (Files* files : {&c_, &u_}) {
    for (Individual& individual : *files) {
      individual.output.Flush();
    }
  }
}

void utl_IOTrackerIndividuals::Open(Individual& individual,
                                    const utl_IOTrackerSettings& settings) {
  const std::string name = settings.IndividualName(individual.path);
  const std::string path = utl_comparablePath(name);
  if (!names_.insert(path.empty() ? name : path).second) {
    return;
  }
  if (!individual.output.Open(name,
                              utl_trackerHead(!settings.timed, kTrackerFileColumns))) {
    return;
  }
  // Programs that read the standard output look for this misspelling.
  std::printf("OpenCIndivualOut  --  file path = %s\n", individual.path);
  std::printf("   outFileName = %s\n", name.c_str());
  if (kept_ < kMostKept) {
    ++kept_;
  } else {
    individual.output.OpenForEveryLine(name);
  }
}
