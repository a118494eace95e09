#include "common/Tool.h"

#include <unistd.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <exception>
#include <new>

#include "nex/nex_Exception.h"
#include "omi/omi_Singleton.h"
#include "utl/utl_initialize.h"
#include "utl/utl_Version.h"

namespace {

/// The library, as long as the object lives.
class StartedLibrary {
 public:
  StartedLibrary() { utl_initialize(count_); }
  ~StartedLibrary() { utl_finalize(count_); }
  StartedLibrary(const StartedLibrary&) = delete;
  StartedLibrary& operator=(const StartedLibrary&) = delete;

 private:
  int count_ = 0;
};

// A blank for every run of line ends and blanks.
std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (c != '\n' && c != '\r' && c != '\t' && c != ' ') {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

std::string Version(const std::string& name) {
  const cow_String number = omi_Singleton<utl_Version>::Instance().VersionNumber();
  return name + ' ' + number.c_str();
}

}  // namespace

Console ProcessConsole() {
  return {std::cout, std::cerr, isatty(fileno(stderr)) != 0};
}

int RunTool(CLI::App& app, int argc, const char* const* argv, const Console& console,
            const std::function<int()>& work) {
  const std::string name = app.get_name();
  try {
    const StartedLibrary library;
    // On Windows, too, what begins with a slash is a path.
    app.allow_windows_style_options(false);
    for (CLI::App* const verb : app.get_subcommands({})) {
      verb->allow_windows_style_options(false);
    }
    app.set_version_flag(
        "--version", [&] { return Version(name); }, "Print the version and exit");
    app.failure_message([](const CLI::App* tool, const CLI::Error& error) {
      return tool->get_name() + ": " + Shown(error.what()) + "\nTry " + tool->get_name() +
             " --help\n";
    });
    int status = kGood;
    try {
      app.parse(argc, argv);
      status = work();
    } catch (const CLI::ParseError& error) {
      status = app.exit(error, console.out, console.err) == 0 ? kGood : kTrouble;
    }
    console.out.flush();
    if (!console.out) {
      console.err << name << ": the output could not be written\n";
      return kTrouble;
    }
    return status;
  } catch (...) {
    console.out.flush();
    console.err << name << ": " << Shown(CurrentFailure()) << '\n';
    return kTrouble;
  }
}

std::string WrongAmount(const std::string& value) {
  double number = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, number);
  const bool isGood =
      error == std::errc() && rest == end && number >= 0 && std::isfinite(number);
  return isGood ? "" : value + " is no number from 0 on";
}

std::string CurrentFailure() {
  constexpr std::string_view kHead = "*** Error: ";
  try {
    throw;
  } catch (const nex_Exception& error) {
    const std::string text = OneLine(error.UserReport().c_str());
    return text.starts_with(kHead) ? text.substr(kHead.size()) : text;
  } catch (const std::bad_alloc&) {
    return "out of memory";
  } catch (const std::exception& error) {
    return OneLine(error.what());
  }
}
