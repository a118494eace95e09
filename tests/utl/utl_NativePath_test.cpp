#include "utl/utl_NativePath.h"

#include <gmock/gmock.h>

#include <fstream>
#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "common/expect/ExpectThrow.h"
#include "common/native/NativePaths.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_File.h"
#include "utl/utl_JobFileName.h"

namespace {

namespace fs = std::filesystem;

std::string FirstLine(const fs::path& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return in || in.eof() ? line : "cannot be opened";
}

class NativePathTest : public testing::Test {
 protected:
  cow_String Shown(const char* name) const {
    return cow_String(dir_.ShownPath()) + '\\' + name;
  }

  TempDir dir_;
};

TEST_F(NativePathTest, EveryFormOfAName) {
  for (const NativeForm& form : NativeForms()) {
    EXPECT_EQ(utl_nativePath(form.name).string(), form.native) << form.name;
  }
}

TEST_F(NativePathTest, EveryFormOfAPath) {
  for (const NativeForm& form : FormsOfPaths()) {
    EXPECT_EQ(utl_fromNativePath(form.native), form.name) << form.native;
  }
}

TEST_F(NativePathTest, ThereAndBack) {
  for (const char* name : {"a.txt", "a b", "\xC3\xA4", "\xE4", "c\xFF", "100%"}) {
    const cow_String path = Shown(name);
    EXPECT_EQ(utl_fromNativePath(utl_nativePath(path)), path) << name;
  }
}

TEST_F(NativePathTest, NameUpToItsFirstZeroByte) {
  EXPECT_EQ(utl_nativePath(cow_String("a\0b", 3)), fs::path("a"));
}

TEST_F(NativePathTest, MillionCharacters) {
  const std::string name(1000000, 'n');
  EXPECT_EQ(utl_nativePath(cow_String(name)).string(), name);
  EXPECT_EQ(utl_fromNativePath(fs::path(name)), name.c_str());
  std::string deep = "Z:";
  for (int i = 0; i < 500000; ++i) {
    deep += "\\d";
  }
  EXPECT_EQ(utl_nativePath(cow_String(deep)).string().size(), NativeLength(deep));
}

// What the library writes under a name, a stream reads under the native one.
TEST_F(NativePathTest, FileOfTheLibraryOpensElsewhere) {
  for (const char* name : {"a.txt", "\xC3\xA4.txt", "with blank", "$HOME"}) {
    const cow_String path = Shown(name);
    utl_File(path, utl_FileAccessWrite, utl_FileShareDefault).Write("text", 4);
    EXPECT_EQ(FirstLine(utl_nativePath(path)), "text") << name;
  }
}

TEST_F(NativePathTest, FileFoundInOtherLetters) {
  WriteWholeFile(dir_.File("Input.DAT"), "text");
  EXPECT_EQ(FirstLine(utl_nativePath(Shown("iNPUT.dat"))), "text");
  const CurrentDirectory current(dir_.Path());
  EXPECT_EQ(FirstLine(utl_nativePath("iNPUT.dat")), "text");
}

TEST_F(NativePathTest, DotAtTheEndIsNoPartOfAName) {
  WriteWholeFile(dir_.File("e"), "e");
  EXPECT_EQ(FirstLine(utl_nativePath(Shown("E."))), "e");
}

// A listing shows it, though it is "e" to the library.
TEST_F(NativePathTest, FileThatHasTheNameComesFirst) {
  std::ofstream(fs::path(dir_.Path()) / "e") << "e";
  std::ofstream(fs::path(dir_.Path()) / "e.") << "dot";
  EXPECT_EQ(FirstLine(utl_nativePath(Shown("e."))), "dot");
}

TEST_F(NativePathTest, EveryEntryOfAListingOpens) {
  const char* const names[] = {"a.txt", "B.TXT",  "with blank", "\xC3\xA4",
                               ".dot",  "no_ext", "$UNSET_X",   "a.b.c"};
  for (const char* name : names) {
    std::ofstream(utl_nativePath(Shown(name))) << "line of " << name;
  }
  const utl_DirObject listing(fs::path(dir_.Path()));
  EXPECT_EQ(listing.FileCount(), std::ssize(names));
  for (const utl_FilePath& file : listing.GetAllFileNames()) {
    const std::string line = "line of " + std::string(file.FileName());
    EXPECT_EQ(FirstLine(utl_nativePath(file.AbsolutePathName())), line);
    EXPECT_EQ(FirstLine(file), line);
  }
}

TEST_F(NativePathTest, EveryJobFileOpens) {
  const CurrentDirectory current(dir_.Path());
  const ScopedEnvironment auxiliary("SUPAUXNAME", nullptr);
  utl_CommandLineLoader::SetArgsList([] {
    cow_1DArrayList<cow_String> arguments;
    for (const char* argument : {"prog", "-job", "beam"}) {
      arguments.Append(argument);
    }
    return arguments;
  }());
  std::ofstream(utl_nativePath(utl_JobFileName(".dat"))) << "text";
  EXPECT_EQ(ReadWholeFile(dir_.File("beam.dat")), "text");
  thr_GlobalSingleton<utl_CommandLine>::Destroy();
}

TEST_F(NativePathTest, PathObjectTakesAPath) {
  const utl_FilePath path = fs::path(dir_.Path()) / "sub" / "f.txt";
  EXPECT_EQ(path.AbsolutePathName(), Shown("sub\\f.txt"));
  EXPECT_EQ(path.FileName(), "f.txt");
  EXPECT_EQ(fs::path(path), fs::path(dir_.Path()) / "sub" / "f.txt");
}

TEST_F(NativePathTest, PathObjectAnchorsARelativePath) {
  const CurrentDirectory current(dir_.Path());
  const utl_FilePath path = fs::path("sub") / "f.txt";
  EXPECT_EQ(path.PathName(), "sub\\f.txt");
  EXPECT_EQ(path.AbsolutePathName(), Shown("sub\\f.txt"));
}

TEST_F(NativePathTest, PathObjectTakesAPathAsItIs) {
  const ScopedEnvironment variable("KST_NATIVE_TEST", "value");
  const fs::path native = fs::path(dir_.Path()) / "$KST_NATIVE_TEST";
  const utl_FilePath path = native;
  EXPECT_EQ(path.FileName(), "$KST_NATIVE_TEST");
  EXPECT_EQ(fs::path(path), native);
  EXPECT_EQ(utl_FilePath(fs::path("kstrdb:x")).PathName(), "kstrdb:x");
  EXPECT_NE(utl_FilePath(fs::path("kstrdb:x")).AbsolutePathName(), "kstrdb:x");
}

TEST_F(NativePathTest, PathsWithoutAName) {
  for (const NamelessPath& nameless : NamelessPaths()) {
    EXPECT_THROW_FROM(
        utl_fromNativePath(nameless.path), nex_TextException,
        ("*** Error: The library has no name for the file \"" + nameless.shown + "\".")
            .c_str(),
        "utl/impl/utl_NativePath");
    EXPECT_THROW(utl_FilePath{nameless.path}, nex_TextException);
  }
}

}  // namespace
