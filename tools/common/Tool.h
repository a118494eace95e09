#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>

#include "common/FileError.h"

/// Exit statuses of every tool.
inline constexpr int kGood = 0;
inline constexpr int kFinding = 1;  ///< damage, a difference, something to be done
inline constexpr int kTrouble =
    2;  ///< wrong use, or a file that cannot be read or written

/// Where a tool writes: results to `out`, everything else to `err`.
struct Console {
  std::ostream& out;
  std::ostream& err;
  bool isTerminal;  ///< `err` is watched by somebody, who may be shown a progress bar
};

/// The process's own streams.
Console ProcessConsole();

/// Parses the arguments and runs the work; the exit status. --help and --version are
/// answered, wrong use is told with a hint to --help, and whatever is thrown is told in
/// one line that begins with the tool's name. `app.get_name()` is that name.
int RunTool(CLI::App& app, int argc, const char* const* argv, const Console& console,
            const std::function<int()>& work);

/// What is wrong with the value of an option that takes a number from 0 on; empty if
/// nothing is. For CLI::Option::check.
std::string WrongAmount(const std::string& value);

/// The text in the one exception that is being handled, in one line. For catch (...).
std::string CurrentFailure();

/// Text from a file, to be shown to people: control characters, which could move the
/// cursor, end the line or turn the direction of writing, and what is no UTF-8 are
/// written as \xNN.
std::string Shown(std::string_view text);
