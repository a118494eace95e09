#pragma once

#include "cow/cow_String.h"
#include "rgx/rgx_funcs.h"
#include "utl/utl_UrlParser.h"

/// Everything that utl_UrlParser answers of one text.
struct UrlParts {
  bool isUrl, hasHost, hasPort, hasPath;
  cow_String scheme, host, port, path;

  bool operator==(const UrlParts&) const = default;
};

inline UrlParts PartsOfUrl(const cow_String& s) {
  using Parser = utl_UrlParser;
  return {Parser::IsUrl(s),   Parser::HasHost(s),   Parser::HasPort(s),
          Parser::HasPath(s), Parser::GetScheme(s), Parser::GetHost(s),
          Parser::GetPort(s), Parser::GetPath(s)};
}

/// The same by the patterns that define it.
inline UrlParts PartsByPatterns(const cow_String& s) {
  const auto found = [&s](const char* pattern) { return rgx_match(pattern, s); };
  const cow_String scheme = found("^([a-zA-Z\\+\\.-]+):").NthString(1);
  const rgx_ReIterator host = found("^[a-zA-Z\\+\\.-]+://([^@]+@)?([a-zA-Z0-9\\.-]+)");
  const rgx_ReIterator port =
      found("^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+:([0-9]+)/");
  const rgx_ReIterator path =
      found("^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+(:[0-9]+)?/([^\\?]+)");
  return {found("([a-zA-Z\\+\\.-]+):").Matched() && scheme == "kstrdb",
          host.Matched(),
          port.Matched(),
          path.Matched(),
          scheme,
          host.NthString(2),
          port.NthString(2),
          path.NthString(3)};
}
