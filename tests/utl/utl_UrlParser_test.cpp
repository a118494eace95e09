#include "utl/utl_UrlParser.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_TextException.h"

namespace {

struct UrlCase {
  const char* input;
  bool isUrl;
  const char* scheme;
  const char* host;
  const char* port;
  const char* path;
};

void ExpectAll(std::initializer_list<UrlCase> cases) {
  for (const UrlCase& c : cases) {
    SCOPED_TRACE(c.input);
    EXPECT_EQ(utl_UrlParser::IsUrl(c.input), c.isUrl);
    EXPECT_EQ(utl_UrlParser::GetScheme(c.input), c.scheme);
    EXPECT_EQ(utl_UrlParser::GetHost(c.input), c.host);
    EXPECT_EQ(utl_UrlParser::HasHost(c.input), *c.host != '\0');
    EXPECT_EQ(utl_UrlParser::GetPort(c.input), c.port);
    EXPECT_EQ(utl_UrlParser::HasPort(c.input), *c.port != '\0');
    EXPECT_EQ(utl_UrlParser::GetPath(c.input), c.path);
    EXPECT_EQ(utl_UrlParser::HasPath(c.input), *c.path != '\0');
  }
}

TEST(UrlParserTest, Table) {
  ExpectAll({
      {"kstrdb://user@node-7:4000/db/file?x=1", true, "kstrdb", "node-7", "4000",
       "db/file"},
      {"kstrdb://server/db", true, "kstrdb", "server", "", "db"},
      {"kstrdb://server:4000", true, "kstrdb", "server", "", ""},
      {"KSTRDB://server/db", false, "KSTRDB", "server", "", "db"},
      {"http://server/a", false, "http", "server", "", "a"},
      {"C:\\data\\job.inp", false, "C", "", "", ""},
      {"job.inp", false, "", "", "", ""},
      {"dir/kstrdb:x", false, "", "", "", ""},
  });
}

TEST(UrlParserTest, Consequences) {
  ExpectAll({
      {"kstrdb://host:1234", true, "kstrdb", "host", "", ""},
      {"kstrdb://host:1234/", true, "kstrdb", "host", "1234", ""},
      {"kstrdb://host/", true, "kstrdb", "host", "", ""},
      {"kstrdb://host/?q", true, "kstrdb", "host", "", ""},
      {"kstrdb://host//p", true, "kstrdb", "host", "", "/p"},
      {"kstrdb://host/p\nq?r", true, "kstrdb", "host", "", "p\nq"},
      {"kstrdb://host_2/p", true, "kstrdb", "host", "", ""},
      {"kstrdb://host:12x/p", true, "kstrdb", "host", "", ""},
      {"kstrdb://u:p@h:1/p", true, "kstrdb", "h", "1", "p"},
      // The user may hold a "/"; without a host behind the "@" there is no user.
      {"kstrdb://a/b@h/p", true, "kstrdb", "h", "", "p"},
      {"kstrdb://a/b@", true, "kstrdb", "a", "", "b@"},
      {"kstrdb://a:1/b@h", true, "kstrdb", "h", "1", "b@h"},
      {"kstrdb://u@v@h/p", true, "kstrdb", "v", "", ""},
      {"kstrdb://@h/p", true, "kstrdb", "", "", ""},
      {"kstrdb:", true, "kstrdb", "", "", ""},
      {"kstrdb:/host/p", true, "kstrdb", "", "", ""},
      {"kstrdb", false, "", "", "", ""},
      {" kstrdb:x", false, "", "", "", ""},
      {"kstrdb2:x", false, "", "", "", ""},
      {"xkstrdb:x", false, "xkstrdb", "", "", ""},
      {"a+b.c-d://h", false, "a+b.c-d", "h", "", ""},
      {":", false, "", "", "", ""},
      {"://h/p", false, "", "", "", ""},
      {"", false, "", "", "", ""},
  });
}

TEST(UrlParserTest, ATextEndsAtAZeroByte) {
  const cow_String text("kstrdb\0://h/p", 13);
  EXPECT_FALSE(utl_UrlParser::IsUrl(text));
  EXPECT_EQ(utl_UrlParser::GetScheme(text), "");
  EXPECT_EQ(utl_UrlParser::GetPath(cow_String("kstrdb://h/pq\0r", 15)), "pq");
  EXPECT_FALSE(utl_UrlParser::IsScheme(text, "kstrdb"));
}

// The pattern that is made of it ends there, before the ":".
TEST(UrlParserTest, ASchemeEndsAtAZeroByte) {
  const cow_String scheme("kst\0_", 5);
  EXPECT_TRUE(utl_UrlParser::IsScheme("kstrdb", scheme));
  EXPECT_FALSE(utl_UrlParser::IsScheme("rdb:", scheme));
}

TEST(UrlParserTest, IsScheme) {
  const struct {
    const char* text;
    const char* scheme;
    bool is;
  } cases[] = {
      {"kstrdb://h", "kstrdb", true},
      {"kstrdb://h", "KSTRDB", false},
      {"kstrdb://h", "kst", false},
      {"kstrdb://h", "strdb", false},
      {"kstrdb", "kstrdb", false},
      {"C:\\data\\job.inp", "C", true},
      {"C:\\data\\job.inp", "c", false},
      {"kstrdb:", "", false},
      {":", "", false},
      {"a b:", "a b", false},
      {"a1:", "a1", false},
      {"(a):", "(a)", false},
      // The scheme is used as a pattern.
      {"kstrdb:", "k.trdb", true},
      {"k/trdb:", "k.trdb", true},
      {"kkkstrdb:", "k+strdb", true},
      {"k+strdb:", "k+strdb", false},
      {"a-b:", "a-b", true},
      {"aaa:", "a++", true},
      // A name's check passes over one line feed at the end.
      {"ab\n:", "ab\n", true},
      {"ab:", "ab\n", false},
      {"a1\n:", "a1\n", false},
      {"\n:", "\n", false},
  };
  for (const auto& [text, scheme, is] : cases) {
    EXPECT_EQ(utl_UrlParser::IsScheme(text, scheme), is) << text << " " << scheme;
  }
}

TEST(UrlParserTest, ASchemeThatIsNoPattern) {
  EXPECT_THROW_TEXT(utl_UrlParser::IsScheme("a:", "+"), nex_TextException,
                    "rgx_match: error in regex at offset 1: quantifier does not follow a "
                    "repeatable item");
  EXPECT_THROW_TEXT(utl_UrlParser::IsScheme("", "a+++"), nex_TextException,
                    "rgx_match: error in regex at offset 4: quantifier does not follow a "
                    "repeatable item");
}

}  // namespace
