#include "utl/utl_UrlParser.h"

#include <algorithm>
#include <string_view>

#include "rgx/rgx_funcs.h"
#include "utl/impl/text/utl_ascii.h"

// What a URL is here is defined by patterns (see tests/utl/utl_UrlParser_model_test.cpp);
// they are matched by hand because that takes a twentieth of the time.

namespace {

// The one scheme that the product serves, and its colon.
constexpr std::string_view kUrlStart = "kstrdb:";

bool IsSchemeCharacter(char c) {
  return utl_isLetter(c) || c == '+' || c == '.' || c == '-';
}

bool IsHostCharacter(char c) {
  return utl_isLetter(c) || utl_isDigit(c) || c == '.' || c == '-';
}

std::string_view UpToZero(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// Takes the characters of one kind from the front of `text`, as many as there are.
template <class IsOfKind>
std::string_view Take(std::string_view& text, IsOfKind isOfKind) {
  const auto end = std::find_if_not(text.begin(), text.end(), isOfKind);
  const std::string_view taken =
      text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(taken.size());
  return taken;
}

// Takes `expected` from the front of `text`; false when it is not there.
bool Skip(std::string_view& text, std::string_view expected) {
  const bool isThere = text.starts_with(expected);
  text.remove_prefix(isThere ? expected.size() : 0);
  return isThere;
}

// The parts of HOST[:PORT][/PATH[?QUERY]]; what is not there is empty.
struct Parts {
  std::string_view host, port, path;

  explicit Parts(std::string_view text) : host(Take(text, IsHostCharacter)) {
    if (host.empty()) {
      return;
    }
    std::string_view rest = text;
    if (Skip(rest, ":")) {
      const std::string_view digits = Take(rest, utl_isDigit);
      if (digits.empty() || !rest.starts_with('/')) {
        return;
      }
      port = digits;
      text = rest;
    }
    if (Skip(text, "/")) {
      path = text.substr(0, text.find('?'));
    }
  }
};

// A part of a URL. It is looked for after the user, which the first "@" ends, and without
// one if it is not found there.
cow_String Part(std::string_view url, std::string_view Parts::*part) {
  url = UpToZero(url);
  if (Take(url, IsSchemeCharacter).empty() || !Skip(url, "://")) {
    return {};
  }
  const std::size_t at = url.find('@');
  if (at != std::string_view::npos && at > 0) {
    const std::string_view found = Parts(url.substr(at + 1)).*part;
    if (!found.empty()) {
      return cow_String(found);
    }
  }
  return cow_String(Parts(url).*part);
}

bool IsSchemeName(std::string_view name) {
  name = UpToZero(name);
  if (name.ends_with('\n')) {  // "$" matches before it
    name.remove_suffix(1);
  }
  return !name.empty() && std::all_of(name.begin(), name.end(), IsSchemeCharacter);
}

}  // namespace

bool utl_UrlParser::IsUrl(const cow_String& s) {
  return std::string_view(s).starts_with(kUrlStart);
}

cow_String utl_UrlParser::GetScheme(const cow_String& s) {
  std::string_view rest = UpToZero(s);
  const std::string_view scheme = Take(rest, IsSchemeCharacter);
  return rest.starts_with(':') ? cow_String(scheme) : cow_String();
}

bool utl_UrlParser::IsScheme(const cow_String& s, const cow_String& scheme) {
  return IsSchemeName(scheme) && rgx_match("^" + scheme + ":", s).Matched();
}

bool utl_UrlParser::HasHost(const cow_String& s) {
  return !GetHost(s).IsEmpty();
}

cow_String utl_UrlParser::GetHost(const cow_String& s) {
  return Part(s, &Parts::host);
}

bool utl_UrlParser::HasPort(const cow_String& s) {
  return !GetPort(s).IsEmpty();
}

cow_String utl_UrlParser::GetPort(const cow_String& s) {
  return Part(s, &Parts::port);
}

bool utl_UrlParser::HasPath(const cow_String& s) {
  return !GetPath(s).IsEmpty();
}

cow_String utl_UrlParser::GetPath(const cow_String& s) {
  return Part(s, &Parts::path);
}
