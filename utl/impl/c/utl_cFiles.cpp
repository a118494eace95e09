// Files in C.

#include <algorithm>
#include <memory>
#include <string>

#include "omi/omi_SystemErrorCode.h"
#include "utl/impl/c/utl_cCall.h"
#include "utl/impl/c/utl_cFileErrors.h"

namespace {

// How much is read or written at once.
constexpr std::size_t kPiece = std::size_t{1} << 30;

using OpenFile = utl_COpen<utl_File>;

OpenFile& Open(utl_CState& state, kst_File* file) {
  utl_cRequire(file, "file");
  OpenFile* const open = state.files.Find(file);
  if (open == nullptr) {
    utl_cFail(kst_BadHandle, "file is no open file");
  }
  return *open;
}

utl_FileSharing Sharing(int sharing) {
  switch (sharing) {
    case kst_ShareDefault:
      return utl_FileShareDefault;
    case kst_ShareRead:
      return utl_FileShareRead;
    case kst_ShareReadWrite:
      return utl_FileShareReadWrite;
  }
  utl_cFail(kst_BadArgument, "sharing is none of the three");
}

int Piece(std::size_t size) {
  return static_cast<int>(std::min(size, kPiece));
}

}  // namespace

utl_FileAccess utl_cAccess(int access) {
  switch (access) {
    case kst_Read:
      return utl_FileAccessRead;
    case kst_Update:
      return utl_FileAccessUpdate;
    case kst_Write:
      return utl_FileAccessWrite;
  }
  utl_cFail(kst_BadArgument, "access is none of the three");
}

bool utl_cHasCode(const nex_TextException& failure, int code) {
  const cow_String text(failure.AsString().c_str());
  const std::string error =
      omi_SystemErrorCode(omi_SystemErrorCode::kSystem, code).Text();
  return text.Find("\nerror: " + error + "\nfile") < text.Length();
}

kst_Status kst_openFile(const char* path, int access, int sharing, kst_File** file) {
  return utl_cCall("kst_openFile", [&](utl_CState& state) {
    utl_cRequire(path, "path");
    utl_cRequire(file, "file");
    std::unique_ptr<OpenFile> open(
        new OpenFile{{path, utl_cAccess(access), Sharing(sharing)}, access == kst_Read});
    utl_cWithOpening([&] { open->object.Init(); });
    *file = static_cast<kst_File*>(state.files.Add(std::move(open)));
  });
}

kst_Status kst_closeFile(kst_File* file) {
  return utl_cCall("kst_closeFile", [&](utl_CState& state) {
    Open(state, file);
    delete state.files.Take(file).release();  // which may throw
  });
}

kst_Status kst_readFile(kst_File* file, void* buffer, size_t size, size_t* count) {
  return utl_cCall("kst_readFile", [&](utl_CState& state) {
    utl_File& open = Open(state, file).object;
    utl_cRequire(count, "count");
    if (size != 0) {
      utl_cRequire(buffer, "buffer");
    }
    std::size_t done = 0;
    int step = 1;
    while (done < size && step != 0) {
      step = open.Read(static_cast<char*>(buffer) + done, Piece(size - done));
      done += static_cast<std::size_t>(step);
    }
    *count = done;
  });
}

kst_Status kst_writeFile(kst_File* file, const void* data, size_t size) {
  return utl_cCall("kst_writeFile", [&](utl_CState& state) {
    utl_File& open = utl_cWritable(Open(state, file));
    if (size != 0) {
      utl_cRequire(data, "data");
    }
    for (std::size_t done = 0; done < size;) {
      const int step = Piece(size - done);
      open.Write(static_cast<const char*>(data) + done, step);
      done += static_cast<std::size_t>(step);
    }
  });
}

kst_Status kst_seekFile(kst_File* file, int64_t offset) {
  return utl_cCall("kst_seekFile",
                   [&](utl_CState& state) { Open(state, file).object.Seek(offset); });
}

kst_Status kst_filePosition(kst_File* file, int64_t* offset) {
  return utl_cCall("kst_filePosition", [&](utl_CState& state) {
    const utl_File& open = Open(state, file).object;
    utl_cRequire(offset, "offset");
    *offset = open.Location();
  });
}

kst_Status kst_fileSize(kst_File* file, int64_t* size) {
  return utl_cCall("kst_fileSize", [&](utl_CState& state) {
    const utl_File& open = Open(state, file).object;
    utl_cRequire(size, "size");
    *size = open.FileSize();
  });
}

kst_Status kst_resizeFile(kst_File* file, int64_t size) {
  return utl_cCall("kst_resizeFile", [&](utl_CState& state) {
    utl_File& open = utl_cWritable(Open(state, file));
    if (size < 4) {
      utl_cFail(kst_BadArgument, "size is below 4");
    }
    open.Extend(size);
  });
}

kst_Status kst_flushFile(kst_File* file) {
  return utl_cCall("kst_flushFile",
                   [&](utl_CState& state) { utl_cWritable(Open(state, file)).Flush(); });
}
