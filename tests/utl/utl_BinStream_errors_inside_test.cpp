// Binary streams on descriptors that do not give or take everything at once, or at all.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/environment/FileSizeLimit.h"
#include "common/environment/OnlyReadAndWrite.h"
#include "common/expect/ExceptionContract.h"
#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/ShortWrites.h"
#include "common/handle/Pipe.h"
#include "common/temp/TempDir.h"
#include "utl/utl_BinStream.h"

namespace {

constexpr auto kOrder = omi_Swapper::kLittleEndian;
constexpr char kSource[] = "utl/impl/utl_BinStream";
constexpr int kNoFile = 9999;  // a descriptor that nobody has

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags)
      : fd_(_open(path.c_str(), flags | _O_BINARY, _S_IREAD | _S_IWRITE)) {
    EXPECT_GE(fd_, 0) << path;
  }
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return fd_; }
  void Close() {
    if (!closed_) {
      _close(fd_);
    }
    closed_ = true;
  }

 private:
  int fd_;
  bool closed_ = false;
};

std::vector<int> Numbers(std::size_t count) {
  std::vector<int> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 1000000);
  return numbers;
}

TEST(BinStreamPipeTest, ValuesThatArriveByteByByte) {
  Pipe pipe;
  const std::string bytes("\1\2\3\4\5\0\0\0hello\7\0\0\0\0\0\0\0", 21);
  ASSERT_EQ(_write(pipe.Writer(), bytes.data(), 1), 1);  // the rest is still to come
  std::thread writer([&] {
    for (std::size_t i = 1; i < bytes.size(); ++i) {
      ASSERT_EQ(_write(pipe.Writer(), &bytes[i], 1), 1);
    }
    pipe.CloseWriter();
  });
  utl_BinIStream in(pipe.Reader(), kOrder);
  EXPECT_EQ(in.ReadInt(), 0x04030201);
  EXPECT_EQ(in.ReadString(), "hello");
  EXPECT_EQ(in.ReadInt64(), 7);
  EXPECT_THROW(in.ReadUchar(), utl_BinStreamEOF);
  writer.join();
}

enum class Ends { kBlock, kDoNotBlock };

void SendThroughPipe(const std::vector<int>& sent, Ends ends = Ends::kBlock) {
  Pipe pipe;
  if (ends == Ends::kDoNotBlock) {
    pipe.DoNotBlock();
  }
  const int count = static_cast<int>(sent.size());
  std::thread writer([&] {
    utl_BinOStream(pipe.Writer(), kOrder).WriteIntArray(sent.data(), count);
    pipe.CloseWriter();
  });
  std::vector<int> received(sent.size());
  utl_BinIStream in(pipe.Reader(), kOrder);
  in.ReadIntArray(received.data(), count);
  EXPECT_THROW(in.ReadUchar(), utl_BinStreamEOF);
  writer.join();
  EXPECT_TRUE(sent == received);
}

TEST(BinStreamPipeTest, ArraysLargerThanThePipe) {
  SendThroughPipe(Numbers(300000));
}

TEST(BinStreamPipeTest, InterruptedCallsGoOn) {
  const Interruptions interruptions;
  SendThroughPipe(Numbers(3000000));
}

// As another program may have set a pipe or a terminal that both use. The array is many
// times what the pipe takes, so that either end has to wait.
TEST(BinStreamPipeTest, EndsThatDoNotBlockAreWaitedFor) {
  SendThroughPipe(Numbers(1000000), Ends::kDoNotBlock);
  const Interruptions interruptions;
  SendThroughPipe(Numbers(1000000), Ends::kDoNotBlock);
}

// The run time's reason is that of a broken pipe, but under Wine an invalid argument.
TEST(BinStreamPipeTest, NoReaderIsAWriteErrorWhereTheSignalIsIgnored) {
  const IgnoredPipeSignal ignored;
  Pipe pipe;
  pipe.CloseReader();
  utl_BinOStream out(pipe.Writer(), kOrder);
  ASSERT_EQ(_write(pipe.Writer(), "x", 1), -1);
  EXPECT_THAT(errno, testing::AnyOf(EPIPE, EINVAL));
  const std::string reason = std::strerror(errno);
  EXPECT_THROW_AT(out.WriteInt(1), utl_BinStreamWriteError, reason, kSource, 42);
  EXPECT_THROW_TEXT(out.WriteString("abc"), utl_BinStreamWriteError, reason);
}

// The reader goes while the writer waits for it.
TEST(BinStreamPipeTest, AReaderThatGoesEndsTheWaitForIt) {
  const IgnoredPipeSignal ignored;
  for (const Ends ends : {Ends::kBlock, Ends::kDoNotBlock}) {
    Pipe pipe;
    if (ends == Ends::kDoNotBlock) {
      pipe.DoNotBlock();
    }
    std::thread reader([&pipe] {
      utl_BinIStream(pipe.Reader(), kOrder).ReadUchar();
      pipe.CloseReader();
    });
    const std::vector<int> numbers = Numbers(1000000);
    utl_BinOStream out(pipe.Writer(), kOrder);
    EXPECT_THROW_TEXT(out.WriteIntArray(numbers.data(), 1000000), utl_BinStreamWriteError,
                      std::strerror(EPIPE));
    reader.join();
  }
}

TEST(BinStreamErrorTest, LimitOfTheFilesSize) {
  if (!FileSizeLimit::IsAvailable()) {
    GTEST_SKIP() << "this system limits no file's size";
  }
  const TempDir dir;
  const Descriptor file(dir.File("f"), _O_WRONLY | _O_CREAT);
  utl_BinOStream out(file.Get(), kOrder);
  {
    const FileSizeLimit ten(10);
    out.WriteInt64(1);
    EXPECT_THROW_TEXT(out.WriteInt64(2), utl_BinStreamWriteError, std::strerror(ENOSPC));
  }
  EXPECT_EQ(ReadWholeFile(dir.File("f")), std::string("\1\0\0\0\0\0\0\0\2\0", 10));
}

TEST(BinStreamErrorTest, NoBinaryModeForADescriptorThatIsNotOpen) {
  const std::string text =
      std::string("*** ERROR: Can't set stream to binary mode: ") + std::strerror(EBADF);
  EXPECT_THROW_AT(utl_BinOStream(kNoFile, kOrder), utl_BinStreamException, text, kSource,
                  30);
  EXPECT_THROW_AT(utl_BinIStream(kNoFile, kOrder), utl_BinStreamException, text, kSource,
                  128);
  EXPECT_THROW_TEXT(utl_BinOStream(-1, kOrder), utl_BinStreamException, text);
  EXPECT_THROW_TEXT(utl_BinIStream(-1, kOrder), utl_BinStreamException, text);
}

TEST(BinStreamErrorTest, DescriptorClosedMeanwhile) {
  const TempDir dir;
  Descriptor file(dir.File("f"), _O_RDWR | _O_CREAT);
  utl_BinOStream out(file.Get(), kOrder);
  utl_BinIStream in(file.Get(), kOrder);
  file.Close();
  EXPECT_THROW_AT(out.WriteInt(1), utl_BinStreamWriteError, std::strerror(EBADF), kSource,
                  42);
  EXPECT_THROW_AT(in.ReadInt(), utl_BinStreamReadError, std::strerror(EBADF), kSource,
                  144);
  EXPECT_THROW_TEXT(in.ReadString(), utl_BinStreamReadError, std::strerror(EBADF));
}

TEST(BinStreamErrorTest, DescriptorOpenForTheOtherDirection) {
  const TempDir dir;
  const Descriptor writable(dir.File("f"), _O_WRONLY | _O_CREAT);
  const Descriptor readable(dir.File("f"), _O_RDONLY);
  EXPECT_THROW_TEXT(utl_BinOStream(readable.Get(), kOrder).WriteUchar(1),
                    utl_BinStreamWriteError, std::strerror(EBADF));
  EXPECT_THROW_TEXT(utl_BinIStream(writable.Get(), kOrder).ReadUchar(),
                    utl_BinStreamReadError, std::strerror(EBADF));
}

// The device that is always full; both targets reach it under this name.
TEST(BinStreamErrorTest, FullDevice) {
  const Descriptor full("/dev/full", _O_WRONLY);
  utl_BinOStream out(full.Get(), kOrder);
  EXPECT_THROW_TEXT(out.WriteString("abc"), utl_BinStreamWriteError,
                    std::strerror(ENOSPC));
  out.Write("abc", 0);  // nothing is wanted of it
}

TEST(BinStreamErrorTest, CallThatWritesNothingIsAFullDevice) {
  const TempDir dir;
  const Descriptor file(dir.File("f"), _O_WRONLY | _O_CREAT);
  utl_BinOStream out(file.Get(), kOrder);
  const ShortWrites none(0);
  if (_write(file.Get(), "x", 1) != 0) {
    GTEST_SKIP() << "this run time's own calls cannot be redirected";
  }
  EXPECT_THROW_TEXT(out.WriteInt(1), utl_BinStreamWriteError, std::strerror(ENOSPC));
}

TEST(BinStreamErrorTest, CallsThatWriteAPartAreContinued) {
  const TempDir dir;
  const Descriptor file(dir.File("f"), _O_WRONLY | _O_CREAT);
  {
    const ShortWrites three(3);
    utl_BinOStream(file.Get(), kOrder).WriteString("a longer text");
  }
  EXPECT_EQ(ReadWholeFile(dir.File("f")), std::string("\x0D\0\0\0a longer text", 17));
}

class BinStreamCallsTest : public testing::Test {
 protected:
  void SetUp() override {
    const FailingCall first(SystemCall::kWriteFile, ERROR_DISK_FULL);
    if (_write(file_.Get(), "x", 1) == 1) {
      GTEST_SKIP() << "this run time's own calls cannot be redirected";
    }
    EXPECT_TRUE(first.Happened());
  }

  const TempDir dir_;
  const Descriptor file_{dir_.File("f"), _O_RDWR | _O_CREAT};
};

TEST_F(BinStreamCallsTest, AValueIsWrittenAndReadAtOnce) {
  utl_BinOStream out(file_.Get(), kOrder);
  utl_BinIStream in(file_.Get(), kOrder);
  const std::function<void()> values[] = {
      [&] { out.WriteSchar(1); },  [&] { out.WriteUchar(1); },
      [&] { out.WriteShort(1); },  [&] { out.WriteUShort(1); },
      [&] { out.WriteInt(1); },    [&] { out.WriteUInt(1); },
      [&] { out.WriteInt64(1); },  [&] { out.WriteUInt64(1); },
      [&] { out.Write("abc", 3); }};
  for (const auto& write : values) {
    const FailingCall second(SystemCall::kWriteFile, ERROR_DISK_FULL, 2);
    write();
    EXPECT_FALSE(second.Happened());
  }
  _lseeki64(file_.Get(), 0, SEEK_SET);
  const std::function<void()> reads[] = {
      [&] { in.ReadSchar(); },  [&] { in.ReadUchar(); }, [&] { in.ReadShort(); },
      [&] { in.ReadUShort(); }, [&] { in.ReadInt(); },   [&] { in.ReadUInt(); },
      [&] { in.ReadInt64(); },  [&] { in.ReadUInt64(); }};
  for (const auto& read : reads) {
    const FailingCall second(SystemCall::kReadFile, ERROR_ACCESS_DENIED, 2);
    read();
    EXPECT_FALSE(second.Happened());
  }
}

// Transfers values and arrays while no other call of the system is allowed than one that
// reads or writes. `argv[1]` is a file of 100 bytes.
TEST_CHILD(transferByReadsAndWritesAlone) {
  const bool isLibrarys = std::string(argv[2]) == "library";
  const auto opened = [&](int access) {
    return isLibrarys ? _open(argv[1], access | _O_BINARY) : open(argv[1], access);
  };
  utl_BinOStream out(opened(O_WRONLY), kOrder);
  utl_BinIStream in(opened(O_RDONLY), kOrder);
  if (!AllowOnlyReadAndWrite()) {
    return 2;
  }
  std::array<double, 4> doubles = {};
  for (int i = 0; i < 3; ++i) {
    out.WriteInt(4711);
    out.WriteInt64(12);
    out.WriteString("abcd");
    out.WriteSchar('x');
    in.ReadInt();
    in.ReadInt64();
    in.ReadString();
    in.ReadSchar();
  }
  out.WriteDoubleArray(doubles.data(), 4);
  in.ReadDoubleArray(doubles.data(), 4);
  std::_Exit(0);
}

TEST(BinStreamSystemCallsTest, NothingButReadsAndWrites) {
  const TempDir dir;
  for (const char* opener : {"library", "system"}) {
    WriteWholeFile(dir.File("f"), std::string(100, 'x'));
    ChildProcess child =
        ChildProcess::Start("transferByReadsAndWritesAlone", {dir.File("f"), opener});
    const int result = child.Wait();
    if (result == 2) {
      GTEST_SKIP() << "this system does not limit what a process may call";
    }
    EXPECT_EQ(result, 0) << opener;
  }
}

// A second call would fail.
TEST_F(BinStreamCallsTest, AnArrayIsWrittenAndReadAtOnce) {
  const std::vector<int> numbers = Numbers(100000);
  {
    const FailingCall second(SystemCall::kWriteFile, ERROR_DISK_FULL, 2);
    utl_BinOStream(file_.Get(), kOrder).WriteIntArray(numbers.data(), 100000);
    EXPECT_FALSE(second.Happened());
  }
  _lseeki64(file_.Get(), 0, SEEK_SET);
  std::vector<int> read(numbers.size());
  const FailingCall second(SystemCall::kReadFile, ERROR_ACCESS_DENIED, 2);
  utl_BinIStream(file_.Get(), kOrder).ReadIntArray(read.data(), 100000);
  EXPECT_FALSE(second.Happened());
  EXPECT_TRUE(numbers == read);
}

// The length was written already and stays so; the stream can be used again.
TEST_F(BinStreamCallsTest, WhatWasTransferredBeforeAFailureStays) {
  utl_BinOStream out(file_.Get(), kOrder);
  {
    const FailingCall second(SystemCall::kWriteFile, ERROR_DISK_FULL, 2);
    EXPECT_THROW_TEXT(out.WriteString("abc"), utl_BinStreamWriteError,
                      std::strerror(ENOSPC));
  }
  out.Write("xyz", 3);
  EXPECT_EQ(ReadWholeFile(dir_.File("f")), std::string("\3\0\0\0xyz", 7));
  _lseeki64(file_.Get(), 0, SEEK_SET);
  utl_BinIStream in(file_.Get(), kOrder);
  {
    const FailingCall second(SystemCall::kReadFile, ERROR_ACCESS_DENIED, 2);
    EXPECT_THROW_TEXT(in.ReadString(), utl_BinStreamReadError, std::strerror(EBADF));
  }
  EXPECT_EQ(in.ReadSchar(), 'x');
}

// Arrays whose size in bytes does not fit an int, or is 0 in 32 bits. Their memory is
// never written, so that it takes none.
constexpr int kOver2G = 268435457;  // doubles: 2^31 + 8 bytes
constexpr int kExactly4G = 536870912;

std::unique_ptr<double[]> Untouched() {
  return std::make_unique_for_overwrite<double[]>(kExactly4G);
}

TEST(BinStreamHugeTest, ArraysOfMoreThan2GiBAreWritten) {
  const auto doubles = Untouched();
  const Descriptor null("/dev/null", _O_WRONLY);
  utl_BinOStream out(null.Get(), kOrder);
  out.WriteDoubleArray(doubles.get(), kOver2G);
  out.WriteDoubleArray(doubles.get(), kExactly4G);
}

TEST(BinStreamHugeTest, ArraysOfMoreThan2GiBAreNotTakenForEmpty) {
  const auto doubles = Untouched();
  const Descriptor full("/dev/full", _O_WRONLY);
  const TempDir dir;
  const Descriptor empty(dir.File("f"), _O_RDONLY | _O_CREAT);
  utl_BinOStream out(full.Get(), kOrder);
  utl_BinIStream in(empty.Get(), kOrder);
  const auto* ints = reinterpret_cast<const int*>(doubles.get());
  for (const int count : {kOver2G, kExactly4G}) {
    EXPECT_THROW(out.WriteDoubleArray(doubles.get(), count), utl_BinStreamWriteError);
    EXPECT_THROW(out.WriteIntArray(ints, count), utl_BinStreamWriteError);
    EXPECT_THROW(in.ReadDoubleArray(doubles.get(), count), utl_BinStreamEOF);
  }
  constexpr int k4GOfFloats = 1073741824;
  EXPECT_THROW(out.WriteIntArray(ints, k4GOfFloats), utl_BinStreamWriteError);
  EXPECT_THROW(out.WriteFloatArray(reinterpret_cast<const float*>(ints), k4GOfFloats),
               utl_BinStreamWriteError);
  EXPECT_THROW(in.ReadFloatArray(reinterpret_cast<float*>(doubles.get()), k4GOfFloats),
               utl_BinStreamEOF);
  EXPECT_THROW(in.ReadIntArray(reinterpret_cast<int*>(doubles.get()), k4GOfFloats),
               utl_BinStreamEOF);
}

TEST(BinStreamExceptionTest, KeepTheContractOfTheLibrary) {
  ExpectExceptionContract(utl_BinStreamException("text"), "text");
  ExpectExceptionContract<utl_BinStreamException>(utl_BinStreamEOF("text"), "text");
  ExpectExceptionContract<utl_BinStreamException>(utl_BinStreamReadError("text"), "text");
  ExpectExceptionContract<utl_BinStreamException>(utl_BinStreamWriteError("text"),
                                                  "text");
}

}  // namespace
