#include "nex/nex_SystemErrorException.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <typeinfo>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_AssertException.h"

namespace {

constexpr char kSource[] = "tests/support/nex_SystemErrorException_test";

const omi_SystemErrorCode kRunTimeError(0, 2);
const omi_SystemErrorCode kSystemError(1, 2);

void Raise() {
  nex_SystemErrorException(kSystemError).Throw(kSource, 7);
}

TEST(NexSystemErrorExceptionTest, KeepsCodeAndText) {
  for (const omi_SystemErrorCode& code : {kRunTimeError, kSystemError}) {
    const nex_SystemErrorException exception(code);
    EXPECT_EQ(exception.ErrorCode().Kind(), code.Kind());
    EXPECT_EQ(exception.ErrorCode().Code(), code.Code());
    EXPECT_EQ(exception.AsString(), code.Text());
    EXPECT_GT(exception.AsString().Length(), 0);
  }
}

TEST(NexSystemErrorExceptionTest, UnknownCodeHasAnEmptyText) {
  EXPECT_EQ(nex_SystemErrorException(omi_SystemErrorCode(1, 0x1FFFFFFF)).AsString(), "");
}

TEST(NexSystemErrorExceptionTest, IsCaughtByClassAndBase) {
  EXPECT_THROW(Raise(), nex_SystemErrorException);
  EXPECT_THROW(Raise(), nex_TextException);
  EXPECT_THROW(Raise(), nex_Exception);
  bool passed = false;
  try {
    try {
      Raise();
    } catch (const nex_AssertException&) {
      ADD_FAILURE() << "caught as an assertion";
    }
  } catch (const nex_Exception&) {
    passed = true;
  }
  EXPECT_TRUE(passed);
}

TEST(NexSystemErrorExceptionTest, CodeTextAndPositionSurvivePropagate) {
  EXPECT_THROW_AT(Raise(), nex_SystemErrorException, kSystemError.Text(), kSource, 7);
  try {
    Raise();
  } catch (const nex_SystemErrorException& caught) {
    EXPECT_EQ(caught.ErrorCode().Kind(), 1);
    EXPECT_EQ(caught.ErrorCode().Code(), 2);
  }
}

TEST(NexSystemErrorExceptionTest, CopyKeepsTheClassAndTheCode) {
  const std::unique_ptr<nex_Exception> copy(
      nex_SystemErrorException(kRunTimeError).Copy());
  const auto* const error = dynamic_cast<const nex_SystemErrorException*>(copy.get());
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->ErrorCode().Kind(), 0);
  EXPECT_EQ(error->ErrorCode().Code(), 2);
  EXPECT_EQ(error->DynTypeId(), 2u);
  EXPECT_THROW_TEXT(copy->Propagate(), nex_SystemErrorException, kRunTimeError.Text());
}

TEST(NexSystemErrorExceptionTest, CopyingNeverFails) {
  static_assert(std::is_nothrow_copy_constructible_v<nex_SystemErrorException>);
}

}  // namespace
