#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Other processes of this host, for programs that have to tell whom they wait for. The
/// answers are those of a moment: a process may end, and its number be another's, at any
/// time. Every function asks the system anew, keeps nothing and may be called from any
/// thread.
///
///     for (const utl_Process& writer : utl_findWriters("job.kdb")) {
///       std::cout << writer.number << ' ' << writer.name << '\n';  // 4711 kst_truss
///     }

struct utl_Process {
  std::uint32_t number = 0;

  /// The file name of its program; "" when the system does not tell. Of another user's
  /// process Linux tells a name instead that the process may choose, 15 characters of it.
  cow_String name;
};

/// The process with this number, whoever owns it; nothing when none has it. On Linux the
/// calling process sees only those of its container.
KSTUTL_EXPORT std::optional<utl_Process> utl_findProcess(std::uint32_t number);

/// The processes that have the file `path` open for writing, the calling one, too; where
/// the system does not tell for what (Windows), all that have it open. Empty when there
/// is none, or the system does not tell: on Linux it shows the files of this user's
/// processes alone, and nothing shows those of other hosts.
KSTUTL_EXPORT std::vector<utl_Process> utl_findWriters(const cow_String& path);
