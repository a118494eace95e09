#pragma once

#include <string>

/// The directory, with its separator, in which tests make their directories.
std::string TempRoot();
