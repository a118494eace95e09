// Many processes on one file, and processes that die while they save.

#include <windows.h>

#include <chrono>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>

#include "common/child/ChildProcess.h"
#include "common/environment/Rounds.h"
#include "platform/platform.h"
#include "utl/multisection/MultisectionTest.h"
#include "utl/utl_File.h"

namespace {

using MultisectionProcessTest = MultisectionTest;

constexpr int kProcesses = 32;
constexpr int kReaders = 8;

constexpr char kAtomically[] = "atomically";

Save SaveOf(const std::string& name) {
  return name == kAtomically ? &utl_MultisectionFile::saveChangesAtomically
                             : &utl_MultisectionFile::saveChanges;
}

// Adds 1 to the number in the section "counter". False when another process was at it:
// it has the file open, or has closed it but not yet removed its lock; or, where nobody
// replaces a file that others have open, a reader.
bool TryToCount(const cow_String& path, Save save) {
  const atr_String inUse =
      utl_FileExceptionOpen(32, path, "CreateFile in OpenUpdate").AsString();
  const atr_String locked = "\"" + path + "\": Cannot create the lock file.";
  try {
    utl_MultisectionFile file(path, utl_FileAccessUpdate);
    std::string digits(static_cast<std::size_t>(file.getSectionLength("counter")), '?');
    file.getSectionData("counter", digits.data());
    digits = std::to_string(std::stoi(digits) + 1);
    file.setSectionData("counter", digits.data(), static_cast<int>(digits.size()));
    (file.*save)();
    return true;
  } catch (const utl_FileExceptionOpen& refusal) {
    if (refusal.AsString() == inUse) {
      return false;
    }
    throw;
  } catch (const utl_FileExceptionWrite&) {
    if (!platform::OpenFilesCanBeReplaced()) {
      return false;
    }
    throw;
  } catch (const nex_TextException& refusal) {
    if (refusal.AsString() == locked) {
      return false;
    }
    throw;
  }
}

constexpr char kDone[] = "done";

// A child's work: tells the parent what it gives, or what ended it. The exit status.
template <class Work>
int TellOf(const Work& work) {
  std::string told;
  try {
    told = work();
  } catch (const nex_TextException& error) {
    told = error.AsString().c_str();
  }
  ChildWriteLine(told);
  return told == kDone ? 0 : 1;
}

TEST_CHILD(countInMultisectionFile) {
  ChildWriteLine("ready");
  ChildReadLine();
  return TellOf([argv]() -> std::string {
    for (int i = std::stoi(argv[3]); i > 0; --i) {
      while (!TryToCount(argv[1], SaveOf(argv[2]))) {
        Sleep(1);
      }
    }
    return kDone;
  });
}

// The number in the section "counter"; `last` when the file cannot be read, which it may
// not be while it is saved by the ordinary way, or where open files are not replaced.
int NumberRead(const cow_String& path, bool mayBeRefused, int last) {
  try {
    utl_MultisectionFile file(path, utl_FileAccessRead);
    std::string digits(static_cast<std::size_t>(file.getSectionLength("counter")), '?');
    file.getSectionData("counter", digits.data());
    return std::stoi(digits);
  } catch (const nex_TextException&) {
    if (mayBeRefused) {
      return last;
    }
    throw;
  }
}

// Reads until the file argv[3] is there. Counts go up, and are never torn.
TEST_CHILD(readCountsInMultisectionFile) {
  const bool mayBeRefused =
      argv[2] != std::string(kAtomically) || !platform::OpenFilesCanBeReplaced();
  ChildWriteLine("ready");
  return TellOf([argv, mayBeRefused]() -> std::string {
    int last = 0;
    while (!FileExists(argv[3])) {
      const int number = NumberRead(argv[1], mayBeRefused, last);
      if (number < last) {
        return "back to " + std::to_string(number);
      }
      last = number;
      Sleep(1);
    }
    return kDone;
  });
}

void ExpectNoUpdateLost(const std::string& file, const std::string& save, int updates) {
  const TempDir other;
  const std::string end = other.File("end");
  WriteWholeFile(file, BuildImage({{"counter", "0"}}));
  std::vector<ChildProcess> readers;
  for (int i = 0; i < kReaders; ++i) {
    readers.push_back(
        ChildProcess::Start("readCountsInMultisectionFile", {file, save, end}));
    ASSERT_EQ(readers.back().ReadLine(), "ready");
  }
  std::vector<ChildProcess> children;
  for (int i = 0; i < kProcesses; ++i) {
    children.push_back(ChildProcess::Start("countInMultisectionFile",
                                           {file, save, std::to_string(updates)}));
  }
  for (ChildProcess& child : children) {
    ASSERT_EQ(child.ReadLine(), "ready");
  }
  for (ChildProcess& child : children) {
    child.WriteLine("go");
  }
  for (ChildProcess& child : children) {
    EXPECT_EQ(child.ReadLine(), kDone);
    EXPECT_EQ(child.Wait(), 0);
  }
  WriteWholeFile(end, "");
  for (ChildProcess& reader : readers) {
    EXPECT_EQ(reader.ReadLine(), kDone);
    EXPECT_EQ(reader.Wait(), 0);
  }
  EXPECT_EQ(ReadWholeFile(file),
            BuildImage({{"counter", std::to_string(kProcesses * updates)}}));
}

TEST_F(MultisectionProcessTest, NoUpdateOfManyProcessesIsLost) {
  ExpectNoUpdateLost(file_, "", ContentionRounds(20));
  EXPECT_EQ(OtherFiles(), "");
}

TEST_F(MultisectionProcessTest, NoAtomicUpdateOfManyProcessesIsLost) {
  ExpectNoUpdateLost(file_, kAtomically, ContentionRounds(10));
  EXPECT_EQ(OtherFiles(), "");
}

// What the file holds after save number `number`; sizes go up and down.
Image Generation(int number) {
  const auto size = static_cast<std::size_t>(1 + number * 7 % 4) * 600000;
  Image image = {{"number", std::to_string(number)}};
  for (const char* name : {"displacements", "forces", "reactions"}) {
    image.push_back({name, std::string(size, static_cast<char>('a' + number % 26))});
  }
  return image;
}

// Saves one generation after another, saying so before and after each.
TEST_CHILD(saveMultisectionFileAgainAndAgain) {
  utl_MultisectionFile file(argv[1], utl_FileAccessUpdate);
  for (int number = 1; number < 1000; ++number) {
    for (const ImageSection& section : Generation(number)) {
      file.setSectionData(cow_String(std::string_view(section.name)), section.data.data(),
                          static_cast<int>(section.data.size()));
    }
    ChildWriteLine("saving " + std::to_string(number));
    (file.*SaveOf(argv[2]))();
    ChildWriteLine("saved " + std::to_string(number));
  }
  return 0;
}

/// A process killed in or near a save: the generations that may be found.
struct Killed {
  int old = 0;
  int fresh = 0;
};

// Kills at a random time after a save began, or, `atNewSize`, as soon as the file's size
// changes, which is where the copy over it begins, or where it has been replaced.
Killed KillWhileSaving(const std::string& file, const std::string& save,
                       std::mt19937& random, bool atNewSize) {
  ChildProcess child =
      ChildProcess::Start("saveMultisectionFileAgainAndAgain", {file, save});
  const std::string moment = "saving " + std::to_string(1 + random() % 3);
  Killed killed;
  const auto note = [&killed](const std::string& line) {
    const int number = std::stoi(line.substr(line.find(' ')));
    (line.starts_with("saved") ? killed.old : killed.fresh) = number;
  };
  for (std::string line; line != moment;) {
    line = child.ReadLine();
    note(line);
  }
  if (atNewSize) {
    const auto size = std::filesystem::file_size(file);
    while (std::filesystem::file_size(file) == size) {
    }
  } else {
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 12000));
  }
  child.Kill();
  for (std::string line = child.ReadLine(); !line.empty(); line = child.ReadLine()) {
    note(line);
  }
  return killed;
}

// Recovery by the format page, without the library: the temporary file if it is complete,
// else the file if that is, else the temporary file if it is whole; both leftovers go.
// The file's bytes then.
std::string Recover(const std::string& file) {
  namespace fs = std::filesystem;
  fs::path temporary;
  for (const auto& entry : fs::directory_iterator(fs::path(file).parent_path())) {
    if (entry.path().extension() == ".tmp") {
      temporary = entry.path();
    }
  }
  if (!temporary.empty()) {
    const std::string bytes = ReadWholeFile(temporary.string());
    if (ParseImage(bytes) || (IsWholeImage(bytes) && !ParseImage(ReadWholeFile(file)))) {
      WriteWholeFile(file, bytes);
    }
  }
  fs::remove(temporary);
  fs::remove(file + ".lock");
  return ReadWholeFile(file);
}

// A few bytes; the sizes of numbers 0 and 4 are the same.
Image Small(int number) {
  return {{"number", std::to_string(number)},
          {"data", std::string(static_cast<std::size_t>(1 + number * 7 % 4), 'x')}};
}

// Makes the states that a save from `old` to `fresh` goes through, and recovers from
// each.
void ExpectRecoveryFromEveryStage(const std::string& file, const std::string& old,
                                  const std::string& fresh) {
  const std::string temporary = file + ".4711.tmp";
  for (std::size_t written = 0; written < fresh.size(); ++written) {
    WriteWholeFile(file, old);
    WriteWholeFile(temporary, fresh.substr(0, written));
    EXPECT_EQ(Recover(file), old) << written << " written";
  }
  std::string resized = old;
  resized.resize(fresh.size());
  for (std::size_t copied = 0; copied <= fresh.size(); ++copied) {
    const std::string stage = fresh.substr(0, copied) + resized.substr(copied);
    WriteWholeFile(file, stage);
    WriteWholeFile(temporary, fresh);
    EXPECT_EQ(Recover(file), fresh) << copied << " copied";
  }
}

TEST_F(MultisectionProcessTest, RecoveryFromEveryStageOfASave) {
  for (int number = 1; number <= 4; ++number) {
    SCOPED_TRACE(number);
    ExpectRecoveryFromEveryStage(file_, BuildImage(Small(0)), BuildImage(Small(number)));
  }
  EXPECT_EQ(OtherFiles(), "");
}

// A save carries damage along, so neither file is ever complete.
TEST_F(MultisectionProcessTest, RecoveryOfAFileThatWasDamagedBeforeTheSave) {
  const auto damaged = [](const std::string& data) {
    std::string bytes = BuildImage({{"damaged", "abc"}, {"set", data}});
    bytes[bytes.size() - data.size() - 1] = 'X';
    return bytes;
  };
  for (const char* data : {"new", "longer", ""}) {
    SCOPED_TRACE(data);
    ExpectRecoveryFromEveryStage(file_, damaged("old"), damaged(data));
  }
}

// The same with a negative length.
TEST_F(MultisectionProcessTest, RecoveryOfAFileWithANegativeLength) {
  const std::string entry = ImageInt(1) + "a" + ImageInt(-2) + ImageInt(0);
  ExpectRecoveryFromEveryStage(file_, ImageHeader(1) + entry,
                               ImageHeader(2) + entry + ImageEntry({"b", "22"}) + "22");
}

constexpr int kRounds = 20;

TEST_F(MultisectionProcessTest, KilledSaveLeavesTheOldOrTheNewFileOrACompleteCopy) {
  std::mt19937 random(20);
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    WriteImage(Generation(0));
    const Killed killed = KillWhileSaving(file_, "", random, round % 2 != 0);
    const std::optional<Image> found = ParseImage(Recover(file_));
    ASSERT_TRUE(found == Generation(killed.old) || found == Generation(killed.fresh))
        << (found ? found->front().data : "nothing") << " found, old " << killed.old
        << ", new " << killed.fresh;

    // The library goes on from there.
    EXPECT_EQ(OtherFiles(), "");
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    for (const ImageSection& section : *found) {
      ASSERT_EQ(Get(file, section.name), section.data);
    }
  }
}

// Nothing is recovered here.
TEST_F(MultisectionProcessTest, KilledAtomicSaveLeavesTheOldOrTheNewFile) {
  std::mt19937 random(21);
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    WriteImage(Generation(0));
    const Killed killed = KillWhileSaving(file_, kAtomically, random, round % 2 != 0);
    const std::optional<Image> found = ParseImage(ReadWholeFile(file_));
    ASSERT_TRUE(found == Generation(killed.old) || found == Generation(killed.fresh))
        << (found ? found->front().data : "nothing") << " found, old " << killed.old
        << ", new " << killed.fresh;
    std::filesystem::remove(lock_);
  }
}

// Where nobody replaces a file that others have open, a save has to find a gap between
// the readers, which on a busy machine it may have to look for more than once.
void SaveUntilPossible(utl_MultisectionFile& file) {
  for (;;) {
    try {
      return file.saveChangesAtomically();
    } catch (const utl_FileExceptionWrite&) {
      if (platform::OpenFilesCanBeReplaced()) {
        throw;
      }
    }
  }
}

TEST_CHILD(saveTwentyTimesAtomically) {
  utl_MultisectionFile file(argv[1], utl_FileAccessUpdate);
  for (int number = 1; number <= 20; ++number) {
    for (const ImageSection& section : Generation(number)) {
      file.setSectionData(cow_String(std::string_view(section.name)), section.data.data(),
                          static_cast<int>(section.data.size()));
    }
    SaveUntilPossible(file);
  }
  ChildWriteLine(kDone);
  return 0;
}

// The same for a reader: there the file cannot be opened while it is being replaced.
std::string ReadWhenPossible(const std::string& file) {
  for (;;) {
    try {
      return ReadWholeFile(file);
    } catch (const std::runtime_error&) {
      if (platform::OpenFilesCanBeReplaced()) {
        throw;
      }
    }
  }
}

TEST_F(MultisectionProcessTest, ReadersFindTheOldOrTheNewFileDuringAtomicSaves) {
  WriteImage(Generation(0));
  ChildProcess child = ChildProcess::Start("saveTwentyTimesAtomically", {file_});
  int last = 0;
  do {
    const std::optional<Image> found = ParseImage(ReadWhenPossible(file_));
    ASSERT_TRUE(found.has_value());
    const int number = std::stoi(found->front().data);
    ASSERT_EQ(*found, Generation(number));
    ASSERT_GE(number, last);
    last = number;
    Sleep(1);
  } while (child.IsRunning());
  EXPECT_EQ(child.ReadLine(), kDone);
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(Generation(20)));
  EXPECT_EQ(OtherFiles(), "");
}

}  // namespace
