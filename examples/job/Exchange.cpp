#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "Job.h"
#include "utl/utl_BinStream.h"
#include "utl/utl_Stat.h"

namespace {

// Opens the file for `transfer`, and names it in what goes wrong there.
template <class Transfer>
void WithFile(const cow_String& name, const char* mode, Operation operation,
              Transfer transfer) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
      std::fopen(name.c_str(), mode), &std::fclose);
  Check(file != nullptr, name, std::strerror(errno));
  try {
    Tracked(operation, name, [&] {
      transfer(file.get());
      return utl_Stat(fileno(file.get())).size;
    });
  } catch (const utl_BinStreamException& failure) {
    Check(false, name, failure.AsString().c_str());
  }
}

}  // namespace

void Export(const cow_String& name, const cow_String& tag, const Blocks& blocks) {
  WithFile(name, "wb", &utl_IOTracker::CWrite, [&](std::FILE* file) {
    utl_BinOStream out(fileno(file), omi_Swapper::kLittleEndian);
    out.Write(tag.c_str(), tag.Length());
    for (const auto& [block, bytes] : blocks) {
      out.WriteString(bytes);
    }
  });
}

void Import(const cow_String& name, const cow_String& tag, const Blocks& blocks) {
  WithFile(name, "rb", &utl_IOTracker::CRead, [&](std::FILE* file) {
    utl_BinIStream in(fileno(file), omi_Swapper::kLittleEndian);
    const auto isNext = [&](std::string_view expected) {
      std::string data(expected.size(), '\0');
      in.Read(data.data(), int(data.size()));
      return data == expected;
    };
    Check(isNext(tag), name, "no export of this program");
    for (const auto& [block, bytes] : blocks) {
      // A string of another length is not even read: it may be any.
      Check(in.ReadInt() == bytes.Length() && isNext(bytes), name,
            "other " + std::string(block) + " than this job's");
    }
    Check(std::fgetc(file) == EOF, name, "longer than an export");
  });
}
