#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "nex/nex_TextException.h"

/// Bytes as printable text and back: Base64 as RFC 4648 describes it, with "=" padding
/// and one difference in the alphabet: the value 63 is written as "!", and a slash is not
/// in it. So these functions read only each other's texts:
///
///     ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+!
///
/// Errors are utl_Base64CodecError, also where there is no memory for the result's bytes;
/// any other lack of memory is std::bad_alloc.
///
/// Threads: any thread may call at any time, each with strings of its own.

/// The text of all bytes of `data`, zero bytes included; `data` is not changed.
///
/// With `lineBreaks` a newline follows every 76 characters (57 bytes) and ends the last
/// line, so that a text that is not empty ends in exactly one newline. No bytes give an
/// empty text either way.
///
///     cow_String bytes("Man");
///     utl_base64Encode(bytes, false);   // "TWFu"
///
/// Throws utl_Base64CodecError "memory allocation failure" when there is no memory for
/// the text, or when it would be longer than the 2,147,483,647 bytes of a string.
KSTUTL_EXPORT cow_String utl_base64Encode(cow_String& data, bool lineBreaks);

/// The bytes that `text` encodes. Newlines at both ends of `text` are first removed from
/// the caller's own string, and stay removed even when decoding fails.
///
/// Decoding ends at the padding, whatever follows it, or at a zero byte or the end of
/// the text; these two only at a multiple of 4 characters.
///
/// A byte that belongs neither to the alphabet nor to the padding is an error with
/// `strict`. Without it the byte is passed over, but keeps its place: a character's place
/// in its group of four follows from its index in the text, and the bits that the byte
/// would have given are those that the bytes under construction held before (zero at
/// first). So newlines inside a text are not ignored: only one line can be decoded.
///
///     cow_String text("TQ==\n");
///     utl_base64Decode(text, true);   // "M"; text is "TQ==" now
///
/// Throws utl_Base64CodecError with
///   "padding error"            a "=" at the first or second place of a group of four, a
///                              "=" at the third not followed by another, or an end that
///                              is not at a multiple of 4;
///   "strict checking failure"  another byte, with `strict`;
///   "malloc failure"           no memory; `text` is untouched.
KSTUTL_EXPORT cow_String utl_base64Decode(cow_String& text, bool strict);

/// A text could not be made or read; the message is one of those above.
class KSTUTL_EXPORT utl_Base64CodecError : public nex_TextException {
 public:
  explicit utl_Base64CodecError(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};
