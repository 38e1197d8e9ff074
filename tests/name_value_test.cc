// Name/value pairs: views into the text, and scans that never stall.

#include <climits>

#include <gtest/gtest.h>

#include "tests/support.h"
#include "vu/pattern.h"

using vu::test::ExactCopy;
using vu::test::messageOf;
using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

namespace {

/// "name=value;" for each pair, empty pieces in parentheses.
std::string written(const Pairs& pairs) {
  std::string all;
  const auto add = [&all](const CharSizet_t& piece) {
    all += piece.data == nullptr && piece.size == 0 ? "()" : std::string(piece.data, piece.size);
  };
  for (const auto& pair : pairs) {
    add(pair.first);
    all += "=";
    add(pair.second);
    all += ";";
  }
  return all;
}

/// What the pairs are is compared with a plain telling by a fuzz target.
TEST(NameValue, FindsPairs) {
  const char* const usual = R"((\w+)=(\w*))";
  const std::pair<unsigned int, std::string> rows[] = {{0, "a=1;b=22;"}, {7, "a=1;b=2;"}};
  for (const auto& [length, expected] : rows) {
    NvalPcre regex(usual, 4);
    Pairs list;
    EXPECT_EQ(0U, insertNV2List(list, regex, nullptr, length));
    list.emplace_back(CharSizet_t("old", 3), CharSizet_t(nullptr, 0));
    EXPECT_EQ(3U, insertNV2List(list, regex, "a=1 b=22", length));
    EXPECT_EQ("old=();" + expected, written(list)) << length;
  }
  NvalPcre regex(usual);
  Pairs list;
  EXPECT_EQ(0U, insertNV2List(list, regex, std::string_view("a=1", 0)));
  const ExactCopy copy("a=1 a=2");
  EXPECT_EQ(2U, insertNV2List(list, regex, copy.view()));
  ASSERT_NE(nullptr, findValue(list, "a"));
  EXPECT_EQ("1", findValue(list, "a")->view());
  EXPECT_EQ(nullptr, findValue(list, "b"));
}

/// What a caller's own `execute` returns: pairs on the way, then a result.
class Scripted : public NvalPcre {
 public:
  explicit Scripted(int ending) : NvalPcre("(a)(b)"), ending_(ending) {}
  int execute(const char* subject, int length, int startOffset, int options) override {
    starts += val2str(startOffset) + " ";
    if (startOffset >= 4) return ending_;
    return NvalPcre::execute(subject, length, startOffset, options);
  }
  std::string starts;

 private:
  int ending_;
};

TEST(NameValue, ReportsFailures) {
  for (const int ending : {-1, 0, -2, -8}) {
    Scripted regex(ending);
    Pairs list;
    EXPECT_EQ(ending == -1 ? "" : "stingTinsert : PCRE error " + val2str(ending),
              messageOf([&] { insertNV2List(list, regex, "ab.ab.", 0); }));
    EXPECT_EQ("a=b;a=b;", written(list));
    EXPECT_EQ("0 2 5 ", regex.starts);
  }
  Pairs list;
  NvalPcre narrow("(a)(b)", 2);
  EXPECT_EQ("PCRE Output vector too small",
            messageOf([&] { insertNV2List(list, narrow, "ab", 2); }));
  NvalPcre usual("(a)(b)");
  EXPECT_EQ("stingTinsert : PCRE error -32",
            messageOf([&] { insertNV2List(list, usual, "ab", UINT_MAX); }));
  EXPECT_EQ("", written(list));
}

}  // namespace
