#include "common/SpreadPage.h"

#include <fmt/format.h>

#include <limits>

namespace {

constexpr std::size_t kFiles = 40;     // of a plot
constexpr std::size_t kOutliers = 20;  // of a line of the table

std::string Outliers(const Spread& spread) {
  std::string text;
  for (std::size_t i = 0; i < std::min(kOutliers, spread.outliers.size()); ++i) {
    text += (i > 0 ? ", " : "") + spread.outliers[i];
  }
  if (spread.outliers.size() > kOutliers) {
    text += fmt::format(" and {} more", spread.outliers.size() - kOutliers);
  }
  return text;
}

}  // namespace

void AddSpreads(Page& page, const SeriesList& list, const std::string& caption,
                const std::string& unit) {
  BarPlot plot;
  plot.caption = caption;
  plot.unit = unit;
  plot.isStacked = true;
  plot.series = {
      {"least", {}, {}}, {"up to the mean", {}, {}}, {"up to the most", {}, {}}};
  for (const Series& series : list.All()) {
    const Spread spread = SpreadOf(series);
    const double ends[] = {0, spread.least, spread.mean, spread.most};
    plot.names.push_back(series.name);
    for (std::size_t i = 0; i < plot.series.size(); ++i) {
      // A mean is rounded, so it may lie below the least.
      plot.series[i].values.push_back(std::max(ends[i + 1] - ends[i], 0.0));
      plot.series[i].shown.push_back(ends[i + 1]);
    }
  }
  page.Add(plot);
  AddSpreadTable(page, list);
}

void AddSpreadTable(Page& page, const SeriesList& list) {
  Table table;
  table.texts = {"name", "most in", "outliers"};
  table.numbers = {"sum", "mean", "least", "most", "files"};
  for (const Series& series : list.All()) {
    const Spread spread = SpreadOf(series);
    table.rows.push_back({series.name, spread.most > spread.least ? spread.where : "",
                          Outliers(spread), Fixed(spread.sum, 3), Fixed(spread.mean, 3),
                          Fixed(spread.least, 3), Fixed(spread.most, 3),
                          fmt::format("{}", series.values.size())});
  }
  page.Add(table);
}

BarPlot PlotOfFiles(const Series& series, const std::string& caption,
                    const std::string& unit) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  BarPlot plot;
  plot.caption = caption;
  plot.unit = unit;
  plot.isStacked = true;
  plot.most = kFiles;
  plot.names = series.files;
  plot.series = {{"like the others", series.values, {}}, {"outlier", {}, {}}};
  plot.series[1].values.assign(series.values.size(), kNone);
  bool hasOutliers = false;
  const Spread spread = SpreadOf(series);
  // In their order, so that files of one name are found one after the other.
  std::size_t next = 0;
  for (const std::string& outlier : spread.outliers) {
    while (series.files[next] != outlier) {
      ++next;
    }
    std::swap(plot.series[0].values[next], plot.series[1].values[next]);
    hasOutliers = true;
    ++next;
  }
  if (!hasOutliers) {
    plot.series.pop_back();
  }
  return plot;
}
