// What kst_sections does after a crash: unlock and recover.

#include <chrono>

#include "common/child/ChildProcess.h"
#include "common/child/WritersAreTold.h"
#include "thr/thr_currentProcess.h"
#include "tools/SectionsTest.h"
#include "utl/utl_NativePath.h"

namespace {

TEST_F(KstSectionsTest, UnlockRemovesALeftOverLock) {
  EXPECT_EQ(Run({"unlock", Path("a.kdb")}).out, Path("a.kdb") + ": no lock\n");
  WriteWholeFile(Path("a.kdb.lock"), "");
  EXPECT_EQ(Run({"unlock", Path("a.kdb")}).status, kFinding);
  EXPECT_EQ(Names(), "a.kdb a.kdb.lock") << "without --yes";
  EXPECT_EQ(Run({"unlock", Path("a.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(Names(), "a.kdb");
}

TEST_F(KstSectionsTest, LockOfALivingWriterStays) {
  const utl_MultisectionFile writer(Path("a.kdb"), utl_FileAccessUpdate);
  for (const char* verb : {"unlock", "recover"}) {
    const ToolRun run = Run({verb, Path("a.kdb"), "--yes"});
    EXPECT_EQ(run.status, kFinding) << verb;
    EXPECT_TRUE(run.out.ends_with(". Nothing was done.\n")) << run.out;
  }
  EXPECT_EQ(Names(), "a.kdb a.kdb.lock");
}

TEST_CHILD(writeSectionFile) {
  const utl_MultisectionFile writer(argv[1], utl_FileAccessUpdate);
  ChildWriteLine(std::to_string(thr_currentProcess()));
  ChildReadLine();
  return 0;
}

TEST_F(KstSectionsTest, WriterIsNamedWhereTheSystemTellsIt) {
  ChildProcess writer = ChildProcess::Start("writeSectionFile", {Path("a.kdb")});
  const std::string number = writer.ReadLine();
  const ToolRun run = Run({"unlock", Path("a.kdb"), "--yes"});
  const Json json = Json::parse(Run({"recover", Path("a.kdb"), "--json"}).out);
  EXPECT_EQ(json["in use"], true);
  EXPECT_EQ(json["done"], false);
  EXPECT_EQ(json["removed"], Json::array());
  if (!WritersAreTold()) {
    EXPECT_EQ(run.out, Path("a.kdb") +
                           ": in use by a program; the system does not tell "
                           "which. Nothing was done.\n");
    EXPECT_EQ(json["users"], Json::array());
    return;
  }
  const std::string head =
      Path("a.kdb") + ": in use by process " + number + " (tools_tests";
  EXPECT_EQ(run.out.substr(0, head.size()), head);
  ASSERT_EQ(json["users"].size(), 1u);
  EXPECT_EQ(std::to_string(json["users"][0]["process"].get<int>()), number);
  EXPECT_TRUE(json["users"][0]["name"].get<std::string>().starts_with("tools_tests"));
}

TEST_F(KstSectionsTest, MakerOfATemporaryFileIsToldAndWhetherItRuns) {
  ChildProcess other = ChildProcess::Start("writeSectionFile", {Path("a.kdb")});
  const std::string number = other.ReadLine();
  Write("b.kdb", {});
  WriteWholeFile(Path("b.kdb." + number + ".tmp"), ReadWholeFile(Path("b.kdb")));
  EXPECT_NE(Run({"recover", Path("b.kdb")})
                .out.find(": whole, of process " + number + " (tools"),
            std::string::npos);
  Json json = Json::parse(Run({"recover", Path("b.kdb"), "--json"}).out);
  ASSERT_EQ(json["temporary"].size(), 1u);
  EXPECT_EQ(json["temporary"][0]["alive"], true);
  EXPECT_EQ(json["temporary"][0]["whole"], true);

  other.Kill();
  EXPECT_NE(Run({"recover", Path("b.kdb")})
                .out.find(": whole, of process " + number +
                          ", which does not run on this host\n"),
            std::string::npos);
  json = Json::parse(Run({"recover", Path("b.kdb"), "--json"}).out);
  EXPECT_EQ(json["temporary"][0]["alive"], false);
}

TEST_F(KstSectionsTest, JsonTellsWhatARepairDidOrWouldDo) {
  WriteDamaged();
  const std::string temporary = Path("b.kdb.4711.tmp");
  std::filesystem::copy_file(Path("a.kdb"), temporary);
  WriteWholeFile(Path("b.kdb.lock"), "");
  Json json = Json::parse(Run({"unlock", Path("b.kdb"), "--yes", "--json"}).out);
  EXPECT_EQ(json["lock"], true);
  EXPECT_EQ(json["removed"], Json::array());
  for (const bool isDone : {false, true}) {
    std::vector<std::string> arguments = {"recover", Path("b.kdb"), "--json"};
    if (isDone) {
      arguments.push_back("--yes");
    }
    const ToolRun run = Run(arguments);
    EXPECT_EQ(run.status, isDone ? kGood : kFinding);
    json = Json::parse(run.out);
    EXPECT_EQ(json["complete"], false);
    EXPECT_EQ(json["in use"], false);
    EXPECT_EQ(json["done"], isDone);
    EXPECT_EQ(json["copied"], utl_nativePath(temporary).string());
    EXPECT_EQ(json["removed"], (Json{utl_nativePath(temporary).string(),
                                     utl_nativePath(Path("b.kdb.lock")).string()}));
  }
  json = Json::parse(Run({"recover", Path("b.kdb"), "--json"}).out);
  EXPECT_EQ(json["complete"], true);
  EXPECT_EQ(json["done"], false);
  EXPECT_EQ(json["copied"], nullptr);
}

TEST_F(KstSectionsTest, RecoverHasNothingToDo) {
  EXPECT_EQ(Run({"recover", Path("a.kdb")}).out,
            Path("a.kdb") + ": complete\nnothing was left by a crash\n");
  EXPECT_EQ(Run({"recover", Path("none.kdb")}).err,
            "kst_sections: " + Path("none.kdb") + ": is not there\n");
}

TEST_F(KstSectionsTest, RecoverRefusesWhatCannotBeOpened) {
  std::filesystem::create_directory(Path("folder"));
  WriteWholeFile(Path("folder.lock"), "");
  const ToolRun run = Run({"recover", Path("folder"), "--yes"});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(Names(), "a.kdb folder folder.lock");
}

TEST_F(KstSectionsTest, RecoverKeepsACompleteFile) {
  WriteWholeFile(Path("a.kdb.lock"), "");
  WriteWholeFile(Path("a.kdb.4711.tmp"), "half");
  WriteWholeFile(Path("a.kdb.x.tmp"), "somebody's");
  const std::string before = ReadWholeFile(Path("a.kdb"));
  EXPECT_EQ(Run({"recover", Path("a.kdb")}).status, kFinding);
  EXPECT_EQ(Names(), "a.kdb a.kdb.4711.tmp a.kdb.lock a.kdb.x.tmp") << "without --yes";
  EXPECT_EQ(Run({"recover", Path("a.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(Names(), "a.kdb a.kdb.x.tmp");
  EXPECT_EQ(ReadWholeFile(Path("a.kdb")), before);
}

// A loss of power can leave a mixture of the old and the new file that looks complete.
TEST_F(KstSectionsTest, RecoverTakesTheCompleteTemporaryFileOfTheLastSave) {
  WriteWholeFile(Path("a.kdb.lock"), "");
  Write("a.kdb.4711.tmp", {{"title", "A tower"}});
  EXPECT_EQ(Run({"recover", Path("a.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(Read("a.kdb"), Sections({{"title", "A tower"}}));
  EXPECT_EQ(Names(), "a.kdb");
}

TEST_F(KstSectionsTest, RecoverKeepsACompleteFileBesideADamagedOrAnOlderSave) {
  const std::string before = ReadWholeFile(Path("a.kdb"));
  WriteDamaged();
  std::filesystem::rename(Path("b.kdb"), Path("a.kdb.1.tmp"));
  EXPECT_EQ(Run({"recover", Path("a.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(ReadWholeFile(Path("a.kdb")), before) << "without a lock";
  WriteDamaged();
  WriteWholeFile(Path("a.kdb.lock"), "");
  std::filesystem::rename(Path("b.kdb"), Path("a.kdb.1.tmp"));
  EXPECT_EQ(Run({"recover", Path("a.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(ReadWholeFile(Path("a.kdb")), before) << "with a damaged save";
  WriteWholeFile(Path("a.kdb.lock"), "");
  Write("a.kdb.1.tmp", {{"title", "A tower"}});
  std::filesystem::last_write_time(
      Path("a.kdb.1.tmp"),
      std::filesystem::last_write_time(Path("a.kdb.lock")) - std::chrono::hours(1));
  EXPECT_EQ(Run({"recover", Path("a.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(ReadWholeFile(Path("a.kdb")), before) << "with an older save";
  EXPECT_EQ(Names(), "a.kdb");
}

TEST_F(KstSectionsTest, RecoverTakesAWholeTemporaryFile) {
  WriteDamaged();
  std::filesystem::copy_file(Path("a.kdb"), Path("b.kdb.4711.tmp"));
  WriteWholeFile(Path("b.kdb.lock"), "");
  EXPECT_EQ(Run({"recover", Path("b.kdb")}).status, kFinding);
  EXPECT_EQ(Run({"recover", Path("b.kdb"), "--yes"}).status, kGood);
  EXPECT_EQ(ReadWholeFile(Path("b.kdb")), ReadWholeFile(Path("a.kdb")));
  EXPECT_EQ(Names(), "a.kdb b.kdb");
}

TEST_F(KstSectionsTest, RecoverFollowsNoLinkInTheTemporaryFilesPlace) {
  WriteDamaged();
  const std::string before = ReadWholeFile(Path("b.kdb"));
  std::error_code error;
  std::filesystem::create_symlink(Path("a.kdb"), Path("b.kdb.4711.tmp"), error);
  if (error) {
    GTEST_SKIP() << "no links here: " << error.message();
  }
  WriteWholeFile(Path("b.kdb.lock"), "");
  EXPECT_EQ(Run({"recover", Path("b.kdb"), "--yes"}).status, kFinding);
  EXPECT_EQ(ReadWholeFile(Path("b.kdb")), before);
  EXPECT_EQ(Names(), "a.kdb b.kdb b.kdb.4711.tmp");
}

TEST_F(KstSectionsTest, RecoverOfADamagedFileTellsHowToSaveWithoutDamage) {
  WriteDamaged();
  WriteWholeFile(Path("b.kdb.lock"), "");
  EXPECT_NE(Run({"recover", Path("b.kdb")}).out.find("saveChangesAtomically()"),
            std::string::npos);
  WriteWholeFile(Path("a.kdb.lock"), "");
  EXPECT_EQ(Run({"recover", Path("a.kdb")}).out.find("saveChangesAtomically()"),
            std::string::npos);
}

TEST_F(KstSectionsTest, RecoverLeavesAFileThatWasDamagedBefore) {
  WriteDamaged();
  const std::string before = ReadWholeFile(Path("b.kdb"));
  WriteWholeFile(Path("b.kdb.4711.tmp"), before.substr(0, before.size() - 1));
  WriteWholeFile(Path("b.kdb.lock"), "");
  const ToolRun run = Run({"recover", Path("b.kdb"), "--yes"});
  EXPECT_EQ(run.status, kFinding);
  EXPECT_NE(run.out.find("it was damaged before"), std::string::npos) << run.out;
  EXPECT_EQ(ReadWholeFile(Path("b.kdb")), before);
  EXPECT_EQ(Names(), "a.kdb b.kdb");
}

}  // namespace
