#include "nex/nex_Exception.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <thread>
#include <typeinfo>

#include "common/expect/ExceptionContract.h"
#include "common/expect/ExpectThrow.h"
#include "cow/cow_1DArray.h"
#include "nex/nex_AssertException.h"
#include "nex/nex_TextException.h"

namespace {

constexpr char kSource[] = "tests/support/nex_Exception_test";

// Classes of this program: a group base and one under it.
class GroupException : public nex_TextException {
 public:
  using nex_TextException::nex_TextException;
  [[noreturn]] void Propagate() const override { throw *this; }
};

class MemberException : public GroupException {
 public:
  using GroupException::GroupException;
  [[noreturn]] void Propagate() const override { throw *this; }
};

// Whether a handler for Handled catches what is raised in the library as Thrown.
template <class Handled, class Thrown>
testing::AssertionResult IsCaughtAs(Thrown exception) {
  try {
    exception.Throw(kSource, 7);
  } catch (const Handled& caught) {
    if (typeid(caught) != typeid(Thrown)) {
      return testing::AssertionFailure() << "caught as " << typeid(caught).name();
    }
    return testing::AssertionSuccess();
  } catch (...) {
    return testing::AssertionFailure() << "passed the handler";
  }
}

TEST(NexExceptionTest, TextExceptionIsCaughtByClassAndBase) {
  EXPECT_TRUE(IsCaughtAs<nex_TextException>(nex_TextException("t")));
  EXPECT_TRUE(IsCaughtAs<nex_Exception>(nex_TextException("t")));
  EXPECT_FALSE(IsCaughtAs<nex_AssertException>(nex_TextException("t")));
  EXPECT_FALSE(IsCaughtAs<GroupException>(nex_TextException("t")));
}

TEST(NexExceptionTest, AssertExceptionIsCaughtByClassAndBase) {
  EXPECT_TRUE(IsCaughtAs<nex_AssertException>(nex_AssertException("t")));
  EXPECT_TRUE(IsCaughtAs<nex_TextException>(nex_AssertException("t")));
  EXPECT_TRUE(IsCaughtAs<nex_Exception>(nex_AssertException("t")));
  EXPECT_FALSE(IsCaughtAs<GroupException>(nex_AssertException("t")));
}

TEST(NexExceptionTest, ClientClassesAreCaughtByClassGroupAndBase) {
  EXPECT_TRUE(IsCaughtAs<MemberException>(MemberException("t")));
  EXPECT_TRUE(IsCaughtAs<GroupException>(MemberException("t")));
  EXPECT_TRUE(IsCaughtAs<nex_TextException>(MemberException("t")));
  EXPECT_TRUE(IsCaughtAs<nex_Exception>(MemberException("t")));
  EXPECT_TRUE(IsCaughtAs<GroupException>(GroupException("t")));
  EXPECT_FALSE(IsCaughtAs<MemberException>(GroupException("t")));
}

// Thrown by code of the library, not only through it.
TEST(NexExceptionTest, LibraryCodeThrowsAcrossItsBoundary) {
  const cow_1DArray<int> none;
  EXPECT_THROW_TEXT(none[3], nex_AssertException,
                    "index 3 is outside an array of 0 elements");
  EXPECT_THROW(none[3], nex_TextException);
  EXPECT_THROW(none[3], nex_Exception);
}

TEST(NexExceptionTest, TextAndPositionSurvivePropagate) {
  EXPECT_THROW_AT(nex_TextException("text").Throw(kSource, 11), nex_TextException, "text",
                  kSource, 11);
  EXPECT_THROW_AT(nex_AssertException("a >= b").Throw(kSource, 12), nex_AssertException,
                  "a >= b", kSource, 12);
  EXPECT_THROW_AT(MemberException("member").Throw(kSource, 13), MemberException, "member",
                  kSource, 13);
}

TEST(NexExceptionTest, PropagateThrowsAgainWithTheSamePosition) {
  EXPECT_THROW_AT(
      {
        try {
          MemberException("again").Throw(kSource, 21);
        } catch (const nex_Exception& caught) {
          caught.Propagate();
        }
      },
      MemberException, "again", kSource, 21);
}

TEST(NexExceptionTest, HasNoPositionBeforeItIsRaised) {
  const nex_TextException exception("text");
  EXPECT_STREQ(exception.SourceFile(), "");
  EXPECT_EQ(exception.SourceLine(), 0);
}

TEST(NexExceptionTest, PassesThreadsAsExceptionPointer) {
  std::exception_ptr passed;
  std::thread([&passed] {
    try {
      MemberException("passed").Throw(kSource, 31);
    } catch (...) {
      passed = std::current_exception();
    }
  }).join();
  EXPECT_THROW_AT(std::rethrow_exception(passed), MemberException, "passed", kSource, 31);
}

TEST(NexExceptionTest, UnwindsTheThrowingScope) {
  bool destroyed = false;
  struct Guard {
    bool& flag;
    ~Guard() { flag = true; }
  };
  EXPECT_THROW(
      {
        const Guard guard{destroyed};
        nex_TextException("text").Throw(kSource, 1);
      },
      nex_TextException);
  EXPECT_TRUE(destroyed);
}

template <class Class>
std::unique_ptr<nex_Exception> RaisedCopy(Class exception, int line) {
  try {
    exception.Throw(kSource, line);
  } catch (const nex_Exception& caught) {
    return std::unique_ptr<nex_Exception>(caught.Copy());
  }
}

const std::type_info& ClassOf(const nex_Exception& exception) {
  return typeid(exception);
}

TEST(NexExceptionTest, CopyOfAClientClassIsAPlainTextException) {
  const std::unique_ptr<nex_Exception> copy = RaisedCopy(MemberException("text"), 41);
  EXPECT_EQ(ClassOf(*copy), typeid(nex_TextException));
  EXPECT_EQ(copy->AsString(), "text");
  EXPECT_STREQ(copy->SourceFile(), kSource);
  EXPECT_EQ(copy->SourceLine(), 41);
  EXPECT_THROW_TEXT(copy->Propagate(), nex_TextException, "text");
}

TEST(NexExceptionTest, CopyOfTheLibrarysOwnClassKeepsTheClass) {
  EXPECT_EQ(ClassOf(*RaisedCopy(nex_TextException("t"), 1)), typeid(nex_TextException));
  EXPECT_EQ(ClassOf(*RaisedCopy(nex_AssertException("t"), 1)),
            typeid(nex_AssertException));
}

// What raises for others, as the library's sources have it.
template <class Class>
[[noreturn]] void Fail(const char* text, int line = __builtin_LINE()) {
  Class(text).Throw(kSource, line);
}

TEST(NexExceptionTest, WithoutALineThatOfTheCallIsRecorded) {
  int line = 0;
  const auto raise = [](int caller = __builtin_LINE()) {
    nex_TextException("text").Throw(kSource, caller);
  };
  try {
    line = __LINE__ + 1;
    nex_TextException("text").Throw(kSource);
  } catch (const nex_Exception& caught) {
    EXPECT_EQ(caught.SourceLine(), line);
  }
  try {
    line = __LINE__ + 1;
    Fail<MemberException>("text");
  } catch (const nex_Exception& caught) {
    EXPECT_EQ(caught.SourceLine(), line);
  }
  try {
    line = __LINE__ + 1;
    raise();
  } catch (const nex_Exception& caught) {
    EXPECT_EQ(caught.SourceLine(), line);
  }
}

TEST(NexExceptionTest, TypeNumbers) {
  EXPECT_EQ(nex_TextException("t").DynTypeId(), 1u);
  EXPECT_EQ(nex_AssertException("t").DynTypeId(), 3u);
  EXPECT_EQ(MemberException("t").DynTypeId(), 1u);
}

TEST(NexExceptionTest, Reports) {
  nex_TextException exception("Seek failed: %1$s");
  EXPECT_EQ(exception.UserReport(), "Seek failed: %1$s");
  EXPECT_EQ(exception.DeveloperReport(), ", line 0: Seek failed: %1$s");
  try {
    exception.Throw(kSource, 51);
  } catch (const nex_Exception& caught) {
    EXPECT_EQ(caught.UserReport(), "Seek failed: %1$s");
    EXPECT_EQ(caught.DeveloperReport(),
              "tests/support/nex_Exception_test, line 51: Seek failed: %1$s");
  }
}

// A class that is thrown must be copied without failing.
TEST(NexExceptionTest, CopyingNeverFails) {
  static_assert(std::is_nothrow_copy_constructible_v<nex_TextException>);
  static_assert(std::is_nothrow_copy_constructible_v<nex_AssertException>);
  static_assert(std::is_nothrow_copy_constructible_v<MemberException>);
}

TEST(NexExceptionTest, VirtualFunctionsHaveTheirSlots) {
  exception_contract::ExpectSlots<nex_Exception>();
}

}  // namespace
