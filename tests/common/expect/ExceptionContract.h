#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_TextException.h"

/// What every exception class of the library has in common, checked on a sample of the
/// class whose text is `text`. `Base` is the class's group base.
///
///     ExpectExceptionContract<utl_StatException>(utl_StatCantAccessFile("m"), "m");
template <class Base = nex_TextException, class Exception>
void ExpectExceptionContract(const Exception& sample, const atr_String& text);

// Implementation.

namespace exception_contract {

/// Where a virtual function stands in the table of its class, 0 first; the destructor
/// takes the first two places. Both targets store the place in the pointer to member.
template <class Function>
std::intptr_t Slot(Function function) {
  std::intptr_t place = 0;
  static_assert(sizeof function >= sizeof place);
  std::memcpy(&place, &function, sizeof place);
  return place / static_cast<std::intptr_t>(sizeof(void*));
}

template <class Exception>
void ExpectSlots() {
  EXPECT_EQ(Slot(&Exception::DeveloperReport), 2);
  EXPECT_EQ(Slot(&Exception::UserReport), 3);
  EXPECT_EQ(Slot(&Exception::AsString), 4);
  EXPECT_EQ(Slot(&Exception::Propagate), 5);
  EXPECT_EQ(Slot(&Exception::Copy), 6);
  EXPECT_EQ(Slot(&Exception::DynTypeId), 7);
  EXPECT_EQ(Slot(&Exception::DBWrite), 8);
}

template <class Base, class Exception>
void ExpectCaughtByBase(Exception exception) {
  bool caught = false;
  try {
    exception.Throw("some/source", 7);
  } catch (const Base& thrown) {
    caught = typeid(thrown) == typeid(Exception);
  }
  EXPECT_TRUE(caught);
}

}  // namespace exception_contract

template <class Base, class Exception>
void ExpectExceptionContract(const Exception& sample, const atr_String& text) {
  static_assert(std::is_base_of_v<nex_TextException, Exception>);
  static_assert(std::is_base_of_v<Base, Exception>);
  static_assert(std::is_nothrow_copy_constructible_v<Exception>);
  static_assert(sizeof(Exception) == sizeof(nex_TextException));
  SCOPED_TRACE(typeid(Exception).name());

  EXPECT_EQ(sample.AsString(), text);
  EXPECT_EQ(sample.UserReport(), text);
  EXPECT_EQ(sample.DynTypeId(), nex_TextException("").DynTypeId());
  exception_contract::ExpectSlots<Exception>();

  Exception exception(sample);
  EXPECT_THROW_AT(exception.Throw("some/source", 7), Exception, text, "some/source", 7);
  EXPECT_THROW_AT(exception.Propagate(), Exception, text, "some/source", 7);
  exception_contract::ExpectCaughtByBase<Base>(exception);
  exception_contract::ExpectCaughtByBase<nex_TextException>(exception);
  exception_contract::ExpectCaughtByBase<nex_Exception>(exception);

  const std::unique_ptr<nex_Exception> copy(exception.Copy());
  const nex_Exception& copied = *copy;
  EXPECT_TRUE(typeid(copied) == typeid(nex_TextException));
  EXPECT_EQ(copy->AsString(), text);
  EXPECT_EQ(copy->SourceLine(), 7);
}
