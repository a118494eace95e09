#include "doctor/Doctor.h"

#include <fmt/format.h>

#include <clocale>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "omi/omi_Singleton.h"
#include "utl/utl_DiskAttributes.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_Version.h"

namespace {

using Json = nlohmann::ordered_json;

// The features of x86-64 that a kernel for checksums or Base64 looks for.
std::string Features() {
  std::string list;
  const auto add = [&](const char* name, bool isThere) {
    list += isThere ? (list.empty() ? "" : " ") + std::string(name) : "";
  };
  add("sse4.1", __builtin_cpu_supports("sse4.1") != 0);
  add("pclmul", __builtin_cpu_supports("pclmul") != 0);
  add("avx2", __builtin_cpu_supports("avx2") != 0);
  add("avx512f", __builtin_cpu_supports("avx512f") != 0);
  add("avx512bw", __builtin_cpu_supports("avx512bw") != 0);
  add("avx512vbmi", __builtin_cpu_supports("avx512vbmi") != 0);
  add("vpclmulqdq", __builtin_cpu_supports("vpclmulqdq") != 0);
  return list;
}

std::string CodePage() {
  const char* name = std::setlocale(LC_CTYPE, "");
  std::string found = name == nullptr ? "" : name;
  std::setlocale(LC_CTYPE, "C");
  return found;
}

Json Host() {
  return {{"date", utl_getDate().c_str()},
          {"time", utl_getTime().c_str()},
          {"platform", utl_getPlatform().c_str()},
          {"host", utl_getHostName().c_str()},
          {"user", utl_getUserName().c_str()},
          {"processors", utl_getNumberCpus()},
          {"clock in MHz", utl_getCpusClockSpeed()},
          {"features for kernels", Features()},
          {"characters", CodePage()}};
}

// A directory and its free space, or why that is not known.
Json Directory(const std::string& path) {
  Json json = {{"path", utl_nativePath(path).string()}};
  try {
    json["free bytes"] = utl_DiskAttributes(path).GetFreeDiskSpace();
  } catch (...) {
    json["problem"] = CurrentFailure();
  }
  return json;
}

// The first of the variables for temporary files that names a directory decides.
Json Scratch() {
  std::string asked;
  for (const char* name : {"SCRATCH", "TMPDIR"}) {
    const char* const value = std::getenv(name);
    asked += (asked.empty() ? "" : ", ") + std::string(name) + " is " +
             (value == nullptr ? "unset" : value);
    if (value != nullptr && utl_FilePath(value, "").Exists()) {
      return Directory(value);
    }
  }
  return {{"problem", "no directory for temporary files: " + asked}};
}

Json Variables() {
  Json json = Json::array();
  for (const KnownVariable& variable : kVariables) {
    const char* const value = std::getenv(std::string(variable.name).c_str());
    json.push_back({{"name", variable.name},
                    {"value", value == nullptr ? Json() : Json(value)},
                    {"effect", variable.effect}});
  }
  return json;
}

std::string TextOf(const Json& value) {
  return value.is_string() ? Shown(value.get<std::string>()) : value.dump();
}

void PrintDirectory(const char* name, const Json& directory, const Console& console) {
  console.out << fmt::format("{:>22}  ", name);
  if (directory.contains("path")) {
    console.out << TextOf(directory["path"]) << ", ";
  }
  if (directory.contains("problem")) {
    console.out << TextOf(directory["problem"]) << '\n';
    return;
  }
  constexpr double kGigabyte = 1e9;
  console.out << fmt::format("{:.1f} GB free\n",
                             directory["free bytes"].get<double>() / kGigabyte);
}

void Print(const Json& report, const Console& console) {
  console.out << TextOf(report["library"]) << "\n\n";
  for (const auto& [name, value] : report["host"].items()) {
    console.out << fmt::format("{:>22}  {}\n", name, TextOf(value));
  }
  PrintDirectory("output directory", report["output directory"], console);
  PrintDirectory("scratch directory", report["scratch directory"], console);
  console.out << "\nEnvironment variables\n";
  for (const Json& variable : report["variables"]) {
    const Json& value = variable["value"];
    console.out << fmt::format("{:>22}  {}\n{:>22}    {}\n", TextOf(variable["name"]),
                               value.is_null() ? "-" : TextOf(value), "",
                               TextOf(variable["effect"]));
  }
}

}  // namespace

int KstDoctor(int argc, const char* const* argv, const Console& console) {
  CLI::App tool(
      "What the library sees on this host: machine, directories, and the "
      "environment variables that it reads.",
      "kst_doctor");
  tool.footer(
      "Examples:\n  kst_doctor\n  kst_doctor --json > host.json\n\n"
      "Exit status: 0 all is well, 1 there is no directory for output or for temporary\n"
      "files, 2 wrong use.");
  bool asJson = false;
  tool.add_flag("--json", asJson, "Print JSON");
  return RunTool(tool, argc, argv, console, [&] {
    const cow_String title = omi_Singleton<utl_Version>::Instance().Title(true);
    const Json report = {{"library", title.c_str()},
                         {"host", Host()},
                         {"output directory", Directory(std::string(utl_getcwd()))},
                         {"scratch directory", Scratch()},
                         {"variables", Variables()}};
    if (asJson) {
      console.out << report.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    } else {
      Print(report, console);
    }
    const bool hasProblem = report["output directory"].contains("problem") ||
                            report["scratch directory"].contains("problem");
    return hasProblem ? kFinding : kGood;
  });
}
