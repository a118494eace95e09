#pragma once

#include <string>
#include <vector>

#include "common/Tool.h"

/// kst_sections: looks into section files, checks, compares, changes and rescues them.
int KstSections(int argc, const char* const* argv, const Console& console);

// The verbs. Each gives the exit status; what is thrown is told by KstSections.

int ListSections(const std::vector<std::string>& files, bool asJson,
                 const Console& console);

/// Every section of every file against its checksum.
int VerifyFiles(const std::vector<std::string>& files, bool asJson,
                const Console& console);

struct DumpOptions {
  std::string file;
  std::string section;
  std::string type;  ///< a name of ValueTypeNames
  bool asJson = false;
};
int DumpSection(const DumpOptions& options, const Console& console);

/// The section's bytes into a new file.
int GetSection(const std::string& file, const std::string& section,
               const std::string& output, bool asJson, const Console& console);

/// The section from a file's bytes.
int SetSection(const std::string& file, const std::string& section,
               const std::string& input, bool asJson, const Console& console);

/// A new file without these sections.
int RemoveSections(const std::string& file, const std::vector<std::string>& sections,
                   const std::string& output, bool asJson, const Console& console);

struct DiffOptions {
  std::string files[2];
  std::string type;      ///< a name of ValueTypeNames
  double tolerance = 0;  ///< of numbers, by the larger one
  double absolute = 0;   ///< and this besides
  bool asJson = false;
};
int DiffFiles(const DiffOptions& options, const Console& console);

/// Every section whose checksum holds into a new file.
int SalvageSections(const std::string& file, const std::string& output, bool asJson,
                    const Console& console);

struct RepairOptions {
  std::string file;
  bool isConfirmed = false;  ///< without it nothing is done, only told
  bool asJson = false;
};

/// Removes a lock that was left over.
int UnlockFile(const RepairOptions& options, const Console& console);

/// Brings a file in order after a crash.
int RecoverFile(const RepairOptions& options, const Console& console);
