#pragma once

#include <string>

/// The directory, with its separator, in which tests place their directories.
std::string TempRoot();
