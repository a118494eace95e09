#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/Tool.h"

using Json = nlohmann::ordered_json;

/// JSON as the tools print it. What is no UTF-8 in it is replaced.
std::string JsonText(const Json& json);

/// A number as people read it, with so many digits behind its point: a very large one as
/// a power of ten, what is no number as "-", and zero without a sign.
std::string Fixed(double number, int digits);

/// The same with a sign, for changes: "+0.5", and "+0.0" for none.
std::string Signed(double number, int digits);

/// What makes a word the one for so many: "s", or nothing for one.
const char* Plural(std::size_t count);

/// A field of a line of CSV: a text as `Shown`, in quotes where it must be (RFC 4180). An
/// empty text is a pair of quotes; a field of nothing is a value that is not known.
std::string CsvField(std::string_view text);

/// A number with a point in it, even a whole one: other programs tell the types of
/// columns by how they are written.
std::string CsvField(double number);

/// Runs the work for each file and gives the worst status. A file that cannot be read is
/// told, and does not keep the others from it.
template <class Work>
int ForEachFile(const std::string& tool, const std::vector<std::string>& files,
                const Console& console, Work work) {
  int status = kGood;
  for (const std::string& file : files) {
    try {
      status = std::max(status, work(file));
    } catch (...) {
      console.err << tool << ": " << Shown(CurrentFailure()) << '\n';
      status = kTrouble;
    }
  }
  return status;
}
