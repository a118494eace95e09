// Everything that writes, on a disk of its own with little room left: none, a page, a
// part of what is needed, two pages too few, and enough. A process alone has such a disk,
// and only on Linux.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "aio/aio_ofstream.h"
#include "common/child/ChildProcess.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/environment/SmallDisk.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/multisection/MultisectionImage.h"
#include "utl/utl_BinStream.h"
#include "utl/utl_File.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_TempFile.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kDisk = 1 << 20;
constexpr std::int64_t kPage = 4096;
constexpr int kDiskFull = 112;
constexpr int kNoDisk = 2;  // the status of a child that cannot have one

const std::string kText(100'000, 'x');

/// The directory of the disk, in the process that has it.
class SmallDisk {
 public:
  explicit SmallDisk(const std::string& directory) : directory_(directory) {}

  std::string File(const std::string& name) const { return directory_ + "/" + name; }

  std::int64_t Room() const {
    return static_cast<std::int64_t>(fs::space(directory_).available);
  }

  /// Leaves room for so many bytes, in whole pages.
  void Leave(std::int64_t bytes) const {
    fs::remove(File("filler"));
    const std::int64_t rest = Room() - (bytes + kPage - 1) / kPage * kPage;
    WriteWholeFile(File("filler"), std::string(static_cast<std::size_t>(rest), 'f'));
  }

  /// What lies in the directory besides the filler.
  std::string Others() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string others;
    for (const std::string& name : names) {
      others += name == "filler" ? "" : name + " ";
    }
    return others;
  }

 private:
  std::string directory_;
};

/// Where a process that has failed tells so.
void Expect(bool holds, const std::string& what) {
  if (!holds) {
    ChildWriteLine(what);
  }
}

// Lets a writer of `needed` bytes write with each level of room. `write` returns whether
// it had room.
int WriteAtEachLevel(const char* directory, std::int64_t needed,
                     const std::function<bool(const SmallDisk&)>& write) {
  if (!MountSmallDisk(directory, kDisk)) {
    return kNoDisk;
  }
  const SmallDisk disk(directory);
  const std::int64_t levels[] = {
      0, kPage, needed / 4, needed / 2, needed - 2 * kPage, needed + 4 * kPage};
  for (const std::int64_t level : levels) {
    disk.Leave(level);
    const bool hadRoom = write(disk);
    Expect(hadRoom == (level > needed), "wrong outcome at " + std::to_string(level));
    fs::remove(disk.File("filler"));
  }
  return 0;
}

bool IsBeginningOfText(const std::string& bytes) {
  return bytes == kText.substr(0, bytes.size());
}

class FullDiskTest : public testing::Test {
 protected:
  void ExpectWell(const std::string& writer) const {
    ChildProcess child = ChildProcess::Start(writer, {dir_.Path()});
    std::string told;
    for (std::string line = child.ReadLine(); !line.empty(); line = child.ReadLine()) {
      told += line + "\n";
    }
    const int status = child.Wait();
    if (status == kNoDisk) {
      GTEST_SKIP() << "no disk of its own to be had for a process here";
    }
    EXPECT_EQ(told, "");
    EXPECT_EQ(status, 0);
  }

  TempDir dir_;
};

TEST_CHILD(writeFile) {
  return WriteAtEachLevel(
      argv[1], static_cast<std::int64_t>(kText.size()), [](const SmallDisk& disk) {
        const std::string path = disk.File("file");
        bool hadRoom = true;
        try {
          utl_File file(path.c_str(), utl_FileAccessWrite, utl_FileShareDefault);
          for (std::size_t i = 0; i < kText.size(); i += 10'000) {
            file.Write(kText.data() + i, 10'000);
          }
        } catch (const utl_FileExceptionFull&) {
          hadRoom = false;
        } catch (const utl_FileExceptionWrite& full) {
          const utl_FileExceptionWrite expected(kDiskFull, path.c_str(), "WriteFile");
          Expect(full.AsString() == expected.AsString(), full.AsString().c_str());
          hadRoom = false;
        }
        const std::string written = ReadWholeFile(path);
        Expect(IsBeginningOfText(written) && (written == kText) == hadRoom,
               "other bytes");
        fs::remove(path);
        return hadRoom;
      });
}

TEST_F(FullDiskTest, FileHasTheBytesThatHadRoom) {
  ExpectWell("writeFile");
}

TEST_CHILD(extendFile) {
  return WriteAtEachLevel(
      argv[1], static_cast<std::int64_t>(kText.size()), [](const SmallDisk& disk) {
        const std::string path = disk.File("file");
        bool hadRoom = true;
        {
          utl_File file(path.c_str(), utl_FileAccessWrite, utl_FileShareDefault);
          try {
            file.Extend(static_cast<int>(kText.size()));
          } catch (const utl_FileExceptionExtend&) {
            hadRoom = false;
          }
          Expect(
              file.FileSize() == (hadRoom ? static_cast<std::int64_t>(kText.size()) : 0),
              "another size");
        }
        fs::remove(path);
        return hadRoom;
      });
}

TEST_F(FullDiskTest, ExtendLeavesTheSize) {
  ExpectWell("extendFile");
}

TEST_CHILD(writeTempFile) {
  return WriteAtEachLevel(
      argv[1], static_cast<std::int64_t>(kText.size()), [&](const SmallDisk& disk) {
        const ScopedEnvironment scratch("SCRATCH", argv[1]);
        bool hadRoom = true;
        {
          utl_TempFile temporary("scr");
          Expect(static_cast<std::int64_t>(temporary.AvailableSpace()) == disk.Room(),
                 "another room");
          temporary.Create();
          utl_File file(temporary.Name(), utl_FileAccessUpdate, utl_FileShareReadWrite);
          try {
            file.Write(kText.data(), static_cast<int>(kText.size()));
          } catch (const utl_FileExceptionFull&) {
            hadRoom = false;
          } catch (const utl_FileExceptionWrite&) {
            hadRoom = false;
          }
        }
        Expect(disk.Others().empty(), "left over: " + disk.Others());
        return hadRoom;
      });
}

TEST_F(FullDiskTest, TemporaryFileIsMadeAndRemoved) {
  ExpectWell("writeTempFile");
}

// The file takes four pages before and 25 afterwards; a save needs room for a whole new
// file, the ordinary one for what the file grows by, too. Neither damages it.
int Save(const char* directory, void (utl_MultisectionFile::*save)(),
         std::int64_t needed) {
  return WriteAtEachLevel(directory, needed, [&](const SmallDisk& disk) {
    const std::string path = disk.File("model.dat");
    const std::string before = BuildImage({{"a", kText.substr(0, 16'000)}, {"b", "2"}});
    const std::string after = BuildImage({{"a", kText}, {"b", "2"}});
    // In the place of as many pages of the filler, so that the room stays.
    const std::int64_t room = disk.Room();
    fs::resize_file(disk.File("filler"), fs::file_size(disk.File("filler")) - 16 * kPage);
    WriteWholeFile(path, before);
    disk.Leave(room);
    bool hadRoom = true;
    const auto saveNew = [&](void (utl_MultisectionFile::*way)()) {
      utl_MultisectionFile file(path.c_str(), utl_FileAccessUpdate);
      file.setSectionData("a", kText.data(), static_cast<int>(kText.size()));
      (file.*way)();
    };
    try {
      saveNew(save);
    } catch (const nex_TextException&) {
      hadRoom = false;
    }
    Expect(ReadWholeFile(path) == (hadRoom ? after : before), "a damaged file");
    Expect(disk.Others() == "model.dat ", "left over: " + disk.Others());
    fs::remove(disk.File("filler"));
    saveNew(&utl_MultisectionFile::saveChangesAtomically);
    Expect(ReadWholeFile(path) == after, "cannot be saved any more");
    Expect(disk.Others() == "model.dat ", "left over: " + disk.Others());
    fs::remove(path);
    return hadRoom;
  });
}

constexpr std::int64_t kPagesOfText = 25;

TEST_CHILD(saveAtomically) {
  return Save(argv[1], &utl_MultisectionFile::saveChangesAtomically,
              kPagesOfText * kPage);
}

TEST_CHILD(saveOrdinarily) {
  return Save(argv[1], &utl_MultisectionFile::saveChanges,
              (2 * kPagesOfText - 4) * kPage);
}

TEST_F(FullDiskTest, AtomicSaveLeavesTheOldOrTheNewFile) {
  ExpectWell("saveAtomically");
}

// The blocks that the file grows by are taken before it is written to.
TEST_F(FullDiskTest, OrdinarySaveLeavesTheOldOrTheNewFile) {
  ExpectWell("saveOrdinarily");
}

TEST_CHILD(writeBinStream) {
  return WriteAtEachLevel(
      argv[1], static_cast<std::int64_t>(kText.size()), [](const SmallDisk& disk) {
        const std::string path = disk.File("stream");
        const int fd =
            _open(path.c_str(), _O_RDWR | _O_CREAT | _O_BINARY, _S_IREAD | _S_IWRITE);
        bool hadRoom = true;
        try {
          utl_BinOStream(fd, omi_Swapper::kLittleEndian)
              .Write(kText.data(), static_cast<int>(kText.size()));
        } catch (const utl_BinStreamWriteError& full) {
          Expect(full.AsString() == atr_String("No space left on device"),
                 full.AsString().c_str());
          hadRoom = false;
        }
        _close(fd);
        const std::string written = ReadWholeFile(path);
        Expect(IsBeginningOfText(written) && (written == kText) == hadRoom,
               "other bytes");
        fs::remove(path);
        return hadRoom;
      });
}

TEST_F(FullDiskTest, BinaryStreamTellsOfIt) {
  ExpectWell("writeBinStream");
}

// It holds bytes back, and says at its end whether all were written.
TEST_CHILD(writeTextFile) {
  return WriteAtEachLevel(
      argv[1], static_cast<std::int64_t>(kText.size()), [](const SmallDisk& disk) {
        const std::string path = disk.File("text");
        aio_ofstream file(path);
        for (std::size_t i = 0; i < kText.size(); i += 100) {
          file.write(kText.data() + i, 100);
        }
        file.close();
        const bool hadRoom = file.good();
        const std::string written = ReadWholeFile(path);
        Expect(IsBeginningOfText(written) && (written == kText) == hadRoom,
               "other bytes");
        fs::remove(path);
        return hadRoom;
      });
}

TEST_F(FullDiskTest, TextStreamTellsOfIt) {
  ExpectWell("writeTextFile");
}

constexpr int kMarks = 700;

// Logs lose in silence what has no room; the beginning of each log is there. `write`
// writes so many, and their lengths can differ a little each time.
int WriteLogs(const char* directory, std::size_t count,
              const std::function<void()>& write) {
  struct Logs {
    std::map<std::string, std::ptrdiff_t> lines;  // of each file
    std::map<std::string, std::int64_t> sizes;
    std::int64_t room = 0;
  };
  const auto written = [&](const SmallDisk& disk) {
    const CurrentDirectory current(directory);
    write();
    Logs logs;
    logs.room = disk.Room();
    for (const auto& entry : fs::directory_iterator(directory)) {
      if (entry.path().filename() != "filler") {
        const std::string log = ReadWholeFile(entry.path().string());
        const std::string name = entry.path().filename().string();
        logs.lines[name] = std::count(log.begin(), log.end(), '\n');
        logs.sizes[name] = static_cast<std::int64_t>(log.size());
        fs::remove(entry.path());
      }
    }
    return logs;
  };
  const Logs whole = written(SmallDisk(directory));
  Expect(whole.lines.size() == count, "other files");
  std::int64_t needed = 0;
  for (const auto& [name, size] : whole.sizes) {
    needed += (size + kPage - 1) / kPage * kPage;
  }
  return WriteAtEachLevel(directory, needed, [&](const SmallDisk& disk) {
    const Logs logs = written(disk);
    const bool isWhole = logs.lines == whole.lines;
    Expect(isWhole || logs.room == 0, "room is left");
    for (const auto& [name, lines] : logs.lines) {
      const bool hasItsLines = lines == whole.lines.at(name);
      Expect(hasItsLines || logs.sizes.at(name) % kPage == 0, "room is left in " + name);
    }
    return isWhole;
  });
}

TEST_CHILD(writeResourceLog) {
  const ScopedEnvironment on("KES_RESOURCE_MONITOR", "ON");
  return WriteLogs(argv[1], 1, [] {
    auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
    monitor.Initialize("beam");
    for (int i = 0; i < kMarks; ++i) {
      monitor.Mark("mark");
    }
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  });
}

TEST_F(FullDiskTest, ResourceLogLosesWhatHasNoRoom) {
  ExpectWell("writeResourceLog");
}

// Totals, increments, the summary and a tracked file's own output.
TEST_CHILD(writeTrackerFiles) {
  const ScopedEnvironment on("KES_IO_TRACK", "2");
  const ScopedEnvironment individual("KES_IO_INDIVIDUAL", "1");
  return WriteLogs(argv[1], 4, [] {
    using Holder = thr_GlobalSingleton<utl_IOTracker_Container>;
    testing::internal::CaptureStdout();  // tells of the own output
    utl_IOTracker& tracker = *Holder::Instance().Tracker();
    tracker.COpen(1, "model.dat");
    for (int i = 0; i < kMarks; ++i) {
      tracker.CWrite(1, 1 << 20, 0.5);
      tracker.Mark("mark");
    }
    Holder::Destroy();
    testing::internal::GetCapturedStdout();
  });
}

TEST_F(FullDiskTest, TrackerLosesWhatHasNoRoom) {
  ExpectWell("writeTrackerFiles");
}

}  // namespace
