#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Truss.h"
#include "utl/utl_BinStream.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_Stat.h"
#include "utl/utl_TrackedOperation.h"

namespace {

constexpr char kTag[] = "KSTtruss";
constexpr int kTagLength = sizeof kTag - 1;

std::vector<double> ListOf(const Vector& values) {
  return {values.data(), values.data() + values.size()};
}

void SetSections(utl_MultisectionFile& file, const Record& record) {
  file.setSection<char>("title", record.title);
  for (const auto& [name, values] : record.integers) {
    file.setSection<int>(name, values);
  }
  for (const auto& [name, values] : record.reals) {
    file.setSection<double>(name, values);
  }
}

// Reads a section and compares it with what was to be saved.
template <class Value>
void CheckSection(utl_MultisectionFile& file, const std::string& path,
                  const std::string& name, const std::vector<Value>& expected) {
  utl_TrackedOperation reading(utl_TrackedRead, path);
  reading.SetBytes(expected.size() * sizeof(Value));
  Check(file.getSection<Value>(name) == expected, path,
        "section " + name + " was not saved well");
}

void CheckSections(utl_MultisectionFile& file, const std::string& path,
                   const Record& record) {
  CheckSection<char>(file, path, "title", {record.title.begin(), record.title.end()});
  for (const auto& [name, values] : record.integers) {
    CheckSection(file, path, name, values);
  }
  for (const auto& [name, values] : record.reals) {
    CheckSection(file, path, name, values);
  }
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

OpenFile Open(const std::string& name, const char* mode) {
  OpenFile file(std::fopen(name.c_str(), mode));
  Check(file != nullptr, name, std::strerror(errno));
  return file;
}

void WriteRecord(int descriptor, const Record& record) {
  utl_BinOStream out(descriptor, omi_Swapper::kLittleEndian);
  out.Write(kTag, kTagLength);
  out.WriteString(record.title);
  for (const auto& [name, values] : record.integers) {
    const int count = int(values.size());
    out.WriteInt(count);
    out.WriteIntArray(values.data(), count);
  }
  for (const auto& [name, values] : record.reals) {
    const int count = int(values.size());
    out.WriteInt(count);
    out.WriteDoubleArray(values.data(), count);
  }
}

// A count that is not the expected one is not even followed: it may be any number.
void CompareRecord(int descriptor, const std::string& file, const Record& record) {
  utl_BinIStream in(descriptor, omi_Swapper::kLittleEndian);
  std::string tag(kTagLength, '\0');
  in.Read(tag.data(), kTagLength);
  Check(tag == kTag, file, "no export of this program");

  const int length = int(record.title.size());
  std::string title(record.title.size(), '\0');
  const bool isSameLength = in.ReadInt() == length;
  if (isSameLength) {
    in.Read(title.data(), length);
  }
  Check(isSameLength && title == record.title, file, "other title than this job's");

  for (const auto& [name, expected] : record.integers) {
    const int count = int(expected.size());
    Check(in.ReadInt() == count, file, "other " + name + " than this job's");
    std::vector<int> values(expected.size());
    in.ReadIntArray(values.data(), count);
    Check(values == expected, file, "other " + name + " than this job's");
  }
  for (const auto& [name, expected] : record.reals) {
    const int count = int(expected.size());
    Check(in.ReadInt() == count, file, "other " + name + " than this job's");
    std::vector<double> values(expected.size());
    in.ReadDoubleArray(values.data(), count);
    Check(values == expected, file, "other " + name + " than this job's");
  }
}

}  // namespace

Record RecordOf(const Deck& deck, const Results& results) {
  std::vector<int> nodeIds;
  std::vector<double> places;
  for (const Node& node : deck.nodes) {
    nodeIds.push_back(node.id);
    places.insert(places.end(), node.xyz.begin(), node.xyz.end());
  }
  std::vector<int> barIds, ends;
  std::vector<double> areas, moduli;
  for (const Bar& bar : deck.bars) {
    barIds.push_back(bar.id);
    ends.insert(ends.end(), bar.ends.begin(), bar.ends.end());
    areas.push_back(bar.area);
    moduli.push_back(bar.modulus);
  }
  Record record;
  record.title = deck.title;
  record.integers = {{"node ids", nodeIds}, {"bar ids", barIds}, {"bar nodes", ends}};
  record.reals = {{"node places", places},
                  {"bar areas", areas},
                  {"bar moduli", moduli},
                  {"displacements", ListOf(results.displacements)},
                  {"forces", ListOf(results.forces)},
                  {"reactions", ListOf(results.reactions)}};
  return record;
}

void Save(const std::string& path, const Record& record) {
  {
    // Updating refuses a file that is locked or another kind; writing would empty it.
    const bool isNew = !utl_FilePath(path, "").Exists() || utl_Stat(path).size == 0;
    utl_MultisectionFile file(path, isNew ? utl_FileAccessWrite : utl_FileAccessUpdate);
    SetSections(file, record);
    utl_TrackedOperation writing(utl_TrackedWrite, path);
    file.saveChangesAtomically();
    writing.SetBytes(std::uint64_t(utl_Stat(path).size));
  }
  utl_MultisectionFile saved(path, utl_FileAccessRead);
  CheckSections(saved, path, record);
}

void Export(const std::string& name, const Record& record) {
  const OpenFile file = Open(name, "wb");
  try {
    utl_TrackedOperation writing(utl_TrackedWrite, name);
    WriteRecord(fileno(file.get()), record);
    writing.SetBytes(std::uint64_t(utl_Stat(fileno(file.get())).size));
  } catch (const utl_BinStreamException& failure) {
    Check(false, name, failure.AsString().c_str());
  }
}

void Import(const std::string& name, const Record& record) {
  const OpenFile file = Open(name, "rb");
  try {
    utl_TrackedOperation reading(utl_TrackedRead, name);
    CompareRecord(fileno(file.get()), name, record);
    Check(std::fgetc(file.get()) == EOF, name, "longer than an export");
    reading.SetBytes(std::uint64_t(utl_Stat(fileno(file.get())).size));
  } catch (const utl_BinStreamException& failure) {
    Check(false, name, failure.AsString().c_str());
  }
}
