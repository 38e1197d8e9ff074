// Patterns and subjects: vu_pcre against PCRE's interpreter, by its results, offsets and messages.
//
// Input: how many pairs, compile options, run-time options, where to start; the pattern, a NUL, the
// subject.

#include "tests/plain/pattern.h"

#include <algorithm>

#include "fuzz/support.h"
#include "vu/pattern.h"

using vu::fuzz::check;
using vu::fuzz::expectEqual;
using vu::test::messageOf;

namespace {

/// Searches that take longer at one of their beginnings are left out. They end, but not soon.
constexpr unsigned long kSteps = 3000;
constexpr std::size_t kLongestPattern = 60;
constexpr std::size_t kLongestSubject = 120;

constexpr int kCompileOptions[] = {PCRE_DOTALL,   0,
                                   PCRE_CASELESS, PCRE_MULTILINE,
                                   PCRE_EXTENDED, PCRE_UNGREEDY,
                                   PCRE_ANCHORED, PCRE_DOLLAR_ENDONLY,
                                   PCRE_UTF8,     PCRE_UTF8 | PCRE_UCP | PCRE_CASELESS,
                                   PCRE_DUPNAMES, PCRE_FIRSTLINE};
constexpr int kSearchOptions[] = {
    0,           PCRE_ANCHORED, PCRE_NOTEMPTY,     PCRE_NOTEMPTY_ATSTART,
    PCRE_NOTBOL, PCRE_NOTEOL,   PCRE_PARTIAL_SOFT, PCRE_PARTIAL_HARD};

std::string written(int result, const std::vector<int>& offsets, int pairs) {
  std::string text = std::to_string(result);
  // What PCRE leaves behind the pairs of a match is working space.
  for (int i = 0; result > 0 && i < pairs * 2; ++i) {
    text += " " + std::to_string(offsets[static_cast<std::size_t>(i)]);
  }
  return text;
}

void readResults(const vu_pcre& pattern, int pairs, std::string_view subject) {
  for (int i = 0; i < pairs; ++i) {
    int length = -7;
    const char* const view = pattern.getResult(i, subject.data(), length);
    const bool isSet = view != nullptr;
    const auto bytes = static_cast<std::size_t>(isSet ? length : 0);
    if (isSet) check(vu::fuzz::isInside(view, bytes, subject), "a group is in the subject");
    std::string text;
    const std::string message = messageOf([&] { text = pattern.getResultStr(i, subject.data()); });
    const std::string refusal = "vu_pcre::getResult : Empty result for index " + std::to_string(i);
    expectEqual(isSet ? "" : refusal, message, "an empty group");
    expectEqual(isSet ? std::string(view, bytes) : "", text, "a group");
  }
  int length = 0;
  expectEqual("vu_pcre::getResult : Index out of range : 1 - " + std::to_string(pairs),
              messageOf([&] { pattern.getResult(pairs, subject.data(), length); }), "past the end");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vu::fuzz::Input input(data, size);
  const int pairs = static_cast<int>(input.choice(8)) + 1;
  const int compileOptions = kCompileOptions[input.choice(std::size(kCompileOptions))];
  const int options = kSearchOptions[input.choice(std::size(kSearchOptions))];
  const std::size_t start = input.choice(16);
  const std::string expression = input.piece().substr(0, kLongestPattern);
  const vu::test::ExactCopy copy(input.rest().substr(0, kLongestSubject));
  const std::string_view subject = copy.view();
  const int length = static_cast<int>(subject.size());
  const int offset = static_cast<int>(std::min(start, subject.size()));

  const vu::test::Interpreter plain(expression.c_str(), compileOptions);
  std::unique_ptr<vu_pcre> ours;
  expectEqual(plain.refusal(), messageOf([&] {
                ours = std::make_unique<vu_pcre>(expression.c_str(), pairs, compileOptions);
              }),
              "compiling");
  if (ours == nullptr) return 0;

  std::vector<int> offsets(static_cast<std::size_t>(pairs) * 3);
  const int result = plain.search(subject, offset, options, offsets, kSteps);
  if (result == PCRE_ERROR_MATCHLIMIT || result == PCRE_ERROR_RECURSIONLIMIT) return 0;
  const std::string expected = written(result, offsets, pairs);

  std::vector<int> got(offsets.size());
  const int matched = ours->match(subject.data(), length, offset, options, got.data(), pairs * 3);
  expectEqual(expected, written(matched, got, pairs), "match");
  // Once as it is when new, once as when it has searched often.
  for (int round = 0; round < 2; ++round) {
    int executed = 0;
    const std::string message =
        messageOf([&] { executed = ours->execute(subject.data(), length, offset, options); });
    expectEqual(result == 0 ? "PCRE Output vector too small" : "", message, "the room for pairs");
    std::copy_n(ours->results(), got.size(), got.begin());
    expectEqual(expected, written(executed, got, pairs), "execute");
    if (executed > 0) readResults(*ours, pairs, subject);
    for (int i = 0; round == 0 && i < 100; ++i) messageOf([&] { ours->execute("", 0, 0, 0); });
  }
  return 0;
}
