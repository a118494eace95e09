// What any program of this kind does around its own numbers: starts and ends the library,
// tells the user what is wrong, keeps results in files, reports to the logs.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cow/cow_String.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_IOTracker.h"

/// The program's main: starts the library with the arguments, opens the logs of the job
/// they name, does `work`, and tells the user what that throws. Gives the exit status.
int RunJob(const char* program, int argc, char** argv,
           const std::function<void(const utl_CommandLine&)>& work);

/// Throws the nex_TextException "FILE:LINE: REASON", or "FILE: REASON", unless it is
/// good.
void Check(bool isGood, const cow_String& file, const std::string& reason, int line = 0);

/// What is kept of a job: named blocks of bytes, in this order.
using Blocks = std::vector<std::pair<cow_String, cow_String>>;

/// The values one after the other, as they lie in memory: little-endian here.
template <class Value>
cow_String Bytes(const Value* values, std::ptrdiff_t count) {
  return {reinterpret_cast<const char*>(values), int(count * sizeof(Value))};
}

/// One field of each of the rows.
template <class Row, class Field>
cow_String Column(const std::vector<Row>& rows, Field Row::*field) {
  cow_String bytes;
  for (const Row& row : rows) {
    bytes += Bytes(&(row.*field), 1);
  }
  return bytes;
}

/// Sets the sections of the multisection file `path`, then compares what it reads there.
void Save(const cow_String& path, const Blocks& blocks);
/// Writes the file anew, as one binary stream: `tag`, then each block as a string.
void Export(const cow_String& name, const cow_String& tag, const Blocks& blocks);
/// Throws as Check does unless it is such a file with this tag and these blocks.
void Import(const cow_String& name, const cow_String& tag, const Blocks& blocks);

/// Does `work`, a phase of the job: timed, and marked when it is done, in the logs that
/// the environment asks for. `timer`: 0 to 19.
void InPhase(int timer, const char* name, const std::function<void()>& work);
/// What the I/O tracker counts: `&utl_IOTracker::CRead` or `&utl_IOTracker::CWrite`.
using Operation = decltype(&utl_IOTracker::CRead);
/// Does `work`, which reads or writes that file and gives the number of bytes, and tells
/// the tracker if there is one.
void Tracked(Operation operation, const cow_String& file,
             const std::function<std::int64_t()>& work);
