#pragma once

#include <string_view>

#include "common/Tool.h"

/// kst_doctor: what the library sees on this host.
int KstDoctor(int argc, const char* const* argv, const Console& console);

/// An environment variable that the library reads.
struct KnownVariable {
  std::string_view name;
  std::string_view effect;
};

/// All of them.
inline constexpr KnownVariable kVariables[] = {
    {"COMPUTERNAME", "host's name in JOB.use"},
    {"KES_COMMAND", "path of the driver that started the program"},
    {"KES_IO_INDIVIDUAL", "above 0: the tracker writes one more file for every file"},
    {"KES_IO_TIMEINTERVAL", "hundredths of a second between the tracker's time points"},
    {"KES_IO_TIMEPOINTS", "2: the tracker writes at time points, not at marks"},
    {"KES_IO_TRACK", "1, 2 or 3: the tracker writes logs of this level"},
    {"KES_LEARNER", "ON: the program is a learner edition"},
    {"KES_RESOURCE_MONITOR", "ON, FULL or METHOD: the resource monitor writes JOB.use"},
    {"KESTRA_DEVL_MODE", "TRUE: titles tell what developers want to know"},
    {"KESTRA_SEQ", "snapshot of the build, in titles and JOB.use"},
    {"KESTRA_VERSION", "release, in JOB.use"},
    {"PROCESSOR_IDENTIFIER", "processor in JOB.use"},
    {"SCRATCH", "directory of temporary files, after the option tmpdir"},
    {"SUPAUXNAME", "name of the job's files, before the option job"},
    {"TMPDIR", "directory of temporary files, after SCRATCH"},
    {"WORK", "developer's work area, in titles"}};
