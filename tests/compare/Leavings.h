#pragma once

#include <string>

/// What lies below a directory, as the library sees it: every entry's name, sorted, and
/// every file's contents. In the logs of the monitor and the tracker what the clock and
/// the machine have written is masked, and a line ends as on Linux.
std::string Leavings(const std::string& directory);
