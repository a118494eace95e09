#pragma once

#include <string_view>

// The files that are part of every page. CMake makes the source of them.

std::string_view PageStyle();    ///< page/style.css
std::string_view PagePlots();    ///< page/plots.js
std::string_view PageLicence();  ///< page/licence.txt, the terms of what follows
std::string_view PageChart();    ///< Chart.js, a library of plots for browsers
