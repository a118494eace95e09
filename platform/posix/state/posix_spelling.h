#pragma once

// Names that differ in letter case alone are one name to the Windows calls, and several
// names to most file systems here.

#include <string>

namespace posix {

/// An entry of `directory` that is `name` except for letter case, or "". Of several it is
/// the one that the system lists first. `directory` ends in "/".
///
/// To find that there is none, the whole directory must be read. For a large one that is
/// done once: see the source.
std::string FindSpelling(const std::string& directory, const std::string& name);

}  // namespace posix
