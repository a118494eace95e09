#include "utl/utl_BinStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "common/handle/Pipe.h"
#include "common/temp/TempDir.h"

namespace {

constexpr auto kLittle = omi_Swapper::kLittleEndian;
constexpr auto kBig = omi_Swapper::kBigEndian;
constexpr char kEndOfFile[] = "*** ERROR: End of file on binary stream.";

class BinStreamTest : public testing::Test {
 protected:
  ~BinStreamTest() override { CloseFile(); }

  void CloseFile() {
    if (fd_ >= 0) {
      _close(fd_);
    }
    fd_ = -1;
  }

  int Open(int flags) {
    CloseFile();
    fd_ = _open(path_.c_str(), flags, _S_IREAD | _S_IWRITE);
    EXPECT_GE(fd_, 0);
    return fd_;
  }

  // In text mode, which the streams are to leave.
  utl_BinOStream Output(omi_Swapper::EndianType order = kLittle) {
    return {Open(_O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT), order};
  }

  std::string Written() {
    CloseFile();
    return ReadWholeFile(path_);
  }

  utl_BinIStream Input(std::string_view bytes, omi_Swapper::EndianType order = kLittle) {
    CloseFile();
    WriteWholeFile(path_, std::string(bytes));
    return {Open(_O_RDONLY | _O_TEXT), order};
  }

  long long Position() const { return _lseeki64(fd_, 0, SEEK_CUR); }

  const TempDir dir_;
  const std::string path_ = dir_.File("stream");
  int fd_ = -1;
};

using namespace std::string_view_literals;

TEST_F(BinStreamTest, IntegersAreTheirImages) {
  utl_BinOStream out = Output();
  out.WriteSchar('\x81');
  out.WriteUchar(0xFE);
  out.WriteShort(-2);
  out.WriteUShort(0xABCD);
  out.WriteInt(1);
  out.WriteUInt(0xDEADBEEF);
  out.WriteInt64(-3);
  out.WriteUInt64(0x0123456789ABCDEF);
  EXPECT_EQ(Written(),
            "\x81\xFE"
            "\xFE\xFF\xCD\xAB"
            "\x01\0\0\0\xEF\xBE\xAD\xDE"
            "\xFD\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xEF\xCD\xAB\x89\x67\x45\x23\x01"sv);
}

TEST_F(BinStreamTest, IntegersComeBack) {
  utl_BinIStream in = Input(
      "\x81\xFE"
      "\xFE\xFF\xCD\xAB"
      "\x01\0\0\0\xEF\xBE\xAD\xDE"
      "\xFD\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xEF\xCD\xAB\x89\x67\x45\x23\x01"sv);
  EXPECT_EQ(in.ReadSchar(), '\x81');
  EXPECT_EQ(in.ReadUchar(), 0xFE);
  EXPECT_EQ(in.ReadShort(), -2);
  EXPECT_EQ(in.ReadUShort(), 0xABCD);
  EXPECT_EQ(in.ReadInt(), 1);
  EXPECT_EQ(in.ReadUInt(), 0xDEADBEEF);
  EXPECT_EQ(in.ReadInt64(), -3);
  EXPECT_EQ(in.ReadUInt64(), 0x0123456789ABCDEFu);
  EXPECT_THROW(in.ReadUchar(), utl_BinStreamEOF);
}

TEST_F(BinStreamTest, LimitsThereAndBack) {
  utl_BinOStream out = Output();
  out.WriteShort(std::numeric_limits<short>::min());
  out.WriteInt(std::numeric_limits<int>::min());
  out.WriteInt64(std::numeric_limits<std::int64_t>::min());
  out.WriteUInt64(std::numeric_limits<std::uint64_t>::max());
  utl_BinIStream in = Input(Written());
  EXPECT_EQ(in.ReadShort(), std::numeric_limits<short>::min());
  EXPECT_EQ(in.ReadInt(), std::numeric_limits<int>::min());
  EXPECT_EQ(in.ReadInt64(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(in.ReadUInt64(), std::numeric_limits<std::uint64_t>::max());
}

TEST_F(BinStreamTest, TheByteOrderChangesNothing) {
  utl_BinOStream out = Output(kBig);
  out.WriteInt(1);
  EXPECT_EQ(Written(), "\x01\0\0\0"sv);
  EXPECT_EQ(Input("\x01\0\0\0"sv, kBig).ReadInt(), 1);
}

constexpr int kInts[] = {1, -1};
constexpr float kFloats[] = {1.0f, -2.5f};
constexpr double kDoubles[] = {1.0, -2.5};

void WriteArrays(utl_BinOStream& out) {
  out.WriteIntArray(kInts, 2);
  out.WriteFloatArray(kFloats, 2);
  out.WriteDoubleArray(kDoubles, 2);
}

void ExpectArrays(utl_BinIStream& in) {
  int ints[2];
  float floats[2];
  double doubles[2];
  in.ReadIntArray(ints, 2);
  in.ReadFloatArray(floats, 2);
  in.ReadDoubleArray(doubles, 2);
  EXPECT_TRUE(std::ranges::equal(kInts, ints));
  EXPECT_TRUE(std::ranges::equal(kFloats, floats));
  EXPECT_TRUE(std::ranges::equal(kDoubles, doubles));
}

TEST_F(BinStreamTest, TheByteOrderChangesNothingOfAnyValue) {
  const auto written = [&](omi_Swapper::EndianType order) {
    utl_BinOStream out = Output(order);
    out.WriteShort(0x0102);
    out.WriteUShort(0x0304);
    out.WriteUInt(0x05060708);
    out.WriteInt64(0x090A0B0C0D0E0F10);
    out.WriteUInt64(0x1112131415161718);
    out.WriteString("abc");
    WriteArrays(out);
    return Written();
  };
  const std::string bytes = written(kLittle);
  EXPECT_EQ(written(kBig), bytes);
  utl_BinIStream in = Input(bytes, kBig);
  EXPECT_EQ(in.ReadShort(), 0x0102);
  EXPECT_EQ(in.ReadUShort(), 0x0304);
  EXPECT_EQ(in.ReadUInt(), 0x05060708u);
  EXPECT_EQ(in.ReadInt64(), 0x090A0B0C0D0E0F10);
  EXPECT_EQ(in.ReadUInt64(), 0x1112131415161718u);
  EXPECT_EQ(in.ReadString(), "abc");
  ExpectArrays(in);
}

TEST_F(BinStreamTest, BytesPassAsTheyAre) {
  // All that a text mode would change.
  const std::string bytes("\n\r\n\x1A\0\xFF\n", 7);
  utl_BinOStream out = Output();
  out.Write(bytes.data(), 7);
  EXPECT_EQ(Written(), bytes);
  std::string read(7, ' ');
  const utl_BinIStream in = Input(bytes);
  in.Read(read.data(), 7);
  EXPECT_EQ(read, bytes);
}

TEST_F(BinStreamTest, StringsAreLengthAndBytes) {
  utl_BinOStream out = Output();
  out.WriteString("abc");
  out.WriteString("");
  out.WriteString(cow_String());
  out.WriteString(cow_String::Reserved(9));
  out.WriteString(cow_String("a\0b", 3));
  const std::string_view expected(
      "\3\0\0\0abc"
      "\0\0\0\0"
      "\0\0\0\0"
      "\0\0\0\0"
      "\3\0\0\0a\0b",
      26);
  EXPECT_EQ(Written(), expected);
  utl_BinIStream in = Input(expected);
  EXPECT_EQ(in.ReadString(), "abc");
  EXPECT_TRUE(in.ReadString().IsEmpty());
  EXPECT_TRUE(in.ReadString().IsEmpty());
  EXPECT_TRUE(in.ReadString().IsEmpty());
  EXPECT_EQ(in.ReadString(), "a\0b"sv);
}

TEST_F(BinStreamTest, StringsAreTerminatedInMemory) {
  const cow_String text = Input("\2\0\0\0abc"sv).ReadString();
  EXPECT_STREQ(text.c_str(), "ab");
}

TEST_F(BinStreamTest, ArraysAreTheirElementsWithoutACount) {
  utl_BinOStream out = Output();
  WriteArrays(out);
  const std::string_view expected(
      "\1\0\0\0\xFF\xFF\xFF\xFF"
      "\0\0\x80\x3F\0\0\x20\xC0"
      "\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\x04\xC0",
      32);
  EXPECT_EQ(Written(), expected);
  utl_BinIStream in = Input(expected);
  ExpectArrays(in);
}

TEST_F(BinStreamTest, CountsOfZeroOrLessMoveNothing) {
  utl_BinOStream out = Output();
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    out.Write(nullptr, count);
    out.WriteIntArray(nullptr, count);
    out.WriteFloatArray(nullptr, count);
    out.WriteDoubleArray(nullptr, count);
  }
  EXPECT_EQ(Written(), "");
  utl_BinIStream in = Input("abc");
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    in.Read(nullptr, count);
    in.ReadIntArray(nullptr, count);
    in.ReadFloatArray(nullptr, count);
    in.ReadDoubleArray(nullptr, count);
  }
  EXPECT_EQ(in.ReadSchar(), 'a');
}

TEST_F(BinStreamTest, TheEndWithinAValueIsTheEndOfTheFile) {
  utl_BinIStream in = Input("abc");
  EXPECT_THROW_AT(in.ReadInt(), utl_BinStreamEOF, kEndOfFile, "utl/impl/utl_BinStream",
                  139);
  EXPECT_EQ(Position(), 3) << "what was there is read";
  EXPECT_THROW_TEXT(in.ReadUchar(), utl_BinStreamEOF, kEndOfFile);
}

TEST_F(BinStreamTest, WhatIsAppendedBehindTheEndIsRead) {
  utl_BinIStream in = Input("abc");
  for (const char* appended : {"one", "two"}) {
    EXPECT_THROW_TEXT(in.ReadInt(), utl_BinStreamEOF, kEndOfFile);
    EXPECT_THROW_TEXT(in.ReadUchar(), utl_BinStreamEOF, kEndOfFile);
    std::ofstream(path_, std::ios::binary | std::ios::app) << appended;
    char bytes[3];
    in.Read(bytes, 3);
    EXPECT_EQ(std::string_view(bytes, 3), appended);
  }
}

TEST_F(BinStreamTest, ThePositionStaysBehindTheEnd) {
  utl_BinIStream in = Input("abc");
  EXPECT_EQ(_lseeki64(fd_, 10, SEEK_SET), 10);
  EXPECT_THROW_TEXT(in.ReadUchar(), utl_BinStreamEOF, kEndOfFile);
  EXPECT_EQ(Position(), 10);
}

TEST_F(BinStreamTest, TheEndOfAPipe) {
  Pipe pipe;
  utl_BinIStream in(pipe.Reader(), kLittle);
  utl_BinOStream(pipe.Writer(), kLittle).WriteShort(7);
  pipe.CloseWriter();
  EXPECT_EQ(in.ReadShort(), 7);
  EXPECT_THROW_TEXT(in.ReadUchar(), utl_BinStreamEOF, kEndOfFile);
  EXPECT_THROW_TEXT(in.ReadUchar(), utl_BinStreamEOF, kEndOfFile);
}

TEST_F(BinStreamTest, TheEndWithinAStringIsTheEndOfTheFile) {
  EXPECT_THROW_TEXT(Input("\3\0\0"sv).ReadString(), utl_BinStreamEOF, kEndOfFile);
  EXPECT_THROW_TEXT(Input("\3\0\0\0ab"sv).ReadString(), utl_BinStreamEOF, kEndOfFile);
}

TEST_F(BinStreamTest, TheEndWithinAnArrayIsTheEndOfTheFile) {
  int ints[2];
  float floats[2];
  double doubles[2];
  utl_BinIStream in = Input("\1\0\0\0\2\0\0"sv);
  EXPECT_THROW_TEXT(in.ReadIntArray(ints, 2), utl_BinStreamEOF, kEndOfFile);
  EXPECT_EQ(Position(), 7) << "what was there is read";
  EXPECT_THROW_TEXT(Input("1234567").ReadFloatArray(floats, 2), utl_BinStreamEOF,
                    kEndOfFile);
  EXPECT_THROW_TEXT(Input("123456789012345").ReadDoubleArray(doubles, 2),
                    utl_BinStreamEOF, kEndOfFile);
}

TEST_F(BinStreamTest, AHugeLengthIsTakenAsItIs) {
  // Memory that is asked for and not touched.
  EXPECT_THROW_TEXT(Input("\xFE\xFF\xFF\x7F"
                          "ab"sv)
                        .ReadString(),
                    utl_BinStreamEOF, kEndOfFile);
}

TEST_F(BinStreamTest, ANegativeLengthThrowsBeforeAnythingIsRead) {
  for (const std::string_view length : {"\xFF\xFF\xFF\xFF"sv, "\0\0\0\x80"sv}) {
    utl_BinIStream in = Input(std::string(length) + "ab");
    EXPECT_THROW(in.ReadString(), std::bad_alloc);
    EXPECT_EQ(Position(), 4);
  }
}

TEST_F(BinStreamTest, TheDescriptorStaysTheCallers) {
  const int fd = Open(_O_RDWR | _O_CREAT);
  {
    utl_BinOStream first(fd, kLittle);
    first.WriteInt(7);
    utl_BinOStream second(first);
    second.WriteInt(8);
  }
  EXPECT_EQ(Position(), 8);
  _lseeki64(fd, 4, SEEK_SET);
  EXPECT_EQ(utl_BinIStream(fd, kLittle).ReadInt(), 8);
}

}  // namespace
