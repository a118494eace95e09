// A stored member for each section.

#include <zip.h>

#include "utl_MultisectionFile_works.h"

namespace {

struct Store {
  static void Write(const std::string& path, const Sections& sections) {
    zip_t* const archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      zip_source_t* const source =
          zip_source_buffer(archive, sections.Data(i), sections.Bytes(), 0);
      const zip_int64_t index =
          zip_file_add(archive, sections.Name(i).c_str(), source, ZIP_FL_OVERWRITE);
      zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE,
                               0);
    }
    zip_close(archive);
  }

  static unsigned long Read(const std::string& path, const Sections& sections) {
    zip_t* const archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    std::vector<char> data(sections.Bytes());
    Seen seen;
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      zip_file_t* const member = zip_fopen(archive, sections.Name(i).c_str(), 0);
      zip_fread(member, data.data(), data.size());
      zip_fclose(member);
      seen.Add(data);
    }
    zip_discard(archive);
    return seen.Number();
  }
};

const bench::Part part([] { AddStore<Store>("libzip"); });

}  // namespace
