#include "utl/impl/tracker/utl_IOTrackerIndividuals.h"

#include <cstdio>

#include "utl/impl/text/utl_comparablePath.h"

namespace {

// Run times have 512 streams at the least, which the process wants for itself.
constexpr int kMostKept = 200;

}  // namespace

void utl_IOTrackerIndividuals::Take(utl_IOTrackerTable::Entry& entry) {
  if (entry.individual == nullptr) {
    all_.push_back(std::make_unique<utl_IOTrackerIndividual>(entry.path));
    entry.individual = all_.back().get();
  }
  entry.individual->record = entry.totals;
}

void utl_IOTrackerIndividuals::WriteLines(const utl_IOTrackerSettings& settings,
                                          std::string_view head, std::string_view start,
                                          double now) {
  for (; opened_ < all_.size(); ++opened_) {
    Open(*all_[opened_], settings, head);
  }
  for (const auto& individual : all_) {
    utl_IOTrackerText line;
    line.Text(start);
    utl_addColumns(line, individual->record);
    individual->output.WriteLine(line.Text("\n"), now);
  }
}

void utl_IOTrackerIndividuals::Flush() {
  for (const auto& individual : all_) {
    individual->output.Flush();
  }
}

void utl_IOTrackerIndividuals::Open(utl_IOTrackerIndividual& individual,
                                    const utl_IOTrackerSettings& settings,
                                    std::string_view head) {
  const std::string name = settings.IndividualName(individual.path);
  const std::string path = utl_comparablePath(name);
  if (!names_.insert(path.empty() ? name : path).second) return;
  if (!individual.output.Open(name, head)) return;
  // The misspelling is what readers of the standard output look for.
  std::printf("OpenCIndivualOut  --  file path = %s\n", individual.path);
  std::printf("   outFileName = %s\n", name.c_str());
  if (kept_ < kMostKept) {
    ++kept_;
  } else {
    individual.output.OpenForEveryLine(name);
  }
}
