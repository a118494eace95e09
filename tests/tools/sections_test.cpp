// What kst_sections does with section files; sections_repair_test.cpp has the rest.

#include "tools/SectionsTest.h"

namespace {

TEST_F(KstSectionsTest, HelpTeachesByExample) {
  const ToolRun run = Run({"--help"});
  EXPECT_EQ(run.status, kGood);
  EXPECT_NE(run.out.find("kst_sections verify *.kdb"), std::string::npos);
  EXPECT_EQ(run.err, "");
  for (const char* verb : {"list", "verify", "dump", "get", "set", "remove", "diff",
                           "salvage", "unlock", "recover"}) {
    EXPECT_EQ(Run({verb, "--help"}).status, kGood) << verb;
  }
}

TEST_F(KstSectionsTest, VersionIsTheProducts) {
  EXPECT_EQ(Run({"--version"}).out, "kst_sections 6.6-7\n");
}

TEST_F(KstSectionsTest, WrongUseIsToldAndHasStatusTwo) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"list"},
                                             {"frobnicate"},
                                             {"get", "a"},
                                             {"dump", "a", "b", "--as", "double"},
                                             {"diff", "a", "b", "--tolerance", "-1"},
                                             {"diff", "a", "b", "--absolute", "nan"},
                                             {"remove", "a", "b"}}) {
    const ToolRun run = Run(arguments);
    EXPECT_EQ(run.status, kTrouble);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("kst_sections: ")) << run.err;
    EXPECT_NE(run.err.find("Try kst_sections --help\n"), std::string::npos) << run.err;
  }
}

TEST_F(KstSectionsTest, ListTellsLengthChecksumAndName) {
  Write("three.kdb", {{"a", ""}, {"b\x1b[2J", "123456789"}});
  EXPECT_EQ(Run({"list", Path("three.kdb")}).out,
            Path("three.kdb") +
                ": 2 sections\n      length  checksum  name\n"
                "           0  ffffffff  a\n           9  0376e6e7  b\\x1b[2J\n");
}

TEST_F(KstSectionsTest, ListAsJson) {
  const auto json = nlohmann::json::parse(Run({"list", "--json", Path("a.kdb")}).out);
  EXPECT_EQ(json[0]["file"], Path("a.kdb"));
  EXPECT_EQ(json[0]["sections"][1]["name"], "forces");
  EXPECT_EQ(json[0]["sections"][1]["length"], 24);
}

TEST_F(KstSectionsTest, EmptyFileIsNoSectionFileButOneWithoutSectionsIs) {
  WriteWholeFile(Path("empty.kdb"), "");
  Write("none.kdb", {});
  const ToolRun run = Run({"list", Path("empty.kdb"), Path("none.kdb")});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_EQ(run.out, Path("none.kdb") + ": 0 sections\n");
  EXPECT_EQ(run.err, "kst_sections: \"" + Path("empty.kdb") + "\": Invalid file type\n");
}

TEST_F(KstSectionsTest, VerifyFindsADamagedSection) {
  WriteDamaged();
  EXPECT_EQ(Run({"verify", Path("a.kdb")}).out,
            Path("a.kdb") + ": 2 of 2 sections good\n");
  const ToolRun run = Run({"verify", Path("a.kdb"), Path("b.kdb")});
  EXPECT_EQ(run.status, kFinding);
  EXPECT_NE(run.out.find(Path("b.kdb") +
                         ": section \"forces\": its bytes do not have its checksum\n"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find(Path("b.kdb") + ": 1 of 2 sections good\n"), std::string::npos);
}

TEST_F(KstSectionsTest, VerifyFindsWhatIsMissingOrLeftOver) {
  const std::string bytes = ReadWholeFile(Path("a.kdb"));
  WriteWholeFile(Path("cut.kdb"), bytes.substr(0, bytes.size() - 3));
  WriteWholeFile(Path("long.kdb"), bytes + "xy");
  const ToolRun cut = Run({"verify", Path("cut.kdb")});
  EXPECT_EQ(cut.status, kFinding);
  EXPECT_NE(cut.out.find("section \"forces\": the file ends within it"),
            std::string::npos);
  EXPECT_NE(cut.out.find("3 bytes are missing at the end"), std::string::npos);
  const ToolRun tooLong = Run({"verify", Path("long.kdb"), "--json"});
  EXPECT_EQ(tooLong.status, kFinding);
  const auto json = nlohmann::json::parse(tooLong.out);
  EXPECT_EQ(json[0]["good"], false);
  EXPECT_EQ(json[0]["surplus"], 2);
  EXPECT_EQ(json[0]["sections"][0]["damage"], "");
}

TEST_F(KstSectionsTest, EveryCutOfAFileIsToldAndNothingElse) {
  const std::string bytes = ReadWholeFile(Path("a.kdb"));
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    WriteWholeFile(Path("cut.kdb"), bytes.substr(0, length));
    const ToolRun run = Run({"verify", Path("cut.kdb")});
    EXPECT_NE(run.status, kGood) << length;
    EXPECT_FALSE((run.out + run.err).empty()) << length;
  }
}

TEST_F(KstSectionsTest, DumpReadsATypeOrGuessesIt) {
  const std::string file = Path("a.kdb");
  EXPECT_EQ(Run({"dump", file, "title"}).out, "A frame\n");
  EXPECT_EQ(Run({"dump", file, "forces"}).out,
            "       0                      1.5                       -2"
            "                     0.25\n");
  EXPECT_EQ(Run({"dump", file, "title", "--as", "hex"}).out,
            "00000000  41 20 66 72 61 6d 65 0a                          A frame.\n");
  EXPECT_EQ(Run({"dump", file, "title", "--as", "int32"}).out,
            "       0     1919295553      174419297\n");
  EXPECT_EQ(Run({"dump", file, "forces", "--as", "int64", "--json"}).status, kGood);
  const auto json = nlohmann::json::parse(Run({"dump", file, "forces", "--json"}).out);
  EXPECT_EQ(json["values"], (std::vector<double>{1.5, -2, 0.25}));
}

TEST_F(KstSectionsTest, DumpAsJsonHasEveryDigitOfAnInteger) {
  const std::int64_t large = 9007199254740993;  // which no double is
  Write("c.kdb", {{"x", BytesOf<std::int64_t>({large, -1})}});
  const Json json =
      Json::parse(Run({"dump", Path("c.kdb"), "x", "--as", "int64", "--json"}).out);
  EXPECT_EQ(json["values"].dump(), "[9007199254740993,-1]");
}

TEST_F(KstSectionsTest, DumpTellsWhatIsNoWholeValue) {
  Write("c.kdb", {{"x", "12345"}});
  EXPECT_EQ(Run({"dump", Path("c.kdb"), "x", "--as", "int32"}).out,
            "       0      875770417\nand 1 bytes that are no whole value\n");
}

TEST_F(KstSectionsTest, AbsentSectionIsAnError) {
  const ToolRun run = Run({"dump", Path("a.kdb"), "none"});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_EQ(run.err,
            "kst_sections: \"" + Path("a.kdb") + "\": There is no section \"none\"\n");
}

// The verbs that take a section file apart, with `file` in each of their places for one.
std::vector<std::vector<std::string>> ReadingVerbs(const std::string& file,
                                                   const std::string& good,
                                                   const std::string& output) {
  return {{"list", file},
          {"verify", file},
          {"dump", file, "forces"},
          {"get", file, "forces", output},
          {"set", file, "forces", good},
          {"remove", file, "title", output},
          {"diff", file, good},
          {"diff", good, file},
          {"salvage", file, output}};
}

TEST_F(KstSectionsTest, EveryVerbRefusesWhatItCannotRead) {
  WriteWholeFile(Path("empty.kdb"), "");
  WriteWholeFile(Path("foreign.kdb"), "no section file");
  WriteWholeFile(Path("head.kdb"), ReadWholeFile(Path("a.kdb")).substr(0, 30));
  std::filesystem::create_directory(Path("folder"));
  const std::string before = Names();
  for (const char* name :
       {"absent.kdb", "empty.kdb", "foreign.kdb", "head.kdb", "folder"}) {
    for (const auto& arguments : ReadingVerbs(Path(name), Path("a.kdb"), Path("new"))) {
      const ToolRun run = Run(arguments);
      EXPECT_EQ(run.status, kTrouble) << arguments[0] << ' ' << name;
      EXPECT_EQ(run.out, "") << arguments[0] << ' ' << name;
      EXPECT_TRUE(run.err.starts_with("kst_sections: ")) << run.err;
      EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
      EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
      EXPECT_EQ(Names(), before) << arguments[0] << ' ' << name;
    }
  }
}

TEST_F(KstSectionsTest, SectionThatTheFileEndsWithinIsNamed) {
  const std::string bytes = ReadWholeFile(Path("a.kdb"));
  WriteWholeFile(Path("cut.kdb"), bytes.substr(0, bytes.size() - 3));
  const ToolRun run = Run({"get", Path("cut.kdb"), "forces", Path("f")});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_EQ(run.err, "kst_sections: " + Path("cut.kdb") +
                         ": section \"forces\": the file ends within it\n");
  EXPECT_EQ(Names(), "a.kdb cut.kdb");
}

TEST_F(KstSectionsTest, JsonTellsWhatWasWritten) {
  WriteWholeFile(Path("t"), "12345");
  EXPECT_EQ(Json::parse(Run({"get", "--json", Path("a.kdb"), "title", Path("g")}).out),
            (Json{{"file", Path("a.kdb")},
                  {"section", "title"},
                  {"output", Path("g")},
                  {"length", 8}}));
  for (const bool isThere : {false, true}) {
    EXPECT_EQ(Json::parse(Run({"set", Path("a.kdb"), "new", Path("t"), "--json"}).out),
              (Json{{"file", Path("a.kdb")},
                    {"section", "new"},
                    {"replaced", isThere},
                    {"length", 5}}));
  }
  EXPECT_EQ(Json::parse(
                Run({"remove", "--json", Path("a.kdb"), "new", "title", Path("r")}).out),
            (Json{{"file", Path("a.kdb")},
                  {"output", Path("r")},
                  {"kept", 1},
                  {"removed", {"title", "new"}}}));
}

TEST_F(KstSectionsTest, OutputThatIsThereOrCannotBeMadeIsRefused) {
  EXPECT_EQ(Run({"get", Path("a.kdb"), "title", Path("a.kdb"), "--json"}).err,
            "kst_sections: " + Path("a.kdb") +
                ": is there already, and nothing is overwritten\n");
  const ToolRun run = Run({"get", Path("a.kdb"), "title", Path("none/t"), "--json"});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kst_sections: " + Path("none/t") + ": could not be written\n");
}

TEST_F(KstSectionsTest, GetAndSetCarryBytesOutAndIn) {
  EXPECT_EQ(Run({"get", Path("a.kdb"), "title", Path("t")}).status, kGood);
  EXPECT_EQ(ReadWholeFile(Path("t")), "A frame\n");
  EXPECT_EQ(Run({"get", Path("a.kdb"), "title", Path("t")}).status, kTrouble)
      << "overwrites";
  WriteWholeFile(Path("t"), std::string("\r\n\x1a\0x", 5));
  EXPECT_EQ(Run({"set", Path("a.kdb"), "title", Path("t")}).status, kGood);
  EXPECT_EQ(Run({"set", Path("a.kdb"), "new", Path("t")}).status, kGood);
  const Sections sections = Read("a.kdb");
  ASSERT_EQ(sections.size(), 3u);
  EXPECT_EQ(sections[0].second, std::string("\r\n\x1a\0x", 5));
  EXPECT_EQ(sections[2], std::pair(std::string("new"), sections[0].second));
  EXPECT_EQ(Names(), "a.kdb t");
}

TEST_F(KstSectionsTest, SetNeedsBothFiles) {
  WriteWholeFile(Path("t"), "");
  EXPECT_EQ(Run({"set", Path("none.kdb"), "a", Path("t")}).status, kTrouble);
  EXPECT_EQ(Run({"set", Path("a.kdb"), "a", Path("none")}).err,
            "kst_sections: " + Path("none") + ": cannot be read\n");
  EXPECT_EQ(Names(), "a.kdb t");
}

TEST_F(KstSectionsTest, RemoveWritesANewFile) {
  EXPECT_EQ(Run({"remove", Path("a.kdb"), "title", Path("b.kdb")}).out,
            Path("b.kdb") + ": 1 of 2 sections\n");
  EXPECT_EQ(Read("b.kdb").size(), 1u);
  EXPECT_EQ(Read("a.kdb").size(), 2u);
  EXPECT_EQ(Run({"remove", Path("a.kdb"), "title", Path("b.kdb")}).status, kTrouble);
  EXPECT_EQ(Run({"remove", Path("a.kdb"), "none", Path("c.kdb")}).err,
            "kst_sections: " + Path("a.kdb") + ": has no section \"none\"\n");
  EXPECT_EQ(Names(), "a.kdb b.kdb");
}

TEST_F(KstSectionsTest, FailedRemoveLeavesNothing) {
  WriteDamaged();
  EXPECT_EQ(Run({"remove", Path("b.kdb"), "title", Path("c.kdb")}).status, kTrouble);
  EXPECT_EQ(Names(), "a.kdb b.kdb");
}

TEST_F(KstSectionsTest, DiffOfEqualFilesIsEmpty) {
  const ToolRun run = Run({"diff", Path("a.kdb"), Path("a.kdb")});
  EXPECT_EQ(run.status, kGood);
  EXPECT_EQ(run.out, "");
}

TEST_F(KstSectionsTest, DiffTellsEachDifference) {
  Write("b.kdb", {{"title", "A fRame\n"},
                  {"forces", BytesOf<double>({1.5, -2.5, 0.5})},
                  {"more", ""}});
  Write("c.kdb", {{"title", "short"}});
  const ToolRun run = Run({"diff", Path("a.kdb"), Path("b.kdb")});
  EXPECT_EQ(run.status, kFinding);
  EXPECT_EQ(run.out,
            "\"title\": differ from byte 3 on\n"
            "\"forces\": 2 of 3 values differ, most at 1: -2 and -2.5\n"
            "\"more\": only in " +
                Path("b.kdb") + "\n");
  EXPECT_EQ(Run({"diff", Path("a.kdb"), Path("c.kdb")}).out,
            "\"title\": 8 bytes, and 5\n\"forces\": only in " + Path("a.kdb") + "\n");
  const auto json =
      nlohmann::json::parse(Run({"diff", "--json", Path("a.kdb"), Path("b.kdb")}).out);
  EXPECT_EQ(json["differences"].size(), 3u);
}

TEST_F(KstSectionsTest, DiffOfNumbersHasTolerances) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Write("a.kdb", {{"forces", BytesOf<double>({100, 0, nan})}});
  Write("b.kdb", {{"forces", BytesOf<double>({101, 0.001, -nan})}});
  const auto status = [&](const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"diff", Path("a.kdb"), Path("b.kdb")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments).status;
  };
  EXPECT_EQ(status({}), kFinding);
  EXPECT_EQ(status({"--tolerance", "0.01"}), kFinding);
  EXPECT_EQ(status({"--tolerance", "0.01", "--absolute", "0.001"}), kGood);
  EXPECT_EQ(status({"--absolute", "1"}), kGood);
  EXPECT_EQ(status({"--absolute", "1", "--as", "hex"}), kFinding);
}

TEST_F(KstSectionsTest, NothingIsNearAnInfiniteNumber) {
  const double infinity = std::numeric_limits<double>::infinity();
  Write("a.kdb", {{"forces", BytesOf<double>({infinity, infinity})}});
  Write("b.kdb", {{"forces", BytesOf<double>({infinity, 1})}});
  EXPECT_EQ(Run({"diff", Path("a.kdb"), Path("b.kdb"), "--tolerance", "0.5"}).out,
            "\"forces\": 1 of 2 values differ, most at 1: inf and 1\n");
}

TEST_F(KstSectionsTest, LargeIntegersDifferByOne) {
  const std::int64_t large = 9007199254740993;  // which no double is
  const std::int64_t least = std::numeric_limits<std::int64_t>::min();
  Write("a.kdb", {{"x", BytesOf<std::int64_t>({large, least})}});
  Write("b.kdb", {{"x", BytesOf<std::int64_t>({large - 1, -(least + 1)})}});
  EXPECT_EQ(Run({"diff", Path("a.kdb"), Path("b.kdb"), "--as", "int64"}).out,
            "\"x\": 2 of 2 values differ, most at 1: -9223372036854775808 and "
            "9223372036854775807\n");
  EXPECT_EQ(
      Run({"diff", Path("a.kdb"), Path("b.kdb"), "--as", "int64", "--absolute", "1"}).out,
      "\"x\": 1 of 2 values differ, most at 1: -9223372036854775808 and "
      "9223372036854775807\n");
}

TEST_F(KstSectionsTest, NoNumberDiffersMoreThanOneThatIsNone) {
  Write("a.kdb", {{"forces", BytesOf<double>({1, 2, 3})}});
  Write("b.kdb", {{"forces",
                   BytesOf<double>({1e9, std::numeric_limits<double>::quiet_NaN(), 3})}});
  EXPECT_EQ(Run({"diff", Path("a.kdb"), Path("b.kdb")}).out,
            "\"forces\": 2 of 3 values differ, most at 1: 2 and nan\n");
}

TEST_F(KstSectionsTest, SalvageKeepsWhatIsWhole) {
  WriteDamaged();
  const ToolRun run = Run({"salvage", Path("b.kdb"), Path("c.kdb")});
  EXPECT_EQ(run.status, kFinding);
  EXPECT_EQ(run.out, "lost: \"forces\", 24 bytes: its bytes do not have its checksum\n" +
                         Path("c.kdb") + ": 1 of 2 sections\n");
  EXPECT_EQ(Read("c.kdb"), (Sections{{"title", "A frame\n"}}));
  const Json json =
      Json::parse(Run({"salvage", "--json", Path("b.kdb"), Path("e.kdb")}).out);
  EXPECT_EQ(json["saved"], 1);
  EXPECT_EQ(json["lost"], (Json{{{"name", "forces"},
                                 {"length", 24},
                                 {"damage", "its bytes do not have its checksum"}}}));
  EXPECT_EQ(Run({"salvage", Path("a.kdb"), Path("d.kdb")}).status, kGood);
  EXPECT_EQ(Run({"salvage", Path("a.kdb"), Path("d.kdb")}).status, kTrouble);
}

TEST_F(KstSectionsTest, OutputThatCannotBeWrittenIsTold) {
  std::ostream broken(nullptr);
  std::ostringstream err;
  const std::string file = Path("a.kdb");
  const char* argv[] = {"kst_sections", "list", file.c_str()};
  EXPECT_EQ(KstSections(3, argv, {broken, err, false}), kTrouble);
  EXPECT_EQ(err.str(), "kst_sections: the output could not be written\n");
  const char* help[] = {"kst_sections", "--help"};
  EXPECT_EQ(KstSections(2, help, {broken, err, false}), kTrouble);
}

}  // namespace
