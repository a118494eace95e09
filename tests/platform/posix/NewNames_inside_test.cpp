// What a new name costs in a large directory, and what the names that are remembered for
// it may not get in the way of.

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "common/failing/posix/FailingSystemCall.h"
#include "platform/PlatformTest.h"

namespace {

constexpr int kMany = 300;  // more than are read for every name
constexpr char kNotices[] = "anon_inode:inotify";

DWORD CreateNew(const std::string& path) {
  return OpenCode(path, GENERIC_WRITE, kShareAll, CREATE_NEW);
}

// Names for one file, which are made sooner than as many files.
void MakeNames(const std::string& file, const std::string& directory, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string name = directory + "/other" + std::to_string(i);
    ASSERT_EQ(link(file.c_str(), name.c_str()), 0);
  }
}

/// Counts how often a directory is opened to be read, from the construction on. Several
/// times in a row count as one.
class WatchedDirectory {
 public:
  explicit WatchedDirectory(const std::string& path) : fd_(inotify_init1(IN_NONBLOCK)) {
    inotify_add_watch(fd_, path.c_str(), IN_OPEN);
  }
  ~WatchedDirectory() { close(fd_); }
  WatchedDirectory(const WatchedDirectory&) = delete;
  WatchedDirectory& operator=(const WatchedDirectory&) = delete;

  int Scans() {
    alignas(inotify_event) std::array<char, 4096> buffer;
    for (ssize_t size; (size = read(fd_, buffer.data(), buffer.size())) > 0;) {
      for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
        at += static_cast<ssize_t>(sizeof *event + event->len);
        // Of the directory itself; its files are opened as well.
        scans_ += (event->mask & IN_ISDIR) != 0 && event->len == 0 ? 1 : 0;
      }
    }
    return scans_;
  }

 private:
  int fd_;
  int scans_ = 0;
};

// The descriptor of this process by which the layer is told of changes, or -1.
int NoticesOfTheLayer() {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) == kNotices) {
      return std::stoi(entry.path().filename().string());
    }
  }
  return -1;
}

class NewNamesTest : public PlatformTest {
 protected:
  NewNamesTest() { MakeNames(Name("a"), dir_.Path(), kMany); }
};

}  // namespace

TEST_F(NewNamesTest, DirectoryIsReadOnceForAnyNumberOfThem) {
  WatchedDirectory watched(dir_.Path());
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(CreateNew(Name("new" + std::to_string(i))), 0u);
    watched.Scans();
  }
  EXPECT_EQ(watched.Scans(), 1);
}

TEST_F(NewNamesTest, WhatIsMissingIsToldWithoutReading) {
  EXPECT_EQ(OpenCode(Name("missing")), DWORD{ERROR_FILE_NOT_FOUND});
  WatchedDirectory watched(dir_.Path());
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(OpenCode(Name("missing" + std::to_string(i))), DWORD{ERROR_FILE_NOT_FOUND});
  }
  EXPECT_EQ(watched.Scans(), 0);
}

TEST_F(NewNamesTest, OthersChangesAreLearntWithoutReading) {
  EXPECT_EQ(CreateNew(Name("first")), 0u);
  WatchedDirectory watched(dir_.Path());
  for (int i = 0; i < 100; ++i) {
    const std::string theirs = "theirs" + std::to_string(i);
    WriteWholeFile(Name(theirs), "");
    std::filesystem::remove(Name(theirs));
    EXPECT_EQ(CreateNew(Name(theirs)), 0u);
    watched.Scans();
  }
  EXPECT_EQ(watched.Scans(), 0);
}

TEST_F(NewNamesTest, SmallDirectoryIsReadForEach) {
  WatchedDirectory watched(Name("d"));
  EXPECT_EQ(CreateNew(Name("d/new")), 0u);
  EXPECT_EQ(watched.Scans(), 1);
  EXPECT_EQ(CreateNew(Name("d/new2")), 0u);
  EXPECT_EQ(watched.Scans(), 2);
}

// The system keeps some 16,000 notices and drops the rest.
TEST_F(NewNamesTest, MoreChangesThanTheSystemTellsOf) {
  EXPECT_EQ(CreateNew(Name("first")), 0u);
  for (int i = 0; i < 20'000; ++i) {
    ASSERT_EQ(link(Name("a").c_str(), Name("x").c_str()), 0);
    ASSERT_EQ(unlink(Name("x").c_str()), 0);
  }
  WriteWholeFile(Name("LATEST"), "");
  EXPECT_EQ(CreateNew(Name("latest")), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(CreateNew(Name("newest")), 0u);
}

TEST_F(NewNamesTest, MoreDirectoriesThanAreRemembered) {
  constexpr int kDirectories = 18;
  for (int i = 0; i < kDirectories; ++i) {
    const std::string directory = Name("sub" + std::to_string(i));
    std::filesystem::create_directory(directory);
    MakeNames(Name("a"), directory, kMany);
    EXPECT_EQ(CreateNew(directory + "/new"), 0u);
  }
  for (int i = 0; i < kDirectories; ++i) {
    const std::string directory = Name("sub" + std::to_string(i));
    WriteWholeFile(directory + "/THEIRS", "");
    EXPECT_EQ(CreateNew(directory + "/theirs"), DWORD{ERROR_FILE_EXISTS}) << i;
    EXPECT_EQ(CreateNew(directory + "/new2"), 0u) << i;
  }
}

TEST_F(NewNamesTest, ChildThatGoesOnTakesNothingFromItsParent) {
  EXPECT_EQ(CreateNew(Name("first")), 0u);
  const pid_t child = fork();
  if (child == 0) {
    WriteWholeFile(Name("OfChild"), "");
    const bool isRight = CreateNew(Name("ofchild")) == ERROR_FILE_EXISTS &&
                         CreateNew(Name("childs")) == 0 &&
                         CreateNew(Name("CHILDS")) == ERROR_FILE_EXISTS;
    _exit(isRight ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(CreateNew(Name("OFCHILD")), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(CreateNew(Name("Childs")), DWORD{ERROR_FILE_EXISTS});
}

TEST_F(NewNamesTest, DescriptorThatTheProgramHasClosed) {
  EXPECT_EQ(CreateNew(Name("first")), 0u);
  const int notices = NoticesOfTheLayer();
  ASSERT_GE(notices, 0);
  std::array<int, 2> ends = {};
  ASSERT_EQ(pipe(ends.data()), 0);
  ASSERT_EQ(dup2(ends[0], notices), notices);
  ASSERT_EQ(fcntl(notices, F_SETFL, O_NONBLOCK), 0);
  ASSERT_EQ(write(ends[1], "kept", 4), 4);
  WriteWholeFile(Name("THEIRS"), "");
  EXPECT_EQ(CreateNew(Name("theirs")), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(CreateNew(Name("new")), 0u);
  std::array<char, 5> kept = {};
  EXPECT_EQ(read(notices, kept.data(), 4), 4) << "it is the program's";
  EXPECT_STREQ(kept.data(), "kept");
  for (const int fd : {ends[0], ends[1], notices}) {
    close(fd);
  }
}

// Files that the layer opens meanwhile have lower numbers.
TEST_F(NewNamesTest, DescriptorThatTheProgramHasClosedAndNobodyUses) {
  close(NoticesOfTheLayer());
  std::array<int, 8> lower = {};
  for (int& fd : lower) {
    fd = dup(STDOUT_FILENO);
  }
  EXPECT_EQ(CreateNew(Name("first")), 0u);
  ASSERT_EQ(close(NoticesOfTheLayer()), 0);
  for (const int fd : lower) {
    ASSERT_EQ(close(fd), 0);
  }
  WriteWholeFile(Name("THEIRS"), "");
  EXPECT_EQ(CreateNew(Name("theirs")), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(CreateNew(Name("new")), 0u);
}

TEST_F(NewNamesTest, WhatCannotBeRememberedIsReadForEach) {
  for (const auto& [call, nth] : {std::pair{PosixCall::kOpenDirectory, 2},
                                  {PosixCall::kSystemOfFile, 1},
                                  {PosixCall::kMakeNotices, 1},
                                  {PosixCall::kWatch, 1}}) {
    const std::string number = std::to_string(static_cast<int>(call));
    SCOPED_TRACE(number);
    close(NoticesOfTheLayer());  // if there are any, it has to begin anew
    {
      const FailingSystemCall failing(call, EMFILE, nth);
      EXPECT_EQ(CreateNew(Name("new" + number)), 0u);
      EXPECT_TRUE(failing.Happened());
    }
    WriteWholeFile(Name("THEIRS" + number), "");
    EXPECT_EQ(CreateNew(Name("theirs" + number)), DWORD{ERROR_FILE_EXISTS});
  }
}

TEST_F(NewNamesTest, ChildOfAProcessThatIsNotToldOfChanges) {
  close(NoticesOfTheLayer());
  {
    const FailingSystemCall notices(PosixCall::kMakeNotices, EMFILE);
    EXPECT_EQ(CreateNew(Name("first")), 0u);
    EXPECT_TRUE(notices.Happened());
  }
  const pid_t child = fork();
  if (child == 0) {
    _exit(CreateNew(Name("FIRST")) == ERROR_FILE_EXISTS ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}
