// A loss of power at any moment of a save, by a model of a disk. What a save asks of the
// disk is recorded; the disk may have carried out any part of it that no flush has
// ordered yet. A write is torn into sectors; a file may have its new size without the
// bytes, a name before the bytes of its file, and a renaming may have made the new name
// and not yet removed the old one. Windows lets nobody see how it orders its writing, so
// this is for POSIX alone.

#include <windows.h>

#include <algorithm>
#include <functional>
#include <random>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/failing/FailingCall.h"
#include "common/failing/posix/RecordedDisk.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

using Kind = DiskRequest::Kind;

constexpr std::int64_t kSector = 512;
constexpr std::size_t kMostForAllSubsets = 12;  // requests
constexpr int kSubsets = 1000;                  // of more requests

/// The requests, each of which is carried out whole or not at all.
std::vector<DiskRequest> Torn(const DiskRequest& request) {
  if (request.kind != Kind::kWrite) {
    return {request};
  }
  const auto end = request.offset + static_cast<std::int64_t>(request.bytes.size());
  std::vector<DiskRequest> pieces = {{Kind::kGrow, request.file, end, {}, {}}};
  for (std::int64_t from = request.offset; from < end;) {
    const std::int64_t to = std::min(end, (from / kSector + 1) * kSector);
    pieces.push_back(
        {Kind::kWrite,
         request.file,
         from,
         request.bytes.substr(static_cast<std::size_t>(from - request.offset),
                              static_cast<std::size_t>(to - from)),
         {}});
    from = to;
  }
  return pieces;
}

bool IsFlush(const DiskRequest& request) {
  return request.kind == Kind::kFlush || request.kind == Kind::kFlushNames;
}

bool IsFlushedBy(const DiskRequest& request, const DiskRequest& flush) {
  const bool isName = request.kind == Kind::kSetName || request.kind == Kind::kRemoveName;
  return isName ? flush.kind == Kind::kFlushNames
                : flush.kind == Kind::kFlush && flush.file == request.file;
}

// Calls `visit` with disks on which the power may have left what was asked of it.
void VisitDisks(const DiskImage& before, const std::vector<DiskRequest>& asked,
                std::mt19937& random,
                const std::function<void(const DiskImage&)>& visit) {
  std::vector<DiskRequest> pieces;
  std::vector<bool> isSure;
  for (const DiskRequest& request : asked) {
    for (std::size_t i = 0; IsFlush(request) && i < pieces.size(); ++i) {
      isSure[i] = isSure[i] || IsFlushedBy(pieces[i], request);
    }
    for (const DiskRequest& piece : Torn(request)) {
      pieces.push_back(piece);
      isSure.push_back(IsFlush(piece));
    }
  }
  const auto open =
      static_cast<std::size_t>(std::count(isSure.begin(), isSure.end(), false));
  const auto visitSubset = [&](const std::function<bool(std::size_t)>& isDone) {
    DiskImage disk = before;
    std::size_t number = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      if (isSure[i] || isDone(number++)) {
        disk.Do(pieces[i]);
      }
    }
    visit(disk);
  };
  if (open <= kMostForAllSubsets) {
    for (unsigned subset = 0; subset < 1U << open; ++subset) {
      visitSubset([&](std::size_t i) { return (subset >> i & 1U) != 0; });
    }
    return;
  }
  for (std::size_t one = 0; one < open; ++one) {
    visitSubset([&](std::size_t i) { return i == one; });
    visitSubset([&](std::size_t i) { return i != one; });
  }
  for (int subset = 0; subset < kSubsets; ++subset) {
    const auto likelihood = random() % 100;
    visitSubset([&](std::size_t) { return random() % 100 < likelihood; });
  }
}

/// The file before and after a save of which the requests from `begin` to `end` are.
struct RecordedSave {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string before;  // "" for a file that is being made
  std::string after;
};

class MultisectionPowerTest : public MultisectionTest,
                              public testing::WithParamInterface<Save> {
 protected:
  // Saves the sections, and says of the save what was asked of the disk.
  RecordedSave SaveRecorded(utl_MultisectionFile& file, const RecordedDisk& disk,
                            const Image& sections) const {
    RecordedSave save;
    save.before = ReadWholeFile(file_);
    for (const ImageSection& section : sections) {
      Set(file, section.name, section.data);
    }
    save.begin = disk.Requests().size();
    (file.*GetParam())();
    save.end = disk.Requests().size();
    save.after = ReadWholeFile(file_);
    return save;
  }

  // Whether a loss of power is survived on this disk, of which `asked` was asked.
  bool IsSurvived(const DiskImage& disk, std::size_t asked,
                  const RecordedSave& save) const {
    const auto contents = disk.Contents();
    const auto found = contents.find("model.dat");
    const std::string bytes = found == contents.end() ? "" : found->second;
    if (asked >= save.end) {
      return bytes == save.after;
    }
    const auto copy = contents.find(temporary_);
    return bytes == save.before || bytes == save.after ||
           (GetParam() == kSaves[0] && asked > save.begin && copy != contents.end() &&
            copy->second == save.after);
  }

  // The number of disks that lose the file, of those after each number of requests.
  int Misses(const DiskImage& before, const std::vector<DiskRequest>& requests,
             const RecordedSave& save) {
    int misses = 0;
    for (std::size_t asked = save.begin; asked <= requests.size(); ++asked) {
      const auto end = requests.begin() + static_cast<std::ptrdiff_t>(asked);
      VisitDisks(before, {requests.begin(), end}, random_, [&](const DiskImage& disk) {
        misses += IsSurvived(disk, asked, save) ? 0 : 1;
      });
    }
    return misses;
  }

  // That the model has noticed everything: with all requests carried out it is the disk.
  void ExpectComplete(const RecordedDisk& disk) const {
    DiskImage all = disk.Before();
    for (const DiskRequest& request : disk.Requests()) {
      for (const DiskRequest& piece : Torn(request)) {
        all.Do(piece);
      }
    }
    std::map<std::string, std::string> there;
    for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
      there[entry.path().filename().string()] = ReadWholeFile(entry.path().string());
    }
    EXPECT_TRUE(all.Contents() == there);
  }

  std::mt19937 random_{2611};
  const std::string temporary_ =
      "model.dat." + std::to_string(GetCurrentProcessId()) + ".tmp";
};

INSTANTIATE_TEST_SUITE_P(BothSaves, MultisectionPowerTest, testing::ValuesIn(kSaves),
                         [](const auto& save) {
                           return save.param == kSaves[0] ? "Ordinary" : "Atomic";
                         });

// Some sections; the files have up to some dozens of sectors.
Image RandomSections(std::mt19937& random, unsigned most) {
  Image sections;
  for (unsigned i = 0; i < 1 + random() % most; ++i) {
    std::string name = "s" + std::to_string(i);
    name.resize(random() % 8 == 0 ? 300 : name.size(), '_');
    const std::size_t size = random() % (random() % 3 == 0 ? 6000 : 40);
    sections.push_back({name, std::string(size, static_cast<char>('a' + random() % 26))});
  }
  return sections;
}

TEST_P(MultisectionPowerTest, LossDuringASaveLosesNothing) {
  for (int shape = 0; shape < 50; ++shape) {
    SCOPED_TRACE("shape " + std::to_string(shape));
    WriteImage(RandomSections(random_, 4));
    const RecordedDisk disk(dir_.Path());
    RecordedSave save;
    {
      utl_MultisectionFile file(path_, utl_FileAccessUpdate);
      save = SaveRecorded(file, disk, RandomSections(random_, 5));
    }
    ExpectComplete(disk);
    EXPECT_EQ(Misses(disk.Before(), disk.Requests(), save), 0);
  }
}

// A file that is being made is empty, or not there at all, until the first save is done.
TEST_P(MultisectionPowerTest, FileThatWasMadeIsThereAfterItsFirstSave) {
  const RecordedDisk disk(dir_.Path());
  RecordedSave save;
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    save = SaveRecorded(file, disk, {{"a", std::string(700, '1')}, {"b", "2"}});
  }
  ExpectComplete(disk);
  EXPECT_EQ(Misses(disk.Before(), disk.Requests(), save), 0);
}

TEST_P(MultisectionPowerTest, LossDuringASecondSaveLosesNothing) {
  WriteImage({{"a", "1"}, {"b", std::string(600, '2')}});
  const RecordedDisk disk(dir_.Path());
  RecordedSave save;
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    SaveRecorded(file, disk, {{"b", "3"}});
    save = SaveRecorded(file, disk, {{"a", "4"}, {"c", std::string(600, '5')}});
  }
  ExpectComplete(disk);
  EXPECT_EQ(Misses(disk.Before(), disk.Requests(), save), 0);
}

// One that a dead process of the same number has left is not taken for this save's.
TEST_P(MultisectionPowerTest, TemporaryFileThatWasLeftIsNotTakenForTheNewOne) {
  WriteImage({{"a", std::string(600, '1')}});
  WriteWholeFile(dir_.File(temporary_), BuildImage({{"a", "another file's"}}));
  const RecordedDisk disk(dir_.Path());
  RecordedSave save;
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    save = SaveRecorded(file, disk, {{"a", std::string(600, '2')}});
  }
  ExpectComplete(disk);
  EXPECT_EQ(Misses(disk.Before(), disk.Requests(), save), 0);
}

// The directory has a sector for each of two sections, one of which the disk has with its
// data, the other not: every section has its checksum. Only the temporary file tells,
// which is then there.
TEST_P(MultisectionPowerTest, MixtureThatLooksCompleteHasTheNewFileBesideIt) {
  const auto image = [](char byte) {
    const std::string sector(kSector, byte);
    const std::string untilNextSector(6, ' ');
    return Image{{std::string(470, 'a'), untilNextSector + sector},
                 {std::string(512, 'b'), sector}};
  };
  WriteImage(image('1'));
  const RecordedDisk disk(dir_.Path());
  RecordedSave save;
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    save = SaveRecorded(file, disk, image('2'));
  }
  int mixtures = 0;
  const std::vector<DiskRequest> asked(
      disk.Requests().begin(),
      disk.Requests().begin() + static_cast<std::ptrdiff_t>(save.end) - 2);
  VisitDisks(disk.Before(), asked, random_, [&](const DiskImage& left) {
    auto contents = left.Contents();
    const std::string& found = contents["model.dat"];
    if (found != save.before && found != save.after && ParseImage(found)) {
      ++mixtures;
      EXPECT_TRUE(contents[temporary_] == save.after);
    }
  });
  EXPECT_EQ(mixtures > 0, GetParam() == kSaves[0]);
}

// The model itself: without any one of the flushes of a save, something is lost.
TEST_P(MultisectionPowerTest, EachFlushIsNeeded) {
  WriteImage({{"a", "1"}});
  const RecordedDisk disk(dir_.Path());
  RecordedSave save;
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    save = SaveRecorded(file, disk, {{"a", "new, longer"}});
  }
  int flushes = 0;
  for (std::size_t i = 0; i < disk.Requests().size(); ++i) {
    if (IsFlush(disk.Requests()[i])) {
      ++flushes;
      std::vector<DiskRequest> without = disk.Requests();
      // Something in its place, so that the numbers of the others stay.
      without[i] = {Kind::kGrow, 0, 0, {}, {}};
      EXPECT_GT(Misses(disk.Before(), without, save), 0) << "flush " << flushes;
    }
  }
  EXPECT_EQ(flushes, GetParam() == kSaves[0] ? 3 : 2);
}

using MultisectionNamesTest = MultisectionTest;

// The file is not touched before the temporary file's name is on the disk.
TEST_F(MultisectionNamesTest, DirectoryThatCannotBeFlushedLeavesTheOldFile) {
  const std::string temporary =
      file_ + "." + std::to_string(GetCurrentProcessId()) + ".tmp";
  WriteImage({{"a", "old"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "a", "new, longer");
  const FailingCall failure(SystemCall::kFlushDirectory, ERROR_IO_DEVICE);
  EXPECT_THROW_TEXT(file.saveChanges(), utl_FileExceptionFlush,
                    utl_FileExceptionFlush(ERROR_IO_DEVICE, temporary.c_str(),
                                           "FlushFileBuffers of the directory")
                        .AsString());
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
}

TEST_F(MultisectionNamesTest, DirectoryThatCannotBeFlushedAfterTheRenamingIsTold) {
  WriteImage({{"a", "old"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "a", "new, longer");
  const FailingCall failure(SystemCall::kFlushDirectory, ERROR_IO_DEVICE);
  EXPECT_THROW_TEXT(
      file.saveChangesAtomically(), utl_FileExceptionFlush,
      utl_FileExceptionFlush(ERROR_IO_DEVICE, path_, "MoveFileEx in Replace").AsString());
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new, longer"}}));
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
}

TEST_CHILD(saveWhereNobodyMayList) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  utl_MultisectionFile file(argv[1], utl_FileAccessUpdate);
  file.setSectionData("a", "new", 3);
  file.saveChanges();
  return 0;
}

// Its names cannot be flushed, which is no reason not to save.
TEST_F(MultisectionNamesTest, DirectoryThatMayNotBeReadIsNotFlushed) {
  using std::filesystem::perms;
  WriteImage({{"a", "old"}});
  std::filesystem::permissions(file_, static_cast<perms>(0666));
  std::filesystem::permissions(dir_.Path(), static_cast<perms>(0333));
  EXPECT_EQ(ChildProcess::Start("saveWhereNobodyMayList", {file_}).Wait(), 0);
  std::filesystem::permissions(dir_.Path(), perms::owner_all);
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
  EXPECT_EQ(OtherFiles(), "");
}

}  // namespace
