// Sections in C.

#include <limits>
#include <string>
#include <string_view>
#include <typeinfo>

#include "utl/impl/c/utl_cCall.h"
#include "utl/impl/c/utl_cFileErrors.h"

namespace {

using OpenSections = utl_COpen<utl_MultisectionFile>;

OpenSections& Open(utl_CState& state, kst_Sections* sections) {
  utl_cRequire(sections, "sections");
  OpenSections* const open = state.sections.Find(sections);
  if (open == nullptr) {
    utl_cFail(kst_BadHandle, "sections is no open file of sections");
  }
  return *open;
}

// Compares with the text that utl_MultisectionFile.h states.
bool IsLockRefused(const nex_TextException& failure) {
  constexpr char kText[] = ": Cannot create the lock file.";
  const atr_String text = failure.AsString();
  return std::string_view(text.c_str()).ends_with(kText);
}

// Gives failures that the file's contents or its lock cause their status.
template <class Work>
void WithContents(Work work) {
  try {
    work();
  } catch (const utl_FileExceptionRead& failure) {
    if (utl_cHasCode(failure, kCEndOfFile)) {
      utl_cFail(kst_Damaged, failure.AsString().c_str());
    }
    throw;
  } catch (const nex_TextException& failure) {
    // Failures without a class of their own.
    if (typeid(failure) == typeid(nex_TextException)) {
      utl_cFail(IsLockRefused(failure) ? kst_Locked : kst_Damaged,
                failure.AsString().c_str());
    }
    throw;
  }
}

std::size_t Size(const utl_MultisectionFile& file, const char* name) {
  utl_cRequire(name, "name");
  if (!file.hasSection(name)) {
    utl_cFail(kst_NotFound, "there is no section \"" + cow_String(name) + "\"");
  }
  const int length = file.getSectionLength(name);
  if (length < 0) {
    utl_cFail(kst_Damaged, "section \"" + cow_String(name) + "\" has a negative length");
  }
  return static_cast<std::size_t>(length);
}

}  // namespace

kst_Status kst_openSections(const char* path, int access, kst_Sections** sections) {
  return utl_cCall("kst_openSections", [&](utl_CState& state) {
    utl_cRequire(path, "path");
    utl_cRequire(sections, "sections");
    const utl_FileAccess fileAccess = utl_cAccess(access);
    std::unique_ptr<OpenSections> open;
    utl_cWithOpening([&] {
      WithContents([&] {
        open.reset(new OpenSections{{path, fileAccess}, access == kst_Read});
      });
    });
    *sections = static_cast<kst_Sections*>(state.sections.Add(std::move(open)));
  });
}

kst_Status kst_closeSections(kst_Sections* sections) {
  return utl_cCall("kst_closeSections", [&](utl_CState& state) {
    Open(state, sections);
    delete state.sections.Take(sections).release();  // which may throw
  });
}

kst_Status kst_saveSections(kst_Sections* sections) {
  return utl_cCall("kst_saveSections", [&](utl_CState& state) {
    utl_cWritable(Open(state, sections)).saveChangesAtomically();
  });
}

kst_Status kst_saveSectionsInPlace(kst_Sections* sections) {
  return utl_cCall("kst_saveSectionsInPlace", [&](utl_CState& state) {
    utl_cWritable(Open(state, sections)).saveChanges();
  });
}

kst_Status kst_hasSection(kst_Sections* sections, const char* name, int* isThere) {
  return utl_cCall("kst_hasSection", [&](utl_CState& state) {
    const utl_MultisectionFile& file = Open(state, sections).object;
    utl_cRequire(name, "name");
    utl_cRequire(isThere, "isThere");
    *isThere = file.hasSection(name) ? 1 : 0;
  });
}

kst_Status kst_sectionSize(kst_Sections* sections, const char* name, size_t* size) {
  return utl_cCall("kst_sectionSize", [&](utl_CState& state) {
    utl_MultisectionFile& file = Open(state, sections).object;
    utl_cRequire(size, "size");
    *size = Size(file, name);
  });
}

kst_Status kst_getSection(kst_Sections* sections, const char* name, void* data,
                          size_t size) {
  return utl_cCall("kst_getSection", [&](utl_CState& state) {
    utl_MultisectionFile& file = Open(state, sections).object;
    const std::size_t length = Size(file, name);
    if (size != length) {
      utl_cFail(kst_WrongSize, "section \"" + cow_String(name) + "\" has " +
                                   std::to_string(length) + " bytes, not " +
                                   std::to_string(size));
    }
    if (size != 0) {
      utl_cRequire(data, "data");
    }
    WithContents([&] { file.getSectionData(name, data); });
  });
}

kst_Status kst_setSection(kst_Sections* sections, const char* name, const void* data,
                          size_t size) {
  return utl_cCall("kst_setSection", [&](utl_CState& state) {
    utl_MultisectionFile& file = utl_cWritable(Open(state, sections));
    utl_cRequire(name, "name");
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
      utl_cFail(kst_BadArgument, "size is above 2147483647");
    }
    if (size != 0) {
      utl_cRequire(data, "data");
    }
    file.setSectionData(name, data, static_cast<int>(size));
  });
}

kst_Status kst_visitSections(kst_Sections* sections, kst_SectionVisitor visit,
                             void* context) {
  return utl_cCall("kst_visitSections", [&](utl_CState& state) {
    const utl_MultisectionFile& file = Open(state, sections).object;
    if (visit == nullptr) {
      utl_cFail(kst_BadArgument, "visit is null");
    }
    for (const utl_SectionInfo& section : file.getSections()) {
      if (visit(section.name.c_str(), section.length, context) != 0) {
        return;
      }
    }
  });
}
