#pragma once

#include <cstdint>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "nex/nex_TextException.h"
#include "omi/omi_Swapper.h"

/// Plain binary values on an open descriptor of the C run time: each value is its image
/// in memory, little-endian, without header, tag or padding.
///
///     char, unsigned char                 1 byte
///     short, unsigned short               2 bytes
///     int, unsigned int                   4 bytes
///     64-bit integers                     8 bytes
///     string                              its length as an int, then its bytes
///     array of n int, float or double     n times 4, 4 or 8 bytes, and no count
///
/// Writer and reader agree on the number of elements by other means, such as a WriteInt
/// before the array. docs/encodings.md describes the bytes.
///
/// Existing callers pass a byte order; no byte is ever swapped.
///
/// The descriptor stays the caller's: it is neither closed nor flushed. Nothing is
/// buffered: a number is at least one call of the system, and a whole array needs no
/// more, so transfer bulk data as arrays. An exception leaves the stream usable and does
/// not undo what was transferred. Where a descriptor does not block, as another program
/// may have set up a pipe or a terminal, the stream waits.
///
/// On Linux a write to a pipe that nobody reads, or beyond a limit of the file's size,
/// ends the process by a signal. A program that is to get the exception instead has to
/// ignore SIGPIPE and SIGXFSZ (`signal(SIGPIPE, SIG_IGN)`) before it writes, as
/// utl_runMain does.
///
/// Threads: one descriptor is used by one thread at a time.
///
///     utl_BinOStream out(descriptor, omi_Swapper::kLittleEndian);
///     out.WriteString("loads");              // 05 00 00 00 6C 6F 61 64 73
///     out.WriteInt(count);
///     out.WriteDoubleArray(loads, count);
class KSTUTL_EXPORT utl_BinOStream {
 public:
  /// Switches the descriptor to binary mode. Throws utl_BinStreamException
  /// "*** ERROR: Can't set stream to binary mode: " and the run time's reason, as for a
  /// descriptor that is not open.
  utl_BinOStream(int fd, omi_Swapper::EndianType order);

  /// Writes `count` bytes, in as many calls as it takes; 0 or less writes nothing. Throws
  /// utl_BinStreamWriteError with the run time's reason, here and in all that follows.
  void Write(const char* data, int count);

  void WriteSchar(char value);
  void WriteUchar(unsigned char value);
  void WriteShort(short value);
  void WriteUShort(const unsigned short& value);
  void WriteInt(const int& value);
  void WriteUInt(const unsigned int& value);
  void WriteInt64(const std::int64_t& value);
  void WriteUInt64(const std::uint64_t& value);
  void WriteString(const cow_String& value);

  /// The `n` elements; 0 or less writes nothing.
  void WriteIntArray(const int* values, int n);
  void WriteFloatArray(const float* values, int n);
  void WriteDoubleArray(const double* values, int n);

  // The rest is implementation.

 private:
  void WriteBytes(const void* data, std::int64_t count);

  int fd_;
};

/// Reads what utl_BinOStream has written.
class KSTUTL_EXPORT utl_BinIStream {
 public:
  /// As the constructor of utl_BinOStream.
  utl_BinIStream(int fd, omi_Swapper::EndianType order);

  /// Reads exactly `count` bytes, however they arrive; 0 or less reads nothing. Throws,
  /// as does all that follows, utl_BinStreamEOF "*** ERROR: End of file on binary
  /// stream." when the file ends before or within them, and utl_BinStreamReadError with
  /// the run time's reason; the bytes that came before are then read and `data` is
  /// unspecified. What is appended to the file after its end was reached can be read.
  void Read(char* data, int count) const;

  char ReadSchar();
  unsigned char ReadUchar();
  short ReadShort();
  unsigned short ReadUShort();
  int ReadInt();
  unsigned int ReadUInt();
  std::int64_t ReadInt64();
  std::uint64_t ReadUInt64();

  /// A length that is negative, or for which there is no memory, throws std::bad_alloc
  /// before any byte of the text is read.
  cow_String ReadString();

  /// Fills the caller's array of `n` elements; 0 or less reads nothing.
  void ReadIntArray(int* values, int n);
  void ReadFloatArray(float* values, int n);
  void ReadDoubleArray(double* values, int n);

  // The rest is implementation.

 private:
  template <class Value>
  Value ReadValue() const;
  void ReadBytes(void* data, std::int64_t count) const;

  int fd_;
};

/// The base of all failures of binary streams; constructors throw it as it is.
class KSTUTL_EXPORT utl_BinStreamException : public nex_TextException {
 public:
  explicit utl_BinStreamException(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};

/// Bytes could not be written.
class KSTUTL_EXPORT utl_BinStreamWriteError : public utl_BinStreamException {
 public:
  explicit utl_BinStreamWriteError(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};

/// Bytes could not be read.
class KSTUTL_EXPORT utl_BinStreamReadError : public utl_BinStreamException {
 public:
  explicit utl_BinStreamReadError(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};

/// The file ended where more bytes were wanted.
class KSTUTL_EXPORT utl_BinStreamEOF : public utl_BinStreamException {
 public:
  explicit utl_BinStreamEOF(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};
