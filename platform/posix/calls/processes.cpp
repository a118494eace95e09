// Other processes, as /proc shows them: the files that they have open only to their user.

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>

#include "platform/platform.h"

namespace platform {
namespace {

constexpr char kProc[] = "/proc/";

// The names in a directory; none where it cannot be read, as that of another user's
// process or of one that has just ended.
std::vector<std::string> NamesIn(const std::string& directory) {
  std::vector<std::string> names;
  // A std::filesystem::directory_iterator ends the process when memory runs out.
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
  while (const dirent* entry = stream ? readdir(stream.get()) : nullptr) {
    names.emplace_back(entry->d_name);
  }
  return names;
}

std::string Contents(const std::string& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), {}};
}

// The program's file, which only its user is shown; else the name that the process has.
std::string ProgramOf(const std::string& process, const std::string& ownName) {
  constexpr std::string_view kReplaced = " (deleted)";
  std::error_code hidden;
  std::string name =
      std::filesystem::read_symlink(kProc + process + "/exe", hidden).filename().native();
  if (name.ends_with(kReplaced)) {
    name.resize(name.size() - kReplaced.size());
  }
  return name.empty() ? ownName : name;
}

bool WritesTo(const std::string& process, const struct stat& file) {
  const std::string directory = kProc + process + "/fd/";
  for (const std::string& descriptor : NamesIn(directory)) {
    const std::string link = directory + descriptor;
    struct stat status;
    // The link's permissions are those that the file was opened with.
    if (lstat(link.c_str(), &status) == 0 && (status.st_mode & S_IWUSR) != 0 &&
        stat(link.c_str(), &status) == 0 && status.st_dev == file.st_dev &&
        status.st_ino == file.st_ino) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool FindProcess(std::uint32_t number, Process& found) {
  // 0 and negative numbers would mean groups of processes.
  if (number == 0 || number > INT_MAX ||
      (kill(static_cast<pid_t>(number), 0) != 0 && errno != EPERM)) {
    return false;
  }
  const std::string process = std::to_string(number);
  // "4711 (NAME) S ...": the state follows a name that may hold anything.
  const std::string status = Contents(kProc + process + "/stat");
  const std::size_t name = status.find('(') + 1;
  const std::size_t end = status.rfind(") ");
  if (name == 0 || end == std::string::npos || end < name) {
    found = {number, ""};
    return true;
  }
  found = {number, ProgramOf(process, status.substr(name, end - name))};
  const char state = status[end + 2];
  return state != 'Z' && state != 'X';  // it has ended, but its parent has not asked
}

std::vector<Process> WritersOf(const char* name) {
  std::vector<Process> writers;
  struct stat file;
  if (stat(NativePath(name).c_str(), &file) != 0) {
    return writers;
  }
  for (const std::string& process : NamesIn(kProc)) {
    std::uint32_t number = 0;
    std::from_chars(process.data(), process.data() + process.size(), number);
    Process writer;
    if (number != 0 && WritesTo(process, file) && FindProcess(number, writer)) {
      writers.push_back(writer);
    }
  }
  return writers;
}

}  // namespace platform
