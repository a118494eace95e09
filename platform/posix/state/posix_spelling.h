#pragma once

// Names that differ in letter case alone are one name to the Windows calls, and several
// to the file systems of this system.

#include <string>

namespace posix {

/// An entry of `directory` that is `name` but for letter case, or "". Of several it is
/// the one that the system tells first. `directory` ends in "/".
///
/// To know that there is none takes reading the whole directory. For a large one that is
/// done once: see the source.
std::string FindSpelling(const std::string& directory, const std::string& name);

}  // namespace posix
