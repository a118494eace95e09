#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <typeinfo>

#include "nex/nex_Exception.h"

/// EXPECT_THROW_TEXT(statement, Class, text): the statement throws exactly `Class`, not
/// a class derived from it, a handler for `Class` catches it, and AsString() is exactly
/// `text` (whatever converts to an atr_String).
///
///     EXPECT_THROW_TEXT(array[2], nex_AssertException,
///                       "index 2 is outside an array of 2 elements");
///
/// EXPECT_THROW_FROM(statement, Class, text, sourceFile): the same, and the recorded
/// source with any line of it.
///
/// EXPECT_THROW_AT(statement, Class, text, sourceFile, line): the same, and exactly this
/// line.
#define EXPECT_THROW_TEXT(statement, Class, text) \
  EXPECT_TRUE(expect_throw::HasText(              \
      expect_throw::Caught<Class>([&] { statement; }, #Class), text))

#define EXPECT_THROW_FROM(statement, Class, text, sourceFile) \
  EXPECT_TRUE(expect_throw::HasTextAndSource(                 \
      expect_throw::Caught<Class>([&] { statement; }, #Class), text, sourceFile))

#define EXPECT_THROW_AT(statement, Class, text, sourceFile, line) \
  EXPECT_TRUE(expect_throw::HasTextAndPosition(                   \
      expect_throw::Caught<Class>([&] { statement; }, #Class), text, sourceFile, line))

namespace expect_throw {

/// What a statement threw, as far as the checks need it.
struct Outcome {
  testing::AssertionResult isExpectedClass;
  atr_String text = {};
  atr_String sourceFile = {};
  int sourceLine = 0;
};

inline Outcome Unexpected(const char* expected) {
  return {testing::AssertionFailure() << "expected " << expected << ", thrown: "};
}

template <class Class, class Statement>
Outcome Caught(Statement statement, const char* expected) {
  Outcome outcome = Unexpected(expected);
  try {
    statement();
    outcome.isExpectedClass << "nothing";
  } catch (const Class& thrown) {
    if (typeid(thrown) == typeid(Class)) {
      return {testing::AssertionSuccess(), thrown.AsString(), thrown.SourceFile(),
              thrown.SourceLine()};
    }
    outcome.isExpectedClass << "the derived class " << typeid(thrown).name();
  } catch (const nex_Exception& thrown) {
    outcome.isExpectedClass << typeid(thrown).name() << ": " << thrown.DeveloperReport();
  } catch (const std::exception& thrown) {
    outcome.isExpectedClass << typeid(thrown).name() << ": " << thrown.what();
  } catch (...) {
    outcome.isExpectedClass << "something else";
  }
  return outcome;
}

inline testing::AssertionResult HasText(const Outcome& outcome, const atr_String& text) {
  if (!outcome.isExpectedClass || outcome.text == text) {
    return outcome.isExpectedClass;
  }
  return testing::AssertionFailure()
         << "text:     \"" << outcome.text << "\"\nexpected: \"" << text << "\"";
}

inline testing::AssertionResult HasTextAndSource(const Outcome& outcome,
                                                 const atr_String& text,
                                                 const atr_String& sourceFile) {
  const testing::AssertionResult hasText = HasText(outcome, text);
  if (!hasText || (outcome.sourceFile == sourceFile && outcome.sourceLine > 0)) {
    return hasText;
  }
  return testing::AssertionFailure()
         << "position: " << outcome.sourceFile << ", line " << outcome.sourceLine
         << "\nexpected: " << sourceFile;
}

inline testing::AssertionResult HasTextAndPosition(const Outcome& outcome,
                                                   const atr_String& text,
                                                   const atr_String& sourceFile,
                                                   int line) {
  const testing::AssertionResult hasText = HasText(outcome, text);
  if (!hasText || (outcome.sourceFile == sourceFile && outcome.sourceLine == line)) {
    return hasText;
  }
  return testing::AssertionFailure()
         << "position: " << outcome.sourceFile << ", line " << outcome.sourceLine
         << "\nexpected: " << sourceFile << ", line " << line;
}

}  // namespace expect_throw
