// Look-ups of URLs: every form and both rules against the plain telling, with views that lie inside
// the URL.
//
// Input: which table, which default domain; for the last table its definition file and a NUL; then
// the URL.

#include <algorithm>

#include "fuzz/support.h"
#include "tests/plain/table.h"

using vu::fuzz::expectEqual;
using vu::test::described;
using vu::test::outcome;
using vu::test::PlainTable;

namespace {

constexpr const char* kTables[] = {
    "co.xy 3\n", "co.xy 2\nxy 1\n", "co.xy 4\nltd.co.xy 4\na.b 3\n",
    "ltd.co.xy 6\nx-y.co 3\nCO.xy 3\n1.255 3\n*.b 3\n!a.b 2\na..b 2\n-a.b 3\n",
    R"(com 2 uk 2 co.uk 3 ck 2 *.ck 3 !www.ck 2 Jp 2 kobe.jp 3 *.KOBE.jp 4 !city.kobe.jp 3
       *.deep.x 4 b.a.deep.x 5 !one 1)"};
constexpr const char* kDefaultDomains[] = {"", "corp.xy"};

/// One table in both forms.
struct Both {
  Both(const std::string& content, const char* domain) : ours(nullptr, domain) {
    static const vu::fuzz::MemoryFile file;
    file.rewrite(content);
    vu::test::messageOf([&] { ours.initSet(file.path().c_str()); });
    plain.load(file.path().c_str());
    plain.defaultDomain = domain;
  }
  vu_cctld ours;
  PlainTable plain;
};

const Both& madeBefore(std::size_t table, std::size_t domain) {
  static const auto all = [] {
    std::vector<std::unique_ptr<Both>> made;
    for (const char* each : kDefaultDomains) {
      for (const char* content : kTables) made.push_back(std::make_unique<Both>(content, each));
    }
    return made;
  }();
  return *all[domain * std::size(kTables) + table];
}

void lookUp(const Both& table, const std::string& url) {
  const vu::test::ExactCopy copy(url);
  for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
    expectEqual(described(table.plain.classify(copy.view(), match), copy.view()),
                described(table.ours.classify(copy.view(), match), copy.view()), url);
  }
  const std::string cut = vu::test::upToNul(url);
  expectEqual(outcome(table.plain, cut), outcome(table.ours, cut), cut);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vu::fuzz::Input input(data, size);
  const std::size_t table = input.choice(std::size(kTables) + 1);
  const std::size_t domain = input.choice(std::size(kDefaultDomains));
  if (table < std::size(kTables)) {
    lookUp(madeBefore(table, domain), input.rest());
  } else {
    std::string content = input.piece();
    // fscanf holds a longer number at the width of a long.
    content.erase(std::remove(content.begin(), content.end(), '9'), content.end());
    const Both own(content, kDefaultDomains[domain]);
    lookUp(own, input.rest());
  }
  return 0;
}
