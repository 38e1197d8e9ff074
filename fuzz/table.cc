// Tables and look-ups: definition files against fscanf, every form of a look-up and both rules
// against the plain telling, and compiled tables that somebody has forged.
//
// Input: which table, which default domain. For a table made before, the URL. For one that is
// loaded, whether the longest token stands in front, how much less of it, and the file. For a
// forged one up to 16 changes, each the place in the block (two bytes) and the byte to put there, a
// NUL that ends them, and hosts, one a line.

#include "tests/plain/table.h"

#include <algorithm>
#include <map>

#include "domain/table_builder.h"
#include "fuzz/support.h"

namespace vu::fuzz {
namespace {

constexpr const char* kTables[] = {
    "co.xy 3\n", "co.xy 2\nxy 1\n", "co.xy 4\nltd.co.xy 4\na.b 3\n",
    "ltd.co.xy 6\nx-y.co 3\nCO.xy 3\n1.255 3\n*.b 3\n!a.b 2\na..b 2\n-a.b 3\n",
    R"(com 2 uk 2 co.uk 3 ck 2 *.ck 3 !www.ck 2 Jp 2 kobe.jp 3 *.KOBE.jp 4 !city.kobe.jp 3
       *.deep.x 4 b.a.deep.x 5 !one 1 x.CITY.uk 4 y.CITY.uk 4)"};
constexpr std::size_t kOwn = std::size(kTables), kForged = kOwn + 1;
constexpr const char* kDefaultDomains[] = {"", "corp.xy"};

/// One table in both forms.
struct Both {
  Both(const std::string& content, const char* domain) : ours(nullptr, domain) {
    static const test::TemporaryFile file;
    file.rewrite(content);
    ours.initSet(file.path());
    plain.load(file.path());
    plain.defaultDomain = domain;
  }
  vu_cctld ours;
  test::PlainTable plain;
};

const Both& madeBefore(std::size_t table, std::size_t domain) {
  static std::map<std::pair<std::size_t, std::size_t>, Both> all;
  return all.try_emplace({table, domain}, kTables[table], kDefaultDomains[domain]).first->second;
}

void lookUp(const vu_cctld& ours, const test::PlainTable& plain, const std::string& url) {
  const test::ExactCopy copy(url);
  for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
    const std::string found = test::described(ours.classify(copy.view(), match), copy.view());
    expectEqual(test::described(plain.classify(copy.view(), match), copy.view()), found, url);
    expectEqual(found, test::described(ours.explain(copy.view(), match).domain, copy.view()), url);
  }
  // Narrowed, it is told by the general way.
  expectEqual(ours.explain(copy.view(), vu_match::publicSuffix, VU_LISTED_ONLY).text(),
              ours.explain(copy.view(), vu_match::publicSuffix).text(), url);
  const std::string cut = test::upToNul(url);
  expectEqual(plain.lookup(cut), test::outcome(ours, cut), cut);
}

/// The names in a text and what could stand in front of them.
std::vector<std::string> hostsIn(const std::string& text) {
  std::vector<std::string> hosts = {"a.shop.co.xy", "xy", "1.2.3.4"};
  std::istringstream stream(text);
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
  while (!text.empty() && detail::isSpace(text[0])) text.remove_prefix(1);
  return text.substr(0, 2) == "//";
}

std::string answers(const vu_cctld& table, const std::vector<std::string>& hosts) {
  std::string all = val2str(table.suffixCount()) + " " + val2str(table.maxLabels()) + "\n";
  for (const std::string& host : hosts) all += test::described(table.classify(host), host) + "\n";
  return all;
}

void load(Input& input, const char* domain) {
  static const test::TemporaryFile file;
  static const test::TemporaryFile good("co.xy 3\n*.ck 3\n");
  const std::size_t longest = input.choice(2) * test::kLongestToken;
  const std::string front(longest - std::min(longest, input.choice(64)), 'a');
  const std::string rest = input.rest();
  const std::string content = front + rest;
  file.rewrite(content);
  const std::vector<std::string> hosts = hostsIn(front + rest.substr(0, 400));

  vu_cctld table(good.path());
  const std::string before = answers(table, hosts);
  std::string reloaded;
  const std::string message =
      test::messageOf([&] { reloaded = val2str(table.reload(file.path())); });
  vu_cctld fresh(nullptr, domain);
  std::string loaded;
  loaded += test::messageOf([&] { loaded = val2str(fresh.initSet(file.path())); });
  if (!isAnotherForm(content)) expectEqual(loaded, reloaded + message, "both ways to load");
  if (!message.empty()) expectEqual(before, answers(table, hosts), "the table after a failure");

  test::PlainTable plain;
  plain.defaultDomain = domain;
  expectEqual(plain.load(file.path()), loaded, "loading");
  expectEqual(plain.suffixes.size(), static_cast<std::size_t>(fresh.suffixCount()), "suffixes");
  expectEqual(plain.maxLabels, fresh.maxLabels(), "labels");
  for (const std::string& host : hosts) lookUp(fresh, plain, host);
  const vu_cctld constructed(file.path(), domain);  // which throws nothing for its file
  expectEqual(answers(fresh, hosts), answers(constructed, hosts), "a constructor's table");
}

/// Whatever the bytes behind a good header are, a look-up stays within the block and within its
/// URL, and ends.
void forge(const std::string& input) {
  detail::TableBuilder builder;
  for (const char* rule : {"uk", "co.uk", "Ltd.co.uk", "*.ck", "!www.ck", "x.y.deep.uk", "a..b"}) {
    builder.add(rule, detail::kIcannRules);
  }
  std::string block = builder.finish({4, "version: 1\n"});
  std::size_t at = 0;
  for (; at + 3 <= input.size() && at < 48 && input[at] != 0; at += 3) {
    const auto high = static_cast<test::Byte>(input[at]);
    const auto low = static_cast<test::Byte>(input[at + 1]);
    block[(std::size_t{high} << 8 | low) % block.size()] = input[at + 2];
  }
  detail::seal(block);
  vu_cctld table(nullptr);
  const bool opened = test::messageOf([&] { table.openBytes(block, "forged"); }).empty();
  if (at == 0) check(opened, "the table as it was made is opened");
  std::istringstream lines(input.substr(at) +
                           "\na.b.co.uk\nq.Ltd.co.uk\na.b.ck\nwww.ck\nz.x.y.deep.uk");
  for (std::string host; std::getline(lines, host);) {
    const test::ExactCopy copy(host);
    for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
      const std::string found = test::described(table.classify(copy.view(), match), copy.view());
      const vu_reason reason = table.explain(copy.view(), match);
      const std::string again = test::described(reason.domain, copy.view());
      check((found + again).find("outside") == std::string::npos, "views lie in the URL");
      if (at == 0) expectEqual(found, again, "the reason is for the answer");
      check(reason.text().size() <= block.size() + 2, "a rule's name lies in the block");
    }
  }
  check(table.facts().version.size() < block.size(), "what is told lies in the block");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t table = input.choice(kForged + 1);
  const std::size_t domain = input.choice(std::size(kDefaultDomains));
  if (table < kOwn) {
    const Both& made = madeBefore(table, domain);
    lookUp(made.ours, made.plain, input.rest());
  } else if (table == kOwn) {
    load(input, kDefaultDomains[domain]);
  } else {
    forge(input.rest());
  }
  return 0;
}

}  // namespace vu::fuzz
