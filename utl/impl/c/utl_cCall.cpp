#include "utl/impl/c/utl_cCall.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "nex/nex_SystemErrorException.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_File.h"

namespace {

// An array, which needs no destructor at the thread's end.
thread_local char lastError[1024] = "";

void Remember(const char* function, std::string_view text) noexcept {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  std::size_t used = 0;
  for (const std::string_view part :
       {std::string_view(function), std::string_view(": "), text}) {
    const std::size_t count = std::min(part.size(), sizeof lastError - 1 - used);
    std::memcpy(lastError + used, part.data(), count);
    used += count;
  }
  lastError[used] = '\0';
}

template <class... Class>
bool IsOneOf(const nex_Exception& failure) {
  return (... || (dynamic_cast<const Class*>(&failure) != nullptr));
}

kst_Status StatusOf(const nex_Exception& failure) {
  if (IsOneOf<utl_MissingCmdLineArgException, utl_FileExceptionNoFile>(failure)) {
    return kst_NotFound;
  }
  if (IsOneOf<utl_CmdLineArgFormatException>(failure)) {
    return kst_BadValue;
  }
  if (IsOneOf<utl_FileExceptionOpen, utl_FileExceptionClose, utl_FileExceptionSeek,
              utl_FileExceptionLocation, utl_FileExceptionFlush, utl_FileExceptionRead,
              utl_FileExceptionWrite, utl_FileExceptionFull, utl_FileExceptionSize,
              utl_FileExceptionExtend, nex_SystemErrorException>(failure)) {
    return kst_SystemError;
  }
  return kst_Failed;
}

// The status of the exception that is being handled. Throws only when memory runs out.
kst_Status Failed(const char* function) {
  try {
    throw;
  } catch (const utl_CFailure& failure) {
    Remember(function, failure.text);
    return failure.status;
  } catch (const nex_Exception& failure) {
    Remember(function, failure.AsString().c_str());
    return StatusOf(failure);
  } catch (const std::bad_alloc&) {
    Remember(function, "no memory");
    return kst_NoMemory;
  } catch (const std::length_error&) {
    Remember(function, "no memory");
    return kst_NoMemory;
  } catch (const std::exception& failure) {
    Remember(function, failure.what());
    return kst_Failed;
  } catch (...) {
    Remember(function, "unknown exception");
    return kst_Failed;
  }
}

}  // namespace

const char* kst_lastError() {
  return lastError;
}

void utl_cFail(kst_Status status, const cow_String& text) {
  throw utl_CFailure{status, text};
}

void utl_cRequire(const void* pointer, const char* argument) {
  if (pointer == nullptr) {
    utl_cFail(kst_BadArgument, cow_String(argument) + " is null");
  }
}

void utl_cHandOut(const cow_String& text, char* buffer, size_t size, size_t* length) {
  if (buffer == nullptr && (size != 0 || length == nullptr)) {
    utl_cFail(kst_BadArgument, "buffer is null");
  }
  const auto needed = static_cast<std::size_t>(text.Length());
  if (length != nullptr) {
    *length = needed;
  }
  if (buffer == nullptr) {
    return;
  }
  if (size <= needed) {
    utl_cFail(kst_WrongSize, "the buffer has " + cow_String(std::to_string(size)) +
                                 " bytes, and " + std::to_string(needed + 1) +
                                 " are needed");
  }
  std::memcpy(buffer, text.c_str(), needed + 1);
}

kst_Status utl_cFailed(const char* function) noexcept {
  try {
    return Failed(function);
  } catch (...) {
    Remember(function, "no memory");
    return kst_NoMemory;
  }
}
