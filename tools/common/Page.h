#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/Output.h"

/// The numbers of a plot that belong together, in one colour.
struct BarSeries {
  std::string name;
  std::vector<double> values;  ///< a part's length; one that is no number has no bar
  /// What readers see of each value, where that is not its length.
  std::vector<double> shown;
};

/// Bars from left to right, of each name one for each series, or one made of parts.
struct BarPlot {
  std::string caption;
  std::string unit;
  std::vector<std::string> names;
  std::vector<BarSeries> series;  ///< each with a value for every name
  bool isStacked = false;
  std::size_t most = 20;  ///< so many names are plotted, those with the longest bars
};

struct Curve {
  std::string name;
  std::vector<double> x;  ///< a point whose x is infinite is left out
  std::vector<double> y;
  std::vector<std::string> labels;  ///< what each point is; as many
};

struct CurvePlot {
  std::string caption;
  std::string unit;    ///< of y
  std::string across;  ///< what x is, with its unit
  std::vector<Curve> curves;
  bool isStepped = false;  ///< a value holds from the point before on
  /// What stands below x = 0, 1, 2, ...; nothing: the numbers.
  std::vector<std::string> ticks;
};

/// A table. Its numbers are texts already.
struct Table {
  std::vector<std::string> texts;    ///< titles of the columns with texts, the first ones
  std::vector<std::string> numbers;  ///< titles of the others
  std::vector<std::vector<std::string>> rows;
};

/// A count as people read it: "1,234,567". REQUIRES: it is not negative.
std::string Grouped(std::int64_t number);

/// So many points a curve has at most; more cannot be told apart.
inline constexpr std::size_t kCurvePoints = 400;

/// What stands behind the directories of a path, or all of it where nothing does.
std::string FileNameOf(const std::string& path);

/// A page for browsers: one file with all it needs in it, in which plots stand beside
/// their tables. Texts may be anything; they are escaped here, and long ones are cut in
/// their middle. The same calls make the same bytes.
///
///     Page page("kst_usage", "beam.use");
///     page.Section("Timers");
///     page.Add(bars);
///     page.Add(table);
///     WritePage("beam.html", page);
class Page {
 public:
  Page(const std::string& tool, const std::string& title);

  /// A line below the title, something that readers have to know, and a number that they
  /// see first. REQUIRES: there is no section yet.
  void Line(const std::string& text);
  void Note(const std::string& text);
  void Figure(const std::string& name, const std::string& value);

  void Section(const std::string& title, const std::string& text = "");

  /// Adds to the last section; a plot of nothing is left out.
  void Add(const BarPlot& plot);
  void Add(const CurvePlot& plot);
  void Add(const Table& table);

  std::string Html() const;

 private:
  std::string Escaped(const std::string& name);
  std::string Cut(const std::string& text, std::size_t longest);
  void AddPlot(const Json& data, const std::string& caption, std::size_t height);

  std::string tool_;
  std::string title_;
  std::string head_;
  std::string notes_;
  std::string figures_;
  std::string section_;  // the title of the last one
  std::string sections_;
  bool isCut_ = false;  // a text was
  Json plots_ = Json::array();
};

/// Writes the page, as a whole or not at all. Throws FileError if that fails, and for an
/// existing file that is no page: names of logs and of pages are easily mixed up.
void WritePage(const std::string& path, const Page& page);
