#pragma once

struct CommandLineOption {
  const char* name;
  const char* value;
};
inline constexpr CommandLineOption kCommandLine[] = {
    {"job", "beam"},           {"cpus", "4"},
    {"memory", "2000000"},     {"tmpdir", "/scratch/tmp"},
    {"input", "tower.deck"},   {"outdir", "/home/user/project/results"},
    {"interactive", ""},       {"error", "utl_File=3,rgx="},
    {"loads", "wind_3.loads"}, {"digits", "12"},
};

struct CommandLineWork {
  const char* name;
  const char* option;
};
inline constexpr CommandLineWork kCommandLineWorks[] = {
    {"command line: short value", "job"}, {"command line: long value", "outdir"}};
