#include "utl/utl_Catenator.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

// The length at which the text moves from the string to the stream.
constexpr int kCapacity = 992;

// The longest text that is copied rather than shared with the string.
constexpr int kCopied = 496;

// The text up to its first zero byte.
cow_String StreamText(const aio_ostrstream& stream) {
  char* const text = stream.adoptString(&::operator new);
  const std::size_t length = std::strlen(text);
  if (length > std::numeric_limits<int>::max()) {
    ::operator delete(text);
    throw std::length_error("utl_Catenator: longer than 2147483647 bytes");
  }
  return cow_String::Adopt(text, static_cast<int>(length));
}

}  // namespace

utl_Catenator::utl_Catenator() : buffer_(cow_String::Reserved(kCapacity)) {}

utl_Catenator::~utl_Catenator() = default;

void utl_Catenator::CatToBuffer(const char* text, int length) {
  if (std::int64_t{buffer_.Length()} + length < kCapacity) {
    buffer_.Append(text, length);
    return;
  }
  auto stream = std::make_unique<aio_ostrstream>();
  stream->write(buffer_.c_str(), buffer_.Length());
  stream->write(text, length);
  buffer_ = cow_String();
  overflow_ = std::move(stream);
}

utl_Catenator& utl_Catenator::Erase() {
  if (overflow_) {
    overflow_->seekp(0);
  } else {
    buffer_.Clear().Reserve(kCapacity);  // allocates if GetString shares it
  }
  return *this;
}

cow_String utl_Catenator::GetString() const {
  if (overflow_) {
    return StreamText(*overflow_);
  }
  if (buffer_.Length() > kCopied) {
    return buffer_;
  }
  return {buffer_.c_str(), buffer_.Length()};
}
