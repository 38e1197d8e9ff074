// Name/value pairs: views into the text, and scans that never stall.

#include <climits>

#include <gtest/gtest.h>

#include "tests/support.h"
#include "vu/pattern.h"

namespace vu::test {
namespace {

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

/// "name=value;" for each pair. What they are is compared with a plain telling by a fuzz target.
std::string written(const Pairs& pairs) {
  std::string all;
  for (const auto& [name, value] : pairs) {
    all += std::string(name.view()) + "=" + std::string(value.view()) + ";";
  }
  return all;
}

TEST(NameValue, AppendsToAList) {
  NvalPcre regex(R"((\w+)=(\w*))");
  Pairs list;
  EXPECT_EQ(0U, insertNV2List(list, regex, nullptr, 7));
  EXPECT_EQ(0U, insertNV2List(list, regex, std::string_view("a=1", 0)));
  EXPECT_EQ(2U, insertNV2List(list, regex, "a=1 b=22", 0));
  EXPECT_EQ(4U, insertNV2List(list, regex, "a=1 b=22", 7));
  const ExactCopy copy("c= d=4");
  EXPECT_EQ(6U, insertNV2List(list, regex, copy.view()));
  EXPECT_EQ("a=1;b=22;a=1;b=2;c=;d=4;", written(list));
  EXPECT_EQ("22", findValue(list, "b")->view());
  EXPECT_EQ(nullptr, findValue(list, "e"));
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
}  // namespace vu::test
