#include "utl/impl/utl_failureText.h"

#include <windows.h>

#include <new>
#include <string_view>

#include "omi/omi_SystemErrorCode.h"
#include "platform/platform.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_TempFile.h"

namespace {

// The text with a blank for every run of characters that would end the line or move the
// cursor.
std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const bool isControl = (c >= '\0' && c < ' ') || c == '\x7f';
    if (!isControl) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

std::string Shown(std::string_view path) {
  return utl_nativePath(path).string();
}

std::string DirectoryOf(std::string_view path) {
  return Shown(utl_FilePath(path, "").AbsoluteDirectoryPath());
}

// What to do about the lock file of a multisection file; the message is "PATH": and this
// text.
std::string LockAdvice(std::string_view message) {
  constexpr std::string_view kEnd = "\": Cannot create the lock file.";
  if (!message.starts_with('"') || !message.ends_with(kEnd)) {
    return {};
  }
  const std::string_view path = message.substr(1, message.size() - 1 - kEnd.size());
  const utl_FilePath lock(std::string(path) + ".lock", "");
  if (!lock.Exists()) {
    return "New files must be permitted in " + DirectoryOf(path);
  }
  return "If no other program has the file open, remove " +
         Shown(lock.AbsolutePathName());
}

// What to do about a file that cannot be opened for writing; the message has the
// operation, the system's text and, at its end, the path.
std::string OpenAdvice(std::string_view message) {
  constexpr std::string_view kBeforePath = "\nfile: ";
  const std::size_t at = message.rfind(kBeforePath);
  const std::string_view cause = message.substr(0, at);
  const auto tells = [&](std::string_view text) {
    return cause.find(text) != std::string_view::npos;
  };
  const auto tellsCode = [&](int code) {
    return tells(omi_SystemErrorCode(omi_SystemErrorCode::kSystem, code).Text());
  };
  if (at == std::string_view::npos ||
      (!tells("in OpenWrite") && !tells("in OpenUpdate")) ||
      tellsCode(ERROR_SHARING_VIOLATION) || tellsCode(ERROR_FILENAME_EXCED_RANGE)) {
    return {};  // the message says it all
  }
  const utl_FilePath path(message.substr(at + kBeforePath.size()), "");
  const std::string shown = Shown(path.AbsolutePathName());
  if (path.IsDir()) {
    return shown + " is a directory";
  }
  if (path.Exists()) {
    return shown + " must permit writing";
  }
  return "This directory must exist and permit new files: " +
         DirectoryOf(path.AbsolutePathName());
}

std::string Variable(const char* name) {
  const char* const value = platform::Environment(name);
  return std::string(name) +
         (value != nullptr ? " \"" + std::string(value) + '"' : std::string(" unset"));
}

// What to do when there is no directory for temporary files.
std::string ScratchAdvice() {
  const auto& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
  const std::string option =
      line.IsMember("tmpdir")
          ? "-tmpdir \"" + std::string(line.ConstGetValue("tmpdir")) + '"'
          : "-tmpdir not given";
  return "Name a directory with room for them by one of these: " + option + ", " +
         Variable("SCRATCH") + ", " + Variable("TMPDIR");
}

// The line with the message and, when there is advice, a second one.
std::string Lines(const char* program, std::string_view message,
                  const std::string& advice) {
  const std::string begin = std::string(program) + ": ";
  std::string lines = begin + OneLine(message) + '\n';
  if (!advice.empty()) {
    lines += begin + OneLine(advice) + '\n';
  }
  return lines;
}

}  // namespace

std::string utl_failureText(const char* program, const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const utl_TempFileCantExc& thrown) {
    return Lines(program, thrown.UserReport().c_str(), ScratchAdvice());
  } catch (const utl_FileExceptionOpen& thrown) {
    const atr_String message = thrown.UserReport();
    return Lines(program, message.c_str(), OpenAdvice(message.c_str()));
  } catch (const nex_Exception& thrown) {
    const atr_String message = thrown.UserReport();
    return Lines(program, message.c_str(), LockAdvice(message.c_str()));
  } catch (const std::bad_alloc&) {
    return Lines(program, "There is not enough memory.", {});
  } catch (const std::exception& thrown) {
    return Lines(program, thrown.what(), {});
  } catch (...) {
    return Lines(program, "An exception of a class that is not known.", {});
  }
}
