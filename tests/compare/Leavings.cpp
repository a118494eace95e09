#include "compare/Leavings.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "compare/Show.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_File.h"

namespace {

using Names = std::vector<std::string>;

constexpr int kMostBytes = 300000;

bool IsDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

std::string ReadFile(const std::string& path) {
  utl_File file(cow_String(std::string_view(path)), utl_FileAccessRead,
                utl_FileShareReadWrite);
  std::string bytes(kMostBytes, '\0');
  bytes.resize(static_cast<std::size_t>(file.Read(bytes.data(), kMostBytes)));
  return ShownAll(file.FileSize(), bytes);
}

// Applies `change` to each line, without its end (left-out.md).
std::string ForEachLine(const std::string& text,
                        const std::function<std::string(const std::string&)>& change) {
  std::string changed;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    std::string line = text.substr(start, end - start);
    if (line.ends_with('\r')) {
      line.pop_back();
    }
    changed += change(line) + '\n';
    start = end + 1;
  }
  return changed;
}

// The numbers of a line of the resource log, all of them.
std::string WithoutNumbers(const std::string& line) {
  std::string masked;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (IsDigit(line[at])) {
      masked += '#';
      while (at + 1 < line.size() &&
             (IsDigit(line[at + 1]) ||
              (line[at + 1] == '.' && at + 2 < line.size() && IsDigit(line[at + 2])))) {
        ++at;
      }
    } else {
      masked += line[at];
    }
  }
  return masked;
}

// The elapsed time of a line of the tracker's, which has so many numbers behind it.
std::string WithoutElapsed(const std::string& line, int numbersBehind) {
  std::size_t end = line.size();
  for (int left = numbersBehind; left > 0 && end != 0; --left) {
    end = line.rfind(", ", end - 1);
    if (end == std::string::npos) {
      return line;
    }
  }
  std::size_t start = end;
  while (start > 0 && (IsDigit(line[start - 1]) || line[start - 1] == '.')) {
    --start;
  }
  return line.substr(0, start) + (start < end ? "#" : "") + line.substr(end);
}

std::string ReadLog(const std::string& path, int numbersBehindElapsed) {
  utl_File file(cow_String(std::string_view(path)), utl_FileAccessRead,
                utl_FileShareReadWrite);
  std::string text(kMostBytes, '\0');
  text.resize(static_cast<std::size_t>(file.Read(text.data(), kMostBytes)));
  return Shown(ForEachLine(text, [&](const std::string& line) {
    return numbersBehindElapsed == 0 ? WithoutNumbers(line)
                                     : WithoutElapsed(line, numbersBehindElapsed);
  }));
}

std::string Contents(const std::string& path) {
  constexpr int kTotalsNumbers = 12;
  constexpr int kIndividualNumbers = 6;
  constexpr int kSummaryNumbers = 99;
  const std::string_view name = std::string_view(path).substr(path.rfind('\\') + 1);
  if (name.ends_with(".use")) {
    return ReadLog(path, 0);
  }
  if (name.find("_ioTotal") != name.npos) {
    return ReadLog(path, kIndividualNumbers);
  }
  if (name.find("ioTotal") != name.npos || name.find("ioInc") != name.npos) {
    return ReadLog(path, kTotalsNumbers);
  }
  return name.find("ioFileSummary") != name.npos ? ReadLog(path, kSummaryNumbers)
                                                 : ReadFile(path);
}

Names Sorted(const cow_List<utl_FilePath>& paths) {
  Names names;
  for (const utl_FilePath& path : paths) {
    names.emplace_back(path.AbsolutePathName());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::string Leavings(const std::string& directory) {
  const utl_DirObject entries(utl_FilePath(cow_String(std::string_view(directory)), ""));
  std::string text;
  for (const std::string& name : Sorted(entries.GetAllFileNames())) {
    text += "\n  " + name + ": ";
    try {
      text += Contents(name);
    } catch (const nex_Exception& thrown) {
      text += Shown(thrown.AsString().c_str());
    }
  }
  for (const std::string& name : Sorted(entries.GetAllDirNames())) {
    if (!name.ends_with("\\.") && !name.ends_with("\\..")) {
      text += "\n  " + name + Leavings(name);
    }
  }
  return text;
}
