// What to do after a crash; docs/multisection-file.md has the reasons.

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "nex/nex_Exception.h"
#include "sections/SectionFile.h"
#include "sections/Sections.h"
#include "utl/utl_NativePath.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSharingViolation = 32;

// The two files that a writer has beside its own.
struct LeftOver {
  fs::path lock;                    // empty if there is none
  std::vector<fs::path> temporary;  // the newest first
};

bool IsTemporaryOf(const std::string& file, const std::string& name) {
  constexpr std::string_view kEnding = ".tmp";
  if (!name.starts_with(file + '.') || !name.ends_with(kEnding) ||
      name.size() <= file.size() + 1 + kEnding.size()) {
    return false;
  }
  const std::size_t length = name.size() - file.size() - 1 - kEnding.size();
  const std::string process = name.substr(file.size() + 1, length);
  return process.find_first_not_of("0123456789") == std::string::npos;
}

LeftOver Find(const std::string& file) {
  const fs::path native = utl_nativePath(file);
  if (!fs::exists(native)) {
    throw FileError(file, "is not there");
  }
  LeftOver found;
  fs::path lock = native;
  lock += ".lock";
  if (fs::exists(lock)) {
    found.lock = lock;
  }
  const fs::path directory = native.has_parent_path() ? native.parent_path() : ".";
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (IsTemporaryOf(native.filename().string(), entry.path().filename().string())) {
      found.temporary.push_back(entry.path());
    }
  }
  std::sort(found.temporary.begin(), found.temporary.end(),
            [](const fs::path& one, const fs::path& other) {
              return fs::last_write_time(one) > fs::last_write_time(other);
            });
  return found;
}

// Whoever writes a section file has it open, and lets nobody else open it for writing.
bool IsInUse(const std::string& file) {
  const cow_String refusal =
      utl_FileExceptionOpen(kSharingViolation, file, "CreateFile in OpenUpdate")
          .AsString()
          .c_str();
  try {
    utl_File(file, utl_FileAccessUpdate, utl_FileShareDefault).Init();
    return false;
  } catch (const utl_FileExceptionOpen& error) {
    if (refusal == error.AsString().c_str()) {
      return true;
    }
    throw;
  }
}

bool IsComplete(const std::string& file) {
  try {
    return SectionFile(file).IsComplete();
  } catch (const nex_Exception&) {
    return false;
  }
}

// As the interrupted save would have done it: the file stays the same one.
void CopyOver(const cow_String& from, const std::string& file) {
  utl_File in(from, utl_FileAccessRead, utl_FileShareDefault);
  utl_File out(file, utl_FileAccessUpdate, utl_FileShareDefault);
  out.Extend(in.FileSize());
  out.Seek(0);
  std::vector<char> piece(1 << 20);
  while (const int count = in.Read(piece.data(), static_cast<int>(piece.size()))) {
    out.Write(piece.data(), count);
  }
  out.Flush();
}

// One line of what is done, or would be.
void Tell(const Console& console, bool isDone, const std::string& what) {
  console.out << (isDone ? "" : "would be ") << what << '\n';
}

void Remove(const fs::path& path, bool isDone, const Console& console) {
  if (isDone) {
    fs::remove(path);
  }
  Tell(console, isDone, "removed: " + Shown(path.string()));
}

int Refuse(const std::string& file, const Console& console) {
  console.out << Shown(file)
              << ": a program has it open for writing. Nothing was done.\n";
  return kFinding;
}

}  // namespace

int UnlockFile(const std::string& file, bool isConfirmed, const Console& console) {
  const LeftOver found = Find(file);
  if (found.lock.empty()) {
    console.out << Shown(file) << ": no lock\n";
    return kGood;
  }
  if (IsInUse(file)) {
    return Refuse(file, console);
  }
  if (!found.temporary.empty()) {
    console.out << Shown(file) << ": a save was under way. See kst_sections recover.\n";
    return kFinding;
  }
  Remove(found.lock, isConfirmed, console);
  return isConfirmed ? kGood : kFinding;
}

int RecoverFile(const std::string& file, bool isConfirmed, const Console& console) {
  const LeftOver found = Find(file);
  const bool isComplete = IsComplete(file);
  console.out << Shown(file) << (isComplete ? ": complete\n" : ": damaged\n");
  if (found.lock.empty() && found.temporary.empty()) {
    console.out << "nothing was left by a crash\n";
    return isComplete ? kGood : kFinding;
  }
  if (IsInUse(file)) {
    return Refuse(file, console);
  }
  bool isGood = isComplete;
  if (!isComplete) {
    const auto whole = std::find_if(
        found.temporary.begin(), found.temporary.end(), [](const fs::path& path) {
          return IsWholeSectionFile(std::string(utl_fromNativePath(path)));
        });
    isGood = whole != found.temporary.end();
    if (!isGood) {
      console.out << "no whole temporary file: it was damaged before. See kst_sections "
                     "salvage.\n";
    } else {
      if (isConfirmed) {
        CopyOver(utl_fromNativePath(*whole), file);
      }
      Tell(console, isConfirmed, "copied over it: " + Shown(whole->string()));
    }
  }
  for (const fs::path& temporary : found.temporary) {
    Remove(temporary, isConfirmed, console);
  }
  if (!found.lock.empty()) {
    Remove(found.lock, isConfirmed, console);
  }
  return isConfirmed && isGood ? kGood : kFinding;
}
