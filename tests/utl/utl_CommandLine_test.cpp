#include "utl/utl_CommandLine.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "common/expect/ExceptionContract.h"
#include "common/expect/ExpectThrow.h"
#include "nex/nex_AssertException.h"
#include "typ/typ_DebugFlags.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

using Singleton = thr_GlobalSingleton<utl_CommandLine>;
using Texts = std::vector<std::string>;

const utl_CommandLine& Line() {
  return Singleton::Instance();
}

// Loads "prog" and the arguments as `main` gets them.
void Load(Texts arguments) {
  arguments.insert(arguments.begin(), "prog");
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  utl_CommandLineLoader::SetArgs(static_cast<int>(argv.size()), argv.data());
}

cow_1DArrayList<cow_String> List(const Texts& items) {
  cow_1DArrayList<cow_String> list;
  for (const std::string& item : items) {
    list.Append(cow_String(item));
  }
  return list;
}

void ExpectMissing(const std::function<void()>& query, const std::string& name) {
  EXPECT_THROW_FROM(query(), utl_MissingCmdLineArgException,
                    "Command line argument " + name + " is required.",
                    "utl/impl/utl_CommandLine");
}

void ExpectMalformed(const std::function<void()>& query, const std::string& name) {
  EXPECT_THROW_FROM(query(), utl_CmdLineArgFormatException,
                    "Command line argument " + name + " must have type integer",
                    "utl/impl/utl_CommandLine");
}

class CommandLineTest : public testing::Test {
 protected:
  void SetUp() override { Clear(); }
  void TearDown() override { Clear(); }

  static void Clear() {
    Singleton::Destroy();
    typ_DebugFlags::Clear();
  }
};

// Only the class that the command line names as its friend may fill it.
template <class Line>
concept TakesArgs = requires(Line& line) {
  line.SetArgs(0, nullptr);
};
template <class Line>
concept TakesArgsList = requires(Line& line) {
  line.SetArgsList({});
};
static_assert(!TakesArgs<utl_CommandLine> && !TakesArgsList<utl_CommandLine>);

TEST_F(CommandLineTest, EmptyBeforeItIsLoaded) {
  EXPECT_EQ(Singleton::Look(), nullptr);
  EXPECT_EQ(Line().Size(), 0);
  EXPECT_FALSE(Line().IsMember("job"));
  EXPECT_FALSE(Line().IsMember(""));
  EXPECT_EQ(Line().ConstGetValue("job", "none"), "none");
  EXPECT_EQ(Line().ConstGetValueAsInt("cpus", 7), 7);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("memory", 8), 8u);
}

TEST_F(CommandLineTest, WorkedExamples) {
  struct Option {
    const char* name;
    const char* value;
  };
  const struct {
    Texts arguments;
    std::vector<Option> options;
    int size;
  } cases[] = {
      {{"-job", "beam", "-cpus", "4"}, {{"job", "beam"}, {"cpus", "4"}}, 5},
      {{"-interactive", "-job", "beam"}, {{"interactive", ""}, {"job", "beam"}}, 4},
      {{"-bold", "1", "-band", "2"}, {{"bold", "1"}, {"band", "2"}}, 5},
      {{"input.dat", "-job", "beam", "extra"}, {{"job", "beam"}}, 5},
      {{"-job"}, {{"job", ""}}, 2},
      {{"-a", "-b"}, {{"a", ""}, {"b", ""}}, 3},
      {{"-offset", "-5"}, {{"offset", ""}, {"5", ""}}, 3},
      {{"--verbose", "1"}, {{"-verbose", "1"}}, 3},
      {{"-"}, {{"", ""}}, 2},
      {{"-", "x"}, {{"", "x"}}, 3},
      {{"-a", "", "b"}, {{"a", ""}}, 4},
      {{"-a", "1", "-a", "2"}, {{"a", "2"}}, 5},
      {{"-a", "1", "-a"}, {{"a", ""}}, 4},
      {{}, {}, 1},
  };
  for (const auto& [arguments, options, size] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Clear();
    Load(arguments);
    EXPECT_EQ(Line().Size(), size);
    EXPECT_EQ(Line().ConstGet(0), "prog");
    for (int i = 1; i < size; ++i) {
      EXPECT_EQ(Line().ConstGet(i), arguments[static_cast<std::size_t>(i) - 1]);
    }
    for (const Option& option : options) {
      EXPECT_TRUE(Line().IsMember(option.name));
      EXPECT_EQ(Line().ConstGetValue(option.name), option.value);
      EXPECT_EQ(Line().ConstGetValue(option.name, "default"), option.value);
    }
    for (const char* name : {"prog", "input.dat", "extra", "beam", "b ", "x"}) {
      EXPECT_FALSE(Line().IsMember(name)) << name;
    }
  }
}

TEST_F(CommandLineTest, SetArgsNeverLooksAtTheProgramsName) {
  char program[] = "-x";
  char value[] = "1";
  char* argv[] = {program, value};
  utl_CommandLineLoader::SetArgs(2, argv);
  EXPECT_FALSE(Line().IsMember("x"));
  EXPECT_EQ(Line().ConstGet(0), "-x");
}

TEST_F(CommandLineTest, SetArgsListLooksAtTheFirstElement) {
  utl_CommandLineLoader::SetArgsList(List({"-x", "1", "-y", "-z"}));
  EXPECT_EQ(Line().Size(), 4);
  EXPECT_EQ(Line().ConstGet(0), "-x");
  EXPECT_EQ(Line().ConstGetValue("x"), "1");
  EXPECT_EQ(Line().ConstGetValue("y"), "");
  EXPECT_EQ(Line().ConstGetValue("z"), "");
  Clear();
  utl_CommandLineLoader::SetArgsList({});
  EXPECT_EQ(Line().Size(), 0);
}

TEST_F(CommandLineTest, SetArgsAppendsAndSetArgsListReplaces) {
  Load({"-a", "1", "-b", "2"});
  Load({"-a", "3"});
  EXPECT_EQ(Line().Size(), 8);
  EXPECT_EQ(Line().ConstGet(5), "prog");
  EXPECT_EQ(Line().ConstGetValue("a"), "3");
  EXPECT_EQ(Line().ConstGetValue("b"), "2");
  utl_CommandLineLoader::SetArgsList(List({"-c", "4"}));
  EXPECT_EQ(Line().Size(), 2);
  EXPECT_EQ(Line().ConstGet(1), "4");
  EXPECT_EQ(Line().ConstGetValue("a"), "3");
  EXPECT_EQ(Line().ConstGetValue("c"), "4");
}

// The option that ends one load is complete: the next load's first argument is no value.
TEST_F(CommandLineTest, NoOptionIsPendingBetweenLoads) {
  utl_CommandLineLoader::SetArgsList(List({"-a"}));
  utl_CommandLineLoader::SetArgsList(List({"x"}));
  EXPECT_EQ(Line().ConstGetValue("a"), "");
}

TEST_F(CommandLineTest, MissingOptions) {
  Load({"job", "-other", "x"});
  ExpectMissing([] { Line().ConstGetValue("job"); }, "job");
  ExpectMissing([] { Line().ConstGetValueAsInt("job"); }, "job");
  ExpectMissing([] { Line().ConstGetValueAsSizeT("job"); }, "job");
  ExpectMissing([] { Line().ConstGetValueAsDictionary("job"); }, "job");
  ExpectMissing([] { Line().ConstGetValue(""); }, "");
  ExpectMissing([] { Line().ConstGetValue("%1$s"); }, "%1$s");
}

TEST_F(CommandLineTest, Numbers) {
  Load({"-n", "12", "-zero", "007", "-empty", "-big", "4294967296", "-max",
        "18446744073709551615"});
  EXPECT_EQ(Line().ConstGetValueAsInt("n"), 12);
  EXPECT_EQ(Line().ConstGetValueAsInt("n", 7), 12);
  EXPECT_EQ(Line().ConstGetValueAsInt("absent", 7), 7);
  EXPECT_EQ(Line().ConstGetValueAsInt("zero"), 7);
  EXPECT_EQ(Line().ConstGetValueAsInt("empty"), 0);
  EXPECT_EQ(Line().ConstGetValueAsInt("empty", 7), 0);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("n"), 12u);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("n", 7), 12u);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("absent", 7), 7u);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("empty"), 0u);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("empty", 7), 0u);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("big"), 4294967296u);
  EXPECT_EQ(Line().ConstGetValueAsSizeT("max"), 18446744073709551615u);
}

// The same on both targets, whose atoi differ beyond 64 bits.
TEST_F(CommandLineTest, OfAnOverlongNumberTheLowest32BitsCount) {
  const struct {
    const char* text;
    int number;
  } cases[] = {
      {"2147483647", 2147483647},
      {"2147483648", -2147483647 - 1},
      {"4294967295", -1},
      {"4294967296", 0},
      {"99999999999", 1215752191},
      {"9223372036854775807", -1},
      {"9223372036854775808", 0},
      {"18446744073709551619", 3},
      {"99999999999999999999999999999", -1610612737},
      {"100000000000000000000000000000000007", 7},
  };
  for (const auto& [text, number] : cases) {
    SCOPED_TRACE(text);
    Clear();
    Load({"-n", text});
    EXPECT_EQ(Line().ConstGetValueAsInt("n"), number);
    EXPECT_EQ(Line().ConstGetValueAsInt("n", 7), number);
  }
}

TEST_F(CommandLineTest, MalformedNumbers) {
  for (const char* value : {"12x", "x", "+5", " 5", "5 ", "1.5", "0x10", "\xb2"}) {
    SCOPED_TRACE(value);
    Clear();
    Load({"-n", value});
    ExpectMalformed([] { Line().ConstGetValueAsInt("n"); }, "n");
    ExpectMalformed([] { Line().ConstGetValueAsInt("n", 7); }, "n");
    ExpectMalformed([] { Line().ConstGetValueAsSizeT("n"); }, "n");
    ExpectMalformed([] { Line().ConstGetValueAsSizeT("n", 7); }, "n");
    EXPECT_EQ(Line().ConstGetValue("n"), value);
  }
}

TEST_F(CommandLineTest, AZeroByteIsNoDigit) {
  cow_1DArrayList<cow_String> list = List({"-n"});
  list.Append(cow_String("1\0", 2));
  utl_CommandLineLoader::SetArgsList(list);
  ExpectMalformed([] { Line().ConstGetValueAsInt("n"); }, "n");
  EXPECT_EQ(Line().ConstGetValue("n").Length(), 2);
}

TEST_F(CommandLineTest, ArgumentsOutsideTheList) {
  Load({"a"});
  EXPECT_THROW_TEXT(Line().ConstGet(2), nex_AssertException,
                    "index 2 is outside an array of 2 elements");
  EXPECT_THROW_TEXT(Line().ConstGet(-1), nex_AssertException,
                    "index -1 is outside an array of 2 elements");
}

// A lock that a failing query kept would stop the next one.
TEST_F(CommandLineTest, AnExceptionLeavesTheLockFree) {
  Load({"-n", "x"});
  EXPECT_THROW(Line().ConstGet(9), nex_AssertException);
  EXPECT_THROW(Line().ConstGetValue("m"), utl_MissingCmdLineArgException);
  EXPECT_THROW(Line().ConstGetValueAsInt("n"), utl_CmdLineArgFormatException);
  EXPECT_TRUE(Line().IsMember("n"));
}

TEST_F(CommandLineTest, Dictionaries) {
  const struct {
    const char* value;
    std::vector<std::pair<std::string, std::string>> pairs;
  } cases[] = {
      {"utl_File=3,rgx=", {{"rgx", ""}, {"utl_File", "3"}}},
      {"a=1,b=2,a=3", {{"a", "3"}, {"b", "2"}}},
      {"a", {{"a", ""}}},
      {"a=b=c", {{"a", "b=c"}}},
      {"=1", {{"", "1"}}},
      {"a,,b", {{"a", ""}, {"b", ""}}},
      {",a=1", {{"a", "1"}}},
      {"a=1,", {{"", ""}, {"a", "1"}}},
      {" a = 1 ", {{" a ", " 1 "}}},
      {"", {{"", ""}}},
  };
  for (const auto& [value, pairs] : cases) {
    SCOPED_TRACE(value);
    Clear();
    Load({"-d", value});
    std::vector<std::pair<std::string, std::string>> found;
    for (const auto& [key, text] : Line().ConstGetValueAsDictionary("d")) {
      found.emplace_back(std::string_view(key), std::string_view(text));
    }
    EXPECT_EQ(found, pairs);
  }
}

TEST_F(CommandLineTest, ErrorOptionSetsDebugFlags) {
  Load({"-error", "a=0,b=2,c,d=,e=-3,f=4x,g=x,h= +5,i=4294967299,j=2147483648"});
  EXPECT_EQ(typ_DebugFlags::Level("a"), 0);
  EXPECT_EQ(typ_DebugFlags::Level("b"), 2);
  EXPECT_EQ(typ_DebugFlags::Level("c"), 1);
  EXPECT_EQ(typ_DebugFlags::Level("d"), 1);
  EXPECT_EQ(typ_DebugFlags::Level("e"), 0);
  EXPECT_EQ(typ_DebugFlags::Level("f"), 4);
  EXPECT_EQ(typ_DebugFlags::Level("g"), 0);
  EXPECT_EQ(typ_DebugFlags::Level("h"), 5);
  EXPECT_EQ(typ_DebugFlags::Level("i"), 3);
  EXPECT_EQ(typ_DebugFlags::Level("j"), 0) << "a negative one after the wrap";
}

TEST_F(CommandLineTest, ErrorOptionLeavesFlagsOfLevelZeroAlone) {
  typ_DebugFlags::SetDebugFlags("a", 5);
  utl_CommandLineLoader::SetArgsList(List({"-error", "a=0,utl=3"}));
  EXPECT_EQ(typ_DebugFlags::Level("a"), 5);
  EXPECT_EQ(typ_DebugFlags::Level(3), 3);
}

TEST_F(CommandLineTest, ErrorOptionWithoutValue) {
  Load({"-error"});
  EXPECT_EQ(typ_DebugFlags::Level("utl"), 0);
}

TEST_F(CommandLineTest, CopiesShareNothing) {
  const cow_1DArrayList<cow_String> list = List({"-job", "beam"});
  utl_CommandLineLoader::SetArgsList(list);
  const cow_String first = Line().ConstGetValue("job");
  const cow_String second = Line().ConstGetValue("job");
  const cow_String argument = Line().ConstGet(1);
  EXPECT_EQ(first, "beam");
  EXPECT_NE(first.c_str(), second.c_str());
  EXPECT_NE(first.c_str(), list[1].c_str());
  EXPECT_NE(argument.c_str(), list[1].c_str());
  EXPECT_NE(argument.c_str(), first.c_str());
  EXPECT_NE(Line().ConstGetValue("job", "x").c_str(), list[1].c_str());
}

// What is said of an exception, and the text that was handed in, which a plain copy has.
template <class Exception>
void ExpectException(const Exception& sample, const char* text, const char* handedIn) {
  static_assert(std::is_base_of_v<nex_TextException, Exception>);
  static_assert(std::is_nothrow_copy_constructible_v<Exception>);
  EXPECT_EQ(sample.AsString(), text);
  EXPECT_EQ(sample.UserReport(), text);
  exception_contract::ExpectSlots<Exception>();
  exception_contract::ExpectCaughtByBase<nex_TextException>(sample);
  Exception raised(sample);
  EXPECT_THROW_AT(raised.Throw("some/source", 7), Exception, text, "some/source", 7);
  EXPECT_THROW_AT(raised.Propagate(), Exception, text, "some/source", 7);
  const std::unique_ptr<nex_Exception> copy(raised.Copy());
  EXPECT_THROW_AT(copy->Propagate(), nex_TextException, handedIn, "some/source", 7);
}

TEST_F(CommandLineTest, ExceptionsBuildTheirTextWhenAsked) {
  ExpectException(utl_MissingCmdLineArgException("job"),
                  "Command line argument job is required.", "job");
  ExpectException(utl_CmdLineArgFormatException("%2$s", "real"),
                  "Command line argument %2$s must have type real", "real");
}

}  // namespace
