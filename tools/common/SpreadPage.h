#pragma once

#include "common/Page.h"
#include "common/Spread.h"

/// Adds how the files' values lie: a plot of least, mean and most, of the largest ones,
/// and a table of all, with where the most is and what lies apart from the others.
void AddSpreads(Page& page, const SeriesList& list, const std::string& caption,
                const std::string& unit);

/// The same table alone, for quantities of different units.
void AddSpreadTable(Page& page, const SeriesList& list);

/// A bar for each value, those in a colour of their own that lie apart from the others.
BarPlot PlotOfFiles(const Series& series, const std::string& caption,
                    const std::string& unit);
