// A data set with checksum for each section.

#include <hdf5.h>

#include "utl_MultisectionFile_works.h"

namespace {

// A handle, and the function that closes it.
class Handle {
 public:
  Handle(hid_t id, herr_t (*close)(hid_t)) : id_(id), close_(close) {}
  ~Handle() { close_(id_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  operator hid_t() const { return id_; }

 private:
  hid_t id_;
  herr_t (*close_)(hid_t);
};

struct Store {
  static void Write(const std::string& path, const Sections& sections) {
    const Handle access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
    H5Pset_libver_bounds(access, H5F_LIBVER_LATEST, H5F_LIBVER_LATEST);
    const Handle file(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access),
                      H5Fclose);
    const hsize_t size = sections.Bytes();
    const Handle space(H5Screate_simple(1, &size, nullptr), H5Sclose);
    const Handle checked(H5Pcreate(H5P_DATASET_CREATE), H5Pclose);
    H5Pset_chunk(checked, 1, &size);
    H5Pset_fletcher32(checked);
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      const Handle set(H5Dcreate2(file, sections.Name(i).c_str(), H5T_NATIVE_CHAR, space,
                                  H5P_DEFAULT, checked, H5P_DEFAULT),
                       H5Dclose);
      H5Dwrite(set, H5T_NATIVE_CHAR, H5S_ALL, H5S_ALL, H5P_DEFAULT, sections.Data(i));
    }
  }

  static unsigned long Read(const std::string& path, const Sections& sections) {
    const Handle file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose);
    std::vector<char> data(sections.Bytes());
    Seen seen;
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      const Handle set(H5Dopen2(file, sections.Name(i).c_str(), H5P_DEFAULT), H5Dclose);
      H5Dread(set, H5T_NATIVE_CHAR, H5S_ALL, H5S_ALL, H5P_DEFAULT, data.data());
      seen.Add(data);
    }
    return seen.Number();
  }
};

const bench::Part part([] { AddStore<Store>("HDF5 with checksums"); });

}  // namespace
