#include "utl/impl/text/utl_expandEnvironment.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "utl/text/EnvironmentModel.h"

namespace {

using std::string;

std::map<string, string> variables;
int lookUps;

char* LookUp(const char* name) {
  ++lookUps;
  const auto found = variables.find(name);
  return found == variables.end() ? nullptr : found->second.data();
}

class ExpandEnvironmentTest : public testing::Test {
 protected:
  void SetUp() override {
    variables.clear();
    lookUps = 0;
  }
};

string Expanded(const string& text) {
  cow_String result(text);
  utl_expandEnvironment(result, LookUp);
  return string(result);
}

TEST_F(ExpandEnvironmentTest, RandomTextsAsByTheRules) {
  std::mt19937 random(1);
  const auto text = [&random](std::size_t most) {
    string result;
    for (std::size_t i = random() % (most + 1); i > 0; --i) {
      result += "%%$$$KKAB_1."[random() % 12];
    }
    return result;
  };
  for (int round = 0; round < 20000; ++round) {
    variables.clear();
    for (const char* name : {"K", "A", "KA", "KK", "KKA", "KB", "K1"}) {
      if (random() % 2 == 0) {
        variables[name] = text(4);
      }
    }
    const string before = text(16);
    ASSERT_EQ(Expanded(before), EnvironmentModel(LookUp).Expanded(before)) << before;
  }
}

TEST_F(ExpandEnvironmentTest, AValueMakesAnotherNameOfWhatStandsBefore) {
  variables = {{"A", "B"}, {"XB", "found"}, {"B", "b"}, {"C", "D"}, {"EFD", "f"}};
  EXPECT_EQ(Expanded("$X$A"), "found");
  EXPECT_EQ(Expanded("$$A"), "b");
  EXPECT_EQ(Expanded("$X.$A"), "$X.B");
  // By way of two.
  variables["FD"] = "FD";
  EXPECT_EQ(Expanded("$E$F$C"), "f");
}

TEST_F(ExpandEnvironmentTest, ATextBeyondAMegabyteIsExpandedNoFurther) {
  constexpr std::size_t kLimit = 1'048'576;
  const string value(50'000, '-');
  variables["V"] = "$V" + value;
  const string expanded = Expanded("$V");
  EXPECT_EQ(expanded.size(), 2 + 21 * value.size()) << "the first length beyond";
  EXPECT_EQ(lookUps, 21);
  variables["W"] = "%W%" + value;
  EXPECT_EQ(Expanded("%W%").size(), 3 + 21 * value.size());

  variables["U"] = "u";
  string text;
  text.resize(kLimit - 2, 'x');
  EXPECT_EQ(Expanded(text + "$U"), text + "u") << "at the limit";
  EXPECT_EQ(Expanded(text + "%U%"), text + "%U%") << "beyond from the start";
}

TEST_F(ExpandEnvironmentTest, OneLimitHoldsForBothForms) {
  const string value(1'048'576, 'x');
  variables = {{"V", value}, {"U", "u"}};
  EXPECT_EQ(Expanded("%V%$U"), value + "$U");
  EXPECT_EQ(Expanded("%V%"), value);
}

// From the front it would be a hundred million.
TEST_F(ExpandEnvironmentTest, WhatWasPassedIsNotLookedUpAgain) {
  constexpr int kPassed = 100'000;
  variables["V"] = "$V";
  string text;
  for (int i = 0; i < kPassed; ++i) {
    text += "$X";
  }
  EXPECT_EQ(Expanded(text + ".$V"), text + ".$V");
  EXPECT_EQ(lookUps, kPassed + 1000);
  lookUps = 0;
  EXPECT_EQ(Expanded(text + "$V"), text + "$V");
  EXPECT_EQ(lookUps, kPassed + 1000 + 999) << "only the one that stands before";
  lookUps = 0;
  const string longName = "$" + string(kPassed, 'X');
  EXPECT_EQ(Expanded(longName + "$V"), longName + "$V");
  EXPECT_EQ(lookUps, 1000);
}

TEST_F(ExpandEnvironmentTest, ANameEndsAtAZeroByte) {
  variables["A"] = "a";
  EXPECT_EQ(Expanded(string("%A\0B%", 5)), "a");
}

}  // namespace
