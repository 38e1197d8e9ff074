// Definition files against fscanf; a table that a failed reload leaves as it was; look-ups of what
// was loaded.
//
// Input: what stands in front (nothing, blank lines up to the end of a block, most of a long
// token), how much less of it; then the file.

#include <algorithm>

#include "fuzz/support.h"
#include "tests/plain/table.h"

using vu::fuzz::expectEqual;
using vu::test::described;
using vu::test::messageOf;

namespace {

constexpr std::size_t kBlock = 4096;         // the library reads as many bytes at a time
constexpr std::size_t kLongestToken = 1023;  // fscanf would cut a longer one in two
constexpr std::size_t kLongestNumber = 9;    // and hold one of more digits at the width of a long

/// The length of the longest run of bytes of a kind.
template <typename IsWanted>
std::size_t longestRun(std::string_view text, IsWanted isWanted) {
  std::size_t longest = 0;
  std::size_t run = 0;
  for (const char c : text) {
    run = isWanted(c) ? run + 1 : 0;
    longest = std::max(longest, run);
  }
  return longest;
}

/// The names in a text and what could stand in front of them.
std::vector<std::string> hostsIn(const std::string& text) {
  std::vector<std::string> hosts = {"a.shop.co.xy", "xy", "1.2.3.4"};
  std::istringstream stream(text.substr(0, 400));
  for (std::string word; hosts.size() < 40 && stream >> word;) {
    if (word.rfind("*.", 0) == 0 || word[0] == '!') word.erase(0, word[0] == '!' ? 1 : 2);
    for (const char* front : {"", "b.", "c.b."}) hosts.push_back(front + word);
  }
  return hosts;
}

/// Whether `reload` takes a file for a list or a compiled table.
bool isAnotherForm(std::string_view text) {
  if (text.rfind("\x8Dvutab\r\n", 0) == 0) return true;
  if (text.rfind("\xEF\xBB\xBF", 0) == 0) text.remove_prefix(3);
  while (!text.empty() && vu::detail::isSpace(text[0])) text.remove_prefix(1);
  return text.substr(0, 2) == "//";
}

std::string answers(const vu_cctld& table, const std::vector<std::string>& hosts) {
  std::string all = std::to_string(table.suffixCount()) + "\n";
  for (const std::string& host : hosts) all += described(table.classify(host), host) + "\n";
  return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vu::fuzz::MemoryFile file;
  static const vu::fuzz::MemoryFile good;
  good.rewrite("co.xy 3\n*.ck 3\n");
  vu::fuzz::Input input(data, size);
  const std::size_t front = input.choice(3);
  const std::size_t less = input.choice(64);
  const std::string rest = input.rest();
  const std::string content = (front == 0   ? ""
                               : front == 1 ? std::string(kBlock - less, '\n')
                                            : std::string(kLongestToken - less, 'a')) +
                              rest;
  file.rewrite(content);
  const std::vector<std::string> hosts = hostsIn(rest);

  vu_cctld table(good.path().c_str());
  const std::string before = answers(table, hosts);
  std::string reloaded;
  const std::string message =
      messageOf([&] { reloaded = val2str(table.reload(file.path().c_str())); });
  vu_cctld fresh(nullptr);
  std::string loaded;
  loaded += messageOf([&] { loaded = val2str(fresh.initSet(file.path().c_str())); });
  if (!isAnotherForm(content)) expectEqual(loaded, reloaded + message, "both ways to load");
  if (!message.empty()) {
    expectEqual(before, answers(table, hosts), "the table after a failure");
    expectEqual(3, table.maxLabels(), "labels after a failure");
  }

  const auto isToken = [](char c) { return !vu::detail::isSpace(c); };
  if (longestRun(content, isToken) > kLongestToken ||
      longestRun(content, vu::detail::isDigit) > kLongestNumber) {
    return 0;
  }
  vu::test::PlainTable plain;
  expectEqual(plain.load(file.path().c_str()), loaded, "loading");
  expectEqual(plain.suffixes.size(), static_cast<std::size_t>(fresh.suffixCount()), "suffixes");
  expectEqual(plain.maxLabels, fresh.maxLabels(), "labels");
  for (const std::string& host : hosts) {
    for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
      expectEqual(described(plain.classify(host, match), host),
                  described(fresh.classify(host, match), host), host);
    }
  }
  return 0;
}
