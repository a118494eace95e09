// What to do after a crash; docs/multisection-file.md has the reasons.

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "common/Output.h"
#include "common/Progress.h"
#include "nex/nex_Exception.h"
#include "sections/LeftOver.h"
#include "sections/SectionFile.h"
#include "sections/Sections.h"
#include "utl/utl_NativePath.h"

namespace {

namespace fs = std::filesystem;

// Throws for a file that cannot be opened, of which nothing is known.
bool IsComplete(const std::string& file) {
  try {
    return SectionFile(file).IsComplete();
  } catch (const utl_FileExceptionOpen&) {
    throw;
  } catch (const nex_Exception&) {
    return false;
  }
}

// As the interrupted save would have done it: the file stays the same one.
void CopyOver(const cow_String& from, const std::string& file, const Console& console) {
  utl_File in(from, utl_FileAccessRead, utl_FileShareDefault);
  utl_File out(file, utl_FileAccessUpdate, utl_FileShareDefault);
  out.Extend(in.FileSize());
  out.Seek(0);
  Progress progress(console, in.FileSize());
  std::vector<char> piece(1 << 20);
  while (const int count = in.Read(piece.data(), static_cast<int>(piece.size()))) {
    out.Write(piece.data(), count);
    progress.Add(count);
  }
  out.Flush();
}

// "process 4711 (kst_truss)"
std::string TextOf(const utl_Process& process) {
  const std::string text = fmt::format("process {}", process.number);
  return process.name.IsEmpty() ? text : text + " (" + Shown(process.name) + ')';
}

std::string TextOf(const Temporary& temporary) {
  const utl_Process process =
      temporary.alive.value_or(utl_Process{temporary.process, {}});
  return fmt::format("{}: {}, of {}, which {}", Shown(temporary.path.string()),
                     temporary.isWhole ? "whole" : "not whole", TextOf(process),
                     temporary.alive ? "runs" : "does not run on this host");
}

Json JsonOf(const utl_Process& process) {
  return {{"process", process.number}, {"name", std::string(process.name)}};
}

Json JsonOf(const Temporary& temporary) {
  return {{"file", temporary.path.string()},
          {"whole", temporary.isWhole},
          {"process", temporary.process},
          {"alive", temporary.alive.has_value()},
          {"name", temporary.alive ? std::string(temporary.alive->name) : ""}};
}

// Puts a file in order, or says what it would do, and tells each step as it is done: in
// lines, or all in JSON at the end.
class Repair {
 public:
  Repair(const RepairOptions& options, const Console& console)
      : file_(options.file),
        isDone_(options.isConfirmed),
        asJson_(options.asJson),
        console_(console),
        found_(FindLeftOver(options.file)) {
    report_ = {
        {"file", file_},     {"lock", !found_.lock.empty()}, {"temporary", Json::array()},
        {"in use", false},   {"users", Json::array()},       {"done", false},
        {"copied", nullptr}, {"removed", Json::array()}};
    for (const Temporary& temporary : found_.temporary) {
      report_["temporary"].push_back(JsonOf(temporary));
    }
  }

  int Unlock() {
    int status = kGood;
    if (found_.lock.empty()) {
      Line(Shown(file_) + ": no lock");
    } else if (IsRefused()) {
      status = kFinding;
    } else if (!found_.temporary.empty()) {
      Line(Shown(file_) + ": a save was under way. See kst_sections recover.");
      status = kFinding;
    } else {
      Remove(found_.lock);
      status = isDone_ ? kGood : kFinding;
    }
    return Ended(status);
  }

  int Recover() {
    const bool isComplete = IsComplete(file_);
    report_["complete"] = isComplete;
    Line(Shown(file_) + (isComplete ? ": complete" : ": damaged"));
    if (found_.lock.empty() && found_.temporary.empty()) {
      Line("nothing was left by a crash");
      return Ended(isComplete ? kGood : kFinding);
    }
    for (const Temporary& temporary : found_.temporary) {
      Line(TextOf(temporary));
    }
    if (IsRefused()) {
      return Ended(kFinding);
    }
    const bool isGood = CopyLastSaveOver() || isComplete || CopyWholeOver();
    if (!isComplete) {
      Line("A program that saves by saveChangesAtomically() does not damage its file.");
    }
    for (const Temporary& temporary : found_.temporary) {
      Remove(temporary.path);
    }
    if (!found_.lock.empty()) {
      Remove(found_.lock);
    }
    return Ended(isDone_ && isGood ? kGood : kFinding);
  }

 private:
  void Line(const std::string& line) {
    if (!asJson_) {
      console_.out << line << '\n';
    }
  }

  // A line of what is done, or would be.
  void Step(const std::string& what, const fs::path& path) {
    report_["done"] = isDone_;
    Line((isDone_ ? "" : "would be ") + what + ": " + Shown(path.string()));
  }

  // Whether nothing can be done because somebody is at work with the file.
  bool IsRefused() {
    if (!IsInUse(file_)) {
      return false;
    }
    report_["in use"] = true;
    std::string users;
    for (const utl_Process& user : utl_findWriters(file_)) {
      report_["users"].push_back(JsonOf(user));
      users += (users.empty() ? "" : ", ") + TextOf(user);
    }
    Line(Shown(file_) + ": in use by " +
         (users.empty() ? "a program; the system does not tell which" : users) +
         ". Nothing was done.");
    return true;
  }

  void Remove(const fs::path& path) {
    if (isDone_) {
      fs::remove(path);
    }
    Step("removed", path);
    report_["removed"].push_back(path.string());
  }

  // Copies what the process was saving over the file, though that may look complete:
  // after a loss of power it can be a mixture of both. False when the newest temporary
  // file is not complete, or may be older than what is in the file.
  bool CopyLastSaveOver() {
    if (found_.lock.empty() || found_.temporary.empty()) {
      return false;
    }
    const fs::path& newest = found_.temporary.front().path;
    if (fs::last_write_time(newest) < fs::last_write_time(found_.lock) ||
        !IsComplete(newest.string())) {
      return false;
    }
    Copy(newest);
    return true;
  }

  // Copies a whole temporary file over the damaged file; false when there is none.
  bool CopyWholeOver() {
    const auto whole = std::ranges::find_if(found_.temporary, &Temporary::isWhole);
    if (whole == found_.temporary.end()) {
      Line("no whole temporary file: it was damaged before. See kst_sections salvage.");
      return false;
    }
    Copy(whole->path);
    return true;
  }

  void Copy(const fs::path& temporary) {
    if (isDone_) {
      CopyOver(utl_fromNativePath(temporary), file_, console_);
    }
    Step("copied over it", temporary);
    report_["copied"] = temporary.string();
  }

  int Ended(int status) {
    if (asJson_) {
      console_.out << JsonText(report_);
    }
    return status;
  }

  const std::string file_;
  const bool isDone_;
  const bool asJson_;
  const Console& console_;
  const LeftOver found_;
  Json report_;
};

}  // namespace

int UnlockFile(const RepairOptions& options, const Console& console) {
  return Repair(options, console).Unlock();
}

int RecoverFile(const RepairOptions& options, const Console& console) {
  return Repair(options, console).Recover();
}
