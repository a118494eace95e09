#pragma once

#include <map>
#include <string>
#include <vector>

#include "common/Output.h"

/// One quantity of several files: the processor time of each rank of a parallel run.
struct Series {
  std::string name;
  std::vector<double> values;
  std::vector<std::string> files;  ///< as many

  void Add(const std::string& file, double value);
};

/// Series in the order in which they were first asked for.
class SeriesList {
 public:
  /// The series of this name, which is made if it is not there.
  Series& Of(const std::string& name);

  const std::vector<Series>& All() const { return all_; }

 private:
  std::vector<Series> all_;
  std::map<std::string, std::size_t> places_;
};

/// How the values lie. REQUIRES: there is one.
struct Spread {
  double sum = 0;
  double mean = 0;
  double least = 0;
  double most = 0;
  std::string where;  ///< the file of the most
  /// Files whose value lies apart from the others, as `AboutOutliers` says; of fewer than
  /// three values there are none.
  std::vector<std::string> outliers;
};
Spread SpreadOf(const Series& series);

/// A sentence for readers on what an outlier is among "logs" or the like.
std::string AboutOutliers(const std::string& files);

/// A table with a line for each, under a title.
void PrintSpreads(const std::string& title, const SeriesList& list,
                  const Console& console);

Json JsonOf(const SeriesList& list);
