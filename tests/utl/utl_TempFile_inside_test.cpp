#include "utl/utl_TempFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/expect/ExceptionContract.h"
#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/FakeDiskSpace.h"
#include "utl/TempFileFixture.h"
#include "utl/utl_File.h"

namespace {

class TempFileTest : public TempFileFixture {
 protected:
  bool DirectoryIsEmpty() const { return std::filesystem::is_empty(dir_.Path()); }

  // The name of the file with that letter, without a suffix.
  std::string Expected(char letter) const {
    const std::string digits =
        std::to_string(100000 + GetCurrentProcessId() % 100000).substr(1);
    return Shown("KstTempFile") + letter + digits;
  }

  ScopedEnvironment scratch_{"SCRATCH", dir_.ShownPath().c_str()};
};

std::string OpenText(const std::string& name, int error) {
  return "*** ERROR: Can't create temporary file: " + name +
         ", system error: " + std::strerror(error);
}

// The number that the next descriptor will have.
int NextDescriptor() {
  const int descriptor = _open("Z:\\dev\\null", _O_RDONLY);
  _close(descriptor);
  return descriptor;
}

bool IsOpen(int descriptor) {
  return _get_osfhandle(descriptor) != -1;
}

// Lets nobody else open a file.
class Exclusive {
 public:
  explicit Exclusive(const std::string& path)
      : handle_(CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
                            nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
  }
  ~Exclusive() { CloseHandle(handle_); }
  Exclusive(const Exclusive&) = delete;
  Exclusive& operator=(const Exclusive&) = delete;

 private:
  HANDLE handle_;
};

// Names.

TEST_F(TempFileTest, TheNameIsALetterAndTheProcessNumber) {
  EXPECT_EQ(NameOf(utl_TempFile("")), Expected('a'));
}

TEST_F(TempFileTest, TheSuffixIsSeparatedByOneDot) {
  const struct {
    const char* suffix;
    const char* ending;
  } cases[] = {{"", ""},         {"dat", ".dat"}, {".dat", ".dat"}, {"a.b", ".a.b"},
               {".a.b", ".a.b"}, {"..", ".."},    {".", "."},       {" ", ". "}};
  for (const auto& one : cases) {
    EXPECT_EQ(NameOf(utl_TempFile(one.suffix)), Expected('a') + one.ending)
        << '"' << one.suffix << '"';
  }
}

TEST_F(TempFileTest, TheNameStaysTheSame) {
  utl_TempFile file("dat");
  const cow_String& name = file.Name();
  const std::string first = NameOf(file);
  file.Create();
  file.Close();
  EXPECT_EQ(&file.Name(), &name);
  EXPECT_EQ(NameOf(file), first);
}

TEST_F(TempFileTest, ALetterThatIsInUseIsSkipped) {
  const std::string file = PathOf(utl_TempFile(""));
  WriteWholeFile(file, "");
  const std::string directory = PathOf(utl_TempFile(""));
  std::filesystem::create_directory(directory);
  EXPECT_EQ(NameOf(utl_TempFile("")), Expected('c'));
}

TEST_F(TempFileTest, ThereAre26Names) {
  std::vector<std::unique_ptr<utl_TempFile>> files;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    files.push_back(std::make_unique<utl_TempFile>(""));
    files.back()->Create();
    EXPECT_EQ(NameOf(*files.back()), Expected(letter));
  }
  utl_TempFile last("");
  EXPECT_THROW_TEXT(last.Create(), utl_TempFileCantExc, kCantMakeName);
  EXPECT_THROW_TEXT(last.Name(), utl_TempFileCantExc, kCantMakeName);
  files.erase(files.begin() + 12);
  EXPECT_EQ(NameOf(last), Expected('m')) << "a name has become free";
}

TEST_F(TempFileTest, SuffixesDoNotCountForTheNextName) {
  const utl_TempFile first("dat");
  WriteWholeFile(PathOf(first), "");
  EXPECT_EQ(NameOf(utl_TempFile("dat")), NameOf(first));
}

TEST_F(TempFileTest, FilesWithoutSuffixStandInTheWayOfAllNames) {
  utl_TempFile first("");
  first.Create();
  EXPECT_EQ(NameOf(utl_TempFile("dat")), Expected('b') + ".dat");
}

TEST_F(TempFileTest, TwoObjectsMayGetOneNameAndTheSecondCreateFails) {
  for (const char* suffix : {"", "dat"}) {
    utl_TempFile first(suffix);
    utl_TempFile second(suffix);
    EXPECT_EQ(NameOf(first), NameOf(second));
    first.Create();
    EXPECT_THROW_TEXT(second.Create(), utl_TempFileOpenExc,
                      OpenText(NameOf(first), EEXIST));
  }
}

// Makes a file and keeps it until the parent has looked.
TEST_CHILD(holdTempFile) {
  utl_TempFile file("");
  file.Create();
  ChildWriteLine(file.Name().c_str());
  ChildReadLine();
  return 0;
}

TEST_F(TempFileTest, AKilledProcessLeavesItsFile) {
  ChildProcess child = ChildProcess::Start("holdTempFile");
  const std::string name = child.ReadLine();
  child.Kill();
  EXPECT_TRUE(
      std::filesystem::remove(dir_.File(name.substr(name.find_last_of('\\') + 1))));
}

TEST_F(TempFileTest, ProcessesHaveNamesOfTheirOwn) {
  ChildProcess child = ChildProcess::Start("holdTempFile");
  const std::string name = child.ReadLine();
  EXPECT_NE(name, Expected('a'));
  EXPECT_EQ(name.substr(0, Shown("KstTempFilea").size()), Shown("KstTempFilea"));
  EXPECT_FALSE(DirectoryIsEmpty());
  EXPECT_EQ(NameOf(utl_TempFile("")), Expected('a'));
  child.WriteLine("end");
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, EveryOperationButCloseMakesTheName) {
  const std::function<void(utl_TempFile&)> operations[] = {
      [](utl_TempFile& file) { file.Create(); },
      [](utl_TempFile& file) { file.Open(); },
      [](utl_TempFile& file) { file.OpenIfPresent(); },
      [](utl_TempFile& file) { file.AvailableSpace(); },
      [](utl_TempFile& file) { file.Name(); },
  };
  const ScopedEnvironment none("SCRATCH", nullptr);
  for (const auto& operation : operations) {
    utl_TempFile file("");
    EXPECT_THROW_TEXT(operation(file), utl_TempFileCantExc, kCantMakeName);
  }
  utl_TempFile file("");
  EXPECT_NO_THROW(file.Close());
}

TEST_F(TempFileTest, AFailedNameShowsItsSource) {
  const ScopedEnvironment none("SCRATCH", nullptr);
  EXPECT_THROW_FROM(utl_TempFile("").Name(), utl_TempFileCantExc, kCantMakeName,
                    "utl/impl/utl_TempFile");
}

// The free space.

TEST_F(TempFileTest, TheSpaceIsThatOfTheMomentOfNaming) {
  utl_TempFile file("");
  {
    const FakeDiskSpace disk(1ULL << 40, 1ULL << 41);
    file.Name();
  }
  const FakeDiskSpace later(1000, 2000);
  EXPECT_EQ(file.AvailableSpace(), 1ULL << 40);
}

TEST_F(TempFileTest, TheSpaceStaysWhenTheFileGrows) {
  utl_TempFile file("");
  file.Create();
  file.Close();
  const std::uint64_t space = file.AvailableSpace();
  EXPECT_GT(space, 0);
  utl_File content(file.Name(), utl_FileAccessWrite, utl_FileShareDefault);
  content.Write(std::string(1 << 20, 'x').data(), 1 << 20);
  content.Flush();
  EXPECT_EQ(file.AvailableSpace(), space);
}

// Create, Open, OpenIfPresent, Close.

TEST_F(TempFileTest, CreateMakesAnEmptyWritableFile) {
  utl_TempFile file("dat");
  file.Create();
  EXPECT_EQ(ReadWholeFile(PathOf(file)), "");
  EXPECT_EQ(_access(file.Name().c_str(), 2), 0);
}

TEST_F(TempFileTest, OtherUsersMayNotReadTheFile) {
  utl_TempFile file("");
  file.Create();
  const std::optional<bool> mayRead = OtherUserMayRead(PathOf(file));
  if (!mayRead) {
    GTEST_SKIP() << "no other user than root to be had on this target";
  }
  EXPECT_EQ(mayRead, false);
}

// Nothing is made or opened where a link leads that somebody has put there.
TEST_F(TempFileTest, CreateFollowsNoLink) {
  const TempDir other;
  const std::string victim = other.File("victim");
  WriteWholeFile(victim, "untouched");
  for (const std::string& target : {victim, other.File("nothing")}) {
    utl_TempFile file("dat");
    const std::string name = NameOf(file);
    std::error_code error;
    std::filesystem::create_symlink(target, PathOf(file), error);
    if (error) {
      GTEST_SKIP() << "no links here: " << error.message();
    }
    EXPECT_THROW_TEXT(file.Create(), utl_TempFileOpenExc, OpenText(name, EEXIST));
  }
  EXPECT_EQ(ReadWholeFile(victim), "untouched");
  EXPECT_FALSE(FileExists(other.File("nothing")));
}

// Nothing tells a file that was created and closed from one that was left over.
TEST_F(TempFileTest, AFileThatWasClosedBelongsToNobody) {
  utl_TempFile first("dat");
  first.Create();
  first.Close();
  {
    utl_TempFile second("dat");
    EXPECT_EQ(NameOf(second), NameOf(first));
    EXPECT_THROW_TEXT(second.Create(), utl_TempFileOpenExc,
                      OpenText(NameOf(first), EEXIST));
    EXPECT_TRUE(second.OpenIfPresent());
  }
  EXPECT_FALSE(FileExists(PathOf(first))) << "the second has taken it away";
  EXPECT_NO_THROW(first.Create());
}

TEST_F(TempFileTest, AFileThatIsHeldOpenCanBeUsedAndNotTakenAway) {
  utl_TempFile file("dat");
  file.Create();
  {
    utl_TempFile other("dat");
    EXPECT_EQ(NameOf(other), NameOf(file));
    utl_File content(file.Name(), utl_FileAccessUpdate, utl_FileShareReadWrite);
    EXPECT_EQ(content.Write("x", 1), 1);
  }
  EXPECT_EQ(ReadWholeFile(PathOf(file)), "x");
}

TEST_F(TempFileTest, TheDescriptorReadsAndWritesInTextMode) {
  const int descriptor = NextDescriptor();
  const auto expectAll = [&] {
    EXPECT_EQ(_write(descriptor, "x", 1), 1);
    EXPECT_EQ(_lseeki64(descriptor, 0, SEEK_SET), 0);
    char byte = 0;
    EXPECT_EQ(_read(descriptor, &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(_setmode(descriptor, _O_BINARY), _O_TEXT);
  };
  utl_TempFile file("");
  file.Create();
  expectAll();
  file.Close();
  file.Open();
  expectAll();
}

TEST_F(TempFileTest, CreateTwiceFailsAndTheFirstDescriptorStays) {
  const int descriptor = NextDescriptor();
  utl_TempFile file("");
  file.Create();
  ASSERT_TRUE(IsOpen(descriptor));
  EXPECT_THROW_TEXT(file.Create(), utl_TempFileOpenExc, OpenText(NameOf(file), EEXIST));
  EXPECT_TRUE(IsOpen(descriptor));
  file.Close();
  EXPECT_FALSE(IsOpen(descriptor));
  EXPECT_TRUE(FileExists(PathOf(file)));
}

TEST_F(TempFileTest, CreateFailsWhereTheDirectoryHasGone) {
  std::filesystem::create_directory(dir_.File("sub"));
  const ScopedEnvironment scratch("SCRATCH", Shown("sub").c_str());
  utl_TempFile file("");
  file.Name();
  std::filesystem::remove(dir_.File("sub"));
  EXPECT_THROW_TEXT(file.Create(), utl_TempFileOpenExc, OpenText(NameOf(file), ENOENT));
  EXPECT_FALSE(file.OpenIfPresent());
}

TEST_F(TempFileTest, OpenBeforeCreate) {
  utl_TempFile file("");
  EXPECT_FALSE(file.OpenIfPresent());
  EXPECT_THROW_TEXT(file.Open(), utl_TempFileOpenExc, OpenText(NameOf(file), ENOENT));
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, OpenIsOfTheExistingFile) {
  const int descriptor = NextDescriptor();
  utl_TempFile file("");
  WriteWholeFile(PathOf(file), "content");
  file.Open();
  EXPECT_TRUE(IsOpen(descriptor));
  file.Close();
  EXPECT_FALSE(IsOpen(descriptor));
  EXPECT_TRUE(file.OpenIfPresent());
  EXPECT_TRUE(IsOpen(descriptor));
  EXPECT_EQ(ReadWholeFile(PathOf(file)), "content");
}

TEST_F(TempFileTest, OpenFailsOnAFileThatIsLocked) {
  utl_TempFile file("");
  WriteWholeFile(PathOf(file), "");
  {
    const Exclusive other(NameOf(file));
    const std::string text = OpenText(NameOf(file), EACCES);
    EXPECT_THROW_TEXT(file.Open(), utl_TempFileOpenExc, text);
    EXPECT_THROW_TEXT(file.OpenIfPresent(), utl_TempFileOpenExc, text);
  }
  EXPECT_TRUE(file.OpenIfPresent());
}

TEST_F(TempFileTest, ASecondOpenClosesWhatItReplaces) {
  const int first = NextDescriptor();
  utl_TempFile file("");
  file.Create();
  file.Open();
  EXPECT_FALSE(IsOpen(first));
  EXPECT_EQ(NextDescriptor(), first);
  EXPECT_TRUE(IsOpen(first + 1));
  EXPECT_TRUE(file.OpenIfPresent());
  EXPECT_TRUE(IsOpen(first));
  EXPECT_FALSE(IsOpen(first + 1));
}

// A relative name, which is another file's from another current directory: "su" is there
// for the free space, which is asked for under the first two characters.
TEST_F(TempFileTest, CreateClosesWhatItReplaces) {
  for (const char* directory : {"1/su", "1/sub", "2/sub"}) {
    std::filesystem::create_directories(dir_.File(directory));
  }
  const ScopedEnvironment scratch("SCRATCH", "sub");
  const int first = NextDescriptor();
  std::filesystem::current_path(dir_.File("1"));
  utl_TempFile file("");
  file.Create();
  std::filesystem::current_path(dir_.File("2"));
  file.Create();
  EXPECT_FALSE(std::filesystem::is_empty(dir_.File("1/sub")));
  EXPECT_FALSE(std::filesystem::is_empty(dir_.File("2/sub")));
  EXPECT_FALSE(IsOpen(first));
  EXPECT_TRUE(IsOpen(first + 1));
}

TEST_F(TempFileTest, CloseMayBeRepeated) {
  const int descriptor = NextDescriptor();
  utl_TempFile file("");
  file.Close();
  EXPECT_TRUE(DirectoryIsEmpty()) << "no name is made";
  file.Create();
  file.Close();
  ASSERT_EQ(_open("Z:\\dev\\null", _O_RDONLY), descriptor);
  file.Close();
  EXPECT_TRUE(IsOpen(descriptor)) << "somebody else's descriptor by now";
  _close(descriptor);
}

// Tells when descriptor 0, the next free one, is the file's.
TEST_CHILD(useDescriptorZero) {
  _close(0);
  utl_TempFile file("");
  file.Create();
  ChildWriteLine(IsOpen(0) ? "open" : "not open");
  file.Close();
  ChildWriteLine(IsOpen(0) ? "open" : "not open");
  file.Open();
  ChildWriteLine(IsOpen(0) ? "open" : "not open");
  return 0;
}

TEST_F(TempFileTest, DescriptorZeroIsLikeAnyOther) {
  ChildProcess child = ChildProcess::Start("useDescriptorZero");
  EXPECT_EQ(child.ReadLine(), "open");
  EXPECT_EQ(child.ReadLine(), "not open");
  EXPECT_EQ(child.ReadLine(), "open");
  EXPECT_EQ(child.Wait(), 0);
}

// The end.

TEST_F(TempFileTest, TheFileGoesWithTheObject) {
  {
    utl_TempFile file("dat");
    file.Create();
    EXPECT_FALSE(DirectoryIsEmpty());
  }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, AnUnusedObjectTouchesNothing) {
  WriteWholeFile(dir_.File("dat"), "");
  const FailingCall untouched(SystemCall::kCreateFile, ERROR_ACCESS_DENIED);
  std::filesystem::current_path(dir_.Path());
  { const utl_TempFile file("dat"); }
  EXPECT_FALSE(untouched.Happened());
  EXPECT_TRUE(FileExists(dir_.File("dat"))) << "the suffix is no name";
}

TEST_F(TempFileTest, AnObjectWhoseNamingFailedTouchesNothing) {
  const ScopedEnvironment none("SCRATCH", nullptr);
  WriteWholeFile(dir_.File("dat"), "");
  std::filesystem::current_path(dir_.Path());
  {
    const utl_TempFile file("dat");
    EXPECT_THROW_TEXT(file.Name(), utl_TempFileCantExc, kCantMakeName);
  }
  EXPECT_TRUE(FileExists(dir_.File("dat")));
}

TEST_F(TempFileTest, AFileThatWasNamedAndNotMadeMayBeAbsent) {
  { EXPECT_EQ(NameOf(utl_TempFile("")), Expected('a')); }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, AFileThatOthersMadeUnderTheNameGoes) {
  {
    const utl_TempFile file("");
    WriteWholeFile(PathOf(file), "");
  }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, AFileThatCannotBeRemovedStays) {
  auto file = std::make_unique<utl_TempFile>("");
  file->Create();
  file->Close();
  const Exclusive other(NameOf(*file));
  EXPECT_NO_THROW(file.reset());
  EXPECT_FALSE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, AnObjectDestroyedDuringAnExceptionRemovesItsFile) {
  try {
    utl_TempFile file("");
    file.Create();
    ASSERT_FALSE(DirectoryIsEmpty());
    throw std::runtime_error("on the way");
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "on the way");
  }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST_F(TempFileTest, AnObjectThatCannotRemoveItsFileDuringAnExceptionIsSilent) {
  std::unique_ptr<Exclusive> other;
  try {
    utl_TempFile file("");
    file.Create();
    file.Close();
    other = std::make_unique<Exclusive>(NameOf(file));
    throw std::runtime_error("on the way");
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "on the way");
  }
  EXPECT_FALSE(DirectoryIsEmpty());
}

TEST(TempFileClassTest, HasOneOwnerAndAQuietEnd) {
  static_assert(!std::is_copy_constructible_v<utl_TempFile>);
  static_assert(!std::is_copy_assignable_v<utl_TempFile>);
  static_assert(!std::is_move_constructible_v<utl_TempFile>);
  static_assert(std::is_nothrow_destructible_v<utl_TempFile>);
}

TEST(TempFileExceptionsTest, GroupAndClasses) {
  ExpectExceptionContract(utl_TempFileException("a message"), "a message");
  ExpectExceptionContract<utl_TempFileException>(
      utl_TempFileOpenExc("name", "reason"),
      "*** ERROR: Can't create temporary file: name, system error: reason");
  ExpectExceptionContract<utl_TempFileException>(utl_TempFileDirExc("D:\\x"),
                                                 "*** ERROR: Not a directory: D:\\x");
  ExpectExceptionContract<utl_TempFileException>(
      utl_TempFileCantExc(), "*** ERROR: Can't create unique temporary file name.");
  ExpectExceptionContract<utl_TempFileException>(
      utl_TempFileNoDirExc(),
      "*** ERROR: Can't find directory in which to place temporary file.");
}

TEST(TempFileExceptionsTest, InsertedTextIsNotScannedAgain) {
  EXPECT_EQ(utl_TempFileOpenExc("%2$s", "%1$s").AsString(),
            "*** ERROR: Can't create temporary file: %2$s, system error: %1$s");
  EXPECT_EQ(utl_TempFileDirExc("%s").AsString(), "*** ERROR: Not a directory: %s");
}

}  // namespace
