#pragma once

#include <string>

#include "compare/Random.h"
#include "compare/Subject.h"

/// Inputs at which code breaks rather than evenly spread ones; without those of
/// left-out.md.

/// A name relative to the scratch directory: one of a few that sequences share, often in
/// another spelling.
std::string SomeName(Random& random);
/// The same as an absolute path, one without a drive, or relative.
std::string SomePath(const World& world, Random& random);
/// One of the names that Entries makes, as it is.
std::string PlainName(Random& random);

/// Text of a few words, punctuation and odd bytes; sometimes empty or long.
std::string SomeText(Random& random);
/// Between `low` and `high` characters of `alphabet`.
std::string SomeOf(Random& random, const char* alphabet, int low, int high);
/// Bytes of any value.
std::string SomeBytes(Random& random, int low, int high);

/// An int at a limit, near 0 or anywhere.
int SomeInt(Random& random);
/// A real number: limits, infinities, not-a-number, denormals, short decimals, any bits.
double SomeDouble(Random& random);

/// The name of an environment variable that sequences share.
std::string SomeVariable(Random& random);
