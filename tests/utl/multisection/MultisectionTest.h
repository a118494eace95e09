#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/expect/ExpectThrow.h"
#include "common/temp/TempDir.h"
#include "utl/multisection/MultisectionImage.h"
#include "utl/utl_MultisectionFile.h"

/// The two ways to save, for tests of what they have in common.
using Save = void (utl_MultisectionFile::*)();
constexpr Save kSaves[] = {&utl_MultisectionFile::saveChanges,
                           &utl_MultisectionFile::saveChangesAtomically};

/// A directory with one multisection file, "model.dat", and what its tests ask for.
class MultisectionTest : public testing::Test {
 protected:
  static void Set(utl_MultisectionFile& file, const std::string& name,
                  const std::string& data) {
    file.setSectionData(Text(name), data.data(), static_cast<int>(data.size()));
  }

  /// The section's bytes, through length and data.
  static std::string Get(utl_MultisectionFile& file, const std::string& name) {
    const int length = file.getSectionLength(Text(name));
    std::string data(static_cast<std::size_t>(length), '?');
    file.getSectionData(Text(name), data.data());
    return data;
  }

  static cow_String Text(const std::string& text) {
    return cow_String(std::string_view(text));
  }

  void WriteImage(const Image& sections) const {
    WriteWholeFile(file_, BuildImage(sections));
  }

  /// The text of an error about the file's contents.
  std::string Message(const std::string& message) const {
    return "\"" + file_ + "\": " + message;
  }

  atr_String EndOfFileText() const {
    return utl_FileExceptionRead(38, path_, "ReadFile").AsString();
  }

  /// The names in the directory beside "model.dat", joined by blanks.
  std::string OtherFiles() const {
    std::string names;
    for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
      const std::string name = entry.path().filename().string();
      if (name != "model.dat") {
        names += (names.empty() ? "" : " ") + name;
      }
    }
    return names;
  }

  TempDir dir_;
  const std::string file_ = dir_.File("model.dat");
  const std::string lock_ = file_ + ".lock";
  const cow_String path_ = file_.c_str();
};

/// A plain nex_TextException about the file's contents, from its fixed position.
#define EXPECT_CONTENTS_ERROR(statement, message)                 \
  EXPECT_THROW_AT(statement, nex_TextException, Message(message), \
                  "utl/impl/utl_MultisectionFile", 323)

/// The file ends too early: the exception is utl_File's own.
#define EXPECT_END_OF_FILE(statement)                                  \
  EXPECT_THROW_FROM(statement, utl_FileExceptionRead, EndOfFileText(), \
                    "utl/impl/utl_File")
