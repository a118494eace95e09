// The program's option -svg.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "truss_job.h"

namespace {

struct Line {
  double x1, y1, x2, y2;
  std::string colour;  // "" for an undeformed bar
};

// The value of a tag's attribute, "" when it has none.
std::string Attribute(const std::string& tag, const std::string& name) {
  const std::string start = ' ' + name + "='";
  const std::size_t begin = tag.find(start);
  if (begin == std::string::npos) {
    return "";
  }
  const std::size_t value = begin + start.size();
  return tag.substr(value, tag.find('\'', value) - value);
}

// The bars' lines: those of the undeformed frame, then the others.
std::vector<Line> LinesIn(const std::string& svg) {
  constexpr char kBar[] = "<line x1=";  // the legend's line has a class first
  std::vector<Line> lines;
  for (std::size_t begin = svg.find(kBar); begin != std::string::npos;
       begin = svg.find(kBar, begin + 1)) {
    const std::string tag = svg.substr(begin, svg.find('>', begin) - begin);
    const auto number = [&](const char* name) { return std::stod(Attribute(tag, name)); };
    lines.push_back({number("x1"), number("y1"), number("x2"), number("y2"),
                     Attribute(tag, "stroke")});
  }
  return lines;
}

std::string PictureOf(const TrussJob& job) {
  const std::string file = job.File("picture.svg");
  const TrussRun run = job.Run({"-svg", file});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("\nDrawn in " + file + ".\n"), std::string::npos) << run.out;
  return ReadWholeFile(file);
}

TEST(TrussPictureTest, ShowsTheFrameBeforeAndAfter) {
  const TrussJob job(kTwoBarDeck);
  const std::string svg = PictureOf(job);
  const std::vector<Line> lines = LinesIn(svg);
  ASSERT_EQ(lines.size(), 4u);
  for (const Line& line : lines) {
    for (const double x : {line.x1, line.x2}) {
      EXPECT_TRUE(x >= 40 && x <= 760) << x;
    }
    for (const double y : {line.y1, line.y2}) {
      EXPECT_TRUE(y >= 70 && y <= 610) << y;
    }
  }
  // A plane frame is seen from its front: y upwards, and the loaded node has moved to the
  // right and down.
  EXPECT_LT(lines[0].x1, lines[1].x1);
  EXPECT_LT(lines[0].y2, lines[0].y1);
  EXPECT_GT(lines[2].x2, lines[0].x2);
  EXPECT_GT(lines[2].y2, lines[0].y2);
  // Both are pressed, by 5 and by 15: the second one lies in front, in the full colour.
  EXPECT_EQ(lines[0].colour, "");
  EXPECT_EQ(lines[2].colour, "rgb(181,137,142)");
  EXPECT_EQ(lines[3].colour, "rgb(192,42,42)");
  EXPECT_NE(svg.find("<title>bar 1: -15</title>"), std::string::npos);
  EXPECT_NE(svg.find(">-15</text>"), std::string::npos) << "legend";
  EXPECT_NE(svg.find("displacements x 2<"), std::string::npos) << svg;
  EXPECT_EQ(svg.find("e+"), std::string::npos);
}

TEST(TrussPictureTest, TensionHasAnotherColour) {
  const TrussJob job(
      "material 1\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1\nfix 1 xyz\nfix 2 yz\n"
      "load 2 1 0 0\n");
  EXPECT_EQ(LinesIn(PictureOf(job))[1].colour, "rgb(31,101,178)");
}

TEST(TrussPictureTest, FrameWithoutLoadsIsAsItWas) {
  const std::string deck = kTwoBarDeck;
  const TrussJob job(deck.substr(0, deck.find("load")));
  const std::string svg = PictureOf(job);
  const std::vector<Line> lines = LinesIn(svg);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(svg.find("-0<"), std::string::npos) << "in the legend";
  EXPECT_EQ(lines[2].x2, lines[0].x2);
  EXPECT_EQ(lines[2].colour, "rgb(176,184,192)");
}

TEST(TrussPictureTest, TitleCannotBecomeMarkup) {
  const std::string rest = std::string(kTwoBarDeck).substr(sizeof "title Two bars\n" - 1);
  const TrussJob job("title </title><script>&m\xe4st\x01" + std::string(500, 'x') + '\n' +
                     rest);
  const std::string svg = PictureOf(job);
  EXPECT_EQ(svg.find("<script"), std::string::npos);
  EXPECT_NE(svg.find("<title>&lt;/title&gt;&lt;script&gt;&amp;m?st?x"),
            std::string::npos);
  EXPECT_EQ(svg.find(std::string(400, 'x')), svg.rfind(std::string(400, 'x')) - 100)
      << "whole as the title, not in the heading";
}

TEST(TrussPictureTest, ShippedDecksAreDrawn) {
  const TrussJob job("");
  const std::pair<const char*, std::size_t> decks[] = {
      {"plane_truss", 10}, {"space_truss", 25}, {"tower", 2040}};
  for (const auto& [deck, bars] : decks) {
    const std::string file = job.File("picture.svg");
    ASSERT_EQ(RunTruss({"-job", "job", "-outdir", job.DirPath(), "-svg", file,
                        ShippedDeck(deck)})
                  .status,
              0);
    EXPECT_EQ(LinesIn(ReadWholeFile(file)).size(), 2 * bars) << deck;
  }
}

TEST(TrussPictureTest, WhatCannotBeWrittenIsToldBeforeTheWork) {
  const TrussJob job("no deck\n");
  for (const char* option : {"-svg", "-export"}) {
    for (const std::string& file : {job.File("none/x"), job.DirPath()}) {
      const TrussRun run = job.Run({option, file});
      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.out, "");
      EXPECT_EQ(run.err,
                "kst_truss: cannot write " + file + " (kst_truss -help tells more)\n");
    }
  }
}

TEST(TrussPictureTest, TryingToWriteChangesNothing) {
  const TrussJob job("no deck\n");
  const std::string old = job.File("old.svg");
  WriteWholeFile(old, "old");
  EXPECT_EQ(job.Run({"-svg", job.File("new.svg"), "-export", old}).status, 1);
  EXPECT_FALSE(FileExists(job.File("new.svg")));
  EXPECT_EQ(ReadWholeFile(old), "old");
}

TEST(TrussPictureTest, FullDiskIsToldInOneLine) {
  const TrussJob job(kTwoBarDeck);
  const std::string root = job.DirPath().substr(0, job.DirPath().find("tmp"));
  const std::string full = root + "dev" + root.back() + "full";
  const TrussRun run = job.Run({"-svg", full});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kst_truss: " + full + ": cannot be written\n");
  EXPECT_TRUE(FileExists(job.ResultPath())) << "the job itself is saved";
}

}  // namespace
