#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Distinguishes URLs that the product serves from other names, and splits URLs into
/// parts:
///
///     SCHEME://[USER@]HOST[:PORT][/PATH[?QUERY]]
///
/// The parts follow fixed patterns rather than RFC 3986. A scheme consists of letters,
/// "+", "." and "-", a host of letters, digits, "." and "-". The user is everything up to
/// the first "@", "/" included, and is never returned; each part is looked for after a
/// user first, and, if it is not found there, in a text without user. A port counts only
/// when a "/" follows it. The path lacks its first "/", ends before the first "?" and is
/// not empty. Parts are returned as they are written; letter case is kept and nothing is
/// decoded.
///
///     utl_UrlParser::IsUrl("kstrdb://me@node-7:4000/db/f?x=1");     // true
///     utl_UrlParser::GetHost("kstrdb://me@node-7:4000/db/f?x=1");   // "node-7"
///     utl_UrlParser::GetPort("kstrdb://me@node-7:4000/db/f?x=1");   // "4000"
///     utl_UrlParser::GetPath("kstrdb://me@node-7:4000/db/f?x=1");   // "db/f"
///
/// A text with a zero byte ends there. Nothing but std::bad_alloc is thrown unless a
/// function says so; a part that is not there is "".
///
/// Threads: any.
class KSTUTL_EXPORT utl_UrlParser {
 public:
  utl_UrlParser() = delete;

  /// Whether the text starts with a scheme that the product serves and ":". There is one
  /// such scheme, "kstrdb", in this letter case. "C:\data" is no URL, and neither is
  /// "http://server/a".
  static bool IsUrl(const cow_String& s);

  /// The scheme at the start of the text: "C" of "C:\data".
  static cow_String GetScheme(const cow_String& s);
  /// Whether the text starts with `scheme` and ":". The scheme is used as a pattern: "."
  /// stands for any character and "+" repeats the character before it. A scheme with
  /// other characters than letters, "+", "." and "-" gives false (a line feed at its end
  /// is passed over); one that is no valid pattern, like "+", throws the
  /// nex_TextException of rgx_match. A scheme with a zero byte is a pattern that ends
  /// there, without the ":".
  static bool IsScheme(const cow_String& s, const cow_String& scheme);

  static bool HasHost(const cow_String& s);
  static cow_String GetHost(const cow_String& s);

  /// "kstrdb://host:1234/" has the port "1234", "kstrdb://host:1234" has none.
  static bool HasPort(const cow_String& s);
  /// The port's digits.
  static cow_String GetPort(const cow_String& s);

  static bool HasPath(const cow_String& s);
  static cow_String GetPath(const cow_String& s);
};
