// Texts, containers, patterns and paths where memory runs out: see RefuseEachInTurn.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#include "aio/aio_ofstream.h"
#include "aio/aio_ostrstream.h"
#include "aio/aio_stdostream.h"
#include "atr/atr_String.h"
#include "atr/atr_translate.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/temp/TempDir.h"
#include "common/thread/FunctionTask.h"
#include "cow/cow_1DArray.h"
#include "cow/cow_List.h"
#include "cow/cow_Map.h"
#include "cow/cow_String.h"
#include "mem/mem_Malloc.h"
#include "memory/RefuseEachInTurn.h"
#include "nex/nex_AssertException.h"
#include "nex/nex_SystemErrorException.h"
#include "nex/nex_TextException.h"
#include "omi/omi_BlkBitVect.h"
#include "omi/omi_SystemErrorCode.h"
#include "pnt/pnt_Debug.h"
#include "rgx/rgx_funcs.h"
#include "rgx/rgx_ReCompileCache.h"
#include "thr/thr_GlobalSingleton.h"
#include "thr/thr_ThreadSingleton.h"
#include "typ/typ_DebugFlags.h"
#include "utl/impl/utl_findShellCommand.h"
#include "utl/utl_DirPathUtils.h"
#include "utl/utl_DiskAttributes.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_FilePathParser.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_initialize.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_PathFinder.h"
#include "utl/utl_UrlParser.h"

namespace {

// Too long to be held without memory of its own.
constexpr char kLong[] = "a text that is not kept in the string itself, being too long";

TEST(RefusedMemoryValuesTest, StringStaysAsItWas) {
  const cow_String text(kLong);
  cow_String changed;
  const std::function<void()> changes[] = {
      [&] { changed += kLong; },          [&] { changed.Append(kLong, 10); },
      [&] { changed.Insert(3, kLong); },  [&] { changed.Remove(1, 2); },
      [&] { changed.Replace('a', 'b'); }, [&] { changed.Reserve(1000); },
      [&] { changed.Trim(" a"); },        [&] { changed = text.Substr(1, 50) + kLong; },
  };
  for (const auto& change : changes) {
    RefuseEachInTurn([&] {
      changed = text;  // shared, so that every change needs memory
      try {
        change();
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(changed, text);
        throw;
      }
    });
  }
}

TEST(RefusedMemoryValuesTest, Containers) {
  cow_1DArray<cow_String> array;
  cow_List<cow_String> list;
  cow_Map<cow_String, cow_String> map;
  for (const char* name : {"a", "b", "c"}) {
    array.Append(name);
    list.Append(name);
    map.Insert(name, name);
  }
  RefuseEachInTurn(
      [&] {
        cow_1DArray<cow_String> other = array;  // shared until it is changed
        other.Append(kLong);
        other[0] = kLong;
        other.Reserve(100);
      },
      [&] { EXPECT_TRUE(array.Length() == 3 && array[0] == "a"); });
  RefuseEachInTurn(
      [&] {
        cow_List<cow_String> other = list;
        other.Prepend(kLong);
        other.Append(kLong);
      },
      [&] { EXPECT_TRUE(list.Length() == 3 && *list.begin() == "a"); });
  RefuseEachInTurn(
      [&] {
        cow_Map<cow_String, cow_String> other = map;
        other.Insert(kLong, kLong);
        other.Insert("a", kLong);
        other.Remove("b");
      },
      [&] { EXPECT_TRUE(map.Length() == 3 && *map.Find("a") == "a"); });
}

TEST(RefusedMemoryValuesTest, Bits) {
  omi_BlkBitVect bits;
  bits.Set(7);
  RefuseEachInTurn([&] {
    omi_BlkBitVect other(bits);
    other.Set(100000000);
    other.SetCell(1000, 5);
    EXPECT_EQ(other.Count(), 4U);
  });
  EXPECT_EQ(bits.Count(), 1U);
}

TEST(RefusedMemoryValuesTest, Blocks) {
  RefuseEachInTurn([] {
    void* block = mem_Malloc(100);
    std::memset(block, 'x', 100);
    try {
      block = mem_Realloc(block, 100000);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(static_cast<char*>(block)[99], 'x');
      mem_Free(block);
      throw;
    }
    mem_Free(block);
  });
}

TEST(RefusedMemoryValuesTest, Exceptions) {
  RefuseEachInTurn([] {
    const nex_TextException text(kLong);
    const std::unique_ptr<nex_Exception> copy(text.Copy());
    EXPECT_EQ(copy->AsString(), atr_String(kLong));
    try {
      nex_AssertException(kLong).Throw("source");
    } catch (const nex_AssertException& thrown) {
      EXPECT_EQ(thrown.AsString(), atr_String(kLong));
    }
  });
  RefuseEachInTurn([] {
    const omi_SystemErrorCode code(omi_SystemErrorCode::kSystem, 2);
    EXPECT_NE(code.Text(), "");
    EXPECT_NE(nex_SystemErrorException(code).DeveloperReport().Length(), 0);
  });
}

TEST(RefusedMemoryValuesTest, Messages) {
  RefuseEachInTurn([] {
    atr_translate text("%1$s of %2$d, which is too long for a string without memory");
    atr_SubstituteFormat(text, 1, kLong);
    atr_SubstituteFormat(text, 2, 3);
    EXPECT_GT(text.Result().Length(), 80);
  });
}

TEST(RefusedMemoryValuesTest, Streams) {
  const TempDir dir;
  const std::string path = dir.File("stream");
  const std::string text(100000, 'x');
  RefuseEachInTurn([&] {
    aio_ofstream file(path);
    file.write("short", 5);
    file.write(text.data(), static_cast<int>(text.size()));
    file.close();
  });
  RefuseEachInTurn([&] {
    aio_ostrstream memory;
    memory.write(text.data(), static_cast<int>(text.size()));
    const std::unique_ptr<char, void (*)(void*)> taken(memory.adoptString(mem_Malloc),
                                                       mem_Free);
    EXPECT_EQ(std::string(taken.get()), text);
  });
  RefuseEachInTurn([&] {
    std::ostringstream out;
    aio_stdostream stream(out);
    stream.write(text.data(), static_cast<int>(text.size()));
    stream.flush();
  });
}

TEST(RefusedMemoryValuesTest, PatternsInAllTheirWays) {
  RefuseEachInTurn([] {
    thr_ThreadSingleton<rgx_ReCompileCache>::Destroy();
    rgx_ReIterator found = rgx_match("([a-z]+) ([a-z]+)", "a text of some length");
    EXPECT_TRUE(found.Matched());
    EXPECT_EQ(found.NthString(1), "a");
    found.SetCurrentGroup(2);
    EXPECT_EQ(found.String(), "text");
  });
}

TEST(RefusedMemoryValuesTest, Urls) {
  const cow_String url(
      "kstrdb://me@a-node-of-some-length:4000/db/file-of-some-length?x=1");
  RefuseEachInTurn([&] {
    thr_ThreadSingleton<rgx_ReCompileCache>::Destroy();
    EXPECT_TRUE(utl_UrlParser::IsUrl(url));
    EXPECT_EQ(utl_UrlParser::GetScheme(url), "kstrdb");
    EXPECT_TRUE(utl_UrlParser::IsScheme(url, "kstrdb"));
    EXPECT_EQ(utl_UrlParser::GetHost(url), "a-node-of-some-length");
    EXPECT_EQ(utl_UrlParser::GetPort(url), "4000");
    EXPECT_EQ(utl_UrlParser::GetPath(url), "db/file-of-some-length");
    EXPECT_FALSE(utl_UrlParser::HasHost("kstrdb"));
  });
}

TEST(RefusedMemoryValuesTest, ParsedPaths) {
  const std::string part = "a-part-of-a-path-that-is-not-kept-in-the-string-itself";
  const cow_String path("\\\\" + part + "\\" + part + "\\" + part + "." + part);
  RefuseEachInTurn([&] {
    EXPECT_TRUE(utl_FilePathParser::IsWindowsStyle(path));
    EXPECT_FALSE(utl_FilePathParser::HasDrive(path));
    EXPECT_EQ(utl_FilePathParser::Host(path), cow_String(part));
    EXPECT_EQ(utl_FilePathParser::DirName(path), cow_String("\\" + part));
    EXPECT_EQ(utl_FilePathParser::BaseName(path), cow_String(part));
    EXPECT_EQ(utl_FilePathParser::Extension(path), cow_String(part));
  });
}

TEST(RefusedMemoryValuesTest, PathsWithTheEnvironment) {
  const ScopedEnvironment variable("KST_REFUSED", "Z:\\a-directory-with-a-long-name");
  RefuseEachInTurn([] {
    const utl_FilePath path("%KST_REFUSED%/sub-directory/a-file-of-length.txt", "");
    EXPECT_EQ(path.AbsolutePathName(),
              "Z:\\a-directory-with-a-long-name\\sub-directory\\a-file-of-length.txt");
    EXPECT_FALSE(path.Exists());
  });
}

TEST(RefusedMemoryValuesTest, DirectoriesAndPathsOfTheSystem) {
  const TempDir dir;
  const cow_String directory(dir.ShownPath());
  RefuseEachInTurn([&] {
    const cow_String with = utl_DirPathUtils::AddSeparator(directory);
    EXPECT_EQ(utl_DirPathUtils::TrimSeparator(with), directory);
    EXPECT_GT(utl_DiskAttributes(directory).GetFreeDiskSpace(), 0U);
    EXPECT_EQ(utl_fromNativePath(utl_nativePath(directory)), directory);
  });
}

TEST(RefusedMemoryValuesTest, FileOfAListOfDirectories) {
  const TempDir dir;
  WriteWholeFile(dir.File("kst.exe"), "");
  const ScopedEnvironment paths("KST_REFUSED",
                                ("Z:\\missing;" + dir.ShownPath()).c_str());
  RefuseEachInTurn([&] {
    EXPECT_NE(utl_PathFinder::getPath("KST_REFUSED", "kst", true, true, false), "");
    EXPECT_EQ(
        utl_PathFinder::getSubDirPath("KST_REFUSED", "bin", "kst", true, true, false),
        "");
  });
}

TEST(RefusedMemoryValuesTest, WhatIsKnownOfTheHost) {
  const ScopedEnvironment command("KES_COMMAND",
                                  "a-driver-with-a-name-that-needs-memory");
  RefuseEachInTurn([] {
    utl_getDate();
    utl_getTime();
    utl_getHostName();
    utl_getUserName();
    utl_getcwd();
    utl_getPlatform();
    utl_getDriverName();
  });
}

TEST(RefusedMemoryValuesTest, DebugFlags) {
  RefuseEachInTurn([] {
    typ_DebugFlags::SetDebugFlags(kLong, 3);
    EXPECT_EQ(typ_DebugFlags::Level(kLong), 3);
    typ_DebugFlags::Clear();
  });
}

TEST(RefusedMemoryValuesTest, ShellCommandsThatAreNotThere) {
  for (const auto& commandOn : {utl_remoteShellCommandOn, utl_secureShellCommandOn}) {
    RefuseEachInTurn([&] {
      try {
        ADD_FAILURE() << commandOn("a platform with a long name of its own");
      } catch (const nex_TextException&) {
      }
    });
  }
}

// Their lock is made once in a process.
TEST(RefusedMemoryValuesTest, MarksAroundDebugOutput) {
  const auto useMarks = [] {
    pnt_StartDebug();
    pnt_EndDebug();
  };
  EXPECT_TRUE(Refuse(1, useMarks));
  useMarks();
  EXPECT_FALSE(Refuse(1, useMarks));
}

TEST(RefusedMemoryValuesTest, StartAndEnd) {
  RefuseEachInTurn(
      [] {
        int count = 0;
        utl_initialize(count);
        utl_finalize(count);
      },
      [] {});
}

TEST(RefusedMemoryValuesTest, ThreadsAndTheirTasks) {
  RefuseEachInTurn([] {
    thr_ThreadPool pool;
    pool.RunTask(FunctionTask::Of([] {}));
    pool.AddThreads(1, 2);
  });
}

}  // namespace
