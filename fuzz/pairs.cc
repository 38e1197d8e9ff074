// Name/value pairs: what is found, in which order, and that every view lies inside the text.
//
// Input: which pattern, how many pairs of offsets; for the last choice a pattern and a NUL; then
// the text.

#include "fuzz/support.h"
#include "tests/plain/pattern.h"
#include "vu/pattern.h"

using vu::fuzz::expectEqual;
using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

namespace {

constexpr unsigned long kSteps = 3000;  // of searches that are not left out

constexpr const char* kPatterns[] = {R"((\w+)=(\w*))",
                                     R"((\w+)=("[^"]*"|[^&;\s]*))",
                                     R"((?m)^([^:\n]+):[ \t]*([^\r\n]*))",
                                     R"(([^&=]*)=([^&]*))",
                                     R"((a)|(b))",
                                     R"((x*)(y*))",
                                     R"((?<=a)()())",
                                     R"((\w)(\w)?(\w)?)",
                                     R"((?<name>\w+)\s*[:=]\s*(.*?);)"};

/// A view, as its place in the text.
std::string placeOf(const CharSizet_t& view, std::string_view text) {
  if (view.data == nullptr && view.size == 0) return "none";
  if (!vu::fuzz::isInside(view.data, view.size, text)) return "outside";
  return std::to_string(view.data - text.data()) + "+" + std::to_string(view.size);
}

std::string written(const Pairs& pairs, std::string_view text) {
  std::string all;
  for (const auto& pair : pairs) {
    all += placeOf(pair.first, text) + "=" + placeOf(pair.second, text) + " ";
  }
  return all;
}

/// The plain telling, with the message behind the pairs. False when a search takes too long.
bool findPlainly(const vu::test::Interpreter& pattern, std::size_t pairs, std::string_view text,
                 std::string& found) {
  std::vector<int> offsets(pairs * 3);
  for (std::size_t at = 0; at < text.size();) {
    const int result = pattern.search(text, static_cast<int>(at), 0, offsets, kSteps);
    if (result == PCRE_ERROR_MATCHLIMIT || result == PCRE_ERROR_RECURSIONLIMIT) return false;
    if (result == -1) break;
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
    const int end = offsets[1];
    at = end > static_cast<int>(at) ? static_cast<std::size_t>(end) : at + 1;
  }
  return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vu::fuzz::Input input(data, size);
  const std::size_t choice = input.choice(std::size(kPatterns) + 1);
  const std::size_t pairs = 4 - input.choice(3);
  const std::string own =
      choice == std::size(kPatterns) ? input.piece().substr(0, 40) : kPatterns[choice];
  const std::string text = input.rest().substr(0, 300);
  const vu::test::Interpreter plain(own.c_str(), PCRE_DOTALL);
  if (!plain.refusal().empty()) return 0;

  std::string expected = "none=none ";
  if (!findPlainly(plain, pairs, text, expected)) return 0;
  NvalPcre pattern(own.c_str(), static_cast<int>(pairs));
  // A length of 0 would ask for a NUL behind the text.
  const vu::test::ExactCopy copy(text.empty() ? std::string(1, '\0') : text);
  Pairs list;
  list.emplace_back(CharSizet_t(nullptr, 0), CharSizet_t(nullptr, 0));
  unsigned int count = 0;
  const std::string message = vu::test::messageOf([&] {
    count =
        insertNV2List(list, pattern, copy.view().data(), static_cast<unsigned int>(text.size()));
  });
  expectEqual(expected, written(list, copy.view()) + message, own);
  if (message.empty()) expectEqual(list.size(), count, "how many there are");
  return 0;
}
