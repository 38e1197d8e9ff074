#include "vu/foundation.h"

#include <limits>

#include <gtest/gtest.h>

#include "tests/plain/numbers.h"
#include "tests/support.h"

namespace vu::test {
namespace {

/// What the table holds stands in vu-status(1), whose examples are run.
TEST(Status, LooksUpBothWays) {
  for (const auto* row = statusTable; row->string != nullptr; ++row) {
    EXPECT_EQ(row->value, findValueByString(row->string, statusTable, row->value + 1));
    EXPECT_EQ(row->string, findStringByValue(row->value, statusTable, row->value + 1));
    EXPECT_EQ(row->string, statusText(row->value));
  }
  EXPECT_STREQ("unknown status", statusText(1));
  static constexpr sizeT_string_pair none[] = {{0, nullptr}};
  static constexpr sizeT_string_pair twice[] = {{1, "a"}, {1, "b"}, {2, "a"}, {0, nullptr}};
  EXPECT_EQ(1U, findValueByString("a", twice, 9));
  EXPECT_STREQ("a", findStringByValue(1, twice, 9));
  const struct {
    const char* key;
    const sizeT_string_pair* table;
    unsigned value;
    unsigned bound;
    std::string valueTold = "Value for index [" + std::to_string(value) + "] is not found";
    std::string keyTold = std::string("Index for [") + key + "] is not found";
  } rows[] = {{"WEB UNKNOWN ERROR", statusTable, 10000, 10000},
              {"url not found", statusTable, 4294967295U, VU_STATUS_BOUND},
              {"", none, 0, 9},
              {"", none, 0, 0, "Maximum index undefined", "Maximum index undefined"}};
  for (const auto& row : rows) {
    EXPECT_EQ("findValueByString:: " + row.keyTold,
              messageOf([&] { findValueByString(row.key, row.table, row.bound); }));
    EXPECT_EQ("findStringByValue:: " + row.valueTold,
              messageOf([&] { findStringByValue(row.value, row.table, row.bound); }));
  }
}

template <typename Flag, typename = decltype(str2val<int>("", Flag()))>
constexpr bool takes(Flag /*flag*/) {
  return true;
}
constexpr bool takes(...) { return false; }

/// The usual types are compared with streams by a fuzz target, but not where commas are decimal.
TEST(Conversion, ReadsNumbers) {
  EXPECT_EQ("1.234", convert<double>("1.234,5", false));
  EXPECT_EQ("2.5", convert<float>("2.5", false));
  EXPECT_EQ("2.5", convert<long double>("2.5", false));  // by the stream
  EXPECT_EQ(vu_failure::number, kindOf([] { return str2val<int>("x"); }));
  EXPECT_EQ(vu_failure::number, kindOf([] { return str2val<Byte>("x"); }));
  EXPECT_EQ(vu_failure::number, kindOf([] { return str2val<float>("x"); }));
  EXPECT_TRUE(takes(true) && !takes(10) && !takes(nullptr));  // a base is no flag
  EXPECT_EQ("true", val2str(true, -1, std::boolalpha));
}

/// A type with operators of its own, which break the stream for some values.
struct Percent {
  int value;
};
std::istream& operator>>(std::istream& in, Percent& percent) {
  in >> percent.value;
  if (percent.value < 0) in.setstate(std::ios_base::badbit);
  return in;
}
std::ostream& operator<<(std::ostream& out, const Percent& percent) {
  out << percent.value;
  if (percent.value > 100) out.setstate(std::ios_base::badbit);
  return out << '%';
}

TEST(Conversion, TakesAnyTypeWithOperators) {
  EXPECT_EQ(26, str2val<Percent>(" 0x1a", true).value);
  for (const std::string bad : {"x", "-1"}) {
    EXPECT_EQ("bad conversion [" + bad + "]", messageOf([&] { return str2val<Percent>(bad); }));
  }
  EXPECT_EQ("12%", val2str(Percent{12}));
  EXPECT_EQ("101", val2str(Percent{101}));
}

TEST(Conversion, ComparesStrictly) {
  EXPECT_TRUE(close2Val(1.0F, 1.25F, 0.5F));
  EXPECT_FALSE(close2Val(1.0F, 0.5F, 0.5F));
  EXPECT_TRUE(close2Val(16777216.0F, 16777216.0F, 0.25F));  // in float both edges would meet it
}

TEST(Utilities, SkipSpace) {
  const struct {
    const char* text;
    unsigned remaining;
    unsigned skipped;
  } rows[] = {{"  \tab", 5, 3},    {"  \tab", 1, 1}, {"ab", 2, 0},
              {" \n\v\f\r", 5, 5}, {"\xa0", 1, 0},   {"", 0, 0}};
  for (const auto& row : rows) {
    const ExactCopy copy({row.text, row.remaining});
    const char* cursor = copy.view().data();
    unsigned remaining = row.remaining;
    skipSpace(&cursor, remaining);
    EXPECT_EQ(row.skipped, static_cast<unsigned>(cursor - copy.view().data())) << row.text;
    EXPECT_EQ(row.remaining - row.skipped, remaining) << row.text;
  }
}

TEST(Utilities, CountAndPrintDigits) {
  const unsigned char bytes[] = {0x0a, 0xff, 0x00};
  EXPECT_EQ("0x0a 0xff\n0x00", printHexical(bytes, 3, 2, true));
  EXPECT_EQ("0x0a 0xff 0x00\n", printHexical(bytes, 3, 3, true));
  EXPECT_EQ("0x0a 0xff 0x00", printHexical(bytes, 3, 0, true));
  EXPECT_EQ("0aff00", printHexical(bytes, 3, 2, false));
  EXPECT_EQ("", printHexical(bytes, -1, 2, true));
  EXPECT_EQ(1U, numericLength(9));
  EXPECT_EQ(2U, numericLength(10));
  EXPECT_EQ(10U, numericLength(4294967295U));
}

TEST(Utilities, TimeDifference) {
  constexpr time_t least = std::numeric_limits<time_t>::min();
  constexpr time_t most = std::numeric_limits<time_t>::max();
  const struct {
    timeval end, start;
    double seconds;
  } rows[] = {{{10, 200000}, {8, 700000}, 1.5},
              {{5, 0}, {6, 500000}, 0.5},
              {{5, 0}, {5, 0}, 0},
              {{0, 0}, {least, 0}, static_cast<double>(most)},
              {{least, 0}, {most, 1}, 0.999999}};
  for (const auto& row : rows) {
    EXPECT_DOUBLE_EQ(row.seconds, TimeDifference(row.end, row.start, false));
    EXPECT_DOUBLE_EQ(row.seconds * 1e6, TimeDifference(row.end, row.start, true));
    const timespec end{row.end.tv_sec, static_cast<long>(row.end.tv_usec) * 1000 + 999};
    const timespec start{row.start.tv_sec, static_cast<long>(row.start.tv_usec) * 1000};
    EXPECT_DOUBLE_EQ(row.seconds + 999e-9, TimeDifference(end, start, false));
    EXPECT_DOUBLE_EQ(row.seconds * 1e6, TimeDifference(end, start, true));
  }
}

}  // namespace
}  // namespace vu::test
