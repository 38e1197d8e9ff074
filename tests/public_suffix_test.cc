// Matching by public suffix against libpsl, over every rule of the system's list.

#include <libpsl.h>

#include <algorithm>
#include <cctype>

#include <gtest/gtest.h>

#include "tests/plain/table.h"
#include "tests/support.h"
#include "vu/domain.h"

namespace {

constexpr char kList[] = "/usr/share/publicsuffix/public_suffix_list.dat";

std::string inUpperCase(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

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

/// Makes a definition file of the list; 0 when that went well.
int build(const vu::test::TemporaryFile& file, const std::string& options = "") {
  return std::system((std::string(VU_TOOL) + " suffixes build " + kList + " -o " + file.path() +
                      options + " 2>/dev/null")
                         .c_str());
}

TEST(PublicSuffix, AgreesWithLibpsl) {
  const vu::test::TemporaryFile file;
  ASSERT_EQ(0, build(file));
  const Psl psl(psl_load_file(kList), psl_free);
  ASSERT_NE(nullptr, psl);
  const vu_cctld table(file.path());

  std::vector<std::string> rules;
  std::istringstream lines(vu::test::contentOf(file.path()));
  std::string rule;
  int labels = 0;
  while (lines >> rule >> labels) rules.push_back(rule);
  ASSERT_EQ(static_cast<std::size_t>(table.suffixCount()), rules.size());
  ASSERT_GT(rules.size(), 8000U);
  std::sort(rules.begin(), rules.end());

  int compared = 0;
  for (const std::string& each : rules) {
    const std::string name = each.substr(each[0] == '!' ? 1 : each[0] == '*' ? 2 : 0);
    for (const char* below : {"", "child.", "grand.child.", "1.grand.child."}) {
      const std::string host = below + name;
      const std::string domain = expected(psl.get(), rules, host);
      for (const std::string& form : {host, host + ".", "http://" + host + ":80/a.b"}) {
        ASSERT_EQ(domain, table.classify(form, vu_match::publicSuffix).domain) << form;
      }
      ASSERT_EQ(inUpperCase(domain),
                table.classify(inUpperCase(host), vu_match::publicSuffix).domain)
          << host;
      ++compared;
    }
  }
  EXPECT_GT(compared, 32000);
}

/// Every way to a table: the answers to every rule's names are the same, and libpsl agrees on the
/// section of each.
TEST(PublicSuffix, IsTheSameByEveryWayIn) {
  const vu::test::TemporaryFile definition;
  const vu::test::TemporaryFile compiled;
  ASSERT_EQ(0, build(definition));
  ASSERT_EQ(0, build(compiled, " --compiled"));
  std::vector<std::unique_ptr<vu_cctld>> tables;
  for (int i = 0; i < 4; ++i) tables.push_back(std::make_unique<vu_cctld>(nullptr));
  const int count = tables[0]->initSet(definition.path());
  EXPECT_EQ(count, tables[1]->open(compiled.path()));
  EXPECT_EQ(count, tables[2]->openBytes(vu::test::contentOf(compiled.path()), "memory"));
  EXPECT_EQ(count, tables[3]->reload(kList));
  const vu_table_facts facts = tables[1]->facts();
  EXPECT_EQ(static_cast<unsigned>(count), facts.icann + facts.privateDomains + facts.none);
  EXPECT_EQ(static_cast<unsigned>(count), tables[0]->facts().none);
  EXPECT_LT(vu::test::contentOf(compiled.path()).size(), 32U * static_cast<unsigned>(count));

  const Psl psl(psl_load_file(kList), psl_free);
  std::istringstream lines(vu::test::contentOf(definition.path()));
  std::string rule;
  for (int labels = 0; lines >> rule >> labels;) {
    const std::string name = rule.substr(rule[0] == '!' ? 1 : rule[0] == '*' ? 2 : 0);
    const std::string suffix = rule[0] == '*' ? "any." + name : name;
    for (const std::string& host : {suffix, "child." + name, "http://Grand.child." + name + "./"}) {
      for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
        const std::string expected = vu::test::described(tables[0]->classify(host, match), host);
        for (const auto& table : tables) {
          ASSERT_EQ(expected, vu::test::described(table->classify(host, match), host));
          ASSERT_EQ(expected, vu::test::described(table->explain(host, match).domain, host));
        }
      }
    }
    const vu_reason reason = tables[1]->explain(suffix, vu_match::publicSuffix);
    ASSERT_EQ(rule, reason.text());
    const bool icann = psl_is_public_suffix2(psl.get(), suffix.c_str(),
                                             PSL_TYPE_ICANN | PSL_TYPE_NO_STAR_RULE) != 0;
    if (rule[0] != '!') {
      ASSERT_EQ(icann ? vu_section::icann : vu_section::privateDomains, reason.section) << rule;
    }
    ASSERT_EQ(reason.section, tables[3]->explain(suffix, vu_match::publicSuffix).section);
    ASSERT_EQ(vu_section::none, tables[0]->explain(suffix, vu_match::publicSuffix).section);
    const std::string below = "www.child." + name;
    const char* const domain = psl_registrable_domain(psl.get(), below.c_str());
    if (reason.section == vu_section::icann && rule[0] != '!') {
      ASSERT_EQ(domain,
                tables[1]->explain(below, vu_match::publicSuffix, VU_ICANN_ONLY).domain.domain);
    }
  }
}

TEST(PublicSuffix, ExplainsWhatDecided) {
  vu_cctld table(nullptr, nullptr);
  const std::string list =
      "// VERSION: 7\n// ===BEGIN ICANN DOMAINS===\nuk\nCO.uk\n*.ck\n!www.ck\n"
      "// ===END ICANN DOMAINS===\nown.uk\n// ===BEGIN PRIVATE DOMAINS===\n"
      "blog.co.uk\n\xe5\x85\xac\xe5\x8f\xb8.hk\n";
  EXPECT_EQ(7, table.openBytes(list, "list"));
  EXPECT_EQ("7", table.facts().version);
  const struct {
    const char* host;
    vu_match match;
    unsigned narrowing;
    const char* rule;
    vu_section section;
    vu_status status;
    const char* domain;
  } rows[] = {
      {"a.co.uk", vu_match::publicSuffix, 0, "co.uk", vu_section::icann, VU_SUCCESS, "a.co.uk"},
      {"a.b.CK", vu_match::publicSuffix, 0, "*.ck", vu_section::icann, VU_SUCCESS, "a.b.CK"},
      {"www.ck", vu_match::publicSuffix, 0, "!www.ck", vu_section::icann, VU_SUCCESS, "www.ck"},
      {"a.own.uk", vu_match::publicSuffix, 0, "own.uk", vu_section::none, VU_SUCCESS, "a.own.uk"},
      {"a.own.uk", vu_match::publicSuffix, VU_ICANN_ONLY, "uk", vu_section::icann, VU_SUCCESS,
       "own.uk"},
      {"a.blog.co.uk", vu_match::publicSuffix, 0, "blog.co.uk", vu_section::privateDomains,
       VU_SUCCESS, "a.blog.co.uk"},
      {"a.blog.co.uk", vu_match::publicSuffix, VU_ICANN_ONLY, "co.uk", vu_section::icann,
       VU_SUCCESS, "blog.co.uk"},
      {"a.xn--55qx5d.hk", vu_match::publicSuffix, 0, "xn--55qx5d.hk", vu_section::privateDomains,
       VU_SUCCESS, "a.xn--55qx5d.hk"},
      {"uk", vu_match::publicSuffix, VU_LISTED_ONLY, "uk", vu_section::icann,
       VU_COUNTRY_CODE_TOO_SHORT, ""},
      {"a.b.zz", vu_match::publicSuffix, 0, "*", vu_section::none, VU_SUCCESS, "b.zz"},
      {"a.b.zz", vu_match::publicSuffix, VU_LISTED_ONLY, "*", vu_section::none,
       VU_COUNTRY_CODE_NOT_A_DOMAIN, ""},
      {"1.2.3.4", vu_match::publicSuffix, VU_LISTED_ONLY, "", vu_section::none, VU_SUCCESS,
       "1.2.3.4"},
      {"a.b.own.uk", vu_match::shortest, 0, "own.uk", vu_section::none, VU_SUCCESS, "b.own.uk"},
      {"a.co.uk", vu_match::shortest, 0, "", vu_section::none, VU_SUCCESS, "co.uk"},
      {"a.CO.uk", vu_match::shortest, 0, "CO.uk", vu_section::icann, VU_SUCCESS, "a.CO.uk"},
  };
  for (const auto& row : rows) {
    const vu_reason reason = table.explain(row.host, row.match, row.narrowing);
    EXPECT_EQ(row.rule, reason.text()) << row.host;
    EXPECT_EQ(row.section, reason.section) << row.host << ' ' << row.rule;
    EXPECT_EQ(row.status, reason.domain.status) << row.host;
    EXPECT_EQ(row.domain, reason.domain.domain) << row.host;
  }
}

/// What the list's maintainers publish for those who read it: names with their registered domains,
/// "-" for none. Those that stand in UTF-8 there are for a reader of such names.
TEST(PublicSuffix, PassesThePublishedVectors) {
  const vu::test::TemporaryFile file;
  ASSERT_EQ(0, build(file));
  const vu_cctld table(file.path());
  std::istringstream vectors(R"(
      COM - example.COM example.COM WwW.example.COM example.COM .com - .example - .example.com -
      .example.example - example - example.example example.example b.example.example example.example
      a.b.example.example example.example biz - domain.biz domain.biz b.domain.biz domain.biz
      a.b.domain.biz domain.biz com - example.com example.com b.example.com example.com
      a.b.example.com example.com uk.com - example.uk.com example.uk.com
      b.example.uk.com example.uk.com a.b.example.uk.com example.uk.com test.ac test.ac mm - c.mm -
      b.c.mm b.c.mm a.b.c.mm b.c.mm jp - test.jp test.jp www.test.jp test.jp ac.jp -
      test.ac.jp test.ac.jp www.test.ac.jp test.ac.jp kyoto.jp - test.kyoto.jp test.kyoto.jp
      ide.kyoto.jp - b.ide.kyoto.jp b.ide.kyoto.jp a.b.ide.kyoto.jp b.ide.kyoto.jp c.kobe.jp -
      b.c.kobe.jp b.c.kobe.jp a.b.c.kobe.jp b.c.kobe.jp city.kobe.jp city.kobe.jp
      www.city.kobe.jp city.kobe.jp ck - test.ck - b.test.ck b.test.ck a.b.test.ck b.test.ck
      www.ck www.ck www.www.ck www.ck us - test.us test.us www.test.us test.us ak.us -
      test.ak.us test.ak.us www.test.ak.us test.ak.us k12.ak.us - test.k12.ak.us test.k12.ak.us
      www.test.k12.ak.us test.k12.ak.us
      xn--85x722f.com.cn xn--85x722f.com.cn xn--85x722f.xn--55qx5d.cn xn--85x722f.xn--55qx5d.cn
      www.xn--85x722f.xn--55qx5d.cn xn--85x722f.xn--55qx5d.cn shishi.xn--55qx5d.cn
      shishi.xn--55qx5d.cn xn--55qx5d.cn - xn--85x722f.xn--fiqs8s xn--85x722f.xn--fiqs8s
      www.xn--85x722f.xn--fiqs8s xn--85x722f.xn--fiqs8s shishi.xn--fiqs8s shishi.xn--fiqs8s
      xn--fiqs8s -)");
  int read = 0;
  for (std::string host, domain; vectors >> host >> domain; ++read) {
    const vu_domain found = table.classify(host, vu_match::publicSuffix);
    EXPECT_EQ(domain == "-" ? "" : domain, found.domain) << host;
  }
  EXPECT_EQ(68, read);
}

// What docs/guide.md says to those who come from libpsl.

TEST(PublicSuffix, DiffersFromLibpslAsToldInTheGuide) {
  const struct {
    const char* host;
    const char* theirs;
    vu_status status;
    const char* ours;
  } rows[] = {{"WWW.SHOP.CO.UK", "CO.UK", VU_SUCCESS, "SHOP.CO.UK"},
              {"www.shop.co.uk.", "uk.", VU_SUCCESS, "shop.co.uk"},
              {"10.1.2.3", "2.3", VU_SUCCESS, "10.1.2.3"},
              {"http://shop.co.uk:80/", "co.uk:80/", VU_SUCCESS, "shop.co.uk"},
              {"www.公司.香港", "www.公司.香港", VU_COUNTRY_CODE_NOT_A_DOMAIN, ""},
              {"www.xn--55qx5d.xn--j6w193g", "www.xn--55qx5d.xn--j6w193g", VU_SUCCESS,
               "www.xn--55qx5d.xn--j6w193g"},
              {"user@shop.co.uk", "user@shop.co.uk", VU_COUNTRY_CODE_NOT_A_DOMAIN, ""},
              {"kobe.jp", "", VU_SUCCESS, "kobe.jp"}};
  const vu::test::TemporaryFile file;
  ASSERT_EQ(0, build(file));
  const Psl psl(psl_load_file(kList), psl_free);
  const vu_cctld table(file.path());
  for (const auto& row : rows) {
    const char* const theirs = psl_registrable_domain(psl.get(), row.host);
    const vu_domain ours = table.classify(row.host, vu_match::publicSuffix);
    EXPECT_STREQ(row.theirs, theirs != nullptr ? theirs : "") << row.host;
    EXPECT_EQ(row.status, ours.status) << row.host;
    EXPECT_EQ(row.ours, ours.domain) << row.host;
  }
  EXPECT_EQ(psl_suffix_count(psl.get()) + psl_suffix_exception_count(psl.get()),
            table.suffixCount());
}

/// Whether a cookie for `cookie` may be set by `host`, as the guide tells it.
bool acceptable(const vu_cctld& table, const std::string& host, const std::string& cookie) {
  if (host == cookie) return true;
  const vu_domain found = table.classify(host, vu_match::publicSuffix);
  const std::string ending = "." + cookie;
  return !found.isAddress() && host.size() > ending.size() &&
         host.compare(host.size() - ending.size(), std::string::npos, ending) == 0 &&
         !found.domain.empty() && cookie.size() >= found.domain.size();
}

TEST(PublicSuffix, StandsForLibpslsCallsAsToldInTheGuide) {
  const char* const names[] = {"www.shop.co.uk", "shop.co.uk", "co.uk",    "uk",
                               "a.b.ck",         "b.ck",       "ck",       "a.www.ck",
                               "www.ck",         "10.1.2.3",   "2.3",      "www.shop.example",
                               "shop.example",   "example",    "a.b.com",  "foo.blogspot.com",
                               "blogspot.com",   "com",        "hop.co.uk"};
  const vu::test::TemporaryFile file;
  const vu::test::TemporaryFile icann;
  ASSERT_EQ(0, build(file));
  ASSERT_EQ(0, build(icann, " --section icann"));
  const Psl psl(psl_load_file(kList), psl_free);
  const vu_cctld table(file.path());
  const vu_cctld icannTable(icann.path());
  const auto isSuffix = [](const vu_domain& found) {
    return found.status == VU_COUNTRY_CODE_PURE_DOMAIN || found.status == VU_COUNTRY_CODE_TOO_SHORT;
  };
  for (const std::string host : names) {
    const vu_domain found = table.classify(host, vu_match::publicSuffix);
    EXPECT_EQ(psl_is_public_suffix(psl.get(), host.c_str()) != 0, isSuffix(found)) << host;
    EXPECT_EQ(psl_is_public_suffix2(psl.get(), host.c_str(), PSL_TYPE_ICANN) != 0,
              isSuffix(icannTable.classify(host, vu_match::publicSuffix)))
        << host;
    for (const std::string cookie : names) {
      EXPECT_EQ(psl_is_cookie_domain_acceptable(psl.get(), host.c_str(), cookie.c_str()) != 0,
                acceptable(table, host, cookie))
          << host << ' ' << cookie;
    }
    if (found.isAddress()) continue;
    const std::string domain(isSuffix(found) ? "." + host : std::string(found.domain));
    EXPECT_EQ(psl_unregistrable_domain(psl.get(), host.c_str()),
              domain.substr(domain.find('.') + 1))
        << host;
  }
}

}  // namespace
