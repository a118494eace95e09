#include <gtest/gtest.h>

#include "common/expect/ExpectThrow.h"
#include "examples/truss/Truss.h"
#include "nex/nex_TextException.h"
#include "truss_job.h"

namespace {

Deck ReadText(const std::string& text) {
  return ReadDeck(TrussJob(text).DeckPath());
}

TEST(TrussDeckTest, KeepsRowsInTheOrderOfTheDeck) {
  const Deck deck = ReadText(
      "load 30 1 2 3\nfix 7 xz\n"
      "material 5\nbar 9 30 7 0.5\nmaterial 6e1\nbar 2 7 30 .25\n"
      "node 30 1.5 -2e3 0\nnode 7 0 0 -0.5\n"
      "title  A frame,  with blanks \n"
      "fix 30 y\nfix 7 zy\nload 30 10 20 30\n");
  EXPECT_EQ(deck.title, "A frame,  with blanks");
  ASSERT_EQ(deck.nodes.size(), 2u);
  EXPECT_EQ(deck.nodes[0].id, 30);
  EXPECT_EQ(deck.nodes[0].xyz, Eigen::Vector3d(1.5, -2000, 0));
  EXPECT_EQ(deck.nodes[0].load, Eigen::Vector3d(11, 22, 33));
  EXPECT_EQ(deck.nodes[0].held, (std::array<bool, 3>{false, true, false}));
  EXPECT_EQ(deck.nodes[1].id, 7);
  EXPECT_EQ(deck.nodes[1].held, (std::array<bool, 3>{true, true, true}));
  EXPECT_EQ(deck.nodes[1].load, Eigen::Vector3d(0, 0, 0));
  ASSERT_EQ(deck.bars.size(), 2u);
  EXPECT_EQ(deck.bars[0].id, 9);
  EXPECT_EQ(deck.bars[0].ends, (std::array<int, 2>{30, 7}));
  EXPECT_EQ(deck.bars[0].area, 0.5);
  EXPECT_EQ(deck.bars[0].modulus, 5);
  EXPECT_EQ(deck.bars[1].id, 2);
  EXPECT_EQ(deck.bars[1].ends, (std::array<int, 2>{7, 30}));
  EXPECT_EQ(deck.bars[1].modulus, 60);
}

constexpr char kFrame[] =
    "material 1\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1\nfix 1 xyz\n";

TEST(TrussDeckTest, TakesWindowsLineEndsTabsCommentsAndBlankLines) {
  const Deck deck = ReadText(
      "# a deck\r\n\r\ntitle\ta b\t# not this\r\nmaterial\t1\r\n"
      " \t node 1\t0 0 0#near\r\nnode 2 1 0 0\r\nbar 1 1 2 1\r\nfix 1 xyz\r\n#end");
  EXPECT_EQ(deck.title, "a b");
  EXPECT_EQ(deck.nodes.size(), 2u);
}

TEST(TrussDeckTest, NeedsNoTitle) {
  EXPECT_EQ(ReadText(kFrame).title, "");
  EXPECT_EQ(ReadText(std::string("title # none\n") + kFrame).title, "");
}

TEST(TrussDeckTest, TakesALineOfAnyLength) {
  const std::string blanks(1 << 20, ' ');
  const Deck deck = ReadText("#" + std::string(1 << 20, 'x') + "\nnode" + blanks +
                             "5 1 2 3" + blanks + "\n" + kFrame);
  EXPECT_EQ(deck.nodes[0].id, 5);
}

TEST(TrussDeckTest, NumbersNodesAndBarsApart) {
  const Deck deck = ReadText(
      "material 1\nnode 1 0 0 0\nnode 2147483647 1 0 0\n"
      "bar 2147483647 1 2147483647 1\nfix 1 x\n");
  EXPECT_EQ(deck.nodes[1].id, 2147483647);
  EXPECT_EQ(deck.bars[0].id, 2147483647);
}

struct BadDeck {
  const char* name;
  std::string text;
  int line;
  const char* reason;
};

// Behind a frame of five lines, so on line 6.
BadDeck BadLine(const char* name, const std::string& line, const char* reason) {
  return {name, kFrame + line + "\n", 6, reason};
}

const BadDeck kBadDecks[] = {
    BadLine("UnknownWord", "beam 1 2", "unknown word \"beam\""),
    BadLine("WordInUpperCase", "NODE 3 0 0 0", "unknown word \"NODE\""),
    BadLine("WordWithMore", "nodes 3 0 0 0", "unknown word \"nodes\""),
    BadLine("StartOfAWord", "nod 3 0 0 0", "unknown word \"nod\""),
    BadLine("OddBytes", "\x01\xff\x7f", "unknown word \"???\""),
    BadLine("ZeroByte", std::string("a\0b", 3), "unknown word \"a?b\""),
    BadLine("OverlongWord", std::string(1 << 20, 'x'),
            "unknown word \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\""),
    BadLine("MaterialWithoutNumber", "material",
            "too few words, expected \"material E\""),
    BadLine("NodeWithoutNumber", "node 3 0 0",
            "too few words, expected \"node ID X Y Z\""),
    BadLine("NodeAlone", "node", "too few words, expected \"node ID X Y Z\""),
    BadLine("BarWithoutArea", "bar 2 1 2",
            "too few words, expected \"bar ID NODE NODE AREA\""),
    BadLine("FixWithoutDirections", "fix 2", "too few words, expected \"fix NODE xyz\""),
    BadLine("LoadWithoutNumber", "load 2 0 0",
            "too few words, expected \"load NODE FX FY FZ\""),
    BadLine("NumberInAComment", "load 2 0 0 #1",
            "too few words, expected \"load NODE FX FY FZ\""),
    BadLine("MaterialWithMore", "material 1 2",
            "too many words, expected \"material E\""),
    BadLine("NodeWithMore", "node 3 0 0 0 0",
            "too many words, expected \"node ID X Y Z\""),
    BadLine("BarWithMore", "bar 2 1 2 1 1",
            "too many words, expected \"bar ID NODE NODE AREA\""),
    BadLine("FixWithMore", "fix 2 x y", "too many words, expected \"fix NODE xyz\""),
    BadLine("LoadWithMore", "load 2 0 0 0 0",
            "too many words, expected \"load NODE FX FY FZ\""),
    BadLine("NoNumber", "load 2 0 zero 0", "expected a number, not \"zero\""),
    BadLine("NumberWithTail", "load 2 0 1.5m 0", "expected a number, not \"1.5m\""),
    BadLine("NumberWithComma", "load 2 0 1,5 0", "expected a number, not \"1,5\""),
    BadLine("NumberWithPlus", "load 2 0 +1 0", "expected a number, not \"+1\""),
    BadLine("HexNumber", "load 2 0 0x1 0", "expected a number, not \"0x1\""),
    BadLine("InfiniteNumber", "node 3 0 -inf 0", "expected a number, not \"-inf\""),
    BadLine("NotANumber", "node 3 nan 0 0", "expected a number, not \"nan\""),
    BadLine("NumberTooLarge", "node 3 0 0 1e999", "expected a number, not \"1e999\""),
    BadLine("NodeIdZero", "node 0 0 0 0",
            "expected an id from 1 to 2147483647, not \"0\""),
    BadLine("NodeIdNegative", "node -3 0 0 0",
            "expected an id from 1 to 2147483647, not \"-3\""),
    BadLine("NodeIdFraction", "node 1.5 0 0 0",
            "expected an id from 1 to 2147483647, not \"1.5\""),
    BadLine("NodeIdTooLarge", "node 2147483648 0 0 0",
            "expected an id from 1 to 2147483647, not \"2147483648\""),
    BadLine("BarIdWord", "bar b 1 2 1", "expected an id from 1 to 2147483647, not \"b\""),
    BadLine("RepeatedNode", "node 2 5 5 5", "repeated id \"2\""),
    BadLine("RepeatedBar", "bar 1 1 2 1", "repeated id \"1\""),
    BadLine("BarOfUnknownNode", "bar 2 1 9 1", "unknown node \"9\""),
    BadLine("BarFromUnknownNode", "bar 2 9 1 1", "unknown node \"9\""),
    BadLine("FixOfUnknownNode", "fix 9 x", "unknown node \"9\""),
    BadLine("LoadOfUnknownNode", "load 9 0 0 0", "unknown node \"9\""),
    BadLine("BarFromANodeToItself", "bar 2 2 2 1", "a bar of zero length"),
    {"BarBetweenNodesInOnePlace", std::string(kFrame) + "node 3 1 0 0\nbar 2 2 3 1\n", 7,
     "a bar of zero length"},
    BadLine("AreaZero", "bar 2 1 2 0", "expected a positive number, not \"0\""),
    BadLine("AreaNegative", "bar 2 1 2 -1", "expected a positive number, not \"-1\""),
    BadLine("AreaInfinite", "bar 2 1 2 inf", "expected a positive number, not \"inf\""),
    BadLine("ModulusZero", "material 0", "expected a positive number, not \"0\""),
    BadLine("ModulusNegative", "material -2e3",
            "expected a positive number, not \"-2e3\""),
    BadLine("UnknownDirection", "fix 2 xw", "expected letters of xyz, not \"xw\""),
    BadLine("DirectionInUpperCase", "fix 2 X", "expected letters of xyz, not \"X\""),
    {"BarBeforeAnyMaterial", std::string("bar 2 1 2 1\n") + kFrame, 1,
     "a bar before any material"},
    {"SecondTitle", "title a\ntitle b\n", 2, "a second title"},
    {"Empty", "", 1, "no bars"},
    {"OnlyComments", "# nothing\n#\n", 3, "no bars"},
    {"NoBars", "node 1 0 0 0\nfix 1 xyz\n", 3, "no bars"},
    {"NoSupport", "material 1\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1\n", 5,
     "no support"},
    {"BarOfAStiffnessTooLarge",
     "material 1e200\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1e200\nfix 1 xyz\n", 4,
     "a bar of a stiffness out of range"},
    {"BarOfAStiffnessTooSmall",
     "material 1e-200\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1e-200\nfix 1 xyz\n", 4,
     "a bar of a stiffness out of range"},
    {"BarTooLong",
     "material 1\nnode 1 -1e308 0 0\nnode 2 1e308 0 0\nbar 1 1 2 1\nfix 1 xyz\n", 4,
     "a bar of a stiffness out of range"},
    {"LoadsTooLarge",
     std::string(kFrame) + "fix 2 yz\nload 2 1e308 0 0\nload 2 1e308 0 0\n", 2,
     "loads out of range"},
    {"MechanismAroundASupport", kFrame, 3, "a mechanism: node 2 is free to move in y"},
    {"MechanismInLine",
     std::string(kFrame) + "node 3 2 0 0\nbar 2 2 3 1\nfix 3 xyz\nfix 2 z\n", 3,
     "a mechanism: node 2 is free to move in y"},
    {"MechanismInASlantedLine",
     "material 7\nnode 1 0 0 0\nnode 2 1 0.3 0\nnode 3 3 0.9 0\nbar 1 1 2 3\n"
     "bar 2 2 3 1\nfix 1 xyz\nfix 3 xyz\nfix 2 z\n",
     3, "a mechanism: node 2 is free to move in y"},
    {"MechanismOfAPlaneFrameNotHeldInZ",
     "material 200\nnode 1 -3 0 0\nnode 2 3 0 0\nnode 7 0 4 0\nbar 1 1 7 2\n"
     "bar 2 2 7 2\nfix 1 xyz\nfix 2 xyz\n",
     4, "a mechanism: node 7 is free to move in z"},
    {"NodeWithoutBars", std::string(kFrame) + "fix 2 yz\nnode 8 5 5 5\n", 7,
     "a mechanism: node 8 is free to move in x"},
};

class TrussBadDeckTest : public testing::TestWithParam<BadDeck> {};

TEST_P(TrussBadDeckTest, GetsOneLineAndTouchesNothing) {
  const TrussJob job(GetParam().text);
  WriteWholeFile(job.ResultPath(), "results of an earlier run");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, kTrussTitle);
  EXPECT_EQ(run.err, "kst_truss: " + job.DeckPath() + ":" +
                         std::to_string(GetParam().line) + ": " + GetParam().reason +
                         "\n");
  EXPECT_EQ(ReadWholeFile(job.ResultPath()), "results of an earlier run");
  EXPECT_FALSE(FileExists(job.ResultPath() + ".lock"));
}

INSTANTIATE_TEST_SUITE_P(Rows, TrussBadDeckTest, testing::ValuesIn(kBadDecks),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TrussBadDeckTest, MakesNoResultFile) {
  const TrussJob job("beam\n");
  EXPECT_EQ(job.Run().status, 1);
  EXPECT_FALSE(FileExists(job.ResultPath()));
}

TEST(TrussBadDeckTest, IsATextException) {
  const TrussJob job("beam\n");
  EXPECT_THROW_TEXT(ReadDeck(job.DeckPath()), nex_TextException,
                    job.DeckPath() + ":1: unknown word \"beam\"");
}

TEST(TrussBadDeckTest, MayBeAbsentOrADirectory) {
  const TrussJob job("");
  for (const std::string& path :
       {job.DirPath(), job.DirPath() + "/none.deck", std::string(".")}) {
    const TrussRun run = RunTruss({"-job", "job", "-outdir", job.DirPath(), path});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "kst_truss: " + path + ": cannot be read\n");
  }
  EXPECT_FALSE(FileExists(job.ResultPath()));
}

}  // namespace
