// Memory may run out at any request: each operation is made with its first request
// refused, then with its second, until none is left to refuse. It must end in an
// exception or well, leave no file open or locked, and keep what was there.

#include "memory/RefuseEachInTurn.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "aio/aio_ostrstream.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/handle/AsHandle.h"
#include "common/temp/TempDir.h"
#include "nex/nex_TextException.h"
#include "omi/omi_BlkBitVect.h"
#include "rgx/rgx_funcs.h"
#include "rgx/rgx_ReCompileCache.h"
#include "utl/omi_Btree.h"
#include "utl/utl_base64.h"
#include "utl/utl_BinStream.h"
#include "utl/utl_BlkBitUtils.h"
#include "utl/utl_Catenator.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_flock.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_Stat.h"
#include "utl/utl_Stream.h"
#include "utl/utl_TempFile.h"
#include "utl/utl_Version.h"

namespace {

// Takes every number for a descriptor below one.
class OpenedDescriptors {
 public:
  explicit OpenedDescriptors(int end) {
    for (int fd = open("/dev/null", O_RDONLY | O_CLOEXEC); 0 <= fd && fd < end;
         fd = fcntl(fd, F_DUPFD_CLOEXEC, 0)) {
      opened_.push_back(fd);
    }
  }
  OpenedDescriptors(const OpenedDescriptors&) = delete;
  OpenedDescriptors& operator=(const OpenedDescriptors&) = delete;
  ~OpenedDescriptors() {
    for (const int fd : opened_) {
      close(fd);
    }
  }

 private:
  std::vector<int> opened_;
};

// A deletion leaves its file when one of its own requests is refused. It makes fewer.
constexpr int kMostOfADeletion = 20;

}  // namespace

class RefusedMemoryTest : public testing::Test {
 protected:
  RefusedMemoryTest() { WriteWholeFile(Name("a"), "0123456789"); }
  std::string Name(const std::string& name) const { return dir_.File(name); }

  TempDir dir_;
};

TEST_F(RefusedMemoryTest, SystemOpen) {
  const std::string name = Name("A");  // found without regard to case
  RefuseEachInTurn([&] {
    CloseHandle(CreateFileA(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, 0, nullptr));
  });
}

TEST_F(RefusedMemoryTest, SystemCreateForAWhile) {
  const std::string name = Name("while");
  RefuseEachInTurn(
      [&] {
        CloseHandle(CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                FILE_FLAG_DELETE_ON_CLOSE, nullptr));
      },
      [&] { DeleteFileA(name.c_str()); });
}

// The destructors of the library rely on it.
// A number so high that the table of open files has no place for it yet is where memory
// can run out after the file was made.
TEST_F(RefusedMemoryTest, FileJustMadeIsDeletedWhenMemoryRunsOut) {
  const std::string name = Name("made");
  bool refused = true;
  for (int nth = 1; refused; ++nth) {
    SCOPED_TRACE("request " + std::to_string(nth));
    const OpenedDescriptors below(100 * nth);
    HANDLE file = INVALID_HANDLE_VALUE;
    refused = Refuse(nth, [&] {
      file = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
    });
    ASSERT_EQ(std::filesystem::exists(name), file != INVALID_HANDLE_VALUE);
    if (file != INVALID_HANDLE_VALUE) {
      CloseHandle(file);
      std::filesystem::remove(name);
    }
  }
}

TEST_F(RefusedMemoryTest, SystemDeletionThrowsNothing) {
  const std::string name = Name("deleted");
  DWORD code = 0;
  WriteWholeFile(name, "");
  RefuseEachInTurn(
      [&] {
        SetLastError(ERROR_SUCCESS);
        EXPECT_NO_THROW(DeleteFileA(name.c_str()));
        code = GetLastError();
      },
      [&] {
        EXPECT_TRUE(code == ERROR_NOT_ENOUGH_MEMORY || code == ERROR_SUCCESS) << code;
        EXPECT_EQ(FileExists(name), code != ERROR_SUCCESS);
        WriteWholeFile(name, "");
      });
}

TEST_F(RefusedMemoryTest, SystemListing) {
  const std::string pattern = Name("*");
  RefuseEachInTurn([&] {
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(pattern.c_str(), &data);
    try {
      while (FindNextFileA(search, &data)) {
      }
    } catch (const std::bad_alloc&) {
    }
    EXPECT_TRUE(FindClose(search));
  });
}

TEST_F(RefusedMemoryTest, Listing) {
  const cow_String directory(dir_.Path());
  RefuseEachInTurn([&] {
    const utl_DirObject listing(utl_FilePath(directory, ""));
    EXPECT_EQ(listing.GetAllEntries().Length(), 3);
    EXPECT_EQ(listing.PrefixMatchAllEntries("").Length(), 3);
  });
}

// Nobody holds the file afterwards, and nothing is thrown.
TEST_F(RefusedMemoryTest, FileLockThrowsNothing) {
  const std::string name = Name("a");
  const auto lock = [&](int mode) {
    const int fd = _open(name.c_str(), _O_RDONLY | _O_BINARY);
    if (fd < 0) {
      return;
    }
    int result = -1;
    EXPECT_NO_THROW(result = utl_flock(fd, mode));
    EXPECT_TRUE(result == 0 || errno == ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(_close(fd), 0);
  };
  for (const int mode : {1, 2, 5, 6}) {
    RefuseEachInTurn([&] { lock(mode); },
                     [&] {
                       const int fd = _open(name.c_str(), _O_RDWR | _O_BINARY);
                       EXPECT_EQ(utl_flock(fd, 6), 0);
                       EXPECT_EQ(_close(fd), 0);
                     });
  }
}

TEST_F(RefusedMemoryTest, SystemUnlockThrowsNothing) {
  const std::string name = Name("a");
  RefuseEachInTurn([&] {
    const int fd = _open(name.c_str(), _O_RDONLY | _O_BINARY);
    if (fd < 0) {
      return;
    }
    OVERLAPPED at = {};
    BOOL unlocked = TRUE;
    EXPECT_NO_THROW(unlocked = UnlockFileEx(AsHandle(_get_osfhandle(fd)), 0, 1, 0, &at));
    EXPECT_FALSE(unlocked);
    EXPECT_TRUE(GetLastError() == ERROR_LOCK_VIOLATION ||
                GetLastError() == ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(_close(fd), 0);
  });
}

// The names of a large directory are remembered, and forgotten when there is no memory
// for them: what others have made is found all the same. Of the many requests some are
// refused.
TEST_F(RefusedMemoryTest, SystemNamesOfALargeDirectory) {
  constexpr int kNames = 300;
  const auto isThere = [](const std::string& path) {
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    CloseHandle(file);
    return file != INVALID_HANDLE_VALUE;
  };
  for (const bool isRemembered : {false, true}) {
    int nth = 1;
    for (bool refused = true; refused; nth += 1 + nth / 10) {
      SCOPED_TRACE("request " + std::to_string(nth));
      const std::string directory = Name("d");
      std::filesystem::create_directory(directory);
      for (int i = 0; i < kNames; ++i) {
        const std::string other = directory + "/other" + std::to_string(i);
        ASSERT_EQ(link(Name("a").c_str(), other.c_str()), 0);
      }
      if (isRemembered) {
        EXPECT_FALSE(isThere(directory + "/missing"));
        WriteWholeFile(directory + "/LATER", "");
      }
      refused = Refuse(nth, [&] { EXPECT_FALSE(isThere(directory + "/missing")); });
      WriteWholeFile(directory + "/THEIRS", "");
      ASSERT_TRUE(isThere(directory + "/theirs"));
      ASSERT_EQ(isThere(directory + "/later"), isRemembered);
      std::filesystem::remove_all(directory);
    }
    EXPECT_GT(nth, isRemembered ? 2 : kNames);
  }
}

TEST_F(RefusedMemoryTest, File) {
  const cow_String path(Name("a"));
  RefuseEachInTurn([&] {
    utl_File file(path, utl_FileAccessWrite, utl_FileShareDefault);
    file.Write("abc", 3);
    file.Extend(100);
    file.Flush();
    file.Seek(0);
    char bytes[3];
    EXPECT_EQ(file.Read(bytes, 3), 3);
  });
}

TEST_F(RefusedMemoryTest, FileFailures) {
  const cow_String missing(Name("missing"));
  const cow_String there(Name("a"));
  RefuseEachInTurn([&] {
    EXPECT_ANY_THROW(
        utl_File(missing, utl_FileAccessRead, utl_FileShareDefault).FileSize());
    utl_File file(there, utl_FileAccessUpdate, utl_FileShareDefault);
    EXPECT_ANY_THROW(file.Seek(-1));
    EXPECT_ANY_THROW(file.Extend(2));
  });
}

TEST_F(RefusedMemoryTest, Stat) {
  const cow_String path(Name("a"));
  RefuseEachInTurn([&] { EXPECT_NE(utl_Stat(path).record, nullptr); });
}

TEST_F(RefusedMemoryTest, TemporaryFile) {
  const std::string directory = Name("scratch");
  const ScopedEnvironment scratch("SCRATCH", directory.c_str());
  int left = 0;
  const auto empty = [&] {
    left += std::filesystem::remove_all(directory) > 1 ? 1 : 0;
    std::filesystem::create_directory(directory);
  };
  empty();
  RefuseEachInTurn(
      [] {
        utl_TempFile file("scr");
        EXPECT_FALSE(file.OpenIfPresent());
        EXPECT_ANY_THROW(file.Open());
        file.Create();
        EXPECT_ANY_THROW(file.Create());
      },
      empty);
  EXPECT_LT(left, kMostOfADeletion);
}

TEST_F(RefusedMemoryTest, MultisectionFile) {
  const cow_String path(Name("sections"));
  {
    utl_MultisectionFile file(path, utl_FileAccessWrite);
    file.setSectionData("first", "abc", 3);
    file.setSectionData("second", "defg", 4);
    file.saveChanges();
  }
  const auto expect = [&path](const char* name, const std::string& bytes) {
    utl_MultisectionFile file(path, utl_FileAccessRead);
    std::string data(static_cast<std::size_t>(file.getSectionLength(name)), '?');
    file.getSectionData(name, data.data());
    EXPECT_EQ(data, bytes);
  };
  int leftLocked = 0;
  RefuseEachInTurn(
      [&] {
        utl_MultisectionFile file(path, utl_FileAccessUpdate);
        char data[4];
        file.getSectionData("second", data);
        file.setSectionData("second", data, 4);
        file.saveChanges();
        file.setSectionData("first", "abc", 3);
        file.saveChangesAtomically();
      },
      [&] {
        expect("first", "abc");
        expect("second", "defg");
        leftLocked += std::filesystem::remove(Name("sections.lock")) ? 1 : 0;
      });
  EXPECT_LT(leftLocked, kMostOfADeletion);
}

TEST_F(RefusedMemoryTest, BinaryStream) {
  const int fd =
      _open(Name("stream").c_str(), _O_RDWR | _O_CREAT | _O_BINARY, _S_IREAD | _S_IWRITE);
  const cow_String text("a text that is not kept in the string itself");
  RefuseEachInTurn([&] {
    _lseeki64(fd, 0, SEEK_SET);
    utl_BinOStream(fd, omi_Swapper::kLittleEndian).WriteString(text);
    _lseeki64(fd, 0, SEEK_SET);
    utl_BinIStream in(fd, omi_Swapper::kLittleEndian);
    EXPECT_EQ(in.ReadString(), text);
    EXPECT_ANY_THROW(in.ReadInt());
  });
  _close(fd);
}

TEST_F(RefusedMemoryTest, FilePath) {
  RefuseEachInTurn([] {
    EXPECT_EQ(utl_FilePath("sub/f.txt", "Z:\\x").AbsolutePathName(), "Z:\\x\\sub\\f.txt");
    EXPECT_FALSE(utl_FilePath("missing", "Z:\\x").IsWriteable());
  });
}

TEST_F(RefusedMemoryTest, RegularExpressions) {
  const cow_String pattern("(a|b)=");
  RefuseEachInTurn([&] {
    thr_ThreadSingleton<rgx_ReCompileCache>::Destroy();
    EXPECT_EQ(rgx_subn(pattern, "<$1>", "a=1 b=2", 9), "<a>1 <a>2");
    EXPECT_EQ(rgx_join(rgx_split(" +", "a  b"), "-"), "a-b");
    EXPECT_ANY_THROW(rgx_match("(", ""));
  });
}

TEST_F(RefusedMemoryTest, CommandLine) {
  RefuseEachInTurn([] {
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
    char program[] = "prog";
    char option[] = "-list";
    char value[] = "one=1,two=2";
    char* arguments[] = {program, option, value};
    utl_CommandLineLoader::SetArgs(3, arguments);
    const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
    EXPECT_EQ(line.ConstGetValueAsDictionary("list").Length(), 2);
    EXPECT_ANY_THROW(line.ConstGetValueAsInt("list"));
    EXPECT_ANY_THROW(line.ConstGetValue("missing"));
  });
}

TEST_F(RefusedMemoryTest, Version) {
  RefuseEachInTurn([] {
    omi_Singleton<utl_Version>::Finalize();
    EXPECT_EQ(omi_Singleton<utl_Version>::Instance().Title(true), "KESTRA Version 6.6-7");
  });
}

TEST_F(RefusedMemoryTest, Base64) {
  cow_String bytes("The quick brown fox jumps over the lazy dog");
  RefuseEachInTurn([&] {
    cow_String text = utl_base64Encode(bytes, true);
    EXPECT_EQ(utl_base64Decode(text, true), bytes);
  });
}

TEST_F(RefusedMemoryTest, Catenator) {
  RefuseEachInTurn([] {
    utl_Catenator text;
    for (int i = 0; i < 200; ++i) {
      text.Cat("0123456789", 10);
    }
    EXPECT_EQ(text.GetString().Length(), 2000);
  });
}

TEST_F(RefusedMemoryTest, TextsOfACatenatorUpTo991BytesNeedNone) {
  utl_Catenator text;
  const RefusedMemory first(1);
  for (int round = 0; round < 2; ++round) {
    text.Erase();
    for (int i = 0; i < 991; ++i) {
      text.Cat("x", 1);
    }
  }
  const int length = text.GetString().Length();  // shared, so that it needs none either
  EXPECT_FALSE(first.Happened());
  EXPECT_EQ(length, 991);
  EXPECT_THROW(text.Cat("x", 1), std::bad_alloc);
  EXPECT_EQ(text.GetString().Length(), 991);
}

TEST_F(RefusedMemoryTest, NumericText) {
  RefuseEachInTurn([] {
    aio_ostrstream out;
    utl_Stream stream(out, 3000, 6, 15);
    stream.Print(0.5, 2000, 6);
    stream.OptionalLineBreak();
    stream.Print(17, 900) << " a text that is held back";
    stream.LineBreak();
    EXPECT_EQ(out.length(), 2000 + 900 + 25 + 1);
  });
}

TEST_F(RefusedMemoryTest, Masks) {
  RefuseEachInTurn([] {
    omi_BlkBitVect mask;
    mask.Set(5);
    mask.Set(500000);
    omi_BlkBitVect copy;
    utl_BlkBitUtils::GetMaskFromString(utl_BlkBitUtils::GetMaskString(mask), copy);
    EXPECT_EQ(copy.Count(), 2U);
  });
}

TEST_F(RefusedMemoryTest, TreeMap) {
  omi_Btree<cow_String, int> map;
  for (int i = 0; i < 10; ++i) {
    map.Insert(cow_String(std::to_string(i)), i);
  }
  const cow_String key("5");
  RefuseEachInTurn(
      [&] {
        map.Remove(key);
        map.Insert(key, 5);
        omi_Btree<cow_String, int> copy;
        copy = map;
        EXPECT_EQ(copy.Size(), 10);
      },
      [&] {
        map.Insert(key, 5);
        int next = 0;
        omi_BtreeIterator<cow_String, int> i(map);
        for (i.First(); !i.AtEnd(); i.Next()) {
          EXPECT_EQ(i.Value(), next++);
        }
        EXPECT_EQ(next, map.Size());
      });
}
