#include "utl/utl_CommandLineForeign.h"

#include <gtest/gtest.h>

#include <string>

#include "common/expect/ExpectThrow.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

using namespace std::string_literals;

int Length(const std::string& text) {
  return static_cast<int>(text.size());
}

int Integer(const std::string& name) {
  int value = -99;
  UTL_COMMANDLINEINTEGER(name.data(), &value, Length(name));
  return value;
}

int Status(const std::string& name) {
  int status = -99;
  UTL_COMMANDLINEISMEMBER(name.data(), &status, Length(name));
  return status;
}

// What a variable of the given text and its status become.
std::pair<std::string, int> String(const std::string& name, std::string variable) {
  int status = -99;
  UTL_COMMANDLINESTRING(name.data(), variable.data(), &status, Length(name),
                        Length(variable));
  return {variable, status};
}

std::pair<std::string, int> StringC(const char* name, std::string variable) {
  const int result = utl_CommandLineStringC(name, variable.data(), Length(variable));
  return {variable, result};
}

using Filled = std::pair<std::string, int>;

class CommandLineForeignTest : public testing::Test {
 protected:
  void SetUp() override {
    cow_1DArrayList<cow_String> list;
    for (const char* argument : {"-job", "beam", "-cpus", "4", "-abc", "xyz", "-empty",
                                 "-bad", "1x", "-two words", "yes", "-"}) {
      list.Append(argument);
    }
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
    utl_CommandLineLoader::SetArgsList(list);
  }
  void TearDown() override { thr_GlobalSingleton<utl_CommandLine>::Destroy(); }
};

TEST_F(CommandLineForeignTest, Integer) {
  EXPECT_EQ(Integer("cpus"), 4);
  EXPECT_EQ(Integer("  cpus        "), 4);
  EXPECT_EQ(Integer("absent"), 0);
  EXPECT_EQ(Integer("empty "), 0);
  EXPECT_THROW_TEXT(Integer("bad "), utl_CmdLineArgFormatException,
                    "Command line argument bad must have type integer");
}

TEST_F(CommandLineForeignTest, IsMemberIsZeroForPresent) {
  EXPECT_EQ(Status("job"), 0);
  EXPECT_EQ(Status("job                             "), 0);
  EXPECT_EQ(Status(" job"), 0);
  EXPECT_EQ(Status("two words  "), 0);
  EXPECT_EQ(Status("empty"), 0);
  EXPECT_EQ(Status("absent"), 1);
  EXPECT_EQ(Status("jo"), 1);
  EXPECT_EQ(Status("\tjob"), 1);
}

TEST_F(CommandLineForeignTest, OnlyTheHiddenLengthCounts) {
  int status = -99;
  UTL_COMMANDLINEISMEMBER("jobs", &status, 3);
  EXPECT_EQ(status, 0);
  // Without characters it is the empty name, which is given here.
  for (const int none : {0, -1, -2147483647}) {
    UTL_COMMANDLINEISMEMBER("jobs", &(status = -99), none);
    EXPECT_EQ(status, 0) << none;
  }
  EXPECT_EQ(Status("     "), 0);
}

TEST_F(CommandLineForeignTest, ValuesFillAVariableOrLeaveIt) {
  const struct {
    const char* name;
    const char* variable;
    Filled filled;
  } cases[] = {
      {"job", "????????", {"beam    ", 4}},
      {"abc", "????????", {"xyz     ", 3}},
      {"job", "????", {"beam", 4}},
      {"job", "???", {"???", 0}},
      {"absent", "????", {"????", 0}},
      {"empty", "????", {"    ", 0}},
      {"empty", "", {"", 0}},
  };
  for (const auto& [name, variable, filled] : cases) {
    EXPECT_EQ(String(name, variable), filled) << name;
    EXPECT_EQ(StringC(name, variable), filled) << name;
  }
}

TEST_F(CommandLineForeignTest, StringStripsItsNameAndStringCDoesNot) {
  for (const char* name : {"job ", " job", "job                             "}) {
    EXPECT_EQ(String(name, "????????"), Filled("beam    ", 4));
    EXPECT_EQ(StringC(name, "????????"), Filled("????????", 0));
  }
}

TEST_F(CommandLineForeignTest, StringWithANegativeLengthOfTheVariable) {
  char variable[] = "????";
  int status = -99;
  UTL_COMMANDLINESTRING("empty", variable, &status, 5, -1);
  EXPECT_EQ(status, 0);
  EXPECT_STREQ(variable, "????");
}

TEST_F(CommandLineForeignTest, GetArgs) {
  char buffer[] = "????????";
  EXPECT_EQ(utl_getArgs("absent", buffer), 0);
  EXPECT_EQ(utl_getArgs("job ", buffer), 0);
  EXPECT_EQ(std::string(buffer, 9), "????????\0"s);
  EXPECT_EQ(utl_getArgs("job", buffer), 4);
  EXPECT_EQ(std::string(buffer, 9), "beam\0???\0"s);
  EXPECT_EQ(utl_getArgs("empty", buffer), 0);
  EXPECT_EQ(std::string(buffer, 9), "\0eam\0???\0"s);
}

TEST_F(CommandLineForeignTest, NothingLoaded) {
  thr_GlobalSingleton<utl_CommandLine>::Destroy();
  EXPECT_EQ(Integer("job"), 0);
  EXPECT_EQ(Status("job"), 1);
  EXPECT_EQ(String("job", "?"), Filled("?", 0));
}

}  // namespace
