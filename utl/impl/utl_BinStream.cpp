#include "utl/utl_BinStream.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "atr/atr_translate.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_BinStream";

// The lines that these errors report, wherever in the source they are thrown.
constexpr int kOutputModeLine = 30;
constexpr int kWriteErrorLine = 42;
constexpr int kInputModeLine = 128;
constexpr int kEndOfFileLine = 139;
constexpr int kReadErrorLine = 144;

// The most that one call may transfer: its result is an int, and larger counts are
// invalid.
constexpr std::int64_t kLargestCall = 0x7FFFFFFF;

unsigned int CallCount(std::int64_t count) {
  return static_cast<unsigned int>(std::min(count, kLargestCall));
}

atr_String Message(const char* format, int error) {
  atr_translate text(format);
  atr_SubstituteFormat(text, 1, std::strerror(error));
  return text.Result();
}

void SetBinaryMode(int fd, int line) {
  if (_setmode(fd, _O_BINARY) < 0) {
    utl_BinStreamException(
        Message("*** ERROR: Can't set stream to binary mode: %s", errno))
        .Throw(kSource, line);
  }
}

struct BlockDeleter {
  void operator()(char* block) const { ::operator delete(block); }
};

}  // namespace

utl_BinOStream::utl_BinOStream(int fd, omi_Swapper::EndianType /*order*/) : fd_(fd) {
  SetBinaryMode(fd, kOutputModeLine);
}

void utl_BinOStream::Write(const char* data, int count) {
  WriteBytes(data, count);
}

void utl_BinOStream::WriteBytes(const void* data, std::int64_t count) {
  const char* position = static_cast<const char*>(data);
  while (count > 0) {
    const int written = _write(fd_, position, CallCount(count));
    if (written <= 0) {
      // Nothing was written and there is no error: the device is full.
      utl_BinStreamWriteError(Message("%s", written < 0 ? errno : ENOSPC))
          .Throw(kSource, kWriteErrorLine);
    }
    position += written;
    count -= written;
  }
}

void utl_BinOStream::WriteSchar(char value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteUchar(unsigned char value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteShort(short value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteUShort(const unsigned short& value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteInt(const int& value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteUInt(const unsigned int& value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteInt64(const std::int64_t& value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteUInt64(const std::uint64_t& value) {
  WriteBytes(&value, sizeof value);
}

void utl_BinOStream::WriteString(const cow_String& value) {
  WriteInt(value.Length());
  WriteBytes(value.c_str(), value.Length());
}

void utl_BinOStream::WriteIntArray(const int* values, int n) {
  WriteBytes(values, std::int64_t{n} * 4);
}

void utl_BinOStream::WriteFloatArray(const float* values, int n) {
  WriteBytes(values, std::int64_t{n} * 4);
}

void utl_BinOStream::WriteDoubleArray(const double* values, int n) {
  WriteBytes(values, std::int64_t{n} * 8);
}

utl_BinIStream::utl_BinIStream(int fd, omi_Swapper::EndianType /*order*/) : fd_(fd) {
  SetBinaryMode(fd, kInputModeLine);
}

void utl_BinIStream::Read(char* data, int count) const {
  ReadBytes(data, count);
}

void utl_BinIStream::ReadBytes(void* data, std::int64_t count) const {
  char* position = static_cast<char*>(data);
  while (count > 0) {
    const int read = _read(fd_, position, CallCount(count));
    if (read == 0) {
      // Run times may remember the end until a seek, which lets what is appended later be
      // found.
      _lseeki64(fd_, 0, SEEK_CUR);
      utl_BinStreamEOF(atr_translate("*** ERROR: End of file on binary stream.").Result())
          .Throw(kSource, kEndOfFileLine);
    }
    if (read < 0) {
      utl_BinStreamReadError(Message("%s", errno)).Throw(kSource, kReadErrorLine);
    }
    position += read;
    count -= read;
  }
}

template <class Value>
Value utl_BinIStream::ReadValue() const {
  Value value;
  ReadBytes(&value, sizeof value);
  return value;
}

char utl_BinIStream::ReadSchar() {
  return ReadValue<char>();
}

unsigned char utl_BinIStream::ReadUchar() {
  return ReadValue<unsigned char>();
}

short utl_BinIStream::ReadShort() {
  return ReadValue<short>();
}

unsigned short utl_BinIStream::ReadUShort() {
  return ReadValue<unsigned short>();
}

int utl_BinIStream::ReadInt() {
  return ReadValue<int>();
}

unsigned int utl_BinIStream::ReadUInt() {
  return ReadValue<unsigned int>();
}

std::int64_t utl_BinIStream::ReadInt64() {
  return ReadValue<std::int64_t>();
}

std::uint64_t utl_BinIStream::ReadUInt64() {
  return ReadValue<std::uint64_t>();
}

cow_String utl_BinIStream::ReadString() {
  const int length = ReadInt();
  if (length < 0) {
    throw std::bad_alloc();
  }
  const auto size = static_cast<std::size_t>(length);
  std::unique_ptr<char, BlockDeleter> block(static_cast<char*>(::operator new(size + 1)));
  ReadBytes(block.get(), length);
  block.get()[size] = '\0';
  return cow_String::Adopt(block.release(), length);
}

void utl_BinIStream::ReadIntArray(int* values, int n) {
  ReadBytes(values, std::int64_t{n} * 4);
}

void utl_BinIStream::ReadFloatArray(float* values, int n) {
  ReadBytes(values, std::int64_t{n} * 4);
}

void utl_BinIStream::ReadDoubleArray(double* values, int n) {
  ReadBytes(values, std::int64_t{n} * 8);
}
