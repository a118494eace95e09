#include "cow/cow_String.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include "common/thread/StartLine.h"

// NOLINTBEGIN(performance-unnecessary-copy-initialization): copies are under test.

namespace {

// Too long to stand in the object.
constexpr const char* kLong = "abcdefghijklmnopqrstuvwxyz";

using namespace std::string_view_literals;

// A view that claims more bytes than it has: who checks the length first reads none.
const std::string_view kTooLong("x", std::size_t{INT_MAX} + 1);
const std::string_view kLongest("x", std::size_t{INT_MAX});

char* NewBlock(std::string_view text) {
  char* const block = static_cast<char*>(::operator new(text.size() + 1));
  std::memcpy(block, text.data(), text.size());
  block[text.size()] = '\0';
  return block;
}

TEST(CowStringTest, EmptyStringsReadAsEmptyText) {
  const cow_String null(static_cast<const char*>(nullptr));
  for (const cow_String& text :
       {cow_String(), null, cow_String(""), cow_String("abc", 0), cow_String("abc", -1),
        cow_String(nullptr, 0), cow_String(std::string_view()), cow_String::Reserved(0),
        cow_String::Reserved(-5), cow_String::Adopt(nullptr, 0)}) {
    EXPECT_EQ(text.Length(), 0);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text[0], '\0');
    EXPECT_EQ(text, cow_String());
  }
}

// Whether the text stands in the object itself.
bool StandsInside(const cow_String& text) {
  const auto* object = reinterpret_cast<const char*>(&text);
  return std::less_equal<>()(object, text.c_str()) &&
         std::less<>()(text.c_str(), object + sizeof text);
}

TEST(CowStringTest, TextsOfUpTo23BytesStandInTheObject) {
  for (int length = 0; length <= 50; ++length) {
    const std::string plain(static_cast<std::size_t>(length), 'x');
    const cow_String text(plain.data(), length);
    EXPECT_EQ(StandsInside(text), length <= 23) << length;
    EXPECT_EQ(text.Length(), length);
    EXPECT_EQ(text, plain);
    EXPECT_EQ(text.c_str()[length], '\0');
    const cow_String copy = text;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.c_str() == text.c_str(), length > 23) << length;
    EXPECT_EQ(copy, plain);
  }
}

TEST(CowStringTest, GrowsOutOfTheObjectAndStaysThere) {
  cow_String text;
  for (int length = 1; length <= 50; ++length) {
    text += 'x';
    EXPECT_EQ(text, std::string(static_cast<std::size_t>(length), 'x'));
    EXPECT_EQ(StandsInside(text), length <= 23) << length;
  }
  text.Remove(3, 50);
  EXPECT_EQ(text, "xxx");
  EXPECT_FALSE(StandsInside(text));  // storage of its own is kept
}

TEST(CowStringTest, TakesTextToTheTerminatorOrByLength) {
  EXPECT_EQ(cow_String("abc").Length(), 3);
  EXPECT_EQ(cow_String("abcdef", 4), "abcd"sv);
  const cow_String zero("a\0b", 3);
  EXPECT_EQ(zero.Length(), 3);
  EXPECT_EQ(zero, "a\0b"sv);
  EXPECT_NE(zero, "a");
  EXPECT_EQ(cow_String("a\0b"sv), zero);
  EXPECT_EQ(zero.c_str()[3], '\0');
}

TEST(CowStringTest, IndexReadsBytesAndTheTerminator) {
  const cow_String text("a\xff");
  EXPECT_EQ(text[0], 'a');
  EXPECT_EQ(text[1], '\xff');
  EXPECT_EQ(text[2], '\0');
}

TEST(CowStringTest, CopiesShareStorageUntilOneChanges) {
  const cow_String original(kLong);
  cow_String copy = original;
  EXPECT_EQ(copy.c_str(), original.c_str());
  copy += "d";
  EXPECT_EQ(original, kLong);
  EXPECT_EQ(copy, std::string(kLong) + "d");
}

TEST(CowStringTest, EveryChangeDetaches) {
  using Change = void (*)(cow_String&);
  const std::pair<Change, const char*> changes[] = {
      {[](cow_String& s) { s.Append("x", 1); }, " a/bx"},
      {[](cow_String& s) { s += 'x'; }, " a/bx"},
      {[](cow_String& s) { s.Insert(0, "x"); }, "x a/b"},
      {[](cow_String& s) { s.Remove(0, 2); }, "/b"},
      {[](cow_String& s) { s.Trim(" "); }, "a/b"},
      {[](cow_String& s) { s.Replace('/', '.'); }, " a.b"},
      {[](cow_String& s) { s.Clear(); }, ""},
      {[](cow_String& s) { s.Reserve(100); }, " a/b"},
  };
  for (const auto& [change, expected] : changes) {
    const cow_String original(" a/b");
    cow_String copy = original;
    change(copy);
    EXPECT_EQ(copy, expected);
    EXPECT_EQ(original, " a/b");

    const cow_String longer = original + kLong;
    cow_String longCopy = longer;
    change(longCopy);
    EXPECT_EQ(longer, std::string(" a/b") + kLong) << expected;
    EXPECT_TRUE(longCopy != longer || longCopy.c_str() != longer.c_str()) << expected;
  }
}

TEST(CowStringTest, ChangesThatChangeNothingKeepSharing) {
  const cow_String original(kLong);
  cow_String copy = original;
  copy.Append("x", 0).Append("x", -1).Remove(1, 0).Remove(99, 5).Trim(" ").Replace('!',
                                                                                   '?');
  copy += "";
  copy += static_cast<const char*>(nullptr);
  copy.Reserve(0).Reserve(-1).Trim(nullptr);
  EXPECT_EQ(copy.c_str(), original.c_str());
  EXPECT_EQ(copy, kLong);
}

TEST(CowStringTest, MoveLeavesTheEmptyString) {
  cow_String a("abc");
  const cow_String b = std::move(a);
  EXPECT_EQ(a, "");  // NOLINT: that is the promise
  EXPECT_EQ(b, "abc");
}

TEST(CowStringTest, AdoptTakesTheBlockWithoutACopy) {
  char* const block = NewBlock("a\0c"sv);
  const cow_String text = cow_String::Adopt(block, 3);
  EXPECT_EQ(text.c_str(), block);
  EXPECT_EQ(text, "a\0c"sv);
  const cow_String copy = text;
  EXPECT_EQ(copy.c_str(), block);
}

TEST(CowStringTest, AdoptedTextGrowsIntoStorageOfItsOwn) {
  cow_String text = cow_String::Adopt(NewBlock("abc"), 3);
  text += "d";
  EXPECT_EQ(text, "abcd");
}

TEST(CowStringTest, AdoptedTextIsChangedInItsBlock) {
  char* const block = NewBlock("xabcx");
  cow_String text = cow_String::Adopt(block, 5);
  text.Trim("x");
  EXPECT_EQ(text.c_str(), block);
  EXPECT_STREQ(text.c_str(), "abc");
}

TEST(CowStringTest, AdoptsABlockOfLengthZero) {
  const cow_String text = cow_String::Adopt(NewBlock(""), 0);
  EXPECT_EQ(text, "");
}

TEST(CowStringTest, ReservedStorageIsFilledInPlace) {
  cow_String text = cow_String::Reserved(992);
  EXPECT_TRUE(text.IsEmpty());
  const char* const storage = text.c_str();
  for (int i = 0; i < 992; ++i) {
    text += 'x';
  }
  EXPECT_EQ(text.c_str(), storage);
  EXPECT_EQ(text.Length(), 992);
}

TEST(CowStringTest, ReserveKeepsTextAndNeverShrinks) {
  cow_String text("abc");
  text.Reserve(100);
  const char* const storage = text.c_str();
  text.Reserve(2).Reserve(100);
  EXPECT_EQ(text.c_str(), storage);
  EXPECT_EQ(text, "abc");
}

TEST(CowStringTest, ReserveOfSharedTextKeepsAllOfIt) {
  cow_String text("abc");
  const cow_String copy = text;
  text.Reserve(1);
  EXPECT_EQ(text, "abc");
}

TEST(CowStringTest, ClearKeepsStorage) {
  cow_String text = cow_String::Reserved(100);
  text += "abc";
  const char* const storage = text.c_str();
  text.Clear();
  EXPECT_EQ(text, "");
  EXPECT_EQ(text.c_str(), storage);
  EXPECT_STREQ(text.c_str(), "");
}

TEST(CowStringTest, AppendingReallocatesSeldom) {
  cow_String text;
  int moves = 0;
  const char* storage = text.c_str();
  for (int i = 0; i < 1'000'000; ++i) {
    text += 'x';
    moves += text.c_str() != storage;
    storage = text.c_str();
  }
  EXPECT_LE(moves, 20);
}

TEST(CowStringTest, FindTable) {
  const struct {
    const char* text;
    const char* wanted;
    int from;
    int expected;
  } rows[] = {
      {"abcabc", "abc", 0, 0}, {"abcabc", "abc", 1, 3},  {"abcabc", "abc", 4, 6},
      {"abcabc", "x", 0, 6},   {"abcabc", "abc", -9, 0}, {"abcabc", "abc", 99, 6},
      {"abcabc", "", 2, 2},    {"abcabc", "", 6, 6},     {"abcabc", "", 99, 6},
      {"", "a", 0, 0},         {"", "", 0, 0},           {"abc", "abcd", 0, 3},
      {"a\xff", "\xff", 0, 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(cow_String(row.text).Find(row.wanted, row.from), row.expected)
        << row.text << " " << row.wanted << " " << row.from;
  }
  EXPECT_EQ(cow_String("a\0b"sv).Find("\0"sv), 1);
  EXPECT_EQ(cow_String("abc").Find(cow_String("c")), 2);
}

TEST(CowStringTest, FindLast) {
  EXPECT_EQ(cow_String("a.b.c").FindLast('.'), 3);
  EXPECT_EQ(cow_String(".").FindLast('.'), 0);
  EXPECT_EQ(cow_String("abc").FindLast('.'), 3);
  EXPECT_EQ(cow_String().FindLast('.'), 0);
  EXPECT_EQ(cow_String("abc").FindLast('\0'), 3);
}

TEST(CowStringTest, SubstrIsClamped) {
  const struct {
    int from;
    int length;
    const char* expected;
  } rows[] = {
      {0, 3, "abc"},
      {1, 1, "b"},
      {1, 99, "bc"},
      {3, 1, ""},
      {99, 1, ""},
      {-5, 2, "ab"},
      {0, 0, ""},
      {1, -1, ""},
      {0, INT_MAX, "abc"},
      {2, INT_MAX, "c"},
      {INT_MAX, INT_MAX, ""},
      {INT_MIN, INT_MIN, ""},
  };
  const cow_String text("abc");
  for (const auto& row : rows) {
    EXPECT_EQ(text.Substr(row.from, row.length), row.expected)
        << row.from << " " << row.length;
  }
  const cow_String whole(kLong);
  EXPECT_EQ(whole.Substr(0, whole.Length()).c_str(), whole.c_str());
  EXPECT_EQ(cow_String().Substr(0, 1), "");
}

TEST(CowStringTest, AppendTakesAllForms) {
  cow_String text;
  text.Append("ab\0x", 3);
  text += cow_String("c");
  text += "d";
  text += 'e';
  text += "f"sv;
  text += std::string("g");
  EXPECT_EQ(text, "ab\0cdefg"sv);
  EXPECT_EQ(text.c_str()[text.Length()], '\0');
}

TEST(CowStringTest, AppendsPartsOfItself) {
  cow_String text("abc");
  text += text;
  EXPECT_EQ(text, "abcabc");
  text.Append(text.c_str() + 1, 4);
  EXPECT_EQ(text, "abcabcbcab");
  text.Reserve(1000);
  text += text;
  EXPECT_EQ(text, "abcabcbcababcabcbcab");
  text += text.c_str() + 18;
  EXPECT_EQ(text, "abcabcbcababcabcbcabab");
}

TEST(CowStringTest, InsertTable) {
  const struct {
    int at;
    const char* expected;
  } rows[] = {{0, "xyabc"}, {1, "axybc"}, {3, "abcxy"}, {99, "abcxy"}, {-1, "xyabc"}};
  for (const auto& row : rows) {
    EXPECT_EQ(cow_String("abc").Insert(row.at, "xy"), row.expected) << row.at;
  }
  EXPECT_EQ(cow_String().Insert(0, "xy"), "xy");
  EXPECT_EQ(cow_String("abc").Insert(1, ""), "abc");
}

TEST(CowStringTest, InsertsPartsOfItself) {
  cow_String text("abc");
  text.Reserve(100);
  text.Insert(1, text);
  EXPECT_EQ(text, "aabcbc");
  text.Insert(0, std::string_view(text).substr(2, 2));
  EXPECT_EQ(text, "bcaabcbc");
}

TEST(CowStringTest, RemoveTable) {
  const struct {
    int from;
    int length;
    const char* expected;
  } rows[] = {{0, 1, "bcd"},
              {1, 2, "ad"},
              {2, 99, "ab"},
              {0, 4, ""},
              {4, 1, "abcd"},
              {-3, 1, "bcd"},
              {1, 0, "abcd"},
              {1, -1, "abcd"},
              {0, INT_MAX, ""},
              {3, INT_MAX, "abc"},
              {INT_MAX, INT_MAX, "abcd"}};
  for (const auto& row : rows) {
    cow_String text("abcd");
    text.Remove(row.from, row.length);
    EXPECT_EQ(text, row.expected) << row.from << " " << row.length;
    EXPECT_EQ(text.c_str()[text.Length()], '\0');
  }
  EXPECT_EQ(cow_String().Remove(0, 1), "");
}

TEST(CowStringTest, TrimTable) {
  const struct {
    const char* text;
    const char* set;
    const char* expected;
  } rows[] = {{"\nab\n\n", "\n", "ab"}, {"a\nb", "\n", "a\nb"}, {"\n\n", "\n", ""},
              {"", "\n", ""},           {"xyaxyx", "xy", "a"},  {"ab", "", "ab"},
              {"ab  ", " ", "ab"},      {"  ab", " ", "ab"}};
  for (const auto& row : rows) {
    cow_String text(row.text);
    EXPECT_EQ(&text.Trim(row.set), &text);
    EXPECT_EQ(text, row.expected) << row.text;
    EXPECT_STREQ(text.c_str(), row.expected);
  }
  EXPECT_EQ(cow_String("\0a\0"sv).Trim(" "), "\0a\0"sv);
}

TEST(CowStringTest, ReplaceChangesEveryOccurrence) {
  EXPECT_EQ(cow_String("a\\b\\").Replace('\\', '/'), "a/b/");
  EXPECT_EQ(cow_String("a\0b"sv).Replace('\0', 'x'), "axb");
  EXPECT_EQ(cow_String().Replace('a', 'b'), "");
}

TEST(CowStringTest, JoinsWithAllForms) {
  const cow_String text("b");
  EXPECT_EQ(text + text, "bb");
  EXPECT_EQ(text + "c", "bc");
  EXPECT_EQ(text + 'c', "bc");
  EXPECT_EQ(text + "c"sv, "bc");
  EXPECT_EQ(text + std::string("c"), "bc");
  EXPECT_EQ("a" + text, "ab");
  EXPECT_EQ('a' + text, "ab");
  EXPECT_EQ("a" + text + '/' + text + "c", "ab/bc");
  EXPECT_EQ(text + static_cast<const char*>(nullptr), "b");
  EXPECT_EQ(static_cast<const char*>(nullptr) + text, "b");
  EXPECT_EQ(text, "b");
}

TEST(CowStringTest, ComparesUnsignedBytes) {
  EXPECT_LT(cow_String("a"), cow_String("b"));
  EXPECT_LT(cow_String("a"), cow_String("ab"));
  EXPECT_LT(cow_String(), cow_String("a"));
  EXPECT_LT(cow_String("z"), cow_String("\x80"));
  EXPECT_LT(cow_String("a\0a"sv), cow_String("a\0b"sv));
  EXPECT_FALSE(cow_String("a") < cow_String("a"));
  EXPECT_GE(cow_String("a"), cow_String("a"));
  EXPECT_GT(cow_String("file9"), cow_String("file10"));
}

TEST(CowStringTest, ComparesWithOtherTexts) {
  const cow_String text("ab");
  EXPECT_TRUE(text == "ab" && "ab" == text && text != "a" && "b" != text);
  EXPECT_TRUE(text == "ab"sv && "ab"sv == text && text != "a"sv);
  EXPECT_TRUE(text == std::string("ab") && std::string("a") != text);
  EXPECT_TRUE(text < "b" && "a" < text && text <= "ab"sv && text > std::string("a"));
  EXPECT_TRUE(cow_String() == static_cast<const char*>(nullptr));
}

TEST(CowStringTest, HashesByContent) {
  std::unordered_set<cow_String> set = {cow_String("a"), cow_String("b"),
                                        cow_String("a")};
  EXPECT_EQ(set.size(), 2u);
  EXPECT_TRUE(set.contains(cow_String::Adopt(NewBlock("b"), 1)));
}

TEST(CowStringTest, WritesToStreams) {
  std::ostringstream out;
  out << cow_String("a\0b"sv) << cow_String() << std::setw(4) << cow_String("c");
  EXPECT_EQ(out.str(), "a\0b   c"sv);
}

TEST(CowStringTest, MeetsTheStandardLibrary) {
  const std::string_view view = cow_String("abc").Length() == 3 ? "abc"sv : ""sv;
  EXPECT_EQ(std::string(cow_String(view)), "abc");
}

TEST(CowStringTest, LengthsBeyondIntThrowAndChangeNothing) {
  EXPECT_THROW(cow_String{kTooLong}, std::length_error);
  const cow_String original(kLong);
  cow_String text = original;
  EXPECT_THROW(text += kLongest, std::length_error);
  EXPECT_THROW(text.Append("x", INT_MAX), std::length_error);
  EXPECT_THROW(text.Insert(1, kLongest), std::length_error);
  EXPECT_THROW(text + kLongest, std::length_error);
  EXPECT_EQ(text.c_str(), original.c_str());
  EXPECT_EQ(text, kLong);
}

TEST(CowStringTest, ThreadsCopyChangeAndReleaseSharedText) {
  constexpr int kThreads = 4;
  const cow_String shared("a text too long to stand in the object");
  StartLine start(kThreads);
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int id = 0; id < kThreads; ++id) {
    threads.emplace_back([&, own = shared, id] {
      start.Wait();
      for (int round = 0; round < 2000; ++round) {
        cow_String copy = own;
        copy += static_cast<char>('0' + id);
        wrong += copy.Length() != own.Length() + 1 || copy[own.Length()] != '0' + id;
        wrong += shared != own;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

// The same random operations on a cow_String and a std::string; copies taken on the way
// must keep the text that they were taken with.
TEST(CowStringTest, AgreesWithAPlainStringUnderRandomOperations) {
  std::mt19937 random(20070305);
  const auto below = [&random](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  cow_String text;
  std::string plain;
  std::vector<std::pair<cow_String, std::string>> copies;
  for (int round = 0; round < 20'000; ++round) {
    const int length = static_cast<int>(plain.size());
    const int at = below(length + 1);
    const int count = below(8);
    const auto position = static_cast<std::size_t>(at);
    const auto size = static_cast<std::size_t>(count);
    switch (below(8)) {
      case 0:
        text.Append("abcdefgh", count);
        plain.append("abcdefgh", size);
        break;
      case 1:
        text.Insert(at, text.Substr(0, count));
        plain.insert(position, std::string(plain, 0, size));
        break;
      case 2:
        text.Remove(at, count);
        plain.erase(position, size);
        break;
      case 3:
        text.Replace('c', 'a');
        std::replace(plain.begin(), plain.end(), 'c', 'a');
        break;
      case 4:
        text.Append(text.c_str() + at, std::min(count, length - at));
        plain += std::string(plain, position, size);
        break;
      case 5:
        copies.emplace_back(text, plain);
        break;
      case 6:
        text = text.Substr(at, 200);
        plain = plain.substr(position, 200);
        break;
      default:
        copies.resize(copies.size() / 2);
    }
    ASSERT_EQ(text, plain) << "round " << round;
    ASSERT_EQ(text.c_str()[text.Length()], '\0');
    for (const auto& [copy, kept] : copies) {
      ASSERT_EQ(copy, kept) << "round " << round;
    }
  }
}

}  // namespace

// NOLINTEND(performance-unnecessary-copy-initialization)
