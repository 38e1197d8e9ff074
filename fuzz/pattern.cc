// Patterns, subjects and name/value pairs: results, offsets and messages beside those of the
// engine's interpreter, and that every view lies inside the subject.
//
// Input: how many pairs, compile options, run-time options, where to start; the pattern, a NUL, the
// subject.

#include "fuzz/pattern.h"

#include <algorithm>

#include "fuzz/support.h"

namespace vu::fuzz {
namespace {

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

/// No pattern that begins with a verb goes through just-in-time code. With this one, searches that
/// take long at one of their beginnings are told, and left out: they end, but not soon.
constexpr char kByInterpreter[] = "(*LIMIT_MATCH=3000)";
constexpr std::size_t kLongestPattern = 60;
constexpr std::size_t kLongestSubject = 120;

bool isLimit(int result) { return result == vu_pcre::stepLimit || result == vu_pcre::depthLimit; }

void readResults(const vu_pcre& pattern, int pairs, std::string_view subject) {
  for (int i = 0; i < pairs; ++i) {
    int length = -7;
    const char* const view = pattern.getResult(i, subject.data(), length);
    const bool isSet = view != nullptr;
    const auto bytes = static_cast<std::size_t>(isSet ? length : 0);
    if (isSet) check(isInside(view, bytes, subject), "a group is in the subject");
    std::string text;
    const std::string message =
        test::messageOf([&] { text = pattern.getResultStr(i, subject.data()); });
    const std::string refusal = "vu_pcre::getResult : Empty result for index " + std::to_string(i);
    expectEqual(isSet ? "" : refusal, message, "an empty group");
    expectEqual(isSet ? std::string(view, bytes) : "", text, "a group");
  }
}

/// A view, as its place in the text.
std::string placeOf(const CharSizet_t& view, std::string_view text) {
  if (view.data == nullptr && view.size == 0) return "none";
  if (!isInside(view.data, view.size, text)) return "outside";
  return std::to_string(view.data - text.data()) + "+" + std::to_string(view.size);
}

/// Pairs told plainly, with the message behind them. False when a search takes too long.
bool findPlainly(const vu_pcre& pattern, int pairs, std::string_view text, std::string& found) {
  std::vector<int> offsets(static_cast<std::size_t>(pairs) * 3);
  const int size = static_cast<int>(text.size());
  for (int at = 0; at < size;) {
    const int result = pattern.match(text.data(), size, at, 0, offsets.data(), pairs * 3);
    if (isLimit(result)) return false;
    if (result == vu_pcre::noMatch) break;
    if (result <= 0) {
      found += result < 0 ? "stingTinsert : PCRE error " + std::to_string(result)
                          : "PCRE Output vector too small";
      break;
    }
    const auto place = [&](std::size_t group) {
      const int from = offsets[2 * group];
      const int to = offsets[2 * group + 1];
      return from < to ? std::to_string(from) + "+" + std::to_string(to - from) : "none";
    };
    if (result == 3) found += place(1) + "=" + place(2) + " ";
    at = offsets[1] > at ? offsets[1] : at + 1;
  }
  return true;
}

void checkPairs(const vu_pcre& plain, NvalPcre& ours, int pairs, std::string_view text) {
  std::string expected;
  if (!findPlainly(plain, pairs, text, expected)) return;
  Pairs list;
  const std::string message = test::messageOf([&] { insertNV2List(list, ours, text); });
  std::string found;
  for (const auto& [name, value] : list) {
    found += placeOf(name, text) + "=" + placeOf(value, text) + " ";
  }
  expectEqual(expected, found + message, "the pairs");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const int pairs = static_cast<int>(input.choice(8)) + 1;
  const int compileOptions = kCompileOptions[input.choice(std::size(kCompileOptions))];
  const int options = kSearchOptions[input.choice(std::size(kSearchOptions))];
  const std::size_t start = input.choice(16);
  const std::string expression = input.piece().substr(0, kLongestPattern);
  const test::ExactCopy copy(input.rest().substr(0, kLongestSubject));
  const std::string_view subject = copy.view();
  const int length = static_cast<int>(subject.size());
  const int offset = static_cast<int>(std::min(start, subject.size()));

  std::unique_ptr<vu_pcre> plain;
  std::unique_ptr<NvalPcre> ours;
  const std::string refusal = test::messageOf(
      [&] { ours = std::make_unique<NvalPcre>(expression.c_str(), pairs, compileOptions); });
  test::messageOf([&] {
    plain = std::make_unique<vu_pcre>((kByInterpreter + expression).c_str(), pairs, compileOptions);
  });
  check((plain == nullptr) == !refusal.empty(), "what compiles does so behind a verb");
  if (ours == nullptr) return 0;

  std::vector<int> offsets(static_cast<std::size_t>(pairs) * 3);
  std::vector<int> got(offsets.size());
  const int result =
      plain->match(subject.data(), length, offset, options, offsets.data(), pairs * 3);
  if (isLimit(result)) return 0;
  const std::string expected = written(result, offsets.data(), pairs);
  const int matched = ours->match(subject.data(), length, offset, options, got.data(), pairs * 3);
  expectEqual(expected, written(matched, got.data(), pairs), "match");
  int executed = 0;
  const std::string message =
      test::messageOf([&] { executed = ours->execute(subject.data(), length, offset, options); });
  expectEqual(result == 0 ? "PCRE Output vector too small" : "", message, "the room for pairs");
  expectEqual(expected, written(executed, ours->results(), pairs), "execute");
  if (executed > 0) readResults(*ours, pairs, subject);
  checkPairs(*plain, *ours, pairs, subject);
  return 0;
}

}  // namespace vu::fuzz
