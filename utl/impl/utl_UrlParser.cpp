#include "utl/utl_UrlParser.h"

#include <string_view>

#include "rgx/impl/rgx_search.h"

namespace {

// The patterns are the definition of what a URL is here; each stands for itself.
const cow_String kAnyScheme("([a-zA-Z\\+\\.-]+):");
const cow_String kScheme("^([a-zA-Z\\+\\.-]+):");
const cow_String kSchemeName("^[a-zA-Z\\+\\.-]+$");
const cow_String kHasHost("^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+");
const cow_String kHost("^[a-zA-Z\\+\\.-]+://([^@]+@)?([a-zA-Z0-9\\.-]+)");
const cow_String kHasPort("^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+:[0-9]+/");
const cow_String kPort("^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+:([0-9]+)/");
const cow_String kHasPath(
    "^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+(:[0-9]+)?/[^\\?]+");
const cow_String kPath(
    "^[a-zA-Z\\+\\.-]+://([^@]+@)?[a-zA-Z0-9\\.-]+(:[0-9]+)?/([^\\?]+)");

// The schemes that count as URLs, up to the empty entry.
constexpr std::string_view kKnownSchemes[] = {"kstrdb", ""};

rgx_Found Search(const cow_String& pattern, const cow_String& s) {
  return rgx_search(pattern, rgx_upToZero(s));
}

bool Matches(const cow_String& pattern, const cow_String& s) {
  return Search(pattern, s).Matched();
}

cow_String Part(const cow_String& pattern, const cow_String& s, int group) {
  return cow_String(Search(pattern, s).Text(group));
}

}  // namespace

bool utl_UrlParser::IsUrl(const cow_String& s) {
  // Most names have no ":", and those need no pattern.
  if (std::string_view(s).find(':') == std::string_view::npos ||
      !Matches(kAnyScheme, s)) {
    return false;
  }
  const rgx_Found found = Search(kScheme, s);
  for (const std::string_view* known = kKnownSchemes; !known->empty(); ++known) {
    if (found.Text(1) == *known) {
      return true;
    }
  }
  return false;
}

cow_String utl_UrlParser::GetScheme(const cow_String& s) {
  return Part(kScheme, s, 1);
}

bool utl_UrlParser::IsScheme(const cow_String& s, const cow_String& scheme) {
  return Matches(kSchemeName, scheme) && Matches("^" + scheme + ":", s);
}

bool utl_UrlParser::HasHost(const cow_String& s) {
  return Matches(kHasHost, s);
}

cow_String utl_UrlParser::GetHost(const cow_String& s) {
  return Part(kHost, s, 2);
}

bool utl_UrlParser::HasPort(const cow_String& s) {
  return Matches(kHasPort, s);
}

cow_String utl_UrlParser::GetPort(const cow_String& s) {
  return Part(kPort, s, 2);
}

bool utl_UrlParser::HasPath(const cow_String& s) {
  return Matches(kHasPath, s);
}

cow_String utl_UrlParser::GetPath(const cow_String& s) {
  return Part(kPath, s, 3);
}
