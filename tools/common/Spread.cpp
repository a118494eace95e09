#include "common/Spread.h"

#include <fmt/format.h>

#include <cmath>
#include <numeric>

namespace {

constexpr std::size_t kFewest = 3;   // values among which one can lie apart
constexpr double kApart = 5;         // times the median distance from the median
constexpr double kNoticeable = 0.1;  // of the median

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

void Series::Add(const std::string& file, double value) {
  values.push_back(value);
  files.push_back(file);
}

Series& SeriesList::Of(const std::string& name) {
  const auto [place, isNew] = places_.try_emplace(name, all_.size());
  if (isNew) {
    all_.push_back({name, {}, {}});
  }
  return all_[place->second];
}

Spread SpreadOf(const Series& series) {
  const std::vector<double>& values = series.values;
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  Spread spread;
  spread.sum = std::accumulate(values.begin(), values.end(), 0.0);
  spread.mean = spread.sum / static_cast<double>(values.size());
  spread.least = *least;
  spread.most = *most;
  spread.where = series.files[static_cast<std::size_t>(most - values.begin())];
  if (values.size() < kFewest || !std::isfinite(spread.sum)) {
    return spread;
  }
  const double median = Median(values);
  std::vector<double> distances;
  distances.reserve(values.size());
  for (const double value : values) {
    distances.push_back(std::abs(value - median));
  }
  const double limit =
      std::max(kApart * Median(distances), kNoticeable * std::abs(median));
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (distances[i] > limit) {
      spread.outliers.push_back(series.files[i]);
    }
  }
  return spread;
}

std::string AboutOutliers(const std::string& files) {
  return fmt::format(
      "An outlier lies more than {} times as far from the median as half of the {} do, "
      "and "
      "more than {} % of it.",
      kApart, files, kNoticeable * 100);
}

void PrintSpreads(const std::string& title, const SeriesList& list,
                  const Console& console) {
  console.out << fmt::format("\n{:>11} {:>11} {:>11} {:>11} {:>5}  {}\n", "sum", "mean",
                             "least", "most", "files", title);
  for (const Series& series : list.All()) {
    const Spread spread = SpreadOf(series);
    console.out << fmt::format("{:>11} {:>11} {:>11} {:>11} {:>5}  {}",
                               Fixed(spread.sum, 3), Fixed(spread.mean, 3),
                               Fixed(spread.least, 3), Fixed(spread.most, 3),
                               series.values.size(), Shown(series.name));
    if (spread.most > spread.least) {
      console.out << ", most in " << Shown(spread.where);
    }
    for (const std::string& file : spread.outliers) {
      console.out << ", outlier " << Shown(file);
    }
    console.out << '\n';
  }
}

Json JsonOf(const SeriesList& list) {
  Json json = Json::array();
  for (const Series& series : list.All()) {
    const Spread spread = SpreadOf(series);
    json.push_back({{"name", series.name},
                    {"files", series.values.size()},
                    {"sum", spread.sum},
                    {"mean", spread.mean},
                    {"least", spread.least},
                    {"most", spread.most},
                    {"most in", spread.where},
                    {"outliers", spread.outliers}});
  }
  return json;
}
