// Matching by public suffix against libpsl, over every rule of the system's list.

#include <libpsl.h>

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/plain/table.h"
#include "tests/support.h"
#include "vu/domain.h"

namespace vu::test {
namespace {

constexpr char kList[] = "/usr/share/publicsuffix/public_suffix_list.dat";

/// The registered domain as libpsl sees it. It takes the name in front of a wildcard for a suffix,
/// which by the list's rules needs a line of its own; what holds for such a name then is what holds
/// above it.
std::string expected(const psl_ctx_t* psl, const std::vector<std::string>& rules,
                     const std::string& host) {
  const auto listed = [&rules](const std::string& rule) {
    return std::binary_search(rules.begin(), rules.end(), rule);
  };
  const std::string parent = host.substr(host.find('.') + 1);
  if (parent != host && listed("*." + host) && !listed(host) && !listed("*." + parent)) {
    const std::string above = expected(psl, rules, parent);
    return above.empty() ? host : above;
  }
  const char* domain = psl_registrable_domain(psl, host.c_str());
  return domain != nullptr ? domain : "";
}

using Psl = std::unique_ptr<psl_ctx_t, void (*)(psl_ctx_t*)>;

/// Every way to a table: the answers to every rule's names are the same, and libpsl's; so is the
/// section of each.
TEST(PublicSuffix, AgreesWithLibpslByEveryWayIn) {
  const TemporaryFile definition, compiled;
  const std::string build = std::string(VU_TOOL) + " suffixes build " + kList + " 2>/dev/null -o ";
  ASSERT_EQ(0, std::system((build + definition.path()).c_str()));
  ASSERT_EQ(0, std::system((build + compiled.path() + " --compiled").c_str()));
  std::vector<std::unique_ptr<vu_cctld>> tables(4);
  for (auto& each : tables) each = std::make_unique<vu_cctld>(nullptr);
  const int count = tables[0]->initSet(definition.path());
  ASSERT_GT(count, 8000);
  EXPECT_EQ(count, tables[1]->open(compiled.path()));
  EXPECT_EQ(count, tables[2]->openBytes(contentOf(compiled.path()), "memory"));
  EXPECT_EQ(count, tables[3]->reload(kList));
  const vu_table_facts facts = tables[1]->facts();
  EXPECT_EQ(static_cast<unsigned>(count), facts.icann + facts.privateDomains + facts.none);
  EXPECT_EQ(static_cast<unsigned>(count), tables[0]->facts().none);
  EXPECT_LT(contentOf(compiled.path()).size(), 32U * static_cast<unsigned>(count));

  const Psl psl(psl_load_file(kList), psl_free);
  std::vector<std::string> rules;
  std::istringstream lines(contentOf(definition.path()));
  std::string each;
  for (int labels = 0; lines >> each >> labels;) rules.push_back(each);
  ASSERT_EQ(static_cast<std::size_t>(count), rules.size());
  ASSERT_EQ(count, psl_suffix_count(psl.get()) + psl_suffix_exception_count(psl.get()));
  std::sort(rules.begin(), rules.end());

  for (const std::string& rule : rules) {
    const std::string name = rule.substr(rule[0] == '!' ? 1 : rule[0] == '*' ? 2 : 0);
    const std::string suffix = rule[0] == '*' ? "any." + name : name;
    for (const std::string& host : {suffix, name, "child." + name, "1.grand.child." + name}) {
      const std::string domain = expected(psl.get(), rules, host);
      ASSERT_EQ(domain, tables[0]->classify(host, vu_match::publicSuffix).domain) << host;
      for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
        const std::string answer = described(tables[0]->classify(host, match), host);
        for (const auto& table : tables) {
          ASSERT_EQ(answer, described(table->classify(host, match), host));
          ASSERT_EQ(answer, described(table->explain(host, match).domain, host));
        }
      }
    }
    const vu_reason reason = tables[1]->explain(suffix, vu_match::publicSuffix);
    ASSERT_EQ(rule, reason.text());
    ASSERT_EQ(reason.section, tables[3]->explain(suffix, vu_match::publicSuffix).section);
    ASSERT_EQ(vu_section::none, tables[0]->explain(suffix, vu_match::publicSuffix).section);
    if (rule[0] == '!') continue;
    const bool icann = psl_is_public_suffix2(psl.get(), suffix.c_str(),
                                             PSL_TYPE_ICANN | PSL_TYPE_NO_STAR_RULE) != 0;
    ASSERT_EQ(icann ? vu_section::icann : vu_section::privateDomains, reason.section) << rule;
    const std::string below = "www.child." + name;
    if (icann) {
      ASSERT_EQ(psl_registrable_domain(psl.get(), below.c_str()),
                tables[1]->explain(below, vu_match::publicSuffix, VU_ICANN_ONLY).domain.domain);
    }
  }
}

TEST(PublicSuffix, ExplainsWhatDecided) {
  vu_cctld table(nullptr, nullptr);
  const std::string list =
      "// VERSION: 7\n// COMMIT: ab\n// ===BEGIN ICANN DOMAINS===\nuk\nCO.uk\n*.ck\n!www.ck\n"
      "// ===END ICANN DOMAINS===\nown.uk\n// ===BEGIN PRIVATE DOMAINS===\n"
      "blog.co.uk\nB\xc2\x80.hk\n";
  EXPECT_EQ(7, table.openBytes(list, "list"));
  EXPECT_EQ("7 ab", table.facts().version + ' ' + table.facts().commit);
  constexpr vu_section icann = vu_section::icann, none = vu_section::none;
  constexpr vu_section own = vu_section::privateDomains;
  const struct {
    const char* host;
    unsigned narrowing;
    const char* rule;
    vu_section section;
    const char* domain;  ///< Or its refusal.
  } rows[] = {
      {"a.b.CK", 0, "*.ck", icann, "a.b.CK"},
      {"http://a.b.Uk/", 0, "uk", icann, "b.Uk"},
      {"a.own.uk", 0, "own.uk", none, "a.own.uk"},
      {"a.own.uk", VU_ICANN_ONLY, "uk", icann, "own.uk"},
      {"a.blog.co.uk", VU_ICANN_ONLY, "co.uk", icann, "blog.co.uk"},
      {"a.xn--b-ba.hk", 0, "xn--b-ba.hk", own, "a.xn--b-ba.hk"},
      {"uk", VU_LISTED_ONLY, "uk", icann, "COUNTRY CODE - TOO SHORT"},
      {"a.b.zz", 0, "*", none, "b.zz"},
      {"a.b.zz", VU_LISTED_ONLY, "*", none, "COUNTRY CODE - NOT A DOMAIN"},
      {"1.2.3.4", VU_LISTED_ONLY, "", none, "1.2.3.4"},
  };
  const auto answer = [](const vu_domain& found) {
    return found.status != VU_SUCCESS ? statusText(found.status) : std::string(found.domain);
  };
  for (const auto& row : rows) {
    const vu_reason reason = table.explain(row.host, vu_match::publicSuffix, row.narrowing);
    EXPECT_EQ(row.rule, reason.text()) << row.host;
    EXPECT_EQ(row.section, reason.section) << row.host << ' ' << row.rule;
    EXPECT_EQ(row.domain, answer(reason.domain)) << row.host;
  }
  EXPECT_EQ("own.uk", table.explain("a.b.own.uk").text());
  EXPECT_EQ("", table.explain("a.co.uk").text());
  EXPECT_EQ("CO.uk", table.explain("a.CO.uk").text());
}

/// Whether a cookie for `cookie` may be set by `host`, and what is left of a host without its first
/// label; an example has the other calls.
TEST(PublicSuffix, StandsForLibpslsCallsAsToldInTheGuide) {
  const Psl psl(psl_load_file(kList), psl_free);
  vu_cctld table(nullptr);
  table.open(kList);
  const std::string names[] = {
      "www.shop.co.uk", "shop.co.uk", "hop.co.uk",   "co.uk",  "uk",   "a.b.ck", "b.ck", "ck",
      "www.ck",         "10.1.2.3",   "2.3",         "a.b.zz", "b.zz", "a.zz",   "zz",   "a.www.ck",
      "a.b.com",        "com",        "blogspot.com"};
  for (const std::string& host : names) {
    const vu_domain found = table.classify(host, vu_match::publicSuffix);
    for (const std::string& cookie : names) {
      const std::string ending = "." + cookie;
      const bool isBelow = host.size() > ending.size() &&
                           host.compare(host.size() - ending.size(), ending.size(), ending) == 0;
      const bool acceptable =
          host == cookie || (isBelow && !found.isAddress() && !found.domain.empty() &&
                             cookie.size() >= found.domain.size());
      EXPECT_EQ(psl_is_cookie_domain_acceptable(psl.get(), host.c_str(), cookie.c_str()) != 0,
                acceptable)
          << host << ' ' << cookie;
    }
    if (found.isAddress()) continue;
    const std::string domain = found.domain.empty() ? "." + host : std::string(found.domain);
    EXPECT_EQ(psl_unregistrable_domain(psl.get(), host.c_str()),
              domain.substr(domain.find('.') + 1))
        << host;
  }
}

}  // namespace
}  // namespace vu::test
